// From a flat list of layers and groups to the tree.
#pragma once

#include "model/project.h"

#include <QStringList>

// Both forms of a project list each group before what it holds, with the number of its direct children.
// add() takes layers and groups in that order; finish() gives the tree to the project. Counts that lie
// give a flatter tree and nothing worse; what was not as told stands in damage().
class ProjectTree
{
public:
    static constexpr int maxDepth = 256;     // children of deeper groups go to the deepest one allowed
    static constexpr int maxNodes = 1 << 14; // bounds what a few bytes of a file can cost in memory and time

    explicit ProjectTree(Project& project);
    [[nodiscard]] bool isEmpty() const { return m_nodes == 0; }
    // No more are taken.
    [[nodiscard]] bool isFull() const { return m_nodes >= maxNodes; }
    void add(const LayerPtr& layer);
    // `count` direct children follow.
    void add(const LayerGroupPtr& group, int64_t count);
    void finish();
    [[nodiscard]] QStringList damage() const;

private:
    struct Level
    {
        LayerGroupPtr group;
        int64_t missing; // children that are still to come
        QList<ILayerPtr> children;
    };
    void append(const LayerPtr& node);
    void closeFinished();
    void close();

    Project& m_project;
    QList<ILayerPtr> m_top;
    QList<Level> m_open; // outermost first
    int m_nodes = 0;
    bool m_tooDeep = false;
    int64_t m_missing = 0;
};
