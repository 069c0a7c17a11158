// The time line of a whole tree: all layers change or none does.
#include "model/timechange.h"

#include "model/layerregion.h"
#include "model/modeltest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <random>

using namespace modeltest;
using testing::ElementsAreArray;

namespace {

constexpr TimeChangeKind kinds[] = {TimeChangeKind::Insert, TimeChangeKind::Delete, TimeChangeKind::Crop};

void apply(ILayer& layer, TimeChangeKind kind, const Range& range)
{
    switch (kind) {
    case TimeChangeKind::Insert:
        return layer.insertTime(range);
    case TimeChangeKind::Delete:
        return layer.deleteTime(range);
    case TimeChangeKind::Crop:
        return layer.cropTo(range);
    }
}

// A group with a group in it: layers that begin, end and lie in different places.
struct Tree
{
    explicit Tree(const SamplingFormat& format = realFormat())
        : root(LayerGroup::create(format)),
          inner(LayerGroup::create(format)),
          layers{layerOf(format, ramp(200000 * format.frameBytes() / 4), 0),
                 layerOf(format, ramp(90000 * format.frameBytes() / 4, 5), 70000),
                 layerOf(format, ramp(1000 * format.frameBytes() / 4, 9), 300000)}
    {
        EXPECT_TRUE(root->appendChild(layers[0]));
        EXPECT_TRUE(root->appendChild(inner));
        EXPECT_TRUE(inner->appendChild(layers[1]));
        EXPECT_TRUE(inner->appendChild(layers[2]));
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
    bool change(TimeChangeKind kind, const Range& range, const Progress& progress = {})
    {
        TimeChange work(kind, range);
        work.add(root);
        return work.run(progress);
    }

    LayerGroupPtr root;
    LayerGroupPtr inner;
    std::vector<LayerPtr> layers;
};

} // namespace

TEST(TimeChange, DoesToEachLayerWhatTheLayersOwnOperationDoes)
{
    std::mt19937 random(7);
    const auto pick = [&](int64_t low, int64_t high) {
        return std::uniform_int_distribution<int64_t>(low, high)(random);
    };
    for (const SamplingFormat& format : {realFormat(), realFormat(2), complexFormat(1)})
        for (const TimeChangeKind kind : kinds)
            for (int round = 0; round < 12; ++round) {
                const Range range{pick(-1000, 310000), pick(1, round % 2 ? 2000 : 300000)};
                SCOPED_TRACE(testing::Message() << int(kind) << " " << range.start << " " << range.length);
                Tree one(format), other(format);
                EXPECT_TRUE(one.change(kind, range));
                apply(*other.root, kind, range);
                EXPECT_EQ(one.ranges(), other.ranges());
                EXPECT_EQ(one.samples(), other.samples());
                const Tree before(format);
                QList<LayerRecord> records;
                const auto after = one.samples();
                const auto afterRanges = one.ranges();
                for (const LayerPtr& layer : one.layers)
                    records << layer->commitRecord();
                for (std::size_t i = 0; i < one.layers.size(); ++i)
                    one.layers[i]->applyRecord(records[int(i)], 0);
                EXPECT_EQ(one.ranges(), before.ranges());
                EXPECT_EQ(one.samples(), before.samples());
                for (std::size_t i = 0; i < one.layers.size(); ++i)
                    one.layers[i]->applyRecord(records[int(i)], 1);
                EXPECT_EQ(one.ranges(), afterRanges);
                EXPECT_EQ(one.samples(), after);
            }
}

TEST(TimeChange, TellsWhetherItReachesAnyLayer)
{
    const Tree tree;
    const auto reaches = [&](TimeChangeKind kind, const Range& range) {
        TimeChange work(kind, range);
        work.add(tree.root);
        return work.reachesAny();
    };
    EXPECT_TRUE(reaches(TimeChangeKind::Insert, {300999, 1}));
    EXPECT_FALSE(reaches(TimeChangeKind::Insert, {301000, 1})) << "behind the last sample";
    EXPECT_TRUE(reaches(TimeChangeKind::Delete, {300999, 500}));
    EXPECT_FALSE(reaches(TimeChangeKind::Delete, {301000, 500}));
    EXPECT_FALSE(reaches(TimeChangeKind::Delete, {-500, 500})) << "before time zero there is nothing";
    EXPECT_TRUE(reaches(TimeChangeKind::Crop, {1, 400000}));
    EXPECT_FALSE(reaches(TimeChangeKind::Crop, {0, 400000}));
    for (const TimeChangeKind kind : kinds) {
        EXPECT_FALSE(reaches(kind, {100, 0}));
        EXPECT_FALSE(reaches(kind, {100, -5}));
    }
}

TEST(TimeChange, ACancelAtAnyStepLeavesEverythingAsItWas)
{
    for (const TimeChangeKind kind : kinds) {
        Tree tree(realFormat(2));
        const auto ranges = tree.ranges();
        const auto samples = tree.samples();
        const QStringList files = sessionFiles();
        int steps = 0;
        ASSERT_TRUE(Tree(realFormat(2)).change(kind, {1000, 90000}, [&](int, int) { return ++steps > 0; }));
        ASSERT_GE(steps, 3);
        for (int last = 0; last < steps; ++last) {
            int step = 0;
            EXPECT_FALSE(tree.change(kind, {1000, 90000}, [&](int, int) { return step++ < last; }));
            EXPECT_EQ(tree.ranges(), ranges);
            EXPECT_EQ(tree.samples(), samples);
            EXPECT_EQ(sessionFiles(), files);
            for (const LayerPtr& layer : tree.layers) {
                EXPECT_TRUE(layer->changedRange().isEmpty());
                EXPECT_TRUE(layer->backup()->isEmpty());
                EXPECT_FALSE(layer->takeStorageError());
            }
        }
        EXPECT_TRUE(tree.change(kind, {1000, 90000})) << "and then it can be done";
    }
}

TEST(TimeChange, AnEditBeforeItInTheSameStepIsTakenBackWithIt)
{
    Tree tree;
    const auto samples = tree.samples();
    const float value = -1;
    EXPECT_TRUE(tree.layers[0]->write(&value, {150000, 1}, 0, true));
    const auto edited = tree.samples();
    EXPECT_FALSE(tree.change(TimeChangeKind::Delete, {1000, 90000}, [](int, int) { return false; }));
    EXPECT_EQ(tree.samples(), edited) << "only what was cancelled";
    EXPECT_TRUE(tree.change(TimeChangeKind::Delete, {1000, 90000}));
    for (const LayerPtr& layer : tree.layers)
        layer->resetToBackup();
    EXPECT_EQ(tree.samples(), samples);
}

TEST(TimeChange, WithoutRoomForOneLayerNoneChanges)
{
    for (const TimeChangeKind kind : kinds) {
        Tree tree;
        const auto samples = tree.samples();
        const QStringList files = sessionFiles();
        TimeChange work(kind, {75000, 100});
        work.add(tree.root);
        {
            // Enough for the second layer.
            const DiskLimit limit(kind == TimeChangeKind::Crop ? 200 : 150000 * 4);
            EXPECT_FALSE(work.run({}));
        }
        ASSERT_NE(work.withoutRoom(), nullptr);
        QString words;
        EXPECT_TRUE(work.withoutRoom()->takeStorageError(&words));
        EXPECT_TRUE(words.contains(sessionFolder())) << words.toStdString();
        EXPECT_EQ(tree.samples(), samples);
        EXPECT_EQ(sessionFiles(), files);
    }
    Tree tree;
    TimeChange huge(TimeChangeKind::Insert, {1, int64_t(1) << 59});
    huge.add(tree.root);
    EXPECT_FALSE(huge.run({})) << "no disk has that";
    EXPECT_NE(huge.withoutRoom(), nullptr);
}

// What lies further away would come back from a project file at another place.
TEST(TimeChange, NoLayerIsMovedBeyondWhatFilesKeepAndThenNoneIs)
{
    constexpr int64_t farthest = Layer::farthestEnd;
    for (const int64_t insertion : {farthest - 301000 + 1, farthest, int64_t(1) << 60, int64_t(1) << 61,
                                    (int64_t(1) << 61) - 250000, std::numeric_limits<int64_t>::max()}) {
        SCOPED_TRACE(insertion);
        Tree tree;
        const auto ranges = tree.ranges();
        const QStringList files = sessionFiles();
        // Only the last layer is reached, or all are.
        for (const int64_t start : {int64_t(200000), int64_t(0)}) {
            TimeChange work(TimeChangeKind::Insert, {start, insertion});
            work.add(tree.root);
            EXPECT_TRUE(work.reachesAny());
            EXPECT_FALSE(work.run({}));
            ASSERT_NE(work.withoutRoom(), nullptr);
            QString words;
            EXPECT_TRUE(work.withoutRoom()->takeStorageError(&words));
            EXPECT_TRUE(words.contains(QStringLiteral("too far"))) << words.toStdString();
        }
        EXPECT_EQ(tree.ranges(), ranges);
        EXPECT_EQ(tree.samples(), Tree().samples());
        EXPECT_EQ(sessionFiles().size(), files.size());
        for (const LayerPtr& layer : tree.layers)
            EXPECT_FALSE(layer->takeStorageError());
    }
    Tree tree;
    ASSERT_TRUE(tree.change(TimeChangeKind::Insert, {0, farthest - 301000}));
    EXPECT_EQ(tree.layers[2]->dataRange().end(), farthest);
    EXPECT_EQ(tree.layers[1]->dataRange().start - tree.layers[0]->dataRange().start, 70000);
    EXPECT_FALSE(tree.change(TimeChangeKind::Insert, {0, 1}));
    EXPECT_TRUE(tree.change(TimeChangeKind::Delete, {0, 1})) << "the way back is free";
}

TEST(TimeChange, HostileRangesDoNotOverflow)
{
    constexpr int64_t max = std::numeric_limits<int64_t>::max();
    constexpr int64_t min = std::numeric_limits<int64_t>::min();
    for (const TimeChangeKind kind : kinds)
        for (const Range& range :
             {Range{max, max}, Range{min, max}, Range{1, max}, Range{min, 1}, Range{max, 1}, Range{0, max}}) {
            Tree tree;
            TimeChange work(kind, range);
            work.add(tree.root);
            static_cast<void>(work.run({}));
            for (const LayerPtr& layer : tree.layers) {
                EXPECT_GE(layer->dataRange().start, 0);
                layer->takeStorageError();
                layer->resetToBackup();
            }
            EXPECT_EQ(tree.samples(), Tree().samples());
        }
}

TEST(TimeChange, WhatIsWrittenMeanwhileIsNotLost)
{
    Tree tree;
    const float value = -7;
    EXPECT_FALSE(tree.change(TimeChangeKind::Delete, {0, 5}, [&](int, int) {
        EXPECT_TRUE(tree.layers[0]->write(&value, {100, 1}, 0, true));
        return true;
    }));
    EXPECT_EQ(samplesOf(*tree.layers[0], {100, 1}).front(), value);
    EXPECT_EQ(tree.ranges(), Tree().ranges());
}

TEST(TimeChange, TheProgressRisesToItsTotal)
{
    Tree tree(realFormat(2));
    int before = 0, whole = 0;
    EXPECT_TRUE(tree.change(TimeChangeKind::Insert, {5, 100}, [&](int done, int total) {
        EXPECT_GE(done, before);
        EXPECT_LE(done, total);
        EXPECT_TRUE(whole == 0 || whole == total);
        before = done;
        whole = total;
        return true;
    }));
    EXPECT_GE(before, whole / 10 * 9);
}

TEST(TimeChange, EachLayerChangesOnceAndARegionStays)
{
    Tree tree;
    const LayerPtr source = layerOf(realFormat(), ramp(1000));
    const LayerRegionPtr region = LayerRegion::create(source, 500, 1000, 0);
    ASSERT_TRUE(tree.root->appendChild(region));
    TimeChange work(TimeChangeKind::Insert, {0, 10});
    work.add(tree.root);
    work.add(tree.layers[0]);
    EXPECT_TRUE(work.run({}));
    EXPECT_EQ(tree.layers[0]->dataRange().start, 10);
    EXPECT_EQ(region->window(), (Range{500, 1000}));
    EXPECT_EQ(source->dataRange().start, 0);
}

TEST(TimeChange, WithoutABackupNoOldSamplesAreKept)
{
    const LayerPtr layer = layerOf(realFormat(), ramp(100000), 0, false);
    const QStringList files = sessionFiles();
    TimeChange work(TimeChangeKind::Delete, {10, 5});
    work.add(layer);
    EXPECT_TRUE(work.run({}));
    EXPECT_EQ(layer->range(), (Range{0, 99995}));
    EXPECT_EQ(sessionFiles().size(), files.size());
}
