// Finds where something short and loud begins.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

struct Transient
{
    int64_t position = 0; // sample points from the first one given: where it begins
    int64_t length = 0;
    double prominence = 0; // dB above what is around
};

// Clicks, strokes and plosives in one channel of a signal. What a linear prediction (Makhoul, 1975) cannot
// foretell is compared, block by block of half a millisecond, with the median of the blocks before and
// after: steady tones and noise are told in advance or are everywhere, a transient is neither.
//
// `sensitivity` 0 to 1: from only what stands out by 36 dB to all that stands out by 6 dB. `samples`: `count`
// points of one channel, of `floats` (1 or 2) each; what is not finite counts as silence, and where the
// samples begin is no transient. The span given should begin and end `transientMargin(rate)` points beside
// what matters. Rising positions. `goesOn` is told how many points have been looked at; none are found once
// it says no.
[[nodiscard]] std::vector<Transient> findTransients(const float* samples, int64_t count, int32_t floats,
                                                    double rate, double sensitivity,
                                                    const std::function<bool(int64_t)>& goesOn = {});
[[nodiscard]] int64_t transientMargin(double rate);
