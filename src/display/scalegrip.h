// The handle that makes the column of rulers wider or narrower.
#pragma once

#include <QWidget>

// Dragged sideways, or moved with Left and Right while it has the focus. GUI thread.
class ScaleGrip : public QWidget
{
    Q_OBJECT

public:
    explicit ScaleGrip(QWidget* parent = nullptr);

Q_SIGNALS:
    // The column shall be wider by that, logical pixels.
    void shifted(int shift);

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    bool event(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    int m_lastX = 0; // on the screen
};
