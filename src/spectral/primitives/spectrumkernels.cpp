#include "spectral/primitives/spectrumkernels.h"

#include "spectral/primitives/vectors.h"

#include <algorithm>
#include <type_traits>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "spectral/primitives/spectrumkernels.cpp"
#include <hwy/foreach_target.h>
// After foreach_target.h, which compiles this file once for each target.
#include "spectral/primitives/complexload-inl.h"
#include "spectral/primitives/vectordispatch.h"

HWY_BEFORE_NAMESPACE();
namespace spectrum {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;
using Tag = hn::ScalableTag<float>;
using TagOne = hn::CappedTag<float, 1>; // the rest of a row, element by element

// Bounds the squares and products that the mask makes of shifts well inside single precision.
constexpr float largestShift = 1e9f;

template<class D, class V>
HWY_INLINE V quotient(D d, V numerator, V power)
{
    const V limit = hn::Set(d, largestShift);
    const V value = hn::Div(numerator, power);
    const V bounded = hn::Max(hn::Min(value, limit), hn::Neg(limit));
    return hn::IfThenElseZero(hn::Gt(power, hn::Zero(d)), bounded);
}

template<class D>
HWY_INLINE void splitAt(D d, const Complex* values, hn::Vec<D>& re, hn::Vec<D>& im)
{
    const float* pairs = reinterpret_cast<const float*>(values);
    if constexpr (std::is_same_v<D, TagOne>) {
        re = hn::LoadU(d, pairs);
        im = hn::LoadU(d, pairs + 1);
    } else {
        vec::HWY_NAMESPACE::loadPairs(d, pairs, re, im);
    }
}

// Which of the outputs are wanted; the compiler drops the rest.
template<bool time, bool frequency, class D>
HWY_INLINE void shiftsAt(D d, int64_t k, float* magnitudes, float* timeShifts, float* frequencyShifts,
                         const ShiftSpectra& spectra)
{
    hn::Vec<D> re, im;
    splitAt(d, spectra.x + k, re, im);
    const auto power = hn::MulAdd(im, im, hn::Mul(re, re));
    if (magnitudes)
        hn::StoreU(hn::Sqrt(power), d, magnitudes + k);
    hn::Vec<D> otherRe, otherIm;
    if constexpr (time) {
        splitAt(d, spectra.xt + k, otherRe, otherIm);
        const auto numerator = hn::MulAdd(otherIm, im, hn::Mul(otherRe, re));
        hn::StoreU(quotient(d, numerator, power), d, timeShifts + k);
    }
    if constexpr (frequency) {
        splitAt(d, spectra.xd + k, otherRe, otherIm);
        const auto numerator = hn::Sub(hn::Mul(otherIm, re), hn::Mul(otherRe, im));
        hn::StoreU(quotient(d, numerator, power), d, frequencyShifts + k);
    }
}

template<bool time, bool frequency>
HWY_ATTR void shiftsOfRow(float* magnitudes, float* timeShifts, float* frequencyShifts,
                          const ShiftSpectra& spectra)
{
    const Tag d;
    const int64_t lanes = int64_t(hn::Lanes(d));
    int64_t k = 0;
    for (; k + lanes <= spectra.bins; k += lanes)
        shiftsAt<time, frequency>(d, k, magnitudes, timeShifts, frequencyShifts, spectra);
    for (; k < spectra.bins; ++k)
        shiftsAt<time, frequency>(TagOne(), k, magnitudes, timeShifts, frequencyShifts, spectra);
}

void magnitudesAndShifts(float* magnitudes, float* timeShifts, float* frequencyShifts,
                         const ShiftSpectra& spectra)
{
    if (timeShifts && frequencyShifts)
        shiftsOfRow<true, true>(magnitudes, timeShifts, frequencyShifts, spectra);
    else if (timeShifts)
        shiftsOfRow<true, false>(magnitudes, timeShifts, frequencyShifts, spectra);
    else if (frequencyShifts)
        shiftsOfRow<false, true>(magnitudes, timeShifts, frequencyShifts, spectra);
    else if (magnitudes)
        shiftsOfRow<false, false>(magnitudes, timeShifts, frequencyShifts, spectra);
}

template<class D>
HWY_INLINE hn::Vec<D> shiftAt(D d, const float* row, int64_t k, float factor)
{
    return row ? hn::Mul(hn::LoadU(d, row + k), hn::Set(d, factor)) : hn::Zero(d);
}

template<class D, class V>
HWY_INLINE V clampToOne(D d, V value)
{
    return hn::Min(hn::Max(value, hn::Zero(d)), hn::Set(d, 1));
}

// 1 up to half a cell, 0 from a whole cell on.
template<class D, class V>
HWY_INLINE V nearness(D d, V shift)
{
    return clampToOne(d, hn::NegMulAdd(hn::Set(d, 2), hn::Abs(shift), hn::Set(d, 2)));
}

template<class D>
HWY_INLINE void refineAt(D d, int64_t k, float* values, const float* magnitudes, const ShiftRows& column,
                         const ShiftRows& neighbour, const Refinement& factors, float perDistance)
{
    using V = hn::Vec<D>;
    const V time = shiftAt(d, column.time, k, factors.time);
    const V frequency = shiftAt(d, column.frequency, k, factors.frequency);
    // Weights of the three points around the target: the neighbour, the next bin, this bin.
    const V toNeighbour = hn::Mul(time, hn::Set(d, perDistance));
    const V toNext = frequency;
    const V toSelf = hn::Sub(hn::Sub(hn::Set(d, 1), toNeighbour), toNext);
    // The vector field as read at the target.
    V timeThere = hn::Mul(toSelf, time);
    timeThere = hn::MulAdd(toNeighbour, shiftAt(d, neighbour.time, k, factors.time), timeThere);
    timeThere = hn::MulAdd(toNext, shiftAt(d, column.time, k + 1, factors.time), timeThere);
    V frequencyThere = hn::Mul(toSelf, frequency);
    frequencyThere =
        hn::MulAdd(toNeighbour, shiftAt(d, neighbour.frequency, k, factors.frequency), frequencyThere);
    frequencyThere =
        hn::MulAdd(toNext, shiftAt(d, column.frequency, k + 1, factors.frequency), frequencyThere);

    // Below this the vector is nought and the bin keeps its value whatever the field says.
    const V least = hn::Set(d, 1e-30f);
    const V square = hn::Max(hn::MulAdd(time, time, hn::Mul(frequency, frequency)), least);
    V inverse = hn::ApproximateReciprocalSqrt(square);
    const V half = hn::Mul(hn::Mul(square, hn::Set(d, 0.5f)), inverse);
    inverse = hn::Mul(inverse, hn::NegMulAdd(half, inverse, hn::Set(d, 1.5f))); // one step of Newton's
    const V along = hn::MulAdd(timeThere, time, hn::Mul(frequencyThere, frequency));
    const V slope = clampToOne(d, hn::Mul(hn::Mul(along, inverse), inverse));
    const V faded = hn::Min(hn::Mul(hn::Add(slope, slope), inverse), hn::Set(d, 1));
    const V kept = hn::Mul(nearness(d, time), nearness(d, frequency));
    hn::StoreU(hn::Mul(hn::LoadU(d, magnitudes + k), hn::Max(faded, kept)), d, values + k);
}

void refine(float* values, const float* magnitudes, const ShiftRows& column, const ShiftRows& neighbour,
            int64_t count, const Refinement& factors)
{
    const Tag d;
    const int64_t lanes = int64_t(hn::Lanes(d));
    const float perDistance = 1 / factors.distance;
    int64_t k = 0;
    for (; k + lanes <= count; k += lanes)
        refineAt(d, k, values, magnitudes, column, neighbour, factors, perDistance);
    for (; k < count; ++k)
        refineAt(TagOne(), k, values, magnitudes, column, neighbour, factors, perDistance);
}

void buildPyramid(float* values, int64_t count)
{
    const Tag d;
    const int64_t lanes = int64_t(hn::Lanes(d));
    for (float* level = values; count > 1; count /= 2) {
        float* next = level + count;
        const int64_t pairs = count / 2;
        int64_t i = 0;
        for (; i + lanes <= pairs; i += lanes) {
            hn::Vec<Tag> first, second;
            vec::HWY_NAMESPACE::loadPairs(d, level + 2 * i, first, second);
            hn::StoreU(hn::Mul(hn::Add(first, second), hn::Set(d, 0.5f)), d, next + i);
        }
        for (; i < pairs; ++i)
            next[i] = (level[2 * i] + level[2 * i + 1]) * 0.5f;
        level = next;
    }
}

template<int taps>
HWY_ATTR void gatherRows(float* out, const float* source, const Taps& table, int64_t rows)
{
    const Tag d;
    const hn::RebindToSigned<Tag> di;
    const int64_t lanes = int64_t(hn::Lanes(d));
    int64_t r = 0;
    for (; r + lanes <= rows; r += lanes) {
        auto sum = hn::Zero(d);
        for (int t = 0; t < taps; ++t)
            sum = hn::MulAdd(hn::GatherIndex(d, source, hn::LoadU(di, table.indices[t] + r)),
                             hn::LoadU(d, table.weights[t] + r), sum);
        hn::StoreU(sum, d, out + r);
    }
    for (; r < rows; ++r) {
        float sum = 0;
        for (int t = 0; t < taps; ++t)
            sum += source[table.indices[t][r]] * table.weights[t][r];
        out[r] = sum;
    }
}

void gather(float* destination, const float* source, const Taps& taps, int64_t rows)
{
    switch (taps.count) {
    case 1:
        return gatherRows<1>(destination, source, taps, rows);
    case 2:
        return gatherRows<2>(destination, source, taps, rows);
    case 3:
        return gatherRows<3>(destination, source, taps, rows);
    case 4:
        return gatherRows<4>(destination, source, taps, rows);
    default:
        std::fill(destination, destination + std::max<int64_t>(rows, 0), 0.0f);
    }
}

template<int count>
HWY_ATTR void blendRows(float* out, const float* const* columns, const float* weights, int64_t rows)
{
    const Tag d;
    const int64_t lanes = int64_t(hn::Lanes(d));
    int64_t r = 0;
    for (; r + lanes <= rows; r += lanes) {
        auto sum = hn::Mul(hn::LoadU(d, columns[0] + r), hn::Set(d, weights[0]));
        for (int t = 1; t < count; ++t)
            sum = hn::MulAdd(hn::LoadU(d, columns[t] + r), hn::Set(d, weights[t]), sum);
        hn::StoreU(sum, d, out + r);
    }
    for (; r < rows; ++r) {
        float sum = 0;
        for (int t = 0; t < count; ++t)
            sum += columns[t][r] * weights[t];
        out[r] = sum;
    }
}

void blend(float* destination, const float* const* columns, const float* weights, int columnCount,
           int64_t rows)
{
    switch (columnCount) {
    case 1:
        return blendRows<1>(destination, columns, weights, rows);
    case 2:
        return blendRows<2>(destination, columns, weights, rows);
    case 3:
        return blendRows<3>(destination, columns, weights, rows);
    case 4:
        return blendRows<4>(destination, columns, weights, rows);
    default:
        std::fill(destination, destination + std::max<int64_t>(rows, 0), 0.0f);
    }
}

} // namespace HWY_NAMESPACE
} // namespace spectrum
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace spectrum {

namespace {

HWY_EXPORT(magnitudesAndShifts);
HWY_EXPORT(refine);
HWY_EXPORT(buildPyramid);
HWY_EXPORT(gather);
HWY_EXPORT(blend);

template<class T>
void windowFrameOf(T* frame, const T* samples, const float* window, int64_t size, int64_t dftLength)
{
    const int64_t before = (dftLength - size) / 2;
    vec::zero(frame, before);
    vec::multiply(frame + before, samples, window, size);
    vec::zero(frame + before + size, dftLength - size - before);
}

// The shift of the bin behind the last one.
void closeRow(float* shifts, const ShiftSpectra& spectra)
{
    if (shifts)
        shifts[spectra.bins] = spectra.cyclic && spectra.bins > 0 ? shifts[0] : 0;
}

} // namespace

void windowFrame(float* frame, const float* samples, const float* window, int64_t size, int64_t dftLength)
{
    windowFrameOf(frame, samples, window, size, dftLength);
}

void windowFrame(Complex* frame, const Complex* samples, const float* window, int64_t size, int64_t dftLength)
{
    windowFrameOf(frame, samples, window, size, dftLength);
}

void magnitudesAndShifts(float* magnitudes, float* timeShifts, float* frequencyShifts,
                         const ShiftSpectra& spectra)
{
    MORVANE_DISPATCH(magnitudesAndShifts)(magnitudes, timeShifts, frequencyShifts, spectra);
    if (frequencyShifts)
        for (int64_t k = spectra.bins - spectra.bins % 4; k < spectra.bins; ++k)
            frequencyShifts[k] = spectra.xd[k].im * spectra.x[k].re - spectra.xd[k].re * spectra.x[k].im;
    closeRow(timeShifts, spectra);
    closeRow(frequencyShifts, spectra);
}

void refine(float* values, const float* magnitudes, const ShiftRows& column, const ShiftRows& neighbour,
            int64_t count, const Refinement& factors)
{
    // A row that is not read may be one of other shifts, or too short.
    ShiftRows own = column, other = neighbour;
    if (factors.time == 0)
        own.time = other.time = nullptr;
    if (factors.frequency == 0)
        own.frequency = other.frequency = nullptr;
    MORVANE_DISPATCH(refine)(values, magnitudes, own, other, count, factors);
}

void buildPyramid(float* values, int64_t count)
{
    MORVANE_DISPATCH(buildPyramid)(values, count);
}

void gather(float* destination, const float* source, const Taps& taps, int64_t rows)
{
    MORVANE_DISPATCH(gather)(destination, source, taps, rows);
}

void blend(float* destination, const float* const* columns, const float* weights, int columnCount,
           int64_t rows)
{
    MORVANE_DISPATCH(blend)(destination, columns, weights, columnCount, rows);
}

} // namespace spectrum

#endif
