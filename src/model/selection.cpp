#include "model/selection.h"

#include "model/nearestpoints.h"
#include "model/selectionshape.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace {

QVector<QPointF> elements(const QPainterPath& path)
{
    QVector<QPointF> points;
    points.reserve(path.elementCount());
    for (int i = 0; i < path.elementCount(); ++i)
        points << QPointF(path.elementAt(i));
    return points;
}

QPainterPath moved(const QPainterPath& path, QPointF offset)
{
    return offset.isNull() ? path : path.translated(offset);
}

// Borders that meet in a line or a point count as touching.
bool touch(const QRectF& a, const QRectF& b)
{
    return a.left() <= b.right() && b.left() <= a.right() && a.top() <= b.bottom() && b.top() <= a.bottom();
}

QRectF absoluteBounds(const SelectionPart& part)
{
    return part.bounds.translated(part.origin);
}

SelectionPart partOf(const SelectionShape& shape)
{
    return {shape.origin, shape.border, shape.fade, {}, shape.border.controlPointRect()};
}

// Seen from another origin.
SelectionPart seenFrom(const SelectionPart& part, QPointF origin)
{
    const QPointF offset = part.origin - origin;
    return {origin, moved(part.path, offset), moved(part.fadePath, offset), part.fades,
            part.bounds.translated(offset)};
}

void uniteWith(SelectionPart& part, const SelectionPart& other)
{
    const SelectionPart near = seenFrom(other, part.origin);
    part.path = part.path.united(near.path);
    part.fadePath = part.fadePath.united(near.fadePath);
}

// The pairing is crossed, so that the fade lies on the inside of what remains.
void subtractFrom(SelectionPart& part, const SelectionPart& other)
{
    const SelectionPart near = seenFrom(other, part.origin);
    part.path = part.path.subtracted(near.fadePath);
    part.fadePath = part.fadePath.subtracted(near.path);
}

void intersectWith(SelectionPart& part, const SelectionPart& other)
{
    const SelectionPart near = seenFrom(other, part.origin);
    part.path = part.path.intersected(near.path);
    part.fadePath = part.fadePath.intersected(near.fadePath);
}

// FNV-1a over the bytes of doubles; -0 counts as 0.
class Hash
{
public:
    void add(double value)
    {
        uint64_t bits = std::bit_cast<uint64_t>(value + 0.0);
        for (int i = 0; i < 8; ++i, bits >>= 8)
            m_hash = (m_hash ^ uint8_t(bits)) * 16777619u;
    }
    void add(QPointF point)
    {
        add(point.x());
        add(point.y());
    }
    [[nodiscard]] uint32_t value() const { return m_hash; }

private:
    uint32_t m_hash = 2166136261u;
};

// False for NaN too.
bool staysOnTimeline(double start, double length)
{
    constexpr double farthest = double(int64_t(1) << 61);
    return std::abs(start) <= farthest && std::abs(start + length) <= farthest;
}

double limited(double value, double most)
{
    return std::clamp(value, -most, most);
}

} // namespace

Selection::Selection(const QPainterPath& path)
{
    add(path, 0, 0, false);
}

void Selection::clear()
{
    *this = Selection();
}

void Selection::translate(QPointF offset)
{
    const Area now = bounds();
    if (!staysOnTimeline(now.x + offset.x(), now.width) || !staysOnTimeline(now.y + offset.y(), now.height))
        return;
    for (SelectionPart& part : m_parts)
        part.origin += offset;
    changed();
}

void Selection::scale(float sx, float sy)
{
    const Area now = bounds();
    if (!(sx > 0 && sy > 0) || !staysOnTimeline(now.x, now.width * double(sx)) ||
        !staysOnTimeline(now.y * double(sy), now.height * double(sy)))
        return;
    const double pivot = now.x;
    const QTransform transform = QTransform::fromScale(double(sx), double(sy));
    for (SelectionPart& part : m_parts) {
        part.origin = {pivot + (part.origin.x() - pivot) * double(sx), part.origin.y() * double(sy)};
        part.path = transform.map(part.path);
        part.fadePath = transform.map(part.fadePath);
        part.bounds = part.path.controlPointRect();
        for (QPointF& fade : part.fades)
            fade = transform.map(fade);
    }
    m_maxFadeX *= double(sx);
    m_maxFadeY *= double(sy);
    changed();
}

void Selection::add(const QPainterPath& path, const QList<QPointF>& fades)
{
    apply(makeShape(path, fades), Operation::Unite);
}

