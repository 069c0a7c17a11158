// The commands of ChannelsDisplay.
#include "display/channelrow.h"
#include "display/channelsdisplay.h"
#include "display/timepoints.h"
#include "display/viewgeometry.h"
#include "display/wheelnavigation.h"
#include "model/historyentry.h"
#include "model/layerroot.h"

#include <algorithm>
#include <cmath>

#include <QCursor>
#include <QPainterPath>

namespace {

constexpr int notch = 120;
constexpr double stepsPerView = 50; // of a move to the left or right

// Titles of the history, shared by commands on purpose, whatever their direction.
constexpr const char* selectLeftTitle = QT_TRANSLATE_NOOP("ChannelsDisplay", "Select Left");
constexpr const char* selectPreviousTitle = QT_TRANSLATE_NOOP("ChannelsDisplay", "Select Previous");
constexpr const char* selectStartOfLayerTitle = QT_TRANSLATE_NOOP("ChannelsDisplay", "Select Start of Layer");
constexpr const char* selectEndOfLayerTitle = QT_TRANSLATE_NOOP("ChannelsDisplay", "Select End of Layer");
constexpr const char* selectStartOfProjectTitle =
    QT_TRANSLATE_NOOP("ChannelsDisplay", "Select Start of Project");
constexpr const char* selectEndOfProjectTitle = QT_TRANSLATE_NOOP("ChannelsDisplay", "Select End of Project");

// The full band between two times; empty when they are one.
Selection timeSelection(const Area& band, int64_t from, int64_t to)
{
    if (from == to)
        return {};
    QPainterPath path;
    path.addRect(QRectF(QPointF(double(std::min(from, to)), band.y),
                        QPointF(double(std::max(from, to)), band.y + band.height)));
    return Selection(path);
}

} // namespace

// --- targets ----------------------------------------------------------------------------------------

int64_t ChannelsDisplay::stepLeft() const
{
    return m_position - int64_t(std::max(1.0, viewArea().width / stepsPerView));
}

int64_t ChannelsDisplay::stepRight() const
{
    return m_position + int64_t(std::max(1.0, viewArea().width / stepsPerView));
}

std::set<int64_t> ChannelsDisplay::events() const
{
    return root() ? timepoints::events(*root()->project(), projectRange()) : std::set<int64_t>();
}

std::set<int64_t> ChannelsDisplay::markers() const
{
    return timepoints::markers(m_markers);
}

// Without an active layer, or one without samples, the position stays.
Range ChannelsDisplay::activeRange() const
{
    const ILayerPtr active = root() ? root()->layer(-1) : nullptr;
    return active && !active->isEmpty() ? active->range() : Range{m_position, 0};
}

// --- move and select --------------------------------------------------------------------------------

void ChannelsDisplay::moveTo(int64_t target)
{
    if (!hasProject())
        return;
    const Range range = projectRange();
    m_position = std::clamp(target, range.start, range.end());
    postEvent(this, EventId::TransportPositionChange, m_position, this);
    Area area = viewArea();
    if (area.x > double(m_position))
        area.x = double(m_position);
    if (double(m_position) > area.x + area.width)
        area.x = double(m_position) - area.width;
    showArea(area);
}

void ChannelsDisplay::selectTo(int64_t target, const char* title)
{
    if (!hasProject())
        return;
    const Range range = projectRange();
    const int64_t limited = std::clamp(target, range.start, range.end());
    const Range selected = m_selection.range();
    const int64_t anchor = m_position == selected.end()   ? selected.start
                           : m_position == selected.start ? selected.end()
                                                          : m_position;
    const Selection selection = timeSelection(limits(), anchor, limited);
    // At the last point a command would make one state after the other in which nothing changed.
    if (!(selection == m_selection)) {
        m_selection = selection;
        postEvent(this, EventId::SelectionChange, m_selection, this);
        HistoryEntry entry;
        entry.name = tr(title);
        entry.icon = QIcon(QStringLiteral(":/icons/menu.png"));
        postEvent(this, EventId::HistoryRecord, entry, this);
    }
    moveTo(limited);
}

void ChannelsDisplay::moveLeft()
{
    moveTo(stepLeft());
}

