// A reader of the binary form for the tests, written from the table of the form and nothing else.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

#include <QByteArray>
#include <QList>
#include <QString>

namespace projecttest {

// Takes record after record; each call names what must come next, and fails the test when something
// else does.
class RecordDump
{
public:
    explicit RecordDump(const QByteArray& bytes) : m_bytes(bytes), m_ends{bytes.size()} {}

    void magic(const char* expected)
    {
        EXPECT_EQ(m_bytes.mid(int(m_at), 5), QByteArray(expected, 5));
        m_at += 5;
    }
    int32_t i32(uint32_t id) { return number<int32_t>(id, 4); }
    uint32_t u32(uint32_t id) { return number<uint32_t>(id, 4); }
    int64_t i64(uint32_t id) { return number<int64_t>(id, 8); }
    double f64(uint32_t id) { return number<double>(id, 8); }
    float f32(uint32_t id) { return number<float>(id, 4); }
    QString text(uint32_t id)
    {
        const uint64_t size = head(id);
        EXPECT_EQ(size % 2, 0u);
        QString text;
        for (uint64_t i = 0; i + 1 < size; i += 2)
            text += QChar(ushort(quint8(byte(i)) | quint8(byte(i + 1)) << 8));
        m_at += int64_t(size);
        return text;
    }
    QByteArray raw(uint32_t id)
    {
        const auto size = int64_t(head(id));
        const QByteArray bytes = m_bytes.mid(int(m_at), int(size));
        EXPECT_EQ(bytes.size(), size);
        m_at += size;
        return bytes;
    }
    void enter(uint32_t id)
    {
        const auto size = int64_t(head(id));
        EXPECT_LE(m_at + size, m_ends.last());
        m_ends << m_at + size;
    }
    void leave() { EXPECT_EQ(m_at, m_ends.takeLast()); }
    [[nodiscard]] bool atEnd() const { return m_at == m_bytes.size(); }

private:
    [[nodiscard]] char byte(uint64_t offset) const
    {
        const int64_t at = m_at + int64_t(offset);
        return at < m_bytes.size() ? m_bytes[int(at)] : '\0';
    }
    uint64_t little(int width)
    {
        uint64_t value = 0;
        for (int i = 0; i < width; ++i)
            value |= uint64_t(quint8(byte(uint64_t(i)))) << (8 * i);
        m_at += width;
        return value;
    }
    uint64_t head(uint32_t id)
    {
        EXPECT_EQ(little(4), id) << "at byte " << m_at - 4;
        return little(8);
    }
    template<class T>
    T number(uint32_t id, uint64_t width)
    {
        EXPECT_EQ(head(id), width);
        const uint64_t bits = little(int(width));
        T value;
        std::memcpy(&value, &bits, sizeof value); // on a little-endian machine
        return value;
    }

    QByteArray m_bytes;
    int64_t m_at = 0;
    QList<int64_t> m_ends; // of the records around the present place
};

// A file put together by hand, for damage of all kinds.
class RecordMaker
{
public:
    template<class T>
    static QByteArray little(T value)
    {
        return QByteArray(reinterpret_cast<const char*>(&value), sizeof value);
    }
    static QByteArray raw(uint32_t id, const QByteArray& payload)
    {
        return little(id) + little(uint64_t(payload.size())) + payload;
    }
    static QByteArray i32(uint32_t id, int32_t value) { return raw(id, little(value)); }
    static QByteArray i64(uint32_t id, int64_t value) { return raw(id, little(value)); }
    static QByteArray f64(uint32_t id, double value) { return raw(id, little(value)); }
    static QByteArray text(uint32_t id, const QString& value)
    {
        return raw(id, QByteArray(reinterpret_cast<const char*>(value.utf16()), 2 * value.size()));
    }
    // "MVP02" and the exact format.
    static QByteArray head(int32_t channels = 2, double rate = 44100, int32_t sampleType = 1)
    {
        return "MVP02" + i32(10, sampleType) + f64(11, rate) + i32(12, 0) + i32(13, channels) +
               i64(14, channels >= 0 && channels < 63 ? (1LL << channels) - 1 : -1);
    }
    // Of the project's format.
    static QByteArray layer(const QString& name, const QByteArray& samples)
    {
        return raw(16, text(0, name) + raw(32, samples));
    }
    static QByteArray group(const QString& name, int32_t count)
    {
        return raw(17, text(0, name) + i32(48, 1) + i32(49, count));
    }
    static QByteArray floats(const std::vector<float>& values)
    {
        return QByteArray(reinterpret_cast<const char*>(values.data()), int(values.size() * 4));
    }
};

} // namespace projecttest
