#include "spectral/primitives/spectrumkernels.h"

#include "everytarget.h"
#include "spectral/primitives/transform.h"

#include <algorithm>
#include <cmath>
#include <random>

namespace {

std::vector<float> randomFloats(int64_t count, unsigned seed, float spread = 1)
{
    std::mt19937 generator(seed);
    std::uniform_real_distribution<float> values(-spread, spread);
    std::vector<float> result(static_cast<std::size_t>(count));
    for (float& value : result)
        value = values(generator);
    return result;
}

std::vector<Complex> randomSpectrum(int64_t count, unsigned seed)
{
    const std::vector<float> parts = randomFloats(2 * count, seed);
    std::vector<Complex> result;
    for (std::size_t i = 0; i < parts.size(); i += 2)
        result.push_back({parts[i], parts[i + 1]});
    return result;
}

// The mask of one bin in double precision, step by step.
struct Vector
{
    double time, frequency;
};
double exactMask(Vector bin, Vector neighbour, Vector next, double t, double f, double e)
{
    const double a = t * bin.time, b = f * bin.frequency;
    const double wt = a / e, wf = b, w0 = 1 - wt - wf;
    const double at = wt * t * neighbour.time + w0 * a + wf * t * next.time;
    const double bt = wt * f * neighbour.frequency + w0 * b + wf * f * next.frequency;
    const double r2 = a * a + b * b;
    const double p = std::clamp(2 - 2 * std::abs(a), 0.0, 1.0) * std::clamp(2 - 2 * std::abs(b), 0.0, 1.0);
    if (r2 == 0)
        return p;
    const double q = std::clamp((at * a + bt * b) / r2, 0.0, 1.0);
    return std::max(std::clamp(q * 2 / std::sqrt(r2), 0.0, 1.0), p);
}

constexpr int64_t counts[] = {0, 1, 2, 7, 15, 16, 17, 33, 100, 2049};

} // namespace

class SpectrumKernelsTest : public EveryTarget
{
};
INSTANTIATE_TEST_SUITE_P(Targets, SpectrumKernelsTest, testing::ValuesIn(everyTarget()), targetName);

TEST_P(SpectrumKernelsTest, FrameIsWindowedInTheMiddleOfZeros)
{
    for (const int64_t size : {1, 5, 32, 41, 2048})
        for (const int64_t length : {size, size + 1, 2 * size, 3 * size}) {
            const std::vector<float> samples = randomFloats(size, 1), window = randomFloats(size, 2);
            std::vector<float> frame(std::size_t(length) + 1, 99.0f);
            spectrum::windowFrame(frame.data(), samples.data(), window.data(), size, length);
            const int64_t before = (length - size) / 2;
            for (int64_t i = 0; i < length; ++i) {
                const int64_t n = i - before;
                const float expected =
                    n < 0 || n >= size ? 0 : samples[std::size_t(n)] * window[std::size_t(n)];
                ASSERT_EQ(frame[std::size_t(i)], expected) << size << " in " << length << " at " << i;
            }
            EXPECT_EQ(frame.back(), 99.0f);
        }
}

TEST_P(SpectrumKernelsTest, ComplexFrameIsWindowedInTheMiddleOfZeros)
{
    for (const int64_t size : {1, 5, 32, 41})
        for (const int64_t length : {size, 2 * size, 3 * size}) {
            const std::vector<Complex> samples = randomSpectrum(size, 1);
            const std::vector<float> window = randomFloats(size, 2);
            std::vector<Complex> frame(std::size_t(length), Complex{9, 9});
            spectrum::windowFrame(frame.data(), samples.data(), window.data(), size, length);
            const int64_t before = (length - size) / 2;
            for (int64_t i = 0; i < length; ++i) {
                const int64_t n = i - before;
                const bool inside = n >= 0 && n < size;
                const Complex z = inside ? samples[std::size_t(n)] : Complex();
                const float w = inside ? window[std::size_t(n)] : 0;
                ASSERT_EQ(frame[std::size_t(i)].re, z.re * w) << i;
                ASSERT_EQ(frame[std::size_t(i)].im, z.im * w) << i;
            }
        }
}

