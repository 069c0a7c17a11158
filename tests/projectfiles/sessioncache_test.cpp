// The manifests of a running session, and the files that they keep.
#include "projectfiles/sessioncache.h"

#include "base/platform.h"
#include "model/layerregion.h"
#include "model/modeltest.h"
#include "projectfiles/projecttest.h"
#include "projectfiles/projectxml.h"
#include "projectfiles/sessionjournal.h"
#include "support/testsupport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdarg>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QVariant>

using namespace modeltest;
using namespace projecttest;
using namespace std::chrono_literals;

namespace {

std::atomic<bool> disksFail{false};
std::atomic<int> syncs{0};
std::atomic<const char*> notOpened{nullptr}; // the end of names

} // namespace

// In place of the system's: a disk that fails when it is asked to.
extern "C" int fsync(int file)
{
    ++syncs;
    if (!disksFail)
        return int(syscall(SYS_fsync, file));
    errno = EIO;
    return -1;
}

// Exported, since the library opens files.
extern "C" __attribute__((visibility("default"))) int open64(const char* path, int flags, ...)
{
    va_list more;
    va_start(more, flags);
    const int mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(more, int) : 0;
    va_end(more);
    if (const char* end = notOpened; end && QByteArray(path).endsWith(end)) {
        errno = EMFILE;
        return -1;
    }
    return int(syscall(SYS_openat, AT_FDCWD, path, flags | O_LARGEFILE, mode));
}

namespace {

constexpr auto never = 1h; // longer than any test

class SessionCacheTest : public testing::Test
{
protected:
    void SetUp() override
    {
        QCoreApplication* application = QCoreApplication::instance();
        m_outer = application->property("sessionpath");
        application->setProperty("sessionpath", folder);
        application->setProperty("sessionid", QStringLiteral("Morvane now"));
        application->setProperty("backupextension", QStringLiteral("mvx"));
    }
    void TearDown() override { QCoreApplication::instance()->setProperty("sessionpath", m_outer); }

    [[nodiscard]] QString manifest(int project) const
    {
        return folder + QStringLiteral("/session_Morvane now_project_%1.mvx").arg(project, 0, 16);
    }
    [[nodiscard]] QStringList names(const char* filter) const
    {
        return QDir(folder).entryList({QString::fromLatin1(filter)}, QDir::Files, QDir::Name);
    }
    [[nodiscard]] int sampleFiles() const { return names("layer(*).pcm").size(); }
    static ProjectPtr projectOf(const std::vector<float>& samples)
    {
        auto project = std::make_shared<Project>(realFormat());
        project->layers()->appendChildLayer(layerOf(realFormat(), samples));
        return project;
    }
    // The first manifest, and the one sync that comes at once.
    void writeAndSync(SessionCache& cache, const Project& project)
    {
        ASSERT_TRUE(cache.write(project));
        ASSERT_TRUE(
            testsupport::waitFor([&] { return QFile::exists(manifest(1) + QStringLiteral(".safe")); }));
    }
    static LayerPtr firstLayer(const Project& project)
    {
        return std::dynamic_pointer_cast<Layer>(project.layers()->children(ChildrenDirect).value(0));
    }
    // As a crash leaves it: nobody is alive who could tidy up.
    void crash(SessionCache*& cache, ProjectPtr& project)
    {
        for (const ILayerPtr& layer : project->root().allLayers())
            if (const auto own = std::dynamic_pointer_cast<Layer>(layer))
                own->keepFile();
        project.reset();
        delete cache;
        cache = nullptr;
        QFile::remove(dead);
        QFile::remove(SessionJournal::pathOf(dead));
        ASSERT_TRUE(QFile::rename(manifest(1), dead));
        ASSERT_TRUE(!QFile::exists(journal()) || QFile::rename(journal(), SessionJournal::pathOf(dead)));
    }
    [[nodiscard]] QString journal() const { return SessionJournal::pathOf(manifest(1)); }
    // What the recovery of the dead session gives; nothing may be told as damaged.
    static std::vector<float> recovered(const QString& from)
    {
        const SessionJournal::RollBack back = SessionJournal::rollBack(from);
        EXPECT_EQ(back.lost, QStringList());
        EXPECT_EQ(back.notNow, QString());
        const ProjectReadResult read = readProjectXml(from, SampleFiles::Reference, {});
        EXPECT_TRUE(read.project && read.damage.isEmpty());
        const LayerPtr layer = firstLayer(*read.project);
        layer->keepFile();
        return dataOf(*layer);
    }
    // The same in a folder that is as a death at this moment would leave it.
    [[nodiscard]] std::vector<float> recoveredNow(const QString& from) const
    {
        const QString twin = testsupport::makeFolder(QStringLiteral("twin"));
        for (const QString& name : QDir(folder).entryList(QDir::Files)) {
            const QString path = folder + QLatin1Char('/') + name;
            EXPECT_TRUE(QFile::copy(path, twin + QLatin1Char('/') + name) || !QFile::exists(path))
                << "not the helper's, which renames meanwhile: " << name.toStdString();
        }
        QCoreApplication::instance()->setProperty("sessionpath", twin);
        const std::vector<float> samples = recovered(twin + QLatin1Char('/') + QFileInfo(from).fileName());
        QCoreApplication::instance()->setProperty("sessionpath", folder);
        return samples;
    }
    // Backwards and forwards, a block each.
    static void scatter(Layer& layer, float value)
    {
        const std::vector<float> samples(1000, value);
        for (const int block : {2, 1, 3, 0, 2})
            ASSERT_TRUE(layer.write(samples.data(), {block * Layer::backupBlock + 65000, 1000}, -1, true));
    }
    // A line of a journal.
    static QByteArray sealed(const QByteArray& text)
    {
        const QByteArray sum = QByteArray::number(qChecksum(text.constData(), uint(text.size())), 16);
        return sum.rightJustified(4, '0') + ' ' + text + '\n';
    }
    void commit(SessionCache& cache, const Project& project)
    {
        ASSERT_FALSE(firstLayer(project)->commitRecord().isEmpty());
        ASSERT_TRUE(cache.write(project));
    }

