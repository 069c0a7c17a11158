// Lines that fill whole pixels of the screen.
#pragma once

#include <QPointF>
#include <QRectF>
#include <QSizeF>

class QWidget;

// At a fractional scale factor a line of one logical pixel is a smear, or one and two pixels wide by
// turns. This gives the rectangle, in the logical coordinates of a widget, that fills whole pixels of
// the screen: 1 up to a factor below 2, then as many as the factor. Cheap; made for each paint.
class DeviceGrid
{
public:
    explicit DeviceGrid(const QWidget& widget);
    DeviceGrid(const QSizeF& size, const QPointF& origin, double ratio);

    // Thickness of a line, logical pixels.
    [[nodiscard]] double thickness() const { return m_pixels / m_ratio; }
    // The line that covers `x` (or `y`), kept inside the widget.
    [[nodiscard]] QRectF vertical(double x, double top, double bottom) const;
    [[nodiscard]] QRectF horizontal(double y, double left, double right) const;

private:
    [[nodiscard]] double start(double position, double origin, double length) const;

    QSizeF m_size;
    QPointF m_origin; // of the widget in its window, where the pixels are counted from
    double m_ratio;
    double m_pixels;
};
