// Rows whose taps lie side by side.
#pragma once

#include "model/types/arraytemplate.h"

#include <cstdint>
#include <vector>

// The taps of nearly every row under Linear and Cubic are neighbours in one level, so that one load
// fetches them all. Under Cubic this takes a third of the time of a gather for each tap, even with
// vectors four times as wide, since a gather costs a load for each of its elements.
class TapWindows
{
public:
    static constexpr int width = 4;

    // `height` black rows. Columns must have at least `width` elements.
    void reset(int height);
    // Row `row` sums count <= 4 taps. All of them lie in the `length` elements from `levelBase` on,
    // or the row is kept apart and gathered; no other element is ever read.
    void setRow(int row, const int32_t* indexes, const float* weights, int count, int32_t levelBase,
                int32_t length);
    // destination[r] = the sum of row r. They may not overlap.
    void project(const float* source, float* destination) const;

private:
    struct LooseRow
    {
        int row;
        int32_t indexes[width];
        float weights[width];
    };

    int m_height = 0;
    ArrayTemplate<int32_t> m_bases; // first element of each row's window
    ArrayTemplate<float> m_weights; // four for each row
    std::vector<LooseRow> m_loose;
};
