// What a new document starts with, and in which order its state is told.
#include "model/events.h"
#include "model/project.h"
#include "projectfiles/postproject.h"
#include "projectfiles/projectdefaults.h"
#include "support/testsupport.h"

#include <gtest/gtest.h>

#include <QGuiApplication>
#include <QVariant>

#include <cmath>
#include <numeric>

namespace {

constexpr SamplingFormat stereo{SampleTypeReal, 48000, ChannelsTypeAudio, 2, 3};

class Application : public testing::Environment
{
public:
    void SetUp() override
    {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        static int argc = 1;
        static char name[] = "test";
        static char* argv[] = {name, nullptr};
        m_application = std::make_unique<QGuiApplication>(argc, argv);
    }
    void TearDown() override { m_application.reset(); }

private:
    std::unique_ptr<QGuiApplication> m_application;
};
const auto* const environment = testing::AddGlobalTestEnvironment(new Application);

class ProjectTest : public testing::Test
{
protected:
    void SetUp() override
    {
        set("sessionpath", testsupport::makeFolder(QStringLiteral("session")));
        set("defaultwindow", QStringLiteral("Blackman-Harris"));
        set("mintransformsize", QStringLiteral("32"));
        set("defaulttransformsize", QStringLiteral("2048"));
        set("maxtransformsize", QStringLiteral("32768"));
        set("defaultoverlap", QStringLiteral("2"));
        set("timeoverlapratio", QStringLiteral("4"));
        set("defaulttimeunit", QStringLiteral("Decimal"));
        set("defaultpowerunit", QStringLiteral("Decibel"));
        set("defaultfrequnit", QStringLiteral("Hertz"));
        set("defaultfreqscale", QStringLiteral("Mel"));
        set("defaultfiltering", QStringLiteral("Cubic"));
        set("defaultlowdb", QStringLiteral("-90"));
        set("defaulthighdb", QStringLiteral("-18"));
        set("defaultgamma", QStringLiteral(".5"));
        set("defaultselectionopacity", QStringLiteral(".3"));
        set("defaultsharpening", QStringLiteral("0"));
        set("defaultcomposite", QStringLiteral("false"));
        set("defaultcolormap", QStringLiteral("Laguna"));
        set("defaultmarkerenable", QStringLiteral("true"));
        set("waveformdisplay", QStringLiteral("0.1"));
    }
    static void set(const char* key, const QVariant& value) { qApp->setProperty(key, value); }
};

TEST_F(ProjectTest, StartsAsTheDefaultPropertiesSay)
{
    const ProjectPtr project = makeProject(stereo);
    EXPECT_EQ(project->transform.windowType, WindowType::BlackmanHarris);
    EXPECT_EQ(project->transform.frameSize, 2048);
    EXPECT_EQ(project->transform.overlap, 8);
    EXPECT_EQ(project->transform.zeroPadding, 2);
    EXPECT_EQ(project->units.timeUnit, TimeUnit::Decimal);
    EXPECT_EQ(project->units.powerUnit, PowerUnit::Decibel);
    EXPECT_EQ(project->units.freqScale, FreqScale::Mel);
    EXPECT_EQ(project->units.filtering, Filtering::Cubic);
    EXPECT_EQ(project->units.bpm, 120);
    EXPECT_EQ(project->display.lowDb, -90);
    EXPECT_EQ(project->display.highDb, -18);
    EXPECT_EQ(project->display.gamma, 0.5f);
    EXPECT_EQ(project->display.colormap, 4);
    EXPECT_FALSE(project->display.composite);
    EXPECT_TRUE(project->display.markersEnable);
    EXPECT_EQ(project->channelsMode, ChannelsMode(2));
    EXPECT_EQ(project->layers()->name(), QStringLiteral("Project"));
    EXPECT_EQ(project->layers()->format(), stereo);
    EXPECT_EQ(project->activeLayer(), nullptr);
    EXPECT_FALSE(project->modified);
}

TEST_F(ProjectTest, NonsenseInThePropertiesGivesSomethingThatWorks)
{
    for (const char* text : {"", "nan", "inf", "-1", "999999999999", "many", "0"}) {
        for (const char* key :
             {"defaultwindow", "mintransformsize", "defaulttransformsize", "maxtransformsize",
              "defaultoverlap", "timeoverlapratio", "defaultfreqscale", "defaultlowdb", "defaulthighdb",
              "defaultgamma", "defaultcolormap", "defaultsharpening"})
            set(key, QString::fromLatin1(text));
        const ProjectPtr project = makeProject(stereo);
        EXPECT_TRUE(project->transform.isValid()) << text;
        EXPECT_GE(project->transform.hop(), 1) << text;
        EXPECT_LE(project->transform.dftLength(), 1 << 24) << text;
        EXPECT_TRUE(std::isfinite(project->display.lowDb)) << text;
        EXPECT_TRUE(std::isfinite(project->display.highDb)) << text;
        EXPECT_LT(project->display.lowDb, project->display.highDb) << text;
        EXPECT_GT(project->display.gamma, 0) << text;
        EXPECT_GE(project->display.colormap, 0) << text;
        EXPECT_GE(project->display.timeSharpen, 0) << text;
    }
}

TEST_F(ProjectTest, WholeAreaIsTheSpanOfTheLayersOverTheFullBand)
{
    const ProjectPtr project = makeProject(stereo);
    EXPECT_EQ(project->wholeArea().width, 0);
    const LayerPtr layer = Layer::create(stereo, {}, 100, false);
    const std::vector<float> samples(2000, 0.1f);
    ASSERT_TRUE(layer->append(samples.data(), 1000));
    layer->finishAppend();
    ASSERT_TRUE(project->layers()->appendChildLayer(layer));
    EXPECT_EQ(project->wholeArea(), (Area{100, 0, 1000, 24000}));
}

TEST_F(ProjectTest, HistoryBeginsWithOneStateOfTheFlowsName)
{
    const ProjectPtr project = makeProject(stereo);
    project->setHistory({HistoryEntry(), HistoryEntry()}, 1);
    project->resetHistory(QStringLiteral("Import"), QIcon());
    ASSERT_EQ(project->history().size(), 1);
    EXPECT_EQ(project->history()[0].name, QStringLiteral("Import"));
    EXPECT_EQ(project->historyIndex(), 0);
}

// Writes down what it is told.
class Listener : public IEvent
{
public:
    Listener() : IEvent(QStringLiteral("Listener")) {}
    void samplingFormatEvent(EventId id, const SamplingFormat&) override { note(id); }
    void channelsModeEvent(EventId id, const ChannelsMode&) override { note(id); }
    void transformEvent(EventId id, const TransformSettings&) override { note(id); }
    void timeBaseEvent(EventId id, const TimeBase&) override { note(id); }
    void timeUnitEvent(EventId id, const int32_t&) override { note(id); }
    void powerUnitEvent(EventId id, const int32_t&) override { note(id); }
    void freqUnitEvent(EventId id, const int32_t&) override { note(id); }
    void freqScaleEvent(EventId id, const int32_t&) override { note(id); }
    void filteringEvent(EventId id, const int32_t&) override { note(id); }
    void layerEvent(EventId id, const ILayerPtr&) override { note(id); }
    void layerRootEvent(EventId id, const LayerRoot&) override { note(id); }
    void metaDataEvent(EventId id, const MetaDataList&) override { note(id); }
    void markersEvent(EventId id, const MarkerList&) override { note(id); }
    void spectralMarkersEvent(EventId id, const SpectralMarkerList&) override { note(id); }
    void historyActivateEvent(EventId id, const int32_t&) override { note(id); }
    void historyListEvent(EventId id, const QList<HistoryEntry>&) override { note(id); }
    void displayEnableEvent(EventId id, const bool&) override { note(id); }
    void displayValueEvent(EventId id, const float&) override { note(id); }
    void colormapEvent(EventId id, const int32_t&) override { note(id); }
    void areaEvent(EventId id, const Area&) override { note(id); }
    void powerRangeEvent(EventId id, const PowerRange&) override { note(id); }
    void displacementEvent(EventId id, const Displacement&) override { note(id); }
    void selectionEvent(EventId id, const Selection&) override { note(id); }
    void transportPositionEvent(EventId id, const int64_t&) override { note(id); }
    void toolEvent(EventId id) override { note(id); }

    std::vector<int> ids;

private:
    void note(EventId id) { ids.push_back(int(id)); }
};

TEST_F(ProjectTest, PostTellsTheWholeStateInItsOrderAndPassesOverTheSender)
{
    const ProjectPtr project = makeProject(stereo);
    Listener sender;
    Listener other;
    postProject(*project, &sender);
    // The tool is reset first; the selection follows the active layer.
    std::vector<int> expected = {54};
    for (int id = 0; id <= 11; ++id)
        expected.push_back(id);
    for (const int id : {44, 14, 15, 16, 18, 19})
        expected.push_back(id);
    for (int id = 20; id <= 30; ++id)
        expected.push_back(id);
    for (const int id : {35, 31, 32, 33, 34, 36, 37, 38, 45})
        expected.push_back(id);
    EXPECT_EQ(other.ids, expected);
    EXPECT_TRUE(sender.ids.empty());
}

} // namespace
