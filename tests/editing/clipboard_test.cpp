// Cut, copy, paste and delete.
#include "editing/editsession.h"

#include "spectral/maskedcopy.h"
#include "spectral/primitives/defaultremix.h"
#include "ui/dialogscript.h"

#include <QPushButton>

using namespace modeltest;

namespace {

const auto* const environment = testing::AddGlobalTestEnvironment(new GuiEnvironment);

constexpr double rate = 16000;
constexpr int64_t hop = 64; // of 512 samples at 8 frames each

std::vector<float> tone(int64_t count, double frequency, double amplitude)
{
    std::vector<float> values(static_cast<std::size_t>(count));
    for (std::size_t i = 0; i < values.size(); ++i)
        values[i] = float(amplitude * std::sin(2 * M_PI * frequency * double(i) / rate));
    return values;
}

// Amplitude of one frequency in samples [from, from + count), by a Hann-weighted correlation.
double amplitudeOf(const std::vector<float>& samples, double frequency, int64_t from, int64_t count)
{
    double re = 0, im = 0, sum = 0;
    for (int64_t i = 0; i < count; ++i) {
        const double weight = 0.5 - 0.5 * std::cos(2 * M_PI * double(i) / double(count));
        const double phase = 2 * M_PI * frequency * double(from + i) / rate;
        re += weight * double(samples[std::size_t(from + i)]) * std::cos(phase);
        im += weight * double(samples[std::size_t(from + i)]) * std::sin(phase);
        sum += weight;
    }
    return 2 * std::hypot(re, im) / sum;
}

double db(double ratio)
{
    return 20 * std::log10(ratio);
}

using Slot = void (DataManager::*)();
struct Command
{
    const char* name;
    Slot slot;
    const char* step;
};

constexpr Command commands[] = {
    {"cut", &DataManager::cut, "Cut"},
    {"cutToNew", &DataManager::cutToNew, "Cut to New"},
    {"copy", &DataManager::copy, "Copy"},
    {"copyFromAll", &DataManager::copyFromAll, "Copy From All"},
    {"copyToNew", &DataManager::copyToNew, "Copy to New"},
    {"paste", &DataManager::paste, "Paste"},
    {"pasteToNew", &DataManager::pasteToNew, "Paste To New"},
    {"del", &DataManager::del, "Delete"},
};

} // namespace

// --- guards ----------------------------------------------------------------------------------------

TEST(Clipboard, AnEmptyProjectDoesNothingAndShowsNothing)
{
    EditSession session;
    session.select(0, 1000, 0, 8000);
    for (const Command& command : commands)
        (session.data.*command.slot)();
    EXPECT_EQ(session.boxes.words(), QStringList());
    EXPECT_EQ(session.rows(), QStringList("New"));
    EXPECT_EQ(session.data.clipboard(), nullptr);
}

