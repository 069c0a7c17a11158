// The part of Layer that moves samples along the time line.
#include "base/sessionfile.h"
#include "model/layer.h"

#include <algorithm>

#include <QCoreApplication>

namespace {

constexpr int64_t maxPosition = 1LL << 61; // as in layer.cpp

// Sample points that go into the backup at a time, whole blocks.
constexpr int64_t keptAtOnce = 16 * Layer::backupBlock;

// [first, end)
Range span(int64_t first, int64_t end)
{
    return {first, end - first};
}

Range clipped(const Range& range)
{
    return range.intersected({0, maxPosition});
}

} // namespace

// --- what is to happen -----------------------------------------------------------------------------

void Layer::planInsertion(TimePlan& plan, const Range& range) const
{
    const Range data = plan.before;
    if (range.start >= data.end())
        return;
    if (range.length > farthestEnd - data.end()) {
        plan.isTooFar = true;
        return;
    }
    plan.touched = span(std::max(range.start, data.start), data.end() + range.length);
    if (range.start <= data.start) {
        plan.after.start += range.length;
        return;
    }
    plan.after.length += range.length;
    plan.pieces = {{span(data.start, range.start), data.start},
                   {span(range.start, data.end()), range.start + range.length}};
}

void Layer::planRemoval(TimePlan& plan, const Range& range) const
{
    const Range data = plan.before;
    const Range cut = clipped(range);
    if (cut.isEmpty() || cut.start >= data.end())
        return;
    plan.touched = span(cut.start, data.end());
    if (cut.end() <= data.start) {
        plan.after.start -= cut.length;
        return;
    }
    const Range gone = cut.intersected(data);
    plan.after = {std::min(data.start, cut.start), data.length - gone.length};
    plan.pieces = {{span(data.start, gone.start), data.start}, {span(gone.end(), data.end()), cut.start}};
}

void Layer::planCrop(TimePlan& plan, const Range& range) const
{
    const Range data = plan.before;
    plan.after = data.intersected(clipped(range));
    if (plan.after == data)
        return;
    plan.touched = data;
    if (!plan.after.isEmpty())
        plan.touched = span(data.start, plan.after.start).united(span(plan.after.end(), data.end()));
    plan.pieces = {{plan.after, plan.after.start}};
}

Layer::TimePlan Layer::planTimeChange(TimeChangeKind kind, const Range& range) const
{
    TimePlan plan;
    plan.contentTime = m_contentTime;
    plan.before = plan.after = m_store.range();
    plan.stampsAlways = kind == TimeChangeKind::Crop;
    if (plan.before.isEmpty() || (range.isEmpty() && kind != TimeChangeKind::Crop))
        return plan;
    switch (kind) {
    case TimeChangeKind::Insert:
        planInsertion(plan, range);
        break;
    case TimeChangeKind::Delete:
        planRemoval(plan, range);
        break;
    case TimeChangeKind::Crop:
        planCrop(plan, range);
        break;
    }
    return plan;
}

void Layer::setTooFar() const
{
    SessionFile::setLastError(
        name(), QCoreApplication::translate("Layer", "the samples would lie too far from the start"));
    setStorageError();
}

int64_t Layer::workOf(const TimePlan& plan) const
{
    int64_t frames = hasBackup() ? plan.touched.intersected(plan.before).length : 0;
    for (const SampleStore::Stretch& piece : plan.pieces)
        frames += std::max<int64_t>(0, piece.from.length);
    frames += imageRange(plan).length;
    return frames * format().frameBytes();
}

// --- in two halves ---------------------------------------------------------------------------------

// In parts that the backup can hold on to, if it grows at its end; the lock is free between them.
bool Layer::keepInParts(const Range& range, const SampleStore::Work& goOn)
{
    for (int64_t at = range.start; at < range.end(); at += keptAtOnce) {
        const Range part = span(at, std::min(at + keptAtOnce, range.end()));
        {
            const ReadLocker locker(m_edit);
            if (!keepOldSamples(part))
                return false;
        }
        if (!goOn(part.length * format().frameBytes()))
            return false;
    }
    return true;
}

bool Layer::rearrange(TimePlan& plan, const SampleStore::Work& goOn) const
{
    if (plan.pieces.empty())
        return true;
    plan.samples = std::make_unique<SampleStore>(m_store.format(), plan.after.start);
    if (!plan.samples->resize(plan.after)) {
        setStorageError();
        return false;
    }
    return plan.samples->fillFrom(m_store, plan.pieces, goOn);
}

// An edit before it in the same step is in the record too.
Range Layer::imageRange(const TimePlan& plan) const
{
    return plan.isChange() && hasBackup() ? changedRange().united(plan.touched).intersected(plan.after)
                                          : Range();
}

bool Layer::keepImage(TimePlan& plan, const SampleStore::Work& goOn) const
{
    const Range image = imageRange(plan);
    if (image.isEmpty())
        return true;
    plan.image = headerCopy(*this);
    if (!plan.image->m_store.resize(image)) {
        setStorageError();
        return false;
    }
    const SampleStore& source = plan.samples ? *plan.samples : m_store;
    const int64_t shift = plan.after.start - source.range().start;
    return plan.image->m_store.fillFrom(source, {{{image.start - shift, image.length}, image.start}}, goOn);
}

bool Layer::prepareTimeChange(TimePlan& plan, const SampleStore::Work& goOn)
{
    return !plan.isChange() || (keepInParts(plan.touched.intersected(plan.before), goOn) &&
                                rearrange(plan, goOn) && keepImage(plan, goOn));
}

void Layer::exchangeSamples(TimePlan& plan)
{
    if (plan.samples)
        m_store.exchangeWith(*plan.samples);
    else
        m_store.shift(plan.after.start - plan.before.start);
}

void Layer::adoptTimeChange(TimePlan& plan)
{
    if (plan.isChange()) {
        const WriteLocker locker(m_edit);
        if (!keepForUndo(plan.touched)) // has all of it already
            return;
        exchangeSamples(plan);
        stampContent(); // under the lock: a write that follows is seen by its stamp
        m_image = std::move(plan.image);
        m_imageTime = m_contentTime;
    } else if (plan.stampsAlways) {
        stampContent();
    }
}

void Layer::changeTime(TimeChangeKind kind, const Range& range)
{
    TimePlan plan; // dies after the lock, with the old samples
    {
        const WriteLocker locker(m_edit);
        plan = planTimeChange(kind, range);
        if (plan.isTooFar)
            return setTooFar();
        if (plan.isChange()) {
            if (!keepForUndo(plan.touched) || !rearrange(plan, {}))
                return;
            exchangeSamples(plan);
        } else if (!plan.stampsAlways) {
            return;
        }
    }
    stampContent();
}

void Layer::insertTime(Range range)
{
    changeTime(TimeChangeKind::Insert, range);
}

void Layer::deleteTime(Range range)
{
    changeTime(TimeChangeKind::Delete, range);
}

void Layer::cropTo(Range range)
{
    changeTime(TimeChangeKind::Crop, range);
}
