#include "brushstroke.h"

#include "outline.h"

#include <algorithm>
#include <cmath>

namespace {

// Steps on the way of one radius: the border between two of them dents by 0.4 % of it.
constexpr double stepsPerRadius = 6;
// However far the pointer jumps.
constexpr double mostSteps = 4096;
constexpr double cellsPerRadius = 8;  // at least
constexpr double straightness = 0.75; // cells: the stairs of a diagonal become a line
// Far beyond any view; keeps the cells' numbers whole.
constexpr double farthestCell = 1e8;
// A brush may be far larger than the view, on a view that was zoomed in during the stroke.
constexpr int mostRows = 20000;

PointD between(const PointD& a, const PointD& b, double t)
{
    return {a.x + (b.x - a.x) * t, a.y + (b.y - a.y) * t};
}

} // namespace

BrushStroke::BrushStroke(const PointD& origin, const PointD& pixel, const PointD& radius)
    : m_origin(origin),
      m_cell{std::min(pixel.x, radius.x / cellsPerRadius), std::min(pixel.y, radius.y / cellsPerRadius)}
{
}

void BrushStroke::stamp(const Dab& dab)
{
    const double x = (dab.center.x - m_origin.x) / m_cell.x;
    const double y = (dab.center.y - m_origin.y) / m_cell.y;
    const double rx = dab.radius.x / m_cell.x;
    const double ry = dab.radius.y / m_cell.y;
    if (!(std::abs(x) < farthestCell && std::abs(y) < farthestCell && rx < farthestCell && ry < farthestCell))
        return;
    const auto first = int32_t(std::ceil(y - ry - 0.5));
    const auto last = std::min(int32_t(std::floor(y + ry - 0.5)), first + mostRows);
    // A cell is painted when its middle is.
    for (int32_t row = first; row <= last; ++row) {
        const double up = (row + 0.5 - y) / ry;
        const double half = rx * std::sqrt(std::max(0.0, 1 - up * up));
        m_mask.add(row, int32_t(std::ceil(x - half - 0.5)), int32_t(std::floor(x + half - 0.5)) + 1);
        ++m_rowsPainted;
    }
}

void BrushStroke::paint(const Dab& dab)
{
    const Dab from = m_last.value_or(dab);
    const double radii = std::hypot((dab.center.x - from.center.x) / std::min(dab.radius.x, from.radius.x),
                                    (dab.center.y - from.center.y) / std::min(dab.radius.y, from.radius.y));
    if (!std::isfinite(radii))
        return;
    const double steps = std::clamp(std::ceil(radii * stepsPerRadius), 1.0, mostSteps);
    for (int k = m_last ? 1 : int(steps); k <= int(steps); ++k)
        stamp({between(from.center, dab.center, k / steps), between(from.radius, dab.radius, k / steps)});
    m_last = dab;
}

std::vector<QPolygonF> BrushStroke::outline() const
{
    std::vector<QPolygonF> rings;
    for (const QPolygonF& ring : m_mask.outline()) {
        QPolygonF smooth = ::outline::simplified(ring, {1, 1}, straightness);
        if (smooth.size() < 4)
            continue; // less than a triangle
        for (QPointF& p : smooth)
            p = {m_origin.x + p.x() * m_cell.x, m_origin.y + p.y() * m_cell.y};
        rings.push_back(smooth);
    }
    return rings;
}
