// The curves behind the frequency scales.
#pragma once

#include "model/types/units.h"

// Hz to mel, bark, ERB number, MIDI note (Linear: Hz) and back. 0 goes to 0. Rising and odd, but for
// MidiLogarithmic, which gives notes of |hz| for frequencies at or below -16.35 Hz; its inverse is
// odd. Sources: O'Shaughnessy 1987 (mel), Schroeder 1979 (bark), Glasberg and Moore 1990 (ERB).
[[nodiscard]] double curveFromHertz(FreqScale scale, double hz);
[[nodiscard]] double curveToHertz(FreqScale scale, double value);
