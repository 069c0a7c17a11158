// What a signal is: sample type, rate, channels.
#pragma once

#include <cstdint>

class QDebug;
class QString;

// Values of SamplingFormat::sampleType; the number is also the count of 32-bit floats that one
// sample point takes in one channel.
enum SampleType : int32_t { SampleTypeReal = 1, SampleTypeComplex = 2 };

// Values of SamplingFormat::channelsType. Every other value counts as generic.
enum ChannelsType : int32_t { ChannelsTypeAudio = 0, ChannelsTypeEcg = 1, ChannelsTypeGeneric = 2 };

struct SamplingFormat
{
    int32_t sampleType = SampleTypeReal;
    double sampleRate = 0; // Hz
    int32_t channelsType = ChannelsTypeAudio;
    int32_t channels = 0; // 0 while the format is unset
    // Which channel positions are present: the i-th channel is the i-th set bit counted from bit 0.
    uint64_t channelsMask = 0;

    // Bytes of one sample point of all channels.
    [[nodiscard]] int64_t frameBytes() const { return int64_t(channels) * sampleType * 4; }
    [[nodiscard]] bool isComplex() const { return sampleType == SampleTypeComplex; }

    // Equal only when all five fields are.
    friend bool operator==(const SamplingFormat&, const SamplingFormat&) = default;
};

// "SamplingFormat(Real, 48000Hz, Audio, 2 channel(s), mapping: 11)".
QDebug operator<<(QDebug debug, const SamplingFormat& format);

// "complex" gives 2, anything else 1.
[[nodiscard]] int32_t sampleTypeFromString(const QString& text);
// "audio" gives 0, "ecg" 1, anything else generic.
[[nodiscard]] int32_t channelsTypeFromString(const QString& text);

// The one judgement of formats that come from files, sockets and plug-ins: sample type 1 or 2, a
// finite rate above 0 and up to 1e13 Hz, 1 to 64 channels. A mask whose count of bits is not the
// channel count is replaced by the default mask. False leaves `format` as it was.
[[nodiscard]] bool sanitizeFormat(SamplingFormat& format);
