#include "convert.h"

#include <algorithm>
#include <cmath>
#include <cstring>

extern "C" {
#include <libavutil/samplefmt.h>
}

namespace {

struct FromU8
{
    using Stored = uint8_t;
    float operator()(uint8_t v) const { return float(int(v) - 128) * (1.0f / 128); }
};
struct FromS16
{
    using Stored = int16_t;
    float operator()(int16_t v) const { return float(v) * (1.0f / 32768); }
};
// One rounding to float, then an exact power of two: the same as dividing in double first.
struct FromS32
{
    using Stored = int32_t;
    float operator()(int32_t v) const { return float(v) * (1.0f / 2147483648.0f); }
};
struct FromS64
{
    using Stored = int64_t;
    float operator()(int64_t v) const { return float(v) * (1.0f / 9223372036854775808.0f); }
};
struct FromDouble
{
    using Stored = double;
    float operator()(double v) const { return float(v); }
};
// Moved as bits, so that not even a signalling NaN changes.
struct FromFloat
{
    using Stored = uint32_t;
};

template<class From>
void convertStrided(float* out, int64_t stride, const void* source, int64_t count)
{
    using Stored = typename From::Stored;
    const auto* in = static_cast<const Stored*>(source);
    if constexpr (std::is_same_v<From, FromFloat>) {
        if (stride == 1) {
            std::memcpy(out, in, std::size_t(count) * sizeof(float));
            return;
        }
        for (int64_t i = 0; i < count; ++i)
            std::memcpy(out + i * stride, in + i, sizeof(float));
    } else if (stride == 1) {
        for (int64_t i = 0; i < count; ++i)
            out[i] = From()(in[i]);
    } else {
        for (int64_t i = 0; i < count; ++i)
            out[i * stride] = From()(in[i]);
    }
}

// Two planes are by far the most usual: one pass that writes whole pairs.
template<class From>
void convertPair(float* out, const void* left, const void* right, int64_t frames)
{
    using Stored = typename From::Stored;
    const auto* l = static_cast<const Stored*>(left);
    const auto* r = static_cast<const Stored*>(right);
    for (int64_t i = 0; i < frames; ++i) {
        if constexpr (std::is_same_v<From, FromFloat>) {
            std::memcpy(out + 2 * i, l + i, sizeof(float));
            std::memcpy(out + 2 * i + 1, r + i, sizeof(float));
        } else {
            out[2 * i] = From()(l[i]);
            out[2 * i + 1] = From()(r[i]);
        }
    }
}

template<class From>
void convertAll(float* out, const uint8_t* const* planes, bool planar, int channels, int64_t frames)
{
    if (!planar || channels == 1) {
        convertStrided<From>(out, 1, planes[0], frames * channels);
    } else if (channels == 2) {
        convertPair<From>(out, planes[0], planes[1], frames);
    } else {
        for (int c = 0; c < channels; ++c)
            convertStrided<From>(out + c, channels, planes[c], frames);
    }
}

template<class Stored>
void quantise(Stored* out, const float* in, double scale, int64_t count)
{
    for (int64_t i = 0; i < count; ++i) {
        const double v = in[i] == in[i] ? double(in[i]) * scale : 0.0;
        out[i] = Stored(std::lrint(std::clamp(v, -scale, scale - 1)));
    }
}

} // namespace

bool convert::toFloat(float* out, const uint8_t* const* planes, bool planar, int packedFormat, int channels,
                      int64_t frames)
{
    switch (packedFormat) {
    case AV_SAMPLE_FMT_U8:
        convertAll<FromU8>(out, planes, planar, channels, frames);
        return true;
    case AV_SAMPLE_FMT_S16:
        convertAll<FromS16>(out, planes, planar, channels, frames);
        return true;
    case AV_SAMPLE_FMT_S32:
        convertAll<FromS32>(out, planes, planar, channels, frames);
        return true;
    case AV_SAMPLE_FMT_S64:
        convertAll<FromS64>(out, planes, planar, channels, frames);
        return true;
    case AV_SAMPLE_FMT_FLT:
        convertAll<FromFloat>(out, planes, planar, channels, frames);
        return true;
    case AV_SAMPLE_FMT_DBL:
        convertAll<FromDouble>(out, planes, planar, channels, frames);
        return true;
    default:
        return false;
    }
}

void convert::toInt16(int16_t* out, const float* in, int64_t count)
{
    quantise(out, in, 32768.0, count);
}

void convert::toInt32(int32_t* out, const float* in, int bits, int64_t count)
{
    quantise(out, in, std::ldexp(1.0, bits - 1), count);
}
