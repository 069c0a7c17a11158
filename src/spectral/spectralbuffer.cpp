#include "spectral/spectralbuffer.h"

#include "base/parallel.h"
#include "model/layer.h"

#include <algorithm>
#include <atomic>
#include <cmath>

namespace {

// Sample points of the differences that are added to the layer at a time.
constexpr int64_t transferBlock = 65536;

int64_t floorDivide(int64_t a, int64_t b)
{
    return a >= 0 ? a / b : -((-a + b - 1) / b);
}

// Neighbouring frames of one channel, whose samples are read or written at once: each sample lies in
// many frames, and each access to a layer takes its locks.
struct Run
{
    int32_t channel = 0;
    int64_t first = 0;     // frame
    std::size_t begin = 0; // in the sorted keys
    std::size_t count = 0;
};
constexpr std::size_t longestRun = 16;

// Sorts `keys` by channel, then frame. Of runs that touch, one has an even and one an odd place.
std::vector<Run> runsOf(std::vector<int64_t>& keys, int32_t channels)
{
    struct Place
    {
        int32_t channel;
        int64_t frame;
    };
    const auto placeOf = [channels](int64_t key) {
        const int64_t frame = floorDivide(key, channels);
        return Place{int32_t(key - frame * channels), frame};
    };
    std::sort(keys.begin(), keys.end(), [&](int64_t a, int64_t b) {
        const Place x = placeOf(a);
        const Place y = placeOf(b);
        return x.channel != y.channel ? x.channel < y.channel : x.frame < y.frame;
    });
    // Few frames are shared out among the threads.
    const std::size_t longest = std::clamp<std::size_t>(keys.size() / 64, 1, longestRun);
    std::vector<Run> runs;
    for (std::size_t i = 0; i < keys.size(); ++i) {
        const auto [channel, frame] = placeOf(keys[i]);
        if (runs.empty() || runs.back().channel != channel || runs.back().count == longest ||
            runs.back().first + int64_t(runs.back().count) != frame)
            runs.push_back({channel, frame, i, 0});
        ++runs.back().count;
    }
    return runs;
}

// Makes storage for `range`, from time 0 on. False when the layer could not grow. A region never grows:
// what is written beyond its window is passed over.
bool makeStorage(ILayer& layer, const Range& range)
{
    if (layer.type() == LayerTypeRegion)
        return true;
    const Range wanted = range.intersected({0, std::max<int64_t>(range.end(), 0)});
    if (wanted.isEmpty())
        return true;
    layer.extendTo(wanted);
    return layer.range().contains(wanted);
}

} // namespace

SpectralBuffer::~SpectralBuffer()
{
    release();
}

int64_t SpectralBuffer::frameAt(int64_t position, int32_t hop)
{
    return std::lround(double(position) / hop);
}

void SpectralBuffer::setLayer(const ILayerPtr& layer)
{
    if (layer == m_layer)
        return;
    release();
    m_layer = layer;
    rebuild();
}

void SpectralBuffer::setSettings(const std::shared_ptr<const Transform>& settings)
{
    release();
    m_settings = settings;
    rebuild();
}

void SpectralBuffer::setBufferSizeMB(int64_t megabytes)
{
    const int64_t bytes = std::clamp<int64_t>(megabytes, 0, int64_t(1) << 30) << 20;
    if (bytes == m_bufferBytes)
        return;
    release();
    m_bufferBytes = bytes;
    rebuild();
}

int32_t SpectralBuffer::wantedSlots() const
{
    // What a frame took when it kept three buffers of M samples beside its 2 * H differences. Frames
    // are smaller now, but the count of them that a budget stands for stays.
    const int64_t floats =
        2 * int64_t(m_settings->hop()) + 3 * int64_t(m_settings->frameSize) * m_settings->zeroPadding;
    const int64_t frames = m_bufferBytes / (4 * floats);
    int64_t count = 2;
    while (2 * count < frames)
        count *= 2;
    return int32_t(std::min<int64_t>(count, int64_t(1) << 30));
}

void SpectralBuffer::rebuild()
{
    m_slots = std::vector<Slot>();
    m_channels = 0;
    if (!m_layer || !m_settings || !m_settings->hasPlan() || m_settings->hop() < 1)
        return;
    const SamplingFormat format = m_layer->format();
    if (format.sampleType != m_settings->sampleType || format.channels < 1)
        return;
    m_channels = format.channels;
    m_slots.resize(std::size_t(wantedSlots()));
}

