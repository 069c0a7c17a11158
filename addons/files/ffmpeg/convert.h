// Samples of every kind that the decoders give, to interleaved floats and back.
#pragma once

#include <cstdint>

namespace convert {

// Appends nothing, returns nothing: writes frames * channels floats to `out`. Integers are exact
// where a float can hold them: u8 as (v - 128) / 128, s16 as v / 32768, s32 as v / 2147483648
// (so 24-bit samples in the upper bytes are v / 8388608), rounded once. Floats stay bit by bit.
// `planes` has one pointer for each channel when `planar`, otherwise one in all. `format` is the
// number of the packed sample format of FFmpeg. False for a format that is none of these.
bool toFloat(float* out, const uint8_t* const* planes, bool planar, int packedFormat, int channels,
             int64_t frames);

// Full scale 1.0 to signed integers of `bits` (16, 24 or 32), rounded to nearest and limited; what is
// no number gives 0. The 24-bit form fills the lower three bytes of each 32-bit value.
void toInt16(int16_t* out, const float* in, int64_t count);
void toInt32(int32_t* out, const float* in, int bits, int64_t count);

} // namespace convert
