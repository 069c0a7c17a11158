// The text and marker chunks of WAV files: readers and writers.
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

// Both append chunks to a RIFF file that is there, in place, and count them in its head last; a failure
// takes them back. False with file and cause in `words` (may be null) when it cannot be done: no RIFF
// and WAVE, a last chunk that tells more than the file has, or more than 4 GiB in all. Texts are
// written in Latin-1, with a question mark for what that does not have.

// cue, and adtl with all `labl` before all `ltxt`, as other readers stop looking for texts at the first
// of those. A marker with length 0 has no `ltxt`. Markers before 0 or beyond 2^32 - 1 cannot be
// written and are left out, with a line in the log.
bool appendMarkers(const QString& path, const MarkerList& markers, QString* words = nullptr);
// LIST INFO. Tags that are not four characters of ASCII are left out.
bool appendMetaData(const QString& path, const MetaDataList& tags, QString* words = nullptr);

} // namespace wavchunks
