#include "display/channelsdisplay.h"

#include "display/spectralchannel.h"
#include "display/viewgeometry.h"
#include "model/layerroot.h"
#include "model/types/channellabels.h"

#include <QEvent>
#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QScrollArea>
#include <QVBoxLayout>

#include <cmath>

namespace {

constexpr double degreesPerOctave = 480; // of wheel angle for a factor of two
constexpr int notch = 120;
constexpr PointD middle{0.5, 0.5}; // of a view, as shares
constexpr int rowGap = 2;          // logical pixels

bool contains(const Area& outer, const Area& inner)
{
    return outer.x <= inner.x && inner.x + inner.width <= outer.x + outer.width && outer.y <= inner.y &&
           inner.y + inner.height <= outer.y + outer.height;
}

// The way through the frequency scale and back costs the last digits; an area that shows the whole
// band shows exactly that.
Area exactEdges(Area area, const Area& limits)
{
    const double tolerance = 1e-9 * limits.height;
    if (std::abs(area.y - limits.y) < tolerance && std::abs(area.height - limits.height) < tolerance) {
        area.y = limits.y;
        area.height = limits.height;
    }
    return area;
}

QLabel* makeHint(QWidget* parent)
{
    auto* hint = new QLabel(parent);
    hint->setObjectName(QStringLiteral("hint"));
    hint->setAlignment(Qt::AlignCenter);
    hint->setTextFormat(Qt::RichText);
    hint->setText(ChannelsDisplay::tr("<p><img src=\":/icons/spectrogram.png\"></p>"
                                      "<p>Open a recording with File &gt; Open, or drop it here.</p>"));
    hint->setAccessibleName(ChannelsDisplay::tr("Open a recording with File > Open, or drop it here."));
    return hint;
}

// The name at the left of a view: short on sight, in full as tool tip.
QLabel* makeName(const SamplingFormat& format, int channel, QWidget* parent)
{
    const QString name = channelLabel(format.channelsType, format.channelsMask, channel);
    auto* label = new QLabel(channelShortLabel(format.channelsType, format.channelsMask, channel), parent);
    label->setObjectName(QStringLiteral("channelname"));
    label->setAlignment(Qt::AlignHCenter | Qt::AlignVCenter);
    label->setToolTip(name);
    label->setAccessibleName(ChannelsDisplay::tr("Channel %1: %2").arg(channel + 1).arg(name));
    return label;
}

} // namespace

ChannelsDisplay::ChannelsDisplay(QWidget* parent)
    : QWidget(parent),
      IEvent(QStringLiteral("ChannelsDisplay")),
      m_hint(makeHint(this)),
      m_scroll(new QScrollArea(this))
{
    setObjectName(QStringLiteral("channels"));
    setAccessibleName(tr("Channels"));
    m_scroll->setFrameShape(QFrame::NoFrame);
    m_scroll->setWidgetResizable(true);
    m_scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_scroll->setAccessibleName(tr("Channels of the project"));
    m_scroll->hide();
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins({});
    layout->setSpacing(0);
    layout->addWidget(m_hint, 1);
    layout->addWidget(m_scroll, 1);
}

ChannelsDisplay::~ChannelsDisplay() = default;

void ChannelsDisplay::buildRows(const SamplingFormat& format)
{
    m_channels.clear();
    auto* column = new QWidget;
    column->setObjectName(QStringLiteral("rows"));
    auto* rows = new QVBoxLayout(column);
    rows->setContentsMargins({});
    rows->setSpacing(rowGap);
    for (int channel = 0; channel < format.channels; ++channel) {
        // The row keeps its place while the view in it is hidden.
        auto* row = new QWidget(column);
        row->setMinimumHeight(minRowHeight);
        auto* line = new QHBoxLayout(row);
        line->setContentsMargins({});
        line->setSpacing(0);
        line->addWidget(makeName(format, channel, row));
        auto* view = new SpectralChannel(channel, row);
        view->hide();
        view->setTransform(m_transform);
        view->installEventFilter(this);
        QSizePolicy policy = view->sizePolicy();
        policy.setRetainSizeWhenHidden(true);
        view->setSizePolicy(policy);
        view->setAccessibleName(
            tr("Spectrogram, %1").arg(channelLabel(format.channelsType, format.channelsMask, channel)));
        line->addWidget(view, 1);
        rows->addWidget(row, 1);
        m_channels << view;
    }
    column->installEventFilter(this);
    // Deletes the rows that were there.
    m_scroll->setWidget(column);
}

