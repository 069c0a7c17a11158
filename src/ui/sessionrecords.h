// The records in which one launch tells the session what to do: files to open, ranges to show. They
// come from this process's own command line, and from other processes through a socket, so a reader
// trusts nothing in them.
#pragma once

#include <cstdint>

#include <QByteArray>
#include <QList>
#include <QString>

// Values of the header word; 0 to 2 are also the session type of ProjectTabs::parse.
enum class SessionHeader : qint16 {
    Edit = 0,
    Merge = 1,
    Replace = 2,
    AudioApi = 16,
    TimeRange = 32,
    FreqRange = 33,
};

// One record. Which members count follows from the header.
struct SessionRecord
{
    SessionHeader header = SessionHeader::Edit;
    // Edit, Merge, Replace
    QString path;
    int64_t startSample = 0;
    QString source; // display name of the caller, or the bare file name
    QString server; // socket name of the caller, may be empty
    // AudioApi
    QString api;
    // TimeRange: sample points; FreqRange: Hz. The length is never negative.
    double start = 0;
    double length = 0;
};

struct SessionRecords
{
    QList<SessionRecord> records;
    QString fault; // empty when every byte was understood
};

// The byte form: QDataStream version 17, records one after the other without framing.
[[nodiscard]] QByteArray toSessionBytes(const SessionRecord& record);

// All records up to the first fault: an unknown header, a record cut short, a number that is not
// finite, or more than 16 MiB or 10,000 records. What stood before the fault counts. A start sample
// beyond +-2^50 is a fault too, so that no sum of positions overflows later.
[[nodiscard]] SessionRecords readSessionRecords(const QByteArray& bytes);

// What has arrived of a stream of records so far.
struct SessionScan
{
    int whole = 0;   // bytes of complete records at the beginning
    int records = 0; // how many those are
    QString fault;   // why what follows can never become one; empty while more bytes may complete it
};

// Looks at no more than the lengths, so a large record that comes in many pieces costs nothing each time.
[[nodiscard]] SessionScan scanSessionRecords(const QByteArray& bytes);

// The bytes of one launch, as they arrive: in pieces of any size. Knows nothing of sockets.
class SessionInput
{
public:
    static constexpr int maxBytes = 16 << 20;
    static constexpr int maxRecords = 10000;

    // The records that are complete with `data`, as bytes. Once there is a fault nothing more is taken.
    [[nodiscard]] QByteArray take(const QByteArray& data);
    // Why nothing more can come: an unknown header, a text of impossible length, more than 16 MiB or more
    // than 10,000 records. Empty as long as all is well.
    [[nodiscard]] const QString& fault() const { return m_fault; }
    // The last record is not complete yet.
    [[nodiscard]] bool isInRecord() const { return !m_partial.isEmpty(); }

private:
    QByteArray m_partial; // the beginning of a record
    qint64 m_bytes = 0;
    int m_records = 0;
    QString m_fault;
};
