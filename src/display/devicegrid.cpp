#include "display/devicegrid.h"

#include <QWidget>

#include <algorithm>
#include <cmath>

DeviceGrid::DeviceGrid(const QWidget& widget)
    : DeviceGrid(widget.size(), widget.mapTo(widget.window(), QPoint(0, 0)), widget.devicePixelRatioF())
{
}

DeviceGrid::DeviceGrid(const QSizeF& size, const QPointF& origin, double ratio)
    : m_size(size),
      m_origin(origin),
      m_ratio(ratio > 0 ? ratio : 1),
      m_pixels(std::max(1.0, std::floor(m_ratio)))
{
}

double DeviceGrid::start(double position, double origin, double length) const
{
    const double first = std::ceil(origin * m_ratio);
    const double last = std::max(first, std::floor((origin + length) * m_ratio) - m_pixels);
    const double pixel = std::floor((origin + position) * m_ratio - (m_pixels - 1) / 2);
    return std::clamp(pixel, first, last) / m_ratio - origin;
}

QRectF DeviceGrid::vertical(double x, double top, double bottom) const
{
    return {start(x, m_origin.x(), m_size.width()), top, thickness(), bottom - top};
}

QRectF DeviceGrid::horizontal(double y, double left, double right) const
{
    return {left, start(y, m_origin.y(), m_size.height()), right - left, thickness()};
}