void ChannelsDisplay::showRowsInSight()
{
    const QWidget* viewport = m_scroll->viewport();
    const QWidget* column = m_scroll->widget();
    // Not laid out yet: all rows would lie upon each other, and all would be in sight.
    if (!column || !isVisible() || column->height() < column->minimumSizeHint().height())
        return;
    column->layout()->activate();
    for (SpectralChannel* view : qAsConst(m_channels)) {
        const QWidget* row = view->parentWidget();
        const QRect place(row->mapTo(viewport, QPoint(0, 0)), row->size());
        view->setVisible(place.intersects(viewport->rect()));
    }
}

bool ChannelsDisplay::eventFilter(QObject* object, QEvent* event)
{
    if (event->type() == QEvent::Leave)
        Q_EMIT pointerLeft();
    // The column was laid out or moved under the viewport.
    if (object == m_scroll->widget() &&
        (event->type() == QEvent::Resize || event->type() == QEvent::Move ||
         event->type() == QEvent::LayoutRequest || event->type() == QEvent::Show))
        QMetaObject::invokeMethod(this, &ChannelsDisplay::showRowsInSight, Qt::QueuedConnection);
    return QWidget::eventFilter(object, event);
}

bool ChannelsDisplay::isSettled() const
{
    for (const SpectralChannel* view : m_channels)
        if (!view->visibleRegion().isEmpty() && view->isOutstanding())
            return false;
    return true;
}

Area ChannelsDisplay::limits() const
{
    return m_layers ? fullBandArea(m_convert.format, m_layers->range()) : Area();
}

void ChannelsDisplay::samplingFormatEvent(EventId, const SamplingFormat& format)
{
    const bool same = m_convert.format == format;
    m_convert.format = format;
    if (!same)
        buildRows(format);
    m_hint->setVisible(format.channels < 1);
    m_scroll->setVisible(format.channels > 0);
}

void ChannelsDisplay::transformEvent(EventId, const TransformSettings& settings)
{
    m_convert.settings = settings;
    if (m_transform && sameSettings(*m_transform, settings))
        return;
    m_transform = std::make_shared<const Transform>(settings);
    for (SpectralChannel* view : qAsConst(m_channels))
        view->setTransform(m_transform);
}

void ChannelsDisplay::layerRootEvent(EventId, const LayerRoot& root)
{
    m_layers = root.project();
}

void ChannelsDisplay::freqScaleEvent(EventId, const int32_t& scale)
{
    m_convert.freqScale = FreqScale(scale);
}

void ChannelsDisplay::displayEnableEvent(EventId id, const bool& on)
{
    if (id == EventId::DisplayLockBottomTo0Enable)
        m_lockBottomTo0 = on;
    else if (id == EventId::DisplayLockCenterTo0Enable)
        m_lockCenterTo0 = on;
}

void ChannelsDisplay::areaEvent(EventId, const Area& area)
{
    m_viewArea = area;
}

void ChannelsDisplay::zoom(QPoint angleDelta)
{
    if (viewgeometry::isVisible(m_viewArea))
        showArea(exactEdges(viewgeometry::zoomed(m_convert, m_viewArea,
                                                 std::exp2(angleDelta.x() / -degreesPerOctave),
                                                 std::exp2(angleDelta.y() / -degreesPerOctave), middle),
                            limits()));
}

void ChannelsDisplay::showArea(const Area& area)
{
    if (m_channels.isEmpty())
        return;
    // A zoom by 1 gives an area that is too small its least size. What fits is taken to the bit, and
    // not by way of the frequency scale and back.
    const Area sized = viewgeometry::zoomed(m_convert, area, 1, 1, middle);
    const Area limit = limits();
    const bool fits = viewgeometry::isVisible(area) && area.width >= 1 && contains(limit, area);
    const Area inside = fits ? area : exactEdges(viewgeometry::limited(m_convert, sized, limit), limit);
    if (!viewgeometry::isVisible(inside))
        return;
    m_viewArea = viewgeometry::locked(inside, m_convert.format.isComplex(), m_lockBottomTo0, m_lockCenterTo0);
    postEvent(this, EventId::DisplayAreaChange, m_viewArea, this);
}

void ChannelsDisplay::zoomIn()
{
    zoom({notch, notch});
}

void ChannelsDisplay::zoomOut()
{
    zoom({-notch, -notch});
}

void ChannelsDisplay::zoomFullyOut()
{
    showArea(limits());
}

void ChannelsDisplay::zoomTimeIn()
{
    zoom({notch, 0});
}

void ChannelsDisplay::zoomTimeOut()
{
    zoom({-notch, 0});
}

void ChannelsDisplay::zoomFreqIn()
{
    zoom({0, notch});
}

void ChannelsDisplay::zoomFreqOut()
{
    zoom({0, -notch});
}
