// Shapes that the tools draw, and outlines with fewer points.
#pragma once

#include "model/types/area.h"
#include "model/types/mouseevent.h"

#include <QPainterPath>
#include <QPolygonF>

// Document coordinates, samples and Hz, unless told otherwise.
namespace outline {

[[nodiscard]] QPainterPath rectangle(const Area& area);
// Inscribed in the area, as a polygon: path operations on lines are exact.
[[nodiscard]] QPainterPath ellipse(const Area& area);
// Straight from point to point and back to the first one; loops count as inside. Empty for fewer than 3
// points.
[[nodiscard]] QPainterPath polygon(const QPolygonF& points);
// The same area without edges that cross each other: what is inside once is, and what is inside twice.
// `unit` as in simplified().
[[nodiscard]] QPainterPath uncrossed(const QPainterPath& path, const PointD& unit);
// Each straight edge in 8 parts, as the selection divides it: under a bent frequency scale the outline then
// lies where the selection will.
[[nodiscard]] QPainterPath subdivided(const QPainterPath& path);
// The area between two corners, whichever way they lie.
[[nodiscard]] Area between(const PointD& a, const PointD& b);
[[nodiscard]] QPointF center(const Area& area);

// The same curve with the fewest points of it that stay within `tolerance` (Douglas and Peucker, 1973).
// Distances count in units of `unit`, such as the size of a pixel. A ring, whose last point is its first,
// stays one.
[[nodiscard]] QPolygonF simplified(const QPolygonF& points, const PointD& unit, double tolerance);
// Half the sum of cross products: its sign tells the direction of turning.
[[nodiscard]] double signedArea(const QPolygonF& ring);

} // namespace outline
