#include "model/events.h"

#include "model/historyentry.h"
#include "model/layerroot.h"
#include "model/modeltest.h"
#include "model/movetransform.h"
#include "model/toolstate.h"
#include "support/testsupport.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>

using namespace modeltest;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// What arrived where: the operation of IEvent, by its position, and the event.
struct Arrival
{
    int operation;
    int id;
    friend bool operator==(const Arrival&, const Arrival&) = default;
};

class Recorder : public IEvent
{
public:
    explicit Recorder(const QString& name = QStringLiteral("recorder")) : IEvent(name) {}

    void samplingFormatEvent(EventId id, const SamplingFormat&) override { note(0, id); }
    void channelsModeEvent(EventId id, const ChannelsMode& mode) override
    {
        channels = mode;
        note(1, id);
    }
    void transformEvent(EventId id, const TransformSettings& settings) override
    {
        transform = settings.clone();
        note(2, id);
    }
    void timeBaseEvent(EventId id, const TimeBase&) override { note(3, id); }
    void timeUnitEvent(EventId id, const int32_t&) override { note(4, id); }
    void powerUnitEvent(EventId id, const int32_t&) override { note(5, id); }
    void freqUnitEvent(EventId id, const int32_t&) override { note(6, id); }
    void freqScaleEvent(EventId id, const int32_t&) override { note(7, id); }
    void filteringEvent(EventId id, const int32_t&) override { note(8, id); }
    void layerEvent(EventId id, const ILayerPtr&) override { note(9, id); }
    void layerRootEvent(EventId id, const LayerRoot&) override { note(10, id); }
    void metaDataEvent(EventId id, const MetaDataList&) override { note(11, id); }
    void markersEvent(EventId id, const MarkerList&) override { note(12, id); }
    void spectralMarkersEvent(EventId id, const SpectralMarkerList&) override { note(13, id); }
    void historyActivateEvent(EventId id, const int32_t&) override { note(14, id); }
    void historyListEvent(EventId id, const QList<HistoryEntry>&) override { note(15, id); }
    void historyRecordEvent(EventId id, const HistoryEntry&) override { note(16, id); }
    void displayEnableEvent(EventId id, const bool&) override { note(17, id); }
    void displayValueEvent(EventId id, const float& value) override
    {
        values.push_back(value);
        note(18, id);
    }
    void colormapEvent(EventId id, const int32_t&) override { note(19, id); }
    void areaEvent(EventId id, const Area&) override { note(20, id); }
    void powerRangeEvent(EventId id, const PowerRange&) override { note(21, id); }
    void displacementEvent(EventId id, const Displacement&) override { note(22, id); }
    void mousePositionEvent(EventId id, const MouseEvent& mouse) override
    {
        payload = &mouse;
        note(23, id);
    }
    void cursorEvent(EventId id, const QCursor&) override { note(24, id); }
    void drawingEvent(EventId id, const DrawingState&) override { note(25, id); }
    void controlIdEvent(EventId id, const int32_t&) override { note(26, id); }
    void controlsEvent(EventId id, const QList<ControlPoint>&) override { note(27, id); }
    void selectionEvent(EventId id, const Selection&) override { note(28, id); }
    void transportPositionEvent(EventId id, const int64_t&) override { note(29, id); }
    void transportVolumeEvent(EventId id, const float&) override { note(30, id); }
    void transportEnableEvent(EventId id, const bool&) override { note(31, id); }
    void transportScrollEvent(EventId id) override { note(32, id); }
    void moveTransformEvent(EventId id, const MoveTransform&) override { note(33, id); }
    void toolEvent(EventId id) override { note(34, id); }
    void toolPluginEvent(EventId id, const ToolActivation&) override { note(35, id); }

    std::vector<Arrival> arrivals;
    std::vector<float> values;
    ChannelsMode channels;
    std::shared_ptr<const TransformSettings> transform;
    const void* payload = nullptr;
    std::function<void(int id)> handler;

private:
    void note(int operation, EventId id)
    {
        arrivals.push_back({operation, int(id)});
        if (handler)
            handler(int(id));
    }
};

