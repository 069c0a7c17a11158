#include "display/wheelnavigation.h"

#include "display/properties.h"

#include <QWheelEvent>

#include <cmath>

namespace wheelnavigation {

Action action(Qt::KeyboardModifiers modifiers)
{
    const int navigation = propertyOr("wheelnavigation", 0).toInt();
    const bool alt = modifiers & Qt::AltModifier;
    const bool control = modifiers & Qt::ControlModifier;
    const bool altAlone = alt && !control;
    const bool controlAlone = control && !alt;
    if (navigation == 2 ? altAlone : controlAlone)
        return Action::Displace;
    if (navigation == 0 ? altAlone : modifiers == Qt::NoModifier)
        return Action::Pan;
    return Action::Zoom;
}

std::pair<double, double> axes(const QWheelEvent& event)
{
    const Qt::KeyboardModifiers modifiers = event.modifiers() & relevantModifiers;
    double dx = event.angleDelta().x();
    double dy = event.angleDelta().y();
    if (modifiers == Qt::AltModifier || modifiers == Qt::ShiftModifier ||
        event.buttons() & Qt::MiddleButton) {
        dx += dy;
        dy = 0;
    } else if (!(modifiers & Qt::ShiftModifier)) {
        dx = -dx;
    }
    if (!propertyOr("invertwheelaxes", true).toBool())
        std::swap(dx, dy);
    return {dx, dy};
}

double zoomFactor(double angle)
{
    return std::exp2(angle / -480);
}

namespace {

constexpr Qt::KeyboardModifiers control = Qt::ControlModifier;
constexpr Qt::KeyboardModifiers controlAlt = Qt::ControlModifier | Qt::AltModifier;

bool controlPans()
{
    return propertyOr("leftbuttonnavigation", 1).toInt() == 0;
}

} // namespace

bool leftButtonPans(Qt::KeyboardModifiers modifiers)
{
    return modifiers == (controlPans() ? control : controlAlt);
}

bool leftButtonPlays(Qt::KeyboardModifiers modifiers)
{
    return modifiers == (controlPans() ? controlAlt : control);
}

} // namespace wheelnavigation
