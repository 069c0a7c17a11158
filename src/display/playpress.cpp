#include "display/playpress.h"

#include "display/properties.h"

#include <cmath>
#include <utility>

namespace {

constexpr double leastScrub = 10; // logical pixels; a smaller move does not scrub

bool holds()
{
    return propertyOr("playbackhold", true).toBool();
}

} // namespace

bool PlayPress::begin(double x, bool playing)
{
    m_press = x;
    m_scrubbing = false;
    return !holds() || !playing;
}

bool PlayPress::scrubs(double x)
{
    m_scrubbing = m_press && (m_scrubbing || std::abs(x - *m_press) > leastScrub);
    return m_scrubbing && propertyOr("playbackscrubbing", true).toBool();
}

bool PlayPress::end()
{
    return std::exchange(m_press, std::nullopt).has_value() && holds();
}
