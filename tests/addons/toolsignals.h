// Signals and frames for tests of the selection tools.
#pragma once

#include "plugins/ispectra.h"
#include "spectral/spectralbuffer.h"

#include <map>
#include <memory>
#include <vector>

// Frames as the host serves them.
class TestSpectra : public ISpectra
{
public:
    explicit TestSpectra(std::shared_ptr<const Transform> transform) : m_transform(std::move(transform)) {}

    ISpectralBuffer* frames(const ILayerPtr& layer) override;
    int64_t prefetch(const ILayerPtr& layer, int64_t first, int64_t count, uint64_t channels) override;

private:
    SpectralBuffer* bufferOf(const ILayerPtr& layer);

    std::shared_ptr<const Transform> m_transform;
    std::map<ILayerPtr, std::unique_ptr<SpectralBuffer>> m_buffers;
};

// A sine, or for complex formats a turning pointer, added to interleaved samples of one channel.
void addTone(std::vector<float>& samples, const SamplingFormat& format, double hz, double amplitude,
             int64_t start = 0, int64_t length = -1);
// Gaussian noise of that rms; for complex formats in each of the two parts.
void addNoise(std::vector<float>& samples, double rms, unsigned seed);
