#include "model/layer.h"

#include "base/clock.h"
#include "base/sessionfile.h"
#include "model/releaselater.h"

#include <algorithm>
#include <cmath>
#include <mutex>
#include <vector>

#include <QDebug>

namespace {

// No position reaches this, so sums of two of them do not overflow.
constexpr int64_t maxPosition = 1LL << 61;
constexpr int64_t fillChunk = 32768; // floats

int64_t roundToPosition(double value)
{
    constexpr double limit = double(maxPosition);
    return std::isnan(value) ? 0 : std::llround(std::clamp(value, -limit, limit));
}

// Time from 0 on, and not so far that positions could overflow.
Range clipped(const Range& range)
{
    return range.intersected({0, maxPosition});
}

// [first, end)
Range span(int64_t first, int64_t end)
{
    return {first, end - first};
}

bool sameLayout(const SamplingFormat& a, const SamplingFormat& b)
{
    return a.channels == b.channels && a.sampleType == b.sampleType && a.frameBytes() > 0;
}

} // namespace

LayerPtr Layer::create(const SamplingFormat& format, const LayerHeader& header, int64_t start,
                       bool withBackup)
{
    const auto layer = std::make_shared<Layer>(Key(), format, header, start);
    if (withBackup)
        layer->startBackup();
    return layer;
}

LayerPtr Layer::headerCopy(const Layer& other)
{
    return std::make_shared<Layer>(Key(), other);
}

Layer::Layer(Key, const SamplingFormat& format, const LayerHeader& header, int64_t start)
    : m_store(format, start),
      m_enabled(header.enabled),
      m_solo(header.solo),
      m_polarity(header.polarity < 0 ? -1 : 1),
      m_multiplier(header.multiplier),
      m_color(header.color),
      m_propertiesTime(nextTimeStamp()),
      m_contentTime(nextTimeStamp()),
      m_name(header.name)
{
}

Layer::Layer(Key key, const Layer& other) : Layer(key, other.format(), other.header(), 0)
{
    m_timeOffset = other.m_timeOffset.load();
    m_timeScale = other.m_timeScale.load();
    m_gainScale = other.m_gainScale.load();
}

Layer::~Layer()
{
    ReleaseLater release;
    release.take(m_backup);
    release.take(m_attached);
    for (LayerRecord& record : m_records) {
        release.take(record.before);
        release.take(record.after);
    }
}

// --- properties ------------------------------------------------------------------------------------

void Layer::stampProperties()
{
    m_propertiesTime = nextTimeStamp();
}

void Layer::stampContent()
{
    m_contentTime = nextTimeStamp();
}

LayerHeader Layer::header() const
{
    return {name(), enabled(), solo(), polarity(), multiplier(), color()};
}

QString Layer::name() const
{
    const std::lock_guard locker(m_small);
    return m_name;
}

std::string Layer::nameStd() const
{
    return name().toStdString();
}

void Layer::setName(const std::string& name)
{
    {
        const std::lock_guard locker(m_small);
        m_name = QString::fromStdString(name);
    }
    stampProperties();
}

void Layer::setEnabled(bool enabled)
{
    m_enabled = enabled;
    stampProperties();
}

void Layer::setSolo(bool solo)
{
    m_solo = solo;
    stampProperties();
}

void Layer::setPolarity(int32_t polarity)
{
    m_polarity = polarity < 0 ? -1 : 1;
    stampProperties();
}

void Layer::setMultiplier(float multiplier)
{
    if (!std::isfinite(multiplier))
        return;
    m_multiplier = multiplier;
    stampProperties();
}

void Layer::setColor(uint32_t color)
{
    m_color = color;
    stampProperties();
}

void Layer::setTimeOffset(double samples)
{
    if (!std::isfinite(samples))
        return;
    m_timeOffset = samples;
    stampProperties();
}

void Layer::setScale(float timeScale, float gainScale)
{
    if (!std::isfinite(timeScale) || timeScale <= 0 || !std::isfinite(gainScale))
        return;
    m_timeScale = timeScale;
    m_gainScale = gainScale;
    stampProperties();
}

