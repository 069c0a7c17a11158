// Insert, delete and crop of time in the whole project.
#include "editing/editsession.h"

#include "model/types/marker.h"
#include "ui/dialogscript.h"
#include "ui/widgets/qlineeditext.h"

#include <QLabel>

using namespace modeltest;

namespace {

const auto* const environment = testing::AddGlobalTestEnvironment(new GuiEnvironment);

using Slot = void (DataManager::*)();
struct Command
{
    const char* title;
    Slot slot;
};
constexpr Command insert{"Insert Time", &DataManager::insertTime};
constexpr Command remove_{"Delete Time", &DataManager::deleteTime};
constexpr Command crop{"Crop Time", &DataManager::cropTime};
constexpr Command commands[] = {insert, remove_, crop};

QList<QLineEditExt*> fieldsOf(QDialog& dialog)
{
    return dialog.findChildren<QLineEditExt*>();
}

// Three layers: one in front, two in a group in a group.
struct Layers : EditSession
{
    explicit Layers(const SamplingFormat& format = realFormat(1, 16000)) : EditSession(format)
    {
        const int64_t floats = format.frameBytes() / 4;
        const LayerGroupPtr outer = LayerGroup::create(format);
        const LayerGroupPtr inner = LayerGroup::create(format);
        layers = {layerOf(format, noise(40000 * floats, 1)),
                  layerOf(format, noise(100000 * floats, 2), 10000),
                  layerOf(format, noise(5000 * floats, 3), 60000)};
        EXPECT_TRUE(inner->appendChild(layers[1]));
        EXPECT_TRUE(inner->appendChild(layers[2]));
        EXPECT_TRUE(outer->appendChild(inner));
        EXPECT_TRUE(tree()->appendChild(layers[0]));
        EXPECT_TRUE(tree()->appendChild(outer));
        project().resetHistory("New");
        post();
        activate(layers[0]);
    }
    // Runs the command with these texts in its dialog, or with those that it shows.
    void run(const Command& command, const char* start = nullptr, const char* length = nullptr)
    {
        DialogScript script;
        script.on(command.title, [&](QDialog& dialog) {
            const auto fields = fieldsOf(dialog);
            if (start)
                fields[0]->setText(QString::fromLatin1(start));
            if (length)
                fields[1]->setText(QString::fromLatin1(length));
            DialogScript::press(dialog, "OK");
        });
        (data.*command.slot)();
    }
    [[nodiscard]] std::vector<Range> ranges() const
    {
        std::vector<Range> all;
        for (const LayerPtr& layer : layers)
            all.push_back(layer->dataRange());
        return all;
    }
    [[nodiscard]] std::vector<std::vector<float>> samples() const
    {
        std::vector<std::vector<float>> all;
        for (const LayerPtr& layer : layers)
            all.push_back(dataOf(*layer));
        return all;
    }
    void expectNothingHappened()
    {
        EXPECT_EQ(rows(), QStringList("New"));
        EXPECT_EQ(ranges(), (std::vector<Range>{{0, 40000}, {10000, 100000}, {60000, 5000}}));
        EXPECT_EQ(samples(), Layers::originals());
        EXPECT_EQ(boxes.words(), QStringList());
    }
    static std::vector<std::vector<float>> originals()
    {
        return {noise(40000, 1), noise(100000, 2), noise(5000, 3)};
    }

    std::vector<LayerPtr> layers;
};

} // namespace

// --- the dialog ------------------------------------------------------------------------------------

TEST(TimeCommands, AnEmptyProjectDoesNothingAndShowsNothing)
{
    EditSession session;
    for (const Command& command : commands)
        (session.data.*command.slot)();
    EXPECT_EQ(session.rows(), QStringList("New"));
    EXPECT_EQ(session.boxes.words(), QStringList());
}

TEST(TimeCommands, WithASelectionStartAndLengthShowItsSpanWithoutOneTheTransportPositionAndZero)
{
    for (const Command& command : commands) {
        Layers session;
        session.moveTransport(4321);
        const auto shown = [&] {
            QStringList texts;
            DialogScript script;
            script.on(command.title, [&](QDialog& dialog) {
                QStringList labels;
                for (const QLabel* label : dialog.findChildren<QLabel*>())
                    labels << label->text();
                EXPECT_EQ(labels, (QStringList{"Start:", "smp", "Length:", "smp"}));
                for (const QLineEditExt* field : fieldsOf(dialog))
                    texts << field->text();
                DialogScript::press(dialog, "Cancel");
            });
            (session.data.*command.slot)();
            return texts;
        };
        EXPECT_EQ(shown(), (QStringList{"4321", "0"}));
        session.select(5000, 2500, 100, 700);
        EXPECT_EQ(shown(), (QStringList{"5000", "2500"}));
        EXPECT_FALSE(session.selection().isEmpty()) << "a cancel leaves the selection";
        session.expectNothingHappened();
    }
}

