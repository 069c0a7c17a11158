// The readers of the text and marker chunks of WAV files.
#pragma once

#include "model/types/marker.h"

#include <QString>

class QIODevice;

// RIFF, RF64 and BW64 alike. Ids are compared without case, numbers are little-endian, texts are
// Latin-1 up to their NUL. Chunks not named here are skipped. Every size is held against what is
// left of the file and of the parent chunk; where the file is damaged, reading ends with what was
// found before. At most a million markers and 1 MiB of one text are taken. Any thread.
namespace wavchunks {

// Appends the cue points in file order, each with the text of its `labl` or `note` (the later in
// the file wins) and the length of its `ltxt`, found by id. False when the file cannot be opened, is
// no regular file or no WAV; `markers` is then as before.
bool readMarkers(const QString& path, MarkerList& markers);
bool readMarkers(QIODevice& device, MarkerList& markers);

// Adds the entries of LIST INFO, keys in upper case. False as above.
bool readMetaData(const QString& path, MetaDataList& tags);
bool readMetaData(QIODevice& device, MetaDataList& tags);

} // namespace wavchunks
