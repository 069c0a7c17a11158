// Both forms of a project file: what goes in comes out, and what they look like in between.
#include "model/layerregion.h"
#include "model/modeltest.h"
#include "projectfiles/layerfactory.h"
#include "projectfiles/projectbinary.h"
#include "projectfiles/projectdefaults.h"
#include "projectfiles/projecttest.h"
#include "projectfiles/projectxml.h"
#include "projectfiles/recorddump.h"
#include "support/testsupport.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>

#include <QBuffer>
#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QLocale>
#include <QProcess>
#include <QXmlStreamReader>

using namespace projecttest;

namespace {

ProjectReadResult readBinary(const QByteArray& bytes)
{
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QBuffer::ReadOnly);
    SessionLayers layers;
    return readProjectBinary(buffer, layers, {});
}

class ProjectForms : public testing::Test
{
protected:
    void SetUp() override { m_folder = testsupport::makeFolder(); }
    QString file(const QString& name) { return m_folder + QLatin1Char('/') + name; }
    QString m_folder;
};

// --- round trips -----------------------------------------------------------------------------------

TEST_F(ProjectForms, RandomProjectsComeBackFromTheBinaryForm)
{
    for (uint32_t seed = 0; seed < 40; ++seed) {
        SCOPED_TRACE(seed);
        const ProjectPtr saved = randomProject(seed);
        const ProjectReadResult read = readBinary(binaryOf(*saved));
        ASSERT_TRUE(read.project) << read.text.toStdString();
        EXPECT_EQ(read.damage, QStringList());
        EXPECT_FALSE(read.project->modified);
        expectSame(*saved, *read.project);
    }
    EXPECT_EQ(modeltest::sessionFiles(), QStringList());
}

TEST_F(ProjectForms, RandomProjectsComeBackFromTheXmlForm)
{
    for (uint32_t seed = 100; seed < 140; ++seed) {
        SCOPED_TRACE(seed);
        const ProjectPtr saved = randomProject(seed);
        saved->setFilePath(file(QStringLiteral("the \"path\" äλ.mvp")));
        const QString path = file(QStringLiteral("p%1.mvx").arg(seed));
        saveXml(*saved, path);
        const ProjectReadResult read = readProjectXml(path, SampleFiles::Copy, {});
        ASSERT_TRUE(read.project) << read.text.toStdString();
        EXPECT_EQ(read.damage, QStringList());
        EXPECT_EQ(read.project->filePath(), saved->filePath());
        expectSame(*saved, *read.project);
    }
    EXPECT_EQ(modeltest::sessionFiles(), QStringList());
}

TEST_F(ProjectForms, NumbersThatAreNoneRoundTripAsTheirDefaults)
{
    const ProjectPtr saved = smallProject();
    const Project standard(saved->format());
    const QByteArray before = binaryOf(*saved);
    saved->display.lowDb = NAN;
    saved->display.minWaveform = -INFINITY;
    saved->units.bpm = INFINITY;
    const QString path = file(QStringLiteral("p.mvx"));
    saveXml(*saved, path);
    for (const ProjectReadResult& read :
         {readBinary(binaryOf(*saved)), readProjectXml(path, SampleFiles::Copy, {})}) {
        ASSERT_TRUE(read.project);
        const Project& project = *read.project;
        const ProjectPtr other = makeProject(saved->format());
        EXPECT_EQ(project.display.lowDb, other->display.lowDb);
        EXPECT_EQ(project.display.minWaveform, other->display.minWaveform);
        EXPECT_EQ(project.units.bpm, other->units.bpm);
    }
}

// --- the binary form, byte by byte -----------------------------------------------------------------

// Every record in its place, with nothing between and nothing behind.
class BinaryLayout
{
public:
    explicit BinaryLayout(const QByteArray& bytes) : m_dump(bytes) {}

