#include "model/history.h"

#include "model/documentlock.h"

#include <algorithm>
#include <optional>

#include <QCoreApplication>
#include <QDebug>
#include <QSet>
#include <QVariant>

namespace {

constexpr int defaultStates = 48;
constexpr int defaultMaxStates = 64;

int countProperty(const char* key, int otherwise)
{
    const QCoreApplication* application = QCoreApplication::instance();
    const QVariant value = application ? application->property(key) : QVariant();
    bool isNumber = false;
    const int count = value.toInt(&isNumber);
    return isNumber ? count : otherwise;
}

bool isExternallyManaged()
{
    const QCoreApplication* application = QCoreApplication::instance();
    return application && application->property("externalmanagement").toBool();
}

bool isLeftToHost(const ILayer& layer)
{
    return layer.type() != LayerTypeLayer && isExternallyManaged();
}

// The group as it was when its backup began; null for what is no group, or has none.
LayerPtr groupBefore(const ILayerPtr& layer)
{
    const auto group = std::dynamic_pointer_cast<LayerGroup>(layer);
    return group ? group->backup() : nullptr;
}

// A layer whose record is an image of samples; null for all others, whose records need no room.
LayerPtr withSamples(const ILayerPtr& layer)
{
    return layer->type() == LayerTypeLayer ? std::dynamic_pointer_cast<Layer>(layer) : nullptr;
}

bool isSameList(const QList<HistoryEntry>& a, const QList<HistoryEntry>& b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const auto& x, const auto& y) {
        return x.name == y.name && x.layerRecords == y.layerRecords;
    });
}

// Before several groups get other children: whoever leaves a group leaves it first, so that no group is
// ever below itself, not even for a reader without a lock.
void removeLeavers(const ILayerPtr& group, const LayerPtr& target)
{
    if (group->type() != LayerTypeGroup || !target)
        return;
    const QList<ILayerPtr> staying = target->children(ChildrenDirect);
    for (const ILayerPtr& child : group->children(ChildrenDirect))
        if (!staying.contains(child))
            group->removeChildLayer(child);
}

// Held while groups get other children: between two of those steps a layer may be in two places, or in
// none, and a reader that holds the document's lock sees neither. Taken only for groups, since it waits
// for the pictures in work.
class TreeLock
{
public:
    explicit TreeLock(const QList<ILayerPtr>& layers)
    {
        if (std::any_of(layers.begin(), layers.end(),
                        [](const ILayerPtr& layer) { return layer->type() != LayerTypeLayer; }))
            m_locker.emplace(documentLock());
    }

private:
    std::optional<WriteLocker> m_locker;
};

bool takeError(const ILayerPtr& layer, QString* words)
{
    const auto stored = std::dynamic_pointer_cast<Layer>(layer);
    return stored && stored->takeStorageError(words);
}

// Whether the layer is in the state that applyRecord() should have brought.
bool isApplied(const ILayerPtr& layer, const LayerRecord& record, int32_t direction)
{
    const auto stored = std::dynamic_pointer_cast<Layer>(layer);
    return !stored || stored->records().contains(record) == (direction == 1);
}

// Without anything to go back or forth to.
HistoryEntry bare(const HistoryEntry& entry)
{
    HistoryEntry only;
    only.name = entry.name;
    only.icon = entry.icon;
    return only;
}

template<class T>
bool noteChange(T& recorded, const T& now, T& before, T& after)
{
    if (recorded == now)
        return false;
    before = recorded;
    after = now;
    recorded = now;
    return true;
}

} // namespace

History::History(QObject* parent) : QObject(parent), IEvent(QStringLiteral("History")) {}

int History::limit()
{
    const int most = std::max(1, countProperty("maxhistory", defaultMaxStates));
    return std::clamp(countProperty("history", defaultStates), 1, most);
}

// --- what the bus tells ----------------------------------------------------------------------------

