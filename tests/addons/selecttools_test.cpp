// The seven selection tools one by one.
#include "addons/fileplugin.h"
#include "addons/toolcases.h"
#include "model/modeltest.h"

#include "support/testsupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <iostream>
#include <random>

#include <QDoubleSpinBox>

using namespace modeltest;

TEST(SelectCursor, AClickPutsTheTransportThere)
{
    ToolRig rig("selectcursor", realFormat(1, rate));
    rig.addLayer(std::vector<float>(size_t(rate)));
    rig.click(0.25, 0.9);
    EXPECT_EQ(rig.position, 4000);
    rig.click(0.5, 0.1, shift);
    EXPECT_EQ(rig.position, 8000);
    // A drag to the left begins where it ends.
    EXPECT_TRUE(rig.drag(0.75, 0.5, 0.5, 0.6));
    EXPECT_EQ(rig.position, 8000);
    EXPECT_EQ(rig.selection.bounds(), (Area{8000, 0, 4000, 8000}));
}

TEST(SelectMarquee, CornersSnapWhereTheViewSaysSo)
{
    ToolRig rig("selectmarquee", realFormat(1, rate));
    MouseEvent event = rig.eventAt(0.21, 0.21, 1, 0);
    event.snapped = event.pressSnapped = rig.at(0.2, 0.2);
    rig.send(event);
    event = rig.eventAt(0.51, 0.51, 1, 0);
    event.snapped = rig.at(0.5, 0.5);
    rig.send(event);
    event.pressure = -1;
    rig.send(event);
    EXPECT_EQ(rig.selection.bounds(), (Area{0.2 * rate, 1600, 0.3 * rate, 2400}));
}

TEST(SelectMarquee, AnEllipseIsRoundOnTheScreen)
{
    ToolRig rig("selectmarquee", realFormat(1, rate));
    rig.tool->mode = 1;
    rig.drag(0.2, 0.2, 0.6, 0.6);
    const auto inside = [&](double x, double y) {
        const PointD p = rig.at(x, y);
        return rig.selection.contains({p.x, p.y});
    };
    EXPECT_TRUE(inside(0.4, 0.4));
    EXPECT_TRUE(inside(0.21, 0.4));
    EXPECT_FALSE(inside(0.22, 0.22));
}

TEST(SelectLasso, APolygonIsClosedByADoubleClickReturnOrItsFirstCorner)
{
    for (int way = 0; way < 3; ++way) {
        ToolRig rig("selectlasso", realFormat(1, rate));
        rig.tool->mode = 1;
        rig.click(0.2, 0.2);
        EXPECT_FALSE(rig.click(0.6, 0.2));
        rig.hover(0.6, 0.5);
        EXPECT_FALSE(rig.path.isEmpty()) << "the open side goes with the pointer";
        EXPECT_FALSE(rig.click(0.6, 0.6));
        if (way == 0) {
            EXPECT_TRUE(rig.press(0.203, 0.203));
        } else if (way == 1) {
            EXPECT_TRUE(rig.press(0.6, 0.6, 0, ToolDoubleClick));
        } else {
            EXPECT_TRUE(rig.request(ToolAccept));
        }
        rig.release(0.6, 0.6);
        const PointD in = rig.at(0.5, 0.3), out = rig.at(0.3, 0.5);
        EXPECT_TRUE(rig.selection.contains({in.x, in.y}));
        EXPECT_FALSE(rig.selection.contains({out.x, out.y}));
        EXPECT_TRUE(rig.path.isEmpty());
    }
}

TEST(SelectLasso, TwoCornersAreNoPolygon)
{
    ToolRig rig("selectlasso", realFormat(1, rate));
    rig.tool->mode = 1;
    rig.click(0.2, 0.2);
    rig.click(0.6, 0.2);
    EXPECT_FALSE(rig.press(0.6, 0.2, 0, ToolDoubleClick));
    rig.release(0.6, 0.2);
    EXPECT_FALSE(rig.request(ToolAccept));
    EXPECT_TRUE(rig.selection.isEmpty());
}

