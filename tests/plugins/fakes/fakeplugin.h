// A file plug-in that does one thing wrong, told by FAKE_KIND when it is built.
#pragma once

#include "plugins/ifileplugin.h"

#include <QObject>

class FakePlugin : public QObject, public IFilePlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID FAKE_IID)
#ifndef FAKE_NO_INTERFACE
    Q_INTERFACES(IFilePlugin)
#endif

public:
    FakePlugin();
    bool init(const QString& libraryPath, QWidget* mainWindow) override;
    QString description() const override
    {
        return QStringLiteral(FAKE_IID);
    }
    QStringList importFilters() const override
    {
        return {};
    }
    QStringList exportFilters() const override
    {
        return {};
    }
    bool importFile(const QString&, IImportSink&) override
    {
        return false;
    }
    bool exportFile(const QString&, const QString&, IExportSource&) override
    {
        return false;
    }
};
