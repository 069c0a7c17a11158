// A change of format for any number of layers: all of them or none.
#pragma once

#include "model/layer.h"

#include <vector>

#include <QSet>

// First the samples of every layer are computed into files of their own, at leisure and with a
// progress that can cancel; then all of them take the place of the old ones at once, under
// documentLock() for writing. So whoever holds that lock for reading never sees a tree whose formats
// differ, and nobody else waits. Until then nothing has changed, and what a cancel or a full disk
// leaves behind is nothing. The price is room for both. GUI thread.
class FormatChange
{
public:
    // As in Layer::changeFormat(); the one matrix holds for all.
    FormatChange(const SamplingFormat& format, const Matrix& matrix);

    // With everything below it. Each layer changes once, however often it is added: the matrix would
    // be applied again. Not the source of a region, which is a layer like any other.
    void add(const ILayerPtr& layer);

    // False: nothing has changed (see Layer::changeFormat()). `progress` counts the layers that are no
    // groups; it is told the same count again while one of them is in work.
    [[nodiscard]] bool run(const Progress& progress);

    // The layer that found no room, whose takeStorageError() has the words; null when it was not that.
    [[nodiscard]] LayerPtr withoutRoom() const { return m_withoutRoom; }

private:
    struct Part
    {
        LayerPtr layer;
        Layer::Conversion conversion;
    };
    [[nodiscard]] bool prepare(const Progress& progress);
    [[nodiscard]] bool exchange();

    SamplingFormat m_format;
    Matrix m_matrix;
    QSet<const ILayer*> m_seen;
    std::vector<Part> m_parts;
    LayerPtr m_withoutRoom;
};
