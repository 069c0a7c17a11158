#include "model/layerroot.h"

#include "model/formatchange.h"
#include "model/layerregion.h"
#include "model/worksteps.h"

#include <QHash>

namespace {

// Each region of a copied tree has a copy of its source for itself. Where the originals share one, or
// it stands in the tree, the copies do the same.
void shareSources(const QList<ILayerPtr>& originals, const QList<ILayerPtr>& copies)
{
    QHash<const ILayer*, LayerPtr> copyOf;
    for (int i = 0; i < originals.size(); ++i)
        copyOf.insert(originals[i].get(), std::dynamic_pointer_cast<Layer>(copies[i]));
    for (int i = 0; i < originals.size(); ++i) {
        const auto region = std::dynamic_pointer_cast<LayerRegion>(copies[i]);
        if (!region)
            continue;
        LayerPtr& source = copyOf[originals[i]->source().get()];
        if (source)
            region->setSource(source);
        else
            source = region->source();
    }
}

// Of the samples that a copy of these nodes moves: a region moves those that it shows.
int64_t bytesOf(const QList<LayerPtr>& nodes)
{
    int64_t bytes = 0;
    const auto add = [&bytes](const LayerPtr& layer) {
        const LayerPtr samples = layer->source() ? layer->source() : layer;
        bytes += samples->dataRange().length * samples->format().frameBytes();
    };
    for (const LayerPtr& node : nodes) {
        add(node);
        for (const ILayerPtr& child : node->children(ChildrenAll))
            if (const auto below = std::dynamic_pointer_cast<Layer>(child))
                add(below);
    }
    return bytes;
}

} // namespace

LayerRoot::LayerRoot(const SamplingFormat& format) : m_format(format), m_active(std::make_shared<ILayerPtr>())
{
    // Node 0 and 1 are scratch: their contents are never undone.
    m_layers << Layer::create(format, {QStringLiteral("ActivePreview")}, 0, false)
             << Layer::create(format, {QStringLiteral("Temporary")}, 0, false)
             << LayerGroup::create(format, {QStringLiteral("Project")}, true);
}

bool LayerRoot::setActive(ILayerPtr layer)
{
    if (*m_active == layer)
        return false;
    *m_active = std::move(layer);
    return true;
}

ILayerPtr LayerRoot::layer(int32_t index) const
{
    if (index == -1)
        return *m_active;
    return index >= 0 && index < m_layers.size() ? m_layers[index] : nullptr;
}

void LayerRoot::setFormat(const SamplingFormat& format)
{
    m_format = format;
    for (const LayerPtr& scratch : {m_layers[RootActivePreview], m_layers[RootTemporary]}) {
        scratch->clear();
        scratch->setFormat(format);
    }
    // The node alone: its children's samples are still of the old format.
    project()->Layer::setFormat(format);
}

bool LayerRoot::changeFormat(const SamplingFormat& format, const Matrix& matrix, const Progress& progress,
                             QString* words) const
{
    FormatChange change(format, matrix);
    for (const ILayerPtr& layer : allLayers())
        change.add(layer);
    const bool done = change.run(progress);
    if (const LayerPtr layer = change.withoutRoom())
        layer->takeStorageError(words);
    return done;
}

bool LayerRoot::isVisible(const ILayerPtr& layer) const
{
    ILayerPtr node = project();
    const QList<ILayerPtr> path = node->pathTo(layer);
    for (const ILayerPtr& next : path) {
        // Overlays and sources, which are no children, sound where their layer does.
        if (!node->children(ChildrenDirect).contains(next))
            continue;
        if (!soundsInGroup(*next, node->hasSolo()))
            return false;
        node = next;
    }
    return !path.isEmpty();
}

LayerGroupPtr LayerRoot::project() const
{
    return std::static_pointer_cast<LayerGroup>(m_layers[RootProject]);
}

QList<ILayerPtr> LayerRoot::allLayers() const
{
    const QList<ILayerPtr> tree = m_layers[RootProject]->children(ChildrenAll);
    QList<ILayerPtr> all = tree;
    for (const ILayerPtr& layer : tree) {
        const ILayerPtr source = layer->type() == LayerTypeRegion ? layer->sourceShared() : nullptr;
        if (source && !all.contains(source))
            all << source;
    }
    return all;
}

std::optional<LayerRoot> LayerRoot::clone(QString* words, const Progress& progress) const
{
    WorkSteps steps(progress, bytesOf(m_layers));
    // Without a progress the samples are copied at one go.
    const SampleStore::Work goOn =
        progress ? SampleStore::Work([&steps](int64_t moved) { return steps.moved(moved); })
                 : SampleStore::Work();
    LayerRoot copy(m_format);
    for (int i = 0; i < m_layers.size(); ++i) {
        const LayerPtr node = m_layers[i]->cloneInSteps(i == RootProject, goOn);
        if (!node) {
            m_layers[i]->takeStorageError(words);
            return std::nullopt;
        }
        copy.m_layers[i] = node;
    }
    const auto places = [](const LayerRoot& root) {
        QList<ILayerPtr> all;
        for (const LayerPtr& node : root.m_layers)
            all << ILayerPtr(node) << node->children(ChildrenAll);
        return all;
    };
    shareSources(places(*this), places(copy));
    const int place = places(*this).indexOf(*m_active);
    if (*m_active && place >= 0)
        copy.setActive(places(copy)[place]);
    return copy;
}
