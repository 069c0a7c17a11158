#include "scalestest.h"

#include <gtest/gtest.h>

#include <QStringList>

#include <cmath>
#include <limits>
#include <random>

namespace {

Convert withTime(TimeUnit unit, double rate = 48000)
{
    Convert convert(realFormat(rate), realSettings());
    convert.timeUnit = unit;
    return convert;
}

Convert withFreq(FreqUnit unit, double rate = 48000)
{
    Convert convert(realFormat(rate), realSettings());
    convert.freqUnit = unit;
    return convert;
}

Convert withPower(PowerUnit unit)
{
    Convert convert(realFormat(), realSettings());
    convert.powerUnit = unit;
    return convert;
}

TEST(UnitWords, UnknownWordsGiveTheDefaults)
{
    const QString word = QStringLiteral("furlong");
    for (const QString& text : {word, QString()}) {
        EXPECT_EQ(freqScaleFromString(text), FreqScale::Linear);
        EXPECT_EQ(filteringFromString(text), Filtering::Raw);
        EXPECT_EQ(timeUnitFromString(text), TimeUnit::Samples);
        EXPECT_EQ(powerUnitFromString(text), PowerUnit::Normalized);
        EXPECT_EQ(freqUnitFromString(text), FreqUnit::Hertz);
    }
    EXPECT_EQ(freqScaleToString(FreqScale(17)), QStringLiteral("Linear"));
    EXPECT_EQ(powerUnitToString(PowerUnit(-3)), QStringLiteral("Normalized"));
}

TEST(UnitWords, WordsInAnyCaseAndBack)
{
    const QStringList scales = {QStringLiteral("Linear"), QStringLiteral("Mel"), QStringLiteral("Bark"),
                                QStringLiteral("ERB"), QStringLiteral("MIDI-logarithmic")};
    for (int i = 0; i < scales.size(); ++i) {
        EXPECT_EQ(freqScaleToString(FreqScale(i)), scales[i]);
        EXPECT_EQ(int(freqScaleFromString(scales[i].toLower())), i);
    }
    const QStringList times = {QStringLiteral("Samples"), QStringLiteral("Decimal"),
                               QStringLiteral("Seconds"), QStringLiteral("BPM"),
                               QStringLiteral("FPS"),     QStringLiteral("Pixels")};
    for (int i = 0; i < times.size(); ++i) {
        EXPECT_EQ(timeUnitToString(TimeUnit(i)), times[i]);
        EXPECT_EQ(int(timeUnitFromString(times[i].toUpper())), i);
    }
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(int(powerUnitFromString(powerUnitToString(PowerUnit(i)).toLower())), i);
        EXPECT_EQ(int(filteringFromString(filteringToString(Filtering(i)).toUpper())), i);
    }
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(int(freqUnitFromString(freqUnitToString(FreqUnit(i)).toLower())), i);
}

TEST(UnitWords, Suffixes)
{
    EXPECT_EQ(withTime(TimeUnit::Samples).timeSuffix(), QStringLiteral("smp"));
    EXPECT_EQ(withTime(TimeUnit::Decimal).timeSuffix(), QString());
    EXPECT_EQ(withTime(TimeUnit::Fps).timeSuffix(), QStringLiteral("frm"));
    EXPECT_EQ(withFreq(FreqUnit::Hertz).freqSuffix(), QStringLiteral("Hz"));
    EXPECT_EQ(withFreq(FreqUnit::Notes).freqSuffix(), QString(QChar(0x266A)) + QLatin1Char(' '));
    EXPECT_EQ(withPower(PowerUnit::Decibel).powerSuffix(), QStringLiteral("dB"));
    EXPECT_EQ(withPower(PowerUnit::Percents).powerSuffix(), QStringLiteral("%"));
    EXPECT_EQ(withPower(PowerUnit::Normalized).powerSuffix(), QString());
    Convert ecg = withPower(PowerUnit::Normalized);
    ecg.format.channelsType = ChannelsTypeEcg;
    EXPECT_EQ(ecg.powerSuffix(), QStringLiteral("mV"));
    ecg.powerUnit = PowerUnit::Decibel;
    EXPECT_EQ(ecg.powerSuffix(), QStringLiteral("dB"));
}

