// Catmull-Rom interpolation between columns of a picture.
#pragma once

#include "model/types/arraytemplate.h"

#include <array>
#include <cstdint>

// The four Catmull-Rom weights at `x`, 0 to 1 between the second point and the third. They sum to 1
// and reproduce straight lines.
[[nodiscard]] constexpr std::array<double, 4> catmullRom(double x)
{
    const double x2 = x * x;
    const double x3 = x2 * x;
    return {x2 - 0.5 * x3 - 0.5 * x, 1.5 * x3 - 2.5 * x2 + 1, 2 * x2 - 1.5 * x3 + 0.5 * x,
            0.5 * x3 - 0.5 * x2};
}

// Weights for the `upsample` - 1 positions between two columns. Unchanged after `build`, so any
// number of threads may interpolate with one table.
class CubicTable
{
public:
    // Anything below 1 counts as 1: nothing lies between.
    void build(int upsample);
    [[nodiscard]] int upsample() const { return m_upsample; }

    // See Convert::interpolateColumns. A gap that the block does not have is left alone.
    void interpolate(float* block, int64_t rows, int64_t columnCount, int64_t gap) const;

private:
    int m_upsample = 1;
    ArrayTemplate<float> m_weights[4]; // m_upsample - 1 each
};
