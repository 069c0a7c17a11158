#include "scalestest.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

namespace {

Convert withUnits(TimeUnit time, FreqUnit freq = FreqUnit::Hertz, FreqScale scale = FreqScale::Linear)
{
    return {realFormat(), realSettings(), time, PowerUnit::Normalized, freq, scale, Filtering::Raw};
}

// Steps of a time ruler in pixels for a span of samples.
double timeStep(const Convert& convert, double samples)
{
    const QVector<double> marks = convert.timeMarks({0, 0, samples, 1}, 1000, 50);
    return marks.size() > 1 ? marks[1] - marks[0] : 0;
}

TEST(TimeMarks, SampleStepsGoOneTwoFiveTen)
{
    const Convert convert = withUnits(TimeUnit::Samples);
    EXPECT_EQ(timeStep(convert, 20), 1);
    EXPECT_EQ(timeStep(convert, 21), 2);
    EXPECT_EQ(timeStep(convert, 41), 5);
    EXPECT_EQ(timeStep(convert, 101), 10);
    EXPECT_EQ(timeStep(convert, 201), 20);
    EXPECT_EQ(timeStep(convert, 401), 50);
    EXPECT_EQ(timeStep(convert, 1001), 100);
}

TEST(TimeMarks, BaseStepsOfTheUnits)
{
    EXPECT_EQ(timeStep(withUnits(TimeUnit::Decimal), 10), 0); // a millisecond is 48 samples
    EXPECT_EQ(timeStep(withUnits(TimeUnit::Decimal), 480), 48);
    EXPECT_EQ(timeStep(withUnits(TimeUnit::Seconds), 48 * 30), 96);
    EXPECT_EQ(timeStep(withUnits(TimeUnit::Fps), 1920 * 10), 1920);
    EXPECT_EQ(timeStep(withUnits(TimeUnit::Pixels), 256 * 15), 256);
    EXPECT_EQ(timeStep(withUnits(TimeUnit::Pixels), 256 * 70), 1024); // doubles only
}

TEST(TimeMarks, BeatsGoToBarsThenUpTheLadder)
{
    Convert convert = withUnits(TimeUnit::Bpm);
    convert.beatsPerBar = 3;
    const double beat = 24000;
    EXPECT_EQ(timeStep(convert, beat * 20), beat);
    EXPECT_EQ(timeStep(convert, beat * 21), beat * 3);
    EXPECT_EQ(timeStep(convert, beat * 61), beat * 6);
    EXPECT_EQ(timeStep(convert, beat * 121), beat * 15);
}

TEST(TimeMarks, StandAtMultiplesInsideTheSpanBothEndsCounted)
{
    const Convert convert = withUnits(TimeUnit::Samples);
    const QVector<double> expected = {-10, -5, 0, 5, 10, 15};
    EXPECT_EQ(convert.timeMarks({-10, 0, 25, 1}, 250, 40), expected);
}

TEST(PowerMarks, HundredthsAndTheLadder)
{
    Convert convert = withUnits(TimeUnit::Samples);
    for (const PowerUnit unit : {PowerUnit::Normalized, PowerUnit::Percents}) {
        convert.powerUnit = unit;
        const QVector<double> marks = convert.powerMarks({-1, 2}, 400, 40);
        ASSERT_EQ(marks.size(), 11);
        for (int i = 0; i < 11; ++i)
            EXPECT_NEAR(marks[i], -1 + 0.2 * i, 1e-12);
        EXPECT_EQ(marks[5], 0);
        EXPECT_FALSE(std::signbit(marks[5]));
    }
}

TEST(PowerMarks, DecibelsAreAGeometricSeriesWithSilenceInTheMiddle)
{
    Convert convert = withUnits(TimeUnit::Samples);
    convert.powerUnit = PowerUnit::Decibel;
    const QVector<double> marks = convert.powerMarks({-1, 2}, 400, 20);
    ASSERT_GE(marks.size(), 5);
    EXPECT_EQ(marks[marks.size() / 2], 0);
    for (int i = 0; i < marks.size(); ++i) {
        EXPECT_EQ(marks[i], -marks[marks.size() - 1 - i]);
        if (marks[i] > 0) {
            const double steps = 2 * std::log2(marks[i]);
            EXPECT_NEAR(steps, std::round(steps), 1e-9);
            EXPECT_GE((marks[i] - marks[i - 1]) * 200, 20 - 1e-9);
        }
    }
    EXPECT_EQ(marks.last(), 1);
    // Zoomed in far: the series begins at 2^-10.
    const QVector<double> near = convert.powerMarks({0, 0.002}, 1000, 20);
    ASSERT_GE(near.size(), 2);
    EXPECT_EQ(near[1], 0.0009765625);
    // The mark of silence is there even where it is out of sight.
    EXPECT_EQ(convert.powerMarks({0.9, 0.05}, 10, 20), QVector<double>{0});
}

TEST(FreqMarks, HertzOnTheLinearScaleIsThePlainLadder)
{
    const Convert convert = withUnits(TimeUnit::Samples);
    const QVector<double> marks = convert.freqMarks({0, 0, 1, 24000}, 600, 40);
    ASSERT_EQ(marks.size(), 13);
    for (int i = 0; i < marks.size(); ++i)
        EXPECT_EQ(marks[i], 2000.0 * i);
}

TEST(FreqMarks, UnevenScalesGetFinerStepsWhereThereIsRoom)
{
    for (const FreqScale scale :
         {FreqScale::Mel, FreqScale::Bark, FreqScale::Erb, FreqScale::MidiLogarithmic}) {
        const Convert convert = withUnits(TimeUnit::Samples, FreqUnit::Hertz, scale);
        const QVector<double> marks = convert.freqMarks({0, 0, 1, 24000}, 900, 30);
        ASSERT_GE(marks.size(), 8) << int(scale);
        EXPECT_LT(marks[1] - marks[0], marks.last() - marks[marks.size() - 2]) << int(scale);
    }
}

TEST(FreqMarks, NotesStandOnCsAndThinByWholeOctaves)
{
    const Convert linear = withUnits(TimeUnit::Samples, FreqUnit::Notes, FreqScale::MidiLogarithmic);
    const auto semitones = [](double hz) { return 69 + 12 * std::log2(hz / 440); };
    // 138 semitones over `pixels` pixels: 40 of them take an octave, two, a half, a quarter.
    for (const auto& [pixels, step] : {std::pair{500.0, 12}, {250.0, 24}, {950.0, 6}, {1900.0, 3}}) {
        const QVector<double> marks = linear.freqMarks({0, 0, 1, 24000}, pixels, 40);
        ASSERT_GE(marks.size(), 4) << pixels;
        for (int i = 0; i < marks.size(); ++i) {
            const double note = semitones(marks[i]);
            const double grid = std::min(step, 12);
            EXPECT_NEAR(note / grid, std::round(note / grid), 1e-6);
            if (i > 0) {
                EXPECT_NEAR(note - semitones(marks[i - 1]), step, 1e-6) << pixels;
            }
        }
    }
}

TEST(FreqMarks, PixelsPartTheBinsByEightAndHalves)
{
    const Convert convert = withUnits(TimeUnit::Samples, FreqUnit::Pixels);
    const QVector<double> marks = convert.freqMarks({0, 0, 1, 24000}, 400, 40);
    ASSERT_EQ(marks.size(), 9);
    for (int i = 0; i < 9; ++i)
        EXPECT_EQ(convert.freqToString(marks[i]), QString::number(256 * i));
    const QVector<double> near = convert.freqMarks({0, 0, 1, 24000 / 64.0}, 400, 40);
    ASSERT_EQ(near.size(), 9);
    EXPECT_EQ(convert.freqToString(near[1]), QStringLiteral("4"));
}

TEST(FreqMarks, NormalizedGoesInTenthsToHundredths)
{
    const Convert convert = withUnits(TimeUnit::Samples, FreqUnit::Normalized);
    EXPECT_EQ(convert.freqMarks({0, 0, 1, 24000}, 500, 40).size(), 11);
    EXPECT_EQ(convert.freqMarks({0, 0, 1, 24000}, 100000, 40).size(), 101);
}

TEST(Marks, AreInsideRisingAndFarEnoughApart)
{
    std::mt19937 random(4);
    std::uniform_real_distribution<double> unit(0, 1);
    for (int i = 0; i < 3000; ++i) {
        Convert convert(i % 7 ? realFormat() : complexFormat(), realSettings(), TimeUnit(i % 6),
                        PowerUnit(i % 3), FreqUnit(i % 5), FreqScale((i / 5) % 5), Filtering::Raw);
        const bool complex = convert.format.isComplex();
        if (complex && convert.freqScale == FreqScale::MidiLogarithmic)
            continue; // that scale folds negative frequencies
        const double pixels = 20 + 3000 * unit(random);
        const double minPixels = 5 + 100 * unit(random);
        const double lowest = complex ? -24000 : 0;
        const double low = lowest + (24000 - lowest) * unit(random) * unit(random);
        const double high = low + (24000 - low) * std::pow(unit(random), 3) + 0.01;
        const Area area{1e6 * (unit(random) - 0.5), low, 1 + 1e7 * std::pow(unit(random), 4), high - low};

        const QVector<double> times = convert.timeMarks(area, pixels, minPixels);
        for (int k = 0; k < times.size(); ++k) {
            EXPECT_TRUE(times[k] >= area.x && times[k] <= area.x + area.width);
            if (k > 0) {
                EXPECT_GE((times[k] - times[k - 1]) / area.width * pixels, minPixels * (1 - 1e-6));
            }
        }
        const Area scaled = convert.areaToScale(area);
        const QVector<double> freqs = convert.freqMarks(area, pixels, minPixels);
        for (int k = 0; k < freqs.size(); ++k) {
            EXPECT_TRUE(freqs[k] >= area.y && freqs[k] <= area.y + area.height);
            if (k > 0) {
                EXPECT_GE((convert.toScale(freqs[k]) - convert.toScale(freqs[k - 1])) / scaled.height *
                              pixels,
                          minPixels * (1 - 1e-6))
                    << int(convert.freqUnit) << ' ' << int(convert.freqScale);
            }
        }
    }
}

TEST(Marks, HostileRulersEnd)
{
    const double nan = std::nan("");
    const double infinity = std::numeric_limits<double>::infinity();
    const double values[] = {0, -1, 1, 1e-300, 1e15, 1e300, -1e300, nan, infinity, -infinity};
    for (int unit = 0; unit < 6; ++unit)
        for (const FreqScale scale : allScales) {
            Convert convert = withUnits(TimeUnit(unit), FreqUnit(unit % 5), scale);
            convert.powerUnit = PowerUnit(unit % 3);
            convert.format.sampleType = unit % 2 ? SampleTypeComplex : SampleTypeReal;
            for (const double start : values)
                for (const double length : values)
                    for (const double pixels : {0.0, 600.0, 1e300, nan})
                        for (const double least : {-1.0, 40.0, nan, infinity}) {
                            EXPECT_LT(convert.timeMarks({start, 0, length, 0}, pixels, least).size(), 140000);
                            EXPECT_LT(convert.freqMarks({0, start, 0, length}, pixels, least).size(), 140000);
                            EXPECT_LT(convert.powerMarks({start, length}, pixels, least).size(), 140000);
                        }
        }
}

} // namespace
