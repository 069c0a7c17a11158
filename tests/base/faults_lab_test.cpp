// Faults injected from outside: full disks, failing and killed system calls. Needs root and ptrace.
#include "base/faults.h"
#include "base/safefile.h"
#include "base/sessionfile.h"
#include "support/smalldisk.h"
#include "support/testsupport.h"

#include <gtest/gtest.h>

#include <cstring>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>

using testsupport::makeFolder;
using testsupport::SmallDisk;

namespace {

constexpr int64_t megabyte = 1 << 20;

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
    ASSERT_EQ(file.write(data), data.size());
}

// The helper program that saves 1 MiB of 'n' to a path, under strace, which does to the n-th call of
// a kind what `fault` says. Exit status of the helper (0 saved, 3 told that it failed), -1 when it was
// killed. strace itself ends as its child did.
int saveUnder(const QString& fault, const QString& path)
{
    QProcess strace;
    strace.setProcessChannelMode(QProcess::MergedChannels);
    strace.start(QStringLiteral("strace"),
                 {QStringLiteral("-f"), QStringLiteral("-qq"), QStringLiteral("-o"),
                  QStringLiteral("/dev/null"), QStringLiteral("-e"), QStringLiteral("inject=") + fault,
                  QStringLiteral(MORVANE_SAVER), path});
    EXPECT_TRUE(strace.waitForStarted());
    EXPECT_TRUE(strace.waitForFinished(60000)) << fault.toStdString();
    if (strace.exitStatus() == QProcess::CrashExit || strace.exitCode() == 128 + SIGKILL)
        return -1;
    EXPECT_TRUE(strace.exitCode() == 0 || strace.exitCode() == 3)
        << fault.toStdString() << ": " << strace.readAll().toStdString();
    return strace.exitCode();
}

const QByteArray oldData(500000, 'o');
const QByteArray newData(1 << 20, 'n');

class FaultsLabTest : public testing::Test
{
protected:
    FaultsLabTest() { installFaultHandlers(); }
};

} // namespace

TEST_F(FaultsLabTest, aSessionFileStopsBeforeTheDiskIsFullAndKeepsItsData)
{
    const SmallDisk disk;
    auto file = SessionFile::create(disk.path, 0);
    ASSERT_TRUE(file);
    int64_t size = 0;
    while (file->resize(size + megabyte)) {
        std::memset(file->data() + size, 'a' + static_cast<int>(size / megabyte) % 26, megabyte);
        size += megabyte;
        ASSERT_LT(size, 96 * megabyte);
    }
    EXPECT_GE(size, 20 * megabyte);
    EXPECT_GE(disk.freeBytes(), SessionFile::headroomBytes);
    EXPECT_TRUE(SessionFile::lastError().contains(disk.path)) << SessionFile::lastError().toStdString();
    EXPECT_EQ(file->size(), size);
    EXPECT_EQ(QFileInfo(file->path()).size(), size);
    for (int64_t i = 0; i < size; i += 1000)
        ASSERT_EQ(file->data()[i], 'a' + static_cast<int>(i / megabyte) % 26);
    EXPECT_TRUE(file->resize(size - 5 * megabyte)) << "shrinking makes room";
    EXPECT_TRUE(file->resize(size - megabyte));
}

TEST_F(FaultsLabTest, noNewFileStaysOnADiskWithoutRoom)
{
    const SmallDisk disk;
    disk.fill(65 * megabyte);
    EXPECT_FALSE(SessionFile::create(disk.path, 2 * megabyte));
    EXPECT_EQ(QDir(disk.path).entryList(QDir::Files), QStringList{QStringLiteral("filler")});
}

TEST_F(FaultsLabTest, adoptionOfAFileWithHolesNeedsTheRoomForThem)
{
    const SmallDisk disk;
    const QString path = disk.path + QStringLiteral("/sparse.pcm");
    writeFile(path, "head");
    ASSERT_TRUE(QFile::resize(path, 60 * megabyte));
    bool refused = true;
    EXPECT_FALSE(SessionFile::adopt(disk.path, path, &refused));
    EXPECT_FALSE(refused) << "it may be adopted once there is room";
    EXPECT_EQ(QFileInfo(path).size(), 60 * megabyte) << "the file stays as it was";
    EXPECT_EQ(readFile(path).left(4), "head");
    ASSERT_TRUE(QFile::resize(path, 1LL << 40));
    EXPECT_FALSE(SessionFile::adopt(disk.path, path, &refused));
    EXPECT_TRUE(refused) << "no start will have room for a terabyte here";
    ASSERT_TRUE(QFile::resize(path, 10 * megabyte));
    auto file = SessionFile::adopt(disk.path, path);
    ASSERT_TRUE(file) << SessionFile::lastError().toStdString();
    disk.fill(0);
    std::memset(file->data() + 4, 'x', 10 * megabyte - 4); // every page has its block: no SIGBUS
    EXPECT_FALSE(file->damaged());
}

