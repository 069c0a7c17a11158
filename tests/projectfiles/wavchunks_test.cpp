#include "projectfiles/wavchunks.h"
#include "support/testsupport.h"

#include <gtest/gtest.h>

#include <random>

#include <sys/stat.h>

#include <QBuffer>
#include <QElapsedTimer>
#include <QFile>

namespace {

QByteArray le(quint64 value, int bytes = 4)
{
    QByteArray out;
    for (int i = 0; i < bytes; ++i)
        out += char(value >> (8 * i));
    return out;
}

QByteArray chunk(const QByteArray& id, const QByteArray& payload)
{
    return id + le(quint64(payload.size())) + payload +
           (payload.size() & 1 ? QByteArray(1, '\0') : QByteArray());
}

QByteArray wave(const QByteArray& chunks)
{
    return chunk("RIFF",
                 "WAVE" + chunk("fmt ", QByteArray(16, '\1')) + chunk("data", QByteArray(5, '\7')) + chunks);
}

QByteArray cue(const QList<QPair<int, int>>& points)
{
    QByteArray payload = le(quint64(points.size()));
    for (const auto& point : points) // the fourth and fifth field say nothing, the last counts
        payload += le(quint64(point.first)) + le(99) + "data" + le(1) + le(2) + le(quint64(point.second));
    return chunk("cue ", payload);
}

QByteArray label(const char* id, int marker, const QByteArray& text)
{
    return chunk(id, le(quint64(marker)) + text);
}

QByteArray region(int marker, quint32 length)
{
    return chunk("ltxt", le(quint64(marker)) + le(length) + "rgn " + QByteArray(8, '\0'));
}

MarkerList markersOf(QByteArray bytes, bool expected = true)
{
    QBuffer buffer(&bytes);
    buffer.open(QBuffer::ReadOnly);
    MarkerList markers;
    EXPECT_EQ(wavchunks::readMarkers(buffer, markers), expected);
    return markers;
}

MetaDataList tagsOf(QByteArray bytes, bool expected = true)
{
    QBuffer buffer(&bytes);
    buffer.open(QBuffer::ReadOnly);
    MetaDataList tags;
    EXPECT_EQ(wavchunks::readMetaData(buffer, tags), expected);
    return tags;
}

} // namespace

TEST(WavChunks, CuePointsTakeTheirLastFieldAsPosition)
{
    EXPECT_EQ(markersOf(wave(cue({{1, 100}, {7, 5}, {-2, 0}}))),
              (MarkerList{{1, 100, 0, ""}, {7, 5, 0, ""}, {-2, 0, 0, ""}}));
}

TEST(WavChunks, TextsAndLengthsGoToTheMarkerOfTheirId)
{
    const QByteArray list = "adtl" + label("labl", 2, QByteArray("two\0", 4)) + region(1, 50) +
                            label("note", 1, QByteArray("a note\0", 7)) +
                            label("labl", 9, QByteArray("nobody\0", 7)) + region(9, 3);
    EXPECT_EQ(markersOf(wave(cue({{1, 10}, {2, 20}}) + chunk("LIST", list))),
              (MarkerList{{1, 10, 50, "a note"}, {2, 20, 0, "two"}}));
}

TEST(WavChunks, LabelsMayStandBeforeTheCuePoints)
{
    EXPECT_EQ(markersOf(wave(chunk("LIST", "adtl" + label("labl", 1, "one")) + cue({{1, 10}}))),
              (MarkerList{{1, 10, 0, "one"}}));
}

TEST(WavChunks, ATextOfEvenLengthHasAnOddSizeAndAPadByte)
{
    const QByteArray even = label("labl", 1, QByteArray("even\0", 5));
    ASSERT_EQ(even.size(), 8 + 9 + 1);
    EXPECT_EQ(markersOf(wave(cue({{1, 1}, {2, 2}}) +
                             chunk("LIST", "adtl" + even + label("labl", 2, QByteArray("odd\0", 4))))),
              (MarkerList{{1, 1, 0, "even"}, {2, 2, 0, "odd"}}));
}

