// What the two views of a channel have in common: the document as the events tell it, and the passes
// that look the same in both.
#pragma once

#include "display/playpress.h"
#include "display/qopenglchannel.h"
#include "display/viewstate.h"
#include "model/selection.h"
#include "model/toolstate.h"

#include <functional>

class Ruler;

constexpr double snapReach = 6; // logical pixels
// The nearest of `values` within `reach` of `value`; itself when there is none.
[[nodiscard]] double nearestWithin(const QVector<double>& values, double value, double reach);

// Copies what the events tell and repaints. GUI thread.
//
// Metrics are told in device pixels, so that lines are sharp at any scale of the screen.
class ChannelView : public QOpenGLChannel, public ViewState
{
    Q_OBJECT

public:
    ChannelView(const QString& listener, int channel, QWidget* parent);
    ~ChannelView() override;

    [[nodiscard]] int channel() const { return m_channel; }
    // Ignores pointer and wheel while the project is busy.
    virtual void setBlocked(bool blocked) { m_blocked = blocked; }
    // The rulers beside the view, at whose marks its grid stands; they live as long as the view paints. A
    // view without rulers chooses marks by itself.
    void setRulers(const Ruler* time, const Ruler* level);
    // Whether the transport runs, which the cursor of the playback tool tells.
    void setPlaying(bool playing);
    // Whether a picture is still being made, or waits for a repaint.
    [[nodiscard]] virtual bool isOutstanding() const = 0;

    void channelsModeEvent(EventId id, const ChannelsMode& mode) override;
    void layerRootEvent(EventId id, const LayerRoot& root) override;
    void markersEvent(EventId id, const MarkerList& markers) override;
    void displayEnableEvent(EventId id, const bool& enabled) override;
    void displayValueEvent(EventId id, const float& value) override;
    void colormapEvent(EventId id, const int32_t& colormap) override;
    void controlsEvent(EventId id, const QList<ControlPoint>& controls) override;
    void selectionEvent(EventId id, const Selection& selection) override;
    void transportPositionEvent(EventId id, const int64_t& position) override;

Q_SIGNALS:
    // The playback tool wants the transport to start or stop.
    void playOrStopToggled();

protected:
    void viewStateChanged() override { update(); }
    [[nodiscard]] bool hasValidFormat() const;
    // Whether there is a signal of this channel and an area to show it in.
    [[nodiscard]] bool hasPicture() const;
    // Size of the frame buffer.
    [[nodiscard]] QSize frameSize() const { return devicePixels(size(), devicePixelRatioF()); }
    // The thickness of a fine line, whole device pixels; that of the rulers' marks.
    [[nodiscard]] int linePixels() const;
    // Device pixel of a position on the timeline, not rounded.
    [[nodiscard]] double timeToFrame(double samples) const;
    // An upright line over the height of the view, on whole device pixels.
    [[nodiscard]] QRectF uprightLine(double samples) const;
    // Of the view, from left and bottom.
    [[nodiscard]] PointD shareAt(const QPointF& pixel) const
    {
        return {pixel.x() / width(), 1 - pixel.y() / height()};
    }
    [[nodiscard]] double timeAt(double x) const { return m_viewArea.x + x / width() * m_viewArea.width; }
    // The playback tool at a place, logical pixels from the left: pressed, moved while it is held, and let
    // go. The position goes out as TransportPositionChange.
    void beginPlaying(double x);
    void scrub(double x);
    void endPlaying();
    [[nodiscard]] QCursor playCursor() const;
    // What a press would do here has changed.
    virtual void cursorChanged() = 0;
    // Whether a layer holds a tool's preview.
    [[nodiscard]] bool isPreview(const ILayer& layer) const;
    // The layer by whose gain, polarity and colour a layer's picture is drawn: itself, but for a preview
    // the active layer, of which it is a part.
    [[nodiscard]] const ILayer& lookOf(const ILayer& layer) const;
    // Colour of a layer's picture, apart from its gradient.
    [[nodiscard]] QColor layerColor(const ILayer& layer) const;
    // Id of the colour map that layers are drawn with.
    [[nodiscard]] std::size_t gradient() const;

    // Black, over all of the frame buffer, with normal blending from there on.
    void clearFrame();
    // By the property selectionblendingmode.
    void setSelectionBlending();
    void setNormalBlending();
    // Times of the upright lines of the grid, samples.
    [[nodiscard]] QVector<double> gridTimes() const;
    // The nearest line of the grid, or marker, within reach of a time, while snapping is on.
    [[nodiscard]] double snappedTime(double time) const;
    // Values of its level lines; `own`: those of a view without rulers.
    [[nodiscard]] QVector<double> gridLevels(const std::function<QVector<double>()>& own) const;
    void timeGridPass();
    // Lines at markers, tinted stretches between the ends of regions.
    void markersPass();
    void transportPass();

    const int m_channel;
    int m_colormap = 0;
    bool m_composite = false;    // colour map mode, rather than the colours of the layers
    bool m_targetActive = false; // other layers are dimmed
    bool m_gridShown = false;
    bool m_markersShown = true;
    bool m_snap = false;
    float m_selectionOpacity = 0.3f;
    bool m_blocked = false;
    ChannelsMode m_channelsMode;
    MarkerList m_markers;
    Selection m_selection;
    QList<ControlPoint> m_controls;
    int64_t m_position = 0; // of the transport

private:
    void setPosition(double time);

    bool m_playing = false;
    PlayPress m_playPress; // of the playback tool
    const Ruler* m_timeRuler = nullptr;
    const Ruler* m_levelRuler = nullptr;
};
