// The ruler beside a waveform.
#pragma once

#include "display/verticalruler.h"

#include <QPointF>

// Magnitudes of the range in view. The wheel zooms about the pointer, a drag about the centre; under the
// lock of the centre the range stays symmetric about 0. The menu offers units and that lock.
class PowerScale : public VerticalRuler
{
    Q_OBJECT

public:
    explicit PowerScale(QWidget* parent = nullptr);

    [[nodiscard]] double positionOf(double value) const override;
    [[nodiscard]] QString unitLabel() const override;

protected:
    [[nodiscard]] QVector<double> values(double minPixels) const override;
    [[nodiscard]] QString textOf(double value) const override;
    [[nodiscard]] QStringList widestTexts(const Convert& convert) const override;
    void fillMenu(QMenu& menu) override;
    void zoomAbout(const QPointF& pixel, double factor) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;

private:
    QPointF m_pressPixel;
    PowerRange m_pressRange;
};
