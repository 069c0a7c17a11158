// One launch that hands its command line to this session.
#pragma once

#include "ui/sessionrecords.h"

#include <QByteArray>
#include <QLocalSocket>
#include <QObject>
#include <QTimer>

// Reads records from the socket until the other side closes it, and passes them on as soon as each is
// complete: a message of some megabytes arrives in many pieces. A connection that brings an unknown
// header, a text of impossible length, more than 16 MiB or more than 10,000 records, that stops in the
// midst of a record or says nothing for 5 s is ended, with one warning where something is lost. What
// was complete before counts.
//
// Deletes itself when it has ended. GUI thread.
class SessionConnection : public QObject
{
    Q_OBJECT

public:
    static constexpr int idleMs = 5000;

    // The socket becomes a child.
    SessionConnection(QLocalSocket* socket, QObject* parent);
    // Takes what has arrived already; signals come from here on.
    void start();

Q_SIGNALS:
    // Complete records, in the order in which they were written. To be connected queued by whoever runs
    // the event loop while acting on them.
    void recordsArrived(const QByteArray& bytes);
    void ended();

private:
    void read();
    void idle();
    void finish();
    void end(const QString& fault);

    QLocalSocket* m_socket;
    QTimer m_idle;
    SessionInput m_input;
    bool m_ended = false;
};
