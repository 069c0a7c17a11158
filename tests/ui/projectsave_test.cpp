// Save, close and export, through real dialogs.
#include "projectfiles/loadprogress.h"
#include "ui/projectflowstest.h"

#include <QAction>

#include <sys/resource.h>

#include <csignal>

namespace {

const auto* const environment = testing::AddGlobalTestEnvironment(new WindowEnvironment);

// --- save ------------------------------------------------------------------------------------------

TEST_F(ProjectFlows, SaveAsksForANameOnceAndThenWritesThere)
{
    const ProjectPtr project = openTone("tone.wav");
    edit();
    EXPECT_EQ(title(0), QStringLiteral("tone.wav *"));
    m_chosen = path("mine.mvp");
    action("filesave").trigger();
    ASSERT_EQ(m_requests.size(), 1u);
    EXPECT_EQ(m_requests[0].title, QStringLiteral("Save Project"));
    EXPECT_TRUE(m_requests[0].save);
    EXPECT_EQ(m_requests[0].filters, (QStringList{QStringLiteral("Morvane Project (*.mvp)"),
                                                  QStringLiteral("Morvane Project (*.mvx)")}));
    EXPECT_TRUE(m_requests[0].path.endsWith(QStringLiteral("tone.mvp"))) << m_requests[0].path.toStdString();
    EXPECT_EQ(title(0), QStringLiteral("mine.mvp"));
    EXPECT_FALSE(project->modified);
    EXPECT_EQ(project->filePath(), path("mine.mvp"));
    EXPECT_TRUE(m_window->windowTitle().startsWith(QStringLiteral("mine.mvp")));
    EXPECT_TRUE(bytesOf(path("mine.mvp")).startsWith("MVP02"));

    edit(0.25f);
    action("filesave").trigger();
    EXPECT_EQ(m_requests.size(), 1u);
    EXPECT_FALSE(project->modified);
    const std::vector<float> expected = samplesOf(*project);
    ASSERT_TRUE(tabs().close());
    ASSERT_TRUE(tabs().parse(path("mine.mvp")));
    EXPECT_EQ(samplesOf(*front()), expected);
    EXPECT_EQ(front()->history()[0].name, QStringLiteral("Open"));
    EXPECT_FALSE(front()->modified);
    EXPECT_EQ(front()->filePath(), path("mine.mvp"));
}

TEST_F(ProjectFlows, BothFormsComeBackByOpen)
{
    for (const char* name : {"form.mvp", "form.MVX"}) {
        ProjectPtr project = openTone("tone.wav", 0.5, 2);
        project->setMarkerList({{1, 100, 50, "here"}});
        project->metadata.insert(QStringLiteral("INAM"), QStringLiteral("Ton \u00e9"));
        const std::vector<float> expected = samplesOf(*project);
        saveTo(name);
        EXPECT_EQ(project->filePath(), path(name));
        ASSERT_TRUE(tabs().close());
        m_chosen = path(name);
        ASSERT_TRUE(tabs().open());
        project = front();
        EXPECT_EQ(title(0), QLatin1String(name));
        EXPECT_EQ(project->filePath(), path(name));
        EXPECT_EQ(samplesOf(*project), expected);
        EXPECT_EQ(project->markerList(), (MarkerList{{1, 100, 50, "here"}}));
        EXPECT_EQ(project->metadata.value(QStringLiteral("INAM")), QStringLiteral("Ton \u00e9"));
        EXPECT_NE(project->activeLayer(), nullptr);
        EXPECT_TRUE(project->activeLayer()->hasBackup());
        ASSERT_TRUE(tabs().close());
    }
}

TEST_F(ProjectFlows, ANameWithoutTheSuffixGetsThatOfTheFilter)
{
    openTone("tone.wav");
    m_chosen = path("a song.take 2");
    filechooser::setChooser([this](const filechooser::Request& request) {
        return filechooser::Choice{m_chosen, request.filters.value(1)};
    });
    ASSERT_TRUE(tabs().saveAs());
    EXPECT_TRUE(QFile::exists(path("a song.take 2.mvx")));
    EXPECT_FALSE(QFileInfo(m_chosen).isFile()); // a folder for the samples
    // The dialog has not asked about that name.
    DialogScript script;
    script.box("Save Project",
               QStringLiteral("a song.take 2.mvx already exists.\nDo you want to replace it ?"),
               QMessageBox::No);
    EXPECT_FALSE(tabs().saveAs());
}

TEST_F(ProjectFlows, AFailedSaveKeepsTheOldFileAndTheMark)
{
    const ProjectPtr project = openTone("tone.wav", 20);
    saveTo("mine.mvp");
    const QByteArray before = bytesOf(path("mine.mvp"));
    edit();
    // As a disk without room: no file may grow beyond half of the project.
    rlimit old{};
    ::getrlimit(RLIMIT_FSIZE, &old);
    rlimit small = old;
    small.rlim_cur = rlim_t(before.size() / 2);
    ::signal(SIGXFSZ, SIG_IGN);
    ::setrlimit(RLIMIT_FSIZE, &small);
    {
        DialogScript script;
        script.box("Error Writing File", QStringLiteral("The file you selected could not be written."),
                   QMessageBox::Ok, path("mine.mvp"));
        EXPECT_FALSE(tabs().save());
    }
    ::setrlimit(RLIMIT_FSIZE, &old);
    EXPECT_EQ(bytesOf(path("mine.mvp")), before);
    EXPECT_TRUE(project->modified);
    EXPECT_EQ(title(0), QStringLiteral("mine.mvp *"));
    EXPECT_EQ(QDir(m_folder).entryList(QDir::Files | QDir::Hidden).size(), 2);
    // And it can be saved elsewhere.
    saveTo("other.mvp");
    EXPECT_FALSE(project->modified);
}

TEST_F(ProjectFlows, AFailedSaveAsKeepsThePathOfBefore)
{
    const ProjectPtr project = openTone("tone.wav");
    saveTo("mine.mvp");
    project->modified = true;
    for (const char* form : {"mvp", "mvx"}) {
        m_chosen = m_folder + QStringLiteral("/no/such/folder/x.") + QLatin1String(form);
        DialogScript script;
        script.box("Error Writing File", QStringLiteral("The file you selected could not be written."),
                   QMessageBox::Ok, QStringLiteral("/no/such/folder"));
        EXPECT_FALSE(tabs().saveAs());
        EXPECT_EQ(project->filePath(), path("mine.mvp"));
        EXPECT_EQ(project->name, QStringLiteral("mine.mvp"));
        EXPECT_TRUE(project->modified);
    }
}

// Presses Cancel of the first progress dialog with these words.
class CancelProgress
{
public:
    explicit CancelProgress(const char* words)
    {
        QObject::connect(&m_timer, &QTimer::timeout, [this, words] {
            for (QWidget* widget : QApplication::topLevelWidgets()) {
                auto* box = qobject_cast<QProgressDialog*>(widget);
                if (m_pressed || !box || !box->isVisible() || !box->windowHandle()->isExposed())
                    continue;
                EXPECT_EQ(box->labelText(), QLatin1String(words));
                m_pressed = true;
                box->findChild<QPushButton*>()->click();
            }
        });
        m_timer.start(1);
    }
    [[nodiscard]] bool isPressed() const { return m_pressed; }

private:
    QTimer m_timer;
    bool m_pressed = false;
};

TEST_F(ProjectFlows, ALongSaveAndALongOpenShowProgressAndCanBeCancelled)
{
    ProjectPtr project = openTone("tone.wav");
    saveTo("mine.mvp");
    const QByteArray before = bytesOf(path("mine.mvp"));
    // The box comes at once, and 240 MB last long enough for it to look for events.
    LoadProgress::patience = 0;
    project->activeLayer()->setRange({0, 60'000'000});
    ASSERT_EQ(project->layers()->range().length, 60'000'000);
    project->modified = true;
    DialogScript script; // no box after a cancel
    {
        const CancelProgress cancel("Saving...");
        EXPECT_FALSE(tabs().save());
        EXPECT_TRUE(cancel.isPressed());
    }
    EXPECT_TRUE(bytesOf(path("mine.mvp")) == before);
    EXPECT_TRUE(project->modified);
    EXPECT_EQ(QDir(m_folder).entryList(QDir::Files | QDir::Hidden).size(), 2);
    ASSERT_TRUE(tabs().save());
    project.reset();
    ASSERT_TRUE(tabs().close());
    ASSERT_TRUE(testsupport::waitFor([this] { return sessionFiles().isEmpty(); }));
    {
        const CancelProgress cancel("Opening...");
        EXPECT_FALSE(tabs().parse(path("mine.mvp")));
        EXPECT_TRUE(cancel.isPressed());
    }
    EXPECT_EQ(tabs().count(), 0);
    EXPECT_TRUE(testsupport::waitFor([this] { return sessionFiles().isEmpty(); }))
        << sessionFiles().join(QLatin1Char(' ')).toStdString();
    LoadProgress::patience = 250;
}

TEST_F(ProjectFlows, ADamagedProjectOpensWithAWarningAndIsNeverSavedOverItsFile)
{
    openTone("tone.wav", 1);
    saveTo("mine.mvp");
    ASSERT_TRUE(tabs().close());
    const QByteArray cut = bytesOf(path("mine.mvp")).chopped(1000);
    QFile file(path("mine.mvp"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(cut);
    file.close();
    DialogScript script;
    script.box("Error Reading File", QStringLiteral("The file you selected is damaged."), QMessageBox::Ok,
               path("mine.mvp"));
    ASSERT_TRUE(tabs().parse(path("mine.mvp")));
    EXPECT_TRUE(front()->modified);
    EXPECT_TRUE(front()->filePath().isEmpty());
    EXPECT_EQ(title(0), QStringLiteral("mine.mvp *"));
    m_chosen.clear();
    EXPECT_FALSE(tabs().save()); // asks for a name, and is told none
    EXPECT_EQ(m_requests.back().title, QStringLiteral("Save Project"));
    EXPECT_EQ(bytesOf(path("mine.mvp")), cut);
}

TEST_F(ProjectFlows, FilesThatAreNoProjectsAreRefusedWithTheirWords)
{
    const struct
    {
        const char* name;
        const char* bytes;
        const char* title;
        const char* text;
    } rows[] = {
        {"old.mvp", "MVP01....", "Unsupported",
         "Obsolete encoding. Try resaving your project with an older version."},
        {"oldest.mvp", "MVP00....", "Unsupported",
         "Obsolete encoding. Try resaving your project with an older version."},
        {"other.mvp", "RIFF.....", "Unsupported", "Unsupported file format."},
        {"bad.mvx", "<html/>", "Error Opening Project",
         "You can try recovering the project using the .pcm files"},
    };
    for (const auto& row : rows) {
        QFile file(path(row.name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(row.bytes);
        file.close();
        DialogScript script;
        script.box(row.title, QString::fromLatin1(row.text), QMessageBox::Ok, file.fileName());
        EXPECT_FALSE(tabs().parse(file.fileName())) << row.name;
        EXPECT_EQ(tabs().count(), 0);
        EXPECT_TRUE(sessionFiles().isEmpty());
    }
}

// --- close -----------------------------------------------------------------------------------------

TEST_F(ProjectFlows, CloseWithForceAsksNothing)
{
    openTone("tone.wav");
    edit();
    DialogScript script; // and expects none
    EXPECT_TRUE(tabs().close(0, true));
    EXPECT_EQ(tabs().count(), 0);
    EXPECT_TRUE(testsupport::waitFor([this] { return sessionFiles().isEmpty(); }));
}

TEST_F(ProjectFlows, CloseOfAnUnmodifiedProjectAsksNothing)
{
    openTone("tone.wav");
    DialogScript script;
    EXPECT_TRUE(tabs().close());
}

TEST_F(ProjectFlows, CloseAsksAboutUnsavedWork)
{
    const ProjectPtr project = openTone("tone.wav");
    saveTo("mine.mvp");
    const QByteArray before = bytesOf(path("mine.mvp"));
    edit();
    const QString question = QStringLiteral("Save mine.mvp ?");
    {
        DialogScript script;
        script.box("Close Project", question, QMessageBox::Cancel);
        EXPECT_FALSE(tabs().close());
    }
    EXPECT_EQ(front(), project);
    {
        // Escape is Cancel.
        DialogScript script;
        script.on("Close Project", [](QDialog& dialog) { QTest::keyClick(&dialog, Qt::Key_Escape); });
        EXPECT_FALSE(tabs().close());
    }
    EXPECT_TRUE(project->modified);
    {
        DialogScript script;
        script.box("Close Project", question, QMessageBox::Yes);
        EXPECT_TRUE(tabs().close());
    }
    EXPECT_EQ(tabs().count(), 0);
    EXPECT_NE(bytesOf(path("mine.mvp")), before);

    ASSERT_TRUE(tabs().parse(path("mine.mvp")));
    const QByteArray saved = bytesOf(path("mine.mvp"));
    edit(0.125f);
    DialogScript script;
    script.box("Close Project", question, QMessageBox::No);
    EXPECT_TRUE(tabs().close());
    EXPECT_EQ(bytesOf(path("mine.mvp")), saved);
}

TEST_F(ProjectFlows, ASaveThatFailsOrIsCancelledKeepsTheTab)
{
    openTone("tone.wav");
    edit();
    m_chosen.clear(); // the save dialog is cancelled
    DialogScript script;
    script.box("Close Project", QStringLiteral("Save tone.wav ?"), QMessageBox::Yes);
    EXPECT_FALSE(tabs().close());
    EXPECT_EQ(tabs().count(), 1);
    EXPECT_TRUE(front()->modified);
}

TEST_F(ProjectFlows, TheWindowAsksForEachModifiedProjectAndACancelKeepsAll)
{
    openTone("a.wav");
    edit();
    openTone("b.wav"); // not modified
    openTone("c.wav");
    edit();
    {
        DialogScript script;
        script.box("Close Project", QStringLiteral("Save a.wav ?"), QMessageBox::No)
            .on("Close Project", [this](QDialog& dialog) {
                EXPECT_EQ(front()->name, QStringLiteral("c.wav")); // the one asked about is in front
                EXPECT_EQ(qobject_cast<QMessageBox*>(&dialog)->text(), QStringLiteral("Save c.wav ?"));
                DialogScript::press(dialog, "Cancel");
            });
        EXPECT_FALSE(m_window->close());
    }
    EXPECT_TRUE(m_window->isVisible());
    EXPECT_EQ(tabs().count(), 3);
    m_chosen = path("saved.mvp");
    DialogScript script;
    script.box("Close Project", QStringLiteral("Save a.wav ?"), QMessageBox::Yes)
        .box("Close Project", QStringLiteral("Save c.wav ?"), QMessageBox::No);
    EXPECT_TRUE(m_window->close());
    EXPECT_EQ(tabs().count(), 0);
    EXPECT_TRUE(QFile::exists(path("saved.mvp")));
}

TEST_F(ProjectFlows, TheCloseButtonOfATabAsksToo)
{
    openTone("tone.wav");
    edit();
    DialogScript script;
    script.box("Close Project", QStringLiteral("Save tone.wav ?"), QMessageBox::Cancel);
    QTest::mouseClick(tabs().tabButton(0, QTabBar::RightSide), Qt::LeftButton);
    EXPECT_EQ(tabs().count(), 1);
}

// --- export ----------------------------------------------------------------------------------------

TEST_F(ProjectFlows, ExportOfNothingSaysSo)
{
    newProject();
    DialogScript script;
    script.box("Nothing to export", QStringLiteral("No data to export."), QMessageBox::Ok);
    EXPECT_FALSE(tabs().exportProject());
    EXPECT_TRUE(m_requests.empty());
}

TEST_F(ProjectFlows, ExportFailuresHaveTheirWords)
{
    openTone("tone.wav");
    DialogScript script;
    script
        .box("Unsupported Extension", QStringLiteral("The export format is not supported."), QMessageBox::Ok,
             path("out.xyz"))
        .box("Error Writing File", QStringLiteral("The file you selected could not be written."),
             QMessageBox::Ok, QStringLiteral("/no/such/out.wav"));
    m_chosen = path("out.xyz");
    EXPECT_FALSE(tabs().exportProject());
    m_chosen = m_folder + QStringLiteral("/no/such/out.wav");
    EXPECT_FALSE(tabs().exportProject());
    EXPECT_FALSE(action("fileexportback").isEnabled());
}

TEST_F(ProjectFlows, ReplaceWritesToTheFileOfTheLastExportWithoutADialog)
{
    EXPECT_FALSE(action("fileexportback").isEnabled());
    EXPECT_EQ(action("fileexportback").text(), QStringLiteral("&Replace Project Audio"));
    const ProjectPtr project = openTone("tone.wav");
    EXPECT_FALSE(action("fileexportback").isEnabled());
    m_chosen = path("mix & match.wav");
    ASSERT_TRUE(tabs().exportProject());
    EXPECT_TRUE(action("fileexportback").isEnabled());
    EXPECT_EQ(action("fileexportback").text(), QStringLiteral("&Replace Project mix && match.wav"));
    edit();
    const QByteArray before = bytesOf(m_chosen);
    action("fileexportback").trigger();
    EXPECT_EQ(m_requests.size(), 1u);
    EXPECT_NE(bytesOf(m_chosen), before);
    EXPECT_TRUE(project->modified); // the project itself is not saved by that
    // Each project has its own.
    openTone("other.wav");
    EXPECT_FALSE(action("fileexportback").isEnabled());
    tabs().setCurrentIndex(0);
    EXPECT_TRUE(action("fileexportback").isEnabled());
}

TEST_F(ProjectFlows, ARecordingOfAnotherProgramGoesBackThere)
{
    const QString file = makeTone("take.wav", 0.5);
    ASSERT_TRUE(tabs().parse(file, 0, 0, QStringLiteral("Sequencer"), QStringLiteral("socket")));
    EXPECT_TRUE(action("fileexportback").isEnabled());
    EXPECT_EQ(action("fileexportback").text(), QStringLiteral("&Replace Project Sequencer"));
    edit();
    const std::vector<float> expected = samplesOf(*front());
    const QString question = QStringLiteral("Update Sequencer File ?");
    {
        DialogScript script;
        script.box("Close Project", question, QMessageBox::Cancel);
        EXPECT_FALSE(tabs().close());
    }
    DialogScript script;
    script.box("Close Project", question, QMessageBox::Yes);
    EXPECT_TRUE(tabs().close());
    EXPECT_TRUE(m_requests.empty());
    ASSERT_TRUE(tabs().parse(file));
    const std::vector<float> samples = samplesOf(*front());
    ASSERT_EQ(samples.size(), expected.size());
    for (std::size_t i = 0; i < samples.size(); ++i)
        ASSERT_NEAR(samples[i], expected[i], 1.0 / 32000) << i;
}

TEST_F(ProjectFlows, AFileOfTheCommandLineIsTheUsersOwn)
{
    const QString file = makeTone("take.wav", 0.5);
    ASSERT_TRUE(tabs().parse(file, 0, 0, QStringLiteral("take.wav")));
    EXPECT_FALSE(action("fileexportback").isEnabled());
    edit();
    DialogScript script;
    script.box("Close Project", QStringLiteral("Save take.wav ?"), QMessageBox::No);
    EXPECT_TRUE(tabs().close());
}

// --- marks of recordings ---------------------------------------------------------------------------

TEST_F(ProjectFlows, MarkersRegionsAndTagsOfWavFilesSurviveSaveOpenAndExport)
{
    if (testsupport::recordingsFolder().isEmpty())
        GTEST_SKIP() << "MORVANE_RECORDINGS names no folder";
    qApp->setProperty("maxsamplerate", 1e7); // radio signals stay as they are
    messages::setAnswerer([this](const messages::Box& box) {
        m_boxes.push_back(box);
        return box.defaultButton;
    });
    int withChunks = 0;
    for (const QString& file : testsupport::recordings()) {
        if (!file.endsWith(QStringLiteral(".wav")))
            continue;
        ASSERT_TRUE(tabs().parse(file)) << file.toStdString();
        const MarkerList markers = front()->markerList();
        const MetaDataList tags = front()->metadata;
        const std::vector<float> samples = samplesOf(*front());
        const auto expectSame = [&](const char* when) {
            EXPECT_EQ(front()->markerList(), markers) << when << ' ' << file.toStdString();
            EXPECT_EQ(front()->metadata, tags) << when << ' ' << file.toStdString();
            EXPECT_TRUE(samplesOf(*front()) == samples) << when << ' ' << file.toStdString();
        };
        if (!markers.isEmpty() || !tags.isEmpty())
            ++withChunks;
        for (const char* name : {"marks.mvp", "marks.mvx"}) {
            saveTo(name);
            ASSERT_TRUE(tabs().close());
            ASSERT_TRUE(tabs().parse(path(name)));
            expectSame(name);
        }
        m_chosen = path("marks.wav");
        filechooser::setChooser([this](const filechooser::Request& request) {
            for (const QString& filter : request.filters)
                if (filter.contains(QStringLiteral("float"), Qt::CaseInsensitive))
                    return filechooser::Choice{m_chosen, filter};
            return filechooser::Choice{m_chosen, request.filters.value(0)};
        });
        ASSERT_TRUE(tabs().exportProject());
        ASSERT_TRUE(tabs().close(0, true));
        ASSERT_TRUE(tabs().parse(path("marks.wav")));
        expectSame("export");
        ASSERT_TRUE(tabs().close(0, true));
    }
    EXPECT_GE(withChunks, 3);
    EXPECT_TRUE(m_boxes.empty()) << m_boxes.front().text.toStdString();
}

} // namespace