TEST(Clipboard, EachGuardShowsItsBoxAndNothingChanges)
{
    enum Lack { NoActive, Outside, Group, Hidden, NoSelection, Hosted };
    struct Row
    {
        Slot slot;
        Lack lack;
        const char* box; // empty: no guard, the command is carried out
    };
    const QString hidden = QStringLiteral("Active Layer not visible|Active Layer is not visible.");
    const Row rows[] = {
        {&DataManager::cut, NoActive, "No Active Layer|A layer must be active to cut from."},
        {&DataManager::cut, Outside, "No Active Layer|A layer must be active to cut from."},
        {&DataManager::cut, Group,
         "Cannot cut from a group|You can only cut from a layer, not from a group."},
        {&DataManager::cut, Hidden, "Active Layer not visible|Active Layer is not visible."},
        {&DataManager::cut, NoSelection, "No Selection|You must select something to cut."},
        {&DataManager::cutToNew, NoActive, "No Active Layer|A layer must be active to cut from."},
        {&DataManager::cutToNew, Group,
         "Cannot cut from a group|You can only cut from a layer, not from a group."},
        {&DataManager::cutToNew, Hidden, "Active Layer not visible|Active Layer is not visible."},
        {&DataManager::cutToNew, NoSelection, "No Selection|You must select something to cut."},
        {&DataManager::cutToNew, Hosted,
         "External Host|Can't create a new layer when controlled by an external host."},
        {&DataManager::copy, NoActive, "No Active Layer|A layer must be active to copy from."},
        {&DataManager::copy, Hidden, "Active Layer not visible|Active Layer is not visible."},
        {&DataManager::copy, NoSelection, "No Selection|You must select something to copy."},
        {&DataManager::copyFromAll, NoSelection, "No Selection|You must select something to copy."},
        {&DataManager::copyToNew, Outside, "No Active Layer|A layer must be active to copy from."},
        {&DataManager::copyToNew, Hidden, "Active Layer not visible|Active Layer is not visible."},
        {&DataManager::copyToNew, NoSelection, "No Selection|You must select something to copy."},
        {&DataManager::copyToNew, Hosted,
         "External Host|Can't create a new layer when controlled by an external host."},
        {&DataManager::paste, NoActive, "No Active Layer|A layer must be active to paste to."},
        {&DataManager::paste, Group,
         "Cannot paste to a group|You can only paste to a layer, not to a group."},
        {&DataManager::paste, Hidden, "Active Layer not visible|Active Layer is not visible."},
        {&DataManager::paste, NoSelection, "Empty Clipboard|Nothing to paste."},
        {&DataManager::pasteToNew, NoActive, "Empty Clipboard|Nothing to paste."},
        {&DataManager::pasteToNew, Hosted,
         "External Host|Can't create a new layer when controlled by an external host."},
        {&DataManager::del, NoActive, "No Active Layer|A layer must be active to delete from."},
        {&DataManager::del, Outside, "No Active Layer|A layer must be active to delete from."},
        {&DataManager::del, Group,
         "Cannot delete from a group|You can only delete from a layer, not from a group."},
        {&DataManager::del, Hidden, "Active Layer not visible|Active Layer is not visible."},
        {&DataManager::del, NoSelection, "No Selection|You must select something to delete."},
    };
    const auto samples = noise(8000, 1);
    for (const Row& row : rows) {
        SCOPED_TRACE(row.box);
        EditSession session;
        const LayerPtr layer = session.begin(samples);
        session.select(1000, 2000, 1000, 3000);
        switch (row.lack) {
        case NoActive:
            session.activate(nullptr);
            break;
        case Outside:
            session.activate(layerOf(session.project().format(), samples));
            break;
        case Group: {
            const LayerGroupPtr group = LayerGroup::create(session.project().format());
            ASSERT_TRUE(session.tree()->appendChild(group));
            session.activate(group);
            break;
        }
        case Hidden:
            layer->setEnabled(false);
            break;
        case NoSelection:
            session.select(Selection());
            break;
        case Hosted:
            setProperty("externalmanagement", true);
            break;
        }
        const auto children = session.tree()->children(ChildrenAll);
        (session.data.*row.slot)();
        setProperty("externalmanagement", QVariant());
        EXPECT_EQ(session.boxes.words(), QStringList(QString::fromLatin1(row.box)));
        EXPECT_EQ(session.boxes.list.value(0).icon, QMessageBox::Warning);
        EXPECT_EQ(session.rows(), QStringList("New"));
        EXPECT_EQ(dataOf(*layer), samples);
        EXPECT_EQ(session.tree()->children(ChildrenAll), children);
        EXPECT_EQ(session.data.clipboard(), nullptr);
    }
}

TEST(Clipboard, ACommandOfAnotherOneInWorkDoesNothing)
{
    EditSession session;
    const auto samples = noise(8000, 1);
    const LayerPtr layer = session.begin(samples);
    session.select(1000, 2000, 1000, 3000);
    const EditDesk::Action other(session.data.desk());
    EXPECT_TRUE(session.data.isBusy());
    for (const Command& command : commands)
        (session.data.*command.slot)();
    EXPECT_EQ(session.rows(), QStringList("New"));
    EXPECT_EQ(dataOf(*layer), samples);
    EXPECT_EQ(session.boxes.words(), QStringList());
}

