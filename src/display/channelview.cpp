#include "display/channelview.h"

#include "display/properties.h"
#include "display/scales/colormaps.h"
#include "display/viewgeometry.h"
#include "model/layerroot.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr std::size_t greyRamp = 9;      // id of the colour map that layers with a colour of their own take
constexpr double gridDistance = 60;      // logical pixels between upright lines, at the least
constexpr double regionStrength = 0.125; // opacity of the tint of a region

template<class Enum>
Enum boundedEnum(int32_t value, Enum last)
{
    return value >= 0 && value <= int32_t(last) ? Enum(value) : Enum(0);
}

QColor colorOf(const char* key, const char* fallback)
{
    return propertyOr(key, fallback).value<QColor>();
}

} // namespace

ChannelView::ChannelView(const QString& listener, int channel, QWidget* parent)
    : QOpenGLChannel(parent),
      IEvent(listener),
      m_channel(channel)
{
    setMouseTracking(true);
    m_colormap = colormapFromString(propertyOr("defaultcolormap", "Laguna").toString());
    m_composite = propertyOr("defaultcomposite", false).toBool();
    m_targetActive = propertyOr("defaulttargetactive", false).toBool();
    m_gridShown = propertyOr("defaultgridenable", false).toBool();
    m_markersShown = propertyOr("defaultmarkerenable", true).toBool();
    m_selectionOpacity = propertyOr("defaultselectionopacity", 0.3).toFloat();
    m_convert.filtering = filteringFromString(propertyOr("defaultfiltering", "Cubic").toString());
    m_convert.timeUnit = timeUnitFromString(propertyOr("defaulttimeunit", "Decimal").toString());
}

ChannelView::~ChannelView() = default;

// --- events -----------------------------------------------------------------------------------------

void ChannelView::samplingFormatEvent(EventId, const SamplingFormat& format)
{
    m_convert.format = format;
    update();
}

void ChannelView::channelsModeEvent(EventId, const ChannelsMode& mode)
{
    m_channelsMode = mode;
    update();
}

void ChannelView::timeBaseEvent(EventId id, const TimeBase& base)
{
    if (id == EventId::FrameRateChange) {
        m_convert.fps = base.frameRate;
    } else {
        m_convert.bpm = base.bpm;
        m_convert.beatsPerBar = base.beatsPerBar;
        m_convert.beatUnit = base.beatUnit;
    }
    update();
}

void ChannelView::timeUnitEvent(EventId, const int32_t& unit)
{
    m_convert.timeUnit = boundedEnum(unit, TimeUnit::Pixels);
    update();
}

void ChannelView::filteringEvent(EventId, const int32_t& filtering)
{
    m_convert.filtering = boundedEnum(filtering, Filtering::Cubic);
    update();
}

void ChannelView::layerRootEvent(EventId, const LayerRoot& root)
{
    m_root = std::make_unique<LayerRoot>(root);
    m_convert.format = root.format();
    update();
}

void ChannelView::markersEvent(EventId, const MarkerList& markers)
{
    m_markers = markers;
    update();
}

void ChannelView::displayEnableEvent(EventId id, const bool& enabled)
{
    switch (id) {
    case EventId::DisplayGridEnable:
        m_gridShown = enabled;
        break;
    case EventId::DisplayMarkersEnable:
        m_markersShown = enabled;
        break;
    case EventId::DisplayCompositeEnable:
        m_composite = enabled;
        break;
    case EventId::DisplayTargetActiveEnable:
        m_targetActive = enabled;
        break;
    case EventId::DisplayLockBottomTo0Enable:
        m_lockBottomTo0 = enabled;
        break;
    case EventId::DisplayLockCenterTo0Enable:
        m_lockCenterTo0 = enabled;
        break;
    default:
        return;
    }
    update();
}

void ChannelView::displayValueEvent(EventId id, const float& value)
{
    if (id != EventId::DisplaySelectionOpacityChange)
        return;
    m_selectionOpacity = std::isfinite(value) ? std::clamp(value, 0.0f, 1.0f) : 0.0f;
    update();
}

