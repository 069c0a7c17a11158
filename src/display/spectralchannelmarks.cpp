// What SpectralChannel draws over the spectrogram.
#include "display/properties.h"
#include "display/spectralchannel.h"
#include "display/viewgeometry.h"

#include <QDateTime>
#include <QMatrix4x4>
#include <QOpenGLPixelTransferOptions>

#include <algorithm>
#include <cmath>

namespace {

constexpr double gridDistance = 40; // logical pixels between level lines, at the least
constexpr double markerSize = 9;    // of a spectral marker without extent, logical pixels
constexpr double controlSize = 8;   // logical pixels
constexpr double hoveredSize = 11;
constexpr int borderReach = 2;    // device pixels that the border of a selection takes beside its path
constexpr double finestPiece = 8; // device pixels of a tool's line between two points under a bent scale
constexpr int mostPieces = 256;

// The edges of a rectangle as four of a line's thickness.
void appendFrame(QVector<QRectF>& rects, const QRectF& rect, double thickness)
{
    rects << QRectF(rect.left(), rect.top(), rect.width(), thickness)
          << QRectF(rect.left(), rect.bottom() - thickness, rect.width(), thickness)
          << QRectF(rect.left(), rect.top(), thickness, rect.height())
          << QRectF(rect.right() - thickness, rect.top(), thickness, rect.height());
}

QRectF onWholePixels(const QRectF& rect)
{
    const QPointF from(std::round(rect.left()), std::round(rect.top()));
    return {from, QPointF(std::max(from.x() + 1, std::round(rect.right())),
                          std::max(from.y() + 1, std::round(rect.bottom())))};
}

} // namespace

// --- events -----------------------------------------------------------------------------------------

void SpectralChannel::spectralMarkersEvent(EventId, const SpectralMarkerList& markers)
{
    m_spectralMarkers = markers;
    update();
}

void SpectralChannel::displayEnableEvent(EventId id, const bool& enabled)
{
    if (id == EventId::DisplaySpectralMarkersEnable) {
        m_spectralMarkersShown = enabled;
        update();
        return;
    }
    ChannelView::displayEnableEvent(id, enabled);
}

void SpectralChannel::drawingEvent(EventId, const DrawingState& drawing)
{
    m_drawing = drawing;
    update();
}

void SpectralChannel::controlIdEvent(EventId, const int32_t& control)
{
    m_controlId = control;
    update();
}

// --- places -----------------------------------------------------------------------------------------

QPointF SpectralChannel::toFrame(const PointD& position) const
{
    const Area view = m_convert.areaToScale(m_viewArea);
    const int height = frameSize().height();
    return {timeToFrame(position.x),
            height - (m_convert.toScale(position.y) - view.y) / view.height * height};
}

bool SpectralChannel::isAddressed() const
{
    return m_channel >= m_channelsMode.selected.size() || m_channelsMode.selected.testBit(m_channel);
}

// --- passes -----------------------------------------------------------------------------------------

QVector<double> SpectralChannel::gridFrequencies() const
{
    return gridLevels([this] { return m_convert.freqMarks(m_viewArea, height(), gridDistance); });
}

void SpectralChannel::gridPass()
{
    timeGridPass();
    QVector<QRectF> lines;
    const int pixels = linePixels();
    for (const double tick : gridFrequencies())
        lines << QRectF(0, std::floor(toFrame({m_viewArea.x, tick}).y() - (pixels - 1) / 2.0),
                        frameSize().width(), pixels);
    drawRects(lines, colorOr("colorgrid", "#303030"));
}

// The phase of the selection's border by the property selectionborderstyle; below 0 for none. Lets the ants
// run, or stops them.
double SpectralChannel::borderPhase()
{
    const QString style = propertyOr("selectionborderstyle", "marching ants").toString();
    const bool ants = style == QLatin1String("marching ants");
    if (m_selection.isEmpty() || !ants)
        m_antsTimer.stop();
    else if (!m_antsTimer.isActive())
        m_antsTimer.start();
    if (ants)
        return double(QDateTime::currentMSecsSinceEpoch() % 1000) / 1000;
    return style == QLatin1String("solid") ? 0 : -1;
}

// The pixels of the frame buffer that the selection may touch.
QRect SpectralChannel::selectedPixels() const
{
    const Area bounds = m_selection.bounds();
    const QPointF low = toFrame({bounds.x, bounds.y});
    const QPointF high = toFrame({bounds.x + bounds.width, bounds.y + bounds.height});
    return QRectF(QPointF(low.x(), high.y()), QPointF(high.x(), low.y()))
        .adjusted(-borderReach, -borderReach, borderReach, borderReach)
        .intersected(QRectF(QPointF(), frameSize()))
        .toAlignedRect();
}

// The selection paints itself into an image of the pixels that it touches.
QImage SpectralChannel::selectionImage(const QRect& pixels, double phase) const
{
    const QSize frame = frameSize();
    const Area view = m_convert.areaToScale(m_viewArea);
    const double perColumn = view.width / frame.width(), perRow = view.height / frame.height();
    const Area painted{view.x + pixels.x() * perColumn,
                       view.y + (frame.height() - pixels.y() - pixels.height()) * perRow,
                       pixels.width() * perColumn, pixels.height() * perRow};
    QImage image(pixels.size(), QImage::Format_Grayscale8);
    m_selection.renderDisplayMask(
        image, painted, [this](QPointF point) { return QPointF(point.x(), m_convert.toScale(point.y())); },
        phase);
    return image;
}

