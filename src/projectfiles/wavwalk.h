// From chunk to chunk through a WAV file, for the readers and writers of them.
#pragma once

#include <functional>

#include <QByteArray>

class QFile;
class QIODevice;

// Ids are compared without case. Every size is held against what is left of the file and of the chunk
// around it.
namespace wavwalk {

struct Chunk
{
    QByteArray id; // four characters, lower case
    qint64 begin = 0;
    qint64 size = 0;    // as far as the parent reaches
    qint64 missing = 0; // bytes that it tells beyond that

    [[nodiscard]] qint64 end() const { return begin + size; }
};

[[nodiscard]] quint32 u32(const QByteArray& bytes, int at);
[[nodiscard]] quint16 u16(const QByteArray& bytes, int at);

// Calls `take` for each chunk of [position, end); it may read anywhere. `longData` is the size of a
// data chunk that is too long for its own size field; below 0 for none.
void walk(QIODevice& device, qint64 position, qint64 end, qint64 longData,
          const std::function<void(const Chunk&)>& take);
// The top level of a RIFF, RF64 or BW64 file. False when this is no WAV.
bool walkFile(QIODevice& device, const std::function<void(const Chunk&)>& take);
// For reading. Pipes and devices, which would wait for ever, are refused.
bool openRegular(QFile& file);

} // namespace wavwalk
