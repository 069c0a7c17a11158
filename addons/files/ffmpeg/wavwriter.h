// WAV files as this program writes them.
#pragma once

#include "plugins/ifileplugin.h"

#include <cstdint>

#include <QByteArray>
#include <QFile>
#include <QString>

// Mono (mask 4) and stereo (mask 3) in the plain form, `fmt ` of 16 bytes for integers and 18 for
// floats; everything else in the extensible form. Behind the samples come the markers (`cue `, then
// LIST adtl with all `labl` before all `ltxt`, as many readers stop at the first `ltxt`) and LIST INFO.
// A file beyond 4 GiB becomes an RF64. Complex samples are refused.
class WavWriter
{
public:
    // `bits` 16, 24 or 32; 32 when `isFloat`.
    WavWriter(const QString& path, int bits, bool isFloat);

    // False on failure (told to the source) or cancel.
    bool write(IExportSource& source);

    // The chunks by themselves, from id to pad byte; empty when there is nothing to write. Positions
    // and lengths beyond 32 bits have no place in a cue point: such markers are left out.
    [[nodiscard]] static QByteArray markerChunks(const MarkerList& markers);
    // Tags whose name is not of four Latin-1 characters are left out.
    [[nodiscard]] static QByteArray infoChunk(const MetaDataList& tags);

private:
    [[nodiscard]] QByteArray head(const SamplingFormat& format, int64_t dataBytes, int64_t riffBytes,
                                  int64_t frames) const;
    [[nodiscard]] QByteArray formatChunk(const SamplingFormat& format) const;
    bool writeSamples(IExportSource& source);
    QByteArray encoded(const float* samples, int64_t count) const;

    QFile m_file;
    int m_bits;
    bool m_isFloat;
};
