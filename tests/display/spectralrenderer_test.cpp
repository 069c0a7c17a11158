#include "display/spectralrenderer.h"

#include "display/memorylayer.h"
#include "display/referencestft.h"
#include "support/testsupport.h"
#include "support/wav.h"

#include <gtest/gtest.h>

#include <random>

namespace {

constexpr int ringSize = 8192;
const std::atomic<bool> notCancelled{false};

SamplingFormat monoFormat(double rate)
{
    return {SampleTypeReal, rate, ChannelsTypeAudio, 1, 4};
}

std::shared_ptr<const Transform> transformOf(int frameSize, int overlap = 8, int padding = 2,
                                             int32_t sampleType = SampleTypeReal,
                                             WindowType window = WindowType::BlackmanHarris)
{
    return std::make_shared<const Transform>(sampleType, window, frameSize, overlap, padding);
}

TextureRequest requestFor(const Area& area, const QSize& size, std::shared_ptr<const Transform> settings,
                          Filtering filtering = Filtering::Raw)
{
    TextureRequest request;
    request.area = area;
    request.size = size;
    request.step = columnStep(area, size.width(), settings->hop());
    request.upsample = filtering == Filtering::Cubic ? columnUpsample(request.step, area, size.width()) : 1;
    request.filtering = filtering;
    request.settings = std::move(settings);
    return request;
}

// A renderer over samples in memory.
struct Bench
{
    explicit Bench(std::vector<float> samples, double rate = 48000)
        : layer(std::make_shared<MemoryLayer>(monoFormat(rate), std::move(samples))),
          renderer(layer, 0, ringSize)
    {
    }
    SpectralTextureDataPtr render(const TextureRequest& request, bool refresh = false)
    {
        return renderer.render(request, refresh, notCancelled);
    }

    std::shared_ptr<MemoryLayer> layer;
    SpectralRenderer renderer;
};

float at(const SpectralTextureData& picture, int64_t column, int64_t row)
{
    return picture.data[column * picture.size.height() + row];
}

// The sample on which a transform column of a picture without interpolation stands.
int64_t centreOf(const SpectralTextureData& picture, double step, int64_t column)
{
    return int64_t(
        std::llround((picture.area.x + (double(column) + 0.5) / picture.size.width() * picture.area.width) /
                     step) *
        std::llround(step));
}

bool sameBits(const SpectralTextureData& a, const SpectralTextureData& b)
{
    return a.size == b.size && a.area == b.area &&
           std::memcmp(a.data.get(), b.data.get(),
                       std::size_t(a.size.width()) * std::size_t(a.size.height()) * sizeof(float)) == 0;
}

} // namespace

// --- against an independent transform -----------------------------------------------------------------

class Recording : public testing::TestWithParam<const char*>
{
protected:
    Recording()
        : wav(readWav(testsupport::dataFile(QString::fromLatin1(GetParam())))),
          bench(wav.samples, wav.rate)
    {
    }
    [[nodiscard]] double nyquist() const { return wav.rate / 2; }

    Wav wav;
    Bench bench;
};

// One row for each bin, so that no projection stands between.
TEST_P(Recording, magnitudesAreThoseOfADoublePrecisionTransform)
{
    constexpr int size = 2048;
    const TextureRequest request =
        requestFor({0, 0, 12 * 2000.0, nyquist()}, QSize(12, size), transformOf(size));
    const SpectralTextureDataPtr picture = bench.render(request);
    const ReferenceStft reference(wav.samples, size, 8, 2);
    int compared = 0;
    for (const int column : {2, 5, 8}) {
        const ReferenceColumn expected = reference.column(centreOf(*picture, request.step, column), false);
        for (int k = 0; k < size; ++k) {
            const double want = expected.magnitudes[std::size_t(k)];
            if (want < 1e-5)
                continue;
            EXPECT_NEAR(at(*picture, column, k), want, want * 1e-4) << "column " << column << " bin " << k;
            ++compared;
        }
    }
    EXPECT_GT(compared, 1000);
}

