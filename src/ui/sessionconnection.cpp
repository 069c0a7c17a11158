#include "ui/sessionconnection.h"

#include "base/log.h"

#include <QDebug>

SessionConnection::SessionConnection(QLocalSocket* socket, QObject* parent)
    : QObject(parent),
      m_socket(socket)
{
    m_socket->setParent(this);
    m_socket->setReadBufferSize(1 << 20); // the rest waits in the system
    m_idle.setSingleShot(true);
    m_idle.setInterval(idleMs);
    m_idle.setTimerType(Qt::PreciseTimer);
    connect(&m_idle, &QTimer::timeout, this, &SessionConnection::idle);
}

void SessionConnection::start()
{
    connect(m_socket, &QLocalSocket::readyRead, this, &SessionConnection::read);
    connect(m_socket, &QLocalSocket::disconnected, this, &SessionConnection::finish);
    m_idle.start();
    read();
    if (m_socket->state() == QLocalSocket::UnconnectedState)
        finish();
}

void SessionConnection::read()
{
    while (!m_ended && m_socket->bytesAvailable() > 0) {
        const QByteArray data = m_socket->readAll();
        logging::debug("MainWindow::sessionSocketData",
                       QStringLiteral("socket data size: %1").arg(data.size()));
        m_idle.start();
        if (const QByteArray whole = m_input.take(data); !whole.isEmpty())
            Q_EMIT recordsArrived(whole);
        if (!m_input.fault().isEmpty())
            end(m_input.fault());
    }
}

void SessionConnection::idle()
{
    // While the program was busy the timer ran out though data is there.
    if (!m_socket->waitForReadyRead(0))
        end(!m_input.isInRecord() ? QString() : QStringLiteral("nothing came for %1 s").arg(idleMs / 1000));
}

void SessionConnection::finish()
{
    read();
    end(!m_input.isInRecord() ? QString() : QStringLiteral("a record is cut short"));
}

void SessionConnection::end(const QString& fault)
{
    if (m_ended)
        return;
    m_ended = true;
    m_idle.stop();
    if (!fault.isEmpty())
        qWarning().noquote() << QStringLiteral("a launch was not understood: ") + fault;
    disconnect(m_socket, nullptr, this, nullptr);
    m_socket->abort();
    deleteLater();
    Q_EMIT ended();
}
