#include "spectral/primitives/dftplan.h"
#include "spectral/primitives/planning.h"
#include "spectral/primitives/transform.h"

#include <fftw3.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <complex>
#include <random>
#include <set>
#include <thread>
#include <vector>

namespace {

using Exact = std::complex<double>;
constexpr double pi = 3.14159265358979323846;

// Every size that the field "FFT size" offers: each octave from 32 to 32768 in quarters, and the
// largest of the radio profile.
std::vector<int> fftSizes()
{
    std::vector<int> sizes;
    for (int octave = 32; octave <= 32768; octave *= 2)
        for (int quarter = 0; quarter < 4 && octave + octave / 4 * quarter <= 32768; ++quarter)
            sizes.push_back(octave + octave / 4 * quarter);
    sizes.push_back(65536);
    return sizes;
}

// ... times zero padding 1 to 4.
std::set<int> dftLengths()
{
    std::set<int> lengths;
    for (const int size : fftSizes())
        for (int padding = 1; padding <= 4; ++padding)
            lengths.insert(size * padding);
    return lengths;
}

ArrayTemplate<Complex> randomValues(int64_t count, unsigned seed)
{
    std::mt19937 generator(seed);
    std::uniform_real_distribution<float> values(-1, 1);
    ArrayTemplate<Complex> result(count);
    for (Complex& value : result)
        value = {values(generator), values(generator)};
    return result;
}

// The independent computations: term by term for small lengths, FFTW in double precision for the rest.
std::vector<Exact> exactDft(const std::vector<Exact>& source, int sign)
{
    const int n = int(source.size());
    std::vector<Exact> result(source.size());
    if (n <= 128) {
        for (int k = 0; k < n; ++k)
            for (int i = 0; i < n; ++i)
                result[std::size_t(k)] +=
                    source[std::size_t(i)] * std::polar(1.0, sign * 2 * pi * ((int64_t(i) * k) % n) / n);
        return result;
    }
    std::vector<Exact> input = source;
    const fftw_plan plan = fftw_plan_dft_1d(n, reinterpret_cast<fftw_complex*>(input.data()),
                                            reinterpret_cast<fftw_complex*>(result.data()),
                                            sign < 0 ? FFTW_FORWARD : FFTW_BACKWARD, FFTW_ESTIMATE);
    fftw_execute(plan);
    fftw_destroy_plan(plan);
    return result;
}

std::vector<Exact> widened(const ArrayTemplate<Complex>& values)
{
    std::vector<Exact> result;
    for (const Complex& value : values)
        result.emplace_back(double(value.re), double(value.im));
    return result;
}

// Largest difference, over the root mean square of the expected values.
double error(const Complex* values, const std::vector<Exact>& expected, std::size_t count)
{
    double most = 0, power = 0;
    for (std::size_t i = 0; i < count; ++i) {
        most = std::max(most, std::abs(Exact(double(values[i].re), double(values[i].im)) - expected[i]));
        power += std::norm(expected[i]);
    }
    return most / std::sqrt(power / double(count));
}

constexpr double tolerance = 4e-6; // a dozen roundings of single precision

Planning planningUnderTest = Planning::Estimate;

void usePlans(Planning planning)
{
    planningUnderTest = planning;
    setPlanning(planning);
}

void checkKind(const DftPlan& plan)
{
    const PlanKind expected =
        planningUnderTest == Planning::Measured ? PlanKind::Measured : PlanKind::Estimated;
    for (const DftDirection direction : {DftDirection::Forward, DftDirection::Inverse})
        EXPECT_EQ(int(planInForce(plan, direction)), int(expected)) << plan.length();
}

void checkComplex(int length)
{
    const DftPlan plan(length, DftKind::Complex);
    checkKind(plan);
    const ArrayTemplate<Complex> source = randomValues(length, unsigned(length));
    const ArrayTemplate<Complex> kept = source;
    ArrayTemplate<Complex> destination(length);
    plan.forward(source.data(), destination.data());
    EXPECT_LT(error(destination.data(), exactDft(widened(source), -1), std::size_t(length)), tolerance)
        << length;
    plan.inverse(source.data(), destination.data());
    EXPECT_LT(error(destination.data(), exactDft(widened(source), 1), std::size_t(length)), tolerance)
        << length;
    EXPECT_TRUE(std::equal(source.begin(), source.end(), kept.begin())) << "source changed, " << length;
}

void checkReal(int length)
{
    const DftPlan plan(length, DftKind::Real);
    checkKind(plan);
    const ArrayTemplate<Complex> noise = randomValues(length, unsigned(length));
    ArrayTemplate<float> source(length);
    std::vector<Exact> wide;
    for (int i = 0; i < length; ++i) {
        source[i] = noise[i].re;
        wide.emplace_back(double(noise[i].re), 0);
    }
    const ArrayTemplate<float> kept = source;
    ArrayTemplate<Complex> spectrum(length / 2 + 1);
    plan.forward(source.data(), spectrum.data());
    EXPECT_LT(error(spectrum.data(), exactDft(wide, -1), std::size_t(length / 2 + 1)), tolerance) << length;
    EXPECT_TRUE(std::equal(source.begin(), source.end(), kept.begin())) << "source changed, " << length;

    const ArrayTemplate<Complex> keptSpectrum = spectrum;
    ArrayTemplate<float> back(length);
    plan.inverse(spectrum.data(), back.data());
    double most = 0;
    for (int i = 0; i < length; ++i)
        most = std::max(most, std::abs(double(back[i]) / length - double(source[i])));
    EXPECT_LT(most, tolerance) << "there and back, " << length;
    EXPECT_TRUE(std::equal(spectrum.begin(), spectrum.end(), keptSpectrum.begin()))
        << "inverse changed its source, " << length;
}

} // namespace

