// Vector operations, single precision, one source for every instruction set of the machine with
// dispatch at run time. Counts are 64-bit element counts. `destination` may be one of the sources
// unless told otherwise. Any thread; no allocation.
#pragma once

#include "model/types/arraytemplate.h"

#include <cstdint>

namespace vec {

void zero(float* destination, int64_t count);
void zero(Complex* destination, int64_t count);
void copy(float* destination, const float* source, int64_t count);
void copy(Complex* destination, const Complex* source, int64_t count);
void add(float* destination, const float* a, const float* b, int64_t count);
void addConstant(float* destination, const float* source, float constant, int64_t count);
// destination = a - b.
void subtract(float* destination, const float* a, const float* b, int64_t count);
void subtract(Complex* destination, const Complex* a, const Complex* b, int64_t count);
void multiply(float* destination, const float* a, const float* b, int64_t count);
// Complex times real, element by element.
void multiply(Complex* destination, const Complex* a, const float* b, int64_t count);
void multiplyConstant(float* destination, const float* source, float constant, int64_t count);
void multiplyConstant(Complex* destination, const Complex* source, float constant, int64_t count);
// destination += source * constant.
void multiplyAdd(float* destination, const float* source, float constant, int64_t count);
void divide(float* destination, const float* a, const float* b, int64_t count);
// |z| and |z|^2 of a spectrum.
void magnitude(float* destination, const Complex* source, int64_t count);
void power(float* destination, const Complex* source, int64_t count);
// Sum in an accuracy that does not suffer from the count; 0 for an empty vector.
[[nodiscard]] float sum(const float* source, int64_t count);
// Largest absolute value; 0 for an empty vector.
[[nodiscard]] float maxAbs(const float* source, int64_t count);
// Whether all are 0; looks no farther than to the first piece that is not.
[[nodiscard]] bool isZero(const float* source, int64_t count);
// Lowers `low` to the smallest element and raises `high` to the largest; of complex numbers, real and
// imaginary parts apart. What is not a number does not count; an empty vector changes nothing.
void minMax(const float* source, int64_t count, float& low, float& high);
void minMax(const Complex* source, int64_t count, Complex& low, Complex& high);

} // namespace vec
