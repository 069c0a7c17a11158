#include "projectfiles/projecttabs.h"

#include "projectfiles/changeformat.h"
#include "projectfiles/closequestion.h"
#include "projectfiles/duplicateto.h"
#include "projectfiles/exportflow.h"
#include "projectfiles/fileformats.h"
#include "projectfiles/importflow.h"
#include "projectfiles/newproject.h"
#include "projectfiles/openflow.h"
#include "projectfiles/postproject.h"
#include "projectfiles/projectsuffix.h"
#include "projectfiles/saveflow.h"
#include "projectfiles/sessioncache.h"
#include "ui/widgets/filechooser.h"
#include "ui/widgets/messages.h"

#include <QDebug>
#include <QDir>
#include <QFileInfo>
#include <QSignalBlocker>
#include <QToolButton>

#include <algorithm>

namespace {

constexpr int replaceSession = 2;
constexpr int mergeSession = 1;

QString formatText(const SamplingFormat& format)
{
    return ProjectTabs::tr("%1 Hz, %n channel(s)", nullptr, format.channels)
        .arg(format.sampleRate, 0, 'g', 15);
}

filechooser::Request openRequest(const QList<IFilePlugin*>& plugins)
{
    filechooser::Request request;
    request.title = ProjectTabs::tr("Open Project");
    request.filters = fileformats::openFilters(plugins);
    return request;
}

} // namespace

ProjectTabs::Busy::~Busy()
{
    if (--m_tabs.m_busy == 0)
        Q_EMIT m_tabs.becameIdle();
}

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

FlowHost ProjectTabs::flowHost()
{
    return {window(), m_plugins, this, [this](const ProjectPtr& project) {
                m_loading = project;
                if (project)
                    postProject(*project, this);
                else
                    postCurrent();
            }};
}

// --- new, open, import -----------------------------------------------------------------------------

bool ProjectTabs::newProject()
{
    const Busy busy(*this);
    QStringList names;
    for (const ProjectPtr& project : qAsConst(m_projects))
        names << project->name;
    const ProjectPtr project = askNewProject(names, window());
    if (project)
        addProject(project);
    return project != nullptr;
}

bool ProjectTabs::open()
{
    const Busy busy(*this);
    const QString path = filechooser::choose(window(), openRequest(m_plugins)).path;
    if (path.isEmpty())
        return false;
    qInfo().noquote() << QStringLiteral("opening %1...").arg(path);
    return openFile(path, 0, FileImport::Source::Dialog);
}