    void expect(const Project& project)
    {
        m_rate = project.format().sampleRate;
        m_dump.magic("MVP02");
        shortFormat(0, project.format());
        EXPECT_EQ(m_dump.text(3),
                  QCoreApplication::applicationName() + ' ' + QCoreApplication::applicationVersion());
        exactFormat(10, project.format());
        settings(project);
        for (const ILayerPtr& node : project.layers()->children(ChildrenAll))
            node->type() == LayerTypeGroup ? group(*node) : layer(dynamic_cast<const Layer&>(*node));
        lists(project);
        EXPECT_TRUE(m_dump.atEnd());
    }

private:
    void shortFormat(uint32_t id, const SamplingFormat& format)
    {
        const double rounded = std::floor(format.sampleRate + 0.5);
        EXPECT_EQ(double(m_dump.i32(id)), std::min(rounded, 2147483647.0));
        EXPECT_EQ(m_dump.i32(id + 1), format.channels);
        EXPECT_EQ(m_dump.u32(id + 2), uint32_t(format.channelsMask & 0xffffffff));
    }
    void exactFormat(uint32_t id, const SamplingFormat& format)
    {
        EXPECT_EQ(m_dump.i32(id), format.sampleType);
        EXPECT_EQ(m_dump.f64(id + 1), format.sampleRate);
        EXPECT_EQ(m_dump.i32(id + 2), format.channelsType);
        EXPECT_EQ(m_dump.i32(id + 3), format.channels);
        EXPECT_EQ(m_dump.i64(id + 4), int64_t(format.channelsMask));
    }
    void settings(const Project& project)
    {
        const DisplaySettings& display = project.display;
        m_dump.enter(4096);
        exactFormat(0, project.format());
        m_dump.leave();
        m_dump.enter(4112);
        EXPECT_EQ(m_dump.f64(0), display.displayArea.x);
        EXPECT_EQ(m_dump.f64(1), display.displayArea.width);
        EXPECT_EQ(m_dump.f64(2), display.displayArea.y);
        EXPECT_EQ(m_dump.f64(3), display.displayArea.height);
        EXPECT_EQ(m_dump.f64(16), double(display.lowDb));
        EXPECT_EQ(m_dump.f64(17), double(display.highDb));
        EXPECT_EQ(m_dump.f64(18), display.minWaveform);
        EXPECT_EQ(m_dump.f64(19), display.maxWaveform);
        EXPECT_EQ(m_dump.f64(20), double(display.displacementX));
        EXPECT_EQ(m_dump.f64(21), double(display.displacementY));
        EXPECT_EQ(m_dump.i32(32), project.transform.frameSize);
        EXPECT_EQ(m_dump.i32(48), int(display.composite));
        EXPECT_EQ(m_dump.i32(49), display.colormap);
        m_dump.leave();
        m_dump.enter(4128);
        EXPECT_EQ(m_dump.f64(0), double(project.units.bpm));
        EXPECT_EQ(m_dump.i32(1), int(project.units.bar));
        EXPECT_EQ(m_dump.i32(2), int(project.units.beat));
        EXPECT_EQ(m_dump.f64(3), double(project.units.bpm)); // and not the frame rate
        EXPECT_EQ(m_dump.i32(16), int(project.units.timeUnit));
        EXPECT_EQ(m_dump.i32(17), int(project.units.powerUnit));
        EXPECT_EQ(m_dump.i32(18), int(project.units.freqUnit));
        EXPECT_EQ(m_dump.i32(19), int(project.units.freqScale));
        m_dump.leave();
        m_dump.enter(4144);
        EXPECT_EQ(m_dump.i64(0), project.position());
        m_dump.leave();
    }
    void node(const ILayer& layer)
    {
        EXPECT_EQ(m_dump.text(0), layer.name());
        EXPECT_EQ(m_dump.i32(1), int(layer.enabled()));
        EXPECT_EQ(m_dump.i32(2), layer.polarity());
        EXPECT_EQ(m_dump.f32(3), layer.multiplier());
        EXPECT_EQ(m_dump.i32(4), int(layer.solo()));
        EXPECT_EQ(m_dump.u32(5), layer.color());
        shortFormat(16, layer.format());
        exactFormat(10, layer.format());
    }
    void layer(const Layer& layer)
    {
        m_dump.enter(16);
        node(layer);
        EXPECT_EQ(m_dump.f64(19), double(layer.dataRange().start) / m_rate);
        EXPECT_EQ(m_dump.i64(21), layer.dataRange().start);
        EXPECT_EQ(m_dump.raw(32), layer.isEmpty() ? QByteArray() : contentOf(layer.filePath()));
        m_dump.leave();
    }
    void group(const ILayer& group)
    {
        m_dump.enter(17);
        node(group);
        EXPECT_EQ(m_dump.i32(48), int(group.isOpen()));
        EXPECT_EQ(m_dump.i32(49), group.children(ChildrenDirect).size());
        m_dump.leave();
    }
    void lists(const Project& project)
    {
        MetaDataList tags;
        for (int i = 0; i < project.metadata.size(); ++i) {
            m_dump.enter(32);
            const QString tag = m_dump.text(0);
            tags.insert(tag, m_dump.text(1));
            m_dump.leave();
        }
        EXPECT_EQ(tags, project.metadata);
        for (const Marker& marker : project.markerList()) {
            m_dump.enter(48);
            EXPECT_EQ(m_dump.i32(0), marker.id);
            EXPECT_EQ(m_dump.f64(1), double(marker.position) / m_rate);
            EXPECT_EQ(m_dump.f64(2), double(marker.length) / m_rate);
            EXPECT_EQ(m_dump.text(3).toStdString(), marker.description);
            EXPECT_EQ(m_dump.i64(4), marker.position);
            EXPECT_EQ(m_dump.i64(5), marker.length);
            m_dump.leave();
        }
        for (const SpectralMarker& marker : project.spectralMarkerList()) {
            m_dump.enter(64);
            EXPECT_EQ(m_dump.f64(1), marker.time);
            EXPECT_EQ(m_dump.f64(2), marker.freq);
            EXPECT_EQ(m_dump.f64(3), marker.width);
            EXPECT_EQ(m_dump.f64(4), marker.height);
            EXPECT_EQ(m_dump.text(5).toStdString(), marker.description);
            m_dump.leave();
        }
    }

