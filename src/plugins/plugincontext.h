// What tools and processes see of the document.
#pragma once

#include "model/ilayer.h"
#include "model/ilayerroot.h"
#include "model/types/area.h"
#include "model/types/channelsmode.h"
#include "model/types/samplingformat.h"
#include "model/types/transformsettings.h"
#include "plugins/iconvert.h"
#include "plugins/iprogress.h"
#include "plugins/ispectra.h"

#include <cstdint>
#include <memory>

class ISelection; // model/iselection.h

// Stands behind the host table of a tool or process; refilled before every call that the interface says
// it is filled for. The pointers are good during that call only, and null where no project is open; keep
// none of them. A new member goes to the end.
//
// What may be changed: the selection, the samples and frames of layers, the tree, the active layer, and
// `transportPosition`. Everybody is told when the call returns; with the answer true of execute() it
// becomes one state of the history. All else is for reading.
struct PluginContext
{
    SamplingFormat format;
    // Edits reach the channels whose bit of `selected` is set.
    ChannelsMode channelsMode;
    // Frame size, hop, number of bins of the frames in `spectra`. Null until a project was open.
    std::shared_ptr<const TransformSettings> transform;
    ILayerPtr activeLayer; // may be null, a group, or outside the user's layers
    // Nodes: 0 for previews, 1 for scratch, 2 the group of the user's layers. For setActive() too.
    ILayerRoot* root = nullptr;
    ISelection* selection = nullptr;
    Area area; // in view: samples, Hz
    IConvert* convert = nullptr;
    ISpectra* spectra = nullptr;
    // Where the transport stands, samples. A tool that writes another value here moves it.
    int64_t transportPosition = 0;
    // Of a tool: the control under the pointer, an index into the list that it has returned last; -1 for
    // none. It stays what it was when the button went down until the button goes up.
    int32_t controlId = -1;
    IProgress* progress = nullptr; // in execute() alone
};
