#include "spectral/primitives/transform.h"

#include "spectral/primitives/vectors.h"
#include "spectral/primitives/windows.h"

#include <gtest/gtest.h>

#include <QString>

#include <cmath>
#include <numeric>
#include <random>
#include <vector>

namespace {

constexpr double pi = 3.14159265358979323846;

// The windows as books give them, in double throughout.
double exactBessel(double x)
{
    double sum = 1, term = 1;
    for (int k = 1; k < 200; ++k) {
        term *= x * x / (4.0 * k * k);
        sum += term;
    }
    return sum;
}

double exactWindow(WindowType type, int n, int length)
{
    const double r = double(n) / length;
    const auto c = [r](int k) { return std::cos(2 * pi * k * r); };
    switch (type) {
    case WindowType::Kaiser15:
        return exactBessel(15 * std::sqrt(1 - (2 * r - 1) * (2 * r - 1))) / exactBessel(15);
    case WindowType::BlackmanHarris:
        return 0.35875 - 0.48829 * c(1) + 0.14128 * c(2) - 0.01168 * c(3);
    case WindowType::Blackman:
        return 0.42 - 0.5 * c(1) + 0.08 * c(2);
    case WindowType::Hann:
        return 0.5 - 0.5 * c(1);
    case WindowType::Hamming:
        return 0.53836 - 0.46164 * c(1);
    case WindowType::Bartlett:
        return 1 - std::abs(2 * r - 1);
    case WindowType::Rectangle:
        break;
    }
    return 1;
}

constexpr WindowType everyWindow[] = {WindowType::Kaiser15, WindowType::BlackmanHarris, WindowType::Blackman,
                                      WindowType::Hann,     WindowType::Hamming,        WindowType::Bartlett,
                                      WindowType::Rectangle};

bool sameBits(const ArrayTemplate<float>& a, const ArrayTemplate<float>& b)
{
    return a.size() == b.size() && a.scale == b.scale && a.flag == b.flag &&
           (a.isEmpty() || std::memcmp(a.data(), b.data(), a.bytes()) == 0);
}

bool sameTables(const Transform& a, const Transform& b)
{
    return sameBits(a.analysisWindow, b.analysisWindow) && sameBits(a.synthesisWindow, b.synthesisWindow) &&
           sameBits(a.timeWindow, b.timeWindow) && sameBits(a.derivativeWindow, b.derivativeWindow) &&
           sameBits(a.cumulativeWindow, b.cumulativeWindow) && sameBits(a.lobeTable, b.lobeTable) &&
           sameBits(a.zeroFrame, b.zeroFrame);
}

double sumOf(const ArrayTemplate<float>& values)
{
    return std::accumulate(values.begin(), values.end(), 0.0);
}

} // namespace

TEST(WindowTest, KaiserInCapitalsParsesTo0AndAnUnknownNameTo6)
{
    EXPECT_EQ(int(windowTypeFromString(QStringLiteral("KAISER-15"))), 0);
    EXPECT_EQ(int(windowTypeFromString(QStringLiteral("foo"))), 6);
}

TEST(WindowTest, ShortWindowIsCentredAmongZeros)
{
    const ArrayTemplate<float> window = Transform::makeWindow(WindowType::Kaiser15, 128, 4096);
    ASSERT_EQ(window.size(), 4096);
    for (int64_t i = 0; i < 4096; ++i)
        EXPECT_EQ(window[i] == 0, i < 1984 || i >= 2112) << i;
    EXPECT_EQ(window.scale, 1);
    EXPECT_EQ(window.flag, 0u);
}

TEST(WindowTest, OddPlacesAreRoundedDown)
{
    const ArrayTemplate<float> window = Transform::makeWindow(WindowType::Rectangle, 4, 7);
    const float expected[] = {0, 1, 1, 1, 1, 0, 0};
    for (int i = 0; i < 7; ++i)
        EXPECT_EQ(window[i], expected[i]) << i;
}

