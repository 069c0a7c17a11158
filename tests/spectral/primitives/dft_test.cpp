#include "dftsupport.h"
#include "spectral/primitives/transform.h"

#include <atomic>
#include <memory>
#include <thread>

using namespace dfttest;

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
