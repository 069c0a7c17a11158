// Saving where it cannot be done, and what lies in the way.
#include "model/modeltest.h"
#include "projectfiles/layerfactory.h"
#include "projectfiles/projectbinary.h"
#include "projectfiles/projecttest.h"
#include "projectfiles/projectxml.h"
#include "support/testsupport.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QTemporaryDir>

using namespace projecttest;

namespace {

class ProjectTargets : public testing::Test
{
protected:
    void SetUp() override
    {
        m_folder = testsupport::makeFolder();
        m_project = smallProject();
    }
    QString file(const QString& name) { return m_folder + QLatin1Char('/') + name; }
    QStringList entries(const QString& folder)
    {
        return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                                      QDir::Name);
    }
    // Both forms refuse, with words that name the file, and leave everything as it is.
    void expectRefused(const QString& path, const QString& named)
    {
        const QStringList before = stateOf(m_folder);
        QElapsedTimer timer;
        timer.start();
        for (const SaveResult& result : {writeProjectBinary(*m_project, path, {}),
                                         writeProjectXml(*m_project, path, SampleFiles::Copy, {})}) {
            EXPECT_FALSE(result.done);
            EXPECT_FALSE(result.cancelled);
            EXPECT_TRUE(result.words.contains(named)) << result.words.toStdString();
        }
        EXPECT_LT(timer.elapsed(), 2000); // no waiting for somebody at the other end
        EXPECT_EQ(stateOf(m_folder), before);
    }

    // Three layers of some megabytes.
    static ProjectPtr makeLarge()
    {
        const ProjectPtr project = smallProject();
        const std::vector<float> samples(2 << 20, 0.5f);
        for (int i = 0; i < 3; ++i)
            project->layers()->prependChild(modeltest::layerOf(project->format(), samples));
        return project;
    }

    QString m_folder;
    ProjectPtr m_project;
};

TEST_F(ProjectTargets, ADirectoryADeviceAndAPipeAreNoTargets)
{
    QDir().mkdir(file(QStringLiteral("folder.mvx")));
    expectRefused(file(QStringLiteral("folder.mvx")), QStringLiteral("folder.mvx"));
    ASSERT_EQ(mkfifo(file(QStringLiteral("pipe.mvx")).toLocal8Bit(), 0600), 0);
    expectRefused(file(QStringLiteral("pipe.mvx")), QStringLiteral("pipe.mvx"));
    expectRefused(QStringLiteral("/dev/null"), QStringLiteral("null"));
    ASSERT_TRUE(QFile::link(QStringLiteral("/dev/full"), file(QStringLiteral("link.mvx"))));
    expectRefused(file(QStringLiteral("link.mvx")), QStringLiteral("full"));
}

TEST_F(ProjectTargets, AFolderThatIsNotThereIsNoTarget)
{
    expectRefused(file(QStringLiteral("none/p.mvx")), QStringLiteral("none/p.mvx"));
}

TEST_F(ProjectTargets, AFolderThatMayNotBeWrittenIsNoTarget)
{
    const QTemporaryDir folder(QStringLiteral("/tmp/morvane-locked-XXXXXX")); // everybody can come here
    const QString target = folder.path() + QStringLiteral("/p.mvx");
    ASSERT_EQ(chmod(folder.path().toLocal8Bit(), 0555), 0);
    const bool asRoot = geteuid() == 0; // whom mode bits do not stop
    if (asRoot) {
        ASSERT_EQ(seteuid(65534), 0);
    }
    const SaveResult binary = writeProjectBinary(*m_project, target, {});
    const SaveResult xml = writeProjectXml(*m_project, target, SampleFiles::Copy, {});
    if (asRoot) {
        ASSERT_EQ(seteuid(0), 0);
    }
    for (const SaveResult& result : {binary, xml}) {
        EXPECT_FALSE(result.done);
        EXPECT_TRUE(result.words.contains(target)) << result.words.toStdString();
    }
    EXPECT_EQ(entries(folder.path()), QStringList());
}

