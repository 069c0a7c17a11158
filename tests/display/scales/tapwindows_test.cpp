#include "display/scales/tapwindows.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>
#include <vector>

namespace {

TEST(TapWindows, SumsTheTapsAndReadsNothingOutsideTheirLevel)
{
    std::mt19937 random(9);
    const int columnLength = 100;
    std::vector<float> rows(1);
    for (int i = 0; i < 3000; ++i) {
        const auto number = [&](int low, int high) {
            return std::uniform_int_distribution<int>(low, high)(random);
        };
        const int base = number(0, 90);
        const int length = number(1, columnLength - base);
        const int count = number(1, TapWindows::width);
        const bool apart = number(0, 5) == 0;
        int32_t indexes[TapWindows::width] = {};
        float weights[TapWindows::width] = {};
        std::vector<float> column(columnLength, std::numeric_limits<float>::quiet_NaN());
        for (int k = base; k < base + length; ++k)
            column[std::size_t(k)] = float(k);
        const int first = base + number(0, length - 1);
        float expected = 0;
        for (int tap = 0; tap < count; ++tap) {
            indexes[tap] = std::min(first + tap, base + length - 1);
            if (apart && tap == count - 1)
                indexes[tap] = columnLength - 1; // as the kept element at the end of a column
            weights[tap] = float(number(-8, 8)) / 8;
        }
        if (apart)
            column.back() = 7;
        for (int tap = 0; tap < count; ++tap)
            expected += column[std::size_t(indexes[tap])] * weights[tap];

        TapWindows windows;
        const int height = number(1, 9);
        const int row = number(0, height - 1);
        // The other rows stay black; they read the first elements, which must be numbers for that.
        for (int k = 0; k < TapWindows::width; ++k)
            if (!(column[std::size_t(k)] == column[std::size_t(k)]))
                column[std::size_t(k)] = 0;
        windows.reset(height);
        windows.setRow(row, indexes, weights, count, base, length);
        rows.assign(std::size_t(height), -1);
        windows.project(column.data(), rows.data());
        for (int r = 0; r < height; ++r)
            ASSERT_FLOAT_EQ(rows[std::size_t(r)], r == row ? expected : 0) << i;
    }
}

} // namespace
