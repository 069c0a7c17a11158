#include "spectral/primitives/dftplan.h"

#include "spectral/primitives/planning.h"

#include <fftw3.h>

#include <atomic>
#include <cassert>
#include <cstdint>
#include <map>
#include <mutex>
#include <tuple>

namespace {

struct PlanKey
{
    int32_t length;
    DftKind kind;
    DftDirection direction;
    friend auto operator<=>(const PlanKey&, const PlanKey&) = default;
};

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

[[maybe_unused]] bool aligned(const void* pointer)
{
    return reinterpret_cast<std::uintptr_t>(pointer) % ArrayTemplate<float>::alignment == 0;
}

// A planner call; under the cache's lock. `flags` say how hard to look.
fftwf_plan makePlan(const PlanKey& key, unsigned flags)
{
    flags |= FFTW_PRESERVE_INPUT;
    // Measuring writes to the arrays; other plans only look at their alignment.
    const int64_t half = key.length / 2 + 1;
    if (key.kind == DftKind::Complex) {
        ArrayTemplate<Complex> source(key.length), destination(key.length);
        return fftwf_plan_dft_1d(key.length, raw(source.data()), raw(destination.data()),
                                 key.direction == DftDirection::Forward ? FFTW_FORWARD : FFTW_BACKWARD,
                                 flags);
    }
    ArrayTemplate<float> reals(key.length);
    ArrayTemplate<Complex> spectrum(half);
    if (key.direction == DftDirection::Forward)
        return fftwf_plan_dft_r2c_1d(key.length, reals.data(), raw(spectrum.data()), flags);
    return fftwf_plan_dft_c2r_1d(key.length, raw(spectrum.data()), reals.data(), flags);
}

} // namespace

// The plans of one key. Plans are never destroyed: a thread may be running one at any moment, and
// they are as few as the sizes that somebody chose.
class PlanSlot
{
public:
    explicit PlanSlot(const PlanKey& slotKey) : key(slotKey) {}

    const PlanKey key;
    std::atomic<fftwf_plan> current{nullptr};
    // Under the cache's lock.
    fftwf_plan estimated = nullptr;
    fftwf_plan measured = nullptr;
};

namespace {

class PlanCache
{
public:
    // Lives until the process ends, as transforms may run until then.
    static PlanCache& instance()
    {
        static PlanCache& cache = *std::make_unique<PlanCache>().release();
        return cache;
    }

    PlanCache() { fftwf_make_planner_thread_safe(); }

    PlanSlot* slot(const PlanKey& key)
    {
        const std::lock_guard locker(m_lock);
        auto& slot = m_slots[key];
        if (!slot)
            slot = std::make_unique<PlanSlot>(key);
        choose(*slot);
        return slot.get();
    }

    void setPlanning(Planning planning)
    {
        const std::lock_guard locker(m_lock);
        m_planning = planning;
    }

private:
    void choose(PlanSlot& slot)
    {
        if (!slot.estimated)
            slot.estimated = makePlan(slot.key, FFTW_ESTIMATE);
        if (m_planning == Planning::Measured && !slot.measured)
            slot.measured = makePlan(slot.key, FFTW_MEASURE);
        const bool measured = m_planning == Planning::Measured && slot.measured;
        slot.current.store(measured ? slot.measured : slot.estimated, std::memory_order_release);
    }

    std::mutex m_lock; // also FFTW's planner, for all that this program plans
    Planning m_planning = Planning::Estimate;
    std::map<PlanKey, std::unique_ptr<PlanSlot>> m_slots;
};

} // namespace

void initializePrimitives()
{
    PlanCache::instance();
}

void setPlanning(Planning planning)
{
    PlanCache::instance().setPlanning(planning);
}

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
    fftwf_execute_dft_r2c(m_forward->current.load(std::memory_order_acquire), raw(source), raw(destination));
}

void DftPlan::inverse(const Complex* source, float* destination) const
{
    assert(m_kind == DftKind::Real && aligned(source) && aligned(destination));
    fftwf_execute_dft_c2r(m_inverse->current.load(std::memory_order_acquire), raw(source), destination);
}

void DftPlan::forward(const Complex* source, Complex* destination) const
{
    assert(m_kind == DftKind::Complex && aligned(source) && aligned(destination));
    fftwf_execute_dft(m_forward->current.load(std::memory_order_acquire), raw(source), raw(destination));
}

void DftPlan::inverse(const Complex* source, Complex* destination) const
{
    assert(m_kind == DftKind::Complex && aligned(source) && aligned(destination));
    fftwf_execute_dft(m_inverse->current.load(std::memory_order_acquire), raw(source), raw(destination));
}
