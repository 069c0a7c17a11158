// What the selection tools draw with: cells and their outlines, brush strokes, hit tests, moves.
#include "brushstroke.h"
#include "outline.h"
#include "runmask.h"
#include "selectionbox.h"

#include "model/selection.h"

#include "support/testsupport.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <random>
#include <set>

namespace {

QPainterPath pathOf(const std::vector<QPolygonF>& rings)
{
    QPainterPath path;
    for (const QPolygonF& ring : rings)
        path.addPolygon(ring);
    return path;
}

Selection rectangleSelection(const Area& area, double fadeX = 0, double fadeY = 0)
{
    Selection selection;
    selection.add(outline::rectangle(area), fadeX, fadeY, false);
    return selection;
}

constexpr PointD pixel{10, 5}; // samples, Hz

} // namespace

// --- cells ----------------------------------------------------------------------------------------

TEST(RunMask, RunsThatTouchBecomeOne)
{
    RunMask mask;
    mask.add(3, 0, 4);
    mask.add(3, 8, 10);
    mask.add(3, 4, 8);
    mask.add(3, 20, 20);
    ASSERT_EQ(mask.rows().size(), 1u);
    EXPECT_EQ(mask.rows().at(3), (RunMask::Runs{{0, 10}}));
    EXPECT_EQ(mask.cells(), 10);
}

TEST(RunMask, ASquareHasFourCorners)
{
    RunMask mask;
    for (int row = -2; row < 2; ++row)
        mask.add(row, 5, 9);
    const auto rings = mask.outline();
    ASSERT_EQ(rings.size(), 1u);
    EXPECT_EQ(rings[0].size(), 5);
    EXPECT_EQ(rings[0].boundingRect(), QRectF(5, -2, 4, 4));
}

TEST(RunMask, AHoleIsARingOfItsOwn)
{
    RunMask mask;
    mask.add(0, 0, 5);
    mask.add(1, 0, 2);
    mask.add(1, 3, 5);
    mask.add(2, 0, 5);
    const auto rings = mask.outline();
    ASSERT_EQ(rings.size(), 2u);
    EXPECT_FALSE(pathOf(rings).contains(QPointF(2.5, 1.5)));
    EXPECT_TRUE(pathOf(rings).contains(QPointF(1.5, 1.5)));
}

TEST(RunMask, CellsThatShareACornerKeepApart)
{
    for (const bool rising : {true, false}) {
        RunMask mask;
        mask.add(0, rising ? 0 : 1, rising ? 1 : 2);
        mask.add(1, rising ? 1 : 0, rising ? 2 : 1);
        const auto rings = mask.outline();
        ASSERT_EQ(rings.size(), 2u);
        for (const QPolygonF& ring : rings)
            EXPECT_EQ(std::abs(outline::signedArea(ring)), 1);
    }
}

TEST(RunMask, TheOutlineHoldsExactlyTheCellsOfRandomMasks)
{
    std::mt19937 random(5);
    for (int round = 0; round < 60; ++round) {
        RunMask mask;
        std::set<std::pair<int, int>> cells;
        const int runs = 1 + int(random() % 40);
        for (int i = 0; i < runs; ++i) {
            const int row = int(random() % 12), begin = int(random() % 14), length = 1 + int(random() % 5);
            mask.add(row, begin, begin + length);
            for (int c = begin; c < begin + length; ++c)
                cells.insert({c, row});
        }
        ASSERT_EQ(mask.cells(), int64_t(cells.size()));
        const QPainterPath path = pathOf(mask.outline());
        for (int row = -1; row < 13; ++row)
            for (int column = -1; column < 20; ++column) {
                const bool inside = cells.count({column, row}) > 0;
                ASSERT_EQ(mask.contains(column, row), inside);
                ASSERT_EQ(path.contains(QPointF(column + 0.5, row + 0.5)), inside)
                    << "round " << round << " at " << column << ", " << row;
            }
    }
}

TEST(RunMask, AnEmptyMaskHasNoOutline)
{
    EXPECT_TRUE(RunMask().outline().empty());
}

// --- outlines --------------------------------------------------------------------------------------

TEST(Outline, AnEllipseFillsItsAreaAsACircleItsSquare)
{
    const QPainterPath path = outline::ellipse({1000, 200, 400, 100});
    EXPECT_EQ(path.controlPointRect(), QRectF(1000, 200, 400, 100));
    EXPECT_TRUE(path.contains(QPointF(1200, 250)));
    EXPECT_FALSE(path.contains(QPointF(1010, 205)));
    EXPECT_NEAR(std::abs(outline::signedArea(path.toFillPolygon())), 400 * 100 * 0.785398, 400 * 100 * 0.001);
}

