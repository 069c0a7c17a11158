// The level of a signal at one spot of the time-frequency plane.
#pragma once

#include "model/ilayer.h"
#include "spectral/primitives/transform.h"

// Magnitude of the one frame of `transform` that is centred at `time` (sample points), at exactly
// `hz`, not at the nearest bin: |sum of x[i] * analysisWindow[i] * exp(-2 pi j hz i / rate)|. A
// full-scale sinusoid of that frequency reads 1, as in the picture. 0 without a usable transform,
// format or channel. It reads frameSize samples of `layer`: cheap enough for each move of a mouse.
[[nodiscard]] double levelAt(const ILayer& layer, const Transform& transform, int channel, double time,
                             double hz);