void ChannelsDisplay::moveRight()
{
    moveTo(stepRight());
}

void ChannelsDisplay::moveToPreviousEvent()
{
    moveTo(timepoints::previous(events(), m_position));
}

void ChannelsDisplay::moveToNextEvent()
{
    moveTo(timepoints::next(events(), m_position));
}

void ChannelsDisplay::moveToPreviousMarker()
{
    moveTo(timepoints::previous(markers(), m_position));
}

void ChannelsDisplay::moveToNextMarker()
{
    moveTo(timepoints::next(markers(), m_position));
}

void ChannelsDisplay::moveToStartOfLayer()
{
    moveTo(activeRange().start);
}

void ChannelsDisplay::moveToEndOfLayer()
{
    moveTo(activeRange().end());
}

void ChannelsDisplay::moveToStartOfProject()
{
    moveTo(projectRange().start);
}

void ChannelsDisplay::moveToEndOfProject()
{
    moveTo(projectRange().end());
}

void ChannelsDisplay::selectLeft()
{
    selectTo(stepLeft(), selectLeftTitle);
}

void ChannelsDisplay::selectRight()
{
    selectTo(stepRight(), selectLeftTitle);
}

void ChannelsDisplay::selectPreviousEvent()
{
    selectTo(timepoints::previous(events(), m_position), selectPreviousTitle);
}

void ChannelsDisplay::selectNextEvent()
{
    selectTo(timepoints::next(events(), m_position), selectPreviousTitle);
}

void ChannelsDisplay::selectPreviousMarker()
{
    selectTo(timepoints::previous(markers(), m_position), selectPreviousTitle);
}

void ChannelsDisplay::selectNextMarker()
{
    selectTo(timepoints::next(markers(), m_position), selectPreviousTitle);
}

void ChannelsDisplay::selectStartOfLayer()
{
    selectTo(activeRange().start, selectStartOfLayerTitle);
}

void ChannelsDisplay::selectEndOfLayer()
{
    selectTo(activeRange().end(), selectEndOfLayerTitle);
}

void ChannelsDisplay::selectStartOfProject()
{
    selectTo(projectRange().start, selectStartOfProjectTitle);
}

void ChannelsDisplay::selectEndOfProject()
{
    selectTo(projectRange().end(), selectEndOfProjectTitle);
}

// --- layers and channels ----------------------------------------------------------------------------

void ChannelsDisplay::activateNeighbour(int distance)
{
    if (!hasProject())
        return;
    const QList<ILayerPtr> layers = root()->project()->children(ChildrenOpen);
    const int at = int(layers.indexOf(root()->layer(-1)));
    const int wanted = at + distance;
    if (at < 0 || wanted < 0 || wanted >= layers.size())
        return;
    postEvent(this, EventId::LayerActivate, layers[wanted], this);
}

void ChannelsDisplay::activateAbove()
{
    activateNeighbour(-1);
}

void ChannelsDisplay::activateBelow()
{
    activateNeighbour(1);
}

int ChannelsDisplay::channelUnderPointer() const
{
    for (int channel = 0; channel < m_rows.size(); ++channel) {
        const ChannelRow* row = m_rows[channel];
        if (!row->visibleRegion().isEmpty() && row->rect().contains(row->mapFromGlobal(QCursor::pos())))
            return channel;
    }
    return -1;
}

void ChannelsDisplay::toggleMode(int channel, QBitArray ChannelsMode::*bits)
{
    if (!hasProject() || channel < 0 || channel >= (m_mode.*bits).size())
        return;
    (m_mode.*bits).toggleBit(channel);
    postEvent(this, EventId::ChannelsModeChange, m_mode, this);
    showMode();
}

void ChannelsDisplay::mute()
{
    toggleMode(channelUnderPointer(), &ChannelsMode::enabled);
}

void ChannelsDisplay::solo()
{
    toggleMode(channelUnderPointer(), &ChannelsMode::solo);
}

// --- zoom -------------------------------------------------------------------------------------------

void ChannelsDisplay::zoom(QPoint angleDelta)
{
    zoomArea(wheelnavigation::zoomFactor(angleDelta.x()), wheelnavigation::zoomFactor(angleDelta.y()),
             {0.5, 0.5});
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
