#include "projectfiles/sessionsync.h"

#include "base/platform.h"
#include "projectfiles/sessionfolder.h"

#include <algorithm>
#include <mutex>

#include <QDebug>
#include <QFile>

namespace {

// A file that is gone by now needs no sync: it was replaced, and a newer manifest is on its way.
bool syncPath(const QString& path)
{
    QFile file;
    const int descriptor = platform::openRegular(path);
    if (descriptor < 0)
        return !QFile::exists(path);
    return file.open(descriptor, QFile::ReadOnly, QFile::AutoCloseHandle) && platform::syncFile(descriptor);
}

bool syncAll(const QStringList& paths)
{
    return std::all_of(paths.begin(), paths.end(), syncPath);
}

bool writeSynced(const QString& path, const QByteArray& bytes)
{
    QFile::remove(path);
    QFile file(path);
    return platform::createPrivateFile(path) && file.open(QFile::WriteOnly) &&
           file.write(bytes) == bytes.size() && file.flush() && platform::syncFile(file.handle());
}

} // namespace

SessionSync::SessionSync(QString folder, std::chrono::milliseconds interval, ISessionSyncOwner& owner)
    : m_folder(std::move(folder)),
      m_interval(interval),
      m_owner(owner),
      m_thread([this] { run(); })
{
}

SessionSync::~SessionSync()
{
    {
        const std::lock_guard locker(m_lock);
        m_ending = true;
    }
    m_wake.notify_all();
    m_thread.join();
}

void SessionSync::request(uint64_t project, const Job& job)
{
    {
        const std::lock_guard locker(m_lock);
        m_jobs[project] = job;
        m_failed.erase(project);
    }
    m_wake.notify_all();
}

void SessionSync::flush()
{
    std::unique_lock locker(m_lock);
    ++m_waiting;
    m_jobs.merge(m_failed); // once more; those that fail again are not waited for
    m_failed.clear();
    m_wake.notify_all();
    m_idle.wait(locker, [this] { return m_jobs.empty() && !m_working; });
    --m_waiting;
}

void SessionSync::run()
{
    auto next = std::chrono::steady_clock::now();
    std::unique_lock locker(m_lock);
    for (;;) {
        m_wake.wait(locker, [this] { return m_ending || !m_jobs.empty() || !m_failed.empty(); });
        m_wake.wait_until(locker, next, [this] { return m_ending || (m_waiting > 0 && !m_jobs.empty()); });
        if (m_ending)
            return;
        next = std::chrono::steady_clock::now() + m_interval;
        Jobs jobs;
        jobs.swap(m_jobs);
        jobs.merge(m_failed);
        m_failed.clear();
        m_working = true;
        locker.unlock();
        const Result result = work(jobs);
        locker.lock();
        for (const auto& [project, job] : result.failed)
            if (m_jobs.count(project) == 0)
                m_failed.emplace(project, job);
        if (result.isOutdated && result.failed.empty())
            next = std::chrono::steady_clock::now();
        m_working = false;
        m_idle.notify_all();
    }
}

SessionSync::Outcome SessionSync::makeSafe(uint64_t project, const Job& job)
{
    if (job.manifest.isEmpty())
        return Outcome::Safe;
    const std::optional<QByteArray> content = m_owner.manifestOf(project, job.generation);
    if (!content)
        return Outcome::Outdated;
    // An action may be in work: the old samples before the new ones that take their place, and once more
    // what was noted meanwhile.
    if (!syncAll(m_owner.undoFiles(project)) || !syncAll(job.samples) || !syncAll(m_owner.undoFiles(project)))
        return Outcome::Failed;
    const QString safe = SessionFolder::safePath(job.manifest);
    const QString fresh = safe + QLatin1String(".new");
    if (!writeSynced(fresh, *content))
        return Outcome::Failed;
    return m_owner.place(project, fresh, safe) ? Outcome::Safe : Outcome::Outdated;
}

SessionSync::Result SessionSync::work(const Jobs& jobs)
{
    Jobs good;
    Result result;
    for (const auto& [project, job] : jobs) {
        const Outcome outcome = makeSafe(project, job);
        result.isOutdated = result.isOutdated || outcome == Outcome::Outdated;
        if (outcome != Outcome::Outdated)
            (outcome == Outcome::Safe ? good : result.failed).emplace(project, job);
    }
    if (platform::syncFolder(m_folder))
        for (const auto& [project, job] : good)
            m_owner.safeOnDisk(project, job.generation);
    else
        result.failed.merge(good);
    if (!result.failed.empty() && !m_told)
        qWarning().noquote() << "the session is not safe on the disk:" << m_folder << "cannot be synced";
    m_told = !result.failed.empty();
    return result;
}
