#include "spectral/primitives/vectors.h"

#include "base/denormals.h"
#include "everytarget.h"

#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <random>
#include <thread>

namespace {

// Every operation is run for counts around the vector lengths, on arrays that start off any
// alignment, with guards behind them, and with the destination lying on each of its sources.
constexpr int64_t counts[] = {0, 1, 2, 3, 5, 7, 8, 15, 16, 17, 31, 33, 63, 64, 65, 127, 1000, 4097};
constexpr int64_t offsets[] = {0, 1, 3};
constexpr float guard = 12345.5f;

std::vector<float> randomFloats(int64_t count, unsigned seed)
{
    std::mt19937 generator(seed);
    std::uniform_real_distribution<float> values(0.1f, 2.0f);
    std::bernoulli_distribution negative(0.5);
    std::vector<float> result(static_cast<std::size_t>(count));
    for (float& value : result)
        value = negative(generator) ? -values(generator) : values(generator);
    return result;
}

// A stretch of `count` floats, `offset` floats behind an aligned address, with a guard at the end.
class Stretch
{
public:
    Stretch(int64_t count, int64_t offset, unsigned seed) : m_array(count + offset + 1), m_offset(offset)
    {
        const std::vector<float> values = randomFloats(count, seed);
        std::copy(values.begin(), values.end(), data());
        m_array[m_array.size() - 1] = guard;
    }
    float* data() { return m_array.data() + m_offset; }
    Complex* pairs() { return reinterpret_cast<Complex*>(data()); }
    [[nodiscard]] bool whole() const { return m_array[m_array.size() - 1] == guard; }

private:
    ArrayTemplate<float> m_array;
    int64_t m_offset;
};

void expectNear(const float* values, const std::vector<double>& expected, const char* what, int64_t count)
{
    for (std::size_t i = 0; i < expected.size(); ++i)
        ASSERT_NEAR(values[i], expected[i], std::abs(expected[i]) * 3e-7 + 1e-12)
            << what << " count " << count << " at " << i;
}

// `run` is the operation, `value` what it makes of one element of each source.
void checkBinary(const char* what,
                 const std::function<void(float*, const float*, const float*, int64_t)>& run,
                 const std::function<double(double, double)>& value)
{
    for (const int64_t count : counts)
        for (const int64_t offset : offsets)
            for (int alias = 0; alias < 4; ++alias) {
                Stretch out(count, 2, 7), a(count, offset, 1), b(count, offset, 2);
                std::vector<double> expected;
                const float* second = alias == 3 ? a.data() : b.data();
                for (int64_t i = 0; i < count; ++i)
                    expected.push_back(value(double(a.data()[i]), double(second[i])));
                float* destination = alias == 0 ? out.data() : alias == 2 ? b.data() : a.data();
                run(destination, a.data(), second, count);
                expectNear(destination, expected, what, count);
                EXPECT_TRUE(out.whole() && a.whole() && b.whole()) << what << " wrote behind " << count;
            }
}

void checkUnary(const char* what, const std::function<void(float*, const float*, int64_t)>& run,
                const std::function<double(double)>& value)
{
    checkBinary(
        what, [&](float* out, const float* a, const float*, int64_t count) { run(out, a, count); },
        [&](double a, double) { return value(a); });
}

} // namespace

class VectorsTest : public EveryTarget
{
};
INSTANTIATE_TEST_SUITE_P(Targets, VectorsTest, testing::ValuesIn(everyTarget()), targetName);

TEST_P(VectorsTest, Arithmetic)
{
    using vec::add, vec::subtract, vec::multiply, vec::divide;
    checkBinary(
        "add", [](auto* d, auto* a, auto* b, int64_t n) { add(d, a, b, n); }, std::plus<>());
    checkBinary(
        "subtract", [](auto* d, auto* a, auto* b, int64_t n) { subtract(d, a, b, n); }, std::minus<>());
    checkBinary(
        "multiply", [](auto* d, auto* a, auto* b, int64_t n) { multiply(d, a, b, n); }, std::multiplies<>());
    checkBinary(
        "divide", [](auto* d, auto* a, auto* b, int64_t n) { divide(d, a, b, n); }, std::divides<>());
}

TEST_P(VectorsTest, ArithmeticWithAConstant)
{
    checkUnary(
        "add constant", [](auto* d, auto* a, int64_t n) { vec::addConstant(d, a, 3.5f, n); },
        [](double a) { return a + 3.5; });
    checkUnary(
        "multiply constant", [](auto* d, auto* a, int64_t n) { vec::multiplyConstant(d, a, -3.5f, n); },
        [](double a) { return a * -3.5; });
    checkUnary(
        "copy", [](auto* d, auto* a, int64_t n) { vec::copy(d, a, n); }, [](double a) { return a; });
    checkUnary(
        "zero", [](auto* d, auto*, int64_t n) { vec::zero(d, n); }, [](double) { return 0; });
}

