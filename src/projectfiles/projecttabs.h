// The tab bar, and the owner of all open projects.
#pragma once

#include "model/events.h"
#include "model/project.h"
#include "projectfiles/fileimport.h"
#include "projectfiles/flowhost.h"

#include <cstdint>
#include <memory>

#include <QList>
#include <QTabBar>

class SessionCache;

// One project for each tab. Every command on a whole document comes here, and is carried out by a flow
// of its own (NewProject, OpenFlow, ImportFlow, SaveFlow, ...). Commands return true when they were
// carried out. A failed or cancelled one has told the user, and leaves tabs, projects and session
// folder as they were. Those with a tab also exist for the current one. While one runs, the event loop
// may run too; isBusy() says so.
//
// While a file loads, its growing layer is shown, though it has no tab yet. What the bus tells of
// views, units and lists is stored into the project in front, so a change of tabs brings it back.
// Without a project an empty state is posted: a format without channels. GUI thread.
class ProjectTabs : public QTabBar, public IEvent
{
    Q_OBJECT

public:
    explicit ProjectTabs(QWidget* parent = nullptr);
    ~ProjectTabs() override;

    // The plug-ins must outlive this object.
    void setFilePlugins(const QList<IFilePlugin*>& plugins) { m_plugins = plugins; }
    // The project in front; null without one.
    [[nodiscard]] ProjectPtr currentProject() const { return project(currentIndex()); }
    [[nodiscard]] ProjectPtr project(int tab) const { return m_projects.value(tab); }
    // A command is in work: whoever brings files from outside waits for becameIdle().
    [[nodiscard]] bool isBusy() const { return m_busy > 0; }

public Q_SLOTS:
    // Asks for a format and opens an empty project of it.
    bool newProject();
    // Asks for a file, a project or a recording, and opens it in a tab of its own.
    bool open();
    // Opens a named file, from the command line, a drop or another process. `sessionType`: 0 opens
    // it; 1 merges it into the project in front as a new layer (opens it when there is none, or when it
    // is a project file); 2, when a tab shows a file of that path, asks and replaces that tab. `startSmp`
    // becomes the start of the layers. `parent` and `server` are kept with the project.
    bool parse(const QString& fileName, int64_t startSmp = 0, int sessionType = 0, const QString& parent = {},
               const QString& server = {});
    // Asks for files and adds them to the project in front as new layers at the transport position.
    bool importLayer();
    // Asks for a name and writes the mix of a project's layers.
    bool exportProject(int tab);
    bool exportProject() { return exportProject(currentIndex()); }
    // Writes the mix to the file that the project came from or was exported to, without a dialog.
    bool exportProjectBack(int tab);
    bool exportProjectBack() { return exportProjectBack(currentIndex()); }
    // Saves under the project's path; asks for one when it has none that is a project file's.
    bool save(int tab);
    bool save() { return save(currentIndex()); }
    bool saveAs(int tab);
    bool saveAs() { return saveAs(currentIndex()); }
    // Asks for another format and converts all layers. The history starts anew.
    bool changeFormat(int tab);
    bool changeFormat() { return changeFormat(currentIndex()); }
    // A copy of the whole project in a tab of its own.
    bool duplicateProject(int tab);
    bool duplicateProject() { return duplicateProject(currentIndex()); }
    // Asks for an open project or a new one, and copies the active layer there.
    bool duplicateTo(int tab);
    bool duplicateTo() { return duplicateTo(currentIndex()); }
    // Writes the project's manifest into the session folder, from where a start after a crash recovers it.
    // Happens by itself after every action of the history.
    bool backup(int tab);
    bool backup() { return backup(currentIndex()); }
    // Opens the manifests of crashed sessions, each in a tab of its own, and makes them this session's.
    // One that cannot be read stays, after its box.
    bool recover(const QStringList& manifests);
    // Asks about unsaved work unless `force`. These hide QWidget::close() on purpose: nobody closes the
    // tab bar itself.
    bool close(int tab, bool force);
    bool close(int tab) { return close(tab, false); }
    bool close() { return close(currentIndex(), false); }
    // Asks for each modified project before it closes the first, so that a cancel keeps all of them.
    bool closeAll();

Q_SIGNALS:
    // Another project is in front, or none, or its name is another one; its state has been posted.
    void currentProjectChanged();
    // A file was opened or saved.
    void recentFileUpdated(const QString& newFile);
    // Whether the project in front has a file to be written back to, and what the menu calls it.
    void exportBackEnabled(bool enable);
    void exportBackTextUpdated(const QString& text);
    // Whoever plays stops now: the samples are about to change.
    void transportStopRequested();
    // The last command in work has ended.
    void becameIdle();

public:
    void channelsModeEvent(EventId id, const ChannelsMode& mode) override;
    void transformEvent(EventId id, const TransformSettings& settings) override;
    void timeBaseEvent(EventId id, const TimeBase& base) override;
    void timeUnitEvent(EventId id, const int32_t& unit) override;
    void powerUnitEvent(EventId id, const int32_t& unit) override;
    void freqUnitEvent(EventId id, const int32_t& unit) override;
    void freqScaleEvent(EventId id, const int32_t& scale) override;
    void filteringEvent(EventId id, const int32_t& filtering) override;
    void layerEvent(EventId id, const ILayerPtr& layer) override;
    void metaDataEvent(EventId id, const MetaDataList& tags) override;
    void markersEvent(EventId id, const MarkerList& markers) override;
    void spectralMarkersEvent(EventId id, const SpectralMarkerList& markers) override;
    void historyRecordEvent(EventId id, const HistoryEntry& entry) override;
    void historyListEvent(EventId id, const QList<HistoryEntry>& states) override;
    void historyActivateEvent(EventId id, const int32_t& row) override;
    void selectionEvent(EventId id, const Selection& selection) override;
    void displayEnableEvent(EventId id, const bool& on) override;
    void displayValueEvent(EventId id, const float& value) override;
    void colormapEvent(EventId id, const int32_t& colormap) override;
    void areaEvent(EventId id, const Area& area) override;
    void powerRangeEvent(EventId id, const PowerRange& range) override;
    void displacementEvent(EventId id, const Displacement& displacement) override;
    void transportPositionEvent(EventId id, const int64_t& position) override;

protected:
    QSize minimumTabSizeHint(int tab) const override;

private:
    // Holds a command for its time.
    class Busy
    {
    public:
        explicit Busy(ProjectTabs& tabs) : m_tabs(tabs) { ++m_tabs.m_busy; }
        ~Busy();
        Busy(const Busy&) = delete;
        Busy& operator=(const Busy&) = delete;

