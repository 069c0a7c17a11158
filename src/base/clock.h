// Time stamps of changes.
#pragma once

#include <cstdint>

// Milliseconds since the epoch, but always rising: the later of now and the last answer plus 1.
// So a clock that is set back never hides an edit. Any thread.
[[nodiscard]] int64_t nextTimeStamp();
