#include "selectionbox.h"

#include "model/iselection.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace selectionbox {

namespace {

constexpr double reach = 5; // logical pixels
// The sine of 22.5 degrees: what is left of a circle to the corner's eighth on each side.
constexpr double cornerShare = 0.3827;

// Of two sides within reach the nearer one.
uint32_t nearerSide(double at, double start, double length, double within, uint32_t low, uint32_t high)
{
    const double toLow = std::abs(at - start);
    const double toHigh = std::abs(at - start - length);
    if (std::min(toLow, toHigh) > within)
        return GripNone;
    return toLow < toHigh ? low : high;
}

uint32_t gripOfBox(const Area& box, const PointD& p, const PointD& within)
{
    return nearerSide(p.x, box.x, box.width, within.x, GripLeft, GripRight) |
           nearerSide(p.y, box.y, box.height, within.y, GripLow, GripHigh);
}

// From the point to the path, in units of `unit`.
double distance(const QPainterPath& path, const PointD& p, const PointD& unit)
{
    double least = HUGE_VAL;
    QPointF from;
    for (int i = 0; i < path.elementCount(); ++i) {
        const QPainterPath::Element& e = path.elementAt(i);
        const QPointF to((e.x - p.x) / unit.x, (e.y - p.y) / unit.y);
        if (!e.isMoveTo()) {
            const QPointF along = to - from;
            const double length = QPointF::dotProduct(along, along);
            const double t =
                length > 0 ? std::clamp(-QPointF::dotProduct(from, along) / length, 0.0, 1.0) : 0.0;
            const QPointF off = from + t * along;
            least = std::min(least, std::hypot(off.x(), off.y()));
        }
        from = to;
    }
    return least;
}

uint32_t gripOfBorder(const Area& box, const PointD& p)
{
    const double x = (p.x - box.x) / box.width * 2 - 1;
    const double y = (p.y - box.y) / box.height * 2 - 1;
    const double length = std::hypot(x, y);
    if (!(length > 0))
        return GripNone;
    uint32_t grip = GripNone;
    if (std::abs(x) / length > cornerShare)
        grip |= x < 0 ? GripLeft : GripRight;
    if (std::abs(y) / length > cornerShare)
        grip |= y < 0 ? GripLow : GripHigh;
    return grip;
}

// One axis of dragged().
void dragAxis(double& start, double& length, bool low, bool high, double offset, double limitStart,
              double limitLength, double least)
{
    const double limitEnd = limitStart + limitLength;
    double end = start + length;
    if (low && high) {
        offset = std::clamp(offset, std::min(0.0, limitStart - start), std::max(0.0, limitEnd - end));
        start += offset;
        return;
    }
    least = std::min(least, length);
    if (low)
        start = std::clamp(start + offset, std::min(start, limitStart), end - least);
    if (high)
        end = std::clamp(end + offset, start + least, std::max(end, limitEnd));
    length = end - start;
}

// Two single-precision factors whose product is `factor`, much nearer than one could be.
std::pair<float, float> factors(double factor)
{
    std::pair<float, float> best{float(factor), 1.0f};
    double leastError = std::abs(double(best.first) - factor);
    for (int i = 1; i <= 64 && leastError > 0; ++i) {
        const float a = float(factor * (1 + i * 1e-3));
        const float b = float(factor / double(a));
        if (const double error = std::abs(double(a) * double(b) - factor); error < leastError) {
            leastError = error;
            best = {a, b};
        }
    }
    return best;
}

} // namespace

uint32_t gripAt(const ISelection& selection, const PointD& position, const PointD& pixelSize)
{
    if (selection.isEmpty() || !(pixelSize.x > 0) || !(pixelSize.y > 0))
        return GripNone;
    const Area box = selection.bounds();
    const bool inside = selection.contains({position.x, position.y});
    // The middle of a small selection stays free for moving it.
    double across = reach * pixelSize.x;
    double up = reach * pixelSize.y;
    if (inside) {
        across = std::min(across, box.width / 4);
        up = std::min(up, box.height / 4);
    }
    if (!(across > 0) || !(up > 0) || distance(selection.path(), position, {across, up}) > 1)
        return inside ? GripAll : GripNone;
    const uint32_t grip = gripOfBox(box, position, {across, up});
    return grip ? grip : gripOfBorder(box, position);
}

Area dragged(const Area& from, uint32_t grip, const PointD& offset, const Area& limits, const PointD& least)
{
    Area to = from;
    dragAxis(to.x, to.width, grip & GripLeft, grip & GripRight, offset.x, limits.x, limits.width, least.x);
    dragAxis(to.y, to.height, grip & GripLow, grip & GripHigh, offset.y, limits.y, limits.height, least.y);
    return to;
}

QPainterPath fitted(const QPainterPath& path, const Area& from, const Area& to)
{
    const double sx = from.width > 0 ? to.width / from.width : 1;
    const double sy = from.height > 0 ? to.height / from.height : 1;
    QPainterPath result = path;
    for (int i = 0; i < path.elementCount(); ++i)
        result.setElementPositionAt(i, to.x + (path.elementAt(i).x - from.x) * sx,
                                    to.y + (path.elementAt(i).y - from.y) * sy);
    return result;
}

void fit(ISelection& selection, const Area& target)
{
    const Area from = selection.bounds();
    if (selection.isEmpty() || !(from.width > 0) || !(from.height > 0) || !(target.width > 0) ||
        !(target.height > 0))
        return;
    const auto [x1, x2] = factors(target.width / from.width);
    const auto [y1, y2] = factors(target.height / from.height);
    if (x1 != 1 || y1 != 1)
        selection.scale(x1, y1);
    if (x2 != 1 || y2 != 1)
        selection.scale(x2, y2);
    const Area now = selection.bounds();
    if (now.x != target.x || now.y != target.y)
        selection.translate({target.x - now.x, target.y - now.y});
}

} // namespace selectionbox
