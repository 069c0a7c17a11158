#include "model/selection.h"

#include "model/nearestpoints.h"
#include "model/selectionshape.h"
#include "selectiontest.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

using namespace selectiontest;

namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

void expectArea(const Area& area, const Area& expected, double tolerance)
{
    EXPECT_NEAR(area.x, expected.x, tolerance);
    EXPECT_NEAR(area.y, expected.y, tolerance);
    EXPECT_NEAR(area.width, expected.width, tolerance);
    EXPECT_NEAR(area.height, expected.height, tolerance);
}

TEST(NearestPoints, AnEmptySetAnswersNone)
{
    EXPECT_EQ(NearestPoints({}).nearest({1, 2}), -1);
}

TEST(NearestPoints, AgreesWithASearchOfAllPoints)
{
    std::mt19937 random(5);
    std::uniform_real_distribution<double> number(-10, 10);
    QVector<QPointF> points;
    for (int i = 0; i < 300; ++i)
        points << QPointF(number(random), number(random));
    const NearestPoints index(points);
    for (int i = 0; i < 1000; ++i) {
        const QPointF query(number(random), number(random));
        int best = 0;
        const auto distance = [&](int k) {
            const QPointF d = points[k] - query;
            return QPointF::dotProduct(d, d);
        };
        for (int k = 1; k < points.size(); ++k)
            if (distance(k) < distance(best))
                best = k;
        ASSERT_EQ(index.nearest(query), best);
    }
    EXPECT_EQ(NearestPoints({{1, 1}, {3, 1}, {1, 1}}).nearest({2, 1}), 0) << "the first of equal ones";
}

TEST(SelectionShape, APathOfTwoElementsIsNotContracted)
{
    QPainterPath line(QPointF(1, 2));
    line.lineTo(5, 9);
    EXPECT_EQ(contracted(line, 1, 1), line);
    EXPECT_EQ(expanded(line, 1, 1), line);
}

TEST(SelectionShape, OffsetsMoveEachSideByThatMuch)
{
    const QPainterPath path = rectangle(0, 0, 1000, 200);
    const QRectF inside = contracted(path, 10, 3).controlPointRect();
    EXPECT_NEAR(inside.left(), 10, 1e-9);
    EXPECT_NEAR(inside.top(), 3, 1e-9);
    EXPECT_NEAR(inside.width(), 980, 1e-9);
    EXPECT_NEAR(inside.height(), 194, 1e-9);
    const QRectF outside = expanded(path, 10, 3).controlPointRect();
    EXPECT_NEAR(outside.left(), -10, 1e-9);
    EXPECT_NEAR(outside.height(), 206, 1e-9);
    EXPECT_TRUE(contracted(path, 1000, 1000).isEmpty()) << "nothing is left";
}

TEST(SelectionShape, CurvesBecomeEightLinesAndLinesOnRequest)
{
    QPainterPath curve(QPointF(0, 0));
    curve.cubicTo(0, 50, 100, 50, 100, 0);
    const auto shape = makeShape(curve, 0, 0, false);
    ASSERT_TRUE(shape);
    // The start, 8 steps, and the way back.
    ASSERT_EQ(shape->border.elementCount(), 10);
    EXPECT_NEAR(shape->border.elementAt(4).x, 50, 1e-9);
    EXPECT_NEAR(shape->border.elementAt(4).y, 37.5, 1e-9) << "the middle of the curve";
    for (int i = 1; i < 10; ++i)
        EXPECT_TRUE(shape->border.elementAt(i).isLineTo());
    EXPECT_EQ(makeShape(rectangle(0, 0, 8, 8), 0, 0, false)->border.elementCount(), 5);
    const auto divided = makeShape(rectangle(0, 0, 8, 8), 0, 0, true);
    ASSERT_EQ(divided->border.elementCount(), 33);
    EXPECT_EQ(QPointF(divided->border.elementAt(3)), QPointF(3, 0));
}

TEST(Selection, StartsEmpty)
{
    const Selection selection;
    EXPECT_TRUE(selection.isEmpty());
    EXPECT_EQ(selection.fingerprint(), 0u);
    EXPECT_EQ(selection.bounds(), Area());
    EXPECT_TRUE(selection.range().isEmpty());
    EXPECT_FALSE(selection.contains({0, 0}));
    EXPECT_TRUE(selection.path().isEmpty());
}

