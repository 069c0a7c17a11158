#include "display/scales/cubictable.h"

#include "spectral/primitives/spectrumkernels.h"

#include <algorithm>

void CubicTable::build(int upsample)
{
    m_upsample = std::max(upsample, 1);
    for (ArrayTemplate<float>& weights : m_weights)
        weights.resize(m_upsample - 1);
    for (int j = 1; j < m_upsample; ++j) {
        const std::array<double, 4> weights = catmullRom(double(j) / m_upsample);
        for (int tap = 0; tap < 4; ++tap)
            m_weights[tap][j - 1] = float(weights[std::size_t(tap)]);
    }
}

void CubicTable::interpolate(float* block, int64_t rows, int64_t columnCount, int64_t gap) const
{
    if (gap < 0 || gap + 1 >= columnCount || rows < 1)
        return;
    // The columns before, at, after and beyond the gap, as far as the block has them.
    const int64_t stride = rows * m_upsample;
    const int64_t first = std::max<int64_t>(gap - 1, 0);
    const int count = int(std::min(gap + 2, columnCount - 1) - first + 1);
    const int firstTap = int(first - (gap - 1));
    const float* columns[4];
    for (int i = 0; i < count; ++i)
        columns[i] = block + (first + i) * stride;
    for (int j = 1; j < m_upsample; ++j) {
        float weights[4];
        for (int i = 0; i < count; ++i)
            weights[i] = m_weights[firstTap + i][j - 1];
        if (columnCount == 2) {
            weights[1] = float(j) / float(m_upsample);
            weights[0] = 1 - weights[1];
        }
        spectrum::blend(block + gap * stride + j * rows, columns, weights, count, rows);
    }
}
