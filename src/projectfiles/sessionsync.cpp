#include "projectfiles/sessionsync.h"

#include "base/platform.h"

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

bool syncJob(const SessionSync::Job& job)
{
    bool good = true;
    for (const QString& path : job.samples)
        good = syncPath(path) && good;
    return (job.manifest.isEmpty() || syncPath(job.manifest)) && good;
}

} // namespace

SessionSync::SessionSync(QString folder, std::chrono::milliseconds interval, Done done)
    : m_folder(std::move(folder)),
      m_interval(interval),
      m_done(std::move(done)),
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
    }
    m_wake.notify_all();
}

void SessionSync::flush()
{
    std::unique_lock locker(m_lock);
    ++m_waiting;
    m_wake.notify_all();
    m_idle.wait(locker, [this] { return m_jobs.empty() && !m_working; });
    --m_waiting;
}

void SessionSync::run()
{
    auto next = std::chrono::steady_clock::now();
    std::unique_lock locker(m_lock);
    for (;;) {
        m_wake.wait(locker, [this] { return m_ending || !m_jobs.empty(); });
        m_wake.wait_until(locker, next, [this] { return m_ending || m_waiting > 0; });
        if (m_ending)
            return;
        next = std::chrono::steady_clock::now() + m_interval;
        Jobs jobs;
        jobs.swap(m_jobs);
        m_working = true;
        locker.unlock();
        work(jobs);
        locker.lock();
        m_working = false;
        m_idle.notify_all();
    }
}

void SessionSync::work(const Jobs& jobs)
{
    Jobs good;
    for (const auto& [project, job] : jobs)
        if (syncJob(job))
            good.emplace(project, job);
    const bool inFolder = platform::syncFolder(m_folder);
    if (!inFolder || good.size() < jobs.size())
        qWarning().noquote() << "the session is not safe on the disk:" << m_folder << "cannot be synced";
    if (!inFolder)
        return;
    for (const auto& [project, job] : good)
        m_done(project, job.generation);
}
