// The built program as a process of its own: what a user sees who starts it.
#include "app/commandline.h"
#include "base/platform.h"
#include "support/testsupport.h"
#include "ui/sessionrecords.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include <sys/stat.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QLocalServer>
#include <QLocalSocket>
#include <QProcess>
#include <QRegularExpression>
#include <QSettings>

namespace {

const QString program = QStringLiteral(MORVANE_PROGRAM);

// Homes of its own for each test, and a way to run the program in them.
class ProcessTest : public testing::Test
{
protected:
    void SetUp() override
    {
        static int argc = 1;
        static char name[] = "test";
        static char* argv[] = {name, nullptr};
        application = std::make_unique<QCoreApplication>(argc, argv);
        environment = QProcessEnvironment::systemEnvironment();
        for (const char* home : {"RUNTIME_DIR", "CACHE_HOME", "CONFIG_HOME", "STATE_HOME", "DATA_HOME"}) {
            const QString folder = homes + QLatin1Char('/') + QLatin1String(home);
            ASSERT_TRUE(platform::makePrivateFolder(folder));
            environment.insert(QStringLiteral("XDG_") + QLatin1String(home), folder);
        }
    }

    // Runs it to its end and keeps what it printed.
    int run(const QStringList& arguments)
    {
        QProcess process;
        process.setProcessEnvironment(environment);
        process.setProcessChannelMode(QProcess::MergedChannels);
        process.start(program, arguments);
        EXPECT_TRUE(testsupport::waitFor([&] { return process.state() == QProcess::NotRunning; }, 60000));
        output = QString::fromUtf8(process.readAll());
        EXPECT_EQ(process.exitStatus(), QProcess::NormalExit) << output.toStdString();
        return process.exitCode();
    }
    // Runs it as far as a line that holds `text`, then ends it.
    bool runUntil(const QStringList& arguments, const QString& text)
    {
        QProcess process;
        process.setProcessEnvironment(environment);
        process.setProcessChannelMode(QProcess::MergedChannels);
        process.start(program, arguments);
        output.clear();
        const bool seen = testsupport::waitFor(
            [&] {
                output += QString::fromUtf8(process.readAll());
                return output.contains(text) || process.state() == QProcess::NotRunning;
            },
            60000);
        process.kill();
        process.waitForFinished();
        return seen && output.contains(text);
    }
    int picture(QStringList arguments)
    {
        return run(arguments << QStringLiteral("--picture") << homes + QStringLiteral("/picture.png"));
    }
    QString logs() const { return homes + QStringLiteral("/STATE_HOME/Morvane/Morvane/logs"); }
    void makeOldLogs(int count) const
    {
        ASSERT_TRUE(platform::makePrivateFolder(logs()));
        for (int i = 0; i < count; ++i)
            ASSERT_TRUE(QFile(logs() + QStringLiteral("/Morvane 2020.01.%1-10.00.00.000.txt")
                                           .arg(i + 1, 2, 10, QLatin1Char('0')))
                            .open(QIODevice::WriteOnly));
    }
    QStringList logFiles() const { return QDir(logs()).entryList(QDir::Files, QDir::Name); }
    QString newestLog() const
    {
        QFile file(logs() + QLatin1Char('/') + logFiles().last());
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return QString::fromUtf8(file.readAll());
    }

    std::unique_ptr<QCoreApplication> application;
    QString homes = testsupport::makeFolder(QStringLiteral("homes"));
    QProcessEnvironment environment;
    QString output;
};

// A running session that collects what it is sent.
class Session
{
public:
    explicit Session(const QString& path)
    {
        EXPECT_TRUE(m_server.listen(path)) << m_server.errorString().toStdString();
        QObject::connect(&m_server, &QLocalServer::newConnection, &m_server, [this] {
            QLocalSocket* socket = m_server.nextPendingConnection();
            received += socket->readAll();
            QObject::connect(socket, &QLocalSocket::readyRead, socket,
                             [this, socket] { received += socket->readAll(); });
        });
    }
    QByteArray received;

private:
    QLocalServer m_server;
};

QString recording()
{
    return testsupport::dataFile(QStringLiteral("bird-robin.ogg"));
}

} // namespace

TEST_F(ProcessTest, versionAndHelpAnswerWithoutADisplay)
{
    environment.remove(QStringLiteral("DISPLAY"));
    environment.remove(QStringLiteral("QT_QPA_PLATFORM"));
    EXPECT_EQ(run({QStringLiteral("--version")}), 0);
    EXPECT_EQ(output, QStringLiteral("Morvane 6.0.30 Build 202\n"));
    EXPECT_EQ(run({QStringLiteral("-edition"), QStringLiteral("cardio"), QStringLiteral("--version")}), 0);
    EXPECT_EQ(output, QStringLiteral("Morvane Cardio 1.0.30 Build 202\n"));
    EXPECT_EQ(run({QStringLiteral("--help")}), 0);
    EXPECT_EQ(output, CommandLine::help());
    EXPECT_FALSE(QFileInfo::exists(homes + QStringLiteral("/STATE_HOME/Morvane")))
        << "nothing is left on disk";
}

