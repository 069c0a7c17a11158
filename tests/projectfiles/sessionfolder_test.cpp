// What the start finds in the session folder, asks, and clears away.
#include "base/platform.h"
#include "base/sessionfile.h"
#include "projectfiles/recovery.h"
#include "projectfiles/sessionfolder.h"
#include "support/testsupport.h"
#include "ui/widgets/messages.h"

#include <gtest/gtest.h>

#include <memory>

#include <sys/stat.h>
#include <unistd.h>
#include <utime.h>

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QVariant>

namespace {

using Kind = SessionFolder::Kind;

class SessionFolderTest : public testing::Test
{
protected:
    void SetUp() override
    {
        static int argc = 1;
        static char name[] = "test";
        static char* argv[] = {name, nullptr};
        application = std::make_unique<QCoreApplication>(argc, argv);
        QCoreApplication::setApplicationName(QStringLiteral("Morvane"));
        QCoreApplication::setApplicationVersion(QStringLiteral("6.0.1 Build 2"));
        application->setProperty("backupextension", "mvx");
        application->setProperty("sessiondays", 7);
        application->setProperty("maxsessiondays", 30);
        messages::setAnswerer([this](const messages::Box& box) {
            boxes.append(box);
            return answer;
        });
    }
    void TearDown() override
    {
        messages::setAnswerer({});
        application.reset();
    }

    QString write(const QString& name, const QByteArray& data = "x") const
    {
        const QString full = path + QLatin1Char('/') + name;
        QFile file(full);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(data);
        return full;
    }
    static QByteArray head(const QByteArray& software = "Morvane 6.0.1 Build 2",
                           const QByteArray& embedded = "false")
    {
        return "<?xml version=\"1.0\"?>\n<mvxml version=\"1.0\" processid=\"1\" software=\"" + software +
               "\" embedded=\"" + embedded + "\"><project/></mvxml>";
    }
    static void setAge(const QString& file, double days)
    {
        const time_t then = time(nullptr) - time_t(days * 86400);
        const utimbuf times{then, then};
        ASSERT_EQ(utime(QFile::encodeName(file), &times), 0);
    }
    [[nodiscard]] QStringList names() const
    {
        return QDir(path).entryList(
            QDir::Files | QDir::System | QDir::Hidden | QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name);
    }
    [[nodiscard]] QStringList found() const
    {
        QStringList result;
        for (const QString& manifest : folder.manifestsOfTheDead())
            result << QFileInfo(manifest).fileName();
        result.sort();
        return result;
    }
    // A whole start, with `answer` to the question.
    void start(QMessageBox::StandardButton button)
    {
        answer = button;
        recoverSessions(nullptr, folder, [this](const QStringList& manifests) { recovered += manifests; });
    }

    std::unique_ptr<QCoreApplication> application;
    const QString path = testsupport::makeFolder(QStringLiteral("session"));
    const SessionFolder folder{path};
    QMessageBox::StandardButton answer = QMessageBox::No;
    QList<messages::Box> boxes;
    QStringList recovered;
};

const QString deadManifest = QStringLiteral("session_dead_project_1.mvx");

} // namespace

TEST_F(SessionFolderTest, onlyNamesThatThisProgramMakesAreItsOwn)
{
    const QString session = QStringLiteral("Morvane 2026.11.21-16.59.24.123");
    for (const QString& name : {QStringLiteral("layer(0f).pcm"), QStringLiteral("layer(ffff1a2b).pcm")})
        EXPECT_EQ(SessionFolder::kindOf(name), Kind::Samples) << name.toStdString();
    const QString manifest = QFileInfo(folder.manifestPath(session, 26)).fileName();
    EXPECT_EQ(manifest, QStringLiteral("session_Morvane 2026.11.21-16.59.24.123_project_1a.mvx"));
    EXPECT_EQ(SessionFolder::kindOf(manifest), Kind::Manifest);
    EXPECT_EQ(SessionFolder::sessionOf(manifest), session);
    for (const char* suffix : {".new", ".safe", ".safe.new", ".undo", ".undo.new"})
        EXPECT_EQ(SessionFolder::kindOf(manifest + QLatin1String(suffix)), Kind::Manifest) << suffix;
    EXPECT_EQ(SessionFolder::kindOf(QFileInfo(folder.lockPath(session)).fileName()), Kind::Lock);
    EXPECT_EQ(SessionFolder::kindOf(QStringLiteral("Layer 1 (65535).wav")), Kind::Wave);
    for (const char* name : {"layer().pcm",
                             "layer(123456789).pcm",
                             "layer(0G).pcm",
                             "layer(0F).pcm",
                             "layer0.pcm",
                             "my.pcm",
                             "xlayer(0f).pcm",
                             "layer(0f).pcm.bak",
                             "song.wav",
                             "(1).wavx",
                             "project.mvx",
                             "session_project_1.mvx",
                             "session_a_project_1.mvp",
                             "session_a_project_1.mvx.old",
                             "session_a_project_g.mvx",
                             "session_.lock",
                             "other.lock",
                             "session_a.lock2",
                             "l\xc3\xa4rm (1).wav",
                             "layer(0f).pcm\n"})
        EXPECT_EQ(SessionFolder::kindOf(QString::fromUtf8(name)), Kind::Foreign) << name;
}

