// Layers in another format and of another length.
#include "model/formatchange.h"

#include "model/layerregion.h"
#include "model/layerroot.h"
#include "model/modeltest.h"
#include "spectral/primitives/resampler.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>
#include <random>

#include <QCoreApplication>
#include <QVariant>

using namespace modeltest;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

namespace {

// Long enough for several pieces of the resampler.
constexpr int64_t longFrames = 400000;

std::vector<float> noise(int64_t count, uint32_t seed = 1)
{
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> number(-1, 1);
    std::vector<float> values(static_cast<std::size_t>(count));
    for (float& value : values)
        value = number(random);
    return values;
}

std::vector<float> tone(int64_t frames, double rate, double frequency)
{
    std::vector<float> values(static_cast<std::size_t>(frames));
    for (std::size_t i = 0; i < values.size(); ++i)
        values[i] = float(0.5 * std::sin(2 * std::numbers::pi * frequency * double(i) / rate));
    return values;
}

// Largest difference in the middle half, where no end of the signal reaches.
double middleError(const std::vector<float>& a, const std::vector<float>& b)
{
    EXPECT_EQ(a.size(), b.size());
    double worst = 0;
    for (std::size_t i = a.size() / 4; i < a.size() * 3 / 4; ++i)
        worst = std::max(worst, double(std::fabs(a[i] - b[i])));
    return worst;
}

// One channel in the centre.
SamplingFormat mono(double rate = 48000)
{
    SamplingFormat format = realFormat(1, rate);
    format.channelsMask = 4;
    return format;
}

Matrix matrixOf(int outputs, int inputs, const std::vector<float>& gains)
{
    Matrix matrix(outputs, inputs);
    for (std::size_t i = 0; i < gains.size(); ++i)
        matrix.data[int64_t(i)] = gains[i];
    return matrix;
}

const Matrix swapped = matrixOf(2, 2, {0, 1, 1, 0});

// Everything about a layer that a refused change has to leave.
struct Picture
{
    explicit Picture(const Layer& layer)
        : samples(dataOf(layer)),
          range(layer.dataRange()),
          format(layer.format()),
          time(layer.contentTime()),
          path(layer.filePath()),
          backup(layer.backup()),
          records(layer.records()),
          files(sessionFiles())
    {
    }
    friend bool operator==(const Picture&, const Picture&) = default;

