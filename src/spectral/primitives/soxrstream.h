// One soxr resampler with its lifetime. Used by Resampler alone.
#pragma once

#include <cstdint>

struct soxr;

// `lanes` interleaved floats a frame. Not usable when soxr refused the rates; everything then
// answers 0.
class SoxrStream
{
public:
    SoxrStream(double inputRate, double outputRate, int lanes, bool highQuality);
    ~SoxrStream();
    SoxrStream(const SoxrStream&) = delete;
    SoxrStream& operator=(const SoxrStream&) = delete;

    struct Step
    {
        int64_t used = 0; // input frames
        int64_t made = 0; // output frames
    };
    // Takes as much input as the room for output allows. A null `in` tells the end of the input.
    Step process(const float* in, int64_t inFrames, float* out, int64_t room);
    void clear();

    // The same for a short signal held whole in memory; returns the frames made.
    static int64_t oneShot(double inputRate, double outputRate, int lanes, bool highQuality, const float* in,
                           int64_t inFrames, float* out, int64_t room);

    // soxr's words for the last failure, or null.
    [[nodiscard]] const char* error() const { return m_error; }

private:
    soxr* m_soxr = nullptr;
    const char* m_error = nullptr;
};
