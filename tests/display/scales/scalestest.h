// What the tests of scales share.
#pragma once

#include "display/scales/convert.h"

inline constexpr FreqScale allScales[] = {FreqScale::Linear, FreqScale::Mel, FreqScale::Bark, FreqScale::Erb,
                                          FreqScale::MidiLogarithmic};

inline SamplingFormat realFormat(double rate = 48000)
{
    return {SampleTypeReal, rate, ChannelsTypeAudio, 1, 4};
}

inline SamplingFormat complexFormat(double rate = 48000)
{
    return {SampleTypeComplex, rate, ChannelsTypeGeneric, 1, 1};
}

inline TransformSettings realSettings(int size = 2048, int overlap = 8, int padding = 2)
{
    return {SampleTypeReal, WindowType::BlackmanHarris, size, overlap, padding};
}

inline TransformSettings complexSettings(int size = 2048, int overlap = 8, int padding = 2)
{
    return {SampleTypeComplex, WindowType::BlackmanHarris, size, overlap, padding};
}

inline Convert scaleConvert(FreqScale scale, double rate = 48000)
{
    Convert convert(realFormat(rate), realSettings());
    convert.freqScale = scale;
    return convert;
}
