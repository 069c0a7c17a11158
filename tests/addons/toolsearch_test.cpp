// What the selection tools find in a signal: ridges, regions, partials, transients.
#include "addons/toolsignals.h"

#include "levelregion.h"
#include "magnet.h"
#include "outline.h"
#include "partials.h"
#include "transients.h"

#include "model/modeltest.h"

#include "support/testsupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>

using namespace modeltest;

namespace {

constexpr int64_t second = 16000;

// A layer of `format` with these samples, and its levels.
struct Scene
{
    explicit Scene(const std::vector<float>& samples, const SamplingFormat& f = realFormat(1, second),
                   int frameSize = 2048, int overlap = 8, int padding = 2)
        : format(f),
          layer(layerOf(f, samples)),
          transform(std::make_shared<Transform>(f.sampleType, WindowType::BlackmanHarris, frameSize, overlap,
                                                padding)),
          spectra(transform),
          levels(&spectra, layer, 0, transform.get())
    {
    }
    SamplingFormat format;
    LayerPtr layer;
    std::shared_ptr<const Transform> transform;
    TestSpectra spectra;
    Levels levels;
};

std::vector<float> silence(const SamplingFormat& format, double seconds)
{
    return std::vector<float>(size_t(seconds * format.sampleRate) * size_t(format.sampleType));
}

// Added to `samples`, 1 kHz and five harmonics under an rms that leaves the noise 30 dB below all of them.
void addChord(std::vector<float>& samples, const SamplingFormat& format, double fundamental, int64_t start,
              int64_t length, unsigned seed)
{
    constexpr double amplitude = 0.1;
    for (int h = 1; h <= 6; ++h)
        addTone(samples, format, fundamental * h, amplitude / h, start, length);
    double power = 0;
    for (int h = 1; h <= 6; ++h)
        power += amplitude * amplitude / (h * h) / 2;
    addNoise(samples, std::sqrt(power) * std::pow(10, -30.0 / 20), seed);
}

} // namespace

// --- levels ----------------------------------------------------------------------------------------

TEST(Levels, AToneStandsInItsBinAtItsLevel)
{
    for (const bool complex : {false, true}) {
        const SamplingFormat format = complex ? complexFormat(1, second) : realFormat(1, second);
        for (const double hz : {1000.0, 3210.0, complex ? -2345.0 : 50.0}) {
            auto samples = silence(format, 1);
            addTone(samples, format, hz, 0.5);
            Scene scene(samples, format);
            const auto frame = int64_t(scene.levels.frame(8000));
            const auto bin = int32_t(std::lround(scene.levels.bin(hz)));
            EXPECT_NEAR(scene.levels.frequency(scene.levels.refined(frame, bin)), hz,
                        0.1 * scene.levels.binWidth());
            // The transform doubles: a real tone has its other half below 0 Hz.
            EXPECT_NEAR(scene.levels.decibels(frame, bin), complex ? 0.0 : -6.0, 0.9);
            EXPECT_LT(scene.levels.decibels(frame, bin + 4 * scene.levels.lobe()), -80);
        }
    }
}

TEST(Levels, BandsEndWhereTheSignalEnds)
{
    Scene real(silence(realFormat(1, second), 0.1));
    EXPECT_EQ(real.levels.lowBin(), 0);
    EXPECT_EQ(real.levels.highBin(), 2048);
    Scene complex(silence(complexFormat(1, second), 0.1), complexFormat(1, second));
    EXPECT_EQ(complex.levels.lowBin(), -2048);
    EXPECT_EQ(complex.levels.highBin(), 2047);
    EXPECT_EQ(complex.levels.decibels(0, 5000), -200);
    EXPECT_EQ(complex.levels.decibels(0, -5000), -200);
}

