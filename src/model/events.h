// The broadcast by which the state of the current project reaches everybody: a sender names an event
// and a payload, and every other listener gets the call. GUI thread only; there is no lock.
#pragma once

#include "model/ilayer.h"
#include "model/types/channelsmode.h"
#include "model/types/marker.h"
#include "model/types/mouseevent.h"
#include "model/types/transformsettings.h"

#include <functional>

#include <QCursor>
#include <QString>

class LayerRoot;
class Selection;
struct HistoryEntry;
struct ControlPoint;
struct DrawingState;
struct MoveTransform;
struct ToolActivation;

enum class EventId : int {
    SamplingFormatChange = 0,
    ChannelsModeChange = 1,
    TransformChange = 2,
    TimeSignatureChange = 3,
    FrameRateChange = 4,
    TimeUnitChange = 5,
    PowerUnitChange = 6,
    FreqUnitChange = 7,
    FreqScaleChange = 8,
    FilteringChange = 9,
    LayerRootChange = 10,
    LayerActivate = 11,
    LayerPropertiesChange = 12,
    LayerContentUpdate = 13,
    MetaDataListChange = 14,
    MarkerListChange = 15,
    SpectralMarkerListChange = 16,
    HistoryRecord = 17,
    HistoryListChange = 18,
    HistoryActivate = 19,
    DisplayGridEnable = 20,
    DisplayMarkersEnable = 21,
    DisplaySpectralMarkersEnable = 22,
    DisplayLockBottomTo0Enable = 23,
    DisplayLockCenterTo0Enable = 24,
    DisplaySnapEnable = 25,
    DisplayCompositeEnable = 26,
    DisplayTargetActiveEnable = 27,
    DisplayLowdBChange = 28,
    DisplayHighdBChange = 29,
    DisplayGammaChange = 30,
    DisplayTimeSharpenChange = 31,
    DisplayFreqSharpenChange = 32,
    DisplayColormapChange = 33,
    DisplaySplitterRatioChange = 34,
    DisplaySelectionOpacityChange = 35,
    DisplayAreaChange = 36,
    DisplayPowerChange = 37,
    DisplayDisplacementChange = 38,
    MousePositionChange = 39,
    MouseCursorChange = 40,
    MouseDrawingChange = 41,
    MouseControlsChange = 42,
    MouseControlIdChange = 43,
    SelectionChange = 44,
    TransportPositionChange = 45,
    TransportPositionPreview = 46,
    TransportVolumedBChange = 47,
    TransportLoopEnable = 48,
    TransportReturnOnStop = 49,
    TransportNoScrollActivate = 50,
    TransportPageScrollActivate = 51,
    TransportContinuousScrollActivate = 52,
    ToolPluginActivate = 53,
    ToolNoneActivate = 54,
    ToolPlaybackActivate = 55,
    ToolPanActivate = 56,
    ToolZoomActivate = 57,
    ToolDisplaceActivate = 58,
    ToolMoveActivate = 59,
    ToolMoveTransformStart = 60,
    ToolMoveTransformChange = 61,
    ToolMoveTransformDone = 62,
};
constexpr int eventIdCount = 63;

// The literal of the diagnostic map ("displayTimeSharpenChange" starts in lower case).
[[nodiscard]] QString eventName(EventId id);

// Payload of TimeSignatureChange and FrameRateChange: each listener reads the members of its event.
struct TimeBase
{
    double bpm = 120;
    int32_t beatsPerBar = 4;
    int32_t beatUnit = 4;
    double frameRate = 25;
};
// DisplayPowerChange: low and high edge of the waveform display, linear.
struct PowerRange
{
    double low = -1;
    double high = 1;
};
// DisplayDisplacementChange: logical pixels.
struct Displacement
{
    float x = 0;
    float y = 0;
};

// A listener is on the list from its construction to its destruction; one that is made during a
// delivery still gets that event. One operation for each payload
// type; the order is fixed, since tools compiled against this header implement it too.
class IEvent
{
public:
    explicit IEvent(const QString& name);
    virtual ~IEvent();
    IEvent(const IEvent&) = delete;
    IEvent& operator=(const IEvent&) = delete;

