// What SpectralChannel does with wheel and mouse.
#include "display/properties.h"
#include "display/spectralchannel.h"
#include "display/viewgeometry.h"
#include "display/wheelnavigation.h"
#include "model/layerroot.h"

#include <QMouseEvent>
#include <QWheelEvent>

#include <cmath>
#include <utility>

namespace {

float longestDisplacement()
{
    return propertyOr("maxdisplace", 128).toFloat();
}

} // namespace

Area SpectralChannel::limits() const
{
    return m_root ? m_root->project()->area() : Area();
}

void SpectralChannel::navigate(const Area& area)
{
    const Area inside = viewgeometry::limited(m_convert, area, limits());
    m_viewArea = viewgeometry::locked(inside, m_convert.format.isComplex(), m_lockBottomTo0, m_lockCenterTo0);
    update();
    postEvent(this, EventId::DisplayAreaChange, m_viewArea, this);
}

void SpectralChannel::displace(const Displacement& value)
{
    m_displacement = displacement::limited(value, longestDisplacement());
    update();
    postEvent(this, EventId::DisplayDisplacementChange, m_displacement, this);
}

// --- mouse ------------------------------------------------------------------------------------------

SpectralChannel::Drag SpectralChannel::dragFor(const QMouseEvent& event) const
{
    const Qt::KeyboardModifiers modifiers = event.modifiers() & wheelnavigation::relevantModifiers;
    if (event.button() == Qt::MiddleButton)
        return modifiers & Qt::ShiftModifier ? Drag::Displace : Drag::Pan;
    if (event.button() == Qt::LeftButton && wheelnavigation::leftButtonPans(modifiers))
        return Drag::Pan;
    return Drag::Pointer;
}

void SpectralChannel::updateCursor()
{
    if (m_drag == Drag::Pan)
        setCursor(Qt::ClosedHandCursor);
    else if (m_drag == Drag::Displace)
        setCursor(Qt::SizeAllCursor);
    else
        unsetCursor();
}

void SpectralChannel::mousePressEvent(QMouseEvent* event)
{
    if (m_blocked)
        return;
    if (m_drag == Drag::None || m_drag == Drag::Pointer)
        m_drag = dragFor(*event);
    updateCursor();
    m_lastPixel = event->localPos();
    m_dragDisplacement = m_displacement;
    if (m_drag == Drag::Pointer)
        movePointer(*event);
}

void SpectralChannel::mouseMoveEvent(QMouseEvent* event)
{
    if (m_blocked)
        return;
    updateCursor();
    const QPointF moved = event->localPos() - m_lastPixel;
    m_lastPixel = event->localPos();
    if (m_drag == Drag::Pan && hasValidFormat()) {
        // What is under the pointer stays there.
        navigate(viewgeometry::panned(m_convert, m_viewArea, -moved.x() / width(), moved.y() / height()));
    } else if (m_drag == Drag::Displace) {
        m_dragDisplacement.x += float(moved.x());
        m_dragDisplacement.y -= float(moved.y());
        const bool snap = event->modifiers() & Qt::ShiftModifier;
        displace(snap ? displacement::snapped(m_dragDisplacement) : m_dragDisplacement);
    } else {
        movePointer(*event);
    }
}

void SpectralChannel::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->buttons() == Qt::NoButton && m_drag != Drag::Pointer)
        m_drag = Drag::None;
    if (m_blocked)
        return;
    updateCursor();
    if (m_drag == Drag::Pointer)
        movePointer(*event);
    if (event->buttons() == Qt::NoButton)
        m_drag = Drag::None;
}

void SpectralChannel::movePointer(const QMouseEvent& event)
{
    if (!hasValidFormat() || !viewgeometry::isVisible(m_viewArea))
        return;
    m_mouse.previousPosition = m_mouse.position;
    m_mouse.previousPressure = m_mouse.pressure;
    m_mouse.previousModifiers = m_mouse.modifiers;
    m_mouse.position = documentPosition(event.localPos());
    m_mouse.pixel = {event.localPos().x(), event.localPos().y()};
    m_mouse.pixelSize = viewgeometry::pixelSize(m_convert, m_viewArea, size(), event.localPos());
    m_mouse.pressure = event.buttons() & Qt::LeftButton ? 1.0f : -1.0f;
    m_mouse.modifiers = uint32_t(event.modifiers());
    m_mouse.channel = m_channel;
    if (m_mouse.previousPressure < 0 && m_mouse.pressure >= 0) {
        m_mouse.pressPosition = m_mouse.position;
        m_mouse.pressPixel = m_mouse.pixel;
        m_mouse.pressPixelSize = m_mouse.pixelSize;
    }
    postEvent(this, EventId::MousePositionChange, m_mouse, this);
}

// --- wheel ------------------------------------------------------------------------------------------

void SpectralChannel::wheelEvent(QWheelEvent* event)
{
    if (m_blocked || !hasValidFormat() || !viewgeometry::isVisible(m_viewArea))
        return;
    const Qt::KeyboardModifiers modifiers = event->modifiers() & wheelnavigation::relevantModifiers;
    auto [dx, dy] = wheelnavigation::axes(*event);
    switch (wheelnavigation::action(modifiers)) {
    case wheelnavigation::Action::Pan:
        navigate(viewgeometry::panned(m_convert, m_viewArea, dx / 1440, dy / 1440));
        break;
    case wheelnavigation::Action::Zoom:
        if (modifiers & Qt::ControlModifier && modifiers & Qt::AltModifier)
            dx = dy = dx + dy;
        wheelZoom(dx, dy, event->position());
        break;
    case wheelnavigation::Action::Displace:
        if (modifiers & Qt::ShiftModifier && propertyOr("wheelnavigation", 0).toInt() == 2)
            std::swap(dx, dy);
        displace(
            {m_displacement.x - float(std::round(dx / 10)), m_displacement.y - float(std::round(dy / 10))});
        break;
    }
    event->accept();
}

void SpectralChannel::wheelZoom(double dx, double dy, const QPointF& pixel)
{
    const PointD fixed{pixel.x() / width(), 1 - pixel.y() / height()};
    navigate(viewgeometry::zoomed(m_convert, m_viewArea, std::exp2(dx / -480), std::exp2(dy / -480), fixed));
}
