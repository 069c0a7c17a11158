#include "model/types/channellabels.h"

#include "model/types/samplingformat.h"

#include <QCoreApplication>

#include <bit>
#include <iterator>

namespace {

struct ChannelName
{
    int bit; // position in the mask
    const char* label;
    const char* shortLabel;
};

constexpr ChannelName audioNames[] = {
    {0, QT_TRANSLATE_NOOP("ChannelMapping", "Left"), "L"},
    {1, QT_TRANSLATE_NOOP("ChannelMapping", "Right"), "R"},
    {2, QT_TRANSLATE_NOOP("ChannelMapping", "Center"), "C"},
    {3, QT_TRANSLATE_NOOP("ChannelMapping", "Low Frequency"), "Lfe"},
    {4, QT_TRANSLATE_NOOP("ChannelMapping", "Rear Left"), "Lsr"},
    {5, QT_TRANSLATE_NOOP("ChannelMapping", "Rear Right"), "Rsr"},
    {6, QT_TRANSLATE_NOOP("ChannelMapping", "Left Of Center"), "Lc"},
    {7, QT_TRANSLATE_NOOP("ChannelMapping", "Right Of Center"), "Rc"},
    {8, QT_TRANSLATE_NOOP("ChannelMapping", "Back Center"), "Cs"},
    {9, QT_TRANSLATE_NOOP("ChannelMapping", "Left Side"), "Ls"},
    {10, QT_TRANSLATE_NOOP("ChannelMapping", "Right Side"), "Rs"},
    {11, QT_TRANSLATE_NOOP("ChannelMapping", "Top Center"), "Ct"},
    {12, QT_TRANSLATE_NOOP("ChannelMapping", "Top Front Left"), "Lts"},
    {13, QT_TRANSLATE_NOOP("ChannelMapping", "Top Front Center"), "Cts"},
    {14, QT_TRANSLATE_NOOP("ChannelMapping", "Top Front Right"), "Rts"},
    {15, QT_TRANSLATE_NOOP("ChannelMapping", "Top Back Left"), "Ltr"},
    {16, QT_TRANSLATE_NOOP("ChannelMapping", "Top Back Center"), "Ctr"},
    {17, QT_TRANSLATE_NOOP("ChannelMapping", "Top Back Right"), "Rtr"},
    {29, QT_TRANSLATE_NOOP("ChannelMapping", "Downmix Left"), "Ld"},
    {30, QT_TRANSLATE_NOOP("ChannelMapping", "Downmix Right"), "Rd"},
    {31, QT_TRANSLATE_NOOP("ChannelMapping", "Left Wide"), "Lw"},
    {32, QT_TRANSLATE_NOOP("ChannelMapping", "Right Wide"), "Rw"},
    {33, QT_TRANSLATE_NOOP("ChannelMapping", "Surround Direct Left"), "Lsd"},
    {34, QT_TRANSLATE_NOOP("ChannelMapping", "Surround Direct Right"), "Rsd"},
    {35, QT_TRANSLATE_NOOP("ChannelMapping", "Low Frequency 2"), "Lfe2"},
};

constexpr ChannelName ecgNames[] = {
    {0, QT_TRANSLATE_NOOP("ChannelMapping", "Lead I"), "I"},
    {1, QT_TRANSLATE_NOOP("ChannelMapping", "Lead II"), "II"},
    {2, QT_TRANSLATE_NOOP("ChannelMapping", "Lead III"), "III"},
    {3, QT_TRANSLATE_NOOP("ChannelMapping", "Lead aVR"), "aVR"},
    {4, QT_TRANSLATE_NOOP("ChannelMapping", "Lead aVL"), "aVL"},
    {5, QT_TRANSLATE_NOOP("ChannelMapping", "Lead aVF"), "aVF"},
    {6, QT_TRANSLATE_NOOP("ChannelMapping", "Lead V1"), "V1"},
    {7, QT_TRANSLATE_NOOP("ChannelMapping", "Lead V2"), "V2"},
    {8, QT_TRANSLATE_NOOP("ChannelMapping", "Lead V3"), "V3"},
    {9, QT_TRANSLATE_NOOP("ChannelMapping", "Lead V4"), "V4"},
    {10, QT_TRANSLATE_NOOP("ChannelMapping", "Lead V5"), "V5"},
    {11, QT_TRANSLATE_NOOP("ChannelMapping", "Lead V6"), "V6"},
    {12, QT_TRANSLATE_NOOP("ChannelMapping", "Lead V7"), "V7"},
    {13, QT_TRANSLATE_NOOP("ChannelMapping", "Lead V8"), "V8"},
    {14, QT_TRANSLATE_NOOP("ChannelMapping", "Lead V9"), "V9"},
    {15, QT_TRANSLATE_NOOP("ChannelMapping", "Lead V3R"), "V3R"},
    {16, QT_TRANSLATE_NOOP("ChannelMapping", "Lead V4R"), "V4R"},
    {17, QT_TRANSLATE_NOOP("ChannelMapping", "Lead E1"), "E1"},
    {18, QT_TRANSLATE_NOOP("ChannelMapping", "Lead E2"), "E2"},
    {19, QT_TRANSLATE_NOOP("ChannelMapping", "Lead E3"), "E3"},
};

constexpr ChannelName unknownAudio = {-1, QT_TRANSLATE_NOOP("ChannelMapping", "Unknown"), "Unknown"};
constexpr ChannelName unknownEcg = {-1, QT_TRANSLATE_NOOP("ChannelMapping", "Lead "), "Lead "};

// Usual audio layouts by channel count, from 1 channel on.
constexpr uint64_t audioMasks[] = {4, 3, 7, 51, 1543, 1551, 1591, 1599, 22071, 22079, 185911, 185919};

constexpr int maskBits = 64;

// Position of the (index + 1)-th set bit; -1 when there are fewer.
int bitPosition(uint64_t mask, int index)
{
    if (index < 0)
        return -1;
    for (; index > 0 && mask; --index)
        mask &= mask - 1;
    return mask ? std::countr_zero(mask) : -1;
}

template<std::size_t count>
const ChannelName& findName(const ChannelName (&names)[count], int bit, const ChannelName& otherwise)
{
    for (const ChannelName& name : names)
        if (name.bit == bit)
            return name;
    return otherwise;
}

// Null for generic channels, which are numbered.
const ChannelName* namedChannel(int32_t channelsType, int bit)
{
    if (channelsType == ChannelsTypeAudio)
        return &findName(audioNames, bit, unknownAudio);
    if (channelsType == ChannelsTypeEcg)
        return &findName(ecgNames, bit, unknownEcg);
    return nullptr;
}

QString numbered(const QString& pattern, int bit)
{
    return pattern.arg(bit < 0 ? QStringLiteral("-") : QString::number(bit));
}

} // namespace

