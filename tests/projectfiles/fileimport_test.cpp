// The import flow: what it shows, what it leaves, and what it never leaves.
#include "projectfiles/fileimport.h"

#include "addons/fileplugin.h"
#include "model/modeltest.h"
#include "projectfiles/boxes.h"
#include "projectfiles/fileformats.h"
#include "support/testsupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <stdexcept>

#include <sys/stat.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>

namespace {

const QString unsupported =
    QStringLiteral("Unsupported Format|The file you selected could not be read (unsupported format).");
const QString noData = QStringLiteral("Error Reading File|The file you selected contains no data.");
const QString unreadable = QStringLiteral("Error Reading File|The file you selected could not be read.");

// A plug-in of the suffix "fake" that does what the test says.
class ScriptedPlugin : public IFilePlugin
{
public:
    using Script = std::function<bool(IImportSink&)>;
    explicit ScriptedPlugin(Script s) : script(std::move(s)) {}
    bool init(const QString&, QWidget*) override { return true; }
    QString description() const override { return QStringLiteral("scripted"); }
    QStringList importFilters() const override { return {QStringLiteral("Fake (*.fake *.FAK)")}; }
    QStringList exportFilters() const override { return {}; }
    bool importFile(const QString&, IImportSink& sink) override
    {
        ++calls;
        return script(sink);
    }
    bool exportFile(const QString&, const QString&, IExportSource&) override { return false; }

    Script script;
    int calls = 0;
};

ImportInfo info(int channels = 1, double rate = 8000)
{
    ImportInfo i;
    i.format = audioFormat(rate, channels);
    return i;
}

class FileImportTest : public testing::Test
{
protected:
    QString file(const char* name, const QByteArray& bytes)
    {
        const QString path = folder + QLatin1Char('/') + QString::fromLatin1(name);
        writeAll(path, bytes);
        return path;
    }
    QString waveFile(const char* name, int channels, int64_t frames)
    {
        MemorySource source = silence(44100, channels, frames);
        source.data = noise(frames * channels);
        const QString path = folder + QLatin1Char('/') + QString::fromLatin1(name);
        EXPECT_TRUE(ffmpegPlugin().exportFile(path, QStringLiteral("Microsoft WAV (*.wav)"), source));
        return path;
    }
    bool run(const QString& path, const FileImport::Callbacks& callbacks = {})
    {
        return FileImport(plugins, nullptr).run(path, start, result, callbacks);
    }
    // Exactly this box, and nothing left behind.
    void expectRefusal(const QString& path, const QString& words, const char* cause = "")
    {
        EXPECT_FALSE(run(path));
        EXPECT_EQ(boxes.words(), QStringList{words});
        ASSERT_FALSE(boxes.list.isEmpty());
        EXPECT_EQ(boxes.list[0].icon, QMessageBox::Critical);
        EXPECT_TRUE(boxes.list[0].informative.contains(path)) << boxes.list[0].informative.toStdString();
        EXPECT_TRUE(boxes.list[0].informative.contains(QLatin1String(cause)))
            << boxes.list[0].informative.toStdString();
        EXPECT_EQ(result.layer, nullptr);
        EXPECT_TRUE(modeltest::sessionFiles().isEmpty());
        boxes.list.clear();
    }

    QString folder = testsupport::makeFolder();
    QList<IFilePlugin*> plugins{&ffmpegPlugin()};
    ImportedFile result;
    int64_t start = 0;
    Boxes boxes;
};

} // namespace

TEST_F(FileImportTest, ALayerHoldsEverySampleAndTheNameOfTheFile)
{
    const QString path = waveFile("a song.take 2.wav", 2, 300000);
    MemorySink expected;
    ASSERT_TRUE(ffmpegPlugin().importFile(path, expected));
    start = 1234;
    ASSERT_TRUE(run(path));
    ASSERT_NE(result.layer, nullptr);
    EXPECT_EQ(result.layer->name(), QStringLiteral("a song.take 2"));
    EXPECT_EQ(result.layer->format(), expected.info.format);
    EXPECT_EQ(result.layer->dataRange(), (Range{1234, 300000}));
    EXPECT_EQ(modeltest::dataOf(*result.layer), expected.data);
    EXPECT_EQ(result.bits, 32);
    EXPECT_TRUE(result.isFloat);
    EXPECT_TRUE(boxes.list.isEmpty());
    // The file is as long as the data and no longer.
    EXPECT_EQ(QFileInfo(result.layer->filePath()).size(), 300000 * 8);
    result = {};
    EXPECT_TRUE(modeltest::sessionFiles().isEmpty());
}

