// Which channels of a project sound, and which take part in edits.
#pragma once

#include <QBitArray>

// Three bits for each channel of the project.
struct ChannelsMode
{
    QBitArray enabled;  // 0: the channel is muted
    QBitArray solo;     // when any bit is set, only solo channels sound
    QBitArray selected; // 1: the channel takes part in edits

    ChannelsMode() = default;
    explicit ChannelsMode(int channels) : enabled(channels, true), solo(channels), selected(channels, true) {}

    friend bool operator==(const ChannelsMode& a, const ChannelsMode& b)
    {
        return a.enabled == b.enabled && a.solo == b.solo && a.selected == b.selected;
    }
};
