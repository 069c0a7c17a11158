#include "display/spectraltexture.h"

#include "base/denormals.h"
#include "model/documentlock.h"

#include <QCoreApplication>
#include <QDebug>
#include <QElapsedTimer>
#include <QGuiApplication>

#include <algorithm>
#include <mutex>

namespace {

constexpr int defaultMaxTexSize = 8192;
// Columns that a texture may have beyond those asked for: margins on both sides, interpolated.
constexpr int columnReserve = 256;

int maxTexSizeProperty()
{
    const int size = QCoreApplication::instance()->property("maxtexsize").toInt();
    const bool powerOfTwo = size > 0 && (size & (size - 1)) == 0;
    return powerOfTwo && size > columnReserve ? size : defaultMaxTexSize;
}

// Moving energy instead of masking it is asked for by the three keys together.
bool scatterKeysHeld()
{
    constexpr Qt::KeyboardModifiers keys = Qt::ControlModifier | Qt::AltModifier | Qt::ShiftModifier;
    return (QGuiApplication::keyboardModifiers() & keys) == keys;
}

} // namespace

SpectralTexture::SpectralTexture(ILayerPtr layer, int channel, std::shared_ptr<const Transform> settings,
                                 QObject* parent)
    : QThread(parent),
      m_maxTexSize(maxTexSizeProperty()),
      m_layer(std::move(layer)),
      m_channel(channel),
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

    const std::lock_guard guard(m_requestMutex);
    if (!updateContent && request.sameAs(m_request))
        return;
    m_request = std::move(request);
    m_forceContent |= updateContent;
    ++m_requested;
    if (m_wakeSemaphore.available() == 0)
        m_wakeSemaphore.release();
    m_cancel = false;
    start();
}

void SpectralTexture::run()
{
    disableDenormals();
    for (;;) {
        m_wakeSemaphore.acquire();
        if (isInterruptionRequested())
            break;
        render();
    }
    // What this thread did to the renderer is seen by whoever takes the mutex after it ended.
    const std::lock_guard guard(m_requestMutex);
}

TextureRequest SpectralTexture::takeRequest(bool& refresh, int64_t& number)
{
    const std::lock_guard guard(m_requestMutex);
    number = m_requested;
    refresh = m_forceContent;
    m_forceContent = false;
    return m_request;
}

void SpectralTexture::render()
{
    QElapsedTimer timer;
    timer.start();
    ReadLocker document(documentLock());
    bool refresh = false;
    int64_t number = 0;
    const TextureRequest request = takeRequest(refresh, number);
    SpectralTextureDataPtr picture = m_renderer.render(request, refresh, m_cancel);
    if (!picture)
        return;
    {
        // Nobody looks at an older one any more, and a hidden view takes none.
        const std::lock_guard guard(m_queueMutex);
        m_texQueue.clear();
        m_texQueue.push_back(std::move(picture));
    }
    {
        const std::lock_guard guard(m_requestMutex);
        m_rendered = number;
    }
    ++m_renderCount;
    Q_EMIT textureAvailable();
    qDebug().noquote() << QStringLiteral("time to render %1 on channel %2 : %3ms")
                              .arg(m_layer->name())
                              .arg(m_channel)
                              .arg(timer.elapsed());
}

bool SpectralTexture::isOutstanding()
{
    {
        const std::lock_guard guard(m_requestMutex);
        if (m_rendered != m_requested)
            return true;
    }
    const std::lock_guard guard(m_queueMutex);
    return !m_texQueue.empty();
}

void SpectralTexture::clean()
{
    requestInterruption();
    m_cancel = true;
    if (m_wakeSemaphore.available() == 0)
        m_wakeSemaphore.release();
    wait();
    {
        const std::lock_guard guard(m_requestMutex);
        m_renderer.clear();
        m_request = {};
        m_forceContent = false;
        m_rendered = m_requested;
    }
    const std::lock_guard guard(m_queueMutex);
    m_texQueue.clear();
}
