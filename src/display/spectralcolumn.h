// One column of a spectral picture: a frame of samples and its spectrum as magnitudes, with the
// vectors by which refinement moves energy.
#pragma once

#include "model/ilayer.h"
#include "model/types/arraytemplate.h"
#include "model/types/range.h"
#include "spectral/primitives/transform.h"

#include <memory>

// What all columns of one render share. Read by pool threads while the texture thread waits.
struct ColumnContext
{
    const ILayer* layer = nullptr;
    Range layerRange; // with what is attached
    int channel = 0;
    // Samples of the timeline that one frame takes; other than its size while the layer is stretched, as
    // the preview of a move does: its samples then lie farther apart or closer.
    int64_t frameSpan = 0;
    const Transform* settings = nullptr; // valid settings with a plan
    float timeSharpen = 0;               // 0 switches the vectors in time off
    float freqSharpen = 0;

    [[nodiscard]] bool refined() const { return timeSharpen + freqSharpen > 0; }
};

// A column is touched by one pool thread at a time; while columns are projected several may read it.
class ISpectralTextureTransform
{
public:
    // Pool thread. Brings the spectrum up to date with the layer: reads the samples, and when they
    // and the settings are those of the last run, leaves it there. Answers whether anything changed.
    // No allocation once the sizes have settled. `samples`, if not null, are those of the frame, read
    // already.
    virtual bool run(const ColumnContext& context, const float* samples = nullptr) = 0;
    virtual ~ISpectralTextureTransform() = default;
    // bins() values |X[k]|, k from 0 to M / 2 (real) or in the order of the complex transform. A
    // full-scale sinusoid reads 1.
    [[nodiscard]] virtual const ArrayTemplate<float>& magnitudes() const = 0;
    // bins() + 1 values in hops, or none while the factor is 0: how far in time the energy of a bin
    // lies from the column. The last is 0 (real) or that of bin 0 (complex).
    [[nodiscard]] virtual const ArrayTemplate<float>& timeShifts() const = 0;
    // The same in bins, along the frequency.
    [[nodiscard]] virtual const ArrayTemplate<float>& freqShifts() const = 0;
    // Says where the frame starts, before the first run and whenever a column is put to another use.
    // The arrays keep their memory.
    virtual void place(int64_t position) = 0;
};

// T is ArrayTemplate<float> for real transforms, ArrayTemplate<Complex> for complex ones.
template<class T>
class SpectralTextureTransform : public ISpectralTextureTransform
{
public:
    bool run(const ColumnContext& context, const float* samples) override;
    [[nodiscard]] const ArrayTemplate<float>& magnitudes() const override { return m_magnitudes; }
    [[nodiscard]] const ArrayTemplate<float>& timeShifts() const override { return m_timeShifts; }
    [[nodiscard]] const ArrayTemplate<float>& freqShifts() const override { return m_freqShifts; }
    void place(int64_t position) override
    {
        m_moved |= position != m_position;
        m_position = position;
    }

private:
    bool silence();
    [[nodiscard]] const float* readSamples(const ColumnContext& context) const;
    void transform(const ColumnContext& context, const typename T::Value* samples);

    int64_t m_position = 0; // first sample of the frame
    // The settings that the arrays were made with; the initial ones match no real settings.
    TransformSettings m_snapshot;
    bool m_moved = true;   // nothing here is of the present position
    bool m_silent = false; // all arrays are zero because the frame missed the layer
    T m_samples;
    ArrayTemplate<float> m_magnitudes;
    ArrayTemplate<float> m_timeShifts;
    ArrayTemplate<float> m_freqShifts;
};

// The kind that the settings ask for.
[[nodiscard]] std::unique_ptr<ISpectralTextureTransform> makeColumn(const TransformSettings& settings);
