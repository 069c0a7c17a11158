// Samples on their way into another format.
#include "projectfiles/samplefitter.h"

#include "projectfiles/markscale.h"
#include "projectfiles/newproject.h"
#include "spectral/primitives/resampler.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

namespace {

using Floats = std::vector<float>;

SamplingFormat audio(double rate, int channels)
{
    return {SampleTypeReal, rate, ChannelsTypeAudio, channels, uint64_t((1 << channels) - 1)};
}

// Feeds `in` in pieces of random lengths.
Floats fitted(const SamplingFormat& from, const SamplingFormat& to, const Floats& in, std::mt19937& random)
{
    SampleFitter fitter(from, to);
    EXPECT_TRUE(fitter.isUsable());
    Floats out;
    const auto store = [&](const float* samples, int64_t frames) {
        out.insert(out.end(), samples, samples + frames * to.channels);
        return true;
    };
    const auto frames = int64_t(in.size()) / from.channels;
    for (int64_t done = 0; done < frames;) {
        const int64_t piece = std::min<int64_t>(frames - done, 1 + int64_t(random() % 70000));
        EXPECT_TRUE(fitter.take(in.data() + done * from.channels, piece, store));
        done += piece;
    }
    EXPECT_TRUE(fitter.finish(store));
    return out;
}

TEST(SampleFitter, PiecesGiveWhatTheWholeGives)
{
    std::mt19937 random(7);
    const double rates[] = {8000, 11025, 44100, 48000, 192000};
    for (int round = 0; round < 12; ++round) {
        const SamplingFormat from = audio(rates[random() % 5], 1 + int(random() % 3));
        const SamplingFormat to = audio(rates[random() % 5], 1 + int(random() % 3));
        const int64_t frames = 1 + int64_t(random() % 100000);
        Floats in(std::size_t(frames * from.channels));
        for (std::size_t i = 0; i < in.size(); ++i)
            in[i] = float(std::sin(double(i) * 0.01 * (1 + double(i % std::size_t(from.channels)))));
        const Floats out = fitted(from, to, in, random);
        const auto expected = int64_t(std::llround(double(frames) * to.sampleRate / from.sampleRate));
        ASSERT_EQ(int64_t(out.size()), expected * to.channels) << from.sampleRate << ' ' << to.sampleRate;
        Resampler whole(from, to, Matrix(), true);
        Floats reference(out.size());
        whole.processAll(in.data(), frames, reference.data(), expected);
        for (std::size_t i = 0; i < out.size(); ++i)
            ASSERT_NEAR(out[i], reference[i], 2e-5) << round << ' ' << i;
    }
}

TEST(SampleFitter, OneSampleIsEnough)
{
    std::mt19937 random(1);
    EXPECT_EQ(fitted(audio(8000, 1), audio(48000, 1), {0.5f}, random).size(), 6u);
    EXPECT_EQ(fitted(audio(48000, 1), audio(8000, 1), {0.5f}, random).size(), 0u);
}

TEST(SampleFitter, AStoreThatStopsStopsIt)
{
    SampleFitter fitter(audio(8000, 1), audio(16000, 1));
    const Floats in(100000, 0.5f);
    int calls = 0;
    EXPECT_FALSE(fitter.take(in.data(), 100000, [&calls](const float*, int64_t) { return ++calls < 2; }));
    EXPECT_EQ(calls, 2);
}

TEST(SampleFitter, RatesTooFarFromEachOtherAreNotUsable)
{
    EXPECT_FALSE(SampleFitter(audio(8, 1), audio(1e9, 1)).isUsable());
    EXPECT_TRUE(SampleFitter(audio(8, 1), audio(1000, 1)).isUsable());
}

TEST(MarkScale, PositionsStayWithinWhatNumbersHold)
{
    MarkerList markers{{1, 100, 1, "a"}, {2, std::numeric_limits<int64_t>::max(), 0, "b"}, {3, -7, 0, "c"}};
    scaleTime(markers, 0.25);
    EXPECT_EQ(markers[0].position, 25);
    EXPECT_EQ(markers[0].length, 1); // a region does not become a point
    EXPECT_EQ(markers[2].position, -2);
    scaleTime(markers, 1e30);
    EXPECT_LE(markers[1].position, int64_t(1) << 61);
    EXPECT_EQ(markers[1].length, 0);
}

TEST(NewProject, NamesCountUpFromTheHighest)
{
    const auto name = [](const QStringList& open) { return untitledName(open).toStdString(); };
    EXPECT_EQ(name({}), "Untitled");
    EXPECT_EQ(name({QStringLiteral("tabla.wav"), QStringLiteral("my Untitled 5")}), "Untitled");
    EXPECT_EQ(name({QStringLiteral("Untitled")}), "Untitled 2");
    EXPECT_EQ(name({QStringLiteral("Untitled 9"), QStringLiteral("Untitled 10")}), "Untitled 11");
    EXPECT_EQ(name({QStringLiteral("Untitled 4 (copy)")}), "Untitled 5");
    EXPECT_EQ(name({QStringLiteral("Untitled 99999999999999999999999")}), "Untitled 2");
}

} // namespace