TEST(Levels, NothingToLookAtIsInvalid)
{
    Scene scene(silence(realFormat(1, second), 0.1));
    const TransformSettings none;
    EXPECT_FALSE(Levels(nullptr, scene.layer, 0, scene.transform.get()).isValid());
    EXPECT_FALSE(Levels(&scene.spectra, nullptr, 0, scene.transform.get()).isValid());
    EXPECT_FALSE(Levels(&scene.spectra, scene.layer, 1, scene.transform.get()).isValid());
    EXPECT_FALSE(Levels(&scene.spectra, scene.layer, -1, scene.transform.get()).isValid());
    EXPECT_FALSE(Levels(&scene.spectra, scene.layer, 0, nullptr).isValid());
    EXPECT_FALSE(Levels(&scene.spectra, scene.layer, 0, &none).isValid());
    const Transform wrong(2, WindowType::Hann, 512, 4, 1);
    EXPECT_FALSE(Levels(&scene.spectra, scene.layer, 0, &wrong).isValid());
}

TEST(Levels, WhatIsNoNumberIsSilence)
{
    auto samples = silence(realFormat(1, second), 0.5);
    samples[3000] = std::numeric_limits<float>::quiet_NaN();
    samples[5000] = std::numeric_limits<float>::infinity();
    Scene scene(samples);
    for (int64_t frame = 0; frame < 30; ++frame)
        for (int32_t bin = 0; bin <= scene.levels.highBin(); bin += 64)
            ASSERT_TRUE(std::isfinite(scene.levels.decibels(frame, bin)));
}

// --- magnet ----------------------------------------------------------------------------------------

namespace {

// From left to right beside a tone, with a trembling hand; the bins where the outline ends.
std::vector<double> drawnBeside(Scene& scene, double hz, double offsetBins, double stepPixels,
                                const PointD& pixel, double reach, double tremble = 0)
{
    Magnet magnet(reach);
    std::mt19937 random(4);
    std::uniform_real_distribution<double> noise(-tremble, tremble);
    for (double x = 4000; x < 12000; x += stepPixels * pixel.x)
        magnet.add(scene.levels, {x, hz + offsetBins * scene.levels.binWidth() + noise(random) * pixel.y},
                   pixel);
    std::vector<double> bins;
    for (const QPointF& p : magnet.path())
        bins.push_back(scene.levels.bin(p.y()));
    return bins;
}

} // namespace

TEST(Magnet, AnOutlineFourBinsBesideAToneEndsWithinOneBinOfIt)
{
    auto samples = silence(realFormat(1, second), 1);
    addTone(samples, realFormat(1, second), 2003, 0.1);
    addNoise(samples, 0.003, 1);
    Scene scene(samples);
    const double bin = scene.levels.bin(2003);
    for (const double offset : {-4.0, 4.0})
        for (const PointD pixel : {PointD{10, 1}, PointD{10, 4}, PointD{100, 8}, PointD{16, 16}})
            for (const double step : {1.0, 7.0}) {
                const auto bins = drawnBeside(scene, 2003, offset, step, pixel, 12);
                ASSERT_GT(bins.size(), 30u);
                for (const double b : bins)
                    EXPECT_NEAR(b, bin, 1.0) << "offset " << offset << ", pixel " << pixel.y << " Hz";
            }
}

TEST(Magnet, ATremblingHandFollowsAGlidingTone)
{
    std::vector<float> samples = silence(realFormat(1, second), 1);
    double phase = 0;
    const auto glide = [](double t) { return 2000 + 150 * std::sin(2 * 3.14159265 * 1.5 * t); };
    for (size_t i = 0; i < samples.size(); ++i) {
        phase += 2 * 3.14159265358979 * glide(double(i) / second) / second;
        samples[i] = float(0.1 * std::cos(phase));
    }
    addNoise(samples, 0.003, 2);
    Scene scene(samples, realFormat(1, second), 512, 8, 2);
    Magnet magnet(12);
    const PointD pixel{16, 8};
    std::mt19937 random(4);
    std::uniform_real_distribution<double> noise(-3, 3);
    for (double x = 3000; x < 13000; x += 16)
        magnet.add(scene.levels, {x, glide(x / second) + noise(random) * pixel.y}, pixel);
    double worst = 0;
    const QPolygonF path = magnet.path();
    for (int i = 20; i + 20 < path.size(); ++i)
        worst = std::max(worst, std::abs(path[i].y() - glide(path[i].x() / second)));
    EXPECT_LT(worst, 3 * scene.levels.binWidth());
}

