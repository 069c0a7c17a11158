#include "projectfiles/savedlayer.h"

#include "model/layergroup.h"

#include <algorithm>
#include <limits>
#include <vector>

#include <QCoreApplication>

namespace {

constexpr int64_t piece = 1000000; // bytes

// A source that is a group or a region itself has no file.
void findStretch(SavedLayer& region)
{
    const LayerPtr source = region.layer->source();
    if (!source || source->type() != LayerTypeLayer || source->format() != region.format)
        return;
    region.isStretch = true;
    region.file = source->filePath();
    region.first = region.span.start + region.layer->sourceOffset() - source->dataRange().start;
}

SavedLayer saved(const ILayerPtr& node)
{
    SavedLayer out;
    out.layer = node;
    out.format = node->format();
    out.header = {node->name(),     node->enabled(),    node->solo(),
                  node->polarity(), node->multiplier(), node->color()};
    out.isGroup = node->type() == LayerTypeGroup;
    out.isOpen = node->isOpen();
    out.file = node->filePath();
    if (out.isGroup) {
        out.childCount = int32_t(node->children(ChildrenDirect).size());
        return out;
    }
    const auto layer = std::dynamic_pointer_cast<Layer>(node);
    const bool hasData = layer && node->type() == LayerTypeLayer;
    out.span = hasData ? layer->dataRange() : node->range();
    // Only a region may begin before time 0, where nothing of it is heard.
    if (!hasData)
        out.span = out.span.intersected({0, std::numeric_limits<int64_t>::max() / 4});
    if (node->type() == LayerTypeRegion)
        findStretch(out);
    return out;
}

} // namespace

bool SavedLayer::forEachPiece(const std::function<bool(const char* data, int64_t bytes)>& take) const
{
    if (bytes() < 1)
        return true;
    const int64_t frameBytes = format.frameBytes();
    const int64_t most = std::max<int64_t>(1, piece / frameBytes);
    std::vector<float> buffer(std::size_t(std::min(most, span.length) * frameBytes / 4));
    const auto data = layer->type() == LayerTypeLayer ? std::dynamic_pointer_cast<Layer>(layer) : nullptr;
    for (int64_t done = 0; done < span.length; done += most) {
        const Range part{span.start + done, std::min(most, span.length - done)};
        if (data)
            data->readData(buffer.data(), part);
        else
            layer->read(buffer.data(), part, -1, true);
        if (!take(reinterpret_cast<const char*>(buffer.data()), part.length * frameBytes))
            return false;
    }
    return true;
}

QList<SavedLayer> savedLayers(const Project& project)
{
    QList<SavedLayer> list;
    for (const ILayerPtr& node : project.layers()->children(ChildrenAll))
        list << saved(node);
    return list;
}

QMap<QString, QString> inKeyOrder(const MetaDataList& tags)
{
    QMap<QString, QString> sorted;
    for (auto i = tags.begin(); i != tags.end(); ++i)
        sorted.insert(i.key(), i.value());
    return sorted;
}

QString writerName()
{
    return QCoreApplication::applicationName() + QLatin1Char(' ') + QCoreApplication::applicationVersion();
}
