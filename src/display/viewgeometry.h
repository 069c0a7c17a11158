// What a time-frequency view shows, and how pointer, wheel and locks move it. Pure arithmetic.
//
// Time in samples, frequency in Hz; an area "in display coordinates" has its frequencies mapped by
// Convert::toScale. Pixels are logical ones, y from the top.
#pragma once

#include "display/scales/convert.h"
#include "model/types/area.h"
#include "model/types/mouseevent.h"

#include <QPointF>
#include <QSizeF>

namespace viewgeometry {

// Whether there is something to draw: positive width and height, finite members.
[[nodiscard]] bool isVisible(const Area& area);

// Document position under a pixel of a view of `size`, and what one pixel measures there.
[[nodiscard]] PointD documentPosition(const Convert& convert, const Area& viewArea, const QSizeF& size,
                                      const QPointF& pixel);
[[nodiscard]] PointD pixelSize(const Convert& convert, const Area& viewArea, const QSizeF& size,
                               const QPointF& pixel);

// The operations below work on areas in Hz and move them in display coordinates.

// By a share of the area's own size: (0.1, 0) shows what lies a tenth of the width to the right.
[[nodiscard]] Area panned(const Convert& convert, const Area& viewArea, double right, double up);
// Width and height by a factor each, about a point that keeps its place: a share of width and height,
// from left and bottom. The result is at least a sample wide and a thousandth of a Hz high.
[[nodiscard]] Area zoomed(const Convert& convert, const Area& viewArea, double horizontal, double vertical,
                          const PointD& fixed);
// Moved, and where it is too large cut, to lie inside `limits`. Limits that are empty do not count.
[[nodiscard]] Area limited(const Convert& convert, const Area& viewArea, const Area& limits);
// The rules of the locks: a real signal keeps its bottom at 0 Hz, a complex one its centre.
[[nodiscard]] Area locked(const Area& viewArea, bool complex, bool lockBottomTo0, bool lockCenterTo0);

} // namespace viewgeometry
