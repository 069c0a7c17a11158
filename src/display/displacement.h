// The relief of the picture: loud bins are drawn displaced, louder ones further.
#pragma once

#include "model/events.h"

#include <QVector4D>

#include <vector>

namespace displacement {

// The length cut to `longest`, the angle staying. Every change of a displacement goes through it.
[[nodiscard]] Displacement limited(const Displacement& value, float longest);
// The angle rounded to the nearest multiple of 45 degrees, the length staying.
[[nodiscard]] Displacement snapped(const Displacement& value);

// Steps that the shader takes: 0, 64 or 128, the least that leaves no gaps.
[[nodiscard]] int steps(const Displacement& value);
// For each step its offset in texture coordinates (x in time, y in frequency) and the band of linear
// magnitudes that it draws (z, w). `whole` is the offset of the loudest bins, those at `highdB`.
[[nodiscard]] std::vector<QVector4D> table(int steps, const Displacement& whole, float lowdB, float highdB,
                                           float gamma);

} // namespace displacement