    RecordDump m_dump;
    double m_rate = 1;
};

TEST_F(ProjectForms, TheBinaryFormIsTheTableOfTheForm)
{
    for (uint32_t seed = 200; seed < 230 && !HasFailure(); ++seed) {
        SCOPED_TRACE(seed);
        const ProjectPtr project = randomProject(seed);
        BinaryLayout(binaryOf(*project)).expect(*project);
    }
}

TEST_F(ProjectForms, TheSameProjectGivesTheSameBytes)
{
    const ProjectPtr project = randomProject(7);
    EXPECT_EQ(binaryOf(*project), binaryOf(*project));
}

TEST_F(ProjectForms, AFileWithoutTheExactFormatTakesTheShortOne)
{
    const QByteArray bytes = "MVP02" + RecordMaker::i32(0, 8000) + RecordMaker::i32(1, 2) +
                             RecordMaker::i32(2, 12) +
                             RecordMaker::layer(QStringLiteral("old"), RecordMaker::floats({1, 2, 3, 4}));
    const ProjectReadResult read = readBinary(bytes);
    ASSERT_TRUE(read.project);
    EXPECT_EQ(read.damage, QStringList());
    const SamplingFormat expected{SampleTypeReal, 8000, ChannelsTypeAudio, 2, 12};
    EXPECT_EQ(read.project->format(), expected);
    EXPECT_EQ(read.project->layers()->range(), (Range{0, 2}));
}

TEST_F(ProjectForms, ALayerThatTellsNoFormatHasThatOfTheProject)
{
    const QByteArray layer =
        RecordMaker::raw(16, RecordMaker::i32(16, 0) + RecordMaker::i32(17, 0) + RecordMaker::i32(18, 1) +
                                 RecordMaker::f64(19, 2.5) + // at 44100 Hz
                                 RecordMaker::raw(32, RecordMaker::floats({1, 2})));
    const ProjectReadResult read = readBinary(RecordMaker::head() + layer);
    ASSERT_TRUE(read.project);
    EXPECT_EQ(read.damage, QStringList());
    ASSERT_EQ(read.project->layers()->children(ChildrenDirect).size(), 1);
    EXPECT_EQ(read.project->layers()->children(ChildrenDirect).first()->format(), read.project->format());
    EXPECT_EQ(read.project->layers()->range(), (Range{110250, 1}));
}

TEST_F(ProjectForms, AMarkerWithoutSamplesIsPlacedBySeconds)
{
    const QByteArray marker =
        RecordMaker::raw(48, RecordMaker::i32(0, 9) + RecordMaker::f64(1, 2) + RecordMaker::f64(2, 0.5));
    const ProjectReadResult read = readBinary(RecordMaker::head() + marker);
    ASSERT_TRUE(read.project);
    EXPECT_EQ(read.project->markerList(), (MarkerList{{9, 88200, 22050, {}}}));
}

