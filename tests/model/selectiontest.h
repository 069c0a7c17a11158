// What the tests of selections share.
#pragma once

#include "model/selection.h"

#include <cstdint>
#include <random>

#include <QPainterPath>

namespace selectiontest {

inline QPainterPath rectangle(double x, double y, double width, double height)
{
    QPainterPath path;
    path.addRect(x, y, width, height);
    return path;
}

// A ring of `corners` at random distances from a centre: never crosses itself, seldom convex.
inline QPainterPath lasso(std::mt19937& random, QPointF centre, double radiusX, double radiusY, int corners)
{
    std::uniform_real_distribution<double> distance(0.5, 1.0);
    QPainterPath path;
    for (int i = 0; i < corners; ++i) {
        const double angle = 2 * M_PI * i / corners;
        const double r = distance(random);
        const QPointF point(centre.x() + radiusX * r * std::cos(angle),
                            centre.y() + radiusY * r * std::sin(angle));
        i ? path.lineTo(point) : path.moveTo(point);
    }
    path.closeSubpath();
    return path;
}

// Rows are frames, columns bins.
inline Matrix mask(const Selection& selection, const Area& area, int rows, int columns)
{
    Matrix matrix(columns, rows);
    selection.rasterize(matrix, area);
    return matrix;
}

inline float at(const Matrix& matrix, int row, int column)
{
    return matrix.data[int64_t(row) * matrix.outputs + column];
}

// Whether all pixels within `distance` have one and the same weight, 0 or 1.
inline bool isFlat(const Matrix& matrix, int row, int column, int distance = 1)
{
    const float middle = at(matrix, row, column);
    if (middle > 0 && middle < 0.999f)
        return false;
    for (int r = row - distance; r <= row + distance; ++r)
        for (int c = column - distance; c <= column + distance; ++c)
            if (r >= 0 && c >= 0 && r < matrix.inputs && c < matrix.outputs && at(matrix, r, c) != middle)
                return false;
    return true;
}

} // namespace selectiontest
