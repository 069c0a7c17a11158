// Writing: what comes back from each format, and the chunks of WAV files byte by byte.
#include "fileplugin.h"
#include "support/testsupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include <QFile>
#include <QFileInfo>
#include <QtEndian>

namespace {

QString wav(const char* kind = "")
{
    return QStringLiteral("Microsoft WAV%1 (*.wav)").arg(QLatin1String(kind));
}

QString write(MemorySource& source, const QString& filter, const char* name = "x.wav")
{
    const QString path = testsupport::makeFolder() + QLatin1Char('/') + QString::fromLatin1(name);
    EXPECT_TRUE(ffmpegPlugin().exportFile(path, filter, source))
        << source.messages.join(QLatin1Char('\n')).toStdString();
    return path;
}

MemorySink read(const QString& path)
{
    MemorySink sink;
    EXPECT_TRUE(ffmpegPlugin().importFile(path, sink));
    EXPECT_TRUE(sink.messages.isEmpty()) << sink.messages.join(QLatin1Char('\n')).toStdString();
    return sink;
}

MemorySource noiseSource(double rate, int channels, int64_t frames)
{
    MemorySource source = silence(rate, channels, frames);
    source.data = noise(frames * channels);
    return source;
}

// Values that a signed integer of `bits` holds exactly.
void quantise(MemorySource& source, int bits)
{
    const double scale = std::ldexp(1.0, bits - 1);
    for (float& v : source.data)
        v = float(std::floor(double(v) * scale) / scale);
}

quint32 u32At(const QByteArray& bytes, int at)
{
    return qFromLittleEndian<quint32>(bytes.constData() + at);
}

} // namespace

TEST(FfmpegExport, TheDefaultFormatIsThere)
{
    EXPECT_EQ(ffmpegPlugin().exportFilters().value(0), wav());
    EXPECT_FALSE(ffmpegPlugin().exportFile(QStringLiteral("/nowhere/x"), QStringLiteral("Unheard (*.of)"),
                                           *std::make_unique<MemorySource>(silence(48000, 1, 10))));
}

TEST(FfmpegExport, FloatWavGivesBackEveryBit)
{
    for (const int channels : {1, 2, 3, 6, 64}) {
        MemorySource source = noiseSource(44100, channels, 70001);
        source.data[0] = 1e-30f;
        source.data[1] = -17.25f; // beyond full scale
        source.data[2] = 3.4e38f;
        const MemorySink sink = read(write(source, wav()));
        EXPECT_EQ(sink.info.format, source.samplingFormat) << channels;
        ASSERT_EQ(sink.data.size(), source.data.size());
        EXPECT_EQ(std::memcmp(sink.data.data(), source.data.data(), source.data.size() * 4), 0) << channels;
    }
}

TEST(FfmpegExport, IntegersThatFitComeBackExactly)
{
    const struct
    {
        const char* filter;
        const char* file;
        int bits;
    } cases[] = {{"Microsoft WAV 16-bit (*.wav)", "a.wav", 16},
                 {"Microsoft WAV 24-bit (*.wav)", "b.wav", 24},
                 {"Microsoft WAV 32-bit (*.wav)", "c.wav", 32},
                 {"FLAC 16-bit (*.flac)", "d.flac", 16},
                 {"FLAC (*.flac)", "e.flac", 24}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.filter);
        MemorySource source = noiseSource(48000, 2, 50001);
        quantise(source, c.bits);
        source.data[0] = -1.0f;
        source.data[1] = 0.5f;
        const MemorySink sink = read(write(source, QString::fromLatin1(c.filter), c.file));
        EXPECT_EQ(sink.info.bits, c.bits);
        EXPECT_FALSE(sink.info.isFloat);
        EXPECT_EQ(sink.data, source.data);
    }
}

