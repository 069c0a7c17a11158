#include "levels.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double silence = 1e-20;               // power of -200 dB
constexpr int64_t mostCells = int64_t(1) << 24; // floats kept at once
// Half of the main lobe of the four-term windows, in bins without zero padding.
constexpr int32_t lobeBins = 4;

} // namespace

double decibelsOf(double power)
{
    return 10 * std::log10(std::max(power, silence));
}

Levels::Levels(ISpectra* spectra, const ILayerPtr& layer, int32_t channel, const TransformSettings* settings)
{
    if (!spectra || !layer || !settings || !settings->isValid() || settings->hop() < 1)
        return;
    const SamplingFormat format = layer->format();
    if (channel < 0 || channel >= format.channels || !(format.sampleRate > 0) ||
        format.isComplex() != (settings->sampleType != 1))
        return;
    m_spectra = spectra;
    m_layer = layer;
    m_channel = channel;
    m_bins = settings->bins();
    m_lowBin = format.isComplex() ? -(settings->dftLength() / 2) : 0;
    m_hop = settings->hop();
    m_overlap = settings->overlap;
    m_lobe = lobeBins * settings->zeroPadding;
    m_binWidth = format.sampleRate / settings->dftLength();
    m_buffer = spectra->frames(layer);
}

void Levels::prefetch(int64_t first, int64_t count)
{
    if (isValid() && m_channel < 64)
        m_spectra->prefetch(m_layer, first, count, uint64_t(1) << m_channel);
}

const float* Levels::powers(int64_t frame)
{
    if (const auto found = m_frames.find(frame); found != m_frames.end())
        return found->second.data();
    if (int64_t(m_frames.size() + 1) * m_bins > mostCells)
        m_frames.clear();
    std::vector<float>& powers = m_frames[frame];
    powers.resize(size_t(m_bins));
    const Complex* const bins = m_buffer->getFrame(frame, m_channel, nullptr);
    for (int32_t i = 0; i < m_bins; ++i) {
        const int32_t bin = m_lowBin + i;
        const Complex& value = bins[bin < 0 ? bin + m_bins : bin];
        const float power = value.re * value.re + value.im * value.im;
        powers[size_t(i)] = std::isfinite(power) ? power : 0.0f;
    }
    return powers.data();
}

double Levels::decibels(int64_t frame, int64_t bin)
{
    return hasBin(bin) ? decibelsOf(double(power(frame, int32_t(bin)))) : decibelsOf(0);
}

double Levels::refined(int64_t frame, int32_t bin)
{
    if (!hasBin(bin - 1) || !hasBin(bin + 1))
        return bin;
    const double low = decibels(frame, bin - 1), middle = decibels(frame, bin),
                 high = decibels(frame, bin + 1);
    const double bend = low - 2 * middle + high;
    return bend < 0 ? bin + std::clamp(0.5 * (low - high) / bend, -0.5, 0.5) : bin;
}