    std::vector<float> samples;
    Range range;
    SamplingFormat format;
    int64_t time;
    QString path;
    LayerPtr backup;
    QList<LayerRecord> records;
    QStringList files;
};

// --- one layer -------------------------------------------------------------------------------------

TEST(FormatChange, AToneKeepsItsFrequencyAndItsPlace)
{
    const LayerPtr layer = layerOf(realFormat(1, 44100), tone(44100, 44100, 1000), 441);
    EXPECT_TRUE(layer->changeFormat(realFormat(1, 48000), Matrix(1, 1), {}));
    EXPECT_EQ(layer->format(), realFormat(1, 48000));
    EXPECT_EQ(layer->range(), (Range{480, 48000}));
    EXPECT_LT(middleError(dataOf(*layer), tone(48000, 48000, 1000)), 1e-5);
}

TEST(FormatChange, StartIsCutAndLengthIsRounded)
{
    const LayerPtr layer = layerOf(realFormat(1, 48000), noise(1001), 7);
    EXPECT_TRUE(layer->changeFormat(realFormat(1, 24000), Matrix(1, 1), {}));
    EXPECT_EQ(layer->range(), (Range{3, 501}));
    // What rounds to nothing leaves no file.
    const LayerPtr tiny = layerOf(realFormat(1, 48000), {1.0f});
    EXPECT_TRUE(tiny->changeFormat(realFormat(1, 8000), Matrix(1, 1), {}));
    EXPECT_TRUE(tiny->isEmpty());
    EXPECT_EQ(tiny->filePath(), QString());
    EXPECT_EQ(tiny->format(), realFormat(1, 8000));
}

TEST(FormatChange, TheMatrixMixesTheChannels)
{
    const LayerPtr layer = layerOf(realFormat(2), {1, 2, 3, 4, 5, 6});
    EXPECT_TRUE(layer->changeFormat(realFormat(1), matrixOf(1, 2, {0.5f, -0.25f}), {}));
    EXPECT_THAT(dataOf(*layer), ElementsAre(0, 0.5f, 1));
    const LayerPtr turned = layerOf(realFormat(2), ramp(4));
    EXPECT_TRUE(turned->changeFormat(realFormat(2), swapped, {}));
    EXPECT_THAT(dataOf(*turned), ElementsAre(2, 1, 4, 3));
}

TEST(FormatChange, WithoutAMatrixTheDefaultRemixIsTaken)
{
    const LayerPtr layer = layerOf(mono(), ramp(3));
    EXPECT_TRUE(layer->changeFormat(realFormat(2), Matrix(), {}));
    EXPECT_THAT(dataOf(*layer), ElementsAre(1, 1, 2, 2, 3, 3));
    // Zeros only ask for it too.
    EXPECT_TRUE(layer->changeFormat(mono(), matrixOf(1, 2, {0, 0}), {}));
    EXPECT_THAT(dataOf(*layer), ElementsAre(1, 2, 3));
}

TEST(FormatChange, ComplexSamplesStayPairs)
{
    const LayerPtr layer = layerOf(complexFormat(1), ramp(6));
    EXPECT_TRUE(layer->changeFormat(complexFormat(2), matrixOf(2, 1, {1, -1}), {}));
    EXPECT_THAT(dataOf(*layer), ElementsAre(1, 2, -1, -2, 3, 4, -3, -4, 5, 6, -5, -6));
    SamplingFormat real = realFormat(2);
    real.channelsType = ChannelsTypeGeneric;
    EXPECT_TRUE(layer->changeFormat(real, Matrix(2, 2), {}));
    EXPECT_THAT(dataOf(*layer), ElementsAre(1, -1, 3, -3, 5, -5));
}

TEST(FormatChange, LongLayersAreConvertedLikeAWholeSignal)
{
    const std::vector<float> in = noise(2 * longFrames);
    const SamplingFormat from = realFormat(2, 44100), to = realFormat(2, 48000);
    const LayerPtr layer = layerOf(from, in);
    Resampler resampler(from, to, Matrix(2, 2), true);
    std::vector<float> expected(std::size_t(2 * std::llround(longFrames * 48000.0 / 44100.0)));
    ASSERT_EQ(resampler.processAll(in.data(), longFrames, expected.data(), 0), int64_t(expected.size()) / 2);
    EXPECT_TRUE(layer->changeFormat(to, Matrix(2, 2), {}));
    EXPECT_TRUE(dataOf(*layer) == expected);
    EXPECT_EQ(sessionFiles().size(), 1) << "the old file is gone";
}

TEST(FormatChange, ProgressIsAskedOftenAndEndsWithTheCount)
{
    const LayerPtr layer = layerOf(realFormat(1, 44100), noise(2 * longFrames));
    int early = 0, last = 0;
    EXPECT_TRUE(layer->changeFormat(realFormat(1, 48000), Matrix(1, 1), [&](int done, int total) {
        EXPECT_EQ(total, 1);
        (done == 0 ? early : last)++;
        return true;
    }));
    EXPECT_GE(early, 3);
    EXPECT_EQ(last, 1);
}

TEST(FormatChange, ACancelAtAnyMomentLeavesTheLayerAsItWas)
{
    const LayerPtr layer = layerOf(realFormat(2, 44100), noise(2 * longFrames), 100);
    const float value = 9;
    EXPECT_TRUE(layer->write(&value, {150, 1}, 0, true));
    (void)layer->commitRecord();
    EXPECT_TRUE(layer->write(&value, {170, 1}, 0, true));
    const Picture before(*layer);
    int calls = 0;
    for (int cancelAt = 1;; ++cancelAt) {
        ASSERT_LT(cancelAt, 100);
        calls = 0;
        if (layer->changeFormat(realFormat(1, 48000), Matrix(1, 2),
                                [&](int, int) { return ++calls != cancelAt; }))
            break;
        ASSERT_EQ(calls, cancelAt) << "a cancel is heard at once";
        ASSERT_TRUE(Picture(*layer) == before) << cancelAt;
    }
    EXPECT_GE(calls, 4);
    EXPECT_FALSE(layer->takeStorageError());
}

TEST(FormatChange, AFullDiskLeavesTheLayerAsItWas)
{
    const LayerPtr layer = layerOf(realFormat(1, 44100), noise(10000));
    const Picture before(*layer);
    {
        const DiskLimit limit(40000);
        EXPECT_FALSE(layer->changeFormat(realFormat(1, 48000), Matrix(1, 1), {}));
        EXPECT_TRUE(Picture(*layer) == before);
        QString words;
        EXPECT_TRUE(layer->takeStorageError(&words));
        EXPECT_TRUE(words.contains(sessionFolder())) << words.toStdString();
        layer->stretch(2);
        EXPECT_TRUE(Picture(*layer) == before);
        EXPECT_TRUE(layer->takeStorageError());
    }
    EXPECT_TRUE(layer->changeFormat(realFormat(1, 48000), Matrix(1, 1), {}));
}

TEST(FormatChange, ASessionFolderThatIsGoneLeavesTheLayerAsItWas)
{
    const LayerPtr layer = layerOf(realFormat(1, 44100), noise(1000));
    const Picture before(*layer);
    QCoreApplication* application = QCoreApplication::instance();
    const QString folder = sessionFolder();
    application->setProperty("sessionpath", folder + QStringLiteral("/gone"));
    EXPECT_FALSE(layer->changeFormat(realFormat(1, 48000), Matrix(1, 1), {}));
    application->setProperty("sessionpath", folder);
    EXPECT_TRUE(layer->takeStorageError());
    EXPECT_TRUE(Picture(*layer) == before);
}

TEST(FormatChange, FormatsAndRatiosThatMakeNoSenseAreRefused)
{
    const LayerPtr layer = layerOf(realFormat(1, 44100), noise(1000));
    const Picture before(*layer);
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (const SamplingFormat& format :
         {SamplingFormat(), realFormat(1, 0), realFormat(1, -1), realFormat(1, nan), realFormat(1, 1e-3),
          realFormat(1, 1e13), realFormat(1, 2e13), realFormat(63, 1e300)}) {
        EXPECT_FALSE(layer->changeFormat(format, Matrix(1, 1), {}));
        EXPECT_TRUE(Picture(*layer) == before);
    }
    for (const double ratio : {0.0, -1.0, nan, 1e-9, 1e9, double(INFINITY), 1.0}) {
        layer->stretch(ratio);
        EXPECT_TRUE(Picture(*layer) == before) << ratio;
    }
    EXPECT_FALSE(layer->takeStorageError());
}

TEST(FormatChange, WhatIsWrittenMeanwhileIsNotLost)
{
    const LayerPtr layer = layerOf(realFormat(1, 44100), noise(longFrames));
    const float value = 9;
    bool written = false;
    EXPECT_FALSE(layer->changeFormat(realFormat(1, 48000), Matrix(1, 1), [&](int, int) {
        written = written || layer->write(&value, {5, 1}, 0, true);
        return true;
    }));
    EXPECT_EQ(layer->format(), realFormat(1, 44100));
    EXPECT_THAT(samplesOf(*layer, {5, 1}), ElementsAre(9));
}

TEST(FormatChange, UndoBeginsAnewAndOldRecordsAreRefused)
{
    const LayerPtr layer = layerOf(realFormat(1, 44100), noise(5000));
    const float value = 9;
    EXPECT_TRUE(layer->write(&value, {5, 1}, 0, true));
    const LayerRecord old = layer->commitRecord();
    EXPECT_TRUE(layer->changeFormat(realFormat(1, 48000), Matrix(1, 1), {}));
    EXPECT_THAT(layer->records(), IsEmpty());
    EXPECT_TRUE(layer->backup()->isEmpty());
    EXPECT_EQ(layer->backup()->format(), layer->format());
    EXPECT_EQ(layer->backupRange(), layer->dataRange());
    EXPECT_TRUE(layer->changedRange().isEmpty());
    const Picture before(*layer);
    layer->applyRecord(old, 0);
    EXPECT_TRUE(Picture(*layer) == before);
    layer->applyRecord(old, 1);
    EXPECT_TRUE(Picture(*layer) == before);
    // And edits of the new samples are undone as ever.
    EXPECT_TRUE(layer->write(&value, {70, 1}, 0, true));
    layer->applyRecord(layer->commitRecord(), 0);
    EXPECT_TRUE(dataOf(*layer) == before.samples);
}

// --- trees -----------------------------------------------------------------------------------------

TEST(FormatChange, AGroupReachesEachChildExactlyOnce)
{
    const SamplingFormat format = realFormat(2);
    const LayerGroupPtr group = LayerGroup::create(format), inner = LayerGroup::create(format);
    const LayerPtr a = layerOf(format, ramp(4)), b = layerOf(format, ramp(4, 11));
    for (const ILayerPtr& child : {ILayerPtr(a), ILayerPtr(inner)})
        ASSERT_TRUE(group->appendChild(child));
    ASSERT_TRUE(inner->appendChild(b));
    ASSERT_TRUE(inner->appendChild(a)); // in both
    std::vector<int> steps;
    EXPECT_TRUE(group->changeFormat(format, swapped, [&](int done, int total) {
        EXPECT_EQ(total, 2);
        if (steps.empty() || steps.back() != done)
            steps.push_back(done);
        return true;
    }));
    EXPECT_THAT(steps, ElementsAre(0, 1, 2));
    EXPECT_THAT(dataOf(*a), ElementsAre(2, 1, 4, 3)) << "twice would be no exchange at all";
    EXPECT_THAT(dataOf(*b), ElementsAre(12, 11, 14, 13));
}

TEST(FormatChange, AGroupTakesTheFormatWithAllBelow)
{
    const LayerGroupPtr group = LayerGroup::create(realFormat(1, 8000)),
                        inner = LayerGroup::create(realFormat(1, 8000));
    const LayerPtr layer = layerOf(realFormat(1, 8000), ramp(8), 2),
                   empty = Layer::create(realFormat(1, 8000));
    ASSERT_TRUE(group->appendChild(inner));
    ASSERT_TRUE(inner->appendChild(layer));
    ASSERT_TRUE(inner->appendChild(empty));
    EXPECT_TRUE(group->changeFormat(realFormat(2, 16000), Matrix(), {}));
    for (const ILayerPtr& one : {ILayerPtr(group), ILayerPtr(inner), ILayerPtr(layer), ILayerPtr(empty)})
        EXPECT_EQ(one->format(), realFormat(2, 16000));
    EXPECT_EQ(group->range(), (Range{4, 16}));
    EXPECT_EQ(group->backup()->format(), realFormat(2, 16000));
}

TEST(FormatChange, AGroupChangesAsAWholeOrNotAtAll)
{
    const SamplingFormat from = realFormat(1, 44100);
    const LayerGroupPtr group = LayerGroup::create(from);
    const LayerPtr small = layerOf(from, noise(100)), large = layerOf(from, noise(20000));
    ASSERT_TRUE(group->appendChild(small));
    ASSERT_TRUE(group->appendChild(large));
    const Picture before[] = {Picture(*small), Picture(*large)};
    const auto expectUnchanged = [&] {
        EXPECT_TRUE(Picture(*small) == before[0]);
        EXPECT_TRUE(Picture(*large) == before[1]);
        EXPECT_EQ(group->format(), from);
    };
    {
        const DiskLimit limit(80000); // enough for the small one
        EXPECT_FALSE(group->changeFormat(realFormat(1, 48000), Matrix(1, 1), {}));
    }
    expectUnchanged();
    QString words;
    EXPECT_TRUE(group->takeStorageError(&words));
    EXPECT_TRUE(words.contains(sessionFolder()));
    EXPECT_FALSE(group->changeFormat(realFormat(1, 48000), Matrix(1, 1),
                                     [](int done, int total) { return done < total; }));
    expectUnchanged();
    EXPECT_FALSE(group->takeStorageError()) << "a cancel is no lack of room";
}

TEST(FormatChange, TheWholeTreeChangesWithTheSourcesOfItsRegions)
{
    const SamplingFormat from = mono(8000), to = realFormat(2, 16000);
    LayerRoot root(from);
    const LayerPtr hidden = layerOf(from, std::vector<float>(1000, 0.5f)),
                   layer = layerOf(from, std::vector<float>(1000, 0.25f));
    const LayerRegionPtr region = LayerRegion::create(hidden, 100, 50, 10),
                         second = LayerRegion::create(layer, 0, 10, 0);
    for (const ILayerPtr& child : {ILayerPtr(region), ILayerPtr(layer), ILayerPtr(second)})
        ASSERT_TRUE(root.project()->appendChild(child));
    QString words;
    EXPECT_FALSE(root.changeFormat(
        to, Matrix(), [](int, int) { return false; }, &words));
    EXPECT_EQ(words, QString());
    {
        const DiskLimit limit(1000);
        EXPECT_FALSE(root.changeFormat(to, Matrix(), {}, &words));
        EXPECT_TRUE(words.contains(sessionFolder()));
    }
    EXPECT_EQ(hidden->format(), from);
    EXPECT_EQ(region->window(), (Range{100, 50}));
    EXPECT_TRUE(root.changeFormat(to, Matrix(), {}, &words));
    for (const ILayerPtr& one : {ILayerPtr(hidden), ILayerPtr(layer), ILayerPtr(region), ILayerPtr(second)})
        EXPECT_EQ(one->format(), to);
    EXPECT_EQ(region->window(), (Range{200, 100}));
    EXPECT_EQ(region->sourceOffset(), 20);
    EXPECT_EQ(hidden->range().length, 2000) << "once, though a region shows it";
    EXPECT_EQ(layer->range().length, 2000);
    const std::vector<float> shown = samplesOf(*region, {250, 1});
    EXPECT_NEAR(shown[0], 0.5, 1e-4);
    EXPECT_NEAR(shown[1], 0.5, 1e-4);
}

// A window whose source has other channels would read past the end of its caller's buffer.
TEST(FormatChange, ARegionOnASourceOfAnotherFormatIsSilentAndWritesNothing)
{
    const LayerPtr source = layerOf(mono(), ramp(20));
    const LayerRegionPtr region = LayerRegion::create(source, 0, 20, 0);
    EXPECT_TRUE(source->changeFormat(realFormat(2), Matrix(), {}));
    std::vector<float> out(5, 7.0f);
    region->read(out.data(), {0, 4}, -1, true);
    EXPECT_THAT(out, ElementsAre(0, 0, 0, 0, 7));
    EXPECT_FALSE(region->write(out.data(), {0, 4}, -1, true));
    EXPECT_TRUE(region->changeFormat(realFormat(2), Matrix(), {}));
    EXPECT_THAT(samplesOf(*region, {0, 2}), ElementsAre(1, 1, 2, 2));
}

TEST(FormatChange, RandomLayersAreConvertedLikeTheResamplerConvertsThem)
{
    std::mt19937 random(7);
    const auto pick = [&](int low, int high) {
        return std::uniform_int_distribution<int>(low, high)(random);
    };
    const double rates[] = {8000, 11025, 44100, 48000, 48001, 360, 96000};
    for (int round = 0; round < 60; ++round) {
        const bool complex = pick(0, 3) == 0;
        const auto format = [&] {
            const double rate = rates[pick(0, 6)];
            return complex ? complexFormat(pick(1, 3), rate) : realFormat(pick(1, 6), rate);
        };
        const SamplingFormat from = format(), to = format();
        const int64_t frames = pick(0, 9) == 0 ? pick(130000, 200000) : pick(1, 3000), start = pick(0, 5000);
        const std::vector<float> in = noise(frames * from.frameBytes() / 4, uint32_t(round));
        Matrix matrix(to.channels, from.channels);
        for (float& gain : matrix.data)
            gain = float(pick(-4, 4)) / 4;
        Resampler resampler(from, to, matrix, true);
        const double ratio = to.sampleRate / from.sampleRate;
        const int64_t expectedFrames = std::llround(double(frames) * ratio);
        std::vector<float> expected(std::size_t(expectedFrames * to.frameBytes() / 4));
        if (expectedFrames > 0)
            resampler.processAll(in.data(), frames, expected.data(), 0);
        const LayerPtr layer = layerOf(from, in, start);
        ASSERT_TRUE(layer->changeFormat(to, matrix, {})) << round;
        ASSERT_EQ(layer->dataRange().length, expectedFrames) << round;
        if (expectedFrames > 0) {
            ASSERT_EQ(layer->dataRange().start, int64_t(double(start) * ratio)) << round;
        }
        ASSERT_TRUE(dataOf(*layer) == expected) << round;
    }
    EXPECT_THAT(sessionFiles(), IsEmpty());
}

// --- stretching ------------------------------------------------------------------------------------

TEST(Stretch, AToneIsDrawnOutFromTheSameStart)
{
    const LayerPtr layer = layerOf(realFormat(), tone(30001, 48000, 1000), 77);
    layer->stretch(1.5);
    EXPECT_EQ(layer->range(), (Range{77, 45002})); // 45001.5, half away from zero
    EXPECT_EQ(layer->format(), realFormat()) << "the rate is the same";
    EXPECT_LT(middleError(dataOf(*layer), tone(45002, 72000, 1000)), 1e-5);
}

TEST(Stretch, IsUndoneAndRedoneToTheBit)
{
    for (const double ratio : {2.0, 0.5, 1.0 / 3}) {
        const std::vector<float> in = noise(2 * 200000);
        const LayerPtr layer = layerOf(realFormat(2), in, 10);
        layer->stretch(ratio);
        const std::vector<float> drawn = dataOf(*layer);
        const Range after = layer->dataRange();
        EXPECT_EQ(layer->changedRange(), (Range{10, std::max(after.length, int64_t(200000))}));
        const LayerRecord record = layer->commitRecord();
        layer->applyRecord(record, 0);
        EXPECT_EQ(layer->dataRange(), (Range{10, 200000}));
        EXPECT_TRUE(dataOf(*layer) == in);
        layer->applyRecord(record, 1);
        EXPECT_EQ(layer->dataRange(), after);
        EXPECT_TRUE(dataOf(*layer) == drawn);
        layer->applyRecord(record, 0);
        layer->stretch(ratio);
        layer->resetToBackup();
        EXPECT_TRUE(dataOf(*layer) == in) << "an action that was not recorded";
    }
}

TEST(Stretch, ToNothingRemovesTheSamplesAndComesBack)
{
    const LayerPtr layer = layerOf(realFormat(), {1, 2, 3}, 4);
    layer->stretch(0.01);
    EXPECT_TRUE(layer->isEmpty());
    layer->resetToBackup();
    EXPECT_THAT(dataOf(*layer), ElementsAre(1, 2, 3));
    EXPECT_EQ(layer->range(), (Range{4, 3}));
}

TEST(Stretch, WithoutRoomForTheOldSamplesNothingHasChanged)
{
    const LayerPtr layer = layerOf(realFormat(), noise(10000));
    const Picture before(*layer);
    {
        const DiskLimit limit(39999); // the half fits, what undo needs does not
        layer->stretch(0.5);
    }
    EXPECT_TRUE(layer->takeStorageError());
    EXPECT_TRUE(Picture(*layer) == before);
}

} // namespace
