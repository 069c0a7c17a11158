#include "spectral/primitives/realdft.h"

#include "base/locks.h"

#include <cmath>
#include <map>
#include <memory>
#include <mutex>
#include <type_traits>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "spectral/primitives/realdft.cpp"
#include <hwy/foreach_target.h>
// After foreach_target.h, which compiles this file once for each target.
#include "spectral/primitives/complexload-inl.h"
#include "spectral/primitives/vectordispatch.h"

HWY_BEFORE_NAMESPACE();
namespace realdft {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;
using Tag = hn::ScalableTag<float>;
using TagOne = hn::CappedTag<float, 1>; // the middle, element by element

template<class D>
struct Values
{
    hn::Vec<D> re, im;
};

// Lanes(d) values from `at` on.
template<class D>
HWY_INLINE Values<D> load(D d, const Complex* at)
{
    const float* pairs = reinterpret_cast<const float*>(at);
    if constexpr (std::is_same_v<D, TagOne>) {
        return {hn::LoadU(d, pairs), hn::LoadU(d, pairs + 1)};
    } else {
        Values<D> values;
        vec::HWY_NAMESPACE::loadPairs(d, pairs, values.re, values.im);
        return values;
    }
}

template<class D>
HWY_INLINE void store(D d, Complex* at, hn::Vec<D> re, hn::Vec<D> im)
{
    hn::StoreInterleaved2(re, im, d, reinterpret_cast<float*>(at));
}

template<class D>
HWY_INLINE hn::Vec<D> turned(D d, hn::Vec<D> values)
{
    if constexpr (std::is_same_v<D, TagOne>)
        return values;
    else
        return hn::Reverse(d, values);
}

// Both ways use the symmetry about M / 4: what belongs to k and to M / 2 - k comes of the same two
// values. With a = z[k], b = conj(z[M/2 - k]), the sum a + b is that of the even samples and the
// difference that of the odd ones, each times a factor.
//
// join: x[k] = (a + b) / 2 + w * (a - b) / 2, conj(x[M/2 - k]) = (a + b) / 2 - w * (a - b) / 2, w = -i e^(-2
// pi i k / M) split: z[k] = (a + b) + w' (a - b), conj(z[M/2 - k]) = (a + b) - w' (a - b), w' = i e^(2 pi i k
// / M)
//
// w' is the conjugate of w.
template<bool joining, class D>
HWY_INLINE void bothEndsAt(D d, int64_t k, Complex* destination, const Complex* source,
                           const RealDftFactors& factors)
{
    const int64_t mirrored = factors.length / 2 - k - int64_t(hn::Lanes(d)) + 1;
    const Values<D> a = load(d, source + k);
    Values<D> b = load(d, source + mirrored);
    b.re = turned(d, b.re);
    b.im = turned(d, b.im); // of the conjugate: -b.im
    hn::Vec<D> sumRe = hn::Add(a.re, b.re), sumIm = hn::Sub(a.im, b.im);
    hn::Vec<D> re = hn::Sub(a.re, b.re), im = hn::Add(a.im, b.im);
    if constexpr (joining) {
        const auto half = hn::Set(d, 0.5f);
        sumRe = hn::Mul(sumRe, half);
        sumIm = hn::Mul(sumIm, half);
        re = hn::Mul(re, half);
        im = hn::Mul(im, half);
    }
    // -i (c + i s) = s - i c
    const auto wRe = hn::LoadU(d, factors.im.data() + k);
    const auto cosine = hn::LoadU(d, factors.re.data() + k);
    const auto wIm = joining ? hn::Neg(cosine) : cosine;
    const auto turnedRe = hn::NegMulAdd(wIm, im, hn::Mul(wRe, re));
    const auto turnedIm = hn::MulAdd(wIm, re, hn::Mul(wRe, im));
    store(d, destination + k, hn::Add(sumRe, turnedRe), hn::Add(sumIm, turnedIm));
    store(d, destination + mirrored, turned(d, hn::Sub(sumRe, turnedRe)),
          turned(d, hn::Sub(turnedIm, sumIm)));
}

template<bool joining>
HWY_ATTR void allBetweenEnds(Complex* destination, const Complex* source, const RealDftFactors& factors)
{
    const Tag d;
    const int64_t lanes = int64_t(hn::Lanes(d));
    const int64_t half = factors.length / 2;
    int64_t k = 1;
    for (; 2 * (k + lanes - 1) < half; k += lanes)
        bothEndsAt<joining>(d, k, destination, source, factors);
    for (; 2 * k <= half; ++k)
        bothEndsAt<joining>(TagOne(), k, destination, source, factors);
}

void joinBetween(Complex* spectrum, const RealDftFactors& factors)
{
    allBetweenEnds<true>(spectrum, spectrum, factors);
}

void splitBetween(Complex* destination, const Complex* spectrum, const RealDftFactors& factors)
{
    allBetweenEnds<false>(destination, spectrum, factors);
}

} // namespace HWY_NAMESPACE
} // namespace realdft
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

RealDftFactors::RealDftFactors(int64_t dftLength)
    : length(dftLength),
      re(dftLength / 4 + 1),
      im(dftLength / 4 + 1)
{
    constexpr double twoPi = 6.283185307179586;
    for (int64_t k = 0; k <= length / 4; ++k) {
        const double angle = -twoPi * double(k) / double(length);
        re[k] = float(std::cos(angle));
        im[k] = float(std::sin(angle));
    }
}

const RealDftFactors& RealDftFactors::of(int64_t length)
{
    // Never destroyed: a thread may be transforming when the process ends.
    static Mutex& lock = *std::make_unique<Mutex>().release();
    static auto& all = *std::make_unique<std::map<int64_t, const RealDftFactors>>().release();
    const std::lock_guard locker(lock);
    return all.try_emplace(length, length).first->second;
}

namespace realdft {

namespace {

HWY_EXPORT(joinBetween);
HWY_EXPORT(splitBetween);

} // namespace

void join(Complex* spectrum, const RealDftFactors& factors)
{
    const Complex first = spectrum[0];
    MORVANE_DISPATCH(joinBetween)(spectrum, factors);
    spectrum[0] = {first.re + first.im, 0};
    spectrum[factors.length / 2] = {first.re - first.im, 0};
}

void split(Complex* destination, const Complex* spectrum, const RealDftFactors& factors)
{
    const float first = spectrum[0].re, last = spectrum[factors.length / 2].re;
    destination[0] = {first + last, first - last};
    MORVANE_DISPATCH(splitBetween)(destination, spectrum, factors);
}

} // namespace realdft

#endif
