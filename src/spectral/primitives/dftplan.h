// Plans of the discrete Fourier transform, one for each length and kind in the process.
#pragma once

#include "model/types/arraytemplate.h"

#include <cstdint>
#include <memory>

enum class DftKind { Real, Complex };
enum class DftDirection { Forward, Inverse };

enum class PlanKind;
class PlanSlot;
struct RealDftFactors;

// Both directions of one length; any length from 1. Unscaled. Copies are cheap and share the plans.
// Buffers are aligned to 64 bytes, source and destination may not overlap, and the source is never
// changed. Any number of threads may execute at once, on buffers of their own.
class DftPlan
{
public:
    // Makes the plans, or finds them. Any thread; waits for another thread's planning.
    DftPlan(int32_t length, DftKind kind);

    // `length` reals to length / 2 + 1 values, and back. Kind Real only.
    void forward(const float* source, Complex* destination) const;
    void inverse(const Complex* source, float* destination) const;
    // `length` values to as many. Kind Complex only.
    void forward(const Complex* source, Complex* destination) const;
    void inverse(const Complex* source, Complex* destination) const;

    [[nodiscard]] int32_t length() const { return m_length; }
    [[nodiscard]] DftKind kind() const { return m_kind; }

private:
    friend PlanKind planInForce(const DftPlan& plan, DftDirection direction);

    int32_t m_length;
    DftKind m_kind;
    PlanSlot* m_forward; // live as long as the process, as do the factors
    PlanSlot* m_inverse;
    // Of an even number of reals, which a complex plan of half the length transforms; null otherwise.
    const RealDftFactors* m_factors;
};
