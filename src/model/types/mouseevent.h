// What the pointer does in a view, as tools see it.
#pragma once

#include <cstdint>

struct PointD
{
    double x = 0;
    double y = 0;

    friend bool operator==(const PointD&, const PointD&) = default;
};

// Payload of MousePositionChange: a plain copyable record. Positions are (time in sample points,
// frequency in Hz); the press members are copies of the current ones taken whenever `pressure`
// rises from below 0 to 0 or more. So a button goes down where previousPressure < 0 <= pressure, is
// held while pressure >= 0, and goes up where previousPressure >= 0 > pressure.
struct MouseEvent
{
    PointD position;
    PointD pixel;           // the pointer in the widget, logical pixels
    PointD pixelSize;       // what one pixel measures at this spot: samples, Hz
    float pressure = -1.0f; // -1 while no button is down, 0 to 1 from a tablet, 1 for a mouse press
    PointD pressPosition;
    PointD pressPixel;
    PointD pressPixelSize;
    float previousPressure = -1.0f;
    uint32_t modifiers = 0; // Qt::KeyboardModifiers
    uint32_t previousModifiers = 0;
    uint32_t toolMode = 0;
    PointD previousPosition;
    int32_t channel = 0;
    // `position` and `pressPosition` on the nearest tick of the rulers or marker within a few pixels
    // while snapping is on; otherwise the same as those.
    PointD snapped;
    PointD pressSnapped;
};
