// One open document.
#pragma once

#include "model/historyentry.h"
#include "model/layerroot.h"
#include "model/types/channelsmode.h"
#include "model/types/marker.h"
#include "model/types/transformsettings.h"
#include "model/types/units.h"

#include <memory>

#include <QString>

// How numbers read, and how frequency stands on the vertical axis.
struct UnitSettings
{
    float bpm = 120;
    float bar = 4;  // beats per bar
    float beat = 4; // the note that counts as a beat
    float frameRate = 25;
    TimeUnit timeUnit = TimeUnit::Samples;
    PowerUnit powerUnit = PowerUnit::Normalized;
    FreqUnit freqUnit = FreqUnit::Hertz;
    FreqScale freqScale = FreqScale::Linear;
    Filtering filtering = Filtering::Raw;
};

// What the views show of the document, and how. Decibels relative to full scale.
struct DisplaySettings
{
    bool gridEnable = false;
    bool markersEnable = true;
    bool spectralMarkersEnable = true;
    bool lockBottomTo0 = false;
    bool lockCenterTo0 = true;
    bool snapEnable = false;
    bool composite = false;    // the colour map for the sum, rather than each layer's own colour
    bool targetActive = false; // layers other than the active one are dimmed
    float lowDb = -90;
    float highDb = -18;
    float gamma = 0.5f;
    float selectionOpacity = 0.3f;
    float timeSharpen = 0;
    float freqSharpen = 0;
    int32_t colormap = 9;
    Area displayArea; // sample points and Hz
    double minWaveform = -1;
    double maxWaveform = 1;
    float displacementX = 0; // pixels
    float displacementY = 0;
    float splitterRatio = 0.1f; // the waveform's share of a channel's row
};

// The layer tree of one document with everything that belongs to it, down to its own copy of each
// view setting, so that a change of tabs puts the user back where they were. Plain state for the
// most part; what has a rule of its own is private. GUI thread.
class Project
{
public:
    // The format holds for the layer tree too, and gives each channel its mode (audible, not solo,
    // selected). The format must be one that sanitizeFormat() passed.
    explicit Project(const SamplingFormat& format);
    Project(const Project&) = delete;
    Project& operator=(const Project&) = delete;

    QString path;          // of the project file, or of the recording that it was opened from
    QString name;          // as the tab shows it
    bool modified = false; // set by every change that makes a state of the history
    // The program that sent the file, and the socket on which it waits for an answer; may be empty.
    QString externalParent;
    QString externalServer;

    [[nodiscard]] const SamplingFormat& format() const { return m_format; }
    [[nodiscard]] const LayerRoot& root() const { return m_root; }
    // The group of the user's layers.
    [[nodiscard]] LayerGroupPtr layers() const { return m_root.project(); }
    // Null until a layer was made the active one.
    [[nodiscard]] ILayerPtr activeLayer() const { return m_root.layer(-1); }
    void setActiveLayer(const ILayerPtr& layer) { m_root.setActive(layer); }
    // The whole time span of the layers over the full band.
    [[nodiscard]] Area wholeArea() const;

    // Starts the history anew with one state of that name ("Open", "Import": also the name of its
    // icon), behind which nothing can be undone.
    void resetHistory(const QString& stateName);

    ChannelsMode channelsMode;
    TransformSettings transform;
    UnitSettings units;
    DisplaySettings display;
    MetaDataList metadata;
    MarkerList markers;
    SpectralMarkerList spectralMarkers;
    QList<HistoryEntry> history; // never empty once resetHistory() was called
    int32_t historyIndex = 0;
    int64_t position = 0; // of the transport, sample points

private:
    SamplingFormat m_format;
    LayerRoot m_root;
};
using ProjectPtr = std::shared_ptr<Project>;
