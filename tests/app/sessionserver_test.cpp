#include "app/sessiongate.h"
#include "app/sessionserver.h"
#include "base/platform.h"
#include "support/testsupport.h"
#include "ui/sessionconnection.h"
#include "ui/sessionrecords.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QDataStream>
#include <QElapsedTimer>
#include <QFile>
#include <QLocalSocket>
#include <QProcess>

namespace {

QByteArray fileRecord(const QString& path)
{
    SessionRecord record;
    record.path = path;
    return toSessionBytes(record);
}

QByteArray header(qint16 value)
{
    QByteArray bytes;
    QDataStream(&bytes, QIODevice::WriteOnly) << value;
    return bytes;
}

// A server as the session has it, and everything that its launches told.
class SessionServerTest : public testing::Test
{
protected:
    void SetUp() override
    {
        static int argc = 1;
        static char program[] = "test";
        static char* argv[] = {program, nullptr};
        application = std::make_unique<QCoreApplication>(argc, argv);
        server = std::make_unique<SessionServer>();
        ASSERT_TRUE(server->start(path, nullptr));
        QObject::connect(server.get(), &QLocalServer::newConnection, server.get(), [this] {
            auto* connection = new SessionConnection(server->nextPendingConnection(), server.get());
            ++open;
            QObject::connect(connection, &SessionConnection::recordsArrived, server.get(),
                             [this](const QByteArray& bytes) {
                                 ++arrivals;
                                 received += bytes;
                             });
            QObject::connect(connection, &SessionConnection::ended, server.get(), [this] { --open; });
            connection->start();
        });
    }
    void TearDown() override
    {
        server.reset();
        application.reset();
    }
    std::unique_ptr<QLocalSocket> connectClient() const
    {
        auto client = std::make_unique<QLocalSocket>();
        client->connectToServer(path);
        EXPECT_TRUE(client->waitForConnected(1000)) << client->errorString().toStdString();
        return client;
    }
    // Sends all of it and waits until the server has ended the connection.
    void sendAndEnd(const QByteArray& bytes)
    {
        const auto client = connectClient();
        client->write(bytes);
        bool closed = false;
        EXPECT_TRUE(testsupport::waitFor([&] {
            if (client->bytesToWrite() == 0 && !closed) {
                closed = true;
                client->disconnectFromServer();
            }
            return client->state() == QLocalSocket::UnconnectedState && open == 0;
        }));
    }
    [[nodiscard]] QList<SessionRecord> records() const { return readSessionRecords(received).records; }

    const QString path = platform::localServerPath(QStringLiteral("server"));
    std::unique_ptr<QCoreApplication> application;
    std::unique_ptr<SessionServer> server;
    QByteArray received;
    int arrivals = 0;
    int open = 0; // connections
};

// A raw client socket, for what the library's class would not do.
int rawSocket()
{
    return socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
}

bool rawConnect(int client, const QString& path)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    qstrncpy(address.sun_path, QFile::encodeName(path).constData(), sizeof address.sun_path);
    return connect(client, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
}

} // namespace

TEST_F(SessionServerTest, aMessageOfFiveMegabytesArrivesWhole)
{
    QByteArray bytes;
    for (int i = 0; bytes.size() < 5 << 20; ++i)
        bytes += fileRecord(QString(1000, QChar('a' + i % 26)));
    sendAndEnd(bytes);
    EXPECT_TRUE(received == bytes);
    EXPECT_GT(arrivals, 1) << "it comes in pieces, and none of them ends in the midst of a record";
}

TEST_F(SessionServerTest, aRecordThatComesByteByByteIsActedOnOnceItIsComplete)
{
    const auto client = connectClient();
    const QByteArray bytes = fileRecord(QStringLiteral("/slow.wav"));
    for (int i = 0; i < bytes.size(); ++i) {
        EXPECT_EQ(arrivals, 0);
        client->write(bytes.mid(i, 1));
        ASSERT_TRUE(client->waitForBytesWritten(1000));
        QCoreApplication::processEvents();
    }
    ASSERT_TRUE(testsupport::waitFor([&] { return arrivals == 1; }));
    ASSERT_EQ(records().size(), 1);
    EXPECT_EQ(records()[0].path, QStringLiteral("/slow.wav"));
}

