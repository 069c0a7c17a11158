#include "app/sessiongate.h"

#include "base/platform.h"

#include <QDebug>
#include <QElapsedTimer>
#include <QLocalServer>
#include <QLocalSocket>
#include <QThread>

namespace {

constexpr int connectMs = 250;
constexpr int writeMs = 30000;
constexpr int retryMs = 2000;
constexpr int pauseMs = 20;

bool writeAll(QLocalSocket& socket, const QByteArray& records)
{
    QElapsedTimer timer;
    timer.start();
    if (socket.write(records) != records.size())
        return false;
    while (socket.bytesToWrite() > 0)
        if (!socket.waitForBytesWritten(static_cast<int>(std::max<qint64>(0, writeMs - timer.elapsed()))))
            return false;
    return true;
}

} // namespace

SessionGate::SessionGate(const QString& serverName)
    : m_serverName(serverName),
      m_socketPath(platform::localServerPath(serverName))
{
}

bool SessionGate::handOver(const QByteArray& records) const
{
    QLocalSocket socket;
    socket.connectToServer(m_socketPath, QIODevice::ReadWrite);
    if (!socket.waitForConnected(connectMs))
        return false;
    if (!platform::peerIsOwnUser(socket.socketDescriptor())) {
        qWarning().noquote() << "the session socket" << m_socketPath << "belongs to another user";
        return false;
    }
    qInfo().noquote() << "active session found, sending commands and closing";
    if (!writeAll(socket, records)) {
        qWarning().noquote() << "the session did not take the commands:" << socket.errorString();
        return false;
    }
    socket.disconnectFromServer();
    return true;
}

SessionGate::Outcome SessionGate::pass(const QByteArray& records)
{
    QElapsedTimer timer;
    timer.start();
    do {
        if (handOver(records))
            return HandedOver;
        m_startUpLock = FileLock::take(m_socketPath + QLatin1String(".lock"));
        if (m_startUpLock) {
            // Its last holder may have begun to listen between our question and the lock.
            if (handOver(records)) {
                m_startUpLock.reset();
                return HandedOver;
            }
            QLocalServer::removeServer(m_socketPath);
            return Session;
        }
        QThread::msleep(pauseMs);
    } while (timer.elapsed() < retryMs);
    qWarning().noquote() << "another session is there and does not answer; going on without a server";
    return Alone;
}
