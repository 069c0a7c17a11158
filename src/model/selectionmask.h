// Painting of selection weights. Used by Selection alone.
#pragma once

#include "model/selection.h"

#include <QPolygonF>
#include <QRect>

// The paths of a selection in the pixels of one picture, ready to be painted into any piece of it, by
// several threads at once. Pieces meet without a seam: all of them see the same positions.
class SelectionMask
{
public:
    // `place` turns a point of the plane into a pixel position of the whole picture.
    SelectionMask(const QVector<SelectionPart>& parts, const Selection::Mapping& place);

    // Fills `image` (ARGB32 premultiplied, at most tileSize each way), the piece of the picture whose
    // top left pixel is `corner`, with the weights.
    void paintTile(QImage& image, QPoint corner) const;
    void paintBorder(QImage& image, QPoint corner, double phase) const;
    // The pixels that may have a weight above 0, within `frame`.
    [[nodiscard]] QRect touched(const QRect& frame) const;

    // The painter draws nothing beyond column 32766.
    static constexpr int tileSize = 16384;
    // The integer for a weight of 1, and the factor that brings it back.
    static constexpr double full = 2139062143.0;

private:
    // A closed ring of the border, with the point of full weight for each corner where there is one.
    struct Ring
    {
        QPolygonF border;
        QPolygonF inner;
        QVector<bool> soft; // whether the corner has a fade
    };
    struct Shape
    {
        QVector<Ring> rings;
        QRectF bounds;
        Qt::FillRule rule = Qt::OddEvenFill;
    };
    [[nodiscard]] static Shape placed(const SelectionPart& part, const Selection::Mapping& place);
    void paintFill(QImage& image, QPoint corner) const;

    QVector<Shape> m_shapes;
};