void Selection::add(const QPainterPath& path, double fadeX, double fadeY, bool subdivide)
{
    apply(makeShape(path, fadeX, fadeY, subdivide), Operation::Unite);
}

void Selection::subtract(const QPainterPath& path, const QList<QPointF>& fades, bool reverse)
{
    apply(makeShape(path, fades), reverse ? Operation::SubtractFrom : Operation::Subtract);
}

void Selection::subtract(const QPainterPath& path, double fadeX, double fadeY, bool subdivide, bool reverse)
{
    apply(makeShape(path, fadeX, fadeY, subdivide), reverse ? Operation::SubtractFrom : Operation::Subtract);
}

void Selection::intersect(const QPainterPath& path, const QList<QPointF>& fades)
{
    apply(makeShape(path, fades), Operation::Intersect);
}

void Selection::intersect(const QPainterPath& path, double fadeX, double fadeY, bool subdivide)
{
    apply(makeShape(path, fadeX, fadeY, subdivide), Operation::Intersect);
}

void Selection::apply(const std::optional<SelectionShape>& shape, Operation operation)
{
    if (!shape)
        return;
    m_maxFadeX = std::max(m_maxFadeX, shape->maxFadeX);
    m_maxFadeY = std::max(m_maxFadeY, shape->maxFadeY);
    switch (operation) {
    case Operation::Unite:
        unite(*shape);
        break;
    case Operation::Subtract:
        subtractShape(*shape);
        break;
    case Operation::SubtractFrom:
        subtractFromShape(*shape);
        break;
    case Operation::Intersect:
        intersectShape(*shape);
        break;
    }
    changed();
}

// Parts that the shape does not come near stay as they are: a stroke costs what lies around it.
void Selection::unite(const SelectionShape& shape)
{
    if (shape.isEmpty())
        return;
    const SelectionPart fresh = partOf(shape);
    SelectionPart united = fresh;
    QVector<SelectionPart> apart;
    bool first = true;
    for (const SelectionPart& part : qAsConst(m_parts)) {
        if (!touch(absoluteBounds(part), absoluteBounds(fresh))) {
            apart << part;
            continue;
        }
        // The old part's origin is kept: its many elements need not move.
        SelectionPart result = first ? part : united;
        uniteWith(result, first ? fresh : part);
        united = result;
        first = false;
    }
    rebuildFades(united);
    m_parts = apart;
    if (!united.path.isEmpty())
        m_parts << united;
}

void Selection::subtractShape(const SelectionShape& shape)
{
    const SelectionPart other = partOf(shape);
    QVector<SelectionPart> rest;
    for (SelectionPart part : qAsConst(m_parts)) {
        if (!shape.isEmpty() && touch(absoluteBounds(part), absoluteBounds(other))) {
            subtractFrom(part, other);
            rebuildFades(part);
        }
        if (!part.path.isEmpty())
            rest << part;
    }
    m_parts = rest;
}

void Selection::subtractFromShape(const SelectionShape& shape)
{
    SelectionPart rest = partOf(shape);
    for (const SelectionPart& part : qAsConst(m_parts))
        if (!rest.path.isEmpty() && touch(absoluteBounds(part), absoluteBounds(rest)))
            subtractFrom(rest, part);
    rebuildFades(rest);
    m_parts.clear();
    if (!rest.path.isEmpty())
        m_parts << rest;
}

void Selection::intersectShape(const SelectionShape& shape)
{
    const SelectionPart other = partOf(shape);
    QVector<SelectionPart> rest;
    for (SelectionPart part : qAsConst(m_parts)) {
        if (shape.isEmpty() || !touch(absoluteBounds(part), absoluteBounds(other)))
            continue;
        intersectWith(part, other);
        rebuildFades(part);
        if (!part.path.isEmpty())
            rest << part;
    }
    m_parts = rest;
}

void Selection::uniteTouching()
{
    QVector<SelectionPart> apart;
    for (SelectionPart part : qAsConst(m_parts)) {
        part.bounds = part.path.controlPointRect();
        // Each union may make the part touch another one.
        for (int i = 0; i < apart.size();) {
            if (!touch(absoluteBounds(part), absoluteBounds(apart[i]))) {
                ++i;
                continue;
            }
            uniteWith(part, apart[i]);
            part.bounds = part.path.controlPointRect();
            apart.remove(i);
            i = 0;
        }
        apart << part;
    }
    m_parts = apart;
    rebuildAllFades();
}

