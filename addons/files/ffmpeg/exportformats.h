// The formats that can be written.
#pragma once

#include <QString>
#include <QStringList>

class IExportSource;

namespace exportformats {

// One filter for each format whose encoder is there, the default first.
[[nodiscard]] QStringList filters();
// Writes the source to `path` as one of filters(). False on failure or cancel; a failure has told
// its cause to the source.
bool write(const QString& path, const QString& filter, IExportSource& source);

} // namespace exportformats