int64_t SpectralBuffer::frameOf(int64_t key) const
{
    return floorDivide(key, m_channels);
}

Range SpectralBuffer::reach(int64_t lowest, int64_t highest) const
{
    const int64_t hop = m_settings->hop();
    return {hop * (lowest - 1), hop * (highest - lowest + 2)};
}

Complex* SpectralBuffer::zeros()
{
    const int64_t bins = m_settings && m_settings->isValid() ? m_settings->dftLength() + 1 : 0;
    // As long as the frames of the longest transform that is offered, whoever reads without settings.
    m_zeros = ArrayTemplate<Complex>(std::max<int64_t>(bins, 65536 * 4 + 1));
    return m_zeros.data();
}

SpectralBuffer::Slot& SpectralBuffer::prepare(int64_t key)
{
    if (m_evicted.count(key) != 0)
        commit();
    Slot& slot = slotOf(key);
    if (slot.dirty)
        spill();
    if (!slot.frame)
        slot.frame = ISpectralBufferTransform::create(m_settings->sampleType);
    slot.frame->assign(m_settings);
    slot.key = key;
    slot.loaded = true;
    return slot;
}

SpectralBuffer::Slot& SpectralBuffer::fetch(int64_t frame, int32_t channel)
{
    const int64_t key = frame * m_channels + channel;
    Slot& slot = slotOf(key);
    if (slot.loaded && slot.key == key)
        return slot;
    prepare(key);
    analyse({key});
    return slot;
}

void SpectralBuffer::analyse(const std::vector<int64_t>& keys)
{
    const int64_t hop = m_settings->hop();
    const int64_t size = m_settings->frameSize;
    const int64_t type = m_settings->sampleType;
    std::vector<int64_t> sorted = keys;
    const std::vector<Run> runs = runsOf(sorted, m_channels);
    parallelFor(int64_t(runs.size()), [&](int64_t i) {
        const Run& run = runs[std::size_t(i)];
        const Range span{hop * run.first - size / 2, hop * (int64_t(run.count) - 1) + size};
        thread_local std::vector<float> samples;
        samples.resize(std::size_t(span.length * type));
        m_layer->read(samples.data(), span, run.channel, true);
        for (std::size_t k = 0; k < run.count; ++k)
            slotOf(sorted[run.begin + k]).frame->analyse(samples.data() + int64_t(k) * hop * type);
    });
}

void SpectralBuffer::touch(Slot& slot)
{
    if (slot.dirty)
        return;
    slot.dirty = true;
    m_dirty.push_back(slot.key);
}

Complex SpectralBuffer::getBin(int64_t frame, int32_t channel, int32_t bin)
{
    return isReady() && hasChannel(channel) ? fetch(frame, channel).frame->getBin(bin) : Complex{};
}

void SpectralBuffer::setBin(int64_t frame, int32_t channel, int32_t bin, Complex value)
{
    if (!isReady() || !hasChannel(channel))
        return;
    Slot& slot = fetch(frame, channel);
    slot.frame->setBin(bin, value);
    touch(slot);
}

Complex* SpectralBuffer::getFrame(int64_t frame, int32_t channel, Complex* destination)
{
    const bool known = isReady() && hasChannel(channel);
    Complex* spectrum = known ? fetch(frame, channel).frame->spectrum() : zeros();
    if (!destination)
        return spectrum;
    if (m_settings)
        std::copy_n(spectrum, m_settings->bins(), destination);
    return destination;
}

void SpectralBuffer::setFrame(int64_t frame, int32_t channel, const Complex* source)
{
    if (!isReady() || !hasChannel(channel) || !source)
        return;
    Slot& slot = fetch(frame, channel);
    slot.frame->setSpectrum(source);
    touch(slot);
}

void SpectralBuffer::clearLayer()
{
    if (!m_layer)
        return;
    release();
    m_layer->clear();
}

bool SpectralBuffer::synthesiseTo(ILayer& target)
{
    const int64_t hop = m_settings->hop();
    const int64_t type = m_settings->sampleType;
    const std::vector<Run> runs = runsOf(m_dirty, m_channels);
    std::atomic<bool> stored = true;
    for (const int64_t parity : {0, 1})
        parallelFor((int64_t(runs.size()) + 1 - parity) / 2, [&](int64_t i) {
            const Run& run = runs[std::size_t(2 * i + parity)];
            const Range span{hop * (run.first - 1), hop * (int64_t(run.count) + 1)};
            thread_local std::vector<float> samples;
            samples.assign(std::size_t(span.length * type), 0.0f);
            for (std::size_t k = 0; k < run.count; ++k)
                slotOf(m_dirty[run.begin + k])
                    .frame->synthesise(samples.data() + (int64_t(k) + 1) * hop * type);
            if (!target.write(samples.data(), span, run.channel, false))
                stored = false;
        });
    for (const int64_t key : m_dirty)
        slotOf(key).dirty = false;
    m_dirty.clear();
    return stored;
}