TEST(FfmpegExport, IntegersAreRoundedAndLimited)
{
    MemorySource source = silence(48000, 1, 6);
    source.data = {1.5f, -1.5f, 0.4f / 32768, 0.6f / 32768, std::nanf(""), -INFINITY};
    const MemorySink sink = read(write(source, wav(" 16-bit")));
    EXPECT_EQ(sink.data, (std::vector<float>{32767.0f / 32768, -1.0f, 0, 1.0f / 32768, 0, -1.0f}));
}

TEST(FfmpegExport, LossyFormatsKeepLengthAndSound)
{
    const struct
    {
        const char* filter;
        const char* file;
        double rate;
    } cases[] = {{"Ogg Vorbis (*.ogg)", "a.ogg", 44100},
                 {"Ogg Opus (*.opus)", "b.opus", 48000},
                 {"MP3 (*.mp3)", "c.mp3", 44100}};
    for (const auto& c : cases) {
        if (!ffmpegPlugin().exportFilters().contains(QString::fromLatin1(c.filter)))
            GTEST_SKIP() << "no encoder for " << c.filter;
        SCOPED_TRACE(c.filter);
        MemorySource source = silence(c.rate, 2, 100003);
        for (int64_t i = 0; i < 100003; ++i) {
            source.data[size_t(2 * i)] = float(0.5 * std::sin(double(i) * 0.05));
            source.data[size_t(2 * i + 1)] = float(0.25 * std::sin(double(i) * 0.11));
        }
        const MemorySink sink = read(write(source, QString::fromLatin1(c.filter), c.file));
        ASSERT_EQ(sink.frames(), 100003);
        double error = 0, power = 0;
        for (size_t i = 20000; i < 180000; ++i) {
            error += std::pow(double(sink.data[i]) - double(source.data[i]), 2);
            power += std::pow(double(source.data[i]), 2);
        }
        EXPECT_LT(error, power / 1000); // 30 dB below the sound
    }
}

TEST(FfmpegExport, SurroundGoesThroughEveryFormatThatTakesIt)
{
    // A tone and a level for each channel; the fourth place is for low sounds.
    const double step[] = {0.05, 0.07, 0.09, 0.01, 0.11, 0.13}; // radians a sample
    for (const char* filter : {"FLAC (*.flac)", "Ogg Vorbis (*.ogg)", "Ogg Opus (*.opus)"}) {
        SCOPED_TRACE(filter);
        MemorySource source = silence(48000, 6, 48000);
        source.samplingFormat.channelsMask = 63;
        for (size_t i = 0; i < 48000; ++i)
            for (size_t c = 0; c < 6; ++c)
                source.data[6 * i + c] = float(0.1 * double(c + 1) * std::sin(double(i) * step[c]));
        const MemorySink sink =
            read(write(source, QString::fromLatin1(filter), filter[0] == 'F' ? "a.flac" : "a.ogg"));
        ASSERT_EQ(sink.info.format.channels, 6);
        EXPECT_EQ(sink.info.format.channelsMask, 63u);
        for (size_t c = 0; c < 6; ++c)
            for (size_t tone = 0; tone < 6; ++tone) {
                double re = 0, im = 0;
                for (size_t i = 10000; i < 40000; ++i) {
                    re += double(sink.data[6 * i + c]) * std::cos(double(i) * step[tone]);
                    im += double(sink.data[6 * i + c]) * std::sin(double(i) * step[tone]);
                }
                const double level = std::hypot(re, im) / 15000;
                if (tone != c) {
                    EXPECT_LT(level, 0.01) << c << " " << tone;
                } else { // the encoder of Vorbis is 2 dB off on the low one
                    EXPECT_NEAR(level, 0.1 * double(c + 1), c == 3 ? 0.11 : 0.01) << c;
                }
            }
    }
}