    const QString folder = testsupport::makeFolder(QStringLiteral("session"));
    const QString dead = folder + QStringLiteral("/session_dead_project_1.mvx");
    QVariant m_outer;
};

} // namespace

TEST_F(SessionCacheTest, theSessionsLockIsHeldWhileItLives)
{
    const QString lock = folder + QStringLiteral("/session_Morvane now.lock");
    {
        const SessionCache cache(never);
        EXPECT_TRUE(FileLock::isHeld(lock));
        struct stat status;
        ASSERT_EQ(stat(QFile::encodeName(lock), &status), 0);
        EXPECT_EQ(status.st_mode & 0777, 0600u);
    }
    EXPECT_FALSE(QFile::exists(lock)) << "a session that ended leaves nothing";
}

TEST_F(SessionCacheTest, eachProjectHasItsManifestUnderItsNumberInBase16)
{
    SessionCache cache(never);
    QList<ProjectPtr> projects;
    for (int i = 1; i <= 17; ++i) {
        projects << projectOf({float(i)});
        ASSERT_TRUE(cache.write(*projects.last()));
        EXPECT_TRUE(QFile::exists(manifest(i)));
    }
    ASSERT_TRUE(cache.write(*projects[9]));
    EXPECT_EQ(names("*.mvx").size(), 17);
    EXPECT_TRUE(QFile::exists(folder + QStringLiteral("/session_Morvane now_project_11.mvx")));
    for (const ProjectPtr& project : projects)
        cache.forget(*project);
    EXPECT_EQ(names("*.mvx").size(), 0);
    const ProjectPtr next = projectOf({1});
    ASSERT_TRUE(cache.write(*next));
    EXPECT_TRUE(QFile::exists(manifest(18))) << "a number is used once";
}

TEST_F(SessionCacheTest, theManifestNamesTheLiveFilesAndReadsBackLikeTheProject)
{
    SessionCache cache(never);
    const ProjectPtr project = randomProject(4711);
    ASSERT_TRUE(cache.write(*project));
    const QByteArray text = contentOf(manifest(1));
    int named = 0;
    for (const ILayerPtr& layer : project->root().allLayers()) {
        const QString file = layer->filePath();
        if (file.isEmpty())
            continue;
        ++named;
        EXPECT_TRUE(text.contains(" path=\"" + QFileInfo(file).fileName().toUtf8() + "\""));
    }
    EXPECT_GT(named, 0);
}

TEST_F(SessionCacheTest, aReplacedFileStaysUntilAManifestWithoutItIsOnTheDisk)
{
    SessionCache cache(10ms);
    const ProjectPtr project = projectOf(ramp(1000));
    ASSERT_TRUE(cache.write(*project));
    const QString before = firstLayer(*project)->filePath();
    firstLayer(*project)->insertTime({10, 500});
    ASSERT_NE(firstLayer(*project)->filePath(), before);
    EXPECT_TRUE(QFile::exists(before)) << "the manifest names it";
    EXPECT_EQ(cache.retiredFiles(), 1);
    ASSERT_TRUE(cache.write(*project));
    EXPECT_TRUE(testsupport::waitFor([&] { return !QFile::exists(before); }));
    EXPECT_EQ(cache.retiredFiles(), 0);
    EXPECT_TRUE(QFile::exists(firstLayer(*project)->filePath()));
}

TEST_F(SessionCacheTest, aManifestThatIsNotYetOnTheDiskKeepsTheOlderOnesFilesToo)
{
    SessionCache cache(never);
    const ProjectPtr project = projectOf(ramp(1000));
    writeAndSync(cache, *project);
    const QString first = firstLayer(*project)->filePath();
    firstLayer(*project)->insertTime({10, 500});
    ASSERT_TRUE(cache.write(*project));
    const QString second = firstLayer(*project)->filePath();
    firstLayer(*project)->insertTime({10, 500});
    ASSERT_TRUE(cache.write(*project));
    EXPECT_TRUE(QFile::exists(first) && QFile::exists(second));
    EXPECT_EQ(cache.retiredFiles(), 2);
}

