// Reading: real recordings against their published tables, every sample form against its formula, and
// time: what stands at a sample stays there through every format.
#include "fileplugin.h"
#include "support/testsupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include <QDir>
#include <QFileInfo>
#include <QtEndian>

namespace {

struct Row
{
    QString file;
    double rate;
    int channels;
    double seconds;
};

// The rows of a README table with the columns "file", "rate", "ch" and "s".
QList<Row> readTable(const QString& path)
{
    QList<Row> rows;
    QStringList names;
    for (const QByteArray& line : readAll(path).split('\n')) {
        if (!line.startsWith('|'))
            continue;
        QStringList cells;
        for (const QByteArray& cell : line.split('|'))
            cells << QString::fromUtf8(cell).trimmed().remove(QLatin1Char('`'));
        if (names.isEmpty())
            names = cells;
        const auto cell = [&](const char* name) { return cells.value(names.indexOf(QLatin1String(name))); };
        rows << Row{cell("file"), cell("rate").toDouble(), cell("ch").toInt(),
                    cell("s").section(QLatin1Char(' '), 0, 0).toDouble()};
    }
    return rows;
}

bool isAudio(const QString& file)
{
    static const QStringList suffixes{QStringLiteral("wav"), QStringLiteral("flac"), QStringLiteral("ogg"),
                                      QStringLiteral("mp3")};
    return suffixes.contains(QFileInfo(file).suffix());
}

void checkTable(const QString& folder, int atLeast)
{
    int checked = 0;
    for (const Row& row : readTable(folder + QStringLiteral("/README.md"))) {
        if (!isAudio(row.file))
            continue;
        SCOPED_TRACE(row.file.toStdString());
        ++checked;
        MemorySink sink;
        ASSERT_TRUE(ffmpegPlugin().importFile(folder + QLatin1Char('/') + row.file, sink));
        EXPECT_EQ(sink.info.format.sampleRate, row.rate);
        EXPECT_EQ(sink.info.format.channels, row.channels);
        EXPECT_EQ(sink.frames(), std::llround(row.seconds * row.rate));
        EXPECT_TRUE(sink.messages.isEmpty()) << sink.messages.join(QLatin1Char('\n')).toStdString();
    }
    EXPECT_GE(checked, atLeast);
}

// A smooth pulse, narrow enough to tell its place to the sample and wide enough for every codec.
std::vector<float> pulseAt(int64_t place, int64_t frames, double width)
{
    std::vector<float> out(static_cast<size_t>(frames));
    for (int64_t i = 0; i < frames; ++i) {
        const double x = double(i - place) / width;
        out[size_t(i)] = float(0.8 * std::exp(-0.5 * x * x) * std::cos(double(i - place) * 0.35));
    }
    return out;
}

// By how many samples `signal` lags behind `reference`, whose sound lies around `place`.
int64_t lagOf(const std::vector<float>& signal, const std::vector<float>& reference, int64_t place)
{
    constexpr int64_t reach = 3000, around = 400;
    int64_t best = reach + 1;
    double most = 0;
    for (int64_t lag = -reach; lag <= reach; ++lag) {
        double sum = 0;
        for (int64_t i = place - around; i < place + around; ++i) {
            const int64_t j = i + lag;
            if (i >= 0 && i < int64_t(reference.size()) && j >= 0 && j < int64_t(signal.size()))
                sum += double(reference[size_t(i)]) * double(signal[size_t(j)]);
        }
        if (sum > most) {
            most = sum;
            best = lag;
        }
    }
    return best;
}

QString makeWave(const QString& folder, const std::vector<float>& mono, double rate, const char* filter)
{
    MemorySource source;
    source.samplingFormat = audioFormat(rate, 1);
    source.data = mono;
    const QString path = folder + QStringLiteral("/source.wav");
    EXPECT_TRUE(ffmpegPlugin().exportFile(path, QString::fromLatin1(filter), source));
    return path;
}

QByteArray le(quint64 value, int bytes)
{
    QByteArray out;
    for (int i = 0; i < bytes; ++i)
        out += char(value >> (8 * i));
    return out;
}

// A mono WAV at 48 kHz, written by hand.
QByteArray wave(int tag, int bits, const QByteArray& data, quint32 rate = 48000, int channels = 1)
{
    const int align = channels * bits / 8;
    const QByteArray fmt = le(16, 4) + le(quint64(tag), 2) + le(quint64(channels), 2) + le(rate, 4) +
                           le(quint64(rate) * quint64(align), 4) + le(quint64(align), 2) +
                           le(quint64(bits), 2);
    return "RIFF" + le(quint64(4 + 4 + fmt.size() + 8 + data.size()), 4) + "WAVEfmt " + fmt + "data" +
           le(quint64(data.size()), 4) + data;
}

MemorySink importBytes(const QByteArray& bytes, const char* name = "x.wav")
{
    const QString path = testsupport::makeFolder() + QLatin1Char('/') + QString::fromLatin1(name);
    writeAll(path, bytes);
    MemorySink sink;
    ffmpegPlugin().importFile(path, sink);
    return sink;
}

} // namespace