TEST(Magnet, TheNearerOfTwoTonesTakesTheOutline)
{
    auto samples = silence(realFormat(1, second), 1);
    addTone(samples, realFormat(1, second), 2000, 0.02);
    addTone(samples, realFormat(1, second), 2200, 0.2); // louder, 26 bins farther
    Scene scene(samples);
    for (const double b : drawnBeside(scene, 2000, 6, 2, {16, 16}, 30))
        EXPECT_NEAR(b, scene.levels.bin(2000), 1.0);
}

TEST(Magnet, InSilenceTheOutlineStaysAsDrawn)
{
    Scene scene(silence(realFormat(1, second), 1));
    for (const double b : drawnBeside(scene, 2000, 0, 2, {16, 8}, 12))
        EXPECT_NEAR(b, scene.levels.bin(2000), 1e-6);
}

TEST(Magnet, ALineDrawnUpwardsIsPulledToAClick)
{
    auto samples = silence(realFormat(1, second), 1);
    for (int i = 0; i < 8; ++i)
        samples[size_t(8192 + i)] = i % 2 ? -0.8f : 0.8f;
    addNoise(samples, 0.001, 3);
    Scene scene(samples, realFormat(1, second), 256, 8, 2);
    Magnet magnet(12);
    const PointD pixel{16, 10};
    for (double y = 1000; y < 6000; y += 20)
        magnet.add(scene.levels, {8192 + 5.0 * scene.levels.hop(), y}, pixel);
    const QPolygonF path = magnet.path();
    for (int i = 5; i < path.size(); ++i)
        EXPECT_NEAR(path[i].x(), 8194, scene.levels.hop());
}

TEST(Magnet, WithoutLevelsTheOutlineIsTheHand)
{
    Levels none(nullptr, nullptr, 0, nullptr);
    Magnet magnet(12);
    EXPECT_TRUE(magnet.path().isEmpty());
    magnet.add(none, {100, 200}, {1, 1});
    magnet.add(none, {NAN, 200}, {1, 1});
    magnet.add(none, {103, 200}, {0, 1});
    magnet.add(none, {103, 204}, {1, 1});
    const QPolygonF path = magnet.path();
    EXPECT_EQ(path.first(), QPointF(100, 200));
    EXPECT_EQ(path.last(), QPointF(103, 204));
}

TEST(Magnet, BeyondTheBandAndTheSignalNothingPulls)
{
    Scene scene(silence(realFormat(1, second), 0.2));
    Magnet magnet(12);
    magnet.add(scene.levels, {-1e6, -500}, {10, 10});
    magnet.add(scene.levels, {1e7, 90000}, {10, 10});
    for (const QPointF& p : magnet.path())
        EXPECT_TRUE(std::isfinite(p.x()) && std::isfinite(p.y()));
}

// --- regions ---------------------------------------------------------------------------------------

