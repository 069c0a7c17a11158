#include "scalestest.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace {

// A block whose transform columns hold f(position in transform columns, row), the rest a guard.
template<class Function>
std::vector<float> interpolated(int upsample, int columns, int rows, Function f)
{
    constexpr float guard = 12345;
    const int width = std::max((columns - 1) * upsample + 1, 1);
    std::vector<float> block(std::size_t(width) * rows + 2, guard);
    float* data = block.data() + 1;
    for (int c = 0; c < columns; ++c)
        for (int r = 0; r < rows; ++r)
            data[std::size_t(c) * upsample * rows + r] = f(double(c), r);
    Convert convert(realFormat(), realSettings());
    convert.buildCubicTable(upsample);
    for (int gap = columns; gap >= -1; --gap) // any order, and gaps that are none
        convert.interpolateColumns(data, rows, columns, gap);
    EXPECT_EQ(block.front(), guard);
    EXPECT_EQ(block.back(), guard);
    return {block.begin() + 1, block.end() - 1};
}

TEST(TimeInterpolation, InnerGapsReproduceConstantsAndRamps)
{
    const int rows = 7;
    const auto ramp = [](double x, int row) { return float(3 + row + 0.5 * x); };
    for (const int upsample : {1, 2, 3, 8, 32}) {
        const int columns = 6;
        const std::vector<float> block = interpolated(upsample, columns, rows, ramp);
        for (int c = upsample; c <= (columns - 2) * upsample; ++c)
            for (int r = 0; r < rows; ++r)
                EXPECT_NEAR(block[std::size_t(c) * rows + r], ramp(double(c) / upsample, r), 1e-5);
    }
}

TEST(TimeInterpolation, TransformColumnsAreLeftAsTheyAre)
{
    std::mt19937 random(8);
    std::uniform_real_distribution<float> value(0, 1);
    std::vector<float> values;
    const std::vector<float> block = interpolated(4, 9, 5, [&](double, int) {
        values.push_back(value(random));
        return values.back();
    });
    for (int c = 0; c < 9; ++c)
        for (int r = 0; r < 5; ++r)
            EXPECT_EQ(block[std::size_t(c) * 4 * 5 + r], values[std::size_t(c) * 5 + r]);
}

TEST(TimeInterpolation, EachGapIsTheCatmullRomSpline)
{
    // An impulse in one column spreads as the basis function of the spline; the ends take what is
    // beyond them as 0.
    const auto basis = [](double d) { // distance from the impulse, in columns
        d = std::abs(d);
        if (d < 1)
            return 1.5 * d * d * d - 2.5 * d * d + 1;
        return d < 2 ? -0.5 * d * d * d + 2.5 * d * d - 4 * d + 2 : 0;
    };
    const int upsample = 5;
    for (const int columns : {3, 4, 7})
        for (int at = 0; at < columns; ++at) {
            const std::vector<float> block =
                interpolated(upsample, columns, 3, [at](double x, int) { return x == at ? 1.0f : 0.0f; });
            for (int c = 0; c <= (columns - 1) * upsample; ++c)
                EXPECT_NEAR(block[std::size_t(c) * 3 + 1], basis(double(c) / upsample - at), 1e-6)
                    << columns << ' ' << at << ' ' << c;
        }
}

TEST(TimeInterpolation, TwoColumnsAreBlendedLinearly)
{
    const std::vector<float> block =
        interpolated(4, 2, 3, [](double x, int row) { return float(row + 8 * x); });
    for (int c = 0; c <= 4; ++c)
        for (int r = 0; r < 3; ++r)
            EXPECT_NEAR(block[std::size_t(c) * 3 + r], r + 2 * c, 1e-5);
}

TEST(TimeInterpolation, NothingToDo)
{
    EXPECT_EQ(interpolated(4, 1, 3, [](double, int) { return 1.0f; }).size(), 3u);
    EXPECT_EQ(interpolated(0, 3, 3, [](double x, int) { return float(x); }).size(), 3u); // counts as 1
    Convert convert;
    convert.buildCubicTable(-5);
    convert.interpolateColumns(nullptr, 0, 0, 0);
}

} // namespace
