// What the move tool makes of a drag. Pure arithmetic.
#pragma once

#include "display/scales/convert.h"
#include "model/movetransform.h"

namespace movegesture {

// What was taken hold of: positions are (time in samples, frequency in Hz), `rest` the bounding rectangle.
struct Grip
{
    MoveHandle handle = MoveHandle::None;
    Area rest;
    PointD press;
};

struct Modes
{
    bool scalesFrequency = false; // a move upwards keeps the height on the screen, not that in Hz
    bool keepsProportion = false; // the handles change both factors alike
};

// The transform that takes the grip to the pointer. The inside moves; a handle scales about the opposite
// side. In display coordinates the handle follows the pointer in step. The left edge stays at or beyond
// sample 0, and the rectangle at least a sample wide and a thousandth of a Hz high.
[[nodiscard]] MoveTransform dragged(const Convert& convert, const Grip& grip, const PointD& pointer,
                                    const Modes& modes);

} // namespace movegesture
