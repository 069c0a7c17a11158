// Where a layer stands on the timeline, apart from its samples: the preview of a move changes no more.
#pragma once

#include "model/ilayer.h"

struct LayerPlacement
{
    double shift = 0;   // samples
    double stretch = 1; // of the length

    [[nodiscard]] static LayerPlacement of(const ILayer& layer)
    {
        return {layer.timeOffset(), double(layer.scale().first)};
    }
    friend bool operator==(const LayerPlacement&, const LayerPlacement&) = default;
};

// Where a span of a picture of the layer belongs by now that was made when it stood at `then`, so that it
// follows before the next picture is there.
[[nodiscard]] inline FRange whereNow(const ILayer& layer, const LayerPlacement& then, const FRange& span)
{
    const LayerPlacement now = LayerPlacement::of(layer);
    if (now == then)
        return span;
    const double start = double(layer.range(true).start) - now.shift; // of its samples
    const double factor = now.stretch / then.stretch;
    return {(span.start - start - then.shift) * factor + start + now.shift, span.length * factor};
}
