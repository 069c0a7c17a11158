// The ruler beside a spectrogram.
#pragma once

#include "display/verticalruler.h"

#include <QPointF>

// Frequencies of the area in view, spaced by the frequency scale. The wheel zooms about the pointer, a
// drag shifts the band, the menu offers units and scales.
class FrequencyScale : public VerticalRuler
{
    Q_OBJECT

public:
    explicit FrequencyScale(QWidget* parent = nullptr);

    [[nodiscard]] double positionOf(double hz) const override;
    [[nodiscard]] QString unitLabel() const override;

protected:
    [[nodiscard]] QVector<double> values(double minPixels) const override;
    [[nodiscard]] QString textOf(double hz) const override;
    [[nodiscard]] QStringList widestTexts(const Convert& convert) const override;
    void fillMenu(QMenu& menu) override;
    void zoomAbout(const QPointF& pixel, double factor) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;

private:
    QPointF m_lastPixel;
};
