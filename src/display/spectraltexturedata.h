// One finished picture of a layer's channel.
#pragma once

#include "display/layerplacement.h"
#include "model/ilayer.h"
#include "model/types/area.h"
#include "model/types/units.h"

#include <QSize>

#include <memory>

// Made by a texture thread, taken from its queue by the view. The memory of `data` is shared with the
// thread, which copies unchanged columns out of it into the next picture, and goes back to the
// thread's pool with the last holder; nobody writes it after it was queued.
struct SpectralTextureData
{
    ILayerPtr layer;          // keeps the layer alive
    Area area;                // what the block really covers
    QSize size;               // time columns, rows
    LayerPlacement placement; // of the layer at the time of the request
    Filtering filtering = Filtering::Raw;
    // Linear magnitudes, size.height() rows of column c from c * height on, lowest frequency first.
    // Null when there is nothing to show.
    std::shared_ptr<const float[]> data;
};
using SpectralTextureDataPtr = std::unique_ptr<SpectralTextureData>;
