#include "display/powerscale.h"

#include "display/powerrange.h"

#include <cmath>

#include <QMouseEvent>

namespace {

constexpr double pixelsPerOctave = 80; // of a drag for a factor of two

} // namespace

PowerScale::PowerScale(QWidget* parent) : VerticalRuler(QStringLiteral("PowerScale"), parent)
{
    setToolTip(tr("Power of the waveform. Wheel, drag: zoom. Right button: units."));
    setAccessibleName(tr("Power ruler"));
}

QString PowerScale::unitLabel() const
{
    return convert().powerSuffix();
}

double PowerScale::positionOf(double value) const
{
    return height() * (powerRange().high - value) / (powerRange().high - powerRange().low);
}

QVector<double> PowerScale::values(double minPixels) const
{
    // The mark of silence comes along even when it is out of sight.
    const PowerRange& range = powerRange();
    return convert().powerMarks({range.low, range.high - range.low}, height(), minPixels);
}

QString PowerScale::textOf(double value) const
{
    return convert().powerToString(value);
}

QStringList PowerScale::widestTexts(const Convert& convert) const
{
    return {convert.powerToString(-9.99), convert.powerToString(1e-5)};
}

void PowerScale::fillMenu(QMenu& menu)
{
    addUnitEntries(menu, *this, UnitKind::Power);
}

void PowerScale::zoomAbout(const QPointF& pixel, double factor)
{
    showPowerRange(powerrange::zoomed(powerRange(), factor, 1 - pixel.y() / height()));
}

void PowerScale::mousePressEvent(QMouseEvent* event)
{
    m_pressPixel = event->localPos();
    m_pressRange = powerRange();
}

void PowerScale::mouseMoveEvent(QMouseEvent* event)
{
    if (!(event->buttons() & Qt::LeftButton) || !hasProject())
        return;
    const double drag = event->localPos().y() - m_pressPixel.y();
    showPowerRange(powerrange::zoomed(m_pressRange, std::exp2(drag / pixelsPerOctave), 0.5));
}
