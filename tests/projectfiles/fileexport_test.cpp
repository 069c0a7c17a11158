// The export flow: bits that come back, and old files that stay whole.
#include "projectfiles/fileexport.h"

#include "addons/fileplugin.h"
#include "model/modeltest.h"
#include "projectfiles/boxes.h"
#include "projectfiles/fileimport.h"
#include "support/testsupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <stdexcept>

#include <sys/stat.h>

#include <QDir>
#include <QFile>

namespace {

const QString notWritten = QStringLiteral("Error Writing File|The file you selected could not be written.");

// A plug-in of the suffix "fake" that does what the test says.
class ScriptedPlugin : public IFilePlugin
{
public:
    using Script = std::function<bool(const QString&, IExportSource&)>;
    explicit ScriptedPlugin(Script s) : script(std::move(s)) {}
    bool init(const QString&, QWidget*) override { return true; }
    QString description() const override { return QStringLiteral("scripted"); }
    QStringList importFilters() const override { return {}; }
    QStringList exportFilters() const override { return {QStringLiteral("Fake (*.fake)")}; }
    bool importFile(const QString&, IImportSink&) override { return false; }
    bool exportFile(const QString& path, const QString&, IExportSource& source) override
    {
        return script(path, source);
    }

    Script script;
};

class FileExportTest : public testing::Test
{
protected:
    void add(const std::vector<float>& samples, int channels, int64_t start = 0, float gain = 1)
    {
        const SamplingFormat format = audioFormat(44100, channels);
        const LayerPtr layer = modeltest::layerOf(format, samples, start);
        layer->setMultiplier(gain);
        if (!mix.layer)
            mix.layer = LayerGroup::create(format);
        ASSERT_TRUE(mix.layer->appendChildLayer(layer));
    }
    QString path(const char* name) const { return folder + QLatin1Char('/') + QString::fromLatin1(name); }
    bool run(const QString& target, const FileExport::ProgressCall& progress = {}, const QString& filter = {})
    {
        return FileExport(plugins, nullptr).run(target, filter, mix, progress);
    }
    MemorySink read(const QString& file)
    {
        MemorySink sink;
        EXPECT_TRUE(ffmpegPlugin().importFile(file, sink));
        return sink;
    }
    [[nodiscard]] QStringList files() const
    {
        return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    }

    QString folder = testsupport::makeFolder();
    QList<IFilePlugin*> plugins{&ffmpegPlugin()};
    ExportedMix mix;
    Boxes boxes;
};

} // namespace

TEST_F(FileExportTest, FloatWavInAndOutIsBitExactForAllNormalNumbers)
{
    std::vector<float> samples = noise(400000);
    for (size_t i = 0; i < 100000; ++i) { // every exponent of a normal number, both signs
        const uint32_t word = uint32_t((i * 2654435761u) & 0x807fffff) | uint32_t((i % 253 + 1) << 23);
        std::memcpy(&samples[i], &word, 4);
        ASSERT_TRUE(std::isnormal(samples[i]));
    }
    MemorySource source;
    source.samplingFormat = audioFormat(44100, 2);
    source.data = samples;
    ASSERT_TRUE(ffmpegPlugin().exportFile(path("in.wav"), QStringLiteral("Microsoft WAV (*.wav)"), source));
    ImportedFile file;
    ASSERT_TRUE(FileImport(plugins, nullptr).run(path("in.wav"), 0, file));
    const LayerGroupPtr group = LayerGroup::create(file.layer->format());
    ASSERT_TRUE(group->appendChildLayer(file.layer));
    mix.layer = group;
    ASSERT_TRUE(run(path("out.wav"), {}, QStringLiteral("Microsoft WAV (*.wav)")));
    const MemorySink sink = read(path("out.wav"));
    ASSERT_EQ(sink.data.size(), samples.size());
    EXPECT_EQ(std::memcmp(sink.data.data(), samples.data(), samples.size() * 4), 0);
    EXPECT_EQ(sink.info.format, file.layer->format());
}

TEST_F(FileExportTest, IntegerRecordingsComeBackBitExactInFloats)
{
    if (testsupport::recordingsFolder().isEmpty())
        GTEST_SKIP() << "MORVANE_RECORDINGS names no folder";
    for (const char* name :
         {"bird-spinetail.wav", "music-hires-96k-24bit-3s.wav", "surround-5.1-ext-4s.wav"}) {
        ImportedFile file;
        const QString recording = testsupport::recordingsFolder() + QLatin1Char('/') + QLatin1String(name);
        ASSERT_TRUE(FileImport(plugins, nullptr).run(recording, 0, file));
        const LayerGroupPtr group = LayerGroup::create(file.layer->format());
        ASSERT_TRUE(group->appendChildLayer(file.layer));
        mix = {group, file.markers, file.metaData};
        ASSERT_TRUE(run(path("out.wav")));
        EXPECT_EQ(read(path("out.wav")).data, read(recording).data) << name;
    }
}

