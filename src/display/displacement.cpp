#include "display/displacement.h"

#include <cmath>

namespace displacement {

Displacement limited(const Displacement& value, float longest)
{
    const float length = std::hypot(value.x, value.y);
    if (!std::isfinite(length))
        return {};
    if (length <= longest)
        return value;
    return {value.x / length * longest, value.y / length * longest};
}

Displacement snapped(const Displacement& value)
{
    const float length = std::hypot(value.x, value.y);
    const double eighth = M_PI / 4;
    const double angle = std::round(std::atan2(value.y, value.x) / eighth) * eighth;
    return {float(length * std::cos(angle)), float(length * std::sin(angle))};
}

int steps(const Displacement& value)
{
    const float pixels = std::round(std::max(std::abs(value.x), std::abs(value.y)));
    return pixels < 1 ? 0 : pixels <= 64 ? 64 : 128;
}

std::vector<QVector4D> table(int steps, const Displacement& whole, float lowdB, float highdB, float gamma)
{
    const auto level = [&](int step) {
        const float share = std::pow(float(step) / float(steps), gamma);
        return std::exp2(((highdB - lowdB) * share + lowdB) / 6);
    };
    std::vector<QVector4D> rows;
    for (int i = 0; i < steps; ++i) {
        const float share = float(i) / float(steps);
        rows.emplace_back(whole.x * share, whole.y * share, level(i), level(i + 1));
    }
    return rows;
}

} // namespace displacement
