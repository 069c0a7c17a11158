// Hostile and damaged files: bounded time, what is readable is given, and words tell the rest.
#include "fileplugin.h"
#include "support/testsupport.h"

#include <gtest/gtest.h>

#include <random>

#include <sys/stat.h>
#include <unistd.h>

#include <QDir>
#include <QElapsedTimer>
#include <QFile>

namespace {

QByteArray le(quint64 value, int bytes)
{
    QByteArray out;
    for (int i = 0; i < bytes; ++i)
        out += char(value >> (8 * i));
    return out;
}

struct Outcome
{
    MemorySink sink;
    bool good = false;
};

Outcome importBytes(const QByteArray& bytes, const char* name)
{
    const QString path = testsupport::makeFolder() + QLatin1Char('/') + QString::fromLatin1(name);
    writeAll(path, bytes);
    Outcome outcome;
    outcome.good = ffmpegPlugin().importFile(path, outcome.sink);
    return outcome;
}

QByteArray exported(const char* filter, double rate, int channels, int64_t frames)
{
    MemorySource source = silence(rate, channels, frames);
    source.data = noise(frames * channels);
    const QString path = testsupport::makeFolder() + QStringLiteral("/x");
    EXPECT_TRUE(ffmpegPlugin().exportFile(path, QString::fromLatin1(filter), source));
    return readAll(path);
}

// A 16-bit mono WAV whose fields may lie.
QByteArray wave(quint32 rate, int channels, int bits, int align, quint32 dataSize, const QByteArray& data)
{
    return "RIFF" + le(36 + dataSize, 4) + "WAVEfmt " + le(16, 4) + le(1, 2) + le(quint64(channels), 2) +
           le(rate, 4) + le(quint64(rate) * 2, 4) + le(quint64(align), 2) + le(quint64(bits), 2) + "data" +
           le(dataSize, 4) + data;
}

// A FLAC head for 32-bit samples with frames behind it that the decoder refuses: what such an encoder
// writes, as far as this decoder is concerned.
QByteArray flacOf32Bits()
{
    QByteArray flac = exported("FLAC (*.flac)", 44100, 1, 50000);
    // STREAMINFO: rate 20 bits, channels - 1 3 bits, bits - 1 5 bits, at byte 18 of the file.
    const int at = 4 + 4 + 10;
    flac[at + 2] = char((flac[at + 2] & 0xfe) | 1);
    flac[at + 3] = char((flac[at + 3] & 0x0f) | 0xf0);
    // The size code of each frame head: 111 is reserved for this decoder.
    for (int i = flac.indexOf("\xff\xf8", 42); i >= 0 && i + 4 < flac.size();
         i = flac.indexOf("\xff\xf8", i + 1))
        flac[i + 3] = char(flac[i + 3] | 0x0e);
    return flac;
}

} // namespace

TEST(FfmpegDamage, ATruncatedWavGivesWhatIsThereAndSaysSo)
{
    const QByteArray whole = exported("Microsoft WAV (*.wav)", 48000, 2, 100000);
    const Outcome cut = importBytes(whole.left(46 + 8 * 30000 + 3), "x.wav");
    EXPECT_TRUE(cut.good);
    EXPECT_EQ(cut.sink.frames(), 30000); // and not the few bytes of the next one
    ASSERT_EQ(cut.sink.messages.size(), 1);
    EXPECT_TRUE(cut.sink.messages[0].contains(QStringLiteral("100000")));
    EXPECT_TRUE(cut.sink.messages[0].contains(QStringLiteral("30000")));
}

TEST(FfmpegDamage, ATruncatedFlacGivesWhatIsThereAndSaysSo)
{
    const QByteArray whole = exported("FLAC (*.flac)", 48000, 2, 100000);
    const Outcome cut = importBytes(whole.left(whole.size() / 2), "x.flac");
    EXPECT_TRUE(cut.good);
    EXPECT_GT(cut.sink.frames(), 30000);
    EXPECT_LT(cut.sink.frames(), 60000);
    EXPECT_EQ(cut.sink.messages.size(), 1);
}