void History::samplingFormatEvent(EventId, const SamplingFormat& format)
{
    if (format.sampleRate > 0 && format.channels > 0 && format.channelsMask != 0)
        return;
    m_states.clear();
    m_row = -1;
    m_owner.reset();
    m_now = m_recorded = {};
    Q_EMIT statesChanged();
    tellRow();
}

void History::layerEvent(EventId id, const ILayerPtr& layer)
{
    if (id != EventId::LayerContentUpdate || !layer)
        return;
    if (const ILayerPtr source = layer->sourceShared(); source && source->hasBackup())
        m_dirty.insert(source);
    if (layer->hasBackup() && !isLeftToHost(*layer))
        m_dirty.insert(layer);
}

void History::layerRootEvent(EventId, const LayerRoot& root)
{
    m_root = root;
}

void History::historyListEvent(EventId, const QList<HistoryEntry>& states)
{
    const ILayerPtr project = m_root ? m_root->layer(RootProject) : nullptr;
    // The same states told once more, in the midst of an action: what they do not hold is still to come.
    const bool sameProject = project && m_owner.lock() == project;
    const bool known = sameProject && isSameList(states, m_states);
    m_states = states;
    m_owner = project;
    if (!known) {
        m_recorded = m_now;
        m_row = m_states.size() - 1;
    }
    // The project has begun anew: its layers' backups too.
    if (sameProject && !known)
        for (const ILayerPtr& layer : changedLayers())
            m_dirty.erase(layer);
    Q_EMIT statesChanged();
    tellRow();
}

void History::historyActivateEvent(EventId, const int32_t& row)
{
    m_row = std::clamp(int(row), std::min(0, m_states.size() - 1), m_states.size() - 1);
    tellRow();
}

void History::tellRow()
{
    Q_EMIT currentRowChanged(m_row);
    Q_EMIT undoEnabled(canUndo());
    Q_EMIT redoEnabled(canRedo());
}

// --- recording -------------------------------------------------------------------------------------

bool History::isChanged(const ILayerPtr& layer) const
{
    if (!layer->hasBackup() || isLeftToHost(*layer))
        return false;
    if (m_dirty.count(layer) > 0)
        return true;
    const LayerPtr before = groupBefore(layer);
    return before && before->children(ChildrenDirect) != layer->children(ChildrenDirect);
}

// "Project", all layers below it, and what an action has both changed and removed from a group.
QList<ILayerPtr> History::changedLayers() const
{
    QList<ILayerPtr> changed;
    if (!m_root)
        return changed;
    QSet<const ILayer*> seen;
    QList<ILayerPtr> all{m_root->project()};
    all << m_root->allLayers();
    for (int i = 0; i < all.size(); ++i) {
        const ILayerPtr layer = all[i];
        if (seen.contains(layer.get()))
            continue;
        seen.insert(layer.get());
        if (!isChanged(layer))
            continue;
        changed << layer;
        if (const LayerPtr before = groupBefore(layer))
            all << before->children(ChildrenAll);
    }
    return changed;
}

void History::record(const HistoryEntry& request)
{
    if (!m_root)
        return;
    HistoryEntry entry = bare(request);
    // The states that make place go for good only when this one stands.
    QList<HistoryEntry> kept = m_states.mid(0, m_row + 1);
    QList<HistoryEntry> dropped = m_states.mid(m_row + 1);
    while (!kept.isEmpty() && kept.size() >= limit())
        dropped << kept.takeFirst();
    if (!recordLayers(entry))
        return;
    recordLists(entry);
    kept << entry;
    for (const HistoryEntry& gone : dropped)
        gone.forgetRecords();
    kept.first().forgetRecords();
    kept.first() = bare(kept.first());
    m_owner = m_root->layer(RootProject);
    showStates(kept, kept.size() - 1);
}

