#include "projectfiles/wavchunks.h"

#include "projectfiles/wavwalk.h"

#include <algorithm>

#include <QFile>
#include <QHash>
#include <QtEndian>

using namespace wavwalk;

namespace {

constexpr int maxMarkers = 1000000;
constexpr qint64 maxText = 1 << 20;
constexpr qint64 cueBytes = 24;

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
