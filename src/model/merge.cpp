#include "model/merge.h"

#include <algorithm>

namespace {

// A new layer with the sound of `source`, named and coloured like `first`. Its backup begins with
// what it holds: undo takes it out of the tree, not its samples away.
LayerPtr mixdown(const ILayerPtr& source, const ILayerPtr& first, QString* words)
{
    LayerHeader header;
    header.name = first->name();
    header.color = first->color();
    const LayerPtr layer = Layer::create(source->format(), header, 0, false);
    layer->copyFromLayer(source, source->range(), false);
    if (layer->takeStorageError(words))
        return nullptr;
    layer->startBackup();
    return layer;
}

// Puts the mix of `parts`, children of `group`, in the place of the first of them.
LayerPtr mergeParts(const LayerGroupPtr& group, const QList<ILayerPtr>& parts, QString* words)
{
    if (parts.isEmpty())
        return nullptr;
    const int place = group->children(ChildrenDirect).indexOf(parts.first());
    const LayerPtr merged = mixdown(LayerGroup::mixOf(group->format(), parts), parts.first(), words);
    if (!merged)
        return nullptr;
    for (const ILayerPtr& part : parts)
        group->removeChildLayer(part);
    group->insertChildAt(place, merged);
    return merged;
}

} // namespace

LayerPtr mergeAll(LayerRoot& root, QString* words)
{
    return mergeGroup(root.project(), words);
}

LayerPtr mergeGroup(const LayerGroupPtr& group, QString* words)
{
    if (!group || group->isEmpty())
        return nullptr;
    const LayerPtr merged = mixdown(group, group->children(ChildrenDirect).first(), words);
    if (!merged)
        return nullptr;
    group->removeChildLayer(nullptr);
    group->appendChildLayer(merged);
    return merged;
}

LayerPtr mergeVisible(LayerRoot& root, QString* words)
{
    QList<ILayerPtr> parts = root.project()->children(ChildrenDirect);
    const auto muted = [](const ILayerPtr& layer) { return !layer->enabled(); };
    parts.erase(std::remove_if(parts.begin(), parts.end(), muted), parts.end());
    return mergeParts(root.project(), parts, words);
}

LayerPtr mergeDown(LayerRoot& root, const ILayerPtr& layer, QString* words)
{
    const QList<ILayerPtr> path = root.project()->pathTo(layer);
    const auto group =
        path.size() < 2 ? nullptr : std::dynamic_pointer_cast<LayerGroup>(path[path.size() - 2]);
    if (!group)
        return nullptr;
    const QList<ILayerPtr> siblings = group->children(ChildrenDirect);
    const int place = siblings.indexOf(layer);
    if (place < 0 || place + 1 >= siblings.size())
        return nullptr;
    return mergeParts(group, {layer, siblings[place + 1]}, words);
}
