// Project files that lie, are cut, or want to cost more than they may.
#include "model/modeltest.h"
#include "projectfiles/layerfactory.h"
#include "projectfiles/projectbinary.h"
#include "projectfiles/projecttest.h"
#include "projectfiles/projecttree.h"
#include "projectfiles/projectxml.h"
#include "projectfiles/recorddump.h"
#include "support/testsupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include <sys/stat.h>

#include <QBuffer>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QtEndian>

using namespace projecttest;

namespace {

constexpr int64_t mostMemory = 200 << 20;
constexpr int mostTime = 2000; // ms

// Kept from the printer of the tests, which writes a string as a list of its bytes.
std::string joined(const QStringList& list)
{
    return list.join('\n').toStdString();
}

// Anonymous memory of this process: mapped files are the disk's.
int64_t memoryInUse()
{
    QFile file(QStringLiteral("/proc/self/status"));
    EXPECT_TRUE(file.open(QFile::ReadOnly));
    for (const QByteArray& line : file.readAll().split('\n'))
        if (line.startsWith("RssAnon:"))
            return line.mid(8).trimmed().split(' ').first().toLongLong() << 10;
    return 0;
}

// What every hostile file must keep to.
class ProjectHostile : public testing::Test
{
protected:
    void SetUp() override
    {
        m_folder = testsupport::makeFolder();
        m_before = modeltest::sessionFiles();
    }
    void TearDown() override { EXPECT_EQ(modeltest::sessionFiles(), m_before); }

    template<class Read>
    ProjectReadResult timed(const Read& read)
    {
        const int64_t memory = memoryInUse();
        QElapsedTimer timer;
        timer.start();
        ProjectReadResult result = read();
        EXPECT_LT(timer.elapsed(), testsupport::patient(mostTime));
        const int64_t used = memoryInUse() - memory;
        EXPECT_TRUE(testsupport::isSanitized() || used < mostMemory) << used;
        if (result.project) {
            EXPECT_EQ(result.project->modified, !result.damage.isEmpty());
            use(*result.project);
        } else {
            EXPECT_EQ(result.damage, QStringList());
            EXPECT_FALSE(result.cancelled);
        }
        return result;
    }
    ProjectReadResult binary(const QByteArray& bytes)
    {
        return timed([&] {
            QBuffer buffer;
            buffer.setData(bytes);
            buffer.open(QBuffer::ReadOnly);
            SessionLayers layers;
            return readProjectBinary(buffer, layers, {});
        });
    }
    ProjectReadResult xml(const QByteArray& bytes, SampleFiles samples = SampleFiles::Copy)
    {
        const QString path = (samples == SampleFiles::Copy ? m_folder : modeltest::sessionFolder()) +
                             QStringLiteral("/session_1_project_1.mvx");
        writeFile(path, bytes);
        ProjectReadResult result = timed([&] { return readProjectXml(path, samples, {}); });
        EXPECT_EQ(contentOf(path), bytes);
        QFile::remove(path);
        return result;
    }
    // What the program does with every document at once: none of it may divide by what is not there.
    static void use(const Project& project)
    {
        SamplingFormat format = project.format();
        EXPECT_TRUE(sanitizeFormat(format));
        EXPECT_EQ(format, project.format());
        EXPECT_GT(project.transform.hop(), 0);
        EXPECT_GT(project.transform.bins(), 0);
        EXPECT_TRUE(std::isfinite(project.displayArea().x + project.displayArea().width +
                                  project.displayArea().y + project.displayArea().height));
        EXPECT_GT(project.display.highDb, project.display.lowDb);
        EXPECT_GT(project.units.bpm, 0);
        EXPECT_GE(project.bar(), 1);
        std::vector<float> out(std::size_t(format.frameBytes() / 4 * 64));
        project.layers()->read(out.data(), {0, 64}, -1, true);
        const QList<ILayerPtr> all = project.layers()->children(ChildrenAll);
        for (int i = 0; i < std::min(all.size(), 100); ++i) {
            EXPECT_EQ(all[i]->format(), format);
            EXPECT_GE(all[i]->range().start, 0);
            EXPECT_TRUE(std::isfinite(all[i]->multiplier()));
        }
    }

