// Copies of documents and of layers between them.
#pragma once

#include "projectfiles/flowhost.h"

#include <QList>

// Milliseconds before a copy shows its progress. Tests that want it at once set it to 0.
inline int duplicatePatience = 1000;

// The document as a new one of its own; null after a cancel, or, with a box, when there is no room for its
// samples. Runs the event loop.
[[nodiscard]] ProjectPtr duplicateProject(const FlowHost& host, const Project& project);

// Where the copy of the active layer has gone; null after a box or a cancel, nothing has changed then.
struct DuplicatedLayer
{
    ProjectPtr project;
    bool isNew = false; // made for it; it has no tab yet
};

// "Duplicate To...": asks for one of the open documents or a new one, and puts a copy of the active
// layer of `project` on top of it, converted where the formats differ. GUI thread; runs the event loop.
class DuplicateTo
{
public:
    DuplicateTo(const FlowHost& host, const ProjectPtr& project);

    [[nodiscard]] DuplicatedLayer run(const QList<ProjectPtr>& open);

private:
    [[nodiscard]] int choose(const QList<ProjectPtr>& open) const;
    // Null when cancelled, or without room (`words`).
    [[nodiscard]] LayerPtr copyActive(bool& cancelled, QString& words) const;
    [[nodiscard]] ILayerPtr copyFor(const SamplingFormat& format) const;

    const FlowHost& m_host;
    ProjectPtr m_project;
};
