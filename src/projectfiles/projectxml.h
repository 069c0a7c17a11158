// The backup form of a project: an XML manifest that names raw sample files.
#pragma once

#include "projectfiles/projectio.h"

class LayerFactory;
class QIODevice;

// Layers and groups stand flat in the manifest, each group before its children, and tell how many
// direct children follow. Paths are relative to the folder of the manifest. Numbers are written in the
// shortest text that reads back the same, in the C locale. Characters that XML forbids become U+FFFD.
//
// `progress` may be empty. GUI thread.

// With SampleFiles::Copy, the user's save: the samples of the layers that have any go to
// <folder>/<base name>/layer<i>.pcm, i counting from 0, the base name being the file name without its
// last 4 characters. At every moment the manifest under `path` is the old or the new one, and what it
// names is complete (see sidecars.h).
// With SampleFiles::Reference, the session's manifest: no sample is touched; layers are named by their
// session files, with their lengths, since such a file may grow before the next manifest. A region names
// the file of its source, and where in it the stretch begins that it shows (one whose source has no file of
// its own is empty). `generation`: see SessionJournal; 0 for none.
// `sync` false, for the session's manifest: the new one replaces the old by rename, and the caller sees
// to it later that both are on the disk. A user's save always syncs.
// A failure leaves the manifest before it in place.
[[nodiscard]] SaveResult writeProjectXml(const Project& project, const QString& path, SampleFiles samples,
                                         const Progress& progress, bool sync = true, uint64_t generation = 0);

// Reads a manifest of at most 64 MiB from `device`, which is open and can be sought; `factory` makes
// the layers from the paths. A manifest whose head cannot be read is refused with its box, one without
// layers is refused without any; what comes before damage further down is opened.
[[nodiscard]] ProjectReadResult readProjectXml(QIODevice& device, LayerFactory& factory,
                                               const Progress& progress);
// The same by path, with layers in the session folder. With SampleFiles::Reference the files that the
// manifest names are adopted: they belong to the layers from now on, and are deleted with them; but
// when the read is refused or cancelled, all stay.
[[nodiscard]] ProjectReadResult readProjectXml(const QString& path, SampleFiles samples,
                                               const Progress& progress);
