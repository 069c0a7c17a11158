#include "display/channelview.h"

#include "display/properties.h"
#include "display/ruler.h"
#include "display/scales/colormaps.h"
#include "display/viewgeometry.h"
#include "model/layerroot.h"

#include <QPixmap>

#include <algorithm>
#include <cmath>

namespace {

constexpr std::size_t greyRamp = 9;      // id of the colour map that layers with a colour of their own take
constexpr double gridDistance = 60;      // logical pixels between upright lines, at the least
constexpr double regionStrength = 0.125; // opacity of the tint of a region

QVector<double> marksOf(const Ruler& ruler)
{
    QVector<double> values;
    for (const RulerTick& tick : ruler.ticks())
        values << tick.value;
    return values;
}

} // namespace

double nearestWithin(const QVector<double>& values, double value, double reach)
{
    double best = value;
    for (const double candidate : values)
        if (std::abs(candidate - value) < reach) {
            reach = std::abs(candidate - value);
            best = candidate;
        }
    return best;
}

ChannelView::ChannelView(const QString& listener, int channel, QWidget* parent)
    : QOpenGLChannel(parent),
      ViewState(listener),
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

void ChannelView::channelsModeEvent(EventId, const ChannelsMode& mode)
{
    m_channelsMode = mode;
    update();
}

void ChannelView::layerRootEvent(EventId, const LayerRoot& root)
{
    // Also the empty tree of a closed project, which no layer is seen in any more.
    m_convert.format = root.format();
    m_root = std::make_unique<LayerRoot>(root);
    viewStateChanged();
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
    case EventId::DisplaySnapEnable:
        m_snap = enabled;
        break;
    case EventId::DisplayCompositeEnable:
        m_composite = enabled;
        break;
    case EventId::DisplayTargetActiveEnable:
        m_targetActive = enabled;
        break;
    default:
        ViewState::displayEnableEvent(id, enabled);
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

bool ChannelView::hasPicture() const
{
    return hasValidFormat() && viewgeometry::isVisible(m_viewArea);
}

int ChannelView::linePixels() const
{
    return std::max(1, int(devicePixelRatioF()));
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

bool ChannelView::isPreview(const ILayer& layer) const
{
    return m_root && m_root->node(RootActivePreview).get() == &layer;
}

const ILayer& ChannelView::lookOf(const ILayer& layer) const
{
    const ILayerPtr active = m_root ? m_root->layer(-1) : nullptr;
    return active && isPreview(layer) ? *active : layer;
}

QColor ChannelView::layerColor(const ILayer& layer) const
{
    const ILayerPtr active = m_root ? m_root->layer(-1) : nullptr;
    if (m_composite)
        return Qt::white;
    if (m_targetActive && active.get() != &layer)
        return colorOr("colornontarget", "#555555");
    return QColor::fromRgb(layer.color() & 0xffffff);
}

std::size_t ChannelView::gradient() const
{
    return m_composite ? std::size_t(m_colormap) : greyRamp;
}

// --- playback ---------------------------------------------------------------------------------------

double ChannelView::snappedTime(double time) const
{
    if (!m_snap)
        return time;
    QVector<double> times = gridTimes();
    for (const Marker& marker : m_markers)
        times << double(marker.position) << double(marker.position) + double(marker.length);
    return nearestWithin(times, time, snapReach * m_viewArea.width / std::max(1, width()));
}

void ChannelView::setPlaying(bool playing)
{
    m_playing = playing;
    cursorChanged();
}

QCursor ChannelView::playCursor() const
{
    return QCursor(QPixmap(m_playing ? QStringLiteral(":/stylesheets/speakeroncursor.png")
                                     : QStringLiteral(":/stylesheets/speakeroffcursor.png")));
}

void ChannelView::setPosition(double time)
{
    const Range range = projectRange();
    m_position = int64_t(std::llround(std::clamp(time, double(range.start), double(range.end()))));
    update();
    postEvent(this, EventId::TransportPositionChange, m_position, this);
}

void ChannelView::beginPlaying(double x)
{
    if (!hasPicture())
        return;
    setPosition(snappedTime(timeAt(x)));
    if (m_playPress.begin(x, m_playing))
        Q_EMIT playOrStopToggled();
}

void ChannelView::scrub(double x)
{
    if (m_playPress.scrubs(x) && hasPicture())
        setPosition(timeAt(x));
}

void ChannelView::endPlaying()
{
    if (m_playPress.end())
        Q_EMIT playOrStopToggled();
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

void ChannelView::setRulers(const Ruler* time, const Ruler* level)
{
    m_timeRuler = time;
    m_levelRuler = level;
}

QVector<double> ChannelView::gridTimes() const
{
    return m_timeRuler ? marksOf(*m_timeRuler) : m_convert.timeMarks(m_viewArea, width(), gridDistance);
}

QVector<double> ChannelView::gridLevels(const std::function<QVector<double>()>& own) const
{
    return m_levelRuler ? marksOf(*m_levelRuler) : own();
}

void ChannelView::timeGridPass()
{
    QVector<QRectF> lines;
    for (const double tick : gridTimes())
        lines << uprightLine(tick);
    drawRects(lines, colorOr("colorgrid", "#303030"));
}

void ChannelView::markersPass()
{
    const QColor regions = colorOr("colorregions", "#e88f00");
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
    drawRects(lines, colorOr("colormarkers", "#0084ff"));
}

void ChannelView::transportPass()
{
    drawRects({uprightLine(double(m_position))}, colorOr("colortransport", "#d2d2d2"));
}