TEST_F(SessionFolderTest, aManifestOfACrashedSessionIsOffered)
{
    write(deadManifest, head());
    EXPECT_EQ(found(), QStringList{deadManifest});
    start(QMessageBox::Yes);
    ASSERT_EQ(boxes.size(), 1);
    EXPECT_EQ(boxes[0].title, QStringLiteral("Recover Session"));
    EXPECT_EQ(boxes[0].text, QStringLiteral("Old session backups found. Would you like to recover ?"));
    EXPECT_EQ(boxes[0].buttons, QMessageBox::Yes | QMessageBox::No | QMessageBox::Reset);
    EXPECT_EQ(boxes[0].defaultButton, QMessageBox::Yes);
    EXPECT_EQ(recovered, QStringList{path + QLatin1Char('/') + deadManifest});
}

TEST_F(SessionFolderTest, withoutAManifestNothingIsAsked)
{
    write(QStringLiteral("layer(12).pcm"));
    start(QMessageBox::Yes);
    EXPECT_TRUE(boxes.isEmpty());
    EXPECT_EQ(names(), QStringList{QStringLiteral("layer(12).pcm")});
}

TEST_F(SessionFolderTest, aManifestOfAnotherVersionIsNotOffered)
{
    write(QStringLiteral("session_a_project_1.mvx"), head("Morvane 6.0.1 Build 3"));
    write(QStringLiteral("session_a_project_2.mvx"), head("Cardio 6.0.1 Build 2"));
    write(QStringLiteral("session_a_project_3.mvx"), head("Morvane 6.0.1 Build 2", "true"));
    write(QStringLiteral("session_a_project_4.mvx"), "<mvxml/>");
    EXPECT_EQ(found(), QStringList());
    start(QMessageBox::Yes);
    EXPECT_TRUE(boxes.isEmpty());
    EXPECT_EQ(names().size(), 4) << "and it stays for the version that wrote it";
}

TEST_F(SessionFolderTest, whatOnlyLooksLikeAManifestIsNotReadForLong)
{
    write(QStringLiteral("session_a_project_1.mvx"), "");
    write(QStringLiteral("session_a_project_2.mvx"), QByteArray(64, '\0'));
    write(QStringLiteral("session_a_project_3.mvx"),
          "<!DOCTYPE x [<!ENTITY a \"b\">]>" + head().mid(head().indexOf("<mvxml")));
    write(QStringLiteral("session_a_project_4.mvx"), "<a " + QByteArray(30 << 20, 'x') + "=\"1\"/>");
    QByteArray attributes = "<mvxml ";
    for (int i = 0; i < 300000; ++i)
        attributes += "a" + QByteArray::number(i) + "=\"\" ";
    write(QStringLiteral("session_a_project_5.mvx"), attributes + "/>");
    write(QStringLiteral("session_a_project_6.mvx.new"), head());
    ASSERT_EQ(mkfifo(QFile::encodeName(path + QStringLiteral("/session_a_project_7.mvx")), 0600), 0);
    const QString outside = testsupport::makeFolder(QStringLiteral("outside")) + QStringLiteral("/m.mvx");
    QFile target(outside);
    ASSERT_TRUE(target.open(QIODevice::WriteOnly));
    target.write(head());
    target.close();
    ASSERT_TRUE(QFile::link(outside, path + QStringLiteral("/session_a_project_8.mvx")));
    QElapsedTimer timer;
    timer.start();
    EXPECT_EQ(found(), QStringList());
    EXPECT_LT(timer.elapsed(), 2000);
}

