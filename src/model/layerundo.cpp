// The part of Layer that keeps old samples and brings them back.
#include "model/layer.h"

#include <algorithm>
#include <mutex>

namespace {

// Whole blocks around a range. A range that ends with a block takes the next one too.
Range widened(const Range& range)
{
    if (range.isEmpty())
        return {};
    const int64_t first = range.start & ~(Layer::backupBlock - 1);
    const int64_t end = (range.end() & ~(Layer::backupBlock - 1)) + Layer::backupBlock;
    return {first, end - first};
}

// Records of another kind of samples are refused, also where a sample point takes as many bytes, and
// those of another rate, whose positions are other moments.
bool sameSamples(const SamplingFormat& a, const SamplingFormat& b)
{
    return a.channels == b.channels && a.sampleType == b.sampleType && a.sampleRate == b.sampleRate;
}

} // namespace

void Layer::markChanged(const Range& range)
{
    const std::lock_guard locker(m_changedMutex);
    m_changedRange = m_changedRange.united(range);
}

bool Layer::keepOldSamples(const Range& range)
{
    if (!m_backup)
        return true;
    // Only data that existed when the backup began can be worth keeping.
    const Range blocks = widened(range).intersected(m_backupRange);
    if (blocks.isEmpty() || growBackup(blocks))
        return true;
    setStorageError();
    return false;
}

bool Layer::keepForUndo(const Range& range)
{
    if (!keepOldSamples(range))
        return false;
    if (m_backup)
        markChanged(range);
    return true;
}

void Layer::dropUnusedBackup()
{
    const WriteLocker locker(m_edit);
    if (changedRange().isEmpty())
        renewBackup();
}

// What the backup does not cover yet has not been changed yet, so it is copied from the data as it
// stands. The backup's lock is held until that is done: another writer of the same blocks waits in
// its look at the span, and writes only after its old samples are safe.
bool Layer::growBackup(const Range& blocks)
{
    Layer& backup = *m_backup;
    {
        const ReadLocker locker(backup.m_edit);
        if (backup.m_store.range().contains(blocks))
            return true;
    }
    const WriteLocker locker(backup.m_edit);
    const Range covered = backup.m_store.range();
    const Range target = covered.united(blocks);
    if (target == covered)
        return true;
    if (!backup.m_store.resizeImage(target))
        return false;
    QList<Range> fresh{target};
    if (!covered.isEmpty())
        fresh = {{target.start, covered.start - target.start}, {covered.end(), target.end() - covered.end()}};
    for (const Range& part : fresh) {
        if (part.isEmpty())
            continue;
        backup.m_store.copyFrom(m_store, part);
        // Should the program die in the midst of the edit, the old samples are taken from there.
        if (m_store.guard(part, backup.m_store))
            continue;
        static_cast<void>(backup.m_store.resizeImage(covered)); // so that the next write tries again
        return false;
    }
    return true;
}

LayerPtr Layer::makeBackup() const
{
    return headerCopy(*this);
}

void Layer::renewBackup()
{
    if (!m_backup)
        return;
    m_backup = makeBackup();
    m_backupRange = m_store.range();
    m_image.reset();
    const std::lock_guard locker(m_changedMutex);
    m_changedRange = {};
}

void Layer::startBackup()
{
    const WriteLocker locker(m_edit);
    if (m_backup)
        return;
    m_backup = makeBackup();
    renewBackup();
}

void Layer::newBackup()
{
    const WriteLocker locker(m_edit);
    renewBackup();
}

void Layer::resetBackup(int32_t)
{
    newBackup();
}

bool Layer::hasBackup() const
{
    return backup() != nullptr;
}

LayerPtr Layer::backup() const
{
    const ReadLocker locker(m_edit);
    return m_backup;
}

Range Layer::backupRange() const
{
    const ReadLocker locker(m_edit);
    return m_backupRange;
}

Range Layer::changedRange() const
{
    const std::lock_guard locker(m_changedMutex);
    return m_changedRange;
}

QList<LayerRecord> Layer::records() const
{
    return m_records;
}

void Layer::forgetRecord(const LayerRecord& record)
{
    m_records.removeAll(record);
}

void Layer::forgetUndo()
{
    m_records.clear();
    newBackup();
}

Range Layer::recordsRange() const
{
    Range all;
    for (const LayerRecord& record : m_records)
        if (record.after)
            all = all.united(record.after->range());
    return all;
}

LayerPtr Layer::imageOfChanges()
{
    Range changed = changedRange().intersected(m_store.range());
    if (m_image && m_imageTime == m_contentTime && m_image->m_store.range() == changed)
        return m_image;
    m_image.reset(); // its room is needed
    return copy(changed, false);
}

LayerRecord Layer::prepareRecord()
{
    LayerRecord record;
    record.before = backup();
    if (!record.before)
        return {};
    record.after = imageOfChanges();
    if (!record.after)
        return {};
    const ReadLocker locker(m_edit);
    record.beforeRange = m_backupRange;
    record.afterRange = m_store.range();
    return record;
}

void Layer::adoptRecord(const LayerRecord& record)
{
    newBackup();
    m_records.append(record);
}

LayerRecord Layer::commitRecord()
{
    const LayerRecord record = prepareRecord();
    if (!record.isEmpty())
        adoptRecord(record);
    return record;
}

void Layer::noteApplied(const LayerRecord& record, int32_t direction)
{
    if (direction != 0)
        m_records.append(record);
    else
        m_records.erase(std::remove(m_records.begin(), m_records.end(), record), m_records.end());
}

void Layer::resetToBackup()
{
    applyRecord({}, 0);
}

// A step over a record changes samples in place too. What they were before it stands in the image of the
// other direction.
bool Layer::guardForStep(const LayerRecord& record, int32_t direction) const
{
    if (!m_store.isResizedInPlace(direction == 0 ? record.beforeRange : record.afterRange))
        return true;
    const LayerPtr other = direction == 0 ? record.after : record.before;
    return !other || other->type() != LayerTypeLayer || m_store.guard(other->m_store.range(), other->m_store);
}

// Before-images are sparse: what they do not hold has not been changed, and stands there still.
void Layer::applyRecord(const LayerRecord& record, int32_t direction)
{
    const bool live = record.isEmpty();
    if (live && (direction != 0 || !hasBackup()))
        return;
    const LayerPtr image = live ? backup() : direction == 0 ? record.before : record.after;
    const Range target = live ? backupRange() : direction == 0 ? record.beforeRange : record.afterRange;
    if (image && image->type() == LayerTypeLayer) {
        const WriteLocker locker(m_edit);
        if (!sameSamples(image->m_store.format(), m_store.format()))
            return;
        if (live && image->m_store.range() == target) {
            // The live backup is given up anyway: with all samples in it, it needs no room and no copy.
            m_store.exchangeWith(image->m_store);
        } else if ((live || guardForStep(record, direction)) && m_store.resize(target)) {
            m_store.copyFrom(image->m_store, target);
        } else {
            setStorageError();
            return;
        }
        renewBackup();
    }
    if (!live)
        noteApplied(record, direction);
    stampContent();
}
