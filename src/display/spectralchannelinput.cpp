// What SpectralChannel does with wheel and mouse.
#include "display/properties.h"
#include "display/spectralchannel.h"
#include "display/viewgeometry.h"
#include "display/wheelnavigation.h"

#include <QMouseEvent>
#include <QPixmap>
#include <QTabletEvent>
#include <QWheelEvent>

#include <cmath>
#include <utility>

namespace {

// Of the mouse. While the stylus is near, its own events tell how hard it presses, and the mouse events that
// Qt makes of them leave that as it was, `last`; but no stroke outlives the button.
float pressureOf(const QMouseEvent& event, float last)
{
    const bool down = event.buttons() & Qt::LeftButton;
    if (propertyOr("tabletproximity", false).toBool() && (down || event.type() != QEvent::MouseButtonRelease))
        return last;
    return down ? 1.0f : -1.0f;
}

float longestDisplacement()
{
    return propertyOr("maxdisplace", 128).toFloat();
}

} // namespace

void SpectralChannel::displace(const Displacement& value)
{
    m_displacement = displacement::limited(value, longestDisplacement());
    update();
    postEvent(this, EventId::DisplayDisplacementChange, m_displacement, this);
}

// --- mouse ------------------------------------------------------------------------------------------

SpectralChannel::Drag SpectralChannel::dragFor(Qt::MouseButton button, Qt::KeyboardModifiers modifiers) const
{
    modifiers &= wheelnavigation::relevantModifiers;
    if (button == Qt::MiddleButton)
        return modifiers & Qt::ShiftModifier ? Drag::Displace : Drag::Pan;
    if (button != Qt::LeftButton)
        return Drag::Pointer;
    // With Ctrl alone a tool takes away from the selection; navigation keeps Ctrl and Alt, and the middle
    // button.
    const bool isOfTool = m_tool == EventId::ToolPluginActivate && modifiers == Qt::ControlModifier;
    if (!isOfTool && wheelnavigation::leftButtonPans(modifiers))
        return Drag::Pan;
    if (!isOfTool && wheelnavigation::leftButtonPlays(modifiers))
        return Drag::Play;
    switch (m_tool) {
    case EventId::ToolPanActivate:
        return Drag::Pan;
    case EventId::ToolZoomActivate:
        return Drag::Zoom;
    case EventId::ToolDisplaceActivate:
        return Drag::Displace;
    case EventId::ToolPlaybackActivate:
        return Drag::Play;
    case EventId::ToolMoveActivate:
        return Drag::Move;
    default:
        return Drag::Pointer;
    }
}

// The cursor tells what a press with the left button does, or what the button held down does.
void SpectralChannel::updateCursor(Qt::KeyboardModifiers modifiers)
{
    const bool held = m_drag != Drag::None && m_drag != Drag::Pointer;
    switch (held ? m_drag : dragFor(Qt::LeftButton, modifiers)) {
    case Drag::Pan:
        return setCursor(held ? Qt::ClosedHandCursor : Qt::OpenHandCursor);
    case Drag::Displace:
        return setCursor(QCursor(QPixmap(QStringLiteral(":/stylesheets/displacecursor.png"))));
    case Drag::Zoom:
        return setCursor(QCursor(QPixmap(QStringLiteral(":/stylesheets/zoomcursor.png"))));
    case Drag::Play:
        return setCursor(playCursor());
    case Drag::Move:
        return setCursor(moveCursor());
    default:
        return setCursor(m_tool == EventId::ToolPluginActivate ? m_toolCursor : QCursor());
    }
}

void SpectralChannel::mousePressEvent(QMouseEvent* event)
{
    if (m_blocked)
        return;
    const QPointF pixel = event->localPos();
    // What a tool draws with the left button goes on to the release of that one.
    const bool draws =
        m_drag == Drag::Pointer && event->button() != Qt::LeftButton && event->buttons() & Qt::LeftButton;
    const bool begins = !draws && (m_drag == Drag::None || m_drag == Drag::Pointer);
    if (begins)
        m_drag = dragFor(event->button(), event->modifiers());
    m_lastPixel = pixel;
    updateCursor(event->modifiers());
    m_dragDisplacement = m_displacement;
    if (m_drag == Drag::Pointer)
        movePointer(pixel, pressureOf(*event, m_mouse.pressure), event->modifiers());
    else if (begins && m_drag == Drag::Zoom)
        beginZoom(pixel);
    else if (begins && m_drag == Drag::Play)
        beginPlaying(pixel.x());
    else if (begins && m_drag == Drag::Move)
        beginMove(pixel);
}

