// A short-time transform in double precision, straight from the formulas, and the projection onto
// rows: what the pictures are held against.
#pragma once

#include "model/types/units.h"

#include <cmath>
#include <complex>
#include <vector>

struct ReferenceColumn
{
    std::vector<double> magnitudes;
    std::vector<double> time; // shifts in hops
    std::vector<double> freq; // shifts in bins
};

class ReferenceStft
{
public:
    ReferenceStft(std::vector<float> samples, int frameSize, int overlap, int padding)
        : m_samples(std::move(samples)),
          m_size(frameSize),
          m_overlap(overlap),
          m_padding(padding),
          m_length(frameSize * padding)
    {
        // Blackman-Harris, periodic, with sum 2.
        double sum = 0;
        for (int n = 0; n < m_size; ++n) {
            const double x = 2 * M_PI * n / m_size;
            m_window.push_back(0.35875 - 0.48829 * std::cos(x) + 0.14128 * std::cos(2 * x) -
                               0.01168 * std::cos(3 * x));
            sum += m_window.back();
        }
        for (double& w : m_window)
            w *= 2 / sum;
        for (int n = 0; n < m_size; ++n)
            m_timeWindow.push_back((n - m_size / 2) * m_window[std::size_t(n)] / m_size * m_overlap);
        for (int n = 0; n < m_size; ++n) {
            const auto w = [&](int i) { return m_window[std::size_t(i)]; };
            double slope = 0;
            if (n == 0)
                slope = (w(1) - w(0)) * m_size;
            else if (n == m_size - 1)
                slope = (w(n) - w(n - 1)) * m_size;
            else
                slope = (w(n + 1) - w(n - 1)) * m_size / 2;
            m_derivativeWindow.push_back(-slope * m_padding / (2 * M_PI));
        }
        for (int i = 0; i < m_length; ++i)
            m_turn.push_back(std::polar(1.0, -2 * M_PI * i / m_length));
    }

    // The frame centred on `centre`. The shifts cost two more transforms.
    [[nodiscard]] ReferenceColumn column(int64_t centre, bool withShifts) const
    {
        ReferenceColumn result;
        const int bins = m_length / 2 + 1;
        for (int k = 0; k < bins; ++k) {
            const std::complex<double> x = bin(centre, m_window, k);
            result.magnitudes.push_back(std::abs(x));
            if (!withShifts)
                continue;
            const double power = std::norm(x);
            const double t = (bin(centre, m_timeWindow, k) * std::conj(x)).real();
            const double f = (bin(centre, m_derivativeWindow, k) * std::conj(x)).imag();
            result.time.push_back(power > 0 ? t / power : 0);
            result.freq.push_back(k >= bins / 4 * 4 ? f : power > 0 ? f / power : 0);
        }
        if (withShifts) {
            result.time.push_back(0);
            result.freq.push_back(0);
        }
        return result;
    }

private:
    [[nodiscard]] std::complex<double> bin(int64_t centre, const std::vector<double>& window, int k) const
    {
        std::complex<double> sum = 0;
        const int64_t first = centre - m_size / 2;
        for (int64_t i = 0; i < m_size; ++i)
            if (first + i >= 0 && first + i < int64_t(m_samples.size()))
                sum += window[std::size_t(i)] * double(m_samples[std::size_t(first + i)]) *
                       m_turn[std::size_t(k * (i + (m_length - m_size) / 2) % m_length)];
        return sum;
    }

    std::vector<float> m_samples;
    int m_size;
    int m_overlap;
    int m_padding;
    int m_length;
    std::vector<double> m_window;
    std::vector<double> m_timeWindow;
    std::vector<double> m_derivativeWindow;
    std::vector<std::complex<double>> m_turn;
};