TEST_F(ProjectTargets, ANameThatGivesNoFolderOfItsOwnIsRefused)
{
    for (const char* name : {".mvx", "..mvx", "...mvx", "mvx"}) {
        const QStringList before = stateOf(m_folder);
        const SaveResult result =
            writeProjectXml(*m_project, file(QString::fromLatin1(name)), SampleFiles::Copy, {});
        EXPECT_FALSE(result.done) << name;
        EXPECT_FALSE(result.words.isEmpty());
        EXPECT_EQ(stateOf(m_folder), before) << name;
    }
}

TEST_F(ProjectTargets, AFileUnderTheNameOfTheSampleFolderStays)
{
    writeFile(file(QStringLiteral("p")), "mine");
    const SaveResult result =
        writeProjectXml(*m_project, file(QStringLiteral("p.mvx")), SampleFiles::Copy, {});
    EXPECT_FALSE(result.done);
    EXPECT_TRUE(result.words.contains(m_folder + "/p")) << result.words.toStdString();
    EXPECT_EQ(entries(m_folder), QStringList({QStringLiteral("p")}));
    EXPECT_EQ(contentOf(file(QStringLiteral("p"))), "mine");
}

TEST_F(ProjectTargets, WhatTheUserKeepsInTheSampleFolderStays)
{
    const QString folder = file(QStringLiteral("p"));
    QDir().mkpath(folder + "/layer9.pcm"); // a folder of that name is not ours either
    writeFile(folder + "/notes.txt", "mine");
    writeFile(folder + "/layer7.pcm", "of a save before");
    writeFile(folder + "/layer0.pcm", "of a save before");
    writeFile(folder + "/layer07.pcm", "mine");
    saveXml(*m_project, file(QStringLiteral("p.mvx")));
    EXPECT_EQ(entries(folder), QStringList({QStringLiteral("layer0.pcm"), QStringLiteral("layer07.pcm"),
                                            QStringLiteral("layer1.pcm"), QStringLiteral("layer9.pcm"),
                                            QStringLiteral("notes.txt")}));
    EXPECT_EQ(contentOf(folder + "/notes.txt"), "mine");
    EXPECT_EQ(contentOf(folder + "/layer07.pcm"), "mine");
    const ProjectReadResult read = readProjectXml(file(QStringLiteral("p.mvx")), SampleFiles::Copy, {});
    ASSERT_TRUE(read.project);
    expectSame(*m_project, *read.project);
}

TEST_F(ProjectTargets, ALinkIsFollowedSoThatTheFileBehindItIsReplaced)
{
    QDir().mkdir(file(QStringLiteral("real")));
    const QString link = file(QStringLiteral("link.mvx"));
    ASSERT_TRUE(QFile::link(file(QStringLiteral("real/p.mvx")), link));
    saveXml(*m_project, link);
    EXPECT_TRUE(QFileInfo(link).isSymLink());
    EXPECT_EQ(entries(file(QStringLiteral("real"))),
              QStringList({QStringLiteral("p"), QStringLiteral("p.mvx")}));
    const ProjectReadResult read = readProjectXml(link, SampleFiles::Copy, {});
    ASSERT_TRUE(read.project);
    expectSame(*m_project, *read.project);
}

TEST_F(ProjectTargets, SavingAgainReplacesManifestAndSamples)
{
    const QString path = file(QStringLiteral("p.mvx"));
    saveXml(*m_project, path);
    const ProjectPtr other = randomProject(12);
    saveXml(*other, path);
    const ProjectReadResult read = readProjectXml(path, SampleFiles::Copy, {});
    ASSERT_TRUE(read.project);
    expectSame(*other, *read.project);
    EXPECT_EQ(entries(m_folder), QStringList({QStringLiteral("p"), QStringLiteral("p.mvx")}));
}

