// Layers to measure with.
#pragma once

#include "model/layer.h"

#include <cmath>
#include <cstdlib>
#include <random>
#include <vector>

// `seconds` times the same second, channels interleaved, without a backup.
[[nodiscard]] inline LayerPtr repeatedLayer(const SamplingFormat& format, const std::vector<float>& second,
                                            int64_t seconds)
{
    LayerPtr layer = Layer::create(format, {}, 0, false);
    for (int64_t i = 0; i < seconds; ++i)
        if (!layer->append(second.data(), std::llround(format.sampleRate)))
            std::abort();
    layer->finishAppend();
    return layer;
}

// White noise between -0.5 and 0.5, the same second over and over.
[[nodiscard]] inline LayerPtr noiseLayer(const SamplingFormat& format, int64_t seconds)
{
    std::mt19937 random(7);
    std::uniform_real_distribution<float> sample(-0.5f, 0.5f);
    std::vector<float> second(std::size_t(std::llround(format.sampleRate)) * std::size_t(format.channels));
    for (float& s : second)
        s = sample(random);
    return repeatedLayer(format, second, seconds);
}