TEST(WindowTest, ValuesFollowTheFormulas)
{
    for (const WindowType type : everyWindow)
        for (const int length : {1, 2, 32, 40, 128, 2048, 2560}) {
            const ArrayTemplate<float> window = Transform::makeWindow(type, length, length);
            // The Kaiser series runs in single precision, with a term cut at 1e-6.
            const double tolerance = type == WindowType::Kaiser15 ? 3e-6 : 4e-7;
            for (int n = 0; n < length; ++n)
                ASSERT_NEAR(window[n], exactWindow(type, n, length), tolerance)
                    << windowTypeToString(type).toStdString() << " " << n << " of " << length;
        }
}

TEST(WindowTest, WindowsArePeriodic)
{
    for (const WindowType type : everyWindow) {
        const ArrayTemplate<float> window = Transform::makeWindow(type, 64, 64);
        for (int n = 1; n < 64; ++n)
            EXPECT_NEAR(window[n], window[64 - n], 1e-6) << int(type);
        if (type != WindowType::Rectangle) {
            EXPECT_EQ(window[32], 1) << int(type); // the peak lies at half the length
            EXPECT_NE(window[0], window[63]) << int(type);
        }
    }
}

TEST(WindowTest, RatioIsTakenInSinglePrecision)
{
    // 7 / 40960 is not exact in single precision; the cosine is flat there, so only the linear window tells.
    std::vector<float> window(40960);
    writeWindow(WindowType::Bartlett, 40960, window.data());
    EXPECT_EQ(window[7], 1 - std::abs(2 * (7.0f / 40960.0f) - 1));
}

TEST(TransformTest, EmptyTransform)
{
    const Transform transform;
    EXPECT_EQ(transform.sampleType, 1);
    EXPECT_EQ(int(transform.windowType), 6);
    EXPECT_EQ(transform.frameSize, 0);
    EXPECT_EQ(transform.overlap, 0);
    EXPECT_EQ(transform.zeroPadding, 0);
    EXPECT_FALSE(transform.hasPlan());
    EXPECT_TRUE(transform.analysisWindow.isEmpty());
}

TEST(TransformTest, SmallestSizeHasHop8And17Or32Bins)
{
    const Transform real(1, WindowType::Hann, 32, 4, 1);
    EXPECT_EQ(real.hop(), 8);
    EXPECT_EQ(real.bins(), 17);
    const Transform complex(2, WindowType::Hann, 32, 4, 1);
    EXPECT_EQ(complex.hop(), 8);
    EXPECT_EQ(complex.bins(), 32);
}

TEST(TransformTest, AfterReconfigureSumIs2AndFirstEntriesAre1)
{
    for (const WindowType type : everyWindow)
        for (const int size : {32, 40, 2048, 65536}) {
            Transform transform;
            transform.reconfigure(1, type, size, 8, 2);
            EXPECT_NEAR(sumOf(transform.analysisWindow), 2, 2e-6) << int(type) << " " << size;
            EXPECT_EQ(transform.cumulativeWindow[0], 1) << int(type) << " " << size;
            EXPECT_EQ(transform.lobeTable[0], 1) << int(type) << " " << size;
        }
}

TEST(TransformTest, SizesScalesAndFlagsOfTheTables)
{
    const Transform transform(1, WindowType::BlackmanHarris, 2048, 8, 2);
    for (const auto* table : {&transform.analysisWindow, &transform.synthesisWindow, &transform.timeWindow,
                              &transform.derivativeWindow}) {
        EXPECT_EQ(table->size(), 2048);
        EXPECT_EQ(table->scale, 1);
        EXPECT_EQ(table->flag, 0u);
    }
    EXPECT_EQ(transform.cumulativeWindow.size(), 2048);
    EXPECT_EQ(transform.cumulativeWindow.scale, 8);
    EXPECT_NE(transform.cumulativeWindow.flag, 0u);
    EXPECT_EQ(transform.lobeTable.size(), 2048);
    EXPECT_EQ(transform.lobeTable.scale, 128);
    EXPECT_NE(transform.lobeTable.flag, 0u);
    EXPECT_EQ(transform.zeroFrame.size(), 4096);
    EXPECT_EQ(vec::maxAbs(transform.zeroFrame.data(), 4096), 0);
}

