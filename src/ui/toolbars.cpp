#include "ui/toolbars.h"

#include "display/channelsdisplay.h"
#include "editing/datamanager.h"
#include "model/toolstate.h"
#include "plugins/itoolplugin.h"
#include "plugins/plugincall.h"
#include "ui/actiontable.h"
#include "ui/editbar.h"
#include "ui/mainwindow.h"
#include "ui/toolpages.h"
#include "ui/toolreset.h"
#include "ui/widgets/qtoolbarext.h"
#include "ui/widgets/scrollstrip.h"
#include "ui/widgets/usersettings.h"

#include <QAction>
#include <QActionGroup>
#include <QApplication>
#include <QDebug>
#include <QKeyEvent>
#include <QMenu>
#include <QStackedWidget>
#include <QToolButton>
#include <QVariant>

#include <algorithm>
#include <utility>

namespace {

struct BuiltInTool
{
    const char* id;
    const char* label;
    const char* keys;
    const char* icon;
    EventId event;
    QWidget* (*makePage)(QWidget* parent); // null: no options
};

constexpr BuiltInTool builtInTools[] = {
    {"toolsplayback", QT_TRANSLATE_NOOP("MainWindow", "Playback"), "P", ":/icons/toolplayback.png",
     EventId::ToolPlaybackActivate, makePlaybackPage},
    {"tools3d", QT_TRANSLATE_NOOP("MainWindow", "3D Perspective"), "D", ":/icons/tool3d.png",
     EventId::ToolDisplaceActivate, nullptr},
    {"toolshand", QT_TRANSLATE_NOOP("MainWindow", "Hand"), "H", ":/icons/toolhand.png",
     EventId::ToolPanActivate, nullptr},
    {"toolszoom", QT_TRANSLATE_NOOP("MainWindow", "Zoom"), "Z", ":/icons/toolzoom.png",
     EventId::ToolZoomActivate, makeZoomPage},
};

// The one plug-in tool with keys of its own.
const QString keyedTool = QStringLiteral("Cursor Selection");
const QString keyedToolKeys = QStringLiteral("I");

QVariant appProperty(const char* key)
{
    return QCoreApplication::instance()->property(key);
}

void store(const char* key, const QVariant& value)
{
    if (appProperty(key) == value)
        return;
    QCoreApplication::instance()->setProperty(key, value);
    UserSettings().setValue(QString::fromLatin1(key), value);
}

QList<QAction*> builtInRows(ActionTable& actions)
{
    QList<QAction*> rows;
    for (const BuiltInTool& tool : builtInTools) {
        ActionRow row;
        row.id = QString::fromLatin1(tool.id);
        row.label = MainWindow::tr(tool.label);
        row.keys = QString::fromLatin1(tool.keys);
        row.checkable = true;
        rows << actions.add(row, [](bool) {});
        rows.last()->setIcon(QIcon(QString::fromLatin1(tool.icon)));
    }
    return rows;
}

bool isOwnKey(const QEvent& event)
{
    const auto& key = static_cast<const QKeyEvent&>(event);
    return !(key.modifiers() & ~Qt::KeypadModifier) &&
           (key.key() == Qt::Key_Return || key.key() == Qt::Key_Enter || key.key() == Qt::Key_Escape);
}

} // namespace

ToolBars::ToolBars(MainWindow& window)
    : QObject(&window),
      IEvent(QStringLiteral("ToolBars")),
      m_window(window),
      m_group(new QActionGroup(this)),
      m_reset(new ToolReset(window.channelsDisplay(), this)),
      m_edit(new EditBar(&window)),
      m_tools(new QToolBarExt(MainWindow::tr("Tools"), &window)),
      m_settings(new QToolBar(MainWindow::tr("Tool Settings"), &window)),
      m_pages(new QStackedWidget(m_settings)),
      m_noPage(new QWidget(m_pages))
{
    m_tools->setObjectName(QStringLiteral("tools"));
    m_tools->setAccessibleName(m_tools->windowTitle());
    m_tools->setExpanded(appProperty("toolbarexpanded").toBool());
    connect(m_tools, &QToolBarExt::expandedChanged, this, [](bool on) { store("toolbarexpanded", on); });
    m_settings->setObjectName(QStringLiteral("toolssettings"));
    m_settings->setAccessibleName(m_settings->windowTitle());
    m_settings->addWidget(new ScrollStrip(m_pages, m_settings->windowTitle(), m_settings));
    nameExtension(*m_settings);
    // A page that is not shown does not make the others as wide as itself.
    const auto fitWidth = [this] {
        for (int i = 0; i < m_pages->count(); ++i)
            m_pages->widget(i)->setSizePolicy(i == m_pages->currentIndex() ? QSizePolicy::Preferred
                                                                           : QSizePolicy::Ignored,
                                              QSizePolicy::Preferred);
    };
    connect(m_pages, &QStackedWidget::currentChanged, this, fitWidth);
    m_pages->addWidget(m_noPage);
    window.addToolBar(Qt::TopToolBarArea, m_edit);
    // A line of its own: the options of some tools need the whole width.
    window.addToolBarBreak(Qt::TopToolBarArea);
    window.addToolBar(Qt::TopToolBarArea, m_settings);
    window.addToolBar(Qt::LeftToolBarArea, m_tools);
    QCoreApplication::instance()->installEventFilter(this);
    m_again.setSingleShot(true);
    m_again.setInterval(0);
    connect(&m_again, &QTimer::timeout, this, [this] {
        if (m_shown >= 0)
            choose(m_shown, activeMode(m_entries[m_shown]));
    });
    connect(&window.dataManager(), &DataManager::toolFailed, this, [this] { m_failed = true; });
}

