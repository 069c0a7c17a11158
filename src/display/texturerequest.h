// What a view asks of a texture thread.
#pragma once

#include "model/types/area.h"
#include "model/types/units.h"
#include "spectral/primitives/transform.h"

#include <QSize>

#include <memory>
#include <tuple>
#include <utility>

struct TextureRequest
{
    Area area;
    QSize size;      // device pixels
    double step = 0; // samples per transform column; 0 before the first request
    int upsample = 0;
    float timeSharpen = 0;
    float freqSharpen = 0;
    FreqScale freqScale = FreqScale::Linear;
    Filtering filtering = Filtering::Raw;
    // Of the layer, at the time of the request: a change moves the samples under the picture.
    double timeShift = 0;
    std::pair<float, float> layerScale{1, 1};
    std::shared_ptr<const Transform> settings;
    // Refine by moving energy instead of masking it. No part of what makes two requests differ.
    bool scatter = false;

    // Whether both ask for the same picture. A NaN makes them differ.
    [[nodiscard]] bool sameAs(const TextureRequest& other) const
    {
        const auto key = [](const TextureRequest& r) {
            return std::tie(r.area.x, r.area.y, r.area.width, r.area.height, r.step, r.upsample,
                            r.timeSharpen, r.freqSharpen, r.freqScale, r.filtering, r.timeShift, r.layerScale,
                            r.settings);
        };
        return key(*this) == key(other) && size == other.size;
    }
};
