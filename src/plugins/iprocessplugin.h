// The contract with processes: entries of the Process menu that work on layer and selection.
#pragma once

#include "plugins/hosttable.h"
#include "plugins/plugincontext.h"

#include <QString>
#include <QStringList>
#include <QtPlugin>

class QWidget;

// The concrete class is a QObject with Q_INTERFACES(IProcessPlugin) and the signal
// `previewToggled()`, which the host connects by name. Life, threads and exceptions as in
// IFilePlugin. The order of the virtual functions is part of the contract.
class IProcessPlugin
{
public:
    HostTable host;
    PluginContext context;

    virtual bool init(const QString& libraryPath, QWidget* mainWindow) = 0;
    // Also the root of the shortcut ids of the entries.
    [[nodiscard]] virtual QString description() const = 0;
    // Submenu for the entries; empty puts them straight into the Process menu.
    [[nodiscard]] virtual QString menuName() const = 0;
    [[nodiscard]] virtual QStringList processNames() const = 0;
    // Runs one of processNames() on the document in `context`. True adds a history step.
    virtual bool execute(const QString& processName) = 0;
    virtual ~IProcessPlugin() = default;
};

#define IProcessPlugin_iid "com.Application.IProcessPlugin"
Q_DECLARE_INTERFACE(IProcessPlugin, IProcessPlugin_iid)
