#include "display/scales/rowtable.h"

#include "display/scales/cubictable.h"
#include "display/scales/frequencycurves.h"
#include "spectral/primitives/spectrumkernels.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace {

// One level of the pyramid; stride 1 are the bins themselves.
struct Level
{
    int32_t base = 0;
    int32_t stride = 1;
    int32_t length = 0;
    int32_t maxBin = 0;

    // Where element `i` of the level stands in the column. No tap leaves its level: beyond its end
    // stands its last element, or, for the bins, the kept Nyquist element.
    [[nodiscard]] int32_t index(int32_t i) const
    {
        if (i < length)
            return base + std::max(i, 0);
        return stride == 1 ? 2 * maxBin - 1 : base + length - 1;
    }
};

Level levelForGap(double gap, bool pyramid, int32_t maxBin)
{
    Level level{0, 1, maxBin, maxBin};
    while (pyramid && gap > 2 * level.stride && maxBin / (2 * level.stride) > 0) {
        level.base += maxBin / level.stride;
        level.stride *= 2;
        level.length = maxBin / level.stride;
    }
    return level;
}

int tapsOf(Filtering filtering)
{
    switch (filtering) {
    case Filtering::Linear:
        return 2;
    case Filtering::Cubic:
        return 4;
    case Filtering::Raw:
        break;
    }
    return 1;
}

// Hz to a position in bins, from the lowest bin of the column on.
struct BinPositions
{
    FreqScale scale;
    double nyquist;
    double curveAtNyquist;
    double halfLength; // bins from 0 Hz to Nyquist
    double lowest;     // bins below 0 Hz
    double offset;     // Hz
    double stretch;

    [[nodiscard]] double scaled(double hz) const
    {
        return curveFromHertz(scale, hz) / curveAtNyquist * halfLength;
    }
    [[nodiscard]] double position(double y) const
    {
        const double hz = curveToHertz(scale, y / halfLength * curveAtNyquist);
        return snapped((hz - offset) / nyquist * halfLength / stretch + lowest);
    }
    // The ends of the spectrum do not come back exactly from a curve and its inverse, and a row that
    // misses them by rounding would be black.
    [[nodiscard]] double snapped(double position) const
    {
        constexpr double tolerance = 1e-6;
        const double highest = halfLength + lowest;
        if (std::abs(position) < tolerance)
            return 0;
        return std::abs(position - highest) < tolerance ? highest : position;
    }
};

} // namespace

void RowTable::build(const SamplingFormat& format, const TransformSettings& settings, const Picture& picture)
{
    const int32_t halfLength = settings.dftLength() / 2;
    const double nyquist = format.sampleRate / 2;
    const bool usable = halfLength > 0 && nyquist > 0 && std::isfinite(nyquist) && format.channels > 0;
    m_height = usable ? std::max(picture.height, 0) : 0;
    m_taps = tapsOf(picture.filtering);
    for (int tap = 0; tap < maxTaps; ++tap) {
        m_indexes[tap] = ArrayTemplate<int32_t>(m_height);
        m_weights[tap] = ArrayTemplate<float>(m_height);
    }
    if (m_height == 0)
        return;

    const bool complex = settings.sampleType == SampleTypeComplex;
    const int32_t maxBin = complex ? 2 * halfLength : halfLength;
    m_windowed = m_taps > 1 && 2 * maxBin >= TapWindows::width;
    m_windows.reset(m_windowed ? m_height : 0);
    const BinPositions bins{picture.freqScale,
                            nyquist,
                            curveFromHertz(picture.freqScale, nyquist),
                            double(halfLength),
                            complex ? double(halfLength) : 0.0,
                            picture.frequencyOffset,
                            picture.frequencyScale};
    const double bottom = bins.scaled(picture.area.y);
    const double top = bins.scaled(picture.area.y + picture.area.height);
    double previous = bins.position(bottom);
    for (int row = 0; row < m_height; ++row) {
        const double position = bins.position(bottom + (top - bottom) * row / m_height);
        setRow(row, picture, position, position - previous, maxBin);
        previous = position;
    }
}

void RowTable::setRow(int row, const Picture& picture, double position, double gap, int32_t maxBin)
{
    // Written so that NaN is outside. Outside rows keep their zeros: black.
    if (!(position >= 0 && position <= maxBin))
        return;
    const Level level = levelForGap(gap, picture.pyramid, maxBin);
    const double inLevel = position / level.stride;
    const auto n = int32_t(inLevel);
    const double x = inLevel - n;
    int32_t first = n;
    std::array<double, maxTaps> exact = {1 - x, x, 0, 0};
    int taps = 2;
    if (picture.filtering == Filtering::Cubic && n >= 1 && n < level.length - 2) {
        first = n - 1;
        exact = catmullRom(x);
        taps = 4;
    } else if (m_taps == 1) {
        first = n + int32_t(std::lround(x));
        exact = {1, 0, 0, 0};
        taps = 1;
    }
    int32_t indexes[maxTaps];
    float weights[maxTaps];
    for (int tap = 0; tap < taps; ++tap) {
        m_indexes[tap][row] = indexes[tap] = level.index(first + tap);
        m_weights[tap][row] = weights[tap] = float(exact[std::size_t(tap)]);
    }
    if (m_windowed)
        m_windows.setRow(row, indexes, weights, taps, level.base, level.length);
}

void RowTable::project(const float* source, float* destination) const
{
    if (m_windowed)
        return m_windows.project(source, destination);
    spectrum::Taps taps;
    taps.count = m_taps;
    for (int tap = 0; tap < m_taps; ++tap) {
        taps.indices[tap] = m_indexes[tap].data();
        taps.weights[tap] = m_weights[tap].data();
    }
    spectrum::gather(destination, source, taps, m_height);
}
