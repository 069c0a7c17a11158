// Changes of format and copies, through real dialogs.
#include "projectfiles/duplicateto.h"
#include "ui/dialogscript.h"
#include "ui/historypanel.h"
#include "ui/projectflowstest.h"

#include <QLabel>
#include <QListView>
#include <QListWidget>
#include <QTableView>

#include <sys/resource.h>

#include <csignal>
#include <utility>

namespace {

const auto* const environment = testing::AddGlobalTestEnvironment(new WindowEnvironment);

const QString sureQuestion = QStringLiteral("Are you sure (you can't undo this action) ?");
constexpr SamplingFormat mono16{SampleTypeReal, 16000, ChannelsTypeAudio, 1, 4};

// --- change of format ------------------------------------------------------------------------------

// Accepts the first dialog of Reformat after `change`.
void reformat(DialogScript& script, std::function<void(QDialog&)> change)
{
    script.on("Change Format", [change = std::move(change)](QDialog& dialog) {
        change(dialog);
        DialogScript::press(dialog, "Format");
    });
}

TEST_F(ProjectFlows, ChangeFormatResamplesEveryLayerAndStartsTheHistoryAnew)
{
    const ProjectPtr project = openTone("tone.wav", 1);
    m_chosen = makeTone("second.wav", 0.5);
    tabs().transportPositionEvent(EventId::TransportPositionChange, 4000);
    ASSERT_TRUE(tabs().importLayer());
    project->setMarkerList({{1, 1600, 160, "m"}});
    project->setSpectralMarkerList({{1600, 500, 100, 50, "s"}});
    project->setDisplayArea({1600, 0, 3200, 8000});
    int stops = 0;
    QObject::connect(&tabs(), &ProjectTabs::transportStopRequested, [&stops] { ++stops; });
    DialogScript script;
    reformat(script, [](QDialog& dialog) { setRate(dialog, 32000); });
    script.box("Format Change", sureQuestion, QMessageBox::Yes);
    action("projectformat").trigger();
    EXPECT_EQ(stops, 1);
    EXPECT_EQ(project->format().sampleRate, 32000);
    const QList<ILayerPtr> layers = project->layers()->children(ChildrenDirect);
    ASSERT_EQ(layers.size(), 2);
    EXPECT_EQ(layers[0]->range(), (Range{8000, 16000}));
    EXPECT_EQ(layers[1]->range(), (Range{0, 32000}));
    EXPECT_EQ(project->position(), 8000);
    EXPECT_EQ(project->markerList(), (MarkerList{{1, 3200, 320, "m"}}));
    EXPECT_EQ(project->spectralMarkerList(), (SpectralMarkerList{{3200, 500, 200, 50, "s"}}));
    EXPECT_EQ(project->display.displayArea, (Area{3200, 0, 6400, 16000}));
    EXPECT_EQ(display().spectralChannels()[0]->viewArea(), project->display.displayArea);
    EXPECT_EQ(display().spectralChannels()[0]->convert().format.sampleRate, 32000);
    ASSERT_EQ(project->history().size(), 1);
    EXPECT_EQ(project->history()[0].name, QStringLiteral("Format Change"));
    EXPECT_TRUE(project->modified);
    EXPECT_EQ(title(0), QStringLiteral("tone.wav *"));
    EXPECT_TRUE(tabs().tabToolTip(0).contains(QStringLiteral("32000 Hz")));
    std::vector<float> samples(400);
    layers[1]->read(samples.data(), {6000, 400}, -1, true);
    for (int i = 0; i < 400; ++i)
        ASSERT_NEAR(samples[std::size_t(i)], 0.1 * std::sin(2 * M_PI * 1000 * (6000 + i) / 32000), 1e-4) << i;
}

TEST_F(ProjectFlows, AChangeOfFormatLeavesNothingToUndo)
{
    const History& history = m_window->historyPanel().history();
    const ProjectPtr project = openTone("tone.wav", 1);
    edit();
    ASSERT_EQ(history.states().size(), 2);
    DialogScript script;
    reformat(script, [](QDialog& dialog) { setRate(dialog, 32000); });
    script.box("Format Change", sureQuestion, QMessageBox::Yes);
    ASSERT_TRUE(tabs().changeFormat());
    ASSERT_EQ(history.states().size(), 1);
    EXPECT_EQ(history.states()[0].name, QStringLiteral("Format Change"));
    EXPECT_FALSE(history.canUndo());
    // And edits of the new samples can be undone.
    const std::vector<float> before = samplesOf(*project);
    edit(0.75f);
    postEvent(nullptr, EventId::LayerContentUpdate, project->activeLayer(), nullptr);
    HistoryEntry entry;
    entry.name = QStringLiteral("Edit 2");
    postEvent(nullptr, EventId::HistoryRecord, entry, nullptr);
    EXPECT_NE(samplesOf(*project), before);
    while (history.canUndo())
        action("editundo").trigger();
    EXPECT_EQ(samplesOf(*project), before);
}

TEST_F(ProjectFlows, ReinterpretKeepsTheSamplesAndRenamesTheRate)
{
    const ProjectPtr project = openTone("tone.wav", 1);
    const std::vector<float> before = samplesOf(*project);
    project->setSpectralMarkerList({{1600, 500, 100, 50, "s"}});
    DialogScript script;
    reformat(script, [](QDialog& dialog) {
        combo(dialog, "formatmode").setCurrentIndex(1);
        setRate(dialog, 8000);
    });
    script.box("Format Change", sureQuestion, QMessageBox::Yes);
    EXPECT_TRUE(tabs().changeFormat());
    EXPECT_EQ(project->format().sampleRate, 8000);
    EXPECT_EQ(project->layers()->format().sampleRate, 8000);
    EXPECT_EQ(samplesOf(*project), before);
    EXPECT_EQ(project->display.displayArea, (Area{0, 0, 16000, 4000}));
    EXPECT_EQ(project->spectralMarkerList(), (SpectralMarkerList{{1600, 250, 100, 25, "s"}}));
}

TEST_F(ProjectFlows, ReinterpretModeWithAChangedChannelCountRefusesBeforeAnyQuestion)
{
    const ProjectPtr project = openTone("tone.wav", 1);
    DialogScript script;
    reformat(script, [](QDialog& dialog) {
        combo(dialog, "formatmode").setCurrentIndex(1);
        setChannels(dialog, 2);
    });
    script
        .box("Incorrect Channel Count",
             QStringLiteral("You cannot change the number of channels in reinterpret mode."), QMessageBox::Ok)
        .on("Change Format", [](QDialog& dialog) { DialogScript::press(dialog, "Cancel"); });
    EXPECT_FALSE(tabs().changeFormat());
    EXPECT_EQ(project->format(), mono16);
    EXPECT_FALSE(project->modified);
}

TEST_F(ProjectFlows, AnotherLayoutIsMappedAndRemixedOnceByTheTable)
{
    const ProjectPtr project = openTone("tone.wav", 1);
    DialogScript script;
    reformat(script, [](QDialog& dialog) { setChannels(dialog, 2); });
    script.on("Channel Mapping", [](QDialog& dialog) { DialogScript::press(dialog, "OK"); })
        .on("Channel Remixer",
            [](QDialog& dialog) {
                auto* table = dialog.findChild<QTableView*>(QStringLiteral("remixer"));
                QAbstractItemModel& model = *table->model();
                EXPECT_EQ(model.rowCount(), 1);
                ASSERT_EQ(model.columnCount(), 2);
                EXPECT_EQ(model.headerData(0, Qt::Vertical).toString(), QStringLiteral("Center"));
                EXPECT_EQ(model.headerData(1, Qt::Horizontal).toString(), QStringLiteral("Right (%)"));
                model.setData(model.index(0, 0), 50, Qt::EditRole);
                model.setData(model.index(0, 1), Qt::Checked, Qt::CheckStateRole);
                DialogScript::press(dialog, "OK");
            })
        .box("Format Change", sureQuestion, QMessageBox::Yes);
    const std::vector<float> before = samplesOf(*project);
    EXPECT_TRUE(tabs().changeFormat());
    EXPECT_EQ(project->format(), (SamplingFormat{SampleTypeReal, 16000, ChannelsTypeAudio, 2, 3}));
    EXPECT_EQ(display().spectralChannels().size(), 2);
    const std::vector<float> after = samplesOf(*project);
    ASSERT_EQ(after.size(), 2 * before.size());
    for (std::size_t i = 0; i < before.size(); ++i) {
        ASSERT_EQ(after[2 * i], 0.5f * before[i]) << i;
        ASSERT_EQ(after[2 * i + 1], -before[i]) << i;
    }
}

TEST_F(ProjectFlows, EachDialogOfReformatCanBeCancelledAndNoKeepsTheFormat)
{
    const ProjectPtr project = openTone("tone.wav", 1);
    const auto cancel = [](QDialog& dialog) { DialogScript::press(dialog, "Cancel"); };
    const auto ok = [](QDialog& dialog) { DialogScript::press(dialog, "OK"); };
    for (int last = 0; last < 4; ++last) {
        DialogScript script;
        if (last == 0) {
            script.on("Change Format", cancel);
        } else {
            reformat(script, [](QDialog& dialog) { setChannels(dialog, 2); });
            script.on("Channel Mapping", last == 1 ? DialogScript::Act(cancel) : DialogScript::Act(ok));
            if (last > 1)
                script.on("Channel Remixer", last == 2 ? DialogScript::Act(cancel) : DialogScript::Act(ok));
            if (last > 2)
                script.box("Format Change", sureQuestion, QMessageBox::No);
        }
        EXPECT_FALSE(tabs().changeFormat()) << last;
        EXPECT_EQ(project->format(), mono16);
        EXPECT_FALSE(project->modified);
        EXPECT_EQ(project->history()[0].name, QStringLiteral("Import"));
    }
}

TEST_F(ProjectFlows, AMappingOfMoreChannelsThanSupportedIsRefused)
{
    qApp->setProperty("maxchannels", 2);
    openTone("tone.wav", 1);
    DialogScript script;
    reformat(script, [](QDialog& dialog) { setChannels(dialog, 2); });
    script
        .on("Channel Mapping",
            [](QDialog& dialog) {
                auto* list = dialog.findChild<QListWidget*>();
                list->findItems(QStringLiteral("Center"), Qt::MatchExactly)[0]->setCheckState(Qt::Checked);
                DialogScript::press(dialog, "OK");
            })
        .box("Incorrect Channel Count", QStringLiteral("3 channels requested, but 2 channels max supported."),
             QMessageBox::Ok)
        .on("Channel Mapping", [](QDialog& dialog) { DialogScript::press(dialog, "Cancel"); });
    EXPECT_FALSE(tabs().changeFormat());
}

TEST_F(ProjectFlows, AChangeOfFormatWithoutRoomSaysSoAndChangesNothing)
{
    const ProjectPtr project = openTone("tone.wav", 20);
    const std::vector<float> before = samplesOf(*project);
    rlimit old{};
    ::getrlimit(RLIMIT_FSIZE, &old);
    rlimit small = old;
    small.rlim_cur = rlim_t(before.size() * 4 + 4096);
    ::signal(SIGXFSZ, SIG_IGN);
    ::setrlimit(RLIMIT_FSIZE, &small);
    {
        DialogScript script;
        reformat(script, [](QDialog& dialog) { setRate(dialog, 48000); });
        script.box("Format Change", sureQuestion, QMessageBox::Yes)
            .box("Format Change", QStringLiteral("The format could not be changed."), QMessageBox::Ok,
                 m_session);
        EXPECT_FALSE(tabs().changeFormat());
    }
    ::setrlimit(RLIMIT_FSIZE, &old);
    EXPECT_EQ(project->format(), mono16);
    EXPECT_EQ(samplesOf(*project), before);
    EXPECT_FALSE(project->modified);
    EXPECT_TRUE(testsupport::waitFor([this] { return sessionFiles().size() == 1; }));
}

// --- copies ----------------------------------------------------------------------------------------

TEST_F(ProjectFlows, DuplicateMakesAnIndependentProject)
{
    const ProjectPtr project = openTone("tone.wav");
    project->setMarkerList({{7, 10, 0, "x"}});
    action("projectduplicate").trigger();
    ASSERT_EQ(tabs().count(), 2);
    EXPECT_EQ(tabs().currentIndex(), 1);
    EXPECT_EQ(title(1), QStringLiteral("tone.wav (copy) *"));
    EXPECT_EQ(front()->markerList(), project->markerList());
    EXPECT_TRUE(front()->filePath().isEmpty());
    ASSERT_EQ(front()->history().size(), 1);
    EXPECT_EQ(front()->history()[0].name, QStringLiteral("Duplicate"));
    EXPECT_EQ(samplesOf(*front()), samplesOf(*project));
    edit();
    EXPECT_NE(samplesOf(*front()), samplesOf(*project));
    EXPECT_FALSE(project->modified);
}

TEST_F(ProjectFlows, ALongDuplicateShowsItsProgressAndACancelLeavesNoTrace)
{
    const ProjectPtr project = openTone("tone.wav");
    const QStringList files = QDir(m_session).entryList({"*.pcm"});
    const int patience = std::exchange(duplicatePatience, 0);
    {
        // Nothing else begins meanwhile.
        const ProgressCanceller canceller([this] {
            EXPECT_TRUE(tabs().isBusy());
            m_window->sessionImport();
        });
        action("projectduplicate").trigger();
        EXPECT_EQ(canceller.labels(), QStringList("Duplicating..."));
        EXPECT_EQ(tabs().count(), 1);
        EXPECT_EQ(front(), project);
        EXPECT_FALSE(project->modified);
        EXPECT_FALSE(tabs().isBusy());
        EXPECT_EQ(QDir(m_session).entryList({"*.pcm"}), files);
    }
    duplicatePatience = patience;
    action("projectduplicate").trigger();
    EXPECT_EQ(tabs().count(), 2);
}

// Chooses a row of the list of Duplicate To.
DialogScript::Act pick(const QStringList& expected, int row)
{
    return [=](QDialog& dialog) {
        auto* list = dialog.findChild<QListView*>();
        ASSERT_NE(list, nullptr);
        QStringList names;
        for (int i = 0; i < list->model()->rowCount(); ++i)
            names << list->model()->index(i, 0).data().toString();
        EXPECT_EQ(names, expected);
        QStringList labels;
        for (QLabel* label : dialog.findChildren<QLabel*>())
            labels << label->text();
        EXPECT_TRUE(labels.contains(QStringLiteral("Select a Project:")));
        list->setFocus();
        QTest::mouseClick(list->viewport(), Qt::LeftButton, {},
                          list->visualRect(list->model()->index(row, 0)).center());
        DialogScript::press(dialog, "OK");
    };
}

TEST_F(ProjectFlows, DuplicateToANewProjectHasTheSameFormat)
{
    const ProjectPtr project = openTone("tone.wav", 0.5, 2);
    DialogScript script;
    script.on("Duplicate To...", pick({QStringLiteral("New Project"), QStringLiteral("tone.wav")}, 0));
    action("layerduplicateto").trigger();
    ASSERT_EQ(tabs().count(), 2);
    EXPECT_EQ(title(1), QStringLiteral("Untitled *"));
    EXPECT_EQ(front()->format(), project->format());
    EXPECT_EQ(samplesOf(*front()), samplesOf(*project));
    EXPECT_EQ(front()->display.displayArea, front()->wholeArea());
    EXPECT_EQ(front()->layers()->children(ChildrenDirect)[0]->name(), QStringLiteral("tone"));
    EXPECT_FALSE(project->modified);
}

TEST_F(ProjectFlows, DuplicateToAnOpenProjectConvertsTheLayer)
{
    const History& history = m_window->historyPanel().history();
    const ProjectPtr target = openTone("target.wav", 0.5, 2, 8000);
    openTone("source.wav", 0.5);
    DialogScript script;
    script.on(
        "Duplicate To...",
        pick({QStringLiteral("New Project"), QStringLiteral("target.wav"), QStringLiteral("source.wav")}, 1));
    EXPECT_TRUE(tabs().duplicateTo());
    EXPECT_EQ(front(), target);
    const QList<ILayerPtr> layers = target->layers()->children(ChildrenDirect);
    ASSERT_EQ(layers.size(), 2);
    EXPECT_EQ(layers[0]->name(), QStringLiteral("source"));
    EXPECT_EQ(layers[0]->format(), target->format());
    EXPECT_EQ(layers[0]->range(), (Range{0, 4000}));
    EXPECT_EQ(target->activeLayer(), layers[0]);
    EXPECT_EQ(title(0), QStringLiteral("target.wav *"));
    ASSERT_EQ(history.states().size(), 2);
    action("editundo").trigger();
    EXPECT_EQ(target->layers()->children(ChildrenDirect).size(), 1);
}

TEST_F(ProjectFlows, CopiesWithoutRoomSaySoAndLeaveNothing)
{
    const ProjectPtr project = openTone("tone.wav", 5);
    const QStringList files = sessionFiles();
    rlimit old{};
    ::getrlimit(RLIMIT_FSIZE, &old);
    rlimit small = old;
    small.rlim_cur = 100000;
    ::signal(SIGXFSZ, SIG_IGN);
    ::setrlimit(RLIMIT_FSIZE, &small);
    {
        DialogScript script;
        script
            .box("Duplicate Project", QStringLiteral("The project could not be duplicated."), QMessageBox::Ok,
                 m_session)
            .on("Duplicate To...", pick({QStringLiteral("New Project"), QStringLiteral("tone.wav")}, 0))
            .box("Duplicate To...", QStringLiteral("The layer could not be duplicated."), QMessageBox::Ok,
                 m_session);
        EXPECT_FALSE(tabs().duplicateProject());
        EXPECT_FALSE(tabs().duplicateTo());
    }
    ::setrlimit(RLIMIT_FSIZE, &old);
    EXPECT_EQ(tabs().count(), 1);
    EXPECT_FALSE(project->modified);
    EXPECT_TRUE(testsupport::waitFor([&] { return sessionFiles() == files; }));
}

TEST_F(ProjectFlows, AnEmptyLayerIsNotDuplicatedToANewProject)
{
    newProject();
    DialogScript script;
    script.on("Duplicate To...", pick({QStringLiteral("New Project"), QStringLiteral("Untitled")}, 0))
        .box("Empty Layer", QStringLiteral("Cannot duplicate empty layer to a new project."), QMessageBox::Ok)
        .on("Duplicate To...", [](QDialog& dialog) { DialogScript::press(dialog, "Cancel"); });
    EXPECT_FALSE(tabs().duplicateTo());
    EXPECT_EQ(tabs().count(), 1);
    EXPECT_FALSE(tabs().duplicateTo());
}

} // namespace