class DftTest : public testing::TestWithParam<Planning>
{
protected:
    void SetUp() override { usePlans(GetParam()); }
    void TearDown() override { usePlans(Planning::Estimate); }
};
INSTANTIATE_TEST_SUITE_P(Plans, DftTest, testing::Values(Planning::Estimate, Planning::Measured),
                         [](const auto& info) {
                             return info.param == Planning::Estimate ? "Estimated" : "Measured";
                         });

TEST(DftLengths, OfTheField)
{
    const std::vector<int> sizes = fftSizes();
    EXPECT_EQ(sizes.size(), 42u);
    EXPECT_EQ(sizes[1], 40);
    EXPECT_EQ(sizes[4], 64);
    EXPECT_EQ(sizes[40], 32768);
}

TEST_P(DftTest, ImpulseGoesFlatAndAConstantGoesToBin0)
{
    const DftPlan plan(48, DftKind::Real);
    ArrayTemplate<float> impulse(48), ones(48);
    impulse[0] = 1;
    for (float& value : ones)
        value = 1;
    ArrayTemplate<Complex> spectrum(25);
    plan.forward(impulse.data(), spectrum.data());
    for (const Complex& value : spectrum) {
        EXPECT_NEAR(value.re, 1, 1e-6);
        EXPECT_NEAR(value.im, 0, 1e-6);
    }
    plan.forward(ones.data(), spectrum.data());
    EXPECT_NEAR(spectrum[0].re, 48, 1e-5); // unscaled
    EXPECT_NEAR(spectrum[1].re, 0, 1e-5);
}

TEST_P(DftTest, SignOfTheExponent)
{
    // exp(+2 pi i 3 n / 40) lies in bin 3 of the forward transform.
    const DftPlan plan(40, DftKind::Complex);
    ArrayTemplate<Complex> tone(40), spectrum(40);
    for (int i = 0; i < 40; ++i)
        tone[i] = {float(std::cos(2 * pi * 3 * i / 40)), float(std::sin(2 * pi * 3 * i / 40))};
    plan.forward(tone.data(), spectrum.data());
    EXPECT_NEAR(spectrum[3].re, 40, 1e-4);
    EXPECT_NEAR(spectrum[37].re, 0, 1e-4);
}

TEST_P(DftTest, ParsevalHolds)
{
    for (const int length : {64, 160, 4096}) {
        const DftPlan plan(length, DftKind::Complex);
        const ArrayTemplate<Complex> source = randomValues(length, 3);
        ArrayTemplate<Complex> spectrum(length);
        plan.forward(source.data(), spectrum.data());
        double before = 0, after = 0;
        for (int i = 0; i < length; ++i) {
            before += std::norm(widened(source)[std::size_t(i)]);
            after += double(spectrum[i].re) * double(spectrum[i].re) +
                     double(spectrum[i].im) * double(spectrum[i].im);
        }
        EXPECT_NEAR(after / length / before, 1, 1e-6) << length;
    }
}

TEST(DftEstimated, EveryLengthReal)
{
    usePlans(Planning::Estimate);
    for (const int length : dftLengths())
        checkReal(length);
}

TEST(DftEstimated, EveryLengthComplex)
{
    usePlans(Planning::Estimate);
    for (const int length : dftLengths())
        checkComplex(length);
}

// Measuring all these plans takes minutes. They are kept in the build folder, so that only the first
// run after a fresh configuration pays for it.
class DftMeasured : public testing::Test
{
protected:
    void SetUp() override
    {
        setWisdomFile(QStringLiteral(MORVANE_MEASURED_PLANS));
        usePlans(Planning::Measured);
    }
    void TearDown() override
    {
        keepMeasuredPlans();
        setWisdomFile(QString());
        usePlans(Planning::Estimate);
    }
};

TEST_F(DftMeasured, EveryLengthReal)
{
    for (const int length : dftLengths())
        checkReal(length);
}

TEST_F(DftMeasured, EveryLengthComplex)
{
    for (const int length : dftLengths())
        checkComplex(length);
}

TEST(DftEstimated, UnusualLengths)
{
    usePlans(Planning::Estimate);
    for (const int length : {1, 2, 3, 7, 11, 31, 97, 127, 4099}) {
        checkReal(length);
        checkComplex(length);
    }
}

TEST(DftThreads, ManyThreadsExecuteAndPlanAtOnce)
{
    usePlans(Planning::Estimate);
    const auto shared = std::make_shared<const Transform>(1, WindowType::Hann, 512, 8, 2);
    ArrayTemplate<float> frame(1024);
    for (int i = 0; i < 1024; ++i)
        frame[i] = float(i % 17) - 8;
    ArrayTemplate<Complex> expected(513);
    shared->forward(frame.data(), expected.data());
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 6; ++t)
        threads.emplace_back([&, t] {
            ArrayTemplate<Complex> spectrum(513);
            for (int i = 0; i < 50; ++i) {
                const Transform other(1, WindowType::Hann, 32 + 8 * ((i + t) % 12), 4, 1);
                shared->forward(frame.data(), spectrum.data());
                wrong += !std::equal(spectrum.begin(), spectrum.end(), expected.begin());
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
}
