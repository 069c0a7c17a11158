// What tools and processes see of the document.
#pragma once

#include "model/ilayer.h"
#include "model/types/area.h"
#include "model/types/channelsmode.h"
#include "model/types/samplingformat.h"
#include "model/types/transformsettings.h"

#include <memory>

class ILayerRoot;
class ISelection;

// Stands behind the host table of a tool or process; refilled before every call of execute().
// The pointers are good during that call only.
struct PluginContext
{
    SamplingFormat format;
    ChannelsMode channelsMode;
    std::shared_ptr<const TransformSettings> transform; // in fact a Transform
    ILayerPtr activeLayer;                              // may be null
    ILayerRoot* root = nullptr;
    ISelection* selection = nullptr;
    Area area; // in view
};
