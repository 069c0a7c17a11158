#include "base/denormals.h"

#if defined(__x86_64__)
#include <xmmintrin.h>
#endif

namespace {

// The control word of the vector unit, and its bits for both modes.
#if defined(__x86_64__)
constexpr uint64_t offBits = 0x8040; // flush-to-zero, denormals-are-zero

uint64_t controlWord()
{
    return _mm_getcsr();
}
void setControlWord(uint64_t word)
{
    _mm_setcsr(static_cast<unsigned>(word));
}
#elif defined(__aarch64__)
constexpr uint64_t offBits = 1ULL << 24; // FZ covers inputs and results

uint64_t controlWord()
{
    uint64_t word;
    asm volatile("mrs %0, fpcr" : "=r"(word));
    return word;
}
void setControlWord(uint64_t word)
{
    asm volatile("msr fpcr, %0" ::"r"(word));
}
#else
#error "no way known here to switch denormals off"
#endif

} // namespace

void disableDenormals()
{
    setControlWord(controlWord() | offBits);
}

DenormalsOff::DenormalsOff() : m_before(controlWord())
{
    setControlWord(m_before | offBits);
}

DenormalsOff::~DenormalsOff()
{
    setControlWord(m_before);
}