TEST(FfmpegImport, TheRecordingsOfTheRepositoryOpenWhole)
{
    MemorySink robin;
    ASSERT_TRUE(ffmpegPlugin().importFile(testsupport::dataFile(QStringLiteral("bird-robin.ogg")), robin));
    EXPECT_EQ(robin.info.format, audioFormat(44100, 2));
    EXPECT_EQ(robin.frames(), 119009);
    for (const char* name : {"speech-16k.wav", "tabla-44k.wav", "line-18k-48k.wav"}) {
        const QString path = testsupport::dataFile(QString::fromLatin1(name));
        MemorySink sink;
        ASSERT_TRUE(ffmpegPlugin().importFile(path, sink)) << name;
        EXPECT_EQ(sink.info.format.channels, 1);
        EXPECT_EQ(sink.info.bits, 16);
        const QByteArray bytes = readAll(path); // 16-bit mono: its own data chunk tells the count
        EXPECT_EQ(sink.frames() * 2,
                  qFromLittleEndian<quint32>(bytes.constData() + bytes.indexOf("data") + 4));
    }
}

TEST(FfmpegImport, SharedRecordingsHaveTheRateChannelsAndFramesOfTheirTable)
{
    if (testsupport::recordingsFolder().isEmpty())
        GTEST_SKIP() << "MORVANE_RECORDINGS names no folder";
    checkTable(testsupport::recordingsFolder(), 20);
}

struct Tool
{
    const char* file;
    const char* arguments; // for the program ffmpeg; empty: written by ourselves as `filter`
    const char* filter;
    double rate;
    bool exactLength;
};

class PulseThroughFormat : public testing::TestWithParam<Tool>
{
};

TEST_P(PulseThroughFormat, StaysAtItsSample)
{
    const Tool& tool = GetParam();
    const QString folder = testsupport::makeFolder();
    // No multiple of any codec's frame. (The writer of W64 counts its pad bytes as samples.)
    const bool padded = QByteArray(tool.file).endsWith("w64");
    const int64_t frames = int64_t(tool.rate) + (padded ? 1240 : 1237), place = frames / 2 + 311;
    const std::vector<float> reference = pulseAt(place, frames, 12);
    QString path = folder + QLatin1Char('/') + QString::fromLatin1(tool.file);
    if (*tool.arguments) {
        const QString wave = makeWave(folder, reference, tool.rate, "Microsoft WAV (*.wav)");
        ASSERT_TRUE(
            runFfmpeg(QStringList{QStringLiteral("-i"), wave} +
                      QString::fromLatin1(tool.arguments).split(QLatin1Char(' '), Qt::SkipEmptyParts) +
                      QStringList{path}));
    } else {
        MemorySource source;
        source.samplingFormat = audioFormat(tool.rate, 1);
        source.data = reference;
        ASSERT_TRUE(ffmpegPlugin().exportFile(path, QString::fromLatin1(tool.filter), source));
    }
    MemorySink sink;
    ASSERT_TRUE(ffmpegPlugin().importFile(path, sink));
    ASSERT_EQ(sink.info.format.sampleRate, tool.rate);
    EXPECT_EQ(lagOf(sink.channel(0), reference, place), 0);
    if (tool.exactLength) {
        EXPECT_EQ(sink.frames(), frames);
    } else {
        EXPECT_GE(sink.frames(), frames);
    }
    EXPECT_TRUE(sink.messages.isEmpty()) << sink.messages.join(QLatin1Char('\n')).toStdString();
}