uint64_t channelBit(uint64_t mask, int index)
{
    const int bit = bitPosition(mask, index);
    return bit < 0 ? 0 : uint64_t(1) << bit;
}

int channelCount(uint64_t mask)
{
    return std::popcount(mask);
}

uint64_t defaultChannelsMask(int32_t channelsType, int channels)
{
    if (channels < 1)
        return 0;
    if (channelsType == ChannelsTypeAudio && channels <= int(std::size(audioMasks)))
        return audioMasks[channels - 1];
    return channels >= maskBits ? ~uint64_t(0) : (uint64_t(1) << channels) - 1;
}

QList<uint64_t> channelBits(int32_t channelsType)
{
    QList<uint64_t> bits;
    if (channelsType == ChannelsTypeAudio)
        for (const ChannelName& name : audioNames)
            bits << (uint64_t(1) << name.bit);
    else if (channelsType == ChannelsTypeEcg)
        for (const ChannelName& name : ecgNames)
            bits << (uint64_t(1) << name.bit);
    else
        for (int bit = 0; bit < maskBits; ++bit)
            bits << (uint64_t(1) << bit);
    return bits;
}

QString channelLabel(int32_t channelsType, uint64_t mask, int index)
{
    const int bit = bitPosition(mask, index);
    if (const ChannelName* name = namedChannel(channelsType, bit))
        return QCoreApplication::translate("ChannelMapping", name->label);
    return numbered(QCoreApplication::translate("ChannelMapping", "Channel %1"), bit);
}

QString channelShortLabel(int32_t channelsType, uint64_t mask, int index)
{
    const int bit = bitPosition(mask, index);
    if (const ChannelName* name = namedChannel(channelsType, bit))
        return QLatin1String(name->shortLabel);
    return numbered(QStringLiteral("C%1"), bit);
}
