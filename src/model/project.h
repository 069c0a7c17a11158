// One open document.
#pragma once

#include "model/historyentry.h"
#include "model/iproject.h"
#include "model/layerroot.h"
#include "model/selection.h"
#include "model/types/channelsmode.h"
#include "model/types/marker.h"
#include "model/types/transformsettings.h"
#include "model/types/units.h"

#include <memory>

#include <QString>

// Beat and frame rate of the time base, how numbers read, and how frequency stands on the vertical axis.
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
    Area displayArea; // sample points and Hz; setDisplayArea() stamps it
    double minWaveform = -1;
    double maxWaveform = 1;
    float displacementX = 0; // pixels
    float displacementY = 0;
    float splitterRatio = 0.1f; // the waveform's share of a channel's row
};

// The layer tree of one document with everything that belongs to it, down to its own copy of each
// view setting, so that a change of tabs puts the user back where they were. Plain state for the
// most part; what plug-ins poll, or what has a rule of its own, is private and changed by its setter,
// which stamps the time. GUI thread.
class Project : public IProject
{
public:
    // The format holds for the layer tree too, and gives each channel its mode (audible, not solo,
    // selected). The format must be one that sanitizeFormat() passed, or an unset one.
    explicit Project(const SamplingFormat& format);
    // The layers let go of their undo records, so that no file outlives the document by a circle.
    ~Project() override;
    Project(const Project&) = delete;
    Project& operator=(const Project&) = delete;

    QString name;          // as the tab shows it
    bool modified = false; // set by every change that makes a state of the history
    // Where the mix was written last, as which format, or the recording of the program below: what
    // "replace" writes to. Empty: nowhere yet.
    QString exportPath;
    QString exportFilter;
    bool belongsToCaller = false; // that is: to the program below, which takes its recording back
    // The program that sent the file, and the socket on which it waits for an answer; may be empty.
    QString externalParent;
    QString externalServer;

    [[nodiscard]] const LayerRoot& root() const { return m_root; }
    // The group of the user's layers.
    [[nodiscard]] LayerGroupPtr layers() const { return m_root.project(); }
    // Null until a layer was made the active one.
    [[nodiscard]] ILayerPtr activeLayer() const { return m_root.layer(-1); }
    // The whole time span of the layers over the full band.
    [[nodiscard]] Area wholeArea() const;

    // A document of its own with copies of all samples, this one's name with " (copy)" behind it, no
    // path, and a history of one state, "Duplicate". Null when there is no room for the files; `words`
    // then receives the cause. Null also when `progress` says no.
    [[nodiscard]] std::shared_ptr<Project> duplicate(QString* words = nullptr,
                                                     const Progress& progress = {}) const;

    // Of the project file, or of the recording that it was opened from; may be empty.
    [[nodiscard]] QString filePath() const { return m_path; }
    void setFilePath(const QString& path);
    [[nodiscard]] const MarkerList& markerList() const { return m_markers; }
    void setMarkerList(const MarkerList& markers);
    [[nodiscard]] const SpectralMarkerList& spectralMarkerList() const { return m_spectralMarkers; }
    void setSpectralMarkerList(const SpectralMarkerList& markers);
    [[nodiscard]] int64_t pathTime() const { return m_pathTime; }
    [[nodiscard]] int64_t historyTime() const { return m_historyTime; }

    // All states, as the history tells them, and the one in front; never empty once resetHistory() was
    // called. A row outside the list counts as its nearest end.
    [[nodiscard]] const QList<HistoryEntry>& history() const { return m_history; }
    [[nodiscard]] int32_t historyIndex() const { return m_historyIndex; }
    void setHistory(const QList<HistoryEntry>& states, int32_t row);
    void setHistoryIndex(int32_t row);
    // Starts the history anew with one state of that name and icon, behind which nothing can be undone.
    void resetHistory(const QString& stateName, const QIcon& icon);

    // --- IProject ----------------------------------------------------------------------------------

    [[nodiscard]] SamplingFormat format() const override { return m_format; }
    // Stores the format here and in the nodes of the tree, gives each channel its mode anew, makes the
    // transform one for that sample type, and lets the view show the same share of the band. The layers
    // are converted by the caller (ILayer::changeFormat), who clears the history too: a change of format
    // cannot be undone.
    void setFormat(SamplingFormat format) override;
    [[nodiscard]] std::string path() const override { return m_path.toStdString(); }
    void setPath(std::string path) override;
    [[nodiscard]] int32_t timeUnit() const override { return int32_t(units.timeUnit); }
    [[nodiscard]] double bpm() const override { return double(units.bpm); }
    [[nodiscard]] int32_t bar() const override;
    [[nodiscard]] int32_t beat() const override;
    [[nodiscard]] double frameRate() const override { return bpm(); } // units.frameRate has the frame rate
    void setTimeUnit(int32_t unit) override; // a number that is no unit gives samples
    // What is not finite and above 0 keeps its present value.
    void setTimeSignature(double bpm, int32_t bar, int32_t beat) override;
    void setFrameRate(double framesPerSecond) override;
    [[nodiscard]] int64_t unitsTime() const override { return m_unitsTime; }
    [[nodiscard]] int64_t position() const override { return m_position; }
    void setPosition(int64_t position) override;
    [[nodiscard]] int64_t positionTime() const override { return m_positionTime; }
    [[nodiscard]] Area displayArea() const override { return display.displayArea; }
    void setDisplayArea(Area area) override; // ignored when a member is not finite
    [[nodiscard]] int64_t displayAreaTime() const override { return m_displayAreaTime; }
    [[nodiscard]] ILayerPtr layer(int32_t index) const override { return m_root.layer(index); }
    void setActiveLayer(ILayerPtr layer) override;
    [[nodiscard]] int64_t activeLayerTime() const override { return m_activeLayerTime; }
    [[nodiscard]] std::list<Marker> markers() const override;
    void setMarkers(std::list<Marker> markers) override;
    [[nodiscard]] int64_t markersTime() const override { return m_markersTime; }
    [[nodiscard]] std::list<SpectralMarker> spectralMarkers() const override;
    void setSpectralMarkers(std::list<SpectralMarker> markers) override;
    [[nodiscard]] int64_t spectralMarkersTime() const override { return m_spectralMarkersTime; }
    void resetHistory(std::string name) override; // with the icon of a new document

    ChannelsMode channelsMode;
    TransformSettings transform;
    UnitSettings units; // the setters above stamp its time base and time unit
    DisplaySettings display;
    Selection selection;
    MetaDataList metadata;

private:
    SamplingFormat m_format;
    LayerRoot m_root;
    QString m_path;
    MarkerList m_markers;
    SpectralMarkerList m_spectralMarkers;
    QList<HistoryEntry> m_history;
    int32_t m_historyIndex = 0;
    int64_t m_position = 0; // of the transport, sample points

    // Stamps of the last changes, 0 for none.
    int64_t m_pathTime = 0;
    int64_t m_unitsTime = 0;
    int64_t m_displayAreaTime = 0;
    int64_t m_positionTime = 0;
    int64_t m_activeLayerTime = 0;
    int64_t m_markersTime = 0;
    int64_t m_spectralMarkersTime = 0;
    int64_t m_historyTime = 0;
};
using ProjectPtr = std::shared_ptr<Project>;
