#include "editing/editdesk.h"

#include "base/clock.h"
#include "editing/plugindocument.h"
#include "ui/widgets/messages.h"

#include <QCoreApplication>
#include <QVariant>

#include <utility>

namespace {

constexpr int64_t defaultBufferMB = 300;

int64_t bufferMB()
{
    const QCoreApplication* application = QCoreApplication::instance();
    bool isNumber = false;
    const int64_t size = application ? application->property("maxbuffersizemb").toLongLong(&isNumber) : 0;
    return isNumber ? size : defaultBufferMB;
}

// Other ones when its samples, or the mix of a group, have changed.
std::vector<int64_t> timesOf(const ILayerPtr& layer)
{
    std::vector<int64_t> times{layer->contentTime()};
    for (const ILayerPtr& below : layer->children(ChildrenAll)) {
        times.push_back(below->contentTime());
        times.push_back(below->propertiesTime());
    }
    return times;
}

// Only what differs: setting a property stamps the layer.
void restore(Layer& layer, const LayerHeader& old)
{
    const LayerHeader now = layer.header();
    if (now.name != old.name)
        layer.setName(old.name.toStdString());
    if (now.enabled != old.enabled)
        layer.setEnabled(old.enabled);
    if (now.solo != old.solo)
        layer.setSolo(old.solo);
    if (now.polarity != old.polarity)
        layer.setPolarity(old.polarity);
    if (now.multiplier != old.multiplier)
        layer.setMultiplier(old.multiplier);
    if (now.color != old.color)
        layer.setColor(old.color);
}

} // namespace

EditDesk::Action::Action(EditDesk& desk) : m_desk(desk), m_runs(!desk.m_busy)
{
    if (!m_runs)
        return;
    desk.m_busy = true;
    desk.m_actionTime = nextTimeStamp();
    desk.m_known = desk.tree(); // what others have done to it they have told themselves
    desk.dropBuffers();
    desk.forgetStaleFrames();
}

EditDesk::Action::~Action()
{
    if (!m_runs)
        return;
    m_desk.m_busy = false;
    Q_EMIT m_desk.becameIdle();
}

EditDesk::EditDesk(IEvent* listener, QWidget* window)
    : m_listener(listener),
      m_window(window),
      m_document(std::make_unique<PluginDocument>(*this))
{
}

EditDesk::~EditDesk() = default;

LayerGroupPtr EditDesk::layers() const
{
    return m_state.root ? m_state.root->project() : nullptr;
}

ILayerPtr EditDesk::activeLayer() const
{
    return m_state.root ? m_state.root->layer(-1) : nullptr;
}

MaskedArea EditDesk::maskedArea() const
{
    return {m_state.selection, m_state.transform, m_state.channels.selected};
}

PluginContext EditDesk::pluginContext()
{
    return m_document->context();
}

QList<ILayerPtr> EditDesk::tree() const
{
    if (!m_state.root)
        return {};
    QList<ILayerPtr> all{m_state.root->project()};
    return all << m_state.root->allLayers();
}

bool EditDesk::hasProject() const
{
    return m_state.root && m_state.format.channels > 0;
}

// --- frames ----------------------------------------------------------------------------------------

std::shared_ptr<SpectralBuffer> EditDesk::spectralBufferFor(const ILayerPtr& layer)
{
    Frames& frames = m_buffers[layer];
    if (!frames.buffer) {
        frames.buffer = std::make_shared<SpectralBuffer>();
        frames.buffer->setBufferSizeMB(layer == activeLayer() ? bufferMB() : 0);
        frames.buffer->setLayer(layer);
        frames.buffer->setSettings(m_state.transform);
        frames.times = timesOf(layer);
    }
    return frames.buffer;
}

void EditDesk::dropBuffers()
{
    for (auto it = m_buffers.begin(); it != m_buffers.end();)
        it = m_known.contains(it.key()) ? std::next(it) : m_buffers.erase(it);
}

void EditDesk::forgetStaleFrames()
{
    for (auto it = m_buffers.begin(); it != m_buffers.end(); ++it) {
        std::vector<int64_t> times = timesOf(it.key());
        if (times == it->times)
            continue;
        (void)it->buffer->release(); // nothing waits in it between two actions
        it->times = std::move(times);
    }
}

