#include "model/samplecopy.h"

#include "spectral/primitives/vectors.h"

#include <cstring>

namespace samplecopy {
namespace {

struct Set
{
    void operator()(float& out, float in) const { out = in; }
};
struct Add
{
    void operator()(float& out, float in) const { out += in; }
};
struct SetScaled
{
    float gain;
    void operator()(float& out, float in) const { out = in * gain; }
};
struct AddScaled
{
    float gain;
    void operator()(float& out, float in) const { out += in * gain; }
};

// One loop for both directions. With the strides known to the compiler (0 stands for any other) the
// usual channel counts become vector shuffles; `__restrict` because the mapping and a caller's buffer
// never overlap.
template<int OutStride, int InStride, int Width, class Op>
void walk(float* __restrict out, const float* __restrict in, int64_t frames, int64_t outStride,
          int64_t inStride, Op op)
{
    const int64_t o = OutStride ? OutStride : outStride;
    const int64_t i = InStride ? InStride : inStride;
    for (int64_t frame = 0; frame < frames; ++frame)
        for (int part = 0; part < Width; ++part)
            op(out[frame * o + part], in[frame * i + part]);
}

template<int Width, class Op>
void gatherAs(float* out, const float* in, int64_t frames, int64_t stride, Op op)
{
    switch (stride / Width) {
    case 1:
        return walk<Width, Width, Width>(out, in, frames, 0, 0, op);
    case 2:
        return walk<Width, 2 * Width, Width>(out, in, frames, 0, 0, op);
    case 4:
        return walk<Width, 4 * Width, Width>(out, in, frames, 0, 0, op);
    case 6:
        return walk<Width, 6 * Width, Width>(out, in, frames, 0, 0, op);
    case 8:
        return walk<Width, 8 * Width, Width>(out, in, frames, 0, 0, op);
    default:
        return walk<Width, 0, Width>(out, in, frames, 0, stride, op);
    }
}

template<class Op>
void gatherWith(float* out, const float* in, int64_t frames, int32_t width, int64_t stride, Op op)
{
    if (width == 1)
        gatherAs<1>(out, in, frames, stride, op);
    else
        gatherAs<2>(out, in, frames, stride, op);
}

template<class Op>
void scatterWith(float* out, const float* in, int64_t frames, int32_t width, int64_t stride, Op op)
{
    if (width == 1)
        walk<0, 1, 1>(out, in, frames, stride, 0, op);
    else
        walk<0, 2, 2>(out, in, frames, stride, 0, op);
}

} // namespace

void plain(float* out, const float* in, int64_t count, Mode mode, float gain)
{
    if (mode == Mode::Set && gain == 1.0f)
        std::memcpy(out, in, std::size_t(count) * sizeof(float));
    else if (mode == Mode::Set)
        vec::multiplyConstant(out, in, gain, count);
    else if (gain == 1.0f)
        vec::add(out, out, in, count);
    else
        vec::multiplyAdd(out, in, gain, count);
}

void gather(float* out, const float* in, int64_t frames, int32_t width, int64_t stride, Mode mode, float gain)
{
    if (stride == width)
        plain(out, in, frames * width, mode, gain);
    else if (mode == Mode::Set && gain == 1.0f)
        gatherWith(out, in, frames, width, stride, Set{});
    else if (mode == Mode::Set)
        gatherWith(out, in, frames, width, stride, SetScaled{gain});
    else if (gain == 1.0f)
        gatherWith(out, in, frames, width, stride, Add{});
    else
        gatherWith(out, in, frames, width, stride, AddScaled{gain});
}

void scatter(float* out, const float* in, int64_t frames, int32_t width, int64_t stride, Mode mode)
{
    if (stride == width)
        plain(out, in, frames * width, mode, 1.0f);
    else if (mode == Mode::Set)
        scatterWith(out, in, frames, width, stride, Set{});
    else
        scatterWith(out, in, frames, width, stride, Add{});
}

} // namespace samplecopy
