// Where the columns of a spectral picture stand. Pure arithmetic, any thread.
#pragma once

#include "model/types/area.h"
#include "model/types/range.h"

#include <QSize>

#include <cstdint>

// Samples from one transform column to the next for `area` shown in `width` texture columns: one
// texture column, but never less than `hop`, since the transform has no more columns than that.
[[nodiscard]] double columnStep(const Area& area, int width, int hop);
// Texture columns for each transform column, 1 to 32: those in between are interpolated.
[[nodiscard]] int columnUpsample(double step, const Area& area, int width);

// Columns stand on a fixed grid of multiples of `step`, so that they stay put while the view pans.
struct TextureGrid
{
    double step = 0; // samples from one transform column to the next
    int upsample = 1;
    int64_t firstColumn = 0;
    int64_t columnCount = 0;
    QSize size; // texture columns, rows; empty in either direction when there is nothing to show
    Area area;  // what the texture covers, by the edges of its texels

    [[nodiscard]] bool isEmpty() const { return size.isEmpty(); }
    // The sample on which a column is centred, which names it in the ring.
    [[nodiscard]] int64_t key(int64_t column) const { return int64_t(double(column) * step); }
};

// The grid for `area` in `rows` rows. Two columns more on each side serve the interpolation, and a
// column may lie up to half a frame outside `layerRange`, which shows the fade of the window at the
// edges of a clip. Members of `area` that are not finite give an empty grid.
[[nodiscard]] TextureGrid makeTextureGrid(const Area& area, int rows, double step, int upsample,
                                          int frameSize, const Range& layerRange);
