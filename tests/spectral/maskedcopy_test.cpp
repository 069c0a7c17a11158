#include "spectral/maskedcopy.h"

#include "model/layerregion.h"
#include "model/modeltest.h"
#include "model/selectiontest.h"
#include "spectral/primitives/maskproduct.h"
#include "spectral/spectralbuffer.h"
#include "support/testsupport.h"
#include "support/wav.h"

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <random>
#include <string>

using namespace modeltest;
using selectiontest::rectangle;
using State = MaskedResult::State;

namespace {

using TransformPtr = std::shared_ptr<const Transform>;

TransformPtr makeTransform(int32_t sampleType, int32_t size = 64, int32_t overlap = 8, int32_t padding = 2,
                           WindowType window = WindowType::BlackmanHarris)
{
    return std::make_shared<const Transform>(sampleType, window, size, overlap, padding);
}

std::vector<float> noise(int64_t floats, unsigned seed)
{
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> sample(-0.5f, 0.5f);
    std::vector<float> values(static_cast<std::size_t>(floats));
    for (float& value : values)
        value = sample(random);
    return values;
}

LayerPtr emptyLayer(const SamplingFormat& format)
{
    return Layer::create(format, {}, 0, false);
}

double largestDifference(const std::vector<float>& a, const std::vector<float>& b)
{
    EXPECT_EQ(a.size(), b.size());
    double worst = 0;
    for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i)
        worst = std::max(worst, std::abs(double(a[i]) - double(b[i])));
    return worst;
}

struct Case
{
    const char* name;
    SamplingFormat format;
    TransformPtr transform;
    int64_t frames; // sample points of the layer
    int64_t start;
};

std::vector<Case> cases()
{
    return {
        {"real", realFormat(), makeTransform(1), 6000, 0},
        {"stereo, later", realFormat(2), makeTransform(1, 128, 4, 1), 5000, 777},
        {"odd sizes", realFormat(3), makeTransform(1, 90, 6, 3, WindowType::Hamming), 3000, 5},
        {"complex", complexFormat(), makeTransform(2), 4000, 0},
        {"two complex channels", complexFormat(2), makeTransform(2, 48, 4, 1), 3000, 100},
        {"largest transform", realFormat(), makeTransform(1, 32768, 16, 4), 150000, 0},
        {"many strips", realFormat(), makeTransform(1, 1024, 16, 4, WindowType::Hann), 400000, 0},
    };
}

// A soft shape that covers about a third of the layer in time and half of the band.
Selection softShape(const Case& c, uint32_t seed)
{
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> unit(0.3, 0.7);
    const Area band = fullBandArea(c.format, {c.start, c.frames});
    const double x = band.x + band.width * unit(random);
    const double y = band.y + band.height * unit(random);
    Selection selection;
    selection.add(selectiontest::lasso(random, {x, y}, band.width * 0.25, band.height * 0.35, 13),
                  band.width * 0.03, band.height * 0.06, false);
    return selection;
}

MaskedArea areaOf(const Case& c, const Selection& selection)
{
    return {selection, c.transform, QBitArray(c.format.channels, true)};
}

// The frames of the selection times the mask, or times 1 - mask, through the frame cache.
struct ThroughFrames
{
    SpectralBuffer source;
    SpectralBuffer target;
    Matrix mask;
    int64_t first;
    const MaskedArea& area;
    const SamplingFormat format;

    ThroughFrames(const LayerPtr& from, const LayerPtr& to, const MaskedArea& maskedArea)
        : area(maskedArea),
          format(from->format())
    {
        for (SpectralBuffer* buffer : {&source, &target}) {
            buffer->setBufferSizeMB(64);
            buffer->setLayer(buffer == &source ? from : to);
            buffer->setSettings(area.transform);
        }
        const Range range = area.selection.range();
        const int32_t hop = area.transform->hop();
        first = SpectralBuffer::frameAt(range.start, hop);
        mask = Matrix(area.transform->bins(), int32_t(SpectralBuffer::frameAt(range.end(), hop) - first + 1));
        area.selection.rasterize(mask, fullBandArea(format, range));
    }
    void multiply(SpectralBuffer& from, SpectralBuffer& to)
    {
        std::vector<Complex> bins(std::size_t(area.transform->bins()));
        for (int64_t row = 0; row < mask.inputs; ++row)
            for (int channel = 0; channel < format.channels; ++channel) {
                if (!area.channels.testBit(channel))
                    continue;
                from.getFrame(first + row, channel, bins.data());
                multiplyByMask(bins.data(), mask.data.data() + row * mask.outputs, *area.transform);
                to.setFrame(first + row, channel, bins.data());
            }
        EXPECT_TRUE(to.commit());
    }
    void copy() { multiply(source, target); }
    void remove()
    {
        for (float& weight : mask.data)
            weight = 1 - weight;
        multiply(source, source);
    }
};

