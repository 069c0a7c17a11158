// Where the transport position may jump to. Pure functions.
#pragma once

#include "model/ilayer.h"
#include "model/types/marker.h"
#include "model/types/range.h"

#include <set>

namespace timepoints {

// Starts and ends of all layers with content below `group`, and of `project`.
[[nodiscard]] std::set<int64_t> events(const ILayer& group, const Range& project);
// Times of markers, starts and ends of regions.
[[nodiscard]] std::set<int64_t> markers(const MarkerList& markers);
// The nearest point below or above `position`; `position` itself when there is none.
[[nodiscard]] int64_t previous(const std::set<int64_t>& points, int64_t position);
[[nodiscard]] int64_t next(const std::set<int64_t>& points, int64_t position);

} // namespace timepoints
