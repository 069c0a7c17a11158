#include "display/visiblelayers.h"

#include "model/layerroot.h"

namespace {

void collect(const ILayer& group, bool visible, std::vector<LayerInView>& found)
{
    const bool anySolo = group.hasSolo();
    for (const ILayerPtr& child : group.children(ChildrenDirect)) {
        const bool heard = soundsInGroup(*child, anySolo);
        if (child->type() == LayerTypeGroup)
            collect(*child, visible && heard, found);
        else
            found.push_back({child, visible && heard});
    }
}

} // namespace

std::vector<LayerInView> layersInView(const ILayer& group)
{
    std::vector<LayerInView> found;
    collect(group, true, found);
    return found;
}

std::vector<LayerInView> layersInPicture(const LayerRoot& root)
{
    std::vector<LayerInView> found = layersInView(*root.project());
    if (const LayerPtr preview = root.node(RootActivePreview); !preview->isEmpty()) {
        const ILayerPtr active = root.layer(-1);
        found.push_back({preview, !active || root.isVisible(active)});
    }
    return found;
}
