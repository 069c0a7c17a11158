// Flush-to-zero and denormals-are-zero, for every thread that computes on samples: a tail of
// denormal numbers makes a transform some 70 times slower otherwise.
#pragma once

#include <cstdint>

// For the calling thread, until it ends.
void disableDenormals();

// For the calling thread, until the object dies: for threads that are not ours, such as a host's.
class DenormalsOff
{
public:
    DenormalsOff();
    ~DenormalsOff();
    DenormalsOff(const DenormalsOff&) = delete;
    DenormalsOff& operator=(const DenormalsOff&) = delete;

private:
    uint64_t m_before;
};