TEST(TimeText, BpmOfTheVeryStartIsTheBarAlone)
{
    EXPECT_EQ(withTime(TimeUnit::Bpm).timeToString(0), QStringLiteral("1"));
}

TEST(TimeText, BpmCountsBarsBeatsAndHundredths)
{
    Convert convert = withTime(TimeUnit::Bpm); // 120 bpm at 48 kHz: 24000 samples a beat
    EXPECT_EQ(convert.timeToString(24000), QStringLiteral("1.2"));
    EXPECT_EQ(convert.timeToString(96000), QStringLiteral("2"));
    EXPECT_EQ(convert.timeToString(24000 + 6000), QStringLiteral("1.2.25"));
    EXPECT_EQ(convert.timeToString(1200), QStringLiteral("1.1. 5"));
    EXPECT_EQ(convert.timeToString(-24000), QStringLiteral("0.4"));
    EXPECT_EQ(convert.timeToString(-96000), QStringLiteral("0"));
    convert.beatUnit = 8; // an eighth takes half as long
    EXPECT_EQ(convert.timeToString(12000), QStringLiteral("1.2"));
}

TEST(TimeText, BpmInThreeFourNeverShowsAHundredHundredths)
{
    for (const double bpm : {60.0, 90.0, 120.0, 133.7}) {
        Convert convert = withTime(TimeUnit::Bpm);
        convert.beatsPerBar = 3;
        convert.bpm = bpm;
        const double beat = 48000 * 60 / bpm;
        for (int i = 0; i < 30000; ++i) {
            const int bar = i / 3 + 1;
            const QString expected =
                i % 3 ? QStringLiteral("%1.%2").arg(bar).arg(i % 3 + 1) : QString::number(bar);
            ASSERT_EQ(convert.timeToString(i * beat), expected) << i;
        }
    }
}

TEST(TimeText, BpmParsesBackWhatItShows)
{
    for (const int beats : {2, 3, 4, 7})
        for (const int unit : {2, 4, 8}) {
            Convert convert = withTime(TimeUnit::Bpm);
            convert.beatsPerBar = beats;
            convert.beatUnit = unit;
            for (int hundredth = 0; hundredth < 100 * beats * 3; ++hundredth) {
                // 120 bpm at 48 kHz: hundredths of a beat are whole samples in all these meters.
                const int64_t position = int64_t(hundredth) * 240 * 4 / unit;
                ASSERT_EQ(convert.stringToTime(convert.timeToString(double(position))), position)
                    << beats << '/' << unit << ' ' << hundredth;
            }
        }
}

TEST(TimeText, BpmOfHalfATextAndOfNoText)
{
    const Convert convert = withTime(TimeUnit::Bpm);
    EXPECT_EQ(convert.stringToTime(QStringLiteral("1.2.0")), 24000);
    EXPECT_EQ(convert.stringToTime(QStringLiteral("3")), 192000);
    EXPECT_EQ(convert.stringToTime(QStringLiteral("2.3")), 144000);
    EXPECT_EQ(convert.stringToTime(QString()), 0);
    EXPECT_EQ(convert.stringToTime(QStringLiteral("bar")), 0);
}

TEST(TimeText, BpmWithHostileMeterIsEmpty)
{
    const double infinity = std::numeric_limits<double>::infinity();
    for (const double bpm : {0.0, -1.0, infinity, std::nan("")}) {
        Convert convert = withTime(TimeUnit::Bpm);
        convert.bpm = bpm;
        EXPECT_TRUE(convert.timeToString(1000).isEmpty());
        EXPECT_EQ(convert.stringToTime(QStringLiteral("2.2.2")), 0);
        EXPECT_TRUE(convert.timeMarks({0, 0, 1e6, 1}, 800, 50).isEmpty());
    }
    for (const int zero : {0, -4}) {
        Convert convert = withTime(TimeUnit::Bpm);
        convert.beatsPerBar = zero;
        EXPECT_TRUE(convert.timeToString(1000).isEmpty());
        convert.beatsPerBar = 4;
        convert.beatUnit = zero;
        EXPECT_TRUE(convert.timeToString(1000).isEmpty());
        EXPECT_EQ(convert.stringToTime(QStringLiteral("2.2.2")), 0);
    }
}

