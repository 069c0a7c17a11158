#include "model/types/channellabels.h"
#include "model/types/samplingformat.h"

#include <gtest/gtest.h>

#include <QSet>

namespace {

QString label(int32_t type, uint64_t mask, int index = 0)
{
    return channelLabel(type, mask, index) + QLatin1Char('|') + channelShortLabel(type, mask, index);
}

TEST(ChannelLabels, WalksTheSetBitsOfTheMask)
{
    EXPECT_EQ(channelBit(0b1011000, 0), 8u);
    EXPECT_EQ(channelBit(0b1011000, 1), 16u);
    EXPECT_EQ(channelBit(0b1011000, 2), 64u);
    EXPECT_EQ(channelBit(0b1011000, 3), 0u);
    EXPECT_EQ(channelBit(0b1011000, -1), 0u);
    EXPECT_EQ(channelBit(~uint64_t(0), 63), uint64_t(1) << 63);
    EXPECT_EQ(channelBit(~uint64_t(0), 64), 0u);
    EXPECT_EQ(channelBit(0, 0), 0u);
}

TEST(ChannelLabels, AudioAndEcgNames)
{
    EXPECT_EQ(label(ChannelsTypeAudio, 3, 1), QStringLiteral("Right|R"));
    EXPECT_EQ(label(ChannelsTypeAudio, 51, 2), QStringLiteral("Rear Left|Lsr"));
    EXPECT_EQ(label(ChannelsTypeAudio, uint64_t(1) << 35), QStringLiteral("Low Frequency 2|Lfe2"));
    EXPECT_EQ(label(ChannelsTypeAudio, uint64_t(1) << 18), QStringLiteral("Unknown|Unknown"));
    EXPECT_EQ(label(ChannelsTypeAudio, 3, 2), QStringLiteral("Unknown|Unknown"));
    EXPECT_EQ(label(ChannelsTypeEcg, 8), QStringLiteral("Lead aVR|aVR"));
    EXPECT_EQ(label(ChannelsTypeEcg, uint64_t(1) << 19), QStringLiteral("Lead E3|E3"));
    EXPECT_EQ(channelLabel(ChannelsTypeEcg, uint64_t(1) << 29, 0), QStringLiteral("Lead "));
}

TEST(ChannelLabels, GenericChannelsAreNumberedByTheirBit)
{
    EXPECT_EQ(label(ChannelsTypeGeneric, 1), QStringLiteral("Channel 0|C0"));
    EXPECT_EQ(label(-7, 0b1010, 1), QStringLiteral("Channel 3|C3"));
    EXPECT_EQ(label(ChannelsTypeGeneric, 0), QStringLiteral("Channel -|C-"));
    EXPECT_EQ(label(ChannelsTypeGeneric, uint64_t(1) << 63), QStringLiteral("Channel 63|C63"));
}

TEST(ChannelLabels, EveryNamedBitHasNamesOfItsOwn)
{
    const int counts[] = {25, 20, 64};
    for (const int32_t type : {ChannelsTypeAudio, ChannelsTypeEcg, ChannelsTypeGeneric}) {
        const QList<uint64_t> bits = channelBits(type);
        EXPECT_EQ(bits.size(), counts[type]);
        QSet<QString> seen;
        for (int i = 0; i < bits.size(); ++i) {
            EXPECT_EQ(channelCount(bits[i]), 1);
            if (i > 0) {
                EXPECT_GT(bits[i], bits[i - 1]);
            }
            seen << channelLabel(type, bits[i], 0) << channelShortLabel(type, bits[i], 0);
        }
        EXPECT_EQ(seen.size(), 2 * bits.size());
    }
}

TEST(ChannelLabels, DefaultMasks)
{
    const uint64_t audio[] = {4, 3, 7, 51, 1543, 1551, 1591, 1599, 22071, 22079, 185911, 185919, 8191};
    for (int n = 1; n <= 13; ++n)
        EXPECT_EQ(defaultChannelsMask(ChannelsTypeAudio, n), audio[n - 1]) << n;
    EXPECT_EQ(defaultChannelsMask(ChannelsTypeEcg, 1), 1u);
    EXPECT_EQ(defaultChannelsMask(ChannelsTypeEcg, 12), 4095u);
    EXPECT_EQ(defaultChannelsMask(ChannelsTypeGeneric, 64), ~uint64_t(0));
    EXPECT_EQ(defaultChannelsMask(ChannelsTypeGeneric, 0), 0u);
    EXPECT_EQ(defaultChannelsMask(ChannelsTypeAudio, -3), 0u);
    EXPECT_EQ(defaultChannelsMask(ChannelsTypeAudio, 1000), ~uint64_t(0));
}

TEST(ChannelLabels, DefaultMaskHasAsManyBitsAsChannels)
{
    for (const int32_t type : {ChannelsTypeAudio, ChannelsTypeEcg, ChannelsTypeGeneric})
        for (int n = 1; n <= 64; ++n)
            EXPECT_EQ(channelCount(defaultChannelsMask(type, n)), n) << type << ' ' << n;
}

} // namespace