TEST_P(VectorsTest, MultiplyAddAccumulates)
{
    for (const int64_t count : counts)
        for (const int64_t offset : offsets) {
            Stretch out(count, 2, 3), a(count, offset, 4);
            std::vector<double> expected;
            for (int64_t i = 0; i < count; ++i)
                expected.push_back(double(out.data()[i]) + 0.75 * double(a.data()[i]));
            vec::multiplyAdd(out.data(), a.data(), 0.75f, count);
            for (int64_t i = 0; i < count; ++i)
                ASSERT_NEAR(out.data()[i], expected[std::size_t(i)], 4e-7) << count << " at " << i;
            EXPECT_TRUE(out.whole());
        }
}

TEST_P(VectorsTest, ComplexArithmetic)
{
    for (const int64_t count : counts)
        for (const bool inPlace : {false, true}) {
            Stretch out(2 * count, 2, 1), a(2 * count, 1, 2), b(2 * count, 3, 3), factors(count, 1, 4);
            const std::vector<float> source(a.data(), a.data() + 2 * count);
            Complex* destination = inPlace ? a.pairs() : out.pairs();
            vec::multiply(destination, a.pairs(), factors.data(), count);
            for (int64_t i = 0; i < count; ++i) {
                ASSERT_EQ(destination[i].re, source[std::size_t(2 * i)] * factors.data()[i]) << count;
                ASSERT_EQ(destination[i].im, source[std::size_t(2 * i + 1)] * factors.data()[i]) << count;
            }
            std::copy(source.begin(), source.end(), a.data());
            vec::multiplyConstant(destination, a.pairs(), 2.5f, count);
            for (int64_t i = 0; i < count; ++i)
                ASSERT_EQ(destination[i].im, source[std::size_t(2 * i + 1)] * 2.5f) << count;
            std::copy(source.begin(), source.end(), a.data());
            vec::subtract(destination, a.pairs(), b.pairs(), count);
            for (int64_t i = 0; i < count; ++i)
                ASSERT_EQ(destination[i].re, source[std::size_t(2 * i)] - b.pairs()[i].re) << count;
            vec::copy(destination, b.pairs(), count);
            EXPECT_TRUE(std::equal(destination, destination + count, b.pairs()));
            vec::zero(destination, count);
            EXPECT_EQ(std::count(destination, destination + count, Complex()), count);
            EXPECT_TRUE(out.whole() && a.whole() && b.whole());
        }
}

TEST_P(VectorsTest, MagnitudeAndPower)
{
    for (const int64_t count : counts)
        for (const int64_t offset : offsets) {
            Stretch z(2 * count, offset, 5), magnitudes(count, 1, 6), powers(count, 3, 7);
            vec::magnitude(magnitudes.data(), z.pairs(), count);
            vec::power(powers.data(), z.pairs(), count);
            for (int64_t i = 0; i < count; ++i) {
                const double exact = std::hypot(double(z.pairs()[i].re), double(z.pairs()[i].im));
                ASSERT_NEAR(magnitudes.data()[i], exact, exact * 2e-7) << count << " at " << i;
                ASSERT_NEAR(powers.data()[i], exact * exact, exact * exact * 3e-7) << count << " at " << i;
            }
            EXPECT_TRUE(magnitudes.whole() && powers.whole());
        }
}

TEST_P(VectorsTest, MagnitudeOfZeroIsZero)
{
    const ArrayTemplate<Complex> z(100);
    ArrayTemplate<float> magnitudes(100);
    vec::addConstant(magnitudes.data(), magnitudes.data(), 1, 100);
    vec::magnitude(magnitudes.data(), z.data(), 100);
    EXPECT_EQ(vec::maxAbs(magnitudes.data(), 100), 0);
}

TEST_P(VectorsTest, SumDoesNotSufferFromTheCount)
{
    for (const int64_t count : counts) {
        Stretch a(count, 1, 8);
        double expected = 0;
        for (int64_t i = 0; i < count; ++i)
            expected += double(a.data()[i]);
        EXPECT_NEAR(vec::sum(a.data(), count), expected, std::abs(expected) * 1e-7 + 1e-12) << count;
    }
    // Added up one by one in single precision, 0.1 reaches 1.0000000e6 only to four digits.
    ArrayTemplate<float> tenths(10000001);
    vec::addConstant(tenths.data(), tenths.data(), 0.1f, tenths.size());
    EXPECT_NEAR(vec::sum(tenths.data(), tenths.size()), double(0.1f) * 10000001, 0.1);
}

