// Channel remix tables.
#pragma once

#include "model/types/arraytemplate.h"

#include <algorithm>
#include <cstdint>

// `outputs * inputs` gains, one row of `outputs` floats for each input: the gain from input i to
// output o stands at index i * outputs + o. A new matrix is the identity mapping, as far as both
// counts reach. `data` is empty when outputs * inputs < 1.
struct Matrix
{
    int32_t outputs = 0;
    int32_t inputs = 0;
    ArrayTemplate<float> data;

    Matrix() = default;
    Matrix(int32_t outputCount, int32_t inputCount)
        : outputs(outputCount),
          inputs(inputCount),
          data(outputCount > 0 && inputCount > 0 ? int64_t(outputCount) * inputCount : 0)
    {
        if (data.isEmpty())
            return;
        for (int64_t i = 0; i < std::min(outputs, inputs); ++i)
            data[(int64_t(outputs) + 1) * i] = 1.0f;
    }
};
