#include "display/powerrange.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>

TEST(PowerRanges, theAmplitudeUnderThePointerStays)
{
    std::mt19937 random(3);
    std::uniform_real_distribution<double> share(0, 1);
    for (int i = 0; i < 1000; ++i) {
        const PowerRange range{-share(random), share(random) + 0.01};
        const double fixed = share(random);
        const PowerRange zoomed = powerrange::zoomed(range, 0.1 + 3 * share(random), fixed);
        EXPECT_NEAR(zoomed.low + fixed * (zoomed.high - zoomed.low),
                    range.low + fixed * (range.high - range.low), 1e-12);
    }
}

TEST(PowerRanges, centredKeepsTheExtent)
{
    const PowerRange range = powerrange::centred({0.25, 1.25});
    EXPECT_EQ(range.low, -0.5);
    EXPECT_EQ(range.high, 0.5);
}

TEST(PowerRanges, aZoomStaysUsableHoweverOftenItIsRepeated)
{
    for (const double factor : {0.5, 2.0}) {
        PowerRange range;
        for (int i = 0; i < 200; ++i) {
            range = powerrange::zoomed(range, factor, 0.9);
            ASSERT_TRUE(powerrange::isUsable(range)) << range.low << " to " << range.high;
        }
        // And there is a way back.
        const double extent = range.high - range.low;
        const PowerRange back = powerrange::zoomed(range, 1 / factor, 0.5);
        EXPECT_NEAR((back.high - back.low) * factor, extent, extent * 1e-6);
    }
}

TEST(PowerRanges, aPanStaysUsableHoweverFarItGoes)
{
    for (const double up : {-0.7, 0.7}) {
        PowerRange range{-1e5, 1e5};
        for (int i = 0; i < 1000; ++i)
            range = powerrange::panned(range, up);
        EXPECT_TRUE(powerrange::isUsable(range));
        EXPECT_NEAR(range.high - range.low, 2e5, 1);
    }
}

TEST(PowerRanges, whatIsNoRangeIsNotUsable)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    for (const PowerRange& range :
         {PowerRange{nan, 1}, PowerRange{-1, nan}, PowerRange{-inf, inf}, PowerRange{0, 0}, PowerRange{1, -1},
          PowerRange{-1, inf}, PowerRange{1, 1 + 1e-12}})
        EXPECT_FALSE(powerrange::isUsable(range)) << range.low << " to " << range.high;
}
