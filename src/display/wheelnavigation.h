// What wheel and buttons mean in a view, by modifiers and properties.
#pragma once

#include <QPoint>
#include <Qt>

#include <utility>

class QWheelEvent;

namespace wheelnavigation {

enum class Action { Pan, Zoom, Displace };

constexpr Qt::KeyboardModifiers relevantModifiers =
    Qt::ShiftModifier | Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier;

// By the property wheelnavigation: 0 zooms without modifiers, 1 and 2 pan.
[[nodiscard]] Action action(Qt::KeyboardModifiers modifiers);
// Right-hand and upward turns of the wheel, after the rules for modifiers and axes (property
// invertwheelaxes).
[[nodiscard]] std::pair<double, double> axes(const QWheelEvent& event);
// By what a zoom scales the view for such a turn: half at 480 upwards.
[[nodiscard]] double zoomFactor(double angle);
// Whether the left button with these modifiers pans, by the property leftbuttonnavigation.
[[nodiscard]] bool leftButtonPans(Qt::KeyboardModifiers modifiers);
// Whether it plays: the other one of Ctrl and Ctrl+Alt.
[[nodiscard]] bool leftButtonPlays(Qt::KeyboardModifiers modifiers);

} // namespace wheelnavigation
