#include "display/spectralproject.h"

#include "spectral/primitives/spectrumkernels.h"
#include "spectral/primitives/vectors.h"

#include <algorithm>
#include <cmath>

namespace {

float* scratchColumn(const TransformSettings& settings)
{
    // Of one pool thread.
    thread_local ArrayTemplate<float> column;
    column.resize(int64_t(settings.sampleType) * settings.dftLength());
    return column.data();
}

int64_t maxBin(const TransformSettings& settings)
{
    return int64_t(settings.sampleType) * (settings.dftLength() / 2);
}

// Rows of shifts from bin `first` on.
spectrum::ShiftRows shiftRows(const ISpectralTextureTransform* column, int64_t first)
{
    const auto row = [first](const ArrayTemplate<float>& shifts) {
        return shifts.isEmpty() ? nullptr : shifts.data() + first;
    };
    if (!column)
        return {};
    return {row(column->timeShifts()), row(column->freqShifts())};
}

} // namespace

void finishColumn(float* column, const TransformSettings& settings)
{
    const int64_t top = maxBin(settings);
    column[int64_t(settings.sampleType) * settings.dftLength() - 1] = column[top];
    spectrum::buildPyramid(column, top);
}

SpectralTextureProject::SpectralTextureProject(const ColumnContext& context, const Convert& convert,
                                               float stepSigned, const ISpectralTextureTransform& current,
                                               const ISpectralTextureTransform* neighbour)
    : m_context(context),
      m_convert(convert),
      m_stepSigned(stepSigned),
      m_current(current),
      m_neighbour(neighbour)
{
}

void SpectralTextureProject::run(float* destination) const
{
    const Transform& settings = *m_context.settings;
    const int64_t bins = settings.bins();
    float* column = scratchColumn(settings);
    if (settings.sampleType == SampleTypeReal) {
        copyBins(column, 0, bins);
    } else {
        // Negative frequencies below 0 Hz; the spectrum is cyclic.
        const int64_t half = settings.dftLength() / 2;
        copyBins(column, half, bins - half);
        copyBins(column + (bins - half), 0, half);
        column[bins] = m_current.magnitudes()[half];
    }
    finishColumn(column, settings);
    m_convert.projectColumn(column, destination);
}

void SpectralTextureProject::copyBins(float* destination, int64_t first, int64_t count) const
{
    const float* magnitudes = m_current.magnitudes().data() + first;
    if (!m_context.refined()) {
        vec::copy(destination, magnitudes, count);
        return;
    }
    // In hops of the layer's own samples.
    const TransformSettings& settings = *m_context.settings;
    const float stretch = float(m_context.frameSpan) / float(settings.frameSize);
    const float distance = m_stepSigned / (float(std::max(1, settings.hop())) * stretch);
    spectrum::refine(destination, magnitudes, shiftRows(&m_current, first), shiftRows(m_neighbour, first),
                     count, {m_context.timeSharpen, m_context.freqSharpen, distance});
}

namespace {

// One target of a bin along one axis: the nearest cell and the next one in the direction of the rest.
struct Target
{
    int64_t near = 0;
    int64_t far = 0;
    float rest = 0;

    Target(int64_t from, float shift, int64_t last)
    {
        const float whole = std::round(shift);
        rest = shift - whole;
        // Vectors of nearly silent bins may be huge.
        const auto cell = [&](double position) { return int64_t(std::clamp(position, 0.0, double(last))); };
        near = cell(double(from) + double(whole));
        far = cell(double(from) + double(whole) + (rest > 0 ? 1 : -1));
    }
};

void raise(float& cell, float value)
{
    cell = std::max(cell, value);
}

} // namespace

void scatterColumns(const ColumnContext& context, const Convert& convert,
                    const std::vector<const ISpectralTextureTransform*>& columns, float* block,
                    int64_t stride)
{
    const Transform& settings = *context.settings;
    const int64_t length = settings.dftLength();
    const int64_t bins = settings.bins();
    const int64_t lastColumn = int64_t(columns.size()) - 1;
    ArrayTemplate<float> cells(int64_t(columns.size()) * length);
    const auto shift = [](const ArrayTemplate<float>& shifts, int64_t k, float factor) {
        return shifts.isEmpty() ? 0 : shifts[k] * factor;
    };
    for (int64_t c = 0; c <= lastColumn; ++c) {
        const ISpectralTextureTransform& column = *columns[std::size_t(c)];
        for (int64_t k = 0; k < bins; ++k) {
            const float magnitude = column.magnitudes()[k];
            const Target time(c, shift(column.timeShifts(), k, context.timeSharpen), lastColumn);
            const Target freq(k, shift(column.freqShifts(), k, context.freqSharpen), bins);
            raise(cells[time.near * length + freq.near], magnitude);
            raise(cells[time.far * length + freq.near], 2 * std::abs(time.rest) * magnitude);
            raise(cells[time.near * length + freq.far], 2 * std::abs(freq.rest) * magnitude);
            raise(cells[time.far * length + freq.far], 4 * std::abs(time.rest * freq.rest) * magnitude);
        }
    }
    for (int64_t c = 0; c <= lastColumn; ++c) {
        finishColumn(&cells[c * length], settings);
        convert.projectColumn(&cells[c * length], block + c * stride);
    }
}