// One row of the vocabulary: id, name, operation, and how it is posted.
struct Row
{
    int id;
    const char* name;
    int operation;
    std::function<void(EventId)> post;
};

template<class Payload>
std::function<void(EventId)> with(const Payload& payload = {})
{
    return [payload](EventId id) { postEvent<Payload>(nullptr, id, payload, nullptr); };
}

std::vector<Row> vocabulary()
{
    const auto bare = [](EventId id) { postEvent(nullptr, id, nullptr); };
    return {
        {0, "SamplingFormatChange", 0, with<SamplingFormat>()},
        {1, "ChannelsModeChange", 1, with<ChannelsMode>()},
        {2, "TransformChange", 2, with<TransformSettings>()},
        {3, "TimeSignatureChange", 3, with<TimeBase>()},
        {4, "FrameRateChange", 3, with<TimeBase>()},
        {5, "TimeUnitChange", 4, with<int32_t>()},
        {6, "PowerUnitChange", 5, with<int32_t>()},
        {7, "FreqUnitChange", 6, with<int32_t>()},
        {8, "FreqScaleChange", 7, with<int32_t>()},
        {9, "FilteringChange", 8, with<int32_t>()},
        {10, "LayerRootChange", 10, with<LayerRoot>(LayerRoot())},
        {11, "LayerActivate", 9, with<ILayerPtr>()},
        {12, "LayerPropertiesChange", 9, with<ILayerPtr>()},
        {13, "LayerContentUpdate", 9, with<ILayerPtr>()},
        {14, "MetaDataListChange", 11, with<MetaDataList>()},
        {15, "MarkerListChange", 12, with<MarkerList>()},
        {16, "SpectralMarkerListChange", 13, with<SpectralMarkerList>()},
        {17, "HistoryRecord", 16, with<HistoryEntry>()},
        {18, "HistoryListChange", 15, with<QList<HistoryEntry>>()},
        {19, "HistoryActivate", 14, with<int32_t>()},
        {20, "DisplayGridEnable", 17, with<bool>()},
        {21, "DisplayMarkersEnable", 17, with<bool>()},
        {22, "DisplaySpectralMarkersEnable", 17, with<bool>()},
        {23, "DisplayLockBottomTo0Enable", 17, with<bool>()},
        {24, "DisplayLockCenterTo0Enable", 17, with<bool>()},
        {25, "DisplaySnapEnable", 17, with<bool>()},
        {26, "DisplayCompositeEnable", 17, with<bool>()},
        {27, "DisplayTargetActiveEnable", 17, with<bool>()},
        {28, "DisplayLowdBChange", 18, with<float>()},
        {29, "DisplayHighdBChange", 18, with<float>()},
        {30, "DisplayGammaChange", 18, with<float>()},
        {31, "displayTimeSharpenChange", 18, with<float>()},
        {32, "DisplayFreqSharpenChange", 18, with<float>()},
        {33, "DisplayColormapChange", 19, with<int32_t>()},
        {34, "DisplaySplitterRatioChange", 18, with<float>()},
        {35, "DisplaySelectionOpacityChange", 18, with<float>()},
        {36, "DisplayAreaChange", 20, with<Area>()},
        {37, "DisplayPowerChange", 21, with<PowerRange>()},
        {38, "DisplayDisplacementChange", 22, with<Displacement>()},
        {39, "MousePositionChange", 23, with<MouseEvent>()},
        {40, "MouseCursorChange", 24, with<QCursor>()},
        {41, "MouseDrawingChange", 25, with<DrawingState>()},
        {42, "MouseControlsChange", 27, with<QList<ControlPoint>>()},
        {43, "MouseControlIdChange", 26, with<int32_t>()},
        {44, "SelectionChange", 28, with<Selection>()},
        {45, "TransportPositionChange", 29, with<int64_t>()},
        {46, "TransportPositionPreview", 29, with<int64_t>()},
        {47, "TransportVolumedBChange", 30, with<float>()},
        {48, "TransportLoopEnable", 31, with<bool>()},
        {49, "TransportReturnOnStop", 31, with<bool>()},
        {50, "TransportNoScrollActivate", 32, bare},
        {51, "TransportPageScrollActivate", 32, bare},
        {52, "TransportContinuousScrollActivate", 32, bare},
        {53, "ToolPluginActivate", 35, with<ToolActivation>()},
        {54, "ToolNoneActivate", 34, bare},
        {55, "ToolPlaybackActivate", 34, bare},
        {56, "ToolPanActivate", 34, bare},
        {57, "ToolZoomActivate", 34, bare},
        {58, "ToolDisplaceActivate", 34, bare},
        {59, "ToolMoveActivate", 34, bare},
        {60, "ToolMoveTransformStart", 33, with<MoveTransform>()},
        {61, "ToolMoveTransformChange", 33, with<MoveTransform>()},
        {62, "ToolMoveTransformDone", 33, with<MoveTransform>()},
    };
}

