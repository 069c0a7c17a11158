// Where the window stands, from one start to the next.
#pragma once

class QWidget;

// Places `window` by the properties defaultwindowleft, -top, -width, -height and -maximize. A size
// of -1 takes 66 % of the screen, a position of -1 centres. A place that no screen shows any more (a
// screen was unplugged) is centred too.
void restoreWindowGeometry(QWidget& window);

// Writes the same keys to the user's settings. A maximised window keeps the place that it had
// before: only defaultwindowmaximize is written for it.
void storeWindowGeometry(const QWidget& window);