// The moment between the two manifests of a save: the first names the samples where they were written.
TEST_F(ProjectTargets, ASampleFolderThatADeadSaveHasLeftIsReadAndThenTidiedUp)
{
    const QString path = file(QStringLiteral("p.mvx"));
    saveXml(*m_project, path);
    const QString left = QStringLiteral("p.sidecars-0123abcd");
    ASSERT_TRUE(QDir(m_folder).rename(QStringLiteral("p"), left));
    writeFile(path, contentOf(path).replace("path=\"p/", "path=\"" + left.toLatin1() + '/'));
    QDir().mkdir(file(QStringLiteral("p.sidecars-kept"))); // no name of ours
    const ProjectReadResult read = readProjectXml(path, SampleFiles::Copy, {});
    ASSERT_TRUE(read.project);
    expectSame(*m_project, *read.project);
    saveXml(*read.project, path);
    EXPECT_EQ(entries(m_folder),
              QStringList({QStringLiteral("p"), QStringLiteral("p.mvx"), QStringLiteral("p.sidecars-kept")}));
}

TEST_F(ProjectTargets, CancelLeavesTheOldFilesAndNothingBeside)
{
    const QString binary = file(QStringLiteral("p.mvp"));
    const QString xml = file(QStringLiteral("p.mvx"));
    ASSERT_TRUE(writeProjectBinary(*m_project, binary, {}).done);
    saveXml(*m_project, xml);
    const QStringList before = stateOf(m_folder);
    const ProjectPtr large = makeLarge();
    for (int after = 0; after < 3; ++after) {
        int calls = 0;
        const Progress progress = [&](int done, int total) {
            EXPECT_LE(done, total);
            return calls++ < after;
        };
        EXPECT_TRUE(writeProjectBinary(*large, binary, progress).cancelled);
        calls = 0;
        EXPECT_TRUE(writeProjectXml(*large, xml, SampleFiles::Copy, progress).cancelled);
        EXPECT_EQ(stateOf(m_folder), before);
    }
}

TEST_F(ProjectTargets, ACancelledReadLeavesNoFile)
{
    const QString binary = file(QStringLiteral("p.mvp"));
    const QString xml = file(QStringLiteral("p.mvx"));
    {
        const ProjectPtr large = makeLarge();
        ASSERT_TRUE(writeProjectBinary(*large, binary, {}).done);
        saveXml(*large, xml);
    }
    const QStringList before = modeltest::sessionFiles();
    for (int after = 0; after < 3; ++after) {
        int calls = 0;
        const Progress progress = [&](int, int) { return calls++ < after; };
        for (const ProjectReadResult& read :
             {readProjectBinary(binary, progress),
              (calls = 0, readProjectXml(xml, SampleFiles::Copy, progress))}) {
            EXPECT_FALSE(read.project);
            EXPECT_TRUE(read.cancelled);
            EXPECT_EQ(read.title + read.text, QString());
        }
        EXPECT_EQ(modeltest::sessionFiles(), before);
    }
}

TEST_F(ProjectTargets, AReadMayBeCancelledAtAnyMoment)
{
    const QString binary = file(QStringLiteral("p.mvp"));
    const QString xml = file(QStringLiteral("p.mvx"));
    ASSERT_TRUE(writeProjectBinary(*m_project, binary, {}).done);
    saveXml(*m_project, xml);
    const QStringList before = modeltest::sessionFiles();
    for (const bool isBinary : {true, false}) {
        int moments = 0;
        for (bool cancelled = true; cancelled; ++moments) {
            int calls = 0;
            const Progress progress = [&](int, int) { return calls++ < moments; };
            const ProjectReadResult read = isBinary ? readProjectBinary(binary, progress)
                                                    : readProjectXml(xml, SampleFiles::Copy, progress);
            cancelled = read.cancelled;
            EXPECT_EQ(read.project == nullptr, cancelled);
            EXPECT_TRUE(!cancelled || modeltest::sessionFiles() == before);
        }
        EXPECT_GT(moments, 8);
    }
}

