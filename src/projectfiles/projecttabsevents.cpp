// What the bus tells, stored into the project in front, so that it always mirrors what the views show.
#include "projectfiles/projecttabs.h"

namespace {

bool* enableOf(DisplaySettings& display, EventId id)
{
    switch (id) {
    case EventId::DisplayGridEnable:
        return &display.gridEnable;
    case EventId::DisplayMarkersEnable:
        return &display.markersEnable;
    case EventId::DisplaySpectralMarkersEnable:
        return &display.spectralMarkersEnable;
    case EventId::DisplayLockBottomTo0Enable:
        return &display.lockBottomTo0;
    case EventId::DisplayLockCenterTo0Enable:
        return &display.lockCenterTo0;
    case EventId::DisplaySnapEnable:
        return &display.snapEnable;
    case EventId::DisplayCompositeEnable:
        return &display.composite;
    case EventId::DisplayTargetActiveEnable:
        return &display.targetActive;
    default:
        return nullptr;
    }
}

float* valueOf(DisplaySettings& display, EventId id)
{
    switch (id) {
    case EventId::DisplayLowdBChange:
        return &display.lowDb;
    case EventId::DisplayHighdBChange:
        return &display.highDb;
    case EventId::DisplayGammaChange:
        return &display.gamma;
    case EventId::DisplayTimeSharpenChange:
        return &display.timeSharpen;
    case EventId::DisplayFreqSharpenChange:
        return &display.freqSharpen;
    case EventId::DisplaySplitterRatioChange:
        return &display.splitterRatio;
    case EventId::DisplaySelectionOpacityChange:
        return &display.selectionOpacity;
    default:
        return nullptr;
    }
}

} // namespace

void ProjectTabs::channelsModeEvent(EventId, const ChannelsMode& mode)
{
    if (const ProjectPtr project = front())
        project->channelsMode = mode;
}

void ProjectTabs::transformEvent(EventId, const TransformSettings& settings)
{
    if (const ProjectPtr project = front())
        project->transform = settings;
}

void ProjectTabs::timeBaseEvent(EventId id, const TimeBase& base)
{
    const ProjectPtr project = front();
    if (!project)
        return;
    if (id == EventId::FrameRateChange)
        project->setFrameRate(base.frameRate);
    else
        project->setTimeSignature(base.bpm, base.beatsPerBar, base.beatUnit);
}

void ProjectTabs::timeUnitEvent(EventId, const int32_t& unit)
{
    if (const ProjectPtr project = front())
        project->setTimeUnit(unit);
}

void ProjectTabs::powerUnitEvent(EventId, const int32_t& unit)
{
    if (const ProjectPtr project = front())
        project->units.powerUnit = PowerUnit(unit);
}

void ProjectTabs::freqUnitEvent(EventId, const int32_t& unit)
{
    if (const ProjectPtr project = front())
        project->units.freqUnit = FreqUnit(unit);
}

void ProjectTabs::freqScaleEvent(EventId, const int32_t& scale)
{
    if (const ProjectPtr project = front())
        project->units.freqScale = FreqScale(scale);
}

void ProjectTabs::filteringEvent(EventId, const int32_t& filtering)
{
    if (const ProjectPtr project = front())
        project->units.filtering = Filtering(filtering);
}

void ProjectTabs::layerEvent(EventId id, const ILayerPtr& layer)
{
    const ProjectPtr project = front();
    if (project && id == EventId::LayerActivate)
        project->setActiveLayer(layer);
}

void ProjectTabs::metaDataEvent(EventId, const MetaDataList& tags)
{
    if (const ProjectPtr project = front())
        project->metadata = tags;
}

void ProjectTabs::markersEvent(EventId, const MarkerList& markers)
{
    if (const ProjectPtr project = front())
        project->setMarkerList(markers);
}

void ProjectTabs::spectralMarkersEvent(EventId, const SpectralMarkerList& markers)
{
    if (const ProjectPtr project = front())
        project->setSpectralMarkerList(markers);
}

void ProjectTabs::historyRecordEvent(EventId, const HistoryEntry&)
{
    // When the history has recorded the action, or has taken it back for lack of room and told so: until
    // then a recovery would take it back too.
    callWhenDelivered(this, [this] { backup(); });
    markModified();
}

// The history tells its list after a new state and after old ones were deleted: the last is in front.
void ProjectTabs::historyListEvent(EventId, const QList<HistoryEntry>& states)
{
    if (const ProjectPtr project = front())
        project->setHistory(states, states.size() - 1);
}

void ProjectTabs::historyActivateEvent(EventId, const int32_t& row)
{
    if (const ProjectPtr project = front())
        project->setHistoryIndex(row);
    backup(); // a step through the history is an action too
    markModified();
}

void ProjectTabs::selectionEvent(EventId, const Selection& selection)
{
    if (const ProjectPtr project = front())
        project->selection = selection;
}

void ProjectTabs::markModified()
{
    const ProjectPtr project = currentProject();
    if (!project)
        return;
    project->modified = true;
    refreshTab(project);
}

void ProjectTabs::displayEnableEvent(EventId id, const bool& on)
{
    if (const ProjectPtr project = front())
        if (bool* flag = enableOf(project->display, id))
            *flag = on;
}

void ProjectTabs::displayValueEvent(EventId id, const float& value)
{
    if (const ProjectPtr project = front())
        if (float* member = valueOf(project->display, id))
            *member = value;
}

void ProjectTabs::colormapEvent(EventId, const int32_t& colormap)
{
    if (const ProjectPtr project = front())
        project->display.colormap = colormap;
}

void ProjectTabs::areaEvent(EventId, const Area& area)
{
    if (const ProjectPtr project = front())
        project->setDisplayArea(area);
}

void ProjectTabs::powerRangeEvent(EventId, const PowerRange& range)
{
    const ProjectPtr project = front();
    if (!project)
        return;
    project->display.minWaveform = range.low;
    project->display.maxWaveform = range.high;
}

void ProjectTabs::displacementEvent(EventId, const Displacement& displacement)
{
    const ProjectPtr project = front();
    if (!project)
        return;
    project->display.displacementX = displacement.x;
    project->display.displacementY = displacement.y;
}

void ProjectTabs::transportPositionEvent(EventId id, const int64_t& position)
{
    const ProjectPtr project = front();
    if (project && id == EventId::TransportPositionChange)
        project->setPosition(position);
}
