#include "display/scales/colormaps.h"

#include <gtest/gtest.h>

#include <QColor>
#include <QGuiApplication>
#include <QVariant>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>

namespace {

// Names are written with fonts, which need the application object.
class Application : public testing::Environment
{
    int m_argc = 1;
    char m_name[15] = "colormaps_test";
    char* m_argv[2] = {m_name, nullptr};
    std::unique_ptr<QGuiApplication> m_application;

    void SetUp() override { m_application = std::make_unique<QGuiApplication>(m_argc, m_argv); }
    void TearDown() override { m_application.reset(); }
};
[[maybe_unused]] const auto* const environment = testing::AddGlobalTestEnvironment(new Application);

struct Known
{
    int id;
    const char* shown;
    const char* word;
};

constexpr Known allMaps[] = {{0, "Rainbow", "rainbow"},
                             {1, "CubeHelix Rainbow", "cubehelix rainbow"},
                             {2, "Lacerta", "lacerta"},
                             {3, "Viridis", "viridis"},
                             {4, "Laguna", "laguna"},
                             {5, "Hesperia", "hesperia"},
                             {6, "Modified Plasma", "modified plasma"},
                             {7, "Magma", "magma"},
                             {8, "Inferno", "inferno"},
                             {9, "Grayscale", "grayscale"},
                             {-99, "Plasma", "plasma"},
                             {-98, "Haline", "aline"},
                             {-97, "Thermal", "thermal"},
                             {-96, "Afmhot", "afmhot"},
                             {-95, "Morgenstemning", "morgenstemning"},
                             {-94, "CMRmap", "cmrmap"},
                             {-93, "Gnuplot2", "gnuplot2"},
                             {-92, "Hot", "hot"},
                             {-91, "BlackBody", "blackbody"},
                             {-90, "Solar", "solar"},
                             {-89, "Kindlmann", "kindlmann"},
                             {-88, "Parula", "parula"},
                             {-87, "Cividis", "cividis"},
                             {-86, "GistHearth", "gisthearth"},
                             {-85, "Extended BlackBody", "extended blackbody"}};

double linear(double v)
{
    return v <= 0.04045 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4);
}

