#include "spectral/spectralbuffer.h"

#include "model/layer.h"
#include "model/layerregion.h"
#include "model/modeltest.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <numbers>
#include <random>

using namespace modeltest;

namespace {

using TransformPtr = std::shared_ptr<const Transform>;
constexpr int64_t largeBudget = 16; // MB: no eviction in these tests

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

struct Fixture
{
    LayerPtr layer;
    SpectralBuffer buffer;

    Fixture(const SamplingFormat& format, const std::vector<float>& samples, const TransformPtr& transform,
            int64_t megabytes, int64_t start = 0)
        : layer(layerOf(format, samples, start))
    {
        buffer.setBufferSizeMB(megabytes);
        buffer.setLayer(layer);
        buffer.setSettings(transform);
    }
};

// A mask that differs from bin to bin and frame to frame.
float maskAt(int64_t frame, int64_t bin)
{
    return 0.5f + 0.5f * std::sin(float(frame * 7 + bin * 3));
}

// Multiplies the frames first .. last of every channel by the mask, one after the other.
void maskPass(SpectralBuffer& buffer, int64_t first, int64_t last)
{
    const int32_t bins = buffer.settings()->bins();
    for (int64_t frame = first; frame <= last; ++frame)
        for (int32_t channel = 0; channel < buffer.layer()->format().channels; ++channel) {
            Complex* spectrum = buffer.getFrame(frame, channel, nullptr);
            for (int32_t k = 0; k < bins; ++k) {
                spectrum[k].re *= maskAt(frame, k);
                spectrum[k].im *= maskAt(frame, k);
            }
            buffer.setFrame(frame, channel, spectrum);
        }
}

// The same in double precision with plain sums: every frame is analysed from the original samples, and
// the masked less the original frame, under a triangle of half-width H, is added.
std::vector<double> maskReference(const std::vector<float>& samples, const SamplingFormat& format,
                                  const Transform& t, int64_t first, int64_t last)
{
    using std::numbers::pi;
    const int step = format.channels * format.sampleType;
    const int64_t length = int64_t(samples.size()) / step;
    const int64_t n = t.frameSize, m = t.dftLength(), hop = t.hop();
    std::vector<double> result(samples.begin(), samples.end());
    for (int64_t frame = first; frame <= last; ++frame)
        for (int channel = 0; channel < format.channels; ++channel) {
            std::vector<std::complex<double>> windowed(std::size_t(m), 0.0), spectrum(std::size_t(m), 0.0);
            for (int64_t i = 0; i < n; ++i) {
                const int64_t at = frame * hop - n / 2 + i;
                if (at < 0 || at >= length)
                    continue;
                const float* sample = &samples[std::size_t(at * step + channel * format.sampleType)];
                windowed[std::size_t((m - n) / 2 + i)] =
                    std::complex<double>(sample[0], format.isComplex() ? sample[1] : 0.0) *
                    double(t.analysisWindow[i]);
            }
            for (int64_t k = 0; k < m; ++k) {
                for (int64_t i = 0; i < m; ++i)
                    spectrum[std::size_t(k)] +=
                        windowed[std::size_t(i)] * std::polar(1.0, -2 * pi * double(k * i % m) / double(m));
                const int64_t bin = format.isComplex() ? k : std::min(k, m - k);
                spectrum[std::size_t(k)] *= double(maskAt(frame, bin)) - 1.0;
            }
            for (int64_t i = n / 2 - hop; i < n / 2 + hop; ++i) {
                const int64_t at = frame * hop - n / 2 + i;
                if (at < 0 || at >= length)
                    continue;
                std::complex<double> sum = 0;
                for (int64_t k = 0; k < m; ++k)
                    sum += spectrum[std::size_t(k)] *
                           std::polar(1.0, 2 * pi * double(k * ((m - n) / 2 + i) % m) / double(m));
                const double triangle = 1.0 - std::abs(double(n / 2 - i)) / double(hop);
                const std::complex<double> delta = sum * triangle / (double(m) * double(t.analysisWindow[i]));
                double* sample = &result[std::size_t(at * step + channel * format.sampleType)];
                sample[0] += delta.real();
                if (format.isComplex())
                    sample[1] += delta.imag();
            }
        }
    return result;
}

void expectNear(const std::vector<float>& got, const std::vector<double>& wanted, double tolerance)
{
    ASSERT_EQ(got.size(), wanted.size());
    double worst = 0;
    for (std::size_t i = 0; i < got.size(); ++i)
        worst = std::max(worst, std::abs(double(got[i]) - wanted[i]));
    EXPECT_LT(worst, tolerance);
}

TEST(SpectralBuffer, FrameSetUnchangedChangesNoSampleBeyondRounding)
{
    const auto samples = noise(4000, 1);
    Fixture f(realFormat(), samples, makeTransform(1), largeBudget);
    for (int64_t frame = 10; frame < 100; ++frame)
        f.buffer.setFrame(frame, 0, f.buffer.getFrame(frame, 0, nullptr));
    EXPECT_TRUE(f.buffer.commit());
    expectNear(dataOf(*f.layer), {samples.begin(), samples.end()}, 1e-6);
}

TEST(SpectralBuffer, OneBinSetToZeroChangesOnlyTheTwoHopsAboutItsFrameInItsChannel)
{
    std::vector<float> samples(2 * 2000);
    for (std::size_t i = 0; i < samples.size(); ++i)
        samples[i] = 0.5f * std::sin(0.3f * float(i / 2));
    Fixture f(realFormat(2), samples, makeTransform(1), largeBudget);
    const int64_t frame = 50, hop = 8;
    f.buffer.setBin(frame, 1, 6, {});
    EXPECT_TRUE(f.buffer.commit());
    const auto after = dataOf(*f.layer);
    int changed = 0;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const auto at = int64_t(i / 2);
        const bool inside = i % 2 == 1 && at >= hop * (frame - 1) && at < hop * (frame + 1);
        if (!inside) {
            EXPECT_EQ(after[i], samples[i]) << i;
        }
        changed += after[i] != samples[i];
    }
    EXPECT_GT(changed, hop);
}