TEST(TimeText, DecimalIsWholeMillisecondsOfTheDay)
{
    const Convert convert = withTime(TimeUnit::Decimal);
    EXPECT_EQ(convert.timeToString(0), QStringLiteral("00:00:00.000"));
    EXPECT_EQ(convert.timeToString(48000 * 3661.5), QStringLiteral("01:01:01.500"));
    EXPECT_EQ(convert.timeToString(24), QStringLiteral("00:00:00.001")); // half a millisecond goes up
    EXPECT_EQ(convert.timeToString(-48000), QStringLiteral("-00:00:01.000"));
    EXPECT_EQ(convert.timeToString(48000.0 * 86400), QStringLiteral("00:00:00.000"));
    EXPECT_EQ(convert.timeToString(48000.0 * 86401), QStringLiteral("00:00:01.000"));
}

TEST(TimeText, DecimalParsesFromTheRight)
{
    const Convert convert = withTime(TimeUnit::Decimal);
    EXPECT_EQ(convert.stringToTime(QStringLiteral("1.5")), 72000);
    EXPECT_EQ(convert.stringToTime(QStringLiteral("2:00")), 120 * 48000);
    EXPECT_EQ(convert.stringToTime(QStringLiteral("1:02:03.5")), int64_t(3723.5 * 48000));
    EXPECT_EQ(convert.stringToTime(QStringLiteral("-0:01:00")), -60 * 48000);
    EXPECT_EQ(convert.stringToTime(QStringLiteral("x:y:1")), 48000);
    EXPECT_EQ(convert.stringToTime(QStringLiteral("junk")), 0);
}

TEST(TimeText, OtherUnits)
{
    EXPECT_EQ(withTime(TimeUnit::Samples).timeToString(12.5), QStringLiteral("13"));
    EXPECT_EQ(withTime(TimeUnit::Samples).timeToString(-0.2), QStringLiteral("0"));
    EXPECT_EQ(withTime(TimeUnit::Seconds).timeToString(72000), QStringLiteral("1.500"));
    EXPECT_EQ(withTime(TimeUnit::Fps).timeToString(96000), QStringLiteral("50"));
    EXPECT_EQ(withTime(TimeUnit::Pixels).timeToString(25600), QStringLiteral("100"));
    EXPECT_EQ(withTime(TimeUnit::Samples).stringToTime(QStringLiteral("-77")), -77);
    EXPECT_EQ(withTime(TimeUnit::Seconds).stringToTime(QStringLiteral("-0.5")), -24000);
    EXPECT_EQ(withTime(TimeUnit::Fps).stringToTime(QStringLiteral("25")), 48000);
    EXPECT_EQ(withTime(TimeUnit::Pixels).stringToTime(QStringLiteral("3")), 768);
    // Half of a sample goes away from zero.
    EXPECT_EQ(withTime(TimeUnit::Seconds, 1).stringToTime(QStringLiteral("-2.5")), -3);
    EXPECT_EQ(withTime(TimeUnit::Seconds, 1).stringToTime(QStringLiteral("2.5")), 3);
}

TEST(TimeText, RoundTripsWithinItsOwnResolution)
{
    std::mt19937_64 random(5);
    for (const double rate : {360.0, 44100.0, 48000.0, 192000.0}) {
        std::uniform_int_distribution<int64_t> position(0, int64_t(rate * 86000));
        for (int i = 0; i < 500; ++i) {
            const int64_t t = position(random);
            const Convert seconds = withTime(TimeUnit::Seconds, rate);
            const Convert decimal = withTime(TimeUnit::Decimal, rate);
            const double half = rate / 2000 + 0.5;
            EXPECT_EQ(withTime(TimeUnit::Samples, rate).stringToTime(QString::number(t)), t);
            EXPECT_NEAR(double(seconds.stringToTime(seconds.timeToString(double(t)))), double(t), half);
            EXPECT_NEAR(double(decimal.stringToTime(decimal.timeToString(double(t)))), double(t), half);
            EXPECT_NEAR(double(decimal.stringToTime(decimal.timeToString(double(-t)))), double(-t), half);
            // What is shown is shown again after it was parsed.
            const QString text = decimal.timeToString(double(t));
            if (rate >= 1000) {
                EXPECT_EQ(decimal.timeToString(double(decimal.stringToTime(text))), text);
            }
        }
    }
}