TEST(Outline, ALoopOfALassoIsInside)
{
    // A figure that crosses itself twice around its middle.
    QPolygonF points;
    for (int i = 0; i < 5; ++i)
        points << QPointF(std::cos(i * 4 * 3.14159265 / 5), std::sin(i * 4 * 3.14159265 / 5));
    EXPECT_TRUE(outline::polygon(points).contains(QPointF(0, 0)));
    EXPECT_TRUE(outline::polygon(QPolygonF(QVector<QPointF>{QPointF(0, 0), QPointF(1, 1)})).isEmpty());
}

TEST(Outline, SubdividingKeepsTheShape)
{
    const QPainterPath square = outline::rectangle({0, 0, 8, 8});
    const QPainterPath divided = outline::subdivided(square);
    EXPECT_EQ(divided.elementCount(), 1 + 8 * (square.elementCount() - 1));
    EXPECT_EQ(divided.controlPointRect(), square.controlPointRect());
    EXPECT_EQ(QPointF(divided.elementAt(1)), QPointF(1, 0));
}

TEST(Outline, SimplifyingStaysWithinTheToleranceAndKeepsTheEnds)
{
    std::mt19937 random(3);
    std::uniform_real_distribution<double> jitter(-0.3, 0.3);
    QPolygonF line;
    for (int i = 0; i <= 1000; ++i)
        line << QPointF(1e9 + i * pixel.x, (40 * std::sin(i * 0.01) + jitter(random)) * pixel.y);
    const QPolygonF few = outline::simplified(line, pixel, 0.5);
    EXPECT_LT(few.size(), 100);
    EXPECT_EQ(few.first(), line.first());
    EXPECT_EQ(few.last(), line.last());
    // Each point left out lies on the new line, half a pixel at most beside it.
    int segment = 0;
    for (const QPointF& p : line) {
        while (segment + 2 < few.size() && p.x() > few[segment + 1].x())
            ++segment;
        const QPointF a = few[segment], b = few[segment + 1];
        const double t = (p.x() - a.x()) / (b.x() - a.x());
        EXPECT_LE(std::abs(a.y() + (b.y() - a.y()) * t - p.y()) / pixel.y, 0.8);
    }
}

TEST(Outline, ARingStaysARingWhenItIsSimplified)
{
    QPolygonF ring;
    for (int i = 0; i <= 360; ++i)
        ring << QPointF(100 * std::cos(i * 3.14159265358979 / 180),
                        100 * std::sin(i * 3.14159265358979 / 180));
    ring.last() = ring.first();
    const QPolygonF few = outline::simplified(ring, {1, 1}, 1);
    EXPECT_EQ(few.first(), few.last());
    EXPECT_GT(few.size(), 8);
    EXPECT_LT(few.size(), 60);
    EXPECT_NEAR(outline::signedArea(few) / outline::signedArea(ring), 1, 0.02);
}

TEST(Outline, SizesThatAreNoneLeaveTheLineAlone)
{
    const QPolygonF line(QVector<QPointF>{QPointF(0, 0), QPointF(1, 0), QPointF(2, 0)});
    EXPECT_EQ(outline::simplified(line, {0, 1}, 1), line);
    EXPECT_EQ(outline::simplified(line, {NAN, 1}, 1), line);
    EXPECT_TRUE(outline::simplified({}, {1, 1}, 1).isEmpty());
}

// --- brush -----------------------------------------------------------------------------------------

TEST(BrushStroke, OneDabIsTheEllipseOfTheBrush)
{
    BrushStroke stroke({5000, 800}, pixel, {200, 60});
    stroke.paint({{5000, 800}, {200, 60}});
    const auto rings = stroke.outline();
    ASSERT_EQ(rings.size(), 1u);
    EXPECT_NEAR(std::abs(outline::signedArea(rings[0])), 3.14159265 * 200 * 60, 3.14159265 * 200 * 60 * 0.03);
    const QRectF bounds = rings[0].boundingRect();
    EXPECT_NEAR(bounds.left(), 4800, pixel.x);
    EXPECT_NEAR(bounds.bottom(), 860, pixel.y);
}