TEST(SelectLasso, AnotherProjectDropsAPolygon)
{
    ToolRig rig("selectlasso", realFormat(1, rate));
    rig.tool->mode = 1;
    rig.click(0.2, 0.2);
    rig.click(0.6, 0.2);
    rig.click(0.6, 0.6);
    rig.root = LayerRoot(rig.format);
    const int asked = rig.requests();
    rig.tellContext();
    EXPECT_EQ(rig.requests(), asked + 1);
    rig.request();
    EXPECT_TRUE(rig.path.isEmpty());
    EXPECT_FALSE(rig.request(ToolAccept));
}

TEST(SelectLasso, TwoThousandPointsBecomeAnOutlineOfFew)
{
    ToolRig rig("selectlasso", realFormat(1, rate));
    rig.press(0.7, 0.5);
    for (int i = 1; i < 2000; ++i) {
        const double angle = i * 2 * 3.14159265358979 / 2000;
        rig.moveTo(0.5 + 0.2 * std::cos(angle), 0.5 + 0.4 * std::sin(angle));
    }
    EXPECT_TRUE(rig.release(0.7, 0.5));
    EXPECT_LT(rig.selection.path().elementCount(), 200);
    EXPECT_NEAR(rig.selection.bounds().width, 0.4 * rig.view.width, 0.004 * rig.view.width);
}

TEST(SelectLasso, TheMagnetEndsWithinOneBinOfATone)
{
    for (const bool near : {false, true}) {
        ToolRig rig("selectlasso", realFormat(1, rate));
        rig.setTransform(2048, 8, 2);
        std::vector<float> samples(size_t(rate), 0.0f);
        addTone(samples, rig.format, 2000, 0.1);
        addNoise(samples, 0.002, 3);
        rig.addLayer(samples);
        rig.tool->mode = 2;
        const double bin = rate / 4096;
        rig.view = near ? Area{4000, 1900, 6000, 200} : Area{0, 0, rate, 8000};
        const double up = (2000 + 4 * bin - rig.view.y) / rig.view.height;
        rig.press(0.3, up);
        for (double x = 0.3; x < 0.7; x += 0.004)
            rig.moveTo(x, up);
        // Back far above.
        rig.moveTo(0.7, 0.95);
        rig.moveTo(0.3, 0.95);
        rig.release(0.3, 0.95);
        const QPainterPath path = rig.selection.path();
        const double left = rig.at(0.34, 0).x, right = rig.at(0.66, 0).x;
        double lowest = 1e9, highest = 0;
        for (int k = 0; k <= 100; ++k) {
            // Where the lower border crosses this time.
            const double x = left + (right - left) * k / 100;
            double y = 0;
            for (y = 1900; y < 2100 && !path.contains(QPointF(x, y)); y += bin / 16)
                ;
            lowest = std::min(lowest, y);
            highest = std::max(highest, y);
        }
        EXPECT_NEAR(lowest, 2000, bin) << near;
        EXPECT_NEAR(highest, 2000, bin) << near;
    }
}

TEST(SelectBrush, ADabIsAsLargeAsTheOptionsSay)
{
    ToolRig rig("selectbrush", realFormat(1, rate));
    rig.option("size").setValue(40);
    rig.option("aspect").setValue(4);
    rig.option("hardness").setValue(100);
    EXPECT_TRUE(rig.click(0.5, 0.5));
    const Area bounds = rig.selection.bounds();
    EXPECT_NEAR(bounds.width, 80 * rig.view.width / ToolRig::width, 2 * rig.view.width / ToolRig::width);
    EXPECT_NEAR(bounds.height, 20 * rig.view.height / ToolRig::height, 2 * rig.view.height / ToolRig::height);
    rig.option("aspect").setValue(1);
}

TEST(SelectBrush, ASoftBrushFadesOverItsRadius)
{
    ToolRig rig("selectbrush", realFormat(1, rate));
    rig.option("size").setValue(40);
    rig.option("hardness").setValue(25);
    rig.click(0.5, 0.5);
    EXPECT_NEAR(rig.selection.maxFadeX(), 15 * rig.view.width / ToolRig::width, 1);
    EXPECT_NEAR(rig.selection.maxFadeY(), 15 * rig.view.height / ToolRig::height, 1);
    rig.option("hardness").setValue(100);
}

