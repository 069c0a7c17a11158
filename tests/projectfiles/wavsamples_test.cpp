// Samples, markers and tags on their way to another editor and back.
#include "projectfiles/wavsamples.h"

#include "model/modeltest.h"
#include "projectfiles/wavchunks.h"
#include "support/testsupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>

#include <sys/stat.h>

#include <QBuffer>
#include <QDir>
#include <QFile>

namespace {

using Floats = std::vector<float>;

quint64 le(const QByteArray& bytes, int at, int width)
{
    quint64 value = 0;
    for (int i = 0; i < width; ++i)
        value |= quint64(quint8(bytes[at + i])) << (8 * i);
    return value;
}

QByteArray little(quint64 value, int width = 4)
{
    QByteArray bytes;
    for (int i = 0; i < width; ++i)
        bytes += char(value >> (8 * i));
    return bytes;
}

QByteArray chunk(const QByteArray& id, const QByteArray& payload)
{
    return id + little(quint64(payload.size())) + payload +
           (payload.size() & 1 ? QByteArray(1, '\0') : QByteArray());
}

QByteArray wave(int tag, int channels, int rate, int bits, const QByteArray& data,
                const QByteArray& before = {})
{
    const QByteArray format = little(quint64(tag), 2) + little(quint64(channels), 2) + little(quint64(rate)) +
                              little(quint64(rate * channels * bits / 8)) +
                              little(quint64(channels * bits / 8), 2) + little(quint64(bits), 2);
    return chunk("RIFF", "WAVE" + before + chunk("fmt ", format) + chunk("data", data));
}

class WavSamples : public testing::Test
{
protected:
    void SetUp() override { m_path = testsupport::makeFolder() + QStringLiteral("/x.wav"); }
    QByteArray content()
    {
        QFile file(m_path);
        EXPECT_TRUE(file.open(QFile::ReadOnly));
        return file.readAll();
    }
    void put(const QByteArray& bytes)
    {
        QFile file(m_path);
        ASSERT_TRUE(file.open(QFile::WriteOnly));
        ASSERT_EQ(file.write(bytes), bytes.size());
    }
    QByteArray written(const LayerPtr& layer, int tag, int bits)
    {
        QString words;
        EXPECT_TRUE(wavsamples::writeWave(m_path, *layer, tag, bits, &words)) << words.toStdString();
        return content();
    }
    // The samples that a file holds, read into a layer of that format.
    static Floats readBack(QByteArray bytes, const SamplingFormat& format, bool expected = true)
    {
        QBuffer buffer(&bytes);
        buffer.open(QBuffer::ReadOnly);
        const LayerPtr layer = Layer::create(format);
        QString words;
        EXPECT_EQ(wavsamples::readWave(buffer, *layer, 5, &words), expected) << words.toStdString();
        EXPECT_EQ(words.isEmpty(), expected);
        if (!layer->isEmpty()) {
            EXPECT_EQ(layer->dataRange().start, 5);
        }
        return modeltest::dataOf(*layer);
    }

