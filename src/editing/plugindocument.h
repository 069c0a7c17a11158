// The document as tools and processes see it.
#pragma once

#include "plugins/plugincontext.h"

class EditDesk;

// Fills their context records, and serves frames and units through them. Lives as long as the desk.
class PluginDocument : public IConvert, public ISpectra
{
public:
    explicit PluginDocument(EditDesk& desk) : m_desk(desk) {}

    [[nodiscard]] PluginContext context();

    [[nodiscard]] double toScale(double hz) const override;
    [[nodiscard]] double fromScale(double coordinate) const override;
    [[nodiscard]] QString timeToString(double samples) const override;
    [[nodiscard]] int64_t stringToTime(const QString& text) const override;
    [[nodiscard]] QString timeSuffix() const override;
    [[nodiscard]] QString freqToString(double hz) const override;
    [[nodiscard]] double stringToFreq(const QString& text) const override;
    [[nodiscard]] QString freqSuffix() const override;

    ISpectralBuffer* frames(const ILayerPtr& layer) override;
    int64_t prefetch(const ILayerPtr& layer, int64_t first, int64_t count, uint64_t channels) override;

private:
    EditDesk& m_desk;
};
