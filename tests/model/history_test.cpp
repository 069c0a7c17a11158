// Undo of documents: the named cases first, then random sessions against the samples that were recorded.
#include "model/documentlock.h"
#include "model/history.h"

#include "model/historysession.h"
#include "model/layerregion.h"
#include "model/timechange.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <random>
#include <thread>

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QVariant>

using namespace modeltest;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::UnorderedElementsAreArray;

namespace {

struct HistoryTest : testing::Test
{
    ~HistoryTest() override
    {
        setProperty("history", {});
        setProperty("maxhistory", {});
        setProperty("externalmanagement", {});
    }
};

// --- the named cases -------------------------------------------------------------------------------

TEST_F(HistoryTest, RecordingAtTheLimitDropsTheOldestAndKeepsTheCount)
{
    setProperty("history", 4);
    Session s;
    const LayerPtr layer = s.ground({1, 1, 1, 1});
    for (int i = 1; i <= 6; ++i) {
        s.write(layer, 0, {float(i)});
        s.record(QString::number(i));
        EXPECT_EQ(s.history.currentRow(), s.history.states().size() - 1);
        EXPECT_EQ(s.project().historyIndex(), s.history.currentRow());
    }
    EXPECT_THAT(s.rows(), ElementsAre("3", "4", "5", "6"));
    EXPECT_EQ(s.project().history().size(), 4);
    EXPECT_EQ(dataOf(*layer)[0], 6);
    EXPECT_EQ(s.history.moveTo(0), History::Result::Done);
    EXPECT_EQ(dataOf(*layer)[0], 3);
    EXPECT_FALSE(s.history.canUndo());
    EXPECT_TRUE(s.history.states()[0].layerRecords.isEmpty());
}

TEST_F(HistoryTest, UndoOfASelectionOnlyLeavesLayersUntouchedAndPostsSelectionChange)
{
    Session s;
    const LayerPtr layer = s.ground(ramp(10));
    QPainterPath path;
    path.addRect(0, 0, 10, 100);
    const Selection selection(path);
    postEvent(nullptr, EventId::SelectionChange, selection, nullptr);
    s.record();
    EXPECT_TRUE(s.history.states()[1].selectionChanged);
    const int64_t time = layer->contentTime();
    EXPECT_EQ(s.history.undo(), History::Result::Done);
    EXPECT_EQ(layer->contentTime(), time);
    EXPECT_THAT(s.owner.heard,
                ElementsAre(EventId::LayerActivate, EventId::SelectionChange, EventId::HistoryActivate));
    EXPECT_TRUE(s.project().selection.isEmpty());
    EXPECT_EQ(s.history.redo(), History::Result::Done);
    EXPECT_TRUE(s.project().selection == selection);
}

TEST_F(HistoryTest, UndoAtRowZeroDoesNothing)
{
    Session s;
    const LayerPtr layer = s.ground(ramp(10));
    EXPECT_FALSE(s.history.canUndo());
    EXPECT_EQ(s.history.undo(), History::Result::Nothing);
    EXPECT_EQ(s.history.undo(), History::Result::Nothing);
    EXPECT_EQ(s.history.redo(), History::Result::Nothing);
    EXPECT_THAT(dataOf(*layer), ElementsAreArray(ramp(10)));
    EXPECT_EQ(s.history.currentRow(), 0);
}

TEST_F(HistoryTest, RecordingAfterUndoRemovesTheRedoStatesAndTheirFiles)
{
    Session s;
    const LayerPtr layer = s.ground(ramp(10));
    s.write(layer, 0, {5});
    s.record("a");
    s.write(layer, 1, {6});
    s.record("b");
    s.history.moveTo(0);
    EXPECT_EQ(sessionFiles().size(), 5);
    s.write(layer, 2, {7});
    s.record("c");
    EXPECT_THAT(s.rows(), ElementsAre("New", "c"));
    EXPECT_FALSE(s.history.canRedo());
    EXPECT_EQ(sessionFiles().size(), 3); // the layer, and its images of "c"
    EXPECT_THAT(dataOf(*layer), ElementsAre(1, 2, 7, 4, 5, 6, 7, 8, 9, 10));
}

// --- steps and events ------------------------------------------------------------------------------

TEST_F(HistoryTest, RecordHoldsOnlyWhatChanged)
{
    Session s;
    const LayerPtr a = s.ground(ramp(10));
    const LayerPtr b = s.ground(ramp(10));
    s.write(a, 0, {5});
    s.record("Cut");
    const HistoryEntry& entry = s.history.states()[1];
    EXPECT_EQ(entry.name, QStringLiteral("Cut"));
    EXPECT_THAT(entry.layerRecords.keys(), ElementsAre(ILayerPtr(a)));
    EXPECT_FALSE(entry.metadataChanged || entry.markersChanged || entry.spectralMarkersChanged ||
                 entry.selectionChanged);
    EXPECT_TRUE(b->records().isEmpty());
}

TEST_F(HistoryTest, ListsGoBackAndForthAndAreToldOnlyWhenTheyDo)
{
    Session s;
    const MarkerList markers{{1, 10, 5, "m"}};
    const MarkerList moved{{1, 10, 6, "m"}};
    const SpectralMarkerList spectral{{1, 2, 3, 4, "s"}};
    const MetaDataList tags{{QStringLiteral("INAM"), QStringLiteral("Name")}};
    postEvent(nullptr, EventId::MarkerListChange, markers, nullptr);
    postEvent(nullptr, EventId::SpectralMarkerListChange, spectral, nullptr);
    s.record();
    postEvent(nullptr, EventId::MetaDataListChange, tags, nullptr);
    postEvent(nullptr, EventId::MarkerListChange, moved, nullptr);
    s.record();
    s.history.undo();
    EXPECT_THAT(s.owner.heard,
                ElementsAre(EventId::LayerActivate, EventId::MetaDataListChange, EventId::MarkerListChange,
                            EventId::SelectionChange, EventId::HistoryActivate));
    EXPECT_EQ(s.project().markerList(), markers);
    EXPECT_EQ(s.project().spectralMarkerList(), spectral);
    EXPECT_TRUE(s.project().metadata.isEmpty());
    s.history.undo();
    EXPECT_TRUE(s.project().markerList().isEmpty());
    EXPECT_TRUE(s.project().spectralMarkerList().isEmpty());
    s.history.moveTo(2);
    EXPECT_EQ(s.project().markerList(), moved);
    EXPECT_EQ(s.project().metadata, tags);
}

TEST_F(HistoryTest, EachStepOfAMoveTellsItsLayers)
{
    Session s;
    const LayerPtr a = s.ground(ramp(10));
    const LayerPtr b = s.ground(ramp(10));
    s.write(a, 0, {5});
    s.record();
    s.write(b, 0, {6});
    s.record();
    s.history.moveTo(0);
    EXPECT_THAT(s.owner.updated, ElementsAre(ILayerPtr(b), ILayerPtr(a)));
    EXPECT_EQ(s.owner.heard.count(EventId::HistoryActivate), 1);
    s.owner.updated.clear();
    s.history.moveTo(2);
    EXPECT_THAT(s.owner.updated, ElementsAre(ILayerPtr(a), ILayerPtr(b)));
    // Its own words do not make the layers changed ones.
    s.record();
    EXPECT_TRUE(s.history.states().last().layerRecords.isEmpty());
}

TEST_F(HistoryTest, SignalsTellTheButtons)
{
    Session s;
    QList<bool> undo, redo;
    QList<int> rows;
    QObject::connect(&s.history, &History::undoEnabled, [&](bool on) { undo << on; });
    QObject::connect(&s.history, &History::redoEnabled, [&](bool on) { redo << on; });
    QObject::connect(&s.history, &History::currentRowChanged, [&](int row) { rows << row; });
    s.record();
    s.history.undo();
    s.history.redo();
    EXPECT_THAT(undo, ElementsAre(true, false, true));
    EXPECT_THAT(redo, ElementsAre(false, true, false));
    EXPECT_THAT(rows, ElementsAre(1, 0, 1));
}

TEST_F(HistoryTest, LimitFollowsThePropertyUpToItsOwnLimit)
{
    EXPECT_EQ(History::limit(), 48);
    setProperty("history", 8);
    EXPECT_EQ(History::limit(), 8);
    setProperty("history", 1000);
    EXPECT_EQ(History::limit(), 64);
    setProperty("maxhistory", 100);
    EXPECT_EQ(History::limit(), 100);
    setProperty("history", -3);
    EXPECT_EQ(History::limit(), 1);
    setProperty("history", QStringLiteral("many"));
    EXPECT_EQ(History::limit(), 48);
}

TEST_F(HistoryTest, DeletingTheOnlyStateIsRefused)
{
    Session s;
    EXPECT_EQ(s.history.deleteCurrentAndAfter(), History::Result::FirstState);
    EXPECT_EQ(s.history.states().size(), 1);
}

TEST_F(HistoryTest, DeletingUndoesTheStateAndDropsItAndAllAfterIt)
{
    Session s;
    const LayerPtr layer = s.ground(ramp(4));
    for (const char* name : {"a", "b", "c", "d"}) {
        s.write(layer, 0, {float(name[0])});
        s.record(QString::fromLatin1(name));
    }
    s.history.moveTo(3);
    EXPECT_EQ(s.history.deleteCurrentAndAfter(), History::Result::Done);
    EXPECT_THAT(s.rows(), ElementsAre("New", "a", "b"));
    EXPECT_EQ(s.project().history().size(), 3);
    EXPECT_EQ(s.project().historyIndex(), 2);
    EXPECT_EQ(dataOf(*layer)[0], float('b'));
    EXPECT_EQ(s.history.deleteFrom(9), History::Result::Nothing);
    s.history.moveTo(0);
    EXPECT_EQ(s.history.deleteCurrentAndAfter(), History::Result::Done);
    EXPECT_THAT(s.rows(), ElementsAre("New"));
    EXPECT_EQ(sessionFiles().size(), 1);
    EXPECT_THAT(dataOf(*layer), ElementsAreArray(ramp(4)));
}

TEST_F(HistoryTest, GroupsAndWhatWasRemovedFromThemComeBack)
{
    Session s;
    const LayerPtr a = s.ground(ramp(4));
    const LayerGroupPtr group = LayerGroup::create(realFormat());
    EXPECT_TRUE(s.tree()->appendChild(group));
    EXPECT_TRUE(s.tree()->removeChild(a));
    EXPECT_TRUE(group->appendChild(a));
    s.write(a, 0, {9});
    s.record("Group");
    // Edited and removed in one action, and nobody names the groups.
    s.write(a, 1, {8});
    EXPECT_TRUE(group->removeChild(a));
    s.record("Delete");
    EXPECT_TRUE(s.tree()->range().isEmpty());
    s.history.undo();
    EXPECT_THAT(dataOf(*a), ElementsAre(9, 2, 3, 4));
    EXPECT_THAT(group->children(ChildrenDirect), ElementsAre(ILayerPtr(a)));
    s.history.undo();
    EXPECT_THAT(s.tree()->children(ChildrenDirect), ElementsAre(ILayerPtr(a)));
    EXPECT_TRUE(group->isEmpty());
    EXPECT_THAT(dataOf(*a), ElementsAreArray(ramp(4)));
    s.history.moveTo(1);
    EXPECT_THAT(s.tree()->children(ChildrenAll), ElementsAre(ILayerPtr(group), ILayerPtr(a)));
    s.history.moveTo(2);
    EXPECT_THAT(s.tree()->children(ChildrenAll), ElementsAre(ILayerPtr(group)));
}

TEST_F(HistoryTest, TheActiveLayerFollowsTheTree)
{
    Session s;
    const LayerPtr a = s.ground(ramp(4));
    s.project().setActiveLayer(a);
    const LayerPtr b = s.add(ramp(4));
    s.project().setActiveLayer(b);
    s.record("New Layer");
    s.history.undo();
    EXPECT_EQ(s.project().activeLayer(), ILayerPtr(a));
    s.history.redo();
    EXPECT_EQ(s.project().activeLayer(), ILayerPtr(a));
}

TEST_F(HistoryTest, EditsThroughARegionAreUndoneByTheSource)
{
    Session s;
    const LayerPtr source = layerOf(realFormat(), ramp(10));
    const LayerRegionPtr region = LayerRegion::create(source, 5, 5, -5);
    EXPECT_TRUE(s.tree()->appendChild(region));
    s.project().resetHistory("New");
    s.owner.post();
    setProperty("externalmanagement", true);
    s.write(region, 5, {99});
    s.record();
    EXPECT_THAT(s.history.states()[1].layerRecords.keys(), ElementsAre(ILayerPtr(source)));
    s.history.undo();
    EXPECT_EQ(samplesOf(*region, {5, 1})[0], 1);
    setProperty("externalmanagement", false);
    s.write(region, 5, {98});
    s.record();
    EXPECT_EQ(s.history.states()[1].layerRecords.size(), 2);
}

TEST_F(HistoryTest, GroupsOfAHostAreNotRecorded)
{
    setProperty("externalmanagement", true);
    Session s;
    s.add(ramp(4));
    Session::tell(s.tree());
    s.record();
    EXPECT_TRUE(s.history.states()[1].layerRecords.isEmpty());
}

TEST_F(HistoryTest, WhatNoStateHoldsIsTakenBackBeforeAMove)
{
    Session s;
    const LayerPtr layer = s.ground(ramp(200000));
    s.write(layer, 0, {9});
    s.record();
    s.write(layer, 150000, {7}); // a tool without a title, far from what the state holds
    s.history.undo();
    EXPECT_EQ(dataOf(*layer), ramp(200000));
    s.history.redo();
    EXPECT_EQ(samplesOf(*layer, {150000, 1})[0], 150001);
    EXPECT_EQ(samplesOf(*layer, {0, 1})[0], 9);
}

TEST_F(HistoryTest, StatesSurviveAChangeOfProjects)
{
    Session s;
    const LayerPtr layer = s.ground(ramp(4));
    s.write(layer, 0, {9});
    s.record("a");
    s.write(layer, 0, {8});
    s.record("b");
    s.history.undo();
    const ProjectPtr first = s.owner.project;
    s.owner.project = std::make_shared<Project>(realFormat(2));
    s.project().resetHistory("Other");
    s.owner.post();
    EXPECT_THAT(s.rows(), ElementsAre("Other"));
    EXPECT_FALSE(s.history.canUndo());
    s.owner.project = first;
    s.owner.post();
    EXPECT_THAT(s.rows(), ElementsAre("New", "a", "b"));
    EXPECT_EQ(s.history.currentRow(), 1);
    s.history.redo();
    EXPECT_EQ(dataOf(*layer)[0], 8);
    s.history.moveTo(0);
    EXPECT_EQ(dataOf(*layer)[0], 1);
}

// Import posts the whole state before it records: what it added must still count as its change.
TEST_F(HistoryTest, AStateToldTwiceIsNotANewBeginning)
{
    Session s;
    s.project().setMarkers({{1, 10, 0, "m"}});
    s.owner.post();
    s.record("Import");
    EXPECT_TRUE(s.history.states()[1].markersChanged);
    s.history.undo();
    EXPECT_TRUE(s.project().markerList().isEmpty());
}

TEST_F(HistoryTest, AnUnsetFormatClearsEverything)
{
    Session s;
    s.record();
    postEvent(nullptr, EventId::SamplingFormatChange, SamplingFormat(), nullptr);
    EXPECT_TRUE(s.history.states().isEmpty());
    EXPECT_EQ(s.history.currentRow(), -1);
    EXPECT_EQ(s.history.undo(), History::Result::Nothing);
    EXPECT_EQ(s.history.deleteCurrentAndAfter(), History::Result::FirstState);
}

// --- no room ---------------------------------------------------------------------------------------

TEST_F(HistoryTest, ARecordWithoutRoomTakesTheWholeActionBack)
{
    Session s;
    const LayerPtr a = s.ground(ramp(10));
    const LayerPtr b = s.ground(ramp(1000));
    s.write(a, 0, {50});
    s.record("a");
    s.write(a, 0, {60});
    s.record("b");
    s.history.undo();
    const QStringList files = sessionFiles();
    const MarkerList markers{{1, 2, 3, "m"}};
    s.write(a, 1, {70});
    s.write(b, 0, ramp(1000, 7000));
    const LayerPtr added = s.add(ramp(3));
    postEvent(nullptr, EventId::MarkerListChange, markers, nullptr);
    {
        const DiskLimit limit(2000);
        s.record("c");
    }
    ASSERT_EQ(s.words.size(), 1);
    EXPECT_TRUE(s.words[0].contains(sessionFolder())) << s.words[0].toStdString();
    EXPECT_THAT(s.rows(), ElementsAre("New", "a", "b"));
    EXPECT_EQ(s.history.currentRow(), 1);
    EXPECT_THAT(samplesOf(*a, {0, 3}), ElementsAre(50, 2, 3));
    EXPECT_EQ(dataOf(*b), ramp(1000));
    EXPECT_FALSE(s.tree()->contains(added, true));
    EXPECT_TRUE(s.project().markerList().isEmpty());
    EXPECT_EQ(sessionFiles().size(), files.size() + 1); // `added` lives here
    s.history.redo();
    EXPECT_EQ(dataOf(*a)[0], 60);
    s.history.moveTo(0);
    EXPECT_EQ(dataOf(*a), ramp(10));
}

// The first layer's image has room, the second one's has not; and the first one could not grow back.
TEST_F(HistoryTest, WithoutRoomForTheImageOfOneLayerNoneIsRecordedAndNoneStaysChanged)
{
    Session s;
    const LayerPtr a = s.ground(ramp(10000));
    const LayerPtr b = s.ground(ramp(20000));
    for (const LayerPtr& layer : {a, b}) {
        layer->deleteTime({1000, 8990});
        Session::tell(layer);
    }
    const QStringList rows = s.rows();
    {
        const DiskLimit limit(2000);
        s.record("lost");
    }
    ASSERT_EQ(s.words.size(), 1);
    EXPECT_TRUE(s.words[0].contains(sessionFolder())) << s.words[0].toStdString();
    EXPECT_EQ(s.rows(), rows);
    EXPECT_TRUE(dataOf(*a) == ramp(10000));
    EXPECT_TRUE(dataOf(*b) == ramp(20000));
    EXPECT_EQ(sessionFiles().size(), 2);
    s.record("nothing is left of it");
    EXPECT_TRUE(s.history.states().last().layerRecords.isEmpty());
}

// Everything that it needs is there before the first layer changes: nothing can fail afterwards.
TEST_F(HistoryTest, AChangeOfTimeThatWasMadeNeedsNoRoomToBeRecorded)
{
    for (const TimeChangeKind kind : {TimeChangeKind::Insert, TimeChangeKind::Delete, TimeChangeKind::Crop})
        for (const Range& range : {Range{100000, 50000}, Range{0, 120000}, Range{90000, 200000}}) {
            SCOPED_TRACE(testing::Message() << int(kind) << " " << range.start);
            Session s;
            const LayerPtr a = s.ground(ramp(200000));
            const LayerPtr b = s.ground(layerOf(realFormat(), ramp(150000, 7), 30000));
            TimeChange change(kind, range);
            change.add(s.tree());
            ASSERT_TRUE(change.run({}));
            const std::vector<float> changedA = dataOf(*a), changedB = dataOf(*b);
            const Range rangeA = a->dataRange(), rangeB = b->dataRange();
            Session::tell(a);
            Session::tell(b);
            {
                const DiskLimit limit(100);
                s.record("time");
            }
            EXPECT_THAT(s.words, IsEmpty());
            EXPECT_EQ(s.rows().last(), QStringLiteral("time"));
            for (int round = 0; round < 2; ++round) {
                EXPECT_EQ(s.history.undo(), History::Result::Done);
                EXPECT_TRUE(dataOf(*a) == ramp(200000));
                EXPECT_TRUE(dataOf(*b) == ramp(150000, 7));
                EXPECT_EQ(b->dataRange(), (Range{30000, 150000}));
                EXPECT_EQ(s.history.redo(), History::Result::Done);
                EXPECT_TRUE(dataOf(*a) == changedA);
                EXPECT_TRUE(dataOf(*b) == changedB);
                EXPECT_EQ(a->dataRange(), rangeA);
                EXPECT_EQ(b->dataRange(), rangeB);
            }
        }
}

// What is written between the change and its record belongs to the record.
TEST_F(HistoryTest, AnEditAroundAChangeOfTimeInTheSameStepIsRecordedWithIt)
{
    Session s;
    const LayerPtr a = s.ground(ramp(200000));
    s.write(a, 5, {70});
    TimeChange change(TimeChangeKind::Delete, {100000, 50000});
    change.add(s.tree());
    ASSERT_TRUE(change.run({}));
    s.write(a, 120000, {80});
    const std::vector<float> after = dataOf(*a);
    EXPECT_EQ(after[120000], 80);
    s.record();
    EXPECT_EQ(s.history.undo(), History::Result::Done);
    EXPECT_TRUE(dataOf(*a) == ramp(200000));
    EXPECT_EQ(s.history.redo(), History::Result::Done);
    EXPECT_TRUE(dataOf(*a) == after);
}

TEST_F(HistoryTest, AnEditThatCouldNotBeStoredInFullIsNotRecorded)
{
    Session s;
    const LayerPtr a = s.ground(ramp(10));
    s.write(a, 0, {50});
    {
        const DiskLimit limit(40);
        const std::vector<float> in = ramp(10);
        EXPECT_FALSE(a->write(in.data(), {10, 10}, 0, true));
    }
    s.record();
    EXPECT_EQ(s.words.size(), 1);
    EXPECT_EQ(s.history.states().size(), 1);
    EXPECT_EQ(dataOf(*a), ramp(10));
    EXPECT_FALSE(a->takeStorageError());
    s.write(a, 0, {51});
    s.record();
    EXPECT_EQ(s.history.states().size(), 2);
}

TEST_F(HistoryTest, AStepWithoutRoomIsNotMadeAndNothingIsLost)
{
    Session s;
    const LayerPtr a = s.ground(ramp(10));
    const LayerPtr b = s.ground(ramp(1000));
    s.write(a, 0, {50});
    b->cropTo({0, 10});
    Session::tell(b);
    s.record();
    {
        const DiskLimit limit(2000);
        EXPECT_EQ(s.history.undo(), History::Result::NoSpace);
    }
    EXPECT_EQ(s.words.size(), 1);
    EXPECT_EQ(s.history.currentRow(), 1);
    EXPECT_EQ(dataOf(*a)[0], 50);
    EXPECT_EQ(dataOf(*b), ramp(10));
    EXPECT_EQ(s.history.undo(), History::Result::Done);
    EXPECT_EQ(dataOf(*a), ramp(10));
    EXPECT_EQ(dataOf(*b), ramp(1000));
    s.history.redo();
    EXPECT_EQ(dataOf(*b), ramp(10));
}

TEST_F(HistoryTest, ASessionFolderThatVanishesCostsTheActionAndNoMore)
{
    Session s;
    const LayerPtr a = s.ground(ramp(200000));
    s.write(a, 0, {50});
    s.record("kept");
    const QString folder = sessionFolder();
    setProperty("sessionpath", folder + QStringLiteral("/gone"));
    const float value = 60;
    EXPECT_FALSE(a->write(&value, {150000, 1}, 0, true)); // its old block has nowhere to go
    Session::tell(a);
    s.record("lost");
    setProperty("sessionpath", folder);
    EXPECT_EQ(s.words.size(), 1);
    EXPECT_THAT(s.rows(), ElementsAre("New", "kept"));
    EXPECT_EQ(samplesOf(*a, {150000, 1})[0], 150001);
    EXPECT_EQ(samplesOf(*a, {0, 1})[0], 50);
    s.history.undo();
    EXPECT_EQ(dataOf(*a), ramp(200000));
}

TEST_F(HistoryTest, ASessionFolderThatIsDeletedInTheMidstOfAnEditLosesNothingThatIsOpen)
{
    const QString before = sessionFolder(), folder = testsupport::makeFolder(QStringLiteral("deleted"));
    setProperty("sessionpath", folder);
    {
        Session s;
        const LayerPtr a = s.ground(ramp(400000));
        s.write(a, 0, {50});
        s.record("kept");
        s.write(a, 100, {51}); // kept for undo already
        ASSERT_TRUE(QDir(folder).removeRecursively());
        s.write(a, 350000, {60}); // what is open may still grow
        EXPECT_FALSE(a->changeFormat(realFormat(1, 44100), Matrix(1, 1), {}));
        a->stretch(2);
        EXPECT_EQ(a->dataRange(), (Range{0, 400000}));
        Session::tell(a);
        s.record("lost");
        EXPECT_EQ(s.words.size(), 1);
        EXPECT_TRUE(s.words.value(0).contains(folder)) << s.words.value(0).toStdString();
        EXPECT_THAT(s.rows(), ElementsAre("New", "kept"));
        std::vector<float> expected = ramp(400000);
        expected[0] = 50;
        EXPECT_TRUE(dataOf(*a) == expected) << "the whole action is taken back";
        const float value = 60;
        EXPECT_FALSE(a->write(&value, {350000, 1}, 0, true)) << "undo has no place any more";
        EXPECT_TRUE(dataOf(*a) == expected);
        EXPECT_TRUE(a->takeStorageError());
        // With the folder back, everything goes on; what was open is still there.
        ASSERT_TRUE(QDir().mkpath(folder));
        s.write(a, 350000, {61});
        s.record("again");
        EXPECT_THAT(s.rows(), ElementsAre("New", "kept", "again"));
        s.history.moveTo(0);
        EXPECT_TRUE(dataOf(*a) == ramp(400000));
    }
    EXPECT_THAT(sessionFiles(), IsEmpty());
    setProperty("sessionpath", before);
}

// --- hostile ---------------------------------------------------------------------------------------

TEST_F(HistoryTest, AGroupIsNotAddedToItselfOrToItsOwnChild)
{
    const LayerGroupPtr outer = LayerGroup::create(realFormat()), inner = LayerGroup::create(realFormat());
    EXPECT_TRUE(outer->appendChild(inner));
    EXPECT_FALSE(outer->appendChild(outer));
    EXPECT_FALSE(inner->prependChild(outer));
    EXPECT_FALSE(inner->insertChild(0, outer));
    EXPECT_TRUE(inner->isEmpty());
    EXPECT_EQ(outer->children(ChildrenAll).size(), 1);
}

TEST_F(HistoryTest, ARecordOfAnotherFormatIsRefused)
{
    // As many bytes for a sample point, yet other samples.
    const LayerPtr stereo = layerOf(realFormat(2), ramp(20));
    LayerRecord record;
    record.before = record.after = layerOf(complexFormat(1), ramp(4));
    record.beforeRange = record.afterRange = {0, 2};
    for (int32_t direction : {0, 1}) {
        stereo->applyRecord(record, direction);
        EXPECT_EQ(dataOf(*stereo), ramp(20));
        EXPECT_TRUE(stereo->records().isEmpty());
    }
    const LayerGroupPtr group = LayerGroup::create(realFormat());
    EXPECT_TRUE(group->appendChild(layerOf(realFormat(), ramp(2))));
    const LayerGroupPtr other = LayerGroup::create(realFormat(2));
    record.before = record.after = other;
    group->applyRecord(record, 0);
    record.before = record.after = stereo;
    group->applyRecord(record, 1);
    EXPECT_EQ(group->children(ChildrenDirect).size(), 1);
    EXPECT_TRUE(group->records().isEmpty());
}

// A group that held another and is then held by it: their records name each other.
TEST_F(HistoryTest, NoFileOutlivesADocumentWhoseGroupsChangedPlaces)
{
    const QStringList before = sessionFiles();
    {
        Session s;
        const LayerGroupPtr a = LayerGroup::create(realFormat()), b = LayerGroup::create(realFormat());
        EXPECT_TRUE(s.tree()->appendChild(a));
        EXPECT_TRUE(a->appendChild(b));
        s.add(ramp(4), a);
        s.record();
        EXPECT_TRUE(s.tree()->removeChild(a));
        EXPECT_TRUE(a->removeChild(b));
        EXPECT_TRUE(b->appendChild(a));
        EXPECT_TRUE(s.tree()->appendChild(b));
        s.record();
        s.history.undo();
        EXPECT_THAT(s.tree()->children(ChildrenDirect), ElementsAre(ILayerPtr(a)));
        s.history.redo();
        EXPECT_THAT(s.tree()->children(ChildrenDirect), ElementsAre(ILayerPtr(b)));
    }
    EXPECT_EQ(sessionFiles(), before);
}

// Readers of the mix while groups change places back and forth: whoever holds the lock hears each layer
// just once, and a reader without it never runs in circles.
TEST_F(HistoryTest, ReadersFindATreeWhileTheHistoryRegroups)
{
    Session s;
    const LayerGroupPtr a = LayerGroup::create(realFormat()), b = LayerGroup::create(realFormat());
    EXPECT_TRUE(s.tree()->appendChild(a));
    EXPECT_TRUE(a->appendChild(b));
    s.add(std::vector<float>(100, 1), a);
    s.record();
    EXPECT_TRUE(s.tree()->removeChild(a));
    EXPECT_TRUE(a->removeChild(b));
    EXPECT_TRUE(b->appendChild(a));
    EXPECT_TRUE(s.tree()->appendChild(b));
    s.record();
    std::atomic<bool> done = false;
    std::atomic<int> wrong = 0;
    const LayerGroupPtr mix = s.tree();
    std::thread reader([&] {
        std::vector<float> out(100);
        while (!done) {
            const ReadLocker document(documentLock());
            mix->read(out.data(), {0, 100}, 0, true);
            for (const float value : out)
                wrong += value != 1;
        }
    });
    std::thread unlocked([&] {
        std::vector<float> out(100);
        while (!done)
            mix->read(out.data(), {0, 100}, 0, true);
    });
    for (int i = 0; i < 200; ++i)
        s.history.moveTo(1 + i % 2);
    done = true;
    reader.join();
    unlocked.join();
    EXPECT_EQ(wrong, 0);
}

// --- the cost of undo ------------------------------------------------------------------------------

TEST_F(HistoryTest, FortyEightStatesAndTheirDroppingLeaveOnlyFilesInUse)
{
    Session s;
    const LayerPtr a = s.ground(ramp(100000));
    const LayerPtr b = s.ground(ramp(300000));
    for (int i = 0; i < 48; ++i) {
        s.write(i % 3 ? a : b, 1000 * i, ramp(500, float(i)));
        if (i % 10 == 9) {
            // Layers that come and go.
            s.add(ramp(10));
            if (i > 20) {
                EXPECT_TRUE(s.tree()->removeChild(s.tree()->children(ChildrenDirect).value(2)));
            }
        }
        s.record(QString::number(i));
    }
    EXPECT_EQ(s.history.states().size(), 48);
    for (int i = 48; i < 100; ++i) {
        s.write(i % 3 ? a : b, 1000 * i, ramp(500, float(i)));
        s.record(QString::number(i));
    }
    EXPECT_EQ(s.history.states().size(), 48);
    EXPECT_EQ(s.history.states()[0].name, QStringLiteral("52"));
    const QStringList inUse = filesOf(s.history.states(), s.project().root().allLayers());
    EXPECT_EQ(inUse.size(), 2 * 47 + s.project().root().allLayers().size());
    EXPECT_THAT(sessionFiles(), UnorderedElementsAreArray(inUse));
    s.history.moveTo(0);
    EXPECT_THAT(sessionFiles(),
                UnorderedElementsAreArray(filesOf(s.history.states(), s.project().root().allLayers())));
    EXPECT_EQ(s.history.deleteCurrentAndAfter(), History::Result::Done);
    EXPECT_THAT(sessionFiles(), UnorderedElementsAreArray(filesOf({}, s.project().root().allLayers())));
}

TEST_F(HistoryTest, ALowerLimitDropsSeveralStatesWithTheirFiles)
{
    Session s;
    const LayerPtr layer = s.ground(ramp(10));
    for (int i = 0; i < 10; ++i) {
        s.write(layer, 0, {float(i)});
        s.record();
    }
    EXPECT_EQ(sessionFiles().size(), 1 + 10 * 2);
    setProperty("history", 3);
    s.write(layer, 0, {99});
    s.record();
    EXPECT_EQ(s.history.states().size(), 3);
    EXPECT_EQ(sessionFiles().size(), 1 + 2 * 2);
}

int64_t bytesInUse()
{
    int64_t sum = 0;
    for (const QFileInfo& file : QDir(sessionFolder()).entryInfoList(QDir::Files))
        sum += file.size();
    return sum;
}

// On a disk, where the samples of an hour are reserved and not written.
TEST_F(HistoryTest, AnEditOfOneSecondInAnHourCostsItsBlocksOneMoreAndTheAfterImage)
{
    constexpr int64_t second = 48000, hour = 3600 * second;
    const QString before = sessionFolder();
    setProperty("sessionpath", testsupport::makeFolder(QStringLiteral("hour")));
    {
        Session s(realFormat(2));
        const LayerPtr layer = Layer::create(realFormat(2), {}, 0, false);
        layer->extendTo({0, hour});
        ASSERT_FALSE(layer->takeStorageError()) << "this needs 1.4 GB of disk";
        layer->startBackup();
        s.ground(layer);
        const std::vector<float> in(std::size_t(2 * second), 0.5f);
        for (int i = 0; i < 60; ++i) {
            // All over the hour, at block borders and at both ends.
            const int64_t at = i == 0   ? 0
                               : i == 1 ? hour - second
                               : i == 2 ? 1000 * Layer::backupBlock
                                        : (i * 59 * second + i * 777) % (hour - second);
            const QStringList dropped = s.history.states().size() < History::limit()
                                            ? QStringList()
                                            : filesOf(s.history.states().mid(1, 1), {});
            int64_t given = 0; // back, by the state that makes place
            for (const QString& name : dropped)
                given += QFileInfo(sessionFolder() + QLatin1Char('/') + name).size();
            const int64_t used = bytesInUse();
            EXPECT_TRUE(layer->write(in.data(), {at, second}, -1, true));
            Session::tell(layer);
            s.record();
            const int64_t touched = (at + second - 1) / Layer::backupBlock - at / Layer::backupBlock + 1;
            const int64_t cost = bytesInUse() - used + given;
            ASSERT_LE(cost, ((touched + 1) * Layer::backupBlock + second) * 8) << at;
            ASSERT_GE(cost, 2 * second * 8) << at;
        }
        EXPECT_EQ(s.history.states().size(), 48);
        const QList<ILayerPtr> layers = s.project().root().allLayers();
        EXPECT_EQ(sessionFiles().size(), 1 + 2 * 47);
        EXPECT_THAT(sessionFiles(), UnorderedElementsAreArray(filesOf(s.history.states(), layers)));
        s.history.moveTo(0);
        EXPECT_THAT(sessionFiles(), UnorderedElementsAreArray(filesOf(s.history.states(), layers)));
        EXPECT_EQ(s.history.deleteFrom(1), History::Result::Done);
        EXPECT_THAT(sessionFiles(), UnorderedElementsAreArray(filesOf({}, layers)));
        EXPECT_EQ(layer->range().length, hour);
    }
    EXPECT_THAT(sessionFiles(), IsEmpty());
    setProperty("sessionpath", before);
}

// --- random sessions -------------------------------------------------------------------------------

// What a recorded state was, to the bit: the tree with the samples of each layer.
using Picture = std::vector<std::pair<QList<ILayerPtr>, std::vector<float>>>;

Picture pictureOf(const ILayerPtr& node)
{
    Picture picture{{node->children(ChildrenDirect), {}}};
    for (const ILayerPtr& layer : node->children(ChildrenAll)) {
        std::vector<float> samples{float(layer->range().start)};
        if (layer->type() != LayerTypeGroup)
            for (const float value : samplesOf(*layer, layer->range()))
                samples.push_back(value);
        picture.push_back({layer->children(ChildrenDirect), samples});
    }
    return picture;
}

class RandomSession
{
public:
    explicit RandomSession(uint32_t seed)
        : m_random(seed),
          m_session(pick(0, 1) ? realFormat(2) : complexFormat())
    {
        setProperty("history", 6);
        m_groups << m_session.tree();
        for (int i = 0; i < 3; ++i)
            addLayer();
        m_session.project().resetHistory("New");
        m_session.owner.post();
        m_pictures = {picture()};
    }
    void play(int steps)
    {
        for (int step = 0; step < steps && !testing::Test::HasFatalFailure(); ++step)
            this->step();
    }

private:
    int pick(int low, int high) { return std::uniform_int_distribution<int>(low, high)(m_random); }
    [[nodiscard]] Picture picture() { return pictureOf(m_session.tree()); }
    std::vector<float> noise(int frames)
    {
        std::vector<float> values(std::size_t(2 * frames));
        for (float& value : values)
            value = float(pick(-1000, 1000));
        return values;
    }
    [[nodiscard]] bool isInTree(const ILayerPtr& layer)
    {
        return layer == m_session.tree() || m_session.tree()->contains(layer, true);
    }
    // What has left the document is nobody's to edit until undo brings it back.
    LayerGroupPtr anyGroup()
    {
        const LayerGroupPtr group = m_groups[pick(0, m_groups.size() - 1)];
        return isInTree(group) ? group : m_session.tree();
    }
    void addLayer()
    {
        const LayerPtr layer = layerOf(m_session.project().format(), noise(pick(1, 60)), pick(0, 50));
        EXPECT_TRUE(anyGroup()->appendChild(layer));
        m_layers << layer;
    }
    // To another place in the tree, where that is allowed; nobody tells which groups that changes.
    void regroup(const ILayerPtr& layer)
    {
        const LayerGroupPtr target = anyGroup();
        if (layer->containsChild(target, true) || layer == target || !isInTree(layer))
            return;
        for (const LayerGroupPtr& group : m_groups)
            group->removeChild(layer);
        if (pick(0, 3) > 0) {
            EXPECT_TRUE(target->appendChild(layer));
        }
    }
    void edit();
    void step();