TEST(MaskedCopy, IsTheMaskedFramesOfTheSelectionOverItsSpan)
{
    for (const Case& c : cases()) {
        SCOPED_TRACE(c.name);
        const auto samples = noise(c.frames * c.format.frameBytes() / 4, 1);
        const LayerPtr layer = layerOf(c.format, samples, c.start);
        const MaskedArea area = areaOf(c, softShape(c, 2));
        const LayerPtr expected = emptyLayer(c.format);
        ThroughFrames(layer, expected, area).copy();
        const LayerPtr target = layerOf(c.format, noise(c.format.frameBytes() / 4 * 50, 3), 20);
        const MaskedResult result = copyMasked(layer, target, area);
        ASSERT_EQ(result.state, State::Done);
        EXPECT_TRUE(result.hasContent);
        EXPECT_EQ(target->dataRange(), area.selection.range());
        const auto got = dataOf(*target);
        EXPECT_LT(largestDifference(got, samplesOf(*expected, target->dataRange())), 1e-6);
        EXPECT_GT(largestDifference(got, std::vector<float>(got.size())), 0.05) << "something is selected";
        EXPECT_EQ(dataOf(*layer), samples);
    }
}

TEST(MaskedCopy, CutAndAddedBackIsTheSameSignal)
{
    for (const Case& c : cases())
        for (uint32_t seed = 1; seed < 5; ++seed) {
            SCOPED_TRACE(c.name);
            const auto samples = noise(c.frames * c.format.frameBytes() / 4, seed);
            const LayerPtr layer = layerOf(c.format, samples, c.start);
            const LayerPtr clip = emptyLayer(c.format);
            const MaskedArea area = areaOf(c, softShape(c, seed));
            ASSERT_TRUE(cutMasked(layer, clip, area).isDone());
            const Range cut = area.selection.range();
            const auto after = dataOf(*layer);
            ASSERT_EQ(after.size(), samples.size());
            EXPECT_GT(largestDifference(after, samples), 0.05);
            const int64_t width = c.format.frameBytes() / 4;
            for (std::size_t i = 0; i < samples.size(); ++i)
                if (!cut.contains({c.start + int64_t(i) / width, 1})) {
                    ASSERT_EQ(after[i], samples[i]) << i;
                }
            layer->replaceByLayer(clip, 1.0f, false);
            EXPECT_LT(largestDifference(dataOf(*layer), samples), 1e-6);
        }
}

TEST(MaskedCopy, ARemovalLeavesEachFrameTimesTheRestOfTheMask)
{
    for (const Case& c : cases()) {
        SCOPED_TRACE(c.name);
        const auto samples = noise(c.frames * c.format.frameBytes() / 4, 4);
        const LayerPtr expected = layerOf(c.format, samples, c.start);
        const LayerPtr layer = layerOf(c.format, samples, c.start);
        const MaskedArea area = areaOf(c, softShape(c, 5));
        ThroughFrames(expected, emptyLayer(c.format), area).remove();
        const MaskedResult result = removeMasked(layer, area);
        ASSERT_EQ(result.state, State::Done);
        EXPECT_TRUE(result.hasContent);
        EXPECT_EQ(layer->dataRange(), expected->dataRange());
        EXPECT_LT(largestDifference(dataOf(*layer), dataOf(*expected)), 2e-6);
    }
}

