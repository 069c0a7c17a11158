// Fuzzes what a launch may send to the session: the bytes as they arrive, and the records in them.
#include "ui/sessionrecords.h"

#include "nodisk.h"

#include <algorithm>
#include <cmath>

namespace {

bool isSame(const SessionRecord& a, const SessionRecord& b)
{
    return a.header == b.header && a.path == b.path && a.startSample == b.startSample &&
           a.source == b.source && a.server == b.server && a.api == b.api && a.start == b.start &&
           a.length == b.length;
}

void check(const SessionRecords& read, int bytes)
{
    require(read.records.size() <= std::min(SessionInput::maxRecords, bytes / 6 + 1));
    for (const SessionRecord& record : read.records) {
        require(std::isfinite(record.start) && std::isfinite(record.length) && record.length >= 0);
        require(record.path.size() + record.source.size() + record.server.size() + record.api.size() <=
                bytes);
        const SessionRecords again = readSessionRecords(toSessionBytes(record));
        require(again.fault.isEmpty() && again.records.size() == 1 && isSame(again.records[0], record));
    }
}

// All of it, in pieces of `size` bytes; what is complete, one after the other.
QByteArray inPieces(SessionInput& input, const QByteArray& bytes, int size)
{
    QByteArray whole;
    for (int at = 0; at < bytes.size(); at += size)
        whole += input.take(bytes.mid(at, size));
    return whole;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size)
{
    if (size < 1)
        return 0;
    const QByteArray bytes(reinterpret_cast<const char*>(data + 1), int(size - 1));
    check(readSessionRecords(bytes), bytes.size());
    SessionInput atOnce, pieces;
    const QByteArray whole = atOnce.take(bytes);
    require(inPieces(pieces, bytes, 1 + data[0] % 64) == whole);
    require(atOnce.fault() == pieces.fault());
    require(bytes.startsWith(whole));
    // What the scan takes for complete the reader can read, but for numbers that make no sense.
    const SessionRecords read = readSessionRecords(whole);
    const SessionScan scan = scanSessionRecords(whole);
    require(scan.whole == whole.size() && scan.fault.isEmpty());
    require(read.fault.isEmpty() ? read.records.size() == scan.records
                                 : read.fault.contains(QLatin1String("bounds")));
    require(!atOnce.isInRecord() || whole.size() < bytes.size());
    return 0;
}
