#include "spectral/primitives/dftplan.h"

#include "spectral/primitives/plancache.h"
#include "spectral/primitives/realdft.h"

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

// The plan that carries a transform out.
PlanSlot* slotFor(int32_t length, DftKind kind, DftDirection direction)
{
    if (kind == DftKind::Real && length % 2 == 0)
        return PlanCache::instance().slot({length / 2, DftKind::Complex, direction});
    return PlanCache::instance().slot({length, kind, direction});
}

// Of this thread, `length` values.
Complex* halfSpectrum(int64_t length)
{
    thread_local ArrayTemplate<Complex> values;
    if (values.size() < length)
        values.resize(length);
    return values.data();
}

} // namespace

DftPlan::DftPlan(int32_t length, DftKind kind)
    : m_length(length),
      m_kind(kind),
      m_forward(slotFor(length, kind, DftDirection::Forward)),
      m_inverse(slotFor(length, kind, DftDirection::Inverse)),
      m_factors(kind == DftKind::Real && length % 2 == 0 ? &RealDftFactors::of(length) : nullptr)
{
}

void DftPlan::forward(const float* source, Complex* destination) const
{
    assert(m_kind == DftKind::Real && aligned(source) && aligned(destination));
    if (!m_factors)
        return fftwf_execute_dft_r2c(m_forward->use(), raw(source), raw(destination));
    fftwf_execute_dft(m_forward->use(), reinterpret_cast<fftwf_complex*>(raw(source)), raw(destination));
    realdft::join(destination, *m_factors);
}

void DftPlan::inverse(const Complex* source, float* destination) const
{
    assert(m_kind == DftKind::Real && aligned(source) && aligned(destination));
    if (!m_factors)
        return fftwf_execute_dft_c2r(m_inverse->use(), raw(source), destination);
    Complex* const half = halfSpectrum(m_length / 2);
    realdft::split(half, source, *m_factors);
    fftwf_execute_dft(m_inverse->use(), raw(half), reinterpret_cast<fftwf_complex*>(destination));
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
