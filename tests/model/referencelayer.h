// A layer as plainly as it can be said: the frames of a timeline in a vector. What the real one is
// compared with.
#pragma once

#include "model/types/range.h"
#include "model/types/samplingformat.h"

#include <algorithm>
#include <cstdint>
#include <vector>

namespace modeltest {

class ReferenceLayer
{
public:
    ReferenceLayer() = default;
    explicit ReferenceLayer(const SamplingFormat& format)
        : m_width(std::size_t(format.frameBytes() / 4)),
          m_type(std::size_t(format.sampleType))
    {
    }

    [[nodiscard]] Range range() const { return {m_start, int64_t(m_frames.size())}; }
    [[nodiscard]] std::vector<float> samples() const
    {
        std::vector<float> all;
        for (const Frame& frame : m_frames)
            all.insert(all.end(), frame.begin(), frame.end());
        return all;
    }

    void setRange(Range target)
    {
        target = fromZero(target);
        place(target.isEmpty() ? Range{} : target);
    }
    void extendTo(Range target)
    {
        target = fromZero(target);
        if (!target.isEmpty())
            place(range().united(target));
    }
    void cropTo(const Range& target)
    {
        const Range kept = range().intersected(fromZero(target));
        place(kept.isEmpty() ? Range{} : kept);
    }
    void moveBy(int64_t distance)
    {
        if (!m_frames.empty())
            m_start = std::max<int64_t>(0, m_start + distance);
    }
    void insertTime(const Range& gap)
    {
        if (gap.length < 1 || m_frames.empty() || gap.start >= range().end())
            return;
        if (gap.start <= m_start)
            m_start += gap.length;
        else
            m_frames.insert(m_frames.begin() + (gap.start - m_start), std::size_t(gap.length), silence());
    }
    // Time by time: a moment that is cut out takes its frame with it, or draws the data nearer.
    void deleteTime(Range cut)
    {
        cut = fromZero(cut);
        if (cut.start >= range().end())
            return;
        std::vector<Frame> kept;
        for (int64_t i = 0; i < int64_t(m_frames.size()); ++i)
            if (m_start + i < cut.start || m_start + i >= cut.start + cut.length)
                kept.push_back(m_frames[std::size_t(i)]);
        if (cut.start < m_start)
            m_start = std::max(cut.start, m_start - cut.length);
        m_frames = kept;
        if (m_frames.empty())
            m_start = 0;
    }
    void write(const float* in, const Range& span, int channel, bool overwrite)
    {
        const Range target = fromZero(span);
        if (target.isEmpty())
            return;
        extendTo(target);
        const std::size_t width = channel < 0 ? m_width : m_type;
        const std::size_t first = channel < 0 ? 0 : std::size_t(channel) * m_type;
        for (int64_t at = target.start; at < target.end(); ++at)
            for (std::size_t part = 0; part < width; ++part) {
                float& sample = m_frames[std::size_t(at - m_start)][first + part];
                const float value = in[std::size_t(at - span.start) * width + part];
                sample = overwrite ? value : sample + value;
            }
    }

private:
    using Frame = std::vector<float>;

    static Range fromZero(const Range& span)
    {
        const int64_t first = std::max<int64_t>(0, span.start);
        return span.length < 1 || span.end() <= first ? Range{} : Range{first, span.end() - first};
    }
    [[nodiscard]] Frame silence() const { return Frame(m_width, 0.0f); }
    void place(const Range& target)
    {
        std::vector<Frame> frames(std::size_t(target.length), silence());
        for (int64_t i = 0; i < int64_t(m_frames.size()); ++i)
            if (m_start + i >= target.start && m_start + i < target.end())
                frames[std::size_t(m_start + i - target.start)] = m_frames[std::size_t(i)];
        m_frames = frames;
        m_start = target.start;
    }

    std::size_t m_width = 1;
    std::size_t m_type = 1;
    int64_t m_start = 0;
    std::vector<Frame> m_frames;
};

} // namespace modeltest