TEST_P(VectorsTest, MaxAbsFindsThePeakAnywhere)
{
    for (const int64_t count : counts)
        for (int64_t peak = 0; peak < std::min<int64_t>(count, 70); ++peak) {
            Stretch a(count, 1, 9);
            a.data()[peak] = peak % 2 ? -9.0f : 9.0f;
            ASSERT_EQ(vec::maxAbs(a.data(), count), 9.0f) << count << " at " << peak;
        }
}

TEST_P(VectorsTest, MinMaxFindsBothPeaksAnywhereAndPassesOverWhatIsNoNumber)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    for (const int64_t count : counts)
        for (int64_t peak = 0; peak + 1 < std::min<int64_t>(count, 70); ++peak) {
            Stretch a(count, 1, 9);
            a.data()[peak] = -9;
            a.data()[peak + 1] = 9;
            for (int64_t i = peak + 2; i < count; i += 5)
                a.data()[i] = nan;
            float low = 1e30f;
            float high = -1e30f;
            vec::minMax(a.data(), count, low, high);
            ASSERT_EQ(low, -9) << count << " at " << peak;
            ASSERT_EQ(high, 9) << count << " at " << peak;
        }
    float low = -2;
    float high = 3;
    const float inside[] = {1, nan, 0};
    vec::minMax(inside, 3, low, high);
    vec::minMax(static_cast<const float*>(nullptr), 0, low, high);
    EXPECT_EQ(low, -2); // running values
    EXPECT_EQ(high, 3);
}

TEST_P(VectorsTest, MinMaxOfComplexNumbersKeepsThePartsApart)
{
    for (const int64_t count : counts) {
        Stretch z(2 * count, 1, 3);
        Complex low{1e30f, 1e30f};
        Complex high{-1e30f, -1e30f};
        Complex wantLow = low;
        Complex wantHigh = high;
        for (int64_t i = 0; i < count; ++i) {
            z.data()[2 * i + 1] -= 5; // the imaginary parts lie elsewhere
            wantLow = {std::min(wantLow.re, z.data()[2 * i]), std::min(wantLow.im, z.data()[2 * i + 1])};
            wantHigh = {std::max(wantHigh.re, z.data()[2 * i]), std::max(wantHigh.im, z.data()[2 * i + 1])};
        }
        vec::minMax(reinterpret_cast<const Complex*>(z.data()), count, low, high);
        ASSERT_TRUE(low.re == wantLow.re && low.im == wantLow.im) << count;
        ASSERT_TRUE(high.re == wantHigh.re && high.im == wantHigh.im) << count;
    }
}

// As on every thread that computes: a denormal number counts as 0 and none comes out.
TEST_P(VectorsTest, DenormalsAreZeroOnThreadsThatDisableThem)
{
    std::thread([] {
        disableDenormals();
        ArrayTemplate<float> denormal(100), small(100), out(100);
        for (int i = 0; i < 100; ++i) {
            denormal[i] = 1e-40f;
            small[i] = 1e-25f;
        }
        vec::multiplyConstant(out.data(), denormal.data(), 1e30f, 100);
        EXPECT_EQ(vec::maxAbs(out.data(), 100), 0);
        vec::multiply(out.data(), small.data(), small.data(), 100);
        EXPECT_EQ(vec::maxAbs(out.data(), 100), 0);
    }).join();
}

TEST_P(VectorsTest, AnEmptyVectorIsZero)
{
    EXPECT_EQ(vec::sum(nullptr, 0), 0);
    EXPECT_EQ(vec::maxAbs(nullptr, 0), 0);
    vec::zero(static_cast<float*>(nullptr), 0);
    vec::copy(static_cast<float*>(nullptr), nullptr, 0);
}

TEST_P(VectorsTest, ANegativeCountTouchesNothing)
{
    Stretch a(4, 0, 1);
    const std::vector<float> before(a.data(), a.data() + 4);
    vec::zero(a.data(), -1);
    vec::copy(a.data(), a.data() + 1, -3);
    vec::multiplyConstant(a.data(), a.data(), 2, -5);
    vec::magnitude(a.data(), a.pairs(), -2);
    EXPECT_EQ(std::memcmp(before.data(), a.data(), 16), 0);
    EXPECT_EQ(vec::sum(a.data(), -1), 0);
}
