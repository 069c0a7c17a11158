#include "transients.h"

#include <algorithm>
#include <cmath>
#include <complex>

namespace {

constexpr int order = 32;
constexpr double segmentSeconds = 0.04; // one prediction
constexpr double blockSeconds = 0.0005; // one level
constexpr double aroundSeconds = 0.03;  // to each side: what a block is compared with
constexpr int64_t medianStep = 8;       // blocks
constexpr double apartSeconds = 0.004;  // blocks nearer than this belong to one transient
constexpr double longestSeconds = 0.03;
constexpr double leastProminence = 6, mostProminence = 36; // dB
constexpr double endProminence = 6;                        // dB: where it has died away
constexpr double onsetShare = 0.1;                         // of the block's peak: where it begins
constexpr double silence = 1e-20;

double square(double x)
{
    return x * x;
}
double square(const std::complex<double>& x)
{
    return std::norm(x);
}
double conjugate(double x)
{
    return x;
}
std::complex<double> conjugate(const std::complex<double>& x)
{
    return std::conj(x);
}

// Of the samples under a Hann window, for lags 0 to `order`. All lags at once, so that the loop inside has
// no chain of additions to wait for.
template<class T>
std::vector<T> autocorrelation(const T* samples, int64_t count)
{
    const double turn = 2 * 3.14159265358979323846 / double(count);
    std::vector<T> windowed(size_t(count + order), T(0));
    std::vector<T> reversed(windowed.size(), T(0));
    for (int64_t i = 0; i < count; ++i) {
        windowed[size_t(i)] = samples[i] * (0.5 - 0.5 * std::cos(turn * (double(i) + 0.5)));
        reversed[size_t(count - 1 - i)] = conjugate(windowed[size_t(i)]);
    }
    std::vector<T> r(order + 1, T(0));
    for (int64_t i = 0; i < count; ++i)
        for (int lag = 0; lag <= order; ++lag)
            r[size_t(lag)] += windowed[size_t(i)] * reversed[size_t(count - 1 - i + lag)];
    return r;
}

// Coefficients a[1..order] of the predictor x[n] ~ sum a[k] x[n - k], by the autocorrelation method and
// Levinson's recursion.
template<class T>
std::vector<T> predictor(const T* samples, int64_t count)
{
    const std::vector<T> r = autocorrelation(samples, count);
    std::vector<T> a(order + 1, T(0));
    // A trace of white noise keeps the recursion stable on pure tones.
    double error = std::abs(r[0]) * (1 + 1e-9) + silence;
    for (int m = 1; m <= order; ++m) {
        T sum = r[size_t(m)];
        for (int k = 1; k < m; ++k)
            sum -= a[size_t(k)] * r[size_t(m - k)];
        const T reflection = sum / error;
        std::vector<T> next = a;
        next[size_t(m)] = reflection;
        for (int k = 1; k < m; ++k)
            next[size_t(k)] = a[size_t(k)] - reflection * conjugate(a[size_t(m - k)]);
        a = std::move(next);
        error *= 1 - square(reflection);
        if (!(error > 0))
            break;
    }
    return a;
}

using GoesOn = std::function<bool(int64_t)>;

// |x[n] - prediction|^2 for each sample; nothing once `goesOn` says no.
template<class T>
std::vector<float> residual(const std::vector<T>& samples, int64_t segment, const GoesOn& goesOn)
{
    const auto count = int64_t(samples.size());
    std::vector<float> powers(samples.size());
    for (int64_t start = 0; start < count; start += segment) {
        if (goesOn && !goesOn(start))
            return {};
        const int64_t end = std::min(count, start + segment);
        const int64_t first = std::max<int64_t>(0, start - segment / 2);
        const int64_t last = std::min(count, end + segment / 2);
        const std::vector<T> a = predictor(samples.data() + first, last - first);
        std::vector<T> error(samples.begin() + start, samples.begin() + end);
        for (int64_t k = 1; k <= order; ++k)
            for (int64_t n = std::max(start, k); n < end; ++n)
                error[size_t(n - start)] -= a[size_t(k)] * samples[size_t(n - k)];
        // The first samples have nothing that foretells them.
        for (int64_t n = std::max<int64_t>(start, order); n < end; ++n)
            powers[size_t(n)] = float(square(error[size_t(n - start)]));
    }
    return powers;
}

// Medians of the blocks around, one for each `medianStep` blocks: they change slowly, and finding them is
// most of the work.
std::vector<float> medians(const std::vector<float>& blocks, int64_t around)
{
    const auto size = int64_t(blocks.size());
    std::vector<float> result;
    std::vector<float> neighbours;
    for (int64_t at = 0; at < size; at += medianStep) {
        const int64_t first = std::max<int64_t>(0, at - around);
        const int64_t last = std::min(size, at + medianStep + around);
        neighbours.assign(blocks.begin() + first, blocks.begin() + last);
        const auto middle = neighbours.begin() + int64_t(neighbours.size() / 2);
        std::nth_element(neighbours.begin(), middle, neighbours.end());
        result.push_back(*middle);
    }
    // Where the music sets in, the louder side counts.
    std::vector<float> louder = result;
    for (size_t i = 0; i < result.size(); ++i)
        louder[i] =
            std::max({result[i], result[i > 0 ? i - 1 : 0], result[std::min(i + 1, result.size() - 1)]});
    return louder;
}

// Levels of blocks above the median around them, in dB.
std::vector<double> prominences(const std::vector<float>& blocks, int64_t around)
{
    // What is far below the loudest is as good as silence: no rounding noise counts as a click.
    const float loudest = blocks.empty() ? 0.0f : *std::max_element(blocks.begin(), blocks.end());
    const double floor = std::max(silence, double(loudest) * 1e-12);
    const std::vector<float> usual = medians(blocks, around);
    std::vector<double> result(blocks.size());
    for (size_t b = 0; b < blocks.size(); ++b) {
        const double reference = double(usual[b / size_t(medianStep)]) + floor;
        result[b] = 10 * std::log10((double(blocks[b]) + floor) / reference);
    }
    return result;
}

template<class T>
std::vector<T> finite(const float* samples, int64_t count, int32_t floats)
{
    std::vector<T> out(static_cast<size_t>(count));
    const auto usable = [](float x) { return std::abs(x) < 1e9f ? double(x) : 0.0; };
    for (int64_t i = 0; i < count; ++i) {
        if constexpr (std::is_same_v<T, double>)
            out[size_t(i)] = usable(samples[i]);
        else
            out[size_t(i)] = {usable(samples[i * floats]), usable(samples[i * floats + 1])};
    }
    return out;
}

// From the block of the greatest prominence back to where it begins and on to where it has died away.
Transient measure(const std::vector<float>& powers, const std::vector<double>& prominence, int64_t peak,
                  int64_t block, int64_t longest)
{
    const auto count = int64_t(powers.size());
    const auto blocks = int64_t(prominence.size());
    const int64_t from = std::max<int64_t>(0, (peak - 1) * block);
    const int64_t to = std::min(count, (peak + 1) * block);
    float top = 0;
    for (int64_t i = peak * block; i < to; ++i)
        top = std::max(top, powers[size_t(i)]);
    Transient found;
    found.prominence = prominence[size_t(peak)];
    found.position = from;
    while (found.position < to - 1 && double(powers[size_t(found.position)]) < onsetShare * double(top))
        ++found.position;
    int64_t last = peak + 1;
    while (last < blocks && prominence[size_t(last)] > endProminence &&
           last * block - found.position < longest)
        ++last;
    found.length = std::max(block, std::min(count, last * block) - found.position);
    return found;
}

} // namespace