// --- identities ------------------------------------------------------------------------------------

TEST(Clipboard, CutAndPasteBackAtTheSamePlaceAfterDeselectNullsBelowMinus100Db)
{
    struct Case
    {
        const char* name;
        SamplingFormat format;
        int64_t start;
    };
    for (const Case& c : {Case{"real", realFormat(1, rate), 0}, Case{"stereo", realFormat(2, rate), 500},
                          Case{"complex", complexFormat(1, rate), 0},
                          Case{"two complex channels", complexFormat(2, rate), 77}}) {
        SCOPED_TRACE(c.name);
        EditSession session(c.format);
        const int64_t floats = c.format.frameBytes() / 4;
        const auto samples = noise(20000 * floats, 2);
        const LayerPtr layer = session.begin(samples, c.start);
        // Soft, and the second one over both ends of the layer.
        for (const bool over : {false, true}) {
            if (over)
                session.select(-2000, 40000, -9000, 3000, 300, 400);
            else
                session.select(5003, 7777, 700, 3300, 300, 400);
            const Range whole = layer->dataRange();
            session.data.cut();
            EXPECT_EQ(session.lastStep(), QStringLiteral("Cut"));
            EXPECT_EQ(layer->dataRange(), whole);
            EXPECT_GT(differenceDb(dataOf(*layer), samples), -20);
            session.data.deselect();
            session.data.paste();
            EXPECT_EQ(session.lastStep(), QStringLiteral("Paste"));
            EXPECT_LT(differenceDb(samplesOf(*layer, whole), samples), -100);
            const Range now = layer->dataRange();
            const auto all = samplesOf(*layer, now);
            for (int64_t i = 0; i < now.length; ++i)
                if (!whole.contains({now.start + i, 1})) {
                    ASSERT_EQ(all[std::size_t(i * floats)], 0) << i;
                }
            while (session.history.canUndo())
                session.history.undo();
            EXPECT_EQ(dataOf(*layer), samples);
        }
        EXPECT_EQ(session.boxes.words(), QStringList());
    }
}

TEST(Clipboard, SamplesBeyondOneHopFromTheTouchedFramesStayBitIdentical)
{
    for (const Command& command : commands) {
        SCOPED_TRACE(command.name);
        EditSession session(realFormat(2, rate));
        const auto samples = noise(2 * 20000, 3);
        const LayerPtr layer = session.begin(samples);
        session.select(5003, 7777, 700, 3300, 300, 400);
        session.data.copy();
        (session.data.*command.slot)();
        EXPECT_EQ(session.lastStep(), QString::fromLatin1(command.step));
        const auto after = samplesOf(*layer, {0, 20000});
        const int64_t first = std::lround(5003.0 / hop), last = std::lround((5003.0 + 7777) / hop);
        for (int64_t i = 0; i < 20000; ++i)
            if (i <= hop * (first - 1) || i >= hop * (last + 1)) {
                ASSERT_EQ(after[std::size_t(2 * i)], samples[std::size_t(2 * i)]) << i;
                ASSERT_EQ(after[std::size_t(2 * i + 1)], samples[std::size_t(2 * i + 1)]) << i;
            }
        EXPECT_EQ(layer->dataRange(), (Range{0, 20000}));
    }
}