void EditDesk::releaseBuffers()
{
    for (Frames& frames : m_buffers)
        (void)frames.buffer->release(); // the layer remembers what failed
    for (auto it = m_buffers.begin(); it != m_buffers.end(); ++it)
        it->times = timesOf(it.key());
}

void EditDesk::commitBuffers()
{
    for (auto it = m_buffers.begin(); it != m_buffers.end(); ++it) {
        const bool isFresh = it->times == timesOf(it.key()); // nobody has written samples beside it
        (void)(isFresh ? it->buffer->commit() : it->buffer->release());
        it->times = timesOf(it.key());
    }
}

// Only the active layer is worked on frame by frame for long.
void EditDesk::limitBuffers()
{
    const ILayerPtr active = activeLayer();
    for (auto it = m_buffers.begin(); it != m_buffers.end(); ++it)
        it->buffer->setBufferSizeMB(it.key() == active ? bufferMB() : 0);
}

// --- what the bus tells ----------------------------------------------------------------------------

void EditDesk::formatChanged(const SamplingFormat& format)
{
    m_state.format = m_state.convert.format = format;
    Q_EMIT changed();
}

void EditDesk::rootChanged(const LayerRoot& root)
{
    m_state.root = root;
    Q_EMIT changed();
    m_known = tree();
    dropBuffers();
    limitBuffers();
    const ILayerPtr owner = root.layer(RootProject);
    if (owner == m_owner.lock())
        return;
    m_owner = owner;
    m_modified = false; // what is left open in the other project is taken up by its own history
    for (auto it = m_memories.begin(); it != m_memories.end();)
        it = it->first.expired() ? m_memories.erase(it) : std::next(it);
    tellMemory();
}

void EditDesk::setTimeBase(EventId id, const TimeBase& base)
{
    Convert& convert = m_state.convert;
    if (id == EventId::FrameRateChange) {
        convert.fps = base.frameRate;
    } else {
        convert.bpm = base.bpm;
        convert.beatsPerBar = base.beatsPerBar;
        convert.beatUnit = base.beatUnit;
    }
    Q_EMIT changed();
}

// Values come from project files too; an unknown one is the first.
void EditDesk::setUnit(EventId id, int32_t value)
{
    const auto bounded = [value](auto last) {
        return value >= 0 && value <= int32_t(last) ? decltype(last)(value) : decltype(last)(0);
    };
    if (id == EventId::TimeUnitChange)
        m_state.convert.timeUnit = bounded(TimeUnit::Pixels);
    else if (id == EventId::FreqUnitChange)
        m_state.convert.freqUnit = bounded(FreqUnit::Normalized);
    else
        m_state.convert.freqScale = bounded(FreqScale::MidiLogarithmic);
    Q_EMIT changed();
}

void EditDesk::selectionChanged(const Selection& selection)
{
    m_state.selection = m_told = selection;
    Q_EMIT changed();
    Q_EMIT selectionEnabled(!selection.isEmpty());
}

void EditDesk::transformChanged(const TransformSettings& settings)
{
    m_state.transform = std::make_shared<const Transform>(settings);
    m_state.convert.settings = settings;
    for (const Frames& frames : qAsConst(m_buffers))
        frames.buffer->setSettings(m_state.transform);
    Q_EMIT changed();
}

void EditDesk::activeChanged()
{
    limitBuffers();
    Q_EMIT changed();
}

void EditDesk::tellMemory()
{
    Q_EMIT selectionBackupEnabled(!memory().last.isEmpty());
    tellSaved();
}

void EditDesk::tellSaved()
{
    Q_EMIT selectionLoadEnabled(!memory().saved.isEmpty());
}

// --- closing ---------------------------------------------------------------------------------------

void EditDesk::commit(const QString& label, const QIcon& icon)
{
    commitBuffers();
    tellContents();
    tellTree();
    tellSelection();
    Q_EMIT changed();
    if (!m_modified || label.isEmpty())
        return;
    m_modified = false;
    HistoryEntry entry;
    entry.name = label;
    entry.icon = icon;
    postEvent(m_listener, EventId::HistoryRecord, entry, m_listener);
}

void EditDesk::tellContents()
{
    for (const ILayerPtr& layer : tree()) {
        if (layer->contentTime() < m_actionTime)
            continue;
        m_modified = m_modified || layer->hasBackup();
        postEvent<ILayerPtr>(m_listener, EventId::LayerContentUpdate, layer, m_listener);
    }
}