void ToolBars::fill(ActionTable& actions, const QList<IToolPlugin*>& tools, const QStringList& groups)
{
    m_edit->fill(actions);
    // What a plug-in calls itself must take no key from these.
    const QList<QAction*> builtIn = builtInRows(actions);
    QAction* reset = resetRow(actions);
    for (int i = 0; i < tools.size(); ++i) {
        if (i > 0 && groups.value(i) != groups.value(i - 1))
            m_tools->beginSection();
        addPlugin(tools[i], actions);
    }
    m_tools->beginSection();
    addBuiltIns(builtIn);
    m_tools->beginSection();
    addReset(reset);
}

void ToolBars::addPlugin(IToolPlugin* plugin, ActionTable& actions)
{
    Entry entry;
    entry.plugin = plugin;
    QString cause;
    const auto parts = callPlugin(cause, [&] {
        entry.name = plugin->description();
        entry.button = plugin->toolButton();
        entry.page = plugin->optionsWidget();
        return true;
    });
    if (parts && entry.button) {
        if (const QMenu* menu = entry.button->menu())
            for (QAction* action : menu->actions())
                if (!action->isSeparator() && !action->menu())
                    entry.modes << action;
        if (entry.modes.isEmpty() && entry.button->defaultAction())
            entry.modes << entry.button->defaultAction();
    }
    if (entry.modes.isEmpty()) {
        qWarning().noquote() << "tool" << plugin->metaObject()->className() << "is left out:"
                             << (parts ? QStringLiteral("it has no button with an action") : cause);
        return;
    }
    if (entry.name.trimmed().isEmpty())
        entry.name = entry.modes.first()->text();
    ActionRow row;
    row.id = QStringLiteral("tools") + QString(entry.name).toLower().remove(QLatin1Char(' '));
    row.label = entry.name;
    row.keys = entry.name == keyedTool ? keyedToolKeys : QString();
    const QAction* keys = actions.add(row, [button = entry.button](bool) { button->click(); });
    for (QAction* action : qAsConst(entry.modes)) {
        // For the eye: the row's own action answers, wherever the focus is.
        action->setShortcutContext(Qt::WidgetShortcut);
        action->setShortcuts(keys->shortcuts());
    }
    addEntry(entry);
}

void ToolBars::addBuiltIns(const QList<QAction*>& rows)
{
    for (int i = 0; i < rows.size(); ++i) {
        const BuiltInTool& tool = builtInTools[i];
        Entry entry;
        entry.name = MainWindow::tr(tool.label);
        entry.event = tool.event;
        entry.button = new QToolButton(m_tools);
        entry.modes << rows[i];
        entry.page = tool.makePage ? tool.makePage(m_pages) : nullptr;
        addEntry(entry);
    }
}

void ToolBars::addEntry(const Entry& entry)
{
    const int index = m_entries.size();
    m_entries << entry;
    for (int mode = 0; mode < entry.modes.size(); ++mode) {
        QAction* action = entry.modes[mode];
        action->setCheckable(true);
        m_group->addAction(action);
        tellKeys(*action);
        connect(action, &QAction::triggered, this, [this, index, mode] { choose(index, mode); });
    }
    if (!entry.modes.contains(entry.button->defaultAction()))
        entry.button->setDefaultAction(entry.modes.first());
    if (entry.button->menu())
        entry.button->setPopupMode(QToolButton::MenuButtonPopup);
    entry.button->setAccessibleName(entry.name);
    m_tools->addButton(entry.button);
    if (!entry.page)
        return;
    entry.page->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    m_pages->addWidget(entry.page);
    m_reset->remember(entry.page);
}

QAction* ToolBars::resetRow(ActionTable& actions)
{
    ActionRow row;
    row.id = QStringLiteral("toolsreset");
    row.label = MainWindow::tr("Reset All Tools");
    row.tip = MainWindow::tr("Tools, their options and the view as they were at the beginning");
    QAction* action = actions.add(row, [this](bool) {
        m_reset->resetAll();
        resetModes();
    });
    action->setIcon(QIcon(QStringLiteral(":/icons/reset.png")));
    tellKeys(*action);
    return action;
}

