#include "projectfiles/sessioncache.h"

#include "base/platform.h"
#include "projectfiles/projectxml.h"

#include <algorithm>
#include <cstdio>
#include <mutex>

#include <QCoreApplication>
#include <QDebug>
#include <QFile>
#include <QFileInfo>
#include <QVariant>

namespace {

constexpr int lockMs = 1000; // others look at the lock for an instant

QStringList sampleFiles(const Project& project)
{
    QStringList files;
    for (const ILayerPtr& layer : project.root().allLayers()) {
        const QString path = layer->filePath();
        if (!path.isEmpty())
            files << path;
    }
    return files;
}

QSet<QString> namesOf(const QStringList& paths)
{
    QSet<QString> names;
    for (const QString& path : paths)
        names << QFileInfo(path).fileName();
    return names;
}

} // namespace

SessionCache::SessionCache(std::chrono::milliseconds interval)
    : m_session(QCoreApplication::instance()->property("sessionid").toString())
{
    if (m_folder.path().isEmpty() || m_session.isEmpty())
        return;
    m_lock = FileLock::take(m_folder.lockPath(m_session), lockMs);
    if (m_lock)
        m_lock->setText(platform::bootId());
    else
        qWarning().noquote() << "no lock for this session in" << m_folder.path();
    m_sync = std::make_unique<SessionSync>(m_folder.path(), interval, static_cast<ISessionSyncOwner&>(*this));
    SessionFile::setKeeper(this);
}

SessionCache::~SessionCache()
{
    if (!m_sync)
        return;
    if (!m_ids.isEmpty())
        m_sync->flush(); // nobody will do it later
    SessionFile::setKeeper(nullptr);
    m_sync.reset();
    // Closed projects: their manifests are gone, and once that is on the disk so may be the samples.
    if (!m_retired.empty())
        static_cast<void>(platform::syncFolder(m_folder.path()));
    for (const uint64_t id : m_ids)
        for (const auto& file : m_retired)
            if (isNamedBy(id, file->name()))
                file->keep();
    m_retired.clear();
    // For what stays it tells in which life of the machine this was.
    if (m_lock && m_ids.isEmpty())
        m_lock->remove();
}

uint64_t SessionCache::idOf(const Project& project)
{
    auto found = m_ids.find(&project);
    if (found == m_ids.end())
        found = m_ids.insert(&project, ++m_lastId);
    return *found;
}

// --- which files are named -------------------------------------------------------------------------

bool SessionCache::isNamedBy(uint64_t id, const QString& name) const
{
    const auto journal = m_journals.find(id);
    if (journal != m_journals.end() && journal->second.names(name))
        return true;
    const auto project = m_named.find(id);
    return project != m_named.end() &&
           std::any_of(project->second.begin(), project->second.end(),
                       [&name](const auto& generation) { return generation.second.contains(name); });
}

bool SessionCache::isNamed(const QString& name) const
{
    return std::any_of(m_named.begin(), m_named.end(),
                       [&](const auto& project) { return isNamedBy(project.first, name); });
}

void SessionCache::name(uint64_t id, const QSet<QString>& files)
{
    const std::lock_guard locker(m_mutex);
    m_named[id][++m_generation] = files;
    m_newest[id] = m_generation;
}

std::optional<QByteArray> SessionCache::manifestOf(uint64_t id, uint64_t generation)
{
    const std::lock_guard locker(m_mutex); // nobody begins a newer one meanwhile
    const auto newest = m_newest.find(id);
    QFile file(m_folder.manifestPath(m_session, id));
    if (newest == m_newest.end() || newest->second != generation || !file.open(QFile::ReadOnly))
        return std::nullopt;
    return file.readAll();
}

bool SessionCache::place(uint64_t id, const QString& from, const QString& to)
{
    const std::lock_guard locker(m_mutex);
    if (m_newest.count(id) > 0)
        return std::rename(QFile::encodeName(from).constData(), QFile::encodeName(to).constData()) == 0;
    QFile::remove(from);
    return false;
}

SessionCache::Files SessionCache::takeUnnamed()
{
    const auto unnamed = std::stable_partition(m_retired.begin(), m_retired.end(),
                                               [this](const auto& file) { return isNamed(file->name()); });
    Files files(std::make_move_iterator(unnamed), std::make_move_iterator(m_retired.end()));
    m_retired.erase(unnamed, m_retired.end());
    return files;
}

void SessionCache::safeOnDisk(uint64_t id, uint64_t generation)
{
    Files files; // removed when the lock is free again
    const std::lock_guard locker(m_mutex);
    const auto project = m_named.find(id);
    if (project == m_named.end())
        return;
    project->second.erase(project->second.begin(), project->second.lower_bound(generation));
    if (const auto journal = m_journals.find(id); journal != m_journals.end())
        journal->second.forgetBefore(generation);
    const auto& newest = project->second;
    if (newest.size() == 1 && newest.begin()->second.isEmpty())
        m_named.erase(project);
    files = takeUnnamed();
}

