// Insert, delete and crop of time for any number of layers: all of them or none.
#pragma once

#include "model/layer.h"

#include <vector>

#include <QSet>

// First the old samples are kept for undo, and the new ones and their images for the history are written to
// files of their own, at leisure and with a progress that can cancel; then all layers take over what is
// theirs at once, under documentLock() for writing. So whoever holds that lock for reading never sees layers
// that have parted, and a death of the program in between finds every file of the time before. The record
// that follows needs no room any more. GUI thread.
class TimeChange
{
public:
    // Raw positions. Nothing happens for an empty range.
    TimeChange(TimeChangeKind kind, const Range& range);

    // With everything below it. Each layer changes once, however often it is added.
    void add(const ILayerPtr& layer);

    // Whether a sample of any layer would stand elsewhere afterwards, nowhere, or too far away.
    [[nodiscard]] bool reachesAny() const;

    // False: nothing has changed, as `progress` answered false, there is no room, a layer would end beyond
    // Layer::farthestEnd, or something was written meanwhile. `progress` may run the event loop: no lock is
    // held then.
    [[nodiscard]] bool run(const Progress& progress);

    // The layer that found no room, or would end too far away, whose takeStorageError() has the words; null
    // when it was not that.
    [[nodiscard]] LayerPtr withoutRoom() const { return m_withoutRoom; }

private:
    struct Part
    {
        LayerPtr layer;
        Layer::TimePlan plan;
    };
    [[nodiscard]] bool prepare(const Progress& progress);
    [[nodiscard]] bool exchange();

    TimeChangeKind m_kind;
    Range m_range;
    QSet<const ILayer*> m_seen;
    std::vector<Part> m_parts;
    LayerPtr m_withoutRoom;
};
