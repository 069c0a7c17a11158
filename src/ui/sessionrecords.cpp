#include "ui/sessionrecords.h"

#include <QDataStream>

#include <cmath>

namespace {

constexpr int streamVersion = 17;
constexpr int maxBytes = 16 << 20;
constexpr int maxRecords = 10000;
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
            result.fault = QStringLiteral("unknown header %1").arg(header);
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
