// A copy of a long layer, with a progress.
#pragma once

#include "model/layer.h"

// Like clone(true): a layer, or a group with all that it holds. Null when `progress` said no, or without
// room (`words`, which may be null, then receives the cause). `progress` may run the event loop: no lock is
// held then.
[[nodiscard]] LayerPtr copyInSteps(const ILayerPtr& layer, const Progress& progress,
                                   QString* words = nullptr);
