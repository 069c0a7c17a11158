// Brings what a crash recovery needs to the disk, beside the program's work.
#pragma once

#include "base/locks.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <optional>
#include <thread>

#include <QByteArray>
#include <QString>
#include <QStringList>

// Who writes the manifests. Called by the helper thread.
class ISessionSyncOwner
{
public:
    virtual ~ISessionSyncOwner() = default;
    // The manifest of that generation; nothing when a newer one has been begun, or the project is closed.
    [[nodiscard]] virtual std::optional<QByteArray> manifestOf(uint64_t project, uint64_t generation) = 0;
    // Full paths of what tells how to come back to the manifest when the samples are newer than it.
    [[nodiscard]] virtual QStringList undoFiles(uint64_t project) = 0;
    // Renames the file unless the project has been closed; then it is removed, and the answer is false.
    [[nodiscard]] virtual bool place(uint64_t project, const QString& from, const QString& to) = 0;
    // That generation of that project is on the disk.
    virtual void safeOnDisk(uint64_t project, uint64_t generation) = 0;
};

// One helper thread. It brings the samples that a manifest names to the disk, then a copy of that manifest
// under its safe name (SessionFolder::safePath), then the folder: the manifest itself is replaced behind
// each action, and after a power cut might name samples that never arrived. It works at most once in
// `interval`; what is asked for meanwhile waits, and of one project only the last counts. What fails
// is tried again after each interval, until it is done or replaced.
class SessionSync
{
public:
    struct Job
    {
        QString manifest; // full path; empty when there is none any more, and only the folder counts
        QStringList samples;
        uint64_t generation = 0; // the caller's
    };

    // The owner outlives this object.
    SessionSync(QString folder, std::chrono::milliseconds interval, ISessionSyncOwner& owner);
    // Waits for what is being synced, not for what waits.
    ~SessionSync();
    SessionSync(const SessionSync&) = delete;
    SessionSync& operator=(const SessionSync&) = delete;

    // Any thread; returns at once.
    void request(uint64_t project, const Job& job);
    // Does at once what waits, and returns when it is done or has failed. Any thread but the helper itself.
    void flush();

private:
    using Jobs = std::map<uint64_t, Job>; // by project

    void run();
    struct Result
    {
        Jobs failed;
        bool isOutdated = false; // a job was left to a newer one
    };
    [[nodiscard]] Result work(const Jobs& jobs);
    enum class Outcome { Safe, Failed, Outdated };
    [[nodiscard]] Outcome makeSafe(uint64_t project, const Job& job);

    const QString m_folder;
    const std::chrono::milliseconds m_interval;
    ISessionSyncOwner& m_owner;
    Mutex m_lock;
    std::condition_variable_any m_wake;
    Jobs m_jobs;            // guarded by m_lock
    Jobs m_failed;          // guarded by m_lock; none for which a newer one waits
    bool m_told = false;    // only the thread's: the log tells a failure once, and not every interval
    bool m_ending = false;  // guarded by m_lock
    bool m_working = false; // guarded by m_lock
    int m_waiting = 0;      // guarded by m_lock; calls of flush()
    std::condition_variable_any m_idle;
    std::thread m_thread;
};
