#include "model/selectionshape.h"

#include <algorithm>
#include <cmath>

#include <QPainterPathStroker>
#include <QTransform>

namespace {

// Parts of a straight line that is subdivided, and of every curve.
constexpr int pieces = 8;
// Where the timeline ends, and with it every number that a shape may carry.
constexpr double farthest = double(int64_t(1) << 61);
constexpr double leastOffset = 1e-6;
// A fade of this many times the shape's extent leaves next to nothing of it; longer ones would make
// the fade path vanish and the shape hard.
constexpr double longestFade = 1e4;

bool isUsable(double value)
{
    return std::abs(value) <= farthest; // false for NaN
}

bool isUsable(const QPainterPath& path)
{
    for (int i = 0; i < path.elementCount(); ++i)
        if (!isUsable(path.elementAt(i).x) || !isUsable(path.elementAt(i).y))
            return false;
    return true;
}

QPointF onCurve(const QPointF (&p)[4], double t)
{
    const double u = 1 - t;
    return u * u * u * p[0] + 3 * u * u * t * p[1] + 3 * u * t * t * p[2] + t * t * t * p[3];
}

// Copies a path as lines; every subpath ends where it began. `offsets` (may be null) moves each element
// by its own vector; `divideLines` splits straight lines too.
class Flattener
{
public:
    Flattener(const QPainterPath& path, QPointF origin, const QList<QPointF>* offsets, bool divideLines)
        : m_path(path),
          m_origin(origin),
          m_offsets(offsets),
          m_divideLines(divideLines)
    {
        m_result.setFillRule(path.fillRule());
    }

    QPainterPath run()
    {
        for (int i = 0; i < m_path.elementCount(); ++i) {
            const QPainterPath::ElementType type = m_path.elementAt(i).type;
            if (type == QPainterPath::MoveToElement)
                begin(point(i, i));
            else if (type == QPainterPath::LineToElement)
                line(point(i, i));
            else if (type == QPainterPath::CurveToElement && i > 0 && i + 2 < m_path.elementCount()) {
                curve(i);
                i += 2;
            }
        }
        close();
        return m_result;
    }

private:
    // Element `i` moved by the offset of element `by`.
    [[nodiscard]] QPointF point(int i, int by) const
    {
        const QPointF raw = QPointF(m_path.elementAt(i)) - m_origin;
        return m_offsets ? raw + m_offsets->at(by) / fadeScale : raw;
    }
    void begin(QPointF at)
    {
        close();
        m_result.moveTo(at);
        m_start = m_last = at;
    }
    void line(QPointF to)
    {
        for (int k = 1; m_divideLines && k < pieces; ++k)
            m_result.lineTo(m_last + (to - m_last) * (double(k) / pieces));
        m_result.lineTo(to);
        m_last = to;
    }
    // The inner control points go with the ends that they belong to.
    void curve(int i)
    {
        const QPointF controls[4] = {m_last, point(i, i - 1), point(i + 1, i + 2), point(i + 2, i + 2)};
        for (int k = 1; k < pieces; ++k)
            m_result.lineTo(onCurve(controls, double(k) / pieces));
        m_result.lineTo(controls[3]);
        m_last = controls[3];
    }
    void close()
    {
        if (m_last != m_start)
            line(m_start);
    }