TEST_F(ProcessTest, aPictureIsSavedAndTheProgramEndsWithZero)
{
    EXPECT_EQ(picture({recording()}), 0) << output.toStdString();
    EXPECT_TRUE(output.contains(homes + QStringLiteral("/picture.png")));
    const QImage image(homes + QStringLiteral("/picture.png"));
    EXPECT_GT(image.width(), 600);
    EXPECT_FALSE(QFileInfo::exists(homes + QStringLiteral("/RUNTIME_DIR/mvp6srv.lock")))
        << "no session is asked";
}

TEST_F(ProcessTest, aNameThatIsNoFileEndsThePictureWithOne)
{
    EXPECT_EQ(picture({QStringLiteral("gone.wav")}), 1);
    EXPECT_TRUE(output.contains(QLatin1String("gone.wav")));
}

TEST_F(ProcessTest, theLogMovesFromTheEarlyPlaceAndHoldsTheWholeStart)
{
    EXPECT_EQ(picture({recording()}), 0);
    EXPECT_TRUE(QDir(homes + QStringLiteral("/STATE_HOME")).entryList(QDir::Files).isEmpty());
    ASSERT_EQ(logFiles().size(), 1);
    const QStringList lines = newestLog().split(QLatin1Char('\n'));
    EXPECT_TRUE(lines[0].endsWith(QStringLiteral("--picture %1/picture.png ").arg(homes)))
        << lines[0].toStdString();
    const char* const inOrder[] = {"INFO  session Morvane ",
                                   "INFO  launching Morvane (6.0.30 Build 202 - x64 - Qt ",
                                   "INFO  OS: ",
                                   "INFO  CPU: ",
                                   "INFO  RAM: ",
                                   "INFO  HDD: ",
                                   "INFO  SCR0: ",
                                   "INFO  Creating window...",
                                   "INFO  session ended"};
    int position = 0;
    for (const char* text : inOrder) {
        position = newestLog().indexOf(QLatin1String(text), position);
        ASSERT_GE(position, 0) << text;
    }
    struct stat status;
    ASSERT_EQ(stat(QFile::encodeName(logs() + QLatin1Char('/') + logFiles()[0]), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0600u);
}

TEST_F(ProcessTest, debugLinesComeWithTheOptionOnly)
{
    EXPECT_EQ(picture({recording()}), 0);
    EXPECT_FALSE(output.contains(QLatin1String(" DEBUG  ")));
    EXPECT_FALSE(newestLog().contains(QLatin1String(" DEBUG  ")));
    EXPECT_EQ(picture({recording(), QStringLiteral("-debug")}), 0);
    const char* const inOrder[] = {"early init done",       "parent process: ",  "creating app",
                                   "loading properties...", "properties loaded", "app created",
                                   "relocating log to \"",  "log relocated",     "closing server...",
                                   "closing window...",     "closing app..."};
    int position = 0;
    for (const char* text : inOrder) {
        position = newestLog().indexOf(QLatin1String(text), position);
        ASSERT_GE(position, 0) << text;
    }
    EXPECT_TRUE(QRegularExpression(QStringLiteral("DEBUG  start\\+\\d+ early init done"))
                    .match(newestLog())
                    .hasMatch());
}

TEST_F(ProcessTest, threadsAndCpuAreReported)
{
    EXPECT_EQ(picture({recording(), QStringLiteral("-threads"), QStringLiteral("1"), QStringLiteral("-cpu"),
                       QStringLiteral("sse4.2")}),
              0);
    EXPECT_TRUE(output.contains(QLatin1String("INFO  CPU: 1 threads (SSE4.2)"))) << output.toStdString();
}

TEST_F(ProcessTest, editionAndMajorVersionNameTheSession)
{
    EXPECT_EQ(picture({QStringLiteral("-edition"), QStringLiteral("radio")}), 0);
    EXPECT_TRUE(output.contains(QLatin1String(" started - radio1srv")));
    EXPECT_EQ(picture({QStringLiteral("-edition"), QStringLiteral("unheard")}), 0);
    EXPECT_TRUE(output.contains(QLatin1String(" started - unheard6srv")));
}

TEST_F(ProcessTest, aSessionPrunesItsLogs)
{
    makeOldLogs(25);
    EXPECT_EQ(picture({recording()}), 0);
    EXPECT_EQ(logFiles().size(), 19) << "fewer than 20 with the running one";
    EXPECT_TRUE(newestLog().contains(QLatin1String("session ended")));
}

TEST_F(ProcessTest, aSecondStartHandsItsFilesOverAndLeavesASmallLog)
{
    Session session(homes + QStringLiteral("/RUNTIME_DIR/mvp6srv"));
    makeOldLogs(25);
    EXPECT_EQ(run({QStringLiteral("-debug"), QStringLiteral("-merge"), recording(), QStringLiteral("7")}), 0);
    EXPECT_TRUE(output.contains(QLatin1String("INFO  active session found, sending commands and closing")));
    EXPECT_FALSE(output.contains(QLatin1String("showing splashscreen"))) << output.toStdString();
    EXPECT_FALSE(output.contains(QLatin1String("Creating window")));
    EXPECT_TRUE(testsupport::waitFor([&] { return !session.received.isEmpty(); }));
    const SessionRecords records = readSessionRecords(session.received);
    ASSERT_EQ(records.records.size(), 1) << records.fault.toStdString();
    EXPECT_EQ(records.records[0].header, SessionHeader::Merge);
    EXPECT_EQ(QFileInfo(records.records[0].path).fileName(), QStringLiteral("bird-robin.ogg"));
    EXPECT_EQ(records.records[0].startSample, 7);
    EXPECT_EQ(logFiles().size(), 26) << "it does not prune";
    EXPECT_LT(newestLog().size(), 5000);
}

TEST_F(ProcessTest, startsInTheSameMillisecondKeepTheirOwnLogs)
{
    Session session(homes + QStringLiteral("/RUNTIME_DIR/mvp6srv"));
    std::vector<std::unique_ptr<QProcess>> starts;
    for (int i = 0; i < 8; ++i) {
        starts.push_back(std::make_unique<QProcess>());
        starts.back()->setProcessEnvironment(environment);
        starts.back()->setProcessChannelMode(QProcess::MergedChannels);
        starts.back()->start(program, {recording()});
    }
    for (const auto& process : starts) {
        EXPECT_TRUE(testsupport::waitFor([&] { return process->state() == QProcess::NotRunning; }, 60000));
        EXPECT_EQ(process->exitCode(), 0);
        EXPECT_FALSE(process->readAll().contains("CRITICAL"));
    }
    EXPECT_EQ(logFiles().size(), 8);
    EXPECT_TRUE(
        testsupport::waitFor([&] { return readSessionRecords(session.received).records.size() == 8; }));
}

TEST_F(ProcessTest, aStaleSocketDoesNotStandInTheWay)
{
    const QString path = homes + QStringLiteral("/RUNTIME_DIR/mvp6srv");
    ASSERT_TRUE(QFile(path).open(QIODevice::WriteOnly)); // nobody answers there
    EXPECT_TRUE(runUntil({QStringLiteral("-debug")}, QStringLiteral("INFO  Ready"))) << output.toStdString();
    EXPECT_TRUE(output.contains(QLatin1String("no session found")));
    EXPECT_TRUE(output.contains(QLatin1String("showing splashscreen...")));
    EXPECT_TRUE(output.contains(QLatin1String("started - mvp6srv")));
    struct stat status;
    ASSERT_EQ(stat(QFile::encodeName(path), &status), 0);
    EXPECT_TRUE(S_ISSOCK(status.st_mode)) << "it listens in its place";
    EXPECT_EQ(status.st_mode & 077, 0u) << "to its user alone";
}

TEST_F(ProcessTest, withoutOpenGlTheProgramSaysSoAndEnds)
{
    environment.remove(QStringLiteral("DISPLAY"));
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    EXPECT_EQ(picture({recording()}), 1);
    EXPECT_TRUE(output.contains(QLatin1String("CRITICAL  OpenGL 3.3 initialization failed: valid: ")))
        << output.toStdString();
    EXPECT_TRUE(output.contains(
        QLatin1String("OpenGL 3.3 initialization failed. Update your graphic card drivers, or "
                      "upgrade your graphic card.")));
    EXPECT_FALSE(output.contains(QLatin1String("Creating window")));
}

TEST_F(ProcessTest, userSettingsAreForThisUserAloneAndResetEmptiesThem)
{
    EXPECT_EQ(picture({recording()}), 0);
    const QString store = homes + QStringLiteral("/CONFIG_HOME/Morvane/Morvane 6.0.conf");
    struct stat status;
    ASSERT_EQ(stat(QFile::encodeName(store), &status), 0);
    EXPECT_EQ(status.st_mode & 077, 0u);
    EXPECT_EQ(QSettings(store, QSettings::IniFormat).value(QStringLiteral("settingsversion")).toInt(), 195);
    EXPECT_EQ(runUntil({QStringLiteral("-reset")}, QStringLiteral("INFO  Ready")), true);
    EXPECT_FALSE(QSettings(store, QSettings::IniFormat).contains(QStringLiteral("settingsversion")));
}
