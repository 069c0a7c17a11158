#include "projectfiles/wavwalk.h"

#include <algorithm>

#include <QFile>
#include <QFileInfo>
#include <QtEndian>

namespace {

constexpr int maxChunks = 4000000; // of one list; bounds the time that a lying file can cost
constexpr quint32 sizeInDs64 = 0xffffffff;

} // namespace

quint32 wavwalk::u32(const QByteArray& bytes, int at)
{
    return qFromLittleEndian<quint32>(bytes.constData() + at);
}

quint16 wavwalk::u16(const QByteArray& bytes, int at)
{
    return qFromLittleEndian<quint16>(bytes.constData() + at);
}

void wavwalk::walk(QIODevice& device, qint64 position, qint64 end, qint64 longData,
                   const std::function<void(const Chunk&)>& take)
{
    for (int count = 0; count < maxChunks && end - position >= 8 && device.seek(position); ++count) {
        const QByteArray head = device.read(8);
        if (head.size() < 8)
            return;
        Chunk chunk{head.left(4).toLower(), position + 8, u32(head, 4)};
        if (chunk.id == "data" && u32(head, 4) == sizeInDs64 && longData >= 0)
            chunk.size = longData;
        chunk.missing = std::max<qint64>(0, chunk.size - (end - chunk.begin));
        chunk.size -= chunk.missing;
        take(chunk);
        position = chunk.end() + (chunk.size & 1);
    }
}

bool wavwalk::walkFile(QIODevice& device, const std::function<void(const Chunk&)>& take)
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

bool wavwalk::openRegular(QFile& file)
{
    return QFileInfo(file.fileName()).isFile() && file.open(QFile::ReadOnly);
}