TEST_P(SpectrumKernelsTest, MagnitudesAndShiftsFollowTheFormulas)
{
    for (const int64_t bins : counts)
        for (int wanted = 0; wanted < 8; ++wanted) {
            const auto x = randomSpectrum(bins, 1), xt = randomSpectrum(bins, 2),
                       xd = randomSpectrum(bins, 3);
            std::vector<float> magnitudes(std::size_t(bins) + 2, 99.0f), time = magnitudes,
                                                                         frequency = magnitudes;
            const bool cyclic = bins % 2 == 0;
            spectrum::magnitudesAndShifts(
                wanted & 1 ? magnitudes.data() : nullptr, wanted & 2 ? time.data() : nullptr,
                wanted & 4 ? frequency.data() : nullptr, {x.data(), xt.data(), xd.data(), bins, cyclic});
            for (int64_t k = 0; k < bins; ++k) {
                const auto i = std::size_t(k);
                const double re = double(x[i].re), im = double(x[i].im), power = re * re + im * im;
                const double size = std::hypot(double(xd[i].re), double(xd[i].im)) * std::sqrt(power);
                const double divisor = k < bins - bins % 4 ? power : 1;
                const double scale = 1e-6 / power;
                if (wanted & 1) {
                    ASSERT_NEAR(magnitudes[i], std::sqrt(power), 3e-7) << k;
                }
                if (wanted & 2) {
                    ASSERT_NEAR(time[i], (double(xt[i].re) * re + double(xt[i].im) * im) / power, scale) << k;
                }
                if (wanted & 4) {
                    ASSERT_NEAR(frequency[i], (double(xd[i].im) * re - double(xd[i].re) * im) / divisor,
                                size * 1e-6 / divisor)
                        << k << " of " << bins;
                }
            }
            const auto end = std::size_t(bins);
            EXPECT_EQ(magnitudes[end], 99.0f);
            EXPECT_EQ(time[end], wanted & 2 ? (cyclic && bins > 0 ? time[0] : 0) : 99.0f);
            EXPECT_EQ(frequency[end], wanted & 4 ? (cyclic && bins > 0 ? frequency[0] : 0) : 99.0f);
            EXPECT_EQ(time[end + 1], 99.0f);
            EXPECT_EQ(frequency[end + 1], 99.0f);
        }
}

TEST_P(SpectrumKernelsTest, ShiftsAre0WhereTheMagnitudeIs0)
{
    const std::vector<Complex> silence(101), other = randomSpectrum(101, 1);
    std::vector<float> magnitudes(101, 9.0f), time(102, 9.0f), frequency(102, 9.0f);
    spectrum::magnitudesAndShifts(magnitudes.data(), time.data(), frequency.data(),
                                  {silence.data(), other.data(), other.data(), 101, false});
    for (const auto* row : {&magnitudes, &time, &frequency})
        EXPECT_EQ(std::count(row->begin(), row->end(), 0.0f), int(row->size()));
}

TEST_P(SpectrumKernelsTest, FaintBinsHaveFiniteShifts)
{
    for (const float faint : {1e-18f, 1e-19f, 1e-20f, 1e-25f, 1e-38f}) {
        const std::vector<Complex> x(64, Complex{faint, -faint}), other(64, Complex{1, 1});
        std::vector<float> magnitudes(64), time(65), frequency(65);
        spectrum::magnitudesAndShifts(magnitudes.data(), time.data(), frequency.data(),
                                      {x.data(), other.data(), other.data(), 64, true});
        for (int k = 0; k < 65; ++k) {
            EXPECT_LE(std::abs(time[std::size_t(k)]), 1e9f) << faint;
            EXPECT_LE(std::abs(frequency[std::size_t(k)]), 1e9f) << faint;
        }
        std::vector<float> values(64);
        spectrum::refine(values.data(), magnitudes.data(), {time.data(), frequency.data()},
                         {time.data(), frequency.data()}, 64, {4, 4, 0.01f});
        for (const float value : values)
            EXPECT_TRUE(std::isfinite(value)) << faint;
    }
}

