// From a file to an open document.
#pragma once

#include "projectfiles/fileimport.h"
#include "projectfiles/flowhost.h"
#include "projectfiles/projectsuffix.h"

#include <cstdint>

#include <QString>

// Opens a project file, or a recording as a new document of one layer, which is shown while it grows.
// Every failure is answered with its box. A damaged project file opens in part, after a warning, without
// a path and modified, so that nothing saves over what may still be got from it. GUI thread; runs the
// event loop.
class OpenFlow
{
public:
    explicit OpenFlow(const FlowHost& host);

    // Null after a box or a cancel; what was shown is gone then. `start` becomes the start of the layer
    // of a recording.
    [[nodiscard]] ProjectPtr run(const QString& path, int64_t start, FileImport::Source source);

private:
    [[nodiscard]] ProjectPtr readProject(const QString& path, ProjectForm form);
    [[nodiscard]] ProjectPtr readRecording(const QString& path, int64_t start, FileImport::Source source);

    const FlowHost& m_host;
};
