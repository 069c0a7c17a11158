#include "model/types/samplingformat.h"

#include "model/types/channellabels.h"

#include <QDebug>
#include <QString>

QDebug operator<<(QDebug debug, const SamplingFormat& format)
{
    const QDebugStateSaver saver(debug);
    const char* type = format.isComplex() ? "Complex" : "Real";
    const char* channels = format.channelsType == ChannelsTypeAudio ? "Audio"
                           : format.channelsType == ChannelsTypeEcg ? "ECG"
                                                                    : "Generic";
    // Radio rates stay readable: 2400000, not 2.4e+06.
    const QByteArray rate = QByteArray::number(format.sampleRate, 'f', QLocale::FloatingPointShortest);
    const QByteArray mask = QByteArray::number(qulonglong(format.channelsMask), 2);
    debug.nospace() << "SamplingFormat(" << type << ", " << rate.constData() << "Hz, " << channels << ", "
                    << format.channels << " channel(s), mapping: " << mask.constData() << ")";
    return debug;
}

int32_t sampleTypeFromString(const QString& text)
{
    return text.toLower() == QLatin1String("complex") ? SampleTypeComplex : SampleTypeReal;
}

int32_t channelsTypeFromString(const QString& text)
{
    const QString word = text.toLower();
    if (word == QLatin1String("audio"))
        return ChannelsTypeAudio;
    return word == QLatin1String("ecg") ? ChannelsTypeEcg : ChannelsTypeGeneric;
}

bool sanitizeFormat(SamplingFormat& format)
{
    constexpr double highestRate = 1e13;
    constexpr int32_t mostChannels = 64;
    const bool typeKnown = format.sampleType == SampleTypeReal || format.sampleType == SampleTypeComplex;
    // Written so that a NaN fails.
    const bool rateUsable = format.sampleRate > 0 && format.sampleRate <= highestRate;
    if (!typeKnown || !rateUsable || format.channels < 1 || format.channels > mostChannels)
        return false;
    if (channelCount(format.channelsMask) != format.channels)
        format.channelsMask = defaultChannelsMask(format.channelsType, format.channels);
    return true;
}