TEST(SpectralBuffer, FrameBeyondTheEndIsSilentAndWritingItExtendsTheLayer)
{
    Fixture f(realFormat(), noise(1000, 2), makeTransform(1), largeBudget);
    const int64_t frame = 200, hop = 8;
    const Complex* spectrum = f.buffer.getFrame(frame, 0, nullptr);
    for (int k = 0; k < f.buffer.settings()->bins(); ++k)
        EXPECT_EQ(spectrum[k], Complex());
    f.buffer.setBin(frame, 0, 5, {20, 0});
    EXPECT_TRUE(f.buffer.commit());
    EXPECT_EQ(f.layer->dataRange(), (Range{0, hop * (frame + 1)}));
    EXPECT_NE(samplesOf(*f.layer, {hop * frame, 1})[0], 0.0f);
}

TEST(SpectralBuffer, CommitMakesStorageFromTimeZeroOnAndNotHalfAWindowMore)
{
    Fixture f(realFormat(), {}, makeTransform(1), largeBudget);
    f.buffer.setBin(-1, 0, 5, {20, 0}); // wholly before time 0
    f.buffer.setBin(0, 0, 5, {20, 0});
    f.buffer.setBin(3, 0, 5, {20, 0});
    EXPECT_TRUE(f.buffer.commit());
    EXPECT_EQ(f.layer->dataRange(), (Range{0, 8 * 4}));
}

TEST(SpectralBuffer, FrameMinusOneExistsInEveryChannel)
{
    const auto samples = noise(3 * 1000, 3);
    Fixture f(realFormat(3), samples, makeTransform(1), largeBudget);
    for (int channel = 0; channel < 3; ++channel) {
        // Centred on sample -8: reaches 24 samples into the layer.
        const Transform& t = *f.buffer.settings();
        std::complex<double> wanted = 0;
        for (int64_t i = 0; i < t.frameSize; ++i)
            if (const int64_t at = -8 - t.frameSize / 2 + i; at >= 0)
                wanted +=
                    std::polar(double(samples[std::size_t(at * 3 + channel)]) * double(t.analysisWindow[i]),
                               -2 * std::numbers::pi * double(4 * (32 + i)) / 128.0);
        const Complex bin = f.buffer.getBin(-1, channel, 4);
        EXPECT_NEAR(bin.re, wanted.real(), 1e-5);
        EXPECT_NEAR(bin.im, wanted.imag(), 1e-5);
    }
}

TEST(SpectralBuffer, SecondEditAfterACommitStartsFromTheFirstOnesResult)
{
    Fixture f(realFormat(), noise(2000, 4), makeTransform(1), largeBudget);
    const Complex original = f.buffer.getBin(60, 0, 9);
    f.buffer.setBin(60, 0, 9, {5, -3});
    EXPECT_TRUE(f.buffer.commit());
    f.buffer.setBin(60, 0, 9, original);
    const auto before = noise(2000, 4);
    EXPECT_TRUE(f.buffer.commit());
    expectNear(dataOf(*f.layer), {before.begin(), before.end()}, 1e-6);
}

