// How the vector sources of this folder call the code of the target in force.
//
// The library's own dispatch is one variable of the process: any user of the shared library, a codec
// for example, that merely asks it for the supported targets resets that variable and with it the
// option -cpu. So the table index is kept here; only cpu.cpp writes it.
#pragma once

#include <atomic>
#include <cstddef>

namespace cpu {

extern std::atomic<std::size_t> dispatchIndexInForce; // 0: not chosen yet
std::size_t chooseDispatchIndex();

inline std::size_t dispatchIndex()
{
    const std::size_t index = dispatchIndexInForce.load(std::memory_order_relaxed);
    return index != 0 ? index : chooseDispatchIndex();
}

} // namespace cpu

// Calls a function that HWY_EXPORT has put into a table.
#define MORVANE_DISPATCH(FUNCTION) (*(HWY_DISPATCH_TABLE(FUNCTION)[cpu::dispatchIndex()]))
