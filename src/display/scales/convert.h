// The one place that knows how positions, magnitudes and frequencies read, and where they stand.
#pragma once

#include "display/scales/cubictable.h"
#include "display/scales/rowtable.h"
#include "display/scales/unitwords.h"
#include "model/types/area.h"
#include "model/types/mouseevent.h"
#include "model/types/samplingformat.h"
#include "model/types/transformsettings.h"

#include <cstdint>

#include <QString>
#include <QVector>

// Formats and parses time, frequency and power, maps Hz to display coordinates under a frequency
// scale, places ruler ticks, and projects columns of bins onto rows of the screen. Every view,
// ruler and panel owns one.
//
// A value type: format and settings are copies (a `Transform` is cut down to its settings), so a
// Convert may outlive what it was made from and may be copied to another thread. The const members
// may be called from any number of threads at once.
//
// Without a usable format (rate finite and above 0, at least one channel) every operation gives 0,
// an empty text or an empty list; so do those that need the transform (the Pixels units, the row
// table) while its settings are not valid. NaN and infinite numbers have no text.
//
// Time is in sample points, frequency in Hz, power in linear magnitude; 1 is full scale.
class Convert
{
public:
    using FreqScale = ::FreqScale;
    using Filtering = ::Filtering;
    using TimeUnit = ::TimeUnit;
    using PowerUnit = ::PowerUnit;
    using FreqUnit = ::FreqUnit;

    Convert() = default;
    Convert(const SamplingFormat& format, const TransformSettings& settings,
            TimeUnit timeUnit = TimeUnit::Samples, PowerUnit powerUnit = PowerUnit::Normalized,
            FreqUnit freqUnit = FreqUnit::Hertz, FreqScale freqScale = FreqScale::Linear,
            Filtering filtering = Filtering::Raw);

    // Free to set at any time. The tables built below keep what was set when they were built.
    SamplingFormat format;
    TransformSettings settings;
    double bpm = 120;
    int beatsPerBar = 4;
    int beatUnit = 4;
    double fps = 25;
    TimeUnit timeUnit = TimeUnit::Samples;
    PowerUnit powerUnit = PowerUnit::Normalized;
    FreqUnit freqUnit = FreqUnit::Hertz;
    FreqScale freqScale = FreqScale::Linear;
    Filtering filtering = Filtering::Raw;

    // Hz to the display coordinate of the frequency scale and back. The coordinate is of the order
    // of Hz: 0 stays 0 and Nyquist stays Nyquist under each scale, Linear is the identity.
    // MIDI-logarithmic maps frequencies at or below -16.35 Hz to positive coordinates; all else is
    // odd and rising.
    [[nodiscard]] double toScale(double hz) const;
    [[nodiscard]] double fromScale(double coordinate) const;
    // The same for both ends of the band; time stays.
    [[nodiscard]] Area areaToScale(const Area& area) const;
    [[nodiscard]] Area areaFromScale(const Area& area) const;
    [[nodiscard]] PointD pointFromScale(const PointD& point) const;

    // Text in the current unit, without the suffix.
    [[nodiscard]] QString timeToString(double samples) const;
    [[nodiscard]] QString freqToString(double hz) const;
    [[nodiscard]] QString powerToString(double value) const;
    // The inverse. What does not parse counts as 0. Results of stringToTime are rounded half away
    // from zero and cut to +-2^61.
    [[nodiscard]] int64_t stringToTime(const QString& text) const;
    [[nodiscard]] double stringToFreq(const QString& text) const;
    // "C#5", "A 4": the nearest note, equal temperament, A 4 = 440 Hz. Empty below 16 Hz.
    [[nodiscard]] QString noteToString(double hz) const;
    // "A4", "c # 3", "A-1+25", "-A4": note, octave, cents; a leading minus negates the frequency.
    [[nodiscard]] double stringToNote(const QString& text) const;

    [[nodiscard]] QString timeSuffix() const { return timeUnitSuffix(timeUnit); }
    [[nodiscard]] QString freqSuffix() const { return freqUnitSuffix(freqUnit); }
    [[nodiscard]] QString powerSuffix() const { return powerUnitSuffix(powerUnit, format.channelsType); }

    // Ruler ticks in the current unit, rising, for a ruler of `pixels` pixels; no two of them are
    // closer than `minPixels`. Positions in sample points, Hz, magnitude. `area` is in Hz; ticks of
    // frequency are spaced as the frequency scale shows them. `range` is in magnitude. In Decibel
    // the tick of silence, 0, is always there.
    [[nodiscard]] QVector<double> timeMarks(const Area& area, double pixels, double minPixels) const;
    [[nodiscard]] QVector<double> freqMarks(const Area& area, double pixels, double minPixels) const;
    [[nodiscard]] QVector<double> powerMarks(const FRange& range, double pixels, double minPixels) const;

    // Prepares projectColumn for a picture of `renderArea` (Hz) and `height` rows, row 0 lowest.
    // With `pyramid`, rows that are further apart than two bins read averages. The bin that stands
    // at a frequency f is that of (f - frequencyOffset) / frequencyScale.
    void buildRowTable(const Area& renderArea, int height, bool pyramid, double frequencyOffset = 0,
                       double frequencyScale = 1);
    // One column of magnitudes to rows. `source` holds sampleType * dftLength floats in the layout
    // that rowtable.h tells, `destination` gets `height` floats. They may not overlap.
    void projectColumn(const float* source, float* destination) const { m_rows.project(source, destination); }
    [[nodiscard]] const RowTable& rowTable() const { return m_rows; }

    // Prepares interpolateColumns for `upsample` picture columns for each transform column.
    void buildCubicTable(int upsample) { m_cubic.build(upsample); }
    // Fills the upsample - 1 columns between transform columns `gap` and `gap + 1` of a column-major
    // block of `columnCount` transform columns, which stand at every upsample-th of its
    // (columnCount - 1) * upsample + 1 columns. Gaps go from 0 to columnCount - 2, may be filled in
    // any order and by several threads at once. Catmull-Rom; the first and the last gap take the
    // column beyond the end as 0, a block of one gap is blended linearly.
    void interpolateColumns(float* block, int64_t rows, int64_t columnCount, int64_t gap) const
    {
        m_cubic.interpolate(block, rows, columnCount, gap);
    }

private:
    [[nodiscard]] bool isUsable() const;
    [[nodiscard]] double samplesPerBeat() const;
    [[nodiscard]] QString bpmToString(double samples) const;
    [[nodiscard]] double bpmToTime(const QString& text) const;

    RowTable m_rows;
    CubicTable m_cubic;
};