TEST(LevelRegion, ABurstOfOneLevelIsTakenWithoutItsSurroundings)
{
    auto samples = silence(realFormat(1, second), 1);
    addTone(samples, realFormat(1, second), 3000, 0.2, 4000, 6000);
    addTone(samples, realFormat(1, second), 3000, 0.002, 10000, 6000);
    Scene scene(samples, realFormat(1, second), 512, 8, 2);
    const LevelGrid grid = gridOver(scene.levels, {0, 0, double(second), 8000});
    const auto column = [&](double time) { return grid.column(scene.levels.frame(time)); };
    const auto bin = int32_t(std::lround(scene.levels.bin(3000)));
    const RunMask mask = likeLevel(scene.levels, grid, column(7000), bin, 12);
    for (const double time : {4500.0, 7000.0, 9500.0})
        EXPECT_TRUE(mask.contains(bin, int32_t(column(time))));
    EXPECT_FALSE(mask.contains(bin, int32_t(column(3600))));
    EXPECT_FALSE(mask.contains(bin, int32_t(column(11000)))) << "the quiet one is another level";
    EXPECT_FALSE(mask.contains(bin + scene.levels.lobe(), int32_t(column(7000))));
    // A wide tolerance takes both.
    EXPECT_TRUE(likeLevel(scene.levels, grid, column(7000), bin, 50).contains(bin, int32_t(column(14000))));
}

TEST(LevelRegion, WhatIsLouderIsNotLikeTheGround)
{
    auto samples = silence(realFormat(1, second), 1);
    addNoise(samples, 0.01, 6);
    addTone(samples, realFormat(1, second), 3000, 0.5);
    Scene scene(samples, realFormat(1, second), 512, 8, 2);
    const LevelGrid grid = gridOver(scene.levels, {0, 0, double(second), 8000});
    const auto bin = int32_t(std::lround(scene.levels.bin(3000)));
    const RunMask mask = likeLevel(scene.levels, grid, grid.frames / 2, bin * 2, 20);
    EXPECT_GT(mask.cells(), grid.frames * 100);
    EXPECT_FALSE(mask.contains(bin, int32_t(grid.frames / 2)));
}

TEST(LevelRegion, AViewOfHoursIsLookedAtInSteps)
{
    Scene scene(silence(realFormat(1, second), 0.5));
    const LevelGrid grid = gridOver(scene.levels, {0, 0, 4e8, 8000});
    EXPECT_LE(grid.frames, 2048);
    EXPECT_GT(grid.step, 500);
    EXPECT_GE((grid.frames - 1) * grid.step + grid.step, int64_t(4e8 / scene.levels.hop()));
    EXPECT_EQ(grid.column(double(grid.firstFrame + 5 * grid.step)), 5);
}

TEST(LevelRegion, PlacesOutsideAndAreasThatAreNone)
{
    Scene scene(silence(realFormat(1, second), 0.5));
    const LevelGrid grid = gridOver(scene.levels, {0, 0, 8000, 8000});
    EXPECT_TRUE(likeLevel(scene.levels, grid, -1, 5, 10).isEmpty());
    EXPECT_TRUE(likeLevel(scene.levels, grid, grid.frames, 5, 10).isEmpty());
    EXPECT_TRUE(likeLevel(scene.levels, grid, 0, grid.highBin + 1, 10).isEmpty());
    EXPECT_TRUE(likeLevel(scene.levels, grid, 0, 0, NAN).isEmpty());
    EXPECT_TRUE(gridOver(scene.levels, {0, 0, NAN, 8000}).isEmpty());
    EXPECT_TRUE(gridOver(scene.levels, {0, 0, -5000, 8000}).isEmpty());
    EXPECT_TRUE(gridOver(scene.levels, {0, NAN, 100, 8000}).isEmpty());
    // Silence is one level everywhere.
    EXPECT_EQ(likeLevel(scene.levels, grid, 0, 0, 10).cells(), grid.frames * (grid.highBin + 1));
}

// --- partials --------------------------------------------------------------------------------------

