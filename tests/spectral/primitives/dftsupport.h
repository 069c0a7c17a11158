// Transforms held against independent computations in double precision.
#pragma once

#include "spectral/primitives/dftplan.h"
#include "spectral/primitives/planning.h"

#include <fftw3.h>
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <random>
#include <set>
#include <vector>

namespace dfttest {

using Exact = std::complex<double>;
constexpr double pi = 3.14159265358979323846;

// Every size that the field "FFT size" offers: each octave from 32 to 32768 in quarters, and the
// largest of the radio profile.
inline std::vector<int> fftSizes()
{
    std::vector<int> sizes;
    for (int octave = 32; octave <= 32768; octave *= 2)
        for (int quarter = 0; quarter < 4 && octave + octave / 4 * quarter <= 32768; ++quarter)
            sizes.push_back(octave + octave / 4 * quarter);
    sizes.push_back(65536);
    return sizes;
}

// ... times zero padding 1 to 4.
inline std::set<int> dftLengths()
{
    std::set<int> lengths;
    for (const int size : fftSizes())
        for (int padding = 1; padding <= 4; ++padding)
            lengths.insert(size * padding);
    return lengths;
}

inline ArrayTemplate<Complex> randomValues(int64_t count, unsigned seed)
{
    std::mt19937 generator(seed);
    std::uniform_real_distribution<float> values(-1, 1);
    ArrayTemplate<Complex> result(count);
    for (Complex& value : result)
        value = {values(generator), values(generator)};
    return result;
}

// The independent computations: term by term for small lengths, FFTW in double precision for the rest.
inline std::vector<Exact> exactDft(const std::vector<Exact>& source, int sign)
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

inline std::vector<Exact> widened(const ArrayTemplate<Complex>& values)
{
    std::vector<Exact> result;
    for (const Complex& value : values)
        result.emplace_back(double(value.re), double(value.im));
    return result;
}

// Largest difference, over the root mean square of the expected values.
inline double error(const Complex* values, const std::vector<Exact>& expected, std::size_t count)
{
    double most = 0, power = 0;
    for (std::size_t i = 0; i < count; ++i) {
        most = std::max(most, std::abs(Exact(double(values[i].re), double(values[i].im)) - expected[i]));
        power += std::norm(expected[i]);
    }
    return most / std::sqrt(power / double(count));
}

constexpr double tolerance = 4e-6; // a dozen roundings of single precision

inline Planning planningUnderTest = Planning::Estimate;

inline void usePlans(Planning planning)
{
    planningUnderTest = planning;
    setPlanning(planning);
}

inline void checkKind(const DftPlan& plan)
{
    const PlanKind expected =
        planningUnderTest == Planning::Measured ? PlanKind::Measured : PlanKind::Estimated;
    for (const DftDirection direction : {DftDirection::Forward, DftDirection::Inverse})
        EXPECT_EQ(int(planInForce(plan, direction)), int(expected)) << plan.length();
}

inline void checkComplex(int length)
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

inline void checkReal(int length)
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

} // namespace dfttest
