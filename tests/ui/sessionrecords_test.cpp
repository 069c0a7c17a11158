#include "ui/sessionrecords.h"

#include <gtest/gtest.h>

#include <QDataStream>

#include <cmath>
#include <limits>
#include <random>

namespace {

template<class... Fields>
QByteArray bytes(qint16 header, const Fields&... fields)
{
    QByteArray result;
    QDataStream stream(&result, QIODevice::WriteOnly);
    stream.setVersion(17);
    stream << header;
    ((stream << fields), ...);
    return result;
}

TEST(SessionRecords, OrderOfTheCommandLineIsKept)
{
    const QByteArray queue =
        bytes(1, QStringLiteral("/a.wav"), qint64(1000), QStringLiteral("Caller"), QString()) +
        bytes(32, qint64(5), qint64(10)) + bytes(33, 100.0, 200.0) + bytes(16, QStringLiteral("JACK"));
    const SessionRecords read = readSessionRecords(queue);
    EXPECT_TRUE(read.fault.isEmpty());
    ASSERT_EQ(read.records.size(), 4);
    EXPECT_EQ(read.records[0].header, SessionHeader::Merge);
    EXPECT_EQ(read.records[0].path, QStringLiteral("/a.wav"));
    EXPECT_EQ(read.records[0].startSample, 1000);
    EXPECT_EQ(read.records[0].source, QStringLiteral("Caller"));
    EXPECT_EQ(read.records[1].header, SessionHeader::TimeRange);
    EXPECT_EQ(read.records[1].start, 5);
    EXPECT_EQ(read.records[1].length, 10);
    EXPECT_EQ(read.records[2].header, SessionHeader::FreqRange);
    EXPECT_EQ(read.records[2].length, 200);
    EXPECT_EQ(read.records[3].api, QStringLiteral("JACK"));
}

TEST(SessionRecords, NegativeLengthTakesItsAbsoluteValue)
{
    const SessionRecords read =
        readSessionRecords(bytes(32, qint64(7), qint64(-100)) + bytes(33, -50.0, -25.0));
    ASSERT_EQ(read.records.size(), 2);
    EXPECT_EQ(read.records[0].length, 100);
    EXPECT_EQ(read.records[1].start, -50);
    EXPECT_EQ(read.records[1].length, 25);
}

TEST(SessionRecords, NullServerNameIsARecordWithoutReplyPath)
{
    const SessionRecords read =
        readSessionRecords(bytes(0, QStringLiteral("/a"), qint64(0), QStringLiteral("x"), QString()));
    ASSERT_EQ(read.records.size(), 1);
    EXPECT_TRUE(read.records[0].server.isEmpty());
}

TEST(SessionRecords, UnknownHeaderEndsTheReadingButWhatStoodBeforeCounts)
{
    const SessionRecords read =
        readSessionRecords(bytes(32, qint64(0), qint64(9)) + bytes(77) + bytes(32, qint64(1), qint64(2)));
    EXPECT_EQ(read.records.size(), 1);
    EXPECT_EQ(read.fault, QStringLiteral("unknown header 77"));
}

TEST(SessionRecords, EveryWritingReadsBack)
{
    SessionRecord record;
    record.header = SessionHeader::Replace;
    record.path = QStringLiteral("/tmp/\u00e4\U0001F3B5 b.wav");
    record.startSample = 123456789012;
    record.source = QStringLiteral("s");
    record.server = QStringLiteral("mvp6srv");
    const SessionRecords read = readSessionRecords(toSessionBytes(record));
    ASSERT_EQ(read.records.size(), 1);
    EXPECT_EQ(read.records[0].path, record.path);
    EXPECT_EQ(read.records[0].startSample, record.startSample);
    EXPECT_EQ(read.records[0].server, record.server);
}

TEST(SessionRecords, EveryCutOfARecordIsAFaultAndNeverAHalfRecord)
{
    const QByteArray whole =
        bytes(0, QStringLiteral("/some/file.wav"), qint64(3), QStringLiteral("me"), QStringLiteral("srv"));
    for (int size = 1; size < whole.size(); ++size) {
        const SessionRecords read = readSessionRecords(whole.left(size));
        EXPECT_TRUE(read.records.isEmpty()) << size;
        EXPECT_FALSE(read.fault.isEmpty()) << size;
    }
    EXPECT_EQ(readSessionRecords(whole).records.size(), 1);
    EXPECT_TRUE(readSessionRecords({}).fault.isEmpty());
}

TEST(SessionRecords, LyingLengthsAndMadNumbersAreRefused)
{
    QByteArray lying = bytes(0);
    lying += QByteArray::fromHex("fffffff0") + QByteArray(64, 'x');
    EXPECT_FALSE(readSessionRecords(lying).fault.isEmpty());

    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double infinite = std::numeric_limits<double>::infinity();
    const qint64 lowest = std::numeric_limits<qint64>::min();
    EXPECT_TRUE(readSessionRecords(bytes(33, nan, 1.0)).records.isEmpty());
    EXPECT_TRUE(readSessionRecords(bytes(33, 1.0, infinite)).records.isEmpty());
    EXPECT_TRUE(readSessionRecords(bytes(32, lowest, qint64(1))).records.isEmpty());
    EXPECT_TRUE(readSessionRecords(bytes(32, qint64(1), lowest)).records.isEmpty());
    EXPECT_TRUE(
        readSessionRecords(bytes(0, QStringLiteral("/a"), lowest, QString(), QString())).records.isEmpty());
}

TEST(SessionRecords, AFloodIsCapped)
{
    const QByteArray one = bytes(32, qint64(0), qint64(1));
    const SessionRecords many = readSessionRecords(one.repeated(10001));
    EXPECT_EQ(many.records.size(), 10000);
    EXPECT_FALSE(many.fault.isEmpty());
    EXPECT_TRUE(readSessionRecords(one.repeated(10000)).fault.isEmpty());
    EXPECT_TRUE(readSessionRecords(QByteArray((16 << 20) + 1, '\0')).records.isEmpty());
}

TEST(SessionRecords, NoiseNeverYieldsARecordOutOfBounds)
{
    std::mt19937 random(4711);
    for (int round = 0; round < 2000; ++round) {
        QByteArray noise(int(random() % 80), '\0');
        for (char& byte : noise)
            byte = char(random() % 4 ? 0 : random());
        for (const SessionRecord& record : readSessionRecords(noise).records) {
            EXPECT_TRUE(std::isfinite(record.start));
            EXPECT_GE(record.length, 0);
            EXPECT_LE(std::abs(record.startSample), 1LL << 50);
        }
    }
}

TEST(SessionScan, FindsTheWholeRecordsOfAStreamCutAnywhere)
{
    const QByteArray first =
        bytes(0, QStringLiteral("/a \u00e4.wav"), qint64(3), QStringLiteral("me"), QString());
    const QByteArray second = bytes(32, qint64(5), qint64(10)) + bytes(33, 1.0, 2.0);
    const QByteArray third = bytes(16, QStringLiteral("JACK"));
    const QByteArray stream = first + second + third;
    for (int size = 0; size <= stream.size(); ++size) {
        const SessionScan scan = scanSessionRecords(stream.left(size));
        EXPECT_TRUE(scan.fault.isEmpty()) << size;
        EXPECT_LE(scan.whole, size);
        const SessionRecords read = readSessionRecords(stream.left(scan.whole));
        EXPECT_TRUE(read.fault.isEmpty()) << size;
        EXPECT_EQ(read.records.size(), scan.records) << size;
        const int expected = size < first.size()        ? 0
                             : size < first.size() + 18 ? 1
                             : size < first.size() + 36 ? 2
                             : size < stream.size()     ? 3
                                                        : 4;
        EXPECT_EQ(scan.records, expected) << size;
    }
}

TEST(SessionScan, WhatCanNeverBecomeARecordIsAFaultAtOnce)
{
    EXPECT_EQ(scanSessionRecords(bytes(77)).fault, QStringLiteral("unknown header 77"));
    EXPECT_EQ(scanSessionRecords(bytes(-1)).fault, QStringLiteral("unknown header -1"));
    EXPECT_FALSE(scanSessionRecords(bytes(16) + QByteArray::fromHex("fffffff0")).fault.isEmpty());
    EXPECT_FALSE(scanSessionRecords(bytes(16) + QByteArray::fromHex("00000003")).fault.isEmpty())
        << "half a unit";
    EXPECT_TRUE(scanSessionRecords(bytes(16) + QByteArray::fromHex("ffffffff")).fault.isEmpty())
        << "a null text";
    const SessionScan scan = scanSessionRecords(bytes(33, 1.0, 2.0) + bytes(3));
    EXPECT_EQ(scan.records, 1);
    EXPECT_FALSE(scan.fault.isEmpty());
}

// Both readers agree on what is a record, for bytes that nobody wrote on purpose.
TEST(SessionScan, NoiseIsJudgedAsTheReaderJudgesIt)
{
    std::mt19937 random(815);
    for (int round = 0; round < 5000; ++round) {
        QByteArray noise(int(random() % 80), '\0');
        for (char& byte : noise)
            byte = char(random() % 8 ? 0 : random());
        const SessionScan scan = scanSessionRecords(noise);
        ASSERT_GE(scan.whole, 0);
        ASSERT_LE(scan.whole, noise.size());
        ASSERT_GE(scan.records, readSessionRecords(noise).records.size());
        for (const SessionRecord& record : readSessionRecords(noise.left(scan.whole)).records)
            ASSERT_TRUE(std::isfinite(record.start));
    }
}

} // namespace
