// The thread that keeps the spectrogram of one channel of one layer up to date.
#pragma once

#include "display/spectralrenderer.h"
#include "display/texturethread.h"

class SpectralTexture : public TextureThread<TextureRequest, SpectralTextureData>
{
public:
    SpectralTexture(ILayerPtr layer, int channel, std::shared_ptr<const Transform> settings,
                    QObject* parent = nullptr);
    ~SpectralTexture() override;

    // For the requests to come. Any picture made before stays until the next request.
    void setTransform(std::shared_ptr<const Transform> settings);
    // Asks for `area` (samples, Hz) in `textureSize` device pixels. Nothing happens if that is what was
    // asked for last, unless `updateContent` tells that the layer's samples may have changed.
    void requestTex(const Area& area, const QSize& textureSize, float timeSharpen, float freqSharpen,
                    FreqScale freqScale, Filtering filtering, bool updateContent = false);

protected:
    SpectralTextureDataPtr render(const TextureRequest& request, bool refresh) override;
    void forget() override { m_renderer.clear(); }

private:
    const int m_maxTexSize;
    std::shared_ptr<const Transform> m_settings; // GUI thread
    // The texture thread's own, or the GUI thread's while that does not run.
    SpectralRenderer m_renderer;
};
