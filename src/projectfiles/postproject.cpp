#include "projectfiles/postproject.h"

#include "model/events.h"
#include "model/project.h"

#include <QDebug>

#include <cmath>

namespace {

// The post of one project, in the prescribed order.
class Post
{
public:
    Post(const Project& project, IEvent* skip) : m_project(project), m_skip(skip) {}

    void all() const
    {
        ::postEvent(m_skip, EventId::ToolNoneActivate, m_skip);
        signal();
        layers();
        lists();
        display();
    }

private:
    template<class Payload>
    void post(EventId id, const Payload& payload) const
    {
        postEvent(m_skip, id, payload, m_skip);
    }

    void signal() const
    {
        const UnitSettings& units = m_project.units;
        post(EventId::SamplingFormatChange, m_project.format());
        post(EventId::ChannelsModeChange, m_project.channelsMode);
        post(EventId::TransformChange, m_project.transform);
        const TimeBase base{units.bpm, int32_t(std::lround(units.bar)), int32_t(std::lround(units.beat)),
                            units.frameRate};
        post(EventId::TimeSignatureChange, base);
        post(EventId::FrameRateChange, base);
        post(EventId::TimeUnitChange, int32_t(units.timeUnit));
        post(EventId::PowerUnitChange, int32_t(units.powerUnit));
        post(EventId::FreqUnitChange, int32_t(units.freqUnit));
        post(EventId::FreqScaleChange, int32_t(units.freqScale));
        post(EventId::FilteringChange, int32_t(units.filtering));
    }

    // The selection follows the active layer, since it belongs to it.
    void layers() const
    {
        post(EventId::LayerRootChange, m_project.root());
        post(EventId::LayerActivate, m_project.activeLayer());
        post(EventId::SelectionChange, m_project.selection);
    }

    void lists() const
    {
        post(EventId::MetaDataListChange, m_project.metadata);
        post(EventId::MarkerListChange, m_project.markerList());
        post(EventId::SpectralMarkerListChange, m_project.spectralMarkerList());
        post(EventId::HistoryListChange, m_project.history());
        post(EventId::HistoryActivate, m_project.historyIndex());
    }

    void display() const
    {
        const DisplaySettings& display = m_project.display;
        post(EventId::DisplayGridEnable, display.gridEnable);
        post(EventId::DisplayMarkersEnable, display.markersEnable);
        post(EventId::DisplaySpectralMarkersEnable, display.spectralMarkersEnable);
        post(EventId::DisplayLockBottomTo0Enable, display.lockBottomTo0);
        post(EventId::DisplayLockCenterTo0Enable, display.lockCenterTo0);
        post(EventId::DisplaySnapEnable, display.snapEnable);
        post(EventId::DisplayCompositeEnable, display.composite);
        post(EventId::DisplayTargetActiveEnable, display.targetActive);
        post(EventId::DisplayLowdBChange, display.lowDb);
        post(EventId::DisplayHighdBChange, display.highDb);
        post(EventId::DisplayGammaChange, display.gamma);
        post(EventId::DisplaySelectionOpacityChange, display.selectionOpacity);
        post(EventId::DisplayTimeSharpenChange, display.timeSharpen);
        post(EventId::DisplayFreqSharpenChange, display.freqSharpen);
        post(EventId::DisplayColormapChange, display.colormap);
        post(EventId::DisplaySplitterRatioChange, display.splitterRatio);
        post(EventId::DisplayAreaChange, display.displayArea);
        post(EventId::DisplayPowerChange, PowerRange{display.minWaveform, display.maxWaveform});
        post(EventId::DisplayDisplacementChange, Displacement{display.displacementX, display.displacementY});
        post(EventId::TransportPositionChange, m_project.position());
    }

    const Project& m_project;
    IEvent* m_skip;
};

} // namespace

void postProject(const Project& project, IEvent* skip)
{
    qInfo().noquote().nospace() << "ProjectTabs::postProject " << project.name << ' ' << project.format();
    Post(project, skip).all();
}
