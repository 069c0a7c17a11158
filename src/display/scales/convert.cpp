#include "display/scales/convert.h"

#include "display/scales/frequencycurves.h"

#include <cmath>

Convert::Convert(const SamplingFormat& sampling, const TransformSettings& transform, TimeUnit time,
                 PowerUnit power, FreqUnit freq, FreqScale scale, Filtering filter)
    : format(sampling),
      settings(transform),
      timeUnit(time),
      powerUnit(power),
      freqUnit(freq),
      freqScale(scale),
      filtering(filter)
{
}

bool Convert::isUsable() const
{
    return format.sampleRate > 0 && std::isfinite(format.sampleRate) && format.channels > 0;
}

double Convert::toScale(double hz) const
{
    if (!isUsable())
        return 0;
    const double nyquist = format.sampleRate / 2;
    return freqScale == FreqScale::Linear
               ? hz
               : curveFromHertz(freqScale, hz) * nyquist / curveFromHertz(freqScale, nyquist);
}

double Convert::fromScale(double coordinate) const
{
    if (!isUsable())
        return 0;
    const double nyquist = format.sampleRate / 2;
    return freqScale == FreqScale::Linear
               ? coordinate
               : curveToHertz(freqScale, curveFromHertz(freqScale, nyquist) * coordinate / nyquist);
}

Area Convert::areaToScale(const Area& area) const
{
    const double bottom = toScale(area.y);
    return {area.x, bottom, area.width, toScale(area.y + area.height) - bottom};
}

Area Convert::areaFromScale(const Area& area) const
{
    const double bottom = fromScale(area.y);
    return {area.x, bottom, area.width, fromScale(area.y + area.height) - bottom};
}

PointD Convert::pointFromScale(const PointD& point) const
{
    return {point.x, fromScale(point.y)};
}

void Convert::buildRowTable(const Area& renderArea, int height, bool pyramid, double frequencyOffset,
                            double frequencyScale)
{
    m_rows.build(format, settings,
                 {renderArea, height, freqScale, filtering, pyramid, frequencyOffset, frequencyScale});
}
