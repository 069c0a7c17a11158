// A rectangle in the time-frequency plane.
#pragma once

#include "model/types/range.h"
#include "model/types/samplingformat.h"

#include <algorithm>
#include <cmath>

// `x`, `width` in sample points, `y` (bottom) and `height` in Hz.
struct Area
{
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;

    // The smallest range of whole sample points that covers the area, cut to +-2^61 so that ends and
    // lengths never overflow; empty when a member is not a number.
    [[nodiscard]] Range range() const
    {
        constexpr double limit = double(int64_t(1) << 61);
        const double first = std::floor(x);
        const double last = std::ceil(x + width);
        if (std::isnan(first) || std::isnan(last))
            return {};
        const auto start = int64_t(std::clamp(first, -limit, limit));
        return {start, int64_t(std::clamp(last, -limit, limit)) - start};
    }

    friend bool operator==(const Area&, const Area&) = default;
};

// The full band of a format over `range`: 0 to Nyquist for real signals, -rate/2 to rate/2 for
// complex ones.
[[nodiscard]] inline Area fullBandArea(const SamplingFormat& format, const Range& range)
{
    const double nyquist = format.sampleRate / 2;
    if (format.isComplex())
        return {double(range.start), -nyquist, double(range.length), format.sampleRate};
    return {double(range.start), 0, double(range.length), nyquist};
}
