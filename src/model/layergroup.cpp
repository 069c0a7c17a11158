#include "model/layergroup.h"

#include "model/formatchange.h"
#include "model/releaselater.h"
#include "spectral/primitives/vectors.h"

#include <algorithm>
#include <mutex>
#include <typeinfo>
#include <vector>

#include <QCoreApplication>
#include <QVariant>

namespace {

bool isExternallyManaged()
{
    const QCoreApplication* application = QCoreApplication::instance();
    return application && application->property("externalmanagement").toBool();
}

// The parent of what is no Layer is nobody's business.
void setParentOf(const ILayerPtr& child, const ILayerPtr& parent)
{
    if (const auto layer = std::dynamic_pointer_cast<Layer>(child))
        layer->setParent(parent);
}

// Into one list, so that the cost does not grow with the depth.
void collect(const QList<ILayerPtr>& layers, int32_t mode, QList<ILayerPtr>& all)
{
    for (const ILayerPtr& layer : layers) {
        all << layer;
        if (layer->type() == LayerTypeGroup && (mode == ChildrenAll || layer->isOpen()))
            collect(layer->children(ChildrenDirect), mode, all);
    }
}

bool fits(const SamplingFormat& child, const SamplingFormat& group)
{
    return child.channels == group.channels && child.sampleType == group.sampleType;
}

} // namespace

LayerGroupPtr LayerGroup::create(const SamplingFormat& format, const LayerHeader& header, bool withBackup)
{
    const auto group = std::make_shared<LayerGroup>(Key(), format, header);
    if (withBackup)
        group->startBackup();
    return group;
}

LayerGroupPtr LayerGroup::mixOf(const SamplingFormat& format, const QList<ILayerPtr>& layers)
{
    const LayerGroupPtr group = create(format, {}, false);
    group->exchangeList(layers);
    return group;
}

LayerGroup::LayerGroup(Key key, const SamplingFormat& format, const LayerHeader& header)
    : Layer(key, format, header, 0)
{
}

LayerGroup::LayerGroup(Key key, const LayerGroup& other) : Layer(key, other), m_open(other.isOpen()) {}

LayerGroup::~LayerGroup()
{
    ReleaseLater release;
    for (ILayerPtr& child : m_children)
        release.take(child);
}

// --- the list --------------------------------------------------------------------------------------

QList<ILayerPtr> LayerGroup::list() const
{
    const std::lock_guard locker(m_listMutex);
    return m_children;
}

void LayerGroup::exchangeList(QList<ILayerPtr> children)
{
    const std::lock_guard locker(m_listMutex);
    m_children.swap(children); // the old list dies after the lock
}

void LayerGroup::setList(const QList<ILayerPtr>& children)
{
    const ILayerPtr self = shared_from_this();
    for (const ILayerPtr& child : list())
        if (const auto layer = std::dynamic_pointer_cast<Layer>(child); layer && layer->parent() == self)
            layer->setParent(nullptr);
    for (const ILayerPtr& child : children)
        setParentOf(child, self);
    exchangeList(children);
}

void LayerGroup::setNewChildren(const QList<ILayerPtr>& layers)
{
    setList(layers);
}

bool LayerGroup::isEmpty() const
{
    return list().isEmpty();
}

bool LayerGroup::setOpen(bool open)
{
    m_open = open;
    stampProperties();
    return true;
}

bool LayerGroup::hasSolo() const
{
    const QList<ILayerPtr> children = list();
    return std::any_of(children.begin(), children.end(),
                       [](const ILayerPtr& child) { return child->solo() || child->hasSolo(); });
}

bool LayerGroup::containsChild(const ILayerPtr& layer, bool recursive) const
{
    if (Layer::containsChild(layer, recursive))
        return true;
    const QList<ILayerPtr> children = list();
    return children.contains(layer) ||
           (recursive && std::any_of(children.begin(), children.end(), [&](const ILayerPtr& child) {
                return child->containsChild(layer, true);
            }));
}

bool LayerGroup::accepts(const ILayerPtr& layer) const
{
    if (!layer || layer.get() == this || layer->format() != format() || list().contains(layer))
        return false;
    return !layer->containsChild(std::const_pointer_cast<Layer>(shared_from_this()), true);
}

bool LayerGroup::insertChildAt(int32_t index, const ILayerPtr& layer)
{
    if (!accepts(layer))
        return false;
    QList<ILayerPtr> children = list();
    children.insert(std::clamp(int(index), 0, children.size()), layer);
    setParentOf(layer, shared_from_this());
    exchangeList(children);
    if (isExternallyManaged())
        stampContent();
    return true;
}

