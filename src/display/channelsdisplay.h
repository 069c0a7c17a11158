// The central view of a project: one picture for each channel, in a column.
#pragma once

#include "display/scales/convert.h"
#include "model/events.h"
#include "spectral/primitives/transform.h"

#include <memory>

#include <QList>
#include <QPoint>
#include <QWidget>

class QLabel;
class QScrollArea;
class QVBoxLayout;
class SpectralChannel;

// Makes a row of views for each channel of the project in front, with its name beside it, and offers
// the zoom commands of the keyboard as slots. Rows share the height; where that would leave a row
// less than `minRowHeight`, the column scrolls; views that are scrolled out of sight are hidden, so that
// they cost neither a drawing context nor a texture. Without a project a hint stands in its place.
//
// It follows the project by events alone, and posts DisplayAreaChange for every zoom. GUI thread.
class ChannelsDisplay : public QWidget, public IEvent
{
    Q_OBJECT

public:
    static constexpr int minRowHeight = 60; // logical pixels

    explicit ChannelsDisplay(QWidget* parent = nullptr);
    ~ChannelsDisplay() override;

    // Top to bottom, in the order of the channels.
    [[nodiscard]] const QList<SpectralChannel*>& spectralChannels() const { return m_channels; }
    // True when no view in sight waits for a texture or has one that it has not drawn.
    [[nodiscard]] bool isSettled() const;
    // What the view may show: the span of the layers over the full band.
    [[nodiscard]] Area limits() const;

    void samplingFormatEvent(EventId id, const SamplingFormat& format) override;
    void transformEvent(EventId id, const TransformSettings& settings) override;
    void layerRootEvent(EventId id, const LayerRoot& root) override;
    void freqScaleEvent(EventId id, const int32_t& scale) override;
    void displayEnableEvent(EventId id, const bool& on) override;
    void areaEvent(EventId id, const Area& area) override;

    // Shows an area, cut to the limits and under the rules of the locks, and tells it to everybody.
    // Nothing happens without a project, or for an area that is not finite.
    void showArea(const Area& area);

public Q_SLOTS:
    // A step by the angle of a wheel, 120 being one notch, about the middle of the view.
    void zoom(QPoint angleDelta);
    void zoomIn();
    void zoomOut();
    // The whole time of all layers, the whole band.
    void zoomFullyOut();
    void zoomTimeIn();
    void zoomTimeOut();
    void zoomFreqIn();
    void zoomFreqOut();

Q_SIGNALS:
    // The pointer is over none of the views any more.
    void pointerLeft();

protected:
    bool eventFilter(QObject* object, QEvent* event) override;

private:
    void buildRows(const SamplingFormat& format);
    void showRowsInSight();

    Convert m_convert;
    std::shared_ptr<const Transform> m_transform; // shared by the views
    Area m_viewArea;
    ILayerPtr m_layers; // the group of the user's layers; null without a project
    bool m_lockBottomTo0 = false;
    bool m_lockCenterTo0 = false;
    QList<SpectralChannel*> m_channels;
    // Children.
    QLabel* m_hint;
    QScrollArea* m_scroll;
};