TEST(TimeText, HostileNumbersAndTexts)
{
    const double infinity = std::numeric_limits<double>::infinity();
    for (int unit = 0; unit < 6; ++unit) {
        const Convert convert = withTime(TimeUnit(unit));
        for (const double value : {infinity, -infinity, std::nan("")})
            EXPECT_TRUE(convert.timeToString(value).isEmpty()) << unit;
        for (const double value : {1e300, -1e300, 9.3e18, std::numeric_limits<double>::denorm_min()})
            EXPECT_FALSE(convert.timeToString(value).isEmpty()) << unit;
        for (const char* text :
             {"", " ", "nan", "inf", "-", ":", ".", "..", "::", "1e999", "NaN:NaN", "\xff"})
            EXPECT_EQ(convert.stringToTime(QString::fromLatin1(text)), 0) << unit << text;
        const int64_t huge = convert.stringToTime(QStringLiteral("1e300"));
        EXPECT_TRUE(huge == 0 || huge == int64_t(1) << 61) << unit;
    }
}

TEST(FreqText, HertzDropsAWholeDecimal)
{
    const Convert convert = withFreq(FreqUnit::Hertz);
    EXPECT_EQ(convert.freqToString(440), QStringLiteral("440"));
    EXPECT_EQ(convert.freqToString(440.04), QStringLiteral("440"));
    EXPECT_EQ(convert.freqToString(440.26), QStringLiteral("440.3"));
    EXPECT_EQ(convert.freqToString(-0.01), QStringLiteral("0"));
    EXPECT_EQ(convert.freqToString(-12.5), QStringLiteral("-12.5"));
    EXPECT_EQ(withFreq(FreqUnit::Octaves).freqToString(1000), QStringLiteral("1000"));
}

TEST(FreqText, PixelsAreBinsAndNormalizedIsOfNyquist)
{
    const Convert pixels = withFreq(FreqUnit::Pixels); // 4096 points
    EXPECT_EQ(pixels.freqToString(24000), QStringLiteral("2048"));
    EXPECT_EQ(pixels.freqToString(6), QStringLiteral("1"));
    EXPECT_DOUBLE_EQ(pixels.stringToFreq(QStringLiteral("2048")), 24000);
    const Convert normalized = withFreq(FreqUnit::Normalized);
    EXPECT_EQ(normalized.freqToString(12000), QStringLiteral("0.500"));
    EXPECT_EQ(normalized.freqToString(24000), QStringLiteral("1.000"));
    EXPECT_DOUBLE_EQ(normalized.stringToFreq(QStringLiteral("0.25")), 6000);
}

TEST(FreqText, RoundTripsWithinItsOwnResolution)
{
    std::mt19937 random(6);
    std::uniform_real_distribution<double> frequency(16, 24000);
    const Convert hertz = withFreq(FreqUnit::Hertz);
    const Convert pixels = withFreq(FreqUnit::Pixels);
    const Convert normalized = withFreq(FreqUnit::Normalized);
    const Convert notes = withFreq(FreqUnit::Notes);
    for (int i = 0; i < 1000; ++i) {
        const double f = frequency(random);
        EXPECT_NEAR(hertz.stringToFreq(hertz.freqToString(f)), f, 0.05 + 1e-9);
        EXPECT_NEAR(pixels.stringToFreq(pixels.freqToString(f)), f, 48000.0 / 4096 / 2 + 1e-9);
        EXPECT_NEAR(normalized.stringToFreq(normalized.freqToString(f)), f, 24000 * 0.0005 + 0.01);
        EXPECT_NEAR(1200 * std::log2(notes.stringToFreq(notes.freqToString(f)) / f), 0, 51.0);
    }
}

TEST(FreqText, HostileNumbersAndTexts)
{
    const double infinity = std::numeric_limits<double>::infinity();
    for (int unit = 0; unit < 5; ++unit) {
        const Convert convert = withFreq(FreqUnit(unit));
        for (const double value : {infinity, -infinity, std::nan("")})
            EXPECT_TRUE(convert.freqToString(value).isEmpty()) << unit;
        for (const char* text : {"", " ", "nan", "inf", "-", "#", "H4", "A4B", "1e999", "A99999999999"})
            EXPECT_EQ(convert.stringToFreq(QString::fromLatin1(text)), 0) << unit << text;
    }
}

