// The time that a program spends waiting for the renderer: inside glFlush, glFinish, the change of contexts,
// which flushes too, and the swap of buffers; and what it sleeps in an upload into a texture, which waits
// until the pictures that show the texture are drawn. The copying there stays the program's own.
//
// With a software renderer that is where pictures are really drawn, so it must be told apart from the
// program's own work. The functions of GLX that Qt's plug-in calls are found in the program itself first,
// which for that must export its symbols (ENABLE_EXPORTS); rendererclock.cpp defines them there.
#pragma once

#include <cstdint>

namespace rendererclock {

struct Reading
{
    int64_t wall = 0;      // ns inside the renderer, on the thread that asks
    int64_t processor = 0; // ns of that thread's processor time there
    int64_t flushes = 0;
    int64_t swaps = 0;
};

// Totals so far. GUI thread.
[[nodiscard]] Reading read();

} // namespace rendererclock
