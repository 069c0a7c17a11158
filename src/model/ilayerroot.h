// The layer tree of a project, as plug-ins see it.
#pragma once

#include "model/ilayer.h"

#include <cstdint>

// The order of the operations is part of the contract with them.
class ILayerRoot
{
public:
    // True when the active layer is another one now. Null is allowed: no active layer.
    virtual bool setActive(ILayerPtr layer) = 0;
    // -1: the active layer; 0 to 2: a node; null for any other index.
    [[nodiscard]] virtual ILayerPtr layer(int32_t index) const = 0;
    virtual ~ILayerRoot() = default;
};

enum RootNode : int32_t {
    RootActivePreview = 0, // the preview result of a tool or process
    RootTemporary = 1,     // scratch output of playback, of recording in progress, of edits
    RootProject = 2,       // the user's layers: a group; everything that is saved hangs here
};