TEST_F(SessionCacheTest, besideTheManifestStandsTheOneThatIsSafeOnTheDisk)
{
    SessionCache cache(never);
    const ProjectPtr project = projectOf(ramp(1000));
    writeAndSync(cache, *project);
    const QString safe = manifest(1) + QStringLiteral(".safe");
    ASSERT_TRUE(testsupport::waitFor([&] { return QFile::exists(safe); }));
    const QByteArray first = contentOf(safe);
    EXPECT_EQ(first, contentOf(manifest(1)));
    firstLayer(*project)->insertTime({10, 500});
    ASSERT_TRUE(cache.write(*project));
    EXPECT_NE(contentOf(manifest(1)), first);
    EXPECT_EQ(contentOf(safe), first) << "the new samples may not have arrived";
    cache.forget(*project);
    EXPECT_EQ(names("session_*project*"), QStringList());
}

TEST_F(SessionCacheTest, whatCouldNotBeBroughtToTheDiskIsTriedAgainAfterTheInterval)
{
    const QString safe = manifest(1) + QStringLiteral(".safe");
    ASSERT_TRUE(QDir().mkpath(safe + QStringLiteral(".new/x")));
    testsupport::expectWarning(QStringLiteral("the session is not safe on the disk"));
    SessionCache cache(50ms);
    const ProjectPtr project = projectOf(ramp(1000));
    QElapsedTimer timer;
    timer.start();
    const int before = syncs;
    ASSERT_TRUE(cache.write(*project));
    ASSERT_TRUE(testsupport::waitFor([&] { return syncs - before >= 20; }));
    // Each try syncs the samples and the folder; the first one comes at once.
    EXPECT_GE(timer.elapsed(), 9 * 50);
    EXPECT_FALSE(QFile::exists(safe));
    cache.reclaim(); // nothing waits for what cannot be done
    ASSERT_TRUE(QDir(safe + QStringLiteral(".new")).removeRecursively());
    EXPECT_TRUE(testsupport::waitFor([&] { return QFile::exists(safe); }));
    EXPECT_EQ(contentOf(safe), contentOf(manifest(1)));
}

TEST_F(SessionCacheTest, whereTheDiskFailsNobodyWaitsForEver)
{
    const QString safe = manifest(1) + QStringLiteral(".safe");
    SessionCache cache(never);
    const ProjectPtr project = projectOf(ramp(1000));
    writeAndSync(cache, *project);
    const QByteArray first = contentOf(safe);
    firstLayer(*project)->insertTime({10, 500});
    ASSERT_TRUE(cache.write(*project));
    testsupport::expectWarning(QStringLiteral("the session is not safe on the disk"));
    disksFail = true;
    cache.reclaim();
    EXPECT_EQ(cache.retiredFiles(), 1);
    disksFail = false;
    cache.reclaim();
    EXPECT_EQ(cache.retiredFiles(), 0) << "what failed is still asked for";
    EXPECT_NE(contentOf(safe), first);
}

TEST_F(SessionCacheTest, behindAManifestThatFailedTheOneBeforeItGoesToTheDisk)
{
    const QString safe = manifest(1) + QStringLiteral(".safe");
    SessionCache cache(10ms);
    const ProjectPtr project = projectOf(ramp(1000));
    writeAndSync(cache, *project);
    ASSERT_TRUE(QFile::remove(safe)); // so that it shows
    ASSERT_TRUE(QDir().mkpath(manifest(1) + QStringLiteral(".new/x")));
    testsupport::expectWarning(QStringLiteral("no session backup"));
    EXPECT_FALSE(cache.write(*project));
    EXPECT_TRUE(testsupport::waitFor([&] { return QFile::exists(safe); }));
    EXPECT_EQ(contentOf(safe), contentOf(manifest(1)));
}

TEST_F(SessionCacheTest, theLockTellsInWhichLifeOfTheMachineTheSessionRan)
{
    const SessionCache cache(never);
    EXPECT_EQ(FileLock::text(folder + QStringLiteral("/session_Morvane now.lock")), platform::bootId());
    EXPECT_FALSE(platform::bootId().isEmpty());
}

TEST_F(SessionCacheTest, whereTheDiskIsFullReplacedFilesGoAtOnce)
{
    SessionCache cache(never);
    const ProjectPtr project = projectOf(ramp(1000));
    writeAndSync(cache, *project);
    const QString first = firstLayer(*project)->filePath();
    firstLayer(*project)->insertTime({10, 500});
    const QString second = firstLayer(*project)->filePath();
    EXPECT_FALSE(SessionFile::create(folder, int64_t{1} << 60));
    EXPECT_TRUE(QFile::exists(first)) << "the only manifest names it, so it is not for sale";
    ASSERT_TRUE(cache.write(*project));
    EXPECT_FALSE(SessionFile::create(folder, int64_t{1} << 60));
    EXPECT_FALSE(QFile::exists(first));
    EXPECT_TRUE(QFile::exists(second));
    EXPECT_EQ(cache.retiredFiles(), 0);
}