TEST(Clipboard, UndoAndRedoOfEachCommandAreBitIdentical)
{
    for (const Command& command : commands) {
        SCOPED_TRACE(command.name);
        EditSession session;
        const auto samples = noise(20000, 4);
        const LayerPtr layer = session.begin(samples);
        session.select(5003, 7777, 700, 3300, 300, 400);
        session.data.copy();
        const auto before = session.tree()->children(ChildrenAll);
        (session.data.*command.slot)();
        ASSERT_EQ(session.lastStep(), QString::fromLatin1(command.step));
        const auto after = session.tree()->children(ChildrenAll);
        std::vector<std::vector<float>> states;
        for (const ILayerPtr& each : after)
            states.push_back(samplesOf(*each, {0, 30000}));
        for (int round = 0; round < 2; ++round) {
            ASSERT_EQ(session.history.undo(), History::Result::Done);
            EXPECT_EQ(dataOf(*layer), samples);
            EXPECT_EQ(session.tree()->children(ChildrenAll), before);
            ASSERT_EQ(session.history.redo(), History::Result::Done);
            ASSERT_EQ(session.tree()->children(ChildrenAll), after);
            for (int i = 0; i < after.size(); ++i)
                EXPECT_EQ(samplesOf(*after[i], {0, 30000}), states[std::size_t(i)]);
        }
        EXPECT_TRUE(session.words.isEmpty());
    }
}

TEST(Clipboard, DeleteOfASteadyToneTakesItDownBy90DbAndLeavesItsNeighbour)
{
    EditSession session;
    auto samples = tone(48000, 2000, 0.5);
    const auto other = tone(48000, 3000, 0.25);
    for (std::size_t i = 0; i < samples.size(); ++i)
        samples[i] += other[i];
    const LayerPtr layer = session.begin(samples);
    session.select(0, 48000, 1700, 2300);
    session.data.del();
    EXPECT_EQ(session.lastStep(), QStringLiteral("Delete"));
    const auto after = dataOf(*layer);
    ASSERT_EQ(after.size(), samples.size());
    const double down = db(amplitudeOf(after, 2000, 4000, 40000) / amplitudeOf(samples, 2000, 4000, 40000));
    const double beside = db(amplitudeOf(after, 3000, 4000, 40000) / amplitudeOf(samples, 3000, 4000, 40000));
    EXPECT_LT(down, -90);
    EXPECT_LT(std::abs(beside), 0.1);
}

TEST(Clipboard, OnlySelectedChannelsAreTouched)
{
    for (const Command& command : commands) {
        SCOPED_TRACE(command.name);
        EditSession session(realFormat(2, rate));
        session.project().channelsMode.selected.clearBit(1);
        session.post();
        const auto samples = noise(2 * 20000, 5);
        const LayerPtr layer = session.begin(samples);
        session.select(5003, 7777, 700, 3300);
        session.data.copy();
        const auto clip = dataOf(*session.data.clipboard());
        (session.data.*command.slot)();
        const auto after = dataOf(*layer);
        ASSERT_EQ(after.size(), samples.size());
        for (std::size_t i = 1; i < after.size(); i += 2)
            ASSERT_EQ(after[i], samples[i]);
        for (std::size_t i = 1; i < clip.size(); i += 2)
            ASSERT_EQ(clip[i], 0.0f);
    }
}

TEST(Clipboard, TheLayersOwnSamplesAreCutAndTheMixIsCopiedFromAll)
{
    EditSession session;
    const auto samples = noise(20000, 6);
    const auto others = noise(20000, 7);
    const LayerPtr layer = session.begin(samples);
    const LayerPtr other = session.ground(others);
    layer->setPolarity(-1);
    layer->setMultiplier(0.25f);
    session.select(0, 20000, 0, 8000);
    session.data.copy();
    const Range inside{1000, 18000};
    EXPECT_LT(differenceDb(samplesOf(*session.data.clipboard(), inside), samplesOf(*layer, inside)), -100);
    session.data.copyFromAll();
    EXPECT_EQ(session.rows(), (QStringList{"New", "Copy", "Copy From All"}));
    auto mix = samplesOf(*layer, inside);
    const auto rest = samplesOf(*other, inside);
    for (std::size_t i = 0; i < mix.size(); ++i)
        mix[i] = -0.25f * mix[i] + rest[i];
    EXPECT_LT(differenceDb(samplesOf(*session.data.clipboard(), inside), mix), -100);
    other->setEnabled(false);
    session.data.copyFromAll();
    for (std::size_t i = 0; i < mix.size(); ++i)
        mix[i] -= rest[i];
    EXPECT_LT(differenceDb(samplesOf(*session.data.clipboard(), inside), mix), -100);
    session.activate(nullptr);
    session.data.copyFromAll();
    EXPECT_EQ(session.lastStep(), QStringLiteral("Copy From All"));
    EXPECT_EQ(session.boxes.words(), QStringList()) << "it needs no active layer";
}

