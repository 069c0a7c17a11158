// The tools that the user may choose, and the options of the one that is chosen.
#pragma once

#include "model/events.h"

#include <QList>
#include <QObject>
#include <QStringList>
#include <QTimer>

class ActionTable;
class EditBar;
class IToolPlugin;
class MainWindow;
class QAction;
class QActionGroup;
class QMenu;
class QStackedWidget;
class QToolBar;
class QToolBarExt;
class QToolButton;
class QWidget;
class ToolReset;

// The bars "Edit", "Tool Settings" and "Tools", the last with a button for each plug-in tool, in sections by
// group, and those of the built-in tools. One tool at most is chosen. The choice goes out as an event, and
// what is checked and shown follows the event, whoever has posted it; it is stored for the next start. A
// project that comes to the front lays the tool down, and it is chosen again as soon as the project is told.
//
// While a tool draws an outline, Return and Escape in the channels are its own. GUI thread.
class ToolBars : public QObject, public IEvent
{
    Q_OBJECT

public:
    explicit ToolBars(MainWindow& window);
    // Once `actions` has the rows of the menus; rows are added to it for all tools. A plug-in that throws or
    // has no button is left out, with a warning that names it. `groups`: that of each tool.
    void fill(ActionTable& actions, const QList<IToolPlugin*>& tools, const QStringList& groups);

    // Chooses the tool of the properties `defaulttool`, `defaulttoolplugin` and `defaulttoolmode`; where they
    // name none that is there, the first plug-in.
    void start();

    [[nodiscard]] EditBar* edit() const { return m_edit; }
    [[nodiscard]] ToolReset& reset() { return *m_reset; }
    [[nodiscard]] QToolBarExt* tools() const { return m_tools; }
    [[nodiscard]] QToolBar* settings() const { return m_settings; }
    // The page of the chosen tool; an empty one where it has none.
    [[nodiscard]] QWidget* page() const;
    [[nodiscard]] QActionGroup* group() const { return m_group; }
    // The entries "Toolbars" of the View menu.
    [[nodiscard]] QMenu* makeMenu(QWidget* parent) const;

    void toolEvent(EventId id) override;
    void toolPluginEvent(EventId id, const ToolActivation& tool) override;
    bool eventFilter(QObject* object, QEvent* event) override;

private:
    struct Entry
    {
        QString name;
        IToolPlugin* plugin = nullptr; // null for a built-in tool
        EventId event = EventId::ToolPluginActivate;
        QToolButton* button = nullptr;
        QList<QAction*> modes; // at least one; the default action of the button is one of them
        QWidget* page = nullptr;
    };

    void addPlugin(IToolPlugin* plugin, ActionTable& actions);
    void addBuiltIns(const QList<QAction*>& rows);
    QAction* resetRow(ActionTable& actions);
    void addReset(QAction* action);
    void resetModes();
    void addEntry(const Entry& entry);
    void choose(int entry, int mode);
    void show(int entry);
    [[nodiscard]] int activeMode(const Entry& entry) const;

    MainWindow& m_window;
    QActionGroup* m_group;
    ToolReset* m_reset;
    EditBar* m_edit;
    QToolBarExt* m_tools;
    QToolBar* m_settings;
    QStackedWidget* m_pages;
    QWidget* m_noPage;
    QList<Entry> m_entries;
    int m_shown = -1;
    bool m_failed = false; // the tool that is laid down next has thrown
    QTimer m_again;        // runs out where the tool shown is chosen again
};