double luminance(const QColor& color)
{
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

QColor stopColor(int id, int index)
{
    return colormapGradient(id).stops().at(index).second;
}

TEST(Colormaps, AnyUnknownNameIsGrayscaleAndAnyUnknownIdPrintsNone)
{
    for (const char* word : {"", "jet", "haline", "none", "lagunaa"})
        EXPECT_EQ(colormapFromString(QLatin1String(word)), 9) << word;
    for (const int id : {10, -1, -84, -100, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()})
        EXPECT_EQ(colormapToString(id), QStringLiteral("None")) << id;
}

TEST(Colormaps, NamesAndWords)
{
    EXPECT_EQ(colormapCount(), 10);
    for (const Known& map : allMaps) {
        EXPECT_EQ(colormapToString(map.id), QLatin1String(map.shown));
        EXPECT_EQ(colormapFromString(QLatin1String(map.word)), map.id);
        EXPECT_EQ(colormapFromString(QString(QLatin1String(map.word)).toUpper()), map.id);
    }
}

TEST(Colormaps, StopsRunFromZeroToOneWithOpaqueColors)
{
    for (const Known& map : allMaps) {
        const QGradientStops stops = colormapGradient(map.id).stops();
        ASSERT_GE(stops.size(), 2) << map.shown;
        EXPECT_EQ(stops.first().first, 0);
        EXPECT_EQ(stops.last().first, 1);
        for (int i = 0; i < stops.size(); ++i) {
            EXPECT_EQ(stops[i].second.alpha(), 255);
            if (i > 0) {
                EXPECT_GT(stops[i].first, stops[i - 1].first);
            }
        }
    }
}

TEST(Colormaps, TablesHaveAStopForEachEntry)
{
    for (const int id : {2, 3, 4, 5, 6, 7, 8, -99, -98, -97, -95, -91, -90, -89, -88, -87}) {
        const QGradientStops stops = colormapGradient(id).stops();
        ASSERT_EQ(stops.size(), 256) << id;
        for (int j = 0; j < 256; ++j)
            EXPECT_DOUBLE_EQ(stops[j].first, j / 255.0);
    }
    EXPECT_EQ(colormapGradient(1).stops().size(), 256);
}

TEST(Colormaps, OwnOnesBrightenAllTheWay)
{
    for (const int id : {2, 4, 5, 6, -98, -97, -95, -91, -90, -89, -88, -86}) {
        const QGradientStops stops = colormapGradient(id).stops();
        for (int i = 1; i < stops.size(); ++i)
            ASSERT_GT(luminance(stops[i].second), luminance(stops[i - 1].second))
                << colormapToString(id).toStdString() << " at " << i;
    }
}

TEST(Colormaps, OwnOnesAreSmooth)
{
    for (const int id : {2, 4, 5, 6, -98, -97, -95, -91, -90, -89, -88, -86}) {
        const QGradientStops stops = colormapGradient(id).stops();
        for (int i = 1; i < stops.size(); ++i) {
            const QColor a = stops[i].second;
            const QColor b = stops[i - 1].second;
            ASSERT_LE(std::abs(a.red() - b.red()) + std::abs(a.green() - b.green()) +
                          std::abs(a.blue() - b.blue()),
                      18)
                << colormapToString(id).toStdString() << " at " << i;
        }
    }
}

TEST(Colormaps, SilenceIsBlackWhereTheMapAllowsIt)
{
    for (const int id : {1, 2, 4, 5, 6, 9, -96, -95, -94, -93, -91, -89, -86, -85})
        EXPECT_EQ(stopColor(id, 0), QColor(0, 0, 0)) << colormapToString(id).toStdString();
    for (const int id : {7, 8}) // published: nearly black
        EXPECT_LT(luminance(stopColor(id, 0)), 0.001) << id;
    for (const int id : {1, 2, 4, 5, 6, 7, 8, 9}) {
        const QColor texel = colormapImage(id, 256, 1, 1).pixelColor(0, 0);
        EXPECT_LE(std::max({texel.red(), texel.green(), texel.blue()}), 6) << id;
    }
}

TEST(Colormaps, PublishedFigures)
{
    EXPECT_EQ(stopColor(3, 0), QColor(0x44, 0x01, 0x54));
    EXPECT_EQ(stopColor(3, 255), QColor(0xfd, 0xe7, 0x25));
    EXPECT_EQ(stopColor(-99, 0), QColor(0x0d, 0x08, 0x87));
    EXPECT_EQ(stopColor(-99, 255), QColor(0xf0, 0xf9, 0x21));
    EXPECT_EQ(stopColor(7, 255), QColor(0xfc, 0xfd, 0xbf));
    EXPECT_EQ(stopColor(8, 255), QColor(0xfc, 0xff, 0xa4));
    // Cividis begins 0.0, 0.1262, 0.3015 and 0.0, 0.1292, 0.3077.
    const QColor first = stopColor(-87, 0);
    const QColor second = stopColor(-87, 1);
    EXPECT_NEAR(first.greenF(), 0.1262, 0.002);
    EXPECT_NEAR(first.blueF(), 0.3015, 0.002);
    EXPECT_NEAR(second.greenF(), 0.1292, 0.002);
    EXPECT_NEAR(second.blueF(), 0.3077, 0.002);
}

TEST(Colormaps, RainbowFollowsItsFormula)
{
    const QGradientStops stops = colormapGradient(0).stops();
    ASSERT_EQ(stops.size(), 101);
    for (int i = 0; i <= 100; ++i) {
        const double x = i / 100.0;
        const QColor color = stops[i].second;
        EXPECT_NEAR(color.redF(), std::min(std::abs(2 * x - 0.5), 1.0), 1e-4);
        EXPECT_NEAR(color.greenF(), std::sin(M_PI * x), 1e-4);
        EXPECT_NEAR(color.blueF(), std::cos(M_PI * x / 2), 1e-4);
    }
}

TEST(Colormaps, TextureHoldsTheMapFromEndToEndWithoutText)
{
    for (const Known& map : allMaps) {
        const QImage image = colormapImage(map.id, 256, 1, 1);
        ASSERT_EQ(image.size(), QSize(256, 1));
        const QGradientStops stops = colormapGradient(map.id).stops();
        const auto near = [](const QColor& a, const QColor& b) {
            return std::abs(a.red() - b.red()) + std::abs(a.green() - b.green()) +
                   std::abs(a.blue() - b.blue());
        };
        // A texel's centre lies half a texel inside the map.
        EXPECT_LE(near(image.pixelColor(0, 0), stops.first().second), 12) << map.shown;
        EXPECT_LE(near(image.pixelColor(255, 0), stops.last().second), 12) << map.shown;
        for (int x = 1; x < 256; ++x)
            EXPECT_LE(near(image.pixelColor(x, 0), image.pixelColor(x - 1, 0)), 30) << map.shown << ' ' << x;
    }
    const QImage unknown = colormapImage(77, 256, 1, 1);
    EXPECT_EQ(unknown, colormapImage(9, 256, 1, 1));
}

TEST(Colormaps, NameIsWrittenAboveTwoPixelsOfHeight)
{
    qApp->setProperty("colortext", QStringLiteral("#ff0000"));
    const auto reds = [](const QImage& image) {
        int count = 0;
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x) {
                const QColor color = image.pixelColor(x, y);
                count += color.red() > 200 && color.green() < 60 && color.blue() < 60;
            }
        return count;
    };
    EXPECT_EQ(reds(colormapImage(9, 300, 2, 1)), 0);
    EXPECT_GT(reds(colormapImage(9, 300, 24, 1)), 20);
    qApp->setProperty("colortext", QVariant());
    EXPECT_EQ(reds(colormapImage(9, 300, 24, 1)), 0);
}

TEST(Colormaps, ImageHasDevicePixels)
{
    const QImage image = colormapImage(4, 100, 2, 1.5f);
    EXPECT_EQ(image.size(), QSize(150, 3));
    EXPECT_FLOAT_EQ(float(image.devicePixelRatioF()), 1.5f);
    EXPECT_GT(luminance(image.pixelColor(149, 2)), 0.8);
    EXPECT_LT(luminance(image.pixelColor(0, 2)), 0.01);
}

TEST(Colormaps, HostileSizes)
{
    for (const int bad : {0, -1, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
        EXPECT_TRUE(colormapImage(4, bad, 20, 1).isNull());
        EXPECT_TRUE(colormapImage(4, 20, bad, 1).isNull());
    }
    for (const float ratio :
         {0.0f, -1.0f, std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity()})
        EXPECT_EQ(colormapImage(4, 20, 2, ratio).size(), QSize(20, 2));
}

} // namespace
