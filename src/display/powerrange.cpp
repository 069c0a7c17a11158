#include "display/powerrange.h"

#include <algorithm>
#include <cmath>

namespace powerrange {

namespace {

constexpr double smallest = 1e-7; // the last bits of a full-scale sample
constexpr double largest = 1e7;

} // namespace

bool isUsable(const PowerRange& range)
{
    const double extent = range.high - range.low;
    return std::isfinite(range.low) && std::isfinite(range.high) && extent >= smallest / 2 &&
           extent <= largest * 2 && std::abs(range.low) <= 2 * largest;
}

PowerRange centred(const PowerRange& range)
{
    const double half = (range.high - range.low) / 2;
    return {-half, half};
}

PowerRange zoomed(const PowerRange& range, double factor, double fixed)
{
    const double extent = range.high - range.low;
    const double wanted = std::clamp(extent * factor, smallest, largest);
    const double low = range.low + (extent - wanted) * fixed;
    return {low, low + wanted};
}

PowerRange panned(const PowerRange& range, double up)
{
    const double shift =
        std::clamp(up * (range.high - range.low), -largest - range.low, largest - range.high);
    return {range.low + shift, range.high + shift};
}

} // namespace powerrange