void SessionCache::retire(std::unique_ptr<RetiredFile> file)
{
    const std::lock_guard locker(m_mutex);
    if (isNamed(file->name()))
        m_retired.push_back(std::move(file));
    // Otherwise it dies with this call.
}

// After a power cut an older manifest may be the one that is taken, so what any of them names counts.
bool SessionCache::guard(const GuardedPart& part)
{
    const std::lock_guard locker(m_mutex);
    for (const auto& [id, newest] : m_newest) {
        if (newest == 0 || !isNamedBy(id, part.file))
            continue;
        SessionJournal& journal =
            m_journals.try_emplace(id, m_folder.manifestPath(m_session, id)).first->second;
        if (!journal.add(newest, part))
            return false;
    }
    return true;
}

void SessionCache::imageMoved(const QString& from, const QString& to, int64_t by)
{
    const std::lock_guard locker(m_mutex);
    for (auto& journal : m_journals)
        journal.second.imageMoved(from, to, by);
}

QStringList SessionCache::undoFiles(uint64_t id)
{
    const std::lock_guard locker(m_mutex);
    QStringList files;
    const auto journal = m_journals.find(id);
    if (journal == m_journals.end() || journal->second.images().isEmpty())
        return files;
    for (const QString& name : journal->second.images())
        files << m_folder.path() + QLatin1Char('/') + name;
    files << journal->second.path();
    return files;
}

void SessionCache::reclaim()
{
    if (retiredFiles() > 0)
        m_sync->flush();
}

int SessionCache::retiredFiles()
{
    const std::lock_guard locker(m_mutex);
    return int(m_retired.size());
}

// --- manifests -------------------------------------------------------------------------------------

bool SessionCache::write(const Project& project)
{
    if (!m_sync)
        return false;
    const uint64_t id = idOf(project);
    SessionSync::Job job;
    job.manifest = m_folder.manifestPath(m_session, id);
    job.samples = sampleFiles(project);
    name(id, namesOf(job.samples));
    job.generation = m_generation;
    const SaveResult result =
        writeProjectXml(project, job.manifest, SampleFiles::Reference, {}, false, job.generation);
    if (!result.done) {
        qWarning().noquote() << "no session backup:" << result.words;
        {
            const std::lock_guard locker(m_mutex);
            Generations& generations = m_named[id];
            generations.erase(job.generation);
            job.generation = m_newest[id] = generations.empty() ? 0 : generations.rbegin()->first;
            job.samples.clear();
            if (!generations.empty())
                for (const QString& name : generations.rbegin()->second)
                    job.samples << m_folder.path() + QLatin1Char('/') + name;
        }
        // The helper may have left that one to the one that failed.
        if (job.generation > 0)
            m_sync->request(id, job);
        return false;
    }
    m_sync->request(id, job);
    return true;
}

bool SessionCache::takeOver(const Project& project, const QString& manifest)
{
    if (!m_sync)
        return false;
    const uint64_t id = idOf(project);
    const QString path = m_folder.manifestPath(m_session, id);
    // Should the new manifest not succeed, the old one is followed by what is noted from here on.
    m_generation = std::max(m_generation, SessionJournal::generationOf(manifest));
    name(id, namesOf(sampleFiles(project)));
    const bool renamed =
        std::rename(QFile::encodeName(manifest).constData(), QFile::encodeName(path).constData()) == 0;
    if (!renamed)
        qWarning().noquote() << manifest << "cannot be renamed:" << platform::lastSystemError();
    const bool written = write(project);
    if (written && !renamed)
        QFile::remove(manifest);
    if (renamed || written) {
        QFile::remove(SessionFolder::safePath(manifest));
        QFile::remove(SessionJournal::pathOf(manifest));
    }
    return written;
}

void SessionCache::leave(const Project& project)
{
    if (!m_ids.contains(&project))
        return;
    for (const ILayerPtr& layer : project.root().allLayers())
        if (const auto own = std::dynamic_pointer_cast<Layer>(layer))
            own->keepFile();
}

void SessionCache::forget(const Project& project)
{
    const auto found = m_ids.find(&project);
    if (found == m_ids.end())
        return;
    const uint64_t id = *found;
    m_ids.erase(found);
    const QString manifest = m_folder.manifestPath(m_session, id);
    name(id, {});
    {
        const std::lock_guard locker(m_mutex); // the helper makes no new one any more
        m_newest.erase(id);
    }
    QFile::remove(manifest);
    {
        const std::lock_guard locker(m_mutex);
        if (const auto journal = m_journals.find(id); journal != m_journals.end()) {
            journal->second.remove();
            m_journals.erase(journal);
        }
    }
    QFile::remove(SessionFolder::safePath(manifest));
    m_sync->request(id, {{}, {}, m_generation});
}
