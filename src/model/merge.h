// Several layers into one. The parts of the merge commands that need no window.
#pragma once

#include "model/layerroot.h"

// Replaces layers of the tree by one new layer with the sound of their mix, named and coloured like the
// first of them and standing at its place. In two halves: the mix is computed at leisure, with no lock held,
// and then takes its place in the tree. GUI thread.
class Merge
{
public:
    // All children of "Project".
    [[nodiscard]] static Merge all(const LayerRoot& root);
    // All children of `group`, which keeps the result as its only child.
    [[nodiscard]] static Merge ofGroup(const LayerGroupPtr& group);
    // The enabled children of "Project". Others stay.
    [[nodiscard]] static Merge visible(const LayerRoot& root);
    // `layer` and the one that follows it in the same group.
    [[nodiscard]] static Merge down(const LayerRoot& root, const ILayerPtr& layer);

    // False, and nothing has changed: there is nothing to merge, `progress` (which may run the event loop)
    // said no, or there is no room for the file (`words`, which may be null, then receives the cause).
    [[nodiscard]] bool prepare(const Progress& progress, QString* words);
    // Changes the tree, under documentLock() for writing. The new layer, which the caller makes active and
    // posts the events of; null when prepare() has not succeeded or the layers no longer stand together.
    LayerPtr apply();

private:
    Merge() = default;
    Merge(const LayerGroupPtr& group, const QList<ILayerPtr>& parts) : m_group(group), m_parts(parts) {}

    LayerGroupPtr m_group;
    QList<ILayerPtr> m_parts; // children of m_group
    LayerPtr m_merged;
};

// Both halves at once, without a progress.
[[nodiscard]] LayerPtr mergeAll(LayerRoot& root, QString* words = nullptr);
[[nodiscard]] LayerPtr mergeGroup(const LayerGroupPtr& group, QString* words = nullptr);
[[nodiscard]] LayerPtr mergeVisible(LayerRoot& root, QString* words = nullptr);
[[nodiscard]] LayerPtr mergeDown(LayerRoot& root, const ILayerPtr& layer, QString* words = nullptr);
