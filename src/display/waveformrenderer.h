// Makes the envelope of one channel of one layer for a request. The thread around it is WaveformTexture.
#pragma once

#include "display/scales/cubictable.h"
#include "display/texturegrid.h"
#include "display/waveformtexturedata.h"
#include "model/types/samplingformat.h"

#include <atomic>
#include <vector>

// A column is minimum and maximum of the samples about it: of all that belong to it, but of no more than
// longestWindow. Farther out the envelope is a sampling of the signal, so that what a render costs does
// not depend on the length of the layer: at most longestWindow samples for each pixel.
//
// Columns stand on a fixed grid, and the ring keeps them from one render to the next; a pan so reads
// what came into view. One thread at a time, which holds documentLock for reading during render(); the
// work is spread over the pool.
class WaveformRenderer
{
public:
    static constexpr int64_t longestWindow = 32768;

    // `ringSize`: a power of two, the most columns that there are at once.
    WaveformRenderer(ILayerPtr layer, int channel, int ringSize);

    // The block, without data when there is nothing to show. `refresh` reads the samples of all columns
    // again, as after an edit. Null when `cancel` became true meanwhile.
    [[nodiscard]] WaveformTextureDataPtr render(const WaveformRequest& request, bool refresh,
                                                const std::atomic<bool>& cancel);
    // Columns that the last render read.
    [[nodiscard]] int64_t readCount() const { return m_readCount; }
    // Forgets all columns.
    void clear();

private:
    // What stands in the columns depends on; while it stays the same they are kept.
    struct Source
    {
        SamplingFormat format;
        double step = 0;
        double timeShift = 0;
        std::pair<float, float> layerScale{1, 1};
        // As the preview of a move does it: the layer's samples lie farther apart or closer.
        [[nodiscard]] bool isStretched() const { return layerScale.first != 1; }
        friend bool operator==(const Source&, const Source&) = default;
    };

    [[nodiscard]] std::size_t slot(int64_t column) const { return std::size_t(column & m_mask); }
    [[nodiscard]] std::vector<Range> missing(const TextureGrid& grid, int64_t window) const;
    // Where `samples` of the layer begin on the timeline that have sample `key` in their middle.
    [[nodiscard]] int64_t startAbout(int64_t key, int64_t samples) const;
    void readColumns(const TextureGrid& grid, const Range& columns, int64_t window);
    void readLongColumn(const TextureGrid& grid, int64_t column, int64_t window);
    void fill(WaveformTextureData& block, const TextureGrid& grid);

    ILayerPtr m_layer;
    int m_channel;
    int64_t m_mask;
    std::vector<QVector4D> m_columns; // at the column's number modulo the size
    std::vector<int64_t> m_keys;      // the sample on which the column there is centred
    Source m_source;                  // of all columns
    CubicTable m_cubic;
    int64_t m_readCount = 0;
};
