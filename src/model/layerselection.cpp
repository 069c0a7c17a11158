#include "model/layerselection.h"

#include "base/parallel.h"
#include "spectral/primitives/maskedframe.h"

#include <algorithm>

namespace {

// Frames whose mask is held at once.
constexpr int64_t chunkFrames = 1024;
// Fewer are not worth the pool, nor its wait on a playing thread.
constexpr int64_t parallelFrames = 64;

int64_t floorDiv(int64_t a, int64_t b)
{
    return a / b - (a % b < 0);
}

} // namespace

std::shared_ptr<LayerSelection> LayerSelection::create(const ILayerPtr& target)
{
    return std::make_shared<LayerSelection>(Key(), target);
}

LayerSelection::LayerSelection(Key key, const ILayerPtr& target)
    : Layer(key, target->format(), LayerHeader(), 0),
      m_target(target)
{
}

void LayerSelection::setSelection(const Selection& selection)
{
    const WriteLocker locker(m_settings);
    m_selection = selection;
}

Selection LayerSelection::selection() const
{
    const ReadLocker locker(m_settings);
    return m_selection;
}

void LayerSelection::setTransform(const TransformSettings& settings)
{
    std::shared_ptr<const Transform> transform;
    if (settings.isValid())
        transform =
            std::make_shared<const Transform>(m_target->format().sampleType, settings.windowType,
                                              settings.frameSize, settings.overlap, settings.zeroPadding);
    const WriteLocker locker(m_settings);
    m_transform = transform;
}

bool LayerSelection::View::isTransparent() const
{
    return selection.isEmpty() || !transform || transform->hop() < 1 ||
           transform->sampleType != format.sampleType;
}

LayerSelection::View LayerSelection::view() const
{
    const SamplingFormat format = m_target->format();
    const ReadLocker locker(m_settings);
    return {m_selection, m_transform, format};
}

LayerSelection::Frames LayerSelection::framesOf(const View& view, const Range& range)
{
    const int64_t hop = view.transform->hop();
    const int64_t half = view.transform->frameSize / 2;
    Frames frames;
    frames.first = floorDiv(range.start, hop);
    const int64_t last = -floorDiv(-range.end(), hop);
    frames.count = last - frames.first + 1;
    // Odd sizes have one more sample behind the middle.
    frames.extended = {hop * frames.first - half, hop * (last - frames.first) + view.transform->frameSize};
    return frames;
}

// Neighbouring frames overlap in what they add, every second one does not; so two passes, each of them
// in parallel.
void LayerSelection::filter(const View& view, const Frames& frames, std::vector<std::vector<float>>& lanes)
{
    const Transform& transform = *view.transform;
    const int64_t hop = transform.hop();
    const int64_t half = transform.frameSize / 2;
    const int64_t type = transform.sampleType;
    std::vector<std::vector<float>> results(lanes.size());
    for (std::size_t i = 0; i < lanes.size(); ++i)
        results[i].resize(lanes[i].size());
    const Range span{hop * frames.first, hop * (frames.count - 1) + 1};
    Area area = fullBandArea(view.format, span);
    const double step = area.width / double(frames.count);
    for (int64_t start = 0; start < frames.count; start += chunkFrames) {
        const int64_t count = std::min(chunkFrames, frames.count - start);
        Matrix mask(transform.bins(), int32_t(count));
        area.x = double(span.start) + double(start) * step;
        area.width = double(count) * step;
        view.selection.rasterize(mask, area);
        for (int64_t parity = 0; parity < 2; ++parity) {
            const int64_t mine = (count - parity + 1) / 2;
            const auto task = [&](int64_t index) {
                const int64_t row = parity + 2 * (index % mine);
                const auto lane = std::size_t(index / mine);
                const int64_t offset = hop * (start + row) * type;
                addMaskedFrame(transform, mask.data.data() + row * mask.outputs, lanes[lane].data() + offset,
                               results[lane].data() + offset + half * type);
            };
            const int64_t tasks = mine * int64_t(lanes.size());
            if (tasks >= parallelFrames)
                parallelFor(tasks, task);
            else
                for (int64_t i = 0; i < tasks; ++i)
                    task(i);
        }
    }
    lanes.swap(results);
}

void LayerSelection::read(float* out, Range range, int32_t channel, bool overwrite, bool withAttached,
                          float gain) const
{
    const View now = view();
    gain *= m_target->multiplier();
    if (now.isTransparent() || range.isEmpty())
        return m_target->read(out, range, channel, overwrite, withAttached, gain);
    if (channel < -1 || channel >= now.format.channels)
        return;
    const Frames frames = framesOf(now, range);
    const int64_t type = now.format.sampleType;
    const int64_t channels = channel < 0 ? now.format.channels : 1;
    std::vector<std::vector<float>> lanes;
    for (int64_t i = 0; i < channels; ++i) {
        lanes.emplace_back(std::size_t(frames.extended.length * type));
        m_target->read(lanes.back().data(), frames.extended, channel < 0 ? int32_t(i) : channel, true,
                       withAttached, gain);
    }
    filter(now, frames, lanes);
    const int64_t skip = (range.start - frames.extended.start) * type;
    for (int64_t i = 0; i < channels; ++i)
        for (int64_t at = 0; at < range.length; ++at)
            for (int64_t part = 0; part < type; ++part) {
                float& sample = out[(at * channels + i) * type + part];
                const float selected = lanes[std::size_t(i)][std::size_t(skip + at * type + part)];
                sample = overwrite ? selected : sample + selected;
            }
}

bool LayerSelection::write(const float* in, Range range, int32_t channel, bool overwrite)
{
    const View now = view();
    if (now.isTransparent() || range.isEmpty())
        return m_target->write(in, range, channel, overwrite);
    if (channel < -1 || channel >= now.format.channels)
        return true;
    const Frames frames = framesOf(now, range);
    const int64_t type = now.format.sampleType;
    const int64_t channels = channel < 0 ? now.format.channels : 1;
    const int64_t skip = (range.start - frames.extended.start) * type;
    std::vector<std::vector<float>> lanes;
    for (int64_t i = 0; i < channels; ++i) {
        lanes.emplace_back(std::size_t(frames.extended.length * type));
        for (int64_t at = 0; at < range.length; ++at)
            for (int64_t part = 0; part < type; ++part)
                lanes.back()[std::size_t(skip + at * type + part)] = in[(at * channels + i) * type + part];
    }
    filter(now, frames, lanes);
    const auto writePart = [&](const Range& part, bool replace) {
        if (part.isEmpty())
            return true;
        std::vector<float> samples(std::size_t(part.length * channels * type));
        const int64_t from = (part.start - frames.extended.start) * type;
        for (int64_t i = 0; i < channels; ++i)
            for (int64_t at = 0; at < part.length * type; ++at)
                samples[std::size_t((at / type * channels + i) * type + at % type)] =
                    lanes[std::size_t(i)][std::size_t(from + at)];
        return m_target->write(samples.data(), part, channel, replace);
    };
    // What the outermost frames reach, as far as their windows do.
    const int64_t hop = now.transform->hop();
    const Range reach =
        Range{hop * (frames.first - 1), hop * (frames.count + 1)}.intersected(frames.extended);
    if (!overwrite)
        return writePart(reach, false);
    return writePart(range, true) && writePart({reach.start, range.start - reach.start}, false) &&
           writePart({range.end(), reach.end() - range.end()}, false);
}
