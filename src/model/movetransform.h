// What the move gesture does to a part of the signal.
#pragma once

#include "model/types/area.h"
#include "model/types/mouseevent.h"

#include <cstdint>

// Payload of ToolMoveTransformStart, ToolMoveTransformChange and ToolMoveTransformDone.
//
// Whoever carries the move out tells its place at rest: the bounding rectangle by MouseDrawingChange and
// its handles by MouseControlsChange, in the order of MoveHandle. The view in which a handle is dragged
// posts Start with the first value that is not the identity, Change with each value and Done with the last
// one; a press without a drag posts nothing. All views draw rectangle and handles at their place moved by
// the value, until Done or the identity, posted by Change, ends the gesture. The latter also calls it off.
struct MoveTransform
{
    double timeShift = 0; // sample points, whole-numbered
    double freqShift = 0; // Hz
    float timeRatio = 1;  // factor of length, about the left edge of what is moved
    float pitchRatio = 1; // factor of frequency, about 0 Hz; the shift comes after it

    [[nodiscard]] bool isIdentity() const { return *this == MoveTransform{}; }
    // Where a place goes, `left` being the left edge of what is moved.
    [[nodiscard]] PointD moved(const PointD& place, double left) const
    {
        return {left + timeShift + (place.x - left) * double(timeRatio),
                place.y * double(pitchRatio) + freqShift};
    }
    // Where the bounding rectangle goes.
    [[nodiscard]] Area moved(const Area& rest) const
    {
        const PointD corner = moved(PointD{rest.x, rest.y}, rest.x);
        return {corner.x, corner.y, rest.width * double(timeRatio), rest.height * double(pitchRatio)};
    }
    friend bool operator==(const MoveTransform&, const MoveTransform&) = default;
};

// The controls of the move tool by their place in the list; the inside of the rectangle is no control.
enum class MoveHandle : int32_t { None = -1, RightMiddle, RightTop, TopMiddle, LeftTop, LeftMiddle, Inside };
