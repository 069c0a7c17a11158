#include "model/layerselection.h"

#include "modeltest.h"
#include "selectiontest.h"
#include "spectral/primitives/maskproduct.h"
#include "support/testsupport.h"
#include "support/wav.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

using namespace modeltest;
using selectiontest::rectangle;

namespace {

const TransformSettings realSettings(SampleTypeReal, WindowType::BlackmanHarris, 512, 8, 2);

std::vector<float> noise(int64_t count, uint32_t seed = 1)
{
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> number(-0.5f, 0.5f);
    std::vector<float> values(static_cast<std::size_t>(count));
    for (float& value : values)
        value = number(random);
    return values;
}

std::shared_ptr<LayerSelection> wrapped(const ILayerPtr& target, const Selection& selection,
                                        const TransformSettings& settings = realSettings)
{
    auto wrapper = LayerSelection::create(target);
    wrapper->setSelection(selection);
    wrapper->setTransform(settings);
    return wrapper;
}

Selection softLasso(uint32_t seed)
{
    std::mt19937 random(seed);
    Selection selection;
    selection.add(selectiontest::lasso(random, {8000, 9000}, 5000, 6000, 21), 300, 400, false);
    return selection;
}

TEST(MaskProduct, ComplexMasksRiseFromTheLowestFrequency)
{
    const TransformSettings settings(SampleTypeComplex, WindowType::Hann, 8, 4, 1);
    std::vector<Complex> spectrum(8, Complex{1, 1});
    const float mask[] = {-4, -3, -2, -1, 0, 1, 2, 3};
    multiplyByMask(spectrum.data(), mask, settings);
    const float expected[] = {0, 1, 2, 3, -4, -3, -2, -1};
    for (std::size_t i = 0; i < 8; ++i)
        EXPECT_EQ(spectrum[i], (Complex{expected[i], expected[i]})) << i;
}

TEST(MaskProduct, RealMasksRiseWithTheBins)
{
    const TransformSettings settings(SampleTypeReal, WindowType::Hann, 8, 4, 1);
    std::vector<Complex> spectrum(5, Complex{1, 2});
    const float mask[] = {0, 1, 2, 3, 4};
    multiplyByMask(spectrum.data(), mask, settings);
    for (std::size_t i = 0; i < 5; ++i)
        EXPECT_EQ(spectrum[i], (Complex{mask[i], 2 * mask[i]})) << i;
}

TEST(LayerSelection, WithoutASelectionReadsAreTheTargetsTimesItsMultiplier)
{
    const LayerPtr layer = layerOf(realFormat(2), noise(2 * 3000), 100);
    layer->setMultiplier(0.5f);
    const std::vector<float> plain = samplesOf(*layer, {0, 3200});
    for (const bool withTransform : {false, true}) {
        const auto wrapper = wrapped(layer, Selection(), withTransform ? realSettings : TransformSettings());
        std::vector<float> out(plain.size(), 1.0f);
        wrapper->read(out.data(), {0, 3200}, -1, false);
        for (std::size_t i = 0; i < out.size(); ++i)
            ASSERT_EQ(out[i], 1.0f + plain[i] * 0.5f);
    }
    // Nor without a transform.
    const auto wrapper = wrapped(layer, softLasso(1), TransformSettings());
    std::vector<float> out(plain.size());
    wrapper->read(out.data(), {0, 3200}, -1, true);
    EXPECT_EQ(out[500], plain[500] * 0.5f);
}

TEST(LayerSelection, ForwardsAllButSamples)
{
    const LayerPtr layer = layerOf(realFormat(), noise(1000), 50);
    const auto wrapper = wrapped(layer, softLasso(1));
    wrapper->setName("inner");
    wrapper->setMultiplier(0.25f);
    EXPECT_EQ(layer->name(), QStringLiteral("inner"));
    EXPECT_EQ(wrapper->multiplier(), 0.25f);
    EXPECT_EQ(wrapper->range(), (Range{50, 1000}));
    EXPECT_EQ(wrapper->format(), layer->format());
    wrapper->moveBy(25);
    EXPECT_EQ(layer->range(), (Range{75, 1000}));
    EXPECT_EQ(wrapper->contentTime(), layer->contentTime());
}

TEST(LayerSelection, AllSelectedIsTheTarget)
{
    const LayerPtr layer = layerOf(realFormat(2), noise(2 * 20000));
    Selection all;
    all.add(rectangle(-10000, -1000, 60000, 30000), 0, 0, false);
    const auto wrapper = wrapped(layer, all);
    for (const Range range :
         {Range{0, 20000}, Range{123, 4567}, Range{-300, 1000}, Range{19990, 500}, Range{64, 1}}) {
        const std::vector<float> expected = samplesOf(*layer, range);
        std::vector<float> out(expected.size(), 9.0f);
        wrapper->read(out.data(), range, -1, true);
        for (std::size_t i = 0; i < out.size(); ++i)
            ASSERT_NEAR(out[i], expected[i], 2e-6f) << range.start << ": " << i;
        std::vector<float> right(static_cast<std::size_t>(range.length), 1.0f);
        wrapper->read(right.data(), range, 1, false, false, 2.0f);
        for (std::size_t i = 0; i < right.size(); ++i)
            ASSERT_NEAR(right[i], 1 + 2 * expected[2 * i + 1], 4e-6f);
    }
}

TEST(LayerSelection, AHardSelectionAndItsInverseAddUpToTheTarget)
{
    const LayerPtr layer = layerOf(realFormat(), noise(20000));
    for (uint32_t seed = 1; seed < 6; ++seed) {
        Selection selection = softLasso(seed);
        selection.contrast(1, 1);
        Selection inverse = selection;
        inverse.subtract(rectangle(-10000, -1000, 60000, 30000), 0, 0, false, true);
        const Range range{0, 20000};
        std::vector<float> sum(20000);
        wrapped(layer, selection)->read(sum.data(), range, 0, true);
        EXPECT_GT(std::abs(sum[8000]), 0) << "something is selected";
        EXPECT_EQ(sum[19000], 0.0f) << "and something is not";
        wrapped(layer, inverse)->read(sum.data(), range, 0, false);
        const std::vector<float> expected = samplesOf(*layer, range);
        for (std::size_t i = 0; i < sum.size(); ++i)
            ASSERT_NEAR(sum[i], expected[i], 1e-5f) << seed << ": " << i;
    }
}

// A hard shape that crosses itself now and then, anywhere in the plane of a layer.
Selection hardShape(std::mt19937& random, const Area& plane)
{
    std::uniform_real_distribution<double> unit(0, 1);
    Selection selection;
    for (int i = 0; i < 3; ++i)
        selection.add(selectiontest::lasso(
                          random,
                          {plane.x + plane.width * unit(random), plane.y + plane.height * unit(random)},
                          plane.width * (0.1 + 0.4 * unit(random)), plane.height * (0.1 + 0.4 * unit(random)),
                          5 + int(random() % 30)),
                      0, 0, false);
    return selection;
}

void expectParts(const LayerPtr& layer, uint32_t seed)
{
    const Range range = layer->dataRange();
    const Area plane = layer->area();
    const std::vector<float> expected = samplesOf(*layer, range);
    std::mt19937 random(seed);
    for (const TransformSettings& settings :
         {TransformSettings(SampleTypeReal, WindowType::BlackmanHarris, 2048, 8, 2),
          TransformSettings(SampleTypeReal, WindowType::Hann, 512, 4, 1),
          TransformSettings(SampleTypeReal, WindowType::Kaiser15, 600, 6, 3)}) {
        const Selection selection = hardShape(random, plane);
        QPainterPath everything;
        everything.addRect(plane.x - plane.width, plane.y - plane.height, 3 * plane.width, 3 * plane.height);
        Selection inverse = selection;
        inverse.subtract(everything, 0, 0, false, true);
        std::vector<float> sum(expected.size());
        wrapped(layer, selection, settings)->read(sum.data(), range, -1, true);
        double apart = 0;
        for (std::size_t i = 0; i < sum.size(); ++i)
            apart = std::max(apart, std::abs(double(sum[i]) - double(expected[i])));
        EXPECT_GT(apart, 0.01) << "not all is selected";
        wrapped(layer, inverse, settings)->read(sum.data(), range, -1, false);
        for (std::size_t i = 0; i < sum.size(); ++i)
            ASSERT_NEAR(sum[i], expected[i], 1e-5f) << settings.frameSize << ": " << i;
    }
}

LayerPtr recording(const Wav& wav, int64_t seconds)
{
    std::vector<float> samples = wav.samples;
    const auto most = std::size_t(double(seconds) * wav.rate) * std::size_t(wav.channels);
    samples.resize(std::min(samples.size(), most));
    return layerOf(realFormat(wav.channels, wav.rate), samples, 1000);
}

TEST(LayerSelection, TheTwoPartsOfSpeechAndMusicAddUp)
{
    for (const char* name : {"speech-16k.wav", "tabla-44k.wav", "line-18k-48k.wav"}) {
        SCOPED_TRACE(name);
        expectParts(recording(readWav(testsupport::dataFile(QString::fromLatin1(name))), 2), 11);
    }
}

TEST(LayerSelection, TheTwoPartsOfRecordingsAddUp)
{
    const QString folder = testsupport::recordingsFolder();
    if (folder.isEmpty())
        GTEST_SKIP() << "MORVANE_RECORDINGS names no folder";
    for (const char* name : {"speech-libri-198-16k.wav", "heal-trumpet-clean-float.wav",
                             "music-hires-96k-24bit-3s.wav", "surround-5.1-ext-4s.wav"}) {
        SCOPED_TRACE(name);
        expectParts(recording(readWav(folder + QLatin1Char('/') + QString::fromLatin1(name)), 1), 12);
    }
}

TEST(LayerSelection, TheTwoPartsOfARadioRecordingAddUp)
{
    const QString folder = testsupport::recordingsFolder();
    if (folder.isEmpty())
        GTEST_SKIP() << "MORVANE_RECORDINGS names no folder";
    const Wav wav = readWav(folder + QStringLiteral("/iq-wmbus-0s2.wav"));
    ASSERT_EQ(wav.channels, 2); // I and Q
    std::vector<float> samples(wav.samples.begin(), wav.samples.begin() + 2 * 60000);
    expectParts(layerOf(complexFormat(1, wav.rate), samples), 13);
}

TEST(LayerSelection, FarFromTheSelectionAllIsSilent)
{
    const LayerPtr layer = layerOf(realFormat(), noise(20000));
    Selection far;
    far.add(rectangle(1e15, 1000, 1e6, 9000), 300, 100, false);
    const auto wrapper = wrapped(layer, far);
    std::vector<float> out(5000, 3.0f);
    wrapper->read(out.data(), {3000, 5000}, 0, true);
    EXPECT_EQ(out, std::vector<float>(5000));
    // And far from the layer, where the selection is.
    out.assign(5000, 3.0f);
    wrapper->read(out.data(), {int64_t(1e15) + 1000, 5000}, 0, true);
    EXPECT_EQ(out, std::vector<float>(5000));
    Selection below; // a band that the layer does not have
    below.add(rectangle(0, -1e7, 20000, 1e6), 0, 0, false);
    wrapped(layer, below)->read(out.data(), {3000, 5000}, 0, true);
    EXPECT_EQ(out, std::vector<float>(5000));
    EXPECT_TRUE(wrapped(layer, far)->write(noise(5000, 4).data(), {3000, 5000}, 0, false));
    EXPECT_EQ(dataOf(*layer), noise(20000));
}

TEST(LayerSelection, AComplexSelectionHearsItsSideOfZero)
{
    const SamplingFormat format = complexFormat();
    std::vector<float> samples;
    for (int i = 0; i < 16000; ++i) {
        // 3 kHz at 0.5 and -6 kHz at 0.25.
        const double up = 2 * M_PI * 3000 * i / 48000;
        const double down = -2 * M_PI * 6000 * i / 48000;
        samples.push_back(float(0.5 * std::cos(up) + 0.25 * std::cos(down)));
        samples.push_back(float(0.5 * std::sin(up) + 0.25 * std::sin(down)));
    }
    const LayerPtr layer = layerOf(format, samples);
    Selection negative;
    negative.add(rectangle(-1000, -24000, 20000, 24000 - 500), 0, 0, false);
    TransformSettings settings = realSettings; // its sample type follows the layer
    std::vector<float> out(2 * 4000);
    wrapped(layer, negative, settings)->read(out.data(), {6000, 4000}, 0, true);
    for (int i = 0; i < 4000; ++i) {
        const double down = -2 * M_PI * 6000 * (6000 + i) / 48000;
        ASSERT_NEAR(out[std::size_t(2 * i)], 0.25 * std::cos(down), 2e-4);
        ASSERT_NEAR(out[std::size_t(2 * i + 1)], 0.25 * std::sin(down), 2e-4);
    }
    Selection inverse = negative;
    inverse.subtract(rectangle(-10000, -30000, 60000, 60000), 0, 0, false, true);
    wrapped(layer, inverse)->read(out.data(), {6000, 4000}, 0, false);
    for (std::size_t i = 0; i < out.size(); ++i)
        ASSERT_NEAR(out[i], samples[2 * 6000 + i], 1e-5);
}

// Over the full band the wrapper is a gain: triangles over those frames whose row of the mask is set.
TEST(LayerSelection, ATimeSpanOfTheFullBandIsAGainOfTriangles)
{
    const LayerPtr layer = layerOf(realFormat(), noise(20000));
    constexpr double from = 5003;
    constexpr double to = 11117;
    Selection selection;
    selection.add(rectangle(from, -1000, to - from, 30000), 0, 0, false);
    const Range range{4000, 9001};
    std::vector<float> out(static_cast<std::size_t>(range.length));
    wrapped(layer, selection)->read(out.data(), range, 0, true);
    const std::vector<float> in = samplesOf(*layer, range);
    constexpr int64_t hop = 64;
    const int64_t first = range.start / hop;
    const int64_t last = (range.end() + hop - 1) / hop;
    const double step = double(hop * (last - first) + 1) / double(last - first + 1);
    for (std::size_t i = 0; i < out.size(); ++i) {
        double gain = 0;
        for (int64_t f = first; f <= last; ++f) {
            const double centre = double(hop * first) + (double(f - first) + 0.5) * step;
            const double distance = std::abs(double(range.start) + double(i) - double(hop * f)) / hop;
            if (centre >= from && centre < to)
                gain += std::max(0.0, 1 - distance);
        }
        ASSERT_NEAR(out[i], in[i] * gain, 2e-6) << i;
    }
}

// A tone inside the band passes, one outside is gone.
TEST(LayerSelection, OnlyTheSelectedBandIsHeard)
{
    std::vector<float> samples;
    for (int i = 0; i < 20000; ++i)
        samples.push_back(float(0.5 * std::sin(2 * M_PI * 3000 * i / 48000) +
                                0.5 * std::sin(2 * M_PI * 12000 * i / 48000)));
    const LayerPtr layer = layerOf(realFormat(), samples);
    Selection low;
    low.add(rectangle(-1000, 0, 30000, 7000), 0, 500, false);
    std::vector<float> out(8000);
    wrapped(layer, low)->read(out.data(), {6000, 8000}, 0, true);
    for (int i = 0; i < 8000; ++i)
        ASSERT_NEAR(out[std::size_t(i)], 0.5 * std::sin(2 * M_PI * 3000 * (6000 + i) / 48000), 1e-4);
}

TEST(LayerSelection, AWriteAddsOnlyTheSelectedPart)
{
    const LayerPtr source = layerOf(realFormat(2), noise(2 * 20000));
    const LayerPtr target = layerOf(realFormat(2), noise(2 * 20000, 2));
    const std::vector<float> before = samplesOf(*target, {0, 20000});
    Selection selection;
    selection.add(rectangle(5000, 2000, 6000, 4000), 0, 0, false);
    std::vector<float> selected(2 * 20000);
    wrapped(source, selection)->read(selected.data(), {0, 20000}, -1, true);
    const std::vector<float> in = samplesOf(*source, {0, 20000});
    EXPECT_TRUE(wrapped(target, selection)->write(in.data(), {0, 20000}, -1, false));
    const std::vector<float> after = samplesOf(*target, {0, 20000});
    for (std::size_t i = 0; i < after.size(); ++i)
        ASSERT_NEAR(after[i], before[i] + selected[i], 2e-6f) << i;
    // Far from the selection nothing moves at all.
    for (std::size_t i = 0; i < 2 * 4000; ++i)
        ASSERT_EQ(after[i], before[i]);
}

TEST(LayerSelection, OverwritingReplacesTheRange)
{
    const LayerPtr target = layerOf(realFormat(), noise(20000, 2));
    Selection all;
    all.add(rectangle(-10000, -1000, 60000, 30000), 0, 0, false);
    const std::vector<float> in = noise(1000, 7);
    EXPECT_TRUE(wrapped(target, all)->write(in.data(), {5000, 1000}, 0, true));
    const std::vector<float> after = samplesOf(*target, {5000, 1000});
    for (std::size_t i = 0; i < after.size(); ++i)
        ASSERT_NEAR(after[i], in[i], 2e-6f);
}

// More frames than one chunk of masks; the joint must not be heard.
TEST(LayerSelection, ChunksOfFramesJoin)
{
    const LayerPtr layer = layerOf(realFormat(), noise(100000));
    Selection all;
    all.add(rectangle(-10000, -1000, 200000, 30000), 0, 0, false);
    std::vector<float> out(100000);
    wrapped(layer, all)->read(out.data(), {0, 100000}, 0, true);
    const std::vector<float> expected = samplesOf(*layer, {0, 100000});
    for (std::size_t i = 0; i < out.size(); ++i)
        ASSERT_NEAR(out[i], expected[i], 2e-6f) << i;
}

TEST(LayerSelection, BadChannelsAndEmptyRangesDoNothing)
{
    const LayerPtr layer = layerOf(realFormat(), noise(2000));
    const auto wrapper = wrapped(layer, softLasso(3));
    const std::vector<float> before = samplesOf(*layer, {0, 2000});
    float sample = 5;
    wrapper->read(&sample, {0, 1}, 7, true);
    wrapper->read(&sample, {0, 1}, -2, true);
    wrapper->read(&sample, {10, 0}, 0, true);
    EXPECT_EQ(sample, 5.0f);
    (void)wrapper->write(&sample, {0, 1}, 3, true);
    (void)wrapper->write(&sample, {0, -4}, 0, true);
    EXPECT_EQ(samplesOf(*layer, {0, 2000}), before);
}

} // namespace
