// The usual gains from one channel layout to another.
#pragma once

#include "model/types/matrix.h"
#include "model/types/samplingformat.h"

// One row for each channel of `inputMask`, one column for each of `outputMask`, in the order of their
// bits. Between audio layouts each source position takes the first rule that fits:
//
// 1. the target has the position: 1;
// 2. mono into a layout without centre: left and right 1 each; stereo into mono: 0.5 each;
// 3. rear and side of one hand stand for each other at 1, or at 0.7071 when the source has both;
// 4. the position is passed on with a gain to those that stand for it (the two-channel figures of
//    ITU-R BS.775): centre 0.7071 to both fronts; left and right of centre, wide and surround 0.7071
//    to the front of their hand; back centre 0.7071 to both surrounds, else 0.5 to both fronts; a
//    height 0.7071 to the position below it, which may pass it on again; low frequency is dropped.
//
// Into one channel, what would go to a front goes to that channel at half the gain. Positions without
// a name, and channels of other types than audio, go by index.
[[nodiscard]] Matrix defaultRemix(int32_t channelsType, uint64_t inputMask, uint64_t outputMask);

// The same for whole formats: the common channels type, or generic when the types differ. A mask that
// does not fit the channel count is taken as the default one of that count.
[[nodiscard]] Matrix defaultRemix(const SamplingFormat& input, const SamplingFormat& output);