// All images first, as those alone may find no room: until the last one stands, each layer keeps what takes
// it back.
bool History::recordLayers(HistoryEntry& entry)
{
    const QList<ILayerPtr> changed = changedLayers();
    m_words.clear();
    QHash<ILayerPtr, LayerRecord> prepared;
    for (const ILayerPtr& layer : changed) {
        const bool incomplete = takeError(layer, &m_words);
        const LayerPtr stored = withSamples(layer);
        if (!incomplete && !stored)
            continue;
        const LayerRecord record = incomplete ? LayerRecord() : stored->prepareRecord();
        if (record.isEmpty()) {
            takeError(layer, &m_words);
            prepared.clear(); // the samples that come back may need the room of these
            takeBackAction(changed);
            return false;
        }
        prepared.insert(layer, record);
    }
    for (const ILayerPtr& layer : changed) {
        LayerRecord record = prepared.value(layer);
        if (const LayerPtr stored = withSamples(layer))
            stored->adoptRecord(record);
        else
            record = layer->commitRecord();
        entry.layerRecords.insert(layer, record);
        m_dirty.erase(layer);
    }
    return true;
}

void History::recordLists(HistoryEntry& entry)
{
    entry.metadataChanged =
        noteChange(m_recorded.metadata, m_now.metadata, entry.metadataBefore, entry.metadataAfter);
    entry.markersChanged =
        noteChange(m_recorded.markers, m_now.markers, entry.markersBefore, entry.markersAfter);
    entry.spectralMarkersChanged = noteChange(m_recorded.spectralMarkers, m_now.spectralMarkers,
                                              entry.spectralMarkersBefore, entry.spectralMarkersAfter);
    entry.selectionChanged =
        noteChange(m_recorded.selection, m_now.selection, entry.selectionBefore, entry.selectionAfter);
}

void History::showStates(const QList<HistoryEntry>& states, int row)
{
    m_states = states;
    m_row = row;
    Q_EMIT statesChanged();
    tellRow();
    postEvent(this, EventId::HistoryListChange, m_states, this);
}

// --- taking back what no state holds ---------------------------------------------------------------

void History::takeBackAction(const QList<ILayerPtr>& layers)
{
    takeBackLayers(layers);
    HistoryEntry entry;
    recordLists(entry);
    applyLists(entry, 0);
    refresh(layers, entry);
    Q_EMIT storageFailed(m_words);
}

bool History::takeBackLayers(const QList<ILayerPtr>& layers)
{
    const TreeLock lock(layers);
    bool done = true;
    for (const ILayerPtr& layer : layers)
        removeLeavers(layer, groupBefore(layer));
    for (const ILayerPtr& layer : layers) {
        takeError(layer, m_words.isEmpty() ? &m_words : nullptr);
        layer->resetToBackup();
        // Without room the edit stays, with its backup, and belongs to the next state.
        if (takeError(layer, m_words.isEmpty() ? &m_words : nullptr))
            done = false;
        else
            m_dirty.erase(layer);
    }
    return done;
}

// --- moving ----------------------------------------------------------------------------------------

History::Result History::moveTo(int row)
{
    if (!m_root || row < 0 || row >= m_states.size() || row == m_row)
        return Result::Nothing;
    m_words.clear();
    const int before = m_row;
    const QList<ILayerPtr> unrecorded = changedLayers();
    bool done = takeBackLayers(unrecorded);
    for (const ILayerPtr& layer : unrecorded)
        postEvent(this, EventId::LayerContentUpdate, layer, this);
    while (done && m_row != row) {
        const int32_t direction = row < m_row ? 0 : 1;
        const HistoryEntry entry = m_states[m_row + direction];
        done = applyLayers(entry, direction);
        if (!done)
            break;
        m_row += direction == 0 ? -1 : 1;
        applyLists(entry, direction);
        refresh(entry.layerRecords.keys(), entry);
    }
    if (m_row != before) {
        tellRow();
        postEvent(this, EventId::HistoryActivate, int32_t(m_row), this);
    }
    if (!done)
        Q_EMIT storageFailed(m_words);
    return done ? Result::Done : Result::NoSpace;
}