TEST(BrushStroke, ADragIsTheWaySweptWithoutDents)
{
    BrushStroke stroke({0, 0}, pixel, {200, 60});
    stroke.paint({{0, 0}, {200, 60}});
    stroke.paint({{4000, 600}, {200, 60}});
    const QPainterPath path = pathOf(stroke.outline());
    // A point counts by its distance to the way, in radii.
    std::mt19937 random(1);
    std::uniform_real_distribution<double> x(-400, 4400), y(-120, 720);
    for (int i = 0; i < 4000; ++i) {
        const QPointF p(x(random), y(random));
        const QPointF along(4000 / 200.0, 600 / 60.0), q(p.x() / 200, p.y() / 60);
        const double t =
            std::clamp(QPointF::dotProduct(q, along) / QPointF::dotProduct(along, along), 0.0, 1.0);
        const double radii = std::hypot(q.x() - t * along.x(), q.y() - t * along.y());
        if (std::abs(radii - 1) > 0.12) {
            EXPECT_EQ(path.contains(p), radii < 1) << p.x() << ", " << p.y();
        }
    }
}

TEST(BrushStroke, AClosedWayLeavesItsMiddleFree)
{
    BrushStroke stroke({0, 0}, {1, 1}, {10, 10});
    for (int i = 0; i <= 36; ++i)
        stroke.paint({{100 * std::cos(i * 0.17453293), 100 * std::sin(i * 0.17453293)}, {10, 10}});
    const QPainterPath path = pathOf(stroke.outline());
    EXPECT_FALSE(path.contains(QPointF(0, 0)));
    EXPECT_TRUE(path.contains(QPointF(100, 0)));
    EXPECT_EQ(stroke.outline().size(), 2u);
}

// The work of a dab is that of its own rows, however much was painted before.
TEST(BrushStroke, TheThousandthDabCostsAsMuchAsTheFirst)
{
    BrushStroke stroke({0, 0}, {1, 1}, {15, 15});
    std::mt19937 random(2);
    std::uniform_real_distribution<double> step(-12, 12);
    PointD at{0, 0};
    int64_t early = 0, late = 0;
    for (int i = 0; i < 1000; ++i) {
        at = {at.x + step(random), at.y + step(random)};
        const int64_t before = stroke.rowsPainted();
        stroke.paint({at, {15, 15}});
        (i < 100 ? early : late) += stroke.rowsPainted() - before;
    }
    EXPECT_LT(double(late) / 900, 1.3 * double(early) / 100);
}

TEST(BrushStroke, APointerThatJumpsFarAwayIsFollowedInBoundedSteps)
{
    BrushStroke stroke({0, 0}, {1, 1}, {5, 5});
    stroke.paint({{0, 0}, {5, 5}});
    stroke.paint({{1e7, 0}, {5, 5}});
    EXPECT_LT(stroke.rowsPainted(), 4200 * 16);
    stroke.paint({{NAN, 0}, {5, 5}});
    stroke.paint({{1e300, 0}, {5, 5}});
    stroke.paint({{0, 0}, {INFINITY, 5}});
    EXPECT_FALSE(stroke.outline().empty());
}

// --- taking hold -----------------------------------------------------------------------------------

TEST(SelectionBox, SidesCornersInsideAndOutsideOfARectangle)
{
    using namespace selectionbox;
    const Selection s = rectangleSelection({1000, 500, 2000, 400});
    const struct
    {
        PointD at;
        uint32_t grip;
    } rows[] = {
        {{1000, 700}, GripLeft},
        {{1000 + 4 * pixel.x, 700}, GripLeft},
        {{1000 - 4 * pixel.x, 700}, GripLeft},
        {{3000, 700}, GripRight},
        {{2000, 500}, GripLow},
        {{2000, 900}, GripHigh},
        {{1000, 500}, GripLeft | GripLow},
        {{3000, 900}, GripRight | GripHigh},
        {{2000, 700}, GripAll},
        {{1000 - 6 * pixel.x, 700}, GripNone},
        {{2000, 900 + 6 * pixel.y}, GripNone},
        {{5000, 700}, GripNone},
    };
    for (const auto& row : rows)
        EXPECT_EQ(gripAt(s, row.at, pixel), row.grip) << row.at.x << ", " << row.at.y;
    EXPECT_EQ(gripAt(Selection(), {2000, 700}, pixel), GripNone);
    EXPECT_EQ(gripAt(s, {2000, 700}, {0, 0}), GripNone);
}

TEST(SelectionBox, TheBorderOfAnEllipseGivesWayToWhereItLooks)
{
    using namespace selectionbox;
    Selection s;
    s.add(outline::ellipse({0, 0, 4000, 2000}), 0, 0, false);
    const double share = std::sqrt(0.5);
    EXPECT_EQ(gripAt(s, {2000 + 2000 * share, 1000 + 1000 * share}, pixel), GripRight | GripHigh);
    EXPECT_EQ(gripAt(s, {0, 1000}, pixel), GripLeft);
    EXPECT_EQ(gripAt(s, {3990, 1990}, pixel), GripNone) << "the corner of the rectangle around it is free";
    EXPECT_EQ(gripAt(s, {2000, 1000}, pixel), GripAll);
}

