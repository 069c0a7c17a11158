// The thread that keeps the waveform of one channel of one layer up to date.
#pragma once

#include "display/texturethread.h"
#include "display/waveformrenderer.h"

class WaveformTexture : public TextureThread<WaveformRequest, WaveformTextureData>
{
public:
    WaveformTexture(ILayerPtr layer, int channel, QObject* parent = nullptr);
    ~WaveformTexture() override;

    // Asks for `range` (samples) in `textureWidth` device pixels. Nothing happens if that is what was
    // asked for last, unless `updateContent` tells that the layer's samples may have changed.
    void requestTex(const FRange& range, int32_t textureWidth, Filtering filtering,
                    bool updateContent = false);

protected:
    WaveformTextureDataPtr render(const WaveformRequest& request, bool refresh) override;
    void forget() override { m_renderer.clear(); }

private:
    const int m_maxTexSize;
    // The texture thread's own, or the GUI thread's while that does not run.
    WaveformRenderer m_renderer;
};