void SpectralChannel::mouseMoveEvent(QMouseEvent* event)
{
    if (m_blocked)
        return;
    const QPointF pixel = event->localPos();
    const QPointF moved = pixel - m_lastPixel;
    m_lastPixel = pixel;
    updateCursor(event->modifiers());
    if (m_drag == Drag::Pan && hasValidFormat()) {
        // What is under the pointer stays there.
        showArea(viewgeometry::panned(m_convert, m_viewArea, -moved.x() / width(), moved.y() / height()));
    } else if (m_drag == Drag::Displace) {
        m_dragDisplacement.x += float(moved.x());
        m_dragDisplacement.y -= float(moved.y());
        const bool snap = event->modifiers() & Qt::ShiftModifier;
        displace(snap ? displacement::snapped(m_dragDisplacement) : m_dragDisplacement);
    } else if (m_drag == Drag::Zoom) {
        dragZoom(pixel, event->modifiers());
    } else if (m_drag == Drag::Play) {
        scrub(pixel.x());
    } else if (m_drag == Drag::Move) {
        dragMove(pixel, event->modifiers());
    } else {
        movePointer(pixel, pressureOf(*event, m_mouse.pressure), event->modifiers());
    }
}

void SpectralChannel::mouseReleaseEvent(QMouseEvent* event)
{
    const Drag ended = m_drag;
    const bool last = event->buttons() == Qt::NoButton;
    if (last)
        m_drag = Drag::None;
    // What plays is stopped, and what was moved comes down, even where the view is blocked by now.
    if (last && ended == Drag::Play)
        endPlaying();
    if (last && ended == Drag::Move)
        endMove();
    if (m_blocked)
        return;
    updateCursor(event->modifiers());
    if (ended == Drag::Pointer)
        movePointer(event->localPos(), pressureOf(*event, m_mouse.pressure), event->modifiers());
    else if (last && ended == Drag::Zoom)
        endZoom(event->localPos(), event->modifiers());
}

void SpectralChannel::tabletEvent(QTabletEvent* event)
{
    event->ignore(); // so that mouse events follow, which begin and end the drag
    const bool down = event->buttons() & Qt::LeftButton && event->pressure() > 0;
    const bool navigates = m_drag == Drag::None
                               ? down && dragFor(Qt::LeftButton, event->modifiers()) != Drag::Pointer
                               : m_drag != Drag::Pointer;
    if (!m_blocked && !navigates)
        movePointer(event->posF(), down ? float(event->pressure()) : -1.0f, event->modifiers());
}

void SpectralChannel::leaveEvent(QEvent* event)
{
    if (m_controlId >= 0 && m_drag == Drag::None) {
        m_controlId = -1;
        update();
        postEvent(this, EventId::MouseControlIdChange, m_controlId, this);
    }
    ChannelView::leaveEvent(event);
}

void SpectralChannel::movePointer(const QPointF& pixel, float pressure, Qt::KeyboardModifiers modifiers)
{
    if (!hasPicture())
        return;
    m_mouse.previousPosition = m_mouse.position;
    m_mouse.previousPressure = m_mouse.pressure;
    m_mouse.previousModifiers = m_mouse.modifiers;
    m_mouse.position = documentPosition(pixel);
    m_mouse.snapped = snapped(m_mouse.position);
    m_mouse.pixel = {pixel.x(), pixel.y()};
    m_mouse.pixelSize = viewgeometry::pixelSize(m_convert, m_viewArea, size(), pixel);
    m_mouse.pressure = pressure;
    m_mouse.modifiers = uint32_t(modifiers);
    m_mouse.channel = m_channel;
    if (m_mouse.previousPressure < 0 && m_mouse.pressure >= 0) {
        m_mouse.pressPosition = m_mouse.position;
        m_mouse.pressSnapped = m_mouse.snapped;
        m_mouse.pressPixel = m_mouse.pixel;
        m_mouse.pressPixelSize = m_mouse.pixelSize;
    }
    if (pressure < 0)
        hoverControls(pixel);
    postEvent(this, EventId::MousePositionChange, m_mouse, this);
}

// --- wheel ------------------------------------------------------------------------------------------

void SpectralChannel::wheelEvent(QWheelEvent* event)
{
    if (m_blocked || !hasPicture())
        return;
    const Qt::KeyboardModifiers modifiers = event->modifiers() & wheelnavigation::relevantModifiers;
    auto [dx, dy] = wheelnavigation::axes(*event);
    switch (wheelnavigation::action(modifiers)) {
    case wheelnavigation::Action::Pan:
        showArea(viewgeometry::panned(m_convert, m_viewArea, dx / 1440, dy / 1440));
        break;
    case wheelnavigation::Action::Zoom:
        if (modifiers & Qt::ControlModifier && modifiers & Qt::AltModifier)
            dx = dy = dx + dy;
        zoomArea(wheelnavigation::zoomFactor(dx), wheelnavigation::zoomFactor(dy),
                 shareAt(event->position()));
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
