// The DFT of real samples by a complex one of half their number (Cooley, Lewis and Welch, "The fast
// Fourier transform algorithm", J. Sound Vib. 12, 1970): the samples are read as complex values
// x[2n] + i x[2n+1], and one pass joins the two halves of what comes out. FFTW's own transforms of
// reals take up to twice the time of this.
#pragma once

#include "model/types/arraytemplate.h"

#include <cstdint>

// e^(-2 pi i k / M) for k from 0 to M / 4, for an even M. Immutable.
struct RealDftFactors
{
    explicit RealDftFactors(int64_t length);
    // Those of a length, made once in the process and kept as long as it lives. Any thread.
    [[nodiscard]] static const RealDftFactors& of(int64_t length);

    int64_t length;
    ArrayTemplate<float> re;
    ArrayTemplate<float> im;
};

namespace realdft {

// M / 2 values of the complex transform to the M / 2 + 1 of the real one, in place.
void join(Complex* spectrum, const RealDftFactors& factors);
// The way back: M / 2 + 1 values to M / 2, of which the unscaled complex inverse makes M times the
// samples. The imaginary parts of the first and last value are not read. Source and destination may
// not overlap.
void split(Complex* destination, const Complex* spectrum, const RealDftFactors& factors);

} // namespace realdft
