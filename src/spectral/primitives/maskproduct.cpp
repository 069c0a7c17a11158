#include "spectral/primitives/maskproduct.h"

#include "spectral/primitives/vectors.h"

void multiplyByMask(Complex* spectrum, const float* maskRow, const TransformSettings& settings)
{
    const int64_t bins = settings.bins();
    if (settings.sampleType == 1) {
        vec::multiply(spectrum, spectrum, maskRow, bins);
        return;
    }
    // Bin M/2 means -M/2, the first column.
    const int64_t negative = bins / 2;
    const int64_t positive = bins - negative;
    vec::multiply(spectrum, spectrum, maskRow + negative, positive);
    vec::multiply(spectrum + positive, spectrum + positive, maskRow, negative);
}
