// The project file: one self-contained file of tagged records, samples included.
#pragma once

#include "projectfiles/projectio.h"

class LayerFactory;
class QIODevice;

// The form. All numbers are little-endian. The five bytes "MVP02", then records of u32 id, u64 size of
// the payload and the payload, which for some ids is a list of records in its turn. Strings are UTF-16
// without count or terminator. Readers go from record to record by the sizes, so unknown ids do no
// harm. The tables of ids stand in projectfields.h and recordids.h.
//
// `progress` may be empty. Numbers and texts do not depend on the locale. GUI thread.

// Saves through SafeFile: the old file stays whole until the new one is on the disk. Samples are moved
// in pieces of a million bytes at most. A region is saved as a layer of the stretch that it shows. What
// is not saved: history, selection, and all that is computed from samples.
[[nodiscard]] SaveResult writeProjectBinary(const Project& project, const QString& path,
                                            const Progress& progress);

// Reads from `device`, which is open and can be sought; `factory` makes the layers. Every number is
// judged, every size is held against what is left of the file and of the record around it, and texts,
// depths and counts are bounded. A file that is cut off or lies opens with what is whole in it.
[[nodiscard]] ProjectReadResult readProjectBinary(QIODevice& device, LayerFactory& factory,
                                                  const Progress& progress);
// The same by path, with layers in the session folder. What is no regular file is refused.
[[nodiscard]] ProjectReadResult readProjectBinary(const QString& path, const Progress& progress);
