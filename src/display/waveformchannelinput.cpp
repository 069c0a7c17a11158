// What WaveformChannel does with wheel, mouse and menu.
#include "display/powerrange.h"
#include "display/viewgeometry.h"
#include "display/waveformchannel.h"
#include "display/wheelnavigation.h"

#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QMouseEvent>
#include <QWheelEvent>

#include <cmath>
#include <memory>

// The frequencies of the area stay as they are: they are the spectrogram's.
void WaveformChannel::showTime(double start, double length)
{
    Area area = m_viewArea;
    area.x = start;
    area.width = length;
    const Area inside = viewgeometry::limited(m_convert, area, limits());
    area.x = inside.x;
    area.width = inside.width;
    if (area == m_viewArea)
        return;
    m_viewArea = area;
    update();
    postEvent(this, EventId::DisplayAreaChange, m_viewArea, this);
}

// Moves the picture with the pointer.
void WaveformChannel::pan(const QPointF& pixels)
{
    showTime(m_viewArea.x - pixels.x() / width() * m_viewArea.width, m_viewArea.width);
    if (!m_lockCenterTo0)
        showPowerRange(powerrange::panned(m_powerRange, pixels.y() / height()));
}

// --- mouse ------------------------------------------------------------------------------------------

void WaveformChannel::toolEvent(EventId id)
{
    m_tool = id;
    cursorChanged();
}

void WaveformChannel::toolPluginEvent(EventId id, const ToolActivation&)
{
    toolEvent(id);
}

WaveformChannel::Drag WaveformChannel::leftDrag(Qt::KeyboardModifiers modifiers) const
{
    if (wheelnavigation::leftButtonPans(modifiers))
        return Drag::Pan;
    if (wheelnavigation::leftButtonPlays(modifiers))
        return Drag::Play;
    if (modifiers != Qt::NoModifier)
        return Drag::None;
    return m_tool == EventId::ToolPanActivate        ? Drag::Pan
           : m_tool == EventId::ToolPlaybackActivate ? Drag::Play
                                                     : Drag::None;
}

// The cursor tells what a press with the left button does, or what the button held down does.
void WaveformChannel::updateCursor(const QPointF& at, Qt::KeyboardModifiers modifiers)
{
    const bool held = m_drag != Drag::None;
    const Drag drag = held ? m_drag : leftDrag(modifiers & wheelnavigation::relevantModifiers);
    const auto place = drag == Drag::None && !m_composite ? nearestSample(at) : std::nullopt;
    if (drag == Drag::Pan)
        setCursor(held ? Qt::ClosedHandCursor : Qt::OpenHandCursor);
    else if (drag == Drag::Play)
        setCursor(playCursor());
    else if (drag == Drag::Sample || (place && isOnDot(*place, at)))
        setCursor(Qt::SizeVerCursor);
    else
        unsetCursor();
}

void WaveformChannel::mousePressEvent(QMouseEvent* event)
{
    if (m_blocked || m_drag != Drag::None || !hasPicture())
        return;
    const Qt::KeyboardModifiers modifiers = event->modifiers() & wheelnavigation::relevantModifiers;
    m_lastPixel = event->localPos();
    if (event->button() == Qt::MiddleButton)
        m_drag = Drag::Pan;
    else if (event->button() == Qt::LeftButton)
        m_drag = leftDrag(modifiers);
    if (m_drag == Drag::Play)
        beginPlaying(event->localPos().x());
    else if (m_drag == Drag::None && event->button() == Qt::LeftButton && modifiers == Qt::NoModifier)
        beginSampleDrag(event->localPos());
    updateCursor(event->localPos(), event->modifiers());
}

void WaveformChannel::mouseMoveEvent(QMouseEvent* event)
{
    if (m_blocked)
        return;
    const QPointF moved = event->localPos() - m_lastPixel;
    m_lastPixel = event->localPos();
    if (m_drag == Drag::Pan)
        pan(moved);
    else if (m_drag == Drag::Play)
        scrub(event->localPos().x());
    else if (m_drag == Drag::Sample)
        dragSample(event->localPos());
    updateCursor(event->localPos(), event->modifiers());
}