TEST(Events, EachIdReachesItsOperationUnderItsName)
{
    const std::vector<Row> rows = vocabulary();
    ASSERT_EQ(rows.size(), std::size_t(eventIdCount));
    Recorder listener;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const Row& row = rows[i];
        ASSERT_EQ(row.id, int(i));
        const EventId id = EventId(row.id);
        EXPECT_EQ(eventName(id), QString::fromLatin1(row.name));
        EXPECT_EQ(eventOperation(id), row.operation);
        listener.arrivals.clear();
        row.post(id);
        EXPECT_THAT(listener.arrivals, ElementsAre(Arrival{row.operation, row.id})) << row.name;
    }
}

TEST(Events, UnknownIdsAreIgnored)
{
    Recorder listener;
    for (const int id : {63, 64, 1000, -1}) {
        postEvent<int32_t>(nullptr, EventId(id), 1, nullptr);
        postEvent(nullptr, EventId(id), nullptr);
        EXPECT_EQ(eventName(EventId(id)), QString());
        EXPECT_EQ(eventOperation(EventId(id)), -1);
    }
    EXPECT_THAT(listener.arrivals, IsEmpty());
}

TEST(Events, PayloadOfAnotherTypeIsRefusedWithAWarning)
{
    Recorder listener;
    testsupport::expectWarning(QStringLiteral("DisplayGammaChange"));
    postEvent<int32_t>(nullptr, EventId::DisplayGammaChange, 1, nullptr);
    testsupport::expectWarning(QStringLiteral("ToolNoneActivate"));
    postEvent<bool>(nullptr, EventId::ToolNoneActivate, true, nullptr);
    testsupport::expectWarning(QStringLiteral("DisplayAreaChange"));
    postEvent(nullptr, EventId::DisplayAreaChange, nullptr);
    EXPECT_THAT(listener.arrivals, IsEmpty());
}

TEST(Events, PostFromAHandlerArrivesAfterTheFirstHasReachedTheLast)
{
    std::vector<std::pair<char, int>> order;
    Recorder a, b;
    a.handler = [&](int id) {
        order.emplace_back('a', id);
        if (id == int(EventId::LayerActivate)) {
            postEvent<ILayerPtr>(&a, EventId::LayerContentUpdate, {}, nullptr);
            postEvent<float>(&a, EventId::DisplayGammaChange, 2.0f, nullptr);
            EXPECT_EQ(order.size(), 1u);
        }
    };
    b.handler = [&](int id) { order.emplace_back('b', id); };
    postEvent<ILayerPtr>(nullptr, EventId::LayerActivate, {}, nullptr);
    const std::vector<std::pair<char, int>> expected{{'a', 11}, {'b', 11}, {'a', 13},
                                                     {'b', 13}, {'a', 30}, {'b', 30}};
    EXPECT_EQ(order, expected); // and the outermost post has returned only now
}

