#include "projectfiles/saveflow.h"

#include "projectfiles/loadprogress.h"
#include "projectfiles/projectbinary.h"
#include "projectfiles/projectsuffix.h"
#include "projectfiles/projectxml.h"
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

// The file that stands there already, or a name for the folder of the last dialog.
QString proposedPath(const Project& project)
{
    if (projectForm(project.filePath()) != ProjectForm::None)
        return project.filePath();
    return QFileInfo(project.name).completeBaseName() + QLatin1Char('.') +
           QCoreApplication::instance()->property("fileextension").toString();
}

SaveResult writeTo(const QString& path, const Project& project, QWidget* window)
{
    LoadProgress box(window, text("Saving..."));
    const Progress progress = [&box](int done, int total) { return box(done, total); };
    return projectForm(path) == ProjectForm::Binary
               ? writeProjectBinary(project, path, progress)
               : writeProjectXml(project, path, SampleFiles::Copy, progress);
}

} // namespace

SaveFlow::SaveFlow(const FlowHost& host, const ProjectPtr& project) : m_host(host), m_project(project) {}

bool SaveFlow::save()
{
    const QString path = m_project->filePath();
    return projectForm(path) == ProjectForm::None ? saveAs() : write(path);
}

bool SaveFlow::saveAs()
{
    filechooser::Request request;
    request.title = text("Save Project");
    request.filters = projectSaveFilters();
    request.save = true;
    request.path = proposedPath(*m_project);
    const QString path = chooseTarget(m_host.window, request, [](const QString& suffix) {
                             return projectForm(QLatin1String("x.") + suffix) != ProjectForm::None;
                         }).path;
    return !path.isEmpty() && write(path);
}

bool SaveFlow::write(const QString& path)
{
    qInfo().noquote() << QStringLiteral("saving %1...").arg(path);
    const QString before = m_project->filePath();
    // The XML form holds its own path.
    m_project->setFilePath(path);
    const SaveResult result = writeTo(path, *m_project, m_host.window);
    if (!result.done) {
        m_project->setFilePath(before);
        if (!result.cancelled)
            messages::critical(m_host.window, text("Error Writing File"),
                               text("The file you selected could not be written."), result.words);
        return false;
    }
    m_project->name = QFileInfo(path).fileName();
    m_project->modified = false;
    return true;
}