TEST_P(SpectrumKernelsTest, RefinementFollowsTheFormulas)
{
    for (const int64_t count : counts)
        for (const float distance : {1.0f, -1.0f, 2.5f})
            for (int rows = 0; rows < 8; ++rows) {
                const bool hasTime = rows & 1, hasFrequency = rows & 2, hasNeighbour = rows & 4;
                const float t = hasTime ? 1.5f : 0, f = hasFrequency ? 0.75f : 0;
                const auto magnitudes = randomFloats(count, 1), time = randomFloats(count + 1, 2, 2),
                           frequency = randomFloats(count + 1, 3, 2), otherTime = randomFloats(count, 4, 2),
                           otherFrequency = randomFloats(count, 5, 2);
                std::vector<float> values(std::size_t(count) + 1, 99.0f);
                const spectrum::ShiftRows none;
                const spectrum::ShiftRows neighbour{otherTime.data(), otherFrequency.data()};
                spectrum::refine(values.data(), magnitudes.data(), {time.data(), frequency.data()},
                                 hasNeighbour ? neighbour : none, count, {t, f, distance});
                for (std::size_t k = 0; k < std::size_t(count); ++k) {
                    const Vector there =
                        hasNeighbour ? Vector{otherTime[k], otherFrequency[k]} : Vector{0, 0};
                    const double mask =
                        exactMask({time[k], frequency[k]}, there, {time[k + 1], frequency[k + 1]}, double(t),
                                  double(f), double(distance));
                    ASSERT_NEAR(values[k], double(magnitudes[k]) * mask, 4e-5) << k << " of " << count;
                }
                EXPECT_EQ(values.back(), 99.0f);
            }
}

TEST_P(SpectrumKernelsTest, WithBothFactors0TheValuesStay)
{
    auto values = randomFloats(2049, 1);
    const auto before = values;
    const std::vector<float> far(2050, 5.0f);
    spectrum::refine(values.data(), values.data(), {far.data(), far.data()}, {far.data(), far.data()}, 2049,
                     {0, 0, 1});
    EXPECT_EQ(values, before);
    spectrum::refine(values.data(), values.data(), {}, {}, 2049, {1, 1, 1});
    EXPECT_EQ(values, before);
}

TEST_P(SpectrumKernelsTest, AVectorShorterThanHalfACellKeepsTheBin)
{
    auto values = randomFloats(1000, 1);
    const auto before = values;
    const auto time = randomFloats(1001, 2, 0.5f), frequency = randomFloats(1001, 3, 0.5f);
    const auto otherTime = randomFloats(1000, 4, 3), otherFrequency = randomFloats(1000, 5, 3);
    spectrum::refine(values.data(), values.data(), {time.data(), frequency.data()},
                     {otherTime.data(), otherFrequency.data()}, 1000, {1, 1, 1});
    EXPECT_EQ(values, before);
}

TEST_P(SpectrumKernelsTest, PyramidAveragesPairsDownToOneValue)
{
    for (const int64_t count : {1, 2, 3, 5, 16, 20, 64, 80, 2048, 12288}) {
        auto values = randomFloats(2 * count + 1, 1);
        values.back() = 99.0f;
        std::vector<double> exact(values.begin(), values.begin() + count);
        std::vector<double> level = exact;
        while (level.size() > 1) {
            std::vector<double> next;
            for (std::size_t i = 0; i + 1 < level.size(); i += 2)
                next.push_back((level[i] + level[i + 1]) * 0.5);
            exact.insert(exact.end(), next.begin(), next.end());
            level = next;
        }
        ASSERT_LE(exact.size(), std::size_t(2 * count));
        const auto before = values;
        spectrum::buildPyramid(values.data(), count);
        for (std::size_t i = 0; i < exact.size(); ++i)
            ASSERT_NEAR(values[i], exact[i], 1e-6) << i << " of " << count;
        for (std::size_t i = exact.size(); i < values.size(); ++i)
            ASSERT_EQ(values[i], before[i]) << "behind the pyramid of " << count;
    }
}

