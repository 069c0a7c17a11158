// Which plug-ins are wanted, and where they lie.
#pragma once

#include <QList>
#include <QString>

class QObject;

// One `include` row of the settings: "files", "Plugins/Files", "ffmpeg txtreader".
struct IncludeRow
{
    QString id;
    QString path;    // part of the full path of the libraries, compared without case
    QString content; // names of plug-ins, separated by blanks, in the order of loading

    friend bool operator==(const IncludeRow&, const IncludeRow&) = default;
};

// The rows among the dynamic properties of the application object: every name that starts with
// "include", in the order in which the properties were made. The id is what follows the '@'. Each
// value is a hash with the keys "path" and "content"; rows without either are left out.
[[nodiscard]] QList<IncludeRow> includeRows(const QObject& application);
