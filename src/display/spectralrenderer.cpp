#include "display/spectralrenderer.h"

#include "base/parallel.h"

#include <algorithm>
#include <cstring>

namespace {

// Columns, or gaps between them, that one task takes: few enough that they are still in the cache when
// the rows are made, and that all threads end together.
constexpr int64_t chunkSize = 16;

// The last chunk takes the rest, so that it never is a single column without its neighbour.
int64_t chunkCount(int64_t count)
{
    return std::max<int64_t>(1, count / chunkSize);
}

Range chunkRange(int64_t chunk, int64_t count)
{
    const int64_t first = chunk * chunkSize;
    const int64_t last = chunk + 1 == chunkCount(count) ? count : first + chunkSize;
    return {first, last - first};
}

// Samples of the timeline under one frame of the request.
int frameSpan(const TextureRequest& request)
{
    constexpr double longest = 1 << 30;
    const int size = request.settings ? request.settings->frameSize : 0;
    return int(std::lround(std::min(longest, size * double(request.layerScale.first))));
}

} // namespace

struct SpectralRenderer::Job
{
    ColumnContext context;
    TextureGrid grid;
    const std::atomic<bool>& cancel;
    float* data = nullptr;
    // Of the last picture, where rows may be copied from: column i of this picture was column
    // i + lastShift of that.
    const float* last = nullptr;
    int64_t lastShift = 0;
    int64_t lastCount = 0;

    [[nodiscard]] int64_t rows() const { return grid.size.height(); }
    // Place of transform column i in the block.
    [[nodiscard]] float* rowsOf(int64_t i) const { return data + i * grid.upsample * rows(); }
    [[nodiscard]] const float* lastRowsOf(int64_t i) const
    {
        return last + (i + lastShift) * grid.upsample * rows();
    }
    [[nodiscard]] bool wasThere(int64_t i) const
    {
        return last && i + lastShift >= 0 && i + lastShift < lastCount;
    }
};

SpectralRenderer::SpectralRenderer(ILayerPtr layer, int channel, int ringSize)
    : m_layer(std::move(layer)),
      m_channel(channel),
      m_ring(ringSize)
{
}

void SpectralRenderer::clear()
{
    m_ring.clear();
    m_lastData.reset();
    m_projection = {};
    m_lastRequest = {};
    m_pool.clear();
}

bool SpectralRenderer::canShow(const TextureRequest& request, const TextureGrid& grid) const
{
    const SamplingFormat format = m_layer->format();
    return !grid.isEmpty() && grid.columnCount <= m_ring.size() && request.settings &&
           request.settings->isValid() && request.settings->hasPlan() && m_channel < format.channels &&
           format.isComplex() == (request.settings->sampleType != SampleTypeReal);
}

SpectralTextureDataPtr SpectralRenderer::render(const TextureRequest& request, bool refresh,
                                                const std::atomic<bool>& cancel)
{
    const Range layerRange = m_layer->range(true);
    const int span = frameSpan(request);
    auto picture = std::make_unique<SpectralTextureData>();
    picture->layer = m_layer;
    picture->filtering = request.filtering;
    picture->placement = {request.timeShift, double(request.layerScale.first)};
    m_counts = {};
    Job job{.context = {m_layer.get(), layerRange, m_channel, span, request.settings.get(),
                        request.timeSharpen, request.freqSharpen},
            .grid = makeTextureGrid(request.area, request.size.height(), request.step, request.upsample, span,
                                    layerRange),
            .cancel = cancel};
    if (!canShow(request, job.grid))
        return picture;

    const int64_t count = job.grid.columnCount;
    m_ring.arrange(job.grid, *request.settings, span, m_run);
    m_counts.columns = count;
    m_counts.placed = std::count(m_run.begin(), m_run.end(), 1);
    if (refresh || mustReadAgain(request))
        std::fill(m_run.begin(), m_run.end(), 1);
    m_changed.assign(std::size_t(count), 0);
    m_copied.assign(std::size_t(count), 0);

    prepareProjection(request, job.grid);
    if (m_lastData) {
        job.last = m_lastData.get();
        job.lastShift = job.grid.firstColumn - m_lastGrid.firstColumn;
        job.lastCount = m_lastGrid.columnCount;
    }
    const std::shared_ptr<float[]> data = m_pool.take(int64_t(job.grid.size.width()) * job.rows());
    job.data = data.get();

    const bool scattered = request.scatter && request.settings->sampleType == SampleTypeReal;
    if (scattered)
        scatter(job);
    else
        project(job);
    if (cancel)
        return nullptr;
    interpolate(job);
    m_counts.changed = std::count(m_changed.begin(), m_changed.end(), 1);
    m_counts.projected = count - std::count(m_copied.begin(), m_copied.end(), 1);

    m_lastRequest = request;
    m_lastGrid = job.grid;
    m_lastData = data;
    if (scattered)
        m_lastData.reset();
    picture->area = job.grid.area;
    picture->size = job.grid.size;
    picture->data = data;
    return picture;
}

