// A dock panel with an icon in its title, which rolls up to the title alone.
#pragma once

#include <QDockWidget>

class QIcon;
class QToolButton;

// GUI thread.
class QDockWidgetExt : public QDockWidget
{
    Q_OBJECT

public:
    // `content` becomes a child.
    QDockWidgetExt(const QString& title, const QIcon& icon, QWidget* content, QWidget* parent = nullptr);

    [[nodiscard]] bool isUnrolled() const;
    // Shows the content, or the title alone.
    void setUnrolled(bool unrolled);

private:
    QToolButton* m_roll; // child
};
