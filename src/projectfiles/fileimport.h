// From a file on disk to a layer.
#pragma once

#include "model/layer.h"
#include "model/types/marker.h"

#include <cstdint>
#include <functional>

#include <QList>
#include <QString>

class IFilePlugin;
class QWidget;

// What a file held.
struct ImportedFile
{
    LayerPtr layer; // named after the file, without a backup; null when nothing was imported
    int32_t bits = 0;
    bool isFloat = false;
    MarkerList markers;
    SpectralMarkerList spectralMarkers;
    MetaDataList metaData;
};

// Reads one file through the file plug-ins that know its suffix: each in turn, until one recognises
// the contents. Every failure is answered with its box; a damaged file gives what is readable and a
// warning behind it. GUI thread; shows nothing but those boxes (a progress dialog stands above).
class FileImport
{
public:
    // Any may be empty.
    struct Callbacks
    {
        // The format of the file, to be changed to that which the layer shall have; the samples are
        // converted on their way, and marks move with them. False ends the import without a box. Not
        // called for a file without samples.
        std::function<bool(SamplingFormat&)> fit;
        // The format is known and the layer made; it is still empty. The caller may show it, and
        // drops it again when run() answers false.
        std::function<void(const LayerPtr&)> started;
        // Samples have arrived; about ten times a second.
        std::function<void(const LayerPtr&)> grown;
        // False cancels.
        std::function<bool(int64_t done, int64_t total)> progress;
    };

    // Where the path comes from: chosen in a dialog, or named from outside. The words for a suffix that
    // nobody reads differ.
    enum class Source { Dialog, Name };

    FileImport(const QList<IFilePlugin*>& plugins, QWidget* parent, Source source = Source::Name);

    // Imports `path`, the layer starting at sample point `start` of its own format. False after a box or a
    // cancel: no layer, and once the caller holds none either, no file in the session folder.
    bool run(const QString& path, int64_t start, ImportedFile& result, const Callbacks& callbacks = {});

private:
    bool check(const QString& path);
    void refuse(const char* title, const char* text, const QString& cause);

    QList<IFilePlugin*> m_plugins;
    QWidget* m_parent;
    Source m_source;
    QString m_path; // of the running import
};