// --- edge cases ------------------------------------------------------------------------------------

TEST_F(ProjectForms, AGroupOfCountZeroTakesNoLayer)
{
    const auto names = [](const Project& project) {
        QStringList list;
        for (const ILayerPtr& node : project.layers()->children(ChildrenDirect))
            list << node->name();
        return list;
    };
    const QStringList expected{QStringLiteral("empty"), QStringLiteral("next")};
    const ProjectReadResult binary = readBinary(RecordMaker::head() + RecordMaker::group(expected[0], 0) +
                                                RecordMaker::layer(expected[1], RecordMaker::floats({1, 2})));
    ASSERT_TRUE(binary.project);
    EXPECT_EQ(names(*binary.project), expected);

    const ProjectPtr saved = makeProject(modeltest::realFormat());
    saved->layers()->appendChild(LayerGroup::create(saved->format(), {expected[0]}));
    saved->layers()->appendChild(Layer::create(saved->format(), {expected[1]}));
    saveXml(*saved, file(QStringLiteral("p.mvx")));
    const ProjectReadResult xml = readProjectXml(file(QStringLiteral("p.mvx")), SampleFiles::Copy, {});
    ASSERT_TRUE(xml.project);
    EXPECT_EQ(names(*xml.project), expected);
}

TEST_F(ProjectForms, AProjectWithoutLayersOpensEmptyFromTheBinaryFormAndIsRefusedSilentlyFromXml)
{
    const ProjectPtr saved = makeProject(modeltest::realFormat(3, 96000));
    const ProjectReadResult binary = readBinary(binaryOf(*saved));
    ASSERT_TRUE(binary.project);
    EXPECT_EQ(binary.damage, QStringList());
    EXPECT_TRUE(binary.project->layers()->isEmpty());
    EXPECT_EQ(binary.project->format(), saved->format());

    saveXml(*saved, file(QStringLiteral("p.mvx")));
    const ProjectReadResult xml = readProjectXml(file(QStringLiteral("p.mvx")), SampleFiles::Copy, {});
    EXPECT_FALSE(xml.project);
    EXPECT_FALSE(xml.cancelled);
    EXPECT_EQ(xml.title + xml.text + xml.cause, QString());
}

TEST_F(ProjectForms, ANameOutsideAsciiComesBackFromBothForms)
{
    const QString name = QStringLiteral("Ström – Ωmega 語音 🎵 \"<&>'\t\n");
    const ProjectPtr saved = smallProject();
    saved->layers()->children(ChildrenDirect).first()->setName(name.toStdString());
    saveXml(*saved, file(QStringLiteral("p.mvx")));
    for (const ProjectReadResult& read :
         {readBinary(binaryOf(*saved)),
          readProjectXml(file(QStringLiteral("p.mvx")), SampleFiles::Copy, {})}) {
        ASSERT_TRUE(read.project);
        EXPECT_EQ(read.project->layers()->children(ChildrenDirect).first()->name(), name);
    }
}

TEST_F(ProjectForms, AnUnknownIdInsideABlockDoesNoHarm)
{
    const QByteArray unknown = RecordMaker::raw(777, QByteArray(1001, 'x')) + RecordMaker::raw(778, {});
    const QByteArray floats = RecordMaker::floats({1, 2, 3, 4});
    const QByteArray layer = RecordMaker::raw(16, unknown + RecordMaker::text(0, QStringLiteral("n")) +
                                                      unknown + RecordMaker::raw(32, floats) + unknown);
    const QByteArray marker =
        RecordMaker::raw(48, unknown + RecordMaker::i32(0, 5) + unknown + RecordMaker::i64(4, 6));
    const ProjectReadResult read =
        readBinary(RecordMaker::head() + unknown + layer + unknown + marker + unknown);
    ASSERT_TRUE(read.project);
    EXPECT_EQ(read.damage, QStringList());
    ASSERT_EQ(read.project->layers()->children(ChildrenDirect).size(), 1);
    const ILayerPtr first = read.project->layers()->children(ChildrenDirect).first();
    EXPECT_EQ(first->name(), QStringLiteral("n"));
    EXPECT_EQ(modeltest::samplesOf(*first, {0, 2}), (std::vector<float>{1, 2, 3, 4}));
    EXPECT_EQ(read.project->markerList(), (MarkerList{{5, 6, 0, {}}}));
}