TEST(SpectralBuffer, SlotCountIsTheLargestPowerOfTwoBelowTheBudget)
{
    SpectralBuffer buffer;
    EXPECT_EQ(buffer.slotCount(), 0);
    buffer.setLayer(layerOf(realFormat(), noise(100, 5)));
    buffer.setSettings(std::make_shared<const Transform>(1, WindowType::BlackmanHarris, 2048, 8, 2));
    EXPECT_EQ(buffer.slotCount(), 2);
    buffer.setBufferSizeMB(300);
    EXPECT_EQ(buffer.slotCount(), 4096);
    buffer.setBufferSizeMB(400); // 8192 frames: strictly below
    EXPECT_EQ(buffer.slotCount(), 4096);
    buffer.setBufferSizeMB(401);
    EXPECT_EQ(buffer.slotCount(), 8192);
}

TEST(SpectralBuffer, WithoutLayerOrSettingsEverythingIsZeroAndHarmless)
{
    SpectralBuffer buffer;
    EXPECT_EQ(buffer.getBin(0, 0, 0), Complex());
    buffer.setBin(0, 0, 0, {1, 1});
    ASSERT_NE(buffer.getFrame(0, 0, nullptr), nullptr);
    EXPECT_EQ(buffer.getFrame(0, 0, nullptr)[65536], Complex());
    buffer.setFrame(0, 0, nullptr);
    buffer.prefetch(0, 10, QBitArray(1, true));
    buffer.clearLayer();
    EXPECT_TRUE(buffer.release());

    buffer.setLayer(layerOf(realFormat(), noise(100, 6)));
    buffer.setSettings(makeTransform(2)); // complex settings on a real layer
    EXPECT_EQ(buffer.getBin(0, 0, 0), Complex());
    buffer.setSettings(makeTransform(1));
    EXPECT_EQ(buffer.getBin(0, 7, 0), Complex());  // no such channel
    EXPECT_EQ(buffer.getBin(0, 0, 65), Complex()); // no such bin
    EXPECT_EQ(buffer.getBin(0, 0, -1), Complex());
    EXPECT_NE(buffer.getBin(0, 0, 1), Complex());
}

TEST(SpectralBuffer, ComplexBinsRunFromMinusHalfToHalfAndTheTopOneMeansTheBottomOne)
{
    Fixture f(complexFormat(), noise(2 * 500, 7), makeTransform(2), largeBudget);
    const Complex* frame = f.buffer.getFrame(20, 0, nullptr);
    EXPECT_EQ(f.buffer.getBin(20, 0, -64), frame[64]);
    EXPECT_EQ(f.buffer.getBin(20, 0, 64), frame[64]);
    EXPECT_EQ(f.buffer.getBin(20, 0, -1), frame[127]);
    EXPECT_EQ(f.buffer.getBin(20, 0, 63), frame[63]);
    EXPECT_EQ(f.buffer.getBin(20, 0, 65), Complex());
    EXPECT_EQ(f.buffer.getBin(20, 0, -65), Complex());
}

struct PassCase
{
    int sampleType;
    int channels;
    int size, overlap, padding;
};

class SpectralBufferPass : public testing::TestWithParam<PassCase>
{
protected:
    SamplingFormat format() const
    {
        return GetParam().sampleType == 1 ? realFormat(GetParam().channels)
                                          : complexFormat(GetParam().channels);
    }
    TransformPtr transform() const
    {
        return makeTransform(GetParam().sampleType, GetParam().size, GetParam().overlap, GetParam().padding);
    }
    std::vector<float> samples() const { return noise(700 * format().frameBytes() / 4, 8); }
};

TEST_P(SpectralBufferPass, AgreesWithADoublePrecisionComputationWhateverTheBudget)
{
    const int64_t first = -3, last = 700 / transform()->hop() + 3;
    const auto wanted = maskReference(samples(), format(), *transform(), first, last);
    for (const int64_t megabytes : {int64_t(0), largeBudget}) {
        Fixture f(format(), samples(), transform(), megabytes);
        EXPECT_EQ(f.buffer.slotCount() == 2, megabytes == 0);
        maskPass(f.buffer, first, last);
        EXPECT_TRUE(f.buffer.commit());
        expectNear(samplesOf(*f.layer, {0, 700}), wanted, 1e-6);
        EXPECT_EQ(f.layer->dataRange(), (Range{0, transform()->hop() * (last + 1)}));
    }
}

