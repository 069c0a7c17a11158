// The inner loops of a spectrogram, each one pass over a row or a frame: on this scale a wrapper for
// every single operation costs more in memory traffic than in arithmetic. Any thread, no allocation,
// no alignment asked for; dispatched like vectors.h.
#pragma once

#include "model/types/arraytemplate.h"

#include <cstdint>

namespace spectrum {

// frame = samples times window, `size` values in the middle of `dftLength`, zeros around them. The
// window starts at (dftLength - size) / 2, as in Transform::makeWindow; dftLength >= size. The frame
// overlaps none of the others.
void windowFrame(float* frame, const float* samples, const float* window, int64_t size, int64_t dftLength);
void windowFrame(Complex* frame, const Complex* samples, const float* window, int64_t size,
                 int64_t dftLength);

// Magnitudes and reassignment vectors of one frame (Auger and Flandrin 1995) out of the spectra of
// the same samples under the three windows of a Transform:
//   magnitude       |X|                              X under analysisWindow
//   time shift      Re(Xt conj X) / |X|^2, in hops   Xt under timeWindow
//   frequency shift Im(Xd conj X) / |X|^2, in bins   Xd under derivativeWindow
// A shift is 0 where |X|^2 is 0, and no larger than 1e9 either way. In the last bins % 4 bins the
// frequency shift is not divided by |X|^2: for a real signal that is the Nyquist bin alone, for a
// complex one none. This is how the pictures of the system have always been made.
// `timeShifts` and `frequencyShifts` have room for bins + 1 values; the extra last one is the next
// bin's: that of bin 0 where `cyclic` (complex signals), 0 otherwise. `magnitudes` may be null; `xt`
// may be null together with `timeShifts`, and `xd` with `frequencyShifts`.
struct ShiftSpectra
{
    const Complex* x = nullptr;
    const Complex* xt = nullptr;
    const Complex* xd = nullptr;
    int64_t bins = 0;
    bool cyclic = false;
};
void magnitudesAndShifts(float* magnitudes, float* timeShifts, float* frequencyShifts,
                         const ShiftSpectra& spectra);

// Refinement: values = magnitudes times a mask per bin, which leaves a bin whose energy belongs to it
// and fades one whose reassignment vector leads away and keeps leading away at its target.
// `count` bins; `values` may be `magnitudes`.
struct ShiftRows
{
    const float* time = nullptr;      // null counts as all zero
    const float* frequency = nullptr; // null counts as all zero
};
struct Refinement
{
    float time = 0;      // factor on time shifts; at 0 the rows of time shifts are not read
    float frequency = 0; // factor on frequency shifts; likewise
    float distance = 1;  // from the column to its neighbour, in hops, negative to the left; not 0
};
// Rows of `column` have count + 1 values, the next bin being the following one; rows of `neighbour`
// have count, and are null when there is no neighbour.
void refine(float* values, const float* magnitudes, const ShiftRows& column, const ShiftRows& neighbour,
            int64_t count, const Refinement& factors);

// Behind the `count` values of a level stands the next one: count / 2 averages of neighbouring pairs,
// and so on down to a level of one value. Room for 2 * count values; fewer than that are used.
void buildPyramid(float* values, int64_t count);

// destination[r] = sum over the taps t of source[indices[t][r]] * weights[t][r].
struct Taps
{
    const int32_t* indices[4] = {};
    const float* weights[4] = {};
    int count = 0; // 1 to 4
};
void gather(float* destination, const float* source, const Taps& taps, int64_t rows);

// destination[r] = sum over the columns t of columns[t][r] * weights[t]; 1 to 4 columns. The
// destination is none of the columns.
void blend(float* destination, const float* const* columns, const float* weights, int columnCount,
           int64_t rows);

} // namespace spectrum