void ToolBars::addReset(QAction* action)
{
    auto* button = new QToolButton(m_tools);
    button->setDefaultAction(action);
    button->setAccessibleName(action->text());
    m_tools->addButton(button);
}

// The tool that is chosen stays so.
void ToolBars::resetModes()
{
    for (const Entry& entry : qAsConst(m_entries)) {
        if (!entry.plugin)
            continue;
        entry.plugin->mode = 0;
        entry.button->setDefaultAction(entry.modes.first());
    }
    if (m_shown >= 0 && m_entries[m_shown].plugin)
        choose(m_shown, 0);
}

// --- the choice ------------------------------------------------------------------------------------

void ToolBars::start()
{
    const QString name = appProperty("defaulttoolplugin").toString();
    const int event = appProperty("defaulttool").toInt();
    int first = -1;
    for (int i = 0; i < m_entries.size(); ++i) {
        const Entry& entry = m_entries[i];
        if (entry.plugin && first < 0)
            first = i;
        const bool named = entry.plugin ? event == int(EventId::ToolPluginActivate) && entry.name == name
                                        : event == int(entry.event);
        if (named)
            return choose(i, std::clamp(appProperty("defaulttoolmode").toInt(), 0, entry.modes.size() - 1));
    }
    if (first >= 0)
        choose(first, 0);
}

int ToolBars::activeMode(const Entry& entry) const
{
    return entry.plugin ? std::clamp(int(entry.plugin->mode), 0, entry.modes.size() - 1) : 0;
}

void ToolBars::choose(int index, int mode)
{
    const Entry& entry = m_entries[index];
    if (!entry.plugin)
        return postEvent(nullptr, entry.event, nullptr);
    entry.plugin->mode = uint32_t(mode);
    const int place = int(std::count_if(m_entries.begin(), m_entries.begin() + index,
                                        [](const Entry& other) { return other.plugin != nullptr; }));
    postEvent(nullptr, EventId::ToolPluginActivate, ToolActivation{entry.plugin, place}, nullptr);
}

void ToolBars::toolEvent(EventId id)
{
    if (id == EventId::ToolNoneActivate) {
        if (std::exchange(m_failed, false))
            show(-1);
        else
            m_again.start();
        return;
    }
    const auto found = std::find_if(m_entries.begin(), m_entries.end(),
                                    [id](const Entry& entry) { return !entry.plugin && entry.event == id; });
    show(found == m_entries.end() ? -1 : int(found - m_entries.begin()));
    store("defaulttool", int(id));
}

void ToolBars::toolPluginEvent(EventId id, const ToolActivation& tool)
{
    const auto found = std::find_if(m_entries.begin(), m_entries.end(), [&](const Entry& entry) {
        return entry.plugin && entry.plugin == tool.plugin;
    });
    if (found == m_entries.end())
        return show(-1);
    show(int(found - m_entries.begin()));
    store("defaulttool", int(id));
    store("defaulttoolplugin", found->name);
    store("defaulttoolmode", int(tool.plugin->mode));
}

void ToolBars::show(int index)
{
    m_shown = index;
    if (index < 0) {
        if (QAction* checked = m_group->checkedAction())
            checked->setChecked(false);
        return m_pages->setCurrentWidget(m_noPage);
    }
    const Entry& entry = m_entries[index];
    QAction* action = entry.modes[activeMode(entry)];
    action->setChecked(true);
    entry.button->setDefaultAction(action);
    m_pages->setCurrentWidget(entry.page ? entry.page : m_noPage);
}

QWidget* ToolBars::page() const
{
    return m_pages->currentWidget();
}

QMenu* ToolBars::makeMenu(QWidget* parent) const
{
    auto* menu = new QMenu(MainWindow::tr("Toolbars"), parent);
    menu->addAction(m_edit->toggleViewAction());
    menu->addAction(m_settings->toggleViewAction());
    menu->addAction(m_tools->toggleViewAction());
    return menu;
}

// --- keys ------------------------------------------------------------------------------------------

// Only where the pointer works: a field of the options has these keys for itself.
bool ToolBars::eventFilter(QObject* object, QEvent* event)
{
    const bool isKey = event->type() == QEvent::ShortcutOverride || event->type() == QEvent::KeyPress;
    if (!isKey || !object->isWidgetType() || !isOwnKey(*event) || !m_window.dataManager().isToolDrawing())
        return QObject::eventFilter(object, event);
    const auto* widget = static_cast<QWidget*>(object);
    // What a field elsewhere did not want comes by here too, on its way up.
    const QWidget* focus = QApplication::focusWidget();
    if (focus && focus != widget)
        return QObject::eventFilter(object, event);
    if (widget != &m_window && !m_window.channelsDisplay().isAncestorOf(widget))
        return QObject::eventFilter(object, event);
    if (event->type() == QEvent::ShortcutOverride)
        event->accept();
    else if (static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape)
        m_window.dataManager().cancelDrawing();
    else
        m_window.dataManager().acceptDrawing();
    return true;
}