    private:
        ProjectTabs& m_tabs;
    };

    // What the views show: the project that is being loaded, otherwise that of the current tab.
    [[nodiscard]] ProjectPtr front() const { return m_loading ? m_loading : currentProject(); }
    [[nodiscard]] FlowHost flowHost();
    bool openFile(const QString& path, int64_t start, FileImport::Source source);
    bool importFiles(const QStringList& paths, int64_t start, FileImport::Source source);
    bool recoverProject(const QString& manifest);
    bool closeTabsOf(const QString& path);
    // Asks about unsaved work and does what the user says; false keeps the project.
    bool settleUnsaved(const ProjectPtr& project);
    bool saved(const ProjectPtr& project, bool done);
    void addProject(const ProjectPtr& project);
    void removeProject(const ProjectPtr& project);
    QWidget* makeCloseButton();
    void refreshTab(const ProjectPtr& project);
    void markModified(); // the project in front, and its tab shows it
    void postCurrent();
    void tellExportBack();

    std::unique_ptr<SessionCache> m_cache; // outlives the layers: it keeps files that they let go
    QList<IFilePlugin*> m_plugins;
    QList<ProjectPtr> m_projects; // by tab
    ProjectPtr m_loading;         // shown while it has no tab yet
    ProjectPtr m_empty;           // what is posted without a project
    int m_busy = 0;               // commands in work, one inside the other
};
