// Refinement of a column: bins whose energy belongs elsewhere are attenuated.
#pragma once

#include <cstdint>

// The reassignment field of one column and of its neighbour in time: for each bin how far its energy
// wants to move, in hops and in bins of the spectrum. Each array has one element more than the bins,
// since the mask reads the next bin too.
struct RefinementField
{
    const float* time = nullptr;
    const float* freq = nullptr;
    const float* neighbourTime = nullptr;
    const float* neighbourFreq = nullptr;
    float timeSharpen = 0;
    float freqSharpen = 0;
    float distance = 1; // to the neighbour, in hops; negative when it lies before
};

// Multiplies each of `count` values by its mask, 0 to 1. Let (A, B) be the bin's shift times the two
// factors. The field is read at the target of the shift, interpolated between this bin, the same bin
// of the neighbour and the next bin, and compared with (A, B): where it keeps pointing the same way,
// the bin lies on a slope and not on a ridge, and its mask is `2 q / |(A, B)|` with q the share of
// (A, B) found at the target, cut to 0 to 1. A bin whose energy stays within half a cell keeps its
// value, falling to the mask above at a whole cell.
void applyRefinementMask(float* values, const RefinementField& field, int64_t count);
