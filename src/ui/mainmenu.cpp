#include "ui/mainmenu.h"

#include "editing/datamanager.h"
#include "projectfiles/projecttabs.h"
#include "ui/actiontable.h"
#include "ui/channelsmenu.h"
#include "ui/displaypanel.h"
#include "ui/helpmenu.h"
#include "ui/historypanel.h"
#include "ui/layerspanel.h"
#include "ui/mainwindow.h"
#include "ui/pictureexport.h"
#include "ui/recentfiles.h"
#include "ui/viewmenu.h"

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
    QMenu* submenu = nullptr; // holds the action; without one (no id) it stands in its place
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

QString id(const char* name)
{
    return QString::fromLatin1(name);
}

// A row of a command on the project in front.
Row projectRow(const char* menu, const char* name, const QString& label, const char* tip,
               std::function<void(bool)> triggered, QKeySequence::StandardKey key = QKeySequence::UnknownKey)
{
    return {menu, {id(name), label, text(tip), key, {}, true}, std::move(triggered)};
}

std::vector<Row> fileRows(MainWindow& window)
{
    ProjectTabs& tabs = window.projectTabs();
    const char* const file = QT_TR_NOOP("&File");
    return {
        {file,
         {id("filenew"), text("&New Project..."), text("An empty project in a new tab"), QKeySequence::New},
         [&tabs](bool) { tabs.newProject(); }},
        {file,
         {id("fileopen"), text("&Open..."), text("Open a project or a recording in a new tab"),
          QKeySequence::Open},
         [&tabs](bool) { tabs.open(); }},
        {file, {}, {}, window.recentFiles().menu()},
        separator,
        projectRow(
            file, "fileclose", text("&Close Project"), "Close the project in front",
            [&tabs](bool) { tabs.close(); }, QKeySequence::Close),
        projectRow(file, "filecloseall", text("Close All"), "Close all projects",
                   [&tabs](bool) { tabs.closeAll(); }),
        separator,
        projectRow(
            file, "filesave", text("&Save Project"), "Save the project under its name",
            [&tabs](bool) { tabs.save(); }, QKeySequence::Save),
        projectRow(
            file, "filesaveas", text("Save Project &As..."), "Save the project under another name",
            [&tabs](bool) { tabs.saveAs(); }, QKeySequence::SaveAs),
        separator,
        projectRow(file, "fileimportLayer", text("&Import Layer %1...").arg(channelWord()),
                   "Add recordings to the project in front as new layers",
                   [&tabs](bool) { tabs.importLayer(); }),
        projectRow(file, "fileexportproject", text("&Export Project %1...").arg(channelWord()),
                   "Write the mix of the layers to a file", [&tabs](bool) { tabs.exportProject(); }),
        {file,
         {id("fileexportback"), text("&Replace Project %1").arg(channelWord()),
          text("Write the mix to the file that the project came from or was exported to")},
         [&tabs](bool) { tabs.exportProjectBack(); }},
        projectRow(file, "fileexportpicture", text("Export &Picture..."),
                   "Write a picture of the view to a file", [&window](bool) { exportPicture(window); }),
        separator,
        {file,
         {id("filexit"), text("E&xit"), text("Close all projects and the program"), QKeySequence::Quit},
         [&window](bool) { window.close(); }},
    };
}

// A row of an edit; what it needs is followed by followEditing().
Row editingRow(MainWindow& window, const char* menu, const char* name, const QString& label, const char* tip,
               void (DataManager::*slot)(), QKeySequence::StandardKey key, const char* keys = "")
{
    DataManager& data = window.dataManager();
    return {menu, {id(name), label, text(tip), key, QString::fromLatin1(keys)}, [&data, slot](bool) {
                (data.*slot)();
            }};
}