TEST(WavChunks, IdsInLowerCaseReadLikeThoseInUpperCase)
{
    QByteArray bytes = wave(cue({{1, 1}}) + chunk("LIST", "adtl" + label("labl", 1, "x") + region(1, 4)) +
                            chunk("LIST", "INFO" + chunk("INAM", "Name")));
    for (const char* id : {"RIFF", "WAVE", "LIST", "INFO", "INAM"})
        bytes.replace(id, QByteArray(id).toLower());
    for (const char* id : {"cue ", "adtl", "labl", "ltxt"})
        bytes.replace(id, QByteArray(id).toUpper());
    EXPECT_EQ(markersOf(bytes), (MarkerList{{1, 1, 4, "x"}}));
    EXPECT_EQ(tagsOf(bytes), (MetaDataList{{QStringLiteral("INAM"), QStringLiteral("Name")}}));
}

TEST(WavChunks, TextIsLatin1UpToItsNul)
{
    const QByteArray text("\xc4\xd6\xfc\0hidden", 10);
    EXPECT_EQ(markersOf(wave(cue({{1, 1}}) + chunk("LIST", "adtl" + label("labl", 1, text))))[0].description,
              "\xc3\x84\xc3\x96\xc3\xbc");
    EXPECT_EQ(tagsOf(wave(chunk("LIST", "INFO" + chunk("INAM", text)))).value(QStringLiteral("INAM")),
              QStringLiteral("\u00c4\u00d6\u00fc"));
}

TEST(WavChunks, InfoTagsAreReadAcrossPadBytes)
{
    const QByteArray list = "INFO" + chunk("INAM", QByteArray("four\0", 5)) +
                            chunk("IART", QByteArray("odd\0", 4)) + chunk("ICMT", QByteArray());
    EXPECT_EQ(tagsOf(wave(chunk("LIST", list))),
              (MetaDataList{{QStringLiteral("INAM"), QStringLiteral("four")},
                            {QStringLiteral("IART"), QStringLiteral("odd")},
                            {QStringLiteral("ICMT"), QString()}}));
}

TEST(WavChunks, OtherChunksAndListsAreSkipped)
{
    const QByteArray junk = chunk("JUNK", "cue " + le(1)) + chunk("LIST", "exif" + chunk("INAM", "no"));
    EXPECT_TRUE(markersOf(wave(junk)).isEmpty());
    EXPECT_TRUE(tagsOf(wave(junk)).isEmpty());
    EXPECT_EQ(markersOf(wave(junk + cue({{3, 4}}))).size(), 1);
}

TEST(WavChunks, ALongFileTellsTheSizeOfItsDataElsewhere)
{
    const QByteArray data(1001, '\1');
    const QByteArray bytes = "RF64" + le(0xffffffff) + "WAVE" +
                             chunk("ds64", le(0, 8) + le(1001, 8) + le(0, 8) + le(0)) + "data" +
                             le(0xffffffff) + data + '\0' + cue({{1, 8}});
    EXPECT_EQ(markersOf(bytes), (MarkerList{{1, 8, 0, ""}}));
}

TEST(WavChunks, WhatIsNoWaveIsRefusedAndNothingIsTouched)
{
    for (const QByteArray& bytes : {QByteArray(), QByteArray("RIFF"), QByteArray("RIFF\0\0\0\0AVI ", 12),
                                    QByteArray("FORM\0\0\0\0WAVE", 12), QByteArray(100, 'x')}) {
        EXPECT_TRUE(markersOf(bytes, false).isEmpty());
        EXPECT_TRUE(tagsOf(bytes, false).isEmpty());
    }
    MarkerList markers{{1, 2, 3, "kept"}};
    EXPECT_FALSE(wavchunks::readMarkers(QStringLiteral("/nowhere.wav"), markers));
    EXPECT_EQ(markers.size(), 1);
}

