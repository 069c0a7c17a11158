#include "display/waveformchannel.h"

#include "display/powerrange.h"
#include "display/properties.h"
#include "model/layerroot.h"

WaveformChannel::WaveformChannel(int channel, QWidget* parent)
    : ChannelView(QStringLiteral("WaveformChannel"), channel, parent)
{
    m_lockCenterTo0 = propertyOr("defaultlockwaveform", true).toBool();
    m_convert.powerUnit = powerUnitFromString(propertyOr("defaultpowerunit", "Decibel").toString());
}

WaveformChannel::~WaveformChannel()
{
    WaveformChannel::contextAboutToBeDestroyed();
}

void WaveformChannel::setBlocked(bool blocked)
{
    if (blocked && m_sample)
        endSampleDrag(false);
    ChannelView::setBlocked(blocked);
}

// --- geometry ---------------------------------------------------------------------------------------

double WaveformChannel::timeAt(double x) const
{
    return m_viewArea.x + x / width() * m_viewArea.width;
}

double WaveformChannel::amplitudeAt(double y) const
{
    return m_power.high - y / height() * (m_power.high - m_power.low);
}

QPointF WaveformChannel::pixelOf(double samples, double amplitude) const
{
    return {(samples - m_viewArea.x) / m_viewArea.width * width(),
            (m_power.high - amplitude) / (m_power.high - m_power.low) * height()};
}

bool WaveformChannel::showsSamples() const
{
    return m_viewArea.width > 0 && width() / m_viewArea.width >= samplePitch;
}

// --- events -----------------------------------------------------------------------------------------

void WaveformChannel::layerEvent(EventId id, const ILayerPtr& layer)
{
    // The only way in which unchanged parameters make a thread read its samples again. A picture that
    // is not shown is made afresh anyway.
    if (id == EventId::LayerContentUpdate)
        m_textures.forEachShown(layer, [this](WaveformTexture& texture) {
            texture.requestTex(viewRange(), frameSize().width(), m_convert.filtering, true);
        });
    update();
}

void WaveformChannel::layerRootEvent(EventId id, const LayerRoot& root)
{
    ChannelView::layerRootEvent(id, root);
    Textures::Map gone = m_textures.follow(root, [this](const ILayerPtr& layer) {
        auto texture = std::make_unique<WaveformTexture>(layer, m_channel);
        connect(texture.get(), &WaveformTexture::textureAvailable, this, [this] { update(); });
        return texture;
    });
    if (m_sample && !m_textures.find(m_sample->place.layer)) {
        m_sample.reset(); // the layer went with its edit
        m_drag = Drag::None;
        releaseKeyboard();
    }
    // In the context of their OpenGL textures.
    if (isValid())
        makeCurrent();
    gone.clear();
    if (isValid())
        doneCurrent();
}

void WaveformChannel::displayEnableEvent(EventId id, const bool& enabled)
{
    ChannelView::displayEnableEvent(id, enabled);
    // Each view and ruler does the same, so nothing needs to be told.
    if (id == EventId::DisplayLockCenterTo0Enable && enabled)
        m_power = powerrange::centred(m_power);
}

void WaveformChannel::powerUnitEvent(EventId, const int32_t& unit)
{
    m_convert.powerUnit =
        unit >= 0 && unit <= int32_t(PowerUnit::Normalized) ? PowerUnit(unit) : PowerUnit::Normalized;
    update();
}

void WaveformChannel::powerRangeEvent(EventId, const PowerRange& range)
{
    if (!powerrange::isUsable(range))
        return;
    m_power = m_lockCenterTo0 ? powerrange::centred(range) : range;
    update();
}
