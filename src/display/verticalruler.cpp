#include "display/verticalruler.h"

#include "display/devicegrid.h"
#include "display/properties.h"

#include <algorithm>
#include <cmath>

#include <QFontMetricsF>
#include <QPainter>

namespace {

// Logical pixels.
constexpr double longMark = 6;
constexpr double shortMark = 3;
constexpr double textLeft = 9;
constexpr double textRight = 4; // kept free behind a text

} // namespace

int VerticalRuler::neededWidth(const Convert& convert) const
{
    ensurePolished(); // the sheet gives the font
    double widest = 0;
    for (const QString& text : widestTexts(convert))
        widest = std::max(widest, textWidth(text));
    return int(std::ceil(textLeft + widest + textRight));
}

// Beside its mark; at the ends inside the ruler.
QRectF VerticalRuler::textRect(const RulerTick& tick) const
{
    const double tall = QFontMetricsF(font()).ascent() + 1;
    const double top = std::clamp(tick.position - tall / 2, 0.0, std::max(0.0, height() - tall));
    return {textLeft, top, textWidth(tick.text), tall};
}

double VerticalRuler::distanceFor(double) const
{
    return QFontMetricsF(font()).ascent() + 5;
}

void VerticalRuler::paintMarks(QPainter& painter)
{
    const DeviceGrid grid(*this);
    const QVector<RulerTick> major = ticks();
    const QColor quiet = colorOr("colorhighlight", "#676767");
    for (const double position : finerMarks(major))
        painter.fillRect(grid.horizontal(position, 0, shortMark), quiet);
    const QColor bright = colorOr("colortext", "#e0e0e0");
    painter.setPen(bright);
    for (const RulerTick& tick : major) {
        painter.fillRect(grid.horizontal(tick.position, 0, longMark), bright);
        if (tick.text.isEmpty())
            continue;
        const QRectF place = textRect(tick);
        painter.drawText(QPointF(place.left(), place.bottom() - 1), tick.text);
    }
}
