#include "display/channelsdisplay.h"

#include "display/channelname.h"
#include "display/channelrow.h"
#include "display/frequencyscale.h"
#include "display/overviewbar.h"
#include "display/powerscale.h"
#include "display/properties.h"
#include "display/qsplitterext.h"
#include "display/scalegrip.h"
#include "display/spectralchannel.h"
#include "display/timeline.h"
#include "display/waveformchannel.h"

#include <algorithm>

#include <QCoreApplication>
#include <QEvent>
#include <QFrame>
#include <QGridLayout>
#include <QLabel>
#include <QScrollArea>
#include <QVBoxLayout>

namespace {

// Logical pixels.
constexpr int rowGap = 2;
constexpr int defaultRulerWidth = 56;
constexpr int narrowestRuler = 24;
constexpr int widestRuler = 240;
constexpr int messageMargin = 16;

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

QLabel* makeMessage(QWidget* parent)
{
    auto* message = new QLabel(parent);
    message->setObjectName(QStringLiteral("message"));
    message->setAlignment(Qt::AlignCenter);
    message->setWordWrap(true);
    message->setTextFormat(Qt::PlainText);
    message->setAttribute(Qt::WA_TransparentForMouseEvents);
    message->hide();
    return message;
}

} // namespace

ChannelsDisplay::ChannelsDisplay(QWidget* parent)
    : QWidget(parent),
      ViewState(QStringLiteral("ChannelsDisplay")),
      m_splitterRatio(propertyOr("waveformdisplay", 0.1).toFloat()),
      m_head(new QWidget(this)),
      m_overview(new OverviewBar(m_head)),
      m_timeLine(new TimeLine(m_head)),
      m_grip(new ScaleGrip(m_head)),
      m_hint(makeHint(this)),
      m_scroll(new QScrollArea(this)),
      m_message(makeMessage(this))
{
    setObjectName(QStringLiteral("channels"));
    setAccessibleName(tr("Channels"));
    m_head->setObjectName(QStringLiteral("head"));
    m_head->hide();
    auto* head = new QGridLayout(m_head);
    head->setSpacing(0);
    head->addWidget(m_overview, 0, 0);
    head->addWidget(m_timeLine, 1, 0);
    head->addWidget(m_grip, 1, 1);
    m_scroll->setFrameShape(QFrame::NoFrame);
    m_scroll->setWidgetResizable(true);
    m_scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_scroll->setAccessibleName(tr("Channels of the project"));
    m_scroll->hide();
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins({});
    layout->setSpacing(0);
    layout->addWidget(m_hint, 1);
    layout->addWidget(m_head);
    layout->addWidget(m_scroll, 1);
    connect(m_grip, &ScaleGrip::shifted, this, &ChannelsDisplay::scaleResize);
    connect(m_timeLine, &TimeLine::playOrStopToggled, this, &ChannelsDisplay::playOrStopToggled);
    connect(this, &ChannelsDisplay::started, m_timeLine, &TimeLine::startPlaying);
    connect(this, &ChannelsDisplay::stopped, m_timeLine, &TimeLine::stopPlaying);
}

ChannelsDisplay::~ChannelsDisplay() = default;

QList<SpectralChannel*> ChannelsDisplay::spectralChannels() const
{
    QList<SpectralChannel*> views;
    for (const ChannelRow* row : m_rows)
        views << row->spectral();
    return views;
}

QList<WaveformChannel*> ChannelsDisplay::waveformChannels() const
{
    QList<WaveformChannel*> views;
    for (const ChannelRow* row : m_rows)
        views << row->waveform();
    return views;
}

// --- rows -------------------------------------------------------------------------------------------

