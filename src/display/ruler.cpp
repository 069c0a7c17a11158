#include "display/ruler.h"

#include "display/devicegrid.h"
#include "display/properties.h"
#include "display/wheelnavigation.h"

#include <algorithm>
#include <cmath>

#include <QContextMenuEvent>
#include <QFontMetricsF>
#include <QPainter>
#include <QWheelEvent>

namespace {

// The rectangle of the unit: it begins so far left of the texts, and is that much wider than its text.
constexpr double labelLeft = 6;
constexpr double labelHeight = 15;
constexpr double labelExtra = 4;
constexpr double gap = 3;                  // least distance of two texts
constexpr int mostTries = 4;               // until the distance of the marks suits their texts
constexpr double finest[] = {4, 6, 9, 14}; // distances of marks without a text

bool holdsAll(const QVector<double>& positions, const QVector<RulerTick>& wanted)
{
    return std::all_of(wanted.begin(), wanted.end(), [&](const RulerTick& tick) {
        return std::any_of(positions.begin(), positions.end(),
                           [&](double position) { return std::abs(position - tick.position) < 0.01; });
    });
}

} // namespace

Ruler::Ruler(const QString& name, QWidget* parent) : QWidget(parent), ViewState(name)
{
    setObjectName(QStringLiteral("ruler"));
    setFocusPolicy(Qt::TabFocus);
    setAttribute(Qt::WA_OpaquePaintEvent);
}

double Ruler::textWidth(const QString& text) const
{
    return QFontMetricsF(font()).horizontalAdvance(text);
}

QRectF Ruler::labelRect() const
{
    const QString label = unitLabel();
    if (label.isEmpty() || !hasProject())
        return {};
    const double width = textWidth(label) + labelExtra;
    // Texts of a vertical ruler begin where its marks end; on a horizontal one the label keeps to the end.
    const double left = isHorizontal() ? this->width() - width - labelLeft : textRect({}).left() - labelLeft;
    const QRectF rect(left, (height() - labelHeight) / 2, width, labelHeight);
    const bool hasRoom = isHorizontal() ? left > 0 : height() >= 4 * labelHeight;
    return hasRoom ? rect : QRectF();
}

QVector<RulerTick> Ruler::ticks() const
{
    if (!hasProject())
        return {};
    double distance = distanceFor(0);
    QVector<RulerTick> found;
    for (int i = 0; i < mostTries; ++i) {
        found.clear();
        double widest = 0;
        for (const double value : values(distance)) {
            const RulerTick tick{value, positionOf(value), textOf(value)};
            if (!(tick.position >= 0 && tick.position <= extent()))
                continue;
            found << tick;
            widest = std::max(widest, textWidth(tick.text));
        }
        const double needed = distanceFor(widest);
        if (needed <= distance)
            break;
        distance = needed;
    }
    // What would touch the unit, a neighbour or the edge stays a mark.
    const QRectF bounds(rect());
    QRectF taken = labelRect();
    const QRectF label = taken.isEmpty() ? taken : taken.adjusted(-gap, 0, gap, 0);
    QRectF last;
    for (RulerTick& tick : found) {
        const QRectF place = textRect(tick);
        const bool fits = bounds.contains(place) && !place.intersects(label) &&
                          (last.isNull() || !place.intersects(last.adjusted(-gap, 0, gap, 0)));
        if (fits)
            last = place;
        else
            tick.text.clear();
    }
    return found;
}

QVector<double> Ruler::finerMarks(const QVector<RulerTick>& major) const
{
    if (major.size() < 2)
        return {};
    for (const double distance : finest) {
        QVector<double> found;
        for (const double value : values(distance))
            if (const double position = positionOf(value); position >= 0 && position <= extent())
                found << position;
        if (found.size() > major.size() && holdsAll(found, major))
            return found;
    }
    return {};
}

void Ruler::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.fillRect(rect(), colorOr("colormid", "#323232"));
    if (hasProject()) {
        painter.setFont(font());
        paintMarks(painter);
        const QRectF label = labelRect();
        if (!label.isEmpty()) {
            painter.fillRect(label, colorOr("colorlight", "#404040"));
            painter.setPen(colorOr("colortextdisabled", "#959595"));
            painter.drawText(label, Qt::AlignCenter, unitLabel());
        }
    }
    if (hasFocus()) {
        const DeviceGrid grid(*this);
        const QColor focus = colorOr("coloredit", "#3399ff");
        for (const double x : {0.0, double(width())})
            painter.fillRect(grid.vertical(x, 0, height()), focus);
        for (const double y : {0.0, double(height())})
            painter.fillRect(grid.horizontal(y, 0, width()), focus);
    }
}

void Ruler::wheelEvent(QWheelEvent* event)
{
    if (!hasProject())
        return;
    const QPoint delta = event->angleDelta();
    zoomAbout(event->position(), wheelnavigation::zoomFactor(delta.x() + delta.y()));
    event->accept();
}

std::unique_ptr<QMenu> Ruler::makeMenu()
{
    auto menu = std::make_unique<QMenu>(this);
    fillMenu(*menu);
    return menu;
}

void Ruler::contextMenuEvent(QContextMenuEvent* event)
{
    if (!hasProject())
        return;
    QMenu* menu = makeMenu().release(); // a child; goes when it is closed
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->popup(event->globalPos());
}

void Ruler::enterEvent(QEvent*)
{
    Q_EMIT hovered(true);
}

void Ruler::leaveEvent(QEvent*)
{
    Q_EMIT hovered(false);
}

void Ruler::focusInEvent(QFocusEvent* event)
{
    QWidget::focusInEvent(event);
    update();
}

void Ruler::focusOutEvent(QFocusEvent* event)
{
    QWidget::focusOutEvent(event);
    update();
}
