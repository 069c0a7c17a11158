// The strip above the channels that shows the whole project and the part of it in view.
#pragma once

#include "model/events.h"
#include "model/selection.h"

#include <QWidget>

class QAction;
class QPainter;

// The project's time fills the width. The part in view stands as a frame, which a press inside moves, a
// press on its left or right edge resizes, and a press elsewhere centres about the pointer; the wheel
// zooms about the pointer. With the keyboard focus, Left and Right move the frame by a tenth of its
// length, Home and End to the ends. Markers, regions, selection and transport are drawn with it. The
// context menu switches marks and shows the whole project.
//
// Follows the project by events and posts DisplayAreaChange; hidden without a project. GUI thread.
class OverviewBar : public QWidget, public IEvent
{
    Q_OBJECT

public:
    explicit OverviewBar(QWidget* parent = nullptr);

    // Where a time (samples) stands, in logical pixels.
    [[nodiscard]] double toPixel(double time) const;
    [[nodiscard]] double toTime(double pixel) const;
    // The frame about the part in view; null without a project.
    [[nodiscard]] QRectF frame() const;

    [[nodiscard]] QSize sizeHint() const override { return {640, 22}; }
    [[nodiscard]] QSize minimumSizeHint() const override { return {40, 22}; }

    void samplingFormatEvent(EventId id, const SamplingFormat& format) override;
    void layerEvent(EventId id, const ILayerPtr& layer) override;
    void layerRootEvent(EventId id, const LayerRoot& root) override;
    void areaEvent(EventId id, const Area& area) override;
    void markersEvent(EventId id, const MarkerList& markers) override;
    void spectralMarkersEvent(EventId id, const SpectralMarkerList& markers) override;
    void displayEnableEvent(EventId id, const bool& on) override;
    void selectionEvent(EventId id, const Selection& selection) override;
    void transportPositionEvent(EventId id, const int64_t& position) override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    // What a press at a place takes hold of.
    enum class Grip { None, Frame, LeftEdge, RightEdge, Outside };

    [[nodiscard]] Grip gripAt(double pixel) const;
    void updateCursor(double pixel);
    void dragTo(double pixel);
    // Shows a stretch of time, kept inside the project and not below the least length.
    void show(double start, double length);
    void showWhole();
    [[nodiscard]] double leastLength() const;
    [[nodiscard]] double onDevicePixel(double pixel) const;
    void paintMarks(QPainter& painter) const;
    void paintFrame(QPainter& painter) const;

    Area m_viewArea;
    Range m_range;      // of the user's layers
    ILayerPtr m_layers; // the group of those; null without a project
    MarkerList m_markers;
    SpectralMarkerList m_spectralMarkers;
    Selection m_selection;
    int64_t m_position = 0; // of the transport
    Grip m_grip = Grip::None;
    double m_gripOffset = 0; // from what is held to the pointer, samples
    QAction* m_showMarkers;  // children
    QAction* m_showSpectralMarkers;
};
