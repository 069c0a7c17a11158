#include "model/fadetriangle.h"

#include <algorithm>
#include <cmath>

namespace {

// Neighbours share their edges: what rounding takes from both would stay at full weight. So a little
// more than the triangle is lowered, by what the weight is there; it is continuous across the edge.
constexpr double margin = 1e-6;

// The first and last pixel whose centre lies in [low, high], cut to 0 .. count - 1.
struct Span
{
    int first;
    int last;
};

Span centres(double low, double high, int count)
{
    const double first = std::ceil(low - margin - 0.5);
    const double last = std::floor(high + margin - 0.5);
    return {int(std::clamp(first, 0.0, double(count))), int(std::clamp(last, -1.0, double(count - 1)))};
}

// Widens [low, high] by where the edge crosses the row.
void cross(QPointF a, QPointF b, double y, double& low, double& high)
{
    if (a.y() > b.y())
        std::swap(a, b);
    if (y < a.y() - margin || y > b.y() + margin)
        return;
    const double height = b.y() - a.y();
    const double t = height > 0 ? std::clamp((y - a.y()) / height, 0.0, 1.0) : 0.0;
    const double x = a.x() + t * (b.x() - a.x());
    low = std::min({low, x, height > 0 ? x : b.x()});
    high = std::max({high, x, height > 0 ? x : b.x()});
}

} // namespace

void lowerTo(const WeightTile& tile, const WeightedPoint& a, const WeightedPoint& b, const WeightedPoint& c,
             double full)
{
    const QPointF ab = b.position - a.position;
    const QPointF ac = c.position - a.position;
    const double area = ab.x() * ac.y() - ab.y() * ac.x();
    if (area == 0 || !std::isfinite(area))
        return;
    // The plane of weights: slopes in x and y.
    const double wb = b.weight - a.weight;
    const double wc = c.weight - a.weight;
    const double slopeX = (wb * ac.y() - wc * ab.y()) / area;
    const double slopeY = (wc * ab.x() - wb * ac.x()) / area;
    const double top = std::min({a.position.y(), b.position.y(), c.position.y()});
    const double bottom = std::max({a.position.y(), b.position.y(), c.position.y()});
    const double lightest = std::min({a.weight, b.weight, c.weight});
    const double heaviest = std::max({a.weight, b.weight, c.weight});
    const Span rows = centres(top, bottom, tile.height);
    for (int row = rows.first; row <= rows.last; ++row) {
        const double y = row + 0.5;
        double low = HUGE_VAL;
        double high = -HUGE_VAL;
        cross(a.position, b.position, y, low, high);
        cross(b.position, c.position, y, low, high);
        cross(c.position, a.position, y, low, high);
        if (low > high)
            continue;
        const Span columns = centres(low, high, tile.width);
        const double start = a.weight + slopeY * (y - a.position.y()) + slopeX * (0.5 - a.position.x());
        int32_t* weights = tile.weights + row * tile.stride;
        for (int column = columns.first; column <= columns.last; ++column) {
            const double weight = std::clamp(start + slopeX * column, lightest, heaviest);
            weights[column] = std::min(weights[column], int32_t(weight * full));
        }
    }
}
