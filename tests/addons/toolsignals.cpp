#include "addons/toolsignals.h"

#include <algorithm>
#include <cmath>
#include <random>

#include <QBitArray>

namespace {

constexpr double pi = 3.14159265358979323846;

} // namespace

SpectralBuffer* TestSpectra::bufferOf(const ILayerPtr& layer)
{
    if (!layer)
        return nullptr;
    std::unique_ptr<SpectralBuffer>& buffer = m_buffers[layer];
    if (!buffer) {
        buffer = std::make_unique<SpectralBuffer>();
        buffer->setLayer(layer);
        buffer->setSettings(m_transform);
        buffer->setBufferSizeMB(100);
    }
    return buffer.get();
}

ISpectralBuffer* TestSpectra::frames(const ILayerPtr& layer)
{
    return bufferOf(layer);
}

int64_t TestSpectra::prefetch(const ILayerPtr& layer, int64_t first, int64_t count, uint64_t channels)
{
    SpectralBuffer* const buffer = bufferOf(layer);
    if (!buffer)
        return 0;
    QBitArray bits(layer->format().channels);
    for (int i = 0; i < bits.size(); ++i)
        bits.setBit(i, channels >> i & 1);
    const int64_t held = std::min<int64_t>(count, buffer->slotCount() / bits.size());
    buffer->prefetch(first, held, bits);
    return held;
}

void addTone(std::vector<float>& samples, const SamplingFormat& format, double hz, double amplitude,
             int64_t start, int64_t length)
{
    const int floats = format.sampleType;
    const int64_t count = int64_t(samples.size()) / floats;
    const int64_t end = length < 0 ? count : std::min(count, start + length);
    for (int64_t i = start; i < end; ++i) {
        const double phase = 2 * pi * std::fmod(hz * double(i) / format.sampleRate, 1.0);
        samples[size_t(i * floats)] += float(amplitude * std::cos(phase));
        if (floats == 2)
            samples[size_t(i * floats + 1)] += float(amplitude * std::sin(phase));
    }
}

void addNoise(std::vector<float>& samples, double rms, unsigned seed)
{
    std::mt19937 random(seed);
    std::normal_distribution<double> sample(0, rms);
    for (float& value : samples)
        value += float(sample(random));
}
