// A tool that is broken as MORVANE_TEST_TOOL says.
#include "plugins/itoolplugin.h"

#include "broken.h"

#include <QAction>
#include <QPointer>
#include <QToolButton>

class BrokenTool : public IToolPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "com.Application.IToolPlugin.brokentool")
    Q_INTERFACES(IToolPlugin)

public:
    BrokenTool() { pass("constructor"); }
    bool init(const QString&, QWidget*) override { return pass("init"); }
    QString description() const override
    {
        pass("description");
        return brokenName(QStringLiteral("Broken Tool"));
    }
    QString groupName() const override
    {
        pass("groupName");
        return QStringLiteral("broken");
    }
    QToolButton* toolButton() override
    {
        pass("toolButton");
        if (!m_button) {
            m_button = new QToolButton;
            m_button->setDefaultAction(new QAction(QStringLiteral("Broken"), m_button));
        }
        return m_button;
    }
    QWidget* optionsWidget() override
    {
        pass("optionsWidget");
        return nullptr;
    }
    bool execute(const MouseEvent&, QCursor&, QPainterPath&, QList<ToolControl>&, uint32_t) override
    {
        return false;
    }

private:
    static bool pass(const char* where) { return passBroken("MORVANE_TEST_TOOL", where); }
    QPointer<QToolButton> m_button;
};

#include "brokentool.moc"