TEST_F(ProjectForms, TheFrameRateOfASavedFileIsTheTempo)
{
    const ProjectPtr saved = smallProject();
    saved->units.bpm = 97.25f;
    saved->units.frameRate = 30;
    EXPECT_EQ(readBinary(binaryOf(*saved)).project->units.frameRate, 97.25f);
    saveXml(*saved, file(QStringLiteral("p.mvx")));
    QXmlStreamReader xml(contentOf(file(QStringLiteral("p.mvx"))));
    while (!xml.atEnd() && xml.name() != QLatin1String("unitsettings"))
        xml.readNext();
    EXPECT_EQ(xml.attributes().value(QLatin1String("fps")), QLatin1String("97.25"));
    EXPECT_EQ(xml.attributes().value(QLatin1String("bpm")), QLatin1String("97.25"));
}

TEST_F(ProjectForms, ARegionIsSavedAsTheStretchThatItShows)
{
    const ProjectPtr saved = makeProject(modeltest::realFormat());
    const LayerPtr source = modeltest::layerOf(saved->format(), modeltest::ramp(100));
    saved->layers()->appendChild(LayerRegion::create(source, 50, 10, -20));
    saveXml(*saved, file(QStringLiteral("p.mvx")));
    for (const ProjectReadResult& read :
         {readBinary(binaryOf(*saved)),
          readProjectXml(file(QStringLiteral("p.mvx")), SampleFiles::Copy, {})}) {
        ASSERT_TRUE(read.project);
        const ILayerPtr layer = read.project->layers()->children(ChildrenDirect).value(0);
        ASSERT_TRUE(layer);
        EXPECT_EQ(layer->type(), LayerTypeLayer);
        EXPECT_EQ(layer->range(), (Range{50, 10}));
        EXPECT_EQ(modeltest::samplesOf(*layer, {50, 10}), modeltest::ramp(10, 31)); // 50 shows 30
    }
}

TEST_F(ProjectForms, GroupsNestedDeeperThanAllowedAreFlattened)
{
    const ProjectPtr saved = nestedProject(300);
    saveXml(*saved, file(QStringLiteral("p.mvx")));
    for (const ProjectReadResult& read :
         {readBinary(binaryOf(*saved)),
          readProjectXml(file(QStringLiteral("p.mvx")), SampleFiles::Copy, {})}) {
        ASSERT_TRUE(read.project);
        EXPECT_EQ(read.damage.size(), 1) << read.damage.join(';').toStdString();
        const QList<ILayerPtr> all = read.project->layers()->children(ChildrenAll);
        ASSERT_EQ(all.size(), 301);
        for (int i = 0; i < 300; ++i)
            EXPECT_EQ(all[i]->name(), QString::number(i));
        EXPECT_EQ(read.project->layers()->pathTo(all.last()).size(), 258); // 256 groups, the root, itself
        EXPECT_EQ(all[255]->children(ChildrenDirect).size(), 45);
    }
}

// --- the XML form ----------------------------------------------------------------------------------

using Row = QPair<QString, QStringList>; // element, names of its attributes

TEST_F(ProjectForms, TheManifestHasItsElementsAndAttributesInOrder)
{
    const QStringList format{QStringLiteral("sampletype"), QStringLiteral("samplerate"),
                             QStringLiteral("channelstype"), QStringLiteral("channels"),
                             QStringLiteral("channelsmask")};
    const auto words = [](const char* text) { return QString::fromLatin1(text).split(' '); };
    const QStringList node = words("name enabled solo polarity multiplier color") + format;
    const QList<Row> expected{
        {QStringLiteral("mvxml"), words("version processid software embedded")},
        {QStringLiteral("project"), format + words("software path")},
        {QStringLiteral("projectsettings"), format},
        {QStringLiteral("displaysettings"),
         words("start length bottom height minamplitude maxamplitude minwaveform maxwaveform "
               "displacementx displacementy fftsize composite colormap")},
        {QStringLiteral("unitsettings"), words("bpm bar beat fps time power freq scale")},
        {QStringLiteral("transportsettings"), words("position")},
        {QStringLiteral("layer"), node + words("start path")},
        {QStringLiteral("layergroup"), node + words("open count")},
        {QStringLiteral("layer"), node + words("start path")},
        {QStringLiteral("metadata"), words("rifftag content")},
        {QStringLiteral("marker"), words("id position length description")},
        {QStringLiteral("spectralmarker"), words("time freq width height description")}};
    saveXml(*smallProject(), file(QStringLiteral("p.mvx")));
    const QByteArray bytes = contentOf(file(QStringLiteral("p.mvx")));
    EXPECT_TRUE(bytes.startsWith("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n")) << bytes.left(60).data();
    QXmlStreamReader xml(bytes);
    QList<Row> found;
    while (!xml.atEnd())
        if (xml.readNext() == QXmlStreamReader::StartElement) {
            QStringList names;
            for (const QXmlStreamAttribute& attribute : xml.attributes())
                names << attribute.name().toString();
            found << Row{xml.name().toString(), names};
        }
    EXPECT_FALSE(xml.hasError());
    EXPECT_EQ(found, expected);
}

