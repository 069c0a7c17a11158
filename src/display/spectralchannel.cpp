#include "display/spectralchannel.h"

#include "display/properties.h"
#include "display/viewgeometry.h"
#include "model/layerroot.h"

namespace {

constexpr int antsInterval = 80; // ms: twelve steps a second look like motion

} // namespace

SpectralChannel::SpectralChannel(int channel, QWidget* parent)
    : ChannelView(QStringLiteral("SpectralChannel"), channel, parent)
{
    readProperties();
    m_antsTimer.setInterval(antsInterval);
    connect(&m_antsTimer, &QTimer::timeout, this, QOverload<>::of(&QWidget::update));
}

SpectralChannel::~SpectralChannel()
{
    SpectralChannel::contextAboutToBeDestroyed();
}

void SpectralChannel::readProperties()
{
    m_lowdB = propertyOr("defaultlowdb", -90).toFloat();
    m_highdB = propertyOr("defaulthighdb", -18).toFloat();
    m_gamma = propertyOr("defaultgamma", 0.5).toFloat();
    m_timeSharpen = m_freqSharpen = propertyOr("defaultsharpening", 0).toFloat();
    m_lockBottomTo0 = m_lockCenterTo0 = propertyOr("defaultlockspectrogram", false).toBool();
    m_convert.freqScale = freqScaleFromString(propertyOr("defaultfreqscale", "Mel").toString());
    m_convert.freqUnit = freqUnitFromString(propertyOr("defaultfrequnit", "Hertz").toString());
    m_spectralMarkersShown = propertyOr("defaultspectralmarkerenable", true).toBool();
}

void SpectralChannel::setTransform(std::shared_ptr<const Transform> transform)
{
    m_transform = std::move(transform);
    m_convert.settings =
        m_transform ? static_cast<const TransformSettings&>(*m_transform) : TransformSettings();
    for (auto& [layer, record] : m_textures)
        record.texture->setTransform(m_transform);
    update();
}

PointD SpectralChannel::documentPosition(const QPointF& pixel) const
{
    return viewgeometry::documentPosition(m_convert, m_viewArea, size(), pixel);
}

float SpectralChannel::magnitudeAt(const PointD& position) const
{
    float sum = 0;
    for (const auto& [layer, record] : m_textures) {
        if (!record.currentData || !record.currentData->data)
            continue;
        const SpectralTextureData& picture = *record.currentData;
        const Area area = m_convert.areaToScale(areaNow(picture));
        const double x = (position.x - area.x) / area.width * picture.size.width();
        const double y = (m_convert.toScale(position.y) - area.y) / area.height * picture.size.height();
        if (x < 0 || y < 0 || x >= picture.size.width() || y >= picture.size.height())
            continue;
        sum += picture.data[int64_t(x) * picture.size.height() + int64_t(y)] * lookOf(*layer).multiplier();
    }
    return sum;
}

// --- events -----------------------------------------------------------------------------------------

void SpectralChannel::layerEvent(EventId id, const ILayerPtr& layer)
{
    followTree(); // undo changes the tree and tells no more than that
    // The only way in which unchanged parameters make a thread read its samples again. A picture that
    // is not shown is made afresh anyway.
    if (id == EventId::LayerContentUpdate || id == EventId::LayerPropertiesChange)
        m_textures.forEachShown(layer, [this](SpectralTexture& texture) { requestPicture(texture, true); });
    update();
}

void SpectralChannel::layerRootEvent(EventId id, const LayerRoot& root)
{
    ChannelView::layerRootEvent(id, root);
    followTree();
}

void SpectralChannel::followTree()
{
    if (!m_root)
        return;
    Textures::Map gone = m_textures.follow(*m_root, [this](const ILayerPtr& layer) {
        auto texture = std::make_unique<SpectralTexture>(layer, m_channel, m_transform);
        connect(texture.get(), &SpectralTexture::textureAvailable, this, [this] { update(); });
        return texture;
    });
    if (!gone.empty())
        withContext([&gone] { gone.clear(); });
}

void SpectralChannel::displayValueEvent(EventId id, const float& value)
{
    switch (id) {
    case EventId::DisplayLowdBChange:
        m_lowdB = value;
        break;
    case EventId::DisplayHighdBChange:
        m_highdB = value;
        break;
    case EventId::DisplayGammaChange:
        m_gamma = value;
        break;
    case EventId::DisplayTimeSharpenChange:
        m_timeSharpen = value;
        break;
    case EventId::DisplayFreqSharpenChange:
        m_freqSharpen = value;
        break;
    default:
        ChannelView::displayValueEvent(id, value);
        return;
    }
    update();
}

void SpectralChannel::displacementEvent(EventId, const Displacement& displacement)
{
    m_displacement = displacement;
    update();
}
