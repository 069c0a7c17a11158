// The selected part of one frame.
#pragma once

#include "spectral/primitives/transform.h"

// Analyses the N samples of a frame (for complex signals (re, im) pairs), multiplies the spectrum by a
// row of a selection's mask (see multiplyByMask) and adds the middle of what is resynthesised, under a
// triangle of half-width H, to middle[-H] .. middle[H - 1] sample points. Triangles at hop H sum to 1,
// so all frames under a mask of 1 add up to the signal. Silence and a row of zeros cost no DFT.
//
// The transform has a plan. Any thread; memory is kept by the thread.
void addMaskedFrame(const Transform& transform, const float* maskRow, const float* samples, float* middle);