TEST(TimeCommands, TheFieldsSpeakTheUnitOfTheProject)
{
    struct Case
    {
        TimeUnit unit;
        int64_t start;
        const char* startText;
        const char* lengthText;
    };
    // 16000 samples a second, 120 beats a minute in 4/4, 25 frames a second, a hop of 64.
    for (const Case& one :
         {Case{TimeUnit::Samples, 12345, "12345", "16000"},
          Case{TimeUnit::Decimal, 12000, "00:00:00.750", "00:00:01.000"},
          Case{TimeUnit::Seconds, 12000, "0.750", "1.000"}, Case{TimeUnit::Bpm, 16000, "1.3", "1.3"},
          Case{TimeUnit::Fps, 12800, "20", "25"}, Case{TimeUnit::Pixels, 12800, "200", "250"}}) {
        SCOPED_TRACE(one.startText);
        Layers session;
        postEvent(&session.owner, EventId::TimeUnitChange, int32_t(one.unit), &session.owner);
        TimeBase base;
        base.bpm = 120;
        base.beatsPerBar = base.beatUnit = 4;
        base.frameRate = 25;
        postEvent(&session.owner, EventId::TimeSignatureChange, base, &session.owner);
        postEvent(&session.owner, EventId::FrameRateChange, base, &session.owner);
        session.select(double(one.start), 16000, 100, 700);
        DialogScript script;
        script.on("Delete Time", [&](QDialog& dialog) {
            EXPECT_EQ(fieldsOf(dialog)[0]->text(), QString::fromLatin1(one.startText));
            EXPECT_EQ(fieldsOf(dialog)[1]->text(), QString::fromLatin1(one.lengthText));
            DialogScript::press(dialog, "OK");
        });
        session.data.deleteTime();
        EXPECT_EQ(session.ranges()[1], (Range{10000, 84000}));
        EXPECT_EQ(session.samples()[1][std::size_t(one.start - 10000)],
                  Layers::originals()[1][std::size_t(one.start + 6000)]);
    }
}

TEST(TimeCommands, AnUnknownUnitReadsAsSamples)
{
    Layers session;
    for (const int32_t unit : {-1, 6, 1000}) {
        postEvent(&session.owner, EventId::TimeUnitChange, unit, &session.owner);
        EXPECT_EQ(session.data.desk().state().convert.timeUnit, TimeUnit::Samples);
    }
}

TEST(TimeCommands, ATextThatMeansNothingIsZero)
{
    Layers session;
    session.run(crop, "soon", "20000");
    EXPECT_EQ(session.ranges(), (std::vector<Range>{{0, 20000}, {10000, 10000}, {0, 0}}));
}

TEST(TimeCommands, TheDialogWorksByKeysAlone)
{
    Layers session;
    DialogScript script;
    script.on("Insert Time", [&](QDialog& dialog) {
        const auto fields = fieldsOf(dialog);
        QApplication::setActiveWindow(&dialog);
        EXPECT_TRUE(testsupport::waitFor([&] { return fields[0]->hasFocus(); }));
        EXPECT_EQ(fields[0]->selectedText(), fields[0]->text());
        QTest::keyClicks(fields[0], "1000");
        QTest::keyClick(fields[0], Qt::Key_Tab);
        EXPECT_EQ(dialog.focusWidget(), fields[1]);
        QTest::keyClick(fields[1], Qt::Key_Up);
        QTest::keyClick(fields[1], Qt::Key_PageUp);
        QTest::keyClick(fields[1], Qt::Key_Return);
    });
    session.data.insertTime();
    EXPECT_EQ(session.ranges()[0], (Range{0, 40011}));
    script.on("Insert Time", [&](QDialog& dialog) { QTest::keyClick(&dialog, Qt::Key_Escape); });
    session.data.insertTime();
    EXPECT_EQ(session.rows(), (QStringList{"New", "Insert Time"}));
}

// --- what they do ----------------------------------------------------------------------------------

TEST(TimeCommands, CropToASelectionInsideAGroupCropsEveryLayerOfTheProject)
{
    Layers session;
    session.activate(session.layers[2]);
    session.select(30000, 31000, 500, 900); // one band of frequencies, all of the time
    session.run(crop);
    EXPECT_EQ(session.ranges(), (std::vector<Range>{{30000, 10000}, {30000, 31000}, {60000, 1000}}));
    const auto was = Layers::originals();
    EXPECT_EQ(session.samples()[0], std::vector<float>(was[0].begin() + 30000, was[0].end()));
    EXPECT_EQ(session.samples()[1], std::vector<float>(was[1].begin() + 20000, was[1].begin() + 51000));
    EXPECT_EQ(session.samples()[2], std::vector<float>(was[2].begin(), was[2].begin() + 1000));
    EXPECT_EQ(session.rows(), (QStringList{"New", "Crop Time"}));
    EXPECT_TRUE(session.selection().isEmpty());
    EXPECT_TRUE(session.project().selection.isEmpty());
}