bool ProjectTabs::parse(const QString& fileName, int64_t startSmp, int sessionType, const QString& parent,
                        const QString& server)
{
    const Busy busy(*this);
    const QString path = QDir::cleanPath(QDir::current().absoluteFilePath(fileName));
    qInfo().noquote() << QStringLiteral("opening %1...").arg(path);
    if (sessionType == mergeSession && currentProject() && projectForm(path) == ProjectForm::None)
        return importFiles({path}, startSmp, FileImport::Source::Name);
    if (sessionType == replaceSession && !closeTabsOf(path))
        return false;
    if (!openFile(path, startSmp, FileImport::Source::Name))
        return false;
    noteCaller(*currentProject(), path, parent, server);
    tellExportBack();
    return true;
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

bool ProjectTabs::openFile(const QString& path, int64_t start, FileImport::Source source)
{
    const FlowHost host = flowHost();
    const ProjectPtr project = OpenFlow(host).run(path, start, source);
    m_loading.reset();
    if (!project)
        return false;
    addProject(project);
    Q_EMIT recentFileUpdated(path);
    return true;
}

bool ProjectTabs::importLayer()
{
    const Busy busy(*this);
    const ProjectPtr project = currentProject();
    if (!project)
        return false;
    filechooser::Request request = openRequest(m_plugins);
    request.several = true;
    const QStringList paths = filechooser::choose(window(), request).paths;
    return !paths.isEmpty() && importFiles(paths, project->position(), FileImport::Source::Dialog);
}

bool ProjectTabs::importFiles(const QStringList& paths, int64_t start, FileImport::Source source)
{
    const FlowHost host = flowHost();
    return ImportFlow(host, currentProject(), source).run(paths, start);
}

// --- save, export ----------------------------------------------------------------------------------

bool ProjectTabs::save(int tab)
{
    const Busy busy(*this);
    const ProjectPtr project = this->project(tab);
    const FlowHost host = flowHost();
    return project && saved(project, SaveFlow(host, project).save());
}

bool ProjectTabs::saveAs(int tab)
{
    const Busy busy(*this);
    const ProjectPtr project = this->project(tab);
    const FlowHost host = flowHost();
    return project && saved(project, SaveFlow(host, project).saveAs());
}

bool ProjectTabs::saved(const ProjectPtr& project, bool done)
{
    if (!done)
        return false;
    m_cache->write(*project); // a recovered project knows the new path
    refreshTab(project);
    Q_EMIT recentFileUpdated(project->filePath());
    return true;
}

bool ProjectTabs::exportProject(int tab)
{
    const Busy busy(*this);
    const ProjectPtr project = this->project(tab);
    const FlowHost host = flowHost();
    const bool done = project && ExportFlow(host, project).run();
    tellExportBack();
    return done;
}

bool ProjectTabs::exportProjectBack(int tab)
{
    const Busy busy(*this);
    const ProjectPtr project = this->project(tab);
    const FlowHost host = flowHost();
    if (!project || !ExportFlow(host, project).back())
        return false;
    refreshTab(project);
    return true;
}

// --- format, copies --------------------------------------------------------------------------------

bool ProjectTabs::changeFormat(int tab)
{
    const Busy busy(*this);
    const ProjectPtr project = this->project(tab);
    const FlowHost host = flowHost();
    if (!project || !ChangeFormat(host, project).run([this] { Q_EMIT transportStopRequested(); }))
        return false;
    if (project == currentProject())
        postCurrent();
    refreshTab(project);
    m_cache->write(*project);
    return true;
}

bool ProjectTabs::duplicateProject(int tab)
{
    const Busy busy(*this);
    const ProjectPtr project = this->project(tab);
    const ProjectPtr copy = project ? ::duplicateProject(flowHost(), *project) : nullptr;
    if (!copy)
        return false;
    addProject(copy);
    m_cache->write(*copy);
    return true;
}

bool ProjectTabs::duplicateTo(int tab)
{
    const Busy busy(*this);
    const ProjectPtr project = this->project(tab);
    if (!project)
        return false;
    const FlowHost host = flowHost();
    const DuplicatedLayer copy = DuplicateTo(host, project).run(m_projects);
    if (!copy.project)
        return false;
    if (copy.isNew) {
        addProject(copy.project);
        m_cache->write(*copy.project);
        return true;
    }
    if (copy.project == currentProject())
        postCurrent();
    else
        setCurrentIndex(m_projects.indexOf(copy.project));
    HistoryEntry entry;
    entry.name = QStringLiteral("Duplicate");
    entry.icon = QIcon(QStringLiteral(":/icons/copy.png"));
    postEvent(this, EventId::HistoryRecord, entry, nullptr);
    return true;
}

// --- close -----------------------------------------------------------------------------------------

bool ProjectTabs::close(int tab, bool force)
{
    const Busy busy(*this);
    const ProjectPtr project = this->project(tab);
    if (!project || (!force && !settleUnsaved(project)))
        return false;
    removeProject(project);
    return true;
}

bool ProjectTabs::closeAll()
{
    const Busy busy(*this);
    const QList<ProjectPtr> all = m_projects;
    if (!std::all_of(all.begin(), all.end(),
                     [this](const ProjectPtr& project) { return settleUnsaved(project); }))
        return false;
    for (const ProjectPtr& project : all)
        removeProject(project);
    return true;
}

bool ProjectTabs::settleUnsaved(const ProjectPtr& project)
{
    if (!project->modified)
        return true;
    const int tab = m_projects.indexOf(project);
    setCurrentIndex(tab); // the user sees what is asked about
    switch (askBeforeClosing(*project, window())) {
    case CloseAnswer::Save:
        return project->belongsToCaller ? exportProjectBack(tab) : save(tab);
    case CloseAnswer::Discard:
        return true;
    case CloseAnswer::Cancel:
        break;
    }
    return false;
}

void ProjectTabs::removeProject(const ProjectPtr& project)
{
    const ProjectPtr closed = project; // until the views have let go of it
    const int tab = m_projects.indexOf(project);
    if (tab < 0)
        return;
    m_projects.removeAt(tab);
    m_cache->forget(*closed);
    {
        const QSignalBlocker blocker(this);
        removeTab(tab);
    }
    setVisible(count() > 0);
    postCurrent();
}

// --- tabs ------------------------------------------------------------------------------------------

void ProjectTabs::addProject(const ProjectPtr& project)
{
    m_projects << project;
    {
        const QSignalBlocker blocker(this);
        setCurrentIndex(addTab(QString()));
    }
    setTabButton(currentIndex(), QTabBar::RightSide, makeCloseButton());
    refreshTab(project);
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
    button->setFocusPolicy(Qt::TabFocus);
    connect(button, &QToolButton::clicked, this, [this, button] {
        for (int tab = 0; tab < count(); ++tab)
            if (tabButton(tab, QTabBar::RightSide) == button) {
                close(tab);
                return;
            }
    });
    return button;
}

void ProjectTabs::refreshTab(const ProjectPtr& project)
{
    const int tab = m_projects.indexOf(project);
    if (tab < 0)
        return;
    QString title = project->name;
    title.replace(QLatin1Char('&'), QLatin1String("&&"));
    setTabText(tab, project->modified ? title + QStringLiteral(" *") : title);
    const QString path = QDir::toNativeSeparators(project->filePath());
    setTabToolTip(tab, path.isEmpty() ? formatText(project->format())
                                      : path + QLatin1Char('\n') + formatText(project->format()));
    if (QWidget* button = tabButton(tab, QTabBar::RightSide)) {
        button->setToolTip(tr("Close %1").arg(project->name));
        button->setAccessibleName(button->toolTip());
    }
    if (tab == currentIndex())
        Q_EMIT currentProjectChanged();
}

void ProjectTabs::postCurrent()
{
    const ProjectPtr project = currentProject();
    postProject(project ? *project : *m_empty, this);
    tellExportBack();
    Q_EMIT currentProjectChanged();
}

void ProjectTabs::tellExportBack()
{
    const ProjectPtr project = currentProject();
    Q_EMIT exportBackTextUpdated(project ? exportBackName(*project) : QString());
    Q_EMIT exportBackEnabled(project && !project->exportPath.isEmpty());
}

QSize ProjectTabs::minimumTabSizeHint(int tab) const
{
    // Names stay readable; more tabs than fit scroll.
    return tabSizeHint(tab).boundedTo(QSize(160, tabSizeHint(tab).height()));
}
