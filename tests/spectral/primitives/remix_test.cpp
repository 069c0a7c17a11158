#include "spectral/primitives/remix.h"

#include "model/types/channelconfigurations.h"
#include "model/types/channellabels.h"
#include "spectral/primitives/defaultremix.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace {

constexpr uint64_t mono = 4;
constexpr uint64_t stereo = 3;
constexpr uint64_t lowFrequencies = 8 | (uint64_t(1) << 35);
constexpr float root = 0.70710678f;

Matrix audio(uint64_t input, uint64_t output)
{
    return defaultRemix(ChannelsTypeAudio, input, output);
}

// The gain between two positions, by their bits.
float gain(uint64_t inputMask, uint64_t outputMask, uint64_t input, uint64_t output)
{
    const Matrix matrix = audio(inputMask, outputMask);
    const int row = std::popcount(inputMask & (input - 1));
    const int column = std::popcount(outputMask & (output - 1));
    return matrix.data[int64_t(row) * matrix.outputs + column];
}

TEST(DefaultRemix, EachPairOfConfigurationsHasNoSilentSourceButTheLowFrequency)
{
    for (const ChannelConfiguration& from : channelConfigurations(ChannelsTypeAudio))
        for (const ChannelConfiguration& to : channelConfigurations(ChannelsTypeAudio)) {
            const Matrix matrix = audio(from.mask, to.mask);
            ASSERT_EQ(matrix.inputs, channelCount(from.mask));
            ASSERT_EQ(matrix.outputs, channelCount(to.mask));
            for (int i = 0; i < matrix.inputs; ++i) {
                float sum = 0;
                for (int o = 0; o < matrix.outputs; ++o) {
                    const float g = matrix.data[int64_t(i) * matrix.outputs + o];
                    EXPECT_TRUE(g >= 0 && g <= 1) << from.name << " to " << to.name;
                    sum += g;
                }
                const uint64_t bit = channelBit(from.mask, i);
                const bool dropped = (bit & lowFrequencies) && !(bit & to.mask);
                EXPECT_EQ(sum == 0, dropped) << from.name << " to " << to.name << ", channel " << i;
            }
        }
}

TEST(DefaultRemix, AConfigurationIntoItselfIsTheIdentity)
{
    for (const ChannelConfiguration& layout : channelConfigurations(ChannelsTypeAudio))
        EXPECT_TRUE(isIdentity(audio(layout.mask, layout.mask))) << layout.name;
}

TEST(DefaultRemix, MonoDoublesIntoStereoAndStereoHalvesIntoMono)
{
    EXPECT_EQ(gain(mono, stereo, 4, 1), 1.0f);
    EXPECT_EQ(gain(mono, stereo, 4, 2), 1.0f);
    EXPECT_EQ(gain(stereo, mono, 1, 4), 0.5f);
    EXPECT_EQ(gain(stereo, mono, 2, 4), 0.5f);
    EXPECT_EQ(gain(mono, 7, 4, 4), 1.0f) << "a centre takes it alone";
    EXPECT_EQ(gain(mono, 7, 4, 1), 0.0f);
}

TEST(DefaultRemix, FiveIntoStereoHasTheFiguresOfBs775)
{
    constexpr uint64_t five = 1543;
    EXPECT_EQ(gain(five, stereo, 1, 1), 1.0f);
    EXPECT_EQ(gain(five, stereo, 1, 2), 0.0f);
    EXPECT_FLOAT_EQ(gain(five, stereo, 4, 1), root);
    EXPECT_FLOAT_EQ(gain(five, stereo, 4, 2), root);
    EXPECT_FLOAT_EQ(gain(five, stereo, 512, 1), root);
    EXPECT_EQ(gain(five, stereo, 512, 2), 0.0f);
    EXPECT_FLOAT_EQ(gain(five, stereo, 1024, 2), root);
}

