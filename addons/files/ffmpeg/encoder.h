// Writing through an encoder and a container of FFmpeg.
#pragma once

#include <cstdint>

#include <QString>

class IExportSource;

struct EncoderSettings
{
    const char* container = nullptr;
    const char* encoder = nullptr;
    int bits = 0;              // of integers: 16 or 24; 0 where the encoder takes floats
    int quality = 0;           // of the encoder's own scale of variable rates; 0: `bitsPerSecond` counts
    int64_t bitsPerSecond = 0; // for each channel
};

[[nodiscard]] bool encoderIsThere(const EncoderSettings& settings);
// False on failure (told to the source) or cancel.
bool encode(const QString& path, const EncoderSettings& settings, IExportSource& source);