// Left out are files that do not tell the delay of their encoder, so that nobody can trim it: AAC, MP3
// and AC-3 in Matroska, MP2, WMA.
INSTANTIATE_TEST_SUITE_P(
    Every, PulseThroughFormat,
    testing::Values(
        Tool{"a.wav", "", "Microsoft WAV (*.wav)", 44100, true},
        Tool{"a16.wav", "", "Microsoft WAV 16-bit (*.wav)", 44100, true},
        Tool{"a24.wav", "", "Microsoft WAV 24-bit (*.wav)", 44100, true},
        Tool{"a32.wav", "", "Microsoft WAV 32-bit (*.wav)", 44100, true},
        Tool{"a.flac", "", "FLAC (*.flac)", 44100, true},
        Tool{"a16.flac", "", "FLAC 16-bit (*.flac)", 44100, true},
        Tool{"a.ogg", "", "Ogg Vorbis (*.ogg)", 44100, true},
        Tool{"a.opus", "", "Ogg Opus (*.opus)", 48000, true}, Tool{"a.mp3", "", "MP3 (*.mp3)", 44100, true},
        Tool{"rf64.wav", "-c:a pcm_s24le -rf64 always", "", 48000, true},
        Tool{"alaw.wav", "-c:a pcm_alaw", "", 48000, true},
        Tool{"mulaw.wav", "-c:a pcm_mulaw", "", 48000, true}, Tool{"u8.wav", "-c:a pcm_u8", "", 48000, true},
        Tool{"f64.wav", "-c:a pcm_f64le", "", 48000, true}, Tool{"a.w64", "-c:a pcm_s16le", "", 48000, true},
        Tool{"a.aiff", "-c:a pcm_s16be", "", 48000, true},
        Tool{"a24.aiff", "-c:a pcm_s24be", "", 48000, true}, Tool{"a.caf", "-c:a pcm_f32le", "", 48000, true},
        Tool{"alac.caf", "-c:a alac", "", 48000, true}, Tool{"a.au", "-c:a pcm_s16be", "", 48000, true},
        Tool{"aac.m4a", "-c:a aac -b:a 128k", "", 44100, true},
        Tool{"aac48.m4a", "-c:a aac -b:a 128k", "", 48000, true},
        Tool{"alac.m4a", "-c:a alac", "", 44100, true}, Tool{"aac.mp4", "-c:a aac", "", 48000, true},
        Tool{"aac.mov", "-c:a aac", "", 48000, true}, Tool{"opus.webm", "-c:a libopus", "", 48000, true},
        Tool{"vorbis.mkv", "-c:a libvorbis", "", 48000, false},
        Tool{"opus.mkv", "-c:a libopus", "", 48000, true}, Tool{"flac.mkv", "-c:a flac", "", 48000, true},
        Tool{"pcm.avi", "-c:a pcm_s16le", "", 48000, true}, Tool{"a.wv", "-c:a wavpack", "", 48000, true},
        Tool{"a.tta", "-c:a tta", "", 48000, true}, Tool{"flac.oga", "-c:a flac", "", 48000, true}),
    [](const auto& info) {
        return QString::fromLatin1(info.param.file).replace(QLatin1Char('.'), QLatin1Char('_')).toStdString();
    });

TEST(FfmpegImport, IntegersBecomeFloatsByTheirFormulaBitByBit)
{
    const MemorySink u8 = importBytes(wave(1, 8, QByteArray("\x00\x80\xff\x81", 4)));
    EXPECT_EQ(u8.data, (std::vector<float>{-1.0f, 0.0f, 127.0f / 128, 1.0f / 128}));
    QByteArray all;
    for (int v = -32768; v < 32768; ++v)
        all += le(quint64(v), 2);
    const MemorySink s16 = importBytes(wave(1, 16, all));
    ASSERT_EQ(s16.frames(), 65536);
    for (int v = -32768; v < 32768; ++v)
        ASSERT_EQ(s16.data[size_t(v + 32768)], float(v) / 32768.0f) << v;
    EXPECT_EQ(s16.info.bits, 16);
    EXPECT_FALSE(s16.info.isFloat);
    QByteArray some;
    const std::vector<float> random = noise(20000);
    for (const float r : random)
        some += le(quint64(int64_t(double(r) * 8388608)), 3);
    const MemorySink s24 = importBytes(wave(1, 24, some));
    ASSERT_EQ(s24.frames(), 20000);
    EXPECT_EQ(s24.info.bits, 24);
    for (size_t i = 0; i < random.size(); ++i)
        ASSERT_EQ(s24.data[i], float(double(int64_t(double(random[i]) * 8388608)) / 8388608)) << i;
    some.clear();
    for (const float r : random)
        some += le(quint64(int64_t(double(r) * 2147483647.0) | 1), 4);
    const MemorySink s32 = importBytes(wave(1, 32, some));
    ASSERT_EQ(s32.frames(), 20000);
    for (size_t i = 0; i < random.size(); ++i)
        ASSERT_EQ(s32.data[i], float(double(int64_t(double(random[i]) * 2147483647.0) | 1) / 2147483648.0))
            << i;
}

