// Which file plug-in serves which file.
#pragma once

#include <QList>
#include <QString>
#include <QStringList>

class IFilePlugin;

namespace fileformats {

// "Name (*.wav *.wave)": the suffixes in lower case, without "*.".
[[nodiscard]] QStringList suffixes(const QString& filter);
// All suffixes that any plug-in imports, each once, in the order of the plug-ins.
[[nodiscard]] QStringList importSuffixes(const QList<IFilePlugin*>& plugins);
// The plug-ins that import files of this name, compared by its last suffix without case.
[[nodiscard]] QList<IFilePlugin*> importers(const QList<IFilePlugin*>& plugins, const QString& path);
// For an open dialog: "All Supported Formats (...)", project files, then the filters of all plug-ins.
[[nodiscard]] QStringList openFilters(const QList<IFilePlugin*>& plugins);
// For a save dialog: the filters of all plug-ins, `first` in front when it is among them.
[[nodiscard]] QStringList exportFilters(const QList<IFilePlugin*>& plugins, const QString& first);

struct Exporter
{
    IFilePlugin* plugin = nullptr; // null: no writer for this suffix
    QString filter;
};
// Who writes `path`: `filter` when it is somebody's and has the path's suffix, otherwise the first
// filter with that suffix.
[[nodiscard]] Exporter exporter(const QList<IFilePlugin*>& plugins, const QString& path,
                                const QString& filter);

} // namespace fileformats
