// The levels of a layer's frames, as tools look for ridges and regions in them.
#pragma once

#include "model/ilayer.h"
#include "model/types/transformsettings.h"
#include "plugins/ispectra.h"

#include <cstdint>
#include <unordered_map>
#include <vector>

// Powers of the bins of one channel. Bins rise with frequency, also those of a complex signal: from
// lowBin() (0, or -M / 2) to highBin(). Frame and bin numbers may be fractions where a position in between is
// meant. What is no number in the signal counts as silence.
class Levels
{
public:
    // Invalid without a layer, spectra or settings, and where the channel or the format makes no sense.
    // The spectra and the layer must live as long.
    Levels(ISpectra* spectra, const ILayerPtr& layer, int32_t channel, const TransformSettings* settings);

    [[nodiscard]] bool isValid() const { return m_buffer != nullptr; }
    [[nodiscard]] int32_t lowBin() const { return m_lowBin; }
    [[nodiscard]] int32_t highBin() const { return m_lowBin + m_bins - 1; }
    [[nodiscard]] bool hasBin(int64_t bin) const { return bin >= lowBin() && bin <= highBin(); }
    [[nodiscard]] int32_t hop() const { return m_hop; }
    // From the middle of a partial to where its window's main lobe ends, in bins, for the windows that a
    // user takes for looking.
    [[nodiscard]] int32_t lobe() const { return m_lobe; }
    // Frames of which one sample is in both.
    [[nodiscard]] int32_t overlap() const { return m_overlap; }

    [[nodiscard]] double time(double frame) const { return frame * m_hop; }
    [[nodiscard]] double frame(double time) const { return time / m_hop; }
    [[nodiscard]] double frequency(double bin) const { return bin * m_binWidth; }
    [[nodiscard]] double bin(double hz) const { return hz / m_binWidth; }
    [[nodiscard]] double binWidth() const { return m_binWidth; } // Hz

    // Analyses frames ahead of a loop over them, as far as memory allows.
    void prefetch(int64_t first, int64_t count);
    // Squared magnitudes of a frame; element 0 is lowBin(). Good until the next call.
    [[nodiscard]] const float* powers(int64_t frame);
    [[nodiscard]] float power(int64_t frame, int32_t bin) { return powers(frame)[bin - m_lowBin]; }
    // In decibels, silence at -200; bins outside the band are silent.
    [[nodiscard]] double decibels(int64_t frame, int64_t bin);

    // The top of the parabola through the decibels of a bin and its two neighbours, at most half a bin away.
    [[nodiscard]] double refined(int64_t frame, int32_t bin);

private:
    ISpectra* m_spectra = nullptr;
    ISpectralBuffer* m_buffer = nullptr;
    ILayerPtr m_layer;
    int32_t m_channel = 0;
    int32_t m_bins = 0;
    int32_t m_lowBin = 0;
    int32_t m_hop = 1;
    int32_t m_lobe = 1;
    int32_t m_overlap = 1;
    double m_binWidth = 1;
    std::unordered_map<int64_t, std::vector<float>> m_frames;
};

// Power to decibels, not below -200.
[[nodiscard]] double decibelsOf(double power);