TEST_F(FileExportTest, TheMixIsWrittenFromTimeZero)
{
    add({1, 2, 3}, 1, 2);
    add({0.5f, 0.5f, 0.5f, 0.5f}, 1, 3, 2);
    mix.markers = {{1, 3, 0, "m"}};
    mix.metaData = {{QStringLiteral("INAM"), QStringLiteral("Name")}};
    ASSERT_TRUE(run(path("x.wav")));
    const MemorySink sink = read(path("x.wav"));
    EXPECT_EQ(sink.data, (std::vector<float>{0, 0, 1, 3, 4, 1, 1}));
    EXPECT_EQ(sink.markerList, mix.markers);
    EXPECT_EQ(sink.tags, mix.metaData);
    EXPECT_EQ(files(), QStringList{QStringLiteral("x.wav")});
}

TEST_F(FileExportTest, AFilterOfTheSuffixCountsAndOneOfAnotherDoesNot)
{
    add({0.5f, 0.25f}, 1);
    ASSERT_TRUE(run(path("x.wav"), {}, QStringLiteral("Microsoft WAV 16-bit (*.wav)")));
    EXPECT_EQ(read(path("x.wav")).info.bits, 16);
    ASSERT_TRUE(run(path("y.FLAC"), {}, QStringLiteral("Microsoft WAV 16-bit (*.wav)")));
    EXPECT_EQ(readAll(path("y.FLAC")).left(4), QByteArray("fLaC"));
}

TEST_F(FileExportTest, NothingToExportAndUnknownSuffixesAreToldBeforeAnythingIsTouched)
{
    EXPECT_FALSE(run(path("x.wav")));
    mix.layer = LayerGroup::create(audioFormat(44100, 1));
    EXPECT_FALSE(run(path("x.wav")));
    EXPECT_EQ(boxes.words(), (QStringList{QStringLiteral("Nothing to export|No data to export."),
                                          QStringLiteral("Nothing to export|No data to export.")}));
    boxes.list.clear();
    add({1}, 1);
    EXPECT_FALSE(run(path("x.txt"), {}, QStringLiteral("Microsoft WAV (*.wav)")));
    EXPECT_FALSE(run(path("nosuffix")));
    EXPECT_EQ(boxes.words().value(0),
              QStringLiteral("Unsupported Extension|The export format is not supported."));
    EXPECT_EQ(boxes.list.size(), 2);
    EXPECT_TRUE(files().isEmpty());
}

TEST_F(FileExportTest, AFailureOrCancelLeavesTheOldFileWholeAndNothingBesideIt)
{
    add(noise(400000), 1);
    writeAll(path("x.wav"), "old");
    writeAll(path("x.fake"), "old");
    // Cancelled half way.
    EXPECT_FALSE(run(path("x.wav"), [](int64_t done, int64_t) { return done < 200000; }));
    EXPECT_TRUE(boxes.list.isEmpty());
    // A disk without room.
    {
        const modeltest::DiskLimit limit(100000);
        EXPECT_FALSE(run(path("x.wav")));
    }
    // Plug-ins that fail and throw after writing something.
    ScriptedPlugin failing([](const QString& file, IExportSource& source) {
        writeAll(file, "half");
        source.message(QStringLiteral("the cause"));
        return false;
    });
    ScriptedPlugin throwing([](const QString& file, IExportSource&) -> bool {
        writeAll(file, "half");
        throw std::runtime_error("fell over");
    });
    plugins = {&failing};
    EXPECT_FALSE(run(path("x.fake")));
    plugins = {&throwing};
    testsupport::expectWarning(QStringLiteral("plug-in scripted threw"));
    EXPECT_FALSE(run(path("x.fake")));
    EXPECT_EQ(boxes.words(), (QStringList{notWritten, notWritten, notWritten}));
    EXPECT_TRUE(boxes.list.value(1).informative.contains(QStringLiteral("x.fake: the cause")));
    EXPECT_TRUE(boxes.list.value(2).informative.contains(QStringLiteral("fell over")));
    EXPECT_EQ(readAll(path("x.wav")), QByteArray("old"));
    EXPECT_EQ(readAll(path("x.fake")), QByteArray("old"));
    EXPECT_EQ(files(), (QStringList{QStringLiteral("x.fake"), QStringLiteral("x.wav")}));
}

TEST_F(FileExportTest, StrangeTargetsAreRefused)
{
    add({1}, 1);
    QDir().mkpath(path("folder.wav"));
    ASSERT_EQ(mkfifo(QFile::encodeName(path("pipe.wav")).constData(), 0600), 0);
    ASSERT_TRUE(QFile::link(path("circle.wav"), path("circle.wav")));
    for (const QString& target :
         {path("folder.wav"), path("pipe.wav"), path("circle.wav"), path("none/x.wav")}) {
        EXPECT_FALSE(run(target)) << target.toStdString();
        EXPECT_EQ(boxes.words(), QStringList{notWritten});
        boxes.list.clear();
    }
}

TEST_F(FileExportTest, ALinkKeepsAndItsTargetIsReplacedWithItsPermissions)
{
    add({0.5f}, 1);
    const QString target = testsupport::makeFolder() + QStringLiteral("/real.wav");
    writeAll(target, "old");
    ASSERT_TRUE(QFile::setPermissions(target, QFile::ReadOwner | QFile::WriteOwner));
    ASSERT_TRUE(QFile::link(target, path("x.wav")));
    ASSERT_TRUE(run(path("x.wav")));
    EXPECT_TRUE(QFileInfo(path("x.wav")).isSymLink());
    EXPECT_EQ(read(target).data, std::vector<float>{0.5f});
    struct stat status;
    ASSERT_EQ(stat(QFile::encodeName(target).constData(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600u);
}
