#include "ui/sessionconnection.h"

#include "base/log.h"
#include "ui/sessionrecords.h"

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
        m_bytes += data.size();
        m_partial += data;
        passOn();
    }
}

void SessionConnection::passOn()
{
    const SessionScan scan = scanSessionRecords(m_partial);
    QString fault = scan.fault;
    m_records += scan.records;
    if (m_bytes > maxBytes)
        fault = QStringLiteral("more than %1 MiB").arg(maxBytes >> 20);
    else if (m_records > maxRecords)
        fault = QStringLiteral("more than %1 records").arg(maxRecords);
    const QByteArray whole = m_partial.left(scan.whole);
    m_partial.remove(0, scan.whole);
    if (!whole.isEmpty() && m_records <= maxRecords)
        Q_EMIT recordsArrived(whole);
    if (!fault.isEmpty())
        end(fault);
}

void SessionConnection::idle()
{
    // While the program was busy the timer ran out though data is there.
    if (!m_socket->waitForReadyRead(0))
        end(m_partial.isEmpty() ? QString() : QStringLiteral("nothing came for %1 s").arg(idleMs / 1000));
}

void SessionConnection::finish()
{
    read();
    end(m_partial.isEmpty() ? QString() : QStringLiteral("a record is cut short"));
}

void SessionConnection::end(const QString& fault)
{
    if (m_ended)
        return;
    m_ended = true;
    m_idle.stop();
    if (!fault.isEmpty())
        qWarning().noquote() << QStringLiteral("a launch was not understood: ") + fault;
    m_partial.clear();
    disconnect(m_socket, nullptr, this, nullptr);
    m_socket->abort();
    deleteLater();
    Q_EMIT ended();
}
