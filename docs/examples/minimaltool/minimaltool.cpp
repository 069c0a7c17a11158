// A tool that selects the frequencies over which the pointer is dragged, for all time in view.
#include "model/iselection.h"
#include "plugins/itoolplugin.h"

#include <QAction>
#include <QCursor>
#include <QMenu>
#include <QPainterPath>
#include <QPointer>
#include <QToolButton>

#include <algorithm>
#include <cmath>

class MinimalTool : public IToolPlugin
{
    Q_OBJECT
    // The last part is what the settings know the plug-in by; the library has the same name.
    Q_PLUGIN_METADATA(IID "com.Application.IToolPlugin.minimaltool")
    Q_INTERFACES(IToolPlugin)

public:
    bool init(const QString&, QWidget*) override { return true; }
    QString description() const override { return tr("Minimal Selection"); }
    QString groupName() const override { return QStringLiteral("examples"); }

    QToolButton* toolButton() override
    {
        if (m_button)
            return m_button;
        auto* menu = new QMenu;
        menu->addAction(tr("Minimal Selection")); // mode 0
        menu->addAction(tr("Minimal Addition"));  // mode 1
        m_button = new QToolButton;               // the tool bar takes it over
        m_button->setMenu(menu);
        menu->setParent(m_button, menu->windowFlags());
        m_button->setDefaultAction(menu->actions().first());
        return m_button;
    }
    QWidget* optionsWidget() override { return nullptr; }

    bool execute(const MouseEvent& event, QCursor& cursor, QPainterPath& path, QList<ToolControl>&,
                 uint32_t flags) override
    {
        cursor = Qt::CrossCursor;
        if (flags & ToolCancel)
            m_drags = false;
        else if (event.previousPressure < 0 && event.pressure >= 0)
            m_drags = true;
        if (!m_drags) {
            path = QPainterPath();
            return false;
        }
        const double low = std::min(event.pressSnapped.y, event.snapped.y);
        const double high = std::max(event.pressSnapped.y, event.snapped.y);
        path = QPainterPath();
        path.addRect(context.area.x, low, context.area.width, high - low);
        if (event.pressure >= 0)
            return false;
        // The button is up: the outline becomes the selection, and a state of the history.
        m_drags = false;
        const QPainterPath band = path;
        path = QPainterPath();
        const bool adds = mode == 1 || event.modifiers & uint32_t(Qt::ShiftModifier);
        if (!adds)
            context.selection->clear();
        if (std::abs(event.pixel.y - event.pressPixel.y) >= 2)
            context.selection->add(band, 0, 0, false);
        return true;
    }
    void deactivate() override { m_drags = false; }

Q_SIGNALS:
    void requestMouseEvent(); // for the host, which connects it by its name

private:
    QPointer<QToolButton> m_button;
    bool m_drags = false;
};

#include "minimaltool.moc"