void SpectralBuffer::spill()
{
    if (!m_differences)
        m_differences = Layer::create(m_layer->format(), {}, 0, false);
    const auto [lowest, highest] = std::minmax_element(m_dirty.begin(), m_dirty.end());
    Range wanted = reach(frameOf(*lowest), frameOf(*highest));
    m_evicted.insert(m_dirty.begin(), m_dirty.end());
    // Ahead of need, since a pass over a small cache comes here with every frame.
    const Range have = m_differences->range();
    if (!have.contains(wanted.intersected({0, std::max<int64_t>(wanted.end(), 0)})))
        wanted.length += std::max(transferBlock, have.length / 2);
    if (!makeStorage(*m_differences, wanted) || !synthesiseTo(*m_differences))
        m_failed = true;
}

bool SpectralBuffer::applyDifferences()
{
    const int64_t hop = m_settings->hop();
    std::vector<int64_t> keys(m_evicted.begin(), m_evicted.end());
    std::sort(keys.begin(), keys.end());
    if (!makeStorage(*m_layer, reach(frameOf(keys.front()), frameOf(keys.back()))))
        return false;
    const int64_t floatsPerSample = m_settings->sampleType;
    ArrayTemplate<float> block(transferBlock * floatsPerSample);
    // Runs of neighbouring frames, channel by channel: nothing else may be written to, since adding
    // a difference of 0 would still copy its blocks for undo.
    for (int32_t channel = 0; channel < m_channels; ++channel) {
        int64_t done = 0; // samples below this are added
        for (const int64_t key : keys) {
            const int64_t frame = frameOf(key);
            if (key - frame * m_channels != channel)
                continue;
            const int64_t end = hop * (frame + 1);
            for (int64_t at = std::max({done, hop * (frame - 1), int64_t(0)}); at < end;
                 at += transferBlock) {
                const Range part{at, std::min(transferBlock, end - at)};
                m_differences->read(block.data(), part, channel, true);
                if (!m_layer->write(block.data(), part, channel, false))
                    return false;
            }
            done = std::max(done, end);
        }
    }
    return true;
}

bool SpectralBuffer::commit()
{
    if (!m_layer || (m_dirty.empty() && m_evicted.empty()))
        return true;
    bool stored = !m_failed;
    if (!m_evicted.empty()) {
        if (!m_dirty.empty())
            spill();
        stored = !m_failed && applyDifferences();
        m_differences.reset();
        m_evicted.clear();
    } else {
        const auto [lowest, highest] = std::minmax_element(m_dirty.begin(), m_dirty.end());
        stored = makeStorage(*m_layer, reach(frameOf(*lowest), frameOf(*highest))) && synthesiseTo(*m_layer);
    }
    m_failed = false;
    if (!stored)
        forget(); // frames and samples no longer agree
    return stored;
}

void SpectralBuffer::forget()
{
    // The frames keep their memory, which counts within the budget: the next operation fills it again.
    for (Slot& slot : m_slots)
        slot.loaded = slot.dirty = false;
    m_dirty.clear();
}

bool SpectralBuffer::release()
{
    const bool stored = commit();
    forget();
    return stored;
}

void SpectralBuffer::prefetch(int64_t firstFrame, int64_t frameCount, const QBitArray& channels)
{
    if (!isReady() || frameCount < 1)
        return;
    const int64_t first = firstFrame * m_channels;
    const int64_t count = std::min<int64_t>(frameCount, slotCount() / m_channels + 1) * m_channels;
    std::vector<int64_t> keys;
    for (int64_t key = first; key < first + std::min<int64_t>(count, slotCount()); ++key) {
        const auto channel = int(key - frameOf(key) * m_channels);
        const Slot& slot = slotOf(key);
        if ((slot.loaded && slot.key == key) || channel >= channels.size() || !channels.testBit(channel))
            continue;
        prepare(key);
        keys.push_back(key);
    }
    analyse(keys);
}