void Selection::expand(int64_t x, double y)
{
    if (!std::isfinite(y))
        return;
    for (SelectionPart& part : m_parts) {
        part.path = expanded(part.path, double(x), y);
        part.fadePath = expanded(part.fadePath, double(x), y);
    }
    uniteTouching();
    changed();
}

void Selection::contract(int64_t x, double y)
{
    if (!std::isfinite(y))
        return;
    for (SelectionPart& part : m_parts) {
        part.path = contracted(part.path, double(x), y);
        part.fadePath = contracted(part.fadePath, double(x), y);
    }
    rebuildAllFades();
    changed();
}

void Selection::fade(int64_t x, double y)
{
    if (!std::isfinite(y))
        return;
    for (SelectionPart& part : m_parts)
        part.fadePath = contracted(part.fadePath, double(x) / fadeScale, y / fadeScale);
    m_maxFadeX += double(std::max<int64_t>(x, 0));
    m_maxFadeY += std::max(y, 0.0);
    rebuildAllFades();
    changed();
}

void Selection::contrast(double x, double y)
{
    if (!std::isfinite(x) || !std::isfinite(y))
        return;
    const double keepX = 1 - std::clamp(x, 0.0, 1.0);
    const double keepY = 1 - std::clamp(y, 0.0, 1.0);
    for (SelectionPart& part : m_parts) {
        const QVector<QPointF> border = elements(part.path);
        const NearestPoints index(border);
        for (int i = 0; i < part.fadePath.elementCount(); ++i) {
            const QPointF point(part.fadePath.elementAt(i));
            const QPointF near = border[index.nearest(point)];
            part.fadePath.setElementPositionAt(i, near.x() + (point.x() - near.x()) * keepX,
                                               near.y() + (point.y() - near.y()) * keepY);
        }
    }
    m_maxFadeX *= keepX;
    m_maxFadeY *= keepY;
    rebuildAllFades();
    changed();
}

bool Selection::contains(QPointF point) const
{
    return std::any_of(m_parts.cbegin(), m_parts.cend(),
                       [&](const SelectionPart& part) { return part.path.contains(point - part.origin); });
}

Area Selection::bounds() const
{
    QRectF all;
    for (const SelectionPart& part : m_parts)
        all = all.isNull() ? absoluteBounds(part) : all.united(absoluteBounds(part));
    return {all.x(), all.y(), all.width(), all.height()};
}

QPainterPath Selection::path() const
{
    QPainterPath all;
    for (const SelectionPart& part : m_parts) {
        const QPainterPath absolute = moved(part.path, part.origin);
        if (all.isEmpty())
            all = absolute;
        else
            all.addPath(absolute);
    }
    return all;
}

QList<QPointF> Selection::fades() const
{
    QList<QPointF> all;
    for (const SelectionPart& part : m_parts)
        for (const QPointF& fade : part.fades)
            all << fade;
    return all;
}

// The limits keep a wrong neighbour across a thin part from making a long fade.
void Selection::rebuildFades(SelectionPart& part) const
{
    part.bounds = part.path.controlPointRect();
    const QVector<QPointF> inner = elements(part.fadePath);
    const NearestPoints index(inner);
    part.fades.clear();
    part.fades.reserve(part.path.elementCount());
    for (const QPointF& point : elements(part.path)) {
        const int nearest = index.nearest(point);
        const QPointF fade = nearest < 0 ? QPointF() : (inner[nearest] - point) * fadeScale;
        part.fades << QPointF(limited(fade.x(), m_maxFadeX), limited(fade.y(), m_maxFadeY));
    }
}

void Selection::rebuildAllFades()
{
    for (SelectionPart& part : m_parts)
        rebuildFades(part);
    m_parts.erase(std::remove_if(m_parts.begin(), m_parts.end(),
                                 [](const SelectionPart& part) { return part.path.isEmpty(); }),
                  m_parts.end());
}

void Selection::changed()
{
    m_fingerprint = 0;
    if (m_parts.isEmpty())
        return;
    Hash hash;
    for (const SelectionPart& part : qAsConst(m_parts)) {
        for (int i = 0; i < part.path.elementCount(); ++i)
            hash.add(part.origin + QPointF(part.path.elementAt(i)));
        for (const QPointF& fade : part.fades)
            hash.add(fade);
    }
    m_fingerprint = hash.value();
}
