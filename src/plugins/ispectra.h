// The frames of the project's layers.
#pragma once

#include "model/ilayer.h"
#include "spectral/ispectralbuffer.h"

#include <cstdint>

// GUI thread. The order of the operations is part of the contract with plug-ins.
class ISpectra
{
public:
    // The frames of a layer or group, with the transform of the context; made on the first call and kept
    // as long as the layer is in the project. Null for a null layer. What a plug-in changes is written to
    // the samples when its call returns. After writing samples of the layer by other means, call its
    // release() before frames are asked for again.
    virtual ISpectralBuffer* frames(const ILayerPtr& layer) = 0;
    // Analyses frames first .. first + count - 1 of the channels whose bit is set (bit i: i-th channel), on
    // all processors, ahead of a loop over them. As many as memory allows: how many that were, from `first`
    // on, is returned, 0 without a layer. Several times faster than asking for one frame after the other.
    virtual int64_t prefetch(const ILayerPtr& layer, int64_t first, int64_t count, uint64_t channels) = 0;
    virtual ~ISpectra() = default;
};
