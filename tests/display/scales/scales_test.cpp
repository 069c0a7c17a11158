#include "scalestest.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

namespace {

TEST(FrequencyScale, ZeroStaysZeroAndNyquistStaysNyquist)
{
    for (const FreqScale scale : allScales)
        for (const double rate : {20.0, 360.0, 8000.0, 44100.0, 48000.0, 2.4e6, 1e13}) {
            const Convert convert = scaleConvert(scale, rate);
            EXPECT_EQ(convert.toScale(0), 0);
            EXPECT_EQ(convert.fromScale(0), 0);
            EXPECT_DOUBLE_EQ(convert.toScale(rate / 2), rate / 2) << int(scale);
            EXPECT_NEAR(convert.fromScale(rate / 2), rate / 2, rate * 1e-12) << int(scale);
        }
}

TEST(FrequencyScale, FromScaleUndoesToScaleForPositiveFrequencies)
{
    std::mt19937 random(3);
    std::uniform_real_distribution<double> exponent(-6, 0);
    for (const FreqScale scale : allScales)
        for (const double rate : {360.0, 44100.0, 2.4e6}) {
            const Convert convert = scaleConvert(scale, rate);
            for (int i = 0; i < 1000; ++i) {
                const double hz = rate / 2 * std::pow(10, exponent(random));
                // The two branches of the notes meet within 1e-9 of an octave at 16.35 Hz.
                EXPECT_NEAR(convert.fromScale(convert.toScale(hz)), hz, hz * 1e-9) << int(scale);
            }
        }
}

TEST(FrequencyScale, RisesFromZeroToNyquist)
{
    for (const FreqScale scale : allScales) {
        const Convert convert = scaleConvert(scale);
        double previous = -1;
        for (double hz = 0; hz <= 24000; hz += 0.37) {
            ASSERT_GT(convert.toScale(hz), previous) << hz;
            previous = convert.toScale(hz);
        }
    }
}

TEST(FrequencyScale, IsOddButForNotesBelowTheirLine)
{
    for (const FreqScale scale : allScales) {
        const Convert convert = scaleConvert(scale);
        for (const double hz : {0.5, 16.0, 16.36, 440.0, 20000.0}) {
            const bool mirrored = scale == FreqScale::MidiLogarithmic && hz >= 16.35;
            EXPECT_DOUBLE_EQ(convert.toScale(-hz), mirrored ? convert.toScale(hz) : -convert.toScale(hz));
            EXPECT_DOUBLE_EQ(convert.fromScale(-hz), -convert.fromScale(hz));
        }
    }
}

TEST(FrequencyScale, PublishedPoints)
{
    // 1000 Hz is 1000 mel; 600 Hz is 6 asinh(1) bark; both relative to Nyquist.
    const auto curve = [](FreqScale scale, double hz, double atNyquist) {
        return scaleConvert(scale).toScale(hz) / 24000 * atNyquist;
    };
    EXPECT_NEAR(curve(FreqScale::Mel, 1000, 1127 * std::log(24000 / 700.0 + 1)), 1000, 0.02);
    EXPECT_NEAR(curve(FreqScale::Bark, 600, 6 * std::asinh(40.0)), 5.2882, 1e-4);
    EXPECT_NEAR(curve(FreqScale::Erb, 1000, 21.4 * std::log10(0.00437 * 24000 + 1)), 15.62, 0.01);
    EXPECT_NEAR(curve(FreqScale::MidiLogarithmic, 440, 69 + 12 * std::log2(24000 / 440.0)), 69, 1e-9);
    EXPECT_NEAR(curve(FreqScale::MidiLogarithmic, 16.35 / 2, 69 + 12 * std::log2(24000 / 440.0)),
                11.998308205 / 2, 1e-9);
}

TEST(FrequencyScale, AreasAndPointsMapTheirBandAndKeepTheirTime)
{
    const Convert convert = scaleConvert(FreqScale::Mel);
    const Area area{10, 500, 20, 1500};
    const Area scaled = convert.areaToScale(area);
    EXPECT_EQ(scaled.x, 10);
    EXPECT_EQ(scaled.width, 20);
    EXPECT_DOUBLE_EQ(scaled.y, convert.toScale(500));
    EXPECT_DOUBLE_EQ(scaled.y + scaled.height, convert.toScale(2000));
    const Area back = convert.areaFromScale(scaled);
    EXPECT_NEAR(back.y, 500, 1e-9);
    EXPECT_NEAR(back.height, 1500, 1e-9);
    const PointD point = convert.pointFromScale({3, scaled.y});
    EXPECT_EQ(point.x, 3);
    EXPECT_NEAR(point.y, 500, 1e-9);
}

TEST(Convert, WithoutAUsableFormatEverythingIsEmpty)
{
    const double nan = std::nan("");
    const double infinity = std::numeric_limits<double>::infinity();
    SamplingFormat noChannels = realFormat();
    noChannels.channels = 0;
    for (const SamplingFormat& format : {SamplingFormat(), noChannels, realFormat(0), realFormat(-1),
                                         realFormat(nan), realFormat(infinity)}) {
        for (int unit = 0; unit < 6; ++unit) {
            Convert convert(format, realSettings(), TimeUnit(unit), PowerUnit(unit % 3), FreqUnit(unit % 5),
                            FreqScale(unit % 5), Filtering::Cubic);
            EXPECT_EQ(convert.toScale(100), 0);
            EXPECT_EQ(convert.fromScale(100), 0);
            EXPECT_EQ(convert.areaToScale({1, 2, 3, 4}), (Area{1, 0, 3, 0}));
            EXPECT_TRUE(convert.timeToString(100).isEmpty());
            EXPECT_TRUE(convert.freqToString(100).isEmpty());
            EXPECT_TRUE(convert.powerToString(1).isEmpty());
            EXPECT_TRUE(convert.noteToString(440).isEmpty());
            EXPECT_EQ(convert.stringToTime(QStringLiteral("7")), 0);
            EXPECT_EQ(convert.stringToFreq(QStringLiteral("7")), 0);
            EXPECT_EQ(convert.stringToNote(QStringLiteral("A4")), 0);
            EXPECT_TRUE(convert.timeMarks({0, 0, 1000, 1000}, 800, 50).isEmpty());
            EXPECT_TRUE(convert.freqMarks({0, 0, 1000, 1000}, 800, 50).isEmpty());
            EXPECT_TRUE(convert.powerMarks({-1, 2}, 800, 50).isEmpty());
            convert.buildRowTable({0, 0, 1000, 1000}, 100, true);
            EXPECT_EQ(convert.rowTable().height(), 0);
        }
    }
}

TEST(Convert, WithoutValidSettingsWhatNeedsTheTransformIsEmpty)
{
    for (const TransformSettings& settings :
         {TransformSettings(), realSettings(0), realSettings(2048, 0), realSettings(2048, 8, 0),
          realSettings(-2048), realSettings(4, 8)}) {
        Convert convert(realFormat(), settings, TimeUnit::Pixels, PowerUnit::Decibel, FreqUnit::Pixels);
        EXPECT_TRUE(convert.timeToString(4096).isEmpty());
        EXPECT_EQ(convert.stringToTime(QStringLiteral("3")), 0);
        EXPECT_TRUE(convert.timeMarks({0, 0, 1e6, 24000}, 800, 50).isEmpty());
        if (settings.isValid())
            continue; // overlap above the size: no hop, but a DFT
        EXPECT_TRUE(convert.freqToString(1000).isEmpty());
        EXPECT_EQ(convert.stringToFreq(QStringLiteral("3")), 0);
        EXPECT_TRUE(convert.freqMarks({0, 0, 1e6, 24000}, 800, 50).isEmpty());
        convert.buildRowTable({0, 0, 1000, 24000}, 100, true);
        EXPECT_EQ(convert.rowTable().height(), 0);
    }
}

} // namespace