void WaveformChannel::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->buttons() != Qt::NoButton)
        return;
    const Drag ended = m_drag;
    if (ended == Drag::Sample)
        endSampleDrag(true);
    m_drag = Drag::None;
    // What plays is stopped even where the view is blocked by now.
    if (ended == Drag::Play)
        endPlaying();
    updateCursor(event->localPos(), event->modifiers());
}

void WaveformChannel::keyPressEvent(QKeyEvent* event)
{
    // The keyboard is this view's own while a sample is dragged.
    if (m_drag == Drag::Sample && event->key() == Qt::Key_Escape)
        endSampleDrag(false);
    else
        ChannelView::keyPressEvent(event);
}

void WaveformChannel::wheelEvent(QWheelEvent* event)
{
    if (m_blocked || m_drag == Drag::Sample || !hasPicture())
        return;
    const Qt::KeyboardModifiers modifiers = event->modifiers() & wheelnavigation::relevantModifiers;
    auto [dx, dy] = wheelnavigation::axes(*event);
    switch (wheelnavigation::action(modifiers)) {
    case wheelnavigation::Action::Pan:
        pan(QPointF(-dx * width(), dy * height()) / 1440);
        break;
    case wheelnavigation::Action::Zoom: {
        if (modifiers & Qt::ControlModifier && modifiers & Qt::AltModifier)
            dx = dy = dx + dy;
        const double x = event->position().x() / width();
        const double length = std::max(1.0, m_viewArea.width * wheelnavigation::zoomFactor(dx));
        showTime(m_viewArea.x + (m_viewArea.width - length) * x, length);
        showPowerRange(powerrange::zoomed(m_powerRange, wheelnavigation::zoomFactor(dy),
                                          1 - event->position().y() / height()));
        break;
    }
    case wheelnavigation::Action::Displace: // a curve has no relief
        break;
    }
    event->accept();
}

// --- menu -------------------------------------------------------------------------------------------

void WaveformChannel::setChannelMode(QBitArray ChannelsMode::*bits, bool on)
{
    ChannelsMode mode = m_channelsMode;
    if (m_channel >= (mode.*bits).size())
        return;
    (mode.*bits).setBit(m_channel, on);
    postEvent(this, EventId::ChannelsModeChange, mode, nullptr);
}

QMenu* WaveformChannel::makeMenu(const QPointF& at)
{
    auto* menu = new QMenu(this);
    const auto check = [menu](const QString& text, bool checked, const auto& toggled) {
        QAction* action = menu->addAction(text);
        action->setCheckable(true);
        action->setChecked(checked);
        connect(action, &QAction::triggered, menu, toggled);
    };
    const auto bit = [this](const QBitArray& bits) { return m_channel < bits.size() && bits[m_channel]; };
    if (showsSamples()) {
        menu->addAction(tr("Edit Sample..."), this, [this, at] { editSample(at); });
        menu->addSeparator();
    }
    check(tr("Mute"), m_channel < m_channelsMode.enabled.size() && !bit(m_channelsMode.enabled),
          [this](bool on) { setChannelMode(&ChannelsMode::enabled, !on); });
    check(tr("Solo"), bit(m_channelsMode.solo), [this](bool on) { setChannelMode(&ChannelsMode::solo, on); });
    menu->addSeparator();
    check(tr("Always Center Waveform"), m_lockCenterTo0, [this](bool on) {
        postEvent(this, EventId::DisplayLockCenterTo0Enable, on, nullptr);
        if (on)
            postEvent(this, EventId::DisplayPowerChange, m_powerRange, this);
    });
    menu->addAction(tr("Zoom Out"), this, [this] { showPowerRange(PowerRange()); });
    check(tr("Unit Grid"), m_gridShown,
          [this](bool on) { postEvent(this, EventId::DisplayGridEnable, on, nullptr); });
    return menu;
}

void WaveformChannel::contextMenuEvent(QContextMenuEvent* event)
{
    if (m_blocked || m_drag != Drag::None || !hasValidFormat())
        return;
    const std::unique_ptr<QMenu> menu(makeMenu(event->pos()));
    menu->exec(event->globalPos());
}
