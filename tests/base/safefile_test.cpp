#include "base/safefile.h"

#include "base/faults.h"
#include "support/testsupport.h"

#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QDataStream>
#include <QDir>
#include <QFile>
#include <QFileInfo>

using testsupport::makeFolder;

namespace {

QByteArray native(const QString& path)
{
    return QFile::encodeName(path);
}

QByteArray readFile(const QString& path)
{
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
    return file.readAll();
}

void writeFile(const QString& path, const QByteArray& data)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(data);
}

bool save(const QString& path, const QByteArray& data)
{
    SafeFile file(path);
    return file.open() && file.write(data) && file.commit();
}

class SafeFileTest : public testing::Test
{
protected:
    SafeFileTest() { installFaultHandlers(); }
    int count() const
    {
        return QDir(folder)
            .entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot)
            .size();
    }
    QString folder = makeFolder();
    QString path = folder + QStringLiteral("/project.mvp");
};

} // namespace

TEST_F(SafeFileTest, writesANewFileAndReplacesAnOldOne)
{
    EXPECT_TRUE(save(path, "one"));
    EXPECT_EQ(readFile(path), "one");
    EXPECT_TRUE(save(path, "two, longer"));
    EXPECT_EQ(readFile(path), "two, longer");
    EXPECT_EQ(count(), 1) << "no temporary file stays";
}

TEST_F(SafeFileTest, withoutCommitTheOldFileStays)
{
    writeFile(path, "old");
    {
        SafeFile file(path);
        ASSERT_TRUE(file.open());
        ASSERT_TRUE(file.write("new"));
        EXPECT_EQ(readFile(path), "old") << "nothing is written in place";
    }
    EXPECT_EQ(readFile(path), "old");
    EXPECT_EQ(count(), 1);
}

TEST_F(SafeFileTest, aDiskThatIsFullLeavesTheOldFileAndTellsWhy)
{
    writeFile(path, "old");
    rlimit before;
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit small = {1 << 16, before.rlim_max};
    SafeFile file(path);
    ASSERT_TRUE(file.open());
    setrlimit(RLIMIT_FSIZE, &small);
    const bool good = file.write(QByteArray(1 << 20, 'x')) && file.commit();
    setrlimit(RLIMIT_FSIZE, &before);
    EXPECT_FALSE(good);
    EXPECT_FALSE(file.commit());
    EXPECT_TRUE(file.errorString().contains(path)) << file.errorString().toStdString();
    EXPECT_GT(file.errorString().size(), path.size() + 5) << "the cause is missing";
    EXPECT_EQ(readFile(path), "old");
    EXPECT_EQ(count(), 1);
}

TEST_F(SafeFileTest, aWriteThatFailedInsideAStreamIsFoundByCommit)
{
    writeFile(path, "old");
    rlimit before;
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit small = {1 << 16, before.rlim_max};
    SafeFile file(path);
    ASSERT_TRUE(file.open());
    setrlimit(RLIMIT_FSIZE, &small);
    {
        QDataStream stream(file.device());
        for (int i = 0; i < 100000; ++i)
            stream << qint64(i);
    }
    const bool good = file.commit();
    setrlimit(RLIMIT_FSIZE, &before);
    EXPECT_FALSE(good);
    EXPECT_EQ(readFile(path), "old");
}

TEST_F(SafeFileTest, aSymbolicLinkIsFollowedAndStays)
{
    const QString target = makeFolder() + QStringLiteral("/real.mvp");
    writeFile(target, "old");
    const QString middle = folder + QStringLiteral("/middle");
    ASSERT_EQ(symlink(native(target), native(middle)), 0);
    ASSERT_EQ(symlink("middle", native(path)), 0) << "a chain, the first link a relative one";
    SafeFile file(path);
    ASSERT_TRUE(file.open());
    EXPECT_EQ(file.path(), target);
    ASSERT_TRUE(file.write("new"));
    EXPECT_TRUE(file.commit());
    EXPECT_EQ(readFile(target), "new");
    EXPECT_TRUE(QFileInfo(path).isSymLink());
    EXPECT_TRUE(QFileInfo(middle).isSymLink());
}

TEST_F(SafeFileTest, aLinkToNothingMakesTheFileThatItNames)
{
    const QString target = makeFolder() + QStringLiteral("/later.mvp");
    ASSERT_EQ(symlink(native(target), native(path)), 0);
    EXPECT_TRUE(save(path, "new"));
    EXPECT_EQ(readFile(target), "new");
    EXPECT_TRUE(QFileInfo(path).isSymLink());
}

TEST_F(SafeFileTest, aCircleOfLinksIsRefused)
{
    ASSERT_EQ(symlink("other", native(path)), 0);
    ASSERT_EQ(symlink("project.mvp", native(folder + QStringLiteral("/other"))), 0);
    SafeFile file(path);
    EXPECT_FALSE(file.open());
    EXPECT_TRUE(file.errorString().contains(QLatin1String("circle")));
}

TEST_F(SafeFileTest, strangeTargetsAreRefused)
{
    const QString fifo = folder + QStringLiteral("/fifo");
    ASSERT_EQ(mkfifo(native(fifo), 0600), 0);
    for (const QString& target : {folder, fifo, QStringLiteral("/dev/null"), QStringLiteral("/dev/full")}) {
        SafeFile file(target);
        EXPECT_FALSE(file.open()) << target.toStdString();
        EXPECT_TRUE(file.errorString().contains(target));
        EXPECT_FALSE(file.write("x"));
        EXPECT_FALSE(file.commit());
    }
    EXPECT_EQ(count(), 1);
}

TEST_F(SafeFileTest, aFolderThatIsNotThereIsAnError)
{
    SafeFile file(folder + QStringLiteral("/no/such/project.mvp"));
    EXPECT_FALSE(file.open());
    EXPECT_FALSE(file.errorString().isEmpty());
}

TEST_F(SafeFileTest, thePermissionsOfTheOldFileStay)
{
    writeFile(path, "old");
    ASSERT_EQ(chmod(native(path), 0640), 0);
    ASSERT_TRUE(save(path, "new"));
    struct stat status;
    ASSERT_EQ(stat(native(path), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0640u);
}