std::vector<Row> editRows(MainWindow& window)
{
    HistoryPanel& history = window.historyPanel();
    const char* const edit = QT_TR_NOOP("&Edit");
    const auto none = QKeySequence::UnknownKey;
    return {
        {edit,
         {id("editundo"), text("&Undo"), text("Take the last action back"), QKeySequence::Undo},
         [&history](bool) { history.undo(); }},
        {edit,
         {id("editredo"), text("&Redo"), text("Do again what was taken back"), QKeySequence::Redo},
         [&history](bool) { history.redo(); }},
        separator,
        editingRow(window, edit, "editcut", text("Cu&t"), "Move what is selected to the clipboard",
                   &DataManager::cut, QKeySequence::Cut),
        editingRow(window, edit, "editcutnew", text("Cut to Ne&w Layer"),
                   "Move what is selected to a new layer", &DataManager::cutToNew, none, "Ctrl+Shift+X"),
        editingRow(window, edit, "editcopy", text("&Copy"), "Copy what is selected to the clipboard",
                   &DataManager::copy, QKeySequence::Copy),
        editingRow(window, edit, "editcopyall", text("Copy from &All Layers"),
                   "Copy what is selected of the mix to the clipboard", &DataManager::copyFromAll, none,
                   "Ctrl+Shift+C"),
        editingRow(window, edit, "editcopynew", text("Copy to Ne&w Layer"),
                   "Copy what is selected to a new layer", &DataManager::copyToNew, none, "Ctrl+Alt+C"),
        editingRow(window, edit, "editpaste", text("&Paste"),
                   "Add the clipboard to the active layer, in place of what is selected", &DataManager::paste,
                   QKeySequence::Paste),
        editingRow(window, edit, "editpastenew", text("Paste to &New Layer"), "The clipboard in a new layer",
                   &DataManager::pasteToNew, none, "Ctrl+Shift+V"),
        separator,
        editingRow(window, edit, "editdel", text("&Delete"), "Take away what is selected", &DataManager::del,
                   none, "Backspace; Del"),
    };
}

std::vector<Row> selectRows(MainWindow& window)
{
    const char* const select = QT_TR_NOOP("Select");
    auto* modify = new QMenu(text("Modify Selection"), &window);
    const auto row = [&](const char* name, const char* label, const char* tip, void (DataManager::*slot)(),
                         const char* keys = "", QMenu* submenu = nullptr) {
        Row made = editingRow(window, select, name, text(label), tip, slot, QKeySequence::UnknownKey, keys);
        made.submenu = submenu;
        return made;
    };
    return {
        {select,
         {id("selectselectall"),
          text("Select All"),
          text("Select the whole project"),
          QKeySequence::SelectAll,
          {},
          true},
         [&data = window.dataManager()](bool) { data.selectAll(); }},
        row("selectdeselect", "Deselect", "Select nothing", &DataManager::deselect, "Ctrl+D"),
        row("selectreselect", "Reselect", "Bring the last selection back", &DataManager::reselect,
            "Ctrl+Shift+D"),
        {select,
         {id("selectinvert"), text("Invert Selection"), text("Select what is not selected"),
          QKeySequence::UnknownKey, QStringLiteral("Ctrl+I"), true},
         [&data = window.dataManager()](bool) { data.invertSelection(); }},
        row("selectinvertfreq", "Invert Selection Frequencies",
            "Select the other frequencies of the selected time", &DataManager::invertSelectionFreq,
            "Ctrl+Shift+I"),
        {select, {}, {}, modify},
        row("selectexpand", "Expand...", "Make the selection larger", &DataManager::expandSelection, "",
            modify),
        row("selectcontract", "Contract...", "Make the selection smaller", &DataManager::contractSelection,
            "", modify),
        row("selectfade", "Fade...", "Make the edges of the selection softer", &DataManager::fadeSelection,
            "", modify),
        separator,
        row("selectload", "Load Selection...", "Take a saved selection", &DataManager::loadSelection),
        row("selectsave", "Save Selection...", "Keep the selection under a name",
            &DataManager::saveSelection),
    };
}

