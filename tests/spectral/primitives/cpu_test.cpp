#include "spectral/primitives/cpu.h"

#include <gtest/gtest.h>

#include <QFile>

namespace {

class CpuTest : public testing::Test
{
protected:
    void TearDown() override { cpu::applyMask(~uint64_t(0)); }
};

// The kernel's own reading of the processor.
QStringList kernelFlags()
{
    QFile file(QStringLiteral("/proc/cpuinfo"));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    for (const QByteArray& line : file.readAll().split('\n'))
        if (line.startsWith("flags"))
            return QString::fromLatin1(line.mid(line.indexOf(':') + 1)).simplified().split(QLatin1Char(' '));
    return {};
}

} // namespace

TEST_F(CpuTest, DetectedFeaturesAreThoseThatTheKernelSees)
{
    const QStringList flags = kernelFlags();
    if (flags.isEmpty())
        GTEST_SKIP() << "no flags in /proc/cpuinfo";
    // Without RDSEED, which the kernel hides on processors whose generator is faulty.
    const struct
    {
        uint64_t bit;
        const char* name;
    } rows[] = {{0x1, "mmx"},
                {0x2, "sse"},
                {0x4, "sse2"},
                {0x8, "pni"},
                {0x10, "ssse3"},
                {0x20, "movbe"},
                {0x40, "sse4_1"},
                {0x80, "sse4_2"},
                {0x100, "avx"},
                {0x200, "avx"},
                {0x400, "aes"},
                {0x800, "pclmulqdq"},
                {0x2000, "rdrand"},
                {0x4000, "f16c"},
                {0x8000, "avx2"},
                {0x10000, "adx"},
                {0x40000, "3dnowprefetch"},
                {0x80000, "sha_ni"},
                {0x100000, "avx512f"},
                {0x200000, "avx512cd"},
                {0x1000000, "avx512bw"},
                {0x2000000, "avx512dq"},
                {0x4000000, "avx512vl"}};
    for (const auto& row : rows)
        EXPECT_EQ((cpu::detectedFeatures() & row.bit) != 0, flags.contains(QLatin1String(row.name)))
            << row.name;
}

TEST_F(CpuTest, EveryMaskStartsFromTheDetectedFeatures)
{
    cpu::applyMask(0x80cdf);
    EXPECT_EQ(cpu::effectiveFeatures(), cpu::detectedFeatures() & 0x80cdf);
    cpu::applyMask(0xfefff);
    EXPECT_EQ(cpu::effectiveFeatures(), cpu::detectedFeatures() & 0xfefff);
}

TEST_F(CpuTest, BestInstructionSetFollowsTheFlagsInForce)
{
    const struct
    {
        uint64_t mask;
        uint64_t needs;
        const char* name;
    } rows[] = {
        {0, 0, "SSE3"},
        {0x1f, 0x10, "SSSE3"},
        {0x5f, 0x40, "SSE4.1"},
        {0xdf, 0x80, "SSE4.2"},
        {0x1df, 0x100, "AVX"},
        {0x81df, 0x8000, "AVX2"},
        {0x1fefff, 0x100000, "AVX512"},
    };
    for (const auto& row : rows) {
        if ((cpu::detectedFeatures() & row.needs) != row.needs)
            continue;
        cpu::applyMask(row.mask);
        EXPECT_STREQ(cpu::bestInstructionSet(), row.name) << std::hex << row.mask;
    }
}

// The masks are those of -cpu avx512, avx2, avx and sse4.2.
TEST_F(CpuTest, MasksRestrictTheVectorCode)
{
    const QStringList targets = cpu::vectorTargets();
    const auto expect = [&](uint64_t mask, const QStringList& candidates) {
        cpu::applyMask(mask);
        for (const QString& candidate : candidates)
            if (targets.contains(candidate)) {
                EXPECT_EQ(cpu::vectorTarget(), candidate) << std::hex << mask;
                return;
            }
    };
    const QString avx3 = QStringLiteral("AVX3"), avx2 = QStringLiteral("AVX2"), sse4 = QStringLiteral("SSE4");
    expect(0x1fefff, {avx3, avx2, sse4});
    expect(0xfefff, {avx2, sse4});
    expect(0x86fdf, {sse4}); // no code for plain AVX is generated
    expect(0x80cdf, {sse4});
    cpu::applyMask(0);
    EXPECT_EQ(cpu::vectorTarget(), targets.last());
    cpu::applyMask(~uint64_t(0));
    EXPECT_EQ(cpu::vectorTarget(), targets.first());
}

TEST_F(CpuTest, ForcingATargetAndGoingBack)
{
    for (const QString& name : cpu::vectorTargets()) {
        EXPECT_TRUE(cpu::forceVectorTarget(name));
        EXPECT_EQ(cpu::vectorTarget(), name);
    }
    EXPECT_FALSE(cpu::forceVectorTarget(QStringLiteral("AVX9")));
    EXPECT_EQ(cpu::vectorTarget(), cpu::vectorTargets().last());
    EXPECT_TRUE(cpu::forceVectorTarget(QString()));
    EXPECT_EQ(cpu::vectorTarget(), cpu::vectorTargets().first());
}
