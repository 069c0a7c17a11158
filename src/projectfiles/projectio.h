// What both readers and both writers of project files share with those who call them.
#pragma once

#include "model/project.h"

#include <QString>
#include <QStringList>

// Where the samples of a project in the XML form lie. Copy: in files of its own beside the manifest,
// read into new session files. Reference: the session's own files, which the layers own again when the
// manifest is read.
enum class SampleFiles { Copy, Reference };

struct SaveResult
{
    bool done = false;
    bool cancelled = false; // by the progress; nothing to tell
    QString words;          // file and cause of a failure, for the informative text of a box
};

// A project without `damage` is what the file holds. The caller gives the project its path (of the XML
// form it has the one that the manifest tells) and its first state of history. With `damage` it opened
// in part: the path is empty and `modified` is set, and must stay so, so that it is never silently saved
// over what may still be got from the file.
struct ProjectReadResult
{
    ProjectPtr project; // null: refused or cancelled; nothing is left behind
    bool cancelled = false;
    QString title, text; // of the box that tells a refusal; both empty: nothing is to be shown
    QString cause;       // its informative text; from the readers by path, it begins with the file
    QStringList damage;  // what is missing, a line each, for a warning
};