TEST_F(SessionCacheTest, whatNoManifestNamesIsRemovedAtOnce)
{
    SessionCache cache(never);
    const ProjectPtr project = projectOf(ramp(100000));
    ASSERT_TRUE(cache.write(*project));
    const LayerPtr layer = firstLayer(*project);
    const std::vector<float> zeros(1000);
    ASSERT_TRUE(layer->write(zeros.data(), {50, 1000}, -1, true));
    EXPECT_EQ(sampleFiles(), 2) << "the before-image";
    layer->resetBackup(0);
    EXPECT_EQ(sampleFiles(), 2) << "the samples have been changed since the manifest";
    ASSERT_TRUE(cache.write(*project));
    cache.reclaim();
    EXPECT_EQ(sampleFiles(), 1) << "the new manifest is on the disk, and names no undo image";
    EXPECT_EQ(contentOf(journal()), QByteArray());
}

// --- actions in work -------------------------------------------------------------------------------

TEST_F(SessionCacheTest, anActionInWorkIsTakenBack)
{
    auto* cache = new SessionCache(never);
    ProjectPtr project = projectOf(ramp(300000));
    ASSERT_TRUE(cache->write(*project));
    scatter(*firstLayer(*project), 7);
    ASSERT_NE(dataOf(*firstLayer(*project)), ramp(300000));
    crash(cache, project);
    EXPECT_EQ(recovered(dead), ramp(300000));
    EXPECT_EQ(recovered(dead), ramp(300000)) << "a recovery that died is done again";
}

TEST_F(SessionCacheTest, whatIsTakenBackIsOnTheDiskBeforeTheJournalMayGo)
{
    auto* cache = new SessionCache(never);
    ProjectPtr project = projectOf(ramp(300000));
    ASSERT_TRUE(cache->write(*project));
    scatter(*firstLayer(*project), 7);
    crash(cache, project);
    disksFail = true;
    const SessionJournal::RollBack back = SessionJournal::rollBack(dead);
    disksFail = false;
    EXPECT_TRUE(back.notNow.contains(QStringLiteral(".pcm"))) << back.notNow.toStdString();
    EXPECT_EQ(recovered(dead), ramp(300000));
}

TEST_F(SessionCacheTest, aFinishedActionIsNotTakenBack)
{
    auto* cache = new SessionCache(never);
    ProjectPtr project = projectOf(ramp(300000));
    ASSERT_TRUE(cache->write(*project));
    scatter(*firstLayer(*project), 7);
    commit(*cache, *project);
    const std::vector<float> after = dataOf(*firstLayer(*project));
    scatter(*firstLayer(*project), 8);
    crash(cache, project);
    EXPECT_EQ(recovered(dead), after);
}

TEST_F(SessionCacheTest, anUndoInWorkIsTakenBackAndARedoToo)
{
    auto* cache = new SessionCache(never);
    ProjectPtr project = projectOf(ramp(300000));
    LayerPtr layer = firstLayer(*project);
    ASSERT_TRUE(cache->write(*project));
    scatter(*layer, 7);
    LayerRecord first = layer->commitRecord();
    const std::vector<float> one = dataOf(*layer);
    const std::vector<float> tail(500, 3.0f);
    ASSERT_TRUE(layer->write(tail.data(), {299900, 500}, -1, true)); // grows
    LayerRecord second = layer->commitRecord();
    const std::vector<float> two = dataOf(*layer);
    ASSERT_TRUE(cache->write(*project));
    layer->applyRecord(second, 0);
    ASSERT_EQ(dataOf(*layer), one);
    layer->applyRecord(first, 0);
    ASSERT_EQ(dataOf(*layer), ramp(300000));
    const QString file = layer->filePath();
    EXPECT_EQ(recoveredNow(manifest(1)), two);
    ASSERT_TRUE(cache->write(*project));
    layer->applyRecord(first, 1);
    layer->applyRecord(second, 1);
    ASSERT_EQ(dataOf(*layer), two);
    EXPECT_EQ(layer->filePath(), file) << "all of it in one file";
    layer.reset(); // a dead program holds nothing
    first = second = {};
    crash(cache, project);
    EXPECT_EQ(recovered(dead), ramp(300000));
}

TEST_F(SessionCacheTest, whatALayerHasGrownOrLostSinceTheManifestIsTakenBack)
{
    for (const bool grows : {true, false}) {
        auto* cache = new SessionCache(never);
        ProjectPtr project = projectOf(ramp(300000));
        ASSERT_TRUE(cache->write(*project));
        const std::vector<float> more(1000, 1.0f);
        if (grows)
            EXPECT_TRUE(firstLayer(*project)->append(more.data(), 1000));
        else
            firstLayer(*project)->setRange({0, 1000});
        crash(cache, project);
        EXPECT_EQ(recovered(dead), ramp(300000)) << grows;
    }
}

TEST_F(SessionCacheTest, behindAPowerCutSeveralActionsAreTakenBack)
{
    SessionCache cache(never);
    const ProjectPtr project = projectOf(ramp(300000));
    writeAndSync(cache, *project);
    const QString safe = manifest(1) + QStringLiteral(".safe");
    const QByteArray first = contentOf(safe);
    for (int i = 0; i < 4; ++i) {
        scatter(*firstLayer(*project), float(i));
        commit(cache, *project);
        if (i == 1)
            firstLayer(*project)->applyRecord(firstLayer(*project)->records().last(), 0);
    }
    ASSERT_EQ(contentOf(safe), first);
    scatter(*firstLayer(*project), 99);
    ASSERT_TRUE(QFile::remove(manifest(1)) && QFile::rename(safe, manifest(1)));
    EXPECT_EQ(recoveredNow(manifest(1)), ramp(300000));
}