ChannelRow* ChannelsDisplay::addRow(const SamplingFormat& format, int channel, QWidget* column)
{
    auto* row = new ChannelRow(format, channel, column);
    row->setMinimumHeight(minRowHeight);
    row->spectral()->setTransform(m_transform);
    row->splitter()->setRatio(m_splitterRatio);
    row->spectral()->setRulers(m_timeLine, row->frequencyScale());
    row->waveform()->setRulers(m_timeLine, row->powerScale());
    row->spectral()->installEventFilter(this);
    row->waveform()->installEventFilter(this);
    connect(row->splitter(), &QSplitter::splitterMoved, this, &ChannelsDisplay::moveSplitter);
    row->spectral()->toolEvent(m_tool);
    row->waveform()->toolEvent(m_tool);
    row->spectral()->cursorEvent(EventId::MouseCursorChange, m_toolCursor);
    row->spectral()->controlsEvent(EventId::MouseControlsChange, m_toolControls);
    for (ChannelView* view :
         {static_cast<ChannelView*>(row->spectral()), static_cast<ChannelView*>(row->waveform())}) {
        connect(view, &ChannelView::playOrStopToggled, this, &ChannelsDisplay::playOrStopToggled);
        connect(this, &ChannelsDisplay::started, view, [view] { view->setPlaying(true); });
        connect(this, &ChannelsDisplay::stopped, view, [view] { view->setPlaying(false); });
    }
    connect(&row->name(), &ChannelName::muteToggled, this,
            [this, channel] { toggleMode(channel, &ChannelsMode::enabled); });
    connect(&row->name(), &ChannelName::soloToggled, this,
            [this, channel] { toggleMode(channel, &ChannelsMode::solo); });
    return row;
}

void ChannelsDisplay::buildRows(const SamplingFormat& format)
{
    m_rows.clear();
    auto* column = new QWidget;
    column->setObjectName(QStringLiteral("rows"));
    auto* layout = new QVBoxLayout(column);
    layout->setContentsMargins({});
    layout->setSpacing(rowGap);
    for (int channel = 0; channel < format.channels; ++channel) {
        m_rows << addRow(format, channel, column);
        layout->addWidget(m_rows.last(), 1);
    }
    column->installEventFilter(this);
    // Deletes the rows that were there.
    m_scroll->setWidget(column);
    showMode();
    layOutHead();
}

void ChannelsDisplay::showRowsInSight()
{
    const QWidget* viewport = m_scroll->viewport();
    const QWidget* column = m_scroll->widget();
    // Not laid out yet: all rows would lie upon each other, and all would be in sight.
    if (!column || !isVisible() || column->height() < column->minimumSizeHint().height())
        return;
    column->layout()->activate();
    for (ChannelRow* row : qAsConst(m_rows))
        row->setViewsVisible(
            QRect(row->mapTo(viewport, QPoint(0, 0)), row->size()).intersects(viewport->rect()));
}

bool ChannelsDisplay::eventFilter(QObject* object, QEvent* event)
{
    if (object != m_scroll->widget()) {
        if (event->type() == QEvent::Leave)
            Q_EMIT pointerLeft();
        return QWidget::eventFilter(object, event);
    }
    // The column was laid out or moved under the viewport.
    if (event->type() == QEvent::Resize || event->type() == QEvent::Move ||
        event->type() == QEvent::LayoutRequest || event->type() == QEvent::Show)
        QMetaObject::invokeMethod(this, &ChannelsDisplay::showRowsInSight, Qt::QueuedConnection);
    if (event->type() == QEvent::Resize)
        layOutHead(); // the scroll bar has come or gone
    return QWidget::eventFilter(object, event);
}

bool ChannelsDisplay::isSettled() const
{
    for (const ChannelRow* row : m_rows) {
        if (!row->spectral()->visibleRegion().isEmpty() && row->spectral()->isOutstanding())
            return false;
        if (!row->waveform()->visibleRegion().isEmpty() && row->waveform()->isOutstanding())
            return false;
    }
    return true;
}

// --- layout -----------------------------------------------------------------------------------------

int ChannelsDisplay::rulerWidth() const
{
    const int asked = propertyOr("scalebar", defaultRulerWidth).toInt();
    const int needed = m_rows.isEmpty() ? narrowestRuler : m_rows.first()->neededRulerWidth(convert());
    return std::clamp(asked, needed, std::max(needed, widestRuler));
}

// The axis of the time ruler is that of the views.
void ChannelsDisplay::layOutHead()
{
    const int width = rulerWidth();
    for (ChannelRow* row : qAsConst(m_rows))
        row->setRulerWidth(width);
    const int scrollBar = m_scroll->width() - m_scroll->viewport()->width();
    m_head->layout()->setContentsMargins(ChannelRow::nameWidth, 0, width - m_grip->width() + scrollBar, 0);
}

