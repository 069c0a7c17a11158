// A partial about a spot, and its harmonics.
#pragma once

#include "levelregion.h"

#include <optional>
#include <vector>

// A stretch of a partial: its middle in each of the consecutive columns of the grid, as a fraction of
// bins.
struct PartialTrack
{
    int32_t harmonic = 1;
    int64_t firstColumn = 0;
    std::vector<double> bins;
    double halfWidth = 1; // bins
};

struct PartialSearch
{
    double tolerance =
        12;           // dB: the partial under the spot is followed while it is that near to its level there
    double reach = 3; // bins from the spot to the partial
};

// Takes the ridge next to the spot, follows it to both sides while it stands out and keeps its level within
// the tolerance, and looks for its whole multiples in the same frames: those that stand out of what is
// around them for most of a stretch of at least a window. Stretches are as wide as the window's main lobe, or
// half the way to the next harmonic. Nothing where no ridge stands out near the spot.
[[nodiscard]] std::vector<PartialTrack> findPartials(Levels& levels, const LevelGrid& grid, int64_t column,
                                                     double bin, const PartialSearch& search);