// Whoever gives up a recovery must find the samples again.
TEST_F(ProjectTargets, ACancelledRecoveryLeavesTheSessionFiles)
{
    const QString path = modeltest::sessionFolder() + QStringLiteral("/session_7_project_1.mvx");
    ProjectPtr lost = makeLarge();
    ASSERT_TRUE(writeProjectXml(*lost, path, SampleFiles::Reference, {}, false).done);
    for (const ILayerPtr& node : lost->layers()->children(ChildrenAll))
        std::dynamic_pointer_cast<Layer>(node)->keepFile();
    lost.reset();
    const QStringList before = stateOf(modeltest::sessionFolder());
    int calls = 0;
    EXPECT_TRUE(
        readProjectXml(path, SampleFiles::Reference, [&](int, int) { return calls++ < 1; }).cancelled);
    EXPECT_EQ(calls, 2);
    EXPECT_EQ(stateOf(modeltest::sessionFolder()), before);
    ASSERT_TRUE(readProjectXml(path, SampleFiles::Reference, {}).project); // takes the files with it
    QFile::remove(path);
}

TEST_F(ProjectTargets, ASessionWithoutRoomRefusesTheFileAndKeepsNothing)
{
    const QString binary = file(QStringLiteral("p.mvp"));
    const QString xml = file(QStringLiteral("p.mvx"));
    {
        const ProjectPtr large = makeLarge();
        ASSERT_TRUE(writeProjectBinary(*large, binary, {}).done);
        saveXml(*large, xml);
    }
    const QStringList before = modeltest::sessionFiles();
    const modeltest::DiskLimit limit(1 << 20);
    for (const ProjectReadResult& read :
         {readProjectBinary(binary, {}), readProjectXml(xml, SampleFiles::Copy, {})}) {
        EXPECT_FALSE(read.project);
        EXPECT_FALSE(read.cancelled);
        EXPECT_EQ(read.text, QStringLiteral("The samples of the file could not be stored."));
        EXPECT_TRUE(read.cause.contains(modeltest::sessionFolder())) << read.cause.toStdString();
    }
    EXPECT_EQ(modeltest::sessionFiles(), before);
}

TEST_F(ProjectTargets, ADiskWithoutRoomForTheSaveKeepsTheOldFiles)
{
    const QString binary = file(QStringLiteral("p.mvp"));
    const QString xml = file(QStringLiteral("p.mvx"));
    ASSERT_TRUE(writeProjectBinary(*m_project, binary, {}).done);
    saveXml(*m_project, xml);
    const ProjectPtr large = makeLarge();
    const QStringList before = stateOf(m_folder);
    {
        const modeltest::DiskLimit limit(1 << 20);
        const SaveResult first = writeProjectBinary(*large, binary, {});
        EXPECT_TRUE(!first.done && first.words.contains(binary)) << first.words.toStdString();
        const SaveResult second = writeProjectXml(*large, xml, SampleFiles::Copy, {});
        EXPECT_TRUE(!second.done && second.words.contains(QStringLiteral("layer0.pcm")))
            << second.words.toStdString();
    }
    EXPECT_EQ(stateOf(m_folder), before);
}

TEST_F(ProjectTargets, AManifestThatCannotBeWrittenKeepsTheOneBefore)
{
    const QString path = file(QStringLiteral("session_1_project_1.mvx"));
    ASSERT_TRUE(writeProjectXml(*m_project, path, SampleFiles::Reference, {}, false).done);
    const QByteArray before = contentOf(path);
    {
        const modeltest::DiskLimit limit(100);
        const SaveResult result = writeProjectXml(*m_project, path, SampleFiles::Reference, {}, false);
        EXPECT_FALSE(result.done);
        EXPECT_TRUE(result.words.contains(path)) << result.words.toStdString();
    }
    EXPECT_EQ(contentOf(path), before);
    EXPECT_EQ(entries(m_folder), QStringList({QStringLiteral("session_1_project_1.mvx")}));
}

} // namespace
