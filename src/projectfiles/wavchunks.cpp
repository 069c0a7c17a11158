#include "projectfiles/wavchunks.h"

#include <algorithm>
#include <functional>

#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QtEndian>

namespace {

constexpr int maxMarkers = 1000000;
constexpr int maxChunks = 4 * maxMarkers; // of one list; bounds the time that a lying file can cost
constexpr qint64 maxText = 1 << 20;
constexpr qint64 cueBytes = 24;
constexpr quint32 sizeInDs64 = 0xffffffff;

struct Chunk
{
    QByteArray id; // four characters, lower case
    qint64 begin = 0;
    qint64 size = 0; // as far as the parent reaches

    [[nodiscard]] qint64 end() const { return begin + size; }
};

quint32 u32(const QByteArray& bytes, int at)
{
    return qFromLittleEndian<quint32>(bytes.constData() + at);
}

// Calls `take` for each chunk of [position, end); it may read anywhere. `longData` is the size of a
// data chunk that is too long for its own size field.
void walk(QIODevice& device, qint64 position, qint64 end, qint64 longData,
          const std::function<void(const Chunk&)>& take)
{
    for (int count = 0; count < maxChunks && end - position >= 8 && device.seek(position); ++count) {
        const QByteArray head = device.read(8);
        if (head.size() < 8)
            return;
        Chunk chunk{head.left(4).toLower(), position + 8, u32(head, 4)};
        if (chunk.id == "data" && u32(head, 4) == sizeInDs64 && longData >= 0)
            chunk.size = longData;
        chunk.size = std::min(chunk.size, end - chunk.begin);
        take(chunk);
        position = chunk.end() + (chunk.size & 1);
    }
}

// The top level. False when this is no WAV.
bool walkFile(QIODevice& device, const std::function<void(const Chunk&)>& take)
{
    if (!device.seek(0))
        return false;
    const QByteArray head = device.read(12);
    const QByteArray form = head.left(4).toLower();
    const bool isLong = form == "rf64" || form == "bw64";
    if (head.size() < 12 || (form != "riff" && !isLong) || head.mid(8, 4).toLower() != "wave")
        return false;
    qint64 longData = -1;
    if (isLong) { // ds64 comes first: u64 RIFF size, u64 data size
        const QByteArray ds64 = device.read(24);
        if (ds64.size() == 24 && ds64.left(4).toLower() == "ds64")
            longData = std::max<qint64>(-1, qFromLittleEndian<qint64>(ds64.constData() + 16));
    }
    walk(device, 12, device.size(), longData, take);
    return true;
}

// The form type of a LIST chunk, lower case; the chunk then holds the rest.
QByteArray listType(QIODevice& device, Chunk& chunk)
{
    if (chunk.id != "list" || chunk.size < 4 || !device.seek(chunk.begin))
        return {};
    const QByteArray type = device.read(4).toLower();
    chunk.begin += 4;
    chunk.size -= 4;
    return type;
}

QString readText(QIODevice& device, qint64 position, qint64 size)
{
    if (!device.seek(position))
        return {};
    const QByteArray bytes = device.read(std::min(size, maxText));
    return QString::fromLatin1(bytes.constData(), int(qstrnlen(bytes.constData(), uint(bytes.size()))));
}

void readCue(QIODevice& device, const Chunk& chunk, MarkerList& markers)
{
    if (chunk.size < 4 || !device.seek(chunk.begin))
        return;
    const qint64 count = std::min({qint64(u32(device.read(4).leftJustified(4, '\0'), 0)),
                                   (chunk.size - 4) / cueBytes, qint64(maxMarkers - markers.size())});
    for (qint64 i = 0; i < count; ++i) {
        const QByteArray row = device.read(cueBytes);
        if (row.size() < cueBytes)
            return;
        markers << Marker{int32_t(u32(row, 0)), u32(row, 20), 0, {}};
    }
}

struct Labels
{
    QHash<int32_t, std::string> texts;
    QHash<int32_t, int64_t> lengths;
};

void readLabel(QIODevice& device, const Chunk& chunk, Labels& labels)
{
    const bool isText = chunk.id == "labl" || chunk.id == "note";
    const bool isRegion = chunk.id == "ltxt";
    if ((!isText && !isRegion) || !device.seek(chunk.begin) || labels.texts.size() > maxMarkers ||
        labels.lengths.size() > maxMarkers)
        return;
    const QByteArray head = device.read(std::min<qint64>(chunk.size, 8));
    if (head.size() < (isRegion ? 8 : 4))
        return;
    const auto id = int32_t(u32(head, 0));
    if (isRegion)
        labels.lengths.insert(id, u32(head, 4));
    else
        labels.texts.insert(id, readText(device, chunk.begin + 4, chunk.size - 4).toStdString());
}

// Pipes and devices would wait for ever.
bool openRegular(QFile& file)
{
    return QFileInfo(file.fileName()).isFile() && file.open(QFile::ReadOnly);
}

} // namespace

bool wavchunks::readMarkers(const QString& path, MarkerList& markers)
{
    QFile file(path);
    return openRegular(file) && readMarkers(file, markers);
}

bool wavchunks::readMarkers(QIODevice& device, MarkerList& markers)
{
    const int first = markers.size();
    Labels labels;
    const bool isWave = walkFile(device, [&](Chunk chunk) {
        if (chunk.id == "cue ")
            readCue(device, chunk, markers);
        else if (listType(device, chunk) == "adtl")
            walk(device, chunk.begin, chunk.end(), -1,
                 [&](const Chunk& label) { readLabel(device, label, labels); });
    });
    // Labels may stand before the cue points that they belong to.
    for (int i = first; i < markers.size(); ++i) {
        Marker& marker = markers[i];
        marker.description = labels.texts.value(marker.id);
        marker.length = labels.lengths.value(marker.id);
    }
    return isWave;
}

bool wavchunks::readMetaData(const QString& path, MetaDataList& tags)
{
    QFile file(path);
    return openRegular(file) && readMetaData(file, tags);
}

bool wavchunks::readMetaData(QIODevice& device, MetaDataList& tags)
{
    return walkFile(device, [&](Chunk chunk) {
        if (listType(device, chunk) != "info")
            return;
        walk(device, chunk.begin, chunk.end(), -1, [&](const Chunk& entry) {
            if (tags.size() < maxMarkers)
                tags.insert(QString::fromLatin1(entry.id).toUpper(),
                            readText(device, entry.begin, entry.size));
        });
    });
}