TEST(Partials, AToneAndItsFiveHarmonicsInNoiseAreFoundWithinTwoBins)
{
    for (const bool complex : {false, true})
        for (const unsigned seed : {1u, 2u, 3u}) {
            const SamplingFormat format = complex ? complexFormat(1, second) : realFormat(1, second);
            auto samples = silence(format, 2);
            addChord(samples, format, 1000, second / 2, second, seed);
            Scene scene(samples, format);
            const LevelGrid grid = gridOver(scene.levels, fullBandArea(format, {0, 2 * second}));
            const auto tracks = findPartials(scene.levels, grid, grid.column(scene.levels.frame(second)),
                                             scene.levels.bin(1000) + 2, {});
            std::vector<int> found(7);
            for (const PartialTrack& track : tracks) {
                ASSERT_LE(track.harmonic, 6) << "there is none";
                ++found[size_t(track.harmonic)];
                for (const double bin : track.bins)
                    EXPECT_NEAR(bin, scene.levels.bin(1000.0 * track.harmonic), 2.0);
                // From end to end, but for the window at both.
                EXPECT_NEAR(scene.levels.time(double(grid.firstFrame + track.firstColumn)), second / 2, 1500);
                EXPECT_NEAR(double(track.bins.size()) * scene.levels.hop(), second, 2500);
            }
            EXPECT_EQ(found, (std::vector<int>{0, 1, 1, 1, 1, 1, 1})) << "seed " << seed;
        }
}

TEST(Partials, AGlidingVoiceTakesItsHarmonicsAlong)
{
    auto samples = silence(realFormat(1, second), 2);
    double phase = 0;
    const auto glide = [](double t) { return 600 * std::exp2(0.3 * std::sin(2 * 3.14159265 * 0.7 * t)); };
    for (size_t i = 0; i < samples.size(); ++i) {
        phase += 2 * 3.14159265358979 * glide(double(i) / second) / second;
        for (int h = 1; h <= 4; ++h)
            samples[i] += float(0.1 * std::cos(h * phase));
    }
    addNoise(samples, 0.003, 8);
    Scene scene(samples);
    const LevelGrid grid = gridOver(scene.levels, {0, 0, 2.0 * second, 8000});
    const auto tracks = findPartials(scene.levels, grid, grid.column(scene.levels.frame(second)),
                                     scene.levels.bin(glide(1.0)), {30, 3});
    int found = 0;
    for (const PartialTrack& track : tracks) {
        found |= 1 << track.harmonic;
        for (size_t i = 0; i < track.bins.size(); ++i) {
            const double t =
                scene.levels.time(double(grid.firstFrame + track.firstColumn + int64_t(i))) / second;
            if (t > 0.1 && t < 1.9) {
                EXPECT_NEAR(track.bins[i], scene.levels.bin(track.harmonic * glide(t)), 2.0 * track.harmonic);
            }
        }
    }
    EXPECT_EQ(found, 0b11110);
}

TEST(Partials, NoiseAndSilenceHaveNone)
{
    auto samples = silence(realFormat(1, second), 1);
    Scene quiet(samples);
    const LevelGrid grid = gridOver(quiet.levels, {0, 0, double(second), 8000});
    EXPECT_TRUE(findPartials(quiet.levels, grid, grid.frames / 2, 200, {}).empty());
    EXPECT_TRUE(findPartials(quiet.levels, grid, -1, 200, {}).empty());
    EXPECT_TRUE(findPartials(quiet.levels, grid, 1, NAN, {}).empty());
    EXPECT_TRUE(findPartials(quiet.levels, grid, 1, 1e9, {}).empty());
}

TEST(Partials, NeighboursDoNotOverlapHoweverLowTheVoice)
{
    auto samples = silence(realFormat(1, second), 1);
    for (int h = 1; h <= 20; ++h)
        addTone(samples, realFormat(1, second), 100.0 * h, 0.04);
    Scene scene(samples, realFormat(1, second), 4096, 8, 1);
    const LevelGrid grid = gridOver(scene.levels, {4000, 0, 8000, 8000});
    const auto tracks = findPartials(scene.levels, grid, grid.frames / 2, scene.levels.bin(100), {});
    EXPECT_GE(tracks.size(), 20u);
    for (const PartialTrack& track : tracks)
        EXPECT_LE(2 * track.halfWidth, scene.levels.bin(100));
}

// --- transients ------------------------------------------------------------------------------------

