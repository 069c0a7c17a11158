// A layer as far as it is selected.
#pragma once

#include "base/locks.h"
#include "model/layer.h"
#include "model/selection.h"
#include "spectral/primitives/transform.h"

#include <memory>
#include <vector>

// Wraps a layer, group or region: whoever reads it hears only the selected part of the target, and
// whoever writes it changes only that part. Everything else is the target's own.
//
// Without a selection or without a usable transform it is transparent, but for the target's
// multiplier, which every read applies.
//
// The frames of the span are analysed with the transform's window, multiplied by the selection's mask
// and resynthesised from their middle 2 H samples under triangles, which sum to 1; so a hard selection
// and its inverse add up to the whole. Nothing is kept between calls. Memory follows a chunk of frames
// and the span itself.
//
// Threads: read and write from any thread, also while settings are exchanged; the setters as the
// target's.
class LayerSelection : public Layer
{
public:
    // `target` is not null.
    [[nodiscard]] static std::shared_ptr<LayerSelection> create(const ILayerPtr& target);
    LayerSelection(Key, const ILayerPtr& target);

    void setSelection(const Selection& selection);
    [[nodiscard]] Selection selection() const;
    // The sample type is that of the target's format, whatever `settings` say.
    void setTransform(const TransformSettings& settings);
    [[nodiscard]] const ILayerPtr& target() const { return m_target; }

    // As ILayer tells, of the selected part. `gain` and the target's multiplier apply.
    void read(float* out, Range range, int32_t channel, bool overwrite, bool withAttached = false,
              float gain = 1.0f) const override;
    // Writes the selected part of `in`, in place of the samples of `range` with `overwrite`. What the
    // resynthesis spreads beyond both ends, up to 2 H samples, is added there.
    bool write(const float* in, Range range, int32_t channel, bool overwrite) override;

    // --- the target's own --------------------------------------------------------------------------

