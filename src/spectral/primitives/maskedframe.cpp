#include "spectral/primitives/maskedframe.h"

#include "spectral/primitives/maskproduct.h"
#include "spectral/primitives/spectrumkernels.h"
#include "spectral/primitives/vectors.h"

#include <algorithm>

namespace {

// Of one thread.
template<class Sample>
struct Scratch
{
    ArrayTemplate<Sample> frame; // M points
    ArrayTemplate<Complex> spectrum;
};

void addTo(float* sum, const float* part, int64_t count)
{
    vec::add(sum, sum, part, count);
}

void addTo(Complex* sum, const Complex* part, int64_t count)
{
    addTo(reinterpret_cast<float*>(sum), reinterpret_cast<const float*>(part), 2 * count);
}

template<class Sample>
void addFrame(const Transform& transform, const float* maskRow, const Sample* samples, Sample* middle)
{
    thread_local Scratch<Sample> scratch;
    const int64_t size = transform.frameSize;
    const int64_t length = transform.dftLength();
    scratch.frame.resize(length);
    scratch.spectrum.resize(transform.bins());
    Sample* frame = scratch.frame.data();
    spectrum::windowFrame(frame, samples, transform.analysisWindow.data(), size, length);
    transform.forward(frame, scratch.spectrum.data());
    multiplyByMask(scratch.spectrum.data(), maskRow, transform);
    transform.inverse(scratch.spectrum.data(), frame);
    // An overlap of 1 has a hop longer than half the frame.
    const int64_t half = std::min<int64_t>(transform.hop(), size / 2);
    const int64_t from = size / 2 - half;
    Sample* centre = frame + (length - size) / 2 + from;
    vec::multiply(centre, centre, transform.synthesisWindow.data() + from, 2 * half);
    addTo(middle - half, centre, 2 * half);
}

} // namespace

void addMaskedFrame(const Transform& transform, const float* maskRow, const float* samples, float* middle)
{
    if (vec::isZero(maskRow, transform.bins()) ||
        vec::isZero(samples, int64_t(transform.frameSize) * transform.sampleType))
        return;
    if (transform.sampleType == 1)
        addFrame(transform, maskRow, samples, middle);
    else
        addFrame(transform, maskRow, reinterpret_cast<const Complex*>(samples),
                 reinterpret_cast<Complex*>(middle));
}