int64_t transientMargin(double rate)
{
    return int64_t(std::ceil(rate * (aroundSeconds + segmentSeconds)));
}

std::vector<Transient> findTransients(const float* samples, int64_t count, int32_t floats, double rate,
                                      double sensitivity, const GoesOn& goesOn)
{
    const auto block = std::max<int64_t>(1, std::llround(rate * blockSeconds));
    const auto segment = std::max<int64_t>(4 * order, std::llround(rate * segmentSeconds));
    if (!samples || count < 2 * block || !(rate > 0))
        return {};
    const std::vector<float> powers =
        floats == 2 ? residual(finite<std::complex<double>>(samples, count, 2), segment, goesOn)
                    : residual(finite<double>(samples, count, 1), segment, goesOn);
    if (powers.empty())
        return {};
    std::vector<float> blocks;
    for (int64_t start = 0; start < count; start += block)
        blocks.push_back(
            *std::max_element(powers.begin() + start, powers.begin() + std::min(count, start + block)));
    const std::vector<double> prominence =
        prominences(blocks, std::max<int64_t>(4, std::llround(aroundSeconds * rate / double(block))));
    const double threshold =
        mostProminence - (mostProminence - leastProminence) * std::clamp(sensitivity, 0.0, 1.0);
    const auto apart = std::max<int64_t>(1, std::llround(apartSeconds * rate / double(block)));
    const auto longest = std::max(block, int64_t(std::llround(longestSeconds * rate)));
    std::vector<Transient> found;
    for (int64_t b = 0; b < int64_t(prominence.size()); ++b) {
        if (prominence[size_t(b)] < threshold)
            continue;
        // The greatest of those that follow each other closely.
        int64_t peak = b, last = b;
        for (int64_t k = b + 1; k < int64_t(prominence.size()) && k - last <= apart; ++k)
            if (prominence[size_t(k)] >= threshold) {
                last = k;
                if (prominence[size_t(k)] > prominence[size_t(peak)])
                    peak = k;
            }
        found.push_back(measure(powers, prominence, peak, block, longest));
        b = last;
    }
    return found;
}
