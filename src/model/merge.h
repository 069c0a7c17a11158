// Several layers into one. The parts of the merge commands that need no window.
#pragma once

#include "model/layerroot.h"

// Each replaces layers of the tree by one new layer with the sound of their mix, named and coloured
// like the first of them and standing at its place, and returns it; the caller makes it active and
// posts the events. Null, with nothing changed, when there is nothing to merge, or when there is no
// room for the file (`words`, which may be null, then receives the cause).

// All children of "Project".
[[nodiscard]] LayerPtr mergeAll(LayerRoot& root, QString* words = nullptr);
// All children of `group`, which keeps the result as its only child.
[[nodiscard]] LayerPtr mergeGroup(const LayerGroupPtr& group, QString* words = nullptr);
// The enabled children of "Project". Others stay.
[[nodiscard]] LayerPtr mergeVisible(LayerRoot& root, QString* words = nullptr);
// `layer` and the one that follows it in the same group.
[[nodiscard]] LayerPtr mergeDown(LayerRoot& root, const ILayerPtr& layer, QString* words = nullptr);