bool LayerGroup::prependChildLayer(const ILayerPtr& layer)
{
    return insertChildAt(0, layer);
}

bool LayerGroup::appendChildLayer(const ILayerPtr& layer)
{
    return insertChildAt(list().size(), layer);
}

bool LayerGroup::moveChild(int32_t from, int32_t to)
{
    QList<ILayerPtr> children = list();
    if (from < 0 || to < 0 || from >= children.size() || to >= children.size())
        return false;
    children.move(from, to);
    exchangeList(children);
    return true;
}

bool LayerGroup::removeChildLayer(const ILayerPtr& layer)
{
    QList<ILayerPtr> children = list();
    const int before = children.size();
    if (layer)
        children.removeAll(layer);
    else
        children.clear();
    stampContent();
    if (children.size() == before)
        return false;
    if (!layer)
        setList({});
    else {
        setParentOf(layer, nullptr);
        exchangeList(children);
    }
    return true;
}

QList<ILayerPtr> LayerGroup::children(int32_t mode) const
{
    const QList<ILayerPtr> direct = list();
    if (mode != ChildrenOpen && mode != ChildrenAll)
        return direct;
    QList<ILayerPtr> all;
    collect(direct, mode, all);
    return all;
}

QList<ILayerPtr> LayerGroup::pathTo(const ILayerPtr& layer) const
{
    const QList<ILayerPtr> own = Layer::pathTo(layer);
    if (!own.isEmpty())
        return own;
    for (const ILayerPtr& child : list()) {
        const QList<ILayerPtr> below = child->pathTo(layer);
        if (!below.isEmpty())
            return QList<ILayerPtr>{std::const_pointer_cast<Layer>(shared_from_this())} + below;
    }
    return {};
}

// --- the mix ---------------------------------------------------------------------------------------

Range LayerGroup::childrenRange(bool withAttached) const
{
    Range all;
    for (const ILayerPtr& child : list())
        all = all.united(child->range(withAttached));
    return all;
}

Range LayerGroup::range(bool withAttached) const
{
    Range raw = childrenRange(withAttached);
    if (withAttached)
        if (const ILayerPtr overlay = attached())
            raw = raw.united(overlay->range());
    return reported(raw);
}

void LayerGroup::read(float* out, Range range, int32_t channel, bool overwrite, bool withAttached,
                      float gain) const
{
    const SamplingFormat form = format();
    const int64_t width = channel < 0 ? form.frameBytes() / 4 : form.sampleType;
    if (range.isEmpty() || width < 1)
        return;
    const bool mapped = timeOffset() != 0 || scale().first != 1;
    const Range ask{toRaw(range.start, mapped ? childrenRange(withAttached).start : 0), range.length};
    if (overwrite)
        vec::zero(out, range.length * width);
    const float gainScale = scale().second;
    if (gainScale == 1) {
        mixChildren(out, ask, channel, withAttached, gain);
    } else {
        std::vector<float> mix(std::size_t(range.length * width));
        mixChildren(mix.data(), ask, channel, withAttached, gain);
        vec::multiplyAdd(out, mix.data(), gainScale, range.length * width);
    }
    if (!withAttached)
        return;
    const ILayerPtr overlay = attached();
    if (overlay && fits(overlay->format(), form))
        overlay->read(out, range, channel, false, true, gain);
}

// Children never clear anything, so a deep tree costs one addition for each layer.
void LayerGroup::mixChildren(float* out, const Range& ask, int32_t channel, bool withAttached,
                             float gain) const
{
    const SamplingFormat form = format();
    const QList<ILayerPtr> children = list();
    const bool anySolo = hasSolo();
    for (const ILayerPtr& child : children) {
        const float childGain =
            soundsInGroup(*child, anySolo) ? float(child->polarity()) * child->multiplier() * gain : 0.0f;
        if (childGain == 0)
            continue;
        // Nearly all children are plain layers, and know by themselves what of them is in the span.
        const ILayer& layer = *child;
        if (typeid(layer) == typeid(Layer) &&
            static_cast<const Layer&>(layer).mixInto(out, ask, channel, withAttached, childGain, form))
            continue;
        if (child->range(withAttached).intersected(ask).isEmpty() || !fits(child->format(), form))
            continue;
        child->read(out, ask, channel, false, withAttached, childGain);
    }
}

// --- on every child --------------------------------------------------------------------------------

void LayerGroup::setRange(Range range)
{
    for (const ILayerPtr& child : list())
        child->setRange(range);
    stampContent();
}

void LayerGroup::clear()
{
    for (const ILayerPtr& child : list())
        child->clear();
    stampContent();
}

void LayerGroup::moveBy(int64_t samples)
{
    for (const ILayerPtr& child : list())
        child->moveBy(samples);
    stampContent();
}

