// The waveform view of one channel.
#pragma once

#include "display/channelview.h"
#include "display/layertextures.h"
#include "display/waveformtexture.h"

#include <optional>

class QMenu;

// Shows the envelopes of the visible layers of one channel over each other, each by a WaveformTexture of
// its own, and, where single samples are far enough apart, each sample as a dot that can be dragged. It
// follows time, amplitudes, layers and display settings by events and tells what it changes by events.
//
// Amplitudes are linear, 1 being full scale; the span shown is that of DisplayPowerChange, and stays
// symmetric about 0 while the lock of the centre is on. A request goes out with every repaint, which
// costs nothing when nothing changed; the last good envelope stays on the screen, stretched to its own
// range, until the next arrives. The curve is drawn by the GPU from the envelope, so that a change of
// amplitudes, polarity or gain is a repaint and no more.
//
// GUI thread.
class WaveformChannel : public ChannelView
{
    Q_OBJECT

public:
    // Logical pixels from one sample to the next at which single samples show and can be edited.
    static constexpr double samplePitch = 6;

    explicit WaveformChannel(int channel, QWidget* parent = nullptr);
    ~WaveformChannel() override;

    void setBlocked(bool blocked) override;
    [[nodiscard]] bool isOutstanding() const override { return m_textures.isOutstanding(); }
    // Whether the zoom is high enough for dots.
    [[nodiscard]] bool showsSamples() const;
    // Where the document's time and amplitude stand in the view, logical pixels from the top left.
    [[nodiscard]] QPointF pixelOf(double samples, double amplitude) const;
    // The menu for a press at a place of the view, to be deleted by the caller. `at` is remembered for
    // "Edit Sample...", which stands in it where single samples show.
    [[nodiscard]] QMenu* makeMenu(const QPointF& at);
    // Asks for a new value of the sample of the active layer that is nearest to a place of the view; tells
    // by a box why there can be none.
    void editSample(const QPointF& at);

    void layerEvent(EventId id, const ILayerPtr& layer) override;
    void layerRootEvent(EventId id, const LayerRoot& root) override;
    void displayEnableEvent(EventId id, const bool& enabled) override;
    // Of the spectrogram alone; nothing to repaint here.
    void freqScaleEvent(EventId, const int32_t&) override {}
    void freqUnitEvent(EventId, const int32_t&) override {}
    void powerRangeEvent(EventId id, const PowerRange& range) override;

    void toolEvent(EventId id) override;
    void toolPluginEvent(EventId id, const ToolActivation& tool) override;

protected:
    void cursorChanged() override { updateCursor(m_lastPixel, Qt::NoModifier); }
    void initializeGL() override;
    void paintGL() override;
    void contextAboutToBeDestroyed() override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    using Textures = LayerTextures<WaveformTexture>;
    // One number of one layer: a sample of a real layer, one part of a complex one.
    struct SamplePlace
    {
        ILayerPtr layer;
        int64_t position = 0; // on the timeline
        int part = 0;         // 0 real, 1 imaginary
        float gain = 1;       // from the stored value to the one that is shown

        [[nodiscard]] float value(int channel) const;
        // False when it could not be stored.
        [[nodiscard]] bool setValue(int channel, float value) const;
    };
    struct SampleDrag
    {
        SamplePlace place;
        float before = 0;
        bool changed = false;
    };
    enum class Drag { None, Pan, Play, Sample };

    [[nodiscard]] FRange viewRange() const { return {m_viewArea.x, m_viewArea.width}; }
    [[nodiscard]] double amplitudeAt(double y) const;

    void followTree();
    static void upload(Textures::Record& record);
    void waveformPass();
    void drawLayer(const ILayer& look, const Textures::Record& record, QOpenGLShaderProgram& program);
    void samplesPass();
    [[nodiscard]] QVector<QPointF> dots(const ILayer& look, const Textures::Record& record) const;
    void powerGridPass();
    void selectionPass();
    void controlsPass();
    void modePass();

    void showTime(double start, double length);
    void pan(const QPointF& pixels);

    // The number of the active layer that is nearest to a place of the view, if that layer is seen and
    // rests where it is.
    [[nodiscard]] std::optional<SamplePlace> nearestSample(const QPointF& at) const;
    [[nodiscard]] bool isOnDot(const SamplePlace& place, const QPointF& at) const;
    // Tells by a box why samples cannot be edited now.
    [[nodiscard]] bool mayEditSamples();
    void setSample(const SamplePlace& place, float value);
    void recordEdit();
    void beginSampleDrag(const QPointF& at);
    void dragSample(const QPointF& at);
    void endSampleDrag(bool keep);
    // What a press with the left button does; None where it may take hold of a sample.
    [[nodiscard]] Drag leftDrag(Qt::KeyboardModifiers modifiers) const;
    void updateCursor(const QPointF& at, Qt::KeyboardModifiers modifiers);
    void setChannelMode(QBitArray ChannelsMode::*bits, bool on);

    Textures m_textures;
    EventId m_tool = EventId::ToolNoneActivate;
    Drag m_drag = Drag::None;
    QPointF m_lastPixel;
    std::optional<SampleDrag> m_sample; // while m_drag is Sample
};
