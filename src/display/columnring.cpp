#include "display/columnring.h"

ColumnRing::ColumnRing(int size) : m_columns(std::size_t(size)), m_keys(std::size_t(size)), m_mask(size - 1)
{
}

void ColumnRing::drop(std::size_t slot)
{
    if (m_columns[slot])
        m_spare.push_back(std::move(m_columns[slot]));
}

void ColumnRing::arrange(const TextureGrid& grid, const TransformSettings& settings, int64_t frameSpan,
                         std::vector<uint8_t>& fresh)
{
    if (m_sampleType != settings.sampleType)
        clear();
    m_sampleType = settings.sampleType;
    fresh.assign(std::size_t(grid.columnCount), 0);
    const std::size_t first = slot(grid.firstColumn);
    for (std::size_t i = slot(grid.firstColumn + grid.columnCount); i != first; i = slot(int64_t(i) + 1))
        drop(i);
    for (int64_t i = 0; i < grid.columnCount; ++i) {
        const int64_t key = grid.key(grid.firstColumn + i);
        const std::size_t at = slot(grid.firstColumn + i);
        if (m_columns[at] && m_keys[at] == key)
            continue;
        drop(at);
        m_keys[at] = key;
        fresh[std::size_t(i)] = 1;
    }
    // All that fell out is at hand now.
    for (int64_t i = 0; i < grid.columnCount; ++i) {
        const std::size_t at = slot(grid.firstColumn + i);
        if (fresh[std::size_t(i)])
            m_columns[at] = takeSpare(settings);
        // Also of those that stay: the size of the frame may have changed.
        m_columns[at]->place(m_keys[at] - frameSpan / 2);
    }
    // A picture of fewer columns lets go of the memory of the rest, but for what the next may need.
    const auto kept = std::size_t(grid.columnCount / 4);
    if (m_spare.size() > kept)
        m_spare.resize(kept);
}

std::unique_ptr<ISpectralTextureTransform> ColumnRing::takeSpare(const TransformSettings& settings)
{
    if (m_spare.empty())
        return makeColumn(settings);
    auto column = std::move(m_spare.back());
    m_spare.pop_back();
    return column;
}

void ColumnRing::clear()
{
    for (auto& column : m_columns)
        column.reset();
    m_spare.clear();
    m_spare.shrink_to_fit();
}
