#include "display/columnkernels.h"

namespace columnkernels {

void timeShifts(float* destination, const Complex* ramped, const Complex* spectrum, int64_t count)
{
    for (int64_t k = 0; k < count; ++k) {
        const float power = spectrum[k].re * spectrum[k].re + spectrum[k].im * spectrum[k].im;
        const float dot = ramped[k].re * spectrum[k].re + ramped[k].im * spectrum[k].im;
        destination[k] = power > 0 ? dot / power : 0;
    }
}

void freqShifts(float* destination, const Complex* derived, const Complex* spectrum, int64_t count)
{
    const int64_t divided = count / 4 * 4;
    for (int64_t k = 0; k < count; ++k) {
        const float power = spectrum[k].re * spectrum[k].re + spectrum[k].im * spectrum[k].im;
        const float cross = derived[k].im * spectrum[k].re - derived[k].re * spectrum[k].im;
        destination[k] = k >= divided ? cross : power > 0 ? cross / power : 0;
    }
}

void buildPyramid(float* values, int64_t count)
{
    for (int64_t n = count; n > 1; n /= 2) {
        float* averages = values + n;
        for (int64_t i = 0; i < n / 2; ++i)
            averages[i] = (values[2 * i] + values[2 * i + 1]) * 0.5f;
        values = averages;
    }
}

} // namespace columnkernels
