// From the spectrum of a column to the rows of the picture.
#pragma once

#include "display/scales/convert.h"
#include "display/spectralcolumn.h"

#include <vector>

// Brings `magnitudes` into the layout that a RowTable reads: `column` holds the magnitudes in rising
// frequency from element 0 on, with the one at maxBin (rowtable.h) behind them; that one is moved to
// the end and the pyramid built. `column` has sampleType * dftLength elements.
void finishColumn(float* column, const TransformSettings& settings);

// One column of the picture: refinement mask, pyramid, rows. Any thread; reads the two columns.
class SpectralTextureProject
{
public:
    // `convert` has a row table for the settings of `context`. `stepSigned` is the distance from
    // `current` to `neighbour` in samples, negative for the last column, whose neighbour is the one
    // before it. A picture of one column has no neighbour (null): that counts as all zero.
    SpectralTextureProject(const ColumnContext& context, const Convert& convert, float stepSigned,
                           const ISpectralTextureTransform& current,
                           const ISpectralTextureTransform* neighbour);
    // Writes the rows of the column to `destination`.
    void run(float* destination) const;

private:
    // Magnitudes of `count` bins from `first` on, masked where refinement is on.
    void copyBins(float* destination, int64_t first, int64_t count) const;

    const ColumnContext& m_context;
    const Convert& m_convert;
    float m_stepSigned;
    const ISpectralTextureTransform& m_current;
    const ISpectralTextureTransform* m_neighbour;
};

// The other way to refine, for real signals: energy is moved to where its vector points instead of
// being masked. Writes column i to rows from block + i * stride on. `columns` are all columns of the
// picture in order. Texture thread.
void scatterColumns(const ColumnContext& context, const Convert& convert,
                    const std::vector<const ISpectralTextureTransform*>& columns, float* block,
                    int64_t stride);