TEST(Selection, HardRectangleKeepsItsBorderAndHasNoFades)
{
    const Selection selection(rectangle(100.5, 200, 50, 60));
    expectArea(selection.bounds(), {100.5, 200, 50, 60}, 1e-12);
    EXPECT_EQ(selection.range(), (Range{100, 51}));
    EXPECT_TRUE(selection.contains({120, 230}));
    EXPECT_FALSE(selection.contains({99, 230}));
    ASSERT_EQ(selection.fades().size(), selection.path().elementCount());
    for (const QPointF& fade : selection.fades())
        EXPECT_TRUE(fade.isNull());
}

// At the end of a recording of ten hours the fade is the same as at its start.
TEST(Selection, FadesOfARectanglePointInwardsAnywhereOnTheTimeline)
{
    for (const double start : {0.0, 1e6, 1.728e9, 1e13})
        for (const double bottom : {0.0, 1e9}) {
            Selection selection;
            selection.add(rectangle(start, bottom, 48000, 4000), 240, 100, false);
            const QPainterPath path = selection.path();
            const QList<QPointF> fades = selection.fades();
            ASSERT_EQ(fades.size(), path.elementCount());
            for (int i = 0; i < fades.size(); ++i) {
                const QPointF p(path.elementAt(i));
                EXPECT_NEAR(fades[i].x(), p.x() < start + 24000 ? 240 : -240, 0.5) << start;
                EXPECT_NEAR(fades[i].y(), p.y() < bottom + 2000 ? 100 : -100, 0.5) << start;
            }
        }
}

TEST(Selection, FadesAreLimitedByTheLargestFade)
{
    // A needle: its miter points far inside.
    QPainterPath needle(QPointF(0, 0));
    needle.lineTo(10000, 10);
    needle.lineTo(0, 20);
    needle.closeSubpath();
    Selection selection;
    selection.add(needle, 5, 5, false);
    for (const QPointF& fade : selection.fades()) {
        EXPECT_LE(std::abs(fade.x()), 5.0);
        EXPECT_LE(std::abs(fade.y()), 5.0);
    }
}

TEST(Selection, FadesOfEachElementAreKept)
{
    const QPainterPath path = rectangle(0, 0, 1000, 1000);
    const QList<QPointF> fades = {{10, 20}, {-30, 20}, {-30, -40}, {10, -40}, {10, 20}};
    Selection selection;
    selection.add(path, fades);
    const QList<QPointF> kept = selection.fades();
    ASSERT_EQ(kept.size(), fades.size());
    for (int i = 0; i < kept.size(); ++i) {
        EXPECT_NEAR(kept[i].x(), fades[i].x(), 1e-6) << i;
        EXPECT_NEAR(kept[i].y(), fades[i].y(), 1e-6) << i;
    }
    EXPECT_EQ(selection.maxFadeX(), 30);
    EXPECT_EQ(selection.maxFadeY(), 40);
}

TEST(Selection, AWrongCountOfFadesChangesNothing)
{
    Selection selection(rectangle(0, 0, 10, 10));
    const Selection before = selection;
    const QPainterPath other = rectangle(5, 5, 10, 10);
    selection.add(other, QList<QPointF>{{1, 1}});
    selection.subtract(other, QList<QPointF>{}, false);
    selection.subtract(other, QList<QPointF>{{1, 1}, {2, 2}}, true);
    selection.intersect(other, QList<QPointF>{{1, 1}});
    EXPECT_EQ(selection, before);
    expectArea(selection.bounds(), {0, 0, 10, 10}, 0);
}

TEST(Selection, ClearEmptiesAndForgetsTheLargestFade)
{
    Selection selection;
    selection.add(rectangle(0, 0, 100, 100), 5, 6, false);
    EXPECT_EQ(selection.maxFadeX(), 5);
    selection.clear();
    EXPECT_EQ(selection, Selection());
    EXPECT_EQ(selection.maxFadeX(), 0);
    EXPECT_EQ(selection.maxFadeY(), 0);
}

TEST(Selection, TranslateMovesAndBackIsTheSame)
{
    Selection selection;
    selection.add(rectangle(100, 1000, 500, 700), 20, 30, false);
    const Selection before = selection;
    selection.translate({48000, 250});
    EXPECT_FALSE(selection == before);
    expectArea(selection.bounds(), {48100, 1250, 500, 700}, 1e-2);
    EXPECT_EQ(selection.fades(), before.fades());
    selection.translate({-48000, -250});
    EXPECT_TRUE(selection == before);
}