TEST_F(SessionFolderTest, noLeavesAllFilesAndOffersThemAgain)
{
    write(deadManifest, head());
    write(QStringLiteral("layer(12).pcm"));
    write(QStringLiteral("session_dead.lock"));
    const QStringList before = names();
    for (int i = 1; i <= 2; ++i) {
        start(QMessageBox::No);
        EXPECT_EQ(boxes.size(), i);
        EXPECT_EQ(names(), before);
    }
    EXPECT_TRUE(recovered.isEmpty());
}

TEST_F(SessionFolderTest, resetDeletesOurFilesAndPassesOverWhateverElseLiesThere)
{
    const QStringList foreign = {QStringLiteral("important.pcm"),  QStringLiteral("layer(x).pcm"),
                                 QStringLiteral("mine.lock"),      QStringLiteral("project.mvx"),
                                 QStringLiteral("recording.wav"),  QStringLiteral("Layer (7).wav"),
                                 QStringLiteral("layer(1).pcm.gz")};
    for (const QString& name : foreign)
        write(name);
    write(deadManifest, head());
    write(deadManifest + QStringLiteral(".new"));
    write(QStringLiteral("session_old_project_1.mvx"), head("Morvane 1"));
    write(QStringLiteral("layer(12).pcm"));
    write(QStringLiteral("session_dead.lock"));
    ASSERT_TRUE(QDir(path).mkdir(QStringLiteral("layer(34).pcm")));
    const QString outside = testsupport::makeFolder(QStringLiteral("outside")) + QStringLiteral("/victim");
    ASSERT_TRUE(QFile(outside).open(QIODevice::WriteOnly));
    ASSERT_TRUE(QFile::link(outside, path + QStringLiteral("/layer(56).pcm")));
    start(QMessageBox::Reset);
    QStringList left = foreign;
    left << QStringLiteral("layer(34).pcm") << QStringLiteral("layer(56).pcm");
    left.sort();
    QStringList there = names();
    there.sort();
    EXPECT_EQ(there, left);
    EXPECT_TRUE(QFile::exists(outside));
}

TEST_F(SessionFolderTest, agingTakesWhatIsOlderThanSessionDays)
{
    for (const char* name :
         {"layer(12).pcm", "session_old_project_1.mvx", "session_old.lock", "Layer (7).wav"}) {
        setAge(write(QString::fromLatin1(name)), 7.1);
        // The same kinds, younger.
        QString young = QString::fromLatin1(name);
        young.replace(QLatin1String("old"), QLatin1String("young"))
            .replace(QLatin1String("12"), QLatin1String("34"))
            .replace(QLatin1Char('7'), QLatin1Char('8'));
        setAge(write(young), 6.9);
    }
    for (const char* name : {"song.wav", "my.pcm", "x.lock", "notes.txt", "project.mvx"})
        setAge(write(QString::fromLatin1(name)), 1000);
    start(QMessageBox::No);
    EXPECT_EQ(names(),
              (QStringList{"Layer (8).wav", "layer(34).pcm", "my.pcm", "notes.txt", "project.mvx",
                           "session_young.lock", "session_young_project_1.mvx", "song.wav", "x.lock"}));
}

TEST_F(SessionFolderTest, anOldSampleFileIsDeletedByAgingAlsoWhenTheUserAnsweredNo)
{
    write(deadManifest, head());
    setAge(write(QStringLiteral("layer(12).pcm")), 8);
    start(QMessageBox::No);
    EXPECT_EQ(names(), QStringList{deadManifest});
}

TEST_F(SessionFolderTest, agingNeverRunsBeforeTheQuestionWasAnswered)
{
    setAge(write(deadManifest, head()), 8);
    const QString samples = write(QStringLiteral("layer(12).pcm"));
    setAge(samples, 8);
    bool asked = false;
    messages::setAnswerer([&](const messages::Box&) {
        asked = true;
        EXPECT_EQ(names().size(), 3) << "manifest, samples, and the claim of whoever asks";
        return QMessageBox::Yes;
    });
    recoverSessions(nullptr, folder, [&](const QStringList& manifests) {
        EXPECT_EQ(manifests.size(), 1);
        EXPECT_TRUE(QFile::exists(samples));
    });
    EXPECT_TRUE(asked);
}

TEST_F(SessionFolderTest, daysOutsideTheirBoundsAreTheNearestThatMakeSense)
{
    const QString samples = write(QStringLiteral("layer(12).pcm"));
    application->setProperty("sessiondays", 0);
    setAge(samples, 0.9);
    start(QMessageBox::No);
    EXPECT_TRUE(QFile::exists(samples)) << "never less than a day";
    application->setProperty("sessiondays", 100000);
    setAge(samples, 31);
    start(QMessageBox::No);
    EXPECT_FALSE(QFile::exists(samples));
}

