#include "model/layer.h"

#include "model/layergroup.h"
#include "model/modeltest.h"
#include "support/testsupport.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numeric>

#include <sys/stat.h>
#include <unistd.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

using namespace modeltest;
using testing::Each;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::FloatEq;

namespace {

int64_t fileFloats(const Layer& layer)
{
    return layer.filePath().isEmpty() ? 0 : QFileInfo(layer.filePath()).size() / 4;
}

// --- reading ---------------------------------------------------------------------------------------

TEST(LayerRead, SpanWhollyOutsideTheDataIsZeroAndLeavesTheLayerUntouched)
{
    const LayerPtr layer = layerOf(realFormat(2), ramp(20));
    const int64_t stamp = layer->contentTime();
    std::vector<float> out(10, 5.0f);
    layer->read(out.data(), {100, 5}, -1, true);
    EXPECT_THAT(out, Each(0.0f));
    layer->read(out.data(), {-50, 5}, -1, true);
    EXPECT_THAT(out, Each(0.0f));
    EXPECT_EQ(layer->contentTime(), stamp);
    EXPECT_THAT(dataOf(*layer), ElementsAreArray(ramp(20)));
    EXPECT_EQ(layer->dataRange(), (Range{0, 10}));
}

TEST(LayerRead, WithoutOverwriteSamplesAreAddedAndTheRestIsLeftAlone)
{
    const LayerPtr layer = layerOf(realFormat(), {1, 2, 3}, 2);
    std::vector<float> out(7, 10.0f);
    layer->read(out.data(), {0, 7}, 0, false);
    EXPECT_THAT(out, ElementsAre(10, 10, 11, 12, 13, 10, 10));
    layer->read(out.data(), {0, 7}, 0, false, false, -2.0f);
    EXPECT_THAT(out, ElementsAre(10, 10, 9, 8, 7, 10, 10));
    layer->read(out.data(), {0, 7}, 0, true, false, 3.0f);
    EXPECT_THAT(out, ElementsAre(0, 0, 3, 6, 9, 0, 0));
}

// One channel contiguously, for every usual count and for odd ones, real and complex.
TEST(LayerRead, OneChannelOfManyIsGathered)
{
    for (int channels = 1; channels <= 9; ++channels)
        for (const SamplingFormat& format : {realFormat(channels), complexFormat(channels)}) {
            const int64_t frames = 37;
            const LayerPtr layer = layerOf(format, ramp(frames * format.frameBytes() / 4));
            for (int channel = 0; channel < channels; ++channel)
                for (const float gain : {1.0f, 0.5f}) {
                    std::vector<float> out(std::size_t(31 * format.sampleType), 100.0f);
                    layer->read(out.data(), {3, 31}, channel, true, false, gain);
                    std::vector<float> sum(out.size(), 100.0f);
                    layer->read(sum.data(), {3, 31}, channel, false, false, gain);
                    for (int64_t i = 0; i < 31; ++i)
                        for (int part = 0; part < format.sampleType; ++part) {
                            const int64_t place = ((3 + i) * channels + channel) * format.sampleType + part;
                            const std::size_t at = std::size_t(i * format.sampleType + part);
                            ASSERT_EQ(out[at], float(place + 1) * gain);
                            ASSERT_EQ(sum[at], 100.0f + float(place + 1) * gain);
                        }
                }
        }
}

TEST(LayerRead, ChannelThatDoesNotExistReadsAsSilence)
{
    const LayerPtr layer = layerOf(realFormat(2), ramp(20));
    std::vector<float> out(5, 3.0f);
    layer->read(out.data(), {0, 5}, 2, false);
    EXPECT_THAT(out, Each(3.0f));
    layer->read(out.data(), {0, 5}, 2, true);
    EXPECT_THAT(out, Each(0.0f));
}

TEST(LayerRead, ReadAcrossManyBlocksIsExactAndWritesNothingBeyondTheAsk)
{
    const LayerPtr layer = layerOf(realFormat(2), ramp(2 * 200000));
    std::vector<float> out(2 * 200010 + 2, -1.0f);
    layer->read(out.data(), {-5, 200010}, -1, true);
    EXPECT_EQ(out[9], 0.0f);
    for (std::size_t i = 0; i < 400000; ++i)
        ASSERT_EQ(out[i + 10], float(i + 1));
    EXPECT_EQ(out[400010], 0.0f);
    EXPECT_EQ(out[400020], -1.0f); // guard
    EXPECT_EQ(out[400021], -1.0f);
}

TEST(LayerRead, OffsetAndScalesMapTheTimeline)
{
    const LayerPtr layer = layerOf(realFormat(), ramp(100), 50);
    layer->setTimeOffset(10.4);
    EXPECT_EQ(layer->range(), (Range{60, 100}));
    layer->setScale(2.0f, 0.5f);
    EXPECT_EQ(layer->range(), (Range{60, 200}));
    EXPECT_EQ(layer->area(), (Area{60, 0, 200, 24000}));
    EXPECT_EQ(layer->dataRange(), (Range{50, 100}));
    // (80 - 50 - 10.4) / 2 + 50 = 59.8, rounded 60: the eleventh sample, at half gain.
    EXPECT_THAT(samplesOf(*layer, {80, 2}), ElementsAre(5.5f, 6.0f));
    // Half away from zero: (81 - 50 - 10) / 2 + 50 = 60.5 is 61, (29 - 50 - 10) / 2 + 50 = 34.5 is 35.
    layer->setTimeOffset(10);
    EXPECT_EQ(samplesOf(*layer, {81, 1})[0], 6.0f);
    const std::vector<float> before = samplesOf(*layer, {29, 18});
    EXPECT_EQ(before[14], 0.0f);
    EXPECT_EQ(before[15], 0.5f);
}

TEST(LayerRead, AttachedLayerIsMixedOnTopOnRequestOnly)
{
    const LayerPtr layer = layerOf(realFormat(), {1, 1, 1, 1}, 10);
    const LayerPtr overlay = layerOf(realFormat(), {5, 5}, 12);
    layer->setAttached(overlay);
    EXPECT_EQ(layer->attached(), overlay);
    EXPECT_THAT(samplesOf(*layer, {10, 4}), ElementsAre(1, 1, 1, 1));
    std::vector<float> out(4);
    layer->read(out.data(), {10, 4}, 0, true, true, 2.0f);
    EXPECT_THAT(out, ElementsAre(2, 2, 12, 12));
    EXPECT_EQ(layer->range(false), (Range{10, 4}));
    overlay->moveBy(5);
    EXPECT_EQ(layer->range(true), (Range{10, 9}));
    EXPECT_TRUE(layer->contains(overlay, false));
    EXPECT_FALSE(layer->contains(layer, true));
}

TEST(LayerRead, AttachedLayerOfAnotherLayoutIsLeftOut)
{
    const LayerPtr layer = layerOf(realFormat(), {1, 1});
    layer->setAttached(layerOf(realFormat(2), ramp(8)));
    std::vector<float> out(2);
    layer->read(out.data(), {0, 2}, -1, true, true);
    EXPECT_THAT(out, ElementsAre(1, 1));
}

// --- writing ---------------------------------------------------------------------------------------

TEST(LayerWrite, NegativeTimeIsCutOffAndTheInputAdvanced)
{
    const LayerPtr layer = Layer::create(realFormat(2));
    const std::vector<float> in = ramp(40);
    EXPECT_TRUE(layer->write(in.data(), {-10, 20}, -1, true));
    EXPECT_EQ(layer->range(), (Range{0, 10}));
    EXPECT_THAT(dataOf(*layer), ElementsAreArray(ramp(20, 21)));
    EXPECT_TRUE(layer->write(in.data(), {-20, 20}, -1, true));
    EXPECT_EQ(layer->range(), (Range{0, 10}));
}

TEST(LayerWrite, NegativeTimeOfOneChannelAdvancesByOneChannel)
{
    const LayerPtr layer = Layer::create(complexFormat(2));
    const std::vector<float> in = ramp(20);
    EXPECT_TRUE(layer->write(in.data(), {-3, 10}, 1, true));
    EXPECT_EQ(layer->range(), (Range{0, 7}));
    EXPECT_THAT(samplesOf(*layer, {0, 2}), ElementsAre(0, 0, 7, 8, 0, 0, 9, 10));
}

TEST(LayerWrite, PastTheEndGrowsTheFileAndTheGapIsZero)
{
    const LayerPtr layer = layerOf(realFormat(), ramp(4));
    const std::vector<float> in{9, 9};
    EXPECT_TRUE(layer->write(in.data(), {8, 2}, 0, true));
    EXPECT_THAT(dataOf(*layer), ElementsAre(1, 2, 3, 4, 0, 0, 0, 0, 9, 9));
    EXPECT_EQ(fileFloats(*layer), 10);
}

TEST(LayerWrite, BeforeTheStartMovesTheStartAndTheGapIsZero)
{
    const LayerPtr layer = layerOf(realFormat(), ramp(3), 10, false);
    const std::vector<float> in{9, 9};
    EXPECT_TRUE(layer->write(in.data(), {5, 2}, 0, true));
    EXPECT_EQ(layer->range(), (Range{5, 8}));
    EXPECT_THAT(dataOf(*layer), ElementsAre(9, 9, 0, 0, 0, 1, 2, 3));
    EXPECT_EQ(sessionFiles().size(), 1);
}

TEST(LayerWrite, WithoutOverwriteAdds)
{
    const LayerPtr layer = layerOf(realFormat(2), ramp(6));
    const std::vector<float> in{10, 20, 30};
    EXPECT_TRUE(layer->write(in.data(), {1, 3}, 1, false));
    EXPECT_THAT(dataOf(*layer), ElementsAre(1, 2, 3, 14, 5, 26, 0, 30));
}

TEST(LayerWrite, BadInputChangesNothing)
{
    const LayerPtr layer = layerOf(realFormat(2), ramp(6));
    const std::vector<float> in(64);
    EXPECT_TRUE(layer->write(in.data(), {3, 0}, -1, true));
    EXPECT_TRUE(layer->write(in.data(), {3, -5}, -1, true));
    EXPECT_FALSE(layer->write(in.data(), {0, 3}, 2, true));
    EXPECT_FALSE(Layer::create({})->write(in.data(), {0, 3}, -1, true));
    EXPECT_FALSE(layer->takeStorageError());
    EXPECT_THAT(dataOf(*layer), ElementsAreArray(ramp(6)));
}

TEST(LayerWrite, ComplexLayerHasAFileTwiceTheSizeAndCountsSamplePoints)
{
    const LayerPtr real = layerOf(realFormat(3), std::vector<float>(3 * 1000));
    const LayerPtr complex = layerOf(complexFormat(3), std::vector<float>(2 * 3 * 1000));
    EXPECT_EQ(complex->range().length, 1000);
    EXPECT_EQ(fileFloats(*complex), 2 * fileFloats(*real));
    EXPECT_EQ(complex->area(), (Area{0, -24000, 1000, 48000}));
}

TEST(LayerWrite, FileIsTheSamplesAndNothingElse)
{
    const LayerPtr layer = layerOf(realFormat(2), ramp(1000));
    QFile file(layer->filePath());
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray bytes = file.readAll();
    ASSERT_EQ(bytes.size(), 4000);
    std::vector<float> values(1000);
    std::memcpy(values.data(), bytes.constData(), 4000);
    EXPECT_THAT(values, ElementsAreArray(ramp(1000)));
}

// --- files -----------------------------------------------------------------------------------------

TEST(LayerFile, IsNamedByTwoHexadecimalNumbersInTheSessionFolder)
{
    const LayerPtr layer = layerOf(realFormat(), ramp(4));
    const QFileInfo info(layer->filePath());
    EXPECT_EQ(info.absolutePath(), QDir(sessionFolder()).absolutePath());
    EXPECT_TRUE(QRegularExpression(QStringLiteral("^layer\\([0-9a-f]{2,8}\\)\\.pcm$"))
                    .match(info.fileName())
                    .hasMatch())
        << info.fileName().toStdString();
}

TEST(LayerFile, LivesAsLongAsTheLayer)
{
    ASSERT_EQ(sessionFiles(), QStringList());
    LayerPtr layer = Layer::create(realFormat());
    EXPECT_EQ(layer->filePath(), QString());
    EXPECT_TRUE(layer->isEmpty());
    EXPECT_EQ(sessionFiles(), QStringList());
    const std::vector<float> in{1};
    EXPECT_TRUE(layer->write(in.data(), {0, 1}, 0, true));
    EXPECT_EQ(sessionFiles().size(), 1);
    layer->clear();
    EXPECT_EQ(layer->filePath(), QString());
    layer.reset();
    EXPECT_EQ(sessionFiles(), QStringList());
}

TEST(LayerFile, AdoptedFileIsWrittenToAndDeletedWithTheLayer)
{
    const QString path = sessionFolder() + QStringLiteral("/layer(12).pcm");
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    const std::vector<float> in = ramp(7); // three sample points of two channels and a rest
    file.write(reinterpret_cast<const char*>(in.data()), 28);
    file.close();
    LayerHeader header;
    header.name = QStringLiteral("found");
    LayerPtr layer = Layer::fromFile(realFormat(2), header, 100, path, false, true);
    EXPECT_EQ(layer->range(), (Range{100, 3}));
    EXPECT_EQ(layer->backupRange(), (Range{100, 3}));
    EXPECT_THAT(dataOf(*layer), ElementsAreArray(ramp(6)));
    EXPECT_EQ(fileFloats(*layer), 6);
    EXPECT_EQ(layer->name(), QStringLiteral("found"));
    layer.reset();
    EXPECT_FALSE(QFile::exists(path));
}

TEST(LayerFile, CopiedFileStaysAsItIs)
{
    const QString path = testsupport::makeFolder() + QStringLiteral("/samples.pcm");
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    const std::vector<float> in = ramp(600000);
    file.write(reinterpret_cast<const char*>(in.data()), 2400000);
    file.close();
    LayerPtr layer = Layer::fromFile(realFormat(), {}, 0, path, true, false);
    EXPECT_FALSE(layer->hasBackup());
    EXPECT_THAT(dataOf(*layer), ElementsAreArray(in));
    layer->clear();
    EXPECT_EQ(QFileInfo(path).size(), 2400000);
}

TEST(LayerFile, WhatCannotBeTakenGivesAnEmptyLayerAndAWarning)
{
    const QString folder = testsupport::makeFolder();
    const QString fifo = sessionFolder() + QStringLiteral("/layer(f).pcm");
    ASSERT_EQ(mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);
    struct Case
    {
        QString path;
        bool copy;
    };
    for (const Case& c : {Case{folder + QStringLiteral("/none"), true}, Case{folder, true}, Case{fifo, true},
                          Case{fifo, false}, Case{QStringLiteral("/etc/passwd"), false}}) {
        testsupport::expectWarning(QStringLiteral("cannot be used"));
        const LayerPtr layer = Layer::fromFile(realFormat(), {}, 5, c.path, c.copy, true);
        EXPECT_TRUE(layer->isEmpty());
        EXPECT_TRUE(layer->hasBackup());
    }
    QFile::remove(fifo);
}

// --- properties ------------------------------------------------------------------------------------

TEST(LayerProperties, EverySetterStampsThePropertiesTimeAndOnlyThat)
{
    const LayerPtr layer = layerOf(realFormat(), ramp(4));
    const int64_t content = layer->contentTime();
    const auto stamps = [&](const auto& change) {
        const int64_t before = layer->propertiesTime();
        change();
        EXPECT_GT(layer->propertiesTime(), before);
        EXPECT_EQ(layer->contentTime(), content);
    };
    stamps([&] { layer->setName("Näme"); });
    stamps([&] { layer->setEnabled(false); });
    stamps([&] { layer->setSolo(true); });
    stamps([&] { layer->setPolarity(-1); });
    stamps([&] { layer->setMultiplier(0.25f); });
    stamps([&] { layer->setColor(0x123456); });
    stamps([&] { layer->setTimeOffset(3); });
    stamps([&] { layer->setScale(2, 3); });
    EXPECT_EQ(layer->name(), QStringLiteral("Näme"));
    EXPECT_EQ(layer->nameStd(), "Näme");
    EXPECT_FALSE(layer->enabled());
    EXPECT_TRUE(layer->solo());
    EXPECT_EQ(layer->polarity(), -1);
    EXPECT_EQ(layer->multiplier(), 0.25f);
    EXPECT_EQ(layer->color(), 0x123456u);
    EXPECT_EQ(layer->timeOffset(), 3.0);
    EXPECT_EQ(layer->scale(), std::make_pair(2.0f, 3.0f));
}

TEST(LayerProperties, FreshLayer)
{
    const LayerPtr layer = Layer::create(realFormat(2), {}, 7, false);
    EXPECT_EQ(layer->type(), LayerTypeLayer);
    EXPECT_EQ(layer->color(), 0xffffffffu);
    EXPECT_EQ(layer->timeOffset(), 0.0);
    EXPECT_EQ(layer->scale(), std::make_pair(1.0f, 1.0f));
    EXPECT_TRUE(layer->range().isEmpty());
    EXPECT_FALSE(layer->isOpen());
    EXPECT_FALSE(layer->setOpen(true));
    EXPECT_FALSE(layer->hasSolo());
    EXPECT_FALSE(layer->hasBackup());
    EXPECT_TRUE(layer->commitRecord().isEmpty());
    EXPECT_EQ(layer->source(), nullptr);
    EXPECT_EQ(layer->sourceShared(), nullptr);
    EXPECT_EQ(layer->sourceOffset(), 0);
    EXPECT_TRUE(layer->children(ChildrenAll).isEmpty());
    EXPECT_TRUE(layer->childrenStd(ChildrenAll).empty());
    EXPECT_TRUE(layer->findParentOf(layer).isEmpty());
    EXPECT_EQ(layer->parent(), nullptr);
    const LayerPtr other = Layer::create(realFormat(2));
    EXPECT_FALSE(layer->appendChild(other));
    EXPECT_FALSE(layer->prependChild(other));
    EXPECT_FALSE(layer->insertChild(0, other));
    EXPECT_FALSE(layer->removeChild(other));
    EXPECT_FALSE(layer->moveChild(0, 0));
}

TEST(LayerProperties, NonsenseIsIgnored)
{
    const LayerPtr layer = layerOf(realFormat(), ramp(4));
    const float nan = std::numeric_limits<float>::quiet_NaN();
    layer->setMultiplier(nan);
    layer->setTimeOffset(nan);
    layer->setScale(0, 1);
    layer->setScale(1, nan);
    layer->setScale(-1, 1);
    layer->setPolarity(0);
    EXPECT_EQ(layer->multiplier(), 1.0f);
    EXPECT_EQ(layer->polarity(), 1);
    EXPECT_EQ(layer->range(), (Range{0, 4}));
}

TEST(LayerProperties, PathIsTheLayerItselfWithTheAttachedOneInFront)
{
    const LayerPtr layer = Layer::create(realFormat());
    const LayerPtr overlay = Layer::create(realFormat());
    layer->setAttached(overlay);
    EXPECT_EQ(layer->pathTo(layer), QList<ILayerPtr>{layer});
    EXPECT_EQ(layer->pathTo(overlay), (QList<ILayerPtr>{overlay, layer}));
    EXPECT_TRUE(layer->pathTo(Layer::create(realFormat())).isEmpty());
    EXPECT_TRUE(layer->pathTo(nullptr).isEmpty());
}

// A layer that is not (or no longer) held by a shared pointer has no path to itself.
class UnownedLayer : public Layer
{
public:
    UnownedLayer() : Layer(Key(), {}, {}, 0) {}
};

TEST(LayerProperties, PathOfALayerWithoutSharedPointerThrows)
{
    const UnownedLayer layer;
    EXPECT_THROW((void)layer.pathTo(nullptr), std::bad_weak_ptr);
}

// --- copies ----------------------------------------------------------------------------------------

TEST(LayerCopy, EmptyRangeGivesAnEmptyLayerWithTheSameHeader)
{
    LayerHeader header{QStringLiteral("a"), false, true, -1, 0.5f, 0xff0000};
    const LayerPtr layer = Layer::create(realFormat(2), header);
    const std::vector<float> in = ramp(20);
    EXPECT_TRUE(layer->write(in.data(), {0, 10}, -1, true));
    layer->setTimeOffset(4);
    layer->setScale(2, 3);
    for (Range asked : {Range{3, 0}, Range{100, 5}, Range{-9, 4}}) {
        const LayerPtr copy = layer->copy(asked, false);
        EXPECT_TRUE(copy->isEmpty());
        EXPECT_TRUE(asked.isEmpty());
        EXPECT_FALSE(copy->hasBackup());
        EXPECT_EQ(copy->filePath(), QString());
        EXPECT_EQ(copy->name(), header.name);
        EXPECT_FALSE(copy->enabled());
        EXPECT_TRUE(copy->solo());
        EXPECT_EQ(copy->polarity(), -1);
        EXPECT_EQ(copy->multiplier(), 0.5f);
        EXPECT_EQ(copy->color(), 0xff0000u);
        EXPECT_EQ(copy->timeOffset(), 4.0);
        EXPECT_EQ(copy->scale(), std::make_pair(2.0f, 3.0f));
        EXPECT_EQ(copy->format(), realFormat(2));
    }
}

TEST(LayerCopy, TakesTheIntersectionAndTellsIt)
{
    const LayerPtr layer = layerOf(realFormat(), ramp(10), 10);
    Range asked{15, 100};
    const LayerPtr copy = layer->copy(asked, true);
    EXPECT_EQ(asked, (Range{15, 5}));
    EXPECT_EQ(copy->range(), (Range{15, 5}));
    EXPECT_EQ(copy->backupRange(), (Range{15, 5}));
    EXPECT_THAT(dataOf(*copy), ElementsAre(6, 7, 8, 9, 10));
    const std::vector<float> in{0};
    EXPECT_TRUE(layer->write(in.data(), {15, 1}, 0, true));
    EXPECT_EQ(dataOf(*copy)[0], 6.0f);
}

TEST(LayerCopy, CloneHasAllDataAndNoRecords)
{
    const LayerPtr layer = layerOf(complexFormat(2), ramp(400000), 3);
    const std::vector<float> in = ramp(4);
    EXPECT_TRUE(layer->write(in.data(), {5, 1}, -1, true));
    EXPECT_FALSE(layer->commitRecord().isEmpty());
    const LayerPtr copy = layer->clone(false);
    EXPECT_EQ(copy->range(), layer->range());
    EXPECT_EQ(dataOf(*copy), dataOf(*layer));
    EXPECT_TRUE(copy->records().isEmpty());
    EXPECT_FALSE(copy->hasBackup());
}

TEST(LayerCopy, CopyFromTakesTheCommonPartOver)
{
    const LayerPtr source = layerOf(realFormat(), ramp(10, 100), 5);
    const LayerPtr layer = layerOf(realFormat(), ramp(4));
    source->setMultiplier(3);
    source->setName("source");
    layer->copyFrom(source, {8, 4});
    EXPECT_THAT(dataOf(*layer), ElementsAre(1, 2, 3, 4, 0, 0, 0, 0, 103, 104, 105, 106));
    EXPECT_EQ(layer->multiplier(), 1.0f);
    layer->copyFromLayer(source, {0, 0}, true);
    EXPECT_EQ(layer->multiplier(), 3.0f);
    EXPECT_EQ(layer->name(), QStringLiteral("source"));
    EXPECT_EQ(layer->range().length, 12);
    layer->assignFrom(source);
    EXPECT_THAT(samplesOf(*layer, {5, 10}), ElementsAreArray(ramp(10, 100)));
    layer->copyFrom(nullptr, {0, 5});
    layer->copyFrom(layerOf(realFormat(2), ramp(8)), {0, 4});
    EXPECT_THAT(samplesOf(*layer, {0, 4}), ElementsAre(1, 2, 3, 4));
}

TEST(LayerCopy, ReplaceByWritesOrMixesTheSourceIn)
{
    const LayerPtr source = layerOf(realFormat(), ramp(3, 10), 2);
    const LayerPtr layer = layerOf(realFormat(), ramp(4));
    layer->replaceByLayer(source, -1.0f, false);
    EXPECT_THAT(dataOf(*layer), ElementsAre(1, 2, 3 - 10, 4 - 11, -12));
    layer->replaceBy(source, true);
    EXPECT_THAT(dataOf(*layer), ElementsAre(1, 2, 10, 11, 12));
    layer->replaceBy(source, false);
    EXPECT_THAT(dataOf(*layer), ElementsAre(1, 2, 20, 22, 24));
}

TEST(LayerCopy, LayerMayBeFilledFromAGroupThatHoldsIt)
{
    const LayerPtr layer = layerOf(realFormat(), ramp(100000));
    const LayerPtr other = layerOf(realFormat(), ramp(100000));
    const LayerGroupPtr group = LayerGroup::create(realFormat());
    ASSERT_TRUE(group->appendChild(layer));
    ASSERT_TRUE(group->appendChild(other));
    layer->replaceByLayer(group, 1.0f, true);
    std::vector<float> twice = ramp(100000);
    for (float& value : twice)
        value *= 2;
    EXPECT_EQ(dataOf(*layer), twice);
}

// --- formats ---------------------------------------------------------------------------------------

TEST(LayerFormat, EmptyLayerTakesAnyFormat)
{
    const LayerPtr layer = Layer::create(realFormat(2));
    int calls = 0;
    EXPECT_TRUE(layer->changeFormat(complexFormat(3, 8000), Matrix(), [&](int done, int total) {
        ++calls;
        EXPECT_EQ(done, total);
        return true;
    }));
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(layer->format(), complexFormat(3, 8000));
}

TEST(LayerFormat, IdentityChangeOnlyRenamesAndDropsTheUndoState)
{
    const LayerPtr layer = layerOf(realFormat(2), ramp(8));
    const std::vector<float> in{7};
    EXPECT_TRUE(layer->write(in.data(), {0, 1}, 0, true));
    SamplingFormat format = realFormat(2);
    format.channelsMask = 12;
    EXPECT_TRUE(layer->changeFormat(format, Matrix(2, 2), {}));
    EXPECT_EQ(layer->format(), format);
    EXPECT_TRUE(layer->backup()->isEmpty());
    EXPECT_TRUE(layer->changedRange().isEmpty());
    EXPECT_EQ(dataOf(*layer)[0], 7.0f);
    layer->stretch(1.0);
    EXPECT_EQ(layer->range().length, 4);
}

TEST(LayerFormat, SetFormatTakesTheBytesAsTheyAre)
{
    const LayerPtr layer = layerOf(realFormat(1), ramp(7), 5);
    layer->setFormat(realFormat(2));
    EXPECT_EQ(layer->range(), (Range{5, 3}));
    EXPECT_EQ(fileFloats(*layer), 6);
    EXPECT_THAT(dataOf(*layer), ElementsAreArray(ramp(6)));
    EXPECT_EQ(layer->backupRange(), (Range{5, 3}));
    layer->setFormat({});
    EXPECT_TRUE(layer->isEmpty());
    EXPECT_EQ(layer->filePath(), QString());
}

// --- appending -------------------------------------------------------------------------------------

TEST(LayerAppend, GrowsAndRestoresTheFileSizeAtTheEnd)
{
    const LayerPtr layer = Layer::create(realFormat(2));
    const std::vector<float> in = ramp(2 * 700000);
    int64_t done = 0;
    for (int64_t block = 1; done < 700000; block = block * 3 + 1) {
        const int64_t frames = std::min<int64_t>(block, 700000 - done);
        ASSERT_TRUE(layer->append(in.data() + 2 * done, frames));
        done += frames;
        ASSERT_EQ(layer->range(), (Range{0, done}));
        ASSERT_GE(fileFloats(*layer), 2 * done);
    }
    EXPECT_GT(fileFloats(*layer), 2 * done);
    EXPECT_TRUE(layer->finishAppend());
    EXPECT_EQ(fileFloats(*layer), 2 * done);
    EXPECT_EQ(dataOf(*layer), in);
    EXPECT_EQ(layer->changedRange(), (Range{0, 700000}));
}

TEST(LayerAppend, ReserveIsOnlyAHint)
{
    const LayerPtr layer = Layer::create(realFormat());
    EXPECT_TRUE(layer->reserve(1000));
    EXPECT_TRUE(layer->isEmpty());
    EXPECT_TRUE(layer->reserve(10));
    EXPECT_TRUE(layer->reserve(-10));
    const std::vector<float> in = ramp(1500);
    EXPECT_TRUE(layer->append(in.data(), 1500));
    EXPECT_TRUE(layer->append(in.data(), 0));
    EXPECT_TRUE(layer->finishAppend());
    EXPECT_EQ(fileFloats(*layer), 1500);
    EXPECT_EQ(dataOf(*layer), in);
}

TEST(LayerAppend, NothingArrived)
{
    const LayerPtr layer = Layer::create(realFormat());
    EXPECT_TRUE(layer->finishAppend());
    EXPECT_TRUE(layer->reserve(1000));
    EXPECT_TRUE(layer->finishAppend());
    EXPECT_EQ(layer->filePath(), QString());
    EXPECT_EQ(sessionFiles(), QStringList());
}

TEST(LayerAppend, GoesOnBehindDataAndIsUndone)
{
    const LayerPtr layer = layerOf(realFormat(), ramp(10), 20);
    const std::vector<float> in{5, 6};
    EXPECT_TRUE(layer->append(in.data(), 2));
    EXPECT_TRUE(layer->finishAppend());
    EXPECT_EQ(layer->range(), (Range{20, 12}));
    EXPECT_TRUE(layer->backup()->isEmpty());
    const LayerRecord record = layer->commitRecord();
    layer->applyRecord(record, 0);
    EXPECT_THAT(dataOf(*layer), ElementsAreArray(ramp(10)));
    layer->applyRecord(record, 1);
    EXPECT_THAT(samplesOf(*layer, {29, 3}), ElementsAre(10, 5, 6));
}

} // namespace
