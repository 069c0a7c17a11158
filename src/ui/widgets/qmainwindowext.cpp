#include "ui/widgets/qmainwindowext.h"

#include <QScreen>
#include <QWindow>

QMainWindowExt::QMainWindowExt(QWidget* parent) : QMainWindow(parent) {}

void QMainWindowExt::showEvent(QShowEvent* event)
{
    QMainWindow::showEvent(event);
    // The native window exists from the first show on.
    if (windowHandle())
        connect(windowHandle(), &QWindow::screenChanged, this, &QMainWindowExt::screenChanged,
                Qt::UniqueConnection);
}
