#include "model/project.h"

#include "base/clock.h"

#include <algorithm>
#include <cmath>

namespace {

bool isPositive(double value)
{
    return std::isfinite(value) && value > 0;
}

} // namespace

Project::Project(const SamplingFormat& format)
    : channelsMode(format.channels),
      m_format(format),
      m_root(format)
{
    transform.sampleType = format.sampleType;
}

// A group's records hold lists of layers, and those may have held the group at another time: a circle
// of owners, unless it is opened here.
Project::~Project()
{
    const auto forget = [](const ILayerPtr& layer) {
        if (const auto undoable = std::dynamic_pointer_cast<Layer>(layer))
            undoable->forgetUndo();
    };
    for (const HistoryEntry& entry : m_history)
        for (auto it = entry.layerRecords.begin(); it != entry.layerRecords.end(); ++it)
            forget(it.key());
    forget(layers());
    for (const ILayerPtr& layer : m_root.allLayers())
        forget(layer);
}

Area Project::wholeArea() const
{
    return fullBandArea(m_format, layers()->range());
}

std::shared_ptr<Project> Project::duplicate(QString* words, const Progress& progress) const
{
    const std::optional<LayerRoot> root = m_root.clone(words, progress);
    if (!root)
        return nullptr;
    const auto copy = std::make_shared<Project>(m_format);
    copy->m_root = *root;
    copy->name = name + QStringLiteral(" (copy)");
    copy->modified = true; // no file has it
    copy->channelsMode = channelsMode;
    copy->transform = transform;
    copy->units = units;
    copy->display = display;
    copy->selection = selection;
    copy->metadata = metadata;
    copy->m_markers = m_markers;
    copy->m_spectralMarkers = m_spectralMarkers;
    copy->m_position = m_position;
    copy->resetHistory(QStringLiteral("Duplicate"), QIcon(QStringLiteral(":/icons/copy.png")));
    return copy;
}

// --- format ----------------------------------------------------------------------------------------

void Project::setFormat(SamplingFormat format)
{
    if (!sanitizeFormat(format))
        return;
    const double ratio = isPositive(m_format.sampleRate) ? format.sampleRate / m_format.sampleRate : 1.0;
    m_format = format;
    m_root.setFormat(format);
    channelsMode = ChannelsMode(format.channels);
    transform.sampleType = format.sampleType;
    Area area = display.displayArea;
    area.y *= ratio;
    area.height *= ratio;
    setDisplayArea(area);
}

// --- setters that stamp ----------------------------------------------------------------------------

void Project::setFilePath(const QString& path)
{
    m_path = path;
    m_pathTime = nextTimeStamp();
}

void Project::setPath(std::string path)
{
    setFilePath(QString::fromStdString(path));
}

int32_t Project::bar() const
{
    return int32_t(std::lround(units.bar));
}

int32_t Project::beat() const
{
    return int32_t(std::lround(units.beat));
}

void Project::setTimeUnit(int32_t unit)
{
    const bool known = unit >= int32_t(TimeUnit::Samples) && unit <= int32_t(TimeUnit::Pixels);
    units.timeUnit = known ? TimeUnit(unit) : TimeUnit::Samples;
    m_unitsTime = nextTimeStamp();
}

void Project::setTimeSignature(double bpm, int32_t bar, int32_t beat)
{
    const auto take = [](float& member, double value) {
        if (isPositive(value) && isPositive(double(float(value))))
            member = float(value);
    };
    take(units.bpm, bpm);
    take(units.bar, bar);
    take(units.beat, beat);
    m_unitsTime = nextTimeStamp();
}

void Project::setFrameRate(double framesPerSecond)
{
    if (isPositive(framesPerSecond) && isPositive(double(float(framesPerSecond))))
        units.frameRate = float(framesPerSecond);
    m_unitsTime = nextTimeStamp();
}

void Project::setPosition(int64_t position)
{
    m_position = position;
    m_positionTime = nextTimeStamp();
}

void Project::setDisplayArea(Area area)
{
    if (!std::isfinite(area.x) || !std::isfinite(area.y) || !std::isfinite(area.width) ||
        !std::isfinite(area.height))
        return;
    display.displayArea = area;
    m_displayAreaTime = nextTimeStamp();
}

void Project::setActiveLayer(ILayerPtr layer)
{
    m_root.setActive(std::move(layer));
    m_activeLayerTime = nextTimeStamp();
}

void Project::setMarkerList(const MarkerList& markers)
{
    m_markers = markers;
    m_markersTime = nextTimeStamp();
}

std::list<Marker> Project::markers() const
{
    return {m_markers.begin(), m_markers.end()};
}

void Project::setMarkers(std::list<Marker> markers)
{
    setMarkerList({markers.begin(), markers.end()});
}

void Project::setSpectralMarkerList(const SpectralMarkerList& markers)
{
    m_spectralMarkers = markers;
    m_spectralMarkersTime = nextTimeStamp();
}

std::list<SpectralMarker> Project::spectralMarkers() const
{
    return {m_spectralMarkers.begin(), m_spectralMarkers.end()};
}

void Project::setSpectralMarkers(std::list<SpectralMarker> markers)
{
    setSpectralMarkerList({markers.begin(), markers.end()});
}

// --- history ---------------------------------------------------------------------------------------

void Project::setHistory(const QList<HistoryEntry>& states, int32_t row)
{
    m_history = states;
    setHistoryIndex(row);
}

void Project::setHistoryIndex(int32_t row)
{
    m_historyIndex = std::clamp(row, 0, std::max(0, int32_t(m_history.size()) - 1));
    m_historyTime = nextTimeStamp();
}

void Project::resetHistory(const QString& stateName, const QIcon& icon)
{
    for (const HistoryEntry& entry : m_history)
        entry.forgetRecords();
    layers()->resetBackup(ChildrenAll);
    HistoryEntry first;
    first.name = stateName;
    first.icon = icon;
    setHistory({first}, 0);
}

void Project::resetHistory(std::string name)
{
    resetHistory(QString::fromStdString(name), QIcon(QStringLiteral(":/icons/new.png")));
}