TEST(DefaultRemix, RearAndSideStandForEachOther)
{
    constexpr uint64_t quadro = 51;
    constexpr uint64_t five = 1543;
    constexpr uint64_t seven = 1591;
    EXPECT_EQ(gain(quadro, five, 16, 512), 1.0f);
    EXPECT_EQ(gain(five, quadro, 1024, 32), 1.0f);
    EXPECT_FLOAT_EQ(gain(seven, quadro, 512, 16), root) << "the source has both";
    EXPECT_EQ(gain(seven, quadro, 16, 16), 1.0f);
    EXPECT_FLOAT_EQ(gain(seven, five, 32, 1024), root);
}

TEST(DefaultRemix, BackCentreHeightsAndWides)
{
    constexpr uint64_t six = 1799;
    EXPECT_FLOAT_EQ(gain(six, 51, 256, 16), root);
    EXPECT_FLOAT_EQ(gain(six, 51, 256, 32), root);
    EXPECT_FLOAT_EQ(gain(six, 1543, 256, 512), root);
    EXPECT_FLOAT_EQ(gain(six, 7, 256, 1), 0.5f);
    EXPECT_FLOAT_EQ(gain(six, 7, 256, 2), 0.5f);
    constexpr uint64_t sevenFour = 185911;
    EXPECT_FLOAT_EQ(gain(sevenFour, 1591, 4096, 1), root);
    EXPECT_FLOAT_EQ(gain(sevenFour, 1591, 32768, 16), root);
    EXPECT_FLOAT_EQ(gain(sevenFour, stereo, 32768, 1), root * root) << "over the rear";
    constexpr uint64_t wide = uint64_t(1) << 31;
    EXPECT_FLOAT_EQ(gain(1591 | wide, stereo, wide, 1), root);
    EXPECT_FLOAT_EQ(gain(1735, stereo, 128, 2), root);
}

TEST(DefaultRemix, IntoMonoFrontsComeAtHalf)
{
    constexpr uint64_t six = 1799;
    EXPECT_FLOAT_EQ(gain(six, mono, 1, 4), 0.5f);
    EXPECT_FLOAT_EQ(gain(six, mono, 4, 4), 1.0f);
    EXPECT_FLOAT_EQ(gain(six, mono, 512, 4), root / 2);
    EXPECT_FLOAT_EQ(gain(six, mono, 256, 4), 0.5f) << "a half to each front, both at half";
}

TEST(DefaultRemix, OtherTypesAndUnknownPositionsGoByIndex)
{
    const Matrix ecg = defaultRemix(ChannelsTypeEcg, 0xfff, 0x7);
    EXPECT_EQ(ecg.inputs, 12);
    EXPECT_EQ(ecg.outputs, 3);
    EXPECT_EQ(ecg.data[0], 1.0f);
    EXPECT_EQ(ecg.data[4], 1.0f);
    EXPECT_EQ(ecg.data[9], 0.0f);
    const SamplingFormat from{1, 48000, ChannelsTypeAudio, 2, stereo};
    const SamplingFormat to{1, 48000, ChannelsTypeGeneric, 3, 7};
    const Matrix mixed = defaultRemix(from, to);
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ(mixed.data[i], i == 0 || i == 4 ? 1.0f : 0.0f) << i;
    constexpr uint64_t unknown = uint64_t(1) << 50;
    EXPECT_EQ(gain(unknown | 1, stereo, unknown, 2), 1.0f) << "second channel into the second";
}

TEST(DefaultRemix, AnyTwoMasksGiveFiniteGainsOfTheRightSize)
{
    std::mt19937_64 random(7);
    for (int i = 0; i < 3000; ++i) {
        const uint64_t from = random() & random();
        const uint64_t to = i % 7 ? random() & random() : 0;
        const Matrix matrix = audio(from, to);
        ASSERT_EQ(matrix.inputs, channelCount(from));
        ASSERT_EQ(matrix.outputs, channelCount(to));
        for (const float g : matrix.data)
            ASSERT_TRUE(g >= 0 && g <= 2) << g;
    }
    const SamplingFormat wrongMask{1, 48000, ChannelsTypeAudio, 6, stereo};
    EXPECT_EQ(defaultRemix(wrongMask, wrongMask).inputs, 6) << "the default layout of six";
}