TEST_F(ProjectForms, SidecarsAreNumberedOverTheLayersThatHaveSamples)
{
    const ProjectPtr saved = makeProject(modeltest::realFormat());
    const LayerPtr first = modeltest::layerOf(saved->format(), modeltest::ramp(5));
    const LayerPtr second = modeltest::layerOf(saved->format(), modeltest::ramp(7, 100));
    saved->layers()->appendChild(first);
    saved->layers()->appendChild(Layer::create(saved->format()));
    saved->layers()->appendChild(second);
    const QString path = file(QStringLiteral("50% off %1.mvx"));
    saveXml(*saved, path);
    EXPECT_EQ(QDir(m_folder).entryList(QDir::AllEntries | QDir::NoDotAndDotDot, QDir::Name),
              QStringList({QStringLiteral("50% off %1"), QStringLiteral("50% off %1.mvx")}));
    const QDir samples(file(QStringLiteral("50% off %1")));
    EXPECT_EQ(samples.entryList(QDir::Files, QDir::Name),
              QStringList({QStringLiteral("layer0.pcm"), QStringLiteral("layer1.pcm")}));
    EXPECT_EQ(contentOf(samples.filePath(QStringLiteral("layer0.pcm"))), contentOf(first->filePath()));
    EXPECT_EQ(contentOf(samples.filePath(QStringLiteral("layer1.pcm"))), contentOf(second->filePath()));
    EXPECT_TRUE(contentOf(path).contains("path=\"50% off %1/layer1.pcm\""));
}

TEST_F(ProjectForms, AManifestOfTheSessionNamesTheSessionFilesAndGivesThemBack)
{
    const QString path = modeltest::sessionFolder() + QStringLiteral("/session_1_project_2.mvx");
    ProjectPtr saved = smallProject();
    saved->setPosition(123456789);
    const QStringList files = modeltest::sessionFiles();
    const SaveResult result = writeProjectXml(*saved, path, SampleFiles::Reference, {}, false);
    ASSERT_TRUE(result.done) << result.words.toStdString();
    EXPECT_EQ(modeltest::sessionFiles().size(), files.size() + 1);
    EXPECT_FALSE(contentOf(path).contains("path=\"/"));
    // As after a death: the files are there, and nobody holds them.
    for (const ILayerPtr& node : saved->layers()->children(ChildrenAll))
        std::dynamic_pointer_cast<Layer>(node)->keepFile();
    const ProjectPtr twin = smallProject(); // to compare with
    twin->setPosition(123456789);
    saved.reset();
    ProjectReadResult read = readProjectXml(path, SampleFiles::Reference, {});
    ASSERT_TRUE(read.project);
    EXPECT_EQ(read.damage, QStringList());
    expectSame(*twin, *read.project);
    QFile::remove(path);
    read.project.reset(); // the files are its own
    for (const QString& name : files)
        EXPECT_FALSE(QFile::exists(modeltest::sessionFolder() + '/' + name)) << name.toStdString();
}

TEST_F(ProjectForms, NumbersAreWrittenInTheShortestTextThatReadsBack)
{
    const ProjectPtr saved = makeProject(modeltest::realFormat(1, 1234567.0 / 3));
    saved->layers()->appendChild(Layer::create(saved->format()));
    saved->display.displayArea = {0.1, 0, 1234567, 22050};
    saved->units.bpm = 120.1f;
    saveXml(*saved, file(QStringLiteral("p.mvx")));
    const QByteArray xml = contentOf(file(QStringLiteral("p.mvx")));
    EXPECT_TRUE(xml.contains("samplerate=\"411522.3333333333\""));
    EXPECT_TRUE(xml.contains("start=\"0.1\""));
    EXPECT_TRUE(xml.contains("length=\"1234567\""));
    EXPECT_TRUE(xml.contains("height=\"22050\""));
    EXPECT_TRUE(xml.contains("bpm=\"120.1\""));
}

