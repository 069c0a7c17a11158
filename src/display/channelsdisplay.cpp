#include "display/channelsdisplay.h"

#include "display/spectralchannel.h"
#include "display/viewgeometry.h"
#include "model/layerroot.h"
#include "model/types/channellabels.h"

#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QScrollArea>
#include <QVBoxLayout>

#include <cmath>

namespace {

constexpr double degreesPerOctave = 480; // of wheel angle for a factor of two
constexpr int notch = 120;
constexpr int rowGap = 2; // logical pixels

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
        auto* row = new QHBoxLayout;
        row->setSpacing(0);
        row->addWidget(makeName(format, channel, column));
        auto* view = new SpectralChannel(channel, column);
        view->setTransform(m_transform);
        view->setMinimumHeight(minRowHeight);
        view->setAccessibleName(
            tr("Spectrogram, %1").arg(channelLabel(format.channelsType, format.channelsMask, channel)));
        row->addWidget(view, 1);
        rows->addLayout(row, 1);
        m_channels << view;
    }
    // Deletes the rows that were there.
    m_scroll->setWidget(column);
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
    if (m_channels.isEmpty() || !viewgeometry::isVisible(m_viewArea))
        return;
    const Area zoomed =
        viewgeometry::zoomed(m_convert, m_viewArea, std::exp2(angleDelta.x() / -degreesPerOctave),
                             std::exp2(angleDelta.y() / -degreesPerOctave), {0.5, 0.5});
    showArea(viewgeometry::limited(m_convert, zoomed, limits()));
}

void ChannelsDisplay::showArea(const Area& area)
{
    m_viewArea = viewgeometry::locked(area, m_convert.format.isComplex(), m_lockBottomTo0, m_lockCenterTo0);
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
    if (!m_channels.isEmpty())
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
