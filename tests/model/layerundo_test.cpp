// Undo of layers: the named cases first, then random scripts against a plain timeline in memory.
#include "model/layer.h"

#include "model/modeltest.h"
#include "model/referencelayer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <random>

#include <QFileInfo>

using namespace modeltest;
using testing::ElementsAre;
using testing::ElementsAreArray;

namespace {

void writeOne(Layer& layer, int64_t position, float value = -1)
{
    ASSERT_TRUE(layer.write(&value, {position, 1}, 0, true));
}

TEST(LayerUndo, OneSampleInAMillionBacksUpOneBlock)
{
    const LayerPtr layer = layerOf(realFormat(), ramp(1000000));
    EXPECT_TRUE(layer->backup()->isEmpty());
    writeOne(*layer, 500000);
    EXPECT_EQ(layer->backup()->dataRange(), (Range{7 * 65536, 65536}));
    writeOne(*layer, 500001);
    EXPECT_EQ(layer->backup()->dataRange(), (Range{7 * 65536, 65536}));
    EXPECT_EQ(layer->changedRange(), (Range{500000, 2}));
}

TEST(LayerUndo, BackupIsShorterAtTheEndsOfTheData)
{
    const LayerPtr layer = layerOf(realFormat(), ramp(100000), 65000);
    writeOne(*layer, 65100);
    EXPECT_EQ(layer->backup()->dataRange(), (Range{65000, 536}));
    writeOne(*layer, 164999);
    EXPECT_EQ(layer->backup()->dataRange(), (Range{65000, 100000}));
}

TEST(LayerUndo, OneSampleAtTheVeryEndOfABlockBacksUpTwo)
{
    const LayerPtr layer = layerOf(realFormat(), ramp(1000000));
    writeOne(*layer, 2 * 65536 - 1);
    EXPECT_EQ(layer->backup()->dataRange(), (Range{65536, 131072}));
}

TEST(LayerUndo, BackupGrowsToEitherSideInWholeBlocks)
{
    const LayerPtr layer = layerOf(realFormat(2), ramp(2 * 1000000));
    const std::vector<float> original = dataOf(*layer);
    writeOne(*layer, 5 * 65536 + 10);
    writeOne(*layer, 8 * 65536 + 10);
    EXPECT_EQ(layer->backup()->dataRange(), (Range{5 * 65536, 4 * 65536}));
    writeOne(*layer, 3 * 65536 + 10);
    EXPECT_EQ(layer->backup()->dataRange(), (Range{3 * 65536, 6 * 65536}));
    EXPECT_EQ(dataOf(*layer->backup()), samplesOf(*layerOf(realFormat(2), original), {3 * 65536, 6 * 65536}));
    layer->resetToBackup();
    EXPECT_EQ(dataOf(*layer), original);
}

TEST(LayerUndo, NewDataNeedsNoBackup)
{
    const LayerPtr layer = Layer::create(realFormat());
    const std::vector<float> in = ramp(100000);
    EXPECT_TRUE(layer->write(in.data(), {0, 100000}, 0, true));
    EXPECT_TRUE(layer->backup()->isEmpty());
    EXPECT_EQ(layer->backupRange(), (Range{0, 0}));
    EXPECT_EQ(layer->changedRange(), (Range{0, 100000}));
}

TEST(LayerUndo, CutsTheDataBackToExactlyTheSpanBefore)
{
    const LayerPtr layer = layerOf(realFormat(), ramp(100), 1000);
    const std::vector<float> in = ramp(500, 7000);
    EXPECT_TRUE(layer->write(in.data(), {900, 500}, 0, true));
    EXPECT_EQ(layer->range(), (Range{900, 500}));
    const LayerRecord record = layer->commitRecord();
    EXPECT_EQ(record.beforeRange, (Range{1000, 100}));
    EXPECT_EQ(record.afterRange, (Range{900, 500}));
    layer->applyRecord(record, 0);
    EXPECT_EQ(layer->range(), (Range{1000, 100}));
    EXPECT_THAT(dataOf(*layer), ElementsAreArray(ramp(100)));
    EXPECT_EQ(QFileInfo(layer->filePath()).size(), 400);
    layer->applyRecord(record, 1);
    EXPECT_EQ(layer->range(), (Range{900, 500}));
    EXPECT_EQ(dataOf(*layer), in);
}

TEST(LayerUndo, RecordHoldsTheChangedRangeAndTheBackupBeginsAnew)
{
    const LayerPtr layer = layerOf(realFormat(), ramp(1000));
    writeOne(*layer, 10);
    writeOne(*layer, 19);
    const LayerPtr backup = layer->backup();
    const LayerRecord record = layer->commitRecord();
    EXPECT_EQ(record.before, backup);
    EXPECT_EQ(record.after->dataRange(), (Range{10, 10}));
    EXPECT_NE(layer->backup(), backup);
    EXPECT_TRUE(layer->backup()->isEmpty());
    EXPECT_TRUE(layer->changedRange().isEmpty());
    EXPECT_THAT(layer->records(), ElementsAre(record));
    EXPECT_EQ(layer->recordsRange(), (Range{10, 10}));
    writeOne(*layer, 500);
    const LayerRecord second = layer->commitRecord();
    EXPECT_FALSE(second == record);
    EXPECT_EQ(layer->recordsRange(), (Range{10, 491}));
    layer->applyRecord(second, 0);
    EXPECT_THAT(layer->records(), ElementsAre(record));
    layer->applyRecord(second, 1);
    EXPECT_THAT(layer->records(), ElementsAre(record, second));
}

TEST(LayerUndo, UndoRemovesEveryEqualRecord)
{
    const LayerPtr layer = layerOf(realFormat(), ramp(10));
    writeOne(*layer, 1);
    const LayerRecord record = layer->commitRecord();
    layer->applyRecord(record, 1);
    EXPECT_EQ(layer->records().size(), 2);
    layer->applyRecord(record, 0);
    EXPECT_TRUE(layer->records().isEmpty());
}

TEST(LayerUndo, EmptyRecordRestoresTheLiveBackupAndDoesNothingOnRedo)
{
    const LayerPtr layer = layerOf(realFormat(), ramp(10), 5);
    layer->deleteTime({0, 8});
    writeOne(*layer, 3);
    layer->applyRecord({}, 1);
    EXPECT_EQ(dataOf(*layer).size(), 7u);
    layer->resetToBackup();
    EXPECT_EQ(layer->range(), (Range{5, 10}));
    EXPECT_THAT(dataOf(*layer), ElementsAreArray(ramp(10)));
    EXPECT_TRUE(layer->records().isEmpty());
    const LayerPtr plain = layerOf(realFormat(), ramp(10), 0, false);
    plain->resetToBackup();
    EXPECT_THAT(dataOf(*plain), ElementsAreArray(ramp(10)));
}

TEST(LayerUndo, OffsetAndScalesOfTheMomentDoNotDisturbIt)
{
    const LayerPtr layer = layerOf(realFormat(), ramp(10), 5);
    layer->setTimeOffset(3);
    layer->setScale(2, 0.5f);
    writeOne(*layer, 7, 99);
    const LayerRecord record = layer->commitRecord();
    layer->applyRecord(record, 0);
    layer->setTimeOffset(0);
    layer->setScale(1, 1);
    EXPECT_THAT(dataOf(*layer), ElementsAreArray(ramp(10)));
    layer->setTimeOffset(-2);
    layer->applyRecord(record, 1);
    layer->setTimeOffset(0);
    EXPECT_THAT(dataOf(*layer), ElementsAre(1, 2, 99, 4, 5, 6, 7, 8, 9, 10));
}

TEST(LayerUndo, ForeignRecordsDoNoHarm)
{
    const LayerPtr layer = layerOf(realFormat(2), ramp(20));
    LayerRecord record;
    record.before = record.after = layerOf(realFormat(1), ramp(5));
    record.beforeRange = record.afterRange = {0, 5};
    layer->applyRecord(record, 0);
    record.before = record.after = LayerGroup::create(realFormat(2));
    layer->applyRecord(record, 0);
    EXPECT_THAT(dataOf(*layer), ElementsAreArray(ramp(20)));
}

TEST(LayerUndo, EveryChangeOfSamplesOrSpanStampsTheContentTime)
{
    const LayerPtr layer = layerOf(realFormat(), ramp(100), 10);
    const auto stamps = [&](const auto& change) {
        const int64_t before = layer->contentTime();
        const int64_t properties = layer->propertiesTime();
        change();
        EXPECT_GT(layer->contentTime(), before);
        EXPECT_EQ(layer->propertiesTime(), properties);
    };
    const LayerPtr source = layerOf(realFormat(), ramp(5));
    stamps([&] { writeOne(*layer, 12); });
    stamps([&] { layer->moveBy(3); });
    stamps([&] { layer->moveBy(-3); });
    stamps([&] { layer->insertTime({0, 5}); });
    stamps([&] { layer->deleteTime({0, 5}); });
    stamps([&] { layer->insertTime({20, 5}); });
    stamps([&] { layer->deleteTime({20, 5}); });
    stamps([&] { layer->extendTo({200, 5}); });
    stamps([&] { layer->cropTo({0, 1000}); });
    stamps([&] { layer->cropTo({0, 90}); });
    stamps([&] { layer->setRange({0, 50}); });
    stamps([&] { layer->copyFrom(source, {0, 5}); });
    stamps([&] { layer->replaceBy(source, false); });
    const LayerRecord record = layer->commitRecord();
    stamps([&] { layer->applyRecord(record, 0); });
    stamps([&] { layer->applyRecord(record, 1); });
    stamps([&] { layer->clear(); });
}

TEST(LayerUndo, WhatChangesNothingStampsNothing)
{
    const LayerPtr layer = layerOf(realFormat(), ramp(100), 10);
    const int64_t before = layer->contentTime();
    layer->moveBy(0);
    layer->moveBy(-0);
    layer->insertTime({110, 5});
    layer->insertTime({50, 0});
    layer->deleteTime({110, 5});
    layer->deleteTime({50, -1});
    layer->extendTo({50, 0});
    layer->copyFrom(layer, {500, 5});
    EXPECT_EQ(layer->contentTime(), before);
    EXPECT_TRUE(layer->changedRange().isEmpty());
}

TEST(LayerUndo, MoveIsStoppedAtTimeZero)
{
    const LayerPtr layer = layerOf(realFormat(), ramp(10), 5);
    layer->moveBy(-100);
    EXPECT_EQ(layer->range(), (Range{0, 10}));
    layer->setTimeOffset(4);
    layer->moveBy(-100); // the reported start is what stops
    EXPECT_EQ(layer->range().start, 0);
    EXPECT_EQ(layer->dataRange(), (Range{-4, 10}));
    // Data that stands before time zero this way is not lost by later growth or undo.
    layer->setTimeOffset(0);
    writeOne(*layer, 20);
    EXPECT_EQ(layer->dataRange(), (Range{-4, 25}));
    const LayerRecord record = layer->commitRecord();
    layer->applyRecord(record, 0);
    layer->applyRecord(record, 1);
    EXPECT_THAT(samplesOf(*layer, {-4, 10}), ElementsAreArray(ramp(10)));
}

TEST(LayerUndo, HostileRangesDoNotOverflow)
{
    constexpr int64_t max = std::numeric_limits<int64_t>::max();
    const LayerPtr layer = layerOf(realFormat(), ramp(10), 5);
    layer->insertTime({6, max});
    layer->deleteTime({max, max});
    layer->deleteTime({7, max - 7});
    EXPECT_EQ(layer->range(), (Range{5, 2}));
    layer->cropTo({-max, max});
    EXPECT_TRUE(layer->isEmpty());
    layer->setRange({0, max}); // no disk has that
    EXPECT_TRUE(layer->takeStorageError());
    layer->extendTo({max - 5, 5});
    layer->takeStorageError();
    EXPECT_TRUE(layer->isEmpty());
    const LayerPtr far = layerOf(realFormat(), ramp(10), 5);
    far->moveBy(max);
    far->moveBy(max);
    far->moveBy(-max);
    far->moveBy(-max);
    EXPECT_EQ(far->range(), (Range{0, 10}));
    EXPECT_THAT(dataOf(*far), ElementsAreArray(ramp(10)));
}

// --- random scripts --------------------------------------------------------------------------------

// Where on the timeline a script plays: at the start, around the border of two blocks, over several.
struct World
{
    int64_t first;
    int64_t size;
    int64_t longest; // write
};

struct Script
{
    Script(uint32_t seed, const World& w) : random(seed), world(w)
    {
        const int channels = pick(1, 6);
        format = pick(0, 1) ? realFormat(channels) : complexFormat(channels);
        layer = Layer::create(format);
        reference = ReferenceLayer(format);
    }

