// What the views show of the project in front, and how it is changed.
#pragma once

#include "display/scales/convert.h"
#include "model/events.h"

#include <memory>

class LayerRoot;

// The state that rulers, menus and the channels display share: format, units, locks, layers, the area
// and the power range in view, all followed by events. Whoever derives from it changes the view through
// it, so that limits and locks hold everywhere in the same way.
//
// A change made here is stored, posted to all others, and told by viewStateChanged(). A handler of an
// event must not change the view: while a project is posted, event by event, it would write into a
// state that is half the old one and half the new. GUI thread.
class ViewState : public IEvent
{
public:
    explicit ViewState(const QString& name);
    ~ViewState() override;

    [[nodiscard]] const Convert& convert() const { return m_convert; }
    [[nodiscard]] const Area& viewArea() const { return m_viewArea; }
    [[nodiscard]] const PowerRange& powerRange() const { return m_powerRange; }
    [[nodiscard]] bool lockBottomTo0() const { return m_lockBottomTo0; }
    [[nodiscard]] bool lockCenterTo0() const { return m_lockCenterTo0; }
    // Null without a project.
    [[nodiscard]] const LayerRoot* root() const { return m_root.get(); }
    [[nodiscard]] bool hasProject() const;
    // The time of all layers; empty without a project.
    [[nodiscard]] Range projectRange() const;
    // The time of all layers over the full band: what may be in view.
    [[nodiscard]] Area limits() const;

    // Shows an area, cut to the limits and under the rules of the locks. Nothing happens without a
    // project or for an area that is not finite.
    void showArea(const Area& area);
    // By a factor each, about a point that keeps its place: a share of the view, from left and bottom.
    void zoomArea(double horizontal, double vertical, const PointD& fixed);
    // Low and high edge of the waveforms; symmetric about 0 under the lock. Nothing happens for a range that
    // cannot be shown, or is shown already.
    void showPowerRange(const PowerRange& range);
    // DisplayLockBottomTo0Enable or DisplayLockCenterTo0Enable; the view follows at once.
    void setLock(EventId lock, bool on);
    // One of the events of units, scale and filtering.
    void setUnit(EventId unit, int32_t value);

    void samplingFormatEvent(EventId id, const SamplingFormat& format) override;
    void transformEvent(EventId id, const TransformSettings& settings) override;
    void timeBaseEvent(EventId id, const TimeBase& base) override;
    void timeUnitEvent(EventId id, const int32_t& unit) override;
    void powerUnitEvent(EventId id, const int32_t& unit) override;
    void freqUnitEvent(EventId id, const int32_t& unit) override;
    void freqScaleEvent(EventId id, const int32_t& scale) override;
    void filteringEvent(EventId id, const int32_t& filtering) override;
    void layerRootEvent(EventId id, const LayerRoot& root) override;
    void displayEnableEvent(EventId id, const bool& on) override;
    void areaEvent(EventId id, const Area& area) override;
    void powerRangeEvent(EventId id, const PowerRange& range) override;

protected:
    // After each change of anything above.
    virtual void viewStateChanged() {}

    // For those who draw with it; changed by the functions above.
    Convert m_convert;
    Area m_viewArea;
    PowerRange m_powerRange; // of the waveforms
    bool m_lockBottomTo0 = false;
    bool m_lockCenterTo0 = false;
    std::unique_ptr<LayerRoot> m_root; // shares its nodes with the project's
};
