// Names and masks of channel positions.
#pragma once

#include <cstdint>

#include <QList>
#include <QString>

// The (index + 1)-th set bit of `mask` as a bit value, counted from bit 0; 0 when there are fewer.
[[nodiscard]] uint64_t channelBit(uint64_t mask, int index);
// Number of set bits.
[[nodiscard]] int channelCount(uint64_t mask);
// The usual mask for a count: for audio 1 to 12 channels by layout, otherwise the lowest bits.
[[nodiscard]] uint64_t defaultChannelsMask(int32_t channelsType, int channels);
// Every bit that has a name of its own in this type, lowest first.
[[nodiscard]] QList<uint64_t> channelBits(int32_t channelsType);

// "Rear Left", "Lead aVR", "Channel 3": long and short label of the index-th channel of a mask.
[[nodiscard]] QString channelLabel(int32_t channelsType, uint64_t mask, int index);
[[nodiscard]] QString channelShortLabel(int32_t channelsType, uint64_t mask, int index);