TEST_F(SessionCacheTest, behindAPowerCutALayerIsThereThatWasRemovedAndThenChanged)
{
    SessionCache cache(never);
    const ProjectPtr project = projectOf(ramp(300000));
    writeAndSync(cache, *project);
    const LayerPtr layer = firstLayer(*project);
    project->layers()->removeChildLayer(layer);
    ASSERT_TRUE(cache.write(*project));
    scatter(*layer, 7);
    ASSERT_TRUE(QFile::remove(manifest(1)));
    ASSERT_TRUE(QFile::rename(manifest(1) + QStringLiteral(".safe"), manifest(1)));
    EXPECT_EQ(recoveredNow(manifest(1)), ramp(300000));
}

TEST_F(SessionCacheTest, aJournalThatIsCutOffCountsAsFarAsItGoes)
{
    auto* cache = new SessionCache(never);
    ProjectPtr project = projectOf(ramp(300000));
    ASSERT_TRUE(cache->write(*project));
    const std::vector<float> samples(10, 7.0f);
    ASSERT_TRUE(firstLayer(*project)->write(samples.data(), {10, 10}, -1, true));
    const QByteArray whole = contentOf(journal());
    EXPECT_EQ(whole.count('\n'), 1);
    const QString file = firstLayer(*project)->filePath();
    const std::vector<float> changed = dataOf(*firstLayer(*project));
    crash(cache, project);
    const QByteArray bytes(reinterpret_cast<const char*>(changed.data()),
                           int(changed.size() * sizeof(float)));
    for (const QByteArray& behind : {whole.left(whole.size() - 1), whole.left(9), QByteArray(1000, '\0'),
                                     QByteArray("0000 part 1 layer(12).pcm 8 0 layer(34).pcm 0 8\n")}) {
        writeFile(file, bytes);
        writeFile(SessionJournal::pathOf(dead), whole + behind);
        EXPECT_EQ(recovered(dead), ramp(300000));
    }
    writeFile(file, bytes);
    writeFile(SessionJournal::pathOf(dead), whole.left(whole.size() - 1));
    EXPECT_EQ(recovered(dead), changed) << "only a whole line counts";
}

TEST_F(SessionCacheTest, aJournalReachesNothingButSessionFiles)
{
    auto* cache = new SessionCache(never);
    ProjectPtr project = projectOf(ramp(1000));
    ASSERT_TRUE(cache->write(*project));
    const QString sample = QFileInfo(firstLayer(*project)->filePath()).fileName();
    crash(cache, project);
    const QString outside =
        testsupport::makeFolder(QStringLiteral("outside")) + QStringLiteral("/layer(1f).pcm");
    writeFile(outside, "the user's");
    ASSERT_TRUE(QFile::link(outside, folder + QStringLiteral("/layer(2f).pcm")));
    const QByteArray own = sample.toLatin1();
    int told = 0;
    for (const QByteArray& text :
         {"part 1 layer(2f).pcm 100 0 " + own + " 0 100", "part 1 ../outside/x.pcm 100 0 " + own + " 0 100",
          "part 1 /etc/passwd 100 0 " + own + " 0 100", "part 1 " + own + " 4000 0 layer(2f).pcm 0 10",
          "part 1 " + own + " 9000000000000000 0 - 0 0", "part 1 " + own + " 4000 3990 layer(3f).pcm 0 100",
          "part 1 " + own + " 4000 -4 " + own + " 0 4", QByteArray("move layer(2f).pcm /etc/passwd 4"),
          "part 1 " + own + " 4000 0 " + own + " 9223372036854775807 4"}) {
        writeFile(SessionJournal::pathOf(dead), sealed(text));
        told += SessionJournal::rollBack(dead).lost.size();
        EXPECT_EQ(contentOf(outside), "the user's") << text.constData();
    }
    EXPECT_EQ(told, 3) << "a link as file, a link as image, and a length that no disk has";
    ASSERT_TRUE(QFile::remove(SessionJournal::pathOf(dead)));
    EXPECT_EQ(recovered(dead), ramp(1000));
}