    const QPainterPath& m_path;
    QPointF m_origin;
    const QList<QPointF>* m_offsets;
    bool m_divideLines;
    QPainterPath m_result;
    QPointF m_start;
    QPointF m_last;
};

bool hasArea(const QPainterPath& path)
{
    const QRectF bounds = path.controlPointRect();
    return path.elementCount() >= 3 && bounds.width() > 0 && bounds.height() > 0;
}

// A whole number below the shape, so that moving between origins costs no digits.
QPointF originOf(const QPainterPath& path)
{
    const QRectF bounds = path.controlPointRect();
    return {std::floor(bounds.x()), std::floor(bounds.y())};
}

// A stroke of 1e-10 of the shape makes the path operations fail now and then, one of 1e-13 nearly always:
// nothing but a sliver is left of the selection. A sample in half an hour does no harm.
double leastOffsetIn(double extent)
{
    constexpr double leastPart = 1e-8;
    return std::max(leastOffset, extent * leastPart);
}

enum class Direction { Inwards, Outwards };

double signedArea(const QPolygonF& ring)
{
    double sum = 0;
    const QPointF first = ring.isEmpty() ? QPointF() : ring.first();
    for (int i = 0; i + 1 < ring.size(); ++i) {
        const QPointF a = ring[i] - first;
        const QPointF b = ring[i + 1] - first;
        sum += a.x() * b.y() - a.y() * b.x();
    }
    return sum / 2;
}

// Path operations leave corners that all but coincide, and their strokes make the next operation fail:
// rings are stroked without them.
constexpr double leastEdge = 1e-3; // in widths of the stroke

QVector<QPolygonF> cleanRings(const QPainterPath& path)
{
    QVector<QPolygonF> rings;
    for (const QPolygonF& ring : path.toSubpathPolygons()) {
        QPolygonF clean;
        for (const QPointF& point : ring)
            if (clean.isEmpty() || (point - clean.last()).manhattanLength() > leastEdge)
                clean << point;
        if (clean.size() < 3)
            continue;
        if (clean.first() != clean.last()) {
            if ((clean.first() - clean.last()).manhattanLength() <= leastEdge)
                clean.removeLast();
            clean << clean.first();
        }
        rings << clean;
    }
    return rings;
}

QPainterPath joined(const QVector<QPolygonF>& rings, Qt::FillRule rule)
{
    QPainterPath path;
    path.setFillRule(rule);
    for (const QPolygonF& ring : rings)
        path.addPolygon(ring);
    return path;
}

// All turning the same way: where strokes of rings that turn against each other overlap, their
// windings would cancel, and leave a hole.
QVector<QPolygonF> turnedAlike(QVector<QPolygonF> rings)
{
    for (QPolygonF& ring : rings)
        if (signedArea(ring) < 0)
            std::reverse(ring.begin(), ring.end());
    return rings;
}

// A stroke along the path, twice as wide as the offset, is taken away or united. Scaled so that its
// width is 1 whatever the two axes want.
QPainterPath offset(const QPainterPath& path, double x, double y, Direction direction)
{
    if (path.elementCount() < 3)
        return path;
    const QRectF bounds = path.controlPointRect();
    x = std::max(x, leastOffsetIn(bounds.width()));
    y = std::max(y, leastOffsetIn(bounds.height()));
    const auto rings = cleanRings(QTransform::fromScale(1 / (2 * x), 1 / (2 * y)).map(path));
    const QPainterPath scaled = joined(rings, path.fillRule());
    QPainterPathStroker stroker;
    stroker.setJoinStyle(Qt::MiterJoin);
    stroker.setMiterLimit(100000.0);
    stroker.setWidth(1.0);
    stroker.setCapStyle(Qt::FlatCap);
    const QPainterPath stroke = stroker.createStroke(joined(turnedAlike(rings), Qt::OddEvenFill));
    const QPainterPath result =
        direction == Direction::Inwards ? scaled.subtracted(stroke) : scaled.united(stroke);
    return QTransform::fromScale(2 * x, 2 * y).map(result);
}

} // namespace

QPainterPath contracted(const QPainterPath& path, double x, double y)
{
    return offset(path, x, y, Direction::Inwards);
}

QPainterPath expanded(const QPainterPath& path, double x, double y)
{
    return offset(path, x, y, Direction::Outwards);
}

std::optional<SelectionShape> makeShape(const QPainterPath& path, double fadeX, double fadeY, bool subdivide)
{
    if (!isUsable(path) || !isUsable(fadeX) || !isUsable(fadeY))
        return std::nullopt;
    SelectionShape shape;
    if (!hasArea(path))
        return shape;
    shape.origin = originOf(path);
    const QPainterPath raw = Flattener(path, shape.origin, nullptr, subdivide).run();
    const QRectF bounds = raw.controlPointRect();
    shape.maxFadeX = std::clamp(fadeX, 0.0, bounds.width() * longestFade);
    shape.maxFadeY = std::clamp(fadeY, 0.0, bounds.height() * longestFade);
    shape.border = shape.fade = raw;
    if (shape.maxFadeX > 0 || shape.maxFadeY > 0) {
        shape.border = contracted(raw, 0, 0);
        // The fade counts from the border, which the least offset has moved already.
        shape.fade = contracted(raw, leastOffsetIn(bounds.width()) + shape.maxFadeX / fadeScale,
                                leastOffsetIn(bounds.height()) + shape.maxFadeY / fadeScale);
    }
    return shape;
}

std::optional<SelectionShape> makeShape(const QPainterPath& path, const QList<QPointF>& fades)
{
    if (fades.size() != path.elementCount() || !isUsable(path))
        return std::nullopt;
    SelectionShape shape;
    for (const QPointF& fade : fades) {
        if (!isUsable(fade.x()) || !isUsable(fade.y()))
            return std::nullopt;
        shape.maxFadeX = std::max(shape.maxFadeX, std::abs(fade.x()));
        shape.maxFadeY = std::max(shape.maxFadeY, std::abs(fade.y()));
    }
    if (!hasArea(path))
        return SelectionShape();
    shape.origin = originOf(path);
    shape.border = Flattener(path, shape.origin, nullptr, false).run();
    shape.fade = Flattener(path, shape.origin, &fades, false).run();
    return shape;
}