TEST_P(SpectralBufferPass, ClearedTargetHoldsExactlyWhatWasSetWhateverTheBudget)
{
    // All frames of a signal, set into an empty target, are the signal again.
    const auto source = samples();
    const int64_t last = 700 / transform()->hop() + 1;
    for (const int64_t megabytes : {int64_t(0), largeBudget}) {
        Fixture from(format(), source, transform(), largeBudget);
        Fixture to(format(), noise(900 * format().frameBytes() / 4, 9), transform(), megabytes);
        to.buffer.clearLayer();
        for (int64_t frame = 0; frame <= last; ++frame)
            for (int32_t channel = 0; channel < format().channels; ++channel)
                to.buffer.setFrame(frame, channel, from.buffer.getFrame(frame, channel, nullptr));
        EXPECT_TRUE(to.buffer.commit());
        expectNear(samplesOf(*to.layer, {0, 700}), {source.begin(), source.end()}, 1e-6);
    }
}

TEST_P(SpectralBufferPass, PrefetchedFramesAreThoseThatAreFetchedOneByOne)
{
    Fixture ahead(format(), samples(), transform(), largeBudget);
    Fixture single(format(), samples(), transform(), largeBudget);
    ahead.buffer.prefetch(-2, 40, QBitArray(format().channels, true));
    for (int64_t frame = -2; frame < 38; ++frame)
        for (int32_t channel = 0; channel < format().channels; ++channel) {
            const Complex* a = ahead.buffer.getFrame(frame, channel, nullptr);
            const Complex* b = single.buffer.getFrame(frame, channel, nullptr);
            EXPECT_TRUE(std::equal(a, a + transform()->bins(), b)) << frame;
        }
}

INSTANTIATE_TEST_SUITE_P(Settings, SpectralBufferPass,
                         testing::Values(PassCase{1, 1, 64, 8, 2}, PassCase{1, 2, 64, 4, 1},
                                         PassCase{1, 6, 40, 16, 3}, PassCase{2, 1, 64, 8, 2},
                                         PassCase{2, 2, 48, 4, 1}));

TEST(SpectralBuffer, FrameThatWasChangedAndEvictedComesBackAsItWasLeft)
{
    Fixture small(realFormat(), noise(2000, 10), makeTransform(1), 0);
    Fixture large(realFormat(), noise(2000, 10), makeTransform(1), largeBudget);
    for (Fixture* f : {&small, &large}) {
        f->buffer.setBin(40, 0, 7, {3, 4});
        f->buffer.setBin(42, 0, 7, {1, 1}); // takes the slot of frame 40 where there are only two
        f->buffer.setBin(44, 0, 7, {1, 1});
    }
    // Analysed anew: 40 shares samples with 42, whose edit is in them too, as after a commit.
    large.buffer.release();
    const Complex wanted = large.buffer.getBin(40, 0, 7);
    const Complex got = small.buffer.getBin(40, 0, 7);
    EXPECT_NEAR(got.re, wanted.re, 1e-5);
    EXPECT_NEAR(got.im, wanted.im, 1e-5);
}

TEST(SpectralBuffer, SamplesFartherThanOneHopFromAnyEditedFrameStayBitIdenticalAfterEvictions)
{
    const auto samples = noise(200000, 11);
    Fixture f(realFormat(), samples, makeTransform(1), 0);
    const std::vector<int64_t> frames = {100, 102, 104, 9000, 9002, 20000};
    for (const int64_t frame : frames)
        f.buffer.setBin(frame, 0, 7, {3, 4});
    EXPECT_TRUE(f.buffer.commit());
    const auto after = dataOf(*f.layer);
    for (std::size_t i = 0; i < samples.size(); ++i) {
        bool near = false;
        for (const int64_t frame : frames)
            near = near || (int64_t(i) >= 8 * (frame - 1) && int64_t(i) < 8 * (frame + 1));
        if (!near) {
            ASSERT_EQ(after[i], samples[i]) << i;
        }
    }
    // And only their blocks were copied for undo: the samples up to 72816 lie in the first two of
    // 65536, frame 20000 in the third.
    EXPECT_LE(f.layer->backup()->dataRange().length, 200000);
    EXPECT_EQ(f.layer->changedRange(), (Range{8 * 99, 8 * 20001 - 8 * 99}));
}

