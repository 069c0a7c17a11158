#include "projectfiles/openflow.h"

#include "model/events.h"
#include "projectfiles/importformat.h"
#include "projectfiles/importmarks.h"
#include "projectfiles/loadprogress.h"
#include "projectfiles/projectbinary.h"
#include "projectfiles/projectdefaults.h"
#include "projectfiles/projectxml.h"
#include "ui/widgets/messages.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

namespace {

ProjectReadResult read(const QString& path, ProjectForm form, QWidget* window)
{
    LoadProgress box(window, QCoreApplication::translate("ProjectTabs", "Opening..."));
    const Progress progress = [&box](int done, int total) { return box(done, total); };
    return form == ProjectForm::Binary ? readProjectBinary(path, progress)
                                       : readProjectXml(path, SampleFiles::Copy, progress);
}

} // namespace

OpenFlow::OpenFlow(const FlowHost& host) : m_host(host) {}

ProjectPtr OpenFlow::run(const QString& path, int64_t start, FileImport::Source source)
{
    const ProjectForm form = projectForm(path);
    return form == ProjectForm::None ? readRecording(path, start, source) : readProject(path, form);
}

ProjectPtr OpenFlow::readProject(const QString& path, ProjectForm form)
{
    const auto text = [](const char* source) { return QCoreApplication::translate("ProjectTabs", source); };
    const QString file = QDir::toNativeSeparators(path) + QLatin1String(": ");
    const ProjectReadResult result = read(path, form, m_host.window);
    if (!result.project) {
        if (!result.text.isEmpty())
            messages::critical(m_host.window, result.title, result.text, result.cause);
        return nullptr;
    }
    Project& project = *result.project;
    project.name = QFileInfo(path).fileName();
    project.setFilePath(result.damage.isEmpty() ? path : QString());
    project.modified = !result.damage.isEmpty();
    project.resetHistory(QStringLiteral("Open"), QIcon(QStringLiteral(":/icons/open.png")));
    if (!result.damage.isEmpty())
        messages::warning(m_host.window, text("Error Reading File"),
                          text("The file you selected is damaged."),
                          file + result.damage.join(QLatin1Char('\n')));
    return result.project;
}

ProjectPtr OpenFlow::readRecording(const QString& path, int64_t start, FileImport::Source source)
{
    const QString name = QFileInfo(path).fileName();
    LoadProgress progress(m_host.window,
                          QCoreApplication::translate("ProjectTabs", "Opening %1...").arg(name));
    ProjectPtr project;
    FileImport::Callbacks callbacks;
    callbacks.fit = [this](SamplingFormat& format) {
        return settleImportFormat(format, nullptr, m_host.window);
    };
    callbacks.progress = [&progress](int64_t done, int64_t total) { return progress(done, total); };
    callbacks.started = [&](const LayerPtr& layer) {
        project = makeProject(layer->format());
        project->name = name;
        project->setFilePath(path);
        project->layers()->appendChildLayer(layer);
        project->setActiveLayer(layer);
        project->setDisplayArea(project->wholeArea());
        m_host.show(project);
    };
    ShowPace pace;
    callbacks.grown = [&](const LayerPtr& layer) {
        if (!pace.isDue())
            return;
        project->setDisplayArea(project->wholeArea());
        postEvent(m_host.sender, EventId::LayerContentUpdate, ILayerPtr(layer), m_host.sender);
        postEvent(m_host.sender, EventId::DisplayAreaChange, project->display.displayArea, m_host.sender);
    };
    ImportedFile file;
    if (!FileImport(m_host.plugins, m_host.window, source).run(path, start, file, callbacks)) {
        // Whoever showed the growing layer lets go of it.
        if (project)
            m_host.show(nullptr);
        return nullptr;
    }
    file.layer->startBackup();
    addImportedMarks(*project, file, start);
    project->resetHistory(QStringLiteral("Import"), QIcon(QStringLiteral(":/icons/import.png")));
    project->setDisplayArea(project->wholeArea());
    return project;
}
