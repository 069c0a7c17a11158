// The spectrogram view of one channel.
#pragma once

#include "display/displacement.h"
#include "display/qopenglchannel.h"
#include "display/scales/convert.h"
#include "display/spectraltexture.h"
#include "model/events.h"

#include <map>
#include <memory>
#include <optional>

// Shows the sum of the visible layers of one channel, each by a SpectralTexture of its own, and turns
// wheel and mouse into navigation. It learns layers, area and display settings by events and tells
// what it changes by events; only the transform is handed over, since all channels share one.
//
// The settings start as the properties of new projects say (defaultlowdb and so on). A request goes
// out with every repaint, which costs nothing when nothing changed; the last good texture stays on
// the screen, stretched to its own area, until the next arrives. Repaints happen on changes only.
//
// GUI thread.
class SpectralChannel : public QOpenGLChannel, public IEvent
{
    Q_OBJECT

public:
    explicit SpectralChannel(int channel, QWidget* parent = nullptr);
    ~SpectralChannel() override;

    [[nodiscard]] int channel() const { return m_channel; }
    // The transform of the project; shared with the other channels.
    void setTransform(std::shared_ptr<const Transform> transform);
    // Ignores pointer and wheel while the project is busy.
    void setBlocked(bool blocked) { m_blocked = blocked; }

    [[nodiscard]] const Area& viewArea() const { return m_viewArea; }
    [[nodiscard]] const Convert& convert() const { return m_convert; }
    [[nodiscard]] const Displacement& displacement() const { return m_displacement; }
    // Document position under a logical pixel.
    [[nodiscard]] PointD documentPosition(const QPointF& pixel) const;
    // The linear magnitude that is shown at a place of the document: the sum of the visible layers'
    // pictures, as they are now. 0 where there is none.
    [[nodiscard]] float magnitudeAt(const PointD& position) const;
    // Whether a picture is still being made, or waits for a repaint.
    [[nodiscard]] bool isOutstanding() const;

    void samplingFormatEvent(EventId id, const SamplingFormat& format) override;
    void freqScaleEvent(EventId id, const int32_t& scale) override;
    void filteringEvent(EventId id, const int32_t& filtering) override;
    void layerEvent(EventId id, const ILayerPtr& layer) override;
    void layerRootEvent(EventId id, const LayerRoot& root) override;
    void displayEnableEvent(EventId id, const bool& enabled) override;
    void displayValueEvent(EventId id, const float& value) override;
    void colormapEvent(EventId id, const int32_t& colormap) override;
    void areaEvent(EventId id, const Area& area) override;
    void displacementEvent(EventId id, const Displacement& displacement) override;

protected:
    void initializeGL() override;
    void paintGL() override;
    void contextAboutToBeDestroyed() override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

private:
    // One for each layer of the tree, groups aside.
    struct LayerTexture
    {
        std::unique_ptr<SpectralTexture> texture;
        // The block last uploaded, from which the GL texture is made again in a new context.
        SpectralTextureDataPtr currentData;
        std::unique_ptr<QOpenGLTexture> glTexture;
        bool shown = false; // in the picture since the last upload pass
    };
    // What the pressed button does.
    enum class Drag { None, Pan, Displace, Pointer };

    void readProperties();
    [[nodiscard]] bool hasValidFormat() const;

    void uploadPass();
    void uploadNewest(LayerTexture& record);
    void upload(LayerTexture& record);
    void release(LayerTexture& record);
    void requestPicture(LayerTexture& record, bool updateContent);
    void spectrogramPass();
    void drawLayer(const ILayer& layer, const LayerTexture& record, QOpenGLShaderProgram& program, int steps);
    [[nodiscard]] QColor layerColor(const ILayer& layer) const;
    [[nodiscard]] QOpenGLShaderProgram* powerProgram(int steps) const;

    [[nodiscard]] Drag dragFor(const QMouseEvent& event) const;
    void updateCursor();
    void movePointer(const QMouseEvent& event);
    void navigate(const Area& area);
    void displace(const Displacement& value);
    [[nodiscard]] Area limits() const;
    void wheelZoom(double dx, double dy, const QPointF& pixel);

    const int m_channel;
    Convert m_convert;
    std::shared_ptr<const Transform> m_transform;
    Area m_viewArea;
    float m_lowdB = -90;
    float m_highdB = -18;
    float m_gamma = 0.5f;
    float m_timeSharpen = 0;
    float m_freqSharpen = 0;
    int m_colormap = 0;
    Displacement m_displacement;
    bool m_composite = false;    // colour map mode, rather than the colours of the layers
    bool m_targetActive = false; // other layers are dimmed
    bool m_lockBottomTo0 = false;
    bool m_lockCenterTo0 = false;
    bool m_blocked = false;

    std::unique_ptr<LayerRoot> m_root; // shares its nodes with the project's
    std::map<ILayerPtr, LayerTexture> m_layerTextures;

    Drag m_drag = Drag::None;
    QPointF m_lastPixel;
    Displacement m_dragDisplacement; // before snapping
    MouseEvent m_mouse;
};