std::vector<Row> projectRows(MainWindow& window)
{
    ProjectTabs& tabs = window.projectTabs();
    DataManager& data = window.dataManager();
    const char* const project = QT_TR_NOOP("Pro&ject");
    return {
        projectRow(project, "projectduplicate", text("&Duplicate"), "A copy of the project in a new tab",
                   [&tabs](bool) { tabs.duplicateProject(); }),
        separator,
        projectRow(project, "projectinserttime", text("Insert Time..."),
                   "Open a gap of silence in all layers", [&data](bool) { data.insertTime(); }),
        projectRow(project, "projectremovetime", text("Delete Time..."),
                   "Take a stretch of time out of all layers", [&data](bool) { data.deleteTime(); }),
        projectRow(project, "projectcroptime", text("Crop Time..."),
                   "Keep a stretch of time of all layers, and nothing else",
                   [&data](bool) { data.cropTime(); }),
        projectRow(project, "projectformat", text("&Reformat..."),
                   "Change sample rate and channels of the project", [&tabs](bool) { tabs.changeFormat(); }),
    };
}

struct LayerCommand
{
    const char* id;
    const char* label; // null: keys only
    const char* tip;
    void (LayersPanel::*slot)();
    bool (LayersPanel::*canDo)() const; // null: while a project is open
    const char* keys = "";
    QKeySequence::StandardKey standard = QKeySequence::UnknownKey;
};

using Layers = LayersPanel;
constexpr LayerCommand newLayer{
    "layernewlayer",   QT_TR_NOOP("&New Layer"), QT_TR_NOOP("An empty layer above the active one"),
    &Layers::newLayer, &Layers::canCreate,       "Ctrl+Shift+N"};
constexpr LayerCommand newGroup{"layernewgroup", QT_TR_NOOP("New &Group"),
                                QT_TR_NOOP("An empty group above the active layer"), &Layers::newGroup,
                                &Layers::canCreate};
constexpr LayerCommand duplicateLayer{
    "layerduplicate",         QT_TR_NOOP("&Duplicate"), QT_TR_NOOP("A copy of the active layer above it"),
    &Layers::duplicateActive, &Layers::canActOnActive,  "Ctrl+J"};
constexpr LayerCommand layerCommands[] = {
    {"layerdelete", QT_TR_NOOP("Delete"), QT_TR_NOOP("Delete the active layer"), &Layers::deleteActive,
     &Layers::canActOnActive},
    {"layerrename", QT_TR_NOOP("&Rename..."), QT_TR_NOOP("Rename the active layer"), &Layers::rename,
     &Layers::canActOnActive},
    {},
    {"layergroup", QT_TR_NOOP("&Group"), QT_TR_NOOP("Put the active layer into a new group"), &Layers::group,
     &Layers::canActOnActive},
    {"layerungroup", QT_TR_NOOP("&Ungroup"), QT_TR_NOOP("Put the layers of the active group in its place"),
     &Layers::ungroup, &Layers::canUngroup},
    {"layermergedown", QT_TR_NOOP("&Merge Down"),
     QT_TR_NOOP("The active layer and the one below it into one"), &Layers::mergeDownActive,
     &Layers::canMergeDown, "Ctrl+E"},
    {"layermergevisible", QT_TR_NOOP("Merge &Visible"), QT_TR_NOOP("All layers that are not muted into one"),
     &Layers::mergeVisible, &Layers::canMergeVisible, "Ctrl+Shift+E"},
    {"layermergeall", QT_TR_NOOP("Merge &All"), QT_TR_NOOP("All layers into one"), &Layers::mergeAll,
     &Layers::canMergeAll},
};
constexpr LayerCommand layerKeys[] = {
    {"layeractivateabove", QT_TR_NOOP("Activate Above"), "", &Layers::activateAbove, nullptr, "",
     QKeySequence::MoveToPreviousLine},
    {"layeractivatebelow", QT_TR_NOOP("Activate Below"), "", &Layers::activateBelow, nullptr, "",
     QKeySequence::MoveToNextLine},
    {"layermute", QT_TR_NOOP("Mute"), "", &Layers::mute, nullptr, "Shift+M"},
    {"layersolo", QT_TR_NOOP("Solo"), "", &Layers::solo, nullptr, "Shift+S"},
};

