// A square pad that shows and sets the relief of the picture.
#pragma once

#include "model/events.h"

#include <QWidget>

class QAction;

// The centre is no displacement, the edges are the longest (property `maxdisplace`) to each side. Press
// and drag set it, the wheel and the arrow keys move it, a double click or "Reset 3D" takes it back to
// nothing. With "Snap 3D" the angle is a multiple of 45 degrees. GUI thread.
class DisplacementPad : public QWidget, public IEvent
{
    Q_OBJECT

public:
    explicit DisplacementPad(QWidget* parent = nullptr);

    [[nodiscard]] const Displacement& value() const { return m_value; }
    // Where a displacement stands on the pad, in logical pixels.
    [[nodiscard]] QPointF spotOf(const Displacement& value) const;

    [[nodiscard]] QSize sizeHint() const override { return {128, 128}; }
    [[nodiscard]] QSize minimumSizeHint() const override { return {64, 64}; }
    [[nodiscard]] bool hasHeightForWidth() const override { return true; }
    [[nodiscard]] int heightForWidth(int width) const override { return width; }

    void displacementEvent(EventId id, const Displacement& value) override;

public Q_SLOTS:
    void reset();

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    void dragTo(const QPointF& pixel);
    // Limited, snapped if asked for, and told to everybody.
    void set(const Displacement& value);

    Displacement m_value;
    QAction* m_snap; // child
};