TEST(FfmpegExport, RatesAndChannelsThatAFormatLacksAreRefusedWithWords)
{
    MemorySource opus = silence(44100, 2, 1000);
    EXPECT_FALSE(ffmpegPlugin().exportFile(testsupport::makeFolder() + QStringLiteral("/x.opus"),
                                           QStringLiteral("Ogg Opus (*.opus)"), opus));
    ASSERT_EQ(opus.messages.size(), 1);
    EXPECT_TRUE(opus.messages[0].contains(QStringLiteral("44100"))) << opus.messages[0].toStdString();
    MemorySource mp3 = silence(44100, 6, 1000);
    EXPECT_FALSE(ffmpegPlugin().exportFile(testsupport::makeFolder() + QStringLiteral("/x.mp3"),
                                           QStringLiteral("MP3 (*.mp3)"), mp3));
    EXPECT_EQ(mp3.messages.size(), 1);
    MemorySource fraction = silence(0.25, 1, 10);
    EXPECT_FALSE(
        ffmpegPlugin().exportFile(testsupport::makeFolder() + QStringLiteral("/x.wav"), wav(), fraction));
    EXPECT_EQ(fraction.messages.size(), 1);
}

TEST(FfmpegExport, MonoAndStereoUseThePlainHead)
{
    MemorySource floats = silence(44100.4, 2, 3);
    const QByteArray f = readAll(write(floats, wav()));
    EXPECT_EQ(f.mid(12, 4), QByteArray("fmt "));
    EXPECT_EQ(u32At(f, 16), 18u); // with the extra size of 0 behind it
    EXPECT_EQ(u32At(f, 20), 0x00020003u);
    EXPECT_EQ(u32At(f, 24), 44100u); // rounded
    EXPECT_EQ(f.mid(38, 4), QByteArray("data"));
    EXPECT_EQ(u32At(f, 4), 24u + 38 - 2 + 2 - 4 + 4 - 8 + 8);
    EXPECT_EQ(u32At(f, 4), quint32(f.size()) - 8);
    MemorySource integers = silence(48000, 1, 3);
    const QByteArray i = readAll(write(integers, wav(" 16-bit")));
    EXPECT_EQ(u32At(i, 16), 16u);
    EXPECT_EQ(u32At(i, 4), 6u + 36);
    MemorySource wide = silence(48000, 2, 3);
    wide.samplingFormat.channelsMask = 0x600;
    const QByteArray x = readAll(write(wide, wav(" 16-bit")));
    EXPECT_EQ(u32At(x, 16), 40u);
    EXPECT_EQ(u32At(x, 4), 12u + 60);
    EXPECT_EQ(u32At(x, 40), 0x600u);
    EXPECT_EQ(x.mid(44, 16),
              QByteArray("\x01\x00\x00\x00\x00\x00\x10\x00\x80\x00\x00\xaa\x00\x38\x9b\x71", 16));
}

TEST(FfmpegExport, MarkersAndTagsComeBackFromAWav)
{
    MemorySource source = noiseSource(44100, 1, 1001);
    source.markerList = {
        {1, 10, 0, "Start"}, {5, 20, 300, "K\xc3\xbchl"}, {7, 1000, 1, ""}, {9, 5, 0, "even"}};
    source.tags = {{QStringLiteral("INAM"), QStringLiteral("Ein St\u00fcck")},
                   {QStringLiteral("ICMT"), QStringLiteral("odd")},
                   {QStringLiteral("TOOLONG"), QStringLiteral("left out")}};
    for (const char* kind : {"", " 24-bit"}) { // the second has an odd count of data bytes
        const QString path = write(source, wav(kind));
        const MemorySink sink = read(path);
        EXPECT_EQ(sink.frames(), 1001);
        EXPECT_EQ(sink.markerList, source.markerList);
        MetaDataList expected = source.tags;
        expected.remove(QStringLiteral("TOOLONG"));
        EXPECT_EQ(sink.tags, expected);
        const QByteArray bytes = readAll(path);
        EXPECT_EQ(u32At(bytes, 4), quint32(bytes.size()) - 8);
        EXPECT_EQ(bytes.size() % 2, 0);
        // A marker of length 0 has a text and no region; every text stands before every region.
        EXPECT_EQ(bytes.count("labl"), 4);
        EXPECT_EQ(bytes.count("ltxt"), 2);
        EXPECT_LT(bytes.lastIndexOf("labl"), bytes.indexOf("ltxt"));
        // "even" has five bytes with its NUL: size 9, one pad byte, then the next id.
        const int even = bytes.indexOf("even");
        EXPECT_EQ(u32At(bytes, even - 8), 9u);
        EXPECT_EQ(bytes.mid(even + 6, 4), QByteArray("ltxt"));
    }
}

