#include "spectral/primitives/dftplan.h"

#include "spectral/primitives/plancache.h"

#include <fftw3.h>

#include <cassert>
#include <cstdint>

namespace {

fftwf_complex* raw(Complex* values)
{
    return reinterpret_cast<fftwf_complex*>(values);
}
// FFTW takes no const sources, but FFTW_PRESERVE_INPUT keeps it from writing to them.
fftwf_complex* raw(const Complex* values)
{
    return raw(const_cast<Complex*>(values));
}
float* raw(const float* values)
{
    return const_cast<float*>(values);
}

// A plan made for aligned memory takes equally aligned memory only.
[[maybe_unused]] bool aligned(const void* pointer)
{
    return reinterpret_cast<std::uintptr_t>(pointer) % ArrayTemplate<float>::alignment == 0;
}

} // namespace

DftPlan::DftPlan(int32_t length, DftKind kind)
    : m_length(length),
      m_kind(kind),
      m_forward(PlanCache::instance().slot({length, kind, DftDirection::Forward})),
      m_inverse(PlanCache::instance().slot({length, kind, DftDirection::Inverse}))
{
}

void DftPlan::forward(const float* source, Complex* destination) const
{
    assert(m_kind == DftKind::Real && aligned(source) && aligned(destination));
    fftwf_execute_dft_r2c(m_forward->use(), raw(source), raw(destination));
}

void DftPlan::inverse(const Complex* source, float* destination) const
{
    assert(m_kind == DftKind::Real && aligned(source) && aligned(destination));
    fftwf_execute_dft_c2r(m_inverse->use(), raw(source), destination);
}

void DftPlan::forward(const Complex* source, Complex* destination) const
{
    assert(m_kind == DftKind::Complex && aligned(source) && aligned(destination));
    fftwf_execute_dft(m_forward->use(), raw(source), raw(destination));
}

void DftPlan::inverse(const Complex* source, Complex* destination) const
{
    assert(m_kind == DftKind::Complex && aligned(source) && aligned(destination));
    fftwf_execute_dft(m_inverse->use(), raw(source), raw(destination));
}

PlanKind planInForce(const DftPlan& plan, DftDirection direction)
{
    return PlanCache::instance().inForce(direction == DftDirection::Forward ? *plan.m_forward
                                                                            : *plan.m_inverse);
}
