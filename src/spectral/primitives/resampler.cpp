#include "spectral/primitives/resampler.h"

#include "base/denormals.h"
#include "base/parallel.h"
#include "spectral/primitives/defaultremix.h"
#include "spectral/primitives/remix.h"
#include "spectral/primitives/soxrstream.h"

#include <algorithm>
#include <cmath>

namespace {

// Below this many frames on both sides one call of soxr is cheaper than a stream.
constexpr int64_t shortSignal = 130000;
// soxr keeps its working set in the cache with blocks of this size: three times faster than one call
// on a long buffer.
constexpr int64_t blockFrames = 40000;
// Output frames that one lane may make in a round, however large the ratio is.
constexpr int64_t mostRoundFrames = 1 << 20;
// soxr makes all output of a block at once, so large ratios need small blocks; beyond this ratio even
// one frame takes too much memory, either way.
constexpr double largestRatio = 65536;

bool hasFormat(const SamplingFormat& format)
{
    SamplingFormat copy = format;
    return sanitizeFormat(copy);
}

bool isUsableRatio(double ratio)
{
    return ratio <= largestRatio && ratio >= 1 / largestRatio;
}

int64_t blockFor(double ratio)
{
    return std::clamp<int64_t>(int64_t(double(mostRoundFrames) / ratio), 1, blockFrames);
}

// One lane of a long signal.
struct Lane
{
    Lane(double rate, double ratio, bool highQuality, int64_t room)
        : stream(rate, rate * ratio, 1, highQuality),
          in(std::size_t(blockFor(ratio))),
          out(std::size_t(room))
    {
    }

    // Takes up to `frames` values of `source`, `stride` apart.
    void run(const float* source, int stride, int64_t frames, int64_t room)
    {
        step = {};
        bool all = true;
        while (all && step.used < frames) {
            const int64_t block = std::min(int64_t(in.size()), frames - step.used);
            if (stride == 2)
                gather<2>(source + step.used * 2, block);
            else
                gather<0>(source + step.used * stride, block, stride);
            const int64_t used = feed(in.data(), block, room);
            all = used == block;
            step.used += used;
        }
    }

    // The tail after the input. soxr rounds its count down where it ends on a half: one frame of
    // silence more brings the full count.
    void finish(int64_t room)
    {
        step = {};
        if (!ended) {
            in[0] = 0;
            feed(in.data(), 1, room);
        }
        ended = true;
        feed(nullptr, 0, room);
    }

    SoxrStream stream;
    std::vector<float> in;
    std::vector<float> out;
    SoxrStream::Step step; // of the last run
    bool ended = false;

private:
    // With the stride known to the compiler the loop becomes vector shuffles.
    template<int Stride>
    void gather(const float* __restrict source, int64_t count, int stride = Stride)
    {
        float* __restrict values = in.data();
        for (int64_t i = 0; i < count; ++i)
            values[i] = source[i * (Stride ? Stride : stride)];
    }

    int64_t feed(const float* values, int64_t count, int64_t room)
    {
        const SoxrStream::Step part = stream.process(values, count, out.data() + step.made, room - step.made);
        step.made += part.made;
        return part.used;
    }
};

// Stereo, the usual case, in one pass.
void interleave(const std::vector<std::unique_ptr<Lane>>& lanes, float* target, int64_t frames)
{
    const std::size_t count = lanes.size();
    if (count == 2) {
        const float* __restrict left = lanes[0]->out.data();
        const float* __restrict right = lanes[1]->out.data();
        float* __restrict out = target;
        for (int64_t frame = 0; frame < frames; ++frame) {
            out[2 * frame] = left[frame];
            out[2 * frame + 1] = right[frame];
        }
        return;
    }
    for (std::size_t i = 0; i < count; ++i) {
        const float* values = lanes[i]->out.data();
        for (int64_t frame = 0; frame < frames; ++frame)
            target[std::size_t(frame) * count + i] = values[frame];
    }
}

} // namespace

Resampler::Resampler(const SamplingFormat& input, const SamplingFormat& output, const Matrix& matrix,
                     bool highQuality)
    : m_input(input),
      m_output(output),
      m_highQuality(highQuality),
      m_usable(hasFormat(input) && hasFormat(output))
{
    if (!m_usable)
        return;
    m_ratio = output.sampleRate / input.sampleRate;
    m_usable = isUsableRatio(m_ratio);
    if (!m_usable)
        return;
    m_resampleFirst = input.channels * input.sampleType <= output.channels * output.sampleType;
    m_matrix = fitted(matrix, output.channels, input.channels);
    if (isZero(m_matrix))
        m_matrix = defaultRemix(input, output);
    start();
}

