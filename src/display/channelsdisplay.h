// The central view of a project: a row of views for each channel, in a column.
#pragma once

#include "display/viewstate.h"
#include "model/selection.h"
#include "model/toolstate.h"
#include "model/types/channelsmode.h"
#include "spectral/primitives/transform.h"

#include <memory>
#include <set>

#include <QList>
#include <QPoint>
#include <QWidget>

class ChannelRow;
class QLabel;
class OverviewBar;
class QScrollArea;
class ScaleGrip;
class SpectralChannel;
class TimeLine;
class WaveformChannel;

// Makes a row for each channel of the project in front, below the overview and a ruler of the time for all,
// keeps the splitters of all rows in step, and offers the commands of the keyboard as slots. Rows share the
// height; where that would leave a row less than `minRowHeight`, the column scrolls. Without a project a hint
// stands in its place, and the slots do nothing.
//
// It follows the project by events alone, and tells what its commands change by events. GUI thread.
class ChannelsDisplay : public QWidget, public ViewState
{
    Q_OBJECT

public:
    static constexpr int minRowHeight = 60; // logical pixels

    explicit ChannelsDisplay(QWidget* parent = nullptr);
    ~ChannelsDisplay() override;

    // Top to bottom, in the order of the channels.
    [[nodiscard]] const QList<ChannelRow*>& rows() const { return m_rows; }
    [[nodiscard]] QList<SpectralChannel*> spectralChannels() const;
    [[nodiscard]] QList<WaveformChannel*> waveformChannels() const;
    [[nodiscard]] TimeLine* timeLine() const { return m_timeLine; }
    [[nodiscard]] OverviewBar* overviewBar() const { return m_overview; }
    // True when no view in sight waits for a texture or has one that it has not drawn.
    [[nodiscard]] bool isSettled() const;
    // The share of a row that the waveform has.
    [[nodiscard]] float splitterRatio() const { return m_splitterRatio; }
    // Of the transport, samples.
    [[nodiscard]] int64_t position() const { return m_position; }
    // Width of the column of rulers, logical pixels: the property `scalebar`, more where texts need it.
    [[nodiscard]] int rulerWidth() const;

    void samplingFormatEvent(EventId id, const SamplingFormat& format) override;
    void channelsModeEvent(EventId id, const ChannelsMode& mode) override;
    void transformEvent(EventId id, const TransformSettings& settings) override;
    void markersEvent(EventId id, const MarkerList& markers) override;
    void displayValueEvent(EventId id, const float& value) override;
    void selectionEvent(EventId id, const Selection& selection) override;
    void transportPositionEvent(EventId id, const int64_t& position) override;
    void toolEvent(EventId id) override { m_tool = id; }
    void toolPluginEvent(EventId id, const ToolActivation&) override { m_tool = id; }
    void cursorEvent(EventId, const QCursor& cursor) override { m_toolCursor = cursor; }
    void controlsEvent(EventId, const QList<ControlPoint>& controls) override { m_toolControls = controls; }

public Q_SLOTS:
    // A text over the channels, until an empty one comes.
    void setMessage(QString message);
    // Widens the column of rulers; changes the property `scalebar`.
    void scaleResize(int shift);
    // The splitter of one row was moved to `pos`, logical pixels from the row's top: the others follow.
    void moveSplitter(int pos, int index);
    // Puts the splitters where the ratio wants them.
    void refreshSplitter();

    // Set the transport position and bring it in sight. Events are the starts and ends of layers and of
    // the project.
    void moveLeft();
    void moveRight();
    void moveToPreviousEvent();
    void moveToNextEvent();
    void moveToPreviousMarker();
    void moveToNextMarker();
    void moveToStartOfLayer();
    void moveToEndOfLayer();
    void moveToStartOfProject();
    void moveToEndOfProject();
    // The same, and select the time between there and the other end of the selection, or where the
    // position was.
    void selectLeft();
    void selectRight();
    void selectPreviousEvent();
    void selectNextEvent();
    void selectPreviousMarker();
    void selectNextMarker();
    void selectStartOfLayer();
    void selectEndOfLayer();
    void selectStartOfProject();
    void selectEndOfProject();
    // The neighbour of the active layer in the list, as far as groups are open.
    void activateAbove();
    void activateBelow();
    // The channel under the pointer.
    void mute();
    void solo();
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
    // A view or the ruler wants the transport to start or stop.
    void playOrStopToggled();
    // From the transport, for views and ruler: it runs, it has come to rest.
    void started();
    void stopped();
    // The pointer is over none of the views any more.
    void pointerLeft();

protected:
    bool eventFilter(QObject* object, QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void viewStateChanged() override;

private:
    void buildRows(const SamplingFormat& format);
    ChannelRow* addRow(const SamplingFormat& format, int channel, QWidget* column);
    void showRowsInSight();
    void layOutHead();
    void placeMessage();
    void showMode();

    [[nodiscard]] int64_t stepLeft() const;
    [[nodiscard]] int64_t stepRight() const;
    [[nodiscard]] std::set<int64_t> events() const;
    [[nodiscard]] std::set<int64_t> markers() const;
    [[nodiscard]] Range activeRange() const;
    void moveTo(int64_t target);
    void selectTo(int64_t target, const char* title);
    void activateNeighbour(int distance);
    void toggleMode(int channel, QBitArray ChannelsMode::*bits);
    [[nodiscard]] int channelUnderPointer() const;

    std::shared_ptr<const Transform> m_transform; // shared by the views
    ChannelsMode m_mode;
    MarkerList m_markers;
    Selection m_selection;
    int64_t m_position = 0;
    // What views that are made later have missed.
    EventId m_tool = EventId::ToolNoneActivate;
    QCursor m_toolCursor;
    QList<ControlPoint> m_toolControls;
    float m_splitterRatio;
    QList<ChannelRow*> m_rows;
    // Children.
    QWidget* m_head; // what stands above the rows
    OverviewBar* m_overview;
    TimeLine* m_timeLine;
    ScaleGrip* m_grip;
    QLabel* m_hint;
    QScrollArea* m_scroll;
    QLabel* m_message;
};