// What changes the contents of columns, or which of their arrays are there, without moving them.
bool SpectralRenderer::mustReadAgain(const TextureRequest& request) const
{
    const TextureRequest& last = m_lastRequest;
    return last.settings != request.settings || last.timeSharpen != request.timeSharpen ||
           last.freqSharpen != request.freqSharpen || last.timeShift != request.timeShift ||
           last.layerScale != request.layerScale;
}

// Rows of the last picture are of use only while nothing but the columns changes.
void SpectralRenderer::prepareProjection(const TextureRequest& request, const TextureGrid& grid)
{
    const Projection projection{request.settings,  m_layer->format(),   grid.step,          grid.upsample,
                                grid.area.y,       grid.area.height,    grid.size.height(), request.freqScale,
                                request.filtering, request.timeSharpen, request.freqSharpen};
    // Refinement weighs the distance of columns in samples of the layer.
    if (projection == m_projection && request.layerScale == m_lastRequest.layerScale)
        return;
    m_projection = projection;
    m_lastData.reset();
    m_convert = Convert(projection.format, *request.settings);
    m_convert.freqScale = request.freqScale;
    m_convert.filtering = request.filtering;
    m_convert.buildRowTable(grid.area, grid.size.height(), true);
    m_convert.buildCubicTable(grid.upsample);
}

void SpectralRenderer::project(Job& job)
{
    const int64_t chunks = chunkCount(job.grid.columnCount);
    // The mask reads the next column, which for the last one of a chunk is the first of the next.
    if (job.context.refined())
        parallelFor(chunks, [this, &job](int64_t chunk) { runColumn(job, chunk * chunkSize); });
    parallelFor(chunks, [this, &job](int64_t chunk) { runChunk(job, chunk); });
}

// The samples of all columns of a chunk that must run, in one read, where their frames overlap or
// nearly so; `first` is where they begin. Null where single reads cost less.
const float* SpectralRenderer::readSpan(Job& job, const Range& columns, int64_t& first) const
{
    const auto begin = m_run.begin() + columns.start;
    const auto end = m_run.begin() + columns.end();
    const int64_t running = std::count(begin, end, 1);
    // The frames of a stretched layer are no parts of one span.
    if (running < 2 || job.context.frameSpan != job.context.settings->frameSize)
        return nullptr;
    const int64_t before = std::find(begin, end, 1) - m_run.begin();
    const int64_t after = m_run.rend() - std::find(std::make_reverse_iterator(end), m_run.rend(), 1);
    const int64_t size = job.context.frameSpan;
    first = job.grid.key(job.grid.firstColumn + before) - size / 2;
    const int64_t length = job.grid.key(job.grid.firstColumn + after - 1) - size / 2 + size - first;
    if (length > running * size)
        return nullptr;
    thread_local ArrayTemplate<float> samples;
    const int64_t floats = length * job.context.settings->sampleType;
    if (samples.size() < floats)
        samples.resize(floats);
    job.context.layer->read(samples.data(), {first, length}, m_channel, true, true);
    return samples.data();
}