TEST(Notes, TheTuningNote)
{
    const Convert convert = withFreq(FreqUnit::Notes);
    EXPECT_EQ(convert.noteToString(440), QStringLiteral("A 4"));
    EXPECT_DOUBLE_EQ(convert.stringToNote(QStringLiteral("A 4")), 440);
}

TEST(Notes, LowestNoteAndNothingBelow)
{
    const Convert convert = withFreq(FreqUnit::Notes);
    EXPECT_EQ(convert.noteToString(16.35), QStringLiteral("C 0"));
    EXPECT_EQ(convert.noteToString(15.9), QString());
    EXPECT_EQ(convert.noteToString(0), QString());
    EXPECT_EQ(convert.noteToString(-440), QString());
}

TEST(Notes, CentsAboveFiftyRoundUpAndBRollsIntoTheNextOctave)
{
    const Convert convert = withFreq(FreqUnit::Notes);
    const auto cents = [](double value) { return 440 * std::exp2(value / 1200); };
    EXPECT_EQ(convert.noteToString(cents(50.5)), QStringLiteral("A 4")); // floor(cents) is 50
    EXPECT_EQ(convert.noteToString(cents(51.5)), QStringLiteral("A#4"));
    EXPECT_EQ(convert.noteToString(cents(-10)), QStringLiteral("A 4"));
    EXPECT_EQ(convert.noteToString(cents(240)), QStringLiteral("B 4"));
    EXPECT_EQ(convert.noteToString(cents(260)), QStringLiteral("C 5"));
}

TEST(Notes, EveryNoteComesBack)
{
    const Convert convert = withFreq(FreqUnit::Notes);
    const QStringList names = {QStringLiteral("C "), QStringLiteral("C#"), QStringLiteral("D "),
                               QStringLiteral("D#"), QStringLiteral("E "), QStringLiteral("F "),
                               QStringLiteral("F#"), QStringLiteral("G "), QStringLiteral("G#"),
                               QStringLiteral("A "), QStringLiteral("A#"), QStringLiteral("B ")};
    for (int note = 12; note < 150; ++note) {
        const double hz = 440 * std::exp2((note - 69) / 12.0);
        const QString name = names[note % 12] + QString::number(note / 12 - 1);
        EXPECT_EQ(convert.noteToString(hz), name);
        EXPECT_NEAR(convert.stringToNote(name), hz, hz * 1e-12);
        EXPECT_NEAR(convert.stringToNote(name.toLower().remove(QLatin1Char(' '))), hz, hz * 1e-12);
    }
}

TEST(Notes, SignOctaveAndCents)
{
    const Convert convert = withFreq(FreqUnit::Notes);
    EXPECT_NEAR(convert.stringToNote(QStringLiteral("-A4")), -440, 1e-9);
    EXPECT_NEAR(convert.stringToNote(QStringLiteral("A-1")), 13.75, 1e-9);
    EXPECT_NEAR(convert.stringToNote(QStringLiteral("a 4 + 1200")), 880, 1e-9);
    EXPECT_NEAR(convert.stringToNote(QStringLiteral("A+5-1200")), 440, 1e-9);
    EXPECT_NEAR(convert.stringToNote(QStringLiteral("A4-50.5")), 440 * std::exp2(-50.5 / 1200), 1e-9);
}

TEST(PowerText, SilenceInDecibelIsMinusInfinity)
{
    EXPECT_EQ(withPower(PowerUnit::Decibel).powerToString(0), QStringLiteral("-inf"));
    EXPECT_EQ(withPower(PowerUnit::Decibel).powerToString(-0.0), QStringLiteral("-inf"));
}

TEST(PowerText, EachUnit)
{
    const Convert decibel = withPower(PowerUnit::Decibel);
    EXPECT_EQ(decibel.powerToString(1), QStringLiteral("0"));
    EXPECT_EQ(decibel.powerToString(0.99), QStringLiteral("0")); // not "-0"
    EXPECT_EQ(decibel.powerToString(0.5), QStringLiteral("-6"));
    EXPECT_EQ(decibel.powerToString(-10), QStringLiteral("20"));
    EXPECT_EQ(withPower(PowerUnit::Percents).powerToString(0.256), QStringLiteral("26"));
    EXPECT_EQ(withPower(PowerUnit::Normalized).powerToString(-0.256), QStringLiteral("-0.26"));
    EXPECT_TRUE(decibel.powerToString(std::nan("")).isEmpty());
}

} // namespace