// Random settings, formats and budgets; random frames set as they are, others changed.
TEST(SpectralBufferProperties, OnlyChangedFramesChangeSamplesAndNoneFartherThanAHop)
{
    std::mt19937 random(31);
    for (int round = 0; round < 60; ++round) {
        const int32_t sampleType = 1 + int32_t(random() % 2);
        const int32_t overlap = 4 + 2 * int32_t(random() % 5);
        const int32_t size = overlap * (4 + int32_t(random() % 12));
        const auto window = WindowType(random() % 7);
        const TransformPtr transform =
            makeTransform(sampleType, size, overlap, 1 + int32_t(random() % 4), window);
        const int32_t channels = 1 + int32_t(random() % 3);
        const SamplingFormat format = sampleType == 1 ? realFormat(channels) : complexFormat(channels);
        const int64_t length = 2000, start = int64_t(random() % 3) * 500;
        const int64_t width = channels * sampleType;
        const auto samples = noise(length * width, unsigned(round));
        Fixture f(format, samples, transform, random() % 2 ? largeBudget : 0, start);
        const int64_t hop = transform->hop(), frames = length / hop - 1;
        std::vector<bool> set(samples.size()), changed(samples.size());
        for (int edit = 0; edit < 40; ++edit) {
            const int64_t frame = start / hop + 1 + int64_t(random() % uint64_t(frames - 1));
            const auto channel = int32_t(random() % uint64_t(channels));
            const bool change = random() % 4 == 0;
            std::vector<Complex> bins(std::size_t(transform->bins()));
            f.buffer.getFrame(frame, channel, bins.data());
            if (change)
                bins[random() % bins.size()].re += 30;
            f.buffer.setFrame(frame, channel, bins.data());
            for (int64_t at = hop * (frame - 1); at < hop * (frame + 1); ++at)
                for (int64_t part = 0; part < sampleType; ++part)
                    if (at >= start && at < start + length) {
                        const auto i = std::size_t((at - start) * width + channel * sampleType + part);
                        set[i] = true;
                        changed[i] = changed[i] || change;
                    }
            if (random() % 10 == 0) {
                EXPECT_TRUE(random() % 2 ? f.buffer.commit() : f.buffer.release());
            }
        }
        EXPECT_TRUE(f.buffer.commit());
        const auto after = samplesOf(*f.layer, {start, length});
        for (std::size_t i = 0; i < samples.size(); ++i)
            if (!set[i]) {
                ASSERT_EQ(after[i], samples[i]) << round << ": " << i;
            } else if (!changed[i]) {
                ASSERT_NEAR(after[i], samples[i], 1e-6) << round << ": " << i;
            }
        EXPECT_NE(after, samples);
    }
}

TEST(SpectralBuffer, FullDiskIsAFalseCommitThatLeavesTheLayerAsItWas)
{
    const auto samples = noise(1000, 12);
    Fixture f(realFormat(), samples, makeTransform(1), largeBudget);
    f.buffer.setBin(100000, 0, 5, {20, 0}); // 800 000 samples on
    {
        const DiskLimit limit(8192);
        EXPECT_FALSE(f.buffer.commit());
    }
    QString words;
    EXPECT_TRUE(f.layer->takeStorageError(&words));
    EXPECT_FALSE(words.isEmpty());
    EXPECT_EQ(dataOf(*f.layer), samples);
    EXPECT_TRUE(f.buffer.commit()); // nothing is pending any more
}

TEST(SpectralBuffer, AnEditAcrossTheEdgeOfARegionIsWrittenWithinItsWindow)
{
    for (const int64_t megabytes : {int64_t(0), largeBudget}) {
        const auto samples = noise(4000, 13);
        const LayerPtr source = layerOf(realFormat(), samples);
        SpectralBuffer buffer;
        buffer.setBufferSizeMB(megabytes);
        buffer.setLayer(LayerRegion::create(source, 1000, 500, 0));
        buffer.setSettings(makeTransform(1));
        for (int64_t frame = 180; frame < 200; ++frame)
            buffer.setBin(frame, 0, 5, {20, 0});
        EXPECT_TRUE(buffer.commit());
        const auto after = dataOf(*source);
        for (std::size_t i = 0; i < samples.size(); ++i) {
            ASSERT_EQ(after[i] != samples[i], i > 8 * 179 && i < 1500) << i;
        }
    }
}

TEST(SpectralBuffer, FramesCountToTheNearestCentre)
{
    EXPECT_EQ(SpectralBuffer::frameAt(0, 256), 0);
    EXPECT_EQ(SpectralBuffer::frameAt(127, 256), 0);
    EXPECT_EQ(SpectralBuffer::frameAt(128, 256), 1);
    EXPECT_EQ(SpectralBuffer::frameAt(-128, 256), -1);
}

} // namespace
