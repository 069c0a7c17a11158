// The region of like level about a spot.
#pragma once

#include "levels.h"
#include "runmask.h"

// A grid of frames and bins to look at: every `step`-th frame from `firstFrame` on, bins from `lowBin` to
// `highBin`, both ends included.
struct LevelGrid
{
    int64_t firstFrame = 0;
    int64_t frames = 0; // columns of the grid
    int64_t step = 1;   // frames from one to the next
    int32_t lowBin = 0;
    int32_t highBin = -1;

    [[nodiscard]] bool isEmpty() const { return frames < 1 || highBin < lowBin; }
    [[nodiscard]] int64_t column(double frame) const
    {
        return std::llround((frame - double(firstFrame)) / double(step));
    }
};

// The grid over an area of the document, in steps that keep the work within bounds however long it is.
[[nodiscard]] LevelGrid gridOver(const Levels& levels, const Area& area);

// Cells whose level lies within `tolerance` dB of that at the spot and which hang together with it by
// their sides. Rows of the mask are columns of the grid, its columns bins counted from grid.lowBin. Empty
// when the spot lies outside the grid.
[[nodiscard]] RunMask likeLevel(Levels& levels, const LevelGrid& grid, int64_t column, int32_t bin,
                                double tolerance);
