// Where panels and tool bars stand around the views: in a file, and out of the way for a while.
#pragma once

#include <QList>
#include <QPointer>
#include <QString>
#include <QWidget>

class QMainWindow;

// A layout file: one byte with the length of the geometry block, that block
// (QWidget::saveGeometry()), and the rest is QMainWindow::saveState().
//
// False when the file could not be written, with file and cause in `error`; an older one is then as it was.
[[nodiscard]] bool saveLayout(const QMainWindow& window, const QString& path, QString& error);
// False when the file is missing, empty, cut short or of another program, which is no reason to complain:
// the window then stays as it is.
bool loadLayout(QMainWindow& window, const QString& path);

// Takes widgets out of the window for a while and puts those back that were there.
class CompactSwitch
{
public:
    // Hides those of `widgets` that show; where none does, shows those that were hidden here, or all.
    void toggle(const QList<QWidget*>& widgets);

private:
    QList<QPointer<QWidget>> m_hidden;
};

// Moves the focus to the first control of the next (or previous) of `areas` that takes it, after the one
// that holds the focus now.
void focusNextArea(const QList<QWidget*>& areas, bool forward);