TEST(Events, SkippedListenerGetsNothingAndAllOthersGetTheEvent)
{
    Recorder a, b, c;
    postEvent<bool>(&b, EventId::DisplayGridEnable, true, &b);
    EXPECT_EQ(a.arrivals.size(), 1u);
    EXPECT_EQ(b.arrivals.size(), 0u);
    EXPECT_EQ(c.arrivals.size(), 1u);
    postEvent<bool>(&b, EventId::DisplayGridEnable, true, nullptr);
    EXPECT_EQ(b.arrivals.size(), 1u);
}

TEST(Events, ListenerThatDeletesItselfDoesNotCauseTheNextToMissTheEvent)
{
    Recorder a;
    auto b = std::make_unique<Recorder>();
    Recorder c, d;
    b->handler = [&](int) { b.reset(); };
    postEvent(nullptr, EventId::ToolPanActivate, nullptr);
    EXPECT_FALSE(b);
    EXPECT_EQ(a.arrivals.size(), 1u);
    EXPECT_EQ(c.arrivals.size(), 1u);
    EXPECT_EQ(d.arrivals.size(), 1u);
}

TEST(Events, ListenersBeforeAndBehindMayBeDeletedDuringADelivery)
{
    auto a = std::make_unique<Recorder>();
    Recorder b;
    auto c = std::make_unique<Recorder>();
    Recorder d;
    b.handler = [&](int) {
        a.reset();
        c.reset();
    };
    postEvent(nullptr, EventId::ToolPanActivate, nullptr);
    EXPECT_EQ(b.arrivals.size(), 1u);
    EXPECT_EQ(d.arrivals.size(), 1u);
}

TEST(Events, ListenerMadeDuringADeliveryReceivesTheSameEvent)
{
    Recorder a;
    std::unique_ptr<Recorder> late;
    a.handler = [&](int) {
        if (!late)
            late = std::make_unique<Recorder>();
    };
    postEvent(nullptr, EventId::ToolPanActivate, nullptr);
    EXPECT_EQ(late->arrivals.size(), 1u);
}

TEST(Events, DeadSkipListenerSilencesNobodyAtItsAddress)
{
    Recorder a;
    std::optional<Recorder> b(std::in_place); // the next one is made in the same place
    a.handler = [&](int id) {
        if (id != int(EventId::ToolPanActivate))
            return;
        postEvent(&*b, EventId::ToolZoomActivate, &*b);
        b.emplace();
    };
    postEvent(nullptr, EventId::ToolPanActivate, nullptr);
    EXPECT_THAT(b->arrivals, ElementsAre(Arrival{34, 56}, Arrival{34, 57}));
}

// A QBitArray that is shared keeps one block of bits; when its last copy is gone, a change of the
// original needs no copy of its own. So the address of the bits tells who still holds them.
TEST(Events, OwnedCopyOfAPayloadIsReleasedAfterDelivery)
{
    ChannelsMode mode(8);
    Recorder a;
    a.handler = [&](int id) {
        if (id == int(EventId::ToolPanActivate))
            postEvent<ChannelsMode>(&a, EventId::ChannelsModeChange, mode, nullptr);
    };
    postEvent(nullptr, EventId::ToolPanActivate, nullptr);
    EXPECT_EQ(a.channels, mode);
    a.channels = {};
    const char* enabled = mode.enabled.bits();
    const char* solo = mode.solo.bits();
    const char* selected = mode.selected.bits();
    mode.enabled.setBit(1, false); // would move to new memory if anybody shared it
    mode.solo.setBit(1);
    mode.selected.setBit(1, false);
    EXPECT_EQ(mode.enabled.bits(), enabled);
    EXPECT_EQ(mode.solo.bits(), solo);
    EXPECT_EQ(mode.selected.bits(), selected);
}

