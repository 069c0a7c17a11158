// The commands that write the mix of a document to a file.
#pragma once

#include "projectfiles/flowhost.h"

#include <QString>

// Failures are answered with their boxes. GUI thread; runs the event loop.
class ExportFlow
{
public:
    ExportFlow(const FlowHost& host, const ProjectPtr& project);

    // Asks for name and format, writes, and remembers both with the document.
    bool run();
    // Writes to the file that the document came from, or was exported to last, without a dialog.
    bool back();

private:
    bool write(const QString& path, const QString& filter);

    const FlowHost& m_host;
    ProjectPtr m_project;
};

// Keeps with a document that was opened from `path` who sent it: `parent` is the name of the program, or
// the bare file name when nobody knows it, `server` the socket on which it waits. Either may be empty.
void noteCaller(Project& project, const QString& path, const QString& parent, const QString& server);
// How that program, or else the file that goes back, is called.
[[nodiscard]] QString exportBackName(const Project& project);
