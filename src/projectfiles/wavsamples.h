// The samples of WAV files, between the host and a program that edits them.
#pragma once

#include "model/ilayer.h"

#include <cstdint>

#include <QString>

class QIODevice;

namespace wavsamples {

enum Tag : int32_t { TagInteger = 1, TagFloat = 3, TagALaw = 6, TagMuLaw = 7, TagExtensible = 65534 };

// Writes all that the layer shows (range()), with everything attached to it left out, as a RIFF file
// through SafeFile. TagInteger with 8, 16, 24 or 32 bits: rounded, and clipped at full scale. TagFloat
// with 32 or 64: as it is. One channel of mask 4 or two of mask 3 make the plain form of the format,
// all else the extensible one. False with file and cause in `words` (may be null): another tag or
// width, complex samples, more than 4 GiB, a target that cannot be written. GUI thread.
bool writeWave(const QString& path, const ILayer& layer, int32_t tag, int32_t bits, QString* words = nullptr);

// Writes the samples of a RIFF, RF64 or BW64 file into the layer from sample point `start` on, as one
// undoable change of it: integers of 8, 16, 24 and 32 bits, floats of 32 and 64, A-law and mu-law.
// Channel count and rounded rate must be the layer's, which must be real. A file that is cut gives what
// it has. False with the cause in `words` when nothing was written, or the disk was full.
bool readWave(const QString& path, ILayer& layer, int64_t start, QString* words = nullptr);
bool readWave(QIODevice& device, ILayer& layer, int64_t start, QString* words = nullptr);

} // namespace wavsamples
