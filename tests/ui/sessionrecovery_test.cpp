// A session that crashed, seen from the next start.
#include "base/sessionfile.h"
#include "model/history.h"
#include "ui/windowenvironment.h"

#include <sys/stat.h>
#include <unistd.h>

#include <QElapsedTimer>
#include <QFileInfo>

namespace {

const auto* const environment = testing::AddGlobalTestEnvironment(new WindowEnvironment);

const QString title = QStringLiteral("Recover Session");

class SessionRecovery : public WindowTest
{
protected:
    void SetUp() override
    {
        WindowTest::SetUp();
        messages::setAnswerer([this](const messages::Box& box) {
            m_boxes.push_back(box);
            return box.title == title ? m_answer : box.defaultButton;
        });
    }
    void TearDown() override
    {
        m_history.reset();
        WindowTest::TearDown();
    }
    // A window whose edits have a history.
    void begin()
    {
        show();
        m_history = std::make_unique<History>();
    }
    static LayerPtr firstLayer(const ProjectPtr& project)
    {
        return std::dynamic_pointer_cast<Layer>(project->layers()->children(ChildrenDirect).value(0));
    }
    // An action on the first layer of the project in front.
    void edit(float value)
    {
        const LayerPtr layer = firstLayer(tabs().currentProject());
        const std::vector<float> samples(100, value);
        ASSERT_TRUE(layer->write(samples.data(), {10, 100}, -1, true));
        postEvent(nullptr, EventId::LayerContentUpdate, ILayerPtr(layer), nullptr);
        HistoryEntry entry;
        entry.name = QStringLiteral("Edit");
        postEvent(nullptr, EventId::HistoryRecord, entry, nullptr);
    }
    [[nodiscard]] QStringList names(const char* filter) const
    {
        return QDir(m_session).entryList({QString::fromLatin1(filter)}, QDir::Files | QDir::System,
                                         QDir::Name);
    }
    [[nodiscard]] QStringList manifests() const { return names("*.mvx"); }
    // The machine stops here: what lies in the session folder now is all that the next start finds,
    // under the name of a session that is no more.
    void crash()
    {
        const QString after = testsupport::makeFolder(QStringLiteral("after"));
        for (const QString& name : QDir(m_session).entryList(QDir::Files)) {
            if (name.endsWith(QLatin1String(".new"))) // comes and goes in another thread
                continue;
            QString there = name;
            there.replace(QLatin1String("Morvane test"), QLatin1String("Morvane dead"));
            ASSERT_TRUE(QFile::copy(m_session + QLatin1Char('/') + name, after + QLatin1Char('/') + there));
        }
        m_history.reset();
        m_window.reset();
        m_session = after;
        qApp->setProperty("sessionpath", after);
    }
    void startAgain(QMessageBox::StandardButton answer)
    {
        m_answer = answer;
        m_boxes.clear();
        show();
        m_window->recoverSessions();
    }
    // A manifest of the dead session with layers of these paths.
    QString writeManifest(int number, const QStringList& paths)
    {
        QByteArray text =
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<mvxml version=\"1.0\" processid=\"1\" "
            "software=\"" +
            QStringLiteral("%1 %2")
                .arg(QCoreApplication::applicationName(), QCoreApplication::applicationVersion())
                .toUtf8() +
            "\" embedded=\"false\">\n<project sampletype=\"1\" samplerate=\"8000\" "
            "channelstype=\"0\" channels=\"1\" channelsmask=\"4\" path=\"\">\n";
        for (const QString& path : paths)
            text += "<layer name=\"l\" enabled=\"1\" sampletype=\"1\" samplerate=\"8000\" channelstype=\"0\" "
                    "channels=\"1\" channelsmask=\"4\" start=\"0\" path=\"" +
                    path.toUtf8() + "\"/>\n";
        const QString name = m_session + QStringLiteral("/session_Morvane dead_project_%1.mvx").arg(number);
        writeBytes(name, text + "</project></mvxml>\n");
        return name;
    }
    static void writeBytes(const QString& name, const QByteArray& bytes)
    {
        QFile file(name);
        ASSERT_TRUE(file.open(QFile::WriteOnly));
        ASSERT_EQ(file.write(bytes), bytes.size());
    }
    QString writeSamples(const char* name, int count = 100)
    {
        const QString full = m_session + QLatin1Char('/') + QLatin1String(name);
        writeBytes(full, QByteArray(count * 4, '\0'));
        return full;
    }
    [[nodiscard]] int boxesTitled(const QString& wanted) const
    {
        return int(std::count_if(m_boxes.begin(), m_boxes.end(),
                                 [&](const messages::Box& box) { return box.title == wanted; }));
    }

