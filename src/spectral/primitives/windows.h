// The window functions of the short-time transform.
#pragma once

#include "model/types/transformsettings.h"

// Writes the periodic window of `length` values: its denominator is the length, so that the last
// value is not the mirror of the first, and shifted copies add up evenly. The ratio n / length is
// rounded to single precision, as stored pictures and projects were made with it. Nothing for a
// length below 1; an unknown type writes the rectangle.
void writeWindow(WindowType type, int32_t length, float* destination);
