#include "selectlasso.h"

#include "outline.h"

#include <algorithm>
#include <cmath>

#include <QDoubleSpinBox>

namespace {

enum Mode : uint32_t { FreeHand, Polygon, Magnetic };

constexpr double closeReach = 6;     // pixels: a click that near to the first corner closes the polygon
constexpr double leastStep = 1;      // pixels from point to point
constexpr double straightness = 0.5; // pixels that the outline may give way for fewer points
constexpr double leastDrag = 3;      // pixels: a button that goes up farther away sets a corner too
constexpr double usualReach = 12;

double pixelsBetween(const PointD& a, const PointD& b)
{
    return std::hypot(a.x - b.x, a.y - b.y);
}

} // namespace

SelectLasso::SelectLasso()
    : SelectionTool({{tr("Lasso Selection"), QStringLiteral(":/icons/selectlasso.png")},
                     {tr("Polygon Selection"), QStringLiteral(":/icons/selectpolygon.png")},
                     {tr("Magnetic Lasso Selection"), QStringLiteral(":/icons/selectmagnetic.png")}})
{
}

void SelectLasso::addOptions(OptionsPage& page)
{
    m_reach = page.addNumber(tr("Reach:"), 1, 100, 1, usualReach, tr(" px"));
    m_reach->setObjectName(QStringLiteral("reach"));
    m_reach->setToolTip(tr("How far away the magnetic lasso looks for a ridge"));
}

QString SelectLasso::description() const
{
    return tr("Lasso Selection");
}

void SelectLasso::begin(const MouseEvent& event)
{
    m_kind = mode;
    m_points.clear();
    m_line = QPainterPath();
    m_pixel = event.pixelSize;
    m_magnet.reset();
    if (m_kind == Magnetic)
        m_magnet.emplace(m_reach->value());
    take(event);
}

// The polygon's corners snap, a free hand does not.
void SelectLasso::take(const MouseEvent& event)
{
    m_pointer = limited(m_kind == Polygon ? event.snapped : event.position);
    m_lastPixel = event.pixel;
    m_pixel = {std::min(m_pixel.x, event.pixelSize.x), std::min(m_pixel.y, event.pixelSize.y)};
    const QPointF point(m_pointer.x, m_pointer.y);
    if (m_points.isEmpty())
        m_line.moveTo(point);
    else
        m_line.lineTo(point);
    m_points << point;
    if (m_magnet) {
        Levels levels(context.spectra, target(), event.channel, context.transform.get());
        m_magnet->add(levels, m_pointer, event.pixelSize);
    }
}

void SelectLasso::extend(const MouseEvent& event)
{
    if (m_kind != Polygon && pixelsBetween(event.pixel, m_lastPixel) >= leastStep)
        take(event);
    m_pointer = limited(m_kind == Polygon ? event.snapped : event.position);
}

bool SelectLasso::click(const MouseEvent& event, bool twice)
{
    const QPointF first = m_points.first();
    const double across = (event.position.x - first.x()) / event.pixelSize.x;
    const double up = (event.position.y - first.y()) / event.pixelSize.y;
    if (m_points.size() >= 3 && (twice || std::hypot(across, up) <= closeReach))
        return true;
    if (pixelsBetween(event.pixel, m_lastPixel) >= leastStep)
        take(event);
    return false;
}

bool SelectLasso::release(const MouseEvent& event)
{
    if (m_kind != Polygon)
        return true;
    if (pixelsBetween(event.pixel, m_lastPixel) >= leastDrag)
        take(event);
    return false;
}

QPainterPath SelectLasso::shape()
{
    QPolygonF points = m_magnet ? m_magnet->path() : m_points;
    for (QPointF& p : points) {
        const PointD inside = limited({p.x(), p.y()});
        p = {inside.x, inside.y};
    }
    if (m_kind == Polygon)
        return outline::subdivided(outline::uncrossed(outline::polygon(points), m_pixel));
    return outline::uncrossed(outline::polygon(outline::simplified(points, m_pixel, straightness)), m_pixel);
}

QPainterPath SelectLasso::drawing()
{
    if (m_kind == Magnetic)
        return shape();
    QPainterPath path = m_line;
    path.lineTo(m_pointer.x, m_pointer.y);
    path.closeSubpath();
    return path;
}

void SelectLasso::dropped()
{
    m_points.clear();
    m_line = QPainterPath();
    m_magnet.reset();
}
