#include "model/events.h"

#include "model/historyentry.h"
#include "model/layerroot.h"
#include "model/movetransform.h"
#include "model/selection.h"
#include "model/toolstate.h"

#include <algorithm>
#include <array>
#include <deque>
#include <exception>
#include <typeindex>
#include <vector>

#include <QCoreApplication>
#include <QDebug>
#include <QHash>
#include <QThread>

namespace {

struct NoPayload
{
};

struct Event
{
    const char* name;
    int operation; // position in the order of IEvent
    std::type_index payload;
    void (*deliver)(IEvent&, EventId, const void*);
};

template<class>
struct PayloadOf;
template<class Payload>
struct PayloadOf<void (IEvent::*)(EventId, const Payload&)>
{
    using Type = Payload;
};

// A row of the table: the payload type follows from the operation.
template<auto Operation>
Event event(const char* name, int number)
{
    using Payload = typename PayloadOf<decltype(Operation)>::Type;
    return {name, number, typeid(Payload), [](IEvent& listener, EventId id, const void* payload) {
                (listener.*Operation)(id, *static_cast<const Payload*>(payload));
            }};
}

template<void (IEvent::*Operation)(EventId)>
Event bare(const char* name, int number)
{
    return {name, number, typeid(NoPayload),
            [](IEvent& listener, EventId id, const void*) { (listener.*Operation)(id); }};
}

const std::array<Event, eventIdCount>& events()
{
    static const std::array<Event, eventIdCount> table = {{
        event<&IEvent::samplingFormatEvent>("SamplingFormatChange", 0),
        event<&IEvent::channelsModeEvent>("ChannelsModeChange", 1),
        event<&IEvent::transformEvent>("TransformChange", 2),
        event<&IEvent::timeBaseEvent>("TimeSignatureChange", 3),
        event<&IEvent::timeBaseEvent>("FrameRateChange", 3),
        event<&IEvent::timeUnitEvent>("TimeUnitChange", 4),
        event<&IEvent::powerUnitEvent>("PowerUnitChange", 5),
        event<&IEvent::freqUnitEvent>("FreqUnitChange", 6),
        event<&IEvent::freqScaleEvent>("FreqScaleChange", 7),
        event<&IEvent::filteringEvent>("FilteringChange", 8),
        event<&IEvent::layerRootEvent>("LayerRootChange", 10),
        event<&IEvent::layerEvent>("LayerActivate", 9),
        event<&IEvent::layerEvent>("LayerPropertiesChange", 9),
        event<&IEvent::layerEvent>("LayerContentUpdate", 9),
        event<&IEvent::metaDataEvent>("MetaDataListChange", 11),
        event<&IEvent::markersEvent>("MarkerListChange", 12),
        event<&IEvent::spectralMarkersEvent>("SpectralMarkerListChange", 13),
        event<&IEvent::historyRecordEvent>("HistoryRecord", 16),
        event<&IEvent::historyListEvent>("HistoryListChange", 15),
        event<&IEvent::historyActivateEvent>("HistoryActivate", 14),
        event<&IEvent::displayEnableEvent>("DisplayGridEnable", 17),
        event<&IEvent::displayEnableEvent>("DisplayMarkersEnable", 17),
        event<&IEvent::displayEnableEvent>("DisplaySpectralMarkersEnable", 17),
        event<&IEvent::displayEnableEvent>("DisplayLockBottomTo0Enable", 17),
        event<&IEvent::displayEnableEvent>("DisplayLockCenterTo0Enable", 17),
        event<&IEvent::displayEnableEvent>("DisplaySnapEnable", 17),
        event<&IEvent::displayEnableEvent>("DisplayCompositeEnable", 17),
        event<&IEvent::displayEnableEvent>("DisplayTargetActiveEnable", 17),
        event<&IEvent::displayValueEvent>("DisplayLowdBChange", 18),
        event<&IEvent::displayValueEvent>("DisplayHighdBChange", 18),
        event<&IEvent::displayValueEvent>("DisplayGammaChange", 18),
        event<&IEvent::displayValueEvent>("displayTimeSharpenChange", 18),
        event<&IEvent::displayValueEvent>("DisplayFreqSharpenChange", 18),
        event<&IEvent::colormapEvent>("DisplayColormapChange", 19),
        event<&IEvent::displayValueEvent>("DisplaySplitterRatioChange", 18),
        event<&IEvent::displayValueEvent>("DisplaySelectionOpacityChange", 18),
        event<&IEvent::areaEvent>("DisplayAreaChange", 20),
        event<&IEvent::powerRangeEvent>("DisplayPowerChange", 21),
        event<&IEvent::displacementEvent>("DisplayDisplacementChange", 22),
        event<&IEvent::mousePositionEvent>("MousePositionChange", 23),
        event<&IEvent::cursorEvent>("MouseCursorChange", 24),
        event<&IEvent::drawingEvent>("MouseDrawingChange", 25),
        event<&IEvent::controlsEvent>("MouseControlsChange", 27),
        event<&IEvent::controlIdEvent>("MouseControlIdChange", 26),
        event<&IEvent::selectionEvent>("SelectionChange", 28),
        event<&IEvent::transportPositionEvent>("TransportPositionChange", 29),
        event<&IEvent::transportPositionEvent>("TransportPositionPreview", 29),
        event<&IEvent::transportVolumeEvent>("TransportVolumedBChange", 30),
        event<&IEvent::transportEnableEvent>("TransportLoopEnable", 31),
        event<&IEvent::transportEnableEvent>("TransportReturnOnStop", 31),
        bare<&IEvent::transportScrollEvent>("TransportNoScrollActivate", 32),
        bare<&IEvent::transportScrollEvent>("TransportPageScrollActivate", 32),
        bare<&IEvent::transportScrollEvent>("TransportContinuousScrollActivate", 32),
        event<&IEvent::toolPluginEvent>("ToolPluginActivate", 35),
        bare<&IEvent::toolEvent>("ToolNoneActivate", 34),
        bare<&IEvent::toolEvent>("ToolPlaybackActivate", 34),
        bare<&IEvent::toolEvent>("ToolPanActivate", 34),
        bare<&IEvent::toolEvent>("ToolZoomActivate", 34),
        bare<&IEvent::toolEvent>("ToolDisplaceActivate", 34),
        bare<&IEvent::toolEvent>("ToolMoveActivate", 34),
        event<&IEvent::moveTransformEvent>("ToolMoveTransformStart", 33),
        event<&IEvent::moveTransformEvent>("ToolMoveTransformChange", 33),
        event<&IEvent::moveTransformEvent>("ToolMoveTransformDone", 33),
    }};
    return table;
}

const Event* find(EventId id)
{
    const int index = int(id);
    return index >= 0 && index < eventIdCount ? &events()[std::size_t(index)] : nullptr;
}

struct Pending
{
    IEvent* sender;
    EventId id;
    const Event* event;
    const void* payload;
    IEvent* skip;
    std::shared_ptr<const void> owned; // holds `payload` when it is a copy
};

struct Call
{
    IEvent* listener;
    std::function<void()> function;
};

// The one bus of the process: the listeners in order of construction, the events that wait, and the
// place in the list of the delivery in progress.
struct Bus
{
    std::vector<IEvent*> listeners;
    QHash<const IEvent*, QString> names;
    std::deque<Pending> pending;
    std::deque<Call> calls;
    std::ptrdiff_t index = -1;

