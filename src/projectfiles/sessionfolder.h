// The session folder: what lies in it, what a crash left there, and what may be cleared away.
#pragma once

#include "base/filelock.h"

#include <cstdint>
#include <memory>

#include <QString>
#include <QStringList>

// The user may have chosen the folder, so only names that this program makes are ever touched, directly
// in it. Nothing that a live session holds is: its manifests, while somebody holds the lock of their
// session; its samples, while somebody holds a lock on the file itself. That goes for the sessions of
// other processes and for this one's.
class SessionFolder
{
public:
    enum class Kind {
        Foreign,  // none of ours
        Samples,  // layer(<hex><hex>).pcm
        Manifest, // session_<session>_project_<hex>.<backupextension>; also with ".safe" or ".undo" behind
                  // it, and with ".new", as it is written
        Lock,     // session_<session>.lock
        Wave,     // <layer> (<number>).wav, on its way to an external editor
    };

    // The folder of the property `sessionpath`.
    SessionFolder();
    explicit SessionFolder(QString path) : m_path(std::move(path)) {}

    [[nodiscard]] const QString& path() const { return m_path; }
    [[nodiscard]] QString lockPath(const QString& session) const;
    [[nodiscard]] QString manifestPath(const QString& session, uint64_t project) const;
    [[nodiscard]] static Kind kindOf(const QString& name);
    // The session in the name of a manifest, otherwise empty.
    [[nodiscard]] static QString sessionOf(const QString& manifestName);

    // Held by the one process that looks for crashed sessions, from its question until it has cleared
    // up. Null when another one is at it.
    [[nodiscard]] std::unique_ptr<FileLock> claim() const;
    // The manifests of crashed sessions, oldest first: written by this program in this version, not
    // embedded, no live session's.
    [[nodiscard]] QStringList manifestsOfTheDead() const;
    // Where the machine itself went down since, the newest manifest may name samples that never reached
    // the disk: the one that was safe there (safePath()) takes its place.
    void settle(const QString& manifest) const;
    [[nodiscard]] static QString safePath(const QString& manifest)
    {
        return manifest + QLatin1String(".safe");
    }
    // Everything of ours but waves.
    void reset() const;
    // What was last changed more than `days` days ago.
    void age(int days) const;
    // The lock file of a session of which no manifest is left.
    void forgetSession(const QString& session) const;

private:
    [[nodiscard]] QStringList names() const;
    [[nodiscard]] bool isSafeOneWanted(const QString& manifest) const;
    [[nodiscard]] bool isAlive(const QString& session) const;
    void remove(const QString& name, Kind kind) const;

    QString m_path;
};
