#include "base/log.h"

#include "support/testsupport.h"

#include <gtest/gtest.h>

#include <set>
#include <thread>
#include <vector>

#include <sys/stat.h>

#include <QDebug>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

using testsupport::makeFolder;

namespace {

QString readFile(const QString& path)
{
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
    return QString::fromUtf8(file.readAll());
}

// The program's own handler instead of the tests', with a log of its own.
class LogTest : public testing::Test
{
protected:
    LogTest()
    {
        logging::close();
        m_before = qInstallMessageHandler(nullptr);
        logging::install();
    }
    ~LogTest() override
    {
        logging::close();
        qInstallMessageHandler(m_before);
    }

    QString folder = makeFolder();
    QString path = folder + QStringLiteral("/early/a.txt");

private:
    QtMessageHandler m_before;
};

void makeLogs(const QString& folder, int count)
{
    for (int i = 0; i < count; ++i) {
        QFile file(
            folder +
            QStringLiteral("/Morvane 2026.01.%1-10.00.00.000.txt").arg(i + 1, 2, 10, QLatin1Char('0')));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    }
}

} // namespace

TEST_F(LogTest, linesHaveTimeThreadLevelAndText)
{
    ASSERT_TRUE(logging::open(path, true));
    testing::internal::CaptureStderr();
    testing::internal::CaptureStdout();
    qDebug().noquote() << "one";
    qInfo().noquote() << "two";
    qWarning().noquote() << "three";
    qCritical().noquote() << "four";
    const std::string out = testing::internal::GetCapturedStdout(),
                      err = testing::internal::GetCapturedStderr();
    const QStringList lines = readFile(path).split(QLatin1Char('\n'));
    ASSERT_EQ(lines.size(), 5);
    const char* const ends[] = {"DEBUG  one", "INFO  two", "WARNING  three", "CRITICAL  four"};
    for (int i = 0; i < 4; ++i)
        EXPECT_TRUE(
            QRegularExpression(
                QStringLiteral("^\\d\\d:\\d\\d:\\d\\d\\.\\d{3} [0-9a-f]{4} %1$").arg(QLatin1String(ends[i])))
                .match(lines[i])
                .hasMatch())
            << lines[i].toStdString();
    EXPECT_EQ(lines[4], QString());
    EXPECT_EQ(out, (lines[0] + QLatin1Char('\n') + lines[1] + QLatin1Char('\n')).toStdString());
    EXPECT_EQ(err, (lines[2] + QLatin1Char('\n') + lines[3] + QLatin1Char('\n')).toStdString());
}

TEST_F(LogTest, withoutTheDebugFlagNoDebugLineReachesConsoleOrFile)
{
    ASSERT_TRUE(logging::open(path, false));
    testing::internal::CaptureStdout();
    qDebug() << "hidden";
    logging::debug("start", QStringLiteral("hidden too"));
    qInfo() << "seen";
    EXPECT_EQ(testing::internal::GetCapturedStdout().find("hidden"), std::string::npos);
    EXPECT_FALSE(readFile(path).contains(QLatin1String("hidden")));
    EXPECT_TRUE(readFile(path).contains(QLatin1String("seen")));
}

TEST_F(LogTest, debugLinesNameRoutineAndSourceLine)
{
    ASSERT_TRUE(logging::open(path, true));
    logging::debug("start", QStringLiteral("early init done"));
    const int line = __LINE__ - 1;
    EXPECT_TRUE(readFile(path).endsWith(QStringLiteral("DEBUG  start+%1 early init done\n").arg(line)));
}

TEST_F(LogTest, anotherFolderMovesTheFileAndTheSameChangesNothing)
{
    ASSERT_TRUE(logging::open(path, false));
    qInfo() << "first";
    const QString moved = folder + QStringLiteral("/final/deep/b.txt");
    ASSERT_TRUE(logging::open(moved, false));
    qInfo() << "second";
    EXPECT_FALSE(QFileInfo::exists(path));
    EXPECT_EQ(logging::path(), moved);
    EXPECT_EQ(readFile(moved).count(QLatin1Char('\n')), 2) << "the lines of the early log come along";
    EXPECT_TRUE(logging::open(folder + QStringLiteral("/final/deep/c.txt"), false));
    EXPECT_EQ(logging::path(), moved);
    EXPECT_FALSE(QFileInfo::exists(folder + QStringLiteral("/final/deep/c.txt")));
}

