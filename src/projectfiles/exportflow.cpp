#include "projectfiles/exportflow.h"

#include "projectfiles/fileexport.h"
#include "projectfiles/fileformats.h"
#include "projectfiles/loadprogress.h"
#include "projectfiles/projectsuffix.h"
#include "projectfiles/savetarget.h"
#include "ui/widgets/messages.h"

#include <QCoreApplication>
#include <QDebug>
#include <QFileInfo>
#include <QVariant>

namespace {

QString text(const char* source)
{
    return QCoreApplication::translate("ProjectTabs", source);
}

} // namespace

void noteCaller(Project& project, const QString& path, const QString& parent, const QString& server)
{
    project.externalServer = server;
    project.externalParent = parent;
    // A project file is the user's own; what goes back is a recording.
    const bool isSent = !server.isEmpty() || (!parent.isEmpty() && parent != QFileInfo(path).fileName());
    project.belongsToCaller = isSent && projectForm(path) == ProjectForm::None;
    if (project.belongsToCaller)
        project.exportPath = path;
}

QString exportBackName(const Project& project)
{
    return project.belongsToCaller && !project.externalParent.isEmpty()
               ? project.externalParent
               : QFileInfo(project.exportPath).fileName();
}

ExportFlow::ExportFlow(const FlowHost& host, const ProjectPtr& project) : m_host(host), m_project(project) {}

bool ExportFlow::run()
{
    if (m_project->layers()->range().isEmpty()) {
        messages::warning(m_host.window, text("Nothing to export"), text("No data to export."));
        return false;
    }
    const QString first = QCoreApplication::instance()->property("defaultexportformat").toString();
    filechooser::Request request;
    request.title = text("Export File");
    request.filters = fileformats::exportFilters(m_host.plugins, first);
    request.save = true;
    request.path = QFileInfo(m_project->name).completeBaseName() + QLatin1Char('.') +
                   fileformats::suffixes(request.filters.value(0)).value(0);
    const filechooser::Choice choice =
        chooseTarget(m_host.window, request, [](const QString& suffix) { return !suffix.isEmpty(); });
    if (choice.path.isEmpty() || !write(choice.path, choice.filter))
        return false;
    // A document of another program goes back where it came from.
    if (!m_project->belongsToCaller) {
        m_project->exportPath = choice.path;
        m_project->exportFilter = choice.filter;
    }
    return true;
}

bool ExportFlow::back()
{
    if (m_project->exportPath.isEmpty() || !write(m_project->exportPath, m_project->exportFilter))
        return false;
    if (m_project->belongsToCaller)
        m_project->modified = false;
    return true;
}

bool ExportFlow::write(const QString& path, const QString& filter)
{
    qInfo().noquote() << QStringLiteral("exporting %1...").arg(path);
    LoadProgress progress(m_host.window, text("Exporting %1...").arg(QFileInfo(path).fileName()));
    return FileExport(m_host.plugins, m_host.window)
        .run(path, filter, {m_project->layers(), m_project->markerList(), m_project->metadata},
             [&progress](int64_t done, int64_t total) { return progress(done, total); });
}
