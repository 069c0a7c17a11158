#include "display/viewgeometry.h"

#include <algorithm>
#include <cmath>

namespace viewgeometry {

namespace {

constexpr double smallestWidth = 1;     // samples
constexpr double smallestHeight = 1e-3; // Hz, in display coordinates

// A span of `length` from `start` on, brought into the limits.
void limit(double& start, double& length, double limitStart, double limitLength)
{
    length = std::min(length, limitLength);
    start = std::clamp(start, limitStart, limitStart + limitLength - length);
}

} // namespace

bool isVisible(const Area& area)
{
    return std::isfinite(area.x) && std::isfinite(area.y) && std::isfinite(area.width) &&
           std::isfinite(area.height) && area.width > 0 && area.height > 0;
}

PointD documentPosition(const Convert& convert, const Area& viewArea, const QSizeF& size,
                        const QPointF& pixel)
{
    const Area view = convert.areaToScale(viewArea);
    const PointD point{pixel.x() * view.width / size.width() + view.x,
                       (size.height() - pixel.y()) * view.height / size.height() + view.y};
    return convert.pointFromScale(point);
}

PointD pixelSize(const Convert& convert, const Area& viewArea, const QSizeF& size, const QPointF& pixel)
{
    const PointD low = documentPosition(convert, viewArea, size, pixel + QPointF(-0.5, 0.5));
    const PointD high = documentPosition(convert, viewArea, size, pixel + QPointF(0.5, -0.5));
    return {high.x - low.x, high.y - low.y};
}

Area panned(const Convert& convert, const Area& viewArea, double right, double up)
{
    Area view = convert.areaToScale(viewArea);
    view.x += right * view.width;
    view.y += up * view.height;
    return convert.areaFromScale(view);
}

Area zoomed(const Convert& convert, const Area& viewArea, double horizontal, double vertical,
            const PointD& fixed)
{
    Area view = convert.areaToScale(viewArea);
    const double width = std::max(view.width * horizontal, smallestWidth);
    const double height = std::max(view.height * vertical, smallestHeight);
    view.x += (view.width - width) * fixed.x;
    view.y += (view.height - height) * fixed.y;
    view.width = width;
    view.height = height;
    return convert.areaFromScale(view);
}

Area limited(const Convert& convert, const Area& viewArea, const Area& limits)
{
    if (!isVisible(limits))
        return viewArea;
    Area view = convert.areaToScale(viewArea);
    const Area bounds = convert.areaToScale(limits);
    limit(view.x, view.width, bounds.x, bounds.width);
    limit(view.y, view.height, bounds.y, bounds.height);
    return convert.areaFromScale(view);
}

Area locked(const Area& viewArea, bool complex, bool lockBottomTo0, bool lockCenterTo0)
{
    Area area = viewArea;
    if (!complex && lockBottomTo0)
        area.y = 0;
    if (complex && lockCenterTo0)
        area.y = -area.height / 2;
    return area;
}

} // namespace viewgeometry
