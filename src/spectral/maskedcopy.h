// The selected part of a layer: copied, cut out, removed.
#pragma once

#include "model/layer.h"
#include "model/selection.h"
#include "spectral/primitives/transform.h"

#include <memory>

#include <QBitArray>
#include <QString>

// Each frame of the layer under the selection is multiplied by its row of the selection's mask and
// resynthesised under a triangle of half-width H; that signal is the selected part. Frames count from
// the one nearest to the start of the selection to the one nearest to its end, and the rows of the mask
// share that span evenly.
//
// Memory follows a strip of frames (about 8 MiB of mask and the samples beneath), whatever the length of
// the selection; time follows the frames of the selection that the layer reaches. Frames are worked on
// in parallel on the pool.
//
// Samples are read as they stand in the layer: whoever keeps a SpectralBuffer of it releases that before
// the call, so that pending changes are in, and after a cut or a removal, since its frames are stale.
// GUI thread.

struct MaskedArea
{
    Selection selection;
    std::shared_ptr<const Transform> transform; // sample type as that of the layer's format
    QBitArray channels;                         // a bit for each channel that takes part
};

struct MaskedResult
{
    enum class State {
        Done,
        Cancelled, // by the progress callback; the source is untouched, and the target empty
        NoSpace,   // the samples could not be stored: the edit is to be rolled back
        // Nothing was done: no selection, no usable transform, layers that do not fit together.
        Refused,
    };
    State state = State::Refused;
    bool hasContent = false; // some frame of the area was not silent before
    QString error;           // of NoSpace: folder and cause; the layer that failed remembers it too

    [[nodiscard]] bool isDone() const { return state == State::Done; }
};

// Makes `target`, which loses what it held, the selected part of `source` (a layer, a region or a
// group as it mixes). Its span is that of the selection from time 0 on; channels without a bit are
// silent in it. It is a plain layer of the same channels and sample type, and not the source.
MaskedResult copyMasked(const ILayerPtr& source, const LayerPtr& target, const MaskedArea& area,
                        const Progress& progress = {});

// The same, and then takes what is in `target` out of `layer`, so that both together are exactly what
// was there, up to the rounding of one subtraction. The span of `layer` stays; where it has no samples,
// `target` is silent. Only the subtraction touches `layer`; it can't be cancelled and is not begun when
// there is no room for its undo image.
MaskedResult cutMasked(const ILayerPtr& layer, const LayerPtr& target, const MaskedArea& area,
                       const Progress& progress = {});

// Removes the selected part from `layer`: every frame is left times 1 - mask. Unlike a cut it is not
// clipped to the span of the selection but reaches one hop beyond its first and last frame, as far as the
// layer has samples: its span stays. What is removed is first written to a file of its own, so a cancel
// finds the layer as it was.
MaskedResult removeMasked(const ILayerPtr& layer, const MaskedArea& area, const Progress& progress = {});