    QString m_path;
};

// --- the head --------------------------------------------------------------------------------------

TEST_F(WavSamples, AStereoFloatFileHasThePlainFormOf18Bytes)
{
    const LayerPtr layer = modeltest::layerOf(modeltest::realFormat(2, 44100.4), {1, -2, 0.5f, 3});
    const QByteArray bytes = written(layer, 3, 32);
    EXPECT_EQ(bytes.size(), 12 + 8 + 18 + 8 + 16);
    EXPECT_EQ(bytes.left(4), "RIFF");
    EXPECT_EQ(le(bytes, 4, 4), 16u + 38);
    EXPECT_EQ(bytes.mid(8, 8), "WAVEfmt ");
    EXPECT_EQ(le(bytes, 16, 4), 18u);
    EXPECT_EQ(le(bytes, 20, 2), 3u);
    EXPECT_EQ(le(bytes, 22, 2), 2u);
    EXPECT_EQ(le(bytes, 24, 4), 44100u);
    EXPECT_EQ(le(bytes, 28, 4), 44100u * 8);
    EXPECT_EQ(le(bytes, 32, 2), 8u);
    EXPECT_EQ(le(bytes, 34, 2), 32u);
    EXPECT_EQ(le(bytes, 36, 2), 0u);
    EXPECT_EQ(bytes.mid(38, 4), "data");
    EXPECT_EQ(le(bytes, 42, 4), 16u);
    const Floats expected{1, -2, 0.5f, 3};
    EXPECT_EQ(std::memcmp(bytes.constData() + 46, expected.data(), 16), 0);
}

TEST_F(WavSamples, AMonoIntegerFileHasThePlainFormOf16Bytes)
{
    SamplingFormat format = modeltest::realFormat(1, 8000);
    format.channelsMask = 4;
    const QByteArray bytes = written(modeltest::layerOf(format, {0.5f, -1}), 1, 16);
    EXPECT_EQ(bytes, chunk("RIFF", "WAVE" +
                                       chunk("fmt ", little(1, 2) + little(1, 2) + little(8000) +
                                                         little(16000) + little(2, 2) + little(16, 2)) +
                                       chunk("data", QByteArray("\x00\x40\x00\x80", 4))));
    EXPECT_EQ(le(bytes, 4, 4), 4u + 36);
}

TEST_F(WavSamples, EveryOtherFileHasTheExtensibleForm)
{
    SamplingFormat format = modeltest::realFormat(1, 8000);
    format.channelsMask = 1; // one channel that is not the centre
    const QByteArray bytes = written(modeltest::layerOf(format, {1}), 3, 32);
    EXPECT_EQ(le(bytes, 4, 4), 4u + 60);
    const QByteArray guid("\x03\x00\x00\x00\x00\x00\x10\x00\x80\x00\x00\xaa\x00\x38\x9b\x71", 16);
    EXPECT_EQ(bytes.mid(12, 48),
              chunk("fmt ", little(65534, 2) + little(1, 2) + little(8000) + little(32000) + little(4, 2) +
                                little(32, 2) + little(22, 2) + little(32, 2) + little(1) + guid));
    const QByteArray six = written(modeltest::layerOf(modeltest::realFormat(6), Floats(12)), 1, 24);
    EXPECT_EQ(le(six, 20, 2), 65534u);
    EXPECT_EQ(le(six, 40, 4), 63u);
}

TEST_F(WavSamples, OddDataGetsAPadByteThatTheRiffSizeCounts)
{
    SamplingFormat format = modeltest::realFormat(1, 8000);
    format.channelsMask = 4;
    const QByteArray bytes = written(modeltest::layerOf(format, {0, 0, 0}), 1, 24);
    EXPECT_EQ(le(bytes, 40, 4), 9u);
    EXPECT_EQ(bytes.size(), 44 + 10);
    EXPECT_EQ(le(bytes, 4, 4), quint64(bytes.size()) - 8);
    EXPECT_EQ(readBack(bytes, format), (Floats{0, 0, 0}));
}

TEST_F(WavSamples, AnEmptyLayerGivesAFileWithoutSamples)
{
    const QByteArray bytes = written(Layer::create(modeltest::realFormat(2)), 1, 16);
    EXPECT_EQ(bytes.size(), 44);
    EXPECT_EQ(readBack(bytes, modeltest::realFormat(2)), Floats());
}

// --- samples ---------------------------------------------------------------------------------------

TEST_F(WavSamples, EveryFormComesBackAsFarAsItsBitsReach)
{
    std::mt19937 random(5);
    std::uniform_real_distribution<float> value(-1, 1);
    Floats samples(3 * 30000);
    for (float& sample : samples)
        sample = value(random);
    samples[0] = 1 - 1.0f / (1 << 24);
    samples[1] = -1;
    const SamplingFormat format = modeltest::realFormat(3);
    const LayerPtr layer = modeltest::layerOf(format, samples, 100);
    const struct
    {
        int tag, bits;
        double error; // half a step and what a float cannot tell, or a whole step at full scale
    } forms[] = {{1, 8, 1.0 / 128}, {1, 16, 1.0 / 32768}, {1, 24, 1.0 / (1 << 23)},
                 {1, 32, 1e-9},     {3, 32, 0},           {3, 64, 0}};
    for (const auto& form : forms) {
        SCOPED_TRACE(testing::Message() << form.tag << " " << form.bits);
        const Floats read = readBack(written(layer, form.tag, form.bits), format);
        ASSERT_EQ(read.size(), samples.size());
        double worst = 0;
        for (std::size_t i = 0; i < samples.size(); ++i)
            worst = std::max(worst, std::abs(double(read[i]) - double(samples[i])));
        EXPECT_LE(worst, form.error);
        // What was rounded once is not rounded again.
        const LayerPtr again = modeltest::layerOf(format, read);
        EXPECT_EQ(readBack(written(again, form.tag, form.bits), format), read);
    }
}

TEST_F(WavSamples, IntegersClipAtFullScaleAndFloatsDoNot)
{
    SamplingFormat format = modeltest::realFormat(1);
    const Floats loud{2, -2, INFINITY, -INFINITY, 1, -1};
    const LayerPtr layer = modeltest::layerOf(format, loud);
    for (const int bits : {8, 16, 24, 32}) {
        const float top = float(1 - std::pow(2.0, 1 - bits));
        EXPECT_EQ(readBack(written(layer, 1, bits), format), (Floats{top, -1, top, -1, top, -1})) << bits;
    }
    EXPECT_EQ(readBack(written(layer, 3, 32), format), loud);
    EXPECT_EQ(readBack(written(modeltest::layerOf(format, {NAN}), 1, 16), format), Floats{0});
}

TEST_F(WavSamples, TheTableOfDecodingHolds)
{
    const SamplingFormat format = modeltest::realFormat(1, 8000);
    const auto read = [&](int tag, int bits, const QByteArray& data) {
        return readBack(wave(tag, 1, 8000, bits, data), format);
    };
    EXPECT_EQ(read(1, 8, QByteArray("\x00\x80\xff", 3)), (Floats{-1, 0, 127.0f / 128}));
    EXPECT_EQ(read(1, 16, QByteArray("\x00\x80\xff\x7f\x01\x00", 6)),
              (Floats{-1, 32767.0f / 32768, 1.0f / 32768}));
    EXPECT_EQ(read(1, 24, QByteArray("\x00\x00\x80\x01\x00\x00", 6)), (Floats{-1, 1.0f / 8388608}));
    EXPECT_EQ(read(1, 32, QByteArray("\x00\x00\x00\x80\x00\x00\x00\x40", 8)), (Floats{-1, 0.5f}));
    const double number = -0.1;
    EXPECT_EQ(read(3, 64, QByteArray(reinterpret_cast<const char*>(&number), 8)), Floats{-0.1f});
}

// Values of the tables of ITU-T G.711, on the scale of 16 bits.
TEST_F(WavSamples, ALawAndMuLawAreThePublishedOnes)
{
    const SamplingFormat format = modeltest::realFormat(1, 8000);
    const auto read = [&](int tag, const QByteArray& data) {
        Floats values = readBack(wave(tag, 1, 8000, 8, data), format);
        for (float& value : values)
            value *= 32768;
        return values;
    };
    EXPECT_EQ(read(6, QByteArray("\xd5\x55\xaa\x2a\x80\x00", 6)),
              (Floats{8, -8, 32256, -32256, 5504, -5504}));
    EXPECT_EQ(read(7, QByteArray("\xff\x7f\x80\x00\xf0\x70", 6)), (Floats{0, 0, 32124, -32124, 120, -120}));
    QByteArray all;
    for (int code = 0; code < 256; ++code)
        all += char(code);
    for (const int tag : {6, 7}) {
        Floats values = read(tag, all);
        for (int code = 0; code < 128; ++code) // the upper half is positive
            EXPECT_EQ(values[std::size_t(code)], -values[std::size_t(code + 128)]);
    }
}

TEST_F(WavSamples, ExtensibleFilesTellTheirKindInTheSubformat)
{
    const QByteArray format = little(65534, 2) + little(1, 2) + little(8000) + little(24000) + little(3, 2) +
                              little(24, 2) + little(22, 2) + little(20, 2) + little(4) + little(1, 2) +
                              QByteArray(14, '\7');
    const QByteArray bytes =
        chunk("RIFF", "WAVE" + chunk("fmt ", format) + chunk("data", QByteArray("\0\0\x40", 3)));
    EXPECT_EQ(readBack(bytes, modeltest::realFormat(1, 8000)), Floats{0.5f});
}

TEST_F(WavSamples, OtherKindsRatesAndChannelsAreRefused)
{
    const SamplingFormat format = modeltest::realFormat(2, 8000);
    const QByteArray data(16, '\1');
    for (const int tag : {0, 2, 4, 5, 8, 17, 85, 65535})
        EXPECT_EQ(readBack(wave(tag, 2, 8000, 8, data), format, false), Floats()) << tag;
    readBack(wave(1, 1, 8000, 16, data), format, false);
    readBack(wave(1, 2, 8001, 16, data), format, false);
    readBack(wave(3, 2, 8000, 16, data), format, false);
    readBack(wave(1, 0, 8000, 16, data), format, false);
    readBack(wave(1, 2, 8000, 16, data), modeltest::complexFormat(2, 8000), false);
    EXPECT_EQ(readBack(wave(1, 2, 8000, 16, data), modeltest::realFormat(2, 8000.4)).size(), 8u);
}

TEST_F(WavSamples, ReadingIsOneUndoableChangeThatLeavesTheRestOfTheLayer)
{
    const LayerPtr layer = modeltest::layerOf(modeltest::realFormat(1, 8000), modeltest::ramp(10));
    put(wave(3, 1, 8000, 32, QByteArray(8, '\0')));
    ASSERT_TRUE(wavsamples::readWave(m_path, *layer, 3));
    EXPECT_EQ(modeltest::dataOf(*layer), (Floats{1, 2, 3, 0, 0, 6, 7, 8, 9, 10}));
    layer->resetToBackup();
    EXPECT_EQ(modeltest::dataOf(*layer), modeltest::ramp(10));
}

// --- markers and tags ------------------------------------------------------------------------------

TEST_F(WavSamples, AMarkerWithoutLengthHasALabelButNoRegion)
{
    put(wave(1, 1, 8000, 16, QByteArray(4, '\0')));
    const int before = content().size();
    ASSERT_TRUE(wavchunks::appendMarkers(m_path, {{7, 1000, 0, "spot"}, {8, 5, 30, "even"}}));
    const QByteArray bytes = content();
    const QByteArray none = little(0);
    EXPECT_EQ(bytes.mid(before),
              chunk("cue ", little(2) + little(7) + none + "data" + none + none + little(1000) + little(8) +
                                none + "data" + none + none + little(5)) +
                  chunk("LIST", "adtl" + chunk("labl", little(7) + "spot" + '\0') +
                                    chunk("labl", little(8) + "even" + '\0') +
                                    chunk("ltxt", little(8) + little(30) + "rgn " + QByteArray(8, '\0'))));
    EXPECT_EQ(le(bytes, 4, 4), quint64(bytes.size()) - 8);
}

// Other readers take no text that comes behind the first region.
TEST_F(WavSamples, AllLabelsComeBeforeAllRegions)
{
    put(wave(1, 1, 8000, 16, {}));
    MarkerList markers;
    for (int i = 0; i < 20; ++i)
        markers << Marker{i, i * 10, i % 2, "text " + std::to_string(i)};
    ASSERT_TRUE(wavchunks::appendMarkers(m_path, markers));
    EXPECT_LT(content().lastIndexOf("labl"), content().indexOf("ltxt"));
    MarkerList read;
    ASSERT_TRUE(wavchunks::readMarkers(m_path, read));
    EXPECT_EQ(read, markers);
}

TEST_F(WavSamples, ATextOfEvenLengthGetsAPadByteThatTheReaderSkips)
{
    put(wave(1, 1, 8000, 8, QByteArray(3, '\0')));
    const MarkerList markers{{1, 1, 0, "even"}, {2, 2, 0, "odd"}, {3, 3, 0, ""}};
    const MetaDataList tags{{QStringLiteral("IART"), QStringLiteral("even")},
                            {QStringLiteral("ICMT"), QStringLiteral("odd")},
                            {QStringLiteral("INAM"), QStringLiteral("ü")}};
    ASSERT_TRUE(wavchunks::appendMarkers(m_path, markers));
    ASSERT_TRUE(wavchunks::appendMetaData(m_path, tags));
    EXPECT_EQ(content().size() % 2, 0);
    EXPECT_TRUE(content().contains(chunk("IART", QByteArray("even\0", 5)) + "ICMT"));
    MarkerList readMarkers;
    MetaDataList readTags;
    ASSERT_TRUE(wavchunks::readMarkers(m_path, readMarkers));
    ASSERT_TRUE(wavchunks::readMetaData(m_path, readTags));
    EXPECT_EQ(readMarkers, markers);
    EXPECT_EQ(readTags, tags);
}

TEST_F(WavSamples, AFileWithIdsInLowerCaseReadsLikeOneInUpperCase)
{
    QByteArray bytes = wave(1, 1, 8000, 16, QByteArray("\0\x40", 2));
    bytes.replace("RIFF", "riff").replace("WAVE", "wave").replace("fmt ", "FMT ").replace("data", "DATA");
    EXPECT_EQ(readBack(bytes, modeltest::realFormat(1, 8000)), Floats{0.5f});
    put(bytes);
    EXPECT_TRUE(wavchunks::appendMarkers(m_path, {{1, 1, 0, "x"}}));
}

TEST_F(WavSamples, TagsOfAnotherLengthAndTextsOutsideLatin1AreLeftOutOrMarked)
{
    put(wave(1, 1, 8000, 16, {}));
    ASSERT_TRUE(wavchunks::appendMetaData(m_path, {{QStringLiteral("TITLE"), QStringLiteral("no")},
                                                   {QStringLiteral("ARÄT"), QStringLiteral("no")},
                                                   {QString(), QStringLiteral("no")},
                                                   {QStringLiteral("INAM"), QStringLiteral("音 x")}}));
    MetaDataList tags;
    ASSERT_TRUE(wavchunks::readMetaData(m_path, tags));
    EXPECT_EQ(tags, (MetaDataList{{QStringLiteral("INAM"), QStringLiteral("? x")}}));
}

TEST_F(WavSamples, NothingToAppendLeavesTheFileAsItIs)
{
    const QByteArray bytes = wave(1, 1, 8000, 16, QByteArray(2, '\0'));
    put(bytes);
    EXPECT_TRUE(wavchunks::appendMarkers(m_path, {}));
    EXPECT_TRUE(wavchunks::appendMetaData(m_path, {{QStringLiteral("X"), QStringLiteral("y")}}));
    EXPECT_EQ(content(), bytes);
}

TEST_F(WavSamples, MarkersThatAWavCannotHoldAreLeftOutWithALineInTheLog)
{
    put(wave(1, 1, 8000, 16, {}));
    testsupport::expectWarning(QStringLiteral("marker 2"));
    testsupport::expectWarning(QStringLiteral("marker 3"));
    ASSERT_TRUE(wavchunks::appendMarkers(
        m_path, {{1, 4294967295, 1LL << 40, ""}, {2, -1, 0, ""}, {3, 1LL << 32, 0, ""}}));
    MarkerList markers;
    ASSERT_TRUE(wavchunks::readMarkers(m_path, markers));
    EXPECT_EQ(markers, (MarkerList{{1, 4294967295, 4294967295, ""}}));
}

TEST_F(WavSamples, APadByteThatAnEditorForgotIsPutIn)
{
    QByteArray bytes = wave(1, 1, 8000, 8, QByteArray(3, '\x80'));
    bytes.chop(1);
    put(bytes);
    ASSERT_TRUE(wavchunks::appendMarkers(m_path, {{1, 2, 0, "m"}}));
    MarkerList markers;
    ASSERT_TRUE(wavchunks::readMarkers(m_path, markers));
    EXPECT_EQ(markers, (MarkerList{{1, 2, 0, "m"}}));
    EXPECT_EQ(readBack(content(), modeltest::realFormat(1, 8000)), (Floats{0, 0, 0}));
    // And a few bytes behind the last chunk hide nothing.
    put(content() + QByteArray(5, 'x'));
    ASSERT_TRUE(wavchunks::appendMetaData(m_path, {{QStringLiteral("INAM"), QStringLiteral("n")}}));
    MetaDataList tags;
    ASSERT_TRUE(wavchunks::readMetaData(m_path, tags));
    EXPECT_EQ(tags.size(), 1);
}

// --- refusals --------------------------------------------------------------------------------------

TEST_F(WavSamples, MoreThan4GiBIsRefusedWithWords)
{
    // A layer of that length without a byte of disk: its range is all that is asked for.
    const LayerPtr layer = modeltest::layerOf(modeltest::realFormat(1), {1, 2});
    layer->setScale(float(1u << 30), 1);
    ASSERT_EQ(layer->range().length, 1LL << 31);
    put("old");
    QString words;
    EXPECT_FALSE(wavsamples::writeWave(m_path, *layer, 1, 16, &words));
    EXPECT_TRUE(words.contains(m_path) && words.contains(QStringLiteral("4 GiB"))) << words.toStdString();
    EXPECT_EQ(content(), "old");

    // A file that is nearly full, without the blocks.
    QByteArray bytes = wave(1, 1, 8000, 16, {});
    const qint64 data = 0xffffffffLL - 44 - 8;
    bytes.replace(40, 4, little(quint64(data & ~1LL)));
    put(bytes);
    QFile file(m_path);
    ASSERT_TRUE(file.resize(44 + (data & ~1LL)));
    EXPECT_FALSE(wavchunks::appendMarkers(m_path, {{1, 1, 0, "m"}}, &words));
    EXPECT_TRUE(words.contains(QStringLiteral("4 GiB"))) << words.toStdString();
    EXPECT_EQ(file.size(), 44 + (data & ~1LL));
    file.remove();
}

TEST_F(WavSamples, ComplexSignalsAndUnknownFormsAreNotWritten)
{
    QString words;
    const LayerPtr layer = modeltest::layerOf(modeltest::realFormat(1), {1});
    for (const auto& form :
         {std::pair(1, 20), std::pair(3, 16), std::pair(6, 8), std::pair(2, 16), std::pair(1, 0)})
        EXPECT_FALSE(wavsamples::writeWave(m_path, *layer, form.first, form.second, &words));
    EXPECT_FALSE(wavsamples::writeWave(m_path, *Layer::create(modeltest::complexFormat()), 1, 16, &words));
    EXPECT_TRUE(words.contains(m_path));
    EXPECT_FALSE(QFile::exists(m_path));
}

TEST_F(WavSamples, WhatIsNoWavIsRefusedByAllSixAndStaysAsItIs)
{
    const LayerPtr layer = Layer::create(modeltest::realFormat(1, 8000));
    MarkerList markers;
    MetaDataList tags;
    const auto expectRefused = [&](const QString& path) {
        QString words;
        EXPECT_FALSE(wavchunks::appendMarkers(path, {{1, 1, 0, "m"}}, &words));
        EXPECT_TRUE(words.contains(path));
        EXPECT_FALSE(
            wavchunks::appendMetaData(path, {{QStringLiteral("INAM"), QStringLiteral("n")}}, &words));
        EXPECT_FALSE(wavsamples::readWave(path, *layer, 0, &words));
        EXPECT_TRUE(words.contains(path));
        EXPECT_FALSE(wavchunks::readMarkers(path, markers));
        EXPECT_FALSE(wavchunks::readMetaData(path, tags));
    };
    for (const QByteArray& bytes :
         {QByteArray(), QByteArray("RIFF"), QByteArray("RIFX\4\0\0\0WAVE", 12), QByteArray(500, 'x')}) {
        put(bytes);
        expectRefused(m_path);
        EXPECT_EQ(content(), bytes);
    }
    // Appended chunks would lie in the middle of what is announced.
    QByteArray cut = wave(1, 1, 8000, 16, QByteArray(100, '\0'));
    cut.chop(50);
    put(cut);
    EXPECT_FALSE(wavchunks::appendMarkers(m_path, {{1, 1, 0, "m"}}));
    EXPECT_EQ(content(), cut);
    QFile::remove(m_path);
    ASSERT_EQ(mkfifo(QFile::encodeName(m_path).constData(), 0600), 0);
    expectRefused(m_path);
    QString words;
    EXPECT_FALSE(wavsamples::writeWave(m_path, *layer, 1, 16, &words));
    expectRefused(testsupport::makeFolder());
    expectRefused(m_path + QStringLiteral("/none.wav"));
}

TEST_F(WavSamples, AFullDiskKeepsTheOldFile)
{
    const LayerPtr layer = modeltest::layerOf(modeltest::realFormat(1), Floats(200000));
    const QByteArray old = wave(1, 1, 8000, 16, QByteArray(2, '\0'));
    put(old);
    QString words;
    {
        const modeltest::DiskLimit limit(100000);
        EXPECT_FALSE(wavsamples::writeWave(m_path, *layer, 3, 32, &words));
        EXPECT_TRUE(words.contains(m_path));
        EXPECT_FALSE(wavchunks::appendMarkers(m_path, {{1, 1, 0, std::string(200000, 'x')}}, &words));
    }
    EXPECT_EQ(content(), old);
}

TEST_F(WavSamples, RandomDamageNeverHurts)
{
    const SamplingFormat format = modeltest::realFormat(2, 8000);
    const QByteArray whole = wave(1, 2, 8000, 16, QByteArray(64, '\5'));
    std::mt19937 random(9);
    const LayerPtr layer = Layer::create(format);
    for (int round = 0; round < 5000; ++round) {
        QByteArray bytes = whole;
        for (int i = 0; i < 3; ++i)
            bytes[4 + int(random() % uint32_t(bytes.size() - 4))] = char(random());
        bytes.truncate(int(random() % uint32_t(bytes.size() + 1)));
        QBuffer buffer(&bytes);
        buffer.open(QBuffer::ReadOnly);
        (void)wavsamples::readWave(buffer, *layer, 0);
        EXPECT_LE(layer->dataRange().length, 32); // as 8-bit codes there are most
    }
}

TEST_F(WavSamples, RealRecordingsKeepTheirMarkersAndTagsOnTheWayOutAndBack)
{
    const QString folder = testsupport::recordingsFolder();
    if (folder.isEmpty())
        GTEST_SKIP() << "MORVANE_RECORDINGS names no folder";
    for (const char* name : {"wav-cue-labl-16k.wav", "wav-info-ao27.wav", "wav-markers-all-robin.wav",
                             "wav-float32-bext-16k.wav"}) {
        SCOPED_TRACE(name);
        const QString source = folder + '/' + name;
        MarkerList markers;
        MetaDataList tags;
        ASSERT_TRUE(wavchunks::readMarkers(source, markers));
        ASSERT_TRUE(wavchunks::readMetaData(source, tags));
        put(wave(1, 1, 8000, 16, {}));
        ASSERT_TRUE(wavchunks::appendMarkers(m_path, markers));
        ASSERT_TRUE(wavchunks::appendMetaData(m_path, tags));
        MarkerList readMarkers;
        MetaDataList readTags;
        ASSERT_TRUE(wavchunks::readMarkers(m_path, readMarkers));
        ASSERT_TRUE(wavchunks::readMetaData(m_path, readTags));
        EXPECT_EQ(readMarkers, markers);
        EXPECT_EQ(readTags, tags);
    }
}

} // namespace
