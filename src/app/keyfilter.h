// Keys of a hosted window arrive at the host, at this program, or at both.
#pragma once

#include <cstdint>

// Whether a key event that the host forwards at `now` is one that the main window has not seen: its
// last one of that kind came at `lastSeen`. Both in milliseconds since the epoch.
[[nodiscard]] constexpr bool isNewKey(int64_t now, int64_t lastSeen)
{
    return now - lastSeen >= 31;
}