TEST(MaskedCopy, ARemovalReachesOneHopBeyondItsFramesAndNoSampleFarther)
{
    const Case c = cases().front();
    const auto samples = noise(c.frames, 6);
    const LayerPtr layer = layerOf(c.format, samples);
    Selection selection;
    selection.add(rectangle(2003, -10, 801, 48000), 0, 0, false);
    ASSERT_TRUE(removeMasked(layer, areaOf(c, selection)).isDone());
    const auto after = dataOf(*layer);
    const int64_t first = 250, last = 351, hop = 8; // lround(2003 / 8), lround(2804 / 8)
    for (int64_t i = 0; i < c.frames; ++i) {
        const auto at = std::size_t(i);
        if (i <= hop * (first - 1) || i >= hop * (last + 1)) {
            ASSERT_EQ(after[at], samples[at]) << i;
        } else if (i >= hop * first && i <= hop * last) {
            ASSERT_NEAR(after[at], 0, 1e-6) << i;
        }
    }
    EXPECT_NE(after[std::size_t(hop * first - 3)], samples[std::size_t(hop * first - 3)]);
    EXPECT_NE(after[std::size_t(hop * last + 3)], samples[std::size_t(hop * last + 3)]);
}

TEST(MaskedCopy, ChannelsWithoutABitAreSilentInTheCopyAndUntouchedInTheLayer)
{
    const Case c{"", realFormat(3), makeTransform(1), 4000, 0};
    const auto samples = noise(3 * c.frames, 7);
    const LayerPtr layer = layerOf(c.format, samples);
    MaskedArea area = areaOf(c, softShape(c, 8));
    area.channels = QBitArray(2); // the third one has no bit at all
    area.channels.setBit(1);
    const LayerPtr clip = emptyLayer(c.format);
    ASSERT_TRUE(cutMasked(layer, clip, area).isDone());
    ASSERT_TRUE(removeMasked(layer, area).isDone());
    const auto after = dataOf(*layer);
    const auto taken = dataOf(*clip);
    int changed = 0;
    for (std::size_t i = 0; i < samples.size(); ++i)
        if (i % 3 != 1) {
            ASSERT_EQ(after[i], samples[i]);
        } else {
            changed += after[i] != samples[i];
        }
    EXPECT_GT(changed, 500);
    for (std::size_t i = 0; i < taken.size(); ++i)
        if (i % 3 != 1) {
            ASSERT_EQ(taken[i], 0.0f);
        }
}

TEST(MaskedCopy, AGroupIsCopiedAsItMixesButNotCut)
{
    const Case c{"", realFormat(), makeTransform(1), 4000, 0};
    const LayerGroupPtr group = LayerGroup::create(c.format);
    const auto a = noise(c.frames, 9);
    const auto b = noise(c.frames, 10);
    group->appendChild(layerOf(c.format, a));
    group->appendChild(layerOf(c.format, b));
    std::vector<float> sum(a.size());
    for (std::size_t i = 0; i < a.size(); ++i)
        sum[i] = a[i] + b[i];
    const MaskedArea area = areaOf(c, softShape(c, 11));
    const LayerPtr fromGroup = emptyLayer(c.format);
    const LayerPtr fromSum = emptyLayer(c.format);
    ASSERT_TRUE(copyMasked(group, fromGroup, area).isDone());
    ASSERT_TRUE(copyMasked(layerOf(c.format, sum), fromSum, area).isDone());
    EXPECT_LT(largestDifference(dataOf(*fromGroup), dataOf(*fromSum)), 1e-6);
    EXPECT_EQ(cutMasked(group, fromGroup, area).state, State::Refused);
    EXPECT_EQ(removeMasked(group, area).state, State::Refused);
    EXPECT_EQ(dataOf(*fromGroup).size(), dataOf(*fromSum).size()) << "a refusal leaves the target";
}

TEST(MaskedCopy, SilenceIsCopiedAndToldAsNoContent)
{
    const Case c{"", realFormat(), makeTransform(1), 4000, 0};
    auto samples = noise(c.frames, 12);
    std::fill(samples.begin() + 900, samples.begin() + 3100, 0.0f);
    const LayerPtr layer = layerOf(c.format, samples);
    Selection silent;
    silent.add(rectangle(1000, 100, 2000, 9000), 0, 0, false);
    const LayerPtr clip = emptyLayer(c.format);
    MaskedResult result = cutMasked(layer, clip, areaOf(c, silent));
    EXPECT_TRUE(result.isDone());
    EXPECT_FALSE(result.hasContent);
    EXPECT_EQ(clip->dataRange(), (Range{1000, 2000}));
    EXPECT_EQ(dataOf(*clip), std::vector<float>(2000));
    result = removeMasked(layer, areaOf(c, silent));
    EXPECT_FALSE(result.hasContent);
    EXPECT_EQ(dataOf(*layer), samples);
}