void Layer::copyProperties(const ILayer& source)
{
    setName(source.nameStd());
    setEnabled(source.enabled());
    setSolo(source.solo());
    setPolarity(source.polarity());
    setMultiplier(source.multiplier());
    setColor(source.color());
    setTimeOffset(source.timeOffset());
    setScale(source.scale().first, source.scale().second);
}

ILayerPtr Layer::attached() const
{
    const std::lock_guard locker(m_small);
    return m_attached;
}

void Layer::setAttached(const ILayerPtr& layer)
{
    ILayerPtr previous = layer; // dies outside the lock
    {
        const std::lock_guard locker(m_small);
        m_attached.swap(previous);
    }
    stampProperties();
}

ILayerPtr Layer::parent() const
{
    const std::lock_guard locker(m_small);
    return m_parent.lock();
}

void Layer::setParent(const ILayerPtr& group)
{
    const std::lock_guard locker(m_small);
    m_parent = group;
}

void Layer::setStorageError() const
{
    const QString words = SessionFile::lastError();
    const std::lock_guard locker(m_small);
    if (!m_storageFailed)
        m_storageWords = words;
    m_storageFailed = true;
}

bool Layer::takeStorageError(QString* words)
{
    const std::lock_guard locker(m_small);
    if (!m_storageFailed)
        return false;
    if (words)
        *words = m_storageWords;
    m_storageFailed = false;
    m_storageWords.clear();
    return true;
}

bool Layer::hasStorageError(QString* words) const
{
    const std::lock_guard locker(m_small);
    if (m_storageFailed && words)
        *words = m_storageWords;
    return m_storageFailed;
}

// --- the tree, as far as a layer has one -----------------------------------------------------------

bool Layer::contains(ILayerPtr layer, bool recursive) const
{
    return containsChild(layer, recursive);
}

bool Layer::insertChild(int32_t index, ILayerPtr layer)
{
    return insertChildAt(index, layer);
}

bool Layer::prependChild(ILayerPtr layer)
{
    return prependChildLayer(layer);
}

bool Layer::appendChild(ILayerPtr layer)
{
    return appendChildLayer(layer);
}

bool Layer::removeChild(ILayerPtr layer)
{
    return removeChildLayer(layer);
}

bool Layer::containsChild(const ILayerPtr& layer, bool) const
{
    return layer && layer == attached();
}

std::list<ILayerPtr> Layer::childrenStd(int32_t mode) const
{
    const QList<ILayerPtr> list = children(mode);
    return {list.begin(), list.end()};
}

QList<ILayerPtr> Layer::pathTo(const ILayerPtr& layer) const
{
    const ILayerPtr self = std::const_pointer_cast<Layer>(shared_from_this());
    if (layer == self)
        return {self};
    if (layer && layer == attached())
        return {layer, self};
    return {};
}

ILayerPtr Layer::sourceShared() const
{
    return source();
}

// --- span ------------------------------------------------------------------------------------------

SamplingFormat Layer::format() const
{
    return m_store.format();
}

void Layer::readData(float* out, Range range) const
{
    m_store.read(out, range, -1, true, 1.0f);
}

void Layer::keepFile()
{
    m_store.keepFile();
}

Range Layer::dataRange() const
{
    return m_store.range();
}

QString Layer::filePath() const
{
    return m_store.filePath();
}

bool Layer::isEmpty() const
{
    return m_store.range().isEmpty();
}

Range Layer::reported(const Range& raw) const
{
    if (raw.isEmpty())
        return {};
    const double offset = m_timeOffset;
    const float scale = m_timeScale;
    return {offset == 0 ? raw.start : roundToPosition(double(raw.start) + offset),
            scale == 1 ? raw.length : roundToPosition(double(raw.length) * scale)};
}

int64_t Layer::toRaw(int64_t position, int64_t pivot) const
{
    const double offset = m_timeOffset;
    const float scale = m_timeScale;
    // Positions beyond 2^53 stay exact in the usual case.
    if (offset == 0 && scale == 1)
        return std::clamp(position, -maxPosition, maxPosition);
    return roundToPosition((double(position - pivot) - offset) / scale + double(pivot));
}

