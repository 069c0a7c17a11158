// The short-time transform: a DFT plan and the tables derived from the window.
#pragma once

#include "model/types/arraytemplate.h"
#include "model/types/transformsettings.h"

#include <memory>

class DftPlan;

// The settings N (frameSize), overlap, zeroPadding with everything that follows from them:
// H = N / overlap, M = N * zeroPadding, B = M / 2 + 1 bins (real) or M (complex).
//
// Spectra are unscaled in both directions: inverse(forward(x)) is M * x. A real spectrum is its
// lower half, M / 2 + 1 values from 0 to Nyquist; a complex one has M values, 0 up to M / 2 - 1 and
// then -M / 2 up to -1. Buffers handed to forward and inverse are 64-byte aligned (ArrayTemplate);
// source and destination may not overlap, and the source is never changed.
//
// A Transform is immutable once shared: others hold shared_ptr<const Transform>, and a change of
// settings makes a new one. Any number of threads may call the const members at once.
class Transform : public TransformSettings
{
public:
    // Settings 1, Rectangle, 0, 0, 0; no plan, empty tables.
    Transform();
    Transform(int32_t sampleType, WindowType windowType, int32_t frameSize, int32_t overlap,
              int32_t zeroPadding);
    explicit Transform(const TransformSettings& settings);
    Transform(const Transform& other);
    Transform& operator=(const Transform& other);
    ~Transform() override;
    [[nodiscard]] std::shared_ptr<const TransformSettings> clone() const override
    {
        return std::make_shared<Transform>(*this);
    }

    // Stores the settings and, when size, overlap and padding are at least 1 and M at most 2^26,
    // rebuilds plan and tables; otherwise there is no plan, and the tables stay as they were. Only
    // before the object is shared. Costs some milliseconds for a size that is new to the process.
    void reconfigure(int32_t sampleType, WindowType windowType, int32_t frameSize, int32_t overlap,
                     int32_t zeroPadding);

    [[nodiscard]] bool hasPlan() const;
    // M samples to bins() values. For real signals.
    void forward(const float* source, Complex* destination) const;
    void inverse(const Complex* source, float* destination) const;
    // M values to M values. For complex signals.
    void forward(const Complex* source, Complex* destination) const;
    void inverse(const Complex* source, Complex* destination) const;

    // `total` values: zeros, with the periodic window of `length` starting at (total - length) / 2;
    // length <= total.
    [[nodiscard]] static ArrayTemplate<float> makeWindow(WindowType type, int32_t length, int32_t total);

    ArrayTemplate<float> analysisWindow;   // N; sum 2, so that a full-scale sinusoid reads 1 in its bin
    ArrayTemplate<float> synthesisWindow;  // N; finite in [N/2 - H, N/2 + H), the span that is used
    ArrayTemplate<float> timeWindow;       // N; (i - N/2) * analysisWindow / N * overlap
    ArrayTemplate<float> derivativeWindow; // N
    ArrayTemplate<float> cumulativeWindow; // N; scale = overlap, flag = 1
    ArrayTemplate<float> lobeTable;        // 2048; scale = zeroPadding * 64, flag = 1
    ArrayTemplate<float> zeroFrame;        // M zeros

private:
    std::shared_ptr<const DftPlan> m_plan;
};
