// Reads the 16-bit mono recordings of tests/data, which have the plain 44-byte head.
#pragma once

#include <QFile>

#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <vector>

struct Wav
{
    double rate = 0;
    std::vector<float> samples;
};

inline Wav readWav(const QString& path)
{
    QFile file(path);
    if (!file.open(QFile::ReadOnly))
        throw std::runtime_error("cannot open " + path.toStdString());
    const QByteArray bytes = file.readAll();
    constexpr int head = 44;
    if (bytes.size() < head || std::memcmp(bytes.constData() + 36, "data", 4) != 0)
        throw std::runtime_error("unexpected head in " + path.toStdString());
    uint32_t rate = 0;
    std::memcpy(&rate, bytes.constData() + 24, sizeof rate);
    Wav wav;
    wav.rate = rate;
    for (int at = head; at + 1 < bytes.size(); at += 2) {
        int16_t sample = 0;
        std::memcpy(&sample, bytes.constData() + at, sizeof sample);
        wav.samples.push_back(float(sample) / 32768);
    }
    return wav;
}
