#include "model/layerregion.h"

#include "spectral/primitives/vectors.h"

#include <algorithm>
#include <cmath>
#include <mutex>
#include <vector>

namespace {

// No position reaches this, so sums of two of them do not overflow.
constexpr int64_t maxPosition = 1LL << 60;
constexpr int64_t chunkFloats = 32768; // that stay in the cache on their way

int64_t clampedPosition(int64_t position)
{
    return std::clamp(position, -maxPosition, maxPosition);
}

Range clampedWindow(const Range& window)
{
    return {clampedPosition(window.start), std::clamp<int64_t>(window.length, 0, maxPosition)};
}

// Floats of one sample point in the layout that read() and write() ask for; 0 for a channel that does
// not exist.
int64_t floatsFor(const SamplingFormat& format, int32_t channel)
{
    if (channel < 0)
        return format.frameBytes() / 4;
    return channel < format.channels ? format.sampleType : 0;
}

// A source that is still, or already, of another format is not heard: what it reads and takes would
// not fit the buffers of the region's format.
bool isHeard(const Layer& source, const SamplingFormat& format)
{
    const SamplingFormat own = source.format();
    return own.channels == format.channels && own.sampleType == format.sampleType;
}

} // namespace

LayerRegionPtr LayerRegion::create(const LayerPtr& source, int64_t start, int64_t length,
                                   int64_t sourceOffset, const LayerHeader& header, bool withBackup)
{
    const auto region =
        std::make_shared<LayerRegion>(Key(), source, header, Range{start, length}, sourceOffset);
    if (withBackup)
        region->startBackup();
    return region;
}

// The store below stays without a format, so nothing can be stored in it.
LayerRegion::LayerRegion(Key key, const LayerPtr& source, const LayerHeader& header, Range window,
                         int64_t sourceOffset)
    : Layer(key, SamplingFormat(), header, 0),
      m_view{source, source->format(), clampedWindow(window), clampedPosition(sourceOffset)}
{
}

LayerRegion::View LayerRegion::view() const
{
    const std::lock_guard locker(m_viewMutex);
    return m_view;
}

Range LayerRegion::window() const
{
    return view().window;
}

LayerPtr LayerRegion::source() const
{
    return view().source;
}

int64_t LayerRegion::sourceOffset() const
{
    return view().offset;
}

SamplingFormat LayerRegion::format() const
{
    return view().format;
}

void LayerRegion::setWindow(Range window)
{
    {
        const std::lock_guard locker(m_viewMutex);
        m_view.window = clampedWindow(window);
    }
    stampContent();
}

void LayerRegion::setSourceOffset(int64_t offset)
{
    {
        const std::lock_guard locker(m_viewMutex);
        m_view.offset = clampedPosition(offset);
    }
    stampContent();
}

void LayerRegion::setSource(const LayerPtr& source)
{
    if (!source || source.get() == this || source->format() != format())
        return;
    {
        const std::lock_guard locker(m_viewMutex);
        m_view.source = source;
    }
    newBackup(); // it names the source too
    stampContent();
}

Range LayerRegion::range(bool withAttached) const
{
    Range raw = window();
    if (withAttached)
        if (const ILayerPtr overlay = attached())
            raw = raw.united(overlay->range());
    return reported(raw);
}

int64_t LayerRegion::contentTime() const
{
    return std::max(Layer::contentTime(), source()->contentTime());
}

bool LayerRegion::containsChild(const ILayerPtr& layer, bool recursive) const
{
    const LayerPtr shown = source();
    return Layer::containsChild(layer, recursive) || layer == shown ||
           (recursive && shown->containsChild(layer, true));
}

QList<ILayerPtr> LayerRegion::pathTo(const ILayerPtr& layer) const
{
    const LayerPtr shown = source();
    if (layer && layer == shown)
        return {std::const_pointer_cast<Layer>(shared_from_this()), shown};
    return Layer::pathTo(layer);
}

// --- samples ---------------------------------------------------------------------------------------

void LayerRegion::read(float* out, Range range, int32_t channel, bool overwrite, bool withAttached,
                       float gain) const
{
    const View v = view();
    const int64_t width = floatsFor(v.format, channel);
    if (range.isEmpty())
        return;
    const Range ask{toRaw(range.start, v.window.start), range.length};
    const Range clip = isHeard(*v.source, v.format) ? ask.intersected(v.window) : Range();
    const float gainScale = scale().second;
    if (overwrite && (width < 1 || clip.length < ask.length || gainScale != 1))
        vec::zero(out, range.length * std::max<int64_t>(width, v.format.sampleType));
    if (!clip.isEmpty() && width > 0)
        v.source->read(out + (clip.start - ask.start) * width, {clip.start + v.offset, clip.length}, channel,
                       overwrite, false, gain * gainScale);
    if (!withAttached)
        return;
    const ILayerPtr overlay = attached();
    if (overlay && overlay->format().channels == v.format.channels &&
        overlay->format().sampleType == v.format.sampleType)
        overlay->read(out, range, channel, false, true, gain);
}

