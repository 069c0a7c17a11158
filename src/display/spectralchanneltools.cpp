// The tools of SpectralChannel: zoom, and what the pointer finds.
#include "display/properties.h"
#include "display/spectralchannel.h"
#include "display/viewgeometry.h"

#include <QPainterPath>

#include <algorithm>
#include <cmath>

namespace {

constexpr double controlReach = 6;      // logical pixels
constexpr double leastBand = 16;        // a smaller rubber band is a click
constexpr double leastDrag = 2;         // a smaller drag is a click
constexpr double pixelsPerOctave = 100; // of dragging
constexpr double clickOctaves = 0.25;

} // namespace

void SpectralChannel::toolEvent(EventId id)
{
    endMove(); // a key may change the tool while the button is held
    m_tool = id;
    m_drawing = {};
    if (id == EventId::ToolZoomActivate)
        m_zoomMode = std::clamp(propertyOr("zoommode", 0).toInt(), 0, 3);
    updateCursor(Qt::NoModifier);
    update();
}

void SpectralChannel::toolPluginEvent(EventId id, const ToolActivation&)
{
    toolEvent(id);
}

void SpectralChannel::cursorEvent(EventId, const QCursor& cursor)
{
    m_toolCursor = cursor;
    updateCursor(Qt::NoModifier);
}

PointD SpectralChannel::snapped(const PointD& position) const
{
    if (!m_snap)
        return position;
    // Frequencies are near each other where they are on the screen.
    QVector<double> rows;
    for (const double mark : gridFrequencies())
        rows << m_convert.toScale(mark);
    const Area view = m_convert.areaToScale(m_viewArea);
    const double perRow = view.height / std::max(1, height());
    return {snappedTime(position.x),
            m_convert.fromScale(nearestWithin(rows, m_convert.toScale(position.y), snapReach * perRow))};
}

// The last one among equals.
int32_t SpectralChannel::controlAt(const QPointF& pixel) const
{
    const double ratio = devicePixelRatioF();
    int32_t found = -1;
    double reach = controlReach;
    if (isAddressed())
        for (int i = 0; i < m_controls.size(); ++i) {
            const QPointF at = toFrame(controlPosition(i)) / ratio - pixel;
            if (const double distance = std::hypot(at.x(), at.y()); distance <= reach) {
                reach = distance;
                found = i;
            }
        }
    return found;
}

void SpectralChannel::hoverControls(const QPointF& pixel)
{
    const int32_t found = controlAt(pixel);
    if (found == m_controlId)
        return;
    m_controlId = found;
    update();
    postEvent(this, EventId::MouseControlIdChange, m_controlId, this);
}

// --- zoom -------------------------------------------------------------------------------------------

void SpectralChannel::beginZoom(const QPointF& pixel)
{
    m_pressPixel = pixel;
    m_pressArea = m_viewArea;
}

void SpectralChannel::dragZoom(const QPointF& pixel, Qt::KeyboardModifiers modifiers)
{
    if (!hasValidFormat() || !viewgeometry::isVisible(m_pressArea))
        return;
    if (m_zoomMode == 0) {
        const PointD from = documentPosition(m_pressPixel), to = documentPosition(pixel);
        m_drawing.path = QPainterPath();
        m_drawing.path.addRect(QRectF(QPointF(from.x, from.y), QPointF(to.x, to.y)));
        return update();
    }
    if (m_zoomMode < 2)
        return;
    QPointF moved = pixel - m_pressPixel;
    if (modifiers & Qt::ShiftModifier)
        (std::abs(moved.x()) < std::abs(moved.y()) ? moved.rx() : moved.ry()) = 0;
    showArea(viewgeometry::zoomed(m_convert, m_pressArea, std::exp2(-moved.x() / pixelsPerOctave),
                                  std::exp2(moved.y() / pixelsPerOctave), shareAt(m_pressPixel)));
}

void SpectralChannel::endZoom(const QPointF& pixel, Qt::KeyboardModifiers modifiers)
{
    m_drawing = {};
    update();
    if (!hasPicture())
        return;
    const QPointF moved(std::abs(pixel.x() - m_pressPixel.x()), std::abs(pixel.y() - m_pressPixel.y()));
    if (m_zoomMode == 0 && moved.x() > leastBand && moved.y() > leastBand) {
        // A corner beyond the project is drawn to its edge.
        const Area all = limits();
        const auto corner = [&](const QPointF& at) {
            const PointD place = snapped(documentPosition(at));
            return PointD{std::clamp(place.x, all.x, all.x + all.width),
                          std::clamp(place.y, all.y, all.y + all.height)};
        };
        const PointD a = corner(m_pressPixel), b = corner(pixel);
        return showArea({std::min(a.x, b.x), std::min(a.y, b.y), std::abs(b.x - a.x), std::abs(b.y - a.y)});
    }
    if (m_zoomMode >= 2 && (moved.x() >= leastDrag || moved.y() >= leastDrag))
        return;
    const double factor = std::exp2(m_zoomMode == 1 || m_zoomMode == 3 ? clickOctaves : -clickOctaves);
    const bool oneAxis = modifiers & Qt::ShiftModifier;
    const bool across = moved.x() >= moved.y();
    zoomArea(oneAxis && !across ? 1 : factor, oneAxis && across ? 1 : factor, shareAt(pixel));
}
