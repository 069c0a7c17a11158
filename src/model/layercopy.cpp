#include "model/layercopy.h"

#include "model/worksteps.h"

LayerPtr copyInSteps(const ILayerPtr& layer, const Progress& progress, QString* words)
{
    const auto top = std::dynamic_pointer_cast<Layer>(layer);
    if (!top)
        return layer ? layer->clone(true) : nullptr;
    QList<LayerPtr> all{top};
    for (const ILayerPtr& child : top->children(ChildrenAll))
        if (const auto below = std::dynamic_pointer_cast<Layer>(child))
            all << below;
    int64_t bytes = 0;
    for (const LayerPtr& one : all) {
        const LayerPtr samples = one->source() ? one->source() : one;
        bytes += samples->dataRange().length * samples->format().frameBytes();
    }
    WorkSteps steps(progress, bytes);
    const LayerPtr copy = top->cloneInSteps(true, [&](int64_t moved) { return steps.moved(moved); });
    if (copy)
        return copy;
    QString cause;
    for (const LayerPtr& one : all) {
        one->takeStorageError(cause.isEmpty() ? &cause : nullptr);
        if (const LayerPtr source = one->source())
            source->takeStorageError(cause.isEmpty() ? &cause : nullptr);
    }
    if (words && words->isEmpty())
        *words = cause;
    return nullptr;
}
