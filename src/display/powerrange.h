// How the span of amplitudes that a waveform shows is moved and scaled. Pure arithmetic; linear values,
// 1 is full scale.
#pragma once

#include "model/events.h"

namespace powerrange {

// Finite and not empty, and of a size at which a zoom still gets somewhere.
[[nodiscard]] bool isUsable(const PowerRange& range);
// Symmetric about 0 with the same extent, as the lock of the centre wants it.
[[nodiscard]] PowerRange centred(const PowerRange& range);
// Scaled about the amplitude that lies at the share `fixed` of the extent, from the bottom. Extents
// stay within what isUsable() allows.
[[nodiscard]] PowerRange zoomed(const PowerRange& range, double factor, double fixed);
// Moved by a share of its own extent.
[[nodiscard]] PowerRange panned(const PowerRange& range, double up);

} // namespace powerrange
