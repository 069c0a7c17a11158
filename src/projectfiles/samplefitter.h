// A stream of samples on its way into another format.
#pragma once

#include "spectral/primitives/resampler.h"

#include <cstdint>
#include <functional>
#include <vector>

// Converts rate and channels, the latter by the usual gains. What comes out in all has
// outputFrames(what went in) sample points, the tail of the filter included. One thread at a time.
class SampleFitter
{
public:
    // Takes the next converted sample points; false stops.
    using Store = std::function<bool(const float* interleaved, int64_t frames)>;

    SampleFitter(const SamplingFormat& input, const SamplingFormat& output);

    // False for rates that lie too far from each other.
    [[nodiscard]] bool isUsable() const;
    [[nodiscard]] double ratio() const { return m_resampler.ratio(); }
    [[nodiscard]] int64_t outputFrames(int64_t inputFrames) const;

    // False when `store` stopped.
    bool take(const float* interleaved, int64_t frames, const Store& store);
    // The rest, behind the last sample.
    bool finish(const Store& store);

private:
    Resampler m_resampler;
    int m_lanes; // floats in an output frame
    std::vector<float> m_buffer;
    int64_t m_taken = 0;
    int64_t m_made = 0;
};
