#include "base/platform.h"

#include "base/filelock.h"
#include "support/testsupport.h"

#include <gtest/gtest.h>

#include <set>
#include <thread>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace {

// Sets or unsets a variable while it lives.
class Variable
{
public:
    Variable(const char* name, const QByteArray& value) : m_name(name), m_before(qgetenv(name))
    {
        value.isNull() ? qunsetenv(name) : qputenv(name, value);
    }
    ~Variable() { qputenv(m_name, m_before); }

private:
    const char* m_name;
    QByteArray m_before;
};

} // namespace

TEST(ModulePath, isThatOfTheCodeAndItsFolderEndsWithASeparator)
{
    EXPECT_EQ(platform::modulePath(), QFileInfo(QStringLiteral("/proc/self/exe")).symLinkTarget());
    EXPECT_TRUE(platform::moduleFolder().endsWith(QLatin1Char('/')));
    EXPECT_EQ(QDir(platform::moduleFolder()), QFileInfo(platform::modulePath()).dir());
}

TEST(StateFolder, followsTheEnvironmentOrLiesBelowTheHome)
{
    {
        const Variable set("XDG_STATE_HOME", "/some/where/");
        EXPECT_EQ(platform::stateFolder(), QStringLiteral("/some/where"));
    }
    for (const char* senseless : {"", "relative/folder"}) {
        const Variable set("XDG_STATE_HOME", senseless);
        EXPECT_EQ(platform::stateFolder(), QDir::homePath() + QStringLiteral("/.local/state"));
    }
}

TEST(RuntimeFolder, isAPrivateOneOfOursWhereTheSystemGivesNone)
{
    const QString given = testsupport::makeFolder();
    {
        const Variable set("XDG_RUNTIME_DIR", QFile::encodeName(given));
        EXPECT_EQ(platform::runtimeFolder(), given);
    }
    const Variable unset("XDG_RUNTIME_DIR", QByteArray());
    const QString own = platform::runtimeFolder();
    struct stat status;
    ASSERT_EQ(stat(QFile::encodeName(own), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0700u);
    // Open to others it may be a trap, so it is not used.
    ASSERT_EQ(chmod(QFile::encodeName(own), 0777), 0);
    EXPECT_NE(platform::runtimeFolder(), own);
}

TEST(ParentImage, isAFullPath)
{
    EXPECT_TRUE(QFileInfo(platform::parentImagePath()).isAbsolute());
}

TEST(Machine, hasMemoryAndThreadsWithNumbers)
{
    EXPECT_GT(platform::physicalMemory(), int64_t{1} << 28);
    uint32_t other = 0;
    std::thread([&] { other = platform::threadId(); }).join();
    EXPECT_NE(other, platform::threadId());
    EXPECT_EQ(platform::threadId(), platform::threadId());
}

TEST(DescriptorLimit, isRaisedToWhatTheSystemAllows)
{
    rlimit before;
    getrlimit(RLIMIT_NOFILE, &before);
    const rlimit low = {64, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &low), 0);
    platform::raiseDescriptorLimit();
    rlimit after;
    getrlimit(RLIMIT_NOFILE, &after);
    EXPECT_EQ(after.rlim_cur, before.rlim_max);
    setrlimit(RLIMIT_NOFILE, &before);
}

TEST(PrivateFolder, isMadeWithAllAboveItAndExistingOnesStay)
{
    const QString base = testsupport::makeFolder();
    const QString deep = base + QStringLiteral("/a/b/c");
    EXPECT_TRUE(platform::makePrivateFolder(deep));
    EXPECT_TRUE(platform::makePrivateFolder(deep));
    struct stat status;
    for (const char* part : {"/a", "/a/b", "/a/b/c"}) {
        ASSERT_EQ(stat(QFile::encodeName(base + QLatin1String(part)), &status), 0);
        EXPECT_EQ(status.st_mode & 07777, 0700u);
    }
    QFile file(base + QStringLiteral("/file"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    EXPECT_FALSE(platform::makePrivateFolder(base + QStringLiteral("/file")));
    EXPECT_FALSE(platform::makePrivateFolder(base + QStringLiteral("/file/below")));
    EXPECT_FALSE(platform::makePrivateFolder({}));
}

TEST(PrivateFile, isMadeOnceAndNotThroughALink)
{
    const QString base = testsupport::makeFolder();
    const QString path = base + QStringLiteral("/file");
    EXPECT_TRUE(platform::createPrivateFile(path));
    EXPECT_FALSE(platform::createPrivateFile(path));
    struct stat status;
    ASSERT_EQ(stat(QFile::encodeName(path), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0600u);
    ASSERT_EQ(symlink("victim", QFile::encodeName(base + QStringLiteral("/link"))), 0);
    EXPECT_FALSE(platform::createPrivateFile(base + QStringLiteral("/link")));
    EXPECT_FALSE(QFileInfo::exists(base + QStringLiteral("/victim")));
}

TEST(Sync, worksOnFilesAndFoldersAndTellsWhatIsNotThere)
{
    const QString base = testsupport::makeFolder();
    QFile file(base + QStringLiteral("/file"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    EXPECT_TRUE(platform::syncFile(file.handle()));
    EXPECT_TRUE(platform::syncFolder(base));
    EXPECT_FALSE(platform::syncFolder(base + QStringLiteral("/gone")));
    EXPECT_FALSE(platform::syncFile(-1));
}

TEST(Peer, ofOwnProcessIsOurUserAndNoSocketIsNobody)
{
    int pair[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, pair), 0);
    EXPECT_TRUE(platform::peerIsOwnUser(pair[0]));
    close(pair[0]);
    close(pair[1]);
    EXPECT_FALSE(platform::peerIsOwnUser(-1));
    const int file = open("/dev/null", O_RDONLY);
    EXPECT_FALSE(platform::peerIsOwnUser(file));
    close(file);
}

TEST(FileLock, isHeldByOneAndFreeAfterIt)
{
    const QString path = testsupport::makeFolder() + QStringLiteral("/lock");
    auto lock = FileLock::take(path);
    ASSERT_TRUE(lock);
    EXPECT_FALSE(FileLock::take(path));
    EXPECT_FALSE(FileLock::take(path, 30));
    lock.reset();
    EXPECT_TRUE(FileLock::take(path));
    EXPECT_TRUE(QFileInfo::exists(path)) << "removing it would let two hold two files";
}

TEST(FileLock, waitsAsLongAsItIsTold)
{
    const QString path = testsupport::makeFolder() + QStringLiteral("/lock");
    auto lock = FileLock::take(path);
    std::unique_ptr<FileLock> second;
    std::thread waiter([&] { second = FileLock::take(path, 10000); });
    lock.reset();
    waiter.join();
    EXPECT_TRUE(second);
}

TEST(FileLock, anEmptyFileLeftByADeadProcessDoesNotBlock)
{
    const QString path = testsupport::makeFolder() + QStringLiteral("/lock");
    ASSERT_TRUE(platform::createPrivateFile(path));
    EXPECT_TRUE(FileLock::take(path));
}

TEST(FileLock, followsNoLinkAndTakesNoFolder)
{
    const QString base = testsupport::makeFolder();
    ASSERT_EQ(symlink("victim", QFile::encodeName(base + QStringLiteral("/lock"))), 0);
    EXPECT_FALSE(FileLock::take(base + QStringLiteral("/lock")));
    EXPECT_FALSE(QFileInfo::exists(base + QStringLiteral("/victim")));
    EXPECT_FALSE(FileLock::take(base));
}
