// The spectrogram view of one channel.
#pragma once

#include "display/channelview.h"
#include "display/displacement.h"
#include "display/layertextures.h"
#include "display/movegesture.h"
#include "display/spectraltexture.h"

#include <memory>
#include <optional>

#include <QCursor>
#include <QTimer>

// Shows the sum of the visible layers of one channel, each by a SpectralTexture of its own, and turns
// wheel and mouse into navigation. It learns layers, area and display settings by events and tells
// what it changes by events; only the transform is handed over, since all channels share one.
//
// The settings start as the properties of new projects say (defaultlowdb and so on). A request goes
// out with every repaint, which costs nothing when nothing changed; the last good texture stays on
// the screen, stretched to its own area, until the next arrives. Repaints happen on changes only.
//
// GUI thread.
class SpectralChannel : public ChannelView
{
    Q_OBJECT

public:
    explicit SpectralChannel(int channel, QWidget* parent = nullptr);
    ~SpectralChannel() override;

    // The transform of the project; shared with the other channels.
    void setTransform(std::shared_ptr<const Transform> transform);

    [[nodiscard]] const Displacement& displacement() const { return m_displacement; }
    // Document position under a logical pixel.
    [[nodiscard]] PointD documentPosition(const QPointF& pixel) const;
    // The linear magnitude that is shown at a place of the document: the sum of the visible layers'
    // pictures, as they are now. 0 where there is none.
    [[nodiscard]] float magnitudeAt(const PointD& position) const;
    [[nodiscard]] bool isOutstanding() const override { return m_textures.isOutstanding(); }

    // Of the waveform alone; nothing to repaint here.
    void powerUnitEvent(EventId, const int32_t&) override {}
    void powerRangeEvent(EventId, const PowerRange&) override {}
    void spectralMarkersEvent(EventId id, const SpectralMarkerList& markers) override;
    void displayEnableEvent(EventId id, const bool& enabled) override;
    void drawingEvent(EventId id, const DrawingState& drawing) override;
    void controlIdEvent(EventId id, const int32_t& control) override;
    void layerEvent(EventId id, const ILayerPtr& layer) override;
    void layerRootEvent(EventId id, const LayerRoot& root) override;
    void displayValueEvent(EventId id, const float& value) override;
    void displacementEvent(EventId id, const Displacement& displacement) override;
    void toolEvent(EventId id) override;
    void toolPluginEvent(EventId id, const ToolActivation& tool) override;
    void cursorEvent(EventId id, const QCursor& cursor) override;
    void moveTransformEvent(EventId id, const MoveTransform& value) override;

protected:
    void cursorChanged() override { updateCursor(Qt::NoModifier); }
    void initializeGL() override;
    void paintGL() override;
    void contextAboutToBeDestroyed() override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void tabletEvent(QTabletEvent* event) override;
    void leaveEvent(QEvent* event) override;

private:
    using Textures = LayerTextures<SpectralTexture>;
    // What the pressed button does.
    enum class Drag { None, Pan, Displace, Pointer, Zoom, Play, Move };
    // Of the move tool, from the press on a handle to the release.
    struct MoveDrag
    {
        movegesture::Grip grip;
        QPointF pressPixel;
        bool started = false; // Start was posted
    };

    void readProperties();

    void followTree();
    static void upload(Textures::Record& record);
    void requestPicture(SpectralTexture& texture, bool updateContent);
    [[nodiscard]] static Area areaNow(const SpectralTextureData& picture);
    void spectrogramPass();
    void drawLayer(const ILayer& look, const Textures::Record& record, QOpenGLShaderProgram& program,
                   int steps);
    [[nodiscard]] QOpenGLShaderProgram* powerProgram(int steps) const;

    // spectralchannelmarks.cpp
    // Pixel of the frame buffer of a document position, not rounded.
    [[nodiscard]] QPointF toFrame(const PointD& position) const;
    // Whether the active tool works on this channel.
    [[nodiscard]] bool isAddressed() const;
    [[nodiscard]] QVector<double> gridFrequencies() const;
    void gridPass();
    [[nodiscard]] double borderPhase();
    [[nodiscard]] QRect selectedPixels() const;
    [[nodiscard]] QImage selectionImage(const QRect& pixels, double phase) const;
    void selectionPass();
    void spectralMarkersPass();
    void drawingPass();
    void moveFramePass();
    void controlsPass();

    [[nodiscard]] Drag dragFor(Qt::MouseButton button, Qt::KeyboardModifiers modifiers) const;
    void updateCursor(Qt::KeyboardModifiers modifiers);
    void movePointer(const QPointF& pixel, float pressure, Qt::KeyboardModifiers modifiers);

    // spectralchanneltools.cpp
    // On the nearest tick or marker within reach, while snapping is on.
    [[nodiscard]] PointD snapped(const PointD& position) const;
    void beginZoom(const QPointF& pixel);
    void dragZoom(const QPointF& pixel, Qt::KeyboardModifiers modifiers);
    void endZoom(const QPointF& pixel, Qt::KeyboardModifiers modifiers);
    // The control within reach of a pixel, -1 for none.
    [[nodiscard]] int32_t controlAt(const QPointF& pixel) const;
    void hoverControls(const QPointF& pixel);
    void displace(const Displacement& value);

    // spectralchannelmove.cpp
    // The bounding rectangle of what the move tool moves, at rest; empty without one.
    [[nodiscard]] Area restArea() const;
    // Where a control is seen, which the move tool's gesture may have taken away from its place.
    [[nodiscard]] PointD controlPosition(int control) const;
    [[nodiscard]] MoveHandle moveHandleAt(const QPointF& pixel) const;
    [[nodiscard]] QCursor moveCursor() const;
    void activateLayerAt(double time);
    void beginMove(const QPointF& pixel);
    void dragMove(const QPointF& pixel, Qt::KeyboardModifiers modifiers);
    void endMove();

    std::shared_ptr<const Transform> m_transform;
    float m_lowdB = -90;
    float m_highdB = -18;
    float m_gamma = 0.5f;
    float m_timeSharpen = 0;
    float m_freqSharpen = 0;
    Displacement m_displacement;
    Textures m_textures;

    Drag m_drag = Drag::None;
    QPointF m_lastPixel;
    Displacement m_dragDisplacement; // before snapping
    MouseEvent m_mouse;

    SpectralMarkerList m_spectralMarkers;
    bool m_spectralMarkersShown = true;
    DrawingState m_drawing;   // of the active tool
    int32_t m_controlId = -1; // of the control under the pointer

    EventId m_tool = EventId::ToolNoneActivate;
    QCursor m_toolCursor; // of the active plug-in tool
    // Of the property `zoommode` when the tool was chosen: 0 a rubber band, a click zooms in; 1 a press
    // zooms out; 2 and 3 dragging stretches, a click zooms in (2) or out (3).
    int m_zoomMode = 0;
    QPointF m_pressPixel;
    Area m_pressArea;
    std::optional<MoveDrag> m_moveDrag;
    MoveTransform m_move; // of the gesture in work, in whichever view it is
    // Runs while marching ants are on the screen.
    QTimer m_antsTimer;
};
