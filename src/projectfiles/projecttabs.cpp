#include "projectfiles/projecttabs.h"

#include "projectfiles/fileexport.h"
#include "projectfiles/fileformats.h"
#include "projectfiles/fileimport.h"
#include "projectfiles/loadprogress.h"
#include "projectfiles/postproject.h"
#include "projectfiles/projectdefaults.h"
#include "projectfiles/sessioncache.h"
#include "ui/widgets/filechooser.h"
#include "ui/widgets/messages.h"

#include <QCoreApplication>
#include <QDebug>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QSignalBlocker>
#include <QToolButton>
#include <QVariant>

#include <algorithm>

namespace {

constexpr int replaceSession = 2;
constexpr int mergeSession = 1;

QString formatText(const SamplingFormat& format)
{
    return ProjectTabs::tr("%1 Hz, %n channel(s)", nullptr, format.channels)
        .arg(format.sampleRate, 0, 'g', 15);
}

// Marks of the file stand where its layer stands.
MarkerList shifted(MarkerList markers, int64_t start)
{
    for (Marker& marker : markers)
        marker.position += start;
    return markers;
}

SpectralMarkerList shifted(SpectralMarkerList markers, int64_t start)
{
    for (SpectralMarker& marker : markers)
        marker.time += double(start);
    return markers;
}

// What the file tells beside its samples; tags that the project has already stay.
void addLists(Project& project, const ImportedFile& file, int64_t start)
{
    project.setMarkerList(project.markerList() + shifted(file.markers, start));
    project.setSpectralMarkerList(project.spectralMarkerList() + shifted(file.spectralMarkers, start));
    for (auto it = file.metaData.begin(); it != file.metaData.end(); ++it)
        if (!project.metadata.contains(it.key()))
            project.metadata.insert(it.key(), it.value());
}

// How often a growing layer is drawn anew: each time costs a whole picture, on the cores that decode.
class Pace
{
public:
    Pace() { m_timer.start(); }
    bool isDue()
    {
        if (m_timer.elapsed() < interval)
            return false;
        m_timer.restart();
        return true;
    }

private:
    static constexpr int interval = 300; // ms
    QElapsedTimer m_timer;
};

// Navigation may cost the last digits.
bool isWhole(const Area& area, const Area& whole)
{
    constexpr double nearly = 1 - 1e-6;
    return area.width >= whole.width * nearly && area.height >= whole.height * nearly;
}

// `layer` stands directly above the active one, or on top.
void insertLayer(Project& project, const LayerPtr& layer)
{
    const int active = int(project.layers()->children(ChildrenDirect).indexOf(project.activeLayer()));
    project.layers()->insertChildAt(std::max(active, 0), layer);
    project.setActiveLayer(layer);
}

} // namespace

ProjectTabs::ProjectTabs(QWidget* parent)
    : QTabBar(parent),
      IEvent(QStringLiteral("ProjectTabs")),
      m_cache(std::make_unique<SessionCache>()),
      m_empty(std::make_shared<Project>(SamplingFormat()))
{
    setObjectName(QStringLiteral("projects"));
    setAccessibleName(tr("Open projects"));
    setDocumentMode(true);
    setDrawBase(false);
    setExpanding(false);
    setElideMode(Qt::ElideMiddle);
    setUsesScrollButtons(true);
    setVisible(false);
    connect(this, &QTabBar::currentChanged, this, &ProjectTabs::postCurrent);
}

ProjectTabs::~ProjectTabs()
{
    // The tabs go with the base class, when the projects are gone already.
    disconnect(this, &QTabBar::currentChanged, this, nullptr);
    for (const ProjectPtr& project : m_projects)
        m_cache->leave(*project);
}

bool ProjectTabs::open()
{
    filechooser::Request request;
    request.title = tr("Open Project");
    request.filters = fileformats::importFilters(m_plugins);
    const QString path = filechooser::choose(window(), request).path;
    if (path.isEmpty())
        return false;
    qInfo().noquote() << QStringLiteral("opening %1...").arg(path);
    return openFile(path, 0, {}, {});
}

bool ProjectTabs::parse(const QString& fileName, int64_t startSmp, int sessionType, const QString& parent,
                        const QString& server)
{
    const QString path = QDir::cleanPath(QDir::current().absoluteFilePath(fileName));
    qInfo().noquote() << QStringLiteral("opening %1...").arg(path);
    if (sessionType == mergeSession && currentProject())
        return importFile(path, startSmp);
    if (sessionType == replaceSession && !closeTabsOf(path))
        return false;
    return openFile(path, startSmp, parent, server);
}