Range Layer::range(bool withAttached) const
{
    Range raw = m_store.range();
    if (withAttached)
        if (const ILayerPtr overlay = attached())
            raw = raw.united(overlay->range());
    return reported(raw);
}

Area Layer::area() const
{
    return fullBandArea(format(), range());
}

// --- samples ---------------------------------------------------------------------------------------

void Layer::read(float* out, Range range, int32_t channel, bool overwrite, bool withAttached,
                 float gain) const
{
    m_store.readMapped(out, range, channel, overwrite, gain * m_gainScale,
                       [&](int64_t pivot) { return toRaw(range.start, pivot); });
    if (!withAttached)
        return;
    const ILayerPtr overlay = attached();
    if (overlay && sameLayout(overlay->format(), format()))
        overlay->read(out, range, channel, false, true, gain);
}

bool Layer::mixInto(float* out, const Range& range, int32_t channel, bool withAttached, float gain,
                    const SamplingFormat& layout) const
{
    if (m_timeOffset != 0 || m_timeScale != 1)
        return false;
    m_store.addTo(out, range, channel, gain * m_gainScale, layout);
    const ILayerPtr overlay = withAttached ? attached() : nullptr;
    if (overlay && sameLayout(overlay->format(), layout))
        overlay->read(out, range, channel, false, true, gain);
    return true;
}

bool Layer::write(const float* in, Range range, int32_t channel, bool overwrite)
{
    const SamplingFormat form = format();
    if (form.frameBytes() < 1 || channel >= form.channels)
        return false;
    const Range target = clipped(range);
    if (target.isEmpty())
        return true;
    in += (target.start - range.start) * (channel < 0 ? form.frameBytes() / 4 : form.sampleType);
    if (!makeRoom(target))
        return false;
    const ReadLocker locker(m_edit);
    m_store.store(in, target, channel, overwrite);
    stampContent(); // under the lock: whoever gets it exclusively sees each write by its stamp
    return true;
}

// Keeps what `range` holds for undo and makes the data include it. The way of most writes, into data
// that is there, holds the lock shared; the span is looked at again after the change to exclusive.
bool Layer::makeRoom(const Range& range)
{
    {
        const ReadLocker locker(m_edit);
        if (!keepForUndo(range))
            return false;
        if (m_store.range().contains(range))
            return true;
    }
    const WriteLocker locker(m_edit);
    return keepForUndo(range) && growTo(range);
}

bool Layer::growTo(const Range& range)
{
    const Range data = m_store.range();
    if (data.contains(range) || m_store.resize(data.united(range)))
        return true;
    setStorageError();
    return false;
}

void Layer::mixIn(const ILayerPtr& source, const Range& range, float gain, bool overwrite)
{
    const SamplingFormat form = format();
    if (range.isEmpty() || !sameLayout(source->format(), form) || !makeRoom(range))
        return;
    // By way of a buffer: the source may hold this very layer, so none of its locks may be held.
    const int64_t floats = form.frameBytes() / 4;
    const int64_t chunk = std::max<int64_t>(1, fillChunk / floats);
    std::vector<float> buffer(std::size_t(std::min(chunk, range.length) * floats));
    for (int64_t at = range.start; at < range.end(); at += chunk) {
        const Range part = span(at, std::min(at + chunk, range.end()));
        source->read(buffer.data(), part, -1, true, false, gain);
        const ReadLocker locker(m_edit);
        m_store.store(buffer.data(), part, -1, overwrite);
        stampContent();
    }
}

void Layer::copyFromLayer(const ILayerPtr& source, Range range, bool withProperties)
{
    if (!source)
        return;
    if (withProperties)
        copyProperties(*source);
    mixIn(source, clipped(range.intersected(source->range())), 1.0f, true);
}

void Layer::assignFromLayer(const ILayerPtr& source, bool withProperties)
{
    if (source)
        copyFromLayer(source, source->range(), withProperties);
}

void Layer::replaceByLayer(const ILayerPtr& source, float gain, bool overwrite)
{
    if (source)
        mixIn(source, clipped(source->range()), gain, overwrite);
}