void LayerGroup::insertTime(Range range)
{
    for (const ILayerPtr& child : list())
        child->insertTime(range);
    stampContent();
}

void LayerGroup::deleteTime(Range range)
{
    for (const ILayerPtr& child : list())
        child->deleteTime(range);
    stampContent();
}

void LayerGroup::cropTo(Range range)
{
    for (const ILayerPtr& child : list())
        child->cropTo(range);
    stampContent();
}

void LayerGroup::setFormat(const SamplingFormat& format)
{
    for (const ILayerPtr& child : list())
        child->setFormat(format);
    Layer::setFormat(format);
}

bool LayerGroup::needsResampling(const SamplingFormat& target, const Matrix& matrix) const
{
    const QList<ILayerPtr> children = list();
    return std::any_of(children.begin(), children.end(), [&](const ILayerPtr& child) {
        const auto layer = std::dynamic_pointer_cast<Layer>(child);
        return layer && layer->needsResampling(target, matrix);
    });
}

bool LayerGroup::changeFormat(const SamplingFormat& format, const Matrix& matrix, const Progress& progress)
{
    FormatChange change(format, matrix);
    change.add(shared_from_this());
    const bool done = change.run(progress);
    if (change.withoutRoom())
        setStorageError();
    return done;
}

void LayerGroup::copyFromLayer(const ILayerPtr& source, Range range, bool withProperties)
{
    if (!source || source.get() == this)
        return;
    if (withProperties)
        copyProperties(*source);
    stampContent();
    if (source->type() != LayerTypeGroup || source->format() != format())
        return;
    const QList<ILayerPtr> own = list();
    const QList<ILayerPtr> theirs = source->children(ChildrenDirect);
    for (int i = 0; i < std::min(own.size(), theirs.size()); ++i)
        own[i]->copyFromLayer(theirs[i], range, withProperties);
    setOpen(source->isOpen());
    setList(theirs);
}

// --- copies and undo -------------------------------------------------------------------------------

LayerPtr LayerGroup::copy(Range& range, bool withBackup) const
{
    const auto group = std::make_shared<LayerGroup>(Key(), *this);
    QList<ILayerPtr> copies;
    Range all;
    for (const ILayerPtr& child : list()) {
        Range part = range;
        const ILayerPtr childCopy = child->copy(part, withBackup);
        if (!childCopy) {
            setStorageError();
            return nullptr;
        }
        all = all.united(part);
        copies << childCopy;
    }
    range = all;
    group->setList(copies);
    if (withBackup)
        group->startBackup();
    return group;
}

LayerPtr LayerGroup::clone(bool withBackup) const
{
    return cloneInSteps(withBackup, {});
}

LayerPtr LayerGroup::cloneInSteps(bool withBackup, const SampleStore::Work& goOn) const
{
    const auto group = std::make_shared<LayerGroup>(Key(), *this);
    QList<ILayerPtr> copies;
    for (const ILayerPtr& child : list()) {
        const auto layer = std::dynamic_pointer_cast<Layer>(child);
        const ILayerPtr childCopy = layer ? layer->cloneInSteps(withBackup, goOn) : child->clone(withBackup);
        if (!childCopy) {
            if (layer && layer->hasStorageError())
                setStorageError();
            return nullptr;
        }
        copies << childCopy;
    }
    group->setList(copies);
    if (withBackup)
        group->startBackup();
    return group;
}

LayerPtr LayerGroup::makeBackup() const
{
    const auto snapshot = std::make_shared<LayerGroup>(Key(), *this);
    snapshot->exchangeList(list());
    return snapshot;
}

LayerRecord LayerGroup::commitRecord()
{
    LayerRecord record;
    record.before = backup();
    if (!record.before)
        return {};
    record.after = makeBackup();
    newBackup();
    m_records.append(record);
    return record;
}

void LayerGroup::applyRecord(const LayerRecord& record, int32_t direction)
{
    const bool live = record.isEmpty();
    if (live && (direction != 0 || !hasBackup()))
        return;
    const LayerPtr image = live ? backup() : direction == 0 ? record.before : record.after;
    const auto group = std::dynamic_pointer_cast<LayerGroup>(image);
    if (!group || group->format() != format())
        return;
    setOpen(group->isOpen());
    setList(group->list());
    newBackup();
    if (!live)
        noteApplied(record, direction);
    stampContent();
}

void LayerGroup::resetBackup(int32_t mode)
{
    newBackup();
    if (mode == ChildrenDirect || (mode != ChildrenAll && !isOpen()))
        return;
    for (const ILayerPtr& child : list())
        child->resetBackup(mode);
}