TEST(FfmpegDamage, AFaultInTheMiddleOfAFlacLeavesTheRestAtItsTime)
{
    MemorySource source = silence(48000, 1, 200000);
    source.data = noise(200000);
    const QString path = testsupport::makeFolder() + QStringLiteral("/x.flac");
    ASSERT_TRUE(ffmpegPlugin().exportFile(path, QStringLiteral("FLAC (*.flac)"), source));
    MemorySink whole;
    ASSERT_TRUE(ffmpegPlugin().importFile(path, whole));
    QByteArray bytes = readAll(path);
    for (int i = 0; i < 3000; ++i)
        bytes[bytes.size() / 2 + i] = char(i * 7);
    const Outcome damaged = importBytes(bytes, "y.flac");
    EXPECT_TRUE(damaged.good);
    EXPECT_EQ(damaged.sink.messages.size(), 1);
    ASSERT_EQ(damaged.sink.frames(), 200000);
    for (size_t i = 150000; i < 200000; ++i)
        ASSERT_EQ(damaged.sink.data[i], whole.data[i]) << i;
}

TEST(FfmpegDamage, AFlacThatDecodesToNothingHasAFormatAndNoSamples)
{
    const Outcome outcome = importBytes(flacOf32Bits(), "x.flac");
    EXPECT_EQ(outcome.sink.begins, 1);
    EXPECT_EQ(outcome.sink.frames(), 0);
    EXPECT_EQ(outcome.sink.info.format.channels, 1);
}

TEST(FfmpegDamage, RateAndChannelsOfZeroReachTheHost)
{
    const Outcome rate = importBytes(wave(0, 1, 16, 2, 2000, QByteArray(2000, '\1')), "x.wav");
    EXPECT_FALSE(rate.good);
    EXPECT_EQ(rate.sink.begins, 1);
    EXPECT_EQ(rate.sink.info.format.sampleRate, 0);
    const Outcome channels = importBytes(wave(48000, 0, 16, 2, 2000, QByteArray(2000, '\1')), "x.wav");
    EXPECT_FALSE(channels.good);
    EXPECT_EQ(channels.sink.begins, 1);
    EXPECT_EQ(channels.sink.info.format.channels, 0);
}

TEST(FfmpegDamage, WhatHoldsNoSoundIsNotBegunAndHasItsCause)
{
    const QByteArray text("Once upon a time there was a text that somebody renamed.\n");
    const QByteArray playlist("#EXTM3U\n#EXTINF:1,\n/etc/passwd\n#EXT-X-ENDLIST\n");
    for (const QByteArray& bytes :
         {text, text.repeated(1000), QByteArray(1, '\0'), QByteArray(100000, '\0'), QByteArray("RIFF"),
          QByteArray("fLaC"), QByteArray("OggS"), playlist, QByteArray("RIFF\0\0\0\0WAVE", 12)}) {
        for (const char* name : {"x.flac", "x.wav", "x.mp3", "x.m4a"}) {
            const Outcome outcome = importBytes(bytes, name);
            EXPECT_FALSE(outcome.good) << name << bytes.left(20).toStdString();
            EXPECT_EQ(outcome.sink.begins, 0) << name << bytes.left(20).toStdString();
            EXPECT_FALSE(outcome.sink.messages.isEmpty());
        }
    }
}

TEST(FfmpegDamage, ALyingSizeIsHeldAgainstTheFile)
{
    const QByteArray data(2000, '\1');
    const Outcome large = importBytes(wave(48000, 1, 16, 2, 0xfffffff0, data), "x.wav");
    EXPECT_TRUE(large.good);
    EXPECT_EQ(large.sink.frames(), 1000);
    EXPECT_EQ(large.sink.messages.size(), 1);
    // What programs write that do not know the length beforehand is no damage.
    const Outcome streamed = importBytes(wave(48000, 1, 16, 2, 0xffffffff, data), "x.wav");
    EXPECT_TRUE(streamed.good);
    EXPECT_EQ(streamed.sink.frames(), 1000);
    EXPECT_TRUE(streamed.sink.messages.isEmpty());
}

