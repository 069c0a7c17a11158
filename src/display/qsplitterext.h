// The splitter of a channel's row.
#pragma once

#include "model/events.h"

#include <QPoint>
#include <QSplitter>
#include <QSplitterHandle>
#include <QVariantAnimation>

// A handle that glides to the ratio of the property `waveformdisplay` when it is clicked without a move;
// so a waveform that was dragged away comes back. Up and Down move it while it has the focus, Space glides.
//
// It posts DisplaySplitterRatioChange for each step and so moves the splitters of all rows; a drag is told
// by the splitter's own signal. GUI thread.
class QSplitterHandleExt : public QSplitterHandle, public IEvent
{
    Q_OBJECT

public:
    QSplitterHandleExt(Qt::Orientation orientation, QSplitter* parent);

    void displayValueEvent(EventId id, const float& value) override;

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    bool event(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void enterEvent(QEvent* event) override;
    void leaveEvent(QEvent* event) override;

private:
    void glide(float from);
    void setRatio(float ratio);

    float m_ratio;
    float m_pressRatio;
    QPoint m_pressPlace; // on the screen
    QVariantAnimation m_animation;
};

class QSplitterExt : public QSplitter
{
    Q_OBJECT

public:
    explicit QSplitterExt(QWidget* parent = nullptr);
    // The upper widget takes that share of the height. Emits no signal.
    void setRatio(float ratio);

protected:
    QSplitterHandle* createHandle() override;
    void resizeEvent(QResizeEvent* event) override;

private:
    float m_ratio = 0;
};