TEST_F(FileImportTest, EveryAudioRecordingOpensWithoutABox)
{
    if (testsupport::recordingsFolder().isEmpty())
        GTEST_SKIP() << "MORVANE_RECORDINGS names no folder";
    int opened = 0;
    for (const QString& path : testsupport::recordings()) {
        if (fileformats::importers(plugins, path).isEmpty())
            continue;
        ++opened;
        EXPECT_TRUE(run(path)) << path.toStdString();
        EXPECT_FALSE(result.layer->isEmpty());
    }
    EXPECT_GE(opened, 20);
    EXPECT_TRUE(boxes.list.isEmpty()) << boxes.words().join(QLatin1Char('\n')).toStdString();
}

TEST_F(FileImportTest, TheGrowingLayerIsToldFromTheFormatOn)
{
    const QString path = waveFile("x.wav", 2, 3000000);
    QStringList order;
    int64_t last = 0;
    FileImport::Callbacks callbacks;
    callbacks.started = [&](const LayerPtr& layer) {
        order << QStringLiteral("started");
        EXPECT_TRUE(layer->isEmpty());
        EXPECT_EQ(layer->format().channels, 2);
    };
    callbacks.grown = [&](const LayerPtr& layer) {
        order << QStringLiteral("grown");
        EXPECT_GE(layer->range().length, last);
        last = layer->range().length;
    };
    callbacks.progress = [&](int64_t done, int64_t total) {
        EXPECT_LE(done, total);
        return true;
    };
    ASSERT_TRUE(run(path, callbacks));
    EXPECT_EQ(order.value(0), QStringLiteral("started"));
    EXPECT_EQ(order.count(QStringLiteral("started")), 1);
    EXPECT_EQ(order.last(), QStringLiteral("grown"));
    EXPECT_EQ(last, 3000000);
}

TEST_F(FileImportTest, CancelLeavesNothingAndSaysNothing)
{
    const QString path = waveFile("x.wav", 2, 3000000);
    FileImport::Callbacks callbacks;
    callbacks.progress = [](int64_t done, int64_t total) { return done < total / 2; };
    EXPECT_FALSE(run(path, callbacks));
    EXPECT_EQ(result.layer, nullptr);
    EXPECT_TRUE(boxes.list.isEmpty());
    EXPECT_TRUE(modeltest::sessionFiles().isEmpty());
}

TEST_F(FileImportTest, BadInputIsAnsweredByTheBoxOfItsKind)
{
    expectRefusal(folder + QStringLiteral("/none.wav"), unreadable, "no such file");
    QDir().mkpath(folder + QStringLiteral("/folder.wav"));
    expectRefusal(folder + QStringLiteral("/folder.wav"), unreadable, "folder");
    const QString fifo = folder + QStringLiteral("/pipe.wav");
    ASSERT_EQ(mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);
    expectRefusal(fifo, unreadable, "regular");
    expectRefusal(file("empty.wav", {}), noData);
    expectRefusal(file("text.flac", "This is a text, and no sound at all.\n"), unsupported);
    expectRefusal(file("cut.wav", QByteArray("RIFF\x24\0\0\0WAVEfmt \x10\0\0\0\1\0\1", 23)), unsupported);
    expectRefusal(file("text.txt", "text"),
                  QStringLiteral("Unsupported Extension|The file you selected is not supported."));
    expectRefusal(file("nosuffix", "text"),
                  QStringLiteral("Unsupported Extension|The file you selected is not supported."));
}