// The mask of one column next to `neighbour`, which lies `distance` hops away.
inline std::vector<double> referenceMask(const ReferenceColumn& column, const ReferenceColumn& neighbour,
                                         double t, double f, double distance)
{
    const auto unit = [](double x) { return std::min(std::max(x, 0.0), 1.0); };
    std::vector<double> mask;
    for (std::size_t k = 0; k < column.magnitudes.size(); ++k) {
        const double a = t * column.time[k];
        const double b = f * column.freq[k];
        const double wt = a / distance;
        const double wf = b;
        const double w0 = 1 - wt - wf;
        const double at = wt * t * neighbour.time[k] + w0 * a + wf * t * column.time[k + 1];
        const double bt = wt * f * neighbour.freq[k] + w0 * b + wf * f * column.freq[k + 1];
        const double r2 = a * a + b * b;
        const double p = unit(2 - 2 * std::abs(a)) * unit(2 - 2 * std::abs(b));
        if (r2 == 0) {
            mask.push_back(p);
            continue;
        }
        const double q = unit((at * a + bt * b) / r2);
        mask.push_back(std::max(unit(q * 2 / std::sqrt(r2)), p));
    }
    return mask;
}

// Positive frequencies only.
inline double referenceScale(FreqScale scale, double f)
{
    switch (scale) {
    case FreqScale::Mel:
        return 1127 * std::log(f / 700 + 1);
    case FreqScale::Bark:
        return 6 * std::asinh(f / 600);
    case FreqScale::Erb:
        return 21.4 * std::log10(0.00437 * f + 1);
    case FreqScale::MidiLogarithmic:
        return f >= 16.35 ? 69 + 12 * std::log2(f / 440) : f * 11.998308205 / 16.35;
    case FreqScale::Linear:
        break;
    }
    return f;
}

// By bisection, so that it shares nothing with a closed inverse.
inline double referenceUnscale(FreqScale scale, double value, double nyquist)
{
    double low = 0;
    double high = 2 * nyquist;
    for (int i = 0; i < 100; ++i)
        (referenceScale(scale, (low + high) / 2) < value ? low : high) = (low + high) / 2;
    return (low + high) / 2;
}

// The rows of the whole band from 0 Hz to Nyquist; `magnitudes` are bins 0 to Nyquist.
inline std::vector<double> referenceRows(const std::vector<double>& magnitudes, FreqScale scale, bool cubic,
                                         int rows, double nyquist)
{
    const int maxBin = int(magnitudes.size()) - 1;
    std::vector<double> result;
    double previous = 0;
    for (int r = 0; r < rows; ++r) {
        const double hz = referenceUnscale(scale, referenceScale(scale, nyquist) * r / rows, nyquist);
        const double position = hz / nyquist * maxBin;
        // Averages as wide as the gap to the row below.
        std::vector<double> level(magnitudes.begin(), magnitudes.end() - 1);
        int stride = 1;
        while (position - previous > 2 * stride) {
            std::vector<double> next;
            for (std::size_t i = 0; i + 1 < level.size(); i += 2)
                next.push_back((level[i] + level[i + 1]) / 2);
            level = next;
            stride *= 2;
        }
        previous = position;
        if (stride == 1)
            level.push_back(magnitudes.back());
        const int last = int(level.size()) - 1;
        const int ownLength = maxBin / stride;
        const int n = int(position / stride);
        const double x = position / stride - n;
        const auto at = [&](int i) { return level[std::size_t(std::min(i, last))]; };
        if (cubic && n >= 1 && n < ownLength - 2)
            result.push_back(at(n - 1) * (x * x - 0.5 * x * x * x - 0.5 * x) +
                             at(n) * (1.5 * x * x * x - 2.5 * x * x + 1) +
                             at(n + 1) * (2 * x * x - 1.5 * x * x * x + 0.5 * x) +
                             at(n + 2) * (0.5 * x * x * x - 0.5 * x * x));
        else
            result.push_back(at(n) * (1 - x) + at(n + 1) * x);
    }
    return result;
}