TEST(MaskedCopy, ProgressRisesAndACancelLeavesTheLayerAsItWas)
{
    const Case c = cases().back();
    const auto samples = noise(c.frames, 13);
    const LayerPtr layer = layerOf(c.format, samples);
    Selection all;
    all.add(rectangle(-500, -10, double(c.frames) + 1000, 48000), 0, 0, false);
    const MaskedArea area = areaOf(c, all);
    const LayerPtr target = layerOf(c.format, noise(100, 14));
    std::vector<int> seen;
    ASSERT_TRUE(copyMasked(layer, target, area, [&](int done, int total) {
                    EXPECT_EQ(done, int(seen.size()) + 1);
                    seen.push_back(total);
                    return true;
                }).isDone());
    ASSERT_GT(seen.size(), 4u);
    EXPECT_EQ(seen, std::vector<int>(seen.size(), int(seen.size())));
    for (const int stop : {1, 3, int(seen.size())}) {
        const auto cancelling = [&](int done, int) { return done < stop; };
        EXPECT_EQ(copyMasked(layer, target, area, cancelling).state, State::Cancelled);
        EXPECT_TRUE(target->isEmpty());
        EXPECT_EQ(cutMasked(layer, target, area, cancelling).state, State::Cancelled);
        EXPECT_EQ(removeMasked(layer, area, cancelling).state, State::Cancelled);
        EXPECT_EQ(dataOf(*layer), samples);
        EXPECT_TRUE(layer->backup()->isEmpty());
    }
}

TEST(MaskedCopy, AFullDiskIsToldAndRolledBack)
{
    const Case c{"", realFormat(), makeTransform(1), 200000, 0};
    const auto samples = noise(c.frames, 15);
    const LayerPtr layer = layerOf(c.format, samples);
    Selection selection;
    selection.add(rectangle(1000, 100, 150000, 9000), 0, 0, false);
    const MaskedArea area = areaOf(c, selection);
    const LayerPtr target = emptyLayer(c.format);
    MaskedResult result;
    {
        const DiskLimit limit(100000);
        result = cutMasked(layer, target, area);
    }
    EXPECT_EQ(result.state, State::NoSpace);
    EXPECT_FALSE(result.error.isEmpty());
    EXPECT_TRUE(target->takeStorageError());
    EXPECT_TRUE(target->isEmpty());
    EXPECT_EQ(dataOf(*layer), samples);
    {
        // Room for the copy, but not for the undo image of the layer, which takes whole blocks.
        const DiskLimit limit(4 * 160000);
        result = cutMasked(layer, target, area);
        EXPECT_EQ(result.state, State::NoSpace);
        EXPECT_FALSE(result.error.isEmpty());
        EXPECT_TRUE(layer->takeStorageError());
        EXPECT_EQ(removeMasked(layer, area).state, State::NoSpace);
        EXPECT_TRUE(layer->takeStorageError());
    }
    EXPECT_EQ(dataOf(*layer), samples);
    EXPECT_TRUE(cutMasked(layer, target, area).isDone());
    layer->resetToBackup();
    EXPECT_EQ(dataOf(*layer), samples);
}