Row layerRow(MainWindow& window, const char* menu, const LayerCommand& command)
{
    if (!command.id)
        return separator;
    ActionRow action;
    action.id = id(command.id);
    action.label = text(command.label);
    action.tip = *command.tip ? text(command.tip) : QString();
    action.standard = command.standard;
    action.keys = QString::fromLatin1(command.keys);
    action.needsProject = !command.canDo;
    return {menu, action, [&panel = window.layersPanel(), slot = command.slot](bool) { (panel.*slot)(); }};
}

std::vector<Row> layerRows(MainWindow& window)
{
    const char* const layer = QT_TR_NOOP("&Layer");
    ProjectTabs& tabs = window.projectTabs();
    std::vector<Row> rows = {
        layerRow(window, layer, newLayer),
        layerRow(window, layer, newGroup),
        separator,
        layerRow(window, layer, duplicateLayer),
        projectRow(layer, "layerduplicateto", text("Duplicate &To..."),
                   "Copy the active layer to another project", [&tabs](bool) { tabs.duplicateTo(); }),
    };
    for (const LayerCommand& command : layerCommands)
        rows.push_back(layerRow(window, layer, command));
    for (const LayerCommand& command : layerKeys)
        rows.push_back(layerRow(window, "", command));
    return rows;
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

struct BrushKey
{
    const char* id;
    const char* label;
    const char* keys;
    void (DataManager::*signal)();
};

constexpr BrushKey brushKeys[] = {
    {"toolsincreasebrushsize", QT_TR_NOOP("Increase Brush Size"), "]", &DataManager::increaseBrushSize},
    {"toolsdecreasebrushsize", QT_TR_NOOP("Decrease Brush Size"), "[", &DataManager::decreaseBrushSize},
    {"toolsincreasebrushaspectratio", QT_TR_NOOP("Increase Brush Aspect Ratio"), "}",
     &DataManager::increaseBrushAspectRatio},
    {"toolsdecreasebrushaspectratio", QT_TR_NOOP("Decrease Brush Aspect Ratio"), "{",
     &DataManager::decreaseBrushAspectRatio},
    {"toolsincreasebrushhardness", QT_TR_NOOP("Increase Brush Hardness"), "Alt+]",
     &DataManager::increaseBrushHardness},
    {"toolsdecreasebrushhardness", QT_TR_NOOP("Decrease Brush Hardness"), "Alt+[",
     &DataManager::decreaseBrushHardness},
};

void addBrushKeys(MainWindow& window, ActionTable& actions)
{
    for (const BrushKey& key : brushKeys) {
        ActionRow row;
        row.id = id(key.id);
        row.label = text(key.label);
        row.keys = QString::fromLatin1(key.keys);
        actions.add(row, [&data = window.dataManager(), signal = key.signal](bool) {
            Q_EMIT(data.*signal)();
        });
    }
}

QMenu* addRows(MainWindow& window, ActionTable& actions, const std::vector<Row>& rows)
{
    QMenu* menu = nullptr;
    for (const Row& row : rows) {
        if (!row.menu) {
            menu->addSeparator();
            continue;
        }
        if (row.submenu && row.action.id.isEmpty()) {
            menu->addMenu(row.submenu);
            continue;
        }
        QAction* action = actions.add(row.action, row.triggered);
        if (!*row.menu)
            continue;
        if (!menu)
            menu = window.menuBar()->addMenu(text(row.menu));
        (row.submenu ? row.submenu : menu)->addAction(action);
    }
    return menu;
}

// The entry names what it replaces; while there is nothing, the channel word.
void followExportBack(MainWindow& window, QAction* action)
{
    ProjectTabs& tabs = window.projectTabs();
    QObject::connect(&tabs, &ProjectTabs::exportBackTextUpdated, action, [action](QString name) {
        name.replace(QLatin1Char('&'), QLatin1String("&&"));
        action->setText(text("&Replace Project %1").arg(name.isEmpty() ? channelWord() : name));
    });
    QObject::connect(&tabs, &ProjectTabs::exportBackEnabled, action, &QAction::setEnabled);
    action->setEnabled(false);
}

// Enabled as long as there is something to undo or redo.
void followHistory(HistoryPanel& history, QAction* undo, QAction* redo)
{
    undo->setEnabled(history.history().canUndo());
    redo->setEnabled(history.history().canRedo());
    QObject::connect(&history, &HistoryPanel::undoEnabled, undo, &QAction::setEnabled);
    QObject::connect(&history, &HistoryPanel::redoEnabled, redo, &QAction::setEnabled);
}

// Enabled as far as the tree of layers allows it.
void followLayers(LayersPanel& panel, ActionTable& actions)
{
    const auto show = [&panel, &actions] {
        const auto enable = [&](const LayerCommand& command) {
            if (command.canDo)
                actions.action(id(command.id))->setEnabled((panel.*command.canDo)());
        };
        for (const LayerCommand& command : {newLayer, newGroup, duplicateLayer})
            enable(command);
        for (const LayerCommand& command : layerCommands)
            enable(command);
        actions.action(id("layermergedown"))
            ->setText(panel.isActiveAGroup() ? text("&Merge Group") : text("&Merge Down"));
    };
    QObject::connect(&panel, &LayersPanel::stateChanged, &actions, show);
    show();
}

// Enabled as long as there is what they work on.
void followEditing(MainWindow& window, const ActionTable& actions)
{
    DataManager& data = window.dataManager();
    const auto follow = [&](void (DataManager::*told)(bool), std::initializer_list<const char*> names) {
        for (const char* name : names) {
            QAction* action = actions.action(id(name));
            action->setEnabled(false);
            QObject::connect(&data, told, action, &QAction::setEnabled);
        }
    };
    follow(&DataManager::selectionEnabled,
           {"editcut", "editcutnew", "editcopy", "editcopyall", "editcopynew", "editdel", "selectdeselect",
            "selectinvertfreq", "selectexpand", "selectcontract", "selectfade", "selectsave"});
    follow(&DataManager::selectionBackupEnabled, {"selectreselect"});
    follow(&DataManager::selectionLoadEnabled, {"selectload"});
    for (const char* name : {"editpaste", "editpastenew"}) {
        QAction* action = actions.action(id(name));
        const auto refresh = [action, &data, &tabs = window.projectTabs()] {
            action->setEnabled(data.clipboard() && tabs.currentProject());
        };
        refresh();
        QObject::connect(&data, &DataManager::clipboardEnabled, action, refresh);
        QObject::connect(&window.projectTabs(), &ProjectTabs::currentProjectChanged, action, refresh);
    }
}

} // namespace

QMenu& buildMainMenu(MainWindow& window, ActionTable& actions)
{
    window.menuBar()->setAccessibleName(text("Menus"));
    addRows(window, actions, fileRows(window));
    addRows(window, actions, editRows(window));
    addRows(window, actions, selectRows(window));
    followEditing(window, actions);
    addRows(window, actions, projectRows(window));
    addRows(window, actions, layerRows(window));
    QMenu& process = *window.menuBar()->addMenu(text(QT_TR_NOOP("&Process")));
    addChannelCommands(*window.menuBar(), actions, window.channelsDisplay());
    addRows(window, actions, displayRows(window));
    addBrushKeys(window, actions);
    buildViewMenu(window, actions);
    buildHelpMenu(window, actions);
    followExportBack(window, actions.action(id("fileexportback")));
    followLayers(window.layersPanel(), actions);
    followHistory(window.historyPanel(), actions.action(id("editundo")), actions.action(id("editredo")));
    return process;
}
