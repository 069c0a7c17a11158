#include "spectral/primitives/cpu.h"

#include "spectral/primitives/vectordispatch.h"

#include <hwy/highway.h>

#if defined(__x86_64__)
#include <cpuid.h>
#include <immintrin.h>
#endif

#include <algorithm>
#include <iterator>

namespace cpu {

std::atomic<std::size_t> dispatchIndexInForce{0};

namespace {

constexpr uint64_t ssse3 = 0x10;
constexpr uint64_t sse41 = 0x40;
constexpr uint64_t sse42 = 0x80;
constexpr uint64_t avx = 0x100;
constexpr uint64_t avx2 = 0x8000;
constexpr uint64_t avx512 = 0x100000;

struct InstructionSet
{
    const char* name;
    uint64_t flags;
};
// Best first; the last one is what every 64-bit processor has.
constexpr InstructionSet instructionSets[] = {
    {"AVX512", avx512}, {"AVX2", avx2},   {"AVX", avx}, {"SSE4.2", sse42},
    {"SSE4.1", sse41},  {"SSSE3", ssse3}, {"SSE3", 0},
};

struct VectorTarget
{
    int64_t target;
    uint64_t flags; // all of them must be in force
};
// Best first, the library's own order; the fallback comes last and needs nothing.
constexpr VectorTarget vectorTargetTable[] = {
#if HWY_ARCH_X86
    {HWY_AVX3_DL, avx512 | avx2 | avx | sse42},
    {HWY_AVX3, avx512 | avx2 | avx | sse42},
    {HWY_AVX2, avx2 | avx | sse42},
    {HWY_SSE4, sse42 | sse41},
    {HWY_SSSE3, ssse3},
#endif
    {HWY_STATIC_TARGET, 0},
};

#if defined(__x86_64__)

// Where the processor tells a feature: leaf 1, 7 or 0x80000001 of CPUID, the register, its bit.
enum Register { Ebx, Ecx, Edx };
enum State { Plain, Ymm, Zmm }; // registers that the system must save for it
struct FeatureBit
{
    uint64_t flag;
    unsigned leaf;
    Register reg;
    int bit;
    State state;
};
constexpr FeatureBit featureBits[] = {
    {0x1, 1, Edx, 23, Plain},             // MMX
    {0x2, 1, Edx, 25, Plain},             // SSE
    {0x4, 1, Edx, 26, Plain},             // SSE2
    {0x8, 1, Ecx, 0, Plain},              // SSE3
    {ssse3, 1, Ecx, 9, Plain},            //
    {0x20, 1, Ecx, 22, Plain},            // MOVBE
    {sse41, 1, Ecx, 19, Plain},           //
    {sse42, 1, Ecx, 20, Plain},           //
    {avx, 1, Ecx, 28, Plain},             //
    {0x200, 1, Ecx, 28, Ymm},             // AVX enabled by the system
    {0x400, 1, Ecx, 25, Plain},           // AES
    {0x800, 1, Ecx, 1, Plain},            // CLMUL
    {0x2000, 1, Ecx, 30, Plain},          // RDRAND
    {0x4000, 1, Ecx, 29, Ymm},            // F16C
    {avx2, 7, Ebx, 5, Ymm},               //
    {0x10000, 7, Ebx, 19, Plain},         // ADX
    {0x20000, 7, Ebx, 18, Plain},         // RDSEED
    {0x40000, 0x80000001, Ecx, 8, Plain}, // PREFETCHW
    {0x80000, 7, Ebx, 29, Plain},         // SHA
    {avx512, 7, Ebx, 16, Zmm},            //
    {0x200000, 7, Ebx, 28, Zmm},          // AVX512CD
    {0x400000, 7, Ebx, 27, Zmm},          // AVX512ER
    {0x800000, 7, Ebx, 26, Zmm},          // AVX512PF
    {0x1000000, 7, Ebx, 30, Zmm},         // AVX512BW
    {0x2000000, 7, Ebx, 17, Zmm},         // AVX512DQ
    {0x4000000, 7, Ebx, 31, Zmm},         // AVX512VL
};

__attribute__((target("xsave"))) uint64_t savedRegisters()
{
    unsigned a = 0, b = 0, c = 0, d = 0;
    constexpr unsigned osxsave = 1u << 27;
    if (!__get_cpuid(1, &a, &b, &c, &d) || (c & osxsave) == 0)
        return 0;
    return _xgetbv(0);
}

uint64_t askProcessor()
{
    const uint64_t saved = savedRegisters();
    const bool has[] = {true, (saved & 0x6) == 0x6, (saved & 0xe6) == 0xe6};
    uint64_t flags = 0;
    for (const FeatureBit& feature : featureBits) {
        unsigned registers[3] = {};
        unsigned a = 0;
        if (!__get_cpuid_count(feature.leaf, 0, &a, &registers[Ebx], &registers[Ecx], &registers[Edx]))
            continue;
        if ((registers[feature.reg] >> feature.bit & 1) && has[feature.state])
            flags |= feature.flag;
    }
    return flags;
}

#else

uint64_t askProcessor()
{
    return 0;
}

#endif

// Targets that are both in this program and in this machine. Asked once: the call disturbs whoever
// uses the library's own dispatch.
int64_t machineTargets()
{
    static const int64_t targets = hwy::SupportedTargets() & HWY_TARGETS;
    return targets;
}

// 0 until applyMask was called: then everything that was detected is in force.
std::atomic<uint64_t> maskedFeatures{0};
std::atomic<bool> masked{false};
std::atomic<int64_t> targetInForce{0};

void putInForce(int64_t target)
{
    hwy::ChosenTarget choice; // only for its arithmetic from a target to the index in the tables
    choice.Update(target);
    targetInForce.store(target, std::memory_order_relaxed);
    dispatchIndexInForce.store(choice.GetIndex(), std::memory_order_relaxed);
}

int64_t targetFor(uint64_t features)
{
#if HWY_ARCH_X86
    for (const VectorTarget& row : vectorTargetTable)
        if ((machineTargets() & row.target) != 0 && (features & row.flags) == row.flags)
            return row.target;
    return HWY_STATIC_TARGET;
#else
    (void)features;
    return machineTargets() & -machineTargets(); // the lowest bit is the best target
#endif
}

} // namespace

std::size_t chooseDispatchIndex()
{
    putInForce(targetFor(effectiveFeatures()));
    return dispatchIndexInForce.load(std::memory_order_relaxed);
}

uint64_t detectedFeatures()
{
    static const uint64_t flags = askProcessor();
    return flags;
}

uint64_t effectiveFeatures()
{
    return masked.load() ? maskedFeatures.load() : detectedFeatures();
}

void applyMask(uint64_t mask)
{
    maskedFeatures.store(detectedFeatures() & mask);
    masked.store(true);
    chooseDispatchIndex();
}

const char* bestInstructionSet()
{
    const uint64_t features = effectiveFeatures();
    for (const InstructionSet& set : instructionSets)
        if ((features & set.flags) == set.flags)
            return set.name;
    return std::prev(std::end(instructionSets))->name;
}

QStringList vectorTargets()
{
    QStringList names;
    for (const VectorTarget& row : vectorTargetTable)
        if ((machineTargets() & row.target) != 0 || row.target == HWY_STATIC_TARGET)
            names << QString::fromLatin1(hwy::TargetName(row.target));
    return names;
}

bool forceVectorTarget(const QString& name)
{
    if (name.isEmpty()) {
        chooseDispatchIndex();
        return true;
    }
    if (!vectorTargets().contains(name))
        return false;
    for (const VectorTarget& row : vectorTargetTable)
        if (name == QLatin1String(hwy::TargetName(row.target)))
            putInForce(row.target);
    return true;
}

QString vectorTarget()
{
    dispatchIndex();
    return QString::fromLatin1(hwy::TargetName(targetInForce.load(std::memory_order_relaxed)));
}

} // namespace cpu
