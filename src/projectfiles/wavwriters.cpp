// The half of wavchunks.h that writes.
#include "projectfiles/wavchunks.h"
#include "projectfiles/wavwalk.h"

#include <algorithm>

#include <QCoreApplication>
#include <QDebug>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QtEndian>

using namespace wavwalk;

namespace {

constexpr qint64 largest = 0xffffffff; // of a size in a RIFF file
constexpr int idBytes = 4;

QString tr(const char* text)
{
    return QCoreApplication::translate("WavFiles", text);
}

template<class T>
QByteArray little(T value)
{
    const T bytes = qToLittleEndian(value);
    return QByteArray(reinterpret_cast<const char*>(&bytes), sizeof bytes);
}

QByteArray chunk(const QByteArray& id, const QByteArray& payload)
{
    return id + little(quint32(payload.size())) + payload +
           (payload.size() & 1 ? QByteArray(1, '\0') : QByteArray());
}

// With the NUL that ends it, and none within.
QByteArray latin1(const QString& text)
{
    QByteArray bytes = text.toLatin1();
    const int end = bytes.indexOf('\0');
    return bytes.left(end < 0 ? bytes.size() : end) + '\0';
}

// The end of the last chunk with its pad byte, which may be missing. Below 0 when the file is none that
// chunks can be appended to.
qint64 endOfChunks(QFile& file)
{
    qint64 end = 12;
    bool whole = file.seek(0) && file.read(4).toLower() == "riff";
    whole = walkFile(file,
                     [&](const Chunk& chunk) {
                         end = chunk.end() + (chunk.size & 1);
                         whole = whole && chunk.missing == 0;
                     }) &&
            whole;
    return whole ? end : -1;
}

bool append(const QString& path, const QByteArray& chunks, QString* words)
{
    QFile file(path);
    const auto fail = [&](const QString& cause) {
        if (words)
            *words = QDir::toNativeSeparators(path) + QLatin1String(": ") + cause;
        return false;
    };
    if (!QFileInfo(path).isFile())
        return fail(tr("this is not a regular file"));
    if (!file.open(QFile::ReadWrite | QFile::ExistingOnly | QFile::Unbuffered))
        return fail(file.errorString());
    const qint64 before = file.size();
    const qint64 end = endOfChunks(file);
    if (end < 0)
        return fail(tr("this is no complete WAV file"));
    if (chunks.isEmpty())
        return true;
    // A few bytes behind the last chunk that are none would hide the new ones.
    const qint64 position = std::min(end, before);
    const QByteArray bytes = QByteArray(int(end - position), '\0') + chunks;
    const qint64 riff = position + bytes.size() - 8;
    if (riff > largest)
        return fail(tr("a WAV file holds no more than 4 GiB"));
    const QByteArray size = little(quint32(riff));
    if (file.seek(position) && file.write(bytes) == bytes.size() && file.seek(idBytes) &&
        file.write(size) == size.size())
        return true;
    const QString cause = file.errorString();
    file.resize(before);
    return fail(cause);
}

} // namespace

bool wavchunks::appendMarkers(const QString& path, const MarkerList& markers, QString* words)
{
    QByteArray points, labels, regions;
    quint32 count = 0;
    for (const Marker& marker : markers) {
        if (marker.position < 0 || marker.position > largest) {
            qWarning().noquote() << "marker" << marker.id << "does not fit into a WAV file:" << path;
            continue;
        }
        const QByteArray id = little(marker.id);
        const QByteArray none = little(quint32(0));
        points += id + none + "data" + none + none + little(quint32(marker.position));
        labels += chunk("labl", id + latin1(QString::fromStdString(marker.description)));
        if (marker.length > 0)
            regions += chunk("ltxt", id + little(quint32(std::min<qint64>(marker.length, largest))) + "rgn " +
                                         none + none); // country, language, dialect and code page
        ++count;
    }
    if (count == 0)
        return append(path, {}, words);
    return append(path, chunk("cue ", little(count) + points) + chunk("LIST", "adtl" + labels + regions),
                  words);
}

bool wavchunks::appendMetaData(const QString& path, const MetaDataList& tags, QString* words)
{
    QStringList keys = tags.keys();
    keys.sort(); // so that the same tags always give the same file
    QByteArray entries;
    for (const QString& key : qAsConst(keys)) {
        const bool isAscii = std::all_of(key.begin(), key.end(),
                                         [](QChar c) { return c.unicode() >= 0x20 && c.unicode() < 0x7f; });
        if (key.size() == idBytes && isAscii)
            entries += chunk(key.toLatin1(), latin1(tags.value(key)));
    }
    return append(path, entries.isEmpty() ? QByteArray() : chunk("LIST", "INFO" + entries), words);
}