TEST_P(SpectrumKernelsTest, GatherSumsTheTaps)
{
    const auto source = randomFloats(500, 1);
    std::mt19937 generator(2);
    std::uniform_int_distribution<int32_t> places(0, 499);
    for (const int64_t rows : counts)
        for (int taps = 1; taps <= 4; ++taps) {
            std::vector<std::vector<int32_t>> indices(4);
            std::vector<std::vector<float>> weights;
            spectrum::Taps table;
            table.count = taps;
            for (int t = 0; t < 4; ++t) {
                weights.push_back(randomFloats(rows, unsigned(10 + t)));
                for (int64_t r = 0; r < rows; ++r)
                    indices[std::size_t(t)].push_back(places(generator));
            }
            for (int t = 0; t < 4; ++t) {
                table.indices[t] = indices[std::size_t(t)].data();
                table.weights[t] = weights[std::size_t(t)].data();
            }
            std::vector<float> out(std::size_t(rows) + 1, 99.0f);
            spectrum::gather(out.data(), source.data(), table, rows);
            for (std::size_t r = 0; r < std::size_t(rows); ++r) {
                double expected = 0;
                for (int t = 0; t < taps; ++t)
                    expected += double(source[std::size_t(indices[std::size_t(t)][r])]) *
                                double(weights[std::size_t(t)][r]);
                ASSERT_NEAR(out[r], expected, 1e-6) << r;
            }
            EXPECT_EQ(out.back(), 99.0f);
        }
}

TEST_P(SpectrumKernelsTest, BlendSumsTheColumns)
{
    const float weights[] = {-0.0625f, 0.5625f, 0.53f, -0.03f};
    for (const int64_t rows : counts)
        for (int count = 1; count <= 4; ++count) {
            std::vector<std::vector<float>> columns;
            const float* pointers[4];
            for (int t = 0; t < 4; ++t)
                columns.push_back(randomFloats(rows, unsigned(t)));
            for (int t = 0; t < 4; ++t)
                pointers[t] = columns[std::size_t(t)].data();
            std::vector<float> out(std::size_t(rows) + 1, 99.0f);
            spectrum::blend(out.data(), pointers, weights, count, rows);
            for (std::size_t r = 0; r < std::size_t(rows); ++r) {
                double expected = 0;
                for (int t = 0; t < count; ++t)
                    expected += double(columns[std::size_t(t)][r]) * double(weights[t]);
                ASSERT_NEAR(out[r], expected, 1e-6) << r;
            }
            EXPECT_EQ(out.back(), 99.0f);
        }
}

// The whole column on a signal whose vectors are known: an impulse lies 1.5 hops to the right of the
// frame's centre, so each bin's energy belongs 1.5 hops later.
TEST_P(SpectrumKernelsTest, ImpulseShiftsEveryBinByItsDistance)
{
    const Transform transform(1, WindowType::BlackmanHarris, 512, 8, 2);
    ArrayTemplate<float> samples(512), frame(1024);
    samples[256 + 96] = 1;
    ArrayTemplate<Complex> x(513), xt(513);
    spectrum::windowFrame(frame.data(), samples.data(), transform.analysisWindow.data(), 512, 1024);
    transform.forward(frame.data(), x.data());
    spectrum::windowFrame(frame.data(), samples.data(), transform.timeWindow.data(), 512, 1024);
    transform.forward(frame.data(), xt.data());
    std::vector<float> time(514);
    spectrum::magnitudesAndShifts(nullptr, time.data(), nullptr, {x.data(), xt.data(), nullptr, 513, false});
    for (std::size_t k = 0; k < 513; ++k)
        EXPECT_NEAR(time[k], 1.5, 1e-4) << k;
}