TEST(MaskedCopy, ACutAndARemovalAreRecordedUndoneAndRedoneToTheBit)
{
    for (const Case& c : cases()) {
        SCOPED_TRACE(c.name);
        const LayerPtr layer = layerOf(c.format, noise(c.frames * c.format.frameBytes() / 4, 21), c.start);
        std::vector<std::vector<float>> states = {dataOf(*layer)};
        std::vector<LayerRecord> records;
        ASSERT_TRUE(cutMasked(layer, emptyLayer(c.format), areaOf(c, softShape(c, 22))).isDone());
        records.push_back(layer->commitRecord());
        states.push_back(dataOf(*layer));
        ASSERT_TRUE(removeMasked(layer, areaOf(c, softShape(c, 23))).isDone());
        records.push_back(layer->commitRecord());
        states.push_back(dataOf(*layer));
        EXPECT_NE(states[0], states[1]);
        EXPECT_NE(states[1], states[2]);
        for (const std::size_t i : {1, 0}) {
            layer->applyRecord(records[i], 0);
            EXPECT_EQ(dataOf(*layer), states[i]);
        }
        for (const std::size_t i : {0, 1}) {
            layer->applyRecord(records[i], 1);
            EXPECT_EQ(dataOf(*layer), states[i + 1]);
        }
    }
}

TEST(MaskedCopy, WhatDoesNotFitIsRefusedAndNothingChanges)
{
    const Case c{"", realFormat(), makeTransform(1), 4000, 0};
    const auto samples = noise(c.frames, 16);
    const LayerPtr layer = layerOf(c.format, samples);
    const LayerPtr target = layerOf(c.format, samples);
    const MaskedArea good = areaOf(c, softShape(c, 17));
    MaskedArea noSelection = good;
    noSelection.selection.clear();
    MaskedArea noTransform = good;
    noTransform.transform = std::make_shared<const Transform>();
    MaskedArea nullTransform = good;
    nullTransform.transform.reset();
    MaskedArea complexTransform = good;
    complexTransform.transform = makeTransform(2);
    for (const MaskedArea& area : {noSelection, noTransform, nullTransform, complexTransform}) {
        EXPECT_EQ(cutMasked(layer, target, area).state, State::Refused);
        EXPECT_EQ(removeMasked(layer, area).state, State::Refused);
    }
    EXPECT_EQ(cutMasked(nullptr, target, good).state, State::Refused);
    EXPECT_EQ(cutMasked(layer, nullptr, good).state, State::Refused);
    EXPECT_EQ(cutMasked(layer, layer, good).state, State::Refused);
    EXPECT_EQ(cutMasked(layer, emptyLayer(realFormat(2)), good).state, State::Refused);
    EXPECT_EQ(cutMasked(layer, emptyLayer(complexFormat()), good).state, State::Refused);
    EXPECT_EQ(cutMasked(layer, LayerGroup::create(c.format), good).state, State::Refused);
    EXPECT_EQ(removeMasked(nullptr, good).state, State::Refused);
    EXPECT_EQ(dataOf(*layer), samples);
    EXPECT_EQ(dataOf(*target), samples);
}

TEST(MaskedCopy, ASelectionFarFromTheSamplesCopiesSilence)
{
    const Case c{"", realFormat(), makeTransform(1), 4000, 0};
    const auto samples = noise(c.frames, 18);
    const LayerPtr layer = layerOf(c.format, samples);
    const LayerPtr target = emptyLayer(c.format);
    Selection before;
    before.add(rectangle(-1e12, 0, 1e11, 9000), 0, 0, false);
    EXPECT_TRUE(cutMasked(layer, target, areaOf(c, before)).isDone());
    EXPECT_TRUE(target->isEmpty());
    EXPECT_TRUE(removeMasked(layer, areaOf(c, before)).isDone());
    EXPECT_EQ(dataOf(*layer), samples);
    // A whole day around it, most of it before time 0: only the frames that see samples are worked on.
    Selection around;
    around.add(rectangle(-4e9, -10, 4e9 + 10000, 48000), 0, 0, false);
    const MaskedResult result = cutMasked(layer, target, areaOf(c, around));
    EXPECT_TRUE(result.isDone());
    EXPECT_TRUE(result.hasContent);
    EXPECT_EQ(target->dataRange(), (Range{0, 10000}));
    EXPECT_LT(largestDifference(samplesOf(*target, {0, 4000}), samples), 1e-6);
    // Farther than any disk: refused by the disk, not by the loop.
    Selection beyond;
    beyond.add(rectangle(1e15, 0, 1e15, 9000), 0, 0, false);
    EXPECT_EQ(cutMasked(layer, target, areaOf(c, beyond)).state, State::NoSpace);
    EXPECT_TRUE(target->takeStorageError());
}

