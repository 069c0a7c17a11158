#include "magnet.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double stepPixels = 2;      // from point to point on the way
constexpr double mostSteps = 400;     // however far the pointer jumped
constexpr int32_t leastReach = 8;     // bins or frames
constexpr int32_t mostReach = 64;     // the work grows with its square
constexpr double directionPixels = 6; // the way that tells where the outline goes
constexpr double fullProminence = 30; // dB; a ridge that stands out so far counts fully
constexpr double leastProminence = 3; // dB; less is no ridge
constexpr double distanceCost = 0.3;  // of a ridge at the end of the reach
constexpr double jumpCost = 0.25;     // of a jump by the whole reach, from point to point

// How far each local maximum stands above the higher one of the two valleys that part it from higher
// ground; 0 for what is no maximum.
std::vector<double> prominences(const std::vector<double>& levels)
{
    const int n = int(levels.size());
    std::vector<double> result(levels.size(), 0.0);
    for (int i = 1; i + 1 < n; ++i) {
        const double top = levels[size_t(i)];
        if (top <= levels[size_t(i - 1)] || top < levels[size_t(i + 1)])
            continue;
        const auto valley = [&](int direction) {
            double lowest = top;
            for (int k = i + direction; k >= 0 && k < n && levels[size_t(k)] <= top; k += direction)
                lowest = std::min(lowest, levels[size_t(k)]);
            return lowest;
        };
        result[size_t(i)] = top - std::max(valley(-1), valley(1));
    }
    return result;
}

int32_t reachIn(double pixels, double pixel, double unit)
{
    const double wanted = pixels * pixel / unit;
    return wanted < mostReach ? std::max(leastReach, int32_t(std::ceil(wanted))) : mostReach;
}

} // namespace

Magnet::Axis Magnet::axisTo(const PointD& position, const PointD& pixel) const
{
    // Over a little way back, since a hand trembles.
    for (size_t i = m_steps.size(); i-- > 0;) {
        const double across = std::abs(position.x - m_steps[i].position.x) / pixel.x;
        const double up = std::abs(position.y - m_steps[i].position.y) / pixel.y;
        if (std::hypot(across, up) >= directionPixels)
            return across >= up ? Axis::Frequency : Axis::Time;
    }
    return m_steps.empty() ? Axis::Frequency : m_steps.back().axis;
}

void Magnet::add(Levels& levels, const PointD& position, const PointD& pixel)
{
    if (!std::isfinite(position.x) || !std::isfinite(position.y) || !(pixel.x > 0) || !(pixel.y > 0))
        return;
    if (m_steps.empty())
        return take(levels, position, pixel);
    const PointD from = m_steps.back().position;
    const double way = std::hypot((position.x - from.x) / pixel.x, (position.y - from.y) / pixel.y);
    const int steps = int(std::clamp(std::ceil(way / stepPixels), 1.0, mostSteps));
    for (int k = 1; k <= steps; ++k) {
        const double t = double(k) / steps;
        take(levels, {from.x + (position.x - from.x) * t, from.y + (position.y - from.y) * t}, pixel);
    }
}

void Magnet::take(Levels& levels, const PointD& position, const PointD& pixel)
{
    Step step;
    step.position = position;
    step.axis = axisTo(position, pixel);
    if (levels.isValid()) {
        step.frame = std::llround(levels.frame(position.x));
        step.bin = std::llround(levels.bin(position.y));
        step.reach = step.axis == Axis::Frequency ? reachIn(m_reach, pixel.y, levels.binWidth())
                                                  : reachIn(m_reach, pixel.x, levels.hop());
        measure(levels, step);
    } else {
        step.gain = {0};
        step.place = {step.axis == Axis::Frequency ? position.y : position.x};
    }
    const bool goesOn = !m_steps.empty() && m_steps.back().axis == step.axis;
    follow(goesOn ? &m_steps.back() : nullptr, step);
    m_steps.push_back(std::move(step));
}

void Magnet::measure(Levels& levels, Step& step)
{
    const bool up = step.axis == Axis::Frequency;
    // A margin, so that a ridge at the end of the reach has its valleys.
    const int32_t half = step.reach + (up ? levels.lobe() : levels.overlap());
    std::vector<double> around;
    for (int32_t k = -half; k <= half; ++k) {
        if (up) {
            around.push_back(levels.decibels(step.frame, step.bin + k));
            continue;
        }
        // A click is as broad as the band; single bins of it are ragged.
        double sum = 0;
        for (int32_t b = -levels.lobe(); b <= levels.lobe(); ++b)
            if (levels.hasBin(step.bin + b))
                sum += double(levels.power(step.frame + k, int32_t(step.bin + b)));
        around.push_back(decibelsOf(sum));
    }
    const std::vector<double> prominence = prominences(around);
    step.place.assign(size_t(2 * step.reach + 1), up ? step.position.y : step.position.x);
    step.gain.resize(step.place.size());
    for (int32_t k = -step.reach; k <= step.reach; ++k) {
        const auto i = size_t(k + step.reach);
        const double p = prominence[size_t(k + half)];
        const bool isRidge = p >= leastProminence;
        step.gain[i] = float((isRidge ? std::min(1.0, p / fullProminence) : 0) -
                             distanceCost * std::abs(k) / step.reach);
        if (isRidge && up)
            step.place[i] = levels.frequency(levels.refined(step.frame, int32_t(step.bin + k)));
        else if (isRidge)
            step.place[i] = levels.time(double(step.frame + k));
    }
}

// Best way to each offset: the jump costs by its length, so two sweeps find it for all offsets at once.
void Magnet::follow(const Step* before, Step& step)
{
    const size_t n = step.gain.size();
    step.score = step.gain;
    step.from.assign(n, -1);
    if (!before)
        return;
    const auto place = [](const Step& s) { return s.axis == Axis::Frequency ? s.bin : s.frame; };
    // Index i here is the spot of index i + shift there.
    const int64_t shift = place(step) - step.reach - place(*before) + before->reach;
    const auto last = int64_t(before->score.size()) - 1;
    const float cost = float(jumpCost / std::max(1, step.reach));
    std::vector<float> best(before->score);
    std::vector<int32_t> from(best.size());
    for (size_t i = 0; i < from.size(); ++i)
        from[i] = int32_t(i);
    const auto spread = [&](size_t to, size_t origin) {
        if (best[origin] - cost > best[to]) {
            best[to] = best[origin] - cost;
            from[to] = from[origin];
        }
    };
    for (size_t i = 1; i < best.size(); ++i)
        spread(i, i - 1);
    for (size_t i = best.size() - 1; i-- > 0;)
        spread(i, i + 1);
    for (size_t i = 0; i < n; ++i) {
        const int64_t there = int64_t(i) + shift;
        const int64_t inside = std::clamp<int64_t>(there, 0, last);
        step.score[i] += best[size_t(inside)] - cost * float(std::abs(there - inside));
        step.from[i] = from[size_t(inside)];
    }
}

QPolygonF Magnet::path() const
{
    QPolygonF points(int(m_steps.size()));
    int32_t index = -1;
    for (size_t i = m_steps.size(); i-- > 0;) {
        const Step& step = m_steps[i];
        if (index < 0)
            index = int32_t(std::max_element(step.score.begin(), step.score.end()) - step.score.begin());
        const double place = step.place[size_t(index)];
        points[int(i)] =
            step.axis == Axis::Frequency ? QPointF(step.position.x, place) : QPointF(place, step.position.y);
        index = step.from[size_t(index)];
    }
    return points;
}
