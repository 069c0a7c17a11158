#include "spectral/maskedcopy.h"

#include "base/parallel.h"
#include "spectral/primitives/maskedframe.h"
#include "spectral/primitives/vectors.h"
#include "spectral/spectralbuffer.h"

#include <algorithm>
#include <limits>
#include <vector>

namespace {

using State = MaskedResult::State;

// Of mask that is held at once.
constexpr int64_t stripBytes = 8 << 20;
constexpr int64_t fewestRows = 16;
// Neighbouring frames that one task takes.
constexpr int64_t longestRun = 16;

int64_t floorDivide(int64_t a, int64_t b)
{
    return a / b - (a % b < 0);
}

// Frames `first` .. `last`; none when last < first.
struct Frames
{
    int64_t first = 0;
    int64_t last = -1;
};

Frames framesOf(const MaskedArea& area)
{
    const Range range = area.selection.range();
    const int32_t hop = area.transform->hop();
    return {SpectralBuffer::frameAt(range.start, hop), SpectralBuffer::frameAt(range.end(), hop)};
}

// The samples that frames write, from time 0 on.
Range reachOf(const Frames& frames, int64_t hop)
{
    if (frames.last < frames.first)
        return {};
    const Range all{hop * (frames.first - 1), hop * (frames.last - frames.first + 2)};
    return all.intersected({0, std::max<int64_t>(all.end(), 0)});
}

// Of them those whose windows see samples of `data`.
Frames liveFrames(const Frames& all, const Range& data, const Transform& transform)
{
    const int64_t hop = transform.hop();
    const int64_t size = transform.frameSize;
    if (data.isEmpty())
        return {};
    return {std::max(all.first, floorDivide(data.start - size, hop)),
            std::min(all.last, floorDivide(data.end() + size, hop))};
}

bool isUsable(const ILayerPtr& layer, const MaskedArea& area)
{
    if (!layer || area.selection.range().isEmpty() || !area.transform || !area.transform->hasPlan() ||
        area.transform->hop() < 1)
        return false;
    const SamplingFormat format = layer->format();
    return format.sampleType == area.transform->sampleType && format.channels > 0;
}

// One pass over the frames of an area.
class MaskedPass
{
public:
    // Writes what lies in `keep`, which the target already spans.
    MaskedPass(const ILayer& source, Layer& target, const MaskedArea& area, const Range& keep);

    [[nodiscard]] State run(const Progress& progress);
    [[nodiscard]] bool hasContent() const { return m_hasContent; }

private:
    struct Lane // one channel
    {
        int32_t channel = 0;
        // What the frames of a strip have written, from H before the middle of its first one on. The
        // last hop belongs to the next strip too and goes over to it.
        std::vector<float> out;
    };
    void rasterizeStrip(int64_t first, int64_t count);
    void addStrip(Lane& lane, int64_t first, int64_t count);
    [[nodiscard]] bool flush(Lane& lane, int64_t first, int64_t hops);

