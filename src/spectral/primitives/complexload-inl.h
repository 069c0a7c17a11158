// Loading and storing interleaved pairs, for the vector sources of this folder: compiled once for
// each target, so the guard toggles instead of standing once.
#if defined(MORVANE_COMPLEXLOAD_INL) == defined(HWY_TARGET_TOGGLE)
#ifdef MORVANE_COMPLEXLOAD_INL
#undef MORVANE_COMPLEXLOAD_INL
#else
#define MORVANE_COMPLEXLOAD_INL
#endif

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace vec {
namespace HWY_NAMESPACE {

// Splits Lanes(d) pairs into first and second parts.
template<class D, class V = hwy::HWY_NAMESPACE::Vec<D>>
HWY_INLINE void loadPairs(D d, const float* pairs, V& first, V& second)
{
    namespace hn = hwy::HWY_NAMESPACE;
#if HWY_TARGET == HWY_SCALAR
    first = hn::LoadU(d, pairs);
    second = hn::LoadU(d, pairs + 1);
#else
    const auto low = hn::LoadU(d, pairs);
    const auto high = hn::LoadU(d, pairs + hn::Lanes(d));
    first = hn::ConcatEven(d, high, low);
    second = hn::ConcatOdd(d, high, low);
#endif
}

// Each value twice in a row: a b c d to a a b b and c c d d.
template<class D, class V = hwy::HWY_NAMESPACE::Vec<D>>
HWY_INLINE void doubled(D d, V values, V& low, V& high)
{
#if HWY_TARGET == HWY_SCALAR
    (void)d;
    low = high = values;
#else
    namespace hn = hwy::HWY_NAMESPACE;
    const hn::RepartitionToWide<hn::RebindToUnsigned<D>> wide;
    const hn::RebindToUnsigned<D> narrow;
    const hn::Half<decltype(narrow)> half;
    const auto bits = hn::BitCast(narrow, values);
    const auto twice = [&](auto part) HWY_ATTR {
        const auto wider = hn::PromoteTo(wide, part);
        return hn::BitCast(d, hn::Or(wider, hn::ShiftLeft<32>(wider)));
    };
    low = twice(hn::LowerHalf(half, bits));
    high = twice(hn::UpperHalf(half, bits));
#endif
}

} // namespace HWY_NAMESPACE
} // namespace vec
HWY_AFTER_NAMESPACE();

#endif