void ChannelsDisplay::scaleResize(int shift)
{
    if (!hasProject())
        return;
    // From what is seen, not from a smaller value that the texts have no room in.
    QCoreApplication::instance()->setProperty("scalebar",
                                              std::clamp(rulerWidth() + shift, narrowestRuler, widestRuler));
    layOutHead();
}

void ChannelsDisplay::moveSplitter(int pos, int)
{
    if (m_rows.isEmpty())
        return;
    const auto* moved = qobject_cast<const QSplitterExt*>(sender());
    const int height = (moved ? moved : m_rows.first()->splitter())->height();
    if (height < 1)
        return;
    m_splitterRatio = std::clamp(float(pos) / float(height), 0.0f, 1.0f);
    postEvent(this, EventId::DisplaySplitterRatioChange, m_splitterRatio, this);
    refreshSplitter();
}

void ChannelsDisplay::refreshSplitter()
{
    for (ChannelRow* row : qAsConst(m_rows))
        row->splitter()->setRatio(m_splitterRatio);
}

void ChannelsDisplay::setMessage(QString message)
{
    if (!hasProject())
        message.clear();
    m_message->setText(message);
    m_message->setVisible(!message.isEmpty());
    placeMessage();
}

void ChannelsDisplay::placeMessage()
{
    const int widest = std::max(0, width() - 2 * messageMargin);
    m_message->setWordWrap(false);
    QSize size = m_message->sizeHint();
    if (size.width() > widest) {
        m_message->setWordWrap(true);
        size = {widest, m_message->heightForWidth(widest)};
    }
    m_message->setGeometry((width() - size.width()) / 2, height() - size.height() - messageMargin,
                           size.width(), size.height());
    m_message->raise();
}

void ChannelsDisplay::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    placeMessage();
}

void ChannelsDisplay::showMode()
{
    for (int channel = 0; channel < m_rows.size(); ++channel)
        m_rows[channel]->name().setMode(channel >= m_mode.enabled.size() || m_mode.enabled.testBit(channel),
                                        channel < m_mode.solo.size() && m_mode.solo.testBit(channel));
}

// --- events -----------------------------------------------------------------------------------------

void ChannelsDisplay::viewStateChanged()
{
    if (!m_rows.isEmpty() && m_rows.first()->frequencyScale()->width() != rulerWidth())
        layOutHead(); // another unit
}

void ChannelsDisplay::samplingFormatEvent(EventId id, const SamplingFormat& format)
{
    const bool same = convert().format == format;
    ViewState::samplingFormatEvent(id, format);
    if (!same)
        buildRows(format);
    m_hint->setVisible(format.channels < 1);
    m_head->setVisible(format.channels > 0);
    m_scroll->setVisible(format.channels > 0);
    if (format.channels < 1)
        setMessage({});
}

void ChannelsDisplay::channelsModeEvent(EventId, const ChannelsMode& mode)
{
    m_mode = mode;
    showMode();
}

void ChannelsDisplay::transformEvent(EventId id, const TransformSettings& settings)
{
    ViewState::transformEvent(id, settings);
    if (m_transform && sameSettings(*m_transform, settings))
        return;
    m_transform = std::make_shared<const Transform>(settings);
    for (ChannelRow* row : qAsConst(m_rows))
        row->spectral()->setTransform(m_transform);
}

void ChannelsDisplay::markersEvent(EventId, const MarkerList& markers)
{
    m_markers = markers;
}

void ChannelsDisplay::displayValueEvent(EventId id, const float& value)
{
    if (id != EventId::DisplaySplitterRatioChange)
        return;
    m_splitterRatio = value;
    refreshSplitter();
}

void ChannelsDisplay::selectionEvent(EventId, const Selection& selection)
{
    m_selection = selection;
}

void ChannelsDisplay::transportPositionEvent(EventId id, const int64_t& position)
{
    if (id == EventId::TransportPositionChange)
        m_position = position;
}
