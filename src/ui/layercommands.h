// The commands on the tree of layers that need no window.
#pragma once

#include "model/layerroot.h"

// Each changes the tree and returns the layer that is to become active; null when nothing has changed. The
// caller holds the document's lock for writing,
// posts the events and records the step. "Active" is the active layer of `root`. GUI thread.
namespace layercommands {

// The group that holds the layer, or null when it is not below "Project".
[[nodiscard]] LayerGroupPtr groupOf(const LayerRoot& root, const ILayerPtr& layer);
// Its place there; -1 for none.
[[nodiscard]] int placeOf(const LayerRoot& root, const ILayerPtr& layer);

// Above the active one, or on top. The names are numbered, the colour is unset.
ILayerPtr newLayer(LayerRoot& root);
ILayerPtr newGroup(LayerRoot& root);
// Puts a copy of the active layer above it, and names it after it.
ILayerPtr addDuplicate(LayerRoot& root, const LayerPtr& copy);
// The active layer leaves the tree; its neighbour becomes active, or the group that it leaves empty.
ILayerPtr remove(LayerRoot& root);
// Whether that would leave no layer at the top level.
[[nodiscard]] bool isLast(const LayerRoot& root, const ILayerPtr& layer);
// A new group in the place of the active layer, which holds it.
ILayerPtr group(LayerRoot& root);
// The children of the active group take its place. An empty one just goes.
ILayerPtr ungroup(LayerRoot& root);
// To a place of `target`, counted before the layer leaves its own. Refused for a place inside the layer.
ILayerPtr move(LayerRoot& root, const ILayerPtr& layer, const LayerGroupPtr& target, int place);
// One place up or down among its neighbours; from an end of a group out of it.
ILayerPtr moveBy(LayerRoot& root, const ILayerPtr& layer, int direction);

} // namespace layercommands