TEST_F(SessionServerTest, anUnknownHeaderEndsTheConnectionWithOneWarningAndKeepsWhatStoodBefore)
{
    testsupport::expectWarning(QStringLiteral("unknown header 77"));
    sendAndEnd(fileRecord(QStringLiteral("/a")) + header(77) + fileRecord(QStringLiteral("/b")));
    ASSERT_EQ(records().size(), 1);
    EXPECT_EQ(records()[0].path, QStringLiteral("/a"));
}

TEST_F(SessionServerTest, aRecordCutShortIsDroppedWithOneWarning)
{
    testsupport::expectWarning(QStringLiteral("a record is cut short"));
    const QByteArray second = fileRecord(QStringLiteral("/second"));
    sendAndEnd(fileRecord(QStringLiteral("/first")) + second.left(second.size() - 1));
    ASSERT_EQ(records().size(), 1);
    EXPECT_EQ(records()[0].path, QStringLiteral("/first"));
}

TEST_F(SessionServerTest, aTextOfImpossibleLengthEndsTheConnectionAtOnce)
{
    testsupport::expectWarning(QStringLiteral("a text of impossible length"));
    sendAndEnd(header(16) + QByteArray::fromHex("7ffffffe") + QByteArray(1000, 'x'));
    EXPECT_EQ(arrivals, 0);
}

TEST_F(SessionServerTest, moreThanSixteenMebibytesEndTheConnection)
{
    testsupport::expectWarning(QStringLiteral("more than 16 MiB"));
    const QByteArray record = fileRecord(QString(100000, QLatin1Char('x')));
    sendAndEnd(record.repeated((16 << 20) / record.size() + 2));
    EXPECT_LE(received.size(), 18 << 20);
    EXPECT_GE(received.size(), 14 << 20);
}

TEST_F(SessionServerTest, moreThanTenThousandRecordsEndTheConnection)
{
    testsupport::expectWarning(QStringLiteral("more than 10000 records"));
    const QByteArray record = header(32) + QByteArray(16, '\0');
    sendAndEnd(record.repeated(10001));
    EXPECT_LE(records().size(), 10000);
    received.clear();
    sendAndEnd(record.repeated(10000));
    EXPECT_EQ(records().size(), 10000) << "each connection has its own count";
}

TEST_F(SessionServerTest, aLaunchThatStopsInTheMidstOfARecordIsEndedAfterFiveSeconds)
{
    testsupport::expectWarning(QStringLiteral("nothing came for 5 s"));
    const auto client = connectClient();
    client->write(fileRecord(QStringLiteral("/a")).left(7));
    QElapsedTimer timer;
    timer.start();
    ASSERT_TRUE(testsupport::waitFor([&] { return client->state() == QLocalSocket::UnconnectedState; }));
    EXPECT_GE(timer.elapsed(), 4900);
    EXPECT_LT(timer.elapsed(), 8000);
    EXPECT_EQ(arrivals, 0);
}

TEST_F(SessionServerTest, aSilentLaunchIsEndedWithoutAWord)
{
    const auto client = connectClient();
    EXPECT_TRUE(testsupport::waitFor([&] { return client->state() == QLocalSocket::UnconnectedState; }));
}

TEST_F(SessionServerTest, aLaunchThatClosedBeforeItWasAcceptedIsHeard)
{
    {
        const int client = rawSocket();
        ASSERT_TRUE(rawConnect(client, path));
        const QByteArray bytes = fileRecord(QStringLiteral("/gone"));
        ASSERT_EQ(write(client, bytes.constData(), size_t(bytes.size())), bytes.size());
        close(client);
    }
    EXPECT_TRUE(testsupport::waitFor([&] { return records().size() == 1; }));
}

TEST_F(SessionServerTest, theSocketIsForItsUserAlone)
{
    struct stat status;
    ASSERT_EQ(stat(QFile::encodeName(path), &status), 0);
    EXPECT_TRUE(S_ISSOCK(status.st_mode));
    EXPECT_EQ(status.st_mode & 077, 0u);
}