TEST_F(ProjectForms, CharactersThatXmlForbidsAreReplacedAndTheRestIsKept)
{
    const ProjectPtr saved = smallProject();
    const QString name =
        QStringLiteral("a") + QChar(0xd800) + 'b' + QChar(1) + 'c' + QChar(0xffff) + 'd' + QChar(0xdc00);
    // As UTF-8 the name of a layer cannot hold half a pair; a tag can.
    saved->metadata = {{QStringLiteral("INAM"), name}};
    saveXml(*saved, file(QStringLiteral("p.mvx")));
    const ProjectReadResult read = readProjectXml(file(QStringLiteral("p.mvx")), SampleFiles::Copy, {});
    ASSERT_TRUE(read.project);
    EXPECT_EQ(read.damage, QStringList());
    EXPECT_EQ(read.project->metadata.value(QStringLiteral("INAM")),
              QStringLiteral("a\ufffdb\ufffdc\ufffdd\ufffd"));
}

TEST_F(ProjectForms, SettingsThatAManifestDoesNotTellHaveTheirDefaults)
{
    const QByteArray manifest =
        "<mvxml version=\"1.0\"><project samplerate=\"8000\" channels=\"1\"><displaysettings bottom=\"x\" "
        "fftsize=\"-3\" colormap=\"99\"/><later><layer/></later><unitsettings bpm=\"nan\" time=\"77\"/>"
        "<layer name=\"l\"/></project></mvxml>";
    writeFile(file(QStringLiteral("p.mvx")), manifest);
    const ProjectReadResult read = readProjectXml(file(QStringLiteral("p.mvx")), SampleFiles::Copy, {});
    ASSERT_TRUE(read.project) << read.cause.toStdString();
    const ProjectPtr standard = makeProject({SampleTypeReal, 8000, ChannelsTypeAudio, 1, 4});
    EXPECT_EQ(read.damage, QStringList());
    EXPECT_EQ(read.project->layers()->children(ChildrenAll).size(), 1);
    EXPECT_EQ(read.project->transform.frameSize, standard->transform.frameSize);
    EXPECT_EQ(read.project->display.colormap, standard->display.colormap);
    EXPECT_EQ(read.project->units.bpm, standard->units.bpm);
    EXPECT_EQ(read.project->units.timeUnit, standard->units.timeUnit);
    EXPECT_EQ(read.project->display.displayArea, read.project->wholeArea());
}

// --- locale ----------------------------------------------------------------------------------------

TEST_F(ProjectForms, AGermanLocaleWritesTheSameBytesAndReadsThem)
{
    const ProjectPtr saved = randomProject(3);
    const QString plain = file(QStringLiteral("plain.mvx"));
    const QByteArray binary = binaryOf(*saved);
    saveXml(*saved, plain);

    const QString locales = testsupport::makeFolder(QStringLiteral("locales"));
    const QStringList arguments{"-i", "de_DE", "-f", "UTF-8", locales + "/de_DE.UTF-8"};
    ASSERT_EQ(QProcess::execute(QStringLiteral("localedef"), arguments), 0)
        << "the package locales is missing";
    qputenv("LOCPATH", locales.toLocal8Bit());
    ASSERT_TRUE(std::setlocale(LC_ALL, "de_DE.UTF-8"));
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    ASSERT_EQ(QByteArray(std::localeconv()->decimal_point), ",");

    EXPECT_EQ(binaryOf(*saved), binary);
    const QString german = file(QStringLiteral("german.mvx"));
    saveXml(*saved, german);
    EXPECT_EQ(contentOf(german).replace("german/", "plain/"), contentOf(plain));
    const ProjectReadResult first = readBinary(binary);
    const ProjectReadResult second = readProjectXml(plain, SampleFiles::Copy, {});
    std::setlocale(LC_ALL, "C.UTF-8");
    QLocale::setDefault(QLocale::c());
    qunsetenv("LOCPATH");
    ASSERT_TRUE(first.project && second.project);
    expectSame(*saved, *first.project);
    expectSame(*saved, *second.project);
}

} // namespace
