#include "display/displacement.h"
#include "display/viewgeometry.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

using namespace viewgeometry;

namespace {

Convert convertOf(FreqScale scale, int32_t sampleType = SampleTypeReal)
{
    Convert convert(SamplingFormat{sampleType, 48000, ChannelsTypeAudio, 1, 4},
                    TransformSettings(sampleType, WindowType::Hann, 2048, 8, 2));
    convert.freqScale = scale;
    return convert;
}

const Area whole{0, 0, 480'000, 24000};
const Area part{100'000, 2000, 48'000, 6000};
const QSizeF size(800, 400);

void expectNear(const Area& a, const Area& b)
{
    EXPECT_NEAR(a.x, b.x, 1e-6);
    EXPECT_NEAR(a.y, b.y, 1e-6);
    EXPECT_NEAR(a.width, b.width, 1e-6);
    EXPECT_NEAR(a.height, b.height, 1e-6);
}

} // namespace

TEST(ViewGeometry, cornersOfTheViewAreCornersOfTheArea)
{
    for (const FreqScale scale : {FreqScale::Linear, FreqScale::Mel, FreqScale::MidiLogarithmic}) {
        const Convert convert = convertOf(scale);
        const PointD low = documentPosition(convert, part, size, QPointF(0, 400));
        EXPECT_NEAR(low.x, 100'000, 1e-6);
        EXPECT_NEAR(low.y, 2000, 1e-6);
        const PointD high = documentPosition(convert, part, size, QPointF(800, 0));
        EXPECT_NEAR(high.x, 148'000, 1e-6);
        EXPECT_NEAR(high.y, 8000, 1e-6);
    }
}

TEST(ViewGeometry, aPixelMeasuresMoreAtHighFrequenciesOfMel)
{
    const PointD linear = pixelSize(convertOf(FreqScale::Linear), whole, size, QPointF(400, 200));
    EXPECT_NEAR(linear.x, 600, 1e-6);
    EXPECT_NEAR(linear.y, 60, 1e-6);
    const Convert mel = convertOf(FreqScale::Mel);
    EXPECT_GT(pixelSize(mel, whole, size, QPointF(0, 10)).y,
              3 * pixelSize(mel, whole, size, QPointF(0, 390)).y);
}

TEST(ViewGeometry, zoomKeepsThePointUnderThePointer)
{
    std::mt19937 random(1);
    std::uniform_real_distribution<double> anywhere(0, 1);
    for (int i = 0; i < 100; ++i) {
        const Convert convert = convertOf(FreqScale(i % 5));
        const QPointF pixel(anywhere(random) * 800, anywhere(random) * 400);
        const PointD fixed{pixel.x() / 800, 1 - pixel.y() / 400};
        const PointD before = documentPosition(convert, part, size, pixel);
        const Area zoomedArea = zoomed(convert, part, 0.5 + anywhere(random), 0.5 + anywhere(random), fixed);
        const PointD after = documentPosition(convert, zoomedArea, size, pixel);
        EXPECT_NEAR(after.x, before.x, 1e-4);
        EXPECT_NEAR(after.y, before.y, 1e-4);
    }
}

TEST(ViewGeometry, zoomEndsBeforeNothingIsLeft)
{
    const Area tiny = zoomed(convertOf(FreqScale::Linear), part, 1e-12, 1e-12, {0.5, 0.5});
    EXPECT_EQ(tiny.width, 1);
    EXPECT_GT(tiny.height, 0);
    EXPECT_TRUE(isVisible(tiny));
}

TEST(ViewGeometry, limitsMoveBeforeTheyCut)
{
    const Convert convert = convertOf(FreqScale::Linear);
    expectNear(limited(convert, {-500, -100, 48'000, 6000}, whole), {0, 0, 48'000, 6000});
    expectNear(limited(convert, {470'000, 20'000, 48'000, 6000}, whole), {432'000, 18'000, 48'000, 6000});
    expectNear(limited(convert, {-500, -100, 1e6, 1e6}, whole), whole);
    expectNear(limited(convert, part, whole), part);
    expectNear(limited(convert, part, {}), part); // an empty project limits nothing
}

TEST(ViewGeometry, panGoesByDisplayCoordinates)
{
    const Convert convert = convertOf(FreqScale::Mel);
    const Area up = panned(convert, part, 0, 0.25);
    EXPECT_NEAR(convert.toScale(up.y) - convert.toScale(part.y),
                0.25 * (convert.toScale(8000) - convert.toScale(2000)), 1e-6);
    EXPECT_GT(up.height, part.height); // further up a step spans more Hz
    EXPECT_EQ(panned(convert, part, 0.5, 0).x, 124'000);
}

TEST(ViewGeometry, locks)
{
    EXPECT_EQ(locked(part, false, true, true).y, 0);
    EXPECT_EQ(locked(part, false, false, true).y, part.y); // the centre is for complex signals
    EXPECT_EQ(locked(part, true, false, true).y, -part.height / 2);
    EXPECT_EQ(locked(part, true, true, false).y, part.y);
}

TEST(ViewGeometry, whatIsNotFiniteOrEmptyIsNotVisible)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    EXPECT_TRUE(isVisible(part));
    EXPECT_FALSE(isVisible({}));
    EXPECT_FALSE(isVisible({nan, 0, 1, 1}));
    EXPECT_FALSE(isVisible({0, 0, inf, 1}));
    EXPECT_FALSE(isVisible({0, 0, 1, -1}));
}

TEST(DisplacementVector, isLimitedInLengthTheAngleStaying)
{
    const Displacement cut = displacement::limited({300, -400}, 128);
    EXPECT_NEAR(std::hypot(cut.x, cut.y), 128, 1e-4);
    EXPECT_NEAR(cut.y / cut.x, -4.0 / 3, 1e-5);
    EXPECT_EQ(displacement::limited({3, 4}, 128).x, 3);
    EXPECT_EQ(displacement::limited({std::numeric_limits<float>::quiet_NaN(), 4}, 128).y, 0);
}

TEST(DisplacementVector, snapsToMultiplesOf45Degrees)
{
    const double angle = 50 * M_PI / 180;
    const Displacement snapped =
        displacement::snapped({float(20 * std::cos(angle)), float(20 * std::sin(angle))});
    EXPECT_NEAR(snapped.x, 20 / std::sqrt(2.0), 1e-4);
    EXPECT_NEAR(snapped.y, 20 / std::sqrt(2.0), 1e-4);
}

TEST(DisplacementVector, takesTheShortestSufficientProgram)
{
    EXPECT_EQ(displacement::steps({0, 0}), 0);
    EXPECT_EQ(displacement::steps({0.4f, -0.4f}), 0);
    EXPECT_EQ(displacement::steps({0.5f, 0}), 64);
    EXPECT_EQ(displacement::steps({3, -64}), 64);
    EXPECT_EQ(displacement::steps({-65, 0}), 128);
}

TEST(DisplacementVector, stepsCoverTheLevelsWithoutGaps)
{
    const std::vector<QVector4D> table = displacement::table(64, {0.5f, -0.25f}, -90, -18, 0.5f);
    ASSERT_EQ(table.size(), 64U);
    EXPECT_FLOAT_EQ(table[0].z(), std::exp2(-15.0f));
    EXPECT_FLOAT_EQ(table[63].w(), std::exp2(-3.0f));
    for (int i = 0; i < 63; ++i)
        EXPECT_EQ(table[std::size_t(i)].w(), table[std::size_t(i) + 1].z());
    EXPECT_EQ(table[32].x(), 0.25f);
    EXPECT_EQ(table[32].y(), -0.125f);
}