    std::mt19937 m_random;
    Session m_session;
    QList<LayerGroupPtr> m_groups;
    QList<LayerPtr> m_layers;
    std::vector<Picture> m_pictures; // of the rows
    bool m_pending = false;          // there are edits that no state holds
};

void RandomSession::edit()
{
    const LayerPtr layer = m_layers[pick(0, m_layers.size() - 1)];
    const int frames = pick(1, 40);
    switch (pick(0, 7)) {
    case 0:
        return addLayer();
    case 1:
        return regroup(layer);
    case 2:
        if (m_groups.size() < 4) {
            const LayerGroupPtr group = LayerGroup::create(m_session.project().format());
            EXPECT_TRUE(anyGroup()->appendChild(group));
            m_groups << group;
        } else {
            regroup(m_groups[pick(1, m_groups.size() - 1)]);
        }
        return;
    default:
        break;
    }
    if (!isInTree(layer))
        return;
    switch (pick(0, 6)) {
    case 0:
        layer->insertTime({pick(0, 80), frames});
        break;
    case 1:
        layer->deleteTime({pick(0, 80), frames});
        break;
    case 2:
        layer->moveBy(pick(-40, 40));
        break;
    default:
        EXPECT_TRUE(layer->write(noise(frames).data(), {pick(-5, 80), frames}, -1, pick(0, 1)));
    }
    Session::tell(layer);
}

void RandomSession::step()
{
    History& history = m_session.history;
    const int row = history.currentRow();
    if (const int choice = pick(0, 9); choice < 5) {
        for (int i = pick(1, 3); i > 0; --i)
            edit();
        m_pending = choice == 0;
        if (m_pending)
            return; // without a record
        m_session.record();
        m_pictures.resize(std::size_t(row) + 1);
        m_pictures.push_back(picture());
        if (m_pictures.size() > 6)
            m_pictures.erase(m_pictures.begin());
    } else if (choice == 9 && pick(0, 3) == 0) {
        const int last = std::max(0, row - 1);
        const bool refused = history.deleteCurrentAndAfter() == History::Result::FirstState;
        ASSERT_EQ(refused, m_pictures.size() == 1);
        if (refused)
            return;
        m_pictures.resize(std::size_t(last) + 1);
        m_pending = m_pending && row == 0; // nothing moved
    } else {
        const int target = pick(0, history.states().size() - 1);
        history.moveTo(target);
        ASSERT_EQ(history.currentRow(), target);
        m_pending = m_pending && target == row;
    }
    ASSERT_EQ(m_pictures.size(), std::size_t(history.states().size()));
    if (!m_pending) {
        ASSERT_EQ(picture(), m_pictures[std::size_t(history.currentRow())]);
    }
    ASSERT_THAT(m_session.words, IsEmpty());
}

TEST(HistoryScripts, EveryRowHasTheSamplesThatItWasRecordedWith)
{
    for (uint32_t seed = 1; seed <= 150 && !testing::Test::HasFatalFailure(); ++seed) {
        SCOPED_TRACE(seed);
        RandomSession(seed).play(40);
    }
    setProperty("history", {});
    EXPECT_THAT(sessionFiles(), IsEmpty());
}

} // namespace
