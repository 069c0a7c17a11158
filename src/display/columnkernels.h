// Inner loops over the bins of one column. Any thread, no allocation.
#pragma once

#include "model/types/arraytemplate.h"

#include <cstdint>

namespace columnkernels {

// destination[k] = Re(ramped[k] * conj(spectrum[k])) / |spectrum[k]|^2, and 0 where the spectrum is 0:
// the centre of gravity in time of the energy in bin k, for a spectrum taken with a ramped window.
void timeShifts(float* destination, const Complex* ramped, const Complex* spectrum, int64_t count);
// destination[k] = Im(derived[k] * conj(spectrum[k])) / |spectrum[k]|^2, and 0 where the spectrum is 0:
// the distance in frequency, for a spectrum taken with the derivative of the window. The last
// count % 4 values are not divided: for real spectra that is the one bin at Nyquist, whose vector is
// numerically meaningless and stays small this way.
void freqShifts(float* destination, const Complex* derived, const Complex* spectrum, int64_t count);
// Behind the `count` values at `values` their averages in pairs, behind those the averages of these,
// and so on down to one; a level of odd length drops its last element. All in all less than
// 2 * count values.
void buildPyramid(float* values, int64_t count);

} // namespace columnkernels
