// Words of scales and units: how settings hold them, how the user reads them, what stands behind a
// number.
//
// Settings hold the shown word in any case. The shown words are in English; whoever shows them may
// translate them.
#pragma once

#include "model/types/units.h"

#include <cstdint>

#include <QString>

// Compared without case. An unknown word gives Linear, Raw, Samples, Normalized, Hertz.
[[nodiscard]] FreqScale freqScaleFromString(const QString& word);
[[nodiscard]] Filtering filteringFromString(const QString& word);
[[nodiscard]] TimeUnit timeUnitFromString(const QString& word);
[[nodiscard]] PowerUnit powerUnitFromString(const QString& word);
[[nodiscard]] FreqUnit freqUnitFromString(const QString& word);

// "MIDI-logarithmic". A value out of range gives the word of the default.
[[nodiscard]] QString freqScaleToString(FreqScale scale);
[[nodiscard]] QString filteringToString(Filtering filtering);
[[nodiscard]] QString timeUnitToString(TimeUnit unit);
[[nodiscard]] QString powerUnitToString(PowerUnit unit);
[[nodiscard]] QString freqUnitToString(FreqUnit unit);

// "smp", "dB", "Hz"; may be empty. Normalized power of an ECG is shown in millivolts.
[[nodiscard]] QString timeUnitSuffix(TimeUnit unit);
[[nodiscard]] QString powerUnitSuffix(PowerUnit unit, int32_t channelsType);
[[nodiscard]] QString freqUnitSuffix(FreqUnit unit);
