// One state of undo.
#pragma once

#include "model/layer.h"
#include "model/selection.h"
#include "model/types/marker.h"

#include <QHash>
#include <QIcon>

// So that layers can be keys of a QHash: by identity. Found through the pointers' argument types.
inline uint qHash(const LayerPtr& layer, uint seed = 0) noexcept
{
    return ::qHash(quintptr(layer.get()), seed);
}
inline uint qHash(const ILayerPtr& layer, uint seed = 0) noexcept
{
    return ::qHash(quintptr(layer.get()), seed);
}

// Holds only what the action changed. The poster of HistoryRecord fills name and icon; the history
// fills the rest when it records the state.
struct HistoryEntry
{
    QString name;
    QIcon icon;
    QHash<ILayerPtr, LayerRecord> layerRecords; // only layers that changed
    bool metadataChanged = false;
    MetaDataList metadataBefore;
    MetaDataList metadataAfter;
    bool markersChanged = false;
    MarkerList markersBefore;
    MarkerList markersAfter;
    bool spectralMarkersChanged = false;
    SpectralMarkerList spectralMarkersBefore;
    SpectralMarkerList spectralMarkersAfter;
    bool selectionChanged = false;
    Selection selectionBefore;
    Selection selectionAfter;

    // The layers no longer keep the records of this state: it can never be gone back or forth to again.
    void forgetRecords() const
    {
        for (auto it = layerRecords.begin(); it != layerRecords.end(); ++it)
            if (const auto layer = std::dynamic_pointer_cast<Layer>(it.key()))
                layer->forgetRecord(it.value());
    }
};