bool LayerRegion::write(const float* in, Range range, int32_t channel, bool overwrite)
{
    const View v = view();
    const int64_t width = floatsFor(v.format, channel);
    if (width < 1 || !isHeard(*v.source, v.format))
        return false;
    const Range clip = range.intersected(v.window);
    if (clip.isEmpty())
        return true;
    return v.source->write(in + (clip.start - range.start) * width, {clip.start + v.offset, clip.length},
                           channel, overwrite);
}

void LayerRegion::mixIn(const ILayer& from, const Range& range, float gain, bool overwrite)
{
    const SamplingFormat form = format();
    if (from.format().channels != form.channels || from.format().sampleType != form.sampleType)
        return;
    const Range target = range.intersected(window());
    const int64_t floats = floatsFor(form, -1);
    const int64_t chunk = std::max<int64_t>(1, chunkFloats / std::max<int64_t>(1, floats));
    std::vector<float> buffer(std::size_t(std::min(chunk, target.length) * floats));
    for (int64_t at = target.start; at < target.end(); at += chunk) {
        const Range part{at, std::min(chunk, target.end() - at)};
        from.read(buffer.data(), part, -1, true, false, gain);
        if (!write(buffer.data(), part, -1, overwrite))
            return;
    }
}

void LayerRegion::copyFromLayer(const ILayerPtr& source, Range range, bool withProperties)
{
    if (!source || source.get() == this)
        return;
    if (withProperties)
        copyProperties(*source);
    mixIn(*source, range.intersected(source->range()), 1.0f, true);
}

void LayerRegion::replaceByLayer(const ILayerPtr& source, float gain, bool overwrite)
{
    if (source)
        mixIn(*source, source->range(), gain, overwrite);
}

void LayerRegion::adoptFormat(const SamplingFormat& format, Conversion&)
{
    {
        const std::lock_guard locker(m_viewMutex);
        const double ratio = m_view.format.sampleRate > 0 && format.sampleRate > 0
                                 ? format.sampleRate / m_view.format.sampleRate
                                 : 1.0;
        constexpr double limit = double(maxPosition);
        const auto scaled = [&](int64_t value) {
            return int64_t(std::clamp(std::trunc(double(value) * ratio), -limit, limit));
        };
        if (ratio != 1) {
            const auto length = std::llround(std::clamp(double(m_view.window.length) * ratio, 0.0, limit));
            m_view.window = {scaled(m_view.window.start), int64_t(length)};
            m_view.offset = scaled(m_view.offset);
        }
        m_view.format = format;
    }
    newBackup();
    stampContent();
}

// --- copies and undo -------------------------------------------------------------------------------

LayerRegionPtr LayerRegion::twin(const LayerPtr& source) const
{
    const View v = view();
    const auto region = std::make_shared<LayerRegion>(Key(), source, header(), v.window, v.offset);
    region->setTimeOffset(timeOffset());
    region->setScale(scale().first, scale().second);
    return region;
}

LayerPtr LayerRegion::copy(Range& range, bool withBackup) const
{
    range = range.intersected(window());
    return clone(withBackup);
}

LayerPtr LayerRegion::clone(bool withBackup) const
{
    return cloneInSteps(withBackup, {});
}

LayerPtr LayerRegion::cloneInSteps(bool withBackup, const SampleStore::Work& goOn) const
{
    const LayerPtr shown = source();
    const LayerPtr copied = shown->cloneInSteps(withBackup, goOn);
    if (!copied) {
        if (shown->hasStorageError())
            setStorageError();
        return nullptr;
    }
    const LayerRegionPtr region = twin(copied);
    if (withBackup)
        region->startBackup();
    return region;
}

LayerPtr LayerRegion::makeBackup() const
{
    return twin(source());
}

LayerRecord LayerRegion::commitRecord()
{
    LayerRecord record;
    record.before = backup();
    if (!record.before)
        return {};
    record.after = makeBackup();
    record.beforeRange = std::static_pointer_cast<LayerRegion>(record.before)->window();
    record.afterRange = window();
    newBackup();
    m_records.append(record);
    return record;
}

void LayerRegion::applyRecord(const LayerRecord& record, int32_t direction)
{
    const bool live = record.isEmpty();
    if (live && (direction != 0 || !hasBackup()))
        return;
    const LayerPtr image = live ? backup() : direction == 0 ? record.before : record.after;
    const auto region = std::dynamic_pointer_cast<LayerRegion>(image);
    if (!region || region->format() != format())
        return;
    copyProperties(*region);
    {
        const View other = region->view();
        const std::lock_guard locker(m_viewMutex);
        m_view = other;
    }
    newBackup();
    if (!live)
        noteApplied(record, direction);
    stampContent();
}

void LayerRegion::resetBackup(int32_t)
{
    newBackup();
    source()->resetBackup(ChildrenDirect);
}
