// What a round brush has painted in one go.
#pragma once

#include "model/types/mouseevent.h"
#include "runmask.h"

#include <functional>
#include <optional>

#include <QPainterPath>

// The union of the dabs and of what lies between them, kept on a grid of cells as large as a pixel, or
// finer for a small brush. A dab costs by the rows that it touches, whatever was painted before.
class BrushStroke
{
public:
    // A point in the view: samples, and the frequency as it is spread on the screen.
    struct Dab
    {
        PointD center;
        PointD radius; // both above 0
    };

    // `pixel`: the size of a pixel in the units of the dabs.
    BrushStroke(const PointD& origin, const PointD& pixel, const PointD& radius);

    // Goes from the last dab to this one in small steps.
    void paint(const Dab& dab);
    // Rings in the units of the dabs.
    [[nodiscard]] std::vector<QPolygonF> outline() const;
    // Rows painted so far: what the work is measured by.
    [[nodiscard]] int64_t rowsPainted() const { return m_rowsPainted; }

private:
    void stamp(const Dab& dab);

    PointD m_origin;
    PointD m_cell;
    std::optional<Dab> m_last;
    RunMask m_mask;
    int64_t m_rowsPainted = 0;
};
