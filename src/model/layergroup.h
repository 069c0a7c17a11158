// A layer whose sound is the mix of its children.
#pragma once

#include "model/layer.h"

using LayerGroupPtr = std::shared_ptr<class LayerGroup>;

// Whether the mix of a group hears one of its children; `anySolo` is hasSolo() of that group.
[[nodiscard]] inline bool soundsInGroup(const ILayer& child, bool anySolo)
{
    return anySolo ? child.solo() || child.hasSolo() : child.enabled();
}

// A node of the layer tree. It has no samples of its own, its span is that of its children, and it
// accepts children of exactly its own format. Reading it mixes: each child by polarity * multiplier,
// silent when not `enabled`, or, as soon as any layer below this group is solo, unless it is solo or
// holds a solo layer.
//
// Undo of a group is its child list and whether it is open: a backup is a second group with the same
// list, so no samples are copied. Children carry their own records.
//
// The tree is changed on the GUI thread only. Readers on other threads work on a copy of the list
// (implicitly shared, so it costs no allocation), which also keeps removed layers alive.
class LayerGroup : public Layer
{
public:
    [[nodiscard]] static LayerGroupPtr create(const SamplingFormat& format, const LayerHeader& header = {},
                                              bool withBackup = true);
    // A group that reads as the mix of `layers`, which stay where they are in their own tree.
    [[nodiscard]] static LayerGroupPtr mixOf(const SamplingFormat& format, const QList<ILayerPtr>& layers);
    LayerGroup(Key, const SamplingFormat& format, const LayerHeader& header);
    LayerGroup(Key, const LayerGroup& other); // header copy: also `open`, but no children
    // Trees of any depth die without recursion.
    ~LayerGroup() override;

    // The list of a group that is built from a file, at a cost that does not grow with its square:
    // layers of this group's format that stand in no group yet, each once, none of which holds this group.
    void setNewChildren(const QList<ILayerPtr>& layers);

    [[nodiscard]] int32_t type() const override { return LayerTypeGroup; }
    [[nodiscard]] Range range(bool withAttached = false) const override;
    [[nodiscard]] bool isEmpty() const override;
    [[nodiscard]] bool isOpen() const override { return m_open; }
    bool setOpen(bool open) override;
    [[nodiscard]] bool hasSolo() const override;
    // Direct child or attached; with `recursive` also further down.
    [[nodiscard]] bool containsChild(const ILayerPtr& layer, bool recursive) const override;
    // The three ways to add refuse with false, and change nothing, for null, for another format, for
    // what is a child already, and for a group that holds this one. An index outside the list counts as
    // its nearest end.
    bool insertChildAt(int32_t index, const ILayerPtr& layer) override;
    bool prependChildLayer(const ILayerPtr& layer) override;
    bool appendChildLayer(const ILayerPtr& layer) override;
    // False when an index lies outside the list.
    bool moveChild(int32_t from, int32_t to) override;
    // Null removes all children. False when there was nothing to remove.
    bool removeChildLayer(const ILayerPtr& layer) override;
    [[nodiscard]] QList<ILayerPtr> children(int32_t mode) const override;
    [[nodiscard]] QList<ILayerPtr> pathTo(const ILayerPtr& layer) const override;
    [[nodiscard]] QString filePath() const override { return {}; }

    // The mix. No allocation while gainScale is 1.
    void read(float* out, Range range, int32_t channel, bool overwrite, bool withAttached = false,
              float gain = 1.0f) const override;

    // On every child:
    void setRange(Range range) override;
    void clear() override;
    void moveBy(int64_t samples) override;
    void insertTime(Range range) override;
    void deleteTime(Range range) override;
    void cropTo(Range range) override;
    // Also on every child, so that all keep the group's format.
    void setFormat(const SamplingFormat& format) override;
    // All children, each once, or none (see Layer::changeFormat() and FormatChange); then the group's own.
    // The progress counts the layers below that are no groups. Without room the storage error of the
    // group is set too.
    bool changeFormat(const SamplingFormat& format, const Matrix& matrix, const Progress& progress) override;

    [[nodiscard]] bool needsResampling(const SamplingFormat& target, const Matrix& matrix) const override;

    // A group has no samples: these do nothing.
    bool write(const float*, Range, int32_t, bool) override { return false; }
    void extendTo(Range) override {}
    void stretch(double) override {}
    void replaceByLayer(const ILayerPtr&, float, bool) override {}

    // With a group as source, child by child as far as both lists reach; the list and `open` are then
    // taken over from the source. With any other source only the properties.
    void copyFromLayer(const ILayerPtr& source, Range range, bool withProperties) override;
    // A group of the same header with a copy of each child; null when one could not be made.
    LayerPtr copy(Range& range, bool withBackup) const override;
    [[nodiscard]] LayerPtr clone(bool withBackup) const override;
    [[nodiscard]] LayerPtr cloneInSteps(bool withBackup, const SampleStore::Work& goOn) const override;

    LayerRecord commitRecord() override;
    void applyRecord(const LayerRecord& record, int32_t direction) override;
    // Its own; then, for mode 1 in an open group and for mode 2, its children's with the same mode.
    void resetBackup(int32_t mode) override;

protected:
    [[nodiscard]] LayerPtr makeBackup() const override;

private:
    [[nodiscard]] QList<ILayerPtr> list() const;
    void exchangeList(QList<ILayerPtr> children);
    // The same, and tells the old children and the new ones who their parent is.
    void setList(const QList<ILayerPtr>& children);
    [[nodiscard]] bool accepts(const ILayerPtr& layer) const;
    [[nodiscard]] Range childrenRange(bool withAttached) const;
    void mixChildren(float* out, const Range& ask, int32_t channel, bool withAttached, float gain) const;

    std::atomic<bool> m_open = true;
    mutable Mutex m_listMutex; // a leaf; held for a copy or an exchange of the list only
    QList<ILayerPtr> m_children;
};
