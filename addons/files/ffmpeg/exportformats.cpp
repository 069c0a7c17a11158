#include "exportformats.h"

#include "encoder.h"
#include "wavwriter.h"

#include "plugins/ifileplugin.h"

namespace {

struct Format
{
    const char* filter;
    int wavBits; // 0: not written by WavWriter
    bool wavFloat;
    EncoderSettings encoder;
};

// Lossless forms of WAV first: the default must give back what was read, bit by bit.
const Format formats[] = {
    {"Microsoft WAV (*.wav)", 32, true, {}},
    {"Microsoft WAV 16-bit (*.wav)", 16, false, {}},
    {"Microsoft WAV 24-bit (*.wav)", 24, false, {}},
    {"Microsoft WAV 32-bit (*.wav)", 32, false, {}},
    {"FLAC (*.flac)", 0, false, {"flac", "flac", 24, 0, 0}},
    {"FLAC 16-bit (*.flac)", 0, false, {"flac", "flac", 16, 0, 0}},
    {"Ogg Vorbis (*.ogg)", 0, false, {"ogg", "libvorbis", 0, 6, 0}},
    {"Ogg Opus (*.opus)", 0, false, {"opus", "libopus", 0, 0, 80000}},
    {"MP3 (*.mp3)", 0, false, {"mp3", "libmp3lame", 0, 2, 0}},
};

} // namespace

QStringList exportformats::filters()
{
    QStringList list;
    for (const Format& format : formats)
        if (format.wavBits > 0 || encoderIsThere(format.encoder))
            list << QString::fromLatin1(format.filter);
    return list;
}

bool exportformats::write(const QString& path, const QString& filter, IExportSource& source)
{
    for (const Format& format : formats) {
        if (filter != QLatin1String(format.filter))
            continue;
        return format.wavBits > 0 ? WavWriter(path, format.wavBits, format.wavFloat).write(source)
                                  : encode(path, format.encoder, source);
    }
    return false;
}
