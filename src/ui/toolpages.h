// The options of the built-in tools.
#pragma once

class QWidget;

// Each writes the property that the views read, and stores it for the next start.
QWidget* makePlaybackPage(QWidget* parent);
QWidget* makeZoomPage(QWidget* parent);