TEST(FfmpegExport, TagsGoIntoOtherFormatsUnderTheirNames)
{
    MemorySource source = noiseSource(44100, 1, 30000);
    source.tags = {{QStringLiteral("INAM"), QStringLiteral("Name")},
                   {QStringLiteral("IART"), QStringLiteral("Who")}};
    for (const char* name : {"x.flac", "x.ogg", "x.mp3"}) {
        const QString filter = QString::fromLatin1(name[2] == 'f'   ? "FLAC (*.flac)"
                                                   : name[2] == 'o' ? "Ogg Vorbis (*.ogg)"
                                                                    : "MP3 (*.mp3)");
        const MemorySink sink = read(write(source, filter, name));
        EXPECT_EQ(sink.tags.value(QStringLiteral("INAM")), QStringLiteral("Name")) << name;
        EXPECT_EQ(sink.tags.value(QStringLiteral("IART")), QStringLiteral("Who")) << name;
    }
}

TEST(FfmpegExport, CancelEndsIt)
{
    for (const char* filter : {"Microsoft WAV (*.wav)", "FLAC (*.flac)"}) {
        MemorySource source = silence(48000, 1, 3000000);
        source.cancelAt = 3;
        EXPECT_FALSE(ffmpegPlugin().exportFile(testsupport::makeFolder() + QStringLiteral("/x"),
                                               QString::fromLatin1(filter), source));
        EXPECT_EQ(source.progressCalls, 3);
        EXPECT_TRUE(source.messages.isEmpty());
    }
}

TEST(FfmpegExport, AFullDiskIsAFailureWithItsCause)
{
    for (const char* filter : {"Microsoft WAV (*.wav)", "FLAC (*.flac)", "Ogg Vorbis (*.ogg)"}) {
        MemorySource source = noiseSource(48000, 2, 200000);
        EXPECT_FALSE(
            ffmpegPlugin().exportFile(QStringLiteral("/dev/full"), QString::fromLatin1(filter), source))
            << filter;
        EXPECT_EQ(source.messages.size(), 1) << filter;
    }
}

// 4.3 GB are written and read back, so this stands in a folder with room, and only where asked for.
TEST(FfmpegExport, BeyondFourGigabytesTheFileIsAnRf64)
{
    if (qEnvironmentVariableIsEmpty("MORVANE_LONG_TESTS"))
        GTEST_SKIP() << "MORVANE_LONG_TESTS is not set";
    MemorySource source = noiseSource(48000, 8, 48000);
    source.repeats = 48000 * 2850LL / 48000; // 4.37 GB
    source.markerList = {{1, 47, 0, "early"}, {2, 48000 * 2850LL - 1, 0, "last"}};
    const QString path = write(source, wav());
    QFile file(path);
    ASSERT_TRUE(file.open(QFile::ReadOnly));
    EXPECT_EQ(file.read(4), QByteArray("RF64"));
    EXPECT_GT(file.size(), 1LL << 32);
    struct : MemorySink
    {
        bool samples(const float* interleaved, int64_t count) override
        {
            good = good && std::memcmp(interleaved, expected + position % 48000 * 8,
                                       size_t(std::min<int64_t>(count, 48000 - position % 48000)) * 32) == 0;
            position += count;
            return true;
        }
        const float* expected = nullptr;
        int64_t position = 0;
        bool good = true;
    } sink;
    sink.expected = source.data.data();
    ASSERT_TRUE(ffmpegPlugin().importFile(path, sink));
    EXPECT_EQ(sink.position, 48000 * 2850LL);
    EXPECT_TRUE(sink.good);
    EXPECT_EQ(sink.markerList, source.markerList);
    EXPECT_TRUE(sink.messages.isEmpty());
}
