#include "spectral/primitives/windows.h"

#include <cmath>

namespace {

constexpr double twoPi = 6.283185307179586;

// Sums of cosines: constant - first cos(x) + second cos(2 x) - third cos(3 x).
struct CosineSum
{
    double constant;
    double first;
    double second;
    double third;
};

float cosineSum(const CosineSum& terms, float ratio)
{
    const double x = twoPi * double(ratio);
    return float(terms.constant - terms.first * std::cos(x) + terms.second * std::cos(2 * x) -
                 terms.third * std::cos(3 * x));
}

// I0(a) by its power series for a squared argument, cut where a term no longer counts.
float bessel(float squaredArgument)
{
    float sum = 0;
    float term = 1;
    float k = 0;
    do {
        sum += term;
        k += 1;
        term *= squaredArgument / (k * 4 * k);
    } while (term > sum * 1e-6f);
    return sum;
}

float kaiser15(float ratio)
{
    static const float denominator = bessel(225.0f);
    const float x = 2 * ratio - 1;
    return bessel(225.0f * (1 - x * x)) / denominator;
}

float windowValue(WindowType type, float ratio)
{
    switch (type) {
    case WindowType::Kaiser15:
        return kaiser15(ratio);
    case WindowType::BlackmanHarris:
        return cosineSum({0.35875, 0.48829, 0.14128, 0.01168}, ratio);
    case WindowType::Blackman:
        return cosineSum({0.42, 0.5, 0.08, 0}, ratio);
    case WindowType::Hann:
        return cosineSum({0.5, 0.5, 0, 0}, ratio);
    case WindowType::Hamming:
        return cosineSum({0.53836, 0.46164, 0, 0}, ratio);
    case WindowType::Bartlett:
        return 1 - std::abs(2 * ratio - 1);
    case WindowType::Rectangle:
        break;
    }
    return 1;
}

} // namespace

void writeWindow(WindowType type, int32_t length, float* destination)
{
    for (int32_t n = 0; n < length; ++n)
        destination[n] = windowValue(type, float(n) / float(length));
}