    const ILayer& m_source;
    Layer& m_target;
    const MaskedArea& m_area;
    const Transform& m_transform;
    const Range m_keep;
    const int64_t m_hop;
    const int64_t m_type;
    const Frames m_all;  // frames of the area
    const Frames m_live; // those that see samples
    int64_t m_rows = 0;  // frames of a strip
    Area m_band;
    Matrix m_mask;
    std::vector<float> m_samples; // beneath a strip, one channel
    std::vector<Lane> m_lanes;
    bool m_hasContent = false;
};

MaskedPass::MaskedPass(const ILayer& source, Layer& target, const MaskedArea& area, const Range& keep)
    : m_source(source),
      m_target(target),
      m_area(area),
      m_transform(*area.transform),
      m_keep(keep),
      m_hop(m_transform.hop()),
      m_type(m_transform.sampleType),
      m_all(framesOf(area)),
      m_live(liveFrames(m_all, source.range(), m_transform)),
      m_band(fullBandArea(source.format(), area.selection.range()))
{
    m_rows = std::max(fewestRows, stripBytes / 4 / m_transform.bins());
    m_rows = std::min(m_rows, std::max<int64_t>(m_live.last - m_live.first + 1, 1));
    for (int32_t i = 0; i < std::min(source.format().channels, area.channels.size()); ++i)
        if (area.channels.testBit(i))
            m_lanes.push_back({i, std::vector<float>(std::size_t((m_rows + 1) * m_hop * m_type))});
}

// The rows of the mask divide the span of the selection, whatever strip they are painted in.
void MaskedPass::rasterizeStrip(int64_t first, int64_t count)
{
    if (m_mask.inputs != count)
        m_mask = Matrix(m_transform.bins(), int32_t(count));
    const double step = m_band.width / double(m_all.last - m_all.first + 1);
    Area area = m_band;
    area.x += double(first - m_all.first) * step;
    area.width = double(count) * step;
    m_area.selection.rasterize(m_mask, area);
}

// Neighbouring frames overlap in what they add; runs of frames of which every second one is worked on
// do not.
void MaskedPass::addStrip(Lane& lane, int64_t first, int64_t count)
{
    const int64_t size = m_transform.frameSize;
    const Range span{m_hop * first - size / 2, m_hop * (count - 1) + size};
    m_samples.resize(std::size_t(span.length * m_type));
    m_source.read(m_samples.data(), span, lane.channel, true);
    m_hasContent = m_hasContent || vec::maxAbs(m_samples.data(), int64_t(m_samples.size())) > 0.0f;
    const int64_t run = std::clamp<int64_t>(count / 64, 1, longestRun);
    const int64_t runs = (count + run - 1) / run;
    for (int64_t parity = 0; parity < 2; ++parity)
        parallelFor((runs + 1 - parity) / 2, [&](int64_t i) {
            const int64_t begin = (2 * i + parity) * run;
            for (int64_t row = begin; row < std::min(begin + run, count); ++row)
                addMaskedFrame(m_transform, m_mask.data.data() + row * m_mask.outputs,
                               m_samples.data() + row * m_hop * m_type,
                               lane.out.data() + (row + 1) * m_hop * m_type);
        });
}

// Writes the first `hops` hops of the strip whose first frame is `first`, and makes what follows the
// beginning of the next one.
bool MaskedPass::flush(Lane& lane, int64_t first, int64_t hops)
{
    const Range span{m_hop * (first - 1), m_hop * hops};
    const Range part = span.intersected(m_keep);
    const float* samples = lane.out.data() + (part.start - span.start) * m_type;
    if (!part.isEmpty() && !m_target.write(samples, part, lane.channel, true))
        return false;
    const auto rest = lane.out.begin() + span.length * m_type;
    const int64_t carried = std::min<int64_t>(m_hop * m_type, lane.out.end() - rest);
    std::copy_n(rest, carried, lane.out.begin());
    std::fill(lane.out.begin() + carried, lane.out.end(), 0.0f);
    return true;
}

State MaskedPass::run(const Progress& progress)
{
    const int64_t strips = (m_live.last - m_live.first + m_rows) / m_rows;
    const int total = int(std::min<int64_t>(strips, std::numeric_limits<int>::max()));
    int64_t done = 0;
    for (int64_t first = m_live.first; first <= m_live.last; first += m_rows) {
        const int64_t count = std::min(m_rows, m_live.last - first + 1);
        const bool isLast = first + count > m_live.last;
        rasterizeStrip(first, count);
        for (Lane& lane : m_lanes) {
            addStrip(lane, first, count);
            if (!flush(lane, first, isLast ? count + 1 : count))
                return State::NoSpace;
        }
        if (progress && !progress(int(std::min<int64_t>(++done, total)), total))
            return State::Cancelled;
    }
    return State::Done;
}

// Fills `target` and makes it span `keep`.
MaskedResult fill(const ILayer& source, Layer& target, const MaskedArea& area, const Range& keep,
                  const Progress& progress)
{
    MaskedResult result;
    target.clear();
    target.setRange(keep);
    if (target.dataRange() != keep && !keep.isEmpty()) {
        result.state = State::NoSpace;
    } else {
        MaskedPass pass(source, target, area, keep);
        result.state = pass.run(progress);
        result.hasContent = pass.hasContent();
    }
    if (!result.isDone())
        target.clear();
    if (result.state == State::NoSpace)
        (void)target.hasStorageError(&result.error);
    return result;
}

// Where the samples of a layer or region are kept, and what went wrong with them.
bool failed(const ILayerPtr& layer, QString& words)
{
    const auto own = std::dynamic_pointer_cast<Layer>(layer);
    const LayerPtr source = layer->source();
    return (own && own->hasStorageError(&words)) || (source && source->hasStorageError(&words));
}

bool isGroup(const ILayerPtr& layer)
{
    return layer && layer->type() == LayerTypeGroup;
}

void takeOut(const ILayerPtr& layer, const LayerPtr& part, MaskedResult& result)
{
    layer->replaceByLayer(part, -1.0f, false);
    if (failed(layer, result.error))
        result.state = State::NoSpace;
}

} // namespace

MaskedResult copyMasked(const ILayerPtr& source, const LayerPtr& target, const MaskedArea& area,
                        const Progress& progress)
{
    if (!isUsable(source, area) || !target || source == target || target->type() != LayerTypeLayer ||
        target->format().channels != source->format().channels ||
        target->format().sampleType != source->format().sampleType)
        return {};
    const Range range = area.selection.range();
    return fill(*source, *target, area, range.intersected({0, std::max<int64_t>(range.end(), 0)}), progress);
}

MaskedResult cutMasked(const ILayerPtr& layer, const LayerPtr& target, const MaskedArea& area,
                       const Progress& progress)
{
    if (isGroup(layer))
        return {};
    MaskedResult result = copyMasked(layer, target, area, progress);
    if (!result.isDone())
        return result;
    // What windows at the ends of the layer smear beyond them is no part of it.
    const Range whole = target->dataRange();
    const Range inside = whole.intersected(layer->range());
    target->setRange(inside);
    takeOut(layer, target, result);
    target->setRange(whole);
    if (target->hasStorageError(&result.error))
        result.state = State::NoSpace;
    return result;
}

MaskedResult removeMasked(const ILayerPtr& layer, const MaskedArea& area, const Progress& progress)
{
    if (isGroup(layer) || !isUsable(layer, area))
        return {};
    const Frames frames = framesOf(area);
    const int32_t hop = area.transform->hop();
    const LayerPtr part = Layer::create(layer->format(), {}, 0, false);
    MaskedResult result =
        fill(*layer, *part, area, reachOf(frames, hop).intersected(layer->range()), progress);
    if (result.isDone())
        takeOut(layer, part, result);
    return result;
}
