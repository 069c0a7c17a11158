// The move tool of SpectralChannel: the handles of what is moved, and what dragging them tells.
#include "display/properties.h"
#include "display/spectralchannel.h"
#include "display/viewgeometry.h"
#include "model/layerroot.h"

#include <cmath>
#include <utility>

void SpectralChannel::moveTransformEvent(EventId id, const MoveTransform& value)
{
    // The identity calls a drag off: what it moved is at rest again.
    if (id == EventId::ToolMoveTransformChange && value.isIdentity() && m_moveDrag) {
        m_moveDrag.reset();
        m_drag = Drag::None;
    }
    m_move = id == EventId::ToolMoveTransformDone ? MoveTransform() : value;
    update();
}

// --- places -----------------------------------------------------------------------------------------

Area SpectralChannel::restArea() const
{
    const QRectF rect = m_drawing.path.boundingRect();
    return {rect.x(), rect.y(), rect.width(), rect.height()};
}

PointD SpectralChannel::controlPosition(int control) const
{
    const PointD rest = m_controls[control].position;
    return m_tool == EventId::ToolMoveActivate && !m_move.isIdentity() ? m_move.moved(rest, restArea().x)
                                                                       : rest;
}

MoveHandle SpectralChannel::moveHandleAt(const QPointF& pixel) const
{
    const Area rest = restArea();
    if (!isAddressed() || m_drawing.path.isEmpty() || !hasPicture())
        return MoveHandle::None;
    const int32_t control = controlAt(pixel);
    if (control >= 0 && control <= int32_t(MoveHandle::LeftMiddle))
        return MoveHandle(control);
    const Area area = m_move.moved(rest);
    const PointD at = documentPosition(pixel);
    const bool inside =
        at.x >= area.x && at.x <= area.x + area.width && at.y >= area.y && at.y <= area.y + area.height;
    return inside ? MoveHandle::Inside : MoveHandle::None;
}

QCursor SpectralChannel::moveCursor() const
{
    switch (m_moveDrag ? m_moveDrag->grip.handle : moveHandleAt(m_lastPixel)) {
    case MoveHandle::RightMiddle:
    case MoveHandle::LeftMiddle:
        return Qt::SizeHorCursor;
    case MoveHandle::TopMiddle:
        return Qt::SizeVerCursor;
    case MoveHandle::RightTop:
        return Qt::SizeBDiagCursor;
    case MoveHandle::LeftTop:
        return Qt::SizeFDiagCursor;
    case MoveHandle::Inside:
        return Qt::SizeAllCursor;
    case MoveHandle::None:
        break;
    }
    return {};
}

// --- the gesture ------------------------------------------------------------------------------------

// The first one in the list that sounds there, groups aside.
void SpectralChannel::activateLayerAt(double time)
{
    if (!m_root)
        return;
    const auto sample = int64_t(std::floor(time));
    for (const ILayerPtr& layer : m_root->project()->children(ChildrenAll)) {
        if (layer->type() == LayerTypeGroup || !layer->range(true).contains({sample, 1}))
            continue;
        if (m_root->setActive(layer))
            postEvent(this, EventId::LayerActivate, layer, this);
        return update();
    }
}

void SpectralChannel::beginMove(const QPointF& pixel)
{
    if (!hasPicture())
        return;
    if (controlAt(pixel) < 0 && propertyOr("autoactivatelayer", false).toBool())
        activateLayerAt(timeAt(pixel.x()));
    // After that, since another layer has handles of its own.
    const MoveHandle handle = moveHandleAt(pixel);
    if (handle != MoveHandle::None)
        m_moveDrag = {{handle, restArea(), documentPosition(pixel)}, pixel, false};
    updateCursor(Qt::NoModifier);
}

void SpectralChannel::dragMove(const QPointF& pixel, Qt::KeyboardModifiers modifiers)
{
    if (!m_moveDrag || !hasPicture())
        return;
    const bool shift = modifiers & Qt::ShiftModifier;
    QPointF to = pixel;
    if (shift && m_moveDrag->grip.handle == MoveHandle::Inside) {
        // Straight along one axis, so that a move in time alone stays one.
        const QPointF press = m_moveDrag->pressPixel;
        const bool across = std::abs(to.x() - press.x()) >= std::abs(to.y() - press.y());
        (across ? to.ry() : to.rx()) = across ? press.y() : press.x();
    }
    const MoveTransform value = movegesture::dragged(
        m_convert, m_moveDrag->grip, documentPosition(to),
        {propertyOr("scalefreqmoving", false).toBool(), shift && propertyOr("scaleprop", false).toBool()});
    if (value == m_move)
        return;
    if (!std::exchange(m_moveDrag->started, true)) {
        postEvent(this, EventId::ToolMoveTransformStart, value, this);
        if (!m_moveDrag)
            return; // refused
    }
    m_move = value;
    update();
    postEvent(this, EventId::ToolMoveTransformChange, value, this);
}

void SpectralChannel::endMove()
{
    if (!m_moveDrag)
        return;
    const bool started = m_moveDrag->started;
    m_moveDrag.reset();
    if (!started)
        return;
    // The place at which all is at rest from now on is told behind it.
    const MoveTransform value = std::exchange(m_move, {});
    update();
    postEvent(this, EventId::ToolMoveTransformDone, value, this);
}
