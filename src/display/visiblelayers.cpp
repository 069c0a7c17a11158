#include "display/visiblelayers.h"

#include "model/layergroup.h"

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
