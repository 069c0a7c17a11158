// A document without a window.
#include "model/project.h"

#include "model/layerregion.h"
#include "model/modeltest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

using namespace modeltest;
using testing::ElementsAre;

namespace {

LayerPtr addLayer(Project& project, const std::vector<float>& samples)
{
    const LayerPtr layer = layerOf(project.format(), samples);
    EXPECT_TRUE(project.layers()->appendChild(layer));
    return layer;
}

TEST(ProjectTest, BeginsWithTheDefaultsOfTheTable)
{
    Project project(realFormat(2));
    EXPECT_TRUE(project.path().empty());
    EXPECT_FALSE(project.modified);
    EXPECT_EQ(project.bpm(), 120);
    EXPECT_EQ(project.bar(), 4);
    EXPECT_EQ(project.beat(), 4);
    EXPECT_EQ(project.units.frameRate, 25);
    EXPECT_EQ(project.channelsMode.enabled.count(true), 2);
    EXPECT_EQ(project.channelsMode.solo.count(true), 0);
    EXPECT_EQ(project.channelsMode.selected.count(true), 2);
    EXPECT_EQ(project.position(), 0);
    EXPECT_EQ(project.activeLayer(), nullptr);
    EXPECT_TRUE(project.selection.isEmpty());
    for (const int64_t time : {project.pathTime(), project.unitsTime(), project.displayAreaTime(),
                               project.positionTime(), project.activeLayerTime(), project.markersTime(),
                               project.spectralMarkersTime(), project.historyTime()})
        EXPECT_EQ(time, 0);
}

// A plug-in compiled against the interface calls by slot, so the order of the 30 operations is fixed.
TEST(ProjectTest, EachSetterOfTheInterfaceStampsItsOwnTime)
{
    Project project(realFormat());
    IProject& seen = project;
    const auto times = [&] {
        return std::vector<int64_t>{
            project.pathTime(),     seen.unitsTime(),   seen.displayAreaTime(),     seen.positionTime(),
            seen.activeLayerTime(), seen.markersTime(), seen.spectralMarkersTime(), project.historyTime()};
    };
    const auto stampsOnly = [&](std::size_t which, const auto& change) {
        const std::vector<int64_t> before = times();
        change();
        const std::vector<int64_t> after = times();
        for (std::size_t i = 0; i < after.size(); ++i)
            if (i == which)
                EXPECT_GT(after[i], before[i]) << i;
            else
                EXPECT_EQ(after[i], before[i]) << i;
    };
    stampsOnly(0, [&] { seen.setPath("/tmp/a.mvp"); });
    stampsOnly(1, [&] { seen.setTimeUnit(2); });
    stampsOnly(1, [&] { seen.setTimeSignature(90, 3, 8); });
    stampsOnly(1, [&] { seen.setFrameRate(30); });
    stampsOnly(2, [&] { seen.setDisplayArea({1, 2, 3, 4}); });
    stampsOnly(2, [&] { seen.setFormat(realFormat(3)); });
    stampsOnly(3, [&] { seen.setPosition(77); });
    stampsOnly(4, [&] { seen.setActiveLayer(project.layers()); });
    stampsOnly(5, [&] { seen.setMarkers({{1, 10, 0, "a"}}); });
    stampsOnly(6, [&] { seen.setSpectralMarkers({{1, 2, 3, 4, "b"}}); });
    stampsOnly(7, [&] { seen.resetHistory("New"); });
    EXPECT_EQ(seen.path(), "/tmp/a.mvp");
    EXPECT_EQ(seen.timeUnit(), 2);
    EXPECT_EQ(seen.bpm(), 90);
    EXPECT_EQ(seen.bar(), 3);
    EXPECT_EQ(seen.beat(), 8);
    EXPECT_EQ(project.units.frameRate, 30);
    EXPECT_EQ(seen.position(), 77);
    EXPECT_EQ(seen.layer(-1), ILayerPtr(project.layers()));
    EXPECT_EQ(seen.layer(2), ILayerPtr(project.layers()));
    EXPECT_EQ(seen.layer(3), nullptr);
    EXPECT_THAT(seen.markers(), ElementsAre(Marker{1, 10, 0, "a"}));
    EXPECT_THAT(seen.spectralMarkers(), ElementsAre(SpectralMarker{1, 2, 3, 4, "b"}));
}

TEST(ProjectTest, FrameRateOfTheInterfaceIsTheTempo)
{
    Project project(realFormat());
    project.setFrameRate(30);
    project.setTimeSignature(97.5, 4, 4);
    EXPECT_EQ(static_cast<IProject&>(project).frameRate(), 97.5);
}

TEST(ProjectTest, BarAndBeatAreReadRoundedHalfAwayFromZero)
{
    Project project(realFormat());
    project.units.bar = 2.5f;
    project.units.beat = 6.4f;
    EXPECT_EQ(project.bar(), 3);
    EXPECT_EQ(project.beat(), 6);
}

TEST(ProjectTest, SenselessNumbersAreNotTaken)
{
    Project project(realFormat());
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    constexpr double infinite = std::numeric_limits<double>::infinity();
    for (const double value : {nan, infinite, -1.0, 0.0, 1e300, 1e-300}) {
        project.setTimeSignature(value, 0, -3);
        project.setFrameRate(value);
    }
    EXPECT_EQ(project.bpm(), 120);
    EXPECT_EQ(project.bar(), 4);
    EXPECT_EQ(project.beat(), 4);
    EXPECT_EQ(project.units.frameRate, 25);
    project.setTimeUnit(99);
    EXPECT_EQ(project.timeUnit(), 0);
    project.setDisplayArea({1, 2, 3, 4});
    project.setDisplayArea({nan, 2, 3, 4});
    project.setDisplayArea({0, 2, 3, infinite});
    EXPECT_EQ(project.displayArea(), (Area{1, 2, 3, 4}));
    project.setFormat({SampleTypeReal, 0, ChannelsTypeAudio, 1, 1});
    project.setFormat({SampleTypeReal, nan, ChannelsTypeAudio, 1, 1});
    project.setFormat({SampleTypeReal, 8000, ChannelsTypeAudio, 65, 1});
    EXPECT_EQ(project.format(), realFormat());
    project.setHistoryIndex(5);
    EXPECT_EQ(project.historyIndex(), 0);
}

TEST(ProjectTest, SetFormatReachesTreeChannelsTransformAndView)
{
    Project project(realFormat(2, 48000));
    project.transform = {SampleTypeReal, WindowType::Hann, 2048, 8, 2};
    project.channelsMode.solo.setBit(1);
    project.setDisplayArea({100, 1000, 5000, 12000});
    project.setFormat(complexFormat(3, 96000));
    EXPECT_EQ(project.format(), complexFormat(3, 96000));
    EXPECT_EQ(project.root().format(), complexFormat(3, 96000));
    for (int node = 0; node < 3; ++node)
        EXPECT_EQ(project.layer(node)->format(), complexFormat(3, 96000));
    EXPECT_EQ(project.channelsMode, ChannelsMode(3));
    EXPECT_TRUE(sameSettings(project.transform, {SampleTypeComplex, WindowType::Hann, 2048, 8, 2}));
    EXPECT_EQ(project.displayArea(), (Area{100, 2000, 5000, 24000}));
}

TEST(ProjectTest, SetFormatLeavesTheSamplesOfTheLayersToTheirOwnConversion)
{
    Project project(realFormat(1, 48000));
    const LayerPtr layer = addLayer(project, ramp(10));
    project.setFormat(realFormat(1, 96000));
    EXPECT_EQ(layer->format(), realFormat(1, 48000));
    EXPECT_EQ(dataOf(*layer), ramp(10));
}

TEST(ProjectTest, AFormatChangeAndANewStartClearUndoAndWriteNoState)
{
    Project project(realFormat());
    const LayerPtr layer = addLayer(project, ramp(200000));
    project.resetHistory("New");
    EXPECT_EQ(project.history().size(), 1);
    const float value = 5;
    EXPECT_TRUE(layer->write(&value, {100, 1}, 0, true));
    HistoryEntry edit;
    edit.name = QStringLiteral("Edit");
    edit.layerRecords.insert(layer, layer->commitRecord());
    project.setHistory(project.history() + QList<HistoryEntry>{edit}, 1);
    edit = {};
    const int states = project.history().size();
    project.setFormat(realFormat(2));
    EXPECT_EQ(project.history().size(), states);
    EXPECT_TRUE(layer->write(&value, {300, 1}, 0, true));
    project.resetHistory(QStringLiteral("Format Change"), QIcon());
    EXPECT_EQ(project.history().size(), 1);
    EXPECT_EQ(project.history().first().name, QStringLiteral("Format Change"));
    EXPECT_EQ(project.historyIndex(), 0);
    EXPECT_TRUE(layer->records().isEmpty());
    EXPECT_TRUE(layer->changedRange().isEmpty());
    // The layer's samples are all that is left in the session folder.
    EXPECT_THAT(sessionFiles(), ElementsAre(layer->filePath().section(QLatin1Char('/'), -1)));
}

TEST(ProjectTest, DuplicateIsADocumentOfItsOwn)
{
    Project project(realFormat());
    project.name = QStringLiteral("song.wav");
    project.setPath("/tmp/song.wav");
    project.setMarkers({{1, 10, 5, "m"}});
    project.metadata.insert(QStringLiteral("INAM"), QStringLiteral("Song"));
    project.setPosition(42);
    project.display.colormap = 3;
    const LayerPtr layer = addLayer(project, ramp(10));
    project.setActiveLayer(layer);
    project.resetHistory("New");
    const ProjectPtr copy = project.duplicate();
    ASSERT_TRUE(copy);
    EXPECT_EQ(copy->name, QStringLiteral("song.wav (copy)"));
    EXPECT_TRUE(copy->path().empty());
    EXPECT_TRUE(copy->modified);
    EXPECT_EQ(copy->markers(), project.markers());
    EXPECT_EQ(copy->metadata, project.metadata);
    EXPECT_EQ(copy->position(), 42);
    EXPECT_EQ(copy->display.colormap, 3);
    ASSERT_EQ(copy->history().size(), 1);
    EXPECT_EQ(copy->history().first().name, QStringLiteral("Duplicate"));
    ASSERT_EQ(copy->layers()->children(ChildrenDirect).size(), 1);
    const ILayerPtr twin = copy->layers()->children(ChildrenDirect).first();
    EXPECT_NE(twin, ILayerPtr(layer));
    EXPECT_EQ(copy->activeLayer(), twin);
    EXPECT_EQ(project.activeLayer(), ILayerPtr(layer));
    EXPECT_TRUE(twin->hasBackup());
    EXPECT_EQ(samplesOf(*twin, {0, 10}), ramp(10));
    const float value = 9;
    EXPECT_TRUE(twin->write(&value, {0, 1}, 0, true));
    EXPECT_EQ(samplesOf(*layer, {0, 10}), ramp(10));
}

TEST(ProjectTest, DuplicateWithoutRoomIsNoneAndLeavesNoFile)
{
    Project project(realFormat());
    addLayer(project, ramp(1000));
    const QStringList files = sessionFiles();
    QString words;
    {
        const DiskLimit limit(2000);
        EXPECT_EQ(project.duplicate(&words), nullptr);
    }
    EXPECT_TRUE(words.contains(sessionFolder())) << words.toStdString();
    EXPECT_EQ(sessionFiles(), files);
}

TEST(ProjectTest, ADuplicateInStepsTellsItsProgressAndACancelLeavesNoFile)
{
    Project project(realFormat());
    std::vector<float> samples(300000);
    for (size_t i = 0; i < samples.size(); ++i)
        samples[i] = float(i);
    for (int i = 0; i < 3; ++i)
        addLayer(project, samples);
    const QStringList files = sessionFiles();
    std::vector<double> shares;
    const ProjectPtr copy = project.duplicate(nullptr, [&](int done, int total) {
        shares.push_back(double(done) / total);
        return true;
    });
    ASSERT_TRUE(copy);
    EXPECT_GE(shares.size(), 3U);
    EXPECT_TRUE(std::is_sorted(shares.begin(), shares.end()));
    EXPECT_GT(shares.back(), 0.8);
    EXPECT_LE(shares.back(), 1);
    for (const ILayerPtr& layer : copy->layers()->children(ChildrenDirect))
        EXPECT_TRUE(samplesOf(*layer, {0, 300000}) == samples);
    const QStringList both = sessionFiles();
    EXPECT_GT(both.size(), files.size());
    for (const int last : {1, 2}) {
        int calls = 0;
        QString words;
        EXPECT_EQ(project.duplicate(&words, [&](int, int) { return ++calls < last; }), nullptr);
        EXPECT_EQ(calls, last);
        EXPECT_TRUE(words.isEmpty()) << "a cancel is no failure";
        EXPECT_EQ(sessionFiles(), both);
    }
}

// --- visible ---------------------------------------------------------------------------------------

struct VisibleTest : testing::Test
{
    VisibleTest()
    {
        EXPECT_TRUE(root.project()->appendChild(outer));
        EXPECT_TRUE(root.project()->appendChild(single));
        EXPECT_TRUE(outer->appendChild(inner));
        EXPECT_TRUE(outer->appendChild(sibling));
        EXPECT_TRUE(inner->appendChild(deep));
    }
    LayerRoot root{realFormat()};
    LayerGroupPtr outer = LayerGroup::create(realFormat()), inner = LayerGroup::create(realFormat());
    LayerPtr single = Layer::create(realFormat()), sibling = Layer::create(realFormat()),
             deep = Layer::create(realFormat());
};

TEST_F(VisibleTest, ALayerIsVisibleWhileItAndItsGroupsAreEnabled)
{
    EXPECT_TRUE(root.isVisible(root.project()));
    EXPECT_TRUE(root.isVisible(deep));
    outer->setEnabled(false);
    EXPECT_FALSE(root.isVisible(outer));
    EXPECT_FALSE(root.isVisible(deep));
    EXPECT_TRUE(root.isVisible(single));
    outer->setEnabled(true);
    deep->setEnabled(false);
    EXPECT_FALSE(root.isVisible(deep));
    EXPECT_TRUE(root.isVisible(inner));
}

TEST_F(VisibleTest, SoloInAGroupHidesThoseThatNeitherAreNorHoldOne)
{
    deep->setSolo(true);
    EXPECT_TRUE(root.isVisible(deep));
    EXPECT_TRUE(root.isVisible(inner));
    EXPECT_TRUE(root.isVisible(outer));
    EXPECT_FALSE(root.isVisible(sibling));
    EXPECT_FALSE(root.isVisible(single));
    deep->setEnabled(false);
    inner->setEnabled(false);
    EXPECT_TRUE(root.isVisible(deep));
    deep->setSolo(false);
    outer->setSolo(true);
    // Below a solo group without solo children, enabled decides again.
    EXPECT_TRUE(root.isVisible(sibling));
    EXPECT_FALSE(root.isVisible(inner));
}

TEST_F(VisibleTest, WhatHangsElsewhereIsNotVisible)
{
    EXPECT_FALSE(root.isVisible(nullptr));
    EXPECT_FALSE(root.isVisible(Layer::create(realFormat())));
    EXPECT_FALSE(root.isVisible(root.layer(RootTemporary)));
}

TEST_F(VisibleTest, OverlaysAndSourcesAreVisibleWithTheirLayer)
{
    const LayerPtr overlay = Layer::create(realFormat());
    deep->setAttached(overlay);
    const LayerPtr source = layerOf(realFormat(), ramp(5));
    const LayerRegionPtr region = LayerRegion::create(source, 0, 5, 0);
    EXPECT_TRUE(inner->appendChild(region));
    EXPECT_TRUE(root.isVisible(overlay));
    EXPECT_TRUE(root.isVisible(source));
    inner->setEnabled(false);
    EXPECT_FALSE(root.isVisible(overlay));
    EXPECT_FALSE(root.isVisible(source));
}

// Whatever is on, off or solo: a layer is visible exactly when a sample of it alone reaches the mix.
TEST_F(VisibleTest, IsWhatTheMixHears)
{
    const QList<ILayerPtr> all = root.allLayers();
    ASSERT_EQ(all.size(), 5);
    for (const LayerPtr& layer : {single, sibling, deep})
        EXPECT_TRUE(layer->write(std::vector<float>{1}.data(), {0, 1}, 0, true));
    for (int bits = 0; bits < 1024; ++bits) {
        for (int i = 0; i < 5; ++i) {
            all[i]->setEnabled((bits & (1 << i)) != 0);
            all[i]->setSolo((bits & (32 << i)) != 0);
        }
        float expected = 0;
        for (const LayerPtr& layer : {single, sibling, deep})
            expected += root.isVisible(layer) ? 1.0f : 0.0f;
        ASSERT_EQ(samplesOf(*root.project(), {0, 1})[0], expected) << bits;
    }
}

} // namespace
