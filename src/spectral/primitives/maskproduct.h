// The product of spectra and selection masks.
#pragma once

#include "model/types/arraytemplate.h"
#include "model/types/transformsettings.h"

// spectrum *= mask for one frame of settings.bins() bins. A mask row rises from the lowest frequency;
// a real spectrum does so too, while a complex one begins at 0 Hz and has its negative half behind.
// Every product of the two goes through here. Any thread; no allocation.
void multiplyByMask(Complex* spectrum, const float* maskRow, const TransformSettings& settings);
