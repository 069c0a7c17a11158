// The ruler above the channels.
#pragma once

#include "display/playpress.h"
#include "display/ruler.h"

// Times of the area in view, and the transport position. The wheel zooms about the pointer, the menu
// offers units. A press sets the transport position. With the property `playbackhold` it plays as long
// as the button is held, otherwise it starts or stops; a drag of more than 10 pixels moves the position
// along with the pointer where the property `playbackscrubbing` allows it.
class TimeLine : public Ruler
{
    Q_OBJECT

public:
    explicit TimeLine(QWidget* parent = nullptr);

    [[nodiscard]] double positionOf(double samples) const override;
    [[nodiscard]] QString unitLabel() const override;
    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] bool isPlaying() const { return m_playing; }
    // Of the transport, samples.
    [[nodiscard]] int64_t transportPosition() const { return m_position; }

    void transportPositionEvent(EventId id, const int64_t& position) override;

public Q_SLOTS:
    // The transport runs, or has come to rest.
    void startPlaying() { m_playing = true; }
    void stopPlaying() { m_playing = false; }

Q_SIGNALS:
    // The transport shall start or stop.
    void playOrStopToggled();

protected:
    [[nodiscard]] QVector<double> values(double minPixels) const override;
    [[nodiscard]] QString textOf(double samples) const override;
    [[nodiscard]] QRectF textRect(const RulerTick& tick) const override;
    [[nodiscard]] double distanceFor(double textWidth) const override;
    [[nodiscard]] bool isHorizontal() const override { return true; }
    void fillMenu(QMenu& menu) override;
    void paintMarks(QPainter& painter) override;
    void zoomAbout(const QPointF& pixel, double factor) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    void setPosition(double pixel);

    int64_t m_position = 0;
    bool m_playing = false;
    PlayPress m_press;
};