TEST_F(SessionServerTest, aConnectionOfAnotherUserIsRefused)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can be somebody else";
    // Somebody has opened every door, and yet.
    QString folder = path;
    while (folder.count(QLatin1Char('/')) > 1) {
        ASSERT_EQ(chmod(QFile::encodeName(folder), 0777), 0);
        folder.truncate(folder.lastIndexOf(QLatin1Char('/')));
    }
    const QByteArray bytes = fileRecord(QStringLiteral("/theirs"));
    const pid_t stranger = fork();
    if (stranger == 0) {
        const int client = rawSocket();
        if (setuid(65534) != 0 || !rawConnect(client, path))
            _exit(2);
        static_cast<void>(!write(client, bytes.constData(), size_t(bytes.size())));
        char byte;
        _exit(read(client, &byte, 1) <= 0 ? 0 : 3); // until the server closes it
    }
    testsupport::expectWarning(QStringLiteral("a connection of another user was refused"));
    int status = -1;
    EXPECT_TRUE(testsupport::waitFor([&] { return waitpid(stranger, &status, WNOHANG) == stranger; }));
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    EXPECT_EQ(arrivals, 0);
    EXPECT_EQ(open, 0);
}

TEST_F(SessionServerTest, aServerThatRanOutOfDescriptorsListensAgain)
{
    const int client = rawSocket();
    rlimit before;
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    // No descriptor is left for the one connection that comes now.
    rlimit tight = before;
    tight.rlim_cur = rlim_t(client) + 1;
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &tight), 0);
    std::vector<int> fillers;
    for (int filler = dup(client); filler >= 0; filler = dup(client))
        fillers.push_back(filler);
    ASSERT_TRUE(rawConnect(client, path));
    EXPECT_TRUE(testsupport::waitFor([&] { return !QFile::exists(path); }));
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
    for (const int filler : fillers)
        close(filler);
    close(client);
    testsupport::expectWarning(QStringLiteral("listens again"));
    EXPECT_TRUE(testsupport::waitFor([&] { return QFile::exists(path); }));
    sendAndEnd(fileRecord(QStringLiteral("/after")));
    EXPECT_EQ(records().size(), 1);
}

TEST_F(SessionServerTest, theSessionKeepsItsPlaceWhileItIsTooBusyToAnswer)
{
    SessionGate session(QStringLiteral("busy"));
    ASSERT_EQ(session.pass({}), SessionGate::Session);
    SessionServer busy;
    ASSERT_TRUE(busy.start(session.socketPath(), session.takeLock()));
    // Even without a socket to be found nobody else becomes the session.
    ASSERT_TRUE(QFile::remove(session.socketPath()));
    testsupport::expectWarning(QStringLiteral("going on without a server"));
    SessionGate second(QStringLiteral("busy"));
    EXPECT_EQ(second.pass({}), SessionGate::Alone);
}

TEST_F(SessionServerTest, whereItCannotListenTheServerSaysSo)
{
    testsupport::expectWarning(QStringLiteral("cannot be reached by other launches"));
    SessionServer nowhere;
    EXPECT_FALSE(nowhere.start(QStringLiteral("/nowhere/socket"), nullptr));
}

TEST_F(SessionServerTest, twoStartsAtTheSameInstantFortyTimesAreOneSessionWithBothFiles)
{
    for (int round = 0; round < 40; ++round) {
        const QString name = QStringLiteral("race%1").arg(round);
        QProcess starts[2];
        for (int i = 0; i < 2; ++i)
            starts[i].start(QStringLiteral(MORVANE_WINDOWLESS_START),
                            {name, QStringLiteral("/file%1").arg(i), QStringLiteral("2")});
        QStringList words;
        for (QProcess& start : starts) {
            ASSERT_TRUE(start.waitForFinished(testsupport::patient(20000)));
            EXPECT_EQ(start.exitCode(), 0) << start.readAllStandardError().toStdString();
            words << QString::fromLocal8Bit(start.readAllStandardOutput()).trimmed();
        }
        words.sort();
        ASSERT_EQ(words[0], QStringLiteral("handed over")) << round << ": " << words[1].toStdString();
        QStringList files = words[1].split(QLatin1Char(' '));
        ASSERT_EQ(files.takeFirst(), QStringLiteral("session"));
        files.sort();
        ASSERT_EQ(files, (QStringList{QStringLiteral("/file0"), QStringLiteral("/file1")})) << round;
    }
}
