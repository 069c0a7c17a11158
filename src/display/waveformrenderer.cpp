#include "display/waveformrenderer.h"

#include "base/parallel.h"
#include "model/types/arraytemplate.h"
#include "spectral/primitives/vectors.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

constexpr int64_t noKey = std::numeric_limits<int64_t>::min();
// Samples that one read takes: few enough that they are still in the nearest cache when the envelope is
// made of them, and enough that the locks on the way do not count.
constexpr int64_t readSize = 8192;

// Scratch of one thread.
float* scratch(int64_t floats)
{
    thread_local ArrayTemplate<float> samples;
    if (samples.size() < floats)
        samples.resize(floats);
    return samples.data();
}

// Running minimum and maximum; a column without any number is silent.
class Extremes
{
public:
    void add(const float* samples, int64_t count, bool complex)
    {
        if (complex)
            vec::minMax(reinterpret_cast<const Complex*>(samples), count, m_low, m_high);
        else
            vec::minMax(samples, count, m_low.re, m_high.re);
    }
    [[nodiscard]] QVector4D column(bool complex) const
    {
        QVector4D column;
        if (m_low.re <= m_high.re) {
            column.setX(m_low.re);
            column.setY(m_high.re);
        }
        if (complex && m_low.im <= m_high.im) {
            column.setZ(m_low.im);
            column.setW(m_high.im);
        }
        return column;
    }

private:
    static constexpr float most = std::numeric_limits<float>::max();
    Complex m_low{most, most};
    Complex m_high{-most, -most};
};

} // namespace

WaveformRenderer::WaveformRenderer(ILayerPtr layer, int channel, int ringSize)
    : m_layer(std::move(layer)),
      m_channel(channel),
      m_mask(ringSize - 1),
      m_columns(std::size_t(ringSize)),
      m_keys(std::size_t(ringSize), noKey)
{
}

void WaveformRenderer::clear()
{
    std::fill(m_keys.begin(), m_keys.end(), noKey);
}

WaveformTextureDataPtr WaveformRenderer::render(const WaveformRequest& request, bool refresh,
                                                const std::atomic<bool>& cancel)
{
    auto block = std::make_unique<WaveformTextureData>();
    block->layer = m_layer;
    block->filtering = request.filtering;
    block->placement = {request.timeShift, double(request.layerScale.first)};
    m_readCount = 0;
    const SamplingFormat format = m_layer->format();
    const Area area{request.range.start, 0, request.range.length, 1};
    const TextureGrid grid =
        makeTextureGrid(area, 1, request.step, request.upsample, 0, m_layer->range(true));
    const int64_t size = int64_t(m_columns.size());
    if (grid.isEmpty() || grid.columnCount > size || grid.size.width() > size || m_channel >= format.channels)
        return block;

    const Source source{format, request.step, request.timeShift, request.layerScale};
    if (refresh || !(source == m_source))
        clear();
    m_source = source;
    // Of the layer's own samples.
    const double samples = std::min(grid.step / double(source.layerScale.first), double(longestWindow));
    const int64_t window = std::max<int64_t>(1, int64_t(std::ceil(samples)));
    const std::vector<Range> runs = missing(grid, window);
    parallelFor(int64_t(runs.size()), [&](int64_t i) {
        if (!cancel)
            readColumns(grid, runs[std::size_t(i)], window);
    });
    if (cancel) {
        clear();
        return nullptr;
    }
    for (const Range& run : runs)
        m_readCount += run.length;
    fill(*block, grid);
    return block;
}

// Runs of columns that are not in the ring, each short enough for one read; a run of one column may be
// longer.
std::vector<Range> WaveformRenderer::missing(const TextureGrid& grid, int64_t window) const
{
    std::vector<Range> runs;
    // Neighbours in a stretched layer are no parts of one span.
    const int64_t longest = m_source.isStretched() ? 1 : std::max<int64_t>(1, readSize / window);
    for (int64_t c = grid.firstColumn; c < grid.firstColumn + grid.columnCount; ++c) {
        if (m_keys[slot(c)] == grid.key(c))
            continue;
        if (!runs.empty() && runs.back().end() == c && runs.back().length < longest)
            ++runs.back().length;
        else
            runs.push_back({c, 1});
    }
    return runs;
}

int64_t WaveformRenderer::startAbout(int64_t key, int64_t samples) const
{
    return key - int64_t(double(samples) * double(m_source.layerScale.first) / 2);
}

void WaveformRenderer::readColumns(const TextureGrid& grid, const Range& columns, int64_t window)
{
    if (window > readSize)
        return readLongColumn(grid, columns.start, window);
    const bool complex = m_source.format.isComplex();
    const int64_t first = startAbout(grid.key(columns.start), window);
    const int64_t length = grid.key(columns.end() - 1) - grid.key(columns.start) + window;
    float* samples = scratch(length * m_source.format.sampleType);
    m_layer->read(samples, {first, length}, m_channel, true, true);
    for (int64_t c = columns.start; c < columns.end(); ++c) {
        Extremes extremes;
        const int64_t at = grid.key(c) - grid.key(columns.start);
        extremes.add(samples + at * m_source.format.sampleType, window, complex);
        m_columns[slot(c)] = extremes.column(complex);
        m_keys[slot(c)] = grid.key(c);
    }
}

void WaveformRenderer::readLongColumn(const TextureGrid& grid, int64_t column, int64_t window)
{
    const bool complex = m_source.format.isComplex();
    const int64_t first = startAbout(grid.key(column), window);
    float* samples = scratch(readSize * m_source.format.sampleType);
    Extremes extremes;
    for (int64_t done = 0; done < window; done += readSize) {
        const int64_t count = std::min(readSize, window - done);
        const int64_t at = first + int64_t(double(done) * double(m_source.layerScale.first));
        m_layer->read(samples, {at, count}, m_channel, true, true);
        extremes.add(samples, count, complex);
    }
    m_columns[slot(column)] = extremes.column(complex);
    m_keys[slot(column)] = grid.key(column);
}

void WaveformRenderer::fill(WaveformTextureData& block, const TextureGrid& grid)
{
    block.range = {grid.area.x, grid.area.width};
    block.width = grid.size.width();
    block.step = grid.step;
    block.upsample = grid.upsample;
    block.firstColumn = grid.firstColumn;
    block.columnCount = grid.columnCount;
    block.data = std::make_unique<QVector4D[]>(std::size_t(block.width));
    for (int64_t i = 0; i < grid.columnCount; ++i)
        block.data[std::size_t(i * grid.upsample)] = m_columns[slot(grid.firstColumn + i)];
    if (grid.upsample < 2)
        return;
    if (m_cubic.upsample() != grid.upsample)
        m_cubic.build(grid.upsample);
    static_assert(sizeof(QVector4D) == 4 * sizeof(float));
    for (int64_t gap = 0; gap + 1 < grid.columnCount; ++gap)
        m_cubic.interpolate(reinterpret_cast<float*>(block.data.get()), 4, grid.columnCount, gap);
}