    virtual void samplingFormatEvent(EventId, const SamplingFormat&) {}      // 0
    virtual void channelsModeEvent(EventId, const ChannelsMode&) {}          // 1
    virtual void transformEvent(EventId, const TransformSettings&) {}        // 2
    virtual void timeBaseEvent(EventId, const TimeBase&) {}                  // 3
    virtual void timeUnitEvent(EventId, const int32_t&) {}                   // 4
    virtual void powerUnitEvent(EventId, const int32_t&) {}                  // 5
    virtual void freqUnitEvent(EventId, const int32_t&) {}                   // 6
    virtual void freqScaleEvent(EventId, const int32_t&) {}                  // 7
    virtual void filteringEvent(EventId, const int32_t&) {}                  // 8
    virtual void layerEvent(EventId, const ILayerPtr&) {}                    // 9
    virtual void layerRootEvent(EventId, const LayerRoot&) {}                // 10
    virtual void metaDataEvent(EventId, const MetaDataList&) {}              // 11
    virtual void markersEvent(EventId, const MarkerList&) {}                 // 12
    virtual void spectralMarkersEvent(EventId, const SpectralMarkerList&) {} // 13
    virtual void historyActivateEvent(EventId, const int32_t&) {}            // 14
    virtual void historyListEvent(EventId, const QList<HistoryEntry>&) {}    // 15
    virtual void historyRecordEvent(EventId, const HistoryEntry&) {}         // 16
    virtual void displayEnableEvent(EventId, const bool&) {}                 // 17
    virtual void displayValueEvent(EventId, const float&) {}                 // 18
    virtual void colormapEvent(EventId, const int32_t&) {}                   // 19
    virtual void areaEvent(EventId, const Area&) {}                          // 20
    virtual void powerRangeEvent(EventId, const PowerRange&) {}              // 21
    virtual void displacementEvent(EventId, const Displacement&) {}          // 22
    virtual void mousePositionEvent(EventId, const MouseEvent&) {}           // 23
    virtual void cursorEvent(EventId, const QCursor&) {}                     // 24
    virtual void drawingEvent(EventId, const DrawingState&) {}               // 25
    virtual void controlIdEvent(EventId, const int32_t&) {}                  // 26
    virtual void controlsEvent(EventId, const QList<ControlPoint>&) {}       // 27
    virtual void selectionEvent(EventId, const Selection&) {}                // 28
    virtual void transportPositionEvent(EventId, const int64_t&) {}          // 29
    virtual void transportVolumeEvent(EventId, const float&) {}              // 30
    virtual void transportEnableEvent(EventId, const bool&) {}               // 31
    virtual void transportScrollEvent(EventId) {}                            // 32
    virtual void moveTransformEvent(EventId, const MoveTransform&) {}        // 33
    virtual void toolEvent(EventId) {}                                       // 34
    virtual void toolPluginEvent(EventId, const ToolActivation&) {}          // 35
};

// Tells `payload` to every listener but `skip` (usually the sender, which has updated itself; null
// reaches everybody), in the order of their construction. A post from within a handler is queued,
// with a copy of its payload, and delivered after the event in progress has reached the last
// listener; the outermost post returns when the queue is empty. Ids outside the table are ignored; a
// payload of another type than the table tells for the id is refused with a warning.
//
// Instantiated in events.cpp for exactly the payload type of each event (a derived one names its
// base: postEvent<TransformSettings>, postEvent<ILayerPtr>), so a caller needs the complete type
// of its own payload only: selection.h, historyentry.h, toolstate.h, movetransform.h, layerroot.h.
template<class Payload>
void postEvent(IEvent* sender, EventId id, const Payload& payload, IEvent* skip);
// The events without payload: ids 50 to 52 and 54 to 59.
void postEvent(IEvent* sender, EventId id, IEvent* skip);

// Calls back when no event is in delivery and none waits any more, before the outermost post returns; at
// once outside any delivery. Not at all when the listener is gone by then. GUI thread.
void callWhenDelivered(IEvent* listener, std::function<void()> call);

// The name that a listener was made with, empty when there is no such listener.
[[nodiscard]] QString listenerName(const IEvent* listener);
// Position of the operation of IEvent that the event calls, from 0; -1 for an unknown id.
[[nodiscard]] int eventOperation(EventId id);