    int64_t pick64(int64_t low, int64_t high)
    {
        return std::uniform_int_distribution<int64_t>(low, high)(random);
    }
    int pick(int low, int high) { return int(pick64(low, high)); }
    Range pickRange(int64_t longest)
    {
        const int64_t start = world.first + pick64(-world.size / 8, world.size);
        return {start, pick64(0, longest)};
    }
    // Whole numbers, so that sums are exact.
    std::vector<float> noise(std::size_t count)
    {
        std::vector<float> values(count);
        for (float& value : values)
            value = float(pick(-1000, 1000));
        return values;
    }

    // One edit, on both.
    void edit();
    // False, with a message, when the two differ.
    [[nodiscard]] testing::AssertionResult agrees() const;

    std::mt19937 random;
    World world;
    SamplingFormat format;
    LayerPtr layer;
    ReferenceLayer reference;
    std::optional<int64_t> room; // the longest file that the disk takes during an edit
    bool refused = false;        // the last write
};

void Script::edit()
{
    const Range range = pickRange(world.longest);
    const int choice = pick(0, 10);
    const std::vector<float> values = noise(std::size_t(range.length * format.frameBytes() / 4));
    const LayerPtr source = Layer::create(format, {}, 0, false);
    if (choice == 7) {
        EXPECT_TRUE(source->write(values.data(), range, -1, true));
    }
    std::optional<DiskLimit> limit;
    if (room)
        limit.emplace(*room);
    switch (choice) {
    case 0:
        layer->insertTime(range);
        return reference.insertTime(range);
    case 1:
        layer->deleteTime(range);
        return reference.deleteTime(range);
    case 2: {
        const Range wide{range.start - range.length, 4 * range.length};
        layer->cropTo(wide);
        return reference.cropTo(wide);
    }
    case 3: {
        const int64_t distance = pick64(-world.size / 2, world.size / 2);
        layer->moveBy(distance);
        return reference.moveBy(distance);
    }
    case 4:
        layer->setRange(range);
        return reference.setRange(range);
    case 5:
        if (pick(0, 3) > 0)
            return;
        layer->clear();
        return reference.setRange({});
    case 6:
        layer->extendTo(range);
        return reference.extendTo(range);
    case 7: {
        const float gain = float(pick(-2, 2));
        const bool overwrite = pick(0, 1);
        layer->replaceByLayer(source, gain, overwrite);
        std::vector<float> scaled = values;
        for (float& value : scaled)
            value *= gain;
        return reference.write(scaled.data(), range, -1, overwrite);
    }
    default: {
        const int channel = pick(-1, format.channels - 1);
        const bool overwrite = pick(0, 1);
        refused = !layer->write(values.data(), range, channel, overwrite);
        return reference.write(values.data(), range, channel, overwrite);
    }
    }
}

testing::AssertionResult Script::agrees() const
{
    const Range data = layer->dataRange();
    if (data.isEmpty() && reference.range().isEmpty())
        return layer->filePath().isEmpty() ? testing::AssertionSuccess()
                                           : testing::AssertionFailure() << "an empty layer has a file";
    if (data != reference.range())
        return testing::AssertionFailure() << "span " << data.start << "+" << data.length << ", expected "
                                           << reference.range().start << "+" << reference.range().length;
    if (QFileInfo(layer->filePath()).size() != data.length * format.frameBytes())
        return testing::AssertionFailure() << "file size is not that of the data";
    if (dataOf(*layer) != reference.samples())
        return testing::AssertionFailure() << "samples differ";
    return testing::AssertionSuccess();
}

// Edits, steps of undo and redo, new edits after undo (which drop the redo states), and actions that
// are taken back before they are recorded.
void playHistory(uint32_t seed, const World& world)
{
    Script script(seed, world);
    std::vector<ReferenceLayer> states{script.reference};
    std::vector<LayerRecord> records;
    std::size_t state = 0;
    for (int step = 0; step < 14; ++step) {
        const int choice = script.pick(0, 9);
        if (choice < 5) {
            for (int i = script.pick(1, 3); i > 0; --i) {
                script.edit();
                ASSERT_FALSE(script.refused);
                ASSERT_TRUE(script.agrees()) << "seed " << seed << " step " << step;
            }
            if (choice == 0) {
                script.layer->resetToBackup();
                script.reference = states[state];
            } else {
                records.resize(state);
                states.resize(state + 1);
                records.push_back(script.layer->commitRecord());
                ASSERT_FALSE(records.back().isEmpty());
                states.push_back(script.reference);
                ++state;
            }
        } else if (choice < 8 && state > 0) {
            script.layer->applyRecord(records[--state], 0);
            script.reference = states[state];
        } else if (choice >= 8 && state < records.size()) {
            script.layer->applyRecord(records[state++], 1);
            script.reference = states[state];
        }
        ASSERT_TRUE(script.agrees()) << "seed " << seed << " step " << step << " after undo or redo";
        ASSERT_EQ(script.layer->records().size(), int(state)) << "seed " << seed;
    }
    ASSERT_FALSE(script.layer->takeStorageError());
}

constexpr World atStart{0, 300, 80};
constexpr World atBlockBorder{65536 - 100, 200, 80};
constexpr World overBlocks{0, 200000, 70000};

TEST(LayerUndoScripts, AtTheStartOfTime)
{
    for (uint32_t seed = 1; seed <= 2000 && !HasFatalFailure(); ++seed)
        playHistory(seed, atStart);
}

TEST(LayerUndoScripts, AroundTheBorderOfTwoBlocks)
{
    for (uint32_t seed = 10001; seed <= 11000 && !HasFatalFailure(); ++seed)
        playHistory(seed, atBlockBorder);
}

TEST(LayerUndoScripts, OverSeveralBlocks)
{
    for (uint32_t seed = 20001; seed <= 20012 && !HasFatalFailure(); ++seed)
        playHistory(seed, overBlocks);
}

// On a disk without room each edit happens whole or not at all, and is told; when there is room
// again, everything is still there, forth and back.
void playOnAFullDisk(uint32_t seed, const World& world)
{
    Script script(seed, world);
    for (int i = 0; i < 3; ++i)
        script.edit();
    const LayerRecord first = script.layer->commitRecord();
    ReferenceLayer before = script.reference;
    const int64_t most = 2 * world.size * script.format.frameBytes();
    int refused = 0;
    for (int step = 0; step < 8; ++step) {
        const ReferenceLayer previous = script.reference;
        script.room = script.pick64(0, most);
        script.refused = false;
        script.edit();
        if (script.layer->takeStorageError()) {
            script.reference = previous;
            ++refused;
        } else {
            ASSERT_FALSE(script.refused);
        }
        ASSERT_TRUE(script.agrees()) << "seed " << seed << " step " << step << " refused " << refused;
    }
    LayerRecord record;
    {
        const DiskLimit limit(script.pick64(0, most));
        record = script.layer->commitRecord();
    }
    if (record.isEmpty()) {
        ASSERT_TRUE(script.layer->takeStorageError());
        script.layer->resetToBackup();
        script.reference = before;
        ASSERT_TRUE(script.agrees()) << "seed " << seed << " rolled back";
        return;
    }
    const ReferenceLayer after = script.reference;
    {
        const DiskLimit limit(script.pick64(0, most));
        script.layer->applyRecord(record, 0);
    }
    if (script.layer->takeStorageError()) {
        ASSERT_TRUE(script.agrees()) << "seed " << seed << " undo refused";
        script.layer->applyRecord(record, 0);
    }
    script.reference = before;
    ASSERT_TRUE(script.agrees()) << "seed " << seed << " undone";
    script.layer->applyRecord(record, 1);
    script.reference = after;
    ASSERT_TRUE(script.agrees()) << "seed " << seed << " redone";
}

TEST(LayerUndoScripts, OnAFullDiskNothingIsLost)
{
    for (uint32_t seed = 30001; seed <= 30600 && !HasFatalFailure(); ++seed)
        playOnAFullDisk(seed, seed % 2 ? atStart : atBlockBorder);
}

} // namespace
