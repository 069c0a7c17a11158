// The look of the program: style sheets whose colours are the properties of the application.
#pragma once

#include <QString>

class QObject;

// Replaces "@name" by the value of the dynamic property `name` of `properties`, wherever the next
// character is neither a letter nor a digit; that character stays. So a property whose name is the
// beginning of a longer one is not replaced inside it. A name at the very end of the sheet, with no
// character behind it, stays as it is.
[[nodiscard]] QString expandStyleSheet(QString sheet, const QObject& properties);

// What widgets are drawn with, under the sheets: even margins in dialogs, icons at the scale of the screen,
// none in menus. Once, before the first widget.
void setWidgetStyle();

// Reads the sheet of the desktop, and behind it that of the tablet where controls are to be large enough for
// a finger, expands them and gives them to the application, together with a palette of the same colours for
// whatever the sheets do not reach. Called again whenever the mode or a colour property has changed.
void applyStyle(bool tablet);
