#include "display/overviewbar.h"

#include "display/properties.h"
#include "display/viewgeometry.h"
#include "display/wheelnavigation.h"
#include "model/layerroot.h"

#include <QAction>
#include <QColor>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>

namespace {

constexpr double edgeReach = 4; // logical pixels to each side of an edge
constexpr int frameFill = 40;   // opacity of 255

} // namespace

OverviewBar::OverviewBar(QWidget* parent) : QWidget(parent), IEvent(QStringLiteral("OverviewBar"))
{
    setObjectName(QStringLiteral("overview"));
    setAccessibleName(tr("Overview"));
    setToolTip(tr("The part in view: drag to move, drag its edges to resize, turn the wheel to zoom"));
    setMouseTracking(true);
    hide();
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setContextMenuPolicy(Qt::ActionsContextMenu);

    const auto makeSwitch = [this](const QString& text, EventId id) {
        auto* action = new QAction(text, this);
        action->setCheckable(true);
        action->setChecked(true);
        connect(action, &QAction::triggered, this, [this, id](bool on) {
            update();
            postEvent(this, id, on, this);
        });
        addAction(action);
        return action;
    };
    m_showMarkers = makeSwitch(tr("Time Markers and Regions"), EventId::DisplayMarkersEnable);
    m_showSpectralMarkers =
        makeSwitch(tr("Spectral Markers and Regions"), EventId::DisplaySpectralMarkersEnable);
    auto* zoomOut = new QAction(tr("Zoom Out"), this);
    connect(zoomOut, &QAction::triggered, this, &OverviewBar::showWhole);
    addAction(zoomOut);
}

// --- events -----------------------------------------------------------------------------------------

void OverviewBar::samplingFormatEvent(EventId, const SamplingFormat& format)
{
    setVisible(format.channels > 0);
}

void OverviewBar::layerEvent(EventId id, const ILayerPtr&)
{
    if (id == EventId::LayerActivate)
        return;
    m_range = m_layers ? m_layers->range() : Range();
    update();
}

void OverviewBar::layerRootEvent(EventId, const LayerRoot& root)
{
    m_layers = root.project();
    m_range = m_layers ? m_layers->range() : Range();
    update();
}

void OverviewBar::areaEvent(EventId, const Area& area)
{
    m_viewArea = area;
    update();
}

void OverviewBar::markersEvent(EventId, const MarkerList& markers)
{
    m_markers = markers;
    update();
}

void OverviewBar::spectralMarkersEvent(EventId, const SpectralMarkerList& markers)
{
    m_spectralMarkers = markers;
    update();
}

void OverviewBar::displayEnableEvent(EventId id, const bool& on)
{
    if (id == EventId::DisplayMarkersEnable)
        m_showMarkers->setChecked(on);
    else if (id == EventId::DisplaySpectralMarkersEnable)
        m_showSpectralMarkers->setChecked(on);
    update();
}

void OverviewBar::selectionEvent(EventId, const Selection& selection)
{
    m_selection = selection;
    update();
}

void OverviewBar::transportPositionEvent(EventId, const int64_t& position)
{
    const double before = std::round(toPixel(double(m_position)));
    m_position = position;
    if (std::round(toPixel(double(m_position))) != before) // many come in a second while it plays
        update();
}

// --- geometry ---------------------------------------------------------------------------------------

double OverviewBar::toPixel(double time) const
{
    return m_range.isEmpty() ? 0 : (time - double(m_range.start)) * width() / double(m_range.length);
}

double OverviewBar::toTime(double pixel) const
{
    return double(m_range.start) + pixel * double(m_range.length) / std::max(1, width());
}

QRectF OverviewBar::frame() const
{
    if (m_range.isEmpty() || !viewgeometry::isVisible(m_viewArea))
        return {};
    const double left = std::clamp(toPixel(m_viewArea.x), 0.0, double(width()));
    const double right = std::clamp(toPixel(m_viewArea.x + m_viewArea.width), left, double(width()));
    return {left, 0, right - left, double(height())};
}

double OverviewBar::leastLength() const
{
    return std::min(double(m_range.length), propertyOr("mintransformsize", 32).toDouble());
}

OverviewBar::Grip OverviewBar::gripAt(double pixel) const
{
    const QRectF held = frame();
    if (held.isNull())
        return Grip::None;
    // The edges of a narrow frame reach outwards only, so that there is a middle to hold.
    const double inwards = std::min(edgeReach, held.width() / 4);
    if (pixel >= held.left() - edgeReach && pixel <= held.left() + inwards)
        return Grip::LeftEdge;
    if (pixel >= held.right() - inwards && pixel <= held.right() + edgeReach)
        return Grip::RightEdge;
    return pixel > held.left() && pixel < held.right() ? Grip::Frame : Grip::Outside;
}

// --- navigation -------------------------------------------------------------------------------------

void OverviewBar::show(double start, double length)
{
    if (m_range.isEmpty() || !viewgeometry::isVisible(m_viewArea) || !std::isfinite(start + length))
        return;
    const double first = double(m_range.start), whole = double(m_range.length);
    length = std::clamp(length, leastLength(), whole);
    m_viewArea.x = std::clamp(start, first, first + whole - length);
    m_viewArea.width = length;
    update();
    postEvent(this, EventId::DisplayAreaChange, m_viewArea, this);
}

void OverviewBar::showWhole()
{
    if (!m_layers || m_range.isEmpty())
        return;
    m_viewArea = fullBandArea(m_layers->format(), m_range);
    update();
    postEvent(this, EventId::DisplayAreaChange, m_viewArea, this);
}

