// Parallel loops on the global thread pool, limited by the option -threads.
#pragma once

#include <cstdint>
#include <functional>

// Calls `task(i)` for each i in 0 .. count - 1, on the pool's threads and on the calling one, and
// returns when all have ended. At most as many threads work, the caller included, as the pool may
// have. Denormals are off in all of them. The tasks must not throw; they may call parallelFor again.
// Each task sees what the caller wrote before, and the caller sees what the tasks wrote.
void parallelFor(int64_t count, const std::function<void(int64_t)>& task);
