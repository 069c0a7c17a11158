// The manifests of a running session, and the files that they keep.
#include "projectfiles/sessioncache.h"

#include "base/platform.h"
#include "model/modeltest.h"
#include "projectfiles/projecttest.h"
#include "projectfiles/projectxml.h"
#include "support/testsupport.h"

#include <gtest/gtest.h>

#include <chrono>

#include <sys/stat.h>
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
        ASSERT_TRUE(QFile::rename(manifest(1), dead));
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
    EXPECT_EQ(sampleFiles(), 1) << "no manifest names an undo image";
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
