#include "model/types/samplingformat.h"
#include "model/types/transformsettings.h"

#include <gtest/gtest.h>

#include <QDebug>
#include <QString>

#include <cmath>
#include <limits>

namespace {

QString printed(const SamplingFormat& format)
{
    QString text;
    QDebug(&text) << format;
    return text.trimmed();
}

TEST(SamplingFormat, DefaultIsUnsetReal)
{
    const SamplingFormat format;
    EXPECT_EQ(format.sampleType, 1);
    EXPECT_EQ(format.sampleRate, 0);
    EXPECT_EQ(format.channelsType, 0);
    EXPECT_EQ(format.channels, 0);
    EXPECT_EQ(format.channelsMask, 0u);
}

TEST(SamplingFormat, EachFieldCountsInEquality)
{
    const SamplingFormat format{SampleTypeReal, 48000, ChannelsTypeAudio, 2, 3};
    SamplingFormat other = format;
    EXPECT_EQ(other, format);
    other.sampleType = SampleTypeComplex;
    EXPECT_NE(other, format);
    other = format;
    other.sampleRate = std::nextafter(48000.0, 1e9);
    EXPECT_NE(other, format);
    other = format;
    other.channelsType = ChannelsTypeEcg;
    EXPECT_NE(other, format);
    other = format;
    other.channels = 3;
    EXPECT_NE(other, format);
    other = format;
    other.channelsMask = 5;
    EXPECT_NE(other, format);
}

TEST(SamplingFormat, PrintsItself)
{
    EXPECT_EQ(printed({SampleTypeReal, 48000, ChannelsTypeAudio, 2, 3}),
              QStringLiteral("SamplingFormat(Real, 48000Hz, Audio, 2 channel(s), mapping: 11)"));
    EXPECT_EQ(printed({SampleTypeComplex, 2.4e6, 7, 1, 4}),
              QStringLiteral("SamplingFormat(Complex, 2400000Hz, Generic, 1 channel(s), mapping: 100)"));
    EXPECT_EQ(printed({SampleTypeReal, 360.5, ChannelsTypeEcg, 0, 0}),
              QStringLiteral("SamplingFormat(Real, 360.5Hz, ECG, 0 channel(s), mapping: 0)"));
}

TEST(SamplingFormat, PrintingLeavesTheStreamAsItWas)
{
    QString text;
    QDebug(&text) << SamplingFormat() << 1 << 2;
    EXPECT_TRUE(text.contains(QStringLiteral(") 1 2"))) << text.toStdString();
}

TEST(SamplingFormat, TypeWordsWithTheirDefaults)
{
    EXPECT_EQ(sampleTypeFromString(QStringLiteral("complex")), 2);
    EXPECT_EQ(sampleTypeFromString(QStringLiteral("real")), 1);
    EXPECT_EQ(sampleTypeFromString(QStringLiteral("imaginary")), 1);
    EXPECT_EQ(sampleTypeFromString(QString()), 1);
    EXPECT_EQ(channelsTypeFromString(QStringLiteral("audio")), 0);
    EXPECT_EQ(channelsTypeFromString(QStringLiteral("ecg")), 1);
    EXPECT_EQ(channelsTypeFromString(QStringLiteral("radio")), 2);
    EXPECT_EQ(channelsTypeFromString(QString()), 2);
}

TEST(SanitizeFormat, RefusesWhatNothingMayBeDividedBy)
{
    const SamplingFormat good{SampleTypeReal, 48000, ChannelsTypeAudio, 2, 3};
    const double infinity = std::numeric_limits<double>::infinity();
    for (const double rate : {0.0, -1.0, 1.1e13, infinity, -infinity, std::nan("")}) {
        SamplingFormat format = good;
        format.sampleRate = rate;
        EXPECT_FALSE(sanitizeFormat(format)) << rate;
    }
    for (const int32_t type : {0, 3, -1, std::numeric_limits<int32_t>::max()}) {
        SamplingFormat format = good;
        format.sampleType = type;
        EXPECT_FALSE(sanitizeFormat(format)) << type;
    }
    for (const int32_t channels : {0, -1, 65, std::numeric_limits<int32_t>::min()}) {
        SamplingFormat format = good;
        format.channels = channels;
        const SamplingFormat before = format;
        EXPECT_FALSE(sanitizeFormat(format)) << channels;
        EXPECT_EQ(format, before);
    }
}

TEST(SanitizeFormat, RepairsOnlyAMaskOfTheWrongCount)
{
    SamplingFormat kept{SampleTypeReal, 1e13, ChannelsTypeAudio, 2, 0x30};
    EXPECT_TRUE(sanitizeFormat(kept));
    EXPECT_EQ(kept.channelsMask, 0x30u);

    SamplingFormat repaired{SampleTypeReal, 44100, ChannelsTypeAudio, 6, 3};
    EXPECT_TRUE(sanitizeFormat(repaired));
    EXPECT_EQ(repaired.channelsMask, 1551u);

    SamplingFormat most{SampleTypeComplex, 1e-9, 99, 64, 0};
    EXPECT_TRUE(sanitizeFormat(most));
    EXPECT_EQ(most.channelsMask, ~uint64_t(0));
}

TEST(TransformSettings, UnknownWindowNameIsRectangle)
{
    EXPECT_EQ(windowTypeFromString(QStringLiteral("gauss")), WindowType::Rectangle);
    EXPECT_EQ(windowTypeFromString(QString()), WindowType::Rectangle);
    EXPECT_EQ(int(WindowType::Rectangle), 6);
    EXPECT_EQ(windowTypeToString(WindowType(7)), QStringLiteral("Rectangle"));
    EXPECT_EQ(windowTypeToString(WindowType(-1)), QStringLiteral("Rectangle"));
}

TEST(TransformSettings, WindowNamesInAnyCaseAndBack)
{
    const QStringList names = {QStringLiteral("Kaiser-15"), QStringLiteral("Blackman-Harris"),
                               QStringLiteral("Blackman"),  QStringLiteral("Hann"),
                               QStringLiteral("Hamming"),   QStringLiteral("Bartlett"),
                               QStringLiteral("Rectangle")};
    ASSERT_EQ(names.size(), windowTypeCount);
    for (int i = 0; i < windowTypeCount; ++i) {
        EXPECT_EQ(windowTypeToString(WindowType(i)), names[i]);
        for (const QString& word : {names[i], names[i].toLower(), names[i].toUpper()})
            EXPECT_EQ(int(windowTypeFromString(word)), i) << word.toStdString();
    }
}

TEST(TransformSettings, DefaultsAndDerivedSizes)
{
    const TransformSettings unset;
    EXPECT_EQ(unset.sampleType, 1);
    EXPECT_EQ(int(unset.windowType), 6);
    EXPECT_EQ(unset.frameSize, 0);
    EXPECT_FALSE(unset.isValid());
    EXPECT_EQ(unset.hop(), 0);
    EXPECT_EQ(unset.bins(), 0);

    const TransformSettings real(1, WindowType::BlackmanHarris, 2048, 8, 2);
    EXPECT_EQ(real.hop(), 256);
    EXPECT_EQ(real.dftLength(), 4096);
    EXPECT_EQ(real.bins(), 2049);
    const TransformSettings complex(2, WindowType::Hann, 2048, 8, 2);
    EXPECT_EQ(complex.bins(), 4096);
    EXPECT_FALSE(sameSettings(real, complex));
    EXPECT_TRUE(sameSettings(real, TransformSettings(real)));
}

TEST(TransformSettings, HostileSizesHaveNoDerivedSizes)
{
    const int32_t huge = std::numeric_limits<int32_t>::max();
    for (const TransformSettings& settings : {TransformSettings(1, WindowType::Hann, huge, 1, huge),
                                              TransformSettings(1, WindowType::Hann, -4, 2, -4),
                                              TransformSettings(2, WindowType::Hann, 2048, 0, 2),
                                              TransformSettings(2, WindowType::Hann, 2048, 8, 0)}) {
        EXPECT_FALSE(settings.isValid());
        EXPECT_EQ(settings.hop(), 0);
        EXPECT_EQ(settings.dftLength(), 0);
        EXPECT_EQ(settings.bins(), 0);
    }
}

} // namespace
