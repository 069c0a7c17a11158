#include "display/scales/tapwindows.h"

#include <algorithm>
#include <cstring>

namespace {

// Four floats in a register of any machine; the compiler's own vector type.
using Float4 = float __attribute__((vector_size(16)));

Float4 load(const float* source)
{
    Float4 value;
    std::memcpy(&value, source, sizeof value);
    return value;
}

float sum(Float4 a)
{
    return (a[0] + a[2]) + (a[1] + a[3]);
}

// The sums of four vectors, in the order of `sum`.
Float4 sums(Float4 a, Float4 b, Float4 c, Float4 d)
{
    const Float4 ab = __builtin_shufflevector(a, b, 0, 4, 1, 5) + __builtin_shufflevector(a, b, 2, 6, 3, 7);
    const Float4 cd = __builtin_shufflevector(c, d, 0, 4, 1, 5) + __builtin_shufflevector(c, d, 2, 6, 3, 7);
    return __builtin_shufflevector(ab, cd, 0, 1, 4, 5) + __builtin_shufflevector(ab, cd, 2, 3, 6, 7);
}

} // namespace

void TapWindows::reset(int height)
{
    m_height = height;
    m_bases = ArrayTemplate<int32_t>(height);
    m_weights = ArrayTemplate<float>(int64_t(height) * width);
    m_loose.clear();
}

void TapWindows::setRow(int row, const int32_t* indexes, const float* weights, int count, int32_t levelBase,
                        int32_t length)
{
    const auto [first, last] = std::minmax_element(indexes, indexes + count);
    const bool inLevel = *first >= levelBase && *last < levelBase + length;
    if (!inLevel || length < width || *last - *first >= width) {
        LooseRow loose = {row, {}, {}};
        std::copy_n(indexes, count, loose.indexes);
        std::copy_n(weights, count, loose.weights);
        m_loose.push_back(loose);
        return;
    }
    const int32_t base = std::min(*first, levelBase + length - width);
    m_bases[row] = base;
    for (int tap = 0; tap < count; ++tap)
        m_weights[int64_t(row) * width + indexes[tap] - base] += weights[tap];
}

void TapWindows::project(const float* source, float* __restrict destination) const
{
    const int32_t* const bases = m_bases.data();
    const float* const weights = m_weights.data();
    const auto product = [&](int64_t row) { return load(source + bases[row]) * load(weights + row * width); };
    int row = 0;
    for (; row + 4 <= m_height; row += 4) {
        const Float4 four = sums(product(row), product(row + 1), product(row + 2), product(row + 3));
        std::memcpy(destination + row, &four, sizeof four);
    }
    for (; row < m_height; ++row)
        destination[row] = sum(product(row));
    for (const LooseRow& loose : m_loose) {
        float value = 0;
        for (int tap = 0; tap < width; ++tap)
            value += source[loose.indexes[tap]] * loose.weights[tap];
        destination[loose.row] = value;
    }
}