void OverviewBar::updateCursor(double pixel)
{
    const Grip grip = m_grip != Grip::None ? m_grip : gripAt(pixel);
    if (grip == Grip::LeftEdge || grip == Grip::RightEdge)
        setCursor(Qt::SizeHorCursor);
    else if (grip == Grip::Frame)
        setCursor(m_grip == Grip::Frame ? Qt::ClosedHandCursor : Qt::OpenHandCursor);
    else
        unsetCursor();
}

void OverviewBar::dragTo(double pixel)
{
    const double time = toTime(pixel) - m_gripOffset;
    const double first = double(m_range.start), last = double(m_range.end());
    const double end = m_viewArea.x + m_viewArea.width;
    if (m_grip == Grip::Frame) {
        show(time, m_viewArea.width);
    } else if (m_grip == Grip::LeftEdge) {
        const double start = std::clamp(time, first, std::max(first, end - leastLength()));
        show(start, end - start);
    } else if (m_grip == Grip::RightEdge) {
        show(m_viewArea.x, std::min(time, last) - m_viewArea.x);
    }
}

void OverviewBar::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton)
        return;
    const double pixel = event->localPos().x();
    m_grip = gripAt(pixel);
    if (m_grip == Grip::Outside) {
        show(toTime(pixel - frame().width() / 2), m_viewArea.width);
        m_grip = Grip::Frame;
    }
    const double held = m_grip == Grip::RightEdge ? m_viewArea.x + m_viewArea.width : m_viewArea.x;
    m_gripOffset = toTime(pixel) - held;
    updateCursor(pixel);
}

void OverviewBar::mouseMoveEvent(QMouseEvent* event)
{
    if (m_grip != Grip::None)
        dragTo(event->localPos().x());
    updateCursor(event->localPos().x());
}

void OverviewBar::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton)
        return;
    m_grip = Grip::None;
    updateCursor(event->localPos().x());
}

void OverviewBar::wheelEvent(QWheelEvent* event)
{
    const QPoint delta = event->angleDelta();
    const double wanted = m_viewArea.width * wheelnavigation::zoomFactor(delta.x() + delta.y());
    const double length = std::clamp(wanted, leastLength(), std::max(leastLength(), double(m_range.length)));
    const double time = toTime(event->position().x());
    const double share = m_viewArea.width > 0 ? (time - m_viewArea.x) / m_viewArea.width : 0.5;
    show(time - share * length, length);
    event->accept();
}

void OverviewBar::keyPressEvent(QKeyEvent* event)
{
    const double step = m_viewArea.width / 10;
    switch (event->key()) {
    case Qt::Key_Left:
        return show(m_viewArea.x - step, m_viewArea.width);
    case Qt::Key_Right:
        return show(m_viewArea.x + step, m_viewArea.width);
    case Qt::Key_Home:
        return show(double(m_range.start), m_viewArea.width);
    case Qt::Key_End:
        return show(double(m_range.end()), m_viewArea.width);
    default:
        QWidget::keyPressEvent(event);
    }
}

// --- painting ---------------------------------------------------------------------------------------

double OverviewBar::onDevicePixel(double pixel) const
{
    return std::round(pixel * devicePixelRatioF()) / devicePixelRatioF();
}

void OverviewBar::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.fillRect(rect(), palette().color(QPalette::Base));
    if (m_range.isEmpty())
        return;
    paintMarks(painter);
    if (!frame().isNull())
        paintFrame(painter);
}

// Whatever has a length is at least one pixel wide, and stands on whole device pixels.
void OverviewBar::paintMarks(QPainter& painter) const
{
    const auto stretch = [this](double time, double length) {
        const double left = onDevicePixel(toPixel(time));
        const double right = onDevicePixel(toPixel(time + length));
        return QRectF(left, 0, std::max(1 / devicePixelRatioF(), right - left), height());
    };
    const auto faint = [](QColor color, double opacity) {
        color.setAlphaF(opacity);
        return color;
    };
    if (!m_selection.isEmpty()) {
        const Area bounds = m_selection.bounds();
        painter.fillRect(stretch(bounds.x, bounds.width),
                         faint(colorOr("colorselectionmask", "#ffffff"), 0.3));
    }
    const QColor markers = colorOr("colormarkers", "#0084ff"), regions = colorOr("colorregions", "#e88f00");
    if (m_showMarkers->isChecked())
        for (const Marker& marker : m_markers)
            painter.fillRect(stretch(double(marker.position), double(marker.length)),
                             marker.length > 0 ? faint(regions, 0.5) : markers);
    if (m_showSpectralMarkers->isChecked())
        for (const SpectralMarker& marker : m_spectralMarkers)
            painter.fillRect(stretch(marker.time, marker.width),
                             marker.width > 0 ? faint(regions, 0.5) : markers);
    painter.fillRect(stretch(double(m_position), 0), colorOr("colortransport", "#d2d2d2"));
}

void OverviewBar::paintFrame(QPainter& painter) const
{
    QRectF view = frame();
    view.setLeft(onDevicePixel(view.left()));
    view.setRight(std::max(view.left() + 2, onDevicePixel(view.right())));
    if (view.right() > width())
        view.translate(width() - view.right(), 0);
    const QColor line = palette().color(QPalette::Highlight);
    QColor fill = line;
    fill.setAlpha(frameFill);
    painter.fillRect(view, fill);
    const double thickness = std::max(1.0, std::round(devicePixelRatioF())) / devicePixelRatioF();
    painter.fillRect(QRectF(view.left(), 0, view.width(), thickness), line);
    painter.fillRect(QRectF(view.left(), height() - thickness, view.width(), thickness), line);
    painter.fillRect(QRectF(view.left(), 0, thickness, height()), line);
    painter.fillRect(QRectF(view.right() - thickness, 0, thickness, height()), line);
    if (hasFocus())
        painter.fillRect(QRectF(view.left(), height() - 3 * thickness, view.width(), 3 * thickness), line);
}
