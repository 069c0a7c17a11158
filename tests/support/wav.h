// Reads WAV files of tests and recordings: PCM of 8 to 32 bits and 32-bit floats.
#pragma once

#include <QFile>
#include <QtEndian>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

struct Wav
{
    double rate = 0;
    int channels = 0;
    std::vector<float> samples; // interleaved, full scale 1
};

namespace wavdetail {

inline float sampleAt(const uchar* at, int bytes, bool isFloat)
{
    if (isFloat)
        return qFromLittleEndian<float>(at);
    if (bytes == 1)
        return float(int(*at) - 128) / 128;
    uint32_t bits = 0; // the sample in the highest bytes
    for (int i = 0; i < bytes; ++i)
        bits |= uint32_t(at[i]) << (8 * (4 - bytes + i));
    return float(int32_t(bits)) / 2147483648.0f;
}

} // namespace wavdetail

// Throws where the file is none of these.
inline Wav readWav(const QString& path)
{
    QFile file(path);
    if (!file.open(QFile::ReadOnly))
        throw std::runtime_error("cannot open " + path.toStdString());
    const QByteArray bytes = file.readAll();
    const auto* data = reinterpret_cast<const uchar*>(bytes.constData());
    Wav wav;
    int width = 0;
    bool isFloat = false;
    for (int64_t at = 12; at + 8 <= bytes.size();) {
        const int64_t size =
            std::min<int64_t>(qFromLittleEndian<uint32_t>(data + at + 4), bytes.size() - at - 8);
        const uchar* body = data + at + 8;
        if (std::memcmp(data + at, "fmt ", 4) == 0 && size >= 16) {
            const auto tag = qFromLittleEndian<uint16_t>(body);
            // Of an extensible one the first bytes of the identifier tell.
            isFloat = (tag == 0xfffe && size >= 26 ? qFromLittleEndian<uint16_t>(body + 24) : tag) == 3;
            wav.channels = qFromLittleEndian<uint16_t>(body + 2);
            wav.rate = qFromLittleEndian<uint32_t>(body + 4);
            width = qFromLittleEndian<uint16_t>(body + 14) / 8;
        } else if (std::memcmp(data + at, "data", 4) == 0 && width >= 1 && width <= 4) {
            for (int64_t i = 0; i + width <= size; i += width)
                wav.samples.push_back(wavdetail::sampleAt(body + i, width, isFloat));
            return wav;
        }
        at += 8 + size + (size & 1);
    }
    throw std::runtime_error("no samples in " + path.toStdString());
}
