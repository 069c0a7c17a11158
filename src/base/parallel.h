// Parallel loops on the global thread pool, limited by the option -threads.
#pragma once

#include <cstdint>
#include <functional>

// Calls `task(i)` for each i in 0 .. count - 1, on the pool's threads and on the calling one, and
// returns when all have ended. Pool threads run with denormals disabled. The tasks must not throw.
// Each task sees what the caller wrote before, and the caller sees what the tasks wrote.
void parallelFor(int64_t count, const std::function<void(int64_t)>& task);
