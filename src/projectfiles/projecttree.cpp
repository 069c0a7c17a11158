#include "projectfiles/projecttree.h"

#include <algorithm>
#include <limits>

#include <QCoreApplication>

ProjectTree::ProjectTree(Project& project) : m_project(project) {}

void ProjectTree::append(const LayerPtr& node)
{
    ++m_nodes;
    if (m_open.isEmpty()) {
        m_top << node;
        return;
    }
    m_open.last().children << node;
    --m_open.last().missing;
}

void ProjectTree::close()
{
    const Level level = m_open.takeLast();
    m_missing = std::min(m_missing, std::numeric_limits<int64_t>::max() - level.missing) + level.missing;
    level.group->setNewChildren(level.children);
    level.group->startBackup();
}

void ProjectTree::closeFinished()
{
    while (!m_open.isEmpty() && m_open.last().missing < 1)
        close();
}

void ProjectTree::add(const LayerPtr& layer)
{
    append(layer);
    closeFinished();
}

void ProjectTree::add(const LayerGroupPtr& group, int64_t count)
{
    append(group);
    if (count > 0 && m_open.size() < maxDepth) {
        m_open.append({group, count, {}});
        return;
    }
    group->startBackup();
    if (count > 0) {
        m_tooDeep = true;
        int64_t& missing = m_open.last().missing;
        missing = std::min(missing, std::numeric_limits<int64_t>::max() - count) + count;
    }
    closeFinished();
}

void ProjectTree::finish()
{
    while (!m_open.isEmpty())
        close();
    m_project.layers()->setNewChildren(m_top);
    if (!m_top.isEmpty())
        m_project.setActiveLayer(m_top.first());
}

QStringList ProjectTree::damage() const
{
    const auto tr = [](const char* text) { return QCoreApplication::translate("ProjectReader", text); };
    QStringList lines;
    if (m_missing > 0)
        lines << tr("Groups announce more layers than there are: %1.").arg(m_missing);
    if (m_tooDeep)
        lines << tr("Groups are nested deeper than %1; what lies deeper is in one group now.").arg(maxDepth);
    return lines;
}
