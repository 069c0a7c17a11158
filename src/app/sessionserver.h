// The socket on which a running session hears of later launches.
#pragma once

#include "base/filelock.h"

#include <memory>

#include <QLocalServer>
#include <QTimer>

// Open to this user alone: by the mode of the socket, and by asking the system who is at the other end
// of each connection. A server that ran out of descriptors is closed by Qt for good; this one listens
// again, also when somebody has removed its socket. GUI thread.
class SessionServer : public QLocalServer
{
    Q_OBJECT

public:
    explicit SessionServer(QObject* parent = nullptr);
    // The socket goes before the lock is given back.
    ~SessionServer() override;

    // Listens at a full path. On success `lock`, which made this process the session (it may be null),
    // is kept as long as the server lives, so that no other process can take its place meanwhile.
    // False with a warning in the log.
    [[nodiscard]] bool start(const QString& path, std::unique_ptr<FileLock> lock);

protected:
    void incomingConnection(quintptr socketDescriptor) override;

private:
    void watch();

    QString m_path;
    std::unique_ptr<FileLock> m_lock;
    QTimer m_watch;
};