void EditDesk::tellTree()
{
    const QList<ILayerPtr> now = tree();
    if (now == m_known)
        return;
    m_known = now;
    m_modified = true;
    dropBuffers();
    postEvent(m_listener, EventId::LayerRootChange, *m_state.root, m_listener);
}

void EditDesk::tellSelection()
{
    if (!(m_state.selection == m_told)) {
        m_told = m_state.selection;
        m_modified = true;
        if (!m_told.isEmpty()) {
            memory().last = m_told;
            Q_EMIT selectionBackupEnabled(true);
        }
        postEvent(m_listener, EventId::SelectionChange, m_told, m_listener);
    }
    Q_EMIT selectionEnabled(!m_state.selection.isEmpty());
}

void EditDesk::rollBack(const QString& label, const QString& words, Show box)
{
    m_state.selection = m_told;
    for (const ILayerPtr& layer : tree()) {
        const auto stored = std::dynamic_pointer_cast<Layer>(layer);
        if (stored)
            stored->takeStorageError();
        if (layer->contentTime() < m_actionTime || !layer->hasBackup())
            continue;
        layer->resetToBackup();
        if (stored)
            stored->takeStorageError();
        postEvent<ILayerPtr>(m_listener, EventId::LayerContentUpdate, layer, m_listener);
    }
    releaseBuffers();
    const auto show = [this, label, words] {
        messages::critical(m_window, label, tr("The last action could not be stored and was taken back."),
                           words);
    };
    if (box == Show::AtOnce)
        return show();
    if (std::exchange(m_boxWaits, true))
        return;
    const auto showLater = [this, show] {
        m_boxWaits = false;
        show();
    };
    QMetaObject::invokeMethod(this, showLater, Qt::QueuedConnection);
}

bool EditDesk::rollBackFailed(const QString& label, Show box)
{
    commitBuffers();
    QString words;
    bool failed = false;
    for (const ILayerPtr& layer : tree())
        if (const auto stored = std::dynamic_pointer_cast<Layer>(layer))
            failed = stored->takeStorageError(failed ? nullptr : &words) || failed;
    if (failed)
        rollBack(label, words, box);
    return failed;
}

void EditDesk::tellFailure(const QString& title, const QString& plugin, const QString& cause)
{
    QMetaObject::invokeMethod(
        this,
        [this, title, plugin, cause] {
            messages::critical(m_window, title, tr("%1 has failed. What it did was taken back.").arg(plugin),
                               cause);
        },
        Qt::QueuedConnection);
}

EditDesk::Mark EditDesk::mark() const
{
    Mark mark{m_state.selection, activeLayer(), {}};
    for (const ILayerPtr& layer : tree())
        if (const auto stored = std::dynamic_pointer_cast<Layer>(layer))
            mark.properties << std::pair(stored, stored->header());
    return mark;
}

void EditDesk::takeBack(const Mark& mark)
{
    commitBuffers(); // pending frames would come back otherwise
    m_state.selection = mark.selection;
    const auto isTouched = [this](const ILayer& layer) {
        return layer.hasBackup() && std::max(layer.contentTime(), layer.propertiesTime()) >= m_actionTime;
    };
    // Groups first: then the tree is the old one again.
    for (const bool groups : {true, false})
        for (const ILayerPtr& layer : tree())
            if ((layer->type() == LayerTypeGroup) == groups && isTouched(*layer))
                layer->resetToBackup();
    for (const auto& [layer, header] : mark.properties)
        restore(*layer, header);
    if (m_state.root->layer(-1) != mark.active)
        m_state.root->setActive(mark.active);
    releaseBuffers();
    tellContents();
    tellTree();
    tellSelection();
    m_modified = false;
    Q_EMIT changed();
}

void EditDesk::moveTransport(int64_t position)
{
    m_state.transportPosition = position;
    Q_EMIT changed();
    postEvent(m_listener, EventId::TransportPositionChange, position, m_listener);
}

void EditDesk::activate(const ILayerPtr& layer)
{
    m_state.root->setActive(layer);
    tellTree(); // nobody hears of a layer that he does not know
    limitBuffers();
    postEvent<ILayerPtr>(m_listener, EventId::LayerActivate, layer, m_listener);
}
