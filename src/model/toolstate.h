// What the active tool shows in the views, and which tool that is.
#pragma once

#include "model/types/mouseevent.h"

#include <QPainterPath>

class IToolPlugin;

// The outline that a tool draws, in document coordinates: sample points and Hz.
struct DrawingState
{
    QPainterPath path;

    friend bool operator==(const DrawingState&, const DrawingState&) = default;
};

// A point that the user may grab. Its id is its place in the list of controls.
struct ControlPoint
{
    PointD position; // sample points, Hz

    friend bool operator==(const ControlPoint&, const ControlPoint&) = default;
};

struct ToolActivation
{
    IToolPlugin* plugin = nullptr; // owned by its loader, which lives as long as the main window
    int32_t tool = 0;              // its index in the tool bar's list

    friend bool operator==(const ToolActivation&, const ToolActivation&) = default;
};
