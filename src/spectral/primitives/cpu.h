// The one owner of vector dispatch: nobody else asks or sets instruction sets.
#pragma once

#include <cstdint>

#include <QStringList>

namespace cpu {

// Feature flags of the machine, in the bit layout that the masks of the option -cpu use:
// 0x1 MMX, 0x2 SSE, 0x4 SSE2, 0x8 SSE3, 0x10 SSSE3, 0x20 MOVBE, 0x40 SSE4.1, 0x80 SSE4.2,
// 0x100 AVX, 0x200 AVX enabled by the system, 0x400 AES, 0x800 CLMUL, 0x2000 RDRAND, 0x4000 F16C,
// 0x8000 AVX2, 0x10000 ADX, 0x20000 RDSEED, 0x100000 AVX512F and so on.
[[nodiscard]] uint64_t detectedFeatures();
// The flags in force: detected, less what was masked out.
[[nodiscard]] uint64_t effectiveFeatures();
// Applies detected & mask to the dispatch of our vector code. Before any other thread runs.
void applyMask(uint64_t mask);
// Highest of "SSE3", "SSSE3", "SSE4.1", "SSE4.2", "AVX", "AVX2", "AVX512" in the effective flags.
[[nodiscard]] const char* bestInstructionSet();

// For tests: the vector targets that this machine can run, best first, by name, and a way to force
// one; an empty name restores the choice of applyMask.
[[nodiscard]] QStringList vectorTargets();
bool forceVectorTarget(const QString& name);

} // namespace cpu