bool ProjectTabs::closeTabsOf(const QString& path)
{
    const auto shows = [&path](const ProjectPtr& project) { return project->filePath() == path; };
    if (std::none_of(m_projects.begin(), m_projects.end(), shows))
        return true;
    if (!messages::question(window(), tr("Replace Project"),
                            tr("Replace with new data from %1 ?").arg(QFileInfo(path).fileName())))
        return false;
    for (int tab = m_projects.size() - 1; tab >= 0; --tab)
        if (shows(m_projects[tab]))
            close(tab, true);
    return true;
}

ProjectPtr ProjectTabs::load(const QString& path, int64_t start)
{
    const QString name = QFileInfo(path).fileName();
    LoadProgress progress(window(), tr("Opening %1...").arg(name));
    ProjectPtr project;
    FileImport::Callbacks callbacks;
    callbacks.progress = [&progress](int64_t done, int64_t total) { return progress(done, total); };
    callbacks.started = [&](const LayerPtr& layer) {
        project = makeProject(layer->format());
        project->name = name;
        project->setFilePath(path);
        insertLayer(*project, layer);
        project->setDisplayArea(project->wholeArea());
        m_loading = project;
        postProject(*project, this);
    };
    Pace pace;
    callbacks.grown = [&](const LayerPtr& layer) {
        if (!pace.isDue())
            return;
        project->setDisplayArea(project->wholeArea());
        postEvent(this, EventId::LayerContentUpdate, ILayerPtr(layer), this);
        postEvent(this, EventId::DisplayAreaChange, project->display.displayArea, this);
    };
    ImportedFile file;
    const bool done = FileImport(m_plugins, window()).run(path, start, file, callbacks);
    m_loading.reset();
    if (!done) {
        // Whoever showed the growing layer lets go of it.
        if (project)
            postCurrent();
        return nullptr;
    }
    file.layer->startBackup();
    addLists(*project, file, start);
    project->resetHistory(QStringLiteral("Import"), QIcon(QStringLiteral(":/icons/import.png")));
    project->setDisplayArea(project->wholeArea());
    return project;
}

bool ProjectTabs::openFile(const QString& path, int64_t start, const QString& parent, const QString& server)
{
    const ProjectPtr project = load(path, start);
    if (!project)
        return false;
    project->externalParent = parent;
    project->externalServer = server;
    addProject(project);
    return true;
}

bool ProjectTabs::importLayer()
{
    const ProjectPtr project = currentProject();
    if (!project)
        return false;
    filechooser::Request request;
    request.title = tr("Open Project");
    request.filters = fileformats::importFilters(m_plugins);
    const QString path = filechooser::choose(window(), request).path;
    return !path.isEmpty() && importFile(path, project->position());
}

bool ProjectTabs::importFile(const QString& path, int64_t start)
{
    const ProjectPtr project = currentProject();
    const ILayerPtr wasActive = project->activeLayer();
    const bool sawWhole = isWhole(project->display.displayArea, project->wholeArea());
    SamplingFormat other; // what the file has, where it does not fit
    LayerPtr added;
    LoadProgress progress(window(), tr("Importing %1...").arg(QFileInfo(path).fileName()));
    FileImport::Callbacks callbacks;
    callbacks.progress = [&](int64_t done, int64_t total) {
        return other.channels == 0 && progress(done, total);
    };
    callbacks.started = [&](const LayerPtr& layer) {
        if (layer->format() != project->format()) {
            other = layer->format();
            return;
        }
        insertLayer(*project, layer);
        added = layer;
        postCurrent();
    };
    Pace pace;
    callbacks.grown = [&](const LayerPtr& layer) {
        if (!added || !pace.isDue())
            return;
        postEvent(this, EventId::LayerContentUpdate, ILayerPtr(layer), this);
        if (!sawWhole)
            return;
        project->setDisplayArea(project->wholeArea());
        postEvent(this, EventId::DisplayAreaChange, project->display.displayArea, this);
    };
    ImportedFile file;
    const bool done = FileImport(m_plugins, window()).run(path, start, file, callbacks) && added;
    if (!done) {
        if (added) {
            project->layers()->removeChildLayer(added);
            project->setActiveLayer(wasActive);
            if (sawWhole)
                project->setDisplayArea(project->wholeArea());
            postCurrent();
        }
        if (other.channels > 0)
            messages::warning(
                window(), tr("Import Layer"), tr("The file format doesn't match the project format."),
                tr("%1: %2. The project: %3.")
                    .arg(QDir::toNativeSeparators(path), formatText(other), formatText(project->format())));
        return false;
    }
    added->startBackup();
    addLists(*project, file, start);
    if (sawWhole)
        project->setDisplayArea(project->wholeArea());
    project->modified = true;
    HistoryEntry entry;
    entry.name = QStringLiteral("Import");
    entry.icon = QIcon(QStringLiteral(":/icons/import.png"));
    postCurrent();
    postEvent(this, EventId::HistoryRecord, entry, this);
    refreshTab(currentIndex());
    return true;
}

