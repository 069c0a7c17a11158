#include "base/sessionfile.h"

#include "base/faults.h"
#include "support/testsupport.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstring>
#include <vector>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

using testsupport::makeFolder;

namespace {

QByteArray native(const QString& path)
{
    return QFile::encodeName(path);
}

QString writeFile(const QString& path, const QByteArray& data)
{
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(data);
    return path;
}

QByteArray readFile(const QString& path)
{
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    return file.readAll();
}

QStringList namesIn(const QString& folder)
{
    return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
}

// What another process finds when it asks for the file for itself alone.
bool lockedForOthers(const QString& path)
{
    const QByteArray name = native(path);
    const pid_t child = fork();
    if (child == 0) {
        const int file = open(name.constData(), O_RDWR);
        _exit(flock(file, LOCK_EX | LOCK_NB) == 0 ? 0 : 1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 1;
}

// While it lives no file may grow beyond `bytes`, as on a disk that is full there.
class FileSizeLimit
{
public:
    explicit FileSizeLimit(rlim_t bytes)
    {
        getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit limit = {bytes, m_before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit() { setrlimit(RLIMIT_FSIZE, &m_before); }

private:
    rlimit m_before;
};

class SessionFileTest : public testing::Test
{
protected:
    SessionFileTest() { installFaultHandlers(); }
    QString folder = makeFolder();
};

} // namespace

TEST_F(SessionFileTest, aNewFileIsZeroPrivateAndNamedByTwoRandomNumbers)
{
    const auto file = SessionFile::create(folder, 10000);
    ASSERT_TRUE(file);
    EXPECT_EQ(file->size(), 10000);
    EXPECT_EQ(QByteArray(file->data(), 10000), QByteArray(10000, '\0'));
    EXPECT_EQ(QFileInfo(file->path()).absolutePath(), folder);
    EXPECT_TRUE(QRegularExpression(QStringLiteral("^layer\\([0-9a-f]{2,8}\\)\\.pcm$"))
                    .match(QFileInfo(file->path()).fileName())
                    .hasMatch())
        << file->path().toStdString();
    struct stat status;
    ASSERT_EQ(stat(native(file->path()), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0600u);
    EXPECT_EQ(status.st_size, 10000);
    EXPECT_GE(status.st_blocks * 512, 10000) << "the space is not reserved";
}

TEST_F(SessionFileTest, anEmptyFileHasNoData)
{
    const auto file = SessionFile::create(folder, 0);
    ASSERT_TRUE(file);
    EXPECT_EQ(file->data(), nullptr);
    ASSERT_TRUE(file->resize(8));
    file->data()[7] = 'x';
    ASSERT_TRUE(file->resize(0));
    EXPECT_EQ(file->data(), nullptr);
    EXPECT_EQ(QFileInfo(file->path()).size(), 0);
}

TEST_F(SessionFileTest, theFileGoesWithTheObjectUnlessKept)
{
    QString gone, kept;
    {
        const auto first = SessionFile::create(folder, 5);
        const auto second = SessionFile::create(folder, 5);
        gone = first->path();
        kept = second->path();
        std::memcpy(second->data(), "hello", 5);
        second->keep();
    }
    EXPECT_FALSE(QFileInfo::exists(gone));
    EXPECT_EQ(readFile(kept), "hello");
}

TEST_F(SessionFileTest, growingAndShrinkingKeepTheDataAndZeroTheNew)
{
    const auto file = SessionFile::create(folder, 0);
    QByteArray expected;
    const int sizes[] = {1, 4095, 4096, 4097, 3 << 20, 70000, 70001, 10, 1 << 16};
    char fill = 'a';
    for (const int size : sizes) {
        ASSERT_TRUE(file->resize(size));
        const int before = expected.size();
        expected.resize(size);
        if (size > before)
            std::memset(expected.data() + before, 0, static_cast<size_t>(size - before));
        ASSERT_EQ(QByteArray::fromRawData(file->data(), size), expected) << size;
        std::memset(expected.data() + size / 2, fill, static_cast<size_t>(size - size / 2));
        std::memset(file->data() + size / 2, fill++, static_cast<size_t>(size - size / 2));
    }
    EXPECT_TRUE(file->sync());
    EXPECT_EQ(readFile(file->path()), expected);
}

TEST_F(SessionFileTest, growthBeyondTheDiskLeavesSizeAndContents)
{
    const auto file = SessionFile::create(folder, 4096);
    std::memset(file->data(), 'k', 4096);
    EXPECT_FALSE(file->resize(int64_t{1} << 60));
    EXPECT_TRUE(SessionFile::lastError().contains(folder)) << SessionFile::lastError().toStdString();
    EXPECT_EQ(file->size(), 4096);
    EXPECT_EQ(QFileInfo(file->path()).size(), 4096);
    EXPECT_EQ(QByteArray(file->data(), 4096), QByteArray(4096, 'k'));
    EXPECT_FALSE(file->resize(-1));
    EXPECT_EQ(SessionFile::create(folder, int64_t{1} << 60), nullptr);
    EXPECT_EQ(namesIn(folder).size(), 1) << "the refused file was left behind";
}

TEST_F(SessionFileTest, aReservationThatFailsHalfWayIsTakenBack)
{
    const auto file = SessionFile::create(folder, 4096);
    std::memset(file->data(), 'k', 4096);
    {
        const FileSizeLimit limit(1 << 20);
        EXPECT_FALSE(file->resize(2 << 20));
        EXPECT_FALSE(SessionFile::lastError().isEmpty());
    }
    EXPECT_EQ(file->size(), 4096);
    EXPECT_EQ(QFileInfo(file->path()).size(), 4096);
    EXPECT_EQ(QByteArray(file->data(), 4096), QByteArray(4096, 'k'));
    EXPECT_TRUE(file->resize(2 << 20)) << "works again once there is room";
}

TEST_F(SessionFileTest, anotherProcessSeesTheLock)
{
    QString path;
    {
        const auto file = SessionFile::create(folder, 100);
        path = file->path();
        EXPECT_TRUE(lockedForOthers(path));
        file->keep();
    }
    EXPECT_FALSE(lockedForOthers(path));
    const auto adopted = SessionFile::adopt(folder, path);
    ASSERT_TRUE(adopted);
    EXPECT_TRUE(lockedForOthers(path));
}

TEST_F(SessionFileTest, adoptionMapsWhatIsThereAndOwnsTheFile)
{
    const QString path = writeFile(folder + QStringLiteral("/old.pcm"), "samples");
    {
        const auto file = SessionFile::adopt(folder, path);
        ASSERT_TRUE(file);
        EXPECT_EQ(QByteArray(file->data(), 7), "samples");
        ASSERT_TRUE(file->resize(9000));
        EXPECT_EQ(QByteArray(file->data(), 8), QByteArray("samples\0", 8));
    }
    EXPECT_FALSE(QFileInfo::exists(path));
}

TEST_F(SessionFileTest, adoptionOfAnEmptyFileWorks)
{
    const auto file = SessionFile::adopt(folder, writeFile(folder + QStringLiteral("/none.pcm"), {}));
    ASSERT_TRUE(file);
    EXPECT_EQ(file->size(), 0);
}

TEST_F(SessionFileTest, adoptionRefusesLinksOfBothKinds)
{
    const QString victim = writeFile(makeFolder() + QStringLiteral("/victim"), "precious");
    const QString symbolic = folder + QStringLiteral("/symbolic.pcm");
    const QString hard = folder + QStringLiteral("/hard.pcm");
    ASSERT_EQ(symlink(native(victim), native(symbolic)), 0);
    ASSERT_EQ(link(native(victim), native(hard)), 0);
    bool refused = false;
    EXPECT_EQ(SessionFile::adopt(folder, symbolic, &refused), nullptr);
    EXPECT_TRUE(refused);
    EXPECT_TRUE(SessionFile::lastError().contains(symbolic));
    EXPECT_EQ(SessionFile::adopt(folder, hard), nullptr);
    EXPECT_EQ(readFile(victim), "precious");
    EXPECT_EQ(namesIn(folder).size(), 2) << "a refused entry must stay where it is";
}

TEST_F(SessionFileTest, adoptionRefusesWhatIsNoFile)
{
    const QString fifo = folder + QStringLiteral("/fifo.pcm");
    ASSERT_EQ(mkfifo(native(fifo), 0600), 0);
    EXPECT_EQ(SessionFile::adopt(folder, fifo), nullptr);
    QDir(folder).mkdir(QStringLiteral("dir.pcm"));
    EXPECT_EQ(SessionFile::adopt(folder, folder + QStringLiteral("/dir.pcm")), nullptr);
    EXPECT_EQ(SessionFile::adopt(folder, folder + QStringLiteral("/missing.pcm")), nullptr);
    for (const char* name : {"", ".", "..", "/"})
        EXPECT_EQ(SessionFile::adopt(folder, folder + QLatin1Char('/') + QLatin1String(name)), nullptr)
            << name;
}

TEST_F(SessionFileTest, adoptionRefusesTraversalAndForeignFolders)
{
    const QString outside = makeFolder();
    const QString victim = writeFile(outside + QStringLiteral("/victim.pcm"), "precious");
    EXPECT_EQ(SessionFile::adopt(folder, victim), nullptr);
    EXPECT_EQ(SessionFile::adopt(folder, folder + QStringLiteral("/../") + QFileInfo(outside).fileName() +
                                             QStringLiteral("/victim.pcm")),
              nullptr);
    QDir(folder).mkdir(QStringLiteral("sub"));
    const QString below = writeFile(folder + QStringLiteral("/sub/below.pcm"), "precious");
    EXPECT_EQ(SessionFile::adopt(folder, below), nullptr);
    EXPECT_EQ(readFile(victim), "precious");
    EXPECT_EQ(readFile(below), "precious");
}

TEST_F(SessionFileTest, adoptionThroughALinkedFolderNameIsTheSameFolder)
{
    const QString alias = makeFolder() + QStringLiteral("/alias");
    ASSERT_EQ(symlink(native(folder), native(alias)), 0);
    writeFile(folder + QStringLiteral("/a.pcm"), "x");
    EXPECT_TRUE(SessionFile::adopt(alias, alias + QStringLiteral("/a.pcm")));
}

TEST_F(SessionFileTest, adoptionRefusesAFileInUse)
{
    const auto file = SessionFile::create(folder, 10);
    EXPECT_EQ(SessionFile::adopt(folder, file->path()), nullptr);
    EXPECT_TRUE(QFileInfo::exists(file->path()));
}

TEST_F(SessionFileTest, aNameThatIsNoLongerOursIsNotDeleted)
{
    QString path;
    {
        const auto file = SessionFile::create(folder, 10);
        path = file->path();
        ASSERT_TRUE(QFile::remove(path));
        writeFile(path, "somebody else's");
    }
    EXPECT_EQ(readFile(path), "somebody else's");
}

TEST_F(SessionFileTest, aFileCutBySomebodyElseReadsAsZerosAndIsDamaged)
{
    const auto file = SessionFile::create(folder, 1 << 20);
    std::memset(file->data(), 'k', 1 << 20);
    EXPECT_FALSE(file->damaged());
    ASSERT_EQ(truncate(native(file->path()), 100000), 0);
    volatile char* data = file->data();
    EXPECT_EQ(data[99999], 'k') << "what the file still has is kept";
    EXPECT_EQ(data[500000], 0);
    EXPECT_EQ(data[(1 << 20) - 1], 0);
    data[600000] = 'w';
    EXPECT_EQ(data[600000], 'w');
    EXPECT_TRUE(file->damaged());

    // It can still grow, with what the file has, and blocks behind all of it.
    ASSERT_TRUE(file->resize(2 << 20));
    EXPECT_EQ(file->data()[99999], 'k');
    EXPECT_EQ(file->data()[(2 << 20) - 1], 0);
    struct stat status;
    ASSERT_EQ(stat(native(file->path()), &status), 0);
    EXPECT_GE(status.st_blocks * 512, 2 << 20);
}

TEST_F(SessionFileTest, guardsAreFoundAlsoBehindTheFirstThousand)
{
    const auto early = SessionFile::create(folder, 8192);
    std::vector<std::unique_ptr<GuardedSpan>> others;
    for (int i = 0; i < 2500; ++i)
        others.push_back(std::make_unique<GuardedSpan>());
    const auto late = SessionFile::create(folder, 8192);
    ASSERT_EQ(truncate(native(late->path()), 0), 0);
    EXPECT_EQ(static_cast<volatile char*>(late->data())[5000], 0);
    EXPECT_TRUE(late->damaged());
    EXPECT_FALSE(early->damaged());
}

// Keeps every file that dies.
class Keeper : public ISessionFileKeeper
{
public:
    Keeper() { SessionFile::setKeeper(this); }
    ~Keeper() override { SessionFile::setKeeper(nullptr); }
    void retire(std::unique_ptr<RetiredFile> file) override { files.push_back(std::move(file)); }
    void reclaim() override
    {
        ++reclaims;
        files.clear();
    }
    int reclaims = 0;
    std::vector<std::unique_ptr<RetiredFile>> files;
};

TEST_F(SessionFileTest, aKeeperGetsEachFileThatDiesAndDecidesWhenItGoes)
{
    QString path;
    Keeper keeper;
    {
        const auto file = SessionFile::create(folder, 100);
        path = file->path();
        file->data()[0] = 'k';
    }
    ASSERT_EQ(keeper.files.size(), 1u);
    EXPECT_EQ(keeper.files[0]->name(), QFileInfo(path).fileName());
    EXPECT_EQ(QFileInfo(path).size(), 100);
    EXPECT_FALSE(SessionFile::adopt(folder, path)) << "it is still locked as in use";
    keeper.files.clear();
    EXPECT_FALSE(QFileInfo::exists(path));
}

TEST_F(SessionFileTest, aKeeperIsAskedToMakeRoomBeforeAFileIsRefused)
{
    Keeper keeper;
    EXPECT_TRUE(SessionFile::create(folder, 1000));
    EXPECT_EQ(keeper.reclaims, 0);
    EXPECT_EQ(keeper.files.size(), 1u);
    EXPECT_FALSE(SessionFile::create(folder, int64_t{1} << 60));
    EXPECT_EQ(keeper.reclaims, 1);
}

TEST_F(SessionFileTest, aKeeperIsNotAskedAboutFilesThatStayAnyway)
{
    Keeper keeper;
    const auto file = SessionFile::create(folder, 100);
    file->keep();
    const QString path = file->path();
    {
        const auto gone = SessionFile::create(folder, 1);
    }
    EXPECT_EQ(keeper.files.size(), 1u);
    keeper.files[0]->keep();
    keeper.files.clear();
    EXPECT_EQ(namesIn(folder).size(), 2);
}

TEST_F(SessionFileTest, aRetiredFileWhoseNameIsAnotherFileByNowLeavesThat)
{
    Keeper keeper;
    const QString path = SessionFile::create(folder, 100)->path();
    ASSERT_TRUE(QFile::remove(path));
    writeFile(path, "another");
    keeper.files.clear();
    EXPECT_TRUE(QFileInfo::exists(path));
}

using SessionFileDeathTest = SessionFileTest;

TEST_F(SessionFileDeathTest, aBusErrorElsewhereStillEndsTheProgram)
{
    // By the signal, or by a report where a sanitizer was here before us.
    const auto died = [](int status) { return !WIFEXITED(status) || WEXITSTATUS(status) != 0; };
    EXPECT_EXIT(
        {
            installFaultHandlers();
            raise(SIGBUS);
            _exit(0);
        },
        died, "");
}

TEST_F(SessionFileDeathTest, aCutFileOfSomebodyElseIsNotAnsweredWithZeros)
{
    const QString path = writeFile(folder + QStringLiteral("/other"), QByteArray(100000, 'x'));
    const auto died = [](int status) { return !WIFEXITED(status) || WEXITSTATUS(status) != 0; };
    EXPECT_EXIT(
        {
            installFaultHandlers();
            const int file = open(native(path).constData(), O_RDWR);
            auto* data = static_cast<volatile char*>(mmap(nullptr, 100000, PROT_READ, MAP_SHARED, file, 0));
            if (ftruncate(file, 0) == 0)
                static_cast<void>(data[50000]);
            _exit(0);
        },
        died, "");
}
