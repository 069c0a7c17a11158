#include "app/sessiongate.h"

#include "base/platform.h"
#include "support/testsupport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QLocalServer>
#include <QLocalSocket>

namespace {

// A running session: listens where the gate looks, and keeps what it is sent.
class RunningSession
{
public:
    explicit RunningSession(const QString& name)
    {
        m_server.setSocketOptions(QLocalServer::UserAccessOption);
        EXPECT_TRUE(m_server.listen(platform::localServerPath(name))) << m_server.errorString().toStdString();
        QObject::connect(&m_server, &QLocalServer::newConnection, &m_server, [this] {
            QLocalSocket* socket = m_server.nextPendingConnection();
            QObject::connect(socket, &QLocalSocket::readyRead, socket,
                             [this, socket] { received += socket->readAll(); });
        });
    }
    QByteArray received;

private:
    QLocalServer m_server;
};

class SessionGateTest : public testing::Test
{
protected:
    void SetUp() override
    {
        static int argc = 1;
        static char program[] = "test";
        static char* argv[] = {program, nullptr};
        application = std::make_unique<QCoreApplication>(argc, argv);
    }
    // Another process that starts, seen from here: the gate blocks, so it gets a thread.
    static std::thread startAnother(const QString& name, const QByteArray& records, std::atomic<int>& outcome)
    {
        return std::thread([name, records, &outcome] {
            SessionGate gate(name);
            outcome = gate.pass(records);
        });
    }
    std::unique_ptr<QCoreApplication> application;
};

// A socket that nobody listens on any more, as a killed session leaves it.
void leaveStaleSocket(const QString& path)
{
    const int file = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    qstrncpy(address.sun_path, QFile::encodeName(path).constData(), sizeof address.sun_path);
    ASSERT_EQ(bind(file, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    close(file);
}

} // namespace

TEST_F(SessionGateTest, socketsLieInTheUsersRuntimeFolder)
{
    EXPECT_EQ(SessionGate(QStringLiteral("mvp6srv")).socketPath(),
              qEnvironmentVariable("XDG_RUNTIME_DIR") + QStringLiteral("/mvp6srv"));
    EXPECT_EQ(SessionGate(QStringLiteral("../../x")).socketPath(),
              qEnvironmentVariable("XDG_RUNTIME_DIR") + QStringLiteral("/.._.._x"));
}

TEST_F(SessionGateTest, withoutARunningSessionThisProcessIsIt)
{
    SessionGate gate(QStringLiteral("first"));
    QElapsedTimer timer;
    timer.start();
    EXPECT_EQ(gate.pass("records"), SessionGate::Session);
    EXPECT_LT(timer.elapsed(), 250);
}

TEST_F(SessionGateTest, aRunningSessionGetsTheRecordsWhole)
{
    RunningSession session(QStringLiteral("live"));
    const QByteArray records(5 << 20, 'r'); // arrives in many pieces
    std::atomic<int> outcome{-1};
    std::thread other = startAnother(QStringLiteral("live"), records, outcome);
    EXPECT_TRUE(testsupport::waitFor([&] { return session.received.size() == records.size(); }));
    other.join();
    EXPECT_EQ(outcome, SessionGate::HandedOver);
    EXPECT_EQ(session.received, records);
}

TEST_F(SessionGateTest, aHandOverWithNothingToSayIsQuick)
{
    RunningSession session(QStringLiteral("quick"));
    QElapsedTimer timer;
    timer.start();
    SessionGate gate(QStringLiteral("quick"));
    EXPECT_EQ(gate.pass({}), SessionGate::HandedOver);
    EXPECT_LT(timer.elapsed(), 250);
}

TEST_F(SessionGateTest, aStaleSocketIsRemovedSoThatTheNextSessionCanListen)
{
    const QString path = platform::localServerPath(QStringLiteral("stale"));
    leaveStaleSocket(path);
    struct stat status;
    ASSERT_EQ(lstat(QFile::encodeName(path), &status), 0);
    SessionGate gate(QStringLiteral("stale"));
    EXPECT_EQ(gate.pass("records"), SessionGate::Session);
    QLocalServer server;
    EXPECT_TRUE(server.listen(gate.socketPath())) << server.errorString().toStdString();
}

TEST_F(SessionGateTest, ofManyStartsAtOnceOneBecomesTheSessionAndHasAllRecords)
{
    constexpr int starts = 12;
    const QString name = QStringLiteral("many");
    std::atomic<int> sessions{0}, handedOver{0}, ended{0};
    std::unique_ptr<SessionGate> winner;
    std::vector<std::thread> others;
    for (int i = 0; i < starts; ++i)
        others.emplace_back([&] {
            auto gate = std::make_unique<SessionGate>(name);
            const auto outcome = gate->pass("r");
            if (outcome == SessionGate::Session) {
                ++sessions;
                winner = std::move(gate); // keeps the lock until the main thread listens
            }
            handedOver += outcome == SessionGate::HandedOver;
            ++ended;
        });
    ASSERT_TRUE(testsupport::waitFor([&] { return ended > 0; }));
    RunningSession session(name);
    EXPECT_TRUE(testsupport::waitFor([&] { return session.received.size() == starts - 1; }));
    for (std::thread& thread : others)
        thread.join();
    EXPECT_EQ(sessions, 1);
    EXPECT_EQ(handedOver, starts - 1);
}

TEST_F(SessionGateTest, whenTheStartingSessionDiesTheWaitingOneTakesItsPlace)
{
    auto dying = std::make_unique<SessionGate>(QStringLiteral("dying"));
    ASSERT_EQ(dying->pass({}), SessionGate::Session);
    std::atomic<int> outcome{-1};
    QElapsedTimer timer;
    timer.start();
    std::thread other = startAnother(QStringLiteral("dying"), {}, outcome);
    EXPECT_FALSE(testsupport::waitFor([&] { return outcome >= 0; }, 100)) << "it does not wait for the lock";
    dying.reset(); // as the kernel does at any death
    other.join();
    EXPECT_EQ(outcome, SessionGate::Session);
    EXPECT_LT(timer.elapsed(), 2000);
}

TEST_F(SessionGateTest, aSessionThatNeverAnswersIsGivenUpWithAWarning)
{
    SessionGate silent(QStringLiteral("silent"));
    ASSERT_EQ(silent.pass({}), SessionGate::Session);
    testsupport::expectWarning(QStringLiteral("going on without a server"));
    QElapsedTimer timer;
    timer.start();
    SessionGate gate(QStringLiteral("silent"));
    EXPECT_EQ(gate.pass("r"), SessionGate::Alone);
    EXPECT_GE(timer.elapsed(), 2000);
}

TEST_F(SessionGateTest, editionsAndMajorVersionsDoNotMeet)
{
    RunningSession session(QStringLiteral("mvp6srv"));
    SessionGate gate(QStringLiteral("cardio1srv"));
    EXPECT_EQ(gate.pass("r"), SessionGate::Session);
}
