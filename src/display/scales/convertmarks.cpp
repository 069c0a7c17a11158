// Ruler ticks of `Convert`.
#include "display/scales/convert.h"
#include "display/scales/ticks.h"

#include <algorithm>
#include <cmath>

QVector<double> Convert::timeMarks(const Area& area, double pixels, double minPixels) const
{
    const ticks::Ruler ruler{area.x, area.x + area.width, pixels, minPixels};
    if (!isUsable() || !ruler.isUsable())
        return {};
    switch (timeUnit) {
    case TimeUnit::Decimal:
    case TimeUnit::Seconds:
        return ticks::multiples(ruler, ticks::ladderStep(ruler, format.sampleRate / 1000));
    case TimeUnit::Bpm: {
        // Not rounded to whole samples: the thousandth bar would be off by as many roundings.
        const double beat = samplesPerBeat();
        if (beat <= 0)
            return {};
        return ticks::multiples(ruler, ticks::ladderStep(ruler, beat, {double(beatsPerBar)}));
    }
    case TimeUnit::Fps:
        if (!(fps > 0) || std::isinf(fps))
            return {};
        return ticks::multiples(ruler, ticks::ladderStep(ruler, format.sampleRate / fps));
    case TimeUnit::Pixels:
        if (settings.hop() < 1)
            return {};
        return ticks::multiples(ruler, ticks::doubledStep(ruler, settings.hop()));
    case TimeUnit::Samples:
        break;
    }
    return ticks::multiples(ruler, ticks::ladderStep(ruler, 1));
}

QVector<double> Convert::freqMarks(const Area& area, double pixels, double minPixels) const
{
    const Area scaled = areaToScale(area);
    const ticks::Ruler ruler{area.y, area.y + area.height, pixels, minPixels};
    if (!isUsable() || !ruler.isUsable() || !(scaled.height > 0))
        return {};
    const auto pixelOf = [&](double hz) { return (toScale(hz) - scaled.y) / scaled.height * pixels; };
    const double nyquist = format.sampleRate / 2;
    switch (freqUnit) {
    case FreqUnit::Octaves:
        return ticks::notes(ruler, pixelOf, 0);
    case FreqUnit::Notes:
        return ticks::notes(ruler, pixelOf, 16); // lower ones have no name
    case FreqUnit::Normalized:
        return ticks::parted(ruler, pixelOf, nyquist, nyquist / 100, ticks::Parting::Tenths);
    case FreqUnit::Pixels: {
        if (!settings.isValid())
            return {};
        const double oneBin = format.sampleRate / settings.dftLength();
        return ticks::parted(ruler, pixelOf, nyquist, std::max(nyquist / 512, oneBin),
                             ticks::Parting::Eighths);
    }
    case FreqUnit::Hertz:
        break;
    }
    const double largest = std::max(std::abs(ruler.low), std::abs(ruler.high));
    constexpr double finest = 0.1; // what the text can tell apart
    return ticks::parted(ruler, pixelOf, std::pow(10.0, std::ceil(std::log10(largest))), finest,
                         ticks::Parting::Tenths);
}

QVector<double> Convert::powerMarks(const FRange& range, double pixels, double minPixels) const
{
    const ticks::Ruler ruler{range.start, range.start + range.length, pixels, minPixels};
    if (!isUsable() || !ruler.isUsable())
        return {};
    if (powerUnit == PowerUnit::Decibel)
        return ticks::decibels(ruler);
    return ticks::multiples(ruler, ticks::ladderStep(ruler, 0.01));
}
