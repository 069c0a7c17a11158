// The change of a document's sampling format.
#pragma once

#include "projectfiles/flowhost.h"
#include "projectfiles/reformat.h"

// Asks, and asks again since this cannot be undone; then converts every layer once and moves with them
// what stands at sample points: view, marks, transport. The history starts anew. GUI thread; runs the
// event loop.
class ChangeFormat
{
public:
    ChangeFormat(const FlowHost& host, const ProjectPtr& project);

    // `stopTransport` is called before the first sample changes. False: cancelled, or no room on the
    // disk (answered with a box); the document is as before then.
    bool run(const std::function<void()>& stopTransport);

private:
    bool convert(const Reformat& wanted);
    bool resample(const Reformat& wanted);
    void moveBy(double ratio);

    const FlowHost& m_host;
    ProjectPtr m_project;
};