TEST(FfmpegImport, FloatsStayAsStoredBitByBit)
{
    QByteArray bytes;
    std::vector<quint32> words;
    for (quint32 i = 0; i < 100000; ++i)
        words.push_back(i * 2654435761u);
    words.push_back(0x80000000); // -0
    words.push_back(0x00000001); // denormal
    words.push_back(0x7f800000); // infinity
    words.push_back(0x7fa00000); // signalling NaN
    for (const quint32 w : words)
        bytes += le(w, 4);
    const MemorySink sink = importBytes(wave(3, 32, bytes));
    ASSERT_EQ(sink.data.size(), words.size());
    EXPECT_EQ(std::memcmp(sink.data.data(), words.data(), words.size() * 4), 0);
    EXPECT_EQ(sink.info.bits, 32);
    EXPECT_TRUE(sink.info.isFloat);
}

TEST(FfmpegImport, DoublesAreRoundedOnce)
{
    QByteArray bytes;
    const double values[] = {0.1, -1.0, 1e-3 + 1e-12, 3.5, -0.0};
    for (const double v : values) {
        quint64 word;
        std::memcpy(&word, &v, 8);
        bytes += le(word, 8);
    }
    const MemorySink sink = importBytes(wave(3, 64, bytes));
    ASSERT_EQ(sink.frames(), 5);
    for (size_t i = 0; i < 5; ++i)
        EXPECT_EQ(sink.data[i], float(values[i]));
}

TEST(FfmpegImport, MasksOfChannelsArriveAsTheyStand)
{
    const struct
    {
        int channels;
        uint64_t mask;
    } cases[] = {{1, 1},     {1, 4},     {2, 3},        {2, 0x600},   {3, 7},    {4, 51},
                 {4, 0x107}, {5, 1543},  {6, 1551},     {6, 63},      {7, 1591}, {8, 1599},
                 {8, 255},   {9, 22071}, {12, 0x2d63f}, {18, 0x3ffff}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.mask);
        MemorySource source = silence(48000, c.channels, 100);
        source.samplingFormat.channelsMask = c.mask;
        for (int64_t i = 0; i < 100 * c.channels; ++i)
            source.data[size_t(i)] = float(i % c.channels + 1) / 32;
        const QString path = testsupport::makeFolder() + QStringLiteral("/x.wav");
        ASSERT_TRUE(ffmpegPlugin().exportFile(path, QStringLiteral("Microsoft WAV (*.wav)"), source));
        MemorySink sink;
        ASSERT_TRUE(ffmpegPlugin().importFile(path, sink));
        EXPECT_EQ(sink.info.format.channelsMask, c.mask);
        EXPECT_EQ(sink.data, source.data); // in the order of the bits, as stored
    }
}

TEST(FfmpegImport, SixtyFourChannelsOpenAndMoreAreRefusedWithWords)
{
    const MemorySink most = importBytes(wave(1, 16, QByteArray(64 * 2 * 10, '\1'), 48000, 64));
    EXPECT_EQ(most.info.format.channels, 64);
    EXPECT_EQ(most.frames(), 10);
    const MemorySink tooMany = importBytes(wave(1, 16, QByteArray(65 * 2 * 10, '\1'), 48000, 65));
    EXPECT_EQ(tooMany.begins, 0);
    ASSERT_EQ(tooMany.messages.size(), 1);
    EXPECT_TRUE(tooMany.messages[0].contains(QStringLiteral("65 channels")));
}

TEST(FfmpegImport, AnyValidRateOpensAsItIs)
{
    for (const quint32 rate : {1u, 360u, 7999u, 44056u, 384000u, 1600000u, 20000000u}) {
        const MemorySink sink = importBytes(wave(1, 16, QByteArray(2000, '\1'), rate));
        EXPECT_EQ(sink.info.format.sampleRate, double(rate));
        EXPECT_EQ(sink.frames(), 1000) << rate;
    }
}

