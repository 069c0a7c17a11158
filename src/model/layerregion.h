// A window on another layer.
#pragma once

#include "model/layer.h"

using LayerRegionPtr = std::shared_ptr<class LayerRegion>;

// A clip on the timeline that shows a stretch of its source and owns no samples: position p of the
// timeline shows position p + sourceOffset() of the source, for the sample points of the window. Any
// number of regions may share a source; what is written through one is seen in all.
//
// The source need not stand in the tree. It has its own backup and records, so an edit made through a
// region is undone by the source's record; the region's own record is its header and its window.
//
// The window is where a host has placed its clip. So the calls that would move, cut or convert samples
// do nothing here (clear, setRange, setFormat, extendTo, insertTime, deleteTime, cropTo, moveBy,
// stretch); the place is changed by setWindow() and setSourceOffset() alone.
//
// Of a change of format it takes the format and moves its window with the rate. The source is
// converted by itself (LayerRoot::allLayers() has it), and is not heard before.
//
// Threads: as for Layer. read() takes a copy of the window and holds no lock while the source reads.
class LayerRegion : public Layer
{
public:
    // Takes the format of `source`, which must not be null; a source that holds this region, however
    // deep, is kept out by the group (LayerGroup refuses such a child).
    [[nodiscard]] static LayerRegionPtr create(const LayerPtr& source, int64_t start, int64_t length,
                                               int64_t sourceOffset, const LayerHeader& header = {},
                                               bool withBackup = true);
    LayerRegion(Key, const LayerPtr& source, const LayerHeader& header, Range window, int64_t sourceOffset);

    [[nodiscard]] Range window() const;
    // Place and extent on the timeline, raw. Negative starts are allowed: the host decides.
    void setWindow(Range window);
    // For the copy of a whole tree, whose regions share sources as the original's do. The format must
    // be the same; before the region is shared between threads.
    void setSource(const LayerPtr& source);

    [[nodiscard]] int32_t type() const override { return LayerTypeRegion; }
    [[nodiscard]] SamplingFormat format() const override;
    // The window through timeOffset and timeScale; never that of the source.
    [[nodiscard]] Range range(bool withAttached = false) const override;
    [[nodiscard]] bool isEmpty() const override { return window().isEmpty(); }
    // The later of its own and the source's, so that an edit shows in every region.
    [[nodiscard]] int64_t contentTime() const override;
    [[nodiscard]] LayerPtr source() const override;
    [[nodiscard]] int64_t sourceOffset() const override;
    void setSourceOffset(int64_t offset) override;
    [[nodiscard]] QString filePath() const override { return {}; }
    // The attached layer and the source; with `recursive` also what the source holds.
    [[nodiscard]] bool containsChild(const ILayerPtr& layer, bool recursive) const override;
    // (region, source) for the source.
    [[nodiscard]] QList<ILayerPtr> pathTo(const ILayerPtr& layer) const override;

    void read(float* out, Range range, int32_t channel, bool overwrite, bool withAttached = false,
              float gain = 1.0f) const override;
    // Writes the part that lies in the window into the source. True when there is none.
    bool write(const float* in, Range range, int32_t channel, bool overwrite) override;
    void copyFromLayer(const ILayerPtr& source, Range range, bool withProperties) override;
    void replaceByLayer(const ILayerPtr& source, float gain, bool overwrite) override;

    void clear() override {}
    void setRange(Range) override {}
    void setFormat(const SamplingFormat&) override {}
    void extendTo(Range) override {}
    void insertTime(Range) override {}
    void deleteTime(Range) override {}
    void cropTo(Range) override {}
    void moveBy(int64_t) override {}
    void stretch(double) override {}
    [[nodiscard]] bool needsResampling(const SamplingFormat&, const Matrix&) const override { return false; }

    // A region with the same window, whatever part of it `range` asks for, on a clone of the source;
    // null when there is no room for that.
    LayerPtr copy(Range& range, bool withBackup) const override;
    [[nodiscard]] LayerPtr clone(bool withBackup) const override;
    [[nodiscard]] LayerPtr cloneInSteps(bool withBackup, const SampleStore::Work& goOn) const override;

    LayerRecord commitRecord() override;
    void applyRecord(const LayerRecord& record, int32_t direction) override;
    // Its own and that of the source.
    void resetBackup(int32_t mode) override;

protected:
    [[nodiscard]] LayerPtr makeBackup() const override;
    void adoptFormat(const SamplingFormat& format, Conversion& conversion) override;

private:
    struct View
    {
        LayerPtr source;
        SamplingFormat format;
        Range window;
        int64_t offset;
    };
    [[nodiscard]] View view() const;
    [[nodiscard]] LayerRegionPtr twin(const LayerPtr& source) const;
    void mixIn(const ILayer& from, const Range& range, float gain, bool overwrite);

    mutable Mutex m_viewMutex; // a leaf; guards m_view
    View m_view;
};
