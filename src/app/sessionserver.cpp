#include "app/sessionserver.h"

#include "base/platform.h"

#include <QDebug>
#include <QFileInfo>
#include <QLocalSocket>

namespace {

constexpr int watchMs = 1000; // below the 2 s for which a launch tries to connect
constexpr int maxWaiting = 30;

} // namespace

SessionServer::SessionServer(QObject* parent) : QLocalServer(parent)
{
    setSocketOptions(QLocalServer::UserAccessOption);
    setMaxPendingConnections(maxWaiting);
    m_watch.setInterval(watchMs);
    m_watch.setTimerType(Qt::VeryCoarseTimer);
    connect(&m_watch, &QTimer::timeout, this, &SessionServer::watch);
}

SessionServer::~SessionServer()
{
    m_watch.stop();
    close();
}

bool SessionServer::start(const QString& path, std::unique_ptr<FileLock> lock)
{
    m_path = path;
    if (!listen(m_path)) {
        qWarning().noquote() << "the session cannot be reached by other launches:" << errorString();
        return false;
    }
    m_lock = std::move(lock);
    m_watch.start();
    return true;
}

void SessionServer::watch()
{
    // When Qt has closed the socket by itself it has removed it too, and does not tell otherwise.
    if (QFileInfo::exists(m_path))
        return;
    close();
    if (listen(m_path))
        qWarning().noquote() << "the session had stopped listening, and listens again";
}

void SessionServer::incomingConnection(quintptr socketDescriptor)
{
    if (platform::peerIsOwnUser(qintptr(socketDescriptor))) {
        QLocalServer::incomingConnection(socketDescriptor);
        return;
    }
    qWarning().noquote() << "a connection of another user was refused";
    QLocalSocket socket;
    socket.setSocketDescriptor(qintptr(socketDescriptor));
    socket.abort();
}
