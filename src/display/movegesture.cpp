#include "display/movegesture.h"

#include <algorithm>
#include <cmath>

namespace movegesture {

namespace {

constexpr double leastWidth = 1;      // samples
constexpr double leastHeight = 0.001; // Hz

// The least shift that does not take the left edge before sample 0.
double leastShift(const Area& rest)
{
    return std::min(0.0, std::ceil(-rest.x));
}

// The pitch ratio and the shift behind it, between which the bottom goes to `bottom`.
void setPitch(MoveTransform& value, const Area& rest, double ratio, double bottom)
{
    value.pitchRatio = float(std::max(ratio, leastHeight / rest.height));
    value.freqShift = bottom - rest.y * double(value.pitchRatio);
}

MoveTransform moved(const Convert& convert, const Grip& grip, const PointD& pointer, bool scalesFrequency)
{
    const Area& rest = grip.rest;
    MoveTransform value;
    value.timeShift = std::max(std::round(pointer.x - grip.press.x), leastShift(rest));
    if (!scalesFrequency) {
        value.freqShift = pointer.y - grip.press.y;
        return value;
    }
    const double up = convert.toScale(pointer.y) - convert.toScale(grip.press.y);
    if (up == 0)
        return value;
    const double bottom = convert.fromScale(convert.toScale(rest.y) + up);
    const double top = convert.fromScale(convert.toScale(rest.y + rest.height) + up);
    setPitch(value, rest, (top - bottom) / rest.height, bottom);
    return value;
}

MoveTransform scaled(const Convert& convert, const Grip& grip, const PointD& pointer, bool keepsProportion)
{
    const Area& rest = grip.rest;
    const MoveHandle handle = grip.handle;
    const bool left = handle == MoveHandle::LeftTop || handle == MoveHandle::LeftMiddle;
    const bool right = handle == MoveHandle::RightTop || handle == MoveHandle::RightMiddle;
    const bool top =
        handle == MoveHandle::TopMiddle || handle == MoveHandle::LeftTop || handle == MoveHandle::RightTop;
    double time = 1, pitch = 1;
    if (left || right)
        time = 1 + (pointer.x - grip.press.x) / (left ? -rest.width : rest.width);
    if (top) {
        const double up = convert.toScale(pointer.y) - convert.toScale(grip.press.y);
        const double to = convert.fromScale(convert.toScale(rest.y + rest.height) + up);
        pitch = (to - rest.y) / rest.height;
    }
    if (keepsProportion)
        time = pitch =
            std::max(std::abs(time - 1) > std::abs(pitch - 1) ? time : pitch, leastHeight / rest.height);
    time = std::max(time, leastWidth / rest.width);
    if (left)
        time = std::min(time, (rest.width - leastShift(rest)) / rest.width);
    MoveTransform value;
    value.timeRatio = float(time);
    if (left)
        value.timeShift = std::max(std::round(rest.width * (1 - double(value.timeRatio))), leastShift(rest));
    setPitch(value, rest, keepsProportion ? time : pitch, rest.y);
    return value;
}

} // namespace

MoveTransform dragged(const Convert& convert, const Grip& grip, const PointD& pointer, const Modes& modes)
{
    if (grip.handle == MoveHandle::None || !(grip.rest.width > 0) || !(grip.rest.height > 0))
        return {};
    return grip.handle == MoveHandle::Inside ? moved(convert, grip, pointer, modes.scalesFrequency)
                                             : scaled(convert, grip, pointer, modes.keepsProportion);
}

} // namespace movegesture
