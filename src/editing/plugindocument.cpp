#include "editing/plugindocument.h"

#include "editing/editdesk.h"

#include <algorithm>

PluginContext PluginDocument::context()
{
    EditState& state = m_desk.state();
    PluginContext context;
    context.format = state.format;
    context.channelsMode = state.channels;
    context.transform = state.transform;
    context.area = state.area;
    context.transportPosition = state.transportPosition;
    if (!m_desk.hasProject())
        return context;
    context.activeLayer = m_desk.activeLayer();
    context.root = &*state.root;
    context.selection = &state.selection;
    context.convert = this;
    context.spectra = this;
    return context;
}

double PluginDocument::toScale(double hz) const
{
    return m_desk.state().convert.toScale(hz);
}

double PluginDocument::fromScale(double coordinate) const
{
    return m_desk.state().convert.fromScale(coordinate);
}

QString PluginDocument::timeToString(double samples) const
{
    return m_desk.state().convert.timeToString(samples);
}

int64_t PluginDocument::stringToTime(const QString& text) const
{
    return m_desk.state().convert.stringToTime(text);
}

QString PluginDocument::timeSuffix() const
{
    return m_desk.state().convert.timeSuffix();
}

QString PluginDocument::freqToString(double hz) const
{
    return m_desk.state().convert.freqToString(hz);
}

double PluginDocument::stringToFreq(const QString& text) const
{
    return m_desk.state().convert.stringToFreq(text);
}

QString PluginDocument::freqSuffix() const
{
    return m_desk.state().convert.freqSuffix();
}

ISpectralBuffer* PluginDocument::frames(const ILayerPtr& layer)
{
    return layer && m_desk.state().transform ? m_desk.spectralBufferFor(layer).get() : nullptr;
}

int64_t PluginDocument::prefetch(const ILayerPtr& layer, int64_t first, int64_t count, uint64_t channels)
{
    if (!layer || !m_desk.state().transform || count < 1)
        return 0;
    const std::shared_ptr<SpectralBuffer> buffer = m_desk.spectralBufferFor(layer);
    const int32_t channelCount = layer->format().channels;
    if (channelCount < 1)
        return 0;
    QBitArray bits(channelCount);
    for (int i = 0; i < std::min(channelCount, 64); ++i)
        bits.setBit(i, channels >> i & 1);
    const int64_t held = std::min<int64_t>(count, buffer->slotCount() / channelCount);
    if (held > 0)
        buffer->prefetch(first, held, bits);
    return held;
}
