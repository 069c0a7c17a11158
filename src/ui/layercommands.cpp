#include "ui/layercommands.h"

#include "model/newlayer.h"

#include <algorithm>

#include <QCoreApplication>

namespace layercommands {

namespace {

LayerHeader numbered(const LayerRoot& root, const char* word, const char* comment = nullptr)
{
    LayerHeader header;
    header.name = nextLayerName(QCoreApplication::translate("LayersPanel", word, comment),
                                root.project()->children(ChildrenAll));
    return header;
}

ILayerPtr insertAboveActive(LayerRoot& root, const ILayerPtr& layer)
{
    const ILayerPtr active = root.layer(-1);
    const LayerGroupPtr group = groupOf(root, active);
    if (group ? group->insertChildAt(placeOf(root, active), layer) : root.project()->prependChildLayer(layer))
        return layer;
    return nullptr;
}

} // namespace

LayerGroupPtr groupOf(const LayerRoot& root, const ILayerPtr& layer)
{
    const QList<ILayerPtr> path = layer ? root.project()->pathTo(layer) : QList<ILayerPtr>();
    return path.size() < 2 ? nullptr : std::dynamic_pointer_cast<LayerGroup>(path[path.size() - 2]);
}

int placeOf(const LayerRoot& root, const ILayerPtr& layer)
{
    const LayerGroupPtr group = groupOf(root, layer);
    return group ? int(group->children(ChildrenDirect).indexOf(layer)) : -1;
}

ILayerPtr newLayer(LayerRoot& root)
{
    return insertAboveActive(root, Layer::create(root.format(), numbered(root, "Layer")));
}

ILayerPtr newGroup(LayerRoot& root)
{
    return insertAboveActive(root, LayerGroup::create(root.format(), numbered(root, "Group", "noun")));
}

ILayerPtr addDuplicate(LayerRoot& root, const LayerPtr& copy)
{
    const ILayerPtr active = root.layer(-1);
    if (!copy || !groupOf(root, active))
        return nullptr;
    copy->setName((active->name() + QStringLiteral(" (copy)")).toStdString());
    return insertAboveActive(root, copy);
}

bool isLast(const LayerRoot& root, const ILayerPtr& layer)
{
    const QList<ILayerPtr> top = root.project()->children(ChildrenDirect);
    return top.size() == 1 && top.first() == layer;
}

ILayerPtr remove(LayerRoot& root)
{
    const ILayerPtr active = root.layer(-1);
    const LayerGroupPtr group = groupOf(root, active);
    if (!group || isLast(root, active))
        return nullptr;
    const int place = placeOf(root, active);
    group->removeChildLayer(active);
    const QList<ILayerPtr> rest = group->children(ChildrenDirect);
    return rest.isEmpty() ? group : rest[std::min(place, int(rest.size()) - 1)];
}

ILayerPtr group(LayerRoot& root)
{
    const ILayerPtr active = root.layer(-1);
    const LayerGroupPtr outer = groupOf(root, active);
    if (!outer)
        return nullptr;
    const int place = placeOf(root, active);
    const LayerGroupPtr inner = LayerGroup::create(root.format(), numbered(root, "Group", "noun"));
    outer->removeChildLayer(active);
    inner->appendChildLayer(active);
    outer->insertChildAt(place, inner);
    return inner;
}

ILayerPtr ungroup(LayerRoot& root)
{
    const auto active = std::dynamic_pointer_cast<LayerGroup>(root.layer(-1));
    const LayerGroupPtr outer = groupOf(root, active);
    if (!outer)
        return nullptr;
    const QList<ILayerPtr> children = active->children(ChildrenDirect);
    if (children.isEmpty())
        return remove(root);
    int place = placeOf(root, active);
    outer->removeChildLayer(active);
    active->removeChildLayer(nullptr);
    for (const ILayerPtr& child : children)
        outer->insertChildAt(place++, child);
    return children.first();
}

ILayerPtr move(LayerRoot& root, const ILayerPtr& layer, const LayerGroupPtr& target, int place)
{
    const LayerGroupPtr source = groupOf(root, layer);
    if (!source || !target || target == layer || layer->containsChild(target, true))
        return nullptr;
    const int from = placeOf(root, layer);
    if (source == target) {
        const int to = place > from ? place - 1 : place;
        return to != from && source->moveChild(from, to) ? layer : nullptr;
    }
    source->removeChildLayer(layer);
    if (target->insertChildAt(place, layer))
        return layer;
    source->insertChildAt(from, layer);
    return nullptr;
}

ILayerPtr moveBy(LayerRoot& root, const ILayerPtr& layer, int direction)
{
    const LayerGroupPtr source = groupOf(root, layer);
    if (!source)
        return nullptr;
    const int place = placeOf(root, layer) + direction;
    if (place >= 0 && place < source->children(ChildrenDirect).size())
        return move(root, layer, source, direction > 0 ? place + 1 : place);
    const LayerGroupPtr outer = groupOf(root, source);
    return outer ? move(root, layer, outer, placeOf(root, source) + (direction > 0 ? 1 : 0)) : nullptr;
}

} // namespace layercommands
