// A tool that throws where the property "fault" of the application says so: the name of one of its functions,
// "no button" or "bare button". With "request" it asks for a call whenever the context has changed. The flags
// of the last call stand in the property "toolflags".
#include "plugins/itoolplugin.h"

#include <stdexcept>

#include <QAction>
#include <QCoreApplication>
#include <QLabel>
#include <QPointer>
#include <QToolButton>
#include <QVariant>

namespace {

bool isFault(const char* name)
{
    return QCoreApplication::instance()->property("fault").toString() == QLatin1String(name);
}

void pass(const char* name)
{
    if (isFault(name))
        throw std::runtime_error(std::string("thrown in ") + name);
}

} // namespace

class FaultyTool : public IToolPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "com.Application.IToolPlugin.faultytool")
    Q_INTERFACES(IToolPlugin)

public:
    bool init(const QString&, QWidget*) override
    {
        pass("init");
        return !isFault("refuse");
    }
    QString description() const override
    {
        pass("description");
        return QStringLiteral("Faulty Tool");
    }
    QString groupName() const override
    {
        pass("groupName");
        return QStringLiteral("faulty");
    }
    QToolButton* toolButton() override
    {
        pass("toolButton");
        if (isFault("no button"))
            return nullptr;
        if (isFault("bare button"))
            delete m_button;
        if (!m_button) {
            m_button = new QToolButton;
            m_button->setProperty("tool", QVariant::fromValue<QObject*>(this));
            if (!isFault("bare button"))
                m_button->setDefaultAction(new QAction(QStringLiteral("Faulty Tool"), m_button));
        }
        return m_button;
    }
    void activate() override { pass("activate"); }
    void deactivate() override { pass("deactivate"); }
    QWidget* optionsWidget() override
    {
        pass("optionsWidget");
        if (!m_page)
            m_page = new QLabel(QStringLiteral("options"));
        return m_page;
    }
    bool execute(const MouseEvent&, QCursor&, QPainterPath&, QList<ToolControl>&, uint32_t flags) override
    {
        QCoreApplication::instance()->setProperty("toolflags", flags);
        pass("execute");
        return false;
    }
    void contextChanged() override
    {
        pass("contextChanged");
        if (isFault("request"))
            Q_EMIT requestMouseEvent();
    }

Q_SIGNALS:
    void requestMouseEvent();

private:
    QPointer<QToolButton> m_button;
    QPointer<QWidget> m_page;
};

#include "faultytool.moc"