TEST(ChannelConfigurations, CountsFollowTheNames)
{
    const auto layouts = channelConfigurations(ChannelsTypeAudio);
    ASSERT_EQ(layouts.size(), 18u);
    const int counts[] = {1, 2, 3, 4, 4, 5, 6, 6, 7, 7, 8, 7, 8, 9, 10, 11, 12, 12};
    for (std::size_t i = 0; i < layouts.size(); ++i)
        EXPECT_EQ(channelCount(layouts[i].mask), counts[i]) << layouts[i].name;
    EXPECT_EQ(channelConfigurations(ChannelsTypeEcg).size(), 3u);
    EXPECT_TRUE(channelConfigurations(ChannelsTypeGeneric).empty());
}

// Every pair of widths, so that each of the unrolled loops is held against the general formula.
TEST(Remix, EveryWidthFollowsTheFormula)
{
    std::mt19937 random(3);
    std::uniform_real_distribution<float> number(-1, 1);
    constexpr int64_t frames = 13;
    for (int inputs = 1; inputs <= 4; ++inputs)
        for (int outputs = 1; outputs <= 4; ++outputs) {
            Matrix matrix(outputs, inputs);
            for (float& g : matrix.data)
                g = number(random);
            std::vector<float> in(std::size_t(frames * inputs));
            for (float& value : in)
                value = number(random);
            std::vector<float> out(std::size_t(frames * outputs + 1), 99.0f);
            remix(matrix, in.data(), 1, out.data(), 1, frames);
            for (int64_t f = 0; f < frames; ++f)
                for (int o = 0; o < outputs; ++o) {
                    double sum = 0;
                    for (int i = 0; i < inputs; ++i)
                        sum += double(in[std::size_t(f * inputs + i)]) * matrix.data[i * outputs + o];
                    ASSERT_NEAR(out[std::size_t(f * outputs + o)], sum, 1e-6);
                }
            EXPECT_EQ(out.back(), 99.0f) << "nothing beyond the end";
        }
}

TEST(Remix, ComplexChannelsKeepTheirPairs)
{
    Matrix swap(2, 2);
    swap.data[0] = swap.data[3] = 0;
    swap.data[1] = swap.data[2] = 1;
    const float pairs[] = {1, 2, 3, 4};
    float out[4] = {};
    remix(swap, pairs, 2, out, 2, 1);
    EXPECT_EQ(out[0], 3.0f);
    EXPECT_EQ(out[1], 4.0f);
    EXPECT_EQ(out[2], 1.0f);
    EXPECT_EQ(out[3], 2.0f);
    remix(Matrix(1, 1), pairs, 1, out, 2, 2);
    EXPECT_EQ(out[0], 1.0f);
    EXPECT_EQ(out[1], 0.0f) << "a real sample has no imaginary part";
    EXPECT_EQ(out[2], 2.0f);
    remix(Matrix(1, 1), pairs, 2, out, 1, 2);
    EXPECT_EQ(out[0], 1.0f);
    EXPECT_EQ(out[1], 3.0f);
}

TEST(Remix, FittedCutsFillsAndDropsWhatIsNoNumber)
{
    Matrix matrix(2, 2);
    matrix.data[1] = std::numeric_limits<float>::quiet_NaN();
    matrix.data[2] = std::numeric_limits<float>::infinity();
    EXPECT_TRUE(isIdentity(fitted(matrix, 2, 2)));
    const Matrix wider = fitted(matrix, 3, 4);
    EXPECT_EQ(wider.data.size(), 12);
    EXPECT_EQ(wider.data[4], 1.0f);
    EXPECT_EQ(wider.data[8], 0.0f) << "no identity beyond what was given";
    EXPECT_TRUE(isZero(fitted(Matrix(), 2, 2)));
    EXPECT_FALSE(isIdentity(Matrix()));
    EXPECT_TRUE(isZero(Matrix()));
}

} // namespace
