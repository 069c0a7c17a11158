#include "display/spectraltexture.h"

#include <QGuiApplication>

namespace {

// Moving energy instead of masking it is asked for by the three keys together.
bool scatterKeysHeld()
{
    constexpr Qt::KeyboardModifiers keys = Qt::ControlModifier | Qt::AltModifier | Qt::ShiftModifier;
    return (QGuiApplication::keyboardModifiers() & keys) == keys;
}

} // namespace

SpectralTexture::SpectralTexture(ILayerPtr layer, int channel, std::shared_ptr<const Transform> settings,
                                 QObject* parent)
    : TextureThread(std::move(layer), channel, parent),
      m_maxTexSize(maxTexSize()),
      m_settings(std::move(settings)),
      m_renderer(m_layer, channel, m_maxTexSize)
{
}

SpectralTexture::~SpectralTexture()
{
    clean();
}

void SpectralTexture::setTransform(std::shared_ptr<const Transform> settings)
{
    m_settings = std::move(settings);
}

void SpectralTexture::requestTex(const Area& area, const QSize& textureSize, float timeSharpen,
                                 float freqSharpen, FreqScale freqScale, Filtering filtering,
                                 bool updateContent)
{
    TextureRequest request;
    request.area = area;
    request.size = textureSize.boundedTo(QSize(m_maxTexSize - columnReserve, m_maxTexSize));
    request.step = columnStep(area, request.size.width(), m_settings ? m_settings->hop() : 0);
    if (filtering == Filtering::Cubic)
        request.upsample = columnUpsample(request.step, area, request.size.width());
    request.timeSharpen = timeSharpen;
    request.freqSharpen = freqSharpen;
    request.freqScale = freqScale;
    request.filtering = filtering;
    request.timeShift = m_layer->timeOffset();
    request.layerScale = m_layer->scale();
    request.settings = m_settings;
    request.scatter = scatterKeysHeld();
    submit(std::move(request), updateContent);
}

SpectralTextureDataPtr SpectralTexture::render(const TextureRequest& request, bool refresh)
{
    return m_renderer.render(request, refresh, m_cancel);
}
