// Makes the picture of one channel of one layer for a request. The thread around it is SpectralTexture.
#pragma once

#include "display/blockpool.h"
#include "display/columnring.h"
#include "display/spectralproject.h"
#include "display/spectraltexturedata.h"
#include "display/texturerequest.h"

#include <atomic>
#include <vector>

// What the last render had to do.
struct RenderCounts
{
    int64_t columns = 0;   // of the picture
    int64_t placed = 0;    // new in the ring
    int64_t changed = 0;   // transformed
    int64_t projected = 0; // brought to rows; all others were copied from the last picture
};

// Nothing here is proportional to the length of the layer: a render costs its columns, at most one for
// each pixel and a few more, and of these only what the last picture did not have. One thread at a
// time, which holds documentLock for reading during render(); the work is spread over the pool.
class SpectralRenderer
{
public:
    // `ringSize`: a power of two.
    SpectralRenderer(ILayerPtr layer, int channel, int ringSize);

    // The picture, without data when there is nothing to show: the area misses the layer, or the
    // settings do not fit its format. `refresh` reads the samples of all columns again, as after an edit.
    // Null when `cancel` became true meanwhile; only clear() may follow then.
    [[nodiscard]] SpectralTextureDataPtr render(const TextureRequest& request, bool refresh,
                                                const std::atomic<bool>& cancel);
    [[nodiscard]] const RenderCounts& counts() const { return m_counts; }
    // Forgets columns and memory.
    void clear();

private:
    // What rows depend on beside their column: while it stays the same, rows are copied.
    struct Projection
    {
        std::shared_ptr<const Transform> settings;
        SamplingFormat format;
        double step = 0;
        int upsample = 0;
        double bottom = 0; // Hz
        double height = 0; // Hz
        int rows = 0;
        FreqScale freqScale = FreqScale::Linear;
        Filtering filtering = Filtering::Raw;
        float timeSharpen = 0;
        float freqSharpen = 0;
        friend bool operator==(const Projection&, const Projection&) = default;
    };
    // The picture in the making.
    struct Job;

    [[nodiscard]] bool canShow(const TextureRequest& request, const TextureGrid& grid) const;
    [[nodiscard]] bool mustReadAgain(const TextureRequest& request) const;
    void prepareProjection(const TextureRequest& request, const TextureGrid& grid);
    void project(Job& job);
    void runChunk(Job& job, int64_t chunk);
    [[nodiscard]] const float* readSpan(Job& job, const Range& columns, int64_t& first) const;
    void runColumn(Job& job, int64_t column, const float* samples = nullptr);
    void projectColumn(Job& job, int64_t column);
    [[nodiscard]] bool keepsRows(const Job& job, int64_t column) const;
    void interpolate(Job& job);
    void interpolateGap(Job& job, int64_t gap) const;
    void scatter(Job& job);

    ILayerPtr m_layer;
    int m_channel;
    ColumnRing m_ring;
    BlockPool m_pool;
    RenderCounts m_counts;

    Projection m_projection;
    Convert m_convert;            // with the tables for m_projection
    TextureRequest m_lastRequest; // that gave a picture
    // The last picture; its data may be copied as long as m_projection stands.
    TextureGrid m_lastGrid;
    std::shared_ptr<const float[]> m_lastData;

    // For each column of the picture. Neighbouring elements are written by different threads.
    std::vector<uint8_t> m_run;     // must run
    std::vector<uint8_t> m_changed; // ran, and came out different
    std::vector<uint8_t> m_copied;  // its rows are those of the last picture
};
