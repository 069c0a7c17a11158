// Applying a channel remix table to interleaved samples.
#pragma once

#include "model/types/matrix.h"

#include <cstdint>

// Square, ones on the diagonal and zeros elsewhere. False without cells.
[[nodiscard]] bool isIdentity(const Matrix& matrix);
// No cells, or zeros only.
[[nodiscard]] bool isZero(const Matrix& matrix);
// The same gains in a table of exactly that size: cells beyond it are cut, missing and non-finite
// ones are 0.
[[nodiscard]] Matrix fitted(const Matrix& matrix, int32_t outputs, int32_t inputs);

// out[o] = sum over i of in[i] * gain(i, o) for each of `frames` interleaved frames. The types are
// floats for each channel, 1 or 2: complex channels keep their pairs, real ones become pairs with
// imaginary part 0, and of complex ones only the real part goes to real channels. `out` and `in` do
// not overlap. Any thread; no allocation.
void remix(const Matrix& matrix, const float* in, int32_t inputType, float* out, int32_t outputType,
           int64_t frames);
