// The columns that a picture keeps from one render to the next.
#pragma once

#include "display/spectralcolumn.h"
#include "display/texturegrid.h"

#include <memory>
#include <vector>

// One slot for each grid column, at its number modulo the size of the ring, and the sample position
// that the column in it stands for. Columns that fall out are put to use again, so that a steady
// pan or zoom allocates nothing. Texture thread; while it waits, pool threads run columns of their
// own through `at`.
class ColumnRing
{
public:
    // `size` is a power of two, at least the columns of any grid.
    explicit ColumnRing(int size);

    // Makes the ring hold exactly the columns of `grid`, of the kind that `settings` ask for, each in the
    // middle of `frameSpan` samples. `fresh[i]` tells that column i is new and must run.
    void arrange(const TextureGrid& grid, const TransformSettings& settings, int64_t frameSpan,
                 std::vector<uint8_t>& fresh);
    [[nodiscard]] ISpectralTextureTransform& at(int64_t column) { return *m_columns[slot(column)]; }
    [[nodiscard]] int size() const { return int(m_columns.size()); }
    void clear();

private:
    [[nodiscard]] std::size_t slot(int64_t column) const { return std::size_t(column & m_mask); }
    void drop(std::size_t slot);
    [[nodiscard]] std::unique_ptr<ISpectralTextureTransform> takeSpare(const TransformSettings& settings);

    std::vector<std::unique_ptr<ISpectralTextureTransform>> m_columns;
    std::vector<int64_t> m_keys; // of the columns that are there
    std::vector<std::unique_ptr<ISpectralTextureTransform>> m_spare;
    int64_t m_mask;
    int32_t m_sampleType = 0; // of all columns, spare ones included
};
