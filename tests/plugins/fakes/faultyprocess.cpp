// A process that throws where the property "fault" of the application says so. With "preview" it shows a
// preview.
#include "plugins/iprocessplugin.h"

#include <stdexcept>
#include <string>

#include <QCoreApplication>
#include <QObject>
#include <QVariant>

namespace {

void pass(const char* name)
{
    if (QCoreApplication::instance()->property("fault").toString() == QLatin1String(name))
        throw std::runtime_error(std::string("thrown in ") + name);
}

} // namespace

class FaultyProcess : public QObject, public IProcessPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "com.Application.IProcessPlugin.faultyprocess")
    Q_INTERFACES(IProcessPlugin)

public:
    bool init(const QString&, QWidget*) override { return true; }
    QString description() const override
    {
        pass("process description");
        return QStringLiteral("Levels");
    }
    QString menuName() const override
    {
        pass("menuName");
        return {};
    }
    QStringList processNames() const override
    {
        pass("processNames");
        return {QStringLiteral("Normalize"), QStringLiteral("Gain & Fade"), QStringLiteral("Third")};
    }
    bool execute(const QString&) override
    {
        const float sample = 0.75f;
        if (context.activeLayer && !context.activeLayer->write(&sample, {3, 1}, 0, true))
            return false;
        if (QCoreApplication::instance()->property("fault").toString() == QLatin1String("preview"))
            Q_EMIT previewToggled();
        pass("process execute");
        return true;
    }

Q_SIGNALS:
    void previewToggled();
};

#include "faultyprocess.moc"
