#include "outline.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include <QTransform>

namespace outline {

namespace {

constexpr int ellipseCorners = 96;
constexpr int pieces = 8;
constexpr double pi = 3.14159265358979323846;

double distanceToSegment(QPointF p, QPointF a, QPointF b)
{
    const QPointF along = b - a;
    const double length = QPointF::dotProduct(along, along);
    const double t = length > 0 ? std::clamp(QPointF::dotProduct(p - a, along) / length, 0.0, 1.0) : 0.0;
    const QPointF off = p - a - t * along;
    return std::hypot(off.x(), off.y());
}

// Marks the points between `first` and `last` that have to stay.
void mark(const QPolygonF& points, qsizetype first, qsizetype last, double tolerance, std::vector<bool>& keep)
{
    std::vector<std::pair<qsizetype, qsizetype>> open{{first, last}};
    while (!open.empty()) {
        const auto [a, b] = open.back();
        open.pop_back();
        double farthest = tolerance;
        qsizetype found = -1;
        for (qsizetype i = a + 1; i < b; ++i)
            if (const double d = distanceToSegment(points[int(i)], points[int(a)], points[int(b)]);
                d > farthest) {
                farthest = d;
                found = i;
            }
        if (found < 0)
            continue;
        keep[size_t(found)] = true;
        open.emplace_back(a, found);
        open.emplace_back(found, b);
    }
}

qsizetype farthestFromFirst(const QPolygonF& points)
{
    qsizetype found = 0;
    double farthest = -1;
    for (int i = 0; i < points.size(); ++i) {
        const QPointF off = points[i] - points[0];
        if (const double d = std::hypot(off.x(), off.y()); d > farthest) {
            farthest = d;
            found = i;
        }
    }
    return found;
}

} // namespace

QPainterPath rectangle(const Area& area)
{
    QPainterPath path;
    path.addRect(area.x, area.y, area.width, area.height);
    return path;
}

QPainterPath ellipse(const Area& area)
{
    QPolygonF corners;
    const QPointF middle = center(area);
    for (int i = 0; i < ellipseCorners; ++i) {
        const double angle = 2 * pi * i / ellipseCorners;
        corners << middle + QPointF(area.width / 2 * std::cos(angle), area.height / 2 * std::sin(angle));
    }
    return polygon(corners);
}

QPainterPath polygon(const QPolygonF& points)
{
    QPainterPath path;
    path.setFillRule(Qt::WindingFill);
    if (points.size() < 3)
        return path;
    path.addPolygon(points);
    path.closeSubpath();
    return path;
}

QPainterPath uncrossed(const QPainterPath& path, const PointD& unit)
{
    if (path.isEmpty() || !(unit.x > 0) || !(unit.y > 0))
        return path;
    const QPointF origin = path.controlPointRect().topLeft();
    const QTransform there =
        QTransform::fromTranslate(-origin.x(), -origin.y()) * QTransform::fromScale(1 / unit.x, 1 / unit.y);
    const QTransform back =
        QTransform::fromScale(unit.x, unit.y) * QTransform::fromTranslate(origin.x(), origin.y());
    return back.map(there.map(path).simplified());
}

QPainterPath subdivided(const QPainterPath& path)
{
    QPainterPath result;
    result.setFillRule(path.fillRule());
    for (int i = 0; i < path.elementCount(); ++i) {
        const QPointF to = path.elementAt(i);
        if (path.elementAt(i).isMoveTo()) {
            result.moveTo(to);
            continue;
        }
        const QPointF from = path.elementAt(i - 1);
        for (int k = 1; k < pieces; ++k)
            result.lineTo(from + (to - from) * (double(k) / pieces));
        result.lineTo(to);
    }
    return result;
}

Area between(const PointD& a, const PointD& b)
{
    return {std::min(a.x, b.x), std::min(a.y, b.y), std::abs(b.x - a.x), std::abs(b.y - a.y)};
}

QPointF center(const Area& area)
{
    return {area.x + area.width / 2, area.y + area.height / 2};
}

QPolygonF simplified(const QPolygonF& points, const PointD& unit, double tolerance)
{
    if (points.size() < 3 || !(unit.x > 0) || !(unit.y > 0))
        return points;
    // Relative to the first point, so that no digits are lost far out on the timeline.
    QPolygonF scaled;
    for (const QPointF& p : points)
        scaled << QPointF((p.x() - points[0].x()) / unit.x, (p.y() - points[0].y()) / unit.y);
    const qsizetype last = points.size() - 1;
    const bool ring = points.first() == points.last();
    const qsizetype middle = ring ? farthestFromFirst(scaled) : last;
    std::vector<bool> keep(size_t(points.size()), false);
    keep[0] = keep[size_t(middle)] = keep[size_t(last)] = true;
    mark(scaled, 0, middle, tolerance, keep);
    if (middle != last)
        mark(scaled, middle, last, tolerance, keep);
    QPolygonF result;
    for (int i = 0; i < points.size(); ++i)
        if (keep[size_t(i)])
            result << points[i];
    return result;
}

double signedArea(const QPolygonF& ring)
{
    double sum = 0;
    for (int i = 0; i + 1 < ring.size(); ++i) {
        const QPointF a = ring[i] - ring[0];
        const QPointF b = ring[i + 1] - ring[0];
        sum += a.x() * b.y() - a.y() * b.x();
    }
    return sum / 2;
}

} // namespace outline
