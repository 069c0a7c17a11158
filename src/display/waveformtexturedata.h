// One finished envelope of a layer's channel, and what a view asks for to get one.
#pragma once

#include "display/layerplacement.h"
#include "model/ilayer.h"
#include "model/types/range.h"
#include "model/types/units.h"

#include <QVector4D>

#include <memory>
#include <tuple>

struct WaveformRequest
{
    FRange range;         // samples that the view shows
    int textureWidth = 0; // device pixels that it shows them in
    double step = 0;      // samples per column, at least 1; 0 before the first request
    int upsample = 0;     // texels per column
    Filtering filtering = Filtering::Raw;
    // Of the layer, at the time of the request: a change moves the samples under the picture.
    double timeShift = 0;
    std::pair<float, float> layerScale{1, 1};

    // Whether both ask for the same picture. A NaN makes them differ.
    [[nodiscard]] bool sameAs(const WaveformRequest& other) const
    {
        const auto key = [](const WaveformRequest& r) {
            return std::tie(r.range.start, r.range.length, r.textureWidth, r.step, r.upsample, r.filtering,
                            r.timeShift, r.layerScale);
        };
        return key(*this) == key(other);
    }
};

// Made by a texture thread, taken from its queue by the view; nobody writes it after it was queued.
struct WaveformTextureData
{
    ILayerPtr layer;          // keeps the layer alive
    FRange range;             // what the texture covers, by the edges of its texels
    int width = 0;            // texels
    LayerPlacement placement; // of the layer at the time of the request
    Filtering filtering = Filtering::Raw;
    double step = 0; // samples per column: at 1 each column is a single sample, and x equals y
    int upsample = 1;
    int64_t firstColumn = 0; // texel i * upsample is the column about sample (firstColumn + i) * step
    int64_t columnCount = 0;
    // For each texel minimum and maximum of the samples (x, y), of a complex layer those of the real
    // parts and then (z, w) those of the imaginary parts. Null when there is nothing to show.
    std::unique_ptr<QVector4D[]> data;
};
using WaveformTextureDataPtr = std::unique_ptr<WaveformTextureData>;
