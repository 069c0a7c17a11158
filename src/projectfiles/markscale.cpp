#include "projectfiles/markscale.h"

#include <algorithm>
#include <cmath>

int64_t scaledPosition(int64_t samples, double ratio)
{
    constexpr double most = double(int64_t(1) << 61);
    return std::llround(std::clamp(double(samples) * ratio, -most, most));
}

void scaleTime(MarkerList& markers, double ratio)
{
    for (Marker& marker : markers) {
        marker.position = scaledPosition(marker.position, ratio);
        if (marker.length > 0)
            marker.length = std::max<int64_t>(1, scaledPosition(marker.length, ratio));
    }
}

void scaleTime(SpectralMarkerList& markers, double ratio)
{
    for (SpectralMarker& marker : markers) {
        marker.time *= ratio;
        marker.width *= ratio;
    }
}

void scaleFrequency(SpectralMarkerList& markers, double ratio)
{
    for (SpectralMarker& marker : markers) {
        marker.freq *= ratio;
        marker.height *= ratio;
    }
}
