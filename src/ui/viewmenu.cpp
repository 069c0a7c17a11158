#include "ui/viewmenu.h"

#include "model/events.h"
#include "ui/actiontable.h"
#include "ui/channelsmenu.h"
#include "ui/mainwindow.h"
#include "ui/toolbars.h"
#include "ui/widgets/qdockwidgetext.h"

#include <array>
#include <functional>
#include <vector>

#include <QAction>
#include <QActionGroup>
#include <QCoreApplication>
#include <QMenu>
#include <QMenuBar>

namespace {

QString text(const char* source)
{
    return QCoreApplication::translate("MainWindow", source);
}

struct ViewSwitch
{
    const char* id;
    const char* label;
    const char* tip;
    const char* keys;
    EventId event;
};

constexpr std::array viewSwitches = {
    ViewSwitch{"viewgrid", QT_TR_NOOP("Unit Grid"), QT_TR_NOOP("Lines at the ticks of the rulers"), "G",
               EventId::DisplayGridEnable},
    ViewSwitch{"viewmarkers", QT_TR_NOOP("Time Markers and Regions"),
               QT_TR_NOOP("Show the markers and regions in time"), "", EventId::DisplayMarkersEnable},
    ViewSwitch{"viewspectralmarkers", QT_TR_NOOP("Spectral Markers and Regions"),
               QT_TR_NOOP("Show the markers and regions in time and frequency"), "",
               EventId::DisplaySpectralMarkersEnable},
    ViewSwitch{"viewsnap", QT_TR_NOOP("Snap to Grid and Markers"),
               QT_TR_NOOP("The pointer of a tool keeps to lines and markers near it"), "Ctrl+G",
               EventId::DisplaySnapEnable},
};

// What the views show or not, as the project in front has it.
class ViewSwitches : public QObject, public IEvent
{
public:
    ViewSwitches(ActionTable& actions, QMenu& menu) : QObject(&menu), IEvent(QStringLiteral("ViewSwitches"))
    {
        for (const ViewSwitch& row : viewSwitches) {
            ActionRow action{QString::fromLatin1(row.id), text(row.label), text(row.tip)};
            action.keys = QString::fromLatin1(row.keys);
            action.needsProject = true;
            action.checkable = true;
            menu.addAction(m_actions.emplace_back(actions.add(
                action, [this, event = row.event](bool on) { postEvent(this, event, on, this); })));
        }
    }

    void displayEnableEvent(EventId id, const bool& on) override
    {
        for (std::size_t i = 0; i < viewSwitches.size(); ++i)
            if (viewSwitches[i].event == id)
                m_actions[i]->setChecked(on);
    }

private:
    std::vector<QAction*> m_actions; // of the window, in the order of the table
};

void addPanels(MainWindow& window, QMenu& view)
{
    QMenu* panels = view.addMenu(text("Panels"));
    for (QDockWidgetExt* panel : window.panels())
        panels->addAction(panel->toggleViewAction());
}

void addLayouts(MainWindow& window, ActionTable& actions, QMenu& view)
{
    QMenu* layouts = view.addMenu(text("Interface Layout"));
    const auto add = [&](const char* id, const char* label, const char* tip, bool checkable,
                         const std::function<void(bool)>& triggered) {
        ActionRow row{QString::fromLatin1(id), text(label), text(tip)};
        row.checkable = checkable;
        QAction* action = actions.add(row, triggered);
        layouts->addAction(action);
        return action;
    };
    add("viewlayoutload", "&Load...", "Arrange panels and tool bars as a file has them", false,
        [&window](bool) { window.loadLayout(); });
    add("viewlayoutsave", "&Save...", "Keep the arrangement of panels and tool bars in a file", false,
        [&window](bool) { window.saveLayout(); });
    layouts->addSeparator();
    auto* modes = new QActionGroup(&window);
    modes->addAction(add("viewlayoutdesktop", "&Desktop", "Controls for mouse and keys", true,
                         [&window](bool) { window.setTabletMode(false); }));
    modes->addAction(add("viewlayouttablet", "&Tablet", "Controls large enough for a finger", true,
                         [&window](bool) { window.setTabletMode(true); }));
    modes->actions()[window.isTabletMode() ? 1 : 0]->setChecked(true);
}

// In no menu: their keys only.
void addCompactCommands(MainWindow& window, ActionTable& actions)
{
    const auto add = [&](const char* id, const char* label, const char* keys, const auto& triggered) {
        ActionRow row{QString::fromLatin1(id), text(label)};
        row.keys = QString::fromLatin1(keys);
        actions.add(row, [triggered](bool) { triggered(); });
    };
    add("viewcompactall", QT_TR_NOOP("Toggle Compact All"), "Tab", [&window] { window.toggleCompactAll(); });
    add("viewcompactpanels", QT_TR_NOOP("Toggle Compact Panels"), "Shift+Tab",
        [&window] { window.toggleCompactPanels(); });
    // Tab stays inside a panel, and among the views it is a command: these lead from control to control there
    // as well, and from the views to the panels.
    add("viewnextpanel", QT_TR_NOOP("Next Panel"), "F6", [&window] { window.focusNextPanel(true); });
    add("viewpreviouspanel", QT_TR_NOOP("Previous Panel"), "Shift+F6",
        [&window] { window.focusNextPanel(false); });
    add("viewnextcontrol", QT_TR_NOOP("Next Control"), "Ctrl+Tab",
        [&window] { window.focusNextControl(true); });
    add("viewpreviouscontrol", QT_TR_NOOP("Previous Control"), "Ctrl+Shift+Tab",
        [&window] { window.focusNextControl(false); });
}

} // namespace

void buildViewMenu(MainWindow& window, ActionTable& actions)
{
    QMenu& view = *window.menuBar()->addMenu(text("&View"));
    new ViewSwitches(actions, view); // child of the menu
    view.addSeparator();
    addUnitMenus(view);
    view.addMenu(window.toolBars().makeMenu(&view));
    addPanels(window, view);
    addLayouts(window, actions, view);
    view.addSeparator();
    ActionRow fullScreen{QStringLiteral("viewfullscreen"), text("&Fullscreen"),
                         text("Fill the screen with the window"), QKeySequence::FullScreen};
    fullScreen.checkable = true;
    view.addAction(actions.add(fullScreen, [&window](bool on) { window.toggleFullscreen(on); }));
    addCompactCommands(window, actions);
}
