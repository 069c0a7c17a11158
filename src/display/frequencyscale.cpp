#include "display/frequencyscale.h"

#include "display/viewgeometry.h"

#include <cmath>

#include <QMouseEvent>

FrequencyScale::FrequencyScale(QWidget* parent) : VerticalRuler(QStringLiteral("FrequencyScale"), parent)
{
    setToolTip(tr("Frequency. Wheel: zoom. Drag: move. Right button: units and scales."));
    setAccessibleName(tr("Frequency ruler"));
}

QString FrequencyScale::unitLabel() const
{
    // The unit of the notes is a text with a place for the number.
    return convert().freqSuffix().remove(QLatin1String("%1")).trimmed();
}

double FrequencyScale::positionOf(double hz) const
{
    const Area view = convert().areaToScale(viewArea());
    return height() * (1 - (convert().toScale(hz) - view.y) / view.height);
}

QVector<double> FrequencyScale::values(double minPixels) const
{
    // A scale that folds negative frequencies puts some of them out of sight.
    return convert().freqMarks(viewArea(), height(), minPixels);
}

QString FrequencyScale::textOf(double hz) const
{
    return convert().freqToString(hz);
}

QStringList FrequencyScale::widestTexts(const Convert& convert) const
{
    const double nyquist = convert.format.sampleRate / 2;
    if (convert.freqUnit == FreqUnit::Notes)
        return {QStringLiteral("G#10")};
    // Not whole, as between the marks of a narrow view.
    const double highest = std::floor(nyquist) - 0.5;
    const double lowest = convert.format.isComplex() ? -highest : highest;
    return {convert.freqToString(highest), convert.freqToString(lowest)};
}

void FrequencyScale::fillMenu(QMenu& menu)
{
    addUnitEntries(menu, *this, UnitKind::Frequency);
    menu.addSeparator();
    addUnitEntries(menu, *this, UnitKind::Scale);
}

void FrequencyScale::zoomAbout(const QPointF& pixel, double factor)
{
    zoomArea(1, factor, {0, 1 - pixel.y() / height()});
}

void FrequencyScale::mousePressEvent(QMouseEvent* event)
{
    m_lastPixel = event->localPos();
}

// What is under the pointer stays there, as far as limits and locks allow.
void FrequencyScale::mouseMoveEvent(QMouseEvent* event)
{
    if (!(event->buttons() & Qt::LeftButton) || !hasProject() || !viewgeometry::isVisible(viewArea()))
        return;
    const double moved = event->localPos().y() - m_lastPixel.y();
    m_lastPixel = event->localPos();
    showArea(viewgeometry::panned(convert(), viewArea(), 0, moved / height()));
}
