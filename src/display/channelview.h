// What the two views of a channel have in common: the document as the events tell it, and the passes
// that look the same in both.
#pragma once

#include "display/qopenglchannel.h"
#include "display/scales/convert.h"
#include "model/events.h"
#include "model/selection.h"
#include "model/toolstate.h"

#include <memory>

// Copies what the events tell and repaints. GUI thread.
//
// Metrics are told in device pixels, so that lines are sharp at any scale of the screen.
class ChannelView : public QOpenGLChannel, public IEvent
{
    Q_OBJECT

public:
    ChannelView(const QString& listener, int channel, QWidget* parent);
    ~ChannelView() override;

    [[nodiscard]] int channel() const { return m_channel; }
    // Ignores pointer and wheel while the project is busy.
    virtual void setBlocked(bool blocked) { m_blocked = blocked; }
    // Time and frequency; a view that shows no frequencies keeps them for the others.
    [[nodiscard]] const Area& viewArea() const { return m_viewArea; }
    [[nodiscard]] const Convert& convert() const { return m_convert; }
    // Whether a picture is still being made, or waits for a repaint.
    [[nodiscard]] virtual bool isOutstanding() const = 0;

    void samplingFormatEvent(EventId id, const SamplingFormat& format) override;
    void channelsModeEvent(EventId id, const ChannelsMode& mode) override;
    void timeBaseEvent(EventId id, const TimeBase& base) override;
    void timeUnitEvent(EventId id, const int32_t& unit) override;
    void filteringEvent(EventId id, const int32_t& filtering) override;
    void layerRootEvent(EventId id, const LayerRoot& root) override;
    void markersEvent(EventId id, const MarkerList& markers) override;
    void displayEnableEvent(EventId id, const bool& enabled) override;
    void displayValueEvent(EventId id, const float& value) override;
    void colormapEvent(EventId id, const int32_t& colormap) override;
    void areaEvent(EventId id, const Area& area) override;
    void controlsEvent(EventId id, const QList<ControlPoint>& controls) override;
    void selectionEvent(EventId id, const Selection& selection) override;
    void transportPositionEvent(EventId id, const int64_t& position) override;

protected:
    [[nodiscard]] bool hasValidFormat() const;
    // Size of the frame buffer.
    [[nodiscard]] QSize frameSize() const { return devicePixels(size(), devicePixelRatioF()); }
    // The thickness of a fine line, whole device pixels.
    [[nodiscard]] int linePixels() const;
    // Device pixel of a position on the timeline, not rounded.
    [[nodiscard]] double timeToFrame(double samples) const;
    // An upright line over the height of the view, on whole device pixels.
    [[nodiscard]] QRectF uprightLine(double samples) const;
    // Colour of a layer's picture, apart from its gradient.
    [[nodiscard]] QColor layerColor(const ILayer& layer) const;
    // Id of the colour map that layers are drawn with.
    [[nodiscard]] std::size_t gradient() const;

    // Black, over all of the frame buffer, with normal blending from there on.
    void clearFrame();
    // By the property selectionblendingmode.
    void setSelectionBlending();
    void setNormalBlending();
    // Upright lines at the ticks of the time ruler.
    void timeGridPass();
    // Lines at markers, tinted stretches between the ends of regions.
    void markersPass();
    void transportPass();

    const int m_channel;
    Convert m_convert;
    Area m_viewArea;
    int m_colormap = 0;
    bool m_composite = false;    // colour map mode, rather than the colours of the layers
    bool m_targetActive = false; // other layers are dimmed
    bool m_lockBottomTo0 = false;
    bool m_lockCenterTo0 = false;
    bool m_gridShown = false;
    bool m_markersShown = true;
    float m_selectionOpacity = 0.3f;
    bool m_blocked = false;
    std::unique_ptr<LayerRoot> m_root; // shares its nodes with the project's
    ChannelsMode m_channelsMode;
    MarkerList m_markers;
    Selection m_selection;
    QList<ControlPoint> m_controls;
    int64_t m_position = 0; // of the transport
};