// The GPU tints the image.
void SpectralChannel::selectionPass()
{
    const double phase = borderPhase();
    if (m_selection.isEmpty() || !m_selectionProgram || !m_selectionProgram->isLinked())
        return;
    const QRect pixels = selectedPixels();
    if (pixels.isEmpty())
        return;
    const QImage image = selectionImage(pixels, phase);
    QOpenGLTexture texture(QOpenGLTexture::Target2D);
    texture.setAutoMipMapGenerationEnabled(false);
    texture.setFormat(QOpenGLTexture::R8_UNorm);
    texture.setSize(image.width(), image.height());
    texture.allocateStorage(QOpenGLTexture::Red, QOpenGLTexture::UInt8);
    QOpenGLPixelTransferOptions rows;
    rows.setAlignment(4); // as the lines of an image are
    texture.setData(QOpenGLTexture::Red, QOpenGLTexture::UInt8, image.constBits(), &rows);
    texture.setMinMagFilters(QOpenGLTexture::Linear, QOpenGLTexture::Linear);
    texture.setWrapMode(QOpenGLTexture::ClampToEdge);

    QColor mask = colorOr("colorselectionmask", "#ffffff");
    mask.setAlphaF(double(m_selectionOpacity));
    m_selectionProgram->bind();
    m_selectionProgram->setUniformValue("tex", 0);
    m_selectionProgram->setUniformValue("colorborder", colorOr("colorselectionborder", "#a8a8a8"));
    m_selectionProgram->setUniformValue("colormask", mask);
    texture.bind(0);
    QMatrix4x4 matrix;
    matrix.ortho(QRectF(QPointF(), frameSize()));
    drawQuad(*m_selectionProgram, matrix, pixels, QRectF(0, 0, 1, 1));
    texture.release(0);
    m_selectionProgram->release();
}

void SpectralChannel::spectralMarkersPass()
{
    const double thickness = linePixels();
    QVector<QRectF> points, regions;
    for (const SpectralMarker& marker : m_spectralMarkers) {
        const QPointF from = toFrame({marker.time, marker.freq});
        if (marker.width > 0 && marker.height > 0) {
            const QPointF to = toFrame({marker.time + marker.width, marker.freq + marker.height});
            appendFrame(regions, onWholePixels(QRectF(QPointF(from.x(), to.y()), QPointF(to.x(), from.y()))),
                        thickness);
            continue;
        }
        // A cross about the point.
        const double reach = std::round(markerSize * devicePixelRatioF() / 2);
        const QPointF centre(std::floor(from.x()), std::floor(from.y()));
        const double half = std::floor(thickness / 2);
        points << QRectF(centre.x() - reach, centre.y() - half, 2 * reach + 1, thickness)
               << QRectF(centre.x() - half, centre.y() - reach, thickness, 2 * reach + 1);
    }
    drawRects(regions, colorOr("colorregions", "#e88f00"));
    drawRects(points, colorOr("colormarkers", "#0084ff"));
}

void SpectralChannel::drawingPass()
{
    QVector<QPolygonF> lines;
    for (const QPolygonF& polygon : m_drawing.path.toSubpathPolygons()) {
        QPolygonF line;
        for (int i = 0; i < polygon.size(); ++i) {
            const QPointF to = toFrame({polygon[i].x(), polygon[i].y()});
            if (i > 0) {
                // A straight edge is bent by the scale of frequencies.
                const QPointF before = polygon[i - 1];
                const QPointF moved = to - line.last();
                const bool oblique = before.x() != polygon[i].x() && before.y() != polygon[i].y();
                const double length = std::hypot(moved.x(), moved.y());
                const int pieces = !oblique || m_convert.freqScale == FreqScale::Linear
                                       ? 1
                                       : int(std::clamp(length / finestPiece, 1.0, double(mostPieces)));
                for (int piece = 1; piece < pieces; ++piece) {
                    const QPointF between = before + (polygon[i] - before) * (double(piece) / pieces);
                    line << toFrame({between.x(), between.y()});
                }
            }
            line << to;
        }
        lines << line;
    }
    drawStrokes(lines, linePixels(), colorOr("colordrawing", "#b4b4b4"));
}

// On whole pixels and inside the rectangle, so that all edges are seen where it fills the view.
void SpectralChannel::moveFramePass()
{
    if (m_drawing.path.isEmpty())
        return;
    const Area area = m_move.moved(restArea());
    const QRectF rect(toFrame({area.x, area.y + area.height}), toFrame({area.x + area.width, area.y}));
    QVector<QRectF> edges;
    appendFrame(edges, onWholePixels(rect), linePixels());
    drawRects(edges, colorOr("colordrawing", "#b4b4b4"));
}

void SpectralChannel::controlsPass()
{
    QVector<QPointF> plain, hovered;
    for (int i = 0; i < m_controls.size(); ++i)
        (i == m_controlId ? hovered : plain) << toFrame(controlPosition(i));
    const QColor color = colorOr("colorcontrols", "#dcdcdc");
    drawDiscs(plain, controlSize * devicePixelRatioF(), color);
    drawDiscs(hovered, hoveredSize * devicePixelRatioF(), color);
}