TEST_P(Recording, rowsOfEveryScaleAreWhatTheTapsExplain)
{
    constexpr int size = 1024;
    constexpr int rows = 300;
    const ReferenceStft reference(wav.samples, size, 8, 2);
    const auto settings = transformOf(size);
    for (const FreqScale scale :
         {FreqScale::Linear, FreqScale::Mel, FreqScale::Bark, FreqScale::Erb, FreqScale::MidiLogarithmic})
        for (const Filtering filtering : {Filtering::Linear, Filtering::Cubic}) {
            TextureRequest request =
                requestFor({0, 0, 10 * 1500.0, nyquist()}, QSize(10, rows), settings, filtering);
            request.freqScale = scale;
            const SpectralTextureDataPtr picture = bench.render(request);
            const int column = 6;
            const ReferenceColumn expected =
                reference.column(centreOf(*picture, request.step, column), false);
            const std::vector<double> want =
                referenceRows(expected.magnitudes, scale, filtering == Filtering::Cubic, rows, nyquist());
            for (int r = 0; r < rows; ++r)
                EXPECT_NEAR(at(*picture, column, r), want[std::size_t(r)],
                            std::abs(want[std::size_t(r)]) * 1e-3 + 1e-6)
                    << "scale " << int(scale) << " filtering " << int(filtering) << " row " << r;
        }
}

TEST_P(Recording, refinementIsTheMaskOfTheFormulas)
{
    constexpr int size = 512;
    constexpr int bins = size; // up to, not with, Nyquist
    const auto settings = transformOf(size);
    const ReferenceStft reference(wav.samples, size, 8, 2);
    int masked = 0;
    for (const auto& [t, f] : {std::pair{1.0f, 1.0f}, {0.5f, 0.5f}, {0.7f, 0.0f}, {0.0f, 0.4f}}) {
        TextureRequest request = requestFor({0, 0, 12 * 1000.0, nyquist()}, QSize(12, bins), settings);
        request.timeSharpen = t;
        request.freqSharpen = f;
        const SpectralTextureDataPtr picture = bench.render(request);
        const int last = picture->size.width() - 1;
        for (const int column : {3, 7, last}) {
            const int64_t centre = centreOf(*picture, request.step, column);
            const double distance = column == last ? -1000 : 1000;
            const ReferenceColumn own = reference.column(centre, true);
            const ReferenceColumn next = reference.column(centre + int64_t(distance), true);
            const std::vector<double> mask = referenceMask(own, next, t, f, distance / (size / 8));
            for (int k = 0; k < bins; ++k) {
                const double magnitude = own.magnitudes[std::size_t(k)];
                if (magnitude < 1e-4)
                    continue; // the vectors of faint bins are mostly rounding
                EXPECT_NEAR(at(*picture, column, k) / magnitude, mask[std::size_t(k)], 2e-3)
                    << "column " << column << " bin " << k << " factors " << t << ' ' << f;
                masked += mask[std::size_t(k)] < 0.5;
            }
        }
    }
    EXPECT_GT(masked, 100);
}

INSTANTIATE_TEST_SUITE_P(Display, Recording, testing::Values("speech-16k.wav", "tabla-44k.wav"));

// --- edge cases ---------------------------------------------------------------------------------------

