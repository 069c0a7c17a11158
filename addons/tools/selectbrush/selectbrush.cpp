#include "selectbrush.h"

#include "outline.h"

#include <algorithm>
#include <cmath>

#include <QDoubleSpinBox>
#include <QPainter>
#include <QPixmap>

namespace {

constexpr double leastSize = 2, mostSize = 1000, usualSize = 30; // pixels
constexpr double leastAspect = 0.05, mostAspect = 20;
constexpr double usualHardness = 100;
// One press of a key.
constexpr double sizeStep = 1.15, aspectStep = 1.25, hardnessStep = 10;
// The outline is made anew when this many times its cost has passed.
constexpr int64_t mostWork = 5;
constexpr double lightestPen = 0.1; // of the size
// Larger pictures are no cursors any more on some screens.
constexpr double largestCursor = 96;

QCursor outlineCursor(const PointD& radius)
{
    const QSize size(int(std::ceil(radius.x)) * 2 + 3, int(std::ceil(radius.y)) * 2 + 3);
    QPixmap picture(size);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    const QPointF middle(size.width() / 2.0, size.height() / 2.0);
    // Seen on dark and bright.
    for (const auto& [color, width] :
         {std::pair(QColor(Qt::black), 2.5), std::pair(QColor(Qt::white), 1.0)}) {
        painter.setPen(QPen(color, width));
        painter.drawEllipse(middle, radius.x, radius.y);
    }
    painter.end();
    return QCursor(picture, size.width() / 2, size.height() / 2);
}

} // namespace

SelectBrush::SelectBrush()
    : SelectionTool({{tr("Brush Selection"), QStringLiteral(":/icons/selectbrush.png")}})
{
}

void SelectBrush::addOptions(OptionsPage& page)
{
    m_size = page.addNumber(tr("Size:"), leastSize, mostSize, 1, usualSize, tr(" px"));
    m_size->setObjectName(QStringLiteral("size"));
    m_size->setToolTip(tr("The diameter of the brush on the screen"));
    m_aspect = page.addNumber(tr("Aspect:"), leastAspect, mostAspect, 0.1, 1, {});
    m_aspect->setObjectName(QStringLiteral("aspect"));
    m_aspect->setToolTip(tr("How many times as wide as high the brush is"));
    m_hardness = page.addNumber(tr("Hardness:"), 0, 100, 1, usualHardness, tr(" %"));
    m_hardness->setObjectName(QStringLiteral("hardness"));
    m_hardness->setToolTip(tr("The part of the radius that is selected fully"));
}

QString SelectBrush::description() const
{
    return tr("Brush Selection");
}

void SelectBrush::scaleSize(int steps)
{
    // At least a pixel, so that a small brush grows too.
    const double size = m_size->value();
    const double scaled = size * std::pow(sizeStep, steps);
    m_size->setValue(steps > 0 ? std::max(scaled, size + 1) : std::min(scaled, size - 1));
}

void SelectBrush::scaleAspect(int steps)
{
    m_aspect->setValue(m_aspect->value() * std::pow(aspectStep, steps));
}

void SelectBrush::addHardness(int steps)
{
    m_hardness->setValue(m_hardness->value() + hardnessStep * steps);
}

PointD SelectBrush::radius() const
{
    const double shape = std::sqrt(m_aspect->value());
    return {m_size->value() / 2 * shape, m_size->value() / 2 / shape};
}

void SelectBrush::begin(const MouseEvent& event)
{
    m_stroke.reset();
    m_drawn = QPainterPath();
    const double soft = 1 - m_hardness->value() / 100;
    const PointD r = radius();
    m_fade = {soft * r.x * event.pixelSize.x, soft * r.y * event.pixelSize.y};
    paint(event);
}

void SelectBrush::extend(const MouseEvent& event)
{
    // Where it was pressed last, when it goes up.
    if (event.pressure >= 0)
        paint(event);
}

// On the grid frequencies stand as the screen shows them: there the brush is an ellipse.
void SelectBrush::paint(const MouseEvent& event)
{
    if (!context.convert)
        return;
    const double high = context.convert->toScale(event.position.y + event.pixelSize.y / 2);
    const double low = context.convert->toScale(event.position.y - event.pixelSize.y / 2);
    const PointD pixel{event.pixelSize.x, high - low};
    if (!(pixel.y > 0))
        return;
    const PointD center{event.position.x, context.convert->toScale(event.position.y)};
    const PointD full{radius().x * pixel.x, radius().y * pixel.y};
    if (!m_stroke)
        m_stroke.emplace(center, pixel, full);
    const double share = std::clamp(double(event.pressure), lightestPen, 1.0);
    const PointD r{full.x * share, full.y * share};
    m_stroke->paint({center, r});
    if (m_drawn.isEmpty())
        return;
    const double bottom = context.convert->fromScale(center.y - r.y);
    m_drawn.addPath(outline::ellipse(
        {center.x - r.x, bottom, 2 * r.x, context.convert->fromScale(center.y + r.y) - bottom}));
}

QPainterPath SelectBrush::shape()
{
    QPainterPath path;
    if (!m_stroke || !context.convert)
        return path;
    for (QPolygonF& ring : m_stroke->outline()) {
        for (QPointF& p : ring) {
            const PointD inside = limited({p.x(), context.convert->fromScale(p.y())});
            p = {inside.x, inside.y};
        }
        path.addPolygon(ring);
    }
    return path;
}

// The outline of a long stroke takes longer than the pointer's next move: dabs stand alone meanwhile.
QPainterPath SelectBrush::drawing()
{
    if (!m_drawn.isEmpty() && m_sinceOutline.nsecsElapsed() < mostWork * m_outlineCost)
        return m_drawn;
    m_sinceOutline.start();
    m_drawn = shape();
    m_outlineCost = m_sinceOutline.nsecsElapsed();
    return m_drawn;
}

PointD SelectBrush::fade()
{
    const PointD option = SelectionTool::fade();
    return {std::max(option.x, m_fade.x), std::max(option.y, m_fade.y)};
}

QCursor SelectBrush::drawingCursor(const MouseEvent&)
{
    const PointD r = radius();
    if (std::max(r.x, r.y) * 2 > largestCursor)
        return Qt::CrossCursor;
    if (!(r == m_cursorRadius)) {
        m_cursor = outlineCursor(r);
        m_cursorRadius = r;
    }
    return m_cursor;
}

void SelectBrush::dropped()
{
    m_stroke.reset();
    m_drawn = QPainterPath();
}
