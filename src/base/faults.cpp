#include "base/faults.h"

#include "base/locks.h"

#include <array>
#include <atomic>
#include <csignal>
#include <mutex>

#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

// `end` is 0 while the slot is free or being changed.
struct GuardedSpan::Slot
{
    std::atomic<uintptr_t> begin{0};
    std::atomic<uintptr_t> end{0};
    std::atomic<int> descriptor{-1};
    std::atomic<bool> damaged{false};
    std::atomic<bool> used{false};
};

namespace {

using Slot = GuardedSpan::Slot;

// Grows by blocks that are never freed, so that the handler can walk it without a lock.
struct Block
{
    std::array<Slot, 1024> slots;
    std::atomic<Block*> next{nullptr};
};

Block firstBlock;
uintptr_t pageSize = 4096;
struct sigaction previousHandler;

Slot* takeSlot()
{
    static Mutex growth;
    const std::lock_guard guard(growth);
    for (Block* block = &firstBlock;; block = block->next) {
        for (Slot& slot : block->slots)
            if (!slot.used.exchange(true)) {
                slot.damaged = false;
                return &slot;
            }
        if (!block->next)
            block->next = new Block;
    }
}

Slot* findSlot(uintptr_t address)
{
    for (Block* block = &firstBlock; block; block = block->next)
        for (Slot& slot : block->slots)
            if (address < slot.end && address >= slot.begin)
                return &slot;
    return nullptr;
}

uintptr_t pageUp(uintptr_t address)
{
    return (address + pageSize - 1) & ~(pageSize - 1);
}

// Where the file has been cut, everything behind its last page goes at once; a page that the disk
// could not read goes alone. Bare system calls, as this runs inside the signal handler and the
// sanitizers replace the C library's mmap.
bool putZeroPages(Slot& slot, uintptr_t address)
{
    uintptr_t from = address & ~(pageSize - 1), to = from + pageSize;
    struct stat status;
    if (fstat(slot.descriptor, &status) == 0) {
        const uintptr_t held = slot.begin + pageUp(static_cast<uintptr_t>(status.st_size));
        if (held <= from) {
            from = held;
            to = pageUp(slot.end);
        }
    }
    slot.damaged = true;
    return syscall(SYS_mmap, from, to - from, PROT_READ | PROT_WRITE,
                   MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED | MAP_NORESERVE, -1,
                   0L) == static_cast<long>(from);
}

void onBusError(int, siginfo_t* info, void*)
{
    const auto address = reinterpret_cast<uintptr_t>(info->si_addr);
    Slot* slot = info->si_code > 0 ? findSlot(address) : nullptr; // above 0: from the kernel
    if (slot && putZeroPages(*slot, address))
        return;
    // Not ours: the instruction runs again and meets whoever was here before us.
    sigaction(SIGBUS, &previousHandler, nullptr);
    if (info->si_code <= 0)
        raise(SIGBUS);
}

} // namespace

void installFaultHandlers()
{
    static const bool once = [] {
        pageSize = static_cast<uintptr_t>(sysconf(_SC_PAGESIZE));
        std::signal(SIGPIPE, SIG_IGN);
        std::signal(SIGXFSZ, SIG_IGN);
        struct sigaction action = {};
        action.sa_sigaction = onBusError;
        action.sa_flags = SA_SIGINFO;
        sigemptyset(&action.sa_mask);
        return sigaction(SIGBUS, &action, &previousHandler) == 0;
    }();
    static_cast<void>(once);
}

GuardedSpan::GuardedSpan() : m_slot(takeSlot()) {}

GuardedSpan::~GuardedSpan()
{
    m_slot->end = 0;
    m_slot->used = false;
}

void GuardedSpan::set(const void* begin, int64_t bytes, int descriptor)
{
    const auto address = reinterpret_cast<uintptr_t>(begin);
    m_slot->end = 0;
    m_slot->descriptor = descriptor;
    m_slot->begin = address;
    m_slot->end = bytes > 0 ? address + static_cast<uintptr_t>(bytes) : 0;
}

bool GuardedSpan::damaged() const
{
    return m_slot->damaged;
}
