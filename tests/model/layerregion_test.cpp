// Windows on other layers: the named cases first, then random windows against a plain reading.
#include "model/layerregion.h"

#include "model/layerroot.h"
#include "model/modeltest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <random>

using namespace modeltest;
using testing::Each;
using testing::ElementsAre;
using testing::ElementsAreArray;

namespace {

// A source with samples 1 to 20 at positions 100 to 119, and a region at 10 to 14 that shows 105 to 109.
struct LayerRegionTest : testing::Test
{
    LayerPtr source = layerOf(realFormat(), ramp(20), 100);
    LayerRegionPtr region = LayerRegion::create(source, 10, 5, 95);
};

TEST_F(LayerRegionTest, ReadBeyondTheWindowIsZeroEvenWhereTheSourceHasSamples)
{
    EXPECT_THAT(samplesOf(*region, {8, 9}), ElementsAre(0, 0, 6, 7, 8, 9, 10, 0, 0));
    EXPECT_THAT(samplesOf(*region, {30, 4}), Each(0));
    EXPECT_THAT(samplesOf(*region, {0, 10}), Each(0));
}

TEST_F(LayerRegionTest, TwoRegionsOnOneSourceShowAnEditMadeThroughEither)
{
    const LayerRegionPtr other = LayerRegion::create(source, 1000, 20, -900);
    const int64_t before = other->contentTime();
    const float value = 77;
    EXPECT_TRUE(region->write(&value, {11, 1}, 0, true));
    EXPECT_THAT(samplesOf(*other, {1006, 1}), ElementsAre(77));
    EXPECT_GT(other->contentTime(), before);
    const float more = 1;
    EXPECT_TRUE(other->write(&more, {1006, 1}, 0, false));
    EXPECT_THAT(samplesOf(*region, {11, 1}), ElementsAre(78));
    EXPECT_THAT(samplesOf(*source, {106, 1}), ElementsAre(78));
}

TEST_F(LayerRegionTest, InsertTimeChangesNothing)
{
    region->insertTime({11, 100});
    EXPECT_EQ(region->range(), (Range{10, 5}));
    EXPECT_THAT(samplesOf(*region, {10, 5}), ElementsAre(6, 7, 8, 9, 10));
    EXPECT_EQ(source->range(), (Range{100, 20}));
}

TEST_F(LayerRegionTest, NoStructuralCallReachesWindowOrSource)
{
    region->clear();
    region->setRange({0, 3});
    region->setFormat(realFormat(2));
    region->deleteTime({0, 12});
    region->cropTo({11, 1});
    region->extendTo({0, 100});
    region->moveBy(7);
    region->stretch(2);
    EXPECT_EQ(region->range(), (Range{10, 5}));
    EXPECT_EQ(region->format(), realFormat());
    EXPECT_THAT(samplesOf(*region, {10, 5}), ElementsAre(6, 7, 8, 9, 10));
    EXPECT_THAT(dataOf(*source), ElementsAreArray(ramp(20)));
}

TEST_F(LayerRegionTest, NeverHasAFileOfItsOwn)
{
    const QStringList files = sessionFiles();
    const std::vector<float> in = ramp(100);
    EXPECT_FALSE(region->append(in.data(), 100));
    EXPECT_TRUE(region->reserve(100)); // a hint: there is nothing to reserve for
    region->copyFrom(layerOf(realFormat(), in), {0, 100});
    region->replaceBy(source, true);
    EXPECT_TRUE(region->filePath().isEmpty());
    EXPECT_EQ(region->range(), (Range{10, 5}));
    region->takeStorageError();
}

TEST_F(LayerRegionTest, IsOfItsOwnTypeAndNamesItsSource)
{
    EXPECT_EQ(region->type(), LayerTypeRegion);
    EXPECT_EQ(region->source(), source);
    EXPECT_EQ(region->sourceShared(), source);
    EXPECT_EQ(region->sourceOffset(), 95);
    EXPECT_EQ(region->format(), source->format());
    EXPECT_FALSE(region->isEmpty());
    EXPECT_EQ(region->range(true), (Range{10, 5}));
    region->setSourceOffset(90);
    EXPECT_THAT(samplesOf(*region, {10, 2}), ElementsAre(1, 2));
    region->setWindow({0, 2});
    EXPECT_EQ(region->range(), (Range{0, 2}));
    region->setWindow({0, -2});
    EXPECT_TRUE(region->isEmpty());
}

TEST_F(LayerRegionTest, HoldsItsSourceAndItsOverlay)
{
    const LayerPtr overlay = layerOf(realFormat(), {1000, 1000}, 13);
    region->setAttached(overlay);
    EXPECT_TRUE(region->contains(source, false));
    EXPECT_TRUE(region->contains(overlay, false));
    EXPECT_FALSE(region->contains(layerOf(realFormat(), ramp(1)), true));
    EXPECT_FALSE(region->contains(nullptr, true));
    EXPECT_THAT(region->pathTo(source), ElementsAre(region, source));
    EXPECT_THAT(region->pathTo(region), ElementsAre(region));
    EXPECT_THAT(region->pathTo(overlay), ElementsAre(overlay, region));
    std::vector<float> out(5, 0);
    region->read(out.data(), {10, 5}, -1, true, true);
    EXPECT_THAT(out, ElementsAre(6, 7, 8, 1009, 1010));
}

TEST_F(LayerRegionTest, OffsetScaleAndGainOfTheRegionApply)
{
    region->setTimeOffset(100);
    EXPECT_EQ(region->range(), (Range{110, 5}));
    EXPECT_THAT(samplesOf(*region, {110, 2}), ElementsAre(6, 7));
    region->setTimeOffset(0);
    region->setScale(1, 0.5f);
    EXPECT_THAT(samplesOf(*region, {10, 2}), ElementsAre(3, 3.5f));
    std::vector<float> out{1, 1};
    region->read(out.data(), {10, 2}, -1, false, false, 2);
    EXPECT_THAT(out, ElementsAre(7, 8));
}

TEST_F(LayerRegionTest, ChannelsThatDoNotExistAreSilentAndNotWritten)
{
    std::vector<float> out(5, 9);
    region->read(out.data(), {10, 5}, 4, true);
    EXPECT_THAT(out, Each(0));
    EXPECT_FALSE(region->write(out.data(), {10, 5}, 4, true));
    EXPECT_THAT(dataOf(*source), ElementsAreArray(ramp(20)));
}

TEST_F(LayerRegionTest, WriteIsClippedToTheWindow)
{
    const std::vector<float> in = ramp(20, 500);
    EXPECT_TRUE(region->write(in.data(), {0, 20}, -1, true));
    EXPECT_THAT(samplesOf(*source, {104, 7}), ElementsAre(5, 510, 511, 512, 513, 514, 11));
    EXPECT_TRUE(region->write(in.data(), {50, 20}, -1, true));
    EXPECT_EQ(source->range(), (Range{100, 20}));
}

TEST_F(LayerRegionTest, CopiesShowACloneOfTheSourceWithAWindowOfTheSameSize)
{
    Range asked{12, 100};
    const LayerPtr copy = region->copy(asked, true);
    EXPECT_EQ(asked, (Range{12, 3}));
    for (const LayerPtr& made : {copy, region->clone(false)}) {
        EXPECT_EQ(made->type(), LayerTypeRegion);
        EXPECT_EQ(made->range(), region->range());
        EXPECT_NE(made->source(), source);
        EXPECT_EQ(samplesOf(*made, {8, 9}), samplesOf(*region, {8, 9}));
    }
    EXPECT_TRUE(copy->hasBackup());
    EXPECT_TRUE(copy->source()->hasBackup());
    const float value = 99;
    EXPECT_TRUE(copy->write(&value, {10, 1}, 0, true));
    EXPECT_THAT(samplesOf(*region, {10, 1}), ElementsAre(6));
}

TEST_F(LayerRegionTest, CopyWithoutRoomIsToldAndLeavesNothing)
{
    const QStringList files = sessionFiles();
    {
        const DiskLimit limit(10);
        EXPECT_EQ(region->clone(false), nullptr);
    }
    QString words;
    EXPECT_TRUE(region->takeStorageError(&words));
    EXPECT_TRUE(words.contains(sessionFolder())) << words.toStdString();
    EXPECT_EQ(sessionFiles(), files);
}

TEST_F(LayerRegionTest, EditsAreUndoneByTheRecordOfTheSource)
{
    const float value = 77;
    EXPECT_TRUE(region->write(&value, {11, 1}, 0, true));
    const LayerRecord own = region->commitRecord();
    const LayerRecord record = source->commitRecord();
    EXPECT_EQ(record.after->dataRange(), (Range{106, 1}));
    region->applyRecord(own, 0);
    EXPECT_THAT(samplesOf(*region, {11, 1}), ElementsAre(77));
    source->applyRecord(record, 0);
    EXPECT_THAT(samplesOf(*region, {11, 1}), ElementsAre(7));
}

TEST_F(LayerRegionTest, RecordsHoldHeaderAndWindow)
{
    region->setWindow({20, 3});
    region->setSourceOffset(80);
    region->setName("moved");
    const LayerRecord record = region->commitRecord();
    EXPECT_EQ(record.beforeRange, (Range{10, 5}));
    EXPECT_EQ(record.afterRange, (Range{20, 3}));
    EXPECT_THAT(region->records(), ElementsAre(record));
    region->applyRecord(record, 0);
    EXPECT_EQ(region->range(), (Range{10, 5}));
    EXPECT_EQ(region->sourceOffset(), 95);
    EXPECT_EQ(region->name(), QString());
    EXPECT_TRUE(region->records().isEmpty());
    region->applyRecord(record, 1);
    EXPECT_EQ(region->range(), (Range{20, 3}));
    EXPECT_EQ(region->name(), QStringLiteral("moved"));
    region->setWindow({0, 1});
    region->resetToBackup();
    EXPECT_EQ(region->range(), (Range{20, 3}));
    LayerRecord foreign;
    foreign.before = foreign.after = source;
    region->applyRecord(foreign, 0);
    EXPECT_EQ(region->range(), (Range{20, 3}));
}

TEST_F(LayerRegionTest, ResetBackupRenewsThatOfTheSourceToo)
{
    const float value = 77;
    EXPECT_TRUE(region->write(&value, {11, 1}, 0, true));
    EXPECT_FALSE(source->changedRange().isEmpty());
    region->resetBackup(ChildrenAll);
    EXPECT_TRUE(source->changedRange().isEmpty());
    source->resetToBackup();
    EXPECT_THAT(samplesOf(*region, {11, 1}), ElementsAre(77));
}

TEST_F(LayerRegionTest, FormatChangeMovesTheWindowWithTheRate)
{
    int told = 0;
    EXPECT_TRUE(region->changeFormat(realFormat(1, 96000), Matrix(1, 1), [&](int, int) { return ++told; }));
    EXPECT_EQ(told, 1);
    EXPECT_EQ(region->range(), (Range{20, 10}));
    EXPECT_EQ(region->sourceOffset(), 190);
    EXPECT_EQ(region->format(), realFormat(1, 96000));
}

TEST_F(LayerRegionTest, SoundsInAGroupLikeALayer)
{
    const LayerGroupPtr group = LayerGroup::create(realFormat());
    EXPECT_TRUE(group->appendChild(region));
    EXPECT_TRUE(group->appendChild(LayerRegion::create(source, 12, 2, 95)));
    EXPECT_EQ(group->range(), (Range{10, 5}));
    EXPECT_THAT(samplesOf(*group, {10, 6}), ElementsAre(6, 7, 16, 18, 10, 0));
}

TEST_F(LayerRegionTest, AGroupRefusesARegionOnItself)
{
    const LayerGroupPtr outer = LayerGroup::create(realFormat());
    const LayerGroupPtr inner = LayerGroup::create(realFormat());
    EXPECT_TRUE(outer->appendChild(inner));
    const LayerRegionPtr loop = LayerRegion::create(outer, 0, 10, 0);
    EXPECT_FALSE(inner->appendChild(loop));
    EXPECT_FALSE(outer->appendChild(loop));
    const LayerGroupPtr other = LayerGroup::create(realFormat());
    EXPECT_TRUE(other->appendChild(loop));
    EXPECT_FALSE(inner->appendChild(other));
}

TEST_F(LayerRegionTest, ACopiedTreeSharesSourcesAsTheOriginalDoes)
{
    LayerRoot root(realFormat());
    const LayerPtr inTree = layerOf(realFormat(), ramp(4));
    const LayerRegionPtr second = LayerRegion::create(source, 50, 5, 60);
    const LayerRegionPtr onTree = LayerRegion::create(inTree, 0, 4, 0);
    for (const LayerPtr& layer : std::initializer_list<LayerPtr>{region, second, onTree, inTree})
        EXPECT_TRUE(root.project()->appendChild(layer));
    EXPECT_THAT(root.allLayers(), ElementsAre(region, second, onTree, inTree, source));
    const auto copy = root.clone();
    ASSERT_TRUE(copy);
    const QList<ILayerPtr> made = copy->allLayers();
    ASSERT_EQ(made.size(), 5);
    EXPECT_EQ(made[0]->source(), made[1]->source());
    EXPECT_EQ(ILayerPtr(made[2]->source()), made[3]);
    EXPECT_NE(made[0]->source(), source);
}

TEST_F(LayerRegionTest, HostileWindowsDoNotOverflow)
{
    constexpr int64_t max = std::numeric_limits<int64_t>::max();
    constexpr int64_t min = std::numeric_limits<int64_t>::min();
    for (const int64_t start : {min, max, int64_t(0)})
        for (const int64_t length : {min, max})
            for (const int64_t offset : {min, max}) {
                const LayerRegionPtr wild = LayerRegion::create(source, start, length, offset);
                std::vector<float> out(4, 5);
                wild->read(out.data(), {100, 4}, -1, true);
                EXPECT_THAT(out, Each(0));
                const float value = 1;
                if (start == 0 && offset == min) {
                    EXPECT_TRUE(wild->write(&value, {100, 1}, 0, true)); // before time zero: cut off
                }
            }
    EXPECT_THAT(dataOf(*source), ElementsAreArray(ramp(20)));
}

// Any window, any ask, any kind of sample: what a plain walk over the source gives.
TEST(LayerRegionScripts, ReadsWhatAPlainWalkGives)
{
    for (uint32_t seed = 1; seed <= 300; ++seed) {
        std::mt19937 random(seed);
        const auto pick = [&](int64_t low, int64_t high) {
            return std::uniform_int_distribution<int64_t>(low, high)(random);
        };
        const int channels = int(pick(1, 4));
        const SamplingFormat format = pick(0, 1) ? realFormat(channels) : complexFormat(channels);
        const int64_t floats = format.frameBytes() / 4;
        const LayerPtr source = layerOf(format, ramp(pick(1, 60) * floats), pick(0, 40));
        const Range window{pick(0, 60), pick(0, 40)};
        const int64_t offset = pick(-60, 60);
        const LayerRegionPtr region = LayerRegion::create(source, window.start, window.length, offset);
        const Range ask{pick(-20, 80), pick(1, 60)};
        std::vector<float> expected(std::size_t(ask.length * floats));
        for (int64_t at = 0; at < ask.length; ++at)
            if (!window.intersected({ask.start + at, 1}).isEmpty())
                source->read(expected.data() + at * floats, {ask.start + at + offset, 1}, -1, true);
        ASSERT_EQ(samplesOf(*region, ask), expected) << "seed " << seed;
        const int channel = int(pick(0, channels - 1));
        std::vector<float> one(std::size_t(ask.length * format.sampleType), -5);
        region->read(one.data(), ask, channel, true);
        for (int64_t at = 0; at < ask.length; ++at)
            for (int part = 0; part < format.sampleType; ++part)
                ASSERT_EQ(one[std::size_t(at * format.sampleType + part)],
                          expected[std::size_t(at * floats + channel * format.sampleType + part)]);
    }
}

} // namespace
