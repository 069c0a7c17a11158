#include "display/scales/frequencycurves.h"

#include <cmath>
#include <numbers>

namespace {

// Below the lowest C the notes would run to minus infinity: a straight line to the origin takes
// over, which meets the curve at this frequency and this note.
constexpr double lowestNoteHertz = 16.35;
constexpr double lowestNote = 11.998308205;

double noteOfHertz(double hz)
{
    return 69 + 12 * std::log2(hz / 440);
}

double forwardPositive(FreqScale scale, double hz)
{
    switch (scale) {
    case FreqScale::Mel:
        return 1127 * std::log1p(hz / 700);
    case FreqScale::Bark:
        return 6 * std::asinh(hz / 600);
    case FreqScale::Erb:
        return 21.4 * std::log1p(0.00437 * hz) / std::numbers::ln10;
    case FreqScale::MidiLogarithmic:
        return hz >= lowestNoteHertz ? noteOfHertz(hz) : hz * lowestNote / lowestNoteHertz;
    case FreqScale::Linear:
        break;
    }
    return hz;
}

double inversePositive(FreqScale scale, double value)
{
    switch (scale) {
    case FreqScale::Mel:
        return 700 * std::expm1(value / 1127);
    case FreqScale::Bark:
        return 600 * std::sinh(value / 6);
    case FreqScale::Erb:
        return std::expm1(value / 21.4 * std::numbers::ln10) / 0.00437;
    case FreqScale::MidiLogarithmic:
        return value >= lowestNote ? 440 * std::exp2((value - 69) / 12)
                                   : value * lowestNoteHertz / lowestNote;
    case FreqScale::Linear:
        break;
    }
    return value;
}

} // namespace

double curveFromHertz(FreqScale scale, double hz)
{
    if (hz >= 0)
        return forwardPositive(scale, hz);
    if (scale == FreqScale::MidiLogarithmic && hz <= -lowestNoteHertz)
        return noteOfHertz(-hz);
    return -forwardPositive(scale, -hz);
}

double curveToHertz(FreqScale scale, double value)
{
    return value >= 0 ? inversePositive(scale, value) : -inversePositive(scale, -value);
}