TEST(TimeCommands, InsertOpensAGapInEachLayerThatReachesBeyondItsStart)
{
    Layers session;
    session.run(insert, "20000", "700");
    EXPECT_EQ(session.ranges(), (std::vector<Range>{{0, 40700}, {10000, 100700}, {60700, 5000}}));
    const auto was = Layers::originals();
    std::vector<float> expected(was[0].begin(), was[0].begin() + 20000);
    expected.resize(20700, 0);
    expected.insert(expected.end(), was[0].begin() + 20000, was[0].end());
    EXPECT_EQ(session.samples()[0], expected);
    EXPECT_EQ(session.samples()[2], was[2]);
}

TEST(TimeCommands, DeleteTakesTheTimeOutOfEachLayerAndWhatFollowsMovesUp)
{
    Layers session;
    session.run(remove_, "20000", "42000");
    EXPECT_EQ(session.ranges(), (std::vector<Range>{{0, 20000}, {10000, 58000}, {20000, 3000}}));
    const auto was = Layers::originals();
    std::vector<float> expected(was[1].begin(), was[1].begin() + 10000);
    expected.insert(expected.end(), was[1].begin() + 52000, was[1].end());
    EXPECT_EQ(session.samples()[1], expected);
    EXPECT_EQ(session.samples()[2], std::vector<float>(was[2].begin() + 2000, was[2].end()));
}

TEST(TimeCommands, MutedHiddenAndDeselectedChannelsMoveWithTheOthers)
{
    Layers session(realFormat(2, 16000));
    ChannelsMode mode = session.project().channelsMode;
    mode.selected.fill(false);
    postEvent(&session.owner, EventId::ChannelsModeChange, mode, &session.owner);
    session.layers[0]->setEnabled(false);
    session.run(remove_, "0", "1000");
    EXPECT_EQ(session.ranges(), (std::vector<Range>{{0, 39000}, {9000, 100000}, {59000, 5000}}));
}

TEST(TimeCommands, MarkersAndRegionsKeepTheirPositions)
{
    Layers session;
    Marker marker;
    marker.position = 30000;
    session.project().setMarkerList({marker});
    SpectralMarker spectral;
    session.project().setSpectralMarkerList({spectral});
    session.post();
    for (const Command& command : commands)
        session.run(command, "1000", "20000");
    EXPECT_EQ(session.rows().size(), 4);
    ASSERT_EQ(session.project().markerList().size(), 1);
    EXPECT_EQ(session.project().markerList().first().position, 30000);
    EXPECT_EQ(session.project().spectralMarkerList().size(), 1);
}

TEST(TimeCommands, UndoAndRedoAreBitIdentical)
{
    for (const SamplingFormat& format : {realFormat(1, 16000), realFormat(2, 16000), complexFormat(1, 16000)})
        for (const Command& command : commands) {
            SCOPED_TRACE(command.title);
            Layers session(format);
            const auto ranges = session.ranges();
            const auto samples = session.samples();
            session.select(12345, 23456, 100, 700);
            const uint32_t selected = session.selection().fingerprint();
            session.data.copy(); // a state that knows the selection
            session.run(command);
            const auto afterRanges = session.ranges();
            const auto after = session.samples();
            EXPECT_NE(afterRanges, ranges);
            for (int round = 0; round < 2; ++round) {
                session.history.undo();
                EXPECT_EQ(session.ranges(), ranges);
                EXPECT_EQ(session.samples(), samples);
                EXPECT_EQ(session.selection().fingerprint(), selected);
                session.history.redo();
                EXPECT_EQ(session.ranges(), afterRanges);
                EXPECT_EQ(session.samples(), after);
                EXPECT_TRUE(session.selection().isEmpty());
            }
        }
}

TEST(TimeCommands, EachLayerThatHasChangedIsTold)
{
    Layers session;
    session.owner.updated.clear();
    session.run(remove_, "50000", "100");
    EXPECT_FALSE(session.owner.updated.contains(session.layers[0])) << "it ends before that";
    EXPECT_TRUE(session.owner.updated.contains(session.layers[1]));
    EXPECT_TRUE(session.owner.updated.contains(session.layers[2]));
}

// --- what they leave alone -------------------------------------------------------------------------

