// Shapes of selections: pairs of paths and the geometry that makes them. Used by Selection alone.
#pragma once

#include <optional>

#include <QList>
#include <QPainterPath>
#include <QPointF>

// The scale by which fade paths keep close to their border, so that both have the same topology under
// path operations. Fades are distances between the two, times this.
constexpr double fadeScale = 100000.0;

// A border, where the weight is 0, and the same shape moved inwards by the fade / fadeScale, both of
// lines only. Coordinates are relative to `origin`: path operations lose what is smaller than about
// 1e-12 of a coordinate, that is fades below 1e-7 of it.
struct SelectionShape
{
    QPointF origin;
    QPainterPath border;
    QPainterPath fade;
    double maxFadeX = 0;
    double maxFadeY = 0;

    [[nodiscard]] bool isEmpty() const { return border.isEmpty(); }
};

// A uniform fade; `subdivide` splits each line into 8 equal ones. Nothing for numbers that are not
// finite or beyond the timeline; an empty shape for a path without area.
[[nodiscard]] std::optional<SelectionShape> makeShape(const QPainterPath& path, double fadeX, double fadeY,
                                                      bool subdivide);
// One fade for each element of `path`, the control points of curves included; nothing otherwise.
[[nodiscard]] std::optional<SelectionShape> makeShape(const QPainterPath& path, const QList<QPointF>& fades);

// The path moved inwards or outwards by x and y, each at least 1e-6. A path of fewer than 3 elements
// stays as it is.
[[nodiscard]] QPainterPath contracted(const QPainterPath& path, double x, double y);
[[nodiscard]] QPainterPath expanded(const QPainterPath& path, double x, double y);
