// The yardstick of the benchmarks: FFTW's own transform of reals with a measured plan, the source kept,
// on one thread's buffers that stay in its cache.
#pragma once

#include "model/types/arraytemplate.h"

#include <fftw3.h>

#include <cstdint>
#include <memory>

class BareDft
{
public:
    // Plans both directions; before other threads plan.
    explicit BareDft(int32_t length) : m_length(length)
    {
        Buffers& buffers = own(length);
        constexpr unsigned flags = FFTW_MEASURE | FFTW_PRESERVE_INPUT;
        m_forward.reset(fftwf_plan_dft_r2c_1d(length, buffers.samples.data(), buffers.raw(), flags));
        m_inverse.reset(fftwf_plan_dft_c2r_1d(length, buffers.raw(), buffers.samples.data(), flags));
        own(0);
    }
    // Of noise. Any thread.
    void forward() const
    {
        Buffers& buffers = own(m_length);
        fftwf_execute_dft_r2c(m_forward.get(), buffers.samples.data(), buffers.raw());
    }
    void inverse() const
    {
        Buffers& buffers = own(m_length);
        fftwf_execute_dft_c2r(m_inverse.get(), buffers.raw(), buffers.samples.data());
    }

private:
    struct Buffers
    {
        ArrayTemplate<float> samples;
        ArrayTemplate<Complex> spectrum;

        fftwf_complex* raw() { return reinterpret_cast<fftwf_complex*>(spectrum.data()); }
    };
    struct Destroy
    {
        void operator()(fftwf_plan_s* plan) const { fftwf_destroy_plan(plan); }
    };
    static Buffers& own(int32_t length)
    {
        thread_local Buffers buffers;
        if (buffers.samples.size() != length) {
            buffers.samples = ArrayTemplate<float>(length);
            buffers.spectrum = ArrayTemplate<Complex>(length / 2 + 1);
            uint32_t state = 7;
            const auto next = [&state] {
                return float(state = state * 1664525U + 1013904223U) / 4e9f - 0.5f;
            };
            for (float& value : buffers.samples)
                value = next();
            for (Complex& value : buffers.spectrum)
                value = {next(), next()};
        }
        return buffers;
    }

    int32_t m_length;
    std::unique_ptr<fftwf_plan_s, Destroy> m_forward;
    std::unique_ptr<fftwf_plan_s, Destroy> m_inverse;
};
