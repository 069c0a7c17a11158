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

double WaveformChannel::amplitudeAt(double y) const
{
    return m_powerRange.high - y / height() * (m_powerRange.high - m_powerRange.low);
}

QPointF WaveformChannel::pixelOf(double samples, double amplitude) const
{
    return {(samples - m_viewArea.x) / m_viewArea.width * width(),
            (m_powerRange.high - amplitude) / (m_powerRange.high - m_powerRange.low) * height()};
}

bool WaveformChannel::showsSamples() const
{
    return m_viewArea.width > 0 && width() / m_viewArea.width >= samplePitch;
}

// --- events -----------------------------------------------------------------------------------------

void WaveformChannel::layerEvent(EventId id, const ILayerPtr& layer)
{
    followTree(); // undo changes the tree and tells no more than that
    // The only way in which unchanged parameters make a thread read its samples again. Polarity and gain
    // come with the drawing; a region may show another stretch of its source, a preview another part of the
    // signal.
    const bool moved = id == EventId::LayerPropertiesChange &&
                       (!layer || layer->type() == LayerTypeRegion || isPreview(*layer));
    if (id == EventId::LayerContentUpdate || moved)
        m_textures.forEachShown(layer, [this](WaveformTexture& texture) {
            texture.requestTex(viewRange(), frameSize().width(), m_convert.filtering, true);
        });
    update();
}

void WaveformChannel::layerRootEvent(EventId id, const LayerRoot& root)
{
    ChannelView::layerRootEvent(id, root);
    followTree();
}

void WaveformChannel::followTree()
{
    if (!m_root)
        return;
    Textures::Map gone = m_textures.follow(*m_root, [this](const ILayerPtr& layer) {
        auto texture = std::make_unique<WaveformTexture>(layer, m_channel);
        connect(texture.get(), &WaveformTexture::textureAvailable, this, [this] { update(); });
        return texture;
    });
    if (m_sample && !m_textures.find(m_sample->place.layer)) {
        m_sample.reset(); // the layer went with its edit
        m_drag = Drag::None;
        releaseKeyboard();
    }
    if (!gone.empty())
        withContext([&gone] { gone.clear(); });
}

void WaveformChannel::displayEnableEvent(EventId id, const bool& enabled)
{
    ChannelView::displayEnableEvent(id, enabled);
    // Each view and ruler does the same, so nothing needs to be told.
    if (id == EventId::DisplayLockCenterTo0Enable && enabled)
        m_powerRange = powerrange::centred(m_powerRange);
}

void WaveformChannel::powerRangeEvent(EventId id, const PowerRange& range)
{
    if (!powerrange::isUsable(range))
        return;
    ViewState::powerRangeEvent(id, m_lockCenterTo0 ? powerrange::centred(range) : range);
}
