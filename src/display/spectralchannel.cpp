#include "display/spectralchannel.h"

#include "display/properties.h"
#include "display/scales/colormaps.h"
#include "display/viewgeometry.h"
#include "display/visiblelayers.h"
#include "model/layerroot.h"

#include <algorithm>

namespace {

template<class Enum>
Enum boundedEnum(int32_t value, Enum last)
{
    return value >= 0 && value <= int32_t(last) ? Enum(value) : Enum(0);
}

} // namespace

SpectralChannel::SpectralChannel(int channel, QWidget* parent)
    : QOpenGLChannel(parent),
      IEvent(QStringLiteral("SpectralChannel")),
      m_channel(channel)
{
    setMouseTracking(true);
    readProperties();
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
    m_colormap = colormapFromString(propertyOr("defaultcolormap", "Laguna").toString());
    m_composite = propertyOr("defaultcomposite", false).toBool();
    m_targetActive = propertyOr("defaulttargetactive", false).toBool();
    m_lockBottomTo0 = m_lockCenterTo0 = propertyOr("defaultlockspectrogram", false).toBool();
    m_convert.freqScale = freqScaleFromString(propertyOr("defaultfreqscale", "Mel").toString());
    m_convert.filtering = filteringFromString(propertyOr("defaultfiltering", "Cubic").toString());
}

bool SpectralChannel::hasValidFormat() const
{
    return m_convert.format.sampleRate > 0 && m_channel < m_convert.format.channels;
}

void SpectralChannel::setTransform(std::shared_ptr<const Transform> transform)
{
    m_transform = std::move(transform);
    m_convert.settings =
        m_transform ? static_cast<const TransformSettings&>(*m_transform) : TransformSettings();
    for (auto& [layer, record] : m_layerTextures)
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
    for (const auto& [layer, record] : m_layerTextures) {
        if (!record.currentData || !record.currentData->data)
            continue;
        const SpectralTextureData& picture = *record.currentData;
        const Area area = m_convert.areaToScale(picture.area);
        const double x = (position.x - area.x) / area.width * picture.size.width();
        const double y = (m_convert.toScale(position.y) - area.y) / area.height * picture.size.height();
        if (x < 0 || y < 0 || x >= picture.size.width() || y >= picture.size.height())
            continue;
        sum += picture.data[int64_t(x) * picture.size.height() + int64_t(y)] * layer->multiplier();
    }
    return sum;
}

bool SpectralChannel::isOutstanding() const
{
    return std::any_of(m_layerTextures.begin(), m_layerTextures.end(),
                       [](const auto& entry) { return entry.second.texture->isOutstanding(); });
}

// --- events -----------------------------------------------------------------------------------------

void SpectralChannel::samplingFormatEvent(EventId, const SamplingFormat& format)
{
    m_convert.format = format;
    update();
}

void SpectralChannel::freqScaleEvent(EventId, const int32_t& scale)
{
    m_convert.freqScale = boundedEnum(scale, FreqScale::MidiLogarithmic);
    update();
}

void SpectralChannel::filteringEvent(EventId, const int32_t& filtering)
{
    m_convert.filtering = boundedEnum(filtering, Filtering::Cubic);
    update();
}

void SpectralChannel::layerEvent(EventId id, const ILayerPtr& layer)
{
    // The only way in which unchanged parameters make a thread read its samples again. A picture that
    // is not shown is made afresh anyway.
    if (id == EventId::LayerContentUpdate || id == EventId::LayerPropertiesChange)
        for (auto& [own, record] : m_layerTextures)
            if (record.shown && (!layer || own == layer || layer->contains(own, true)))
                requestPicture(record, true);
    update();
}

void SpectralChannel::layerRootEvent(EventId, const LayerRoot& root)
{
    m_root = std::make_unique<LayerRoot>(root);
    m_convert.format = root.format();
    std::map<ILayerPtr, LayerTexture> kept;
    for (const LayerInView& entry : layersInView(*root.project())) {
        const auto known = m_layerTextures.find(entry.layer);
        if (known != m_layerTextures.end()) {
            kept[entry.layer] = std::move(known->second);
            m_layerTextures.erase(known);
            continue;
        }
        LayerTexture& record = kept[entry.layer];
        record.texture = std::make_unique<SpectralTexture>(entry.layer, m_channel, m_transform);
        connect(record.texture.get(), &SpectralTexture::textureAvailable, this, [this] { update(); });
    }
    // The others go, and their GL textures in their context.
    if (isValid())
        makeCurrent();
    m_layerTextures.swap(kept);
    kept.clear();
    if (isValid())
        doneCurrent();
    update();
}

void SpectralChannel::displayEnableEvent(EventId id, const bool& enabled)
{
    switch (id) {
    case EventId::DisplayCompositeEnable:
        m_composite = enabled;
        break;
    case EventId::DisplayTargetActiveEnable:
        m_targetActive = enabled;
        break;
    case EventId::DisplayLockBottomTo0Enable:
        m_lockBottomTo0 = enabled;
        break;
    case EventId::DisplayLockCenterTo0Enable:
        m_lockCenterTo0 = enabled;
        break;
    default:
        return;
    }
    update();
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
        return;
    }
    update();
}

void SpectralChannel::colormapEvent(EventId, const int32_t& colormap)
{
    m_colormap = std::clamp(colormap, 0, colormapCount() - 1);
    update();
}

void SpectralChannel::areaEvent(EventId, const Area& area)
{
    m_viewArea = area;
    update();
}

void SpectralChannel::displacementEvent(EventId, const Displacement& displacement)
{
    m_displacement = displacement;
    update();
}
