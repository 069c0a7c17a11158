// A project that is told to rulers and displays by events, as the tabs do it, and what they answer.
#pragma once

#include "display/memorylayer.h"
#include "display/viewstate.h"
#include "model/historyentry.h"
#include "model/layerroot.h"

#include <QMouseEvent>
#include <QWheelEvent>
#include <QWidget>

#include <memory>
#include <vector>

// Keeps what is posted.
class RulerListener : public IEvent
{
public:
    RulerListener() : IEvent(QStringLiteral("RulerListener")) {}
    void areaEvent(EventId, const Area& area) override { areas.push_back(area); }
    void powerRangeEvent(EventId, const PowerRange& range) override { ranges.push_back(range); }
    void transportPositionEvent(EventId, const int64_t& position) override { positions.push_back(position); }
    void timeUnitEvent(EventId id, const int32_t& unit) override { units.push_back({id, unit}); }
    void powerUnitEvent(EventId id, const int32_t& unit) override { units.push_back({id, unit}); }
    void freqUnitEvent(EventId id, const int32_t& unit) override { units.push_back({id, unit}); }
    void freqScaleEvent(EventId id, const int32_t& scale) override { units.push_back({id, scale}); }
    void filteringEvent(EventId id, const int32_t& filtering) override { units.push_back({id, filtering}); }
    void displayEnableEvent(EventId id, const bool& on) override { locks.push_back({id, on}); }
    void displayValueEvent(EventId id, const float& value) override
    {
        if (id == EventId::DisplaySplitterRatioChange)
            ratios.push_back(value);
    }
    void selectionEvent(EventId, const Selection& selection) override { selections.push_back(selection); }
    void historyRecordEvent(EventId, const HistoryEntry& entry) override { history << entry.name; }
    void layerEvent(EventId id, const ILayerPtr& layer) override
    {
        if (id == EventId::LayerActivate)
            activated.push_back(layer);
    }
    void channelsModeEvent(EventId, const ChannelsMode& mode) override { modes.push_back(mode); }
    [[nodiscard]] bool isSilent() const
    {
        return areas.empty() && ranges.empty() && positions.empty() && units.empty() && locks.empty() &&
               ratios.empty() && selections.empty() && history.isEmpty() && activated.empty() &&
               modes.empty();
    }
    void forget()
    {
        areas.clear();
        ranges.clear();
        positions.clear();
        units.clear();
        locks.clear();
        ratios.clear();
        selections.clear();
        history.clear();
        activated.clear();
        modes.clear();
    }

    std::vector<Area> areas;
    std::vector<PowerRange> ranges;
    std::vector<int64_t> positions;
    std::vector<std::pair<EventId, int32_t>> units;
    std::vector<std::pair<EventId, bool>> locks;
    std::vector<float> ratios;
    std::vector<Selection> selections;
    QStringList history;
    std::vector<ILayerPtr> activated;
    std::vector<ChannelsMode> modes;
};

template<class Payload>
void post(EventId id, const Payload& payload)
{
    postEvent(nullptr, id, payload, nullptr);
}

struct Setting
{
    SamplingFormat format;
    LayerRoot root;
    std::shared_ptr<MemoryLayer> silence; // the first layer; a test may fill it

    // `frames` of silence from `start` on, whole in view.
    void open(int32_t sampleType = SampleTypeReal, int channels = 1, double rate = 48000,
              int64_t frames = 480'000, int64_t start = 0)
    {
        const uint64_t mask = channels < 64 ? (uint64_t(1) << channels) - 1 : ~uint64_t(0);
        format = {sampleType, rate, ChannelsTypeAudio, channels, mask};
        root = LayerRoot(format);
        post(EventId::SamplingFormatChange, format);
        post(EventId::ChannelsModeChange, ChannelsMode(channels));
        post(EventId::TransformChange, TransformSettings(sampleType, WindowType::BlackmanHarris, 2048, 8, 2));
        post(EventId::TimeUnitChange, int32_t(TimeUnit::Seconds));
        post(EventId::PowerUnitChange, int32_t(PowerUnit::Decibel));
        post(EventId::FreqUnitChange, int32_t(FreqUnit::Hertz));
        post(EventId::FreqScaleChange, int32_t(FreqScale::Linear));
        post(EventId::FilteringChange, int32_t(Filtering::Linear));
        silence = std::make_shared<MemoryLayer>(
            format, std::vector<float>(std::size_t(frames * channels * sampleType), 0.0f), start);
        add(silence);
        post(EventId::SelectionChange, Selection());
        post(EventId::MarkerListChange, MarkerList());
        post(EventId::DisplayLockBottomTo0Enable, false);
        post(EventId::DisplayLockCenterTo0Enable, false);
        post(EventId::DisplaySplitterRatioChange, 0.25f);
        post(EventId::DisplayAreaChange, whole());
        post(EventId::DisplayPowerChange, PowerRange{-1, 1});
        post(EventId::TransportPositionChange, int64_t(0));
    }
    void add(const ILayerPtr& layer)
    {
        if (root.project()->appendChildLayer(layer))
            post(EventId::LayerRootChange, root);
    }
    // As the tabs post it when the last project is closed.
    static void close()
    {
        post(EventId::SamplingFormatChange, SamplingFormat());
        post(EventId::LayerRootChange, LayerRoot());
        post(EventId::DisplayAreaChange, Area());
    }
    [[nodiscard]] Area whole() const { return fullBandArea(format, root.project()->range()); }
};

inline void sendWheel(QWidget& widget, const QPointF& at, const QPoint& delta)
{
    QWheelEvent event(at, widget.mapToGlobal(at.toPoint()), QPoint(), delta, Qt::NoButton, Qt::NoModifier,
                      Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(&widget, &event);
}

inline void sendMouse(QWidget& widget, QEvent::Type type, const QPointF& at,
                      Qt::MouseButton button = Qt::LeftButton)
{
    const bool release = type == QEvent::MouseButtonRelease;
    const bool move = type == QEvent::MouseMove;
    QMouseEvent event(type, at, widget.mapToGlobal(at.toPoint()), move ? Qt::NoButton : button,
                      release ? Qt::NoButton : button, Qt::NoModifier);
    QCoreApplication::sendEvent(&widget, &event);
}

inline void drag(QWidget& widget, const QPointF& from, const QPointF& to)
{
    sendMouse(widget, QEvent::MouseButtonPress, from);
    sendMouse(widget, QEvent::MouseMove, to);
    sendMouse(widget, QEvent::MouseButtonRelease, to);
}
