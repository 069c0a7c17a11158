// The buttons that the dock panels share.
#pragma once

#include <QString>

class QIcon;
class QToolButton;
class QWidget;

// A picture that looks the same in a selected row; the style would tint it there.
[[nodiscard]] QIcon rowIcon(const QIcon& icon);
// A small button with the picture ":/icons/<icon>.png", told by its tool tip.
[[nodiscard]] QToolButton* makeIconButton(QWidget* parent, const char* icon, const QString& name);
// A switch with a word on it. `objectName` ("mute", "solo", "phase") gives it its colour, `name` tells what
// it switches.
[[nodiscard]] QToolButton* makeSwitch(QWidget* parent, const char* objectName, const QString& word,
                                      const QString& name);
