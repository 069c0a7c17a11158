// One channel of the project: its name, its views, their rulers.
#pragma once

#include "model/types/samplingformat.h"

#include <QWidget>

class ChannelName;
class Convert;
class FrequencyScale;
class PowerScale;
class QSplitterExt;
class SpectralChannel;
class WaveformChannel;

// From left to right the name, a splitter with the waveform above the spectrogram, and beside each of them
// its ruler. The views of a row that is out of sight are hidden, so that they cost neither a drawing
// context nor a texture; they keep their place. GUI thread.
class ChannelRow : public QWidget
{
    Q_OBJECT

public:
    static constexpr int nameWidth = 36; // logical pixels

    ChannelRow(const SamplingFormat& format, int channel, QWidget* parent);

    [[nodiscard]] ChannelName& name() const { return *m_name; }
    [[nodiscard]] WaveformChannel* waveform() const { return m_waveform; }
    [[nodiscard]] SpectralChannel* spectral() const { return m_spectral; }
    [[nodiscard]] PowerScale* powerScale() const { return m_power; }
    [[nodiscard]] FrequencyScale* frequencyScale() const { return m_frequency; }
    [[nodiscard]] QSplitterExt* splitter() const { return m_splitter; }

    void setViewsVisible(bool visible);
    // Of the column of rulers, logical pixels.
    void setRulerWidth(int width);
    // Narrowest width in which every text of the rulers has room.
    [[nodiscard]] int neededRulerWidth(const Convert& convert) const;

private:
    // Children, at any depth.
    ChannelName* m_name;
    QSplitterExt* m_splitter;
    WaveformChannel* m_waveform;
    PowerScale* m_power;
    SpectralChannel* m_spectral;
    FrequencyScale* m_frequency;
};
