#include "display/timeline.h"

#include "display/devicegrid.h"
#include "display/properties.h"
#include "display/viewgeometry.h"

#include <algorithm>
#include <cmath>

#include <QFontMetricsF>
#include <QMouseEvent>
#include <QPainter>

namespace {

// Logical pixels.
constexpr int tall = 24;
constexpr double shortMark = 5;
constexpr double textGap = 4;    // from the mark to its text
constexpr double textSpace = 14; // from a text to the next mark, at least

} // namespace

TimeLine::TimeLine(QWidget* parent) : Ruler(QStringLiteral("TimeLine"), parent)
{
    setToolTip(tr("Time. Press: set the position. Wheel: zoom. Right button: units."));
    setAccessibleName(tr("Time ruler"));
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

QSize TimeLine::sizeHint() const
{
    return {100, std::max(tall, int(std::ceil(QFontMetricsF(font()).height())) + 8)};
}

QString TimeLine::unitLabel() const
{
    return convert().timeSuffix();
}

double TimeLine::positionOf(double samples) const
{
    return (samples - viewArea().x) / viewArea().width * width();
}

QVector<double> TimeLine::values(double minPixels) const
{
    return convert().timeMarks(viewArea(), width(), minPixels);
}

QString TimeLine::textOf(double samples) const
{
    return convert().timeToString(samples);
}

// Behind its mark.
QRectF TimeLine::textRect(const RulerTick& tick) const
{
    const double ascent = QFontMetricsF(font()).ascent();
    return {tick.position + textGap, (height() - shortMark - ascent) / 2, textWidth(tick.text), ascent + 1};
}

double TimeLine::distanceFor(double textWidth) const
{
    return textGap + std::max(textWidth, 30.0) + textSpace;
}

void TimeLine::fillMenu(QMenu& menu)
{
    addUnitEntries(menu, *this, UnitKind::Time);
}

void TimeLine::paintMarks(QPainter& painter)
{
    const DeviceGrid grid(*this);
    const QVector<RulerTick> major = ticks();
    const QColor quiet = colorOr("colorhighlight", "#676767");
    for (const double position : finerMarks(major))
        painter.fillRect(grid.vertical(position, height() - shortMark, height()), quiet);
    painter.setPen(colorOr("colortext", "#e0e0e0"));
    for (const RulerTick& tick : major) {
        painter.fillRect(grid.vertical(tick.position, 0, height()), quiet);
        if (!tick.text.isEmpty()) {
            const QRectF place = textRect(tick);
            painter.drawText(QPointF(place.left(), place.bottom() - 1), tick.text);
        }
    }
    const double x = positionOf(double(m_position));
    if (x >= 0 && x <= width())
        painter.fillRect(grid.vertical(x, 0, height()), colorOr("colortransport", "#d2d2d2"));
}

void TimeLine::transportPositionEvent(EventId id, const int64_t& position)
{
    if (id != EventId::TransportPositionChange)
        return;
    m_position = position;
    update();
}

// --- pointer ----------------------------------------------------------------------------------------

void TimeLine::zoomAbout(const QPointF& pixel, double factor)
{
    zoomArea(factor, 1, {pixel.x() / width(), 0});
}

void TimeLine::setPosition(double pixel)
{
    const Range range = projectRange();
    const double time = viewArea().x + pixel / width() * viewArea().width;
    m_position =
        range.isEmpty() ? 0 : std::llround(std::clamp(time, double(range.start), double(range.end())));
    update();
    postEvent(this, EventId::TransportPositionChange, m_position, this);
}

void TimeLine::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton || !hasProject() || !viewgeometry::isVisible(viewArea()))
        return;
    setPosition(event->localPos().x());
    if (m_press.begin(event->localPos().x(), m_playing))
        Q_EMIT playOrStopToggled();
}

void TimeLine::mouseMoveEvent(QMouseEvent* event)
{
    if (m_press.scrubs(event->localPos().x()) && hasProject() && viewgeometry::isVisible(viewArea()))
        setPosition(event->localPos().x());
}

void TimeLine::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton && m_press.end())
        Q_EMIT playOrStopToggled();
}
