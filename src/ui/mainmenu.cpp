#include "ui/mainmenu.h"

#include "display/channelsdisplay.h"
#include "projectfiles/projecttabs.h"
#include "ui/actiontable.h"
#include "ui/displaypanel.h"
#include "ui/mainwindow.h"
#include "ui/widgets/qdockwidgetext.h"

#include <QCoreApplication>
#include <QMenu>
#include <QMenuBar>
#include <QVariant>

#include <functional>
#include <vector>

namespace {

struct Row
{
    const char* menu; // empty: keys only; null: a separator in the menu of the row before
    ActionRow action;
    std::function<void(bool)> triggered;
};

QString text(const char* source)
{
    return QCoreApplication::translate("MainWindow", source);
}

// What the signal of this edition is called.
QString channelWord()
{
    const QObject* application = QCoreApplication::instance();
    if (application->property("sampletype").toString() == QLatin1String("complex"))
        return text("Primitive");
    const QString type = application->property("channelstype").toString();
    return type == QLatin1String("audio") ? text("Audio")
           : type == QLatin1String("ecg") ? text("ECG")
                                          : text("Generic");
}

const Row separator{nullptr, {}, {}};

std::vector<Row> fileRows(MainWindow& window)
{
    ProjectTabs& tabs = window.projectTabs();
    const auto id = [](const char* name) { return QString::fromLatin1(name); };
    return {
        {QT_TR_NOOP("&File"),
         {id("fileopen"), text("&Open..."), text("Open a recording in a new tab"), QKeySequence::Open},
         [&tabs](bool) { tabs.open(); }},
        separator,
        {"&File",
         {id("fileclose"),
          text("&Close Project"),
          text("Close the project in front"),
          QKeySequence::Close,
          {},
          true},
         [&tabs](bool) { tabs.close(); }},
        {"&File",
         {id("filecloseall"), text("Close All"), text("Close all projects"), {}, {}, true},
         [&tabs](bool) { tabs.closeAll(); }},
        separator,
        {"&File",
         {id("fileimportLayer"),
          text("&Import Layer %1...").arg(channelWord()),
          text("Add a recording to the project in front as a new layer"),
          {},
          {},
          true},
         [&tabs](bool) { tabs.importLayer(); }},
        {"&File",
         {id("fileexportproject"),
          text("&Export Project %1...").arg(channelWord()),
          text("Write the mix of the layers to a file"),
          {},
          {},
          true},
         [&tabs](bool) { tabs.exportProject(); }},
        separator,
        {"&File",
         {id("filexit"), text("E&xit"), text("Close all projects and the program"), QKeySequence::Quit},
         [&window](bool) { window.close(); }},
    };
}

std::vector<Row> viewRows(MainWindow& window)
{
    ChannelsDisplay& display = window.channelsDisplay();
    const auto id = [](const char* name) { return QString::fromLatin1(name); };
    const auto key = [](const char* keys) { return QString::fromLatin1(keys); };
    const auto none = QKeySequence::UnknownKey;
    return {
        {"&View",
         {id("viewfullscreen"),
          text("&Fullscreen"),
          text("Fill the screen with the window"),
          QKeySequence::FullScreen,
          {},
          false,
          true},
         [&window](bool on) { window.toggleFullscreen(on); }},
        {"",
         {id("displayzoomin"), text("Zoom In"), {}, none, key("Ctrl+="), true},
         [&display](bool) { display.zoomIn(); }},
        {"",
         {id("displayzoomout"), text("Zoom Out"), {}, none, key("Ctrl+-"), true},
         [&display](bool) { display.zoomOut(); }},
        {"",
         {id("displayzoomfullyout"), text("Zoom Fully Out"), {}, none, key("Ctrl+0"), true},
         [&display](bool) { display.zoomFullyOut(); }},
        {"",
         {id("displayzoomtimein"), text("Zoom Time In"), {}, none, key("="), true},
         [&display](bool) { display.zoomTimeIn(); }},
        {"",
         {id("displayzoomtimeout"), text("Zoom Time Out"), {}, none, key("-"), true},
         [&display](bool) { display.zoomTimeOut(); }},
        {"",
         {id("displayzoomfreqin"), text("Zoom Frequency In"), {}, none, key("+"), true},
         [&display](bool) { display.zoomFreqIn(); }},
        {"",
         {id("displayzoomfreqout"), text("Zoom Frequency Out"), {}, none, key("_"), true},
         [&display](bool) { display.zoomFreqOut(); }},
    };
}

struct DisplayCommand
{
    const char* id;
    const char* label;
    void (DisplayPanel::*slot)();
    const char* keys;
};

using Panel = DisplayPanel;
constexpr DisplayCommand displayCommands[] = {
    {"displaycomposite", QT_TR_NOOP("Toggle Composite View"), &Panel::toggleCompositeView, "C"},
    {"displayincreasecolormap", QT_TR_NOOP("Increase Color Map Hue"), &Panel::increaseColormap, ""},
    {"displaydecreasecolormap", QT_TR_NOOP("Decrease Color Map Hue"), &Panel::decreaseColormap, ""},
    {"displayincreasebrightness", QT_TR_NOOP("Increase Brightness"), &Panel::increaseGamma, ""},
    {"displaydecreasebrightness", QT_TR_NOOP("Decrease Brightness"), &Panel::decreaseGamma, ""},
    {"displayincreaselowestamplitude", QT_TR_NOOP("Increase Lowest Amplitude"),
     &Panel::increaseLowestAmplitude, ""},
    {"displaydecreaselowestamplitude", QT_TR_NOOP("Decrease Lowest Amplitude"),
     &Panel::decreaseLowestAmplitude, ""},
    {"displayincreasehighestamplitude", QT_TR_NOOP("Increase Highest Amplitude"),
     &Panel::increaseHighestAmplitude, ""},
    {"displaydecreasehighestamplitude", QT_TR_NOOP("Decrease Highest Amplitude"),
     &Panel::decreaseHighestAmplitude, ""},
    {"displayincreaseselectionopacity", QT_TR_NOOP("Increase Selection Opacity"),
     &Panel::increaseSelectionOpacity, ""},
    {"displaydecreaseselectionopacity", QT_TR_NOOP("Decrease Selection Opacity"),
     &Panel::decreaseSelectionOpacity, ""},
    {"displayincreasefftdr", QT_TR_NOOP("Increase Spectral Dynamic Range"), &Panel::increaseWindow, ""},
    {"displaydecreasefftdr", QT_TR_NOOP("Decrease Spectral Dynamic Range"), &Panel::decreaseWindow, ""},
    {"displayincreasefftsize", QT_TR_NOOP("Increase FFT Size"), &Panel::increaseSize, "PgUp"},
    {"displaydecreasefftsize", QT_TR_NOOP("Decrease FFT Size"), &Panel::decreaseSize, "PgDown"},
    {"displayincreaseresolution", QT_TR_NOOP("Increase Resolution"), &Panel::increaseResolution, ""},
    {"displaydecreaseresolution", QT_TR_NOOP("Decrease Resolution"), &Panel::decreaseResolution, ""},
    {"displayincreasesharpening", QT_TR_NOOP("Increase Refinement"), &Panel::increaseSharpening, ""},
    {"displaydecreasesharpening", QT_TR_NOOP("Decrease Refinement"), &Panel::decreaseSharpening, ""},
};

std::vector<Row> displayRows(MainWindow& window)
{
    std::vector<Row> rows;
    for (const DisplayCommand& command : displayCommands) {
        ActionRow action;
        action.id = QString::fromLatin1(command.id);
        action.label = text(command.label);
        action.keys = QString::fromLatin1(command.keys);
        action.needsProject = true;
        rows.push_back(
            {"", action, [&panel = window.displayPanel(), slot = command.slot](bool) { (panel.*slot)(); }});
    }
    return rows;
}

std::vector<Row> helpRows(MainWindow& window)
{
    const auto id = [](const char* name) { return QString::fromLatin1(name); };
    return {
        {"&Help",
         {id("helpsupportinfo"), text("Support &Info"),
          text("Program, system and graphics, for the support")},
         [&window](bool) { window.showSupportInfo(); }},
        {"&Help",
         {id("helplog"), text("Log &Output"), text("The log of this session")},
         [&window](bool) { window.showLog(); }},
        separator,
        {"&Help",
         {id("helpabout"), text("&About"), text("Version and copyright")},
         [&window](bool) { window.showAbout(); }},
    };
}

QMenu* addRows(MainWindow& window, ActionTable& actions, const std::vector<Row>& rows)
{
    QMenu* menu = nullptr;
    for (const Row& row : rows) {
        if (!row.menu) {
            menu->addSeparator();
            continue;
        }
        QAction* action = actions.add(row.action, row.triggered);
        if (!*row.menu)
            continue;
        if (!menu)
            menu = window.menuBar()->addMenu(text(row.menu));
        menu->addAction(action);
    }
    return menu;
}

} // namespace

void buildMainMenu(MainWindow& window, ActionTable& actions)
{
    window.menuBar()->setAccessibleName(text("Menus"));
    addRows(window, actions, fileRows(window));
    addRows(window, actions, displayRows(window));
    QMenu* view = addRows(window, actions, viewRows(window));
    auto* panels = new QMenu(text("Panels"), view);
    for (QDockWidgetExt* panel : window.panels())
        panels->addAction(panel->toggleViewAction());
    view->insertMenu(view->actions().first(), panels);
    view->insertSeparator(view->actions().at(1));
    addRows(window, actions, helpRows(window));
}
