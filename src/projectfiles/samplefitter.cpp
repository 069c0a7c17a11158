#include "projectfiles/samplefitter.h"

#include <algorithm>
#include <cmath>

namespace {

// Sample points of output that are held at a time.
constexpr int64_t room = 1 << 16;

} // namespace

SampleFitter::SampleFitter(const SamplingFormat& input, const SamplingFormat& output)
    : m_resampler(input, output, Matrix(), true),
      m_lanes(output.channels * output.sampleType)
{
}

bool SampleFitter::isUsable() const
{
    return m_resampler.isUsable();
}

int64_t SampleFitter::outputFrames(int64_t inputFrames) const
{
    constexpr double most = double(int64_t(1) << 61);
    return inputFrames < 1 ? 0 : std::llround(std::min(double(inputFrames) * ratio(), most));
}

bool SampleFitter::take(const float* interleaved, int64_t frames, const Store& store)
{
    const int64_t lanes = int64_t(m_resampler.inputFormat().channels) * m_resampler.inputFormat().sampleType;
    m_buffer.resize(std::size_t(room * m_lanes));
    // What does not fit at once waits in the resampler: the pieces are small enough for the room.
    const auto piece = std::max<int64_t>(1, int64_t(double(room) / std::max(1.0, 2 * ratio())));
    for (int64_t done = 0; done < frames;) {
        const int64_t count = std::min(piece, frames - done);
        m_taken += count;
        const int64_t made = m_resampler.process(interleaved + done * lanes, count, m_buffer.data(), room);
        m_made += made;
        if (made > 0 && !store(m_buffer.data(), made))
            return false;
        done += count;
    }
    return true;
}

bool SampleFitter::finish(const Store& store)
{
    m_buffer.resize(std::size_t(room * m_lanes));
    while (m_made < outputFrames(m_taken)) {
        const int64_t rest = std::min(room, outputFrames(m_taken) - m_made);
        int64_t made = m_resampler.process(nullptr, 0, m_buffer.data(), rest);
        if (made < 1) {
            // The filter rounds its count down: silence for the last frame.
            made = rest;
            std::fill_n(m_buffer.begin(), made * m_lanes, 0.0f);
        }
        m_made += made;
        if (!store(m_buffer.data(), made))
            return false;
    }
    return true;
}
