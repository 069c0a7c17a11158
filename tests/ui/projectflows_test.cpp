// New, open, import and what the menus offer, through real dialogs.
#include "ui/historypanel.h"
#include "ui/projectflowstest.h"
#include "ui/recentfiles.h"

#include <QFileDialog>
#include <QLineEdit>
#include <QListView>
#include <QListWidget>
#include <QMenu>
#include <QMenuBar>

namespace {

const auto* const environment = testing::AddGlobalTestEnvironment(new WindowEnvironment);

// --- new -------------------------------------------------------------------------------------------

TEST_F(ProjectFlows, NewProjectHasOneEmptyLayerAndShowsTheLengthAskedFor)
{
    newProject([](QDialog& dialog) {
        EXPECT_EQ(dialog.findChild<QDoubleSpinBox*>(QStringLiteral("formatlength"))->value(), 10);
        EXPECT_EQ(dialog.findChild<QDoubleSpinBox*>(QStringLiteral("formatrate"))->value(), 48000);
        EXPECT_EQ(combo(dialog, "formatconfiguration").currentText(), QStringLiteral("Mono"));
    });
    ASSERT_EQ(tabs().count(), 1);
    EXPECT_EQ(title(0), QStringLiteral("Untitled"));
    const ProjectPtr project = front();
    EXPECT_EQ(project->format(), (SamplingFormat{SampleTypeReal, 48000, ChannelsTypeAudio, 1, 4}));
    ASSERT_EQ(project->layers()->children(ChildrenDirect).size(), 1);
    const ILayerPtr layer = project->layers()->children(ChildrenDirect)[0];
    EXPECT_EQ(layer->name(), QStringLiteral("Layer"));
    EXPECT_TRUE(layer->isEmpty());
    EXPECT_EQ(project->activeLayer(), layer);
    EXPECT_EQ(project->display.displayArea, (Area{0, 0, 480000, 24000}));
    ASSERT_EQ(display().spectralChannels().size(), 1);
    EXPECT_EQ(display().spectralChannels()[0]->viewArea(), project->display.displayArea);
    EXPECT_FALSE(project->modified);
    EXPECT_TRUE(project->filePath().isEmpty());
    ASSERT_EQ(project->history().size(), 1);
    EXPECT_EQ(project->history()[0].name, QStringLiteral("New"));
    EXPECT_FALSE(project->history()[0].icon.isNull());
    EXPECT_EQ(sessionFiles().size(), 0);
}

TEST_F(ProjectFlows, SecondUntitledProjectGetsAHigherNumber)
{
    newProject();
    newProject();
    newProject();
    EXPECT_EQ(title(0), QStringLiteral("Untitled"));
    EXPECT_EQ(title(1), QStringLiteral("Untitled 2"));
    EXPECT_EQ(title(2), QStringLiteral("Untitled 3"));
    EXPECT_TRUE(tabs().close(1, true));
    newProject();
    EXPECT_EQ(title(2), QStringLiteral("Untitled 4"));
}

TEST_F(ProjectFlows, CancelOfTheNewProjectDialogOpensNothing)
{
    DialogScript script;
    script.on("New Project", [](QDialog& dialog) { DialogScript::press(dialog, "Cancel"); });
    EXPECT_FALSE(tabs().newProject());
    EXPECT_EQ(tabs().count(), 0);
}

TEST_F(ProjectFlows, ANewProjectWithChosenChannels)
{
    DialogScript script;
    script
        .on("New Project",
            [](QDialog& dialog) {
                QComboBox& box = combo(dialog, "formatconfiguration");
                box.setFocus();
                QTest::keyClick(&box, Qt::Key_End); // "Custom"
                DialogScript::press(dialog, "Create");
            })
        .on("Channel Mapping", [](QDialog& dialog) {
            auto* list = dialog.findChild<QListWidget*>();
            list->findItems(QStringLiteral("Low Frequency"), Qt::MatchExactly)[0]->setCheckState(Qt::Checked);
            DialogScript::press(dialog, "OK");
        });
    ASSERT_TRUE(tabs().newProject());
    EXPECT_EQ(front()->format().channels, 2);
    EXPECT_EQ(front()->format().channelsMask, 12u);
}

TEST_F(ProjectFlows, ANewProjectTakesWhatIsImportedIntoIt)
{
    newProject([](QDialog& dialog) { setRate(dialog, 16000); });
    m_chosen = makeTone("tone.wav", 2);
    action("fileimportLayer").trigger();
    EXPECT_EQ(front()->layers()->range(), (Range{0, 32000}));
    EXPECT_EQ(front()->display.displayArea, front()->wholeArea());
    EXPECT_EQ(title(0), QStringLiteral("Untitled *"));
}

// --- import ----------------------------------------------------------------------------------------

TEST_F(ProjectFlows, ImportAbove192kHzAsksAndResamplesToTheLimit)
{
    const QString file = makeTone("fast.wav", 0.5, 1, 1000, 0.5f, 384000);
    {
        DialogScript script;
        script.box("Cannot Import File",
                   QStringLiteral("The sample rate (384000) is unsupported.<br/>Resample ?"),
                   QMessageBox::No);
        EXPECT_FALSE(tabs().parse(file));
    }
    EXPECT_EQ(tabs().count(), 0);
    EXPECT_TRUE(display().spectralChannels().isEmpty());
    EXPECT_TRUE(testsupport::waitFor([this] { return sessionFiles().isEmpty(); }));
    DialogScript script;
    script.box("Cannot Import File",
               QStringLiteral("The sample rate (384000) is unsupported.<br/>Resample ?"), QMessageBox::Yes);
    ASSERT_TRUE(tabs().parse(file));
    EXPECT_EQ(front()->format().sampleRate, 192000);
    EXPECT_EQ(front()->layers()->range(), (Range{0, 96000}));
    // The tone is where it was: 1000 Hz of the same amplitude.
    const std::vector<float> samples = samplesOf(*front());
    for (std::size_t i = 20000; i < 20400; ++i)
        ASSERT_NEAR(samples[i], 0.5 * std::sin(2 * M_PI * 1000 * double(i) / 192000), 1e-4) << i;
}

TEST_F(ProjectFlows, ImportAboveTheLimitThenMeetsTheFormatOfTheProject)
{
    const ProjectPtr project = openTone("slow.wav", 1, 1, 48000);
    m_chosen = makeTone("fast.wav", 0.5, 1, 1000, 0.5f, 384000);
    DialogScript script;
    script
        .box("Cannot Import File", QStringLiteral("The sample rate (384000) is unsupported.<br/>Resample ?"),
             QMessageBox::Yes)
        .box(
            "Resample",
            QStringLiteral("The file format doesn't match the project format.\nResample to match the project "
                           "format ?"),
            QMessageBox::Yes);
    EXPECT_TRUE(tabs().importLayer());
    const QList<ILayerPtr> layers = project->layers()->children(ChildrenDirect);
    ASSERT_EQ(layers.size(), 2);
    EXPECT_EQ(layers[0]->format(), project->format());
    EXPECT_EQ(layers[0]->range(), (Range{0, 24000}));
}

TEST_F(ProjectFlows, TooManyChannelsAreRemixedAfterAQuestion)
{
    qApp->setProperty("maxchannels", 2);
    const QString file = makeTone("many.wav", 0.2, 4);
    DialogScript script;
    script.box("Cannot Import File", QStringLiteral("The number of channels (4) is unsupported.<br/>Remix ?"),
               QMessageBox::Yes);
    ASSERT_TRUE(tabs().parse(file));
    EXPECT_EQ(front()->format().channels, 2);
    EXPECT_EQ(front()->format().channelsMask, 3u);
    EXPECT_EQ(front()->layers()->range().length, 3200);
}

TEST_F(ProjectFlows, RateAndChannelsAboveTheLimitsAreOneQuestion)
{
    qApp->setProperty("maxchannels", 1);
    qApp->setProperty("maxsamplerate", 8000);
    const QString file = makeTone("much.wav", 0.2, 2);
    DialogScript script;
    script.box("Cannot Import File",
               QStringLiteral("The sample rate (16000) and number of channels (2) are unsupported.<br/>"
                              "Resample ?"),
               QMessageBox::Yes);
    ASSERT_TRUE(tabs().parse(file));
    EXPECT_EQ(front()->format(), (SamplingFormat{SampleTypeReal, 8000, ChannelsTypeAudio, 1, 4}));
    EXPECT_EQ(front()->layers()->range().length, 1600);
}

TEST_F(ProjectFlows, SeveralFilesAreImportedInOrderAsOneStep)
{
    const ProjectPtr project = openTone("first.wav");
    tabs().transportPositionEvent(EventId::TransportPositionChange, 800);
    m_several = QStringList{makeTone("b.wav", 0.5), makeTone("a.wav", 0.5), makeTone("c.wav", 0.5)};
    m_chosen = m_several.first();
    action("fileimportLayer").trigger();
    ASSERT_EQ(m_requests.size(), 1u);
    EXPECT_EQ(m_requests[0].title, QStringLiteral("Open Project"));
    EXPECT_TRUE(m_requests[0].several);
    QStringList names;
    for (const ILayerPtr& layer : project->layers()->children(ChildrenDirect))
        names << layer->name();
    // Each stands above the one before.
    EXPECT_EQ(names, (QStringList{QStringLiteral("c"), QStringLiteral("a"), QStringLiteral("b"),
                                  QStringLiteral("first")}));
    EXPECT_EQ(project->layers()->children(ChildrenDirect)[0]->range(), (Range{800, 8000}));
    EXPECT_EQ(title(0), QStringLiteral("first.wav *"));
}

TEST_F(ProjectFlows, OneUndoTakesAnImportOfSeveralFilesBack)
{
    const History& history = m_window->historyPanel().history();
    const ProjectPtr project = openTone("first.wav");
    m_several = QStringList{makeTone("b.wav", 0.5), makeTone("c.wav", 0.5)};
    ASSERT_TRUE(tabs().importLayer());
    ASSERT_EQ(history.states().size(), 2);
    EXPECT_EQ(history.states()[1].name, QStringLiteral("Import"));
    action("editundo").trigger();
    ASSERT_EQ(project->layers()->children(ChildrenDirect).size(), 1);
    EXPECT_EQ(project->layers()->children(ChildrenDirect)[0]->name(), QStringLiteral("first"));
    action("editredo").trigger();
    EXPECT_EQ(project->layers()->children(ChildrenDirect).size(), 3);
}

TEST_F(ProjectFlows, AProjectFileIsNotMergedButOpened)
{
    openTone("first.wav");
    saveTo("first.mvp");
    ASSERT_TRUE(tabs().close());
    openTone("second.wav");
    EXPECT_TRUE(tabs().parse(path("first.mvp"), 0, 1));
    EXPECT_EQ(tabs().count(), 2);
    EXPECT_EQ(title(1), QStringLiteral("first.mvp"));
}

TEST_F(ProjectFlows, AFileThatFailsDoesNotKeepTheOthersOut)
{
    const ProjectPtr project = openTone("first.wav");
    QFile bad(path("bad.wav"));
    ASSERT_TRUE(bad.open(QIODevice::WriteOnly));
    bad.close();
    m_several = QStringList{makeTone("b.wav", 0.5), bad.fileName(), makeTone("c.wav", 0.5)};
    DialogScript script;
    script.box("Error Reading File", QStringLiteral("The file you selected contains no data."),
               QMessageBox::Ok, bad.fileName());
    EXPECT_TRUE(tabs().importLayer());
    EXPECT_EQ(project->layers()->children(ChildrenDirect).size(), 3);
}

TEST_F(ProjectFlows, AFileDialogForSeveralAnswersInTheOrderThatItShows)
{
    const ProjectPtr project = openTone("z.wav");
    makeTone("one.wav", 0.1);
    makeTone("two.wav", 0.1);
    makeTone("three.wav", 0.1);
    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    filechooser::setChooser({});
    UserSettings().setValue(QStringLiteral("lastfolder"), m_folder);
    DialogScript script;
    script.on("Open Project", [](QDialog& dialog) {
        auto* name = dialog.findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
        ASSERT_NE(name, nullptr);
        auto* view = dialog.findChild<QListView*>(QStringLiteral("listView"));
        ASSERT_TRUE(testsupport::waitFor([view] { return view->model()->rowCount(view->rootIndex()) >= 4; }));
        // Clicked in another order than the list has.
        for (const char* clicked : {"two.wav", "one.wav", "three.wav"}) {
            for (int row = 0; row < view->model()->rowCount(view->rootIndex()); ++row) {
                const QModelIndex index = view->model()->index(row, 0, view->rootIndex());
                if (index.data().toString() != QLatin1String(clicked))
                    continue;
                view->scrollTo(index);
                QTest::mouseClick(view->viewport(), Qt::LeftButton, Qt::ControlModifier,
                                  view->visualRect(index).center());
            }
        }
        DialogScript::press(dialog, "Open");
    });
    EXPECT_TRUE(tabs().importLayer());
    QStringList names;
    for (const ILayerPtr& layer : project->layers()->children(ChildrenDirect))
        names.prepend(layer->name());
    EXPECT_EQ(names, (QStringList{QStringLiteral("z"), QStringLiteral("one"), QStringLiteral("three"),
                                  QStringLiteral("two")}));
}

// --- open ------------------------------------------------------------------------------------------

TEST_F(ProjectFlows, TheOpenDialogOffersProjectsAndRecordings)
{
    EXPECT_FALSE(tabs().open());
    ASSERT_EQ(m_requests.size(), 1u);
    EXPECT_EQ(m_requests[0].title, QStringLiteral("Open Project"));
    ASSERT_GE(m_requests[0].filters.size(), 3);
    EXPECT_TRUE(m_requests[0].filters[0].startsWith(QStringLiteral("All Supported Formats (*.mvp *.mvx ")));
    EXPECT_EQ(m_requests[0].filters[1], QStringLiteral("Morvane Project (*.mvp *.mvx)"));
}

TEST_F(ProjectFlows, ASuffixThatNobodyReadsHasItsWordsInTheDialogAndByName)
{
    QFile file(path("notes.xyz"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("hello");
    file.close();
    m_chosen = file.fileName();
    {
        DialogScript script;
        script.box("Unsupported Format",
                   QStringLiteral("The file you selected could not be read (unsupported format)."),
                   QMessageBox::Ok, file.fileName());
        EXPECT_FALSE(tabs().open());
    }
    DialogScript script;
    script.box("Unsupported Extension", QStringLiteral("The file you selected is not supported."),
               QMessageBox::Ok, file.fileName());
    EXPECT_FALSE(tabs().parse(file.fileName()));
    EXPECT_EQ(tabs().count(), 0);
}

TEST_F(ProjectFlows, AFileOfARateOfZeroHasItsWords)
{
    QByteArray bytes = bytesOf(makeTone("zero.wav", 0.1));
    bytes.replace(24, 4, QByteArray(4, '\0'));
    QFile file(path("zero.wav"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(bytes);
    file.close();
    DialogScript script;
    script.box("Error Reading File",
               QStringLiteral("The file you selected could not be properly read (invalid sampling format)."),
               QMessageBox::Ok);
    EXPECT_FALSE(tabs().parse(file.fileName()));
}

TEST_F(ProjectFlows, ReplaceAsksAndNoKeepsTheProject)
{
    const QString file = makeTone("again.wav", 1);
    ASSERT_TRUE(tabs().parse(file));
    const ProjectPtr project = front();
    DialogScript script;
    script.box("Replace Project", QStringLiteral("Replace with new data from again.wav ?"), QMessageBox::No);
    EXPECT_FALSE(tabs().parse(file, 0, 2));
    EXPECT_EQ(front(), project);
}

// --- recent files ----------------------------------------------------------------------------------

TEST_F(ProjectFlows, RecentFilesAreListedNewestFirstAndOpenAgain)
{
    QMenu* menu = m_window->recentFiles().menu();
    EXPECT_FALSE(menu->menuAction()->isEnabled());
    qApp->setProperty("recentprojects", 2);
    openTone("a.wav");
    openTone("b & c.wav");
    openTone("a.wav");
    saveTo("d.mvp");
    ASSERT_EQ(menu->actions().size(), 2);
    EXPECT_EQ(menu->actions()[0]->text(), QStringLiteral("&1 d.mvp"));
    EXPECT_EQ(menu->actions()[1]->text(), QStringLiteral("&2 a.wav"));
    EXPECT_EQ(UserSettings().value(QStringLiteral("recentfilelist")).toStringList(),
              (QStringList{path("d.mvp"), path("a.wav")}));
    while (tabs().count() > 0)
        tabs().close(0, true);
    menu->actions()[0]->trigger();
    ASSERT_EQ(tabs().count(), 1);
    EXPECT_EQ(title(0), QStringLiteral("d.mvp"));
    qApp->setProperty("recentprojects", 8);
    openTone("b & c.wav");
    EXPECT_EQ(menu->actions()[0]->text(), QStringLiteral("&1 b && c.wav"));
}

// --- menus -----------------------------------------------------------------------------------------

TEST_F(ProjectFlows, EveryCommandStandsInItsMenuInOrder)
{
    const auto entries = [this](const char* title) {
        QStringList list;
        for (QAction* entry : m_window->menuBar()->actions())
            if (entry->text() == QLatin1String(title))
                for (QAction* row : entry->menu()->actions())
                    list << (row->isSeparator() ? QStringLiteral("-") : row->text());
        return list;
    };
    EXPECT_EQ(entries("&File").join(QLatin1Char('|')).toStdString(),
              "&New Project...|&Open...|Open &Recent|-|&Close Project|Close All|-|&Save Project|"
              "Save Project &As...|-|&Import Layer Audio...|&Export Project Audio...|&Replace Project Audio|"
              "Export &Picture...|-|E&xit");
    EXPECT_EQ(entries("Pro&ject").join(QLatin1Char('|')).toStdString(),
              "&Duplicate|-|Insert Time...|Delete Time...|Crop Time...|&Reformat...");
    EXPECT_EQ(entries("&Layer").join(QLatin1Char('|')).toStdString(),
              "&New Layer|New &Group|-|&Duplicate|Duplicate &To...|Delete|&Rename...|-|&Group|&Ungroup|"
              "&Merge Down|Merge &Visible|Merge &All");
    EXPECT_EQ(action("filenew").shortcut(), QKeySequence(QKeySequence::New));
    EXPECT_EQ(action("filesave").shortcut(), QKeySequence(QKeySequence::Save));
    for (const char* id : {"filesave", "filesaveas", "projectduplicate", "projectformat", "layerduplicateto"})
        EXPECT_FALSE(action(id).isEnabled()) << id;
    openTone("tone.wav");
    for (const char* id : {"filesave", "filesaveas", "projectduplicate", "projectformat", "layerduplicateto"})
        EXPECT_TRUE(action(id).isEnabled()) << id;
}

TEST_F(ProjectFlows, CommandsWithoutAProjectDoNothing)
{
    DialogScript script;
    EXPECT_FALSE(tabs().save());
    EXPECT_FALSE(tabs().saveAs());
    EXPECT_FALSE(tabs().changeFormat());
    EXPECT_FALSE(tabs().duplicateProject());
    EXPECT_FALSE(tabs().duplicateTo());
    EXPECT_FALSE(tabs().exportProject());
    EXPECT_FALSE(tabs().exportProjectBack());
    EXPECT_FALSE(tabs().importLayer());
    EXPECT_FALSE(tabs().close());
    EXPECT_TRUE(tabs().closeAll());
    EXPECT_FALSE(tabs().isBusy());
}

TEST_F(ProjectFlows, FilesThatArriveDuringADialogAreOpenedBehindIt)
{
    const QString late = makeTone("late.wav", 0.2);
    DialogScript script;
    script.on("New Project", [&](QDialog& dialog) {
        queueFile(late);
        m_window->sessionImport();
        EXPECT_EQ(tabs().count(), 0);
        EXPECT_TRUE(tabs().isBusy());
        DialogScript::press(dialog, "Create");
    });
    ASSERT_TRUE(tabs().newProject());
    ASSERT_TRUE(testsupport::waitFor([this] { return tabs().count() == 2; }));
    EXPECT_EQ(title(0), QStringLiteral("Untitled"));
    EXPECT_EQ(title(1), QStringLiteral("late.wav"));
}

} // namespace