TEST(Selection, ScaleIsAboutTheLeftEdgeAndZeroHertz)
{
    Selection selection;
    selection.add(rectangle(1000, 200, 100, 50), 10, 5, false);
    selection.scale(2, 3);
    expectArea(selection.bounds(), {1000, 600, 200, 150}, 1e-2);
    EXPECT_DOUBLE_EQ(selection.maxFadeX(), 20);
    EXPECT_DOUBLE_EQ(selection.maxFadeY(), 15);
    for (const QPointF& fade : selection.fades()) {
        EXPECT_NEAR(std::abs(fade.x()), 20, 0.1);
        EXPECT_NEAR(std::abs(fade.y()), 15, 0.1);
    }
    const Selection before = selection;
    for (const float factor : {0.0f, -1.0f, float(nan), float(infinity)}) {
        selection.scale(factor, 1);
        selection.scale(1, factor);
    }
    EXPECT_EQ(selection, before);
}

TEST(Selection, ExpandAndContractMoveTheBorder)
{
    Selection selection(rectangle(1000, 1000, 500, 500));
    selection.expand(100, 20);
    expectArea(selection.bounds(), {900, 980, 700, 540}, 1e-6);
    selection.contract(100, 20);
    expectArea(selection.bounds(), {1000, 1000, 500, 500}, 1e-6);
    selection.contract(400, 1);
    EXPECT_TRUE(selection.isEmpty()) << "narrower than what goes";
    EXPECT_EQ(selection.fingerprint(), 0u);
}

TEST(Selection, ExpandedNeighboursBecomeOne)
{
    Selection selection(rectangle(0, 0, 100, 100));
    selection.add(rectangle(150, 0, 100, 100), 0, 0, false);
    EXPECT_FALSE(selection.contains({125, 50}));
    selection.expand(30, 1);
    EXPECT_TRUE(selection.contains({125, 50}));
    EXPECT_EQ(selection.path().toSubpathPolygons().size(), 1);
}

TEST(Selection, FadeGrowsAndContrastTakesItBack)
{
    Selection selection(rectangle(0, 0, 10000, 10000));
    selection.fade(200, 100);
    EXPECT_EQ(selection.maxFadeX(), 200);
    EXPECT_EQ(selection.maxFadeY(), 100);
    for (const QPointF& fade : selection.fades()) {
        EXPECT_NEAR(std::abs(fade.x()), 200, 0.5);
        EXPECT_NEAR(std::abs(fade.y()), 100, 0.5);
    }
    expectArea(selection.bounds(), {0, 0, 10000, 10000}, 1e-9);
    selection.contrast(0.5, 0.25);
    EXPECT_DOUBLE_EQ(selection.maxFadeX(), 100);
    EXPECT_DOUBLE_EQ(selection.maxFadeY(), 75);
    for (const QPointF& fade : selection.fades()) {
        EXPECT_NEAR(std::abs(fade.x()), 100, 0.5);
        EXPECT_NEAR(std::abs(fade.y()), 75, 0.5);
    }
    selection.contrast(1, 1);
    for (const QPointF& fade : selection.fades())
        EXPECT_TRUE(fade.isNull());
}

TEST(Selection, InvertedNothingIsTheWholeRectangle)
{
    Selection selection;
    selection.subtract(rectangle(0, 0, 100, 100), 0, 0, false, true);
    expectArea(selection.bounds(), {0, 0, 100, 100}, 0);
    selection.subtract(rectangle(0, 0, 100, 100), 0, 0, false, true);
    EXPECT_TRUE(selection.isEmpty()) << "and the whole one inverted is nothing";
}

TEST(Selection, SeparatePiecesStaySeparate)
{
    Selection selection;
    for (int i = 0; i < 50; ++i)
        selection.add(rectangle(i * 1000, 100, 500, 100), 10, 10, false);
    EXPECT_EQ(selection.path().toSubpathPolygons().size(), 50);
    selection.subtract(rectangle(10000, 0, 20000, 1000), 0, 0, false, false);
    EXPECT_EQ(selection.path().toSubpathPolygons().size(), 30);
    selection.intersect(rectangle(0, 0, 5000, 1000), 0, 0, false);
    EXPECT_EQ(selection.path().toSubpathPolygons().size(), 5);
}

