// Names of text tags: those of FFmpeg's dictionaries and those of RIFF INFO.
#pragma once

#include "model/types/marker.h"

struct AVDictionary;

namespace tags {

// Adds the entries under their INFO names; one without such a name keeps its own, so that nothing
// is lost, though WAV files cannot take it.
void fromDictionary(const AVDictionary* dictionary, MetaDataList& out);
// Sets the entries that have a name in FFmpeg; others with names of four characters are left out.
void toDictionary(const MetaDataList& in, AVDictionary** dictionary);

} // namespace tags