TEST_F(FileImportTest, RateZeroIsAnInvalidSamplingFormat)
{
    expectRefusal(
        file("x.wav", QByteArray("RIFF\x2c\0\0\0WAVEfmt \x10\0\0\0\1\0\1\0\0\0\0\0\0\0\0\0\2\0\x10\0"
                                 "data\4\0\0\0\1\2\3\4",
                                 48)),
        QStringLiteral("Error Reading File|The file you selected could not be properly read "
                       "(invalid sampling format)."));
}

TEST_F(FileImportTest, AHeadWithoutSamplesContainsNoData)
{
    expectRefusal(
        file("x.wav", QByteArray("RIFF\x24\0\0\0WAVEfmt \x10\0\0\0\1\0\1\0\x40\x1f\0\0\x80\x3e\0\0\2\0\x10\0"
                                 "data\0\0\0\0",
                                 44)),
        noData);
    ScriptedPlugin nothing([](IImportSink& sink) { return sink.begin(info()); });
    plugins = {&nothing};
    expectRefusal(file("x.fake", "x"), noData);
}

TEST_F(FileImportTest, ADiskWithoutRoomIsTellingSoAndLeavesNoFile)
{
    const QString path = waveFile("x.wav", 2, 2000000);
    const modeltest::DiskLimit limit(4 << 20);
    EXPECT_FALSE(run(path));
    EXPECT_EQ(boxes.words(),
              QStringList{QStringLiteral("Error Reading File|The samples of the file could not be stored.")});
    EXPECT_GT(boxes.list.value(0).informative.size(), path.size() + 2);
    EXPECT_EQ(result.layer, nullptr);
    EXPECT_TRUE(modeltest::sessionFiles().isEmpty());
}

TEST_F(FileImportTest, ADamagedFileOpensAndIsToldAsDamaged)
{
    QFile whole(waveFile("x.wav", 1, 100000));
    ASSERT_TRUE(whole.open(QFile::ReadOnly));
    const QString path = file("cut.wav", whole.read(200046));
    ASSERT_TRUE(run(path));
    EXPECT_EQ(result.layer->dataRange().length, 50000);
    EXPECT_EQ(boxes.words(),
              QStringList{QStringLiteral("Error Reading File|The file you selected is damaged.")});
    EXPECT_EQ(boxes.list.value(0).icon, QMessageBox::Warning);
    EXPECT_TRUE(boxes.list.value(0).informative.contains(QStringLiteral("50000")));
}

TEST_F(FileImportTest, SuffixesAreComparedWithoutCase)
{
    const QString path = waveFile("LOUD.WAV", 1, 100);
    EXPECT_TRUE(run(path));
    EXPECT_EQ(result.layer->dataRange().length, 100);
}

TEST_F(FileImportTest, AnotherPluginOfTheSuffixGetsItsTurnOnlyWhenTheFirstDoesNotKnowTheContents)
{
    ScriptedPlugin stranger([](IImportSink& sink) {
        sink.message(QStringLiteral("not mine"));
        return false;
    });
    ScriptedPlugin reader([](IImportSink& sink) {
        const float samples[] = {1, 2, 3};
        return sink.begin(info()) && sink.samples(samples, 3);
    });
    plugins = {&stranger, &reader, &reader};
    ASSERT_TRUE(run(file("x.fak", "x")));
    EXPECT_EQ(modeltest::dataOf(*result.layer), (std::vector<float>{1, 2, 3}));
    EXPECT_EQ(stranger.calls, 1);
    EXPECT_EQ(reader.calls, 1);
    EXPECT_TRUE(boxes.list.isEmpty());
    result = {};
    plugins = {&stranger};
    expectRefusal(file("x.fake", "x"), unsupported, "not mine");
}

TEST_F(FileImportTest, APluginThatThrowsIsAFailureAndNamed)
{
    ScriptedPlugin thrower([](IImportSink& sink) -> bool {
        const float sample = 1;
        sink.begin(info());
        sink.samples(&sample, 1);
        throw std::runtime_error("fell over");
    });
    plugins = {&thrower};
    testsupport::expectWarning(QStringLiteral("plug-in scripted threw"));
    expectRefusal(file("x.fake", "x"), unreadable, "fell over");
}