TEST(Transients, ClicksInNoiseAndTonesAreFoundWhereTheyBegin)
{
    for (const bool complex : {false, true}) {
        const SamplingFormat format = complex ? complexFormat(1, 44100) : realFormat(1, 44100);
        const auto floats = size_t(format.sampleType);
        auto samples = silence(format, 2);
        addTone(samples, format, 440, 0.3);
        addTone(samples, format, 1760, 0.1);
        addNoise(samples, 0.003, 1);
        std::vector<int64_t> clicks;
        for (int64_t at = 5000; at < 80000; at += 7919) {
            clicks.push_back(at);
            samples[size_t(at) * floats] += 0.5f;
        }
        const auto found =
            findTransients(samples.data(), int64_t(samples.size() / floats), format.sampleType, 44100, 0.5);
        ASSERT_EQ(found.size(), clicks.size());
        for (size_t i = 0; i < clicks.size(); ++i) {
            EXPECT_NEAR(double(found[i].position), double(clicks[i]), 44);
            EXPECT_LT(found[i].length, 441);
        }
    }
}

TEST(Transients, ABurstIsAsLongAsItLasts)
{
    auto samples = silence(realFormat(1, 44100), 1);
    addNoise(samples, 0.001, 1);
    std::vector<float> burst(441);
    addNoise(burst, 0.3, 2);
    std::copy(burst.begin(), burst.end(), samples.begin() + 20000);
    const auto found = findTransients(samples.data(), int64_t(samples.size()), 1, 44100, 0.5);
    ASSERT_EQ(found.size(), 1u);
    EXPECT_NEAR(double(found[0].position), 20000, 44);
    EXPECT_NEAR(double(found[0].length), 441, 60);
}

TEST(Transients, SteadySoundHasNoneAndMoreSensitivityNeverFindsFewer)
{
    auto samples = silence(realFormat(1, 44100), 2);
    addTone(samples, realFormat(1, 44100), 1000, 0.5);
    addNoise(samples, 0.01, 4);
    EXPECT_TRUE(findTransients(samples.data(), int64_t(samples.size()), 1, 44100, 0.5).empty());
    for (int i = 0; i < 12; ++i)
        samples[size_t(3000 + 6000 * i)] += float(0.03 * std::exp2(i * 0.4));
    size_t before = 0;
    for (const double sensitivity : {0.0, 0.2, 0.4, 0.5, 0.6, 0.7}) {
        const size_t now =
            findTransients(samples.data(), int64_t(samples.size()), 1, 44100, sensitivity).size();
        EXPECT_GE(now, before);
        before = now;
    }
    // The six of at least 14 times the rms of the noise.
    EXPECT_GE(before, 6u);
}

TEST(Transients, HostileSamplesAreAnswered)
{
    std::vector<float> samples(5000, std::numeric_limits<float>::quiet_NaN());
    EXPECT_TRUE(findTransients(samples.data(), 5000, 1, 44100, 1).empty());
    std::fill(samples.begin(), samples.end(), 0.0f);
    EXPECT_TRUE(findTransients(samples.data(), 5000, 1, 44100, 1).empty());
    EXPECT_TRUE(findTransients(samples.data(), 0, 1, 44100, 1).empty());
    EXPECT_TRUE(findTransients(samples.data(), 3, 1, 44100, 1).empty());
    EXPECT_TRUE(findTransients(nullptr, 5000, 1, 44100, 1).empty());
    EXPECT_TRUE(findTransients(samples.data(), 5000, 1, 0, 1).empty());
    std::mt19937 random(1);
    for (float& s : samples) {
        const uint32_t bits = uint32_t(random());
        std::memcpy(&s, &bits, 4);
    }
    for (const int floats : {1, 2})
        for (const Transient& t : findTransients(samples.data(), 5000 / floats, floats, 8000, 1)) {
            EXPECT_GE(t.position, 0);
            EXPECT_GE(t.length, 1);
            EXPECT_LE(t.position + t.length, 5000 / floats);
        }
}