TEST(Clipboard, ACutOverTenMinutesNullsLikeOneOverASecond)
{
    EditSession session;
    const auto samples = noise(int64_t(600 * rate), 14);
    const LayerPtr layer = session.begin(samples);
    for (const double seconds : {1.0, 598.0}) {
        session.select(rate + 3, seconds * rate, 700, 3300, 300, 400);
        session.data.cut();
        session.data.deselect();
        session.data.paste();
        EXPECT_LT(differenceDb(dataOf(*layer), samples), -100) << seconds;
    }
    EXPECT_EQ(session.boxes.words(), QStringList());
}

TEST(Clipboard, ALayerDeepInGroupsIsEditedAndAMutedGroupAboveItRefuses)
{
    EditSession session;
    const SamplingFormat format = session.project().format();
    const LayerGroupPtr outer = LayerGroup::create(format);
    const LayerGroupPtr inner = LayerGroup::create(format);
    const auto samples = noise(20000, 15);
    const LayerPtr layer = layerOf(format, samples);
    const LayerPtr neighbour = layerOf(format, samples);
    ASSERT_TRUE(inner->appendChild(layer));
    ASSERT_TRUE(inner->appendChild(neighbour));
    ASSERT_TRUE(outer->appendChild(inner));
    session.ground(outer);
    session.activate(layer);
    session.select(5003, 7777, 700, 3300);
    session.data.cut();
    EXPECT_GT(differenceDb(dataOf(*layer), samples), -20);
    EXPECT_EQ(dataOf(*neighbour), samples);
    session.data.deselect();
    session.data.paste();
    EXPECT_LT(differenceDb(dataOf(*layer), samples), -100);
    session.history.moveTo(0);
    EXPECT_EQ(dataOf(*layer), samples);
    outer->setEnabled(false);
    session.select(5003, 7777, 700, 3300);
    session.data.cut();
    EXPECT_EQ(session.boxes.words(), QStringList("Active Layer not visible|Active Layer is not visible."));
    EXPECT_EQ(dataOf(*layer), samples);
    // A group is copied as it mixes.
    outer->setEnabled(true);
    session.activate(inner);
    session.select(0, 20000, 0, 8000);
    session.data.copy();
    EXPECT_EQ(session.lastStep(), QStringLiteral("Copy"));
    auto sum = samplesOf(*layer, {1000, 18000});
    for (float& value : sum)
        value *= 2;
    EXPECT_LT(differenceDb(samplesOf(*session.data.clipboard(), {1000, 18000}), sum), -100);
}

// --- the clipboard ---------------------------------------------------------------------------------

TEST(Clipboard, CopyingSilenceMakesAStepFillsTheClipboardAndIsTold)
{
    struct Row
    {
        Slot slot;
        const char* step;
        const char* box;
    };
    for (const Row& row :
         {Row{&DataManager::copy, "Copy", "Copy|Nothing to copy in the active layer."},
          Row{&DataManager::cut, "Cut", "Cut|Nothing to cut in the active layer."},
          Row{&DataManager::del, "Delete", "Delete|Nothing to delete in the active layer."},
          Row{&DataManager::cutToNew, "Cut to New", "Cut to New Layer|Nothing to cut to a new layer."},
          Row{&DataManager::copyToNew, "Copy to New", "Copy to New Layer|Nothing to copy to a new layer."},
          Row{&DataManager::copyFromAll, "Copy From All", ""}}) {
        SCOPED_TRACE(row.step);
        EditSession session;
        session.begin(std::vector<float>(20000));
        session.select(5003, 7777, 700, 3300);
        (session.data.*row.slot)();
        EXPECT_EQ(session.rows(), (QStringList{"New", row.step}));
        EXPECT_EQ(session.boxes.words().join('\n'), QString::fromLatin1(row.box));
        if (*row.box) {
            EXPECT_EQ(session.boxes.list[0].icon, QMessageBox::Information);
        }
        const bool fills = row.slot == &DataManager::copy || row.slot == &DataManager::cut ||
                           row.slot == &DataManager::copyFromAll;
        ASSERT_EQ(session.data.clipboard() != nullptr, fills);
        if (fills) {
            EXPECT_EQ(session.data.clipboard()->dataRange(), (Range{5003, 7777}));
        }
    }
}