TEST(FfmpegDamage, FoldersPipesAndDevicesAreRefusedAtOnce)
{
    const QString folder = testsupport::makeFolder();
    const QString fifo = folder + QStringLiteral("/x.wav");
    ASSERT_EQ(mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);
    for (const QString& path :
         {folder, fifo, QStringLiteral("/dev/zero"), folder + QStringLiteral("/none.wav")}) {
        MemorySink sink;
        EXPECT_FALSE(ffmpegPlugin().importFile(path, sink)) << path.toStdString();
        EXPECT_EQ(sink.begins, 0);
        EXPECT_EQ(sink.messages.size(), 1);
    }
}

TEST(FfmpegDamage, AChangeOfFormatInTheMiddleEndsTheImportWithWords)
{
    // Two streams, one behind the other.
    const Outcome outcome = importBytes(
        exported("MP3 (*.mp3)", 44100, 2, 100000) + exported("MP3 (*.mp3)", 22050, 1, 100000), "x.mp3");
    EXPECT_TRUE(outcome.good);
    EXPECT_GE(outcome.sink.frames(), 90000);
    EXPECT_LE(outcome.sink.frames(), 110000);
    EXPECT_EQ(outcome.sink.messages.size(), 1);
}

TEST(FfmpegDamage, NoOtherFileIsOpenedThroughAHostileOne)
{
    const QString folder = testsupport::makeFolder();
    MemorySource source = silence(48000, 1, 1000);
    ASSERT_TRUE(ffmpegPlugin().exportFile(folder + QStringLiteral("/secret.wav"),
                                          QStringLiteral("Microsoft WAV (*.wav)"), source));
    const QByteArray secret = QFile::encodeName(folder + QStringLiteral("/secret.wav"));
    writeAll(folder + QStringLiteral("/concat.wav"), "ffconcat version 1.0\nfile '" + secret + "'\n");
    writeAll(folder + QStringLiteral("/list.wav"),
             "#EXTM3U\n#EXT-X-TARGETDURATION:10\n#EXTINF:10,\nfile://" + secret + "\n#EXT-X-ENDLIST\n");
    for (const char* name : {"/concat.wav", "/list.wav"}) {
        MemorySink sink;
        EXPECT_FALSE(ffmpegPlugin().importFile(folder + QLatin1String(name), sink));
        EXPECT_EQ(sink.frames(), 0) << name;
    }
}

// Every format, cut at random places and with random bytes turned over: never a crash, never long,
// never more samples than the bytes could mean.
TEST(FfmpegDamage, RandomDamageNeverHurts)
{
    const struct
    {
        const char* filter;
        const char* name;
    } formats[] = {{"Microsoft WAV (*.wav)", "x.wav"}, {"Microsoft WAV 24-bit (*.wav)", "x.wav"},
                   {"FLAC (*.flac)", "x.flac"},        {"Ogg Vorbis (*.ogg)", "x.ogg"},
                   {"Ogg Opus (*.opus)", "x.opus"},    {"MP3 (*.mp3)", "x.mp3"}};
    std::mt19937 engine(7);
    QElapsedTimer timer;
    for (const auto& format : formats) {
        const QByteArray whole = exported(format.filter, 48000, 2, 12000);
        for (int round = 0; round < 30; ++round) {
            QByteArray bytes = whole;
            if (round % 3 == 0)
                bytes.truncate(int(engine() % uint32_t(whole.size())));
            const int turns = round % 3 == 1 ? 3 : round % 3 == 2 ? 50 : 0;
            for (int i = 0; i < turns; ++i) {
                const uint32_t reach =
                    i % 2 ? uint32_t(bytes.size()) : std::min(200u, uint32_t(bytes.size()));
                bytes[int(engine() % reach)] = char(engine());
            }
            timer.start();
            const Outcome outcome = importBytes(bytes, format.name);
            EXPECT_LT(timer.elapsed(), 10000);
            EXPECT_LT(outcome.sink.frames(), 10000000);
            EXPECT_LE(outcome.sink.begins, 1);
        }
    }
}