TEST(FfmpegImport, WavIdsInOtherCaseReadTheSame)
{
    QByteArray lower = wave(1, 16, QByteArray(2000, '\3'));
    const MemorySink expected = importBytes(lower);
    lower.replace("RIFF", "riff").replace("WAVE", "wave").replace("fmt ", "FMT ").replace("data", "Data");
    const MemorySink sink = importBytes(lower);
    EXPECT_EQ(sink.frames(), 1000);
    EXPECT_EQ(sink.data, expected.data);
}

TEST(FfmpegImport, MarkersAndTagsOfAWavComeThroughTheHostTable)
{
    if (testsupport::recordingsFolder().isEmpty())
        GTEST_SKIP() << "MORVANE_RECORDINGS names no folder";
    MemorySink sink;
    ASSERT_TRUE(ffmpegPlugin().importFile(
        testsupport::recordingsFolder() + QStringLiteral("/wav-markers-all-robin.wav"), sink));
    ASSERT_EQ(sink.markerList.size(), 4);
    EXPECT_EQ(sink.markerList[0], (Marker{1, 4410, 0, "Start"}));
    EXPECT_EQ(sink.markerList[1], (Marker{2, 33075, 22050, "Pfeifton \xc3\xa4\xc3\xb6\xc3\xbc"}));
    EXPECT_EQ(sink.markerList[3].position, sink.frames() - 1);
    EXPECT_EQ(sink.tags.value(QStringLiteral("IART")), QStringLiteral("InspectorJ"));
    EXPECT_EQ(sink.tags.size(), 5);
}

TEST(FfmpegImport, TagsAndChaptersOfOtherFormatsBecomeTagsAndRegions)
{
    const QString folder = testsupport::makeFolder();
    const QString wave = makeWave(folder, noise(96000), 48000, "Microsoft WAV (*.wav)");
    writeAll(folder + QStringLiteral("/chapters.txt"),
             ";FFMETADATA1\ntitle=A title\nartist=Somebody\n[CHAPTER]\nTIMEBASE=1/1000\nSTART=0\nEND=500\n"
             "title=One\n[CHAPTER]\nTIMEBASE=1/1000\nSTART=500\nEND=2000\ntitle=Two\n");
    const QString path = folder + QStringLiteral("/x.mka");
    ASSERT_TRUE(runFfmpeg({QStringLiteral("-i"), wave, QStringLiteral("-i"),
                           folder + QStringLiteral("/chapters.txt"), QStringLiteral("-map_metadata"),
                           QStringLiteral("1"), QStringLiteral("-c:a"), QStringLiteral("flac"), path}));
    MemorySink sink;
    ASSERT_TRUE(ffmpegPlugin().importFile(path, sink));
    EXPECT_EQ(sink.tags.value(QStringLiteral("INAM")), QStringLiteral("A title"));
    EXPECT_EQ(sink.tags.value(QStringLiteral("IART")), QStringLiteral("Somebody"));
    ASSERT_EQ(sink.markerList.size(), 2);
    EXPECT_EQ(sink.markerList[0], (Marker{1, 0, 24000, "One"}));
    EXPECT_EQ(sink.markerList[1], (Marker{2, 24000, 72000, "Two"}));
}

TEST(FfmpegImport, ProgressIsToldAndFalseCancels)
{
    const QString folder = testsupport::makeFolder();
    const QString path = makeWave(folder, noise(3000000), 48000, "Microsoft WAV (*.wav)");
    MemorySink whole;
    ASSERT_TRUE(ffmpegPlugin().importFile(path, whole));
    EXPECT_GT(whole.progressCalls, 5);
    EXPECT_EQ(whole.lastTotal, QFileInfo(path).size());
    EXPECT_EQ(whole.lastDone, whole.lastTotal);
    MemorySink cancelled;
    cancelled.cancelAt = 3;
    EXPECT_FALSE(ffmpegPlugin().importFile(path, cancelled));
    EXPECT_LT(cancelled.frames(), whole.frames());
    EXPECT_EQ(cancelled.progressCalls, 3);
    MemorySink refusing;
    refusing.refuseAfter = 100000;
    EXPECT_FALSE(ffmpegPlugin().importFile(path, refusing));
    MemorySink atOnce;
    atOnce.refuseFormat = true;
    EXPECT_FALSE(ffmpegPlugin().importFile(path, atOnce));
    EXPECT_EQ(atOnce.frames(), 0);
}