// All layers of the state or none. Samples first, as those alone may find no room; then the tree.
bool History::applyLayers(const HistoryEntry& entry, int32_t direction)
{
    const QHash<ILayerPtr, LayerRecord>& records = entry.layerRecords;
    QList<ILayerPtr> done;
    for (auto it = records.begin(); it != records.end(); ++it) {
        if (it.key()->type() != LayerTypeLayer)
            continue;
        it.key()->applyRecord(it.value(), direction);
        if (isApplied(it.key(), it.value(), direction)) {
            done << it.key();
            continue;
        }
        takeError(it.key(), &m_words);
        for (const ILayerPtr& layer : done)
            layer->applyRecord(records[layer], 1 - direction);
        return false;
    }
    const TreeLock lock(records.keys());
    for (auto it = records.begin(); it != records.end(); ++it)
        removeLeavers(it.key(), direction == 0 ? it.value().before : it.value().after);
    for (auto it = records.begin(); it != records.end(); ++it)
        if (it.key()->type() != LayerTypeLayer)
            it.key()->applyRecord(it.value(), direction);
    return true;
}

void History::applyLists(const HistoryEntry& entry, int32_t direction)
{
    const bool back = direction == 0;
    if (entry.metadataChanged)
        m_recorded.metadata = m_now.metadata = back ? entry.metadataBefore : entry.metadataAfter;
    if (entry.markersChanged)
        m_recorded.markers = m_now.markers = back ? entry.markersBefore : entry.markersAfter;
    if (entry.spectralMarkersChanged)
        m_recorded.spectralMarkers = m_now.spectralMarkers =
            back ? entry.spectralMarkersBefore : entry.spectralMarkersAfter;
    if (entry.selectionChanged)
        m_recorded.selection = m_now.selection = back ? entry.selectionBefore : entry.selectionAfter;
}

// The lists are copied first: listeners answer with posts of their own.
void History::refresh(const QList<ILayerPtr>& layers, const HistoryEntry& entry)
{
    const Lists now = m_now;
    for (const ILayerPtr& layer : layers)
        postEvent(this, EventId::LayerContentUpdate, layer, this);
    postActiveLayer();
    if (entry.metadataChanged)
        postEvent(this, EventId::MetaDataListChange, now.metadata, this);
    if (entry.markersChanged)
        postEvent(this, EventId::MarkerListChange, now.markers, this);
    if (entry.spectralMarkersChanged)
        postEvent(this, EventId::SpectralMarkerListChange, now.spectralMarkers, this);
    postEvent(this, EventId::SelectionChange, now.selection, this);
}

// No state names the active layer. When it has left the tree, the topmost one takes its place.
void History::postActiveLayer()
{
    ILayerPtr active = m_root->layer(-1);
    const auto holds = [&](RootNode node) { return !m_root->node(node)->pathTo(active).isEmpty(); };
    if (!active || !(holds(RootProject) || holds(RootActivePreview) || holds(RootTemporary))) {
        active = m_root->project()->children(ChildrenDirect).value(0);
        m_root->setActive(active);
    }
    postEvent(this, EventId::LayerActivate, active, this);
}

// --- deleting --------------------------------------------------------------------------------------

History::Result History::deleteFrom(int row)
{
    if (m_states.size() < 2)
        return Result::FirstState;
    if (row < 0 || row >= m_states.size())
        return Result::Nothing;
    const int last = std::max(0, row - 1);
    if (m_row > last)
        if (const Result result = moveTo(last); result != Result::Done)
            return result;
    for (const HistoryEntry& gone : m_states.mid(last + 1))
        gone.forgetRecords();
    showStates(m_states.mid(0, last + 1), m_row);
    return Result::Done;
}