Resampler::Resampler(const SamplingFormat& format, double ratio, bool highQuality)
    : m_input(format),
      m_output(format),
      m_ratio(ratio),
      m_highQuality(highQuality)
{
    m_output.sampleRate *= ratio;
    m_usable = isUsableRatio(ratio) && hasFormat(format) && hasFormat(m_output);
    if (!m_usable)
        return;
    m_matrix = Matrix(format.channels, format.channels);
    start();
}

Resampler::~Resampler() = default;

void Resampler::start()
{
    m_inputLanes = m_input.channels * m_input.sampleType;
    m_outputLanes = m_output.channels * m_output.sampleType;
    m_lanes = m_resampleFirst ? m_inputLanes : m_outputLanes;
    setMatrix(Matrix(m_matrix));
    if (m_ratio != 1)
        m_stream = std::make_unique<SoxrStream>(m_input.sampleRate, m_input.sampleRate * m_ratio, m_lanes,
                                                m_highQuality);
}

void Resampler::setMatrix(const Matrix& matrix)
{
    if (!m_usable)
        return;
    m_matrix = fitted(matrix, m_output.channels, m_input.channels);
    m_plain = m_input.sampleType == m_output.sampleType && isIdentity(m_matrix);
}

const char* Resampler::error() const
{
    return m_stream ? m_stream->error() : nullptr;
}

int64_t Resampler::defaultOutput(int64_t inFrames) const
{
    constexpr double most = double(int64_t(1) << 61);
    return std::llround(std::min(double(inFrames) * m_ratio, most));
}

void Resampler::clear()
{
    if (m_stream)
        m_stream->clear();
    m_carry.clear();
    m_pending.clear();
}

int64_t Resampler::latency()
{
    if (!m_stream)
        return 0;
    clear();
    // Far above the delay of any filter; a stream that yields nothing must not hold us for ever.
    constexpr int64_t most = 1 << 24;
    constexpr int64_t reserve = 143;
    const std::vector<float> zeros(static_cast<std::size_t>(m_lanes));
    std::vector<float> frame(zeros.size());
    int64_t calls = 0;
    while (calls < most) {
        ++calls;
        if (m_stream->process(zeros.data(), 1, frame.data(), 1).made > 0)
            break;
        if (m_stream->error())
            return 0;
    }
    clear();
    return calls + reserve;
}

// At the converting side's width: all input in, at most `room` frames out.
int64_t Resampler::convert(const float* in, int64_t inFrames, float* out, int64_t room)
{
    if (!m_stream) {
        const int64_t frames = std::min(inFrames, room);
        std::copy_n(in, frames * m_lanes, out);
        return frames;
    }
    int64_t made = 0;
    const int64_t block = blockFor(m_ratio);
    // Gives soxr `frames` frames; returns how many it took before the room or its own appetite ended.
    const auto feed = [&](const float* source, int64_t frames) {
        int64_t taken = 0;
        while (taken < frames && made < room) {
            const auto step = m_stream->process(source + taken * m_lanes, std::min(frames - taken, block),
                                                out + made * m_lanes, room - made);
            taken += step.used;
            made += step.made;
            if (step.used == 0 && step.made == 0)
                break;
        }
        return taken;
    };
    const int64_t kept = feed(m_carry.data(), int64_t(m_carry.size()) / m_lanes);
    m_carry.erase(m_carry.begin(), m_carry.begin() + kept * m_lanes);
    const int64_t taken = m_carry.empty() ? feed(in, inFrames) : 0;
    if (taken < inFrames && !m_stream->error())
        m_carry.insert(m_carry.end(), in + taken * m_lanes, in + inFrames * m_lanes);
    if (!in && m_carry.empty() && made < room)
        made += m_stream->process(nullptr, 0, out + made * m_lanes, room - made).made;
    return made;
}

int64_t Resampler::process(const float* in, int64_t inFrames, float* out, int64_t outFrames)
{
    inFrames = in ? std::max<int64_t>(inFrames, 0) : 0;
    if (!m_usable || (inFrames == 0 && m_ratio == 1))
        return 0;
    if (outFrames <= 0)
        outFrames = defaultOutput(inFrames);
    if (m_ratio == 1)
        outFrames = std::min(outFrames, inFrames);
    const std::size_t pending = m_pending.size();
    if (!out) {
        m_pending.resize(pending + std::size_t(outFrames * m_outputLanes));
        out = m_pending.data() + pending;
    }
    int64_t made = 0;
    if (m_plain) {
        made = convert(in, inFrames, out, outFrames);
    } else if (m_resampleFirst) {
        m_scratch.resize(std::size_t(outFrames * m_lanes));
        made = convert(in, inFrames, m_scratch.data(), outFrames);
        remix(m_matrix, m_scratch.data(), m_input.sampleType, out, m_output.sampleType, made);
    } else {
        m_scratch.resize(std::size_t(inFrames * m_lanes));
        remix(m_matrix, in, m_input.sampleType, m_scratch.data(), m_output.sampleType, inFrames);
        made = convert(in ? m_scratch.data() : nullptr, inFrames, out, outFrames);
    }
    if (out == m_pending.data() + pending)
        m_pending.resize(pending + std::size_t(made * m_outputLanes));
    return made;
}

