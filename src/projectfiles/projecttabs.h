// The tab bar, and the owner of all open projects.
#pragma once

#include "model/events.h"
#include "model/project.h"

#include <cstdint>
#include <memory>

#include <QList>
#include <QTabBar>

class IFilePlugin;
class SessionCache;
struct ImportedFile;

// One project for each tab. Every command on a whole document comes here: open, import, export,
// close. Commands return true when they were carried out. A failed or cancelled one has told the
// user, and leaves tabs, projects and session folder as they were.
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

public Q_SLOTS:
    // Asks for a file and opens it in a tab of its own.
    bool open();
    // Opens a named file, from the command line, a drop or another process. `sessionType`: 0 opens
    // it; 1 merges it into the project in front as a new layer (opens it when there is none); 2, when
    // a tab shows a file of that path, asks and replaces that tab. `startSmp` becomes the start of
    // the layer. `parent` and `server` are kept with the project.
    bool parse(const QString& fileName, int64_t startSmp = 0, int sessionType = 0, const QString& parent = {},
               const QString& server = {});
    // Asks for a file and adds it to the project in front as a new layer at the transport position.
    bool importLayer();
    // Asks for a name and writes the mix of a project's layers.
    bool exportProject(int tab);
    bool exportProject() { return exportProject(currentIndex()); }
    // Writes the project's manifest into the session folder, from where a start after a crash recovers it.
    // Happens by itself after every action of the history.
    bool backup(int tab);
    bool backup() { return backup(currentIndex()); }
    // Opens the manifests of crashed sessions, each in a tab of its own, and makes them this session's.
    // One that cannot be read stays, after its box.
    bool recover(const QStringList& manifests);
    // These hide QWidget::close() on purpose: nobody closes the tab bar itself.
    bool close(int tab, bool force);
    bool close(int tab) { return close(tab, false); }
    bool close() { return close(currentIndex(), false); }
    bool closeAll();

Q_SIGNALS:
    // Another project is in front, or none; its state has been posted.
    void currentProjectChanged();

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
    // What the views show: the project that is being loaded, otherwise that of the current tab.
    [[nodiscard]] ProjectPtr front() const { return m_loading ? m_loading : currentProject(); }
    [[nodiscard]] ProjectPtr load(const QString& path, int64_t start);
    bool openFile(const QString& path, int64_t start, const QString& parent, const QString& server);
    bool importFile(const QString& path, int64_t start);
    bool recoverProject(const QString& manifest);
    bool closeTabsOf(const QString& path);
    void addProject(const ProjectPtr& project);
    QWidget* makeCloseButton();
    void refreshTab(int tab);
    void markModified(); // the project in front, and its tab shows it
    void postCurrent();

    std::unique_ptr<SessionCache> m_cache; // outlives the layers: it keeps files that they let go
    QList<IFilePlugin*> m_plugins;
    QList<ProjectPtr> m_projects; // by tab
    ProjectPtr m_loading;         // shown while it has no tab yet
    ProjectPtr m_empty;           // what is posted without a project
};
