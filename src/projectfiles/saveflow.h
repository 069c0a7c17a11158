// The commands that save a document.
#pragma once

#include "projectfiles/flowhost.h"

#include <QString>

// A failure is answered with a box; the file is then as it was, and the document as modified as before.
// GUI thread; runs the event loop.
class SaveFlow
{
public:
    SaveFlow(const FlowHost& host, const ProjectPtr& project);

    // To the path of the document; asks for one where it has none that is a project file's.
    bool save();
    // Asks for a path, which becomes that of the document.
    bool saveAs();

private:
    bool write(const QString& path);

    const FlowHost& m_host;
    ProjectPtr m_project;
};