TEST(SelectBrush, UnderABentScaleItIsRoundOnTheScreen)
{
    ToolRig rig("selectbrush", realFormat(1, rate));
    rig.units.freqScale = FreqScale::MidiLogarithmic;
    rig.option("size").setValue(100);
    rig.click(0.5, 0.3);
    const auto inside = [&](double across, double up) { // pixels from the middle
        const PointD p = rig.at(0.5 + across / ToolRig::width, 0.3 + up / ToolRig::height);
        return rig.selection.contains({p.x, p.y});
    };
    for (int i = 0; i < 16; ++i) {
        const double angle = i * 3.14159265 / 8;
        EXPECT_TRUE(inside(46 * std::cos(angle), 46 * std::sin(angle))) << i;
        EXPECT_FALSE(inside(54 * std::cos(angle), 54 * std::sin(angle))) << i;
    }
    rig.option("size").setValue(30);
}

TEST(SelectBrush, APenThatIsPressedLessPaintsASmallerSpot)
{
    ToolRig rig("selectbrush", realFormat(1, rate));
    rig.option("size").setValue(40);
    rig.press(0.5, 0.5, 0, 0, 0.5f);
    rig.release(0.5, 0.5);
    EXPECT_NEAR(rig.selection.bounds().width, 20 * rig.view.width / ToolRig::width,
                2 * rig.view.width / ToolRig::width);
}

TEST(SelectBrush, KeysChangeSizeAspectAndHardness)
{
    ToolRig rig("selectbrush", realFormat(1, rate));
    const struct
    {
        const char* slot;
        const char* option;
        bool up;
    } rows[] = {
        {"increaseBrushSize", "size", true},          {"decreaseBrushSize", "size", false},
        {"increaseBrushAspectRatio", "aspect", true}, {"decreaseBrushAspectRatio", "aspect", false},
        {"decreaseBrushHardness", "hardness", false}, {"increaseBrushHardness", "hardness", true},
    };
    rig.option("size").setValue(2);
    for (const auto& row : rows) {
        const double before = rig.option(row.option).value();
        if (!row.up && before <= rig.option(row.option).minimum())
            continue;
        ASSERT_TRUE(QMetaObject::invokeMethod(rig.tool, row.slot));
        const double after = rig.option(row.option).value();
        EXPECT_TRUE(row.up ? after > before : after < before) << row.slot;
    }
    rig.option("size").setValue(30);
    rig.option("aspect").setValue(1);
    rig.option("hardness").setValue(100);
}

TEST(SelectWand, HarmonicsTakesAllSixOfATone)
{
    ToolRig rig("selectwand", realFormat(1, rate));
    rig.setTransform(2048, 8, 2);
    std::vector<float> samples(size_t(2 * rate), 0.0f);
    double power = 0;
    for (int h = 1; h <= 6; ++h) {
        addTone(samples, rig.format, 1000.0 * h, 0.1 / h, 8000, 16000);
        power += 0.01 / (h * h) / 2;
    }
    addNoise(samples, std::sqrt(power) * std::pow(10, -1.5), 5);
    rig.addLayer(samples);
    rig.view = {0, 0, 2 * rate, 8000};
    rig.tool->mode = 1;
    const double bin = rate / 4096;
    rig.click(0.5, 1000.0 / 8000 + 0.002);
    // The borders of the bands at one time.
    std::vector<double> edges;
    bool was = false;
    for (double y = 0; y < 8000; y += bin / 8) {
        const bool is = rig.selection.contains({16000, y});
        if (is != was)
            edges.push_back(y);
        was = is;
    }
    ASSERT_EQ(edges.size(), 12u);
    for (size_t h = 1; h <= 6; ++h)
        EXPECT_NEAR((edges[2 * h - 2] + edges[2 * h - 1]) / 2, 1000.0 * double(h), 2 * bin);
    const Area bounds = rig.selection.bounds();
    EXPECT_NEAR(bounds.x, 8000, 1500);
    EXPECT_NEAR(bounds.x + bounds.width, 24000, 1500);
}

