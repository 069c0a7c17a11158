#include "ui/mainmenu.h"

#include "display/channelsdisplay.h"
#include "projectfiles/projecttabs.h"
#include "ui/actiontable.h"
#include "ui/mainwindow.h"

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
         {id("displaycomposite"), text("Toggle Composite View"), {}, none, key("C"), true},
         [&window](bool) { window.toggleComposite(); }},
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

void addRows(MainWindow& window, ActionTable& actions, const std::vector<Row>& rows)
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
}

} // namespace

void buildMainMenu(MainWindow& window, ActionTable& actions)
{
    window.menuBar()->setAccessibleName(text("Menus"));
    addRows(window, actions, fileRows(window));
    addRows(window, actions, viewRows(window));
    addRows(window, actions, helpRows(window));
}
