#include "display/waveformtexture.h"

#include <algorithm>

WaveformTexture::WaveformTexture(ILayerPtr layer, int channel, QObject* parent)
    : TextureThread(std::move(layer), channel, parent),
      m_maxTexSize(maxTexSize()),
      m_renderer(m_layer, channel, m_maxTexSize)
{
}

WaveformTexture::~WaveformTexture()
{
    clean();
}

void WaveformTexture::requestTex(const FRange& range, int32_t textureWidth, Filtering filtering,
                                 bool updateContent)
{
    WaveformRequest request;
    request.range = range;
    request.textureWidth = std::clamp(textureWidth, 1, m_maxTexSize - columnReserve);
    const Area area{range.start, 0, range.length, 1};
    request.step = columnStep(area, request.textureWidth, 1);
    request.upsample =
        filtering == Filtering::Cubic ? columnUpsample(request.step, area, request.textureWidth) : 1;
    request.filtering = filtering;
    request.timeShift = m_layer->timeOffset();
    request.layerScale = m_layer->scale();
    submit(std::move(request), updateContent);
}

WaveformTextureDataPtr WaveformTexture::render(const WaveformRequest& request, bool refresh)
{
    return m_renderer.render(request, refresh, m_cancel);
}