TEST(SelectWand, TheToleranceOfTheOptionsCounts)
{
    ToolRig rig("selectwand", realFormat(1, rate));
    std::vector<float> samples(size_t(rate), 0.0f);
    addTone(samples, rig.format, 3000, 0.2, 2000, 6000);
    addTone(samples, rig.format, 3000, 0.02, 8000, 6000);
    rig.addLayer(samples);
    rig.option("tolerance").setValue(6);
    rig.click(0.3, 3000.0 / 8000);
    EXPECT_FALSE(rig.selection.contains({11000, 3000}));
    EXPECT_TRUE(rig.selection.contains({5000, 3000}));
    rig.option("tolerance").setValue(30);
    rig.selection.clear();
    rig.click(0.3, 3000.0 / 8000);
    EXPECT_TRUE(rig.selection.contains({11000, 3000}));
    rig.option("tolerance").setValue(12);
}

TEST(SelectFreq, OverAllTimeOrOverTheView)
{
    ToolRig rig("selectfreq", realFormat(1, rate));
    rig.addLayer(std::vector<float>(size_t(3 * rate)), 1000);
    rig.view = {8000, 0, 4000, 8000};
    rig.drag(0.5, 0.25, 0.6, 0.5);
    EXPECT_EQ(rig.selection.bounds(), (Area{1000, 2000, 3 * rate, 2000}));
    rig.selection.clear();
    rig.tool->mode = 1;
    rig.drag(0.5, 0.25, 0.6, 0.5);
    EXPECT_EQ(rig.selection.bounds(), (Area{8000, 2000, 4000, 2000}));
}

TEST(SelectTransient, StripesAreWideEnoughToMeetAFrame)
{
    ToolRig rig("selecttransient", realFormat(1, rate));
    rig.addLayer(scene(rig.format, {}));
    rig.view = {0, 0, rate, 8000};
    rig.drag(0.1, 0.5, 0.9, 0.5);
    const auto polygons = rig.selection.path().toSubpathPolygons();
    EXPECT_EQ(polygons.size(), 32);
    for (const QPolygonF& stripe : polygons) {
        EXPECT_GE(stripe.boundingRect().width(), rig.transform->hop());
        EXPECT_EQ(stripe.boundingRect().height(), 8000);
    }
}

// 40 clicks of one sample, 20 dB above the rms of the 100 ms around them, all over the music; the recording
// ends with two seconds of digital silence, above which nothing is 20 dB.
TEST(SelectTransient, FortyClicksInMusicAreFound)
{
    if (testsupport::recordingsFolder().isEmpty())
        GTEST_SKIP() << "MORVANE_RECORDINGS is not set";
    MemorySink music;
    ASSERT_TRUE(ffmpegPlugin().importFile(
        testsupport::recordingsFolder() + QStringLiteral("/music-hungarian-dance.ogg"), music));
    std::vector<float> samples = music.channel(0);
    const double r = music.info.format.sampleRate;
    const auto count = int64_t(samples.size());
    std::vector<int64_t> clicks;
    std::mt19937 random(7);
    for (int i = 0; i < 40; ++i) {
        const int64_t at = int64_t((i + 0.5) * (double(count) - 2 * r) / 40) + int64_t(random() % 4000);
        double sum = 0;
        const auto around = int64_t(0.05 * r);
        for (int64_t k = at - around; k < at + around; ++k)
            sum += double(samples[size_t(k)]) * double(samples[size_t(k)]);
        clicks.push_back(at);
        samples[size_t(at)] += float(10 * std::sqrt(sum / double(2 * around)));
    }
    ToolRig rig("selecttransient", realFormat(1, r));
    rig.setTransform(2048, 8, 2);
    rig.addLayer(samples);
    rig.view = {0, 0, double(count), r / 2};
    ASSERT_TRUE(rig.drag(0, 0.5, 1, 0.5));
    int found = 0, others = 0;
    std::vector<bool> seen(clicks.size());
    for (const QPolygonF& stripe : rig.selection.path().toSubpathPolygons()) {
        const double begin = stripe.boundingRect().left() + rig.transform->hop() / 2.0;
        bool any = false;
        for (size_t i = 0; i < clicks.size(); ++i)
            if (std::abs(begin - double(clicks[i])) <= 0.005 * r) {
                found += !seen[i];
                seen[i] = any = true;
            }
        others += !any;
    }
    std::cout << found << " of 40 clicks found, " << others << " others\n";
    EXPECT_GE(found, 38);
    EXPECT_LE(others, 2);
}