TEST_F(FaultsLabTest, aWholeFileIsAdoptedOnAFullDisk)
{
    const SmallDisk disk;
    const QString path = disk.path + QStringLiteral("/whole.pcm");
    writeFile(path, QByteArray(megabyte, 'w'));
    disk.fill(0);
    const auto file = SessionFile::adopt(disk.path, path);
    ASSERT_TRUE(file) << SessionFile::lastError().toStdString();
    EXPECT_EQ(file->data()[megabyte - 1], 'w');
}

TEST_F(FaultsLabTest, aHoleOnAFullDiskIsAnsweredWithZerosAndToldAsDamage)
{
    const SmallDisk disk;
    auto file = SessionFile::create(disk.path, 4 * megabyte);
    ASSERT_TRUE(file);
    std::memset(file->data(), 'k', 4 * megabyte);
    // Somebody empties the file and makes it as long again, without blocks, on a disk that then fills.
    ASSERT_TRUE(QFile::resize(file->path(), 0));
    ASSERT_TRUE(QFile::resize(file->path(), 4 * megabyte));
    disk.fill(0);
    volatile char* data = file->data();
    for (int64_t i = 0; i < 4 * megabyte; i += 4096)
        data[i] = 'w';
    EXPECT_TRUE(file->damaged());
}

TEST_F(FaultsLabTest, aSaveOnAFullDiskLeavesTheOldFile)
{
    const SmallDisk disk;
    const QString path = disk.path + QStringLiteral("/project.mvp");
    writeFile(path, oldData);
    disk.fill(200000);
    SafeFile file(path);
    ASSERT_TRUE(file.open()) << file.errorString().toStdString();
    EXPECT_FALSE(file.write(newData) && file.commit());
    EXPECT_FALSE(file.commit());
    EXPECT_FALSE(file.errorString().isEmpty());
    EXPECT_TRUE(readFile(path) == oldData);
    EXPECT_EQ(QDir(disk.path).entryList(QDir::Files).size(), 2) << "no temporary file stays";
}

TEST_F(FaultsLabTest, aKillAtAnyCallLeavesTheOldFileOrTheNewOneWhole)
{
    int kills = 0, olds = 0, news = 0;
    for (const char* call : {"openat", "write", "fsync", "fdatasync", "rename", "renameat", "renameat2",
                             "chmod", "fchmod", "linkat", "unlink", "close"})
        for (int n = 1; n < 60; ++n) {
            const QString path = makeFolder() + QStringLiteral("/project.mvp");
            writeFile(path, oldData);
            const int status =
                saveUnder(QStringLiteral("%1:signal=KILL:when=%2").arg(QLatin1String(call)).arg(n), path);
            const QByteArray left = readFile(path);
            ASSERT_TRUE(left == oldData || left == newData)
                << call << " " << n << ": " << left.size() << " bytes are left";
            if (status != -1) {
                ASSERT_EQ(status, 0) << call << " " << n;
                break; // there is no n-th call of this kind
            }
            ++kills;
            (left == oldData ? olds : news)++;
        }
    EXPECT_GE(kills, 4) << "the faults did not reach the helper";
    EXPECT_GE(olds, 3);
    EXPECT_GE(news, 1) << "one kill comes after the rename";
}

TEST_F(FaultsLabTest, aCallThatFailsIsToldAndLeavesTheOldFile)
{
    for (const char* fault : {"write:error=ENOSPC:when=1", "write:error=EIO:when=2", "fsync:error=EIO:when=1",
                              "fsync:error=ENOSPC:when=1", "rename,renameat,renameat2:error=EACCES:when=1"}) {
        const QString path = makeFolder() + QStringLiteral("/project.mvp");
        writeFile(path, oldData);
        EXPECT_EQ(saveUnder(QLatin1String(fault), path), 3) << fault;
        EXPECT_TRUE(readFile(path) == oldData) << fault;
        EXPECT_EQ(QDir(QFileInfo(path).path()).entryList(QDir::Files).size(), 1) << fault;
    }
}

TEST_F(FaultsLabTest, aFolderThatCannotBeSyncedIsToldToo)
{
    const QString path = makeFolder() + QStringLiteral("/project.mvp");
    writeFile(path, oldData);
    // The last of its syncs is the folder's.
    int syncs = 1;
    while (saveUnder(QStringLiteral("fsync:signal=KILL:when=%1").arg(syncs), path) == -1)
        ++syncs;
    ASSERT_GT(syncs, 2);
    writeFile(path, oldData);
    EXPECT_EQ(saveUnder(QStringLiteral("fsync:error=EIO:when=%1").arg(syncs - 1), path), 3);
    EXPECT_TRUE(readFile(path) == newData);
}
