#include "projectfiles/projecttest.h"

#include "model/modeltest.h"
#include "projectfiles/projectbinary.h"
#include "projectfiles/projectdefaults.h"
#include "projectfiles/projectxml.h"
#include "support/testsupport.h"

#include <gtest/gtest.h>

#include <cstring>

#include <QDateTime>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

namespace projecttest {
namespace {

class Maker
{
public:
    explicit Maker(uint32_t seed) : m_random(seed) {}

    int64_t integer(int64_t lowest, int64_t highest)
    {
        return std::uniform_int_distribution<int64_t>(lowest, highest)(m_random);
    }
    double real(double lowest, double highest)
    {
        return std::uniform_real_distribution<double>(lowest, highest)(m_random);
    }
    bool coin() { return integer(0, 1) == 1; }
    QString text(int longest);
    SamplingFormat format();
    LayerHeader header(int longestName = 40);
    std::vector<float> samples(int64_t count);
    void fillGroup(const LayerGroupPtr& group, int depth);
    void settings(Project& project);

private:
    LayerPtr layer(const SamplingFormat& format);
    std::mt19937 m_random;
};

QString Maker::text(int longest)
{
    // Latin, Greek, Han, signs of markup, of formatting and of other planes.
    static const QString signs = QStringLiteral("aZ9 äßéΩλ語音&<>\"'%1%n\t./\\{}🎵𝄞");
    const QVector<uint> points = signs.toUcs4();
    QVector<uint> chosen;
    for (int64_t i = integer(0, longest); i > 0; --i)
        chosen << points[int(integer(0, points.size() - 1))];
    return QString::fromUcs4(chosen.constData(), chosen.size());
}

SamplingFormat Maker::format()
{
    SamplingFormat format;
    format.sampleType = coin() ? SampleTypeReal : SampleTypeComplex;
    format.channels = int32_t(coin() ? integer(1, 3) : integer(1, 64));
    format.channelsType = int32_t(integer(0, 3));
    static const double rates[] = {44100, 360, 1.6e6, 96000.5, 1e13, 0.1, 2.4e9 + 1.0 / 3};
    format.sampleRate = rates[integer(0, 6)];
    for (int left = format.channels; left > 0;) {
        const uint64_t bit = 1ULL << integer(0, 63);
        left -= !(format.channelsMask & bit);
        format.channelsMask |= bit;
    }
    return format;
}

LayerHeader Maker::header(int longestName)
{
    return {text(longestName),
            coin(),
            coin(),
            coin() ? 1 : -1,
            float(real(0, 4)),
            uint32_t(integer(0, 0xffffffff))};
}

// Any bits are a sample: whatever floats there are come back as they were.
std::vector<float> Maker::samples(int64_t count)
{
    std::vector<float> values(static_cast<std::size_t>(count));
    for (float& value : values) {
        const auto bits = uint32_t(m_random());
        std::memcpy(&value, &bits, sizeof value);
    }
    return values;
}

LayerPtr Maker::layer(const SamplingFormat& format)
{
    const LayerPtr layer = Layer::create(format, header(), integer(0, 1) * integer(0, 1LL << 40), false);
    if (integer(0, 4) > 0) {
        const int64_t frames = integer(1, 5000);
        const std::vector<float> values = samples(frames * format.frameBytes() / 4);
        EXPECT_TRUE(layer->append(values.data(), frames));
        EXPECT_TRUE(layer->finishAppend());
    }
    layer->startBackup();
    return layer;
}

void Maker::fillGroup(const LayerGroupPtr& group, int depth)
{
    for (int64_t i = integer(depth == 0 ? 1 : 0, 4); i > 0; --i) {
        if (depth < 4 && integer(0, 2) == 0) {
            const LayerGroupPtr inner = LayerGroup::create(group->format(), header());
            inner->setOpen(coin());
            fillGroup(inner, depth + 1);
            EXPECT_TRUE(group->appendChild(inner));
        } else {
            EXPECT_TRUE(group->appendChild(layer(group->format())));
        }
    }
}

void Maker::settings(Project& project)
{
    const double rate = project.format().sampleRate;
    project.setDisplayArea({real(-10, 1e6), -rate / 3, real(1, 1e7), rate / 1.7});
    DisplaySettings& display = project.display;
    display.lowDb = float(real(-200, -60));
    display.highDb = float(real(-50, 20));
    display.minWaveform = real(-2, -0.01);
    display.maxWaveform = real(0.01, 2);
    display.displacementX = float(real(-100, 100));
    display.displacementY = float(real(-100, 100));
    display.composite = coin();
    display.colormap = int32_t(integer(0, 9));
    project.transform.frameSize = 32 << integer(0, 8);
    project.units.bpm = float(real(20, 400));
    project.units.bar = float(integer(1, 12));
    project.units.beat = float(integer(1, 16));
    project.units.frameRate = 29.97f;
    project.units.timeUnit = TimeUnit(integer(0, 5));
    project.units.powerUnit = PowerUnit(integer(0, 2));
    project.units.freqUnit = FreqUnit(integer(0, 4));
    project.units.freqScale = FreqScale(integer(0, 4));
    project.setPosition(integer(0, 1LL << 50));
    MarkerList markers;
    for (int64_t i = integer(0, 300); i > 0; --i)
        markers << Marker{int32_t(integer(INT32_MIN, INT32_MAX)), integer(0, 1LL << 45),
                          integer(0, 1) * integer(0, 1LL << 45), text(80).toStdString()};
    project.setMarkerList(markers);
    SpectralMarkerList spectral;
    for (int64_t i = integer(0, 100); i > 0; --i)
        spectral << SpectralMarker{real(0, 1e9), real(-1e6, 1e6), real(0, 1e5), real(0, 1e5),
                                   text(80).toStdString()};
    project.setSpectralMarkerList(spectral);
    for (int64_t i = integer(0, 60); i > 0; --i)
        project.metadata.insert(text(8), text(200));
}

} // namespace

ProjectPtr randomProject(uint32_t seed)
{
    Maker maker(seed);
    const ProjectPtr project = makeProject(maker.format());
    maker.fillGroup(project->layers(), 0);
    // One name as long as nobody writes it by hand.
    project->layers()->children(ChildrenDirect).first()->setName(maker.text(20000).toStdString());
    maker.settings(*project);
    return project;
}

ProjectPtr smallProject()
{
    const ProjectPtr project = makeProject(modeltest::realFormat(2, 44100));
    const LayerPtr layer = modeltest::layerOf(project->format(), modeltest::ramp(12), 7);
    layer->setName("tön");
    const LayerGroupPtr group = LayerGroup::create(project->format(), {QStringLiteral("g")});
    group->appendChild(modeltest::layerOf(project->format(), modeltest::ramp(4)));
    project->layers()->appendChild(layer);
    project->layers()->appendChild(group);
    project->setDisplayArea(project->wholeArea());
    project->setMarkerList({{1, 2, 3, "m"}});
    project->setSpectralMarkerList({{1, 2, 3, 4, "s"}});
    project->metadata.insert(QStringLiteral("INAM"), QStringLiteral("n"));
    return project;
}

ProjectPtr nestedProject(int depth)
{
    const ProjectPtr project = makeProject(modeltest::realFormat());
    LayerGroupPtr group = project->layers();
    for (int i = 0; i < depth; ++i) {
        const LayerGroupPtr inner = LayerGroup::create(project->format(), {QString::number(i)});
        group->appendChild(inner);
        group = inner;
    }
    group->appendChild(modeltest::layerOf(project->format(), {1, 2, 3}));
    return project;
}

// --- comparing -------------------------------------------------------------------------------------

namespace {

void expectSameSamples(const Layer& saved, const Layer& read)
{
    ASSERT_EQ(read.dataRange(), saved.dataRange());
    const std::size_t count = std::size_t(saved.dataRange().length * saved.format().frameBytes() / 4);
    std::vector<float> a(count), b(count);
    saved.readData(a.data(), saved.dataRange());
    read.readData(b.data(), read.dataRange());
    EXPECT_TRUE(count == 0 || std::memcmp(a.data(), b.data(), count * 4) == 0); // also -0 and NaN
}

void expectSameNode(const ILayer& saved, const ILayer& read)
{
    EXPECT_EQ(read.type(), saved.type());
    EXPECT_EQ(read.name(), saved.name());
    EXPECT_EQ(read.enabled(), saved.enabled());
    EXPECT_EQ(read.solo(), saved.solo());
    EXPECT_EQ(read.polarity(), saved.polarity());
    EXPECT_EQ(read.multiplier(), saved.multiplier());
    EXPECT_EQ(read.color(), saved.color());
    EXPECT_EQ(read.format(), saved.format());
    EXPECT_EQ(read.isOpen(), saved.isOpen());
    EXPECT_TRUE(read.hasBackup());
    EXPECT_EQ(read.children(ChildrenDirect).size(), saved.children(ChildrenDirect).size());
    if (saved.type() == LayerTypeLayer)
        expectSameSamples(dynamic_cast<const Layer&>(saved), dynamic_cast<const Layer&>(read));
}

} // namespace

void expectSame(const Project& saved, const Project& read)
{
    EXPECT_EQ(read.format(), saved.format());
    const QList<ILayerPtr> before = saved.layers()->children(ChildrenAll);
    const QList<ILayerPtr> after = read.layers()->children(ChildrenAll);
    ASSERT_EQ(after.size(), before.size());
    for (int i = 0; i < before.size(); ++i)
        expectSameNode(*before[i], *after[i]);
    EXPECT_EQ(read.activeLayer(), read.layers()->children(ChildrenDirect).value(0));
    EXPECT_EQ(read.display.displayArea, saved.display.displayArea);
    EXPECT_EQ(read.display.lowDb, saved.display.lowDb);
    EXPECT_EQ(read.display.highDb, saved.display.highDb);
    EXPECT_EQ(read.display.minWaveform, saved.display.minWaveform);
    EXPECT_EQ(read.display.maxWaveform, saved.display.maxWaveform);
    EXPECT_EQ(read.display.displacementX, saved.display.displacementX);
    EXPECT_EQ(read.display.displacementY, saved.display.displacementY);
    EXPECT_EQ(read.display.composite, saved.display.composite);
    EXPECT_EQ(read.display.colormap, saved.display.colormap);
    EXPECT_EQ(read.transform.frameSize, saved.transform.frameSize);
    EXPECT_EQ(read.units.bpm, saved.units.bpm);
    EXPECT_EQ(read.units.bar, saved.units.bar);
    EXPECT_EQ(read.units.beat, saved.units.beat);
    EXPECT_EQ(read.units.frameRate, saved.units.bpm);
    EXPECT_EQ(read.units.timeUnit, saved.units.timeUnit);
    EXPECT_EQ(read.units.powerUnit, saved.units.powerUnit);
    EXPECT_EQ(read.units.freqUnit, saved.units.freqUnit);
    EXPECT_EQ(read.units.freqScale, saved.units.freqScale);
    EXPECT_EQ(read.position(), saved.position());
    EXPECT_EQ(read.metadata, saved.metadata);
    EXPECT_EQ(read.markerList(), saved.markerList());
    EXPECT_EQ(read.spectralMarkerList(), saved.spectralMarkerList());
}

// --- files -----------------------------------------------------------------------------------------

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    EXPECT_TRUE(file.open(QFile::ReadOnly)) << path.toStdString();
    return file.readAll();
}

void writeFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QFile::WriteOnly)) << path.toStdString();
    ASSERT_EQ(file.write(bytes), bytes.size());
}

QByteArray binaryOf(const Project& project)
{
    const QString path = testsupport::makeFolder() + QStringLiteral("/p.mvp");
    const SaveResult result = writeProjectBinary(project, path, {});
    EXPECT_TRUE(result.done) << result.words.toStdString();
    return contentOf(path);
}

void saveXml(const Project& project, const QString& path, SampleFiles samples)
{
    const SaveResult result = writeProjectXml(project, path, samples, {});
    EXPECT_TRUE(result.done) << result.words.toStdString();
}

QStringList stateOf(const QString& folder)
{
    QStringList list;
    QDirIterator it(folder, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QFileInfo info(it.next());
        list << QStringLiteral("%1 %2 %3")
                    .arg(info.filePath())
                    .arg(info.size())
                    .arg(info.lastModified().toMSecsSinceEpoch());
    }
    list.sort();
    return list;
}

} // namespace projecttest