    void remove(IEvent* listener);
    void deliver(const Pending& event, std::exception_ptr& thrown);
    void drain();
};

Bus& bus()
{
    static Bus instance;
    return instance;
}

void Bus::remove(IEvent* listener)
{
    names.remove(listener);
    const auto place = std::find(listeners.begin(), listeners.end(), listener);
    if (place == listeners.end())
        return;
    // The delivery in progress must not pass over the one that moves up.
    if (place - listeners.begin() <= index)
        --index;
    listeners.erase(place);
    // A later listener may get the same address; it is not the one to skip.
    for (Pending& event : pending)
        if (event.skip == listener)
            event.skip = nullptr;
    calls.erase(std::remove_if(calls.begin(), calls.end(),
                               [listener](const Call& call) { return call.listener == listener; }),
                calls.end());
}

// Keeps what a call throws; of several, the first.
template<class Function>
void guarded(std::exception_ptr& thrown, const Function& call)
{
    try {
        call();
    } catch (...) {
        if (!thrown)
            thrown = std::current_exception();
    }
}

// The list may grow and shrink under the loop.
void Bus::deliver(const Pending& event, std::exception_ptr& thrown)
{
    for (index = 0; index < std::ptrdiff_t(listeners.size()); ++index) {
        IEvent* listener = listeners[std::size_t(index)];
        if (listener != event.skip)
            guarded(thrown, [&] { event.event->deliver(*listener, event.id, event.payload); });
    }
}

// The head stays in the queue while it is delivered: that is how a post from a handler sees that it
// has to wait. A handler that throws takes nothing from the others: what it has thrown goes to the poster
// when nothing waits any more, as an event left behind would keep all later ones waiting.
void Bus::drain()
{
    std::exception_ptr thrown;
    while (!pending.empty()) {
        const std::ptrdiff_t before = index;
        deliver(pending.front(), thrown);
        pending.pop_front();
        index = before;
    }
    while (!calls.empty()) {
        const Call call = std::move(calls.front());
        calls.pop_front();
        guarded(thrown, call.function); // may post
    }
    if (thrown)
        std::rethrow_exception(thrown);
}

template<class Payload>
std::shared_ptr<const void> copyOf(const Payload& payload)
{
    return std::make_shared<const Payload>(payload);
}

// Listeners may look for the derived object.
template<>
std::shared_ptr<const void> copyOf(const TransformSettings& payload)
{
    return payload.clone();
}

template<class Payload>
void post(IEvent* sender, EventId id, const Payload& payload, IEvent* skip)
{
    Q_ASSERT(!QCoreApplication::instance() ||
             QThread::currentThread() == QCoreApplication::instance()->thread());
    const Event* event = find(id);
    if (!event)
        return;
    if (event->payload != typeid(Payload)) {
        qWarning().noquote() << "Event" << event->name << "posted with a payload of another type, ignored";
        return;
    }
    Bus& b = bus();
    if (b.pending.empty()) {
        b.pending.push_back({sender, id, event, &payload, skip, {}});
        b.drain();
    } else {
        const std::shared_ptr<const void> copy = copyOf(payload);
        b.pending.push_back({sender, id, event, copy.get(), skip, copy});
    }
}

} // namespace