TEST_F(FileImportTest, APluginThatLiesIsNotBelieved)
{
    // A format that makes no sense, and samples in spite of the refusal.
    ScriptedPlugin lying([](IImportSink& sink) {
        const float sample = 1;
        EXPECT_FALSE(sink.begin(info(65)));
        EXPECT_FALSE(sink.samples(&sample, 1));
        return true;
    });
    plugins = {&lying};
    const QString invalid = QStringLiteral(
        "Error Reading File|The file you selected could not be properly read (invalid sampling format).");
    expectRefusal(file("x.fake", "x"), invalid);
    lying.script = [](IImportSink& sink) { return sink.begin(info(1, NAN)); };
    expectRefusal(file("x.fake", "x"), invalid);
    // A length beyond all disks is only a hint; a second head is refused.
    lying.script = [](IImportSink& sink) {
        ImportInfo huge = info();
        huge.expectedFrames = int64_t(1) << 60;
        const float sample = 1;
        EXPECT_TRUE(sink.begin(huge));
        EXPECT_TRUE(sink.samples(&sample, 1));
        EXPECT_FALSE(sink.begin(huge));
        return true;
    };
    EXPECT_TRUE(run(file("x.fake", "x")));
    EXPECT_EQ(result.layer->dataRange().length, 1);
    // Samples before any head.
    lying.script = [](IImportSink& sink) {
        const float sample = 1;
        return sink.samples(&sample, 1);
    };
    result = {};
    expectRefusal(file("x.fake", "x"), unsupported);
}

TEST_F(FileImportTest, MarkersAndTagsComeWithTheLayer)
{
    ScriptedPlugin reader([](IImportSink& sink) {
        const float sample = 1;
        sink.begin(info());
        sink.samples(&sample, 1);
        sink.markers({{1, 2, 3, "m"}});
        sink.spectralMarkers({{1, 2, 3, 4, "s"}});
        sink.metaData({{QStringLiteral("INAM"), QStringLiteral("n")}});
        return true;
    });
    plugins = {&reader};
    ASSERT_TRUE(run(file("x.fake", "x")));
    EXPECT_EQ(result.markers, (MarkerList{{1, 2, 3, "m"}}));
    EXPECT_EQ(result.spectralMarkers.size(), 1);
    EXPECT_EQ(result.metaData.value(QStringLiteral("INAM")), QStringLiteral("n"));
}

TEST(FileFormats, FiltersAreTakenApartAndPutTogether)
{
    EXPECT_EQ(fileformats::suffixes(QStringLiteral("Name (of a kind) (*.WAV *.x *.)")),
              (QStringList{QStringLiteral("wav"), QStringLiteral("x")}));
    EXPECT_TRUE(fileformats::suffixes(QStringLiteral("no brackets")).isEmpty());
    EXPECT_TRUE(fileformats::suffixes(QStringLiteral(") (")).isEmpty());
    ScriptedPlugin plugin([](IImportSink&) { return false; });
    QCoreApplication* application = QCoreApplication::instance();
    application->setProperty("name", QStringLiteral("Test"));
    application->setProperty("fileextension", QStringLiteral("mvp"));
    application->setProperty("backupextension", QStringLiteral("mvx"));
    EXPECT_EQ(fileformats::openFilters({&plugin}),
              (QStringList{QStringLiteral("All Supported Formats (*.mvp *.mvx *.fake *.fak)"),
                           QStringLiteral("Test Project (*.mvp *.mvx)"),
                           QStringLiteral("Fake (*.fake *.FAK)")}));
    const QStringList filters =
        fileformats::exportFilters({&ffmpegPlugin()}, QStringLiteral("FLAC (*.flac)"));
    EXPECT_EQ(filters.value(0), QStringLiteral("FLAC (*.flac)"));
    EXPECT_EQ(filters.count(QStringLiteral("FLAC (*.flac)")), 1);
}