int64_t Resampler::available() const
{
    return m_outputLanes ? int64_t(m_pending.size()) / m_outputLanes : 0;
}

int64_t Resampler::read(float* out, int64_t frames)
{
    frames = std::clamp<int64_t>(frames, 0, available());
    std::copy_n(m_pending.data(), frames * m_outputLanes, out);
    m_pending.erase(m_pending.begin(), m_pending.begin() + frames * m_outputLanes);
    return frames;
}

int64_t Resampler::processAll(const float* in, int64_t inFrames, float* out, int64_t outFrames)
{
    if (!in)
        return 0;
    return processPieces([&](int64_t first, int64_t) { return in + first * m_inputLanes; }, inFrames, out,
                         outFrames);
}

int64_t Resampler::processPieces(const Pieces& pieces, int64_t inFrames, float* out, int64_t outFrames)
{
    if (!m_usable || !out || inFrames < 1)
        return 0;
    clear();
    // No more than there is.
    outFrames = outFrames > 0 ? std::min(outFrames, defaultOutput(inFrames)) : defaultOutput(inFrames);
    const DenormalsOff denormalsOff;
    if (m_ratio == 1)
        return remixAll(pieces, std::min(inFrames, outFrames), out);
    if (m_plain && inFrames < shortSignal && outFrames < shortSignal) {
        const float* in = pieces(0, inFrames);
        if (!in)
            return 0;
        const int64_t made = SoxrStream::oneShot(m_input.sampleRate, m_input.sampleRate * m_ratio, m_lanes,
                                                 m_highQuality, in, inFrames, out, outFrames);
        // soxr rounds a half down, and without room for the last input it does not flush.
        if (made == outFrames)
            return made;
    }
    return convertByLanes(pieces, inFrames, out, outFrames);
}

int64_t Resampler::remixAll(const Pieces& pieces, int64_t frames, float* out) const
{
    for (int64_t done = 0; done < frames; done += blockFrames) {
        const int64_t count = std::min(blockFrames, frames - done);
        const float* in = pieces(done, count);
        if (!in)
            return done;
        if (m_plain)
            std::copy_n(in, count * m_inputLanes, out + done * m_outputLanes);
        else
            remix(m_matrix, in, m_input.sampleType, out + done * m_outputLanes, m_output.sampleType, count);
    }
    return frames;
}

// Each lane has a resampler of its own, so that lanes can go on different threads. A round takes a
// few blocks of input of all lanes, and ends with their interleaving. Lanes are alike, so all of them
// take and make the same counts.
int64_t Resampler::convertByLanes(const Pieces& pieces, int64_t inFrames, float* out, int64_t outFrames)
{
    const int64_t roundFrames = blockFor(m_ratio) * std::clamp<int64_t>(8 / m_lanes, 1, 4);
    const int64_t roundRoom =
        int64_t(std::min(std::ceil(double(roundFrames) * m_ratio) + 1, double(mostRoundFrames)));
    std::vector<std::unique_ptr<Lane>> lanes;
    for (int i = 0; i < m_lanes; ++i)
        lanes.push_back(std::make_unique<Lane>(m_input.sampleRate, m_ratio, m_highQuality, roundRoom));
    const bool remixBefore = !m_plain && !m_resampleFirst;
    const bool remixAfter = !m_plain && m_resampleFirst;
    int64_t used = 0;
    int64_t written = 0;
    while (written < outFrames) {
        const int64_t frames = std::min(roundFrames, inFrames - used);
        const int64_t room = std::min(roundRoom, outFrames - written);
        const float* source = frames > 0 ? pieces(used, frames) : nullptr;
        if (frames > 0 && !source)
            break;
        if (remixBefore) {
            m_scratch.resize(std::size_t(frames * m_lanes));
            remix(m_matrix, source, m_input.sampleType, m_scratch.data(), m_output.sampleType, frames);
            source = m_scratch.data();
        }
        parallelFor(m_lanes, [&](int64_t i) {
            if (frames > 0)
                lanes[std::size_t(i)]->run(source + i, m_lanes, frames, room);
            else
                lanes[std::size_t(i)]->finish(room);
        });
        const SoxrStream::Step step = lanes.front()->step;
        if (step.used == 0 && step.made == 0)
            break;
        if (remixAfter)
            m_scratch.resize(std::size_t(step.made * m_lanes));
        float* target = remixAfter ? m_scratch.data() : out;
        interleave(lanes, target, step.made);
        if (remixAfter)
            remix(m_matrix, target, m_input.sampleType, out, m_output.sampleType, step.made);
        used += step.used;
        out += step.made * m_outputLanes;
        written += step.made;
    }
    return written;
}
