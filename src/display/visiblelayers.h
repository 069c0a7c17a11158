// Which layers of a tree are to be seen.
#pragma once

#include "model/ilayer.h"

#include <vector>

struct LayerInView
{
    ILayerPtr layer;
    bool visible = true;
};

// All layers and regions below `group`, groups themselves aside, in list order. What is heard is seen:
// the rule of LayerRoot::isVisible(), for all layers at once.
[[nodiscard]] std::vector<LayerInView> layersInView(const ILayer& group);
