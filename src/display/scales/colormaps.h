// Colour maps: from a value of 0 to 1 to a colour.
#pragma once

#include <QFont>
#include <QImage>
#include <QLinearGradient>
#include <QString>

// Ids 0 to colormapCount() - 1 are offered to the user and to the GPU, in this order; ids from -99
// to -85 are reachable by name only. Silence is value 0, full scale 1.

// 10.
[[nodiscard]] int colormapCount();
// The id of a map, compared in lower case; an unknown name gives 9, Grayscale.
[[nodiscard]] int colormapFromString(const QString& name);
// The shown name; an unknown id gives "None".
[[nodiscard]] QString colormapToString(int id);
// The stops of the map along 0 to 1; an unknown id gives that of Grayscale.
[[nodiscard]] QLinearGradient colormapGradient(int id);
// The map from left to right, `width` by `height` logical pixels. If `height` is above 2 its name
// stands in the middle, in the colour of the property "colortext" with a shadow; that needs a
// QGuiApplication. The texture of the GPU is (256, 1, 1).
[[nodiscard]] QImage colormapImage(int id, int width, int height, float devicePixelRatio = 1,
                                   const QFont& font = QFont());