TEST(Clipboard, FillingItIsToldAndMovesTheTransportToItsStart)
{
    EditSession session;
    session.begin(noise(20000, 8));
    session.select(5003, 7777, 700, 3300);
    QList<bool> told;
    QObject::connect(&session.data, &DataManager::clipboardEnabled, [&](bool on) { told << on; });
    struct Ear : IEvent
    {
        Ear() : IEvent(QStringLiteral("Ear")) {}
        void transportPositionEvent(EventId, const int64_t& position) override { positions << position; }
        QList<qint64> positions;
    } ear;
    session.data.copy();
    session.data.cut();
    session.data.copyFromAll();
    EXPECT_EQ(told, (QList<bool>{true, true, true}));
    session.data.copyToNew();
    session.data.del();
    EXPECT_EQ(told.size(), 3);
    EXPECT_EQ(ear.positions, (QList<qint64>{5003, 5003, 5003, 5003}));
}

TEST(Clipboard, PasteWithASelectionClearsExactlyTheWeightOfTheMaskSoSoftEdgesCrossFade)
{
    EditSession session;
    const auto samples = noise(20000, 9);
    const LayerPtr layer = session.begin(samples);
    session.select(5003, 7777, 700, 3300, 900, 700);
    session.data.copy();
    const MaskedArea area = session.data.desk().maskedArea();
    session.data.paste();
    EXPECT_EQ(session.rows(), (QStringList{"New", "Copy", "Paste"}));
    // The cleared layer and the clip together, each made apart from the commands.
    const LayerPtr cleared = layerOf(session.project().format(), samples);
    ASSERT_TRUE(removeMasked(cleared, area).isDone());
    const LayerPtr clip = Layer::create(session.project().format(), {}, 0, false);
    ASSERT_TRUE(copyMasked(layerOf(session.project().format(), samples), clip, area).isDone());
    cleared->replaceByLayer(clip, 1.0f, false);
    EXPECT_LT(differenceDb(dataOf(*layer), dataOf(*cleared)), -120);
    // What was taken came back with the same weight: where the selection lies whole in the clip.
    const Range inside{5003 + hop, 7777 - 2 * hop};
    EXPECT_LT(differenceDb(samplesOf(*layer, inside), std::vector<float>(samples.begin() + inside.start,
                                                                         samples.begin() + inside.end())),
              -100);
}

TEST(Clipboard, PasteStartsAtTheTransportAndTheMoveStaysInTheClipboard)
{
    EditSession session;
    const auto samples = noise(20000, 10);
    const LayerPtr layer = session.begin(samples);
    session.select(5000, 2000, 0, 8000);
    session.data.copy();
    const auto clip = dataOf(*session.data.clipboard());
    session.data.deselect();
    session.moveTransport(11000);
    session.data.paste();
    EXPECT_EQ(session.data.clipboard()->dataRange(), (Range{11000, 2000}));
    auto expected = samples;
    for (std::size_t i = 0; i < clip.size(); ++i)
        expected[11000 + i] += clip[i];
    EXPECT_EQ(dataOf(*layer), expected);
    session.select(3000, 100, 100, 200);
    session.data.paste();
    EXPECT_EQ(session.data.clipboard()->dataRange().start, 3000);
    session.select(Selection());
    session.moveTransport(25000);
    session.data.paste();
    EXPECT_EQ(layer->dataRange(), (Range{0, 27000})) << "beyond the end: the layer grows";
}

