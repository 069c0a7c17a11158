// Conversion of sample streams from one format to another.
#pragma once

#include "model/types/matrix.h"
#include "model/types/samplingformat.h"

#include <cstdint>

// Frames are sample points of all channels, interleaved; complex samples are (re, im) pairs. One
// object belongs to one stream and to one thread at a time. The order of the operations is part of
// the contract with plug-ins, which compile against it: new ones go to the end.
class IResampler
{
public:
    virtual ~IResampler() = default;
    [[nodiscard]] virtual SamplingFormat inputFormat() const = 0;
    [[nodiscard]] virtual SamplingFormat outputFormat() const = 0;
    // Replaces the remix table, between calls of process. Cells beyond the channels are ignored,
    // missing ones are 0.
    virtual void setMatrix(const Matrix& matrix) = 0;
    // Input frames that go in before the first one comes out, and a reserve of 143; 0 when the rates
    // are equal. Measured on the stream, which is at its start afterwards.
    virtual int64_t latency() = 0;
    // One step of a stream. Takes all `inFrames` and makes at most `outFrames` frames, by default (0)
    // as many as the ratio asks for, into `out`, or behind the buffered output when `out` is null.
    // Input that found no room is kept for the next step. A null `in` with 0 frames flushes what the
    // filter still holds; only clear() starts a new stream then. Returns the frames made.
    virtual int64_t process(const float* in, int64_t inFrames, float* out, int64_t outFrames) = 0;
    // A whole signal from its start to its end, whatever the stream has seen; the stream is at its
    // start afterwards. `outFrames` as in process. Returns the frames written.
    virtual int64_t processAll(const float* in, int64_t inFrames, float* out, int64_t outFrames) = 0;
    // The buffered output of steps without `out`.
    [[nodiscard]] virtual bool isEmpty() const = 0;
    [[nodiscard]] virtual int64_t available() const = 0;
    // Takes at most `frames` of it; returns how many.
    virtual int64_t read(float* out, int64_t frames) = 0;
    // Back to the start of a stream, without buffered output.
    virtual void clear() = 0;
};
