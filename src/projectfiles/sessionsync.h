// Brings what a crash recovery needs to the disk, beside the program's work.
#pragma once

#include "base/locks.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <thread>

#include <QString>
#include <QStringList>

// One helper thread. It syncs the samples that a manifest names, then the manifest, then the folder, so
// that after a power cut the manifest that is found names samples that are there. It works at most once
// in `interval`; what is asked for meanwhile waits, and of one project only the last counts.
class SessionSync
{
public:
    struct Job
    {
        QString manifest; // full path; empty when there is none any more, and only the folder counts
        QStringList samples;
        uint64_t generation = 0; // the caller's
    };
    // The manifest of that generation of that project, or a newer one, is on the disk. Helper thread.
    using Done = std::function<void(uint64_t project, uint64_t generation)>;

    SessionSync(QString folder, std::chrono::milliseconds interval, Done done);
    // Waits for what is being synced, not for what waits.
    ~SessionSync();
    SessionSync(const SessionSync&) = delete;
    SessionSync& operator=(const SessionSync&) = delete;

    // Any thread; returns at once.
    void request(uint64_t project, const Job& job);
    // Does at once what waits, and returns when it is done. Any thread but the helper itself.
    void flush();

private:
    using Jobs = std::map<uint64_t, Job>; // by project

    void run();
    void work(const Jobs& jobs);

    const QString m_folder;
    const std::chrono::milliseconds m_interval;
    const Done m_done;
    Mutex m_lock;
    std::condition_variable_any m_wake;
    Jobs m_jobs;            // guarded by m_lock
    bool m_ending = false;  // guarded by m_lock
    bool m_working = false; // guarded by m_lock
    int m_waiting = 0;      // guarded by m_lock; calls of flush()
    std::condition_variable_any m_idle;
    std::thread m_thread;
};
