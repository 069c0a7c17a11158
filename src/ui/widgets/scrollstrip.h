// A row of controls that may be wider than its place.
#pragma once

#include <QWidget>

class QScrollArea;
class QToolButton;

// Shows a widget in its least width, or more where there is room. Where there is less, a button at each end
// moves it, the wheel does, and the control that gets the focus comes into sight. GUI thread.
class ScrollStrip : public QWidget
{
    Q_OBJECT

public:
    // Takes `content` over. `name`: what the content is called.
    ScrollStrip(QWidget* content, const QString& name, QWidget* parent = nullptr);

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;
    bool eventFilter(QObject* object, QEvent* event) override;

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void follow();
    void move(int steps);
    QToolButton* makeButton(const char* icon, const QString& text, int steps);

    QWidget* m_content;
    QScrollArea* m_area;
    QToolButton* m_left;
    QToolButton* m_right;
};
