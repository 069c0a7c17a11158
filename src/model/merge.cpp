#include "model/merge.h"

#include "model/worksteps.h"

#include <algorithm>

namespace {

constexpr int64_t stepFrames = 1 << 18; // between two looks at the progress

LayerPtr bothHalves(Merge merge, QString* words)
{
    return merge.prepare({}, words) ? merge.apply() : nullptr;
}

} // namespace

Merge Merge::all(const LayerRoot& root)
{
    return ofGroup(root.project());
}

Merge Merge::ofGroup(const LayerGroupPtr& group)
{
    return group ? Merge(group, group->children(ChildrenDirect)) : Merge();
}

Merge Merge::visible(const LayerRoot& root)
{
    QList<ILayerPtr> parts = root.project()->children(ChildrenDirect);
    const auto muted = [](const ILayerPtr& layer) { return !layer->enabled(); };
    parts.erase(std::remove_if(parts.begin(), parts.end(), muted), parts.end());
    return {root.project(), parts};
}

Merge Merge::down(const LayerRoot& root, const ILayerPtr& layer)
{
    const QList<ILayerPtr> path = root.project()->pathTo(layer);
    const auto group =
        path.size() < 2 ? nullptr : std::dynamic_pointer_cast<LayerGroup>(path[path.size() - 2]);
    if (!group)
        return {};
    const QList<ILayerPtr> siblings = group->children(ChildrenDirect);
    const int place = siblings.indexOf(layer);
    if (place < 0 || place + 1 >= siblings.size())
        return {};
    return {group, {layer, siblings[place + 1]}};
}

bool Merge::prepare(const Progress& progress, QString* words)
{
    m_merged.reset();
    if (!m_group || m_parts.isEmpty())
        return false;
    const ILayerPtr source = LayerGroup::mixOf(m_group->format(), m_parts);
    LayerHeader header;
    header.name = m_parts.first()->name();
    header.color = m_parts.first()->color();
    const LayerPtr merged = Layer::create(source->format(), header, 0, false);
    const Range span = source->range();
    const int64_t frameBytes = source->format().frameBytes();
    merged->extendTo(span); // all of the file, before the work begins
    WorkSteps steps(progress, span.length * frameBytes);
    for (int64_t at = span.start; at < span.end() && !merged->hasStorageError(); at += stepFrames) {
        const Range part{at, std::min(stepFrames, span.end() - at)};
        merged->copyFromLayer(source, part, false);
        if (!steps.moved(part.length * frameBytes))
            return false;
    }
    if (merged->takeStorageError(words))
        return false;
    // Its backup begins with what it holds: undo takes it out of the tree, not its samples away.
    merged->startBackup();
    m_merged = merged;
    return true;
}

LayerPtr Merge::apply()
{
    if (!m_merged)
        return nullptr;
    const QList<ILayerPtr> siblings = m_group->children(ChildrenDirect);
    const auto isThere = [&](const ILayerPtr& part) { return siblings.contains(part); };
    if (!std::all_of(m_parts.begin(), m_parts.end(), isThere))
        return nullptr;
    const int place = siblings.indexOf(m_parts.first());
    for (const ILayerPtr& part : qAsConst(m_parts))
        m_group->removeChildLayer(part);
    m_group->insertChildAt(place, m_merged);
    return m_merged;
}

LayerPtr mergeAll(LayerRoot& root, QString* words)
{
    return bothHalves(Merge::all(root), words);
}

LayerPtr mergeGroup(const LayerGroupPtr& group, QString* words)
{
    return bothHalves(Merge::ofGroup(group), words);
}

LayerPtr mergeVisible(LayerRoot& root, QString* words)
{
    return bothHalves(Merge::visible(root), words);
}

LayerPtr mergeDown(LayerRoot& root, const ILayerPtr& layer, QString* words)
{
    return bothHalves(Merge::down(root, layer), words);
}
