#include "scalestest.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

namespace {

// A column in the layout of rowtable.h, from magnitudes 0 .. maxBin.
std::vector<float> makeColumn(const std::vector<float>& magnitudes)
{
    const std::size_t maxBin = magnitudes.size() - 1;
    std::vector<float> column(magnitudes.begin(), magnitudes.end() - 1);
    std::size_t base = 0;
    for (std::size_t n = maxBin; n > 1; n /= 2) {
        for (std::size_t i = 0; i < n / 2; ++i)
            column.push_back((column[base + 2 * i] + column[base + 2 * i + 1]) / 2);
        base += n;
    }
    column.resize(2 * maxBin);
    column.back() = magnitudes.back();
    return column;
}

std::vector<float> randomMagnitudes(int count, unsigned seed)
{
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> value(0, 1);
    std::vector<float> magnitudes(std::size_t(count) + 1);
    for (float& magnitude : magnitudes)
        magnitude = value(random);
    return magnitudes;
}

std::vector<float> projected(const Convert& convert, const std::vector<float>& column)
{
    const int height = convert.rowTable().height();
    std::vector<float> rows(std::size_t(height) + 2, -7);
    convert.projectColumn(column.data(), rows.data() + 1);
    EXPECT_EQ(rows.front(), -7);
    EXPECT_EQ(rows.back(), -7);
    return {rows.begin() + 1, rows.end() - 1};
}

// The scales once more, straight from their definitions, in long double.
long double curve(FreqScale scale, long double f)
{
    const long double a = std::abs(f);
    long double g = a;
    if (scale == FreqScale::Mel)
        g = 1127 * std::log(a / 700 + 1);
    else if (scale == FreqScale::Bark)
        g = 6 * std::log(std::sqrt(a / 600 * (a / 600) + 1) + a / 600);
    else if (scale == FreqScale::Erb)
        g = 21.4L * std::log10(0.00437L * a + 1);
    else if (scale == FreqScale::MidiLogarithmic)
        g = a >= 16.35L ? 69 + 12 * std::log2(a / 440) : a * 11.998308205L / 16.35L;
    return f < 0 ? -g : g;
}

// Hz of a display coordinate, by bisection of the curve instead of its inverse.
long double hertz(FreqScale scale, long double nyquist, long double coordinate)
{
    const long double wanted = curve(scale, nyquist) * coordinate / nyquist;
    long double low = -2 * nyquist;
    long double high = 2 * nyquist;
    for (int i = 0; i < 64; ++i) {
        const long double middle = (low + high) / 2;
        (curve(scale, middle) < wanted ? low : high) = middle;
    }
    return (low + high) / 2;
}

// The value at a position between the elements of one level, by its own definition: nearest,
// straight line, Catmull-Rom; beyond the end of the level stands `beyond`.
double sampled(const std::vector<double>& level, double position, double beyond, Filtering filtering)
{
    const auto at = [&](long i) {
        return i < long(level.size()) ? level[std::size_t(std::max(i, 0l))] : beyond;
    };
    const auto n = long(std::floor(position));
    const double x = position - double(n);
    if (filtering == Filtering::Raw)
        return at(long(std::floor(position + 0.5)));
    if (filtering == Filtering::Linear || n < 1 || n >= long(level.size()) - 2)
        return at(n) + (at(n + 1) - at(n)) * x;
    // Hermite form with central differences as slopes.
    const double m0 = (at(n + 1) - at(n - 1)) / 2;
    const double m1 = (at(n + 2) - at(n)) / 2;
    const double h00 = (1 + 2 * x) * (1 - x) * (1 - x);
    const double h01 = x * x * (3 - 2 * x);
    return h00 * at(n) + x * (1 - x) * (1 - x) * m0 + h01 * at(n + 1) + x * x * (x - 1) * m1;
}

struct Case
{
    FreqScale scale;
    Filtering filtering;
    bool complex;
    int size;
    Area area;
    int height;
};

// Row by row from the definition; false where rounding decides between two levels or two bins.
bool expectedRow(const Case& c, const std::vector<float>& magnitudes, int row, double& value)
{
    const long double nyquist = 24000;
    const long double half = c.size;
    const auto coordinate = [&](long double f) {
        return curve(c.scale, f) * nyquist / curve(c.scale, nyquist);
    };
    const long double y0 = coordinate(c.area.y);
    const long double y1 = coordinate(c.area.y + c.area.height);
    const auto position = [&](int r) {
        const long double hz = hertz(c.scale, nyquist, y0 + (y1 - y0) * r / c.height);
        return double(hz / nyquist * half + (c.complex ? half : 0));
    };
    const double maxBin = double(c.complex ? 2 * half : half);
    const double pos = position(row);
    if (std::abs(pos) < 1e-4 || std::abs(pos - maxBin) < 1e-4)
        return false;
    value = 0;
    if (pos < 0 || pos > maxBin)
        return true;
    const double gap = row > 0 ? pos - position(row - 1) : 0;
    std::vector<double> level(magnitudes.begin(), magnitudes.end() - 1);
    double beyond = magnitudes.back();
    double stride = 1;
    while (gap > 2 * stride && level.size() > 1) {
        std::vector<double> coarser;
        for (std::size_t i = 0; i + 1 < level.size(); i += 2)
            coarser.push_back((level[i] + level[i + 1]) / 2);
        level = coarser;
        beyond = level.back();
        stride *= 2;
    }
    if (std::abs(gap / stride - 2) < 1e-4 || std::abs(gap / stride - 1) < 1e-4)
        return false;
    const double x = pos / stride - std::floor(pos / stride);
    if (c.filtering == Filtering::Raw && std::abs(x - 0.5) < 1e-4)
        return false;
    value = sampled(level, pos / stride, beyond, c.filtering);
    return true;
}

TEST(RowTable, AgreesWithAStraightEvaluation)
{
    const Area bands[] = {{0, 0, 1, 24000}, {0, 700, 1, 400}, {0, 20000, 1, 4000}, {0, -3000, 1, 30000}};
    int compared = 0;
    int skipped = 0;
    for (const FreqScale scale : allScales)
        for (const Filtering filtering : {Filtering::Raw, Filtering::Linear, Filtering::Cubic})
            for (const bool complex : {false, true})
                for (const int size : {256, 1000, 2048})
                    for (Area band : bands)
                        for (const int height : {50, 900}) {
                            const bool folds = scale == FreqScale::MidiLogarithmic;
                            if (complex && !folds && band.y == 0)
                                band = {0, -24000, 1, 48000};
                            if (folds && band.y < 0)
                                continue; // its forward mapping is not the one of this test there
                            const Case c{scale, filtering, complex, size, band, height};
                            const std::vector<float> magnitudes =
                                randomMagnitudes(complex ? 2 * size : size, unsigned(size + height));
                            Convert convert(complex ? complexFormat() : realFormat(),
                                            complex ? complexSettings(size, 8, 2) : realSettings(size, 8, 2));
                            convert.freqScale = scale;
                            convert.filtering = filtering;
                            convert.buildRowTable(band, height, true);
                            const std::vector<float> rows = projected(convert, makeColumn(magnitudes));
                            ASSERT_EQ(int(rows.size()), height);
                            for (int row = 0; row < height; ++row) {
                                double value = 0;
                                if (!expectedRow(c, magnitudes, row, value)) {
                                    ++skipped;
                                    continue;
                                }
                                ++compared;
                                ASSERT_NEAR(rows[std::size_t(row)], value, 2e-4)
                                    << "scale " << int(scale) << " filtering " << int(filtering)
                                    << " complex " << complex << " size " << size << " band " << band.y
                                    << " height " << height << " row " << row;
                            }
                        }
    EXPECT_GT(compared, 80000);
    EXPECT_LT(skipped, compared / 20);
}

TEST(RowTable, WeightsSumToOneInsideAndTapsStayInTheColumn)
{
    for (const FreqScale scale : allScales)
        for (const Filtering filtering : {Filtering::Raw, Filtering::Linear, Filtering::Cubic})
            for (const bool complex : {false, true}) {
                Convert convert(complex ? complexFormat() : realFormat(),
                                complex ? complexSettings(1000, 8, 3) : realSettings(1000, 8, 3));
                convert.freqScale = scale;
                convert.filtering = filtering;
                for (const int height : {1, 2, 17, 333, 5000}) {
                    convert.buildRowTable({0, -1000, 1, 26000}, height, true);
                    const RowTable& table = convert.rowTable();
                    for (int row = 0; row < height; ++row) {
                        float sum = 0;
                        for (int tap = 0; tap < RowTable::maxTaps; ++tap) {
                            sum += table.weights(tap)[row];
                            ASSERT_GE(table.indexes(tap)[row], 0);
                            ASSERT_LT(table.indexes(tap)[row], complex ? 6000 : 3000);
                        }
                        ASSERT_TRUE(std::abs(sum - 1) < 1e-6f || sum == 0) << sum;
                    }
                }
            }
}

TEST(RowTable, TopmostRowOfARealLayerReadsTheKeptNyquistNotThePyramid)
{
    for (const Filtering filtering : {Filtering::Raw, Filtering::Linear, Filtering::Cubic}) {
        Convert convert(realFormat(), realSettings());
        convert.filtering = filtering;
        // Rows an eighth of a bin apart, the topmost an eighth below Nyquist.
        const double oneBin = 48000.0 / 4096;
        convert.buildRowTable({0, 24000 - 4 * oneBin, 1, 4 * oneBin}, 32, true);
        std::vector<float> column(4096, 0);
        column.back() = 1;
        const std::vector<float> rows = projected(convert, column);
        EXPECT_NEAR(rows[31], filtering == Filtering::Raw ? 1 : 7.0 / 8, 1e-6);
        EXPECT_NEAR(rows[25], filtering == Filtering::Raw ? 0 : 1.0 / 8, 1e-6);
        EXPECT_EQ(rows[23], 0);
        column.assign(4096, 0);
        column[2048] = 1; // the first average of the pyramid
        for (const float value : projected(convert, column))
            EXPECT_EQ(value, 0);
    }
}

TEST(RowTable, ARowExactlyAtNyquistIsTheKeptElement)
{
    for (const FreqScale scale : allScales)
        for (const Filtering filtering : {Filtering::Raw, Filtering::Linear, Filtering::Cubic}) {
            Convert convert(realFormat(44100), realSettings());
            convert.freqScale = scale;
            convert.filtering = filtering;
            convert.buildRowTable({0, 22050, 1, 100}, 2, true); // row 0 at Nyquist, row 1 above
            std::vector<float> column(4096, 0);
            column.back() = 1;
            EXPECT_EQ(projected(convert, column), (std::vector<float>{1, 0}));
        }
}

TEST(RowTable, RowsAboveNyquistAndBelowZeroAreBlack)
{
    for (const Filtering filtering : {Filtering::Raw, Filtering::Linear, Filtering::Cubic}) {
        Convert convert(realFormat(), realSettings());
        convert.filtering = filtering;
        convert.buildRowTable({0, -24000, 1, 72000}, 300, true);
        const std::vector<float> rows = projected(convert, std::vector<float>(4096, 1));
        for (int row = 0; row < 300; ++row)
            EXPECT_EQ(rows[std::size_t(row)] > 0, row >= 100 && row <= 200) << row;
    }
}

TEST(RowTable, LowestRowOfTheFullBandIsNeverBlack)
{
    for (const FreqScale scale : {FreqScale::Linear, FreqScale::Mel, FreqScale::Bark, FreqScale::Erb})
        for (const double rate : {8000.0, 44100.0, 48000.0, 2.4e6, 3e9}) {
            Convert convert(complexFormat(rate), complexSettings());
            convert.freqScale = scale;
            convert.buildRowTable({0, -rate / 2, 1, rate}, 901, true);
            for (const float value : projected(convert, std::vector<float>(8192, 1)))
                ASSERT_NEAR(value, 1, 1e-6) << int(scale) << ' ' << rate;
        }
}

TEST(RowTable, NoTapLeavesItsLevel)
{
    // Each level holds its own number; a row that mixes two levels shows something between.
    for (const FreqScale scale : allScales)
        for (const Filtering filtering : {Filtering::Linear, Filtering::Cubic})
            for (const int size : {48, 1000, 2048})
                for (int height = 3; height < 60; ++height) {
                    Convert convert(realFormat(), realSettings(size));
                    convert.freqScale = scale;
                    convert.filtering = filtering;
                    convert.buildRowTable({0, 0, 1, 24000}, height, true);
                    std::vector<float> column;
                    float level = 1;
                    for (int n = size; n >= 1; n /= 2, ++level)
                        column.insert(column.end(), std::size_t(n), level);
                    column.resize(2 * std::size_t(size), -100);
                    column.back() = 1; // the kept Nyquist element belongs to the bins
                    for (const float value : projected(convert, column))
                        ASSERT_NEAR(value, std::round(value), 1e-4) << size << ' ' << height;
                }
}

TEST(RowTable, WithoutThePyramidRowsReadBins)
{
    Convert convert(realFormat(), realSettings());
    convert.buildRowTable({0, 0, 1, 24000}, 64, false);
    for (int row = 0; row < 64; ++row)
        EXPECT_EQ(convert.rowTable().indexes(0)[row], row * 32);
}

TEST(RowTable, OffsetAndScaleMoveTheBins)
{
    Convert convert(realFormat(), realSettings());
    const double oneBin = 48000.0 / 4096;
    // A row at f reads the bin of (f - 10 bins) / 2.
    convert.buildRowTable({0, 0, 1, 100 * oneBin}, 100, false, 10 * oneBin, 2);
    for (int row = 0; row < 100; row += 2) {
        EXPECT_EQ(convert.rowTable().indexes(0)[row], row < 10 ? 0 : (row - 10) / 2);
        EXPECT_EQ(convert.rowTable().weights(0)[row], row < 10 ? 0 : 1);
    }
}

TEST(RowTable, HostileBandsGiveBlackRows)
{
    const double nan = std::nan("");
    const double infinity = std::numeric_limits<double>::infinity();
    const std::vector<float> column(4096, 1);
    for (const FreqScale scale : allScales)
        for (const double bad : {nan, infinity, -infinity, 1e300, -1e300}) {
            Convert convert(realFormat(), realSettings());
            convert.freqScale = scale;
            convert.filtering = Filtering::Cubic;
            for (const Area& area : {Area{0, bad, 1, 100}, Area{0, bad, 1, bad}}) {
                convert.buildRowTable(area, 20, true);
                for (const float value : projected(convert, column))
                    EXPECT_EQ(value, 0);
            }
            convert.buildRowTable({0, 100, 1, 100}, 20, true, bad);
            for (const float value : projected(convert, column))
                EXPECT_EQ(value, 0);
        }
    Convert convert(realFormat(), realSettings());
    convert.buildRowTable({0, 100, 1, 100}, 20, true, 0, 0);
    for (const float value : projected(convert, column))
        EXPECT_EQ(value, 0);
    convert.buildRowTable({0, 0, 1, 24000}, -5, true);
    EXPECT_EQ(convert.rowTable().height(), 0);
    // The smallest transforms: one bin, two bins.
    for (const int size : {1, 2, 3}) {
        Convert tiny(realFormat(), realSettings(size, 1, 2));
        tiny.filtering = Filtering::Cubic;
        tiny.buildRowTable({0, 0, 1, 24000}, 10, true);
        for (const float value : projected(tiny, std::vector<float>(2 * std::size_t(size), 1)))
            EXPECT_NEAR(value, 1, 1e-6);
    }
}

} // namespace