TEST(TimeCommands, ALengthBelowOneChangesNothingAndLeavesTheSelection)
{
    for (const Command& command : commands)
        for (const char* length : {"0", "-1", "-1000000", "nothing"}) {
            Layers session;
            session.select(5000, 2500, 100, 700);
            session.run(command, "1000", length);
            EXPECT_FALSE(session.selection().isEmpty());
            session.expectNothingHappened();
        }
}

TEST(TimeCommands, DeleteOrInsertBeyondAllLayersChangesNothingAndRecordsNothing)
{
    for (const Command& command : {insert, remove_}) {
        Layers session;
        session.select(120000, 2500, 100, 700);
        session.run(command);
        session.run(command, "110000", "5");
        EXPECT_FALSE(session.selection().isEmpty());
        session.expectNothingHappened();
    }
    Layers session;
    session.run(remove_, "-500", "500");
    session.expectNothingHappened();
}

TEST(TimeCommands, ACropThatTakesNothingAwayIsAStepAllTheSame)
{
    Layers session;
    session.select(0, 200000, 0, 8000);
    session.run(crop, "0", "200000");
    EXPECT_EQ(session.rows(), (QStringList{"New", "Crop Time"}));
    EXPECT_EQ(session.samples(), Layers::originals());
    EXPECT_TRUE(session.selection().isEmpty());
}

TEST(TimeCommands, ACropBeyondAllLayersLeavesThemEmptyAndUndoBringsThemBack)
{
    Layers session;
    session.run(crop, "500000", "10");
    EXPECT_EQ(session.ranges(), (std::vector<Range>(3)));
    EXPECT_EQ(session.rows(), (QStringList{"New", "Crop Time"}));
    session.history.undo();
    EXPECT_EQ(session.samples(), Layers::originals());
}

TEST(TimeCommands, ACancelOfALongOneLeavesEverythingAsItWas)
{
    for (const Command& command : commands) {
        Layers session;
        session.data.timeCommands().setPatience(0);
        session.select(12345, 23456, 100, 700);
        const QStringList files = sessionFiles();
        const ProgressCanceller canceller;
        session.run(command);
        EXPECT_EQ(canceller.labels(), QStringList(QString::fromLatin1(command.title) + "..."));
        EXPECT_FALSE(session.selection().isEmpty());
        session.expectNothingHappened();
        EXPECT_EQ(sessionFiles().size(), files.size());
    }
}

TEST(TimeCommands, WithoutRoomNothingChangesAndOneBoxNamesFolderAndCause)
{
    for (const Command& command : commands) {
        Layers session;
        session.select(12345, 23456, 100, 700);
        const QStringList files = sessionFiles();
        {
            const DiskLimit limit(50000);
            session.run(command);
        }
        EXPECT_EQ(session.rows(), QStringList("New"));
        EXPECT_EQ(session.samples(), Layers::originals());
        EXPECT_EQ(session.boxes.words(),
                  QStringList(QString::fromLatin1(command.title) +
                              "|The last action could not be stored and was taken back."));
        EXPECT_TRUE(session.boxes.list.first().informative.contains(sessionFolder()));
        EXPECT_EQ(sessionFiles(), files);
        EXPECT_FALSE(session.selection().isEmpty());
        session.run(command); // there is room again
        EXPECT_EQ(session.rows().size(), 2);
    }
}

TEST(TimeCommands, ALengthThatNoDiskHasIsTold)
{
    Layers session;
    session.run(insert, "5", "100000000000000000");
    EXPECT_EQ(session.rows(), QStringList("New"));
    EXPECT_EQ(session.samples(), Layers::originals());
    EXPECT_EQ(session.boxes.list.size(), 1);
}

// The layers in front could be moved so far, the last one could not.
TEST(TimeCommands, ADistanceThatNoFileKeepsIsRefusedForAllLayersAndTold)
{
    Layers session;
    session.layers[0]->setName("near");
    session.layers[1]->setName("far");
    session.run(insert, "0", "9007199254700000"); // 2^53 is 9007199254740992
    EXPECT_EQ(session.rows(), QStringList("New"));
    EXPECT_EQ(session.ranges(), (std::vector<Range>{{0, 40000}, {10000, 100000}, {60000, 5000}}));
    EXPECT_EQ(session.samples(), Layers::originals());
    EXPECT_EQ(session.boxes.words(),
              QStringList("Insert Time|The last action could not be stored and was taken back."));
    EXPECT_EQ(session.boxes.list.first().informative,
              QStringLiteral("far: the samples would lie too far from the start"));
}

TEST(TimeCommands, OneInWorkKeepsOthersOut)
{
    Layers session;
    DialogScript script;
    script.on("Insert Time", [&](QDialog& dialog) {
        for (const Command& command : commands)
            (session.data.*command.slot)();
        session.data.selectAll();
        DialogScript::press(dialog, "Cancel");
    });
    session.data.insertTime();
    session.expectNothingHappened();
}
