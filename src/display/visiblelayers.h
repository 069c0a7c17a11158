// Which layers of a tree are to be seen.
#pragma once

#include "model/ilayer.h"

#include <vector>

class LayerRoot;

struct LayerInView
{
    ILayerPtr layer;
    bool visible = true;
};

// All layers and regions below `group`, groups themselves aside, in list order. What is heard is seen:
// the rule of LayerRoot::isVisible(), for all layers at once.
[[nodiscard]] std::vector<LayerInView> layersInView(const ILayer& group);
// What the pictures of a project show: the layers below "Project" and, while it has content, a tool's
// preview, which stands for a part of the active layer and is seen when that is.
[[nodiscard]] std::vector<LayerInView> layersInPicture(const LayerRoot& root);