TEST(Events, QueuedLayerIsHeldUntilItsDeliveryAndNoLonger)
{
    Recorder a;
    std::weak_ptr<ILayer> weak;
    bool aliveAtDelivery = false;
    a.handler = [&](int id) {
        if (id == int(EventId::ToolPanActivate)) {
            const ILayerPtr layer = Layer::create(realFormat());
            weak = layer;
            postEvent<ILayerPtr>(&a, EventId::LayerActivate, layer, nullptr);
        } else {
            aliveAtDelivery = !weak.expired();
        }
    };
    postEvent(nullptr, EventId::ToolPanActivate, nullptr);
    EXPECT_TRUE(aliveAtDelivery);
    EXPECT_TRUE(weak.expired());
}

TEST(Events, FirstPostMakesNoCopyOfItsPayload)
{
    Recorder a;
    const MouseEvent mouse;
    postEvent(nullptr, EventId::MousePositionChange, mouse, nullptr);
    EXPECT_EQ(a.payload, &mouse);
}

// Settings may be more than they say; a listener that looks for more finds it, also in a copy.
struct RichSettings : TransformSettings
{
    std::shared_ptr<const TransformSettings> clone() const override
    {
        return std::make_shared<RichSettings>(*this);
    }
    int more = 42;
};

TEST(Events, QueuedTransformKeepsItsType)
{
    Recorder a;
    a.handler = [&](int id) {
        if (id == int(EventId::ToolPanActivate))
            postEvent<TransformSettings>(&a, EventId::TransformChange, RichSettings(), nullptr);
    };
    postEvent(nullptr, EventId::ToolPanActivate, nullptr);
    const auto* rich = dynamic_cast<const RichSettings*>(a.transform.get());
    ASSERT_TRUE(rich);
    EXPECT_EQ(rich->more, 42);
}

TEST(Events, AThrowingHandlerDoesNotBlockTheBus)
{
    auto a = std::make_unique<Recorder>();
    a->handler = [](int) { throw std::runtime_error("test"); };
    EXPECT_THROW(postEvent(nullptr, EventId::ToolPanActivate, nullptr), std::runtime_error);
    a.reset();
    Recorder b;
    postEvent(nullptr, EventId::ToolZoomActivate, nullptr);
    EXPECT_THAT(b.arrivals, ElementsAre(Arrival{34, 57}));
}

TEST(Events, WhatWaitsBehindAHandlerThatThrowsIsDeliveredAllTheSame)
{
    auto a = std::make_unique<Recorder>();
    Recorder b;
    int called = 0;
    a->handler = [&](int id) {
        if (id != int(EventId::ToolPanActivate))
            return;
        postEvent(nullptr, EventId::ToolZoomActivate, nullptr);
        callWhenDelivered(&b, [&] { ++called; });
        throw std::runtime_error("first");
    };
    EXPECT_THROW(postEvent(nullptr, EventId::ToolPanActivate, nullptr), std::runtime_error);
    EXPECT_EQ(called, 1);
    ASSERT_EQ(b.arrivals.size(), 2U) << "it is not the others' fault";
    EXPECT_EQ(b.arrivals[0].id, int(EventId::ToolPanActivate));
    EXPECT_EQ(b.arrivals[1].id, int(EventId::ToolZoomActivate));
    a.reset();
    postEvent(nullptr, EventId::ToolDisplaceActivate, nullptr);
    EXPECT_EQ(b.arrivals.size(), 3U) << "nor is the bus blocked";
}

TEST(Events, ListenersHaveNames)
{
    auto a = std::make_unique<Recorder>(QStringLiteral("panel"));
    EXPECT_EQ(listenerName(a.get()), QStringLiteral("panel"));
    EXPECT_EQ(listenerName(nullptr), QString());
}

TEST(SelectionValue, EqualByFingerprint)
{
    QPainterPath path;
    path.addRect(10, 20, 30, 40);
    QPainterPath moved = path;
    moved.translate(1, 0);
    EXPECT_EQ(Selection().fingerprint(), 0u);
    EXPECT_TRUE(Selection().isEmpty());
    EXPECT_TRUE(Selection(path) == Selection(path));
    EXPECT_FALSE(Selection(path) == Selection(moved));
    EXPECT_FALSE(Selection(path) == Selection());
}

} // namespace
