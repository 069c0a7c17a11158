#include "spectral/primitives/resampler.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <numeric>
#include <random>
#include <tuple>
#include <vector>

namespace {

SamplingFormat format(double rate, int channels, int type = SampleTypeReal)
{
    SamplingFormat result{type, rate, ChannelsTypeAudio, channels, 0};
    EXPECT_TRUE(sanitizeFormat(result));
    return result;
}

std::vector<float> noise(int64_t count, uint32_t seed = 1)
{
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> number(-1, 1);
    std::vector<float> values(static_cast<std::size_t>(count));
    for (float& value : values)
        value = number(random);
    return values;
}

std::vector<float> convertAll(IResampler& resampler, const std::vector<float>& in, int64_t room)
{
    const int64_t inLanes = resampler.inputFormat().channels * resampler.inputFormat().sampleType;
    const int64_t outLanes = resampler.outputFormat().channels * resampler.outputFormat().sampleType;
    std::vector<float> out(std::size_t(room * outLanes));
    const int64_t made = resampler.processAll(in.data(), int64_t(in.size()) / inLanes, out.data(), 0);
    EXPECT_LE(made, room);
    out.resize(std::size_t(made * outLanes));
    return out;
}

TEST(Resampler, EqualRatesAndIdentityCopyBitByBit)
{
    std::vector<float> in = noise(2 * 200000);
    in[5] = std::numeric_limits<float>::denorm_min();
    in[6] = -0.0f;
    in[7] = std::numeric_limits<float>::infinity();
    Resampler resampler(format(48000, 2), format(48000, 2), Matrix(2, 2), true);
    EXPECT_EQ(resampler.latency(), 0);
    const std::vector<float> whole = convertAll(resampler, in, 200000);
    ASSERT_EQ(whole.size(), in.size());
    EXPECT_EQ(std::memcmp(whole.data(), in.data(), in.size() * sizeof(float)), 0);
    std::vector<float> step(2 * 1000);
    EXPECT_EQ(resampler.process(in.data(), 1000, step.data(), 0), 1000) << "nothing is held back";
    EXPECT_EQ(std::memcmp(step.data(), in.data(), step.size() * sizeof(float)), 0);
}

TEST(Resampler, ThousandFramesOfSilenceGive1088)
{
    Resampler resampler(format(44100, 1), format(48000, 1), Matrix(), true);
    const std::vector<float> out = convertAll(resampler, std::vector<float>(1000), 2000);
    EXPECT_EQ(out.size(), 1088u);
    EXPECT_TRUE(std::all_of(out.begin(), out.end(), [](float value) { return value == 0; }));
}

TEST(Resampler, MonoToStereoWithTheDefaultMatrixDoublesTheChannel)
{
    const std::vector<float> in = noise(500);
    Resampler resampler(format(8000, 1), format(8000, 2), Matrix(), true);
    const std::vector<float> out = convertAll(resampler, in, 500);
    ASSERT_EQ(out.size(), 1000u);
    for (std::size_t i = 0; i < in.size(); ++i) {
        ASSERT_EQ(out[2 * i], in[i]);
        ASSERT_EQ(out[2 * i + 1], in[i]);
    }
    // A matrix of zeros asks for the default one too.
    Matrix zeros(2, 1);
    zeros.data[0] = 0;
    Resampler other(format(8000, 1), format(8000, 2), zeros, true);
    EXPECT_EQ(convertAll(other, in, 500), out);
}

TEST(Resampler, NoInputFlushesOnlyWhenTheRateChanges)
{
    const std::vector<float> in = noise(4000);
    std::vector<float> out(20000);
    Resampler equal(format(48000, 1), format(48000, 1), Matrix(), true);
    EXPECT_EQ(equal.process(in.data(), 4000, out.data(), 0), 4000);
    EXPECT_EQ(equal.process(nullptr, 0, out.data(), 5000), 0);
    Resampler other(format(44100, 1), format(48000, 1), Matrix(), true);
    const int64_t first = other.process(in.data(), 4000, out.data(), 0);
    EXPECT_LT(first, 4354) << "the filter holds a tail";
    const int64_t tail = other.process(nullptr, 0, out.data() + first, 5000);
    EXPECT_EQ(first + tail, 4354);
    EXPECT_EQ(other.process(nullptr, 0, out.data(), 5000), 0) << "and only one";
}

TEST(Resampler, OutputCountOfZeroIsTheRoundedOne)
{
    for (const auto& [from, to] : {std::pair{44100.0, 48000.0},
                                   {48000.0, 44100.0},
                                   {8000.0, 48000.0},
                                   {192000.0, 8000.0},
                                   {360.0, 1000.0},
                                   {48000.0, 48001.0}})
        for (const int64_t frames : {1, 2, 777, 30000, 129999, 130000, 300001}) {
            Resampler resampler(format(from, 1), format(to, 1), Matrix(), true);
            const int64_t expected = std::llround(double(frames) * (to / from));
            const std::vector<float> out = convertAll(resampler, noise(frames), expected + 10);
            EXPECT_EQ(int64_t(out.size()), expected) << from << " to " << to << ", " << frames;
        }
}

TEST(Resampler, ASignalInPiecesGivesTheSameAndStopsWhereThePiecesDo)
{
    const std::vector<float> in = noise(2 * 400000);
    for (const auto& [to, matrix] : {std::pair{format(48000, 2), Matrix(2, 2)},
                                     {format(48000, 1), Matrix()},
                                     {format(44100, 1), Matrix()}}) {
        Resampler resampler(format(44100, 2), to, matrix, true);
        const std::vector<float> whole = convertAll(resampler, in, 500000);
        std::vector<float> out(whole.size());
        int64_t next = 0;
        int pieces = 0;
        const auto piece = [&](int64_t first, int64_t count) {
            EXPECT_LE(first, next) << "no gap";
            EXPECT_LE(first + count, 400000);
            next = first + count;
            ++pieces;
            return in.data() + 2 * first;
        };
        const int64_t frames = int64_t(whole.size()) / to.channels;
        EXPECT_EQ(resampler.processPieces(piece, 400000, out.data(), 0), frames);
        EXPECT_EQ(next, 400000);
        EXPECT_GE(pieces, 3);
        EXPECT_TRUE(out == whole);
        int left = 2;
        const int64_t made = resampler.processPieces(
            [&](int64_t first, int64_t) { return --left < 0 ? nullptr : in.data() + 2 * first; }, 400000,
            out.data(), 0);
        EXPECT_EQ(left, -1) << "null is not asked twice";
        EXPECT_LT(made, frames);
        EXPECT_TRUE(std::equal(whole.begin(), whole.begin() + made * to.channels, out.begin()));
    }
}

TEST(Resampler, AnAskedCountIsNeverExceeded)
{
    const std::vector<float> in = noise(200000);
    Resampler resampler(format(44100, 1), format(48000, 1), Matrix(), true);
    std::vector<float> out(300000, 7.0f);
    EXPECT_EQ(resampler.processAll(in.data(), 200000, out.data(), 1000), 1000);
    EXPECT_EQ(out[1000], 7.0f);
    EXPECT_NE(out[999], 7.0f);
    // More than there is: what there is.
    EXPECT_EQ(resampler.processAll(in.data(), 200000, out.data(), 300000), 217687);
    EXPECT_EQ(out[217687], 7.0f);
    EXPECT_EQ(resampler.processAll(in.data(), 1000, out.data(), 1), 1);
}

// A sine stays that sine: held against the sine computed in double precision. 20 bits of precision
// leave an error of some -120 dB; single-precision samples and their sums a little more.
TEST(Resampler, ASineKeepsFrequencyPhaseAndLevel)
{
    for (const auto& [from, to] :
         {std::pair{44100.0, 48000.0}, {48000.0, 44100.0}, {48000.0, 96000.0}, {96000.0, 22050.0}})
        for (const int64_t frames : {20000, 180000}) {
            constexpr double frequency = 997;
            std::vector<float> in(static_cast<std::size_t>(frames));
            for (std::size_t i = 0; i < in.size(); ++i)
                in[i] = float(0.5 * std::sin(2 * M_PI * frequency * double(i) / from));
            Resampler resampler(format(from, 1), format(to, 1), Matrix(), true);
            const std::vector<float> out = convertAll(resampler, in, 3 * frames);
            double worst = 0;
            for (std::size_t i = 2000; i + 2000 < out.size(); ++i)
                worst =
                    std::max(worst, std::abs(out[i] - 0.5 * std::sin(2 * M_PI * frequency * double(i) / to)));
            EXPECT_LT(worst, 2e-6) << from << " to " << to << ", " << frames;
        }
}

// A band-limited impulse comes out at its time with the area that it had.
TEST(Resampler, AnImpulseStaysAtItsTime)
{
    for (const int64_t frames : {20000, 200000}) {
        std::vector<float> in(static_cast<std::size_t>(frames));
        in[14700] = 1; // a third of a second
        Resampler resampler(format(44100, 1), format(48000, 1), Matrix(), true);
        const std::vector<float> out = convertAll(resampler, in, 2 * frames);
        const auto top = std::max_element(out.begin(), out.end());
        EXPECT_EQ(top - out.begin(), 16000);
        const double area = std::accumulate(out.begin(), out.end(), 0.0);
        EXPECT_NEAR(area, 48000.0 / 44100.0, 1e-5);
        // Linear phase: the same on both sides.
        for (int i = 1; i < 100; ++i)
            ASSERT_NEAR(out[std::size_t(16000 - i)], out[std::size_t(16000 + i)], 1e-6);
    }
}

TEST(Resampler, WhatTheNewRateCannotCarryIsGone)
{
    std::vector<float> in(96000);
    for (std::size_t i = 0; i < in.size(); ++i)
        in[i] = float(std::sin(2 * M_PI * 30000 * double(i) / 96000));
    Resampler resampler(format(96000, 1), format(44100, 1), Matrix(), true);
    const std::vector<float> out = convertAll(resampler, in, 96000);
    for (std::size_t i = 2000; i + 2000 < out.size(); ++i)
        ASSERT_LT(std::abs(out[i]), 2e-5f);
}

// Any cutting into blocks gives the samples of the whole, for each way round of remix and rate.
TEST(Resampler, BlocksGiveTheSameAsTheWhole)
{
    std::mt19937 random(11);
    for (const auto& [from, to, inputs, outputs] : {std::tuple{44100.0, 48000.0, 1, 1},
                                                    {48000.0, 8000.0, 2, 2},
                                                    {44100.0, 48000.0, 1, 2},
                                                    {48000.0, 44100.0, 2, 1},
                                                    {48000.0, 44100.0, 6, 2},
                                                    {8000.0, 48000.0, 2, 3}}) {
        const int64_t frames = 150000;
        const std::vector<float> in = noise(frames * inputs);
        Resampler whole(format(from, inputs), format(to, outputs), Matrix(), true);
        const int64_t expected = std::llround(frames * (to / from));
        const std::vector<float> reference = convertAll(whole, in, expected);
        Resampler blocks(format(from, inputs), format(to, outputs), Matrix(), true);
        std::vector<float> out;
        std::vector<float> part(std::size_t(400000 * outputs));
        for (int64_t at = 0; at < frames;) {
            const int64_t count = std::min<int64_t>(frames - at, 1 + int64_t(random() % 3000));
            const int64_t made = blocks.process(in.data() + at * inputs, count, part.data(), 0);
            out.insert(out.end(), part.begin(), part.begin() + made * outputs);
            at += count;
        }
        const int64_t made = blocks.process(nullptr, 0, part.data(), 400000);
        out.insert(out.end(), part.begin(), part.begin() + made * outputs);
        ASSERT_EQ(out.size(), reference.size()) << from << " to " << to;
        float worst = 0;
        for (std::size_t i = 0; i < out.size(); ++i)
            worst = std::max(worst, std::abs(out[i] - reference[i]));
        EXPECT_LT(worst, 1e-6f) << from << " to " << to << ", " << inputs << " to " << outputs;
    }
}

// The rounding of single steps never loses input: at 6 to 1 a step of two frames asks for none.
TEST(Resampler, TinyStepsLoseNothing)
{
    const std::vector<float> in = noise(6000);
    Resampler resampler(format(48000, 1), format(8000, 1), Matrix(), true);
    const std::vector<float> reference = convertAll(resampler, in, 2000);
    std::vector<float> out(2000);
    int64_t made = 0;
    for (int64_t at = 0; at < 6000; at += 2)
        made += resampler.process(in.data() + at, 2, out.data() + made, 0);
    made += resampler.process(nullptr, 0, out.data() + made, 2000 - made);
    ASSERT_EQ(made, 1000);
    for (std::size_t i = 0; i < 1000; ++i)
        ASSERT_NEAR(out[i], reference[i], 1e-6f) << i;
}

TEST(Resampler, ShortAndLongPathAgree)
{
    const std::vector<float> in = noise(2 * 140000);
    Resampler stereo(format(44100, 2), format(48000, 2), Matrix(), true);
    const std::vector<float> whole = convertAll(stereo, in, 160000);
    const std::vector<float> start(in.begin(), in.begin() + 2 * 100000);
    const std::vector<float> part = convertAll(stereo, start, 160000);
    for (std::size_t i = 0; i < part.size() - 2 * 2000; ++i)
        ASSERT_NEAR(part[i], whole[i], 1e-6f) << i;
}

TEST(Resampler, LanesDoNotMix)
{
    std::vector<float> in(2 * 140000);
    const std::vector<float> right = noise(140000);
    for (std::size_t i = 0; i < right.size(); ++i)
        in[2 * i + 1] = right[i];
    Resampler stereo(format(44100, 2), format(48000, 2), Matrix(), true);
    Resampler mono(format(44100, 1), format(48000, 1), Matrix(), true);
    const std::vector<float> both = convertAll(stereo, in, 160000);
    const std::vector<float> one = convertAll(mono, right, 160000);
    ASSERT_EQ(both.size(), 2 * one.size());
    for (std::size_t i = 0; i < one.size(); ++i) {
        ASSERT_EQ(both[2 * i], 0.0f);
        ASSERT_EQ(both[2 * i + 1], one[i]);
    }
}

TEST(Resampler, AComplexToneKeepsItsSense)
{
    const SamplingFormat from = format(2400000, 1, SampleTypeComplex);
    const SamplingFormat to = format(1920000, 1, SampleTypeComplex);
    constexpr double frequency = -123456;
    std::vector<float> in(2 * 160000);
    for (std::size_t i = 0; i < in.size() / 2; ++i) {
        const double phase = 2 * M_PI * frequency * double(i) / from.sampleRate;
        in[2 * i] = float(std::cos(phase));
        in[2 * i + 1] = float(std::sin(phase));
    }
    Resampler resampler(from, to, Matrix(), true);
    const std::vector<float> out = convertAll(resampler, in, 160000);
    ASSERT_EQ(out.size(), 2u * 128000);
    for (std::size_t i = 2000; i + 2000 < out.size() / 2; ++i) {
        const double phase = 2 * M_PI * frequency * double(i) / to.sampleRate;
        ASSERT_NEAR(out[2 * i], std::cos(phase), 5e-6);
        ASSERT_NEAR(out[2 * i + 1], std::sin(phase), 5e-6);
    }
}

TEST(Resampler, AStretchKeepsTheSamplesAndChangesTheirCount)
{
    Resampler resampler(format(44100, 2), 1.5, true);
    EXPECT_EQ(resampler.outputFormat().sampleRate, 66150);
    EXPECT_EQ(resampler.ratio(), 1.5);
    const std::vector<float> constant(2 * 10000, 0.25f);
    const std::vector<float> out = convertAll(resampler, constant, 20000);
    ASSERT_EQ(out.size(), 2u * 15000);
    for (std::size_t i = 2000; i < 2 * 15000 - 2000; ++i)
        ASSERT_NEAR(out[i], 0.25f, 1e-6f);
    Resampler same(format(44100, 2), 1.0, true);
    EXPECT_EQ(convertAll(same, constant, 10000), constant);
}

// By single frames: 922 to the first output at this pair of rates, and the reserve of 143.
TEST(Resampler, LatencyIsMeasured)
{
    Resampler resampler(format(44100, 2), format(48000, 2), Matrix(), true);
    EXPECT_EQ(resampler.latency(), 922 + 143);
    EXPECT_EQ(resampler.latency(), 922 + 143) << "it leaves the stream at its start";
}

TEST(Resampler, BufferedOutputComesInOrder)
{
    const std::vector<float> in = noise(2 * 5000);
    Resampler resampler(format(48000, 2), format(48000, 2), Matrix(), true);
    EXPECT_TRUE(resampler.isEmpty());
    EXPECT_EQ(resampler.process(in.data(), 3000, nullptr, 0), 3000);
    EXPECT_EQ(resampler.process(in.data() + 2 * 3000, 2000, nullptr, 0), 2000);
    EXPECT_EQ(resampler.available(), 5000);
    EXPECT_FALSE(resampler.isEmpty());
    std::vector<float> out(2 * 5000);
    EXPECT_EQ(resampler.read(out.data(), 4321), 4321);
    EXPECT_EQ(resampler.read(out.data() + 2 * 4321, 9999), 679);
    EXPECT_EQ(out, in);
    EXPECT_EQ(resampler.read(out.data(), 1), 0);
    EXPECT_EQ(resampler.read(out.data(), -5), 0);
    EXPECT_EQ(resampler.process(in.data(), 100, nullptr, 0), 100);
    resampler.clear();
    EXPECT_TRUE(resampler.isEmpty());
}

TEST(Resampler, ClearStartsAFreshStream)
{
    const std::vector<float> in = noise(20000);
    Resampler resampler(format(44100, 1), format(48000, 1), Matrix(), true);
    std::vector<float> first(20000);
    std::vector<float> second(20000);
    const int64_t made = resampler.process(in.data(), 10000, first.data(), 0);
    resampler.process(in.data() + 10000, 7000, second.data(), 0);
    resampler.clear();
    EXPECT_EQ(resampler.process(in.data(), 10000, second.data(), 0), made);
    first.resize(std::size_t(made));
    second.resize(std::size_t(made));
    EXPECT_EQ(first, second);
}

TEST(Resampler, ANewMatrixActsFromTheNextStep)
{
    const std::vector<float> in = {1, 2, 3, 4};
    Resampler resampler(format(48000, 2), format(48000, 2), Matrix(), true);
    Matrix swap(2, 2);
    swap.data[0] = swap.data[3] = 0;
    swap.data[1] = swap.data[2] = 1;
    resampler.setMatrix(swap);
    std::vector<float> out(4);
    EXPECT_EQ(resampler.process(in.data(), 2, out.data(), 0), 2);
    EXPECT_EQ(out, (std::vector<float>{2, 1, 4, 3}));
    resampler.setMatrix(Matrix()); // no cells: silence
    EXPECT_EQ(resampler.process(in.data(), 2, out.data(), 0), 2);
    EXPECT_EQ(out, std::vector<float>(4));
}

TEST(Resampler, HostileFormatsAndCountsAnswerZero)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double infinity = std::numeric_limits<double>::infinity();
    const SamplingFormat good = format(48000, 2);
    std::vector<float> in = noise(2000);
    std::vector<float> out(20000);
    const auto yieldsNothing = [&](Resampler&& resampler) {
        EXPECT_EQ(resampler.process(in.data(), 100, out.data(), 0), 0);
        EXPECT_EQ(resampler.processAll(in.data(), 100, out.data(), 0), 0);
        EXPECT_EQ(resampler.process(nullptr, 0, out.data(), 100), 0);
        EXPECT_EQ(resampler.latency(), 0);
        EXPECT_EQ(resampler.read(out.data(), 10), 0);
        resampler.setMatrix(Matrix(3, 3));
        resampler.clear();
    };
    for (const double rate : {0.0, -1.0, nan, infinity, 1e300}) {
        SamplingFormat bad = good;
        bad.sampleRate = rate;
        yieldsNothing(Resampler(bad, good, Matrix(), true));
        yieldsNothing(Resampler(good, bad, Matrix(), true));
        yieldsNothing(Resampler(good, rate, true));
    }
    for (const int channels : {0, -3, 65, 1 << 30}) {
        SamplingFormat bad = good;
        bad.channels = channels;
        yieldsNothing(Resampler(bad, good, Matrix(), true));
        yieldsNothing(Resampler(good, bad, Matrix(), true));
    }
    SamplingFormat bad = good;
    bad.sampleType = 7;
    yieldsNothing(Resampler(bad, good, Matrix(), true));
    Resampler resampler(good, format(44100, 2), Matrix(5, 9), true);
    EXPECT_EQ(resampler.process(in.data(), -100, out.data(), -100), 0);
    EXPECT_EQ(resampler.process(nullptr, 1000, out.data(), 0), 0);
    EXPECT_EQ(resampler.processAll(nullptr, 1000, out.data(), 0), 0);
    EXPECT_EQ(resampler.processAll(in.data(), -1, out.data(), 0), 0);
}

TEST(Resampler, ExtremeRatiosEndInBoundedMemory)
{
    std::vector<float> out(100000);
    const std::vector<float> in = noise(200000);
    Resampler up(format(1, 1), format(60000, 1), Matrix(), true);
    EXPECT_EQ(up.processAll(in.data(), 1000, out.data(), 100000), 100000);
    Resampler down(format(60000, 1), format(1, 1), Matrix(), true);
    EXPECT_EQ(down.processAll(in.data(), 200000, out.data(), 100000), 3);
    Resampler tooFar(format(1, 1), format(1e9, 1), Matrix(), true);
    EXPECT_EQ(tooFar.processAll(in.data(), 1000, out.data(), 100000), 0);
    std::vector<float> bad(200000, std::numeric_limits<float>::quiet_NaN());
    Resampler resampler(format(44100, 1), format(48000, 1), Matrix(), true);
    EXPECT_EQ(resampler.processAll(bad.data(), 50000, out.data(), 0), 54422);
}

} // namespace
