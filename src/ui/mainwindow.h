// The centre of the user interface.
#pragma once

#include "model/events.h"
#include "ui/sessionrecords.h"
#include "ui/widgets/qmainwindowext.h"
#include "ui/windowlayout.h"

#include <memory>

#include <QStringList>

class ActionTable;
class ChannelsDisplay;
class ChannelsPanel;
class DataManager;
class DisplayPanel;
class HistoryPanel;
class LayersPanel;
class IFilePlugin;
class IProcessPlugin;
class PluginLoader;
class ProjectTabs;
class QDockWidgetExt;
class QLocalServer;
class RecentFiles;
class StatusReadout;
class ToolBars;

// Owns the engine objects: the plug-ins, the project tabs, the channels display. A thin facade: what
// a menu entry does is done by ProjectTabs, ChannelsDisplay or a dialog class of its own.
//
// Built once the properties are complete. It is not shown by its constructor; records of the import
// queue are opened when the event loop runs, so that the user sees a recording grow while it loads.
class MainWindow : public QMainWindowExt, public IEvent
{
    Q_OBJECT

public:
    // `embedded`: inside a host application, which owns place and size of the window.
    explicit MainWindow(bool embedded, QWidget* parent = nullptr);
    ~MainWindow() override;

    [[nodiscard]] ProjectTabs& projectTabs() { return *m_tabs; }
    [[nodiscard]] ChannelsDisplay& channelsDisplay() { return *m_display; }
    [[nodiscard]] DataManager& dataManager() { return *m_data; }
    [[nodiscard]] RecentFiles& recentFiles() { return *m_recent; }
    [[nodiscard]] ActionTable& actionTable() { return *m_actions; }
    [[nodiscard]] DisplayPanel& displayPanel() { return *m_displayPanel; }
    [[nodiscard]] HistoryPanel& historyPanel() { return *m_historyPanel; }
    [[nodiscard]] ChannelsPanel& channelsPanel() { return *m_channelsPanel; }
    [[nodiscard]] LayersPanel& layersPanel() { return *m_layersPanel; }
    // The dock panels, in the order of the menu.
    [[nodiscard]] const QList<QDockWidgetExt*>& panels() const { return m_panels; }
    [[nodiscard]] QList<IFilePlugin*> filePlugins() const;
    [[nodiscard]] QList<IProcessPlugin*> processPlugins() const;
    [[nodiscard]] ToolBars& toolBars() { return *m_toolBars; }

    // How many records of the import queue were acted on, and which of their files did not open.
    [[nodiscard]] int importedRecords() const { return m_importedRecords; }
    [[nodiscard]] const QStringList& failedImports() const { return m_failedImports; }

    // Whether the controls are those of a tablet; at the start as the property `defaultlayoutmode` has it.
    [[nodiscard]] bool isTabletMode() const { return m_tablet; }

    void areaEvent(EventId id, const Area& area) override;

public Q_SLOTS:
    // Takes the property `importqueue`, clears it at once (a re-entrant call sees nothing twice) and
    // acts on its records in order. Called after the start, and whenever somebody has appended to
    // the queue.
    void sessionImport();
    // What the start does about crashed sessions: asks, and clears up. Records of the queue wait meanwhile.
    // Runs the event loop.
    void recoverSessions();
    // Takes the launches that wait at the server, eight at a time; the others wait there.
    void sessionNewSocket(QLocalServer& server);
    // Appends records of another launch to the queue and acts on them. A launch is refused while
    // 40,000 records of others still wait.
    void sessionSocketData(const QByteArray& records);
    void toggleFullscreen(bool on);
    void setTabletMode(bool on);
    // Ask for the file first.
    void loadLayout();
    void saveLayout();
    // Take panels and tool bars, or the panels alone, out of the window, and put them back.
    void toggleCompactAll();
    void toggleCompactPanels();
    // Leads the keys from the views to the panels and tool bars in turn, and back.
    void focusNextPanel(bool forward);
    // As Tab does where it is no command.
    void focusNextControl(bool forward);
    void showShortcuts();
    void showLibraries();
    void showLog();
    void showSupportInfo();
    void showAbout();

protected:
    void closeEvent(QCloseEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    void loadPlugins();
    void buildCentral();
    void buildPanels();
    void connectPlugins();
    void showTabState();
    [[nodiscard]] QList<QWidget*> compactWidgets(bool toolBars) const;
    void actOn(const SessionRecord& record);

    bool m_embedded;
    Area m_viewArea;
    bool m_tablet = false;
    CompactSwitch m_compact;
    bool m_wasMaximized = false;    // before full screen
    QList<SessionRecord> m_records; // not acted on yet
    bool m_importing = false;
    int m_connections = 0; // launches that are being read
    int m_importedRecords = 0;
    QStringList m_failedImports;
    std::unique_ptr<PluginLoader> m_plugins;
    // Children of the window.
    ProjectTabs* m_tabs = nullptr;
    ChannelsDisplay* m_display = nullptr;
    DataManager* m_data = nullptr;
    RecentFiles* m_recent = nullptr;
    ActionTable* m_actions = nullptr;
    ToolBars* m_toolBars = nullptr;
    StatusReadout* m_status = nullptr;
    // Each in one of m_panels.
    DisplayPanel* m_displayPanel = nullptr;
    HistoryPanel* m_historyPanel = nullptr;
    ChannelsPanel* m_channelsPanel = nullptr;
    LayersPanel* m_layersPanel = nullptr;
    QList<QDockWidgetExt*> m_panels;
};
