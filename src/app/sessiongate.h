// Decides whether this process becomes the session or hands its command line to the running one.
#pragma once

#include "base/filelock.h"

#include <memory>

#include <QByteArray>
#include <QString>

// Of several processes that start at once, one takes the start-up lock and becomes the session; the
// others ask again until it listens. The session keeps the lock, and loses it when it dies.
class SessionGate
{
public:
    enum Outcome {
        HandedOver, // a running session has the records: nothing further to do
        Session,    // this process is the session and may listen; a stale socket is gone
        Alone,      // a session is starting but was not reached: go on without a server
    };

    // `serverName` is a plain name; the socket lies where platform::localServerPath puts it.
    explicit SessionGate(const QString& serverName);

    // Asks, waiting at most 250 ms for one answer and 2 s for a session that is just starting.
    [[nodiscard]] Outcome pass(const QByteArray& records);
    // What makes this process the session, after Session; then null. To be kept by whoever listens, so
    // that no other process takes the place of a session that is only busy. To be let go when this one
    // will not listen: the next process may try.
    [[nodiscard]] std::unique_ptr<FileLock> takeLock() { return std::move(m_startUpLock); }
    // Full name for QLocalServer::listen.
    [[nodiscard]] const QString& socketPath() const { return m_socketPath; }

private:
    [[nodiscard]] bool handOver(const QByteArray& records) const;

    QString m_serverName;
    QString m_socketPath;
    std::unique_ptr<FileLock> m_startUpLock; // gone with this object, unless taken
};