    QMessageBox::StandardButton m_answer = QMessageBox::Yes;
    std::unique_ptr<History> m_history;
};

TEST_F(SessionRecovery, EveryActionWritesTheManifestAndClosingDeletesIt)
{
    begin();
    ASSERT_TRUE(tabs().parse(makeTone("tone.wav", 1)));
    EXPECT_EQ(manifests(), QStringList()) << "the file is still what was opened";
    edit(0.5f);
    EXPECT_EQ(manifests(), QStringList{QStringLiteral("session_Morvane test_project_1.mvx")});
    EXPECT_TRUE(tabs().currentProject()->modified);
    ASSERT_TRUE(tabs().parse(makeTone("second.wav", 1)));
    edit(0.25f);
    EXPECT_EQ(manifests().size(), 2);
    ASSERT_TRUE(tabs().close(0, true));
    EXPECT_EQ(manifests(), QStringList{QStringLiteral("session_Morvane test_project_2.mvx")});
    ASSERT_TRUE(tabs().close(0, true));
    EXPECT_EQ(manifests(), QStringList());
    EXPECT_FALSE(tabs().backup()) << "there is no project";
    m_history.reset();
    m_window.reset();
    EXPECT_EQ(QDir(m_session).entryList(QDir::Files), QStringList());
}

TEST_F(SessionRecovery, TheLastFinishedActionComesBack)
{
    begin();
    const QString file = makeTone("tone.wav", 1);
    ASSERT_TRUE(tabs().parse(file));
    edit(0.5f);
    edit(0.25f);
    const std::vector<float> samples = samplesOf(*tabs().currentProject());
    crash();

    startAgain(QMessageBox::Yes);
    ASSERT_EQ(tabs().count(), 1);
    EXPECT_EQ(boxesTitled(title), 1);
    const ProjectPtr project = tabs().currentProject();
    EXPECT_EQ(samplesOf(*project), samples);
    EXPECT_EQ(project->filePath(), file);
    EXPECT_EQ(tabs().tabText(0), QStringLiteral("tone.wav *")) << "nobody has saved it";
    ASSERT_EQ(project->history().size(), 1);
    EXPECT_EQ(project->history()[0].name, QStringLiteral("Recover"));
    EXPECT_EQ(manifests(), QStringList{QStringLiteral("session_Morvane test_project_1.mvx")})
        << "the new one, and no longer the old";
    EXPECT_EQ(names("session_Morvane dead*"), QStringList());

    // And once more, without any action since.
    crash();
    startAgain(QMessageBox::Yes);
    ASSERT_EQ(tabs().count(), 1);
    EXPECT_EQ(samplesOf(*tabs().currentProject()), samples);
}

TEST_F(SessionRecovery, UndoIsAnActionToo)
{
    begin();
    ASSERT_TRUE(tabs().parse(makeTone("tone.wav", 1)));
    const std::vector<float> before = samplesOf(*tabs().currentProject());
    const LayerPtr layer = firstLayer(tabs().currentProject());
    layer->insertTime({10, 5000}); // another file
    postEvent(nullptr, EventId::LayerContentUpdate, ILayerPtr(layer), nullptr);
    HistoryEntry entry;
    entry.name = QStringLiteral("Insert");
    postEvent(nullptr, EventId::HistoryRecord, entry, nullptr);
    ASSERT_EQ(m_history->undo(), History::Result::Done);
    ASSERT_EQ(samplesOf(*tabs().currentProject()), before);
    crash();
    startAgain(QMessageBox::Yes);
    ASSERT_EQ(tabs().count(), 1);
    EXPECT_EQ(samplesOf(*tabs().currentProject()), before);
}

TEST_F(SessionRecovery, ClosingARecoveredProjectDeletesItsFiles)
{
    begin();
    ASSERT_TRUE(tabs().parse(makeTone("tone.wav", 1)));
    edit(0.5f);
    const QString samples = QFileInfo(firstLayer(tabs().currentProject())->filePath()).fileName();
    crash();
    startAgain(QMessageBox::Yes);
    ASSERT_TRUE(tabs().close(0, true));
    m_window.reset();
    EXPECT_EQ(manifests(), QStringList());
    EXPECT_FALSE(names("*.pcm").contains(samples));
}

TEST_F(SessionRecovery, NoLeavesAllFilesInPlaceAndOffersThemAgain)
{
    begin();
    ASSERT_TRUE(tabs().parse(makeTone("tone.wav", 1)));
    edit(0.5f);
    const std::vector<float> samples = samplesOf(*tabs().currentProject());
    crash();
    const QStringList before = QDir(m_session).entryList(QDir::Files);
    startAgain(QMessageBox::No);
    EXPECT_EQ(tabs().count(), 0);
    EXPECT_EQ(sessionFiles(), before);
    startAgain(QMessageBox::Yes);
    ASSERT_EQ(tabs().count(), 1);
    EXPECT_EQ(samplesOf(*tabs().currentProject()), samples);
}

TEST_F(SessionRecovery, ResetClearsTheFolder)
{
    begin();
    ASSERT_TRUE(tabs().parse(makeTone("tone.wav", 1)));
    edit(0.5f);
    crash();
    writeSamples("mine.pcm");
    startAgain(QMessageBox::Reset);
    EXPECT_EQ(tabs().count(), 0);
    EXPECT_EQ(sessionFiles(), QStringList{QStringLiteral("mine.pcm")});
}

TEST_F(SessionRecovery, ADamagedManifestGetsItsBoxAndKeepsItsSamplesAndTheNextIsOpened)
{
    const QString samples = writeSamples("layer(aa).pcm");
    const QString damaged = writeManifest(1, {QStringLiteral("layer(aa).pcm")});
    QFile file(damaged);
    ASSERT_TRUE(file.open(QFile::ReadOnly));
    const QByteArray text = file.readAll();
    file.close();
    writeBytes(damaged, text.left(text.indexOf("<project") + 10));
    writeSamples("layer(bb).pcm");
    writeManifest(2, {QStringLiteral("layer(bb).pcm")});
    startAgain(QMessageBox::Yes);
    ASSERT_EQ(tabs().count(), 1);
    ASSERT_EQ(m_boxes.size(), 2u);
    EXPECT_EQ(m_boxes[1].title, QStringLiteral("Error Opening Project"));
    EXPECT_EQ(m_boxes[1].text, QStringLiteral("You can try recovering the project using the .pcm files"));
    EXPECT_TRUE(QFile::exists(damaged));
    EXPECT_TRUE(QFile::exists(samples));
    EXPECT_EQ(firstLayer(tabs().currentProject())->range().length, 100);
}

TEST_F(SessionRecovery, AManifestThatEndsInTheMidstOpensWhatIsWholeAndSaysSo)
{
    writeSamples("layer(aa).pcm");
    const QString damaged =
        writeManifest(1, {QStringLiteral("layer(aa).pcm"), QStringLiteral("layer(bb).pcm")});
    QFile file(damaged);
    ASSERT_TRUE(file.open(QFile::ReadOnly));
    const QByteArray text = file.readAll();
    file.close();
    writeBytes(damaged, text.left(text.lastIndexOf("<layer") + 20));
    startAgain(QMessageBox::Yes);
    ASSERT_EQ(tabs().count(), 1);
    EXPECT_EQ(boxesTitled(QStringLiteral("Error Reading File")), 1);
    EXPECT_EQ(tabs().currentProject()->layers()->children(ChildrenDirect).size(), 1);
    EXPECT_TRUE(tabs().currentProject()->modified);
}

TEST_F(SessionRecovery, AManifestOfAnotherVersionIsNotOffered)
{
    const QString name = writeManifest(1, {QString()});
    QFile file(name);
    ASSERT_TRUE(file.open(QFile::ReadWrite));
    QByteArray text = file.readAll();
    text.replace("Build ", "Build 9");
    ASSERT_TRUE(file.seek(0));
    file.write(text);
    file.close();
    startAgain(QMessageBox::Yes);
    EXPECT_TRUE(m_boxes.empty());
    EXPECT_TRUE(QFile::exists(name));
}

TEST_F(SessionRecovery, HostileSampleFilesGiveEmptyLayersAndAreLeftAlone)
{
    const QString outside = testsupport::makeFolder(QStringLiteral("victims"));
    writeBytes(outside + QStringLiteral("/layer(01).pcm"), QByteArray(400, 'v'));
    ASSERT_TRUE(QFile::link(outside + QStringLiteral("/layer(01).pcm"),
                            m_session + QStringLiteral("/layer(02).pcm")));
    ASSERT_EQ(mkfifo(QFile::encodeName(m_session + QStringLiteral("/layer(03).pcm")), 0600), 0);
    const QString twin = writeSamples("layer(04).pcm");
    ASSERT_EQ(link(QFile::encodeName(twin), QFile::encodeName(outside + QStringLiteral("/twin"))), 0);
    QStringList paths = {QStringLiteral("layer(02).pcm"),
                         QStringLiteral("layer(03).pcm"),
                         QStringLiteral("layer(04).pcm"),
                         outside + QStringLiteral("/layer(01).pcm"),
                         QStringLiteral("../") + QFileInfo(outside).fileName() +
                             QStringLiteral("/layer(01).pcm"),
                         QStringLiteral("/dev/zero"),
                         QStringLiteral("."),
                         QStringLiteral("../..")};
    if (geteuid() == 0) {
        ASSERT_EQ(chown(QFile::encodeName(writeSamples("layer(05).pcm")), 65534, 65534), 0);
        paths << QStringLiteral("layer(05).pcm");
    }
    writeManifest(1, paths);
    for (int i = 0; i < paths.size(); ++i)
        testsupport::expectWarning(QStringLiteral("sample file cannot be used"));
    QElapsedTimer timer;
    timer.start();
    startAgain(QMessageBox::Yes);
    EXPECT_LT(timer.elapsed(), 5000);
    ASSERT_EQ(tabs().count(), 1);
    const QList<ILayerPtr> layers = tabs().currentProject()->layers()->children(ChildrenDirect);
    EXPECT_EQ(layers.size(), paths.size());
    for (const ILayerPtr& layer : layers)
        EXPECT_TRUE(layer->isEmpty());
    EXPECT_EQ(boxesTitled(QStringLiteral("Error Reading File")), 1) << "told as damaged";
    ASSERT_TRUE(tabs().close(0, true));
    m_window.reset();
    QFile victim(outside + QStringLiteral("/layer(01).pcm"));
    ASSERT_TRUE(victim.open(QFile::ReadOnly));
    EXPECT_EQ(victim.readAll(), QByteArray(400, 'v'));
    EXPECT_TRUE(QFileInfo(m_session + QStringLiteral("/layer(02).pcm")).isSymLink());
    EXPECT_TRUE(QFile::exists(twin));
    EXPECT_EQ(names("layer(05).pcm").size(), geteuid() == 0 ? 1 : 0);
}

TEST_F(SessionRecovery, SamplesOfALiveSessionAreNotAdopted)
{
    const QString samples = writeSamples("layer(aa).pcm");
    writeManifest(1, {QStringLiteral("layer(aa).pcm")});
    const auto owner = SessionFile::adopt(m_session, samples);
    ASSERT_TRUE(owner);
    testsupport::expectWarning(QStringLiteral("the file is in use"));
    startAgain(QMessageBox::Yes);
    ASSERT_EQ(tabs().count(), 1);
    EXPECT_TRUE(firstLayer(tabs().currentProject())->isEmpty());
    EXPECT_EQ(boxesTitled(QStringLiteral("Error Reading File")), 1);
    ASSERT_TRUE(tabs().close(0, true));
    EXPECT_TRUE(QFile::exists(samples));
}

TEST_F(SessionRecovery, FilesOfTheCommandLineWaitForTheAnswer)
{
    writeSamples("layer(aa).pcm");
    writeManifest(1, {QStringLiteral("layer(aa).pcm")});
    queueFile(makeTone("tone.wav", 0.2));
    messages::setAnswerer([this](const messages::Box& box) {
        EXPECT_EQ(box.title, title);
        m_window->sessionImport(); // another launch, while the question stands
        QCoreApplication::processEvents();
        EXPECT_EQ(tabs().count(), 0);
        return QMessageBox::Yes;
    });
    m_window = std::make_unique<MainWindow>(false); // as at the start, before it is shown
    m_window->recoverSessions();
    EXPECT_TRUE(testsupport::waitFor([this] { return tabs().count() == 2; }));
    EXPECT_EQ(tabs().project(1)->name, QStringLiteral("tone.wav"));
}

TEST_F(SessionRecovery, AWindowThatGoesWithoutClosingLeavesItsWorkForTheNextStart)
{
    begin();
    ASSERT_TRUE(tabs().parse(makeTone("tone.wav", 1)));
    edit(0.5f);
    const std::vector<float> samples = samplesOf(*tabs().currentProject());
    m_history.reset();
    m_window.reset();
    const QVariant id = qApp->property("sessionid");
    qApp->setProperty("sessionid", QStringLiteral("Morvane next"));
    startAgain(QMessageBox::Yes);
    ASSERT_EQ(tabs().count(), 1);
    EXPECT_EQ(samplesOf(*tabs().currentProject()), samples);
    qApp->setProperty("sessionid", id);
}

} // namespace
