#include "display/timepoints.h"

#include "display/visiblelayers.h"

#include <iterator>

namespace timepoints {

std::set<int64_t> events(const ILayer& group, const Range& project)
{
    std::set<int64_t> points = {project.start, project.end()};
    for (const LayerInView& entry : layersInView(group)) {
        if (entry.layer->isEmpty())
            continue;
        const Range range = entry.layer->range();
        points.insert({range.start, range.end()});
    }
    return points;
}

std::set<int64_t> markers(const MarkerList& markers)
{
    std::set<int64_t> points;
    for (const Marker& marker : markers) {
        points.insert(marker.position);
        if (marker.length > 0)
            points.insert(marker.position + marker.length);
    }
    return points;
}

int64_t previous(const std::set<int64_t>& points, int64_t position)
{
    const auto at = points.lower_bound(position);
    return at == points.begin() ? position : *std::prev(at);
}

int64_t next(const std::set<int64_t>& points, int64_t position)
{
    const auto at = points.upper_bound(position);
    return at == points.end() ? position : *at;
}

} // namespace timepoints
