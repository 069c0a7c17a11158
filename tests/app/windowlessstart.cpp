// What the program does between its start and its window, without a window: it becomes the session, or
// hands its file over. Arguments: name of the session, path of the file, number of files that the
// session waits for. Prints "session" and the paths in the order in which they came, or "handed over",
// or "alone".
#include "app/sessiongate.h"
#include "app/sessionserver.h"
#include "ui/sessionconnection.h"
#include "ui/sessionrecords.h"

#include <cstdio>

#include <QCoreApplication>
#include <QLocalSocket>
#include <QTimer>

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    if (argc != 4)
        return 2;
    SessionRecord own;
    own.path = QString::fromLocal8Bit(argv[2]);
    SessionGate gate(QString::fromLocal8Bit(argv[1]));
    switch (gate.pass(toSessionBytes(own))) {
    case SessionGate::HandedOver:
        std::puts("handed over");
        return 0;
    case SessionGate::Alone:
        std::puts("alone");
        return 0;
    case SessionGate::Session:
        break;
    }
    SessionServer server;
    if (!server.start(gate.socketPath(), gate.takeLock()))
        return 3;
    QStringList paths{own.path};
    QObject::connect(&server, &QLocalServer::newConnection, &server, [&] {
        auto* connection = new SessionConnection(server.nextPendingConnection(), &server);
        QObject::connect(connection, &SessionConnection::recordsArrived, &server,
                         [&](const QByteArray& bytes) {
                             for (const SessionRecord& record : readSessionRecords(bytes).records)
                                 paths << record.path;
                             if (paths.size() >= QByteArray(argv[3]).toInt())
                                 QCoreApplication::quit();
                         });
        connection->start();
    });
    QTimer::singleShot(10000, &application, &QCoreApplication::quit);
    QCoreApplication::exec();
    std::printf("session %s\n", paths.join(QLatin1Char(' ')).toLocal8Bit().constData());
    return 0;
}