void Layer::copyFrom(ILayerPtr source, Range range)
{
    copyFromLayer(source, range, false);
}

void Layer::assignFrom(ILayerPtr source)
{
    assignFromLayer(source, false);
}

void Layer::replaceBy(ILayerPtr source, bool overwrite)
{
    replaceByLayer(source, 1.0f, overwrite);
}

bool Layer::append(const float* interleaved, int64_t frames)
{
    if (frames < 1)
        return true;
    const WriteLocker locker(m_edit);
    const Range data = m_store.range();
    if (m_store.format().frameBytes() < 1 || frames > maxPosition - data.end())
        return false;
    if (!m_store.append(interleaved, frames)) {
        setStorageError();
        return false;
    }
    markChanged({data.end(), frames});
    stampContent();
    return true;
}

bool Layer::reserve(int64_t frames)
{
    const WriteLocker locker(m_edit);
    if (m_store.reserve(frames))
        return true;
    setStorageError();
    return false;
}

bool Layer::finishAppend()
{
    const WriteLocker locker(m_edit);
    return m_store.finishAppend();
}

// --- changes of the span ---------------------------------------------------------------------------

bool Layer::setSpan(const Range& target)
{
    const Range data = m_store.range();
    if (target == data || (target.isEmpty() && data.isEmpty()))
        return true;
    // What falls off at either end. In between nothing changes.
    Range lost = data;
    if (!data.intersected(target).isEmpty())
        lost = span(data.start, std::max(data.start, target.start))
                   .united(span(std::min(data.end(), target.end()), data.end()));
    if (!keepForUndo(lost))
        return false;
    if (m_store.resize(target))
        return true;
    setStorageError();
    return false;
}

void Layer::setRange(Range range)
{
    {
        const WriteLocker locker(m_edit);
        if (!setSpan(clipped(range)))
            return;
    }
    stampContent();
}

void Layer::clear()
{
    setRange({});
}

void Layer::extendTo(Range range)
{
    const Range target = clipped(range);
    if (target.isEmpty())
        return;
    {
        const WriteLocker locker(m_edit);
        if (m_store.format().frameBytes() < 1 || !growTo(target))
            return;
    }
    stampContent();
}

void Layer::moveBy(int64_t samples)
{
    {
        const WriteLocker locker(m_edit);
        const Range data = m_store.range();
        if (data.isEmpty() || samples == 0)
            return;
        const int64_t shown = reported(data).start;
        const int64_t distance = std::clamp(samples, -maxPosition, maxPosition);
        const int64_t shift = std::clamp<int64_t>(shown + distance, 0, maxPosition) - shown;
        // All of it: every sample stands elsewhere afterwards.
        if (!keepForUndo(data.united({data.start + shift, data.length})))
            return;
        m_store.shift(shift);
    }
    stampContent();
}

// --- copies ----------------------------------------------------------------------------------------

LayerPtr Layer::copy(Range& range, bool withBackup) const
{
    const LayerPtr layer = headerCopy(*this);
    {
        const ReadLocker locker(m_edit);
        range = range.intersected(m_store.range());
        if (!range.isEmpty()) {
            if (!layer->m_store.resize(range)) {
                setStorageError();
                return nullptr;
            }
            layer->m_store.copyFrom(m_store, range);
        }
    }
    if (withBackup)
        layer->startBackup();
    return layer;
}

LayerPtr Layer::cloneInSteps(bool withBackup, const SampleStore::Work& goOn) const
{
    if (!goOn)
        return clone(withBackup);
    const LayerPtr layer = headerCopy(*this);
    const int64_t before = m_contentTime;
    const Range all = m_store.range();
    if (!layer->m_store.resize(all)) {
        setStorageError();
        return nullptr;
    }
    if (!layer->m_store.fillFrom(m_store, {{all, all.start}}, goOn) || m_contentTime != before)
        return nullptr;
    if (withBackup)
        layer->startBackup();
    return layer;
}

LayerPtr Layer::clone(bool withBackup) const
{
    Range all = m_store.range();
    return copy(all, withBackup);
}