TEST(Clipboard, PasteOfAnotherRateConvertsItAndLeavesTheClipboardsOwnData)
{
    EditSession session;
    session.begin(tone(16000, 1000, 0.5));
    session.select(4000, 8000, 0, 8000);
    session.data.copy();
    const auto clip = dataOf(*session.data.clipboard());
    const SamplingFormat own = session.data.clipboard()->format();
    // Another project comes to the front.
    modeltest::Owner front(std::make_shared<Project>(realFormat(1, 2 * rate)));
    front.project->resetHistory("New");
    const LayerPtr layer = layerOf(front.project->format(), std::vector<float>(40000));
    ASSERT_TRUE(front.project->layers()->appendChild(layer));
    front.project->setActiveLayer(layer);
    front.post();
    session.moveTransport(10000);
    session.data.paste();
    EXPECT_EQ(session.boxes.words(), QStringList());
    EXPECT_EQ(session.lastStep(), QStringLiteral("Paste"));
    EXPECT_EQ(session.data.clipboard()->format(), own);
    EXPECT_EQ(dataOf(*session.data.clipboard()), clip);
    const auto after = dataOf(*layer);
    ASSERT_EQ(after.size(), 40000u);
    EXPECT_NEAR(amplitudeOf(after, 500, 12000, 12000), 0.5, 0.005) << "1000 Hz at twice the rate";
    for (std::size_t i = 0; i < 9000; ++i)
        ASSERT_EQ(after[i], 0.0f);
}

TEST(Clipboard, PasteOfOtherChannelsAsksForTheirGainsAndACancelStops)
{
    EditSession session;
    const auto samples = noise(20000, 16);
    session.begin(samples);
    session.select(0, 20000, 0, 8000);
    session.data.copy();
    modeltest::Owner front(std::make_shared<Project>(realFormat(2, rate)));
    front.project->resetHistory("New");
    const LayerPtr layer = layerOf(front.project->format(), std::vector<float>(40000));
    ASSERT_TRUE(front.project->layers()->appendChild(layer));
    front.project->setActiveLayer(layer);
    front.post();
    for (const bool accept : {false, true}) {
        DialogScript script;
        script.on("Channel Remixer",
                  [&](QDialog& dialog) { DialogScript::press(dialog, accept ? "OK" : "Cancel"); });
        session.data.paste();
        EXPECT_EQ(session.rows(), accept ? (QStringList{"New", "Paste"}) : QStringList("New"));
        EXPECT_EQ(session.data.clipboard()->format().channels, 1);
    }
    const auto after = dataOf(*layer);
    const auto clip = dataOf(*session.data.clipboard());
    const Matrix gains =
        defaultRemix(session.data.clipboard()->format(), front.project->format()); // as it was proposed
    for (std::size_t i = 0; i < 20000; ++i)
        for (std::size_t c = 0; c < 2; ++c)
            ASSERT_NEAR(after[2 * i + c], clip[i] * gains.data[qint64(c)], 1e-6f);
    EXPECT_GT(differenceDb(after, std::vector<float>(40000)), -20);
}

// --- new layers ------------------------------------------------------------------------------------

