// A dock panel with an icon in its title, which rolls up to the title alone.
#pragma once

#include <QDockWidget>

class QIcon;
class QToolButton;

// Keys that move and press in a panel (arrows, Page Up and Down, Home, End, Space) stay with the control that
// has the focus, though they are shortcuts of the window elsewhere. GUI thread.
class QDockWidgetExt : public QDockWidget
{
    Q_OBJECT

public:
    // `content` becomes a child.
    QDockWidgetExt(const QString& title, const QIcon& icon, QWidget* content, QWidget* parent = nullptr);

    [[nodiscard]] bool isUnrolled() const;
    // Shows the content, or the title alone.
    void setUnrolled(bool unrolled);

protected:
    bool event(QEvent* event) override;

private:
    QToolButton* m_roll; // child
};
