#include "display/viewstate.h"

#include "display/powerrange.h"
#include "display/viewgeometry.h"
#include "model/layerroot.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr PointD middle{0.5, 0.5};

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

// Values of events come from project files too.
template<class Enum>
Enum bounded(int32_t value, Enum last)
{
    return value >= 0 && value <= int32_t(last) ? Enum(value) : Enum(0);
}

} // namespace

ViewState::ViewState(const QString& name) : IEvent(name) {}

ViewState::~ViewState() = default;

bool ViewState::hasProject() const
{
    return m_root && m_convert.format.sampleRate > 0 && m_convert.format.channels > 0;
}

Range ViewState::projectRange() const
{
    return m_root ? m_root->project()->range() : Range();
}

Area ViewState::limits() const
{
    return m_root ? fullBandArea(m_convert.format, projectRange()) : Area();
}

// --- changes ----------------------------------------------------------------------------------------

void ViewState::showArea(const Area& area)
{
    if (!hasProject())
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
    viewStateChanged();
}

void ViewState::zoomArea(double horizontal, double vertical, const PointD& fixed)
{
    if (!viewgeometry::isVisible(m_viewArea))
        return;
    Area area = viewgeometry::zoomed(m_convert, m_viewArea, horizontal, vertical, fixed);
    if (vertical == 1) { // untouched, to the bit
        area.y = m_viewArea.y;
        area.height = m_viewArea.height;
    }
    showArea(exactEdges(area, limits()));
}

void ViewState::showPowerRange(const PowerRange& range)
{
    if (!hasProject() || !powerrange::isUsable(range))
        return;
    const PowerRange wanted = m_lockCenterTo0 ? powerrange::centred(range) : range;
    if (wanted.low == m_powerRange.low && wanted.high == m_powerRange.high)
        return;
    m_powerRange = wanted;
    postEvent(this, EventId::DisplayPowerChange, m_powerRange, this);
    viewStateChanged();
}

void ViewState::setLock(EventId lock, bool on)
{
    postEvent(this, lock, on, nullptr);
    showArea(m_viewArea);
    if (lock == EventId::DisplayLockCenterTo0Enable)
        showPowerRange(m_powerRange);
}

void ViewState::setUnit(EventId unit, int32_t value)
{
    postEvent(this, unit, value, nullptr);
}

// --- events -----------------------------------------------------------------------------------------

void ViewState::samplingFormatEvent(EventId, const SamplingFormat& format)
{
    m_convert.format = format;
    if (format.channels < 1)
        m_root.reset();
    viewStateChanged();
}

void ViewState::transformEvent(EventId, const TransformSettings& settings)
{
    m_convert.settings = settings;
    viewStateChanged();
}

void ViewState::timeBaseEvent(EventId id, const TimeBase& base)
{
    if (id == EventId::FrameRateChange) {
        m_convert.fps = base.frameRate;
    } else {
        m_convert.bpm = base.bpm;
        m_convert.beatsPerBar = base.beatsPerBar;
        m_convert.beatUnit = base.beatUnit;
    }
    viewStateChanged();
}

void ViewState::timeUnitEvent(EventId, const int32_t& unit)
{
    m_convert.timeUnit = bounded(unit, TimeUnit::Pixels);
    viewStateChanged();
}

void ViewState::powerUnitEvent(EventId, const int32_t& unit)
{
    m_convert.powerUnit = bounded(unit, PowerUnit::Normalized);
    viewStateChanged();
}

void ViewState::freqUnitEvent(EventId, const int32_t& unit)
{
    m_convert.freqUnit = bounded(unit, FreqUnit::Normalized);
    viewStateChanged();
}

void ViewState::freqScaleEvent(EventId, const int32_t& scale)
{
    m_convert.freqScale = bounded(scale, FreqScale::MidiLogarithmic);
    viewStateChanged();
}

void ViewState::filteringEvent(EventId, const int32_t& filtering)
{
    m_convert.filtering = bounded(filtering, Filtering::Cubic);
    viewStateChanged();
}

void ViewState::layerRootEvent(EventId, const LayerRoot& root)
{
    if (m_convert.format.channels > 0)
        m_root = std::make_unique<LayerRoot>(root);
    viewStateChanged();
}

void ViewState::displayEnableEvent(EventId id, const bool& on)
{
    if (id == EventId::DisplayLockBottomTo0Enable)
        m_lockBottomTo0 = on;
    else if (id == EventId::DisplayLockCenterTo0Enable)
        m_lockCenterTo0 = on;
    else
        return;
    viewStateChanged();
}

void ViewState::areaEvent(EventId, const Area& area)
{
    m_viewArea = area;
    viewStateChanged();
}

void ViewState::powerRangeEvent(EventId, const PowerRange& range)
{
    m_powerRange = range;
    viewStateChanged();
}