    QString m_folder;
    QStringList m_before;
};

// Where the size fields of the records stand, and which records hold others.
void findSizes(const QByteArray& bytes, int begin, int end, bool top, QList<int>& sizes)
{
    static const QList<uint32_t> blocks{4096, 4112, 4128, 4144, 16, 17, 32, 48, 64};
    for (int at = begin; at + 12 <= end;) {
        sizes << at + 4;
        const auto id = qFromLittleEndian<quint32>(bytes.constData() + at);
        const auto size = int(qFromLittleEndian<quint64>(bytes.constData() + at + 4));
        if (top && blocks.contains(id))
            findSizes(bytes, at + 12, at + 12 + size, false, sizes);
        at += 12 + size;
    }
}

// --- the binary form -------------------------------------------------------------------------------

TEST_F(ProjectHostile, AFileCutAtAnyByteOpensWithWhatIsWholeInIt)
{
    const QByteArray whole = binaryOf(*smallProject());
    int wholeLayers = 0;
    for (int size = 0; size < whole.size(); ++size) {
        SCOPED_TRACE(size);
        const ProjectReadResult read = binary(whole.left(size));
        if (size < 5) {
            EXPECT_EQ(read.text, QStringLiteral("Unsupported file format."));
        }
        if (!read.project) {
            EXPECT_FALSE(read.text.isEmpty());
            EXPECT_EQ(wholeLayers, 0);
            continue;
        }
        EXPECT_EQ(read.project->filePath(), QString());
        int layers = 0;
        for (const ILayerPtr& node : read.project->layers()->children(ChildrenAll))
            layers += node->type() == LayerTypeLayer && !node->isEmpty();
        EXPECT_GE(layers, wholeLayers); // never less than from a shorter file
        wholeLayers = layers;
    }
    EXPECT_EQ(wholeLayers, 2);
    EXPECT_EQ(binary(whole).damage, QStringList());
}

TEST_F(ProjectHostile, SamplesThatAreCutOffAreTold)
{
    const QByteArray layer =
        RecordMaker::layer(QStringLiteral("cut"), RecordMaker::floats({1, 2, 3, 4, 5, 6}));
    const QByteArray file = RecordMaker::head() + layer;
    const ProjectReadResult read = binary(file.left(file.size() - 5)); // of the third sample point
    ASSERT_TRUE(read.project);
    EXPECT_TRUE(read.project->modified);
    EXPECT_TRUE(read.damage.join(' ').contains(QStringLiteral("\"cut\": 5 bytes of samples are missing")))
        << read.damage.join(' ').toStdString();
    EXPECT_EQ(modeltest::samplesOf(*read.project->layers(), {0, 3}), (std::vector<float>{1, 2, 3, 4, 0, 0}));
}

TEST_F(ProjectHostile, SizesThatLieAreHeldAgainstWhatIsThere)
{
    const QByteArray whole = binaryOf(*smallProject());
    QList<int> sizes;
    findSizes(whole, 5, whole.size(), true, sizes);
    ASSERT_GT(sizes.size(), 80);
    for (const int at : sizes) {
        const auto size = qFromLittleEndian<quint64>(whole.constData() + at);
        for (const quint64 lie : {quint64(0), quint64(1), size * 2, quint64(1) << 31, quint64(1) << 63,
                                  std::numeric_limits<quint64>::max()}) {
            SCOPED_TRACE(testing::Message() << at << " as " << lie);
            QByteArray bytes = whole;
            qToLittleEndian(lie, bytes.data() + at);
            const ProjectReadResult read = binary(bytes);
            if (read.project && lie > quint64(whole.size())) {
                EXPECT_FALSE(read.damage.isEmpty());
            }
        }
    }
}

TEST_F(ProjectHostile, AnyByteMayBeAnother)
{
    const QByteArray whole = binaryOf(*smallProject());
    for (int at = 0; at < whole.size(); ++at)
        for (const char value : {'\0', '\x7f', '\xff'}) {
            SCOPED_TRACE(at);
            QByteArray bytes = whole;
            bytes[at] = value;
            (void)binary(bytes);
        }
}

TEST_F(ProjectHostile, CountsOfGroupsMayLie)
{
    for (const int32_t count : {-1, 3, 1000000, INT32_MAX, INT32_MIN}) {
        SCOPED_TRACE(count);
        const QByteArray layer = RecordMaker::layer(QStringLiteral("l"), RecordMaker::floats({1, 2}));
        const ProjectReadResult read =
            binary(RecordMaker::head() + RecordMaker::group(QStringLiteral("g"), count) + layer + layer);
        ASSERT_TRUE(read.project);
        EXPECT_EQ(read.project->layers()->children(ChildrenAll).size(), 3);
        EXPECT_EQ(read.damage.isEmpty(), count < 0);
    }
}

TEST_F(ProjectHostile, TwoHundredThousandNestedGroupsAreBounded)
{
    constexpr int groups = 200000;
    const QByteArray group = RecordMaker::group(QStringLiteral("g"), 1);
    const ProjectReadResult read = binary(RecordMaker::head() + group.repeated(groups));
    ASSERT_TRUE(read.project);
    EXPECT_FALSE(read.damage.isEmpty());
    EXPECT_EQ(read.project->layers()->children(ChildrenAll).size(), ProjectTree::maxNodes);

    const QByteArray element = "<layergroup name=\"g\" count=\"1\"/>\n";
    const ProjectReadResult second =
        xml("<mvxml version=\"1.0\"><project samplerate=\"8000\" channels=\"1\">" + element.repeated(groups) +
            "</project></mvxml>");
    ASSERT_TRUE(second.project) << second.cause.toStdString();
    EXPECT_FALSE(second.damage.isEmpty());
    EXPECT_EQ(second.project->layers()->children(ChildrenAll).size(), ProjectTree::maxNodes);
}

TEST_F(ProjectHostile, FormatsWithoutSenseAreRefused)
{
    const QString words =
        QStringLiteral("The file you selected could not be properly read (invalid sampling format).");
    const QByteArray layer = RecordMaker::layer(QStringLiteral("l"), RecordMaker::floats({1, 2}));
    for (const int32_t channels : {0, -1, 65, 1000000000, INT32_MIN})
        EXPECT_EQ(binary(RecordMaker::head(channels) + layer).text, words) << channels;
    for (const double rate : {0.0, -1.0, double(NAN), double(INFINITY), 1e300})
        EXPECT_EQ(binary(RecordMaker::head(2, rate) + layer).text, words) << rate;
    for (const char* attributes :
         {"samplerate=\"8000\" channels=\"0\"", "samplerate=\"8000\" channels=\"1000000000\"",
          "samplerate=\"nan\" channels=\"1\"", "samplerate=\"inf\" channels=\"1\"", "channels=\"1\""}) {
        const ProjectReadResult read =
            xml(QByteArray("<mvxml version=\"1.0\"><project ") + attributes + "><layer/></project></mvxml>");
        EXPECT_FALSE(read.project) << attributes;
        EXPECT_EQ(read.text, QStringLiteral("You can try recovering the project using the .pcm files"));
    }
}

TEST_F(ProjectHostile, ALayerWithoutSenseInItsFormatIsOneOfTheProject)
{
    for (const int32_t channels : {0, 1000000000, -5}) {
        const QByteArray layer = RecordMaker::raw(
            16, RecordMaker::i32(10, 77) + RecordMaker::f64(11, NAN) + RecordMaker::i32(13, channels) +
                    RecordMaker::raw(3, RecordMaker::little(float(INFINITY))) +
                    RecordMaker::i64(21, INT64_MIN) + RecordMaker::raw(32, RecordMaker::floats({1, 2})));
        const ProjectReadResult read = binary(RecordMaker::head() + layer);
        ASSERT_TRUE(read.project);
        EXPECT_EQ(read.project->layers()->range(), (Range{0, 1}));
    }
}

TEST_F(ProjectHostile, ALayerOfOtherSamplesIsLeftOutAndTold)
{
    const QByteArray layer =
        RecordMaker::raw(16, RecordMaker::text(0, QStringLiteral("mono")) + RecordMaker::i32(13, 1) +
                                 RecordMaker::raw(32, RecordMaker::floats({1, 2})));
    const ProjectReadResult read = binary(RecordMaker::head() + layer);
    ASSERT_TRUE(read.project);
    EXPECT_TRUE(read.project->layers()->isEmpty());
    EXPECT_TRUE(read.damage.join(' ').contains(QStringLiteral("mono")));
}

TEST_F(ProjectHostile, NumbersThatAreNoneAreDefaults)
{
    for (const double number : {double(NAN), double(INFINITY), -double(INFINITY), 1e308, -1e308}) {
        SCOPED_TRACE(number);
        QByteArray display, units, marker;
        for (const uint32_t id : {0, 1, 2, 3, 16, 17, 18, 19, 20, 21})
            display += RecordMaker::f64(id, number);
        display += RecordMaker::i32(32, INT32_MAX) + RecordMaker::i32(49, INT32_MIN);
        units = RecordMaker::f64(0, number) + RecordMaker::i32(1, 0) + RecordMaker::i32(2, INT32_MIN) +
                RecordMaker::f64(3, number);
        for (const uint32_t id : {16, 17, 18, 19})
            units += RecordMaker::i32(id, 1000000);
        for (const uint32_t id : {1, 2, 3, 4})
            marker += RecordMaker::f64(id, number);
        const QByteArray layer = RecordMaker::raw(16, RecordMaker::f64(19, number) +
                                                          RecordMaker::raw(32, RecordMaker::floats({1, 2})));
        const ProjectReadResult read =
            binary(RecordMaker::head() + RecordMaker::raw(4112, display) + RecordMaker::raw(4128, units) +
                   RecordMaker::raw(4144, RecordMaker::i64(0, INT64_MIN)) + layer +
                   RecordMaker::raw(48, marker) + RecordMaker::raw(64, marker));
        ASSERT_TRUE(read.project);
        ASSERT_EQ(read.project->spectralMarkerList().size(), 1);
        const SpectralMarker& mark = read.project->spectralMarkerList().first();
        EXPECT_TRUE(std::isfinite(mark.time + mark.freq + mark.width + mark.height));
        EXPECT_EQ(read.project->position(), 0);
    }
}

TEST_F(ProjectHostile, ListsAndTextsAreBounded)
{
    const QByteArray marker = RecordMaker::raw(48, RecordMaker::i32(0, 1));
    const ProjectReadResult many = binary(RecordMaker::head() + marker.repeated(1100000));
    ASSERT_TRUE(many.project);
    EXPECT_EQ(many.project->markerList().size(), 1000000);
    EXPECT_EQ(many.damage.size(), 1);

    const QByteArray tag = RecordMaker::raw(32, RecordMaker::text(0, QStringLiteral("INAM")) +
                                                    RecordMaker::raw(1, QByteArray(60 << 20, 'x')));
    const ProjectReadResult longText = binary(RecordMaker::head() + tag);
    ASSERT_TRUE(longText.project);
    EXPECT_EQ(longText.damage.size(), 1);
}

TEST_F(ProjectHostile, OtherFilesAreRefusedWithTheirBoxes)
{
    const QString old = QStringLiteral("Obsolete encoding. Try resaving your project with an older version.");
    for (const char* magic : {"MVP00", "MVP01"}) {
        const ProjectReadResult read = binary(QByteArray(magic) + binaryOf(*smallProject()).mid(5));
        EXPECT_EQ(read.title, QStringLiteral("Unsupported"));
        EXPECT_EQ(read.text, old);
    }
    for (const char* magic : {"MVP03", "mvp02", "RIFF\1", "MVP0", ""}) {
        const ProjectReadResult read = binary(magic);
        EXPECT_EQ(read.title, QStringLiteral("Unsupported"));
        EXPECT_EQ(read.text, QStringLiteral("Unsupported file format."));
    }
    for (const QString& path : {QStringLiteral("/dev/zero"), m_folder, m_folder + "/none"}) {
        const ProjectReadResult read = timed([&] { return readProjectBinary(path, {}); });
        EXPECT_TRUE(read.cause.startsWith(path + ": ")) << read.cause.toStdString();
        EXPECT_FALSE(read.text.isEmpty());
    }
    const QString path = m_folder + QStringLiteral("/p.mvp");
    writeFile(path, "MVP01");
    EXPECT_EQ(timed([&] { return readProjectBinary(path, {}); }).cause, path);
}

// --- the XML form ----------------------------------------------------------------------------------

const QByteArray xmlHead =
    "<mvxml version=\"1.0\"><project samplerate=\"8000\" channels=\"1\" path=\"/x/p.mvp\">";

TEST_F(ProjectHostile, AManifestCutAtAnyByteGivesWhatStandsBeforeOrIsRefused)
{
    const ProjectPtr saved = smallProject();
    const QString path = m_folder + QStringLiteral("/p.mvx");
    saveXml(*saved, path);
    const QByteArray whole = contentOf(path);
    bool opened = false;
    for (int size = 0; size < whole.indexOf("</project>") + 9; ++size) {
        SCOPED_TRACE(size);
        writeFile(path, whole.left(size));
        const ProjectReadResult read = timed([&] { return readProjectXml(path, SampleFiles::Copy, {}); });
        if (!read.project) {
            EXPECT_FALSE(opened);
            EXPECT_EQ(read.title, QStringLiteral("Error Opening Project"));
            EXPECT_EQ(read.text, QStringLiteral("You can try recovering the project using the .pcm files"));
            EXPECT_TRUE(read.cause.contains(path));
            continue;
        }
        opened = true;
        EXPECT_FALSE(read.damage.isEmpty());
        EXPECT_EQ(read.project->filePath(), QString());
    }
    EXPECT_TRUE(opened);
}

TEST_F(ProjectHostile, AManifestThatIsNoneIsRefusedWithItsBox)
{
    for (const QByteArray& bytes :
         {QByteArray(), QByteArray("text"), QByteArray("<other version=\"1.0\"/>"),
          QByteArray("<mvxml version=\"1.1\"><project samplerate=\"8000\" "
                     "channels=\"1\"><layer/></project></mvxml>"),
          QByteArray("<mvxml><project samplerate=\"8000\" channels=\"1\"><layer/></project></mvxml>"),
          QByteArray("<mvxml version=\"1.0\"><layer/></mvxml>"), QByteArray("<mvxml version=\"1.0\"/>"),
          QByteArray("<mvxml version=\"1.0\">"), QByteArray(1000, '<'), QByteArray(100000, '\0'),
          QByteArray("\xff\xfe<\0m\0v\0x\0m\0l\0", 12)}) {
        const ProjectReadResult read = xml(bytes);
        EXPECT_FALSE(read.project);
        EXPECT_EQ(read.title, QStringLiteral("Error Opening Project")) << bytes.left(60).constData();
        EXPECT_EQ(read.text, QStringLiteral("You can try recovering the project using the .pcm files"));
    }
}

TEST_F(ProjectHostile, EntitiesAndDocumentTypesAreRefused)
{
    QByteArray entities = "<!ENTITY a0 \"xxxxxxxxxx\">";
    for (int i = 1; i < 12; ++i) {
        const QByteArray before = "&a" + QByteArray::number(i - 1) + ';';
        entities += "<!ENTITY a" + QByteArray::number(i) + " \"" + before.repeated(10) + "\">";
    }
    const QByteArray tail = xmlHead + "<layer name=\"&a11;\"/></project></mvxml>";
    for (const QByteArray& bytes :
         {"<!DOCTYPE mvxml [" + entities + "]>" + tail,
          "<!DOCTYPE mvxml SYSTEM \"file:///etc/passwd\">" + tail,
          "<?xml version=\"1.0\"?>\n<!doctype mvxml>" + tail, "<![CDATA[" + tail, "<!-->" + tail}) {
        EXPECT_EQ(xml(bytes).title, QStringLiteral("Error Opening Project")) << bytes.left(40).constData();
    }
    // Without a definition the name is only damage.
    EXPECT_FALSE(xml(tail).project);
    EXPECT_TRUE(xml("<!-- - -- -><&a; -->" + xmlHead + "<layer/></project></mvxml>").project == nullptr);
    EXPECT_TRUE(xml("<!-- a > remark -->" + xmlHead + "<layer/></project></mvxml>").project);
}

TEST_F(ProjectHostile, TagsThatCostTimeAreRefusedBeforeTheyAreParsed)
{
    QByteArray attributes;
    for (int i = 0; i < 100000; ++i)
        attributes += " a" + QByteArray::number(i) + "=\"\"";
    const QByteArray end = "</project></mvxml>";
    for (const QByteArray& bytes :
         {xmlHead + "<layer" + attributes + "/>" + end,
          xmlHead + "<layer " + QByteArray(300000, 'x') + "/>" + end,
          xmlHead + QByteArray("<a>").repeated(200000) + end, xmlHead + QByteArray(1 << 20, 'x') + end,
          xmlHead + "<!--" + QByteArray(1 << 20, 'x') + "-->" + end,
          xmlHead + QByteArray("<a/>").repeated(2100000) + end, xmlHead + QByteArray(65 << 20, ' ') + end,
          xmlHead + "<layer name=\"" + QByteArray(20 << 20, 'x') + "\"/>" + end}) {
        const ProjectReadResult read = xml(bytes);
        EXPECT_FALSE(read.project);
        EXPECT_EQ(read.title, QStringLiteral("Error Opening Project"));
    }
    EXPECT_TRUE(xml(xmlHead + "<layer name=\"" + QByteArray(400000, 'x') + "\"/>" + end).project);
    EXPECT_FALSE(xml("<?xml version=\"1.0\" encoding=\"UTF-7\"?>" + xmlHead + "<layer/>" + end).project);
}

class HostilePaths : public ProjectHostile, public testing::WithParamInterface<SampleFiles>
{
};

TEST_P(HostilePaths, PathsThatLeadElsewhereGiveEmptyLayersAndTouchNothing)
{
    const QString home = GetParam() == SampleFiles::Copy ? m_folder : modeltest::sessionFolder();
    const QString outside = testsupport::makeFolder(QStringLiteral("outside"));
    const auto local = [](const QString& path) { return path.toLocal8Bit(); };
    const QString victim = outside + QStringLiteral("/layer(a1).pcm");
    writeFile(victim, QByteArray(4096, 'v'));
    QDir().mkdir(home + "/layer(b0).pcm");
    ASSERT_EQ(mkfifo(local(home + "/layer(b1).pcm"), 0600), 0);
    ASSERT_TRUE(QFile::link(victim, home + "/layer(b2).pcm"));
    ASSERT_TRUE(QFile::link(outside, home + "/way"));
    ASSERT_TRUE(QFile::link(home + "/layer(b4).pcm", home + "/layer(b4).pcm")); // a circle
    ASSERT_TRUE(QFile::link(QStringLiteral("/dev/zero"), home + "/layer(b5).pcm"));
    const QStringList before = stateOf(outside) + stateOf(home);
    const QStringList paths{victim,
                            QDir(home).relativeFilePath(victim),
                            QStringLiteral("/dev/zero"),
                            QStringLiteral("/dev/stdin"),
                            QStringLiteral("/etc/passwd"),
                            QStringLiteral("layer(b0).pcm"),
                            QStringLiteral("layer(b1).pcm"),
                            QStringLiteral("layer(b2).pcm"),
                            QStringLiteral("layer(b4).pcm"),
                            QStringLiteral("layer(b5).pcm"),
                            QStringLiteral("way/layer(a1).pcm"),
                            QStringLiteral("."),
                            QStringLiteral(".."),
                            QStringLiteral("/")};
    for (const QString& path : paths) {
        SCOPED_TRACE(path.toStdString());
        testsupport::expectWarning(QStringLiteral("sample file cannot be used"));
        ProjectReadResult read =
            xml(xmlHead + "<layer name=\"l\" path=\"" + path.toUtf8() + "\"/></project></mvxml>", GetParam());
        ASSERT_TRUE(read.project);
        EXPECT_TRUE(read.project->layers()->children(ChildrenAll).first()->isEmpty());
        EXPECT_EQ(read.damage.size(), 1);
        read.project.reset();
        EXPECT_EQ(joined(stateOf(outside) + stateOf(home)), joined(before));
    }
    for (const char* name : {"layer(b1).pcm", "layer(b2).pcm", "way", "layer(b4).pcm", "layer(b5).pcm"})
        EXPECT_TRUE(QFile::remove(home + '/' + name)) << name;
    QDir().rmdir(home + "/layer(b0).pcm");
}

INSTANTIATE_TEST_SUITE_P(BothWays, HostilePaths, testing::Values(SampleFiles::Copy, SampleFiles::Reference));

TEST_F(ProjectHostile, AMissingSampleFileGivesAnEmptyLayerAndNoWords)
{
    for (const SampleFiles samples : {SampleFiles::Copy, SampleFiles::Reference}) {
        testsupport::expectWarning(QStringLiteral("layer(12).pcm"));
        const ProjectReadResult read =
            xml(xmlHead + "<layer start=\"5\" path=\"layer(12).pcm\"/></project></mvxml>", samples);
        ASSERT_TRUE(read.project);
        EXPECT_EQ(read.damage, QStringList());
        EXPECT_TRUE(read.project->layers()->children(ChildrenAll).first()->isEmpty());
    }
}

// A session file is written to and deleted by its layer; nothing else in the folder may be.
TEST_F(ProjectHostile, AFileOfAnotherNameInTheSessionFolderIsCopiedAndStays)
{
    const QString path = modeltest::sessionFolder() + QStringLiteral("/letter.pcm");
    writeFile(path, RecordMaker::floats({1, 2, 3}));
    {
        ProjectReadResult read =
            xml(xmlHead + "<layer path=\"letter.pcm\"/></project></mvxml>", SampleFiles::Reference);
        ASSERT_TRUE(read.project);
        EXPECT_EQ(modeltest::samplesOf(*read.project->layers(), {0, 3}), (std::vector<float>{1, 2, 3}));
        const float other = 9;
        read.project->layers()->children(ChildrenAll).first()->write(&other, {0, 1}, -1, true);
    }
    EXPECT_EQ(contentOf(path), RecordMaker::floats({1, 2, 3}));
    QFile::remove(path);
}

TEST_F(ProjectHostile, TwoLayersCannotOwnOneFile)
{
    const QString path = modeltest::sessionFolder() + QStringLiteral("/layer(abc).pcm");
    writeFile(path, RecordMaker::floats({1, 2, 3}));
    testsupport::expectWarning(QStringLiteral("layer(abc).pcm"));
    ProjectReadResult read =
        xml(xmlHead + "<layer path=\"layer(abc).pcm\"/><layer path=\"layer(abc).pcm\"/></project></mvxml>",
            SampleFiles::Reference);
    ASSERT_TRUE(read.project);
    EXPECT_EQ(read.damage.size(), 1);
    EXPECT_EQ(modeltest::samplesOf(*read.project->layers(), {0, 3}), (std::vector<float>{1, 2, 3}));
}

} // namespace
