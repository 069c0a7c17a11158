#include "model/types/area.h"
#include "model/types/arraytemplate.h"
#include "model/types/channelsmode.h"
#include "model/types/matrix.h"
#include "model/types/mouseevent.h"
#include "model/types/range.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <type_traits>

namespace {

TEST(Range, UnionWithAnEmptyRangeIsTheOther)
{
    EXPECT_EQ((Range{100, 0}.united({5, 3})), (Range{5, 3}));
    EXPECT_EQ((Range{5, 3}.united({-100, -4})), (Range{5, 3}));
    EXPECT_EQ((Range{5, 3}.united({20, 1})), (Range{5, 16}));
    EXPECT_EQ((Range{5, 100}.united({20, 1})), (Range{5, 100}));
}

TEST(Range, EndOfAHostileRangeStopsAtTheLastNumber)
{
    constexpr int64_t max = std::numeric_limits<int64_t>::max();
    EXPECT_EQ((Range{max, max}.end()), max);
    EXPECT_EQ((Range{5, max}.end()), max);
    EXPECT_EQ((Range{-max, max}.end()), 0);
    EXPECT_EQ((Range{0, 100}.intersected({7, max})), (Range{7, 93}));
}

TEST(Range, IntersectionOfTouchingRangesIsZeroZero)
{
    EXPECT_EQ((Range{0, 10}.intersected({10, 5})), (Range{0, 0}));
    EXPECT_EQ((Range{0, 10}.intersected({30, 5})), (Range{0, 0}));
    EXPECT_EQ((Range{7, 0}.intersected({0, 50})), (Range{0, 0}));
    EXPECT_EQ((Range{0, 10}.intersected({9, 5})), (Range{9, 1}));
}

TEST(Range, IntersectionLiesInBothAndUnionHoldsBoth)
{
    std::mt19937 random(1);
    std::uniform_int_distribution<int64_t> number(-40, 40);
    for (int i = 0; i < 2000; ++i) {
        const Range a{number(random), number(random)};
        const Range b{number(random), number(random)};
        const Range both = a.intersected(b);
        const Range all = a.united(b);
        EXPECT_EQ(both, b.intersected(a));
        EXPECT_TRUE(a.contains(both) && b.contains(both));
        EXPECT_TRUE(all.contains(a) && all.contains(b));
        for (int64_t t = -90; t <= 90; ++t) {
            const Range one{t, 1};
            ASSERT_EQ(both.contains(one), a.contains(one) && b.contains(one));
        }
    }
}

TEST(Area, ComplexSignalSpansBothSidesOfZero)
{
    const SamplingFormat complex{SampleTypeComplex, 1000, ChannelsTypeGeneric, 1, 1};
    const Area area = fullBandArea(complex, {10, 20});
    EXPECT_EQ(area.y, -500);
    EXPECT_EQ(area.y + area.height, 500);
    const SamplingFormat real{SampleTypeReal, 1000, ChannelsTypeGeneric, 1, 1};
    EXPECT_EQ(fullBandArea(real, {10, 20}), (Area{10, 0, 20, 500}));
}

TEST(Area, RangeCoversWholeSamples)
{
    EXPECT_EQ((Area{1.5, 0, 2.0, 1}.range()), (Range{1, 3}));
    EXPECT_EQ((Area{-1.5, 0, 2.0, 1}.range()), (Range{-2, 3}));
    EXPECT_EQ((Area{4, 0, 3, 1}.range()), (Range{4, 3}));
}

TEST(Area, RangeOfHostileNumbersStaysDefined)
{
    const double infinity = std::numeric_limits<double>::infinity();
    EXPECT_TRUE((Area{std::nan(""), 0, 1, 1}.range().isEmpty()));
    EXPECT_TRUE((Area{0, 0, std::nan(""), 1}.range().isEmpty()));
    EXPECT_TRUE((Area{-infinity, 0, infinity, 1}.range().isEmpty()));
    const Range huge = Area{-1e300, 0, 2e300, 1}.range();
    EXPECT_FALSE(huge.isEmpty());
    EXPECT_LT(huge.start, 0);
    EXPECT_GT(huge.end(), 0);
}

TEST(Matrix, TwoOutputsThreeInputs)
{
    const Matrix matrix(2, 3);
    ASSERT_EQ(matrix.data.size(), 6);
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ(matrix.data[i], i == 0 || i == 3 ? 1.0f : 0.0f) << i;
}

TEST(Matrix, WithoutElementsHasNoData)
{
    EXPECT_EQ(Matrix().data.data(), nullptr);
    EXPECT_EQ(Matrix(0, 4).data.data(), nullptr);
    EXPECT_EQ(Matrix(-2, -3).data.data(), nullptr);
}

TEST(Matrix, CopyOwnsItsGains)
{
    Matrix a(3, 3);
    const Matrix b = a;
    a.data[0] = 7;
    EXPECT_EQ(b.data[0], 1.0f);
    EXPECT_NE(a.data.data(), b.data.data());
}

TEST(ArrayTemplate, CopyCarriesBothWordsAndOwnsItsElements)
{
    ArrayTemplate<Complex> a(3);
    EXPECT_EQ(a.scale, 1.0f);
    EXPECT_EQ(a.flag, 0u);
    a.scale = 4;
    a.flag = 9;
    a[2] = {1, -1};
    ArrayTemplate<Complex> b;
    b = a;
    a[2] = {};
    EXPECT_EQ(b.size(), 3);
    EXPECT_EQ(b[2], (Complex{1, -1}));
    EXPECT_EQ(b.scale, 4.0f);
    EXPECT_EQ(b.flag, 9u);
    b = ArrayTemplate<Complex>();
    EXPECT_EQ(b.data(), nullptr);
}

TEST(ArrayTemplate, IsNullWithoutElementsAlignedAndZeroWithThem)
{
    EXPECT_EQ(ArrayTemplate<float>(0).data(), nullptr);
    EXPECT_EQ(ArrayTemplate<float>(-5).data(), nullptr);
    EXPECT_EQ(ArrayTemplate<float>(-5).bytes(), 0u);
    const ArrayTemplate<float> array(1001);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(array.data()) % 64, 0u);
    for (const float value : array)
        EXPECT_EQ(value, 0.0f);
}

TEST(ChannelsMode, DefaultBits)
{
    const ChannelsMode mode(3);
    EXPECT_EQ(mode.enabled.count(true), 3);
    EXPECT_EQ(mode.solo.count(true), 0);
    EXPECT_EQ(mode.solo.size(), 3);
    EXPECT_EQ(mode.selected.count(true), 3);
    ChannelsMode other = mode;
    EXPECT_TRUE(other == mode);
    other.solo.setBit(1);
    EXPECT_FALSE(other == mode);
}

TEST(MouseEvent, IsAPlainRecordWithNoButtonDown)
{
    static_assert(std::is_trivially_copyable_v<MouseEvent>);
    const MouseEvent event;
    EXPECT_EQ(event.pressure, -1.0f);
    EXPECT_EQ(event.previousPressure, -1.0f);
}

} // namespace
