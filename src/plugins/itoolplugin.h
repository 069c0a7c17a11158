// The contract with tools: what the pointer does on the views.
#pragma once

#include "model/types/mouseevent.h"
#include "plugins/hosttable.h"
#include "plugins/plugincontext.h"

#include <cstdint>

#include <QList>
#include <QObject>
#include <QString>
#include <QtPlugin>

class QCursor;
class QPainterPath;
class QToolButton;
class QWidget;

// A handle that a tool shows on the view and that the user may grab.
struct ToolControl
{
    int32_t id = -1;
    PointD position; // sample points, Hz
};

// The concrete class declares Q_OBJECT, Q_INTERFACES(IToolPlugin) and the signal
// `requestMouseEvent()`, which asks for a call of execute() with the last mouse state; the host
// connects it by name, so that the interface needs no code of its own. Life, threads and
// exceptions as in IFilePlugin. The order of the virtual functions is part of the contract.
class IToolPlugin : public QObject
{
public:
    HostTable host;
    PluginContext context;
    uint32_t mode = 0; // which of the tool's modes is on; the meaning is the tool's own

    virtual bool init(const QString& libraryPath, QWidget* mainWindow) = 0;
    [[nodiscard]] virtual QString description() const = 0;
    // Tools of one group stand together in the tool bar.
    [[nodiscard]] virtual QString groupName() const = 0;
    // The button, with a default action and possibly a menu of modes. The plug-in makes it once, the
    // tool bar takes it over.
    virtual QToolButton* toolButton() = 0;
    // Called when the tool is chosen and when it is left. The host does not use them yet.
    virtual void activate() {}
    virtual void deactivate() {}
    // One page of the options bar; null for none. Made once, taken over by the bar.
    virtual QWidget* optionsWidget() = 0;
    // Does what `event` asks for, on the document in `context`. May change the cursor, the path drawn
    // over the view and the controls. True adds a history step named after the default action.
    virtual bool execute(const MouseEvent& event, QCursor& cursor, QPainterPath& path,
                         QList<ToolControl>& controls, uint32_t flags) = 0;
};

#define IToolPlugin_iid "com.Application.IToolPlugin"
Q_DECLARE_INTERFACE(IToolPlugin, IToolPlugin_iid)