TEST(MaskedCopy, ARegionIsCutInItsWindow)
{
    const Case c{"", realFormat(), makeTransform(1), 6000, 0};
    const auto samples = noise(c.frames, 19);
    const LayerPtr source = layerOf(c.format, samples);
    const LayerRegionPtr region = LayerRegion::create(source, 2000, 1000, 0);
    Selection selection;
    selection.add(rectangle(1500, -10, 1000, 48000), 0, 0, false);
    const LayerPtr clip = emptyLayer(c.format);
    ASSERT_TRUE(cutMasked(region, clip, areaOf(c, selection)).isDone());
    const auto after = dataOf(*source);
    for (std::size_t i = 0; i < after.size(); ++i)
        if (i < 2000 || i >= 2500) {
            ASSERT_EQ(after[i], samples[i]) << i;
        } else if (i < 2490) {
            ASSERT_NEAR(after[i], 0, 1e-6) << i;
        }
}

void expectCutAndBack(const LayerPtr& layer, uint32_t seed)
{
    const Case c{"", layer->format(), makeTransform(layer->format().sampleType, 2048),
                 layer->dataRange().length, layer->dataRange().start};
    const auto samples = dataOf(*layer);
    const MaskedArea area = areaOf(c, softShape(c, seed));
    const LayerPtr clip = emptyLayer(c.format);
    ASSERT_TRUE(cutMasked(layer, clip, area).isDone());
    EXPECT_GT(largestDifference(dataOf(*layer), samples), 1e-3);
    layer->replaceByLayer(clip, 1.0f, false);
    EXPECT_LT(largestDifference(dataOf(*layer), samples), 1e-6);
}

TEST(MaskedCopy, RecordingsCutAndAddedBackAreTheSame)
{
    for (const char* name : {"speech-16k.wav", "tabla-44k.wav", "line-18k-48k.wav"}) {
        SCOPED_TRACE(name);
        const Wav wav = readWav(testsupport::dataFile(QString::fromLatin1(name)));
        for (uint32_t seed = 1; seed < 4; ++seed)
            expectCutAndBack(layerOf(realFormat(wav.channels, wav.rate), wav.samples, 100), seed);
    }
}

TEST(MaskedCopy, ARadioRecordingCutAndAddedBackIsTheSame)
{
    if (testsupport::recordingsFolder().isEmpty())
        GTEST_SKIP() << "MORVANE_RECORDINGS names no folder";
    const Wav wav = readWav(testsupport::recordingsFolder() + QStringLiteral("/iq-wmbus-0s2.wav"));
    for (uint32_t seed = 1; seed < 4; ++seed)
        expectCutAndBack(layerOf(complexFormat(1, wav.rate), wav.samples), seed);
}

int64_t anonymousKilobytes()
{
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;)
        if (word == "RssAnon:") {
            int64_t kilobytes = 0;
            status >> kilobytes;
            return kilobytes;
        }
    return -1;
}

TEST(MaskedCopy, MemoryDoesNotFollowTheLengthOfTheSelection)
{
    const Case c{"", realFormat(), makeTransform(1, 2048, 4, 1), 10 * 60 * 48000, 0};
    const LayerPtr layer = emptyLayer(c.format);
    const auto block = noise(480000, 20);
    for (int64_t at = 0; at < c.frames; at += 480000)
        ASSERT_TRUE(layer->write(block.data(), {at, 480000}, -1, true));
    Selection all;
    all.add(rectangle(0, -10, double(c.frames), 48000), 0, 0, false);
    const LayerPtr target = emptyLayer(c.format);
    const int64_t before = anonymousKilobytes();
    ASSERT_GT(before, 0);
    int64_t most = 0;
    ASSERT_TRUE(copyMasked(layer, target, areaOf(c, all), [&](int, int) {
                    most = std::max(most, anonymousKilobytes());
                    return true;
                }).isDone());
    EXPECT_TRUE(testsupport::isSanitized() || most - before < 64 * 1024) << most - before;
    std::vector<float> middle(1000);
    target->read(middle.data(), {c.frames / 2 + 100, 1000}, 0, true);
    EXPECT_LT(largestDifference(middle, {block.begin() + 100, block.begin() + 1100}), 1e-6);
}

} // namespace
