// The layer tree of a project.
#pragma once

#include "model/ilayerroot.h"
#include "model/layergroup.h"

#include <optional>

// A value: copies share the nodes and the holder of the active layer, so an active layer that is
// set on one is that of all. `clone()` makes an independent tree. GUI thread.
class LayerRoot : public ILayerRoot
{
public:
    // Builds the three nodes "ActivePreview", "Temporary" and "Project".
    explicit LayerRoot(const SamplingFormat& format = {});

    // Any layer is accepted, also one outside the tree.
    bool setActive(ILayerPtr layer) override;
    [[nodiscard]] ILayerPtr layer(int32_t index) const override;

    [[nodiscard]] SamplingFormat format() const { return m_format; }
    // Stores the format here and in the nodes. Scratch samples are dropped; the user's layers keep
    // samples and format, and are not heard until they are converted too (ILayer::changeFormat).
    void setFormat(const SamplingFormat& format);
    // The samples of allLayers() in another format, all of them or none (see FormatChange); the format
    // of the tree itself is setFormat()'s. False: nothing has changed; `words` (may be null) receives
    // the cause when it was a lack of room.
    [[nodiscard]] bool changeFormat(const SamplingFormat& format, const Matrix& matrix,
                                    const Progress& progress, QString* words = nullptr) const;
    [[nodiscard]] LayerPtr node(RootNode node) const { return m_layers[node]; }
    [[nodiscard]] LayerGroupPtr project() const;
    // Every layer and group below "Project", depth first, then each source of a region that is not
    // in the tree itself. For whoever must reach every sample file. "Project" itself is not in it.
    [[nodiscard]] QList<ILayerPtr> allLayers() const;
    // Whether the mix of "Project" hears the layer, so that it is seen and edited too: it and every group
    // around it is enabled or, among children of which one is solo or holds a solo layer, is or holds one.
    // "Project" itself is visible; what hangs elsewhere is not. A source stands for the first region
    // that shows it.
    [[nodiscard]] bool isVisible(const ILayerPtr& layer) const;
    // A tree of its own with copies of all samples: nodes 0 and 1 without backups, "Project" with;
    // the active layer is the one at the same place. Nothing when there is no room for the files;
    // `words` then receives the cause. Nothing also when `progress` says no, or when a layer is changed while
    // it runs the event loop.
    [[nodiscard]] std::optional<LayerRoot> clone(QString* words = nullptr,
                                                 const Progress& progress = {}) const;

private:
    SamplingFormat m_format;
    QList<LayerPtr> m_layers;            // exactly three
    std::shared_ptr<ILayerPtr> m_active; // shared by the copies
};