TEST(Clipboard, ToNewLayersComeAtThePlaceOfTheActiveOneAndLeaveNoSelection)
{
    EditSession session;
    const LayerGroupPtr group = LayerGroup::create(session.project().format());
    const auto samples = noise(20000, 11);
    const LayerPtr layer = layerOf(session.project().format(), samples);
    layer->setName("layer 9x");
    ASSERT_TRUE(group->appendChild(layerOf(session.project().format(), samples)));
    ASSERT_TRUE(group->appendChild(layer));
    session.ground(group);
    session.activate(layer);
    session.select(5003, 7777, 700, 3300);
    session.data.cutToNew();
    ASSERT_EQ(group->children(ChildrenDirect).size(), 3);
    const ILayerPtr made = group->children(ChildrenDirect)[1];
    EXPECT_EQ(group->children(ChildrenDirect)[2], ILayerPtr(layer));
    EXPECT_EQ(made->name(), QStringLiteral("Layer 10"));
    EXPECT_NE(made->color(), 0xffffffff);
    EXPECT_EQ(session.project().activeLayer(), made);
    EXPECT_EQ(made->range(), (Range{5003, 7777}));
    EXPECT_TRUE(session.selection().isEmpty());
    EXPECT_TRUE(session.project().selection.isEmpty());
    EXPECT_EQ(session.data.clipboard(), nullptr);
    // Both together are what was there.
    auto sum = samplesOf(*layer, {0, 20000});
    const auto part = samplesOf(*made, {0, 20000});
    for (std::size_t i = 0; i < sum.size(); ++i)
        sum[i] += part[i];
    EXPECT_LT(differenceDb(sum, samples), -100);
    session.select(5003, 7777, 700, 3300);
    session.activate(layer);
    session.data.copyToNew();
    EXPECT_EQ(group->children(ChildrenDirect)[2]->name(), QStringLiteral("Layer 11"));
    EXPECT_NE(group->children(ChildrenDirect)[2]->color(), made->color());
}

TEST(Clipboard, PasteToNewIsAnIndependentLayerAtTheTransport)
{
    EditSession session;
    session.begin(noise(20000, 12));
    session.select(5003, 777, 700, 3300);
    session.data.cut();
    const auto clip = dataOf(*session.data.clipboard());
    session.activate(nullptr);
    session.moveTransport(100);
    session.data.pasteToNew();
    EXPECT_EQ(session.boxes.words(), QStringList());
    const ILayerPtr made = session.tree()->children(ChildrenDirect).first();
    EXPECT_EQ(session.project().activeLayer(), made);
    EXPECT_EQ(made->range(), (Range{100, 777}));
    EXPECT_EQ(samplesOf(*made, made->range()), clip);
    EXPECT_TRUE(made->hasBackup());
    made->clear();
    EXPECT_EQ(dataOf(*session.data.clipboard()), clip);
    EXPECT_EQ(session.data.clipboard()->dataRange().start, 5003);
}

// --- a full disk -----------------------------------------------------------------------------------

TEST(Clipboard, WithoutRoomNothingChangesAndOneBoxNamesFolderAndCause)
{
    for (const Command& command : commands) {
        SCOPED_TRACE(command.name);
        EditSession session;
        const auto samples = noise(300000, 13);
        const LayerPtr layer = session.begin(samples);
        session.select(5003, 200000, 700, 3300);
        session.data.copy();
        const QStringList rows = session.rows();
        const auto children = session.tree()->children(ChildrenAll);
        const LayerPtr clip = session.data.clipboard();
        const uint32_t selection = session.selection().fingerprint();
        {
            const DiskLimit limit(100000);
            (session.data.*command.slot)();
        }
        ASSERT_EQ(session.boxes.list.size(), 1) << session.boxes.words().join('\n').toStdString();
        const messages::Box& box = session.boxes.list[0];
        EXPECT_EQ(box.icon, QMessageBox::Critical);
        EXPECT_EQ(box.title, QString::fromLatin1(command.step));
        EXPECT_EQ(box.text, QStringLiteral("The last action could not be stored and was taken back."));
        EXPECT_TRUE(box.informative.contains(sessionFolder())) << box.informative.toStdString();
        EXPECT_EQ(session.rows(), rows);
        EXPECT_EQ(dataOf(*layer), samples);
        EXPECT_EQ(session.tree()->children(ChildrenAll), children);
        EXPECT_EQ(session.data.clipboard(), clip);
        EXPECT_EQ(session.selection().fingerprint(), selection);
        // With room again it works.
        (session.data.*command.slot)();
        EXPECT_EQ(session.boxes.list.size(), 1);
        EXPECT_EQ(session.lastStep(), QString::fromLatin1(command.step));
    }
}
