// How far the program's formats reach.
#pragma once

// The properties `maxsamplerate` and `maxchannels`, made sensible: a rate from 1 to 1e13 Hz and 1 to
// 64 channels. GUI thread.
struct FormatLimits
{
    double sampleRate = 192000;
    int channels = 8;

    [[nodiscard]] static FormatLimits current();
};