TEST_F(SessionCacheTest, aHostileJournalsMovesReachNothingOutsideAnImage)
{
    auto* cache = new SessionCache(never);
    ProjectPtr project = projectOf(ramp(1000));
    ASSERT_TRUE(cache->write(*project));
    const QByteArray own = QFileInfo(firstLayer(*project)->filePath()).fileName().toLatin1();
    crash(cache, project);
    const QByteArray image = "layer(1a).pcm";
    const QByteArray part = sealed("part 1 " + own + " 4000 0 " + image + " 0 4000");
    const QByteArray far = QByteArray::number(qlonglong(1) << 60);
    QByteArray manyMoves = part;
    for (int i = 0; i < 20; ++i) // 20 * 2^60 is more than 2^64
        manyMoves += sealed("move layer(" + QByteArray::number(0x1a + i, 16) + ").pcm layer(" +
                            QByteArray::number(0x1b + i, 16) + ").pcm " + far);
    const QByteArray back = part + sealed("move " + image + " layer(1b).pcm -4");
    for (const QByteArray& text :
         {manyMoves, back, part + sealed("move " + image + " layer(1b).pcm " + far)}) {
        for (const char* name : {"/layer(1a).pcm", "/layer(1b).pcm", "/layer(2e).pcm"})
            writeFile(folder + QLatin1String(name), QByteArray(4000, '\1'));
        writeFile(SessionJournal::pathOf(dead), text);
        EXPECT_EQ(SessionJournal::rollBack(dead).lost.size(), 1) << text.constData();
    }
    ASSERT_TRUE(QFile::remove(SessionJournal::pathOf(dead)));
    EXPECT_EQ(recovered(dead), ramp(1000));
    // A write that was refused at its second part takes the image back to what it held before.
    writeFile(folder + QStringLiteral("/layer(1c).pcm"), QByteArray(4000, '\0'));
    writeFile(SessionJournal::pathOf(dead), part + sealed("move " + image + " layer(1b).pcm -4") +
                                                sealed("move layer(1b).pcm layer(1c).pcm 4"));
    EXPECT_EQ(recovered(dead), std::vector<float>(1000));
}

TEST_F(SessionCacheTest, aJournalOfManyPartsAndMovesIsReadAtOnce)
{
    constexpr int many = 20000;
    auto* cache = new SessionCache(never);
    ProjectPtr project = projectOf(ramp(1000));
    ASSERT_TRUE(cache->write(*project));
    const QByteArray own = QFileInfo(firstLayer(*project)->filePath()).fileName().toLatin1();
    crash(cache, project);
    writeFile(folder + QStringLiteral("/layer(1a).pcm"), QByteArray(4000, '\0'));
    QByteArray text;
    for (int i = 0; i < many; ++i)
        text += sealed("part 1 " + own + " 4000 0 layer(1a).pcm 0 4");
    for (int i = 0; i < many; ++i)
        text +=
            sealed(i % 2 == 0 ? "move layer(1a).pcm layer(1b).pcm 0" : "move layer(1b).pcm layer(1a).pcm 0");
    for (int i = 0; i < many; ++i)
        text += sealed("move layer(7" + QByteArray::number(i, 16).rightJustified(5, '0') +
                       ").pcm layer(7f).pcm 0");
    writeFile(SessionJournal::pathOf(dead), text);
    QElapsedTimer timer;
    timer.start();
    std::vector<float> expected = ramp(1000);
    expected[0] = 0;
    EXPECT_EQ(recovered(dead), expected);
    EXPECT_LT(timer.elapsed(), testsupport::patient(4000));
}

TEST_F(SessionCacheTest, aGenerationThatNoSessionReachesCountsAsNone)
{
    for (const auto& [number, expected] : {std::pair<const char*, uint64_t>{"18446744073709551615", 0},
                                           {"1152921504606846977", 0},
                                           {"1152921504606846976", uint64_t{1} << 60},
                                           {"-1", 0},
                                           {"7", 7}}) {
        writeFile(dead, QByteArray("<project generation=\"") + number + "\"/>");
        EXPECT_EQ(SessionJournal::generationOf(dead), expected) << number;
    }
}

TEST_F(SessionCacheTest, whereOldSamplesCannotBeNotedNothingIsChanged)
{
    SessionCache cache(never);
    const ProjectPtr project = projectOf(ramp(300000));
    ASSERT_TRUE(cache.write(*project));
    ASSERT_TRUE(QDir().mkpath(journal() + QStringLiteral("/x")));
    const LayerPtr layer = firstLayer(*project);
    const std::vector<float> samples(1000, 7.0f);
    QString words;
    for (int again = 0; again < 2; ++again) {
        EXPECT_FALSE(layer->write(samples.data(), {100000, 1000}, -1, true));
        EXPECT_TRUE(layer->takeStorageError(&words));
        EXPECT_TRUE(words.contains(QFileInfo(journal()).fileName())) << words.toStdString();
        EXPECT_EQ(dataOf(*layer), ramp(300000));
    }
    ASSERT_TRUE(QDir(journal()).removeRecursively());
    EXPECT_TRUE(layer->write(samples.data(), {100000, 1000}, -1, true));
    EXPECT_NE(dataOf(*layer), ramp(300000));
}

TEST_F(SessionCacheTest, theJournalHoldsNoMoreThanARecoveryNeeds)
{
    SessionCache cache(never);
    const ProjectPtr project = projectOf(ramp(300000));
    ASSERT_TRUE(cache.write(*project));
    for (int i = 0; i < 20; ++i) {
        scatter(*firstLayer(*project), float(i));
        commit(cache, *project);
    }
    EXPECT_GT(contentOf(journal()).size(), 0);
    QFile::remove(manifest(1) + QStringLiteral(".safe"));
    firstLayer(*project)->insertTime({10, 500}); // something to reclaim
    ASSERT_TRUE(cache.write(*project));
    cache.reclaim();
    EXPECT_EQ(contentOf(journal()), QByteArray());
    cache.forget(*project);
    EXPECT_FALSE(QFile::exists(journal()));
}

