#include "spectral/primitives/vectors.h"

#include <algorithm>
#include <cstring>
#include <limits>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "spectral/primitives/vectors.cpp"
#include <hwy/foreach_target.h>
// After foreach_target.h, which compiles this file once for each target.
#include "spectral/primitives/complexload-inl.h"
#include "spectral/primitives/vectordispatch.h"

HWY_BEFORE_NAMESPACE();
namespace vec {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;
using Tag = hn::ScalableTag<float>;
using TagOne = hn::CappedTag<float, 1>; // the rest of a vector, element by element

// Operations on one vector, or on the two sources, for any tag.
struct Add
{
    template<class D, class V>
    HWY_ATTR V operator()(D, V a, V b) const
    {
        return hn::Add(a, b);
    }
};
struct Subtract
{
    template<class D, class V>
    HWY_ATTR V operator()(D, V a, V b) const
    {
        return hn::Sub(a, b);
    }
};
struct Multiply
{
    template<class D, class V>
    HWY_ATTR V operator()(D, V a, V b) const
    {
        return hn::Mul(a, b);
    }
};
struct Divide
{
    template<class D, class V>
    HWY_ATTR V operator()(D, V a, V b) const
    {
        return hn::Div(a, b);
    }
};
// b is what the destination holds.
struct MultiplyAdd
{
    float constant;
    template<class D, class V>
    HWY_ATTR V operator()(D d, V a, V b) const
    {
        return hn::MulAdd(a, hn::Set(d, constant), b);
    }
};
struct AddConstant
{
    float constant;
    template<class D, class V>
    HWY_ATTR V operator()(D d, V a) const
    {
        return hn::Add(a, hn::Set(d, constant));
    }
};
struct MultiplyConstant
{
    float constant;
    template<class D, class V>
    HWY_ATTR V operator()(D d, V a) const
    {
        return hn::Mul(a, hn::Set(d, constant));
    }
};
struct Power
{
    template<class D, class V>
    HWY_ATTR V operator()(D, V re, V im) const
    {
        return hn::MulAdd(im, im, hn::Mul(re, re));
    }
};
struct Magnitude
{
    template<class D, class V>
    HWY_ATTR V operator()(D d, V re, V im) const
    {
        return hn::Sqrt(Power()(d, re, im));
    }
};

template<class Op>
HWY_ATTR void map1(Op op, float* out, const float* a, int64_t count)
{
    const Tag d;
    const TagOne one;
    const int64_t lanes = int64_t(hn::Lanes(d));
    int64_t i = 0;
    for (; i + lanes <= count; i += lanes)
        hn::StoreU(op(d, hn::LoadU(d, a + i)), d, out + i);
    for (; i < count; ++i)
        hn::StoreU(op(one, hn::LoadU(one, a + i)), one, out + i);
}

template<class Op>
HWY_ATTR void map2(Op op, float* out, const float* a, const float* b, int64_t count)
{
    const Tag d;
    const TagOne one;
    const int64_t lanes = int64_t(hn::Lanes(d));
    int64_t i = 0;
    for (; i + lanes <= count; i += lanes)
        hn::StoreU(op(d, hn::LoadU(d, a + i), hn::LoadU(d, b + i)), d, out + i);
    for (; i < count; ++i)
        hn::StoreU(op(one, hn::LoadU(one, a + i), hn::LoadU(one, b + i)), one, out + i);
}

// Pairs of interleaved floats to one float each.
template<class Op>
HWY_ATTR void mapComplex(Op op, float* out, const float* pairs, int64_t count)
{
    const Tag d;
    const TagOne one;
    const int64_t lanes = int64_t(hn::Lanes(d));
    int64_t i = 0;
    for (; i + lanes <= count; i += lanes) {
        hn::Vec<Tag> re, im;
        loadPairs(d, pairs + 2 * i, re, im);
        hn::StoreU(op(d, re, im), d, out + i);
    }
    for (; i < count; ++i)
        hn::StoreU(op(one, hn::LoadU(one, pairs + 2 * i), hn::LoadU(one, pairs + 2 * i + 1)), one, out + i);
}

void add(float* out, const float* a, const float* b, int64_t count)
{
    map2(Add(), out, a, b, count);
}
void subtract(float* out, const float* a, const float* b, int64_t count)
{
    map2(Subtract(), out, a, b, count);
}
void multiply(float* out, const float* a, const float* b, int64_t count)
{
    map2(Multiply(), out, a, b, count);
}
void divide(float* out, const float* a, const float* b, int64_t count)
{
    map2(Divide(), out, a, b, count);
}
void addConstant(float* out, const float* a, float constant, int64_t count)
{
    map1(AddConstant{constant}, out, a, count);
}
void multiplyConstant(float* out, const float* a, float constant, int64_t count)
{
    map1(MultiplyConstant{constant}, out, a, count);
}
void multiplyAdd(float* out, const float* a, float constant, int64_t count)
{
    map2(MultiplyAdd{constant}, out, a, out, count);
}
void magnitude(float* out, const float* pairs, int64_t count)
{
    mapComplex(Magnitude(), out, pairs, count);
}
void power(float* out, const float* pairs, int64_t count)
{
    mapComplex(Power(), out, pairs, count);
}

void multiplyPairs(float* out, const float* pairs, const float* factors, int64_t count)
{
    const Tag d;
    const int64_t lanes = int64_t(hn::Lanes(d));
    int64_t i = 0;
    for (; i + lanes <= count; i += lanes) {
        hn::Vec<Tag> low, high;
        doubled(d, hn::LoadU(d, factors + i), low, high);
        const auto a = hn::LoadU(d, pairs + 2 * i);
        const auto b = hn::LoadU(d, pairs + 2 * i + lanes);
        hn::StoreU(hn::Mul(a, low), d, out + 2 * i);
        hn::StoreU(hn::Mul(b, high), d, out + 2 * i + lanes);
    }
    for (; i < count; ++i) {
        const float factor = factors[i];
        out[2 * i] = pairs[2 * i] * factor;
        out[2 * i + 1] = pairs[2 * i + 1] * factor;
    }
}

float sum(const float* source, int64_t count)
{
    const hn::ScalableTag<double> wide;
    const hn::Rebind<float, decltype(wide)> narrow;
    const int64_t lanes = int64_t(hn::Lanes(wide));
    auto total0 = hn::Zero(wide), total1 = total0, total2 = total0, total3 = total0;
    int64_t i = 0;
    for (; i + 4 * lanes <= count; i += 4 * lanes) {
        total0 = hn::Add(total0, hn::PromoteTo(wide, hn::LoadU(narrow, source + i)));
        total1 = hn::Add(total1, hn::PromoteTo(wide, hn::LoadU(narrow, source + i + lanes)));
        total2 = hn::Add(total2, hn::PromoteTo(wide, hn::LoadU(narrow, source + i + 2 * lanes)));
        total3 = hn::Add(total3, hn::PromoteTo(wide, hn::LoadU(narrow, source + i + 3 * lanes)));
    }
    const auto total = hn::Add(hn::Add(total0, total1), hn::Add(total2, total3));
    double result = hn::GetLane(hn::SumOfLanes(wide, total));
    for (; i < count; ++i)
        result += double(source[i]);
    return float(result);
}

float maxAbs(const float* source, int64_t count)
{
    const Tag d;
    const int64_t lanes = int64_t(hn::Lanes(d));
    auto most0 = hn::Zero(d), most1 = most0;
    int64_t i = 0;
    for (; i + 2 * lanes <= count; i += 2 * lanes) {
        most0 = hn::Max(most0, hn::Abs(hn::LoadU(d, source + i)));
        most1 = hn::Max(most1, hn::Abs(hn::LoadU(d, source + i + lanes)));
    }
    float result = hn::GetLane(hn::MaxOfLanes(d, hn::Max(most0, most1)));
    for (; i < count; ++i)
        result = std::max(result, std::abs(source[i]));
    return result;
}

// The smaller and the larger number, or `b` where a is not a number.
template<class V>
HWY_ATTR V smaller(V a, V b)
{
    return hn::IfThenElse(hn::Lt(a, b), a, b);
}
template<class V>
HWY_ATTR V larger(V a, V b)
{
    return hn::IfThenElse(hn::Gt(a, b), a, b);
}

// Of `width` numbers (1 or 2) that come in turns; `count` is a multiple of it.
void minMax(const float* source, int64_t count, int64_t width, float* low, float* high)
{
    const Tag d;
    const int64_t lanes = int64_t(hn::Lanes(d));
    auto low0 = hn::Set(d, std::numeric_limits<float>::max()), low1 = low0;
    auto high0 = hn::Neg(low0), high1 = high0;
    int64_t i = 0;
    for (; i + 2 * lanes <= count; i += 2 * lanes) {
        const auto a = hn::LoadU(d, source + i);
        const auto b = hn::LoadU(d, source + i + lanes);
        low0 = smaller(a, low0);
        low1 = smaller(b, low1);
        high0 = larger(a, high0);
        high1 = larger(b, high1);
    }
    // Two vectors have an even number of lanes, so that each holds one of the numbers only.
    HWY_ALIGN float lows[2 * hn::MaxLanes(Tag())];
    HWY_ALIGN float highs[2 * hn::MaxLanes(Tag())];
    hn::StoreU(low0, d, lows);
    hn::StoreU(low1, d, lows + lanes);
    hn::StoreU(high0, d, highs);
    hn::StoreU(high1, d, highs + lanes);
    for (int64_t k = 0; k < 2 * lanes; ++k) {
        low[k % width] = std::min(low[k % width], lows[k]);
        high[k % width] = std::max(high[k % width], highs[k]);
    }
    for (; i < count; ++i) {
        low[i % width] = std::min(low[i % width], source[i]);
        high[i % width] = std::max(high[i % width], source[i]);
    }
}

} // namespace HWY_NAMESPACE
} // namespace vec
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace vec {

namespace {

HWY_EXPORT(add);
HWY_EXPORT(addConstant);
HWY_EXPORT(subtract);
HWY_EXPORT(multiply);
HWY_EXPORT(multiplyPairs);
HWY_EXPORT(multiplyConstant);
HWY_EXPORT(multiplyAdd);
HWY_EXPORT(divide);
HWY_EXPORT(magnitude);
HWY_EXPORT(power);
HWY_EXPORT(sum);
HWY_EXPORT(maxAbs);
HWY_EXPORT(minMax);

// Complex is two floats, and so is every vector of it.
const float* pairs(const Complex* values)
{
    return reinterpret_cast<const float*>(values);
}
float* pairs(Complex* values)
{
    return reinterpret_cast<float*>(values);
}

} // namespace

void zero(float* destination, int64_t count)
{
    if (count > 0)
        std::memset(destination, 0, std::size_t(count) * sizeof(float));
}
void zero(Complex* destination, int64_t count)
{
    zero(pairs(destination), 2 * count);
}
void copy(float* destination, const float* source, int64_t count)
{
    if (count > 0)
        std::memmove(destination, source, std::size_t(count) * sizeof(float));
}
void copy(Complex* destination, const Complex* source, int64_t count)
{
    copy(pairs(destination), pairs(source), 2 * count);
}
void add(float* destination, const float* a, const float* b, int64_t count)
{
    MORVANE_DISPATCH(add)(destination, a, b, count);
}
void addConstant(float* destination, const float* source, float constant, int64_t count)
{
    MORVANE_DISPATCH(addConstant)(destination, source, constant, count);
}
void subtract(float* destination, const float* a, const float* b, int64_t count)
{
    MORVANE_DISPATCH(subtract)(destination, a, b, count);
}
void subtract(Complex* destination, const Complex* a, const Complex* b, int64_t count)
{
    subtract(pairs(destination), pairs(a), pairs(b), 2 * count);
}
void multiply(float* destination, const float* a, const float* b, int64_t count)
{
    MORVANE_DISPATCH(multiply)(destination, a, b, count);
}
void multiply(Complex* destination, const Complex* a, const float* b, int64_t count)
{
    MORVANE_DISPATCH(multiplyPairs)(pairs(destination), pairs(a), b, count);
}
void multiplyConstant(float* destination, const float* source, float constant, int64_t count)
{
    MORVANE_DISPATCH(multiplyConstant)(destination, source, constant, count);
}
void multiplyConstant(Complex* destination, const Complex* source, float constant, int64_t count)
{
    multiplyConstant(pairs(destination), pairs(source), constant, 2 * count);
}
void multiplyAdd(float* destination, const float* source, float constant, int64_t count)
{
    MORVANE_DISPATCH(multiplyAdd)(destination, source, constant, count);
}
void divide(float* destination, const float* a, const float* b, int64_t count)
{
    MORVANE_DISPATCH(divide)(destination, a, b, count);
}
void magnitude(float* destination, const Complex* source, int64_t count)
{
    MORVANE_DISPATCH(magnitude)(destination, pairs(source), count);
}
void power(float* destination, const Complex* source, int64_t count)
{
    MORVANE_DISPATCH(power)(destination, pairs(source), count);
}
float sum(const float* source, int64_t count)
{
    return MORVANE_DISPATCH(sum)(source, count);
}
float maxAbs(const float* source, int64_t count)
{
    return MORVANE_DISPATCH(maxAbs)(source, count);
}
bool isZero(const float* source, int64_t count)
{
    constexpr int64_t piece = 128;
    for (int64_t at = 0; at < count; at += piece)
        if (maxAbs(source + at, std::min(piece, count - at)) != 0.0f)
            return false;
    return true;
}
void minMax(const float* source, int64_t count, float& low, float& high)
{
    MORVANE_DISPATCH(minMax)(source, count, 1, &low, &high);
}
void minMax(const Complex* source, int64_t count, Complex& low, Complex& high)
{
    float lows[] = {low.re, low.im};
    float highs[] = {high.re, high.im};
    MORVANE_DISPATCH(minMax)(pairs(source), 2 * count, 2, lows, highs);
    low = {lows[0], lows[1]};
    high = {highs[0], highs[1]};
}

} // namespace vec

#endif
