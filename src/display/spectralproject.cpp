#include "display/spectralproject.h"

#include "display/columnkernels.h"
#include "display/refinementmask.h"
#include "spectral/primitives/vectors.h"

#include <algorithm>
#include <cmath>

namespace {

// Buffers of one pool thread.
struct ProjectScratch
{
    ArrayTemplate<float> column;
    ArrayTemplate<float> zeros;
};

ProjectScratch& scratch(const TransformSettings& settings)
{
    thread_local ProjectScratch buffers;
    buffers.column.resize(int64_t(settings.sampleType) * settings.dftLength());
    buffers.zeros.resize(settings.bins() + 1);
    return buffers;
}

int64_t maxBin(const TransformSettings& settings)
{
    return int64_t(settings.sampleType) * (settings.dftLength() / 2);
}

const float* orZeros(const ArrayTemplate<float>* shifts, const ArrayTemplate<float>& zeros)
{
    return shifts && !shifts->isEmpty() ? shifts->data() : zeros.data();
}

} // namespace

void finishColumn(float* column, const TransformSettings& settings)
{
    const int64_t top = maxBin(settings);
    column[int64_t(settings.sampleType) * settings.dftLength() - 1] = column[top];
    columnkernels::buildPyramid(column, top);
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
    const ArrayTemplate<float>& magnitudes = m_current.magnitudes();
    float* column = scratch(settings).column.data();
    if (settings.sampleType == SampleTypeReal) {
        vec::copy(column, magnitudes.data(), magnitudes.size());
    } else {
        // Negative frequencies below 0 Hz; the spectrum is cyclic.
        const int64_t half = settings.dftLength() / 2;
        const int64_t upper = magnitudes.size() - half;
        vec::copy(column, magnitudes.data() + half, upper);
        vec::copy(column + upper, magnitudes.data(), half);
        column[magnitudes.size()] = column[0];
    }
    if (m_context.refined())
        refine(column);
    finishColumn(column, settings);
    m_convert.projectColumn(column, destination);
}

void SpectralTextureProject::refine(float* column) const
{
    const Transform& settings = *m_context.settings;
    const ArrayTemplate<float>& zeros = scratch(settings).zeros;
    RefinementField field;
    field.time = orZeros(&m_current.timeShifts(), zeros);
    field.freq = orZeros(&m_current.freqShifts(), zeros);
    field.neighbourTime = orZeros(m_neighbour ? &m_neighbour->timeShifts() : nullptr, zeros);
    field.neighbourFreq = orZeros(m_neighbour ? &m_neighbour->freqShifts() : nullptr, zeros);
    field.timeSharpen = m_context.timeSharpen;
    field.freqSharpen = m_context.freqSharpen;
    field.distance = m_stepSigned / float(std::max(1, settings.hop()));
    const int64_t bins = settings.bins();
    if (settings.sampleType == SampleTypeReal) {
        applyRefinementMask(column, field, bins);
        return;
    }
    const int64_t half = settings.dftLength() / 2;
    RefinementField upper = field;
    for (const float** part : {&upper.time, &upper.freq, &upper.neighbourTime, &upper.neighbourFreq})
        *part += half;
    applyRefinementMask(column, upper, bins - half);
    applyRefinementMask(column + (bins - half), field, half);
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