TEST_F(SessionCacheTest, aJournalThatIsMadeShorterGoesOnWhereItStands)
{
    SessionJournal journal(dead);
    const QString file = SessionJournal::pathOf(dead);
    for (int i = 0; i < 20000; ++i)
        ASSERT_TRUE(journal.add(1, {QStringLiteral("layer(1a).pcm"), 8000000, i * 100,
                                    QStringLiteral("layer(1b).pcm"), i * 200, 4}));
    ASSERT_GT(contentOf(file).size(), 1 << 20);
    ASSERT_TRUE(
        journal.add(2, {QStringLiteral("layer(1a).pcm"), 8, 0, QStringLiteral("layer(1c).pcm"), 0, 4}));
    notOpened = ".undo";
    journal.forgetBefore(2);
    notOpened = nullptr;
    ASSERT_TRUE(
        journal.add(2, {QStringLiteral("layer(1a).pcm"), 8, 4, QStringLiteral("layer(1d).pcm"), 0, 4}));
    const QByteArray text = contentOf(file);
    EXPECT_EQ(text.count('\n'), 2);
    EXPECT_TRUE(text.contains("layer(1c).pcm") && text.contains("layer(1d).pcm"));
}

// --- regions ---------------------------------------------------------------------------------------

TEST_F(SessionCacheTest, regionsComeBackAsLayersOfTheStretchThatTheyShow)
{
    auto* cache = new SessionCache(never);
    ProjectPtr project = projectOf(ramp(1000)); // a source in the tree
    LayerPtr source = firstLayer(*project);
    LayerPtr hidden = layerOf(realFormat(), ramp(500, 100), 2000);
    QList<LayerRegionPtr> regions = {
        LayerRegion::create(source, 50, 10, 20),       // from 70
        LayerRegion::create(source, 50, 200, 900),     // beyond its end
        LayerRegion::create(source, 30, 40, -40),      // before its start
        LayerRegion::create(source, -5, 20, 5),        // begins before time 0
        LayerRegion::create(source, 0, 10, 5000),      // shows nothing
        LayerRegion::create(hidden, 7, 100, 2000 - 7), // of a source outside the tree
    };
    for (const LayerRegionPtr& region : regions)
        project->layers()->appendChildLayer(region);
    QList<std::pair<Range, std::vector<float>>> shown;
    for (const LayerRegionPtr& region : regions) {
        const Range span = region->range().intersected({0, 100000});
        std::vector<float> samples(std::size_t(span.length), 9.0f);
        region->read(samples.data(), span, -1, true);
        shown << std::pair(span, samples);
    }
    ASSERT_TRUE(cache->write(*project));
    // An edit in work, through a region.
    const std::vector<float> noise(10, 1e6f);
    ASSERT_TRUE(regions[0]->write(noise.data(), {50, 10}, -1, true));
    const int count = regions.size();
    hidden->keepFile();
    source.reset(); // a dead program holds nothing
    hidden.reset();
    regions.clear();
    crash(cache, project);
    EXPECT_EQ(SessionJournal::rollBack(dead).lost, QStringList());
    cache = new SessionCache(never);
    for (int again = 0; again < 2; ++again) {
        const ProjectReadResult read =
            readProjectXml(again == 0 ? dead : manifest(1), SampleFiles::Reference, {});
        ASSERT_TRUE(read.project);
        EXPECT_EQ(read.damage, QStringList());
        const QList<ILayerPtr> layers = read.project->layers()->children(ChildrenDirect);
        ASSERT_EQ(layers.size(), 1 + count);
        for (int i = 0; i < shown.size(); ++i) {
            const auto layer = std::dynamic_pointer_cast<Layer>(layers[i + 1]);
            EXPECT_EQ(layer->type(), LayerTypeLayer);
            EXPECT_EQ(layer->dataRange(), shown[i].first) << i;
            EXPECT_EQ(dataOf(*layer), shown[i].second) << i;
        }
        EXPECT_EQ(dataOf(*firstLayer(*read.project)), ramp(1000)) << "its own file";
        // Layers with files of their own from here on.
        ASSERT_TRUE(again == 1 || cache->takeOver(*read.project, dead));
        cache->leave(*read.project);
    }
    delete cache;
}

TEST_F(SessionCacheTest, aManifestThatCannotBeWrittenLeavesTheOneBeforeAndItsFiles)
{
    SessionCache cache(never);
    const ProjectPtr project = projectOf(ramp(1000));
    ASSERT_TRUE(cache.write(*project));
    const QByteArray before = contentOf(manifest(1));
    const QString file = firstLayer(*project)->filePath();
    firstLayer(*project)->insertTime({10, 500});
    // A folder where the new one would be written.
    ASSERT_TRUE(QDir().mkpath(manifest(1) + QStringLiteral(".new/x")));
    testsupport::expectWarning(QStringLiteral("no session backup"));
    EXPECT_FALSE(cache.write(*project));
    EXPECT_EQ(contentOf(manifest(1)), before);
    EXPECT_TRUE(QFile::exists(file));
    ASSERT_TRUE(QDir(manifest(1) + QStringLiteral(".new")).removeRecursively());
    EXPECT_TRUE(cache.write(*project));
    EXPECT_NE(contentOf(manifest(1)), before);
}

