// The named channel layouts that a format dialog offers.
#pragma once

#include <cstdint>
#include <span>

struct ChannelConfiguration
{
    const char* name; // "5.1"; shown as it stands
    uint64_t mask;    // its channel positions
};

// In the order in which they are offered; empty for generic channels, which are only counted.
[[nodiscard]] std::span<const ChannelConfiguration> channelConfigurations(int32_t channelsType);
