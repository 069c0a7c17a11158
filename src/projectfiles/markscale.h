// Marks that follow their signal into another rate.
#pragma once

#include "model/types/marker.h"

// Positions and lengths times `ratio`, to the nearest sample point; what has a length keeps at least one.
void scaleTime(MarkerList& markers, double ratio);
void scaleTime(SpectralMarkerList& markers, double ratio);
// The same samples under another rate: frequencies times `ratio`.
void scaleFrequency(SpectralMarkerList& markers, double ratio);
// One position.
[[nodiscard]] int64_t scaledPosition(int64_t samples, double ratio);