TEST(Selection, EqualShapesHaveEqualFingerprints)
{
    Selection a;
    Selection b;
    for (Selection* selection : {&a, &b}) {
        selection->add(rectangle(5, 6, 70, 80), 3, 4, true);
        selection->subtract(rectangle(20, 20, 10, 10), 1, 1, false, false);
    }
    EXPECT_EQ(a, b);
    EXPECT_NE(a.fingerprint(), 0u);
    b.translate({1e-3, 0});
    EXPECT_FALSE(a == b);
    Selection harder = a;
    harder.contrast(0.5, 0.5);
    EXPECT_FALSE(harder == a) << "the fades count too";
}

TEST(Selection, ShapesWithoutAreaAddAndTakeNothing)
{
    QPainterPath dot(QPointF(5, 5));
    QPainterPath line(QPointF(0, 0));
    line.lineTo(10, 10);
    const QPainterPath flat = rectangle(0, 0, 100, 0);
    for (const QPainterPath& path : {QPainterPath(), dot, line, flat}) {
        Selection selection;
        selection.add(path, 0, 0, false);
        selection.add(path, 10, 10, true);
        EXPECT_TRUE(selection.isEmpty());
        selection.add(rectangle(0, 0, 100, 100), 0, 0, false);
        const Selection before = selection;
        selection.subtract(path, 0, 0, false, false);
        selection.add(path, 0, 0, false);
        EXPECT_EQ(selection, before);
        Selection other = selection;
        other.intersect(path, 0, 0, false);
        EXPECT_TRUE(other.isEmpty());
        selection.subtract(path, 0, 0, false, true);
        EXPECT_TRUE(selection.isEmpty()) << "what is left of nothing";
    }
}

TEST(Selection, NumbersThatAreNoneChangeNothing)
{
    Selection selection;
    selection.add(rectangle(0, 0, 1000, 1000), 10, 10, false);
    const Selection before = selection;
    for (const double bad : {nan, infinity, -infinity, 1e300}) {
        // Behind the path's own guard, as a damaged file could.
        QPainterPath path = rectangle(10, 10, 100, 100);
        path.setElementPositionAt(2, bad, 50);
        selection.add(path, 0, 0, false);
        selection.add(path, 5, 5, true);
        selection.subtract(path, 0, 0, false, false);
        selection.subtract(path, 0, 0, false, true);
        selection.intersect(path, 0, 0, false);
        const QPainterPath good = rectangle(10, 10, 100, 100);
        selection.add(good, bad, 1, false);
        selection.subtract(good, 1, bad, false, false);
        selection.intersect(good, QList<QPointF>{{1, 1}, {1, 1}, {bad, 1}, {1, 1}, {1, 1}});
        selection.translate({bad, 0});
        selection.translate({0, bad});
    }
    for (const double bad : {nan, infinity, -infinity}) {
        selection.expand(1, bad);
        selection.contract(1, bad);
        selection.fade(1, bad);
        selection.contrast(bad, 0.5);
    }
    EXPECT_EQ(selection, before);
}

TEST(Selection, HugeAmountsEndInSomethingDefined)
{
    constexpr int64_t most = std::numeric_limits<int64_t>::max();
    constexpr int64_t least = std::numeric_limits<int64_t>::min();
    Selection selection;
    selection.add(rectangle(0, 0, 1000, 1000), 1e15, 1e15, false);
    EXPECT_FALSE(selection.isEmpty());
    for (const QPointF& fade : selection.fades())
        EXPECT_TRUE(std::isfinite(fade.x()) && std::isfinite(fade.y()));
    Selection other = selection;
    other.contract(most, 1e300);
    EXPECT_TRUE(other.isEmpty());
    other = selection;
    other.contract(least, -1e300);
    EXPECT_FALSE(other.isEmpty()) << "a negative amount counts as none";
    other = selection;
    other.fade(most, 1e18);
    EXPECT_FALSE(other.isEmpty());
    for (const QPointF& fade : other.fades())
        EXPECT_TRUE(std::isfinite(fade.x()) && std::isfinite(fade.y()));
    other = selection;
    other.expand(1, 1e30);
    EXPECT_LT(std::abs(other.bounds().height), 1e31);
    (void)other.range();
}

} // namespace
