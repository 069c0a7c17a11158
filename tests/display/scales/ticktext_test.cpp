// What stands at the ticks of a ruler: the text of a tick is that of its value, and leads back to it.
#include "display/scales/scalestest.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <random>

namespace {

struct View
{
    Area area;
    double pixels;
    double minPixels;
};

// Any place and zoom within a day, any length of a ruler.
class Views
{
public:
    explicit Views(unsigned seed) : m_random(seed) {}

    View next(double rate, double lowest)
    {
        const double nyquist = rate / 2;
        const double day = 86400 * rate;
        View view;
        view.area.width = std::max(1.0, day / 2 * std::pow(share(), 12));
        view.area.x = (day - view.area.width) * std::pow(share(), 4);
        view.area.height = std::max(1.0, (nyquist - lowest) * std::pow(share(), 3));
        view.area.y = lowest + (nyquist - lowest - view.area.height) * share();
        view.pixels = 40 + 3000 * share();
        view.minPixels = 10 + 80 * share();
        return view;
    }

private:
    double share() { return m_unit(m_random); }

    std::mt19937 m_random;
    std::uniform_real_distribution<double> m_unit{0, 1};
};

// Samples that the last digit of a text counts.
double lastDigit(const Convert& convert, const QString& text)
{
    const double rate = convert.format.sampleRate;
    const double beat = rate * 60 / convert.bpm * 4 / convert.beatUnit;
    switch (convert.timeUnit) {
    case TimeUnit::Decimal:
    case TimeUnit::Seconds:
        return rate / 1000;
    case TimeUnit::Bpm: {
        const int dots = int(text.count(QLatin1Char('.')));
        return dots == 0 ? beat * convert.beatsPerBar : dots == 1 ? beat : beat / 100;
    }
    case TimeUnit::Fps:
        return rate / convert.fps;
    case TimeUnit::Pixels:
        return convert.settings.hop();
    case TimeUnit::Samples:
        break;
    }
    return 1;
}

Convert convertOf(double rate, int sampleType = SampleTypeReal)
{
    Convert convert(sampleType == SampleTypeReal ? realFormat(rate) : complexFormat(rate),
                    sampleType == SampleTypeReal ? realSettings() : complexSettings());
    convert.bpm = 133;
    convert.beatsPerBar = 3;
    convert.fps = 29.97;
    return convert;
}

TEST(TickText, TimeParsesBackWithinHalfAUnitOfItsLastDigitInEveryUnit)
{
    Views views(11);
    int64_t ticks = 0;
    for (const double rate : {360.0, 8000.0, 44100.0, 48000.0, 192000.0, 1e6})
        for (int unit = 0; unit < 6; ++unit)
            for (int i = 0; i < 60; ++i) {
                Convert convert = convertOf(rate);
                convert.timeUnit = TimeUnit(unit);
                const View view = views.next(rate, 0);
                for (const double tick : convert.timeMarks(view.area, view.pixels, view.minPixels)) {
                    const QString text = convert.timeToString(tick);
                    // Positions are whole samples: no text can lead to a place between two of them.
                    const double half = std::max(lastDigit(convert, text), 1.0) / 2;
                    EXPECT_NEAR(double(convert.stringToTime(text)), tick, half * (1 + 1e-9) + 1e-6)
                        << text.toStdString() << " unit " << unit << " rate " << rate;
                    ++ticks;
                }
            }
    EXPECT_GT(ticks, 10000);
}

TEST(TickText, FrequencyParsesBackWithinHalfAUnitOfItsLastDigitInEveryUnitAndScale)
{
    Views views(12);
    int64_t ticks = 0;
    for (const double rate : {360.0, 8000.0, 48000.0, 192000.0, 1e6, 1e13})
        for (int unit = 0; unit < 5; ++unit)
            for (const FreqScale scale : allScales)
                for (int i = 0; i < 25; ++i) {
                    Convert convert = convertOf(rate);
                    convert.freqUnit = FreqUnit(unit);
                    convert.freqScale = scale;
                    const View view = views.next(rate, 0);
                    for (const double tick : convert.freqMarks(view.area, view.pixels, view.minPixels)) {
                        const QString text = convert.freqToString(tick);
                        const double back = convert.stringToFreq(text);
                        ++ticks;
                        if (convert.freqUnit == FreqUnit::Notes) {
                            // The last digit is a semitone; a tick is a note, to the cent.
                            EXPECT_NEAR(1200 * std::log2(back / tick), 0, 1) << text.toStdString();
                            continue;
                        }
                        const double digit = convert.freqUnit == FreqUnit::Pixels
                                                 ? rate / convert.settings.dftLength()
                                             : convert.freqUnit == FreqUnit::Normalized ? rate / 2000
                                                                                        : 0.1;
                        EXPECT_NEAR(back, tick, digit / 2 * (1 + 1e-3) + 1e-15 * rate)
                            << text.toStdString() << " unit " << unit << " scale " << int(scale);
                    }
                }
    EXPECT_GT(ticks, 10000);
}

TEST(TickText, NegativeFrequenciesParseBackToo)
{
    Views views(13);
    for (const FreqUnit unit : {FreqUnit::Hertz, FreqUnit::Pixels, FreqUnit::Octaves, FreqUnit::Normalized})
        for (int i = 0; i < 60; ++i) {
            Convert convert = convertOf(48000, SampleTypeComplex);
            convert.freqUnit = unit;
            const View view = views.next(48000, -24000);
            const double digit = unit == FreqUnit::Pixels       ? 48000.0 / convert.settings.dftLength()
                                 : unit == FreqUnit::Normalized ? 24.0
                                                                : 0.1;
            for (const double tick : convert.freqMarks(view.area, view.pixels, view.minPixels))
                EXPECT_NEAR(convert.stringToFreq(convert.freqToString(tick)), tick, digit / 2 + 1e-3);
        }
}

// Against the plain formulas.
TEST(TickText, PowerIsThatOfTheTicksValue)
{
    std::mt19937 random(14);
    std::uniform_real_distribution<double> unit(0, 1);
    int64_t ticks = 0;
    for (int i = 0; i < 600; ++i) {
        Convert convert = convertOf(48000);
        convert.powerUnit = PowerUnit(i % 3);
        const double half = std::exp2(-16 * unit(random) + 3);
        const FRange range{-half, 2 * half};
        for (const double tick : convert.powerMarks(range, 30 + 600 * unit(random), 12)) {
            char expected[64];
            const double shown = convert.powerUnit == PowerUnit::Decibel    ? 20 * std::log10(std::abs(tick))
                                 : convert.powerUnit == PowerUnit::Percents ? tick * 100
                                                                            : tick;
            std::snprintf(expected, sizeof expected,
                          convert.powerUnit == PowerUnit::Normalized ? "%.2f" : "%.0f", shown);
            const QString text = convert.powerToString(tick);
            if (tick == 0)
                EXPECT_EQ(text, convert.powerUnit == PowerUnit::Decibel    ? QStringLiteral("-inf")
                                : convert.powerUnit == PowerUnit::Percents ? QStringLiteral("0")
                                                                           : QStringLiteral("0.00"));
            else
                EXPECT_EQ(text.toStdString(), expected) << tick;
            ++ticks;
        }
    }
    EXPECT_GT(ticks, 3000);
}

} // namespace
