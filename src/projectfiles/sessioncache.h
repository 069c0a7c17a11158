// The manifests that let the next start offer what a crash has left behind.
#pragma once

#include "base/filelock.h"
#include "base/locks.h"
#include "base/sessionfile.h"
#include "model/project.h"
#include "projectfiles/sessionfolder.h"
#include "projectfiles/sessionjournal.h"
#include "projectfiles/sessionsync.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <vector>

#include <QHash>
#include <QSet>
#include <QString>

// Samples lie in the session folder from the moment a project is opened. Beside them stands one manifest
// for each project, written after each action: by rename and without a sync, so that the user does not
// wait; a helper thread brings it to the disk at most every five seconds, as a copy beside it. So the death
// of the program costs nothing, and a power cut the last five seconds.
//
// A file of samples that a layer has replaced stays as long as a manifest on the disk may name it. Of what
// an action changes in place a journal tells where the old samples are (SessionJournal), so that a recovery
// finds each file as the last finished action left it.
//
// While the object lives it holds the lock of this session (property `sessionid`) in the session folder,
// which tells other processes that what lies there is in use. One object at a time. GUI thread, but for
// the calls of ISessionFileKeeper.
class SessionCache final : public ISessionFileKeeper, private ISessionSyncOwner
{
public:
    explicit SessionCache(std::chrono::milliseconds interval = std::chrono::seconds(5));
    // Projects that were not closed stay on the disk with their manifests and the lock file, as after a
    // crash. Waits for the disk then.
    ~SessionCache() override;

    [[nodiscard]] const SessionFolder& folder() const { return m_folder; }
    // Writes the project's manifest. On false the one before it is still there, and the log tells why.
    bool write(const Project& project);
    // `project` was read from `manifest`, which a crash has left: that file becomes this session's, and
    // is then written anew. At every moment one of the two is there.
    bool takeOver(const Project& project, const QString& manifest);
    // Deletes the manifest of a project that is being closed. Before its layers die.
    void forget(const Project& project);
    // The program ends and nobody closed the project: what its manifest names stays, whoever holds the
    // layers for how long.
    void leave(const Project& project);

    void retire(std::unique_ptr<RetiredFile> file) override;
    // Brings the manifests to the disk at once, so that files that only older ones name can go.
    void reclaim() override;
    bool guard(const GuardedPart& part) override;
    void imageMoved(const QString& from, const QString& to, int64_t by) override;

    // For tests: files that wait for a manifest without them.
    [[nodiscard]] int retiredFiles();

private:
    using Files = std::vector<std::unique_ptr<RetiredFile>>;
    // What manifests that may be on the disk name; each newer than the one before.
    using Generations = std::map<uint64_t, QSet<QString>>;

    [[nodiscard]] uint64_t idOf(const Project& project);
    [[nodiscard]] bool isNamed(const QString& name) const;
    [[nodiscard]] bool isNamedBy(uint64_t id, const QString& name) const;
    void name(uint64_t id, const QSet<QString>& files);
    [[nodiscard]] std::optional<QByteArray> manifestOf(uint64_t id, uint64_t generation) override;
    [[nodiscard]] QStringList undoFiles(uint64_t id) override;
    [[nodiscard]] bool place(uint64_t id, const QString& from, const QString& to) override;
    void safeOnDisk(uint64_t id, uint64_t generation) override;
    [[nodiscard]] Files takeUnnamed();

    SessionFolder m_folder;
    QString m_session;
    std::unique_ptr<FileLock> m_lock;
    QHash<const Project*, uint64_t> m_ids;
    uint64_t m_lastId = 0;
    uint64_t m_generation = 0;

    Mutex m_mutex;
    std::map<uint64_t, Generations> m_named;       // guarded by m_mutex; by project
    std::map<uint64_t, uint64_t> m_newest;         // guarded by m_mutex; generation of each open project
    std::map<uint64_t, SessionJournal> m_journals; // guarded by m_mutex; of each open project
    Files m_retired;                               // guarded by m_mutex
    std::unique_ptr<SessionSync> m_sync;           // its thread is the first to end
};