TEST(SelectionBox, TheMiddleOfASelectionOfAFewPixelsMovesIt)
{
    using namespace selectionbox;
    const Selection s = rectangleSelection({0, 0, 6 * pixel.x, 6 * pixel.y});
    EXPECT_EQ(gripAt(s, {3 * pixel.x, 3 * pixel.y}, pixel), GripAll);
    EXPECT_EQ(gripAt(s, {0.5 * pixel.x, 3 * pixel.y}, pixel), GripLeft);
}

TEST(SelectionBox, DragsStayInsideTheLimitsAndDoNotTurnOver)
{
    using namespace selectionbox;
    const Area from{1000, 500, 2000, 400}, limits{0, 0, 10000, 8000};
    EXPECT_EQ(dragged(from, GripAll, {100, -50}, limits, pixel), (Area{1100, 450, 2000, 400}));
    EXPECT_EQ(dragged(from, GripAll, {-5000, 90000}, limits, pixel), (Area{0, 7600, 2000, 400}));
    EXPECT_EQ(dragged(from, GripLeft, {500, 70}, limits, pixel), (Area{1500, 500, 1500, 400}));
    EXPECT_EQ(dragged(from, GripLeft, {9000, 0}, limits, pixel), (Area{2990, 500, 10, 400}));
    EXPECT_EQ(dragged(from, GripRight | GripHigh, {90000, 90000}, limits, pixel),
              (Area{1000, 500, 9000, 7500}));
    // What lies outside already is not pulled in, and can be dragged back.
    EXPECT_EQ(dragged({9000, 0, 5000, 100}, GripAll, {100, 0}, limits, pixel), (Area{9000, 0, 5000, 100}));
    EXPECT_EQ(dragged({9000, 0, 5000, 100}, GripAll, {-100, 0}, limits, pixel), (Area{8900, 0, 5000, 100}));
}

TEST(SelectionBox, FittingIsExactFarOutOnTheTimeline)
{
    std::mt19937 random(9);
    std::uniform_real_distribution<double> x(0, 3e7), w(100, 3e7), y(0, 20000), h(1, 20000);
    for (int i = 0; i < 200; ++i) {
        const Area from{x(random), y(random), w(random), h(random)};
        const Area to{x(random), y(random), w(random), h(random)};
        Selection s = rectangleSelection(from);
        selectionbox::fit(s, to);
        const Area now = s.bounds();
        EXPECT_NEAR(now.x, to.x, 1e-6);
        EXPECT_NEAR(now.y, to.y, 1e-6);
        EXPECT_NEAR(now.width, to.width, 3e-8 * to.width) << from.width << " to " << to.width;
        EXPECT_NEAR(now.height, to.height, 3e-8 * to.height);
    }
}

TEST(SelectionBox, FittingScalesTheFadeWithTheSelection)
{
    Selection s = rectangleSelection({1000, 500, 2000, 400}, 200, 40);
    selectionbox::fit(s, {0, 100, 4000, 200});
    EXPECT_NEAR(s.maxFadeX(), 400, 1);
    EXPECT_NEAR(s.maxFadeY(), 20, 0.1);
}

TEST(SelectionBox, WhatHasNoAreaIsNotFitted)
{
    Selection s = rectangleSelection({1000, 500, 2000, 400});
    const uint32_t before = s.fingerprint();
    selectionbox::fit(s, {0, 0, 0, 100});
    selectionbox::fit(s, {0, 0, 100, NAN});
    EXPECT_EQ(s.fingerprint(), before);
    Selection empty;
    selectionbox::fit(empty, {0, 0, 10, 10});
    EXPECT_TRUE(empty.isEmpty());
}

TEST(SelectionBox, TheOutlineOfADragIsWhereTheSelectionWillBe)
{
    Selection s;
    s.add(outline::ellipse({0, 0, 4000, 2000}), 0, 0, false);
    const Area to{500, 100, 1000, 3000};
    const QPainterPath outline = selectionbox::fitted(s.path(), s.bounds(), to);
    selectionbox::fit(s, to);
    ASSERT_EQ(outline.elementCount(), s.path().elementCount());
    for (int i = 0; i < outline.elementCount(); ++i) {
        EXPECT_NEAR(outline.elementAt(i).x, s.path().elementAt(i).x, 1e-3);
        EXPECT_NEAR(outline.elementAt(i).y, s.path().elementAt(i).y, 1e-3);
    }
}