TEST_F(SessionFolderTest, aLiveSessionsFilesAreNeverOfferedRemovedOrAged)
{
    const auto lock = FileLock::take(folder.lockPath(QStringLiteral("live")));
    ASSERT_TRUE(lock);
    setAge(folder.lockPath(QStringLiteral("live")), 40);
    setAge(write(QStringLiteral("session_live_project_1.mvx"), head()), 40);
    setAge(write(QStringLiteral("session_live_project_1.mvx.new"), head()), 40);
    const auto samples = SessionFile::create(path, 100);
    setAge(samples->path(), 40);
    const QStringList live = names();
    write(deadManifest, head());
    EXPECT_EQ(found(), QStringList{deadManifest});
    start(QMessageBox::Reset);
    EXPECT_EQ(names(), live);
    start(QMessageBox::No);
    EXPECT_EQ(names(), live);
}

TEST_F(SessionFolderTest, whileOneProcessAsksAnotherDoesNotAskAndClearsNothing)
{
    write(deadManifest, head());
    setAge(write(QStringLiteral("layer(12).pcm")), 8);
    const auto first = folder.claim();
    ASSERT_TRUE(first);
    const QStringList before = names();
    start(QMessageBox::Reset);
    EXPECT_TRUE(boxes.isEmpty());
    EXPECT_EQ(names(), before);
}

TEST_F(SessionFolderTest, theLockOfASessionGoesWithItsLastManifest)
{
    const QString second = QStringLiteral("session_dead_project_2.mvx");
    write(deadManifest, head());
    write(second, head());
    write(QStringLiteral("session_dead.lock"));
    answer = QMessageBox::Yes;
    recoverSessions(nullptr, folder, [](const QStringList& manifests) { QFile::remove(manifests[0]); });
    EXPECT_EQ(names().size(), 2) << "one could not be read, and is still the dead session's";
    recoverSessions(nullptr, folder, [](const QStringList& manifests) { QFile::remove(manifests[0]); });
    EXPECT_EQ(names(), QStringList());
}

TEST_F(SessionFolderTest, afterTheMachineItselfWentDownTheManifestThatWasSafeComesBack)
{
    const QString manifest = write(deadManifest, ""); // it never reached the disk
    const QByteArray safe = head() + "<!-- safe -->";
    write(deadManifest + QStringLiteral(".safe"), safe);
    write(QStringLiteral("session_dead.lock"), "another life of the machine\n");
    start(QMessageBox::No);
    EXPECT_EQ(boxes.size(), 1) << "it is offered though the newest one is empty";
    EXPECT_EQ(QFileInfo(manifest).size(), 0) << "and nothing is touched before the answer is Yes";
    start(QMessageBox::Yes);
    ASSERT_EQ(recovered, QStringList{manifest});
    QFile file(manifest);
    ASSERT_TRUE(file.open(QFile::ReadOnly));
    EXPECT_EQ(file.readAll(), safe);
    EXPECT_FALSE(QFile::exists(manifest + QStringLiteral(".safe")));
}

TEST_F(SessionFolderTest, afterADeathOfTheProgramAloneTheNewestManifestComesBack)
{
    const QByteArray newest = head() + "<!-- newest -->";
    const QString manifest = write(deadManifest, newest);
    write(deadManifest + QStringLiteral(".safe"), head());
    FileLock::take(folder.lockPath(QStringLiteral("dead")))->setText(platform::bootId());
    start(QMessageBox::Yes);
    ASSERT_EQ(recovered, QStringList{manifest});
    QFile file(manifest);
    ASSERT_TRUE(file.open(QFile::ReadOnly));
    EXPECT_EQ(file.readAll(), newest);
}

TEST_F(SessionFolderTest, aSafeManifestWithoutItsOwnIsOfAProjectThatWasTakenOver)
{
    write(deadManifest + QStringLiteral(".safe"), head());
    EXPECT_EQ(found(), QStringList());
    start(QMessageBox::Reset);
    setAge(path + QLatin1Char('/') + deadManifest + QStringLiteral(".safe"), 8);
    start(QMessageBox::No);
    EXPECT_EQ(names(), QStringList());
}

TEST_F(SessionFolderTest, withoutAFolderThereIsNothingToDo)
{
    recoverSessions(nullptr, SessionFolder(QString()), [](const QStringList&) { FAIL(); });
    recoverSessions(nullptr, SessionFolder(QStringLiteral("/nowhere")), [](const QStringList&) { FAIL(); });
    EXPECT_TRUE(boxes.isEmpty());
}
