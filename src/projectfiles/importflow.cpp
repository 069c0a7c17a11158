#include "projectfiles/importflow.h"

#include "model/events.h"
#include "projectfiles/importformat.h"
#include "projectfiles/importmarks.h"
#include "projectfiles/loadprogress.h"

#include <QCoreApplication>
#include <QFileInfo>

#include <algorithm>

namespace {

// Navigation may cost the last digits.
bool isWhole(const Area& area, const Area& whole)
{
    constexpr double nearly = 1 - 1e-6;
    return area.width >= whole.width * nearly && area.height >= whole.height * nearly;
}

bool hasLayers(const Project& project)
{
    return !project.layers()->children(ChildrenDirect).isEmpty();
}

} // namespace

ImportFlow::ImportFlow(const FlowHost& host, const ProjectPtr& project, FileImport::Source source)
    : m_host(host),
      m_project(project),
      m_source(source),
      m_formatBefore(project->format()),
      m_activeBefore(project->activeLayer()),
      m_areaBefore(project->display.displayArea),
      m_sawWhole(isWhole(m_areaBefore, project->wholeArea()))
{
}

bool ImportFlow::run(const QStringList& paths, int64_t start)
{
    for (int i = 0; i < paths.size(); ++i) {
        const QString name = QFileInfo(paths[i]).fileName();
        const QString words = paths.size() == 1
                                  ? QCoreApplication::translate("ProjectTabs", "Importing %1...").arg(name)
                                  : QCoreApplication::translate("ProjectTabs", "Importing %1 (%2 of %3)...")
                                        .arg(name, QString::number(i + 1), QString::number(paths.size()));
        if (add(paths[i], start, words) == Outcome::Cancelled) {
            takeBack();
            return false;
        }
    }
    if (m_files.empty())
        return false;
    finish(start);
    return true;
}

// The layer stands directly above the active one, or on top.
void ImportFlow::insert(const LayerPtr& layer)
{
    if (!hasLayers(*m_project) && m_project->format() != layer->format())
        m_project->setFormat(layer->format());
    const LayerGroupPtr layers = m_project->layers();
    const int active = int(layers->children(ChildrenDirect).indexOf(m_project->activeLayer()));
    layers->insertChildAt(std::max(active, 0), layer);
    m_project->setActiveLayer(layer);
    m_host.show(nullptr);
}

void ImportFlow::remove(const LayerPtr& layer, const ILayerPtr& active)
{
    m_project->layers()->removeChildLayer(layer);
    m_project->setActiveLayer(active);
    if (!hasLayers(*m_project) && m_project->format() != m_formatBefore)
        m_project->setFormat(m_formatBefore);
    if (m_files.empty())
        m_project->setDisplayArea(m_areaBefore);
    else
        showWhole(false);
}

void ImportFlow::showWhole(bool tell)
{
    if (!m_sawWhole)
        return;
    m_project->setDisplayArea(m_project->wholeArea());
    if (tell)
        postEvent(m_host.sender, EventId::DisplayAreaChange, m_project->display.displayArea, m_host.sender);
}

ImportFlow::Outcome ImportFlow::add(const QString& path, int64_t start, const QString& words)
{
    const ILayerPtr active = m_project->activeLayer();
    LayerPtr added;
    bool cancelled = false;
    LoadProgress progress(m_host.window, words);
    FileImport::Callbacks callbacks;
    callbacks.fit = [this](SamplingFormat& format) {
        const SamplingFormat present = m_project->format();
        return settleImportFormat(format, hasLayers(*m_project) ? &present : nullptr, m_host.window);
    };
    callbacks.progress = [&](int64_t done, int64_t total) {
        cancelled = !progress(done, total);
        return !cancelled;
    };
    callbacks.started = [&](const LayerPtr& layer) {
        insert(layer);
        added = layer;
    };
    ShowPace pace;
    callbacks.grown = [&](const LayerPtr& layer) {
        if (!pace.isDue())
            return;
        postEvent(m_host.sender, EventId::LayerContentUpdate, ILayerPtr(layer), m_host.sender);
        showWhole(true);
    };
    ImportedFile file;
    if (FileImport(m_host.plugins, m_host.window, m_source).run(path, start, file, callbacks)) {
        m_files.push_back(file);
        return Outcome::Added;
    }
    if (added) {
        remove(added, active);
        m_host.show(nullptr);
    }
    return cancelled ? Outcome::Cancelled : Outcome::Refused;
}

void ImportFlow::takeBack()
{
    while (!m_files.empty()) {
        const LayerPtr layer = m_files.back().layer;
        m_files.pop_back();
        remove(layer, m_activeBefore);
    }
    m_host.show(nullptr);
}

void ImportFlow::finish(int64_t start)
{
    for (const ImportedFile& file : m_files) {
        file.layer->startBackup();
        addImportedMarks(*m_project, file, start);
    }
    showWhole(false);
    m_project->modified = true;
    m_host.show(nullptr);
    HistoryEntry entry;
    entry.name = QStringLiteral("Import");
    entry.icon = QIcon(QStringLiteral(":/icons/import.png"));
    postEvent(m_host.sender, EventId::HistoryRecord, entry, nullptr);
}