void SpectralRenderer::runChunk(Job& job, int64_t chunk)
{
    const Range columns = chunkRange(chunk, job.grid.columnCount);
    const TransformSettings& settings = *job.context.settings;
    const bool refined = job.context.refined();
    // The first column of a refined chunk has run.
    const int64_t done = refined ? 1 : 0;
    int64_t first = 0;
    const float* span = readSpan(job, {columns.start + done, columns.length - done}, first);
    for (int64_t i = columns.start; i < columns.end(); ++i) {
        if (job.cancel)
            return;
        const int64_t position = job.grid.key(job.grid.firstColumn + i) - job.context.frameSpan / 2;
        const float* samples = span ? span + settings.sampleType * (position - first) : nullptr;
        if (!refined || i > columns.start)
            runColumn(job, i, samples);
    }
    // Apart from the transforms, so that neither pushes the tables of the other out of the cache; the
    // columns themselves are still there.
    for (int64_t i = columns.start; i < columns.end() && !job.cancel; ++i)
        projectColumn(job, i);
}

void SpectralRenderer::runColumn(Job& job, int64_t column, const float* samples)
{
    if (m_run[std::size_t(column)])
        m_changed[std::size_t(column)] = m_ring.at(job.grid.firstColumn + column).run(job.context, samples);
}

bool SpectralRenderer::keepsRows(const Job& job, int64_t column) const
{
    if (!job.wasThere(column) || m_changed[std::size_t(column)])
        return false;
    // Refined rows depend on the next column too, and the last column looks the other way.
    return !job.context.refined() || (column + 1 < job.grid.columnCount && job.wasThere(column + 1) &&
                                      !m_changed[std::size_t(column + 1)]);
}

void SpectralRenderer::projectColumn(Job& job, int64_t column)
{
    if (keepsRows(job, column)) {
        m_copied[std::size_t(column)] = 1;
        std::memcpy(job.rowsOf(column), job.lastRowsOf(column), std::size_t(job.rows()) * sizeof(float));
        return;
    }
    const int64_t at = job.grid.firstColumn + column;
    const bool last = column + 1 == job.grid.columnCount;
    const ISpectralTextureTransform* neighbour = nullptr;
    if (job.grid.columnCount > 1)
        neighbour = &m_ring.at(last ? at - 1 : at + 1);
    const auto step = float(last ? -job.grid.step : job.grid.step);
    const SpectralTextureProject project(job.context, m_convert, step, m_ring.at(at), neighbour);
    project.run(job.rowsOf(column));
}

void SpectralRenderer::scatter(Job& job)
{
    parallelFor(job.grid.columnCount, [this, &job](int64_t column) { runColumn(job, column); });
    std::vector<const ISpectralTextureTransform*> columns;
    for (int64_t i = 0; i < job.grid.columnCount; ++i)
        columns.push_back(&m_ring.at(job.grid.firstColumn + i));
    scatterColumns(job.context, m_convert, columns, job.data, job.grid.upsample * job.rows());
}

void SpectralRenderer::interpolate(Job& job)
{
    const int64_t gaps = job.grid.columnCount - 1;
    if (job.grid.upsample < 2 || gaps < 1)
        return;
    parallelFor(chunkCount(gaps), [this, &job, gaps](int64_t chunk) {
        const Range range = chunkRange(chunk, gaps);
        for (int64_t gap = range.start; gap < range.end(); ++gap)
            interpolateGap(job, gap);
    });
}

void SpectralRenderer::interpolateGap(Job& job, int64_t gap) const
{
    // Four columns make a gap, three the first and the last one.
    const auto inside = [](int64_t index, int64_t count) { return index > 0 && index + 2 < count; };
    const bool stays = inside(gap, job.grid.columnCount) && inside(gap + job.lastShift, job.lastCount) &&
                       m_copied[std::size_t(gap - 1)] && m_copied[std::size_t(gap)] &&
                       m_copied[std::size_t(gap + 1)] && m_copied[std::size_t(gap + 2)];
    if (stays)
        std::memcpy(job.rowsOf(gap) + job.rows(), job.lastRowsOf(gap) + job.rows(),
                    std::size_t(job.grid.upsample - 1) * std::size_t(job.rows()) * sizeof(float));
    else
        m_convert.interpolateColumns(job.data, job.rows(), job.grid.columnCount, gap);
}
