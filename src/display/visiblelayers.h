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
// a layer shows when it and every group around it is enabled, or, in a group where anything is solo,
// when it or something in it is.
[[nodiscard]] std::vector<LayerInView> layersInView(const ILayer& group);
