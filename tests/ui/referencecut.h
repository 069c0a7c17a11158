// What a cut and a removal are, in double precision and straight from their description.
#pragma once

#include "model/selection.h"
#include "model/types/samplingformat.h"
#include "model/types/transformsettings.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <vector>

#include <QBitArray>

// Frames of N samples every H = N / overlap, under a Blackman-Harris window, padded with zeros to a power of
// two. Each is transformed, multiplied by its row of the mask, transformed back, freed of the window, and
// added under a triangle of half-width H. The mask is the selection's own.
class ReferenceCut
{
public:
    // `samples` interleaved, from time 0 on; complex ones as pairs.
    ReferenceCut(std::vector<float> samples, const SamplingFormat& format, const TransformSettings& settings,
                 const Selection& selection, const QBitArray& channels)
        : m_samples(samples.begin(), samples.end()),
          m_format(format),
          m_size(settings.frameSize),
          m_length(settings.frameSize * settings.zeroPadding),
          m_hop(settings.frameSize / settings.overlap),
          m_range(selection.range()),
          m_first(std::lround(double(m_range.start) / m_hop)),
          m_last(std::lround(double(m_range.end()) / m_hop)),
          m_mask(format.isComplex() ? m_length : m_length / 2 + 1, int(m_last - m_first + 1)),
          m_channels(channels)
    {
        selection.rasterize(m_mask, fullBandArea(format, m_range));
        for (int i = 0; i < m_size; ++i) {
            const double x = 2 * M_PI * i / m_size;
            m_window.push_back(0.35875 - 0.48829 * std::cos(x) + 0.14128 * std::cos(2 * x) -
                               0.01168 * std::cos(3 * x));
        }
    }

    // The selected part is what lies in the time of the selection, and the rest is left.
    [[nodiscard]] std::vector<double> cut() const
    {
        std::vector<double> left = m_samples;
        add(
            left, [](double weight) { return -weight; }, m_range);
        return left;
    }
    // Each frame times the rest of the mask, also one hop beyond the time of the selection.
    [[nodiscard]] std::vector<double> removed() const
    {
        std::vector<double> left = m_samples;
        add(left, [](double weight) { return -weight; },
            {m_hop * (m_first - 1), m_hop * (m_last - m_first + 2)});
        return left;
    }
    // One hop beyond the frames that are touched; behind that no sample may change.
    [[nodiscard]] bool mayTouch(int64_t position) const
    {
        return position > m_hop * (m_first - 1) && position < m_hop * (m_last + 1);
    }

private:
    using Values = std::vector<std::complex<double>>;

    // Cooley and Tukey, 1965; the length is a power of two. Not scaled.
    static void transform(Values& values, double sign)
    {
        const std::size_t n = values.size();
        for (std::size_t i = 1, j = 0; i < n; ++i) {
            std::size_t bit = n >> 1;
            for (; j & bit; bit >>= 1)
                j ^= bit;
            j ^= bit;
            if (i < j)
                std::swap(values[i], values[j]);
        }
        for (std::size_t length = 2; length <= n; length *= 2) {
            std::vector<std::complex<double>> turns;
            for (std::size_t k = 0; k < length / 2; ++k)
                turns.push_back(std::polar(1.0, sign * 2 * M_PI * double(k) / double(length)));
            for (std::size_t start = 0; start < n; start += length)
                for (std::size_t k = 0; k < length / 2; ++k) {
                    const std::complex<double> odd = values[start + length / 2 + k] * turns[k];
                    values[start + length / 2 + k] = values[start + k] - odd;
                    values[start + k] += odd;
                }
        }
    }
    [[nodiscard]] int column(int k) const
    {
        if (!m_format.isComplex())
            return std::min(k, m_length - k);
        return k < m_length / 2 ? k + m_length / 2 : k - m_length / 2;
    }
    template<class Weight>
    void add(std::vector<double>& out, const Weight& weight, const Range& keep) const
    {
        const int step = m_format.channels * m_format.sampleType;
        const int64_t count = int64_t(m_samples.size()) / step;
        for (int channel = 0; channel < m_format.channels; ++channel) {
            if (!m_channels.testBit(channel))
                continue;
            for (int64_t frame = m_first; frame <= m_last; ++frame) {
                const int64_t begin = m_hop * frame - m_size / 2;
                Values values(static_cast<std::size_t>(m_length));
                for (int i = 0; i < m_size; ++i) {
                    const int64_t at = begin + i;
                    if (at < 0 || at >= count)
                        continue;
                    const double* sample = &m_samples[std::size_t(at * step + channel * m_format.sampleType)];
                    values[std::size_t(i)] =
                        std::complex<double>(sample[0], m_format.isComplex() ? sample[1] : 0) *
                        m_window[std::size_t(i)];
                }
                transform(values, -1);
                const float* row = &m_mask.data[std::size_t((frame - m_first) * m_mask.outputs)];
                for (int k = 0; k < m_length; ++k)
                    values[std::size_t(k)] *= weight(double(row[column(k)]));
                transform(values, 1);
                for (int64_t i = m_size / 2 - m_hop; i < m_size / 2 + m_hop; ++i) {
                    const int64_t at = begin + i;
                    if (at < 0 || at >= count || !keep.contains({at, 1}))
                        continue;
                    const double triangle = 1 - std::abs(double(i - m_size / 2)) / double(m_hop);
                    const std::complex<double> part =
                        values[std::size_t(i)] * triangle / (m_length * m_window[std::size_t(i)]);
                    double* sample = &out[std::size_t(at * step + channel * m_format.sampleType)];
                    sample[0] += part.real();
                    if (m_format.isComplex())
                        sample[1] += part.imag();
                }
            }
        }
    }

    std::vector<double> m_samples;
    SamplingFormat m_format;
    int m_size;
    int m_length;
    int64_t m_hop;
    Range m_range;
    int64_t m_first;
    int64_t m_last;
    Matrix m_mask;
    QBitArray m_channels;
    std::vector<double> m_window;
};