void ChannelView::colormapEvent(EventId, const int32_t& colormap)
{
    m_colormap = std::clamp(colormap, 0, colormapCount() - 1);
    update();
}

void ChannelView::areaEvent(EventId, const Area& area)
{
    m_viewArea = area;
    update();
}

void ChannelView::controlsEvent(EventId, const QList<ControlPoint>& controls)
{
    m_controls = controls;
    update();
}

void ChannelView::selectionEvent(EventId, const Selection& selection)
{
    m_selection = selection;
    update();
}

void ChannelView::transportPositionEvent(EventId id, const int64_t& position)
{
    if (id != EventId::TransportPositionChange || m_position == position)
        return;
    m_position = position;
    update();
}

// --- places and colours -----------------------------------------------------------------------------

bool ChannelView::hasValidFormat() const
{
    return m_convert.format.sampleRate > 0 && m_channel < m_convert.format.channels;
}

int ChannelView::linePixels() const
{
    return std::max(1, qRound(devicePixelRatioF()));
}

double ChannelView::timeToFrame(double samples) const
{
    return (samples - m_viewArea.x) / m_viewArea.width * frameSize().width();
}

QRectF ChannelView::uprightLine(double samples) const
{
    const int pixels = linePixels();
    return QRectF(std::floor(timeToFrame(samples) - (pixels - 1) / 2.0), 0, pixels, frameSize().height());
}

QColor ChannelView::layerColor(const ILayer& layer) const
{
    const ILayerPtr active = m_root ? m_root->layer(-1) : nullptr;
    if (m_composite)
        return Qt::white;
    if (m_targetActive && active.get() != &layer)
        return colorOf("colornontarget", "#555555");
    return QColor::fromRgb(layer.color() & 0xffffff);
}

std::size_t ChannelView::gradient() const
{
    return m_composite ? std::size_t(m_colormap) : greyRamp;
}

// --- passes -----------------------------------------------------------------------------------------

void ChannelView::clearFrame()
{
    // At a fractional scale the widget cuts what it gives its buffer rounded: without this the last row or
    // column would stay black, and everything would be a little too small.
    glViewport(0, 0, frameSize().width(), frameSize().height());
    setNormalBlending();
    glClearColor(0, 0, 0, 1);
    glClear(GL_COLOR_BUFFER_BIT);
}

void ChannelView::setNormalBlending()
{
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
}

void ChannelView::setSelectionBlending()
{
    const bool additive =
        propertyOr("selectionblendingmode", "normal").toString() == QLatin1String("additive");
    glBlendFunc(GL_SRC_ALPHA, additive ? GL_ONE : GL_ONE_MINUS_SRC_ALPHA);
}

void ChannelView::timeGridPass()
{
    QVector<QRectF> lines;
    for (const double tick : m_convert.timeMarks(m_viewArea, width(), gridDistance))
        lines << uprightLine(tick);
    drawRects(lines, colorOf("colorgrid", "#303030"));
}

void ChannelView::markersPass()
{
    const QColor regions = colorOf("colorregions", "#e88f00");
    QColor tint = regions;
    tint.setAlphaF(regionStrength);
    QVector<QRectF> lines;
    QVector<QRectF> ends;
    QVector<QRectF> stretches;
    for (const Marker& marker : m_markers) {
        if (marker.length < 1) {
            lines << uprightLine(double(marker.position));
            continue;
        }
        const QRectF from = uprightLine(double(marker.position));
        const QRectF to = uprightLine(double(marker.position) + double(marker.length));
        ends << from << to;
        stretches << QRectF(QPointF(from.right(), 0), QPointF(to.left(), from.bottom()));
    }
    drawRects(stretches, tint);
    drawRects(ends, regions);
    drawRects(lines, colorOf("colormarkers", "#0084ff"));
}

void ChannelView::transportPass()
{
    drawRects({uprightLine(double(m_position))}, colorOf("colortransport", "#d2d2d2"));
}
