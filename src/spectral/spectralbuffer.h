// An editable, memory-bounded cache of the short-time Fourier frames of one layer.
#pragma once

#include "model/ilayer.h"
#include "spectral/ispectralbuffer.h"
#include "spectral/primitives/transform.h"
#include "spectral/spectralbuffertransform.h"

#include <memory>
#include <unordered_set>
#include <vector>

#include <QBitArray>

// Samples stay the master copy; frames are a cache that can always be rebuilt. What is written back
// of a frame is only the difference between its resynthesis and the signal it was analysed from, so
// frames that nobody touched leave their samples bit-exact. The synthesis window divides the analysis
// window out and leaves a triangle of half-width H; triangles at hop H sum to 1, so a frame writes
// the 2 * H samples about its centre and nothing else.
//
// The cache is direct-mapped: frame f of a channel has the key f * channels + channel, and a key one
// possible slot. A changed frame is never lost: before its slot is taken, all changed frames are
// written out. They do not go to the layer then, but to a layer of differences beside it, and to the
// layer in the next commit(). So all frames of a pass are analysed from the samples as they were when
// it began, and its result does not depend on the memory budget. The cost is a session file as long
// as the span that was changed and evicted, and one more read and write of those samples; without an
// eviction nothing. A frame that was changed, evicted and is asked for again is committed first and
// then analysed from what the edit left.
//
// Used from one thread at a time; it has no lock. Frames are analysed and written back on the pool, in
// runs of neighbours that share a read or write of the layer. Runs of which every second one is written
// never touch the same sample, so even and odd ones go in two passes.
class SpectralBuffer : public ISpectralBuffer
{
public:
    SpectralBuffer() = default;
    ~SpectralBuffer() override;
    SpectralBuffer(const SpectralBuffer&) = delete;
    SpectralBuffer& operator=(const SpectralBuffer&) = delete;

    // Each of the three writes pending changes, then starts afresh when something is different. The
    // sample type of the settings must be that of the layer's format; otherwise the buffer acts as if
    // it had no settings.
    void setLayer(const ILayerPtr& layer);
    void setSettings(const std::shared_ptr<const Transform>& settings);
    void setBufferSizeMB(int64_t megabytes);

    [[nodiscard]] ILayerPtr layer() const { return m_layer; }
    [[nodiscard]] std::shared_ptr<const Transform> settings() const { return m_settings; }
    // Frames of one channel that can be held at once; a power of two, at least 2. 0 without a layer or
    // settings.
    [[nodiscard]] int32_t slotCount() const { return int32_t(m_slots.size()); }

    [[nodiscard]] Complex getBin(int64_t frame, int32_t channel, int32_t bin) override;
    void setBin(int64_t frame, int32_t channel, int32_t bin, Complex value) override;
    Complex* getFrame(int64_t frame, int32_t channel, Complex* destination) override;
    void setFrame(int64_t frame, int32_t channel, const Complex* source) override;
    void clearLayer() override;
    bool commit() override;
    bool release() override;

    // Analyses frames firstFrame .. firstFrame + frameCount - 1 of the channels whose bit is set, in
    // parallel, ahead of a loop over them; as many as the cache holds.
    void prefetch(int64_t firstFrame, int64_t frameCount, const QBitArray& channels);

    // The frame whose centre is nearest to a sample position.
    [[nodiscard]] static int64_t frameAt(int64_t position, int32_t hop);

private:
    struct Slot
    {
        std::unique_ptr<ISpectralBufferTransform> frame;
        int64_t key = 0;
        bool loaded = false; // `frame` holds the frame of `key`
        bool dirty = false;  // and it has changes that are written nowhere yet
    };

    [[nodiscard]] bool isReady() const { return !m_slots.empty(); }
    [[nodiscard]] bool hasChannel(int32_t channel) const { return channel >= 0 && channel < m_channels; }
    [[nodiscard]] Slot& slotOf(int64_t key) { return m_slots[std::size_t(key) & (m_slots.size() - 1)]; }
    [[nodiscard]] int64_t frameOf(int64_t key) const;
    [[nodiscard]] Slot& fetch(int64_t frame, int32_t channel);
    // Takes the slot of `key` for it, not yet analysed.
    Slot& prepare(int64_t key);
    // Reads the samples of prepared frames and transforms them.
    void analyse(const std::vector<int64_t>& keys);
    void touch(Slot& slot);
    void rebuild();
    void forget();
    [[nodiscard]] int32_t wantedSlots() const;
    // The samples that frames lowest .. highest write.
    [[nodiscard]] Range reach(int64_t lowest, int64_t highest) const;
    // Adds the changes of all dirty frames to `target`, which must reach as far as they do.
    [[nodiscard]] bool synthesiseTo(ILayer& target);
    // Writes the dirty frames to the differences.
    void spill();
    [[nodiscard]] bool applyDifferences();
    Complex* zeros();

    int64_t m_bufferBytes = 0;
    ILayerPtr m_layer;
    std::shared_ptr<const Transform> m_settings;
    int32_t m_channels = 0;
    std::vector<Slot> m_slots;
    std::vector<int64_t> m_dirty;          // keys, in order of their first change
    LayerPtr m_differences;                // null while nothing was evicted since the last commit
    std::unordered_set<int64_t> m_evicted; // keys whose changes are in m_differences
    bool m_failed = false;                 // something could not be stored since the last commit
    ArrayTemplate<Complex> m_zeros;
};
