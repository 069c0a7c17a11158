// What both forms of a project file keep of a layer or a group.
#pragma once

#include "model/project.h"

#include <functional>

#include <QMap>

struct SavedLayer
{
    LayerHeader header;
    SamplingFormat format;
    bool isGroup = false;
    bool isOpen = false;
    int32_t childCount = 0; // direct ones
    Range span;             // raw, from time 0 on, as it is when the save begins
    QString file;           // the session file, of a region that of its source; empty where there is none
    bool isStretch = false; // a region: the samples are part of the file
    int64_t first = 0;      // the sample point of the file that is the first of the span; may lie outside
    ILayerPtr layer;

    [[nodiscard]] int64_t bytes() const
    {
        return isGroup || span.isEmpty() ? 0 : span.length * format.frameBytes();
    }
    // The samples as raw floats in time order, at most a million bytes at once. False as soon as `take`
    // answers it.
    bool forEachPiece(const std::function<bool(const char* data, int64_t bytes)>& take) const;
};

// Layers and groups of a document in the order of both forms: each group before its children. A region
// stands as a layer of the stretch that it shows.
[[nodiscard]] QList<SavedLayer> savedLayers(const Project& project);
// So that the same document always gives the same file.
[[nodiscard]] QMap<QString, QString> inKeyOrder(const MetaDataList& tags);
// Application and version.
[[nodiscard]] QString writerName();
