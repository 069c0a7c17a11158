#include "display/texturegrid.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

namespace {

constexpr int frameSize = 2048;
const Range longLayer{0, 100'000'000};

TextureGrid gridFor(const Area& area, int width, int hop, bool cubic, const Range& layer = longLayer)
{
    const double step = columnStep(area, width, hop);
    const int upsample = cubic ? columnUpsample(step, area, width) : 1;
    return makeTextureGrid(area, 900, step, upsample, frameSize, layer);
}

} // namespace

TEST(TextureGrid, stepIsNeverBelowOneHop)
{
    EXPECT_EQ(columnStep({0, 0, 1600 * 300.0, 1}, 1600, 256), 300);
    EXPECT_EQ(columnStep({0, 0, 1600 * 3.0, 1}, 1600, 256), 256);
}

TEST(TextureGrid, columnsBetweenHopsAreInterpolatedAtMost32)
{
    const Area area{0, 0, 1600 * 60.0, 1};
    EXPECT_EQ(columnUpsample(256, area, 1600), 4); // floor(256 / 60)
    EXPECT_EQ(columnUpsample(256, {0, 0, 1600, 1}, 1600), 32);
    EXPECT_EQ(columnUpsample(300, {0, 0, 1600 * 300.0, 1}, 1600), 1);
}

TEST(TextureGrid, coversTheAreaWithTwoColumnsToSpareOnBothSides)
{
    const TextureGrid grid = gridFor({1e6, 0, 1600 * 300.0, 24000}, 1600, 256, true);
    EXPECT_EQ(grid.firstColumn, std::llround((1e6 - 600) / 300));
    EXPECT_EQ(grid.columnCount, 1604);
    EXPECT_EQ(grid.size, QSize(1604, 900));
    EXPECT_EQ(grid.area.y, 0);
    EXPECT_EQ(grid.area.height, 24000);
}

TEST(TextureGrid, texelCentresLieOnTheColumns)
{
    const TextureGrid grid = gridFor({1e6, 0, 1600 * 300.0, 24000}, 1600, 256, false);
    for (const int column : {0, 1, 777, grid.size.width() - 1}) {
        const double centre = grid.area.x + (column + 0.5) / grid.size.width() * grid.area.width;
        EXPECT_NEAR(centre, double(grid.firstColumn + column) * 300, 1e-6);
    }
}

TEST(TextureGrid, interpolatedColumnsLieBetween)
{
    const TextureGrid grid = gridFor({1e6, 0, 1600 * 60.0, 24000}, 1600, 256, true);
    ASSERT_EQ(grid.upsample, 4);
    EXPECT_EQ(grid.size.width(), (grid.columnCount - 1) * 4 + 1);
    // The half texel is counted in transform columns, so it is right to a small part of a step.
    const double centre = grid.area.x + 4.5 / grid.size.width() * grid.area.width;
    EXPECT_NEAR(centre, double(grid.firstColumn + 1) * 256, 0.01 * 256);
}

TEST(TextureGrid, columnsStandStillWhileTheViewPans)
{
    const double step = 300;
    std::mt19937 random(1);
    std::uniform_real_distribution<double> anywhere(0, 1e7);
    for (int i = 0; i < 100; ++i) {
        const TextureGrid grid = gridFor({anywhere(random), 0, 1600 * step, 1}, 1600, 256, false);
        EXPECT_EQ(grid.key(grid.firstColumn) % 300, 0);
        EXPECT_EQ(grid.step, step);
    }
}

TEST(TextureGrid, aColumnMayLieHalfAWindowOutsideTheLayer)
{
    const Range layer{10'000, 30'000};
    const TextureGrid grid = gridFor({0, 0, 60'000, 1}, 60, 256, false, layer);
    EXPECT_NEAR(double(grid.key(grid.firstColumn)), 10'000 - frameSize / 2, grid.step / 2);
    EXPECT_NEAR(double(grid.key(grid.firstColumn + grid.columnCount)), 40'000 + frameSize / 2, grid.step);
}

TEST(TextureGrid, anAreaWhollyBeforeTheLayerIsEmpty)
{
    EXPECT_TRUE(gridFor({0, 0, 100'000, 1}, 1600, 256, true, {1'000'000, 5000}).isEmpty());
    EXPECT_TRUE(gridFor({0, 0, 100'000, 1}, 1600, 256, true, {}).isEmpty());
}

TEST(TextureGrid, hostileAreasAreEmptyOrBounded)
{
    const double inf = std::numeric_limits<double>::infinity();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (const Area& area :
         {Area{nan, 0, 1, 1}, Area{0, nan, 1, 1}, Area{0, 0, nan, 1}, Area{0, 0, 1, nan}, Area{inf, 0, 1, 1},
          Area{0, 0, inf, 1}, Area{-inf, 0, inf, 1}, Area{0, 0, 0, 1}, Area{0, 0, -5000, 1}})
        EXPECT_TRUE(gridFor(area, 1600, 256, true).isEmpty());
    EXPECT_TRUE(gridFor({0, 0, 1000, 1}, 0, 256, true).isEmpty());
    EXPECT_TRUE(gridFor({1e300, 0, 1e299, 1}, 1600, 256, true).isEmpty());
    // A view of everything there is stays within its columns.
    EXPECT_LE(gridFor({-1e14, 0, 2e14, 1}, 1600, 256, true).columnCount, 1610);
    // A width below a sample still shows something.
    EXPECT_FALSE(gridFor({5000.2, 0, 1e-6, 1}, 1600, 256, true).isEmpty());
}

TEST(TextureGrid, aTextureOfTheLargestWidthKeepsWithinTheRing)
{
    std::mt19937 random(2);
    std::uniform_real_distribution<double> exponent(-2, 9);
    for (int i = 0; i < 2000; ++i) {
        const Area area{std::pow(10.0, exponent(random)), 0, std::pow(10.0, exponent(random)), 1};
        for (const int hop : {1, 8, 256, 8192}) {
            const TextureGrid grid = gridFor(area, 8192 - 256, hop, true, {-1'000'000, int64_t(1) << 40});
            EXPECT_LE(grid.columnCount, 8192);
            EXPECT_LE(grid.size.width(), 8192) << area.x << ' ' << area.width << ' ' << hop;
        }
    }
}
