// Moving samples between interleaved storage and the buffers of readers and writers.
#pragma once

#include <cstdint>

namespace samplecopy {

// How samples arrive: in place of what stands there, or on top of it.
enum class Mode { Set, Add };

// `count` floats in a row, times `gain`.
void plain(float* out, const float* in, int64_t count, Mode mode, float gain);
// `frames` groups of `width` floats (1, or 2 for complex samples): contiguous in `out`, `stride`
// floats apart in `in`. Times `gain`.
void gather(float* out, const float* in, int64_t frames, int32_t width, int64_t stride, Mode mode,
            float gain);
// The other way round, without gain.
void scatter(float* out, const float* in, int64_t frames, int32_t width, int64_t stride, Mode mode);

} // namespace samplecopy
