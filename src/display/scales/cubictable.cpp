#include "display/scales/cubictable.h"

#include <algorithm>

namespace {

// Whole rows, so that the compiler can vectorise; the four sources and the destination are columns
// of one block and never overlap.
void blend(float* __restrict destination, const float* a, const float* b, const float* c, const float* d,
           const float (&w)[4], int64_t rows)
{
    for (int64_t r = 0; r < rows; ++r)
        destination[r] = a[r] * w[0] + b[r] * w[1] + c[r] * w[2] + d[r] * w[3];
}

void blend(float* __restrict destination, const float* a, const float* b, const float* c, const float (&w)[3],
           int64_t rows)
{
    for (int64_t r = 0; r < rows; ++r)
        destination[r] = a[r] * w[0] + b[r] * w[1] + c[r] * w[2];
}

void blend(float* __restrict destination, const float* a, const float* b, float x, int64_t rows)
{
    for (int64_t r = 0; r < rows; ++r)
        destination[r] = a[r] + (b[r] - a[r]) * x;
}

} // namespace

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
    const int64_t stride = rows * m_upsample;
    const float* here = block + gap * stride;
    const float* next = here + stride;
    float* between = block + gap * stride;
    for (int j = 1; j < m_upsample; ++j) {
        float* destination = between + j * rows;
        const float w0 = m_weights[0][j - 1];
        const float w1 = m_weights[1][j - 1];
        const float w2 = m_weights[2][j - 1];
        const float w3 = m_weights[3][j - 1];
        if (columnCount == 2)
            blend(destination, here, next, float(j) / float(m_upsample), rows);
        else if (gap == 0)
            blend(destination, here, next, next + stride, {w1, w2, w3}, rows);
        else if (gap + 2 == columnCount)
            blend(destination, here - stride, here, next, {w0, w1, w2}, rows);
        else
            blend(destination, here - stride, here, next, next + stride, {w0, w1, w2, w3}, rows);
    }
}