TEST_F(LogTest, theFileIsForThisUserAlone)
{
    ASSERT_TRUE(logging::open(path, false));
    ASSERT_TRUE(logging::open(folder + QStringLiteral("/final/b.txt"), false));
    struct stat status;
    ASSERT_EQ(stat(QFile::encodeName(logging::path()), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0600u);
}

TEST_F(LogTest, aMoveThatFailsGoesOnInTheEarlyFile)
{
    ASSERT_TRUE(logging::open(path, false));
    qInfo() << "first";
    EXPECT_FALSE(logging::open(path + QStringLiteral("/below/b.txt"), false)) << "a file is no folder";
    const QString taken = folder + QStringLiteral("/taken");
    QDir().mkpath(taken + QStringLiteral("/b.txt"));
    EXPECT_FALSE(logging::open(taken + QStringLiteral("/b.txt"), false)) << "a folder stands in its place";
    qInfo() << "second";
    EXPECT_EQ(logging::path(), path);
    EXPECT_EQ(readFile(path).count(QLatin1Char('\n')), 2);
}

TEST_F(LogTest, anEmptyPathIsRefusedAndAnUnopenedLogWritesOnTheConsoleOnly)
{
    EXPECT_FALSE(logging::open({}, false));
    testing::internal::CaptureStdout();
    qInfo() << "console";
    EXPECT_NE(testing::internal::GetCapturedStdout().find("INFO  console"), std::string::npos);
}

TEST_F(LogTest, textBeyondLatin1IsReplacedOnTheConsoleAndWholeInTheFile)
{
    ASSERT_TRUE(logging::open(path, false));
    const QString text = QStringLiteral("caf\u00e9 \u4e2d\u6587");
    testing::internal::CaptureStdout();
    qInfo().noquote() << text;
    const std::string console = testing::internal::GetCapturedStdout();
    EXPECT_NE(console.find("caf\xe9 ??\n"), std::string::npos) << console;
    EXPECT_TRUE(readFile(path).contains(text));
}

TEST_F(LogTest, linesOfManyThreadsStayWholeAndTellThemApart)
{
    ASSERT_TRUE(logging::open(path, false));
    testing::internal::CaptureStdout();
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([t] {
            for (int i = 0; i < 200; ++i)
                qInfo().noquote().nospace() << "thread " << t << " line " << i << " end";
        });
    for (std::thread& thread : threads)
        thread.join();
    testing::internal::GetCapturedStdout();
    std::set<QString> ids;
    int whole = 0;
    const QRegularExpression pattern(QStringLiteral("^\\S+ ([0-9a-f]{4}) INFO  thread \\d line \\d+ end$"));
    for (const QString& line : readFile(path).split(QLatin1Char('\n')))
        if (const auto match = pattern.match(line); match.hasMatch()) {
            ++whole;
            ids.insert(match.captured(1));
        }
    EXPECT_EQ(whole, 800);
    EXPECT_EQ(ids.size(), 4u);
}

TEST_F(LogTest, ofTwentyFiveLogsTheSixOldestGo)
{
    makeLogs(folder, 25);
    logging::prune(folder, 20);
    const QStringList left = QDir(folder).entryList(QDir::Files, QDir::Name);
    ASSERT_EQ(left.size(), 19);
    EXPECT_EQ(left.first(), QStringLiteral("Morvane 2026.01.07-10.00.00.000.txt"));
    logging::prune(folder, 20);
    EXPECT_EQ(QDir(folder).entryList(QDir::Files).size(), 19) << "below the limit nothing goes";
}

TEST_F(LogTest, pruningTouchesLogsDirectlyInTheFolderOnly)
{
    makeLogs(folder, 5);
    QDir(folder).mkdir(QStringLiteral("below"));
    makeLogs(folder + QStringLiteral("/below"), 5);
    const QStringList others = {QStringLiteral("thesis.txt"), QStringLiteral("Morvane notes.txt"),
                                QStringLiteral("Morvane 2026.01.01-10.00.00.000.txt.bak"),
                                QStringLiteral("My Morvane 2026.01.01-10.00.00.000.txt")};
    for (const QString& name : others)
        ASSERT_TRUE(QFile(folder + QLatin1Char('/') + name).open(QIODevice::WriteOnly));
    ASSERT_TRUE(QFile::link(folder + QStringLiteral("/thesis.txt"),
                            folder + QStringLiteral("/Morvane 2020.01.01-10.00.00.000.txt")));
    logging::prune(folder, 1);
    for (const QString& name : others)
        EXPECT_TRUE(QFileInfo::exists(folder + QLatin1Char('/') + name)) << name.toStdString();
    EXPECT_EQ(QDir(folder + QStringLiteral("/below")).entryList(QDir::Files).size(), 5);
    EXPECT_TRUE(QFileInfo(folder + QStringLiteral("/Morvane 2020.01.01-10.00.00.000.txt")).isSymLink());
    EXPECT_FALSE(QFileInfo::exists(folder + QStringLiteral("/Morvane 2026.01.05-10.00.00.000.txt")));
}

TEST_F(LogTest, pruningKeepsTheRunningLogWhateverTheLimit)
{
    makeLogs(folder, 3);
    const QString running = folder + QStringLiteral("/Morvane 2026.02.01-10.00.00.000.txt");
    ASSERT_TRUE(logging::open(running, false));
    for (const int keep : {1, 0, -7, std::numeric_limits<int>::min()})
        logging::prune(folder, keep);
    EXPECT_EQ(QDir(folder).entryList(QDir::Files), QStringList{QFileInfo(running).fileName()});
}

TEST(SessionId, isTheProductNameAndTheLocalTime)
{
    EXPECT_TRUE(QRegularExpression(
                    QStringLiteral("^Morvane \\d{4}\\.\\d\\d\\.\\d\\d-\\d\\d\\.\\d\\d\\.\\d\\d\\.\\d{3}$"))
                    .match(logging::newSessionId())
                    .hasMatch());
}

using LogDeathTest = LogTest;

TEST_F(LogDeathTest, fatalLinesReachTheFile)
{
    const QString file = path;
    EXPECT_DEATH(
        {
            static_cast<void>(logging::open(file, false));
            qFatal("the end");
        },
        "FATAL  the end");
    EXPECT_TRUE(readFile(path).contains(QLatin1String("FATAL  the end")));
}
