// Where the pointer takes hold of a selection, and what dragging there does to it.
#pragma once

#include "model/types/area.h"
#include "model/types/mouseevent.h"

#include <cstdint>

#include <QPainterPath>

class ISelection;

namespace selectionbox {

// Sides of the bounding rectangle that a drag takes along; all of them move the whole.
enum Grip : uint32_t {
    GripNone = 0,
    GripLeft = 1,
    GripRight = 2,
    GripLow = 4,
    GripHigh = 8,
    GripAll = GripLeft | GripRight | GripLow | GripHigh,
};

// The edge counts within 5 pixels of a side of the bounding rectangle, or of the border of another shape,
// which then gives way on the sides that its spot looks to. `pixelSize` is that at the pointer.
[[nodiscard]] uint32_t gripAt(const ISelection& selection, const PointD& position, const PointD& pixelSize);

// Where the bounding rectangle `from` goes when its sides in `grip` are dragged by `offset`. It stays inside
// `limits`, at least `least` wide and high, and does not turn over.
[[nodiscard]] Area dragged(const Area& from, uint32_t grip, const PointD& offset, const Area& limits,
                           const PointD& least);

// The path as it lies when the rectangle `from` around it becomes `to`.
[[nodiscard]] QPainterPath fitted(const QPainterPath& path, const Area& from, const Area& to);
// The selection so moved and scaled that its bounds are `target`, its fades in proportion. The interface
// scales by single-precision factors; the result is exact to about 1e-9 of the extent all the same. Nothing
// happens to an empty one, and for a target without area.
void fit(ISelection& selection, const Area& target);

} // namespace selectionbox
