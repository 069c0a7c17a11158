#include "display/scales/unitwords.h"

#include "model/types/samplingformat.h"

#include <cstddef>

namespace {

struct Word
{
    const char* shown;
    const char* suffix;
};

// Each in the order of its enumeration.
constexpr Word freqScales[] = {
    {"Linear", ""}, {"Mel", ""}, {"Bark", ""}, {"ERB", ""}, {"MIDI-logarithmic", ""}};
constexpr Word filterings[] = {{"Raw", ""}, {"Linear", ""}, {"Cubic", ""}};
constexpr Word timeUnits[] = {{"Samples", "smp"}, {"Decimal", ""}, {"Seconds", "s"},
                              {"BPM", ""},        {"FPS", "frm"},  {"Pixels", "px"}};
constexpr Word powerUnits[] = {{"Decibel", "dB"}, {"Percents", "%"}, {"Normalized", ""}};
constexpr Word freqUnits[] = {
    {"Hertz", "Hz"}, {"Pixels", "px"}, {"Octaves", "oct"}, {"Notes", "\u266a "}, {"Normalized", ""}};

template<class Enum, std::size_t count>
Enum parse(const Word (&words)[count], const QString& text, Enum otherwise)
{
    for (std::size_t i = 0; i < count; ++i)
        if (text.compare(QLatin1String(words[i].shown), Qt::CaseInsensitive) == 0)
            return Enum(i);
    return otherwise;
}

template<class Enum, std::size_t count>
const Word& wordOf(const Word (&words)[count], Enum value, Enum otherwise)
{
    const auto i = int(value);
    return words[i >= 0 && i < int(count) ? i : int(otherwise)];
}

} // namespace

FreqScale freqScaleFromString(const QString& word)
{
    return parse(freqScales, word, FreqScale::Linear);
}

Filtering filteringFromString(const QString& word)
{
    return parse(filterings, word, Filtering::Raw);
}

TimeUnit timeUnitFromString(const QString& word)
{
    return parse(timeUnits, word, TimeUnit::Samples);
}

PowerUnit powerUnitFromString(const QString& word)
{
    return parse(powerUnits, word, PowerUnit::Normalized);
}

FreqUnit freqUnitFromString(const QString& word)
{
    return parse(freqUnits, word, FreqUnit::Hertz);
}

QString freqScaleToString(FreqScale scale)
{
    return QLatin1String(wordOf(freqScales, scale, FreqScale::Linear).shown);
}

QString filteringToString(Filtering filtering)
{
    return QLatin1String(wordOf(filterings, filtering, Filtering::Raw).shown);
}

QString timeUnitToString(TimeUnit unit)
{
    return QLatin1String(wordOf(timeUnits, unit, TimeUnit::Samples).shown);
}

QString powerUnitToString(PowerUnit unit)
{
    return QLatin1String(wordOf(powerUnits, unit, PowerUnit::Normalized).shown);
}

QString freqUnitToString(FreqUnit unit)
{
    return QLatin1String(wordOf(freqUnits, unit, FreqUnit::Hertz).shown);
}

QString timeUnitSuffix(TimeUnit unit)
{
    return QLatin1String(wordOf(timeUnits, unit, TimeUnit::Samples).suffix);
}

QString powerUnitSuffix(PowerUnit unit, int32_t channelsType)
{
    const Word& word = wordOf(powerUnits, unit, PowerUnit::Normalized);
    const bool millivolts =
        &word == &powerUnits[int(PowerUnit::Normalized)] && channelsType == ChannelsTypeEcg;
    return QLatin1String(millivolts ? "mV" : word.suffix);
}

QString freqUnitSuffix(FreqUnit unit)
{
    return QString::fromUtf8(wordOf(freqUnits, unit, FreqUnit::Hertz).suffix);
}