    [[nodiscard]] int32_t type() const override { return m_target->type(); }
    void setName(const std::string& name) override { m_target->setName(name); }
    [[nodiscard]] bool enabled() const override { return m_target->enabled(); }
    void setEnabled(bool enabled) override { m_target->setEnabled(enabled); }
    [[nodiscard]] bool solo() const override { return m_target->solo(); }
    void setSolo(bool solo) override { m_target->setSolo(solo); }
    [[nodiscard]] int32_t polarity() const override { return m_target->polarity(); }
    void setPolarity(int32_t polarity) override { m_target->setPolarity(polarity); }
    [[nodiscard]] float multiplier() const override { return m_target->multiplier(); }
    void setMultiplier(float multiplier) override { m_target->setMultiplier(multiplier); }
    [[nodiscard]] uint32_t color() const override { return m_target->color(); }
    void setColor(uint32_t color) override { m_target->setColor(color); }
    [[nodiscard]] SamplingFormat format() const override { return m_target->format(); }
    [[nodiscard]] Range range(bool withAttached = false) const override
    {
        return m_target->range(withAttached);
    }
    [[nodiscard]] Area area() const override { return m_target->area(); }
    [[nodiscard]] int64_t propertiesTime() const override { return m_target->propertiesTime(); }
    [[nodiscard]] int64_t contentTime() const override { return m_target->contentTime(); }
    [[nodiscard]] Range recordsRange() const override { return m_target->recordsRange(); }
    [[nodiscard]] bool isEmpty() const override { return m_target->isEmpty(); }
    [[nodiscard]] bool isOpen() const override { return m_target->isOpen(); }
    [[nodiscard]] bool contains(ILayerPtr layer, bool recursive) const override
    {
        return m_target->contains(layer, recursive);
    }
    bool insertChild(int32_t index, ILayerPtr layer) override { return m_target->insertChild(index, layer); }
    bool prependChild(ILayerPtr layer) override { return m_target->prependChild(layer); }
    bool appendChild(ILayerPtr layer) override { return m_target->appendChild(layer); }
    bool moveChild(int32_t from, int32_t to) override { return m_target->moveChild(from, to); }
    bool removeChild(ILayerPtr layer) override { return m_target->removeChild(layer); }
    [[nodiscard]] int64_t sourceOffset() const override { return m_target->sourceOffset(); }
    void setSourceOffset(int64_t offset) override { m_target->setSourceOffset(offset); }
    void setRange(Range range) override { m_target->setRange(range); }
    void copyFrom(ILayerPtr source, Range range) override { m_target->copyFrom(source, range); }
    void assignFrom(ILayerPtr source) override { m_target->assignFrom(source); }
    void replaceBy(ILayerPtr source, bool overwrite) override { m_target->replaceBy(source, overwrite); }
    void clear() override { m_target->clear(); }
    void resetToBackup() override { m_target->resetToBackup(); }
    [[nodiscard]] std::string nameStd() const override { return m_target->nameStd(); }
    [[nodiscard]] std::list<ILayerPtr> childrenStd(int32_t mode) const override
    {
        return m_target->childrenStd(mode);
    }
    [[nodiscard]] ILayerPtr sourceShared() const override { return m_target->sourceShared(); }
    [[nodiscard]] QString filePath() const override { return m_target->filePath(); }
    [[nodiscard]] QString name() const override { return m_target->name(); }
    [[nodiscard]] double timeOffset() const override { return m_target->timeOffset(); }
    [[nodiscard]] std::pair<float, float> scale() const override { return m_target->scale(); }
    [[nodiscard]] ILayerPtr attached() const override { return m_target->attached(); }
    [[nodiscard]] bool hasBackup() const override { return m_target->hasBackup(); }
    void resetBackup(int32_t mode) override { m_target->resetBackup(mode); }
    LayerRecord commitRecord() override { return m_target->commitRecord(); }
    bool setOpen(bool open) override { return m_target->setOpen(open); }
    [[nodiscard]] bool hasSolo() const override { return m_target->hasSolo(); }
    [[nodiscard]] bool containsChild(const ILayerPtr& layer, bool recursive) const override
    {
        return m_target->containsChild(layer, recursive);
    }
    bool insertChildAt(int32_t index, const ILayerPtr& layer) override
    {
        return m_target->insertChildAt(index, layer);
    }
    bool prependChildLayer(const ILayerPtr& layer) override { return m_target->prependChildLayer(layer); }
    bool appendChildLayer(const ILayerPtr& layer) override { return m_target->appendChildLayer(layer); }
    bool removeChildLayer(const ILayerPtr& layer) override { return m_target->removeChildLayer(layer); }
    [[nodiscard]] QList<ILayerPtr> children(int32_t mode) const override { return m_target->children(mode); }
    [[nodiscard]] QList<ILayerPtr> pathTo(const ILayerPtr& layer) const override
    {
        return m_target->pathTo(layer);
    }
    [[nodiscard]] QList<ILayerPtr> findParentOf(const ILayerPtr& layer) const override
    {
        return m_target->findParentOf(layer);
    }
    [[nodiscard]] LayerPtr source() const override { return m_target->source(); }
    void moveBy(int64_t samples) override { m_target->moveBy(samples); }
    void setFormat(const SamplingFormat& format) override { m_target->setFormat(format); }
    bool changeFormat(const SamplingFormat& format, const Matrix& matrix, const Progress& progress) override
    {
        return m_target->changeFormat(format, matrix, progress);
    }
    void stretch(double ratio) override { m_target->stretch(ratio); }
    void extendTo(Range range) override { m_target->extendTo(range); }
    void insertTime(Range range) override { m_target->insertTime(range); }
    void deleteTime(Range range) override { m_target->deleteTime(range); }
    void cropTo(Range range) override { m_target->cropTo(range); }
    void copyFromLayer(const ILayerPtr& source, Range range, bool withProperties) override
    {
        m_target->copyFromLayer(source, range, withProperties);
    }
    void assignFromLayer(const ILayerPtr& source, bool withProperties) override
    {
        m_target->assignFromLayer(source, withProperties);
    }
    LayerPtr copy(Range& range, bool withBackup) const override { return m_target->copy(range, withBackup); }
    LayerPtr clone(bool withBackup) const override { return m_target->clone(withBackup); }
    void replaceByLayer(const ILayerPtr& source, float gain, bool overwrite) override
    {
        m_target->replaceByLayer(source, gain, overwrite);
    }
    void applyRecord(const LayerRecord& record, int32_t direction) override
    {
        m_target->applyRecord(record, direction);
    }
    void newBackup() override { m_target->newBackup(); }

private:
    // What one call works with; the settings may be exchanged meanwhile.
    struct View
    {
        Selection selection;
        std::shared_ptr<const Transform> transform;
        SamplingFormat format;
        [[nodiscard]] bool isTransparent() const;
    };
    // The frames of a span.
    struct Frames
    {
        int64_t first = 0;
        int64_t count = 0;
        Range extended; // all samples that their windows see
    };
    [[nodiscard]] View view() const;
    [[nodiscard]] static Frames framesOf(const View& view, const Range& range);
    // `lanes` of the extended span of one channel become their selected part.
    static void filter(const View& view, const Frames& frames, std::vector<std::vector<float>>& lanes);

    const ILayerPtr m_target;
    mutable ReadWriteLock m_settings; // guards the following
    Selection m_selection;
    std::shared_ptr<const Transform> m_transform;
};