TEST(TransformTest, WindowThatStartsAtZeroHasNoFiniteSynthesisThere)
{
    for (const WindowType type : {WindowType::Bartlett, WindowType::Hann}) {
        const Transform transform(1, type, 256, 4, 2);
        EXPECT_EQ(transform.analysisWindow[0], 0);
        EXPECT_FALSE(std::isfinite(transform.synthesisWindow[0]));
        const int hop = transform.hop();
        for (int i = 128 - hop; i < 128 + hop; ++i)
            EXPECT_TRUE(std::isfinite(transform.synthesisWindow[i])) << i;
    }
}

// Analysis, DFT and back, synthesis: what is left of a frame is a triangle, and the triangles of all
// frames sum to 1.
TEST(TransformTest, SynthesisTrianglesSumTo1)
{
    for (const WindowType type : everyWindow)
        for (const int size : {32, 40, 2048})
            for (const int overlap : {4, 8, 16}) {
                const Transform transform(1, type, size, overlap, 3);
                const int hop = transform.hop();
                if (hop * overlap != size)
                    continue;
                for (int phase = 0; phase < hop; ++phase) {
                    double sum = 0;
                    for (int i = size / 2 - hop + phase; i < size / 2 + hop; i += hop)
                        sum += double(transform.synthesisWindow[i]) * double(transform.analysisWindow[i]) *
                               transform.dftLength();
                    ASSERT_NEAR(sum, 1, 1e-6) << int(type) << " " << size << " " << overlap << " " << phase;
                }
            }
}

TEST(TransformTest, TimeAndDerivativeWindowsFollowTheFormulas)
{
    for (const WindowType type : everyWindow)
        for (const int overlap : {5, 8}) {
            const int n = 64, padding = 3;
            const Transform transform(1, type, n, overlap, padding);
            const auto& a = transform.analysisWindow;
            for (int i = 0; i < n; ++i) {
                const double time = double(i - n / 2) * double(a[i]) / n * overlap;
                ASSERT_NEAR(transform.timeWindow[i], time, std::abs(time) * 1e-6);
                double slope = 0;
                if (i == 0)
                    slope = (double(a[1]) - double(a[0])) * n;
                else if (i == n - 1)
                    slope = (double(a[n - 1]) - double(a[n - 2])) * n;
                else
                    slope = (double(a[i + 1]) - double(a[i - 1])) * (n / 2);
                slope *= -padding / (2 * pi);
                ASSERT_NEAR(transform.derivativeWindow[i], slope, std::abs(slope) * 1e-6 + 1e-8) << i;
            }
        }
}

// For a single tone the quotient of the derivative window's spectrum and the window's own is the
// distance to the tone in bins; for an impulse the quotient of the time window's is its distance in
// hops. These are the published properties of the reassignment vector (Auger and Flandrin 1995).
TEST(TransformTest, TimeAndDerivativeWindowsMeasureDistances)
{
    const Transform transform(2, WindowType::BlackmanHarris, 256, 8, 2);
    const int n = 256, m = 512;
    const double tone = 100.3; // bins of the padded spectrum
    ArrayTemplate<Complex> frame(m), slope(m), x(m), xd(m);
    for (int i = 0; i < n; ++i) {
        const double phase = 2 * pi * tone * i / m;
        const double w = double(transform.analysisWindow[i]), d = double(transform.derivativeWindow[i]);
        frame[128 + i] = {float(w * std::cos(phase)), float(w * std::sin(phase))};
        slope[128 + i] = {float(d * std::cos(phase)), float(d * std::sin(phase))};
    }
    transform.forward(frame.data(), x.data());
    transform.forward(slope.data(), xd.data());
    for (int k = 98; k <= 102; ++k) {
        const double power = double(x[k].re) * double(x[k].re) + double(x[k].im) * double(x[k].im);
        const double shift =
            (double(xd[k].im) * double(x[k].re) - double(xd[k].re) * double(x[k].im)) / power;
        EXPECT_NEAR(shift, tone - k, 0.01) << k;
    }
}

TEST(TransformTest, CumulativeWindowFallsFrom1)
{
    const Transform transform(1, WindowType::Hann, 4096, 8, 1);
    const auto& cumulative = transform.cumulativeWindow;
    double sum = 0;
    for (int i = 0; i < 4096; ++i) {
        sum += double(transform.analysisWindow[i]);
        ASSERT_NEAR(cumulative[4095 - i], sum / 2, 1e-6) << i;
    }
    for (int i = 1; i < 4096; ++i)
        ASSERT_LE(cumulative[i], cumulative[i - 1]);
}

