// What the thread sanitizer must be told, since Qt's own library is not instrumented. All of it is
// empty in any other build.
#pragma once

#if defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define MORVANE_TSAN 1
#endif
#endif

#ifdef MORVANE_TSAN
#include <sanitizer/tsan_interface.h>
#endif

namespace tsan {

// What this thread wrote before published(x) is seen by the thread that calls received(x) after it.
inline void published([[maybe_unused]] void* address)
{
#ifdef MORVANE_TSAN
    __tsan_release(address);
#endif
}

inline void received([[maybe_unused]] void* address)
{
#ifdef MORVANE_TSAN
    __tsan_acquire(address);
#endif
}

} // namespace tsan
