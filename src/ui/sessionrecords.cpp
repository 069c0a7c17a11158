#include "ui/sessionrecords.h"

#include <QDataStream>
#include <QtEndian>

#include <cmath>

namespace {

constexpr int streamVersion = 17;
constexpr int maxBytes = SessionInput::maxBytes;
constexpr int maxRecords = SessionInput::maxRecords;
constexpr double maxSample = double(1LL << 50);

void readFields(QDataStream& stream, SessionRecord& record)
{
    qint64 first = 0;
    qint64 second = 0;
    switch (record.header) {
    case SessionHeader::Edit:
    case SessionHeader::Merge:
    case SessionHeader::Replace:
        stream >> record.path >> first >> record.source >> record.server;
        record.startSample = first;
        record.start = double(first);
        break;
    case SessionHeader::AudioApi:
        stream >> record.api;
        break;
    case SessionHeader::TimeRange:
        stream >> first >> second;
        record.start = double(first);
        record.length = std::abs(double(second));
        break;
    case SessionHeader::FreqRange:
        stream >> record.start >> record.length;
        record.length = std::abs(record.length);
        break;
    }
}

bool isKnown(qint16 header)
{
    switch (SessionHeader(header)) {
    case SessionHeader::Edit:
    case SessionHeader::Merge:
    case SessionHeader::Replace:
    case SessionHeader::AudioApi:
    case SessionHeader::TimeRange:
    case SessionHeader::FreqRange:
        return true;
    }
    return false;
}

bool hasSaneNumbers(const SessionRecord& record)
{
    if (!std::isfinite(record.start) || !std::isfinite(record.length))
        return false;
    return record.header == SessionHeader::FreqRange ||
           (std::abs(record.start) <= maxSample && record.length <= maxSample);
}

QString unknownHeader(int header)
{
    return QStringLiteral("unknown header %1").arg(header);
}

// Walks over the fields of a record by their lengths. A position beyond the end stays there.
class Walk
{
public:
    explicit Walk(const QByteArray& bytes) : m_bytes(bytes) {}
    void to(int position) { m_at = position; }
    [[nodiscard]] int at() const { return m_at; }
    [[nodiscard]] bool isWhole() const { return m_at <= m_bytes.size(); }
    [[nodiscard]] bool isSane() const { return m_sane; }
    void skip(int bytes) { m_at += bytes; }
    template<class Number>
    Number take()
    {
        Number number = 0;
        if (m_at + int(sizeof number) <= m_bytes.size())
            number = qFromBigEndian<Number>(m_bytes.constData() + m_at);
        m_at += int(sizeof number);
        return number;
    }
    // UTF-16, its length in bytes before it.
    void skipString()
    {
        constexpr quint32 null = 0xffffffff;
        const auto length = take<quint32>();
        if (!isWhole() || length == null)
            return;
        if (length % 2 != 0 || length > maxBytes)
            m_sane = false;
        else
            m_at += int(length);
    }

private:
    const QByteArray& m_bytes;
    int m_at = 0;
    bool m_sane = true;
};

void skipFields(Walk& walk, SessionHeader header)
{
    constexpr int number = 8; // bytes
    switch (header) {
    case SessionHeader::Edit:
    case SessionHeader::Merge:
    case SessionHeader::Replace:
        walk.skipString();
        walk.skip(number);
        walk.skipString();
        walk.skipString();
        break;
    case SessionHeader::AudioApi:
        walk.skipString();
        break;
    case SessionHeader::TimeRange:
    case SessionHeader::FreqRange:
        walk.skip(2 * number);
        break;
    }
}

} // namespace

QByteArray toSessionBytes(const SessionRecord& record)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream.setVersion(streamVersion);
    stream << qint16(record.header);
    switch (record.header) {
    case SessionHeader::Edit:
    case SessionHeader::Merge:
    case SessionHeader::Replace:
        stream << record.path << qint64(record.startSample) << record.source << record.server;
        break;
    case SessionHeader::AudioApi:
        stream << record.api;
        break;
    case SessionHeader::TimeRange:
        stream << qint64(record.start) << qint64(record.length);
        break;
    case SessionHeader::FreqRange:
        stream << record.start << record.length;
        break;
    }
    return bytes;
}

SessionRecords readSessionRecords(const QByteArray& bytes)
{
    SessionRecords result;
    if (bytes.size() > maxBytes) {
        result.fault = QStringLiteral("%1 bytes are more than a command line may have").arg(bytes.size());
        return result;
    }
    QDataStream stream(bytes);
    stream.setVersion(streamVersion);
    while (!stream.atEnd()) {
        qint16 header = 0;
        stream >> header;
        if (stream.status() == QDataStream::Ok && !isKnown(header)) {
            result.fault = unknownHeader(header);
            return result;
        }
        SessionRecord record;
        record.header = SessionHeader(header);
        if (stream.status() == QDataStream::Ok)
            readFields(stream, record);
        if (stream.status() != QDataStream::Ok) {
            result.fault = QStringLiteral("a record is cut short");
            return result;
        }
        if (!hasSaneNumbers(record)) {
            result.fault =
                QStringLiteral("a number in record %1 is out of bounds").arg(result.records.size() + 1);
            return result;
        }
        if (result.records.size() == maxRecords) {
            result.fault = QStringLiteral("more than %1 records").arg(maxRecords);
            return result;
        }
        result.records << record;
    }
    return result;
}

SessionScan scanSessionRecords(const QByteArray& bytes)
{
    SessionScan scan;
    Walk walk(bytes);
    while (walk.isWhole()) {
        walk.to(scan.whole);
        const auto header = walk.take<qint16>();
        if (!walk.isWhole())
            break;
        if (!isKnown(header)) {
            scan.fault = unknownHeader(header);
            break;
        }
        skipFields(walk, SessionHeader(header));
        if (!walk.isSane()) {
            scan.fault = QStringLiteral("a text of impossible length");
            break;
        }
        if (!walk.isWhole())
            break;
        scan.whole = walk.at();
        ++scan.records;
    }
    return scan;
}

QByteArray SessionInput::take(const QByteArray& data)
{
    if (!m_fault.isEmpty())
        return {};
    m_bytes += data.size();
    m_partial += data;
    const SessionScan scan = scanSessionRecords(m_partial);
    m_fault = scan.fault;
    m_records += scan.records;
    if (m_bytes > maxBytes)
        m_fault = QStringLiteral("more than %1 MiB").arg(maxBytes >> 20);
    else if (m_records > maxRecords)
        m_fault = QStringLiteral("more than %1 records").arg(maxRecords);
    const QByteArray whole = m_records > maxRecords ? QByteArray() : m_partial.left(scan.whole);
    m_partial.remove(0, scan.whole);
    return whole;
}