TEST_F(SessionCacheTest, closingDeletesTheManifestFirstAndThenTheSamples)
{
    SessionCache cache(10ms);
    ProjectPtr project = projectOf(ramp(1000));
    ASSERT_TRUE(cache.write(*project));
    const QString file = firstLayer(*project)->filePath();
    cache.forget(*project);
    EXPECT_FALSE(QFile::exists(manifest(1)));
    project.reset();
    EXPECT_TRUE(testsupport::waitFor([&] { return !QFile::exists(file); }));
}

TEST_F(SessionCacheTest, anEndBehindClosedProjectsLeavesNothing)
{
    {
        SessionCache cache(never);
        ProjectPtr project = projectOf(ramp(1000));
        writeAndSync(cache, *project);
        firstLayer(*project)->insertTime({10, 500});
        ASSERT_TRUE(cache.write(*project));
        cache.forget(*project);
        project.reset();
        EXPECT_EQ(cache.retiredFiles(), 2);
    }
    EXPECT_EQ(QDir(folder).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList());
}

TEST_F(SessionCacheTest, aProjectThatWasNotClosedIsThereForTheNextStart)
{
    QString file;
    {
        SessionCache cache(never);
        ProjectPtr project = projectOf(ramp(1000));
        ASSERT_TRUE(cache.write(*project));
        file = firstLayer(*project)->filePath();
        project.reset(); // the program ends, and nobody asked to close it
    }
    EXPECT_TRUE(QFile::exists(file));
    EXPECT_TRUE(QFile::exists(manifest(1)));
    EXPECT_EQ(contentOf(manifest(1) + QStringLiteral(".safe")), contentOf(manifest(1)));
    const QString lock = folder + QStringLiteral("/session_Morvane now.lock");
    EXPECT_FALSE(FileLock::isHeld(lock));
    EXPECT_EQ(FileLock::text(lock), platform::bootId()) << "or an older manifest would be taken";
    const ProjectReadResult read = readProjectXml(manifest(1), SampleFiles::Reference, {});
    ASSERT_TRUE(read.project);
    EXPECT_EQ(dataOf(*firstLayer(*read.project)), ramp(1000));
}

TEST_F(SessionCacheTest, recoveryMakesTheManifestThisSessionsAndOneIsAlwaysThere)
{
    auto* cache = new SessionCache(never);
    ProjectPtr project = projectOf(ramp(1000));
    ASSERT_TRUE(cache->write(*project));
    crash(cache, project);
    cache = new SessionCache(10ms);
    const ProjectReadResult read = readProjectXml(dead, SampleFiles::Reference, {});
    ASSERT_TRUE(read.project);
    ASSERT_TRUE(cache->takeOver(*read.project, dead));
    EXPECT_FALSE(QFile::exists(dead));
    EXPECT_TRUE(QFile::exists(manifest(1)));
    EXPECT_EQ(dataOf(*firstLayer(*read.project)), ramp(1000));
    cache->forget(*read.project);
    delete cache;
}

TEST_F(SessionCacheTest, recoveryWithoutRoomForTheNewManifestKeepsTheOld)
{
    auto* cache = new SessionCache(never);
    ProjectPtr project = projectOf(ramp(1000));
    ASSERT_TRUE(cache->write(*project));
    crash(cache, project);
    const QByteArray before = contentOf(dead);
    cache = new SessionCache(never);
    {
        const ProjectReadResult read = readProjectXml(dead, SampleFiles::Reference, {});
        ASSERT_TRUE(read.project);
        ASSERT_TRUE(QDir().mkpath(manifest(1) + QStringLiteral(".new/x")));
        testsupport::expectWarning(QStringLiteral("no session backup"));
        EXPECT_FALSE(cache->takeOver(*read.project, dead));
        EXPECT_EQ(contentOf(manifest(1)), before) << "the old one, under this session's name";
    }
    delete cache;
    EXPECT_TRUE(readProjectXml(manifest(1), SampleFiles::Reference, {}).project);
}

TEST_F(SessionCacheTest, aManifestOfAHundredLayersHoldsTheCallerForMilliseconds)
{
    SessionCache cache(never);
    const auto project = std::make_shared<Project>(realFormat());
    for (int i = 0; i < 100; ++i)
        project->layers()->appendChildLayer(layerOf(realFormat(), ramp(10)));
    ASSERT_TRUE(cache.write(*project));
    QElapsedTimer timer;
    timer.start();
    for (int i = 0; i < 10; ++i)
        ASSERT_TRUE(cache.write(*project));
    std::printf("[ figure   ] one manifest of 100 layers: %.2f ms\n", double(timer.nsecsElapsed()) / 1e7);
    EXPECT_EQ(contentOf(manifest(1)).count("<layer "), 100);
    EXPECT_FALSE(QFile::exists(manifest(1) + QStringLiteral(".new")));
}

TEST_F(SessionCacheTest, withoutAFolderThereIsNoManifest)
{
    QCoreApplication::instance()->setProperty("sessionpath", QString());
    SessionCache cache(never);
    const Project project(realFormat());
    EXPECT_FALSE(cache.write(project));
    cache.forget(project);
}
