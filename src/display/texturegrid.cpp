#include "display/texturegrid.h"

#include <algorithm>
#include <cmath>

namespace {

// Far beyond any recording, and far from where adding two of them would overflow.
constexpr double farthest = 1e15;
constexpr int maxUpsample = 32;

bool isFinite(const Area& area)
{
    return std::isfinite(area.x) && std::isfinite(area.y) && std::isfinite(area.width) &&
           std::isfinite(area.height);
}

Range timeSpan(const Area& area, double step)
{
    const double first = std::clamp(std::floor(area.x), -farthest, farthest);
    const double last = std::clamp(std::ceil(area.x + area.width), -farthest, farthest);
    if (last - first < 1)
        return {};
    const int64_t margin = std::llround(2 * step);
    return {int64_t(first) - margin, int64_t(last - first) + 2 * margin};
}

Range widened(const Range& layer, int frameSize)
{
    if (layer.isEmpty())
        return {};
    return {layer.start - frameSize / 2, layer.length + frameSize / 2 * 2};
}

} // namespace

double columnStep(const Area& area, int width, int hop)
{
    return std::max({1.0, double(hop), area.width / width});
}

int columnUpsample(double step, const Area& area, int width)
{
    const double columns = std::floor(step / (area.width / width));
    return columns >= 1 ? int(std::min<double>(columns, maxUpsample)) : 1;
}

TextureGrid makeTextureGrid(const Area& area, int rows, double step, int upsample, int frameSize,
                            const Range& layerRange)
{
    TextureGrid grid;
    grid.step = step;
    grid.upsample = std::max(1, upsample);
    if (!isFinite(area) || !std::isfinite(step) || step <= 0 || step > farthest)
        return grid;
    const Range span = timeSpan(area, step).intersected(widened(layerRange, frameSize));
    grid.firstColumn = std::llround(double(span.start) / step);
    grid.columnCount = std::llround(double(span.length) / step);
    if (grid.columnCount < 1)
        return grid;
    grid.size = QSize(int((grid.columnCount - 1) * grid.upsample + 1), rows);
    // A texel's centre, not its edge, belongs to the position of its column.
    grid.area.x = double(grid.firstColumn) * step - double(grid.columnCount) * step * 0.5 / grid.size.width();
    grid.area.width = double(grid.size.width()) / grid.upsample * step;
    grid.area.y = area.y;
    grid.area.height = area.height;
    return grid;
}