// The table against the spectrum of the window computed term by term in double.
TEST(TransformTest, LobeTableIsTheWindowsSpectrum)
{
    for (const WindowType type : everyWindow) {
        const Transform transform(1, type, 64, 8, 2);
        const auto value = [&](int k) {
            double re = 0, im = 0;
            for (int n = 0; n < 128; ++n) {
                re += exactWindow(type, n, 128) * std::cos(2 * pi * k * n / 4096);
                im -= exactWindow(type, n, 128) * std::sin(2 * pi * k * n / 4096);
            }
            return std::hypot(re, im);
        };
        const double first = value(0);
        for (int k = 0; k < 2048; k += 37)
            ASSERT_NEAR(transform.lobeTable[k], value(k) / first, 2e-6) << int(type) << " " << k;
    }
}

TEST(TransformTest, AFullScaleSinusoidReads1)
{
    for (const WindowType type : everyWindow) {
        const Transform transform(1, type, 2048, 8, 1);
        ArrayTemplate<float> frame(2048), magnitudes(1025);
        ArrayTemplate<Complex> spectrum(1025);
        for (int i = 0; i < 2048; ++i)
            frame[i] = float(std::cos(2 * pi * 100 * i / 2048)) * transform.analysisWindow[i];
        transform.forward(frame.data(), spectrum.data());
        vec::magnitude(magnitudes.data(), spectrum.data(), 1025);
        EXPECT_NEAR(magnitudes[100], 1, 2e-5) << int(type);
    }
}

TEST(TransformTest, UnusableSettingsKeepTheTables)
{
    Transform transform(1, WindowType::Hann, 64, 8, 2);
    const Transform before(transform);
    const struct
    {
        int32_t size, overlap, padding;
    } rows[] = {
        {0, 8, 2},      {-5, 8, 2}, {64, 0, 2}, {64, 8, 0}, {64, -1, 2}, {64, 8, -3}, {1 << 30, 8, 1 << 30},
        {1 << 26, 4, 2}};
    for (const auto& row : rows) {
        transform.reconfigure(2, WindowType::Blackman, row.size, row.overlap, row.padding);
        EXPECT_FALSE(transform.hasPlan());
        EXPECT_EQ(transform.sampleType, 2);
        EXPECT_EQ(transform.frameSize, row.size);
        EXPECT_TRUE(sameTables(transform, before));
    }
}

TEST(TransformTest, UnusualButUsableSettings)
{
    for (const int size : {1, 2, 3, 5, 33})
        for (const int overlap : {1, 3, 100}) { // hop 0 too
            const Transform transform(1, WindowType::Blackman, size, overlap, 2);
            EXPECT_TRUE(transform.hasPlan());
            EXPECT_EQ(transform.analysisWindow.size(), size);
            EXPECT_EQ(transform.zeroFrame.size(), 2 * size);
        }
}

TEST(TransformTest, CopyAndAssignmentCarryEverything)
{
    const Transform original(1, WindowType::Kaiser15, 128, 4, 2);
    ArrayTemplate<float> frame(256);
    for (int i = 0; i < 256; ++i)
        frame[i] = float(i % 13);
    ArrayTemplate<Complex> expected(129), spectrum(129);
    original.forward(frame.data(), expected.data());

    auto source = std::make_unique<Transform>(original);
    const Transform copied(*source);
    Transform assigned(2, WindowType::Hann, 32, 4, 1);
    assigned = *source;
    source.reset(); // copies stand on their own
    for (const Transform* transform : {&copied, static_cast<const Transform*>(&assigned)}) {
        EXPECT_TRUE(sameSettings(*transform, original));
        EXPECT_TRUE(sameTables(*transform, original));
        ASSERT_TRUE(transform->hasPlan());
        transform->forward(frame.data(), spectrum.data());
        EXPECT_TRUE(std::equal(spectrum.begin(), spectrum.end(), expected.begin()));
    }
    const Transform empty;
    assigned = empty;
    EXPECT_FALSE(assigned.hasPlan());
    EXPECT_TRUE(assigned.analysisWindow.isEmpty());
}
