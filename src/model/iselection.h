// Selections as tools and the rest of the program shape them.
#pragma once

#include "model/types/area.h"
#include "model/types/matrix.h"

#include <cstdint>

#include <QList>
#include <QPainterPath>
#include <QPointF>

// Coordinates are those of Area: x in sample points, y in Hz. A fade is the vector from a point of the
// border, where the weight is 0, to where it reaches 1. The order of the operations is part of the
// contract with plug-ins, which compile against it: new ones go to the end.
//
// Nothing happens for coordinates, fades or amounts that are not finite, and for a list of fades that
// has not one entry for each element of its path. A shape without area adds and takes away nothing;
// what is cut down to it, or made of it by a reverse subtraction, is empty.
class ISelection
{
public:
    virtual void clear() = 0;
    virtual void translate(QPointF offset) = 0;
    // x about the left edge, y about 0 Hz; fades are scaled too. Only factors above 0.
    virtual void scale(float sx, float sy) = 0;
    // Union. `subdivide` splits each line into 8, so that it can follow a bent frequency scale.
    virtual void add(const QPainterPath& path, const QList<QPointF>& fades) = 0;
    virtual void add(const QPainterPath& path, double fadeX, double fadeY, bool subdivide) = 0;
    // Takes the shape away; with `reverse` what remains is the shape less the old selection.
    virtual void subtract(const QPainterPath& path, const QList<QPointF>& fades, bool reverse) = 0;
    virtual void subtract(const QPainterPath& path, double fadeX, double fadeY, bool subdivide,
                          bool reverse) = 0;
    virtual void intersect(const QPainterPath& path, const QList<QPointF>& fades) = 0;
    virtual void intersect(const QPainterPath& path, double fadeX, double fadeY, bool subdivide) = 0;
    // Both edges of the fade move outwards or inwards.
    virtual void expand(int64_t x, double y) = 0;
    virtual void contract(int64_t x, double y) = 0;
    // Makes the fade longer by that.
    virtual void fade(int64_t x, double y) = 0;
    // Makes the fade shorter: 0 leaves it, 1 takes it away.
    virtual void contrast(double x, double y) = 0;
    [[nodiscard]] virtual bool isEmpty() const = 0;
    [[nodiscard]] virtual bool contains(QPointF point) const = 0;
    [[nodiscard]] virtual Range range() const = 0;
    [[nodiscard]] virtual Area bounds() const = 0;
    // The border.
    [[nodiscard]] virtual QPainterPath path() const = 0;
    // Weights 0 to 1 of `matrix.inputs` rows, one for each frame of the area, by `matrix.outputs`
    // columns, which rise from the area's lowest frequency. Any thread.
    virtual void rasterize(Matrix& matrix, const Area& area) const = 0;
    virtual ~ISelection() = default;
};
