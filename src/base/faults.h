// Signals that must not end the program.
#pragma once

#include <cstdint>

// Ignores SIGPIPE and SIGXFSZ, so that a peer that went away and a file size limit are error returns.
// Answers SIGBUS inside a GuardedSpan with zero pages; any other SIGBUS goes where it went before.
// Once, first thing in the process; more calls change nothing.
void installFaultHandlers();

// A mapped file that somebody else may cut while we use it. The pages that the file no longer has
// become zero pages at the first touch, instead of the end of the program.
//
// One thread at a time may call set(); any thread may touch the memory meanwhile as far as the
// owner's lock lets it.
class GuardedSpan
{
public:
    GuardedSpan();
    ~GuardedSpan();
    GuardedSpan(const GuardedSpan&) = delete;
    GuardedSpan& operator=(const GuardedSpan&) = delete;

    // The mapping [begin, begin + bytes) of the file from its first byte; bytes 0 for none.
    void set(const void* begin, int64_t bytes, int descriptor);
    // True once a page had to be made up. Stays true for the span's life.
    [[nodiscard]] bool damaged() const;

    struct Slot; // what the signal handler reads

private:
    Slot* m_slot;
};
