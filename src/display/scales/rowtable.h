// Projection of one column of bins onto the rows of a picture.
#pragma once

#include "display/scales/tapwindows.h"
#include "model/types/area.h"
#include "model/types/arraytemplate.h"
#include "model/types/samplingformat.h"
#include "model/types/transformsettings.h"
#include "model/types/units.h"

#include <cstdint>

// For each row up to four bins and their weights, tabulated once for a picture, so that a column
// costs loads and products and no arithmetic on frequencies.
//
// A column is an array of sampleType * M floats (M the DFT length), with maxBin = sampleType * M / 2:
// - elements 0 .. maxBin - 1: magnitudes, lowest frequency first. For complex signals the upper half
//   of the spectrum comes first, so that element M / 2 is 0 Hz;
// - then the pyramid: maxBin / 2 averages of neighbouring pairs of the level before, then half as
//   many, down to one; a level of odd length drops its last element;
// - the very last element: the magnitude at maxBin, the Nyquist frequency, for which the pyramid
//   leaves no other place.
//
// Unchanged after `build`, so any number of threads may project with one table.
class RowTable
{
public:
    static constexpr int maxTaps = 4;

    struct Picture
    {
        Area area; // band in Hz; time is not looked at
        int height = 0;
        FreqScale freqScale = FreqScale::Linear;
        Filtering filtering = Filtering::Raw;
        bool pyramid = true;
        double frequencyOffset = 0; // Hz
        double frequencyScale = 1;
    };

    // Row r stands at the lower edge of the r-th of `height` equal strips of the scaled band. Rows
    // outside the spectrum are black. The table is empty when format, settings or height are unset.
    //
    // Raw takes the nearest bin, Linear two, Cubic four with Catmull-Rom weights (two next to the
    // ends of the spectrum). With `pyramid`, a row more than two bins above the row before reads the
    // level whose averages are as wide as the gap, and no tap leaves that level. At full resolution
    // the last tap below Nyquist is the kept Nyquist element.
    void build(const SamplingFormat& format, const TransformSettings& settings, const Picture& picture);

    [[nodiscard]] int height() const { return m_height; }
    // Taps in use: 1, 2 or 4.
    [[nodiscard]] int taps() const { return m_taps; }
    // `height()` elements each; unused taps and black rows have index 0 and weight 0.
    [[nodiscard]] const int32_t* indexes(int tap) const { return m_indexes[tap].data(); }
    [[nodiscard]] const float* weights(int tap) const { return m_weights[tap].data(); }

    // `height()` rows of one column. `source` and `destination` may not overlap.
    void project(const float* source, float* destination) const;

private:
    // `gap`: bins up from the row before.
    void setRow(int row, const Picture& picture, double position, double gap, int32_t maxBin);

    int m_height = 0;
    int m_taps = 1;
    ArrayTemplate<int32_t> m_indexes[maxTaps];
    ArrayTemplate<float> m_weights[maxTaps];
    bool m_windowed = false;
    TapWindows m_windows; // the same rows, where they have more than one tap
};
