#include "base/filelock.h"
#include "support/testsupport.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>

namespace {

class FileLockTest : public testing::Test
{
protected:
    static void makeFile(const QString& path)
    {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    }
    const QString folder = testsupport::makeFolder(QStringLiteral("locks"));
    const QString path = folder + QStringLiteral("/a.lock");
};

// A process that holds the lock until it is killed.
class Holder
{
public:
    explicit Holder(const QString& path)
    {
        int ready[2];
        EXPECT_EQ(pipe(ready), 0);
        m_pid = fork();
        if (m_pid == 0) {
            const auto lock = FileLock::take(path);
            static_cast<void>(!write(ready[1], lock ? "y" : "n", 1));
            for (;;)
                pause();
        }
        char answer = 0;
        EXPECT_EQ(read(ready[0], &answer, 1), 1);
        EXPECT_EQ(answer, 'y');
        close(ready[0]);
        close(ready[1]);
    }
    ~Holder()
    {
        kill(m_pid, SIGKILL);
        waitpid(m_pid, nullptr, 0);
    }

private:
    pid_t m_pid;
};

} // namespace

TEST_F(FileLockTest, isHeldByOneAndFreeWhenItsHolderIsKilled)
{
    {
        const Holder holder(path);
        EXPECT_FALSE(FileLock::take(path));
        EXPECT_TRUE(FileLock::isHeld(path));
        EXPECT_FALSE(FileLock::removeUnheld(path));
    }
    EXPECT_FALSE(FileLock::isHeld(path));
    EXPECT_TRUE(FileLock::take(path));
    EXPECT_EQ(QFileInfo(path).permissions() & (QFile::ReadGroup | QFile::ReadOther), QFile::Permissions());
}

TEST_F(FileLockTest, thisProcessCountsLikeAnyOther)
{
    const auto lock = FileLock::take(path);
    ASSERT_TRUE(lock);
    EXPECT_TRUE(FileLock::isHeld(path));
    EXPECT_FALSE(FileLock::take(path));
}

TEST_F(FileLockTest, aHolderThatRemovedItsFileDoesNotLetTwoIn)
{
    auto first = FileLock::take(path);
    ASSERT_TRUE(first);
    first->remove();
    EXPECT_FALSE(QFile::exists(path));
    const auto second = FileLock::take(path);
    ASSERT_TRUE(second) << "the name is free";
    first->remove();
    EXPECT_TRUE(QFile::exists(path)) << "that is the second one's file";
    first.reset();
    EXPECT_TRUE(FileLock::isHeld(path));
}

TEST_F(FileLockTest, whatIsNoFileIsNeitherHeldNorRemoved)
{
    EXPECT_FALSE(FileLock::isHeld(path));
    EXPECT_FALSE(FileLock::removeUnheld(path));
    ASSERT_EQ(mkfifo(QFile::encodeName(path), 0600), 0);
    QElapsedTimer timer;
    timer.start();
    EXPECT_FALSE(FileLock::removeUnheld(path));
    EXPECT_LT(timer.elapsed(), 1000) << "a FIFO does not make it wait";
    const QString target = folder + QStringLiteral("/target");
    const QString link = folder + QStringLiteral("/link");
    makeFile(target);
    ASSERT_TRUE(QFile::link(target, link));
    EXPECT_FALSE(FileLock::removeUnheld(link));
    EXPECT_TRUE(QFile::exists(target));
    EXPECT_TRUE(QFileInfo(link).isSymLink());
    EXPECT_FALSE(FileLock::take(link)) << "no link is followed";
    EXPECT_FALSE(FileLock::removeUnheld(folder));
}

TEST_F(FileLockTest, aSharedLockKeepsAFileToo)
{
    makeFile(path);
    const int user = open(QFile::encodeName(path), O_RDONLY);
    ASSERT_EQ(flock(user, LOCK_SH), 0);
    EXPECT_FALSE(FileLock::removeUnheld(path));
    EXPECT_FALSE(FileLock::isHeld(path)) << "nobody has it for himself";
    close(user);
    EXPECT_TRUE(FileLock::removeUnheld(path));
    EXPECT_FALSE(QFile::exists(path));
}

TEST_F(FileLockTest, aFileOfAnotherUserStays)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can make one";
    makeFile(path);
    ASSERT_EQ(chown(QFile::encodeName(path), 65534, 65534), 0);
    EXPECT_FALSE(FileLock::removeUnheld(path));
    EXPECT_TRUE(QFile::exists(path));
}