TEST(WavChunks, AFolderAndAPipeAreRefusedAtOnce)
{
    const QString fifo = testsupport::makeFolder() + QStringLiteral("/x.wav");
    ASSERT_EQ(mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);
    MarkerList markers;
    MetaDataList tags;
    EXPECT_FALSE(wavchunks::readMarkers(fifo, markers));
    EXPECT_FALSE(wavchunks::readMetaData(fifo, tags));
    EXPECT_FALSE(wavchunks::readMetaData(testsupport::makeFolder(), tags));
}

TEST(WavChunks, LyingSizesAndCountsAreHeldAgainstTheFile)
{
    // A count of four billion points with one behind it.
    QByteArray liar = cue({{1, 10}});
    liar.replace(8, 4, le(0xffffffff));
    EXPECT_EQ(markersOf(wave(liar)).size(), 1);
    // A label, a list and a chunk that reach far beyond the end.
    QByteArray bytes = wave(cue({{1, 10}}) + chunk("LIST", "adtl" + label("labl", 1, "text")));
    bytes.replace(bytes.lastIndexOf("labl") + 4, 4, le(0xfffffff0));
    EXPECT_EQ(markersOf(bytes), (MarkerList{{1, 10, 0, "text"}}));
    bytes.replace(bytes.indexOf("LIST") + 4, 4, le(0xfffffffe));
    EXPECT_EQ(markersOf(bytes), (MarkerList{{1, 10, 0, "text"}}));
    // Labels too short for their id.
    EXPECT_EQ(markersOf(wave(cue({{1, 10}}) +
                             chunk("LIST", "adtl" + chunk("labl", "ab") + chunk("ltxt", "abcdef")))),
              (MarkerList{{1, 10, 0, ""}}));
}

TEST(WavChunks, AMillionEmptyChunksTakeNoTime)
{
    QByteArray many;
    for (int i = 0; i < 1000000; ++i)
        many += "junk" + le(0);
    QElapsedTimer timer;
    timer.start();
    EXPECT_EQ(markersOf(wave(many + cue({{1, 1}}))).size(), 1);
    EXPECT_LT(timer.elapsed(), 20000);
}

TEST(WavChunks, RandomDamageNeverHurts)
{
    const QByteArray whole =
        wave(cue({{1, 10}, {2, 20}}) + chunk("LIST", "adtl" + label("labl", 1, "one") + region(2, 5)) +
             chunk("LIST", "INFO" + chunk("INAM", "Name")));
    std::mt19937 engine(3);
    for (int round = 0; round < 5000; ++round) {
        QByteArray bytes = whole;
        for (int i = 0; i < 4; ++i)
            bytes[12 + int(engine() % uint32_t(bytes.size() - 12))] = char(engine());
        bytes.truncate(12 + int(engine() % uint32_t(bytes.size())));
        EXPECT_LE(markersOf(bytes).size(), bytes.size() / 24);
        EXPECT_LE(tagsOf(bytes).size(), bytes.size() / 8);
    }
}

TEST(WavChunks, RealRecordingsHaveTheirMarkersAndTags)
{
    const QString folder = testsupport::recordingsFolder();
    if (folder.isEmpty())
        GTEST_SKIP() << "MORVANE_RECORDINGS names no folder";
    MarkerList markers;
    ASSERT_TRUE(wavchunks::readMarkers(folder + QStringLiteral("/wav-cue-labl-16k.wav"), markers));
    EXPECT_EQ(markers, (MarkerList{{1, 24000, 0, "wave1"}, {2, 72000, 0, "wave2"}}));
    MetaDataList tags;
    ASSERT_TRUE(wavchunks::readMetaData(folder + QStringLiteral("/wav-info-ao27.wav"), tags));
    EXPECT_EQ(tags.value(QStringLiteral("IART")), QStringLiteral("EYESAT-1"));
    EXPECT_EQ(tags.size(), 4);
}