bool ProjectTabs::exportProject(int tab)
{
    const ProjectPtr project = this->project(tab);
    if (!project)
        return false;
    if (project->layers()->range().isEmpty()) {
        messages::warning(window(), tr("Nothing to export"), tr("No data to export."));
        return false;
    }
    const QString first = QCoreApplication::instance()->property("defaultexportformat").toString();
    filechooser::Request request;
    request.title = tr("Export File");
    request.filters = fileformats::exportFilters(m_plugins, first);
    request.save = true;
    const QStringList suffixes = fileformats::suffixes(request.filters.value(0));
    request.path = QFileInfo(project->name).completeBaseName() + QLatin1Char('.') + suffixes.value(0);
    filechooser::Choice choice = filechooser::choose(window(), request);
    if (choice.path.isEmpty())
        return false;
    // A name without suffix takes that of the format; the dialog has not asked about that file.
    if (QFileInfo(choice.path).suffix().isEmpty()) {
        choice.path += QLatin1Char('.') + fileformats::suffixes(choice.filter).value(0, suffixes.value(0));
        if (QFileInfo::exists(choice.path) &&
            !messages::question(
                window(), request.title,
                tr("%1 already exists.\nDo you want to replace it ?").arg(QFileInfo(choice.path).fileName())))
            return false;
    }
    qInfo().noquote() << QStringLiteral("exporting %1...").arg(choice.path);
    LoadProgress progress(window(), tr("Exporting %1...").arg(QFileInfo(choice.path).fileName()));
    return FileExport(m_plugins, window())
        .run(choice.path, choice.filter, {project->layers(), project->markerList(), project->metadata},
             [&progress](int64_t done, int64_t total) { return progress(done, total); });
}

bool ProjectTabs::close(int tab, bool)
{
    if (!project(tab))
        return false;
    const ProjectPtr closed = m_projects.takeAt(tab); // until the views have let go of it
    m_cache->forget(*closed);
    {
        const QSignalBlocker blocker(this);
        removeTab(tab);
    }
    setVisible(count() > 0);
    postCurrent();
    return true;
}

bool ProjectTabs::closeAll()
{
    while (count() > 0)
        if (!close(count() - 1))
            return false;
    return true;
}

void ProjectTabs::addProject(const ProjectPtr& project)
{
    m_projects << project;
    {
        const QSignalBlocker blocker(this);
        setCurrentIndex(addTab(QString()));
    }
    setTabButton(currentIndex(), QTabBar::RightSide, makeCloseButton());
    refreshTab(currentIndex());
    setVisible(true);
    postCurrent();
}

// Not the button that a style draws: its picture would not be sharp on a dense screen.
QWidget* ProjectTabs::makeCloseButton()
{
    auto* button = new QToolButton(this);
    button->setObjectName(QStringLiteral("closetab"));
    button->setIcon(QIcon(QStringLiteral(":/icons/close.png")));
    button->setIconSize(QSize(16, 16));
    button->setAutoRaise(true);
    button->setFocusPolicy(Qt::NoFocus);
    connect(button, &QToolButton::clicked, this, [this, button] {
        for (int tab = 0; tab < count(); ++tab)
            if (tabButton(tab, QTabBar::RightSide) == button) {
                close(tab);
                return;
            }
    });
    return button;
}

void ProjectTabs::refreshTab(int tab)
{
    const ProjectPtr project = this->project(tab);
    QString title = project->name;
    title.replace(QLatin1Char('&'), QLatin1String("&&"));
    setTabText(tab, project->modified ? title + QStringLiteral(" *") : title);
    setTabToolTip(tab, QStringLiteral("%1\n%2").arg(QDir::toNativeSeparators(project->filePath()),
                                                    formatText(project->format())));
    if (QWidget* button = tabButton(tab, QTabBar::RightSide)) {
        button->setToolTip(tr("Close %1").arg(project->name));
        button->setAccessibleName(button->toolTip());
    }
}

void ProjectTabs::postCurrent()
{
    const ProjectPtr project = currentProject();
    postProject(project ? *project : *m_empty, this);
    Q_EMIT currentProjectChanged();
}

QSize ProjectTabs::minimumTabSizeHint(int tab) const
{
    // Names stay readable; more tabs than fit scroll.
    return tabSizeHint(tab).boundedTo(QSize(160, tabSizeHint(tab).height()));
}
