#include "spectral/primitives/transform.h"

#include "spectral/primitives/dftplan.h"
#include "spectral/primitives/vectors.h"
#include "spectral/primitives/windows.h"

#include <algorithm>
#include <cassert>
#include <cmath>

namespace {

constexpr double twoPi = 6.283185307179586;
// Table of a window's main lobe: the spectrum of a short window, zero-padded 32 times.
constexpr int32_t lobeWindowLength = 128;
constexpr int32_t lobeLength = 4096;
constexpr float lobeSteps = 64; // entries of the table in one bin of the unpadded spectrum, over zeroPadding
// Longest DFT that is planned: a real size and padding stay far below.
constexpr int64_t maxDftLength = int64_t(1) << 26;

void normalise(ArrayTemplate<float>& window)
{
    const float sum = vec::sum(window.data(), window.size());
    vec::multiplyConstant(window.data(), window.data(), 2 / sum, window.size());
}

// What resynthesis multiplies a frame with: it undoes the analysis window and the gain of the DFT
// and leaves a triangle of half-width `hop`; such triangles at every hop sum to 1.
void writeSynthesisWindow(const ArrayTemplate<float>& analysis, int32_t hop, int32_t dftLength,
                          ArrayTemplate<float>& synthesis)
{
    const int32_t n = int32_t(analysis.size());
    for (int32_t i = 0; i < n; ++i) {
        const float triangle = std::max(0.0f, 1 - std::abs(float(n / 2 - i) / float(hop)));
        synthesis[i] = triangle / (float(dftLength) * analysis[i]);
    }
}

// Time from the centre, in hops, times the window.
void writeTimeWindow(const ArrayTemplate<float>& analysis, int32_t overlap, ArrayTemplate<float>& time)
{
    const int32_t n = int32_t(analysis.size());
    for (int32_t i = 0; i < n; ++i)
        time[i] = float(i - n / 2) * analysis[i] / float(n);
    vec::multiplyConstant(time.data(), time.data(), float(overlap), n);
}

// Slope of the window by central differences, scaled so that the quotient of its spectrum and the
// window's own is a distance in bins of the padded spectrum.
void writeDerivativeWindow(const ArrayTemplate<float>& analysis, int32_t zeroPadding,
                           ArrayTemplate<float>& derivative)
{
    const int32_t n = int32_t(analysis.size());
    if (n < 2)
        return;
    for (int32_t i = 1; i < n - 1; ++i)
        derivative[i] = (analysis[i + 1] - analysis[i - 1]) * float(n / 2);
    derivative[0] = (analysis[1] - analysis[0]) * float(n);
    derivative[n - 1] = (analysis[n - 1] - analysis[n - 2]) * float(n);
    vec::multiplyConstant(derivative.data(), derivative.data(), float(-zeroPadding / twoPi), n);
}

// Share of the window from its start up to n - 1 - i, both included.
void writeCumulativeWindow(const ArrayTemplate<float>& analysis, ArrayTemplate<float>& cumulative)
{
    const int64_t n = analysis.size();
    double sum = 0;
    for (int64_t i = 0; i < n; ++i) {
        sum += double(analysis[i]);
        cumulative[n - 1 - i] = float(sum);
    }
    vec::multiplyConstant(cumulative.data(), cumulative.data(), 1 / cumulative[0], n);
}

void writeLobeTable(WindowType type, ArrayTemplate<float>& lobe)
{
    const DftPlan plan(lobeLength, DftKind::Real);
    const ArrayTemplate<float> window = Transform::makeWindow(type, lobeWindowLength, lobeLength);
    ArrayTemplate<Complex> spectrum(lobeLength / 2 + 1);
    plan.forward(window.data(), spectrum.data());
    vec::magnitude(lobe.data(), spectrum.data(), lobe.size());
    vec::multiplyConstant(lobe.data(), lobe.data(), 1 / lobe[0], lobe.size());
}

} // namespace

Transform::Transform() = default;

Transform::Transform(int32_t type, WindowType window, int32_t size, int32_t overlapCount, int32_t padding)
{
    reconfigure(type, window, size, overlapCount, padding);
}

Transform::Transform(const TransformSettings& settings)
    : Transform(settings.sampleType, settings.windowType, settings.frameSize, settings.overlap,
                settings.zeroPadding)
{
}

Transform::Transform(const Transform& other) = default;
Transform& Transform::operator=(const Transform& other) = default;
Transform::~Transform() = default;

void Transform::reconfigure(int32_t type, WindowType window, int32_t size, int32_t overlapCount,
                            int32_t padding)
{
    sampleType = type;
    windowType = window;
    frameSize = size;
    overlap = overlapCount;
    zeroPadding = padding;
    m_plan.reset();
    if (!isValid() || int64_t(frameSize) * zeroPadding > maxDftLength)
        return;
    m_plan = std::make_shared<const DftPlan>(dftLength(), sampleType == 1 ? DftKind::Real : DftKind::Complex);

    analysisWindow = makeWindow(windowType, frameSize, frameSize);
    normalise(analysisWindow);
    for (auto* table : {&synthesisWindow, &timeWindow, &derivativeWindow, &cumulativeWindow})
        *table = ArrayTemplate<float>(frameSize);
    lobeTable = ArrayTemplate<float>(lobeLength / 2);
    cumulativeWindow.scale = float(overlap);
    cumulativeWindow.flag = 1;
    lobeTable.scale = float(zeroPadding) * lobeSteps;
    lobeTable.flag = 1;
    writeSynthesisWindow(analysisWindow, hop(), dftLength(), synthesisWindow);
    writeTimeWindow(analysisWindow, overlap, timeWindow);
    writeDerivativeWindow(analysisWindow, zeroPadding, derivativeWindow);
    writeCumulativeWindow(analysisWindow, cumulativeWindow);
    writeLobeTable(windowType, lobeTable);
    zeroFrame = ArrayTemplate<float>(dftLength());
}

bool Transform::hasPlan() const
{
    return m_plan != nullptr;
}

void Transform::forward(const float* source, Complex* destination) const
{
    assert(m_plan);
    m_plan->forward(source, destination);
}

void Transform::inverse(const Complex* source, float* destination) const
{
    assert(m_plan);
    m_plan->inverse(source, destination);
}

void Transform::forward(const Complex* source, Complex* destination) const
{
    assert(m_plan);
    m_plan->forward(source, destination);
}

void Transform::inverse(const Complex* source, Complex* destination) const
{
    assert(m_plan);
    m_plan->inverse(source, destination);
}

ArrayTemplate<float> Transform::makeWindow(WindowType type, int32_t length, int32_t total)
{
    ArrayTemplate<float> window(total);
    assert(length <= total);
    if (length <= total && total > 0)
        writeWindow(type, length, window.data() + (total - length) / 2);
    return window;
}