IEvent::IEvent(const QString& name)
{
    bus().listeners.push_back(this);
    bus().names.insert(this, name);
}

IEvent::~IEvent()
{
    bus().remove(this);
}

void callWhenDelivered(IEvent* listener, std::function<void()> call)
{
    Bus& b = bus();
    if (b.pending.empty())
        call();
    else
        b.calls.push_back({listener, std::move(call)});
}

QString eventName(EventId id)
{
    const Event* event = find(id);
    return event ? QString::fromLatin1(event->name) : QString();
}

int eventOperation(EventId id)
{
    const Event* event = find(id);
    return event ? event->operation : -1;
}

QString listenerName(const IEvent* listener)
{
    return bus().names.value(listener);
}

template<class Payload>
void postEvent(IEvent* sender, EventId id, const Payload& payload, IEvent* skip)
{
    post(sender, id, payload, skip);
}

void postEvent(IEvent* sender, EventId id, IEvent* skip)
{
    post(sender, id, NoPayload{}, skip);
}

template void postEvent(IEvent*, EventId, const SamplingFormat&, IEvent*);
template void postEvent(IEvent*, EventId, const ChannelsMode&, IEvent*);
template void postEvent(IEvent*, EventId, const TransformSettings&, IEvent*);
template void postEvent(IEvent*, EventId, const TimeBase&, IEvent*);
template void postEvent(IEvent*, EventId, const int32_t&, IEvent*);
template void postEvent(IEvent*, EventId, const ILayerPtr&, IEvent*);
template void postEvent(IEvent*, EventId, const LayerRoot&, IEvent*);
template void postEvent(IEvent*, EventId, const MetaDataList&, IEvent*);
template void postEvent(IEvent*, EventId, const MarkerList&, IEvent*);
template void postEvent(IEvent*, EventId, const SpectralMarkerList&, IEvent*);
template void postEvent(IEvent*, EventId, const QList<HistoryEntry>&, IEvent*);
template void postEvent(IEvent*, EventId, const HistoryEntry&, IEvent*);
template void postEvent(IEvent*, EventId, const bool&, IEvent*);
template void postEvent(IEvent*, EventId, const float&, IEvent*);
template void postEvent(IEvent*, EventId, const Area&, IEvent*);
template void postEvent(IEvent*, EventId, const PowerRange&, IEvent*);
template void postEvent(IEvent*, EventId, const Displacement&, IEvent*);
template void postEvent(IEvent*, EventId, const MouseEvent&, IEvent*);
template void postEvent(IEvent*, EventId, const QCursor&, IEvent*);
template void postEvent(IEvent*, EventId, const DrawingState&, IEvent*);
template void postEvent(IEvent*, EventId, const QList<ControlPoint>&, IEvent*);
template void postEvent(IEvent*, EventId, const Selection&, IEvent*);
template void postEvent(IEvent*, EventId, const int64_t&, IEvent*);
template void postEvent(IEvent*, EventId, const MoveTransform&, IEvent*);
template void postEvent(IEvent*, EventId, const ToolActivation&, IEvent*);