TEST(SpectralRenderer, panningByOneColumnKeepsTheOthers)
{
    Bench bench(noise(2'000'000));
    const auto settings = transformOf(512);
    const Area area{500'000, 0, 100 * 1000.0, 24000};
    (void)bench.render(requestFor(area, QSize(100, 64), settings));
    const int64_t columns = bench.renderer.counts().columns;
    EXPECT_EQ(bench.renderer.counts().placed, columns);
    const int64_t reads = bench.layer->reads;
    Area next = area;
    next.x += 1000;
    (void)bench.render(requestFor(next, QSize(100, 64), settings));
    EXPECT_EQ(bench.renderer.counts().columns, columns);
    EXPECT_EQ(bench.renderer.counts().placed, 1);
    EXPECT_EQ(bench.renderer.counts().projected, 1);
    EXPECT_EQ(bench.layer->reads, reads + 1);
}

TEST(SpectralRenderer, aPannedPictureEqualsAFreshOne)
{
    Bench bench(noise(400'000));
    const auto settings = transformOf(512);
    std::mt19937 random(3);
    std::uniform_real_distribution<double> shift(-9000, 9000);
    for (const double width : {60'000.0, 6000.0, 300.0}) // one column per pixel, interpolated, few columns
        for (const float sharpen : {0.0f, 0.6f})
            for (const Filtering filtering : {Filtering::Linear, Filtering::Cubic}) {
                Area area{200'000, 0, width, 24000};
                for (int i = 0; i < 12; ++i) {
                    area.x += shift(random) * width / 60'000;
                    TextureRequest request = requestFor(area, QSize(90, 50), settings, filtering);
                    request.freqScale = FreqScale::Mel;
                    request.timeSharpen = request.freqSharpen = sharpen;
                    const SpectralTextureDataPtr panned = bench.render(request);
                    Bench fresh(bench.layer->samples);
                    EXPECT_TRUE(sameBits(*panned, *fresh.render(request)))
                        << width << ' ' << sharpen << ' ' << i;
                }
            }
}

TEST(SpectralRenderer, changedSettingsGiveThePictureOfAFreshOne)
{
    Bench bench(noise(400'000));
    const Area area{100'000, 0, 90'000, 24000};
    std::vector<TextureRequest> requests;
    // The step stays 1000, so the columns keep their keys while frames, windows and heights change.
    requests.push_back(requestFor(area, QSize(90, 50), transformOf(512)));
    requests.push_back(requestFor(area, QSize(90, 50), transformOf(2048)));
    requests.push_back(
        requestFor(area, QSize(90, 50), transformOf(2048, 8, 2, SampleTypeReal, WindowType::Hann)));
    requests.push_back(requestFor(area, QSize(90, 77), transformOf(512)));
    requests.push_back(requestFor({area.x, 5000, area.width, 6000}, QSize(90, 77), transformOf(512)));
    for (int pass = 0; pass < 2; ++pass)
        for (const TextureRequest& request : requests) {
            const SpectralTextureDataPtr picture = bench.render(request);
            Bench fresh(bench.layer->samples);
            EXPECT_TRUE(sameBits(*picture, *fresh.render(request)));
        }
}

TEST(SpectralRenderer, aForcedRefreshOfUnchangedAudioCostsOnlyReads)
{
    Bench bench(noise(200'000));
    const TextureRequest request = requestFor({0, 0, 90'000, 24000}, QSize(90, 50), transformOf(512));
    (void)bench.render(request);
    const int64_t reads = bench.layer->reads;
    (void)bench.render(request, true);
    EXPECT_EQ(bench.renderer.counts().placed, 0);
    EXPECT_EQ(bench.renderer.counts().changed, 0);
    EXPECT_EQ(bench.renderer.counts().projected, 0);
    EXPECT_GT(bench.layer->reads, reads);
}

TEST(SpectralRenderer, aForcedRefreshFindsTheColumnsWhoseSamplesChanged)
{
    Bench bench(noise(200'000));
    const TextureRequest request = requestFor({0, 0, 90'000, 24000}, QSize(90, 50), transformOf(512));
    (void)bench.render(request);
    bench.layer->samples[40'000] += 0.25f; // in the frame of the column at 40,000 alone
    const SpectralTextureDataPtr picture = bench.render(request, true);
    EXPECT_EQ(bench.renderer.counts().changed, 1);
    Bench fresh(bench.layer->samples);
    EXPECT_TRUE(sameBits(*picture, *fresh.render(request)));
}

TEST(SpectralRenderer, withoutARefreshNothingIsReadAgain)
{
    Bench bench(noise(200'000));
    const TextureRequest request = requestFor({0, 0, 90'000, 24000}, QSize(90, 50), transformOf(512));
    (void)bench.render(request);
    const int64_t reads = bench.layer->reads;
    (void)bench.render(request);
    EXPECT_EQ(bench.layer->reads, reads);
}

// A column whose frame leaves the layer is silenced; when the same samples come back they must count.
TEST(SpectralRenderer, samplesThatLeaveAndComeBackAreSeenAgain)
{
    Bench bench(noise(50'000));
    const TextureRequest request = requestFor({0, 0, 90'000, 24000}, QSize(90, 50), transformOf(512));
    const SpectralTextureDataPtr first = bench.render(request);
    // The column at 0 stays in the picture, but its frame of 256 samples each way misses the layer.
    bench.layer->start = 744;
    const SpectralTextureDataPtr away = bench.render(request, true);
    ASSERT_EQ(centreOf(*away, request.step, 0), 0);
    for (int row = 0; row < 50; ++row)
        EXPECT_EQ(at(*away, 0, row), 0);
    bench.layer->start = 0;
    const SpectralTextureDataPtr again = bench.render(request, true);
    EXPECT_TRUE(sameBits(*first, *again));
}

TEST(SpectralRenderer, anAreaWhollyBeforeTheLayerGivesABlockWithoutData)
{
    Bench bench(noise(10'000));
    bench.layer->start = 1'000'000;
    const SpectralTextureDataPtr picture =
        bench.render(requestFor({0, 0, 90'000, 24000}, QSize(90, 50), transformOf(512)));
    ASSERT_TRUE(picture);
    EXPECT_FALSE(picture->data);
    EXPECT_EQ(picture->area, Area());
    EXPECT_TRUE(picture->size.isEmpty());
}

TEST(SpectralRenderer, settingsThatDoNotFitTheLayerGiveABlockWithoutData)
{
    Bench bench(noise(100'000));
    const Area area{0, 0, 90'000, 24000};
    EXPECT_FALSE(
        bench.render(requestFor(area, QSize(90, 50), transformOf(512, 8, 2, SampleTypeComplex)))->data);
    EXPECT_FALSE(bench.render(requestFor(area, QSize(90, 50), transformOf(0)))->data);
    TextureRequest without = requestFor(area, QSize(90, 50), transformOf(512));
    without.settings.reset();
    EXPECT_FALSE(bench.render(without)->data);
    SpectralRenderer second(bench.layer, 1, ringSize);
    EXPECT_FALSE(second.render(requestFor(area, QSize(90, 50), transformOf(512)), false, notCancelled)->data);
}

TEST(SpectralRenderer, theTopmostRowReadsTheKeptNyquistValue)
{
    std::vector<float> samples(20'000);
    for (std::size_t i = 0; i < samples.size(); ++i)
        samples[i] = i % 2 ? 1.0f : -1.0f;
    Bench bench(samples);
    // Rows half a bin apart: the topmost lies half a bin below Nyquist.
    const SpectralTextureDataPtr picture = bench.render(
        requestFor({5000, 0, 10'000, 24000}, QSize(10, 1024), transformOf(512), Filtering::Linear));
    const float below = at(*picture, 4, 1022); // the bin below Nyquist
    EXPECT_NEAR(at(*picture, 4, 1023), (below + 2.0f) / 2, 1e-4);
}

TEST(SpectralRenderer, rowsAboveNyquistAreBlack)
{
    Bench bench(noise(50'000));
    for (const Filtering filtering : {Filtering::Raw, Filtering::Linear, Filtering::Cubic}) {
        const SpectralTextureDataPtr picture =
            bench.render(requestFor({5000, 0, 10'000, 48000}, QSize(10, 100), transformOf(512), filtering));
        for (int row = 51; row < 100; ++row)
            EXPECT_EQ(at(*picture, 4, row), 0);
        EXPECT_GT(at(*picture, 4, 40), 0);
    }
}

// A steady tone in the middle of its bin has no vector to speak of there.
TEST(SpectralRenderer, aBinWhoseVectorIsShortKeepsItsValue)
{
    std::vector<float> samples(100'000);
    for (std::size_t i = 0; i < samples.size(); ++i)
        samples[i] = float(0.5 * std::cos(2 * M_PI * 128 * double(i) / 1024));
    Bench bench(samples);
    TextureRequest request = requestFor({30'000, 0, 10'000, 24000}, QSize(10, 512), transformOf(512));
    const SpectralTextureDataPtr plain = bench.render(request);
    request.timeSharpen = request.freqSharpen = 1;
    const SpectralTextureDataPtr refined = bench.render(request);
    EXPECT_NEAR(at(*plain, 4, 128), 0.5, 1e-4);
    EXPECT_FLOAT_EQ(at(*refined, 4, 128), at(*plain, 4, 128));
    // Two bins off the vector leads to the tone, and goes on leading there: half of it is left.
    EXPECT_LT(at(*refined, 4, 132), 0.6f * at(*plain, 4, 132));
}

TEST(SpectralRenderer, aPictureOfOneColumnHasNoNeighbour)
{
    for (const int32_t type : {SampleTypeReal, SampleTypeComplex}) {
        // Only the column at 0 has its frame, and hardly that, in the layer.
        auto layer = std::make_shared<MemoryLayer>(SamplingFormat{type, 48000, ChannelsTypeGeneric, 1, 1},
                                                   noise(std::size_t(40 * type)));
        SpectralRenderer renderer(layer, 0, ringSize);
        TextureRequest request =
            requestFor({-500, -24000, 100'000, 48000}, QSize(1, 64), transformOf(512, 8, 2, type));
        request.step = 552;
        request.timeSharpen = request.freqSharpen = 1;
        const SpectralTextureDataPtr picture = renderer.render(request, false, notCancelled);
        ASSERT_TRUE(picture->data);
        ASSERT_EQ(picture->size.width(), 1);
        for (int row = 0; row < 64; ++row)
            EXPECT_TRUE(std::isfinite(at(*picture, 0, row)));
    }
}

TEST(SpectralRenderer, negativeFrequenciesOfAComplexSignalLieBelow0Hz)
{
    constexpr int size = 256;
    std::vector<float> samples;
    for (int i = 0; i < 20'000; ++i) {
        const double phase = -2 * M_PI * 64 * i / 512; // an eighth of the rate below 0
        samples.push_back(float(0.25 * std::cos(phase)));
        samples.push_back(float(0.25 * std::sin(phase)));
    }
    auto layer = std::make_shared<MemoryLayer>(
        SamplingFormat{SampleTypeComplex, 1e6, ChannelsTypeGeneric, 1, 1}, samples);
    SpectralRenderer renderer(layer, 0, ringSize);
    for (const float sharpen : {0.0f, 1.0f}) {
        TextureRequest request =
            requestFor({5000, -5e5, 5000, 1e6}, QSize(10, 512), transformOf(size, 8, 2, SampleTypeComplex));
        request.timeSharpen = request.freqSharpen = sharpen;
        const SpectralTextureDataPtr picture = renderer.render(request, false, notCancelled);
        const float* column = picture->data.get() + 4 * 512;
        EXPECT_EQ(std::max_element(column, column + 512) - column, 256 - 64);
        // Analytic, so there is no second half of the energy on the other side.
        EXPECT_NEAR(column[256 - 64], 0.5, 1e-3);
        EXPECT_LT(column[256 + 64], 1e-3);
    }
}

TEST(SpectralRenderer, theSecondChannelIsItsOwn)
{
    std::vector<float> samples;
    for (int i = 0; i < 20'000; ++i) {
        samples.push_back(0);
        samples.push_back(float(0.5 * std::cos(2 * M_PI * 100 * i / 1024)));
    }
    auto layer = std::make_shared<MemoryLayer>(SamplingFormat{SampleTypeReal, 48000, ChannelsTypeAudio, 2, 3},
                                               samples);
    for (const int channel : {0, 1}) {
        SpectralRenderer renderer(layer, channel, ringSize);
        const SpectralTextureDataPtr picture = renderer.render(
            requestFor({5000, 0, 5000, 24000}, QSize(5, 512), transformOf(512)), false, notCancelled);
        EXPECT_NEAR(at(*picture, 3, 100), channel == 0 ? 0 : 0.5, 1e-3);
    }
}

TEST(SpectralRenderer, interpolatedColumnsMeetTheTransformedOnes)
{
    Bench bench(noise(100'000));
    const auto settings = transformOf(512);
    const Area area{20'000, 0, 1280, 24000};
    const SpectralTextureDataPtr fine =
        bench.render(requestFor(area, QSize(160, 64), settings, Filtering::Cubic)); // 8 pixels a hop
    ASSERT_EQ((fine->size.width() - 1) % 8, 0);
    Bench other(bench.layer->samples);
    TextureRequest request = requestFor(area, QSize(160, 64), settings, Filtering::Cubic);
    request.upsample = 1;
    const SpectralTextureDataPtr coarse = other.render(request);
    for (int column = 0; column < coarse->size.width(); ++column)
        EXPECT_EQ(std::memcmp(&coarse->data[column * 64], &fine->data[column * 8 * 64], 64 * sizeof(float)),
                  0);
    // Catmull-Rom half way between two columns inside.
    for (int row = 0; row < 64; ++row) {
        const auto column = [&](int c) { return double(at(*coarse, c, row)); };
        const double want = (-column(3) + 9 * column(4) + 9 * column(5) - column(6)) / 16;
        EXPECT_NEAR(at(*fine, 4 * 8 + 4, row), want, 1e-5);
    }
}

TEST(SpectralRenderer, scatterMovesTheLobeOfAToneOntoTheTone)
{
    std::vector<float> samples(100'000);
    for (std::size_t i = 0; i < samples.size(); ++i)
        samples[i] = float(0.5 * std::cos(2 * M_PI * 128 * double(i) / 1024));
    Bench bench(samples);
    TextureRequest request = requestFor({30'000, 0, 10'000, 24000}, QSize(10, 512), transformOf(512));
    const SpectralTextureDataPtr plain = bench.render(request);
    request.scatter = true;
    EXPECT_TRUE(sameBits(*plain, *bench.render(request, true))); // no factor, nothing to move
    request.timeSharpen = request.freqSharpen = 1;
    const SpectralTextureDataPtr scattered = bench.render(request, true);
    EXPECT_NEAR(at(*scattered, 4, 128), 0.5, 1e-3);
    for (const int row : {124, 126, 130, 132}) {
        EXPECT_GT(at(*plain, 4, row), 1e-3f);
        EXPECT_LT(at(*scattered, 4, row), 1e-2f * at(*plain, 4, row));
    }
    // Back to masking: no rows of the scattered picture are left.
    request.scatter = false;
    Bench fresh(samples);
    EXPECT_TRUE(sameBits(*bench.render(request), *fresh.render(request)));
}

TEST(SpectralRenderer, aCancelledRenderGivesNothing)
{
    Bench bench(noise(200'000));
    std::atomic<bool> cancel{false};
    bench.layer->onRead = [&cancel] { cancel = true; };
    EXPECT_FALSE(bench.renderer.render(requestFor({0, 0, 90'000, 24000}, QSize(90, 50), transformOf(512)),
                                       false, cancel));
    EXPECT_LT(bench.layer->reads, 90);
}

TEST(SpectralRenderer, silenceIsExactlyZero)
{
    Bench bench(std::vector<float>(100'000, 0.0f));
    const SpectralTextureDataPtr picture =
        bench.render(requestFor({0, 0, 90'000, 24000}, QSize(90, 50), transformOf(512), Filtering::Cubic));
    for (int64_t i = 0; i < int64_t(picture->size.width()) * 50; ++i)
        ASSERT_EQ(picture->data[i], 0);
}

TEST(SpectralRenderer, oddSizesOfTheFieldDraw)
{
    Bench bench(noise(100'000));
    for (const int size : {32, 40, 56, 80, 320, 448, 1792, 4096})
        for (int padding = 1; padding <= 4; ++padding)
            for (const Filtering filtering : {Filtering::Raw, Filtering::Linear, Filtering::Cubic}) {
                TextureRequest request = requestFor({20'000, 0, 50'000, 24000}, QSize(20, 37),
                                                    transformOf(size, 4 * padding, padding), filtering);
                request.freqScale = FreqScale::Mel;
                request.timeSharpen = request.freqSharpen = padding % 2 ? 0.5f : 0;
                const SpectralTextureDataPtr picture = bench.render(request);
                ASSERT_TRUE(picture->data);
                EXPECT_GT(at(*picture, 5, 20), 0) << size << ' ' << padding;
            }
}
