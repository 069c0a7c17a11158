// From the mix of a project to a file on disk.
#pragma once

#include "model/ilayer.h"
#include "model/types/marker.h"

#include <cstdint>
#include <functional>

#include <QList>
#include <QString>

class IFilePlugin;
class QWidget;

// What is written.
struct ExportedMix
{
    ILayerPtr layer; // the group of the user's layers; its time 0 is the start of the file
    MarkerList markers;
    MetaDataList metaData;
};

// Writes the mix, in blocks, through the file plug-in of the path's suffix. The plug-in writes beside
// the target; only a complete file that is on the disk is renamed over it, so a failure, a full disk
// or a crash leaves the old file whole. Symbolic links are followed; anything but a regular file is
// refused as a target. Every failure is answered with its box. GUI thread; shows nothing but those.
class FileExport
{
public:
    using ProgressCall = std::function<bool(int64_t done, int64_t total)>; // false cancels

    FileExport(const QList<IFilePlugin*>& plugins, QWidget* parent);

    // As `filter`, one of fileformats::exportFilters(); any other string leaves the choice to the
    // path's suffix. False after a box or a cancel.
    bool run(const QString& path, const QString& filter, const ExportedMix& mix,
             const ProgressCall& progress = {});

private:
    void refuse(const QString& path, const char* title, const char* text, const QString& cause);

    QList<IFilePlugin*> m_plugins;
    QWidget* m_parent;
};
