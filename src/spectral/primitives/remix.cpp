#include "spectral/primitives/remix.h"

#include <cmath>

namespace {

// With counts known to the compiler the inner loops are unrolled; 0 stands for "as the matrix says".
template<int inputCount, int outputCount>
void remixReal(const Matrix& matrix, const float* in, float* out, int64_t frames)
{
    const int inputs = inputCount ? inputCount : matrix.inputs;
    const int outputs = outputCount ? outputCount : matrix.outputs;
    const float* gains = matrix.data.data();
    for (int64_t frame = 0; frame < frames; ++frame, in += inputs, out += outputs) {
        for (int o = 0; o < outputs; ++o)
            out[o] = 0;
        for (int i = 0; i < inputs; ++i)
            for (int o = 0; o < outputs; ++o)
                out[o] += in[i] * gains[i * outputs + o];
    }
}

void remixPairs(const Matrix& matrix, const float* in, int inputType, float* out, int outputType,
                int64_t frames)
{
    const int parts = std::min(inputType, outputType);
    const float* gains = matrix.data.data();
    for (int64_t frame = 0; frame < frames; ++frame) {
        for (int o = 0; o < matrix.outputs * outputType; ++o)
            out[o] = 0;
        for (int i = 0; i < matrix.inputs; ++i)
            for (int o = 0; o < matrix.outputs; ++o)
                for (int part = 0; part < parts; ++part)
                    out[o * outputType + part] += in[i * inputType + part] * gains[i * matrix.outputs + o];
        in += int64_t(matrix.inputs) * inputType;
        out += int64_t(matrix.outputs) * outputType;
    }
}

} // namespace

bool isIdentity(const Matrix& matrix)
{
    if (matrix.data.isEmpty() || matrix.inputs != matrix.outputs)
        return false;
    for (int64_t i = 0; i < matrix.data.size(); ++i)
        if (matrix.data[i] != (i % (matrix.outputs + 1) == 0 ? 1.0f : 0.0f))
            return false;
    return true;
}

bool isZero(const Matrix& matrix)
{
    for (const float gain : matrix.data)
        if (gain != 0)
            return false;
    return true;
}

Matrix fitted(const Matrix& matrix, int32_t outputs, int32_t inputs)
{
    Matrix result(outputs, inputs);
    for (int64_t i = 0; i < inputs && outputs > 0; ++i)
        for (int64_t o = 0; o < outputs; ++o) {
            const bool given = !matrix.data.isEmpty() && i < matrix.inputs && o < matrix.outputs;
            const float gain = given ? matrix.data[i * matrix.outputs + o] : 0;
            result.data[i * outputs + o] = std::isfinite(gain) ? gain : 0;
        }
    return result;
}

void remix(const Matrix& matrix, const float* in, int32_t inputType, float* out, int32_t outputType,
           int64_t frames)
{
    if (inputType != 1 || outputType != 1)
        remixPairs(matrix, in, inputType, out, outputType, frames);
    else if (matrix.inputs == 1 && matrix.outputs == 1)
        remixReal<1, 1>(matrix, in, out, frames);
    else if (matrix.inputs == 1 && matrix.outputs == 2)
        remixReal<1, 2>(matrix, in, out, frames);
    else if (matrix.inputs == 2 && matrix.outputs == 2)
        remixReal<2, 2>(matrix, in, out, frames);
    else
        remixReal<0, 0>(matrix, in, out, frames);
}
