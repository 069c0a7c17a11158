#include "ui/levelprobe.h"

#include <cmath>
#include <complex>
#include <vector>

double levelAt(const ILayer& layer, const Transform& transform, int channel, double time, double hz)
{
    const SamplingFormat format = layer.format();
    const int64_t size = transform.frameSize;
    if (!transform.isValid() || transform.analysisWindow.size() != size || !(format.sampleRate > 0) ||
        channel < 0 || channel >= format.channels || !std::isfinite(time) || !std::isfinite(hz) ||
        std::abs(time) > double(1LL << 52))
        return 0;
    const int floats = format.sampleType;
    std::vector<float> samples(std::size_t(size * floats));
    layer.read(samples.data(), {std::llround(time) - size / 2, size}, channel, true);

    // One rotation after the other, in double: after 32768 steps the error is still below 1e-11.
    const std::complex<double> step = std::polar(1.0, -2 * M_PI * hz / format.sampleRate);
    std::complex<double> rotation = 1;
    std::complex<double> sum = 0;
    for (int64_t i = 0; i < size; ++i, rotation *= step) {
        const std::size_t at = std::size_t(i * floats);
        const std::complex<double> sample(samples[at], floats > 1 ? samples[at + 1] : 0);
        sum += sample * double(transform.analysisWindow[i]) * rotation;
    }
    return std::abs(sum);
}
