#include "display/refinementmask.h"

#include <algorithm>
#include <cmath>

namespace {

float unit(float x)
{
    return std::min(std::max(x, 0.0f), 1.0f);
}

} // namespace

void applyRefinementMask(float* values, const RefinementField& field, int64_t count)
{
    const float t = field.timeSharpen;
    const float f = field.freqSharpen;
    for (int64_t k = 0; k < count; ++k) {
        const float a = t * field.time[k];
        const float b = f * field.freq[k];
        const float wt = a / field.distance;
        const float wf = b;
        const float w0 = 1 - wt - wf;
        const float at = wt * t * field.neighbourTime[k] + w0 * a + wf * t * field.time[k + 1];
        const float bt = wt * f * field.neighbourFreq[k] + w0 * b + wf * f * field.freq[k + 1];
        const float r2 = a * a + b * b;
        const float q = r2 > 0 ? unit((at * a + bt * b) / r2) : 0;
        const float m = r2 > 0 ? unit(q * 2 / std::sqrt(r2)) : 0;
        const float p = unit(2 - 2 * std::abs(a)) * unit(2 - 2 * std::abs(b));
        values[k] *= std::max(m, p);
    }
}
