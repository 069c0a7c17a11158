// A process that is broken as MORVANE_TEST_PROCESS says.
#include "plugins/iprocessplugin.h"

#include "broken.h"

#include <QObject>

class BrokenProcess : public QObject, public IProcessPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "com.Application.IProcessPlugin.brokenprocess")
    Q_INTERFACES(IProcessPlugin)

public:
    BrokenProcess() { pass("constructor"); }
    bool init(const QString&, QWidget*) override { return pass("init"); }
    QString description() const override
    {
        pass("description");
        return brokenName(QStringLiteral("Broken Process"));
    }
    QString menuName() const override
    {
        pass("menuName");
        return {};
    }
    QStringList processNames() const override
    {
        pass("processNames");
        return {QStringLiteral("Break"), QString()};
    }
    bool execute(const QString&) override { return true; }

private:
    static bool pass(const char* where) { return passBroken("MORVANE_TEST_PROCESS", where); }
};

#include "brokenprocess.moc"
