#include "model/selection.h"

#include "model/fadetriangle.h"
#include "selectiontest.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

using namespace selectiontest;

namespace {

constexpr int32_t fullWeight = 0x7f7f7f7f;

// The weight of a rectangle with a uniform fade, by its definition: the distance to the nearest side in
// units of the fade of that side.
double rectangleWeight(const Area& area, double fadeX, double fadeY, double x, double y)
{
    const double dx = std::min(x - area.x, area.x + area.width - x);
    const double dy = std::min(y - area.y, area.y + area.height - y);
    if (dx < 0 || dy < 0)
        return 0;
    return std::min({1.0, fadeX > 0 ? dx / fadeX : 1.0, fadeY > 0 ? dy / fadeY : 1.0});
}

void expectRectangle(const Matrix& matrix, const Area& view, const Area& area, double fadeX, double fadeY)
{
    const double dx = view.width / matrix.inputs;
    const double dy = view.height / matrix.outputs;
    int wrong = 0;
    for (int row = 0; row < matrix.inputs; ++row)
        for (int column = 0; column < matrix.outputs; ++column) {
            const double x = view.x + (row + 0.5) * dx;
            const double y = view.y + (column + 0.5) * dy;
            const double expected = rectangleWeight(area, fadeX, fadeY, x, y);
            if (std::abs(at(matrix, row, column) - expected) > 1e-3 && ++wrong < 5)
                ADD_FAILURE() << row << ", " << column << ": " << at(matrix, row, column) << " and not "
                              << expected;
        }
    EXPECT_EQ(wrong, 0);
}

TEST(SelectionMask, HardRectangleIsFullInsideAndZeroOutside)
{
    const Selection selection(rectangle(10, 20, 30, 40));
    QImage image(100, 100, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::red);
    selection.renderMask(image, {0, 0, 100, 100});
    for (int row = 0; row < 100; ++row)
        for (int column = 0; column < 100; ++column) {
            // Frequency rises upwards.
            const bool inside = column >= 10 && column < 40 && row >= 40 && row < 80;
            ASSERT_EQ(reinterpret_cast<const int32_t*>(image.constScanLine(row))[column],
                      inside ? fullWeight : 0)
                << column << ", " << row;
        }
}

TEST(SelectionMask, TransposedRowsAreTimeAndColumnsRiseWithFrequency)
{
    const Selection selection(rectangle(10, 20, 30, 40));
    QImage image(100, 50, QImage::Format_ARGB32_Premultiplied);
    selection.renderMask(image, {0, 0, 50, 100}, {}, -1, true);
    for (int row = 0; row < 50; ++row)
        for (int column = 0; column < 100; ++column) {
            const bool inside = row >= 10 && row < 40 && column >= 20 && column < 60;
            ASSERT_EQ(reinterpret_cast<const int32_t*>(image.constScanLine(row))[column],
                      inside ? fullWeight : 0)
                << column << ", " << row;
        }
}

TEST(SelectionMask, SoftRectangleRisesOverItsFade)
{
    Selection selection;
    const Area area{1000, 2000, 5000, 8000};
    selection.add(rectangle(1000, 2000, 5000, 8000), 700, 1500, false);
    const Area view{0, 0, 8000, 12000};
    expectRectangle(mask(selection, view, 160, 240), view, area, 700, 1500);
}

TEST(SelectionMask, NarrowerThanTwiceItsFadeStaysBelowOne)
{
    Selection selection;
    selection.add(rectangle(100, 0, 60, 1000), 50, 0, false);
    const Matrix matrix = mask(selection, {0, 0, 260, 1000}, 260, 100);
    float highest = 0;
    for (const float weight : matrix.data)
        highest = std::max(highest, weight);
    EXPECT_LT(highest, 0.61f);
    EXPECT_GT(highest, 0.57f) << "30 of 50 in the middle";
    EXPECT_NEAR(at(matrix, 110, 50), 10.5 / 50, 1e-3);
    EXPECT_NEAR(at(matrix, 149, 50), 10.5 / 50, 1e-3);
}

TEST(SelectionMask, SoftShapeOutOfAHardOneLeavesASoftInnerEdge)
{
    Selection selection(rectangle(0, 0, 1000, 1000));
    selection.subtract(rectangle(300, 300, 400, 400), 50, 50, false, false);
    const Matrix matrix = mask(selection, {0, 0, 1000, 1000}, 500, 500);
    EXPECT_NEAR(at(matrix, 0, 250), 1, 1e-6) << "the outer edge stays hard";
    EXPECT_NEAR(at(matrix, 250, 250), 0, 1e-6);
    EXPECT_NEAR(at(matrix, 149, 250), 1.0 / 50, 1e-3) << "0 on the hole's border";
    EXPECT_NEAR(at(matrix, 137, 250), 25.0 / 50, 1e-3) << "rising away from it";
    EXPECT_NEAR(at(matrix, 120, 250), 1, 1e-6);
}

TEST(SelectionMask, MoreRowsThanAPainterTakesHaveNoSeam)
{
    Selection selection;
    const Area area{100, 3, 69900, 10};
    selection.add(rectangle(100, 3, 69900, 10), 30000, 2, false);
    const Area view{0, 0, 70000, 16};
    expectRectangle(mask(selection, view, 70000, 16), view, area, 30000, 2);
    // However few columns it takes.
    Selection line;
    const Area narrow{100, 3, 69900, 1};
    line.add(rectangle(100, 3, 69900, 1), 30000, 0, false);
    expectRectangle(mask(line, view, 70000, 16), view, narrow, 30000, 0);
}

// FFT size 32768 at resolution 4: 65537 bins.
TEST(SelectionMask, MoreBinsThanAPainterTakesHaveNoSeam)
{
    Selection selection;
    const Area area{2, 1000, 5, 22900};
    selection.add(rectangle(2, 1000, 5, 22900), 1, 15000, false);
    const Area view{0, 0, 10, 24000};
    expectRectangle(mask(selection, view, 10, 65537), view, area, 1, 15000);
}

TEST(SelectionMask, FarOutOnTheTimelineFadesAreKept)
{
    const double start = 3600.0 * 48000 * 10;
    Selection selection;
    const Area area{start + 4800, 5000, 9600, 4000};
    selection.add(rectangle(area.x, area.y, area.width, area.height), 240, 90, false);
    const Area view{start, 0, 19200, 24000};
    expectRectangle(mask(selection, view, 600, 800), view, area, 240, 90);
}

TEST(SelectionMask, OnlyASliverOfAHugeSelectionIsSeen)
{
    Selection selection;
    const Area area{0, 0, 1e9, 24000};
    selection.add(rectangle(0, 0, 1e9, 24000), 1e6, 0, false);
    const Area view{2e5, 0, 100, 24000};
    expectRectangle(mask(selection, view, 100, 30), view, area, 1e6, 0);
    const Area beyond{-5e11, 0, 100, 24000};
    for (const float weight : mask(selection, beyond, 50, 30).data)
        ASSERT_EQ(weight, 0.0f);
}

TEST(SelectionMask, ImagesOfOtherFormatsAndAreasWithoutSizeAreLeft)
{
    const Selection selection(rectangle(0, 0, 10, 10));
    QImage wrong(10, 10, QImage::Format_RGB32);
    wrong.fill(Qt::green);
    const QImage before = wrong;
    selection.renderMask(wrong, {0, 0, 10, 10});
    selection.renderDisplayMask(wrong, {0, 0, 10, 10}, {}, -1);
    EXPECT_EQ(wrong, before);
    QImage null;
    selection.renderMask(null, {0, 0, 10, 10});
    selection.renderDisplayMask(null, {0, 0, 10, 10}, {}, -1);
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double infinity = std::numeric_limits<double>::infinity();
    for (const Area& area : {Area{0, 0, 0, 10}, Area{0, 0, 10, -1}, Area{nan, 0, 1, 1},
                             Area{0, 0, infinity, 1}, Area{0, -infinity, 1, 1}, Area{0, 0, 1, nan}}) {
        QImage image(10, 10, QImage::Format_ARGB32_Premultiplied);
        selection.renderMask(image, area, {}, 0.5);
        EXPECT_EQ(image.pixel(5, 5), 0u);
        for (const float weight : mask(selection, area, 5, 5).data)
            EXPECT_EQ(weight, 0.0f);
    }
}

TEST(SelectionMask, MatricesOfNoRowsOrAWrongSizeAreLeft)
{
    const Selection selection(rectangle(0, 0, 10, 10));
    for (const auto& [rows, columns] : {std::pair{0, 5}, {5, 0}, {-1, 5}, {0, 0}}) {
        Matrix matrix(columns, rows);
        selection.rasterize(matrix, {0, 0, 10, 10});
        EXPECT_TRUE(matrix.data.isEmpty());
    }
    Matrix lying(4, 4);
    lying.inputs = 400;
    selection.rasterize(lying, {0, 0, 10, 10});
    EXPECT_EQ(lying.data.size(), 16);
}

TEST(SelectionMask, OldContentsOfTheMatrixAreGone)
{
    Matrix matrix(8, 8); // an identity
    Selection().rasterize(matrix, {0, 0, 8, 8});
    for (const float weight : matrix.data)
        EXPECT_EQ(weight, 0.0f);
}

TEST(SelectionMask, DisplayMaskFollowsTheMappingAndShowsTheBorder)
{
    const Selection selection(rectangle(20, 100, 60, 9900));
    // An octave scale: 100 Hz to 10 kHz over two decades.
    const auto logarithmic = [](QPointF p) { return QPointF(p.x(), std::log10(std::max(p.y(), 1.0))); };
    QImage image(100, 100, QImage::Format_Grayscale8);
    selection.renderDisplayMask(image, {0, 1, 100, 4}, logarithmic, -1);
    const auto value = [&](int column, int row) { return int(image.constScanLine(row)[column]); };
    EXPECT_EQ(value(50, 50), 0x7f) << "1 kHz";
    EXPECT_EQ(value(50, 30), 0x7f) << "6.3 kHz";
    EXPECT_EQ(value(50, 20), 0) << "16 kHz";
    EXPECT_EQ(value(50, 73), 0x7f);
    EXPECT_EQ(value(50, 77), 0) << "80 Hz";
    selection.renderDisplayMask(image, {0, 1, 100, 4}, logarithmic, 0);
    EXPECT_EQ(value(50, 25), 0xff) << "the upper border";
    EXPECT_EQ(value(20, 50), 0xff) << "the left border";
    EXPECT_EQ(value(50, 50), 0x7f);
}

TEST(SelectionMask, BorderDashesWanderWithThePhase)
{
    const Selection selection(rectangle(10.5, 10.5, 60, 60));
    const auto row = [&](double phase) {
        QImage image(100, 100, QImage::Format_Grayscale8);
        selection.renderDisplayMask(image, {0, 0, 100, 100}, {}, phase);
        std::vector<int> values;
        for (int column = 15; column < 65; ++column)
            values.push_back(image.constScanLine(89)[column] == 0xff);
        return values;
    };
    const std::vector<int> solid = row(0);
    EXPECT_EQ(std::count(solid.begin(), solid.end(), 1), 50);
    const std::vector<int> dashed = row(0.25);
    EXPECT_NEAR(std::count(dashed.begin(), dashed.end(), 1), 25, 3) << "two on, two off";
    EXPECT_NE(dashed, row(0.75));
    EXPECT_EQ(row(0.001).size(), 50u);
}

TEST(SelectionMask, ABorderOfAWholeRecordingIsDrawnWhereItIsSeen)
{
    Selection selection;
    selection.add(rectangle(-1e12, 100, 2e12, 800), 0, 0, false);
    QImage image(200, 100, QImage::Format_Grayscale8);
    selection.renderDisplayMask(image, {0, 0, 200, 1000}, {}, 0.5);
    int white = 0;
    for (int column = 0; column < 200; ++column)
        white += image.constScanLine(10)[column] == 0xff;
    EXPECT_NEAR(white, 100, 8);
    EXPECT_EQ(image.constScanLine(50)[100], 0x7f);
}

TEST(FadeTriangle, LowersToThePlaneAndNeverRaises)
{
    std::vector<int32_t> weights(20 * 20, 1000);
    weights[5 * 20 + 5] = 1;
    const WeightTile tile{weights.data(), 20, 20, 20};
    lowerTo(tile, {{0, 0}, 0}, {{0, 20}, 0}, {{20, 0}, 1}, 1000);
    for (int row = 0; row < 20; ++row)
        for (int column = 0; column < 20; ++column) {
            const int32_t value = weights[std::size_t(row * 20 + column)];
            if (row == 5 && column == 5)
                EXPECT_EQ(value, 1);
            else if (row + column + 1 <= 20)
                EXPECT_NEAR(value, (column + 0.5) / 20 * 1000, 1) << row << ", " << column;
            else
                EXPECT_EQ(value, 1000);
        }
    // Without area, with no numbers, far outside: nothing.
    const std::vector<int32_t> before = weights;
    const double nan = std::numeric_limits<double>::quiet_NaN();
    lowerTo(tile, {{1, 1}, 0}, {{5, 5}, 0}, {{9, 9}, 0}, 1000);
    lowerTo(tile, {{nan, 1}, 0}, {{5, 5}, 0}, {{9, 2}, 0}, 1000);
    lowerTo(tile, {{1e8, 1}, 0}, {{2e8, 5}, 0}, {{1e8, 9}, 0}, 1000);
    lowerTo(tile, {{1, -1e9}, 0}, {{2, -2e9}, 0}, {{9, -1e9}, 0}, 1000);
    EXPECT_EQ(weights, before);
}

// --- properties on random selections ---------------------------------------------------------------

constexpr Area view{0, 0, 100 * 512, 24000};
constexpr int rows = 100;
constexpr int columns = 200;

Selection randomSelection(std::mt19937& random, double fade)
{
    std::uniform_real_distribution<double> x(10000, 40000);
    std::uniform_real_distribution<double> y(6000, 18000);
    std::uniform_real_distribution<double> size(0.3, 1.0);
    Selection selection;
    for (int i = 0; i < 3; ++i) {
        // One after the other: compilers differ in the order of arguments.
        const QPointF centre(x(random), y(random));
        const double width = 9000 * size(random);
        const double height = 5000 * size(random);
        selection.add(lasso(random, centre, width, height, 17), 512 * fade, 120 * fade, false);
    }
    return selection;
}

// Marks the pixels that lie within `distance` pixels of a border.
void markBand(std::vector<bool>& marks, const QPainterPath& border, double distance)
{
    const auto placed = [&](int i) {
        const QPointF p(border.elementAt(i));
        return QPointF((p.x() - view.x) * rows / view.width, (p.y() - view.y) * columns / view.height);
    };
    for (int i = 1; i < border.elementCount(); ++i) {
        if (border.elementAt(i).isMoveTo())
            continue;
        const QPointF a = placed(i - 1);
        const QPointF edge = placed(i) - a;
        const QRectF around =
            QRectF(a, a + edge).normalized().adjusted(-distance, -distance, distance, distance);
        for (int row = std::max(0, int(around.left())); row < std::min(rows, int(around.right()) + 1); ++row)
            for (int column = std::max(0, int(around.top()));
                 column < std::min(columns, int(around.bottom()) + 1); ++column) {
                const QPointF from = QPointF(row + 0.5, column + 0.5) - a;
                const double length = QPointF::dotProduct(edge, edge);
                const double t =
                    length > 0 ? std::clamp(QPointF::dotProduct(from, edge) / length, 0.0, 1.0) : 0;
                const QPointF apart = from - t * edge;
                if (std::hypot(apart.x(), apart.y()) <= distance)
                    marks[std::size_t(row * columns + column)] = true;
            }
    }
}

TEST(SelectionProperties, MovedByWholeFramesAndBinsTheMaskMovesAlong)
{
    std::mt19937 random(21);
    for (int round = 0; round < 40; ++round) {
        const Selection selection = randomSelection(random, round % 2 ? 4.3 : 0);
        const int frames = int(random() % 21) - 10;
        const int bins = int(random() % 21) - 10;
        Selection moved = selection;
        moved.translate({frames * 512.0, bins * 120.0});
        const Matrix before = mask(selection, view, rows, columns);
        const Matrix after = mask(moved, view, rows, columns);
        for (int row = 10; row < rows - 10; ++row)
            for (int column = 10; column < columns - 10; ++column)
                ASSERT_NEAR(at(after, row, column), at(before, row - frames, column - bins), 1e-6)
                    << round << ": " << row << ", " << column;
    }
}

TEST(SelectionProperties, SetOperationsAgreeWithThoseOfHardMasks)
{
    std::mt19937 random(22);
    for (int round = 0; round < 60; ++round) {
        const Selection a = randomSelection(random, 0);
        const QPainterPath path = lasso(random, {25000.0 + round * 50, 12000}, 12000, 7000, 23);
        const Selection b(path);
        Selection united = a;
        Selection both = a;
        Selection without = a;
        Selection reverse = a;
        united.add(path, 0, 0, round % 2);
        both.intersect(path, 0, 0, round % 2);
        without.subtract(path, 0, 0, round % 2, false);
        reverse.subtract(path, 0, 0, round % 2, true);
        const Matrix maskA = mask(a, view, rows, columns);
        const Matrix maskB = mask(b, view, rows, columns);
        const Matrix maskUnited = mask(united, view, rows, columns);
        const Matrix maskBoth = mask(both, view, rows, columns);
        const Matrix maskWithout = mask(without, view, rows, columns);
        const Matrix maskReverse = mask(reverse, view, rows, columns);
        int compared = 0;
        for (int row = 0; row < rows; ++row)
            for (int column = 0; column < columns; ++column) {
                if (!isFlat(maskA, row, column) || !isFlat(maskB, row, column))
                    continue;
                const bool inA = at(maskA, row, column) > 0.5f;
                const bool inB = at(maskB, row, column) > 0.5f;
                ASSERT_EQ(at(maskUnited, row, column) > 0.5f, inA || inB) << round;
                ASSERT_EQ(at(maskBoth, row, column) > 0.5f, inA && inB) << round;
                ASSERT_EQ(at(maskWithout, row, column) > 0.5f, inA && !inB) << round;
                ASSERT_EQ(at(maskReverse, row, column) > 0.5f, inB && !inA) << round;
                ++compared;
            }
        EXPECT_GT(compared, rows * columns / 2);
    }
}

TEST(SelectionProperties, AHardMaskAndItsInverseAreComplements)
{
    std::mt19937 random(23);
    for (int round = 0; round < 40; ++round) {
        const Selection selection = randomSelection(random, 0);
        Selection inverse = selection;
        inverse.subtract(rectangle(view.x, view.y, view.width, view.height), 0, 0, false, true);
        const Matrix a = mask(selection, view, rows, columns);
        const Matrix b = mask(inverse, view, rows, columns);
        for (int64_t i = 0; i < a.data.size(); ++i)
            ASSERT_NEAR(a.data[i] + b.data[i], 1, 1e-6) << round << ": " << i;
    }
}

TEST(SelectionProperties, ASoftMaskAndItsInverseSumToAtMostOneAndToOneOutsideTheBands)
{
    std::mt19937 random(24);
    for (int round = 0; round < 400; ++round) {
        const double fade = 2.7;
        const Selection selection = randomSelection(random, fade);
        Selection inverse = selection;
        inverse.subtract(rectangle(view.x, view.y, view.width, view.height), 0, 0, false, true);
        // A fade vector is limited on each axis by itself, so its end lies at most sqrt(2) fades away.
        std::vector<bool> band(std::size_t(rows * columns));
        for (const QPainterPath& border : {selection.path(), inverse.path()})
            markBand(band, border, 1.42 * fade);
        const Matrix a = mask(selection, view, rows, columns);
        const Matrix b = mask(inverse, view, rows, columns);
        int flat = 0;
        for (int row = 0; row < rows; ++row)
            for (int column = 0; column < columns; ++column) {
                const float sum = at(a, row, column) + at(b, row, column);
                ASSERT_LE(sum, 1 + 1e-6) << round << ": " << row << ", " << column;
                if (!band[std::size_t(row * columns + column)]) {
                    ASSERT_NEAR(sum, 1, 1e-5) << round << ": " << row << ", " << column;
                    ++flat;
                }
            }
        EXPECT_GT(flat, rows * columns / 3);
    }
}

// Of one and the same lasso, from a click to ten hours and from a mains hum to a radio band.
TEST(SelectionProperties, SoftSelectionsOfAnyExtentKeepTheirShape)
{
    for (uint32_t seed = 0; seed < 30; ++seed) {
        const auto weights = [seed](double width, double height) {
            std::mt19937 random(seed);
            Selection selection;
            selection.add(lasso(random, {width / 2, height / 2}, width / 2, height / 2, 13 + int(seed)),
                          width * 0.03, height * 0.06, false);
            return mask(selection, {0, 0, width, height}, rows, columns);
        };
        const Matrix expected = weights(4000, 2000);
        for (const double width : {100.0, 1e5, 1e7, 1.7e9})
            for (const double height : {50.0, 24000.0, 1.6e6}) {
                const Matrix got = weights(width, height);
                double apart = 0;
                for (int64_t i = 0; i < got.data.size(); ++i)
                    apart += std::abs(double(got.data[i]) - double(expected.data[i]));
                ASSERT_LT(apart / (rows * columns), 2e-2) << seed << ": " << width << " by " << height;
            }
    }
}

// The painter fills pixels that lie outside the border by less than its rounding; under a soft edge they
// must not stay at full weight.
TEST(SelectionProperties, NoPixelOutsideASoftBorderHasWeight)
{
    std::mt19937 random(26);
    constexpr int fine = 1000;
    const Area area{0, 0, 51200, 24000};
    for (int round = 0; round < 20; ++round) {
        const Selection selection = randomSelection(random, 6);
        const Matrix matrix = mask(selection, area, fine, fine);
        int inside = 0;
        for (int row = 0; row < fine; ++row)
            for (int column = 0; column < fine; ++column) {
                const QPointF centre((row + 0.5) * area.width / fine, (column + 0.5) * area.height / fine);
                if (at(matrix, row, column) < 0.01f || isFlat(matrix, row, column))
                    continue;
                ASSERT_TRUE(selection.contains(centre)) << round << ": " << row << ", " << column;
                ++inside;
            }
        EXPECT_GT(inside, 1000);
    }
}

TEST(SelectionProperties, StripsOfASoftMaskAreThoseOfTheWhole)
{
    std::mt19937 random(27);
    for (int round = 0; round < 20; ++round) {
        const Selection selection = randomSelection(random, 4);
        constexpr int fine = 900;
        const Matrix whole = mask(selection, view, fine, columns);
        const int strip = 50 + int(random() % 300);
        const double step = view.width / fine;
        for (int first = 0; first < fine; first += strip) {
            const int count = std::min(strip, fine - first);
            const Matrix part =
                mask(selection, {first * step, view.y, count * step, view.height}, count, columns);
            for (int row = 0; row < count; ++row)
                for (int column = 0; column < columns; ++column)
                    ASSERT_NEAR(at(part, row, column), at(whole, first + row, column), 1e-3)
                        << round << ": " << first + row << ", " << column;
        }
    }
}

// Any sequence of operations leaves finite fades within the limits, bounds that hold every element, and
// weights between 0 and 1.
TEST(SelectionProperties, RandomSequencesKeepTheInvariants)
{
    std::mt19937 random(25);
    std::uniform_real_distribution<double> unit(0, 1);
    for (int round = 0; round < 30; ++round) {
        Selection selection;
        for (int step = 0; step < 12; ++step) {
            const QPainterPath path =
                lasso(random, {unit(random) * 51200, unit(random) * 24000}, 12000 * unit(random),
                      6000 * unit(random), 3 + int(random() % 20));
            const double fx = random() % 3 ? unit(random) * 3000 : 0;
            const double fy = random() % 3 ? unit(random) * 900 : 0;
            switch (random() % 8) {
            case 0:
                selection.subtract(path, fx, fy, random() % 2, false);
                break;
            case 1:
                selection.intersect(rectangle(5000, 2000, 40000, 20000), fx, fy, false);
                break;
            case 2:
                selection.expand(int64_t(unit(random) * 900), unit(random) * 300);
                break;
            case 3:
                selection.contract(int64_t(unit(random) * 900), unit(random) * 300);
                break;
            case 4:
                selection.fade(int64_t(unit(random) * 900), unit(random) * 300);
                break;
            case 5:
                selection.contrast(unit(random), unit(random));
                break;
            default:
                selection.add(path, fx, fy, random() % 2);
            }
            const QPainterPath border = selection.path();
            const QList<QPointF> fades = selection.fades();
            ASSERT_EQ(fades.size(), border.elementCount());
            const Area bounds = selection.bounds();
            for (int i = 0; i < fades.size(); ++i) {
                ASSERT_LE(std::abs(fades[i].x()), selection.maxFadeX());
                ASSERT_LE(std::abs(fades[i].y()), selection.maxFadeY());
                const QPointF p(border.elementAt(i));
                ASSERT_GE(p.x(), bounds.x - 1e-6);
                ASSERT_LE(p.x(), bounds.x + bounds.width + 1e-6);
                ASSERT_GE(p.y(), bounds.y - 1e-6);
                ASSERT_LE(p.y(), bounds.y + bounds.height + 1e-6);
            }
            for (const float weight : mask(selection, view, rows, columns).data)
                ASSERT_TRUE(weight >= 0 && weight <= 1 + 1e-6);
        }
    }
}

} // namespace
