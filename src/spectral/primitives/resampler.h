// The converter of formats: rates through soxr, channels through a remix table.
#pragma once

#include "spectral/primitives/iresampler.h"

#include <functional>
#include <memory>
#include <vector>

class SoxrStream;

// The rate is converted on the side with fewer floats a frame: before the remix when the input is not
// wider than the output, after it otherwise. Equal rates never touch soxr, and with an identity
// matrix they copy bit by bit.
//
// Everything answers 0 when a format has no channels or no usable rate, and when the ratio lies outside
// 1/65536 to 65536 or soxr refuses it (error() then tells why). A step of a stream allocates only while its
// blocks still grow.
class Resampler : public IResampler
{
public:
    // Without cells, or with zeros only, `matrix` is replaced by defaultRemix(input, output).
    // `highQuality`: 20 bits of precision, otherwise 16 with an early roll-off.
    Resampler(const SamplingFormat& input, const SamplingFormat& output, const Matrix& matrix,
              bool highQuality);
    // Another rate alone: `ratio` output frames for each input frame.
    Resampler(const SamplingFormat& format, double ratio, bool highQuality);
    ~Resampler() override;

    [[nodiscard]] SamplingFormat inputFormat() const override { return m_input; }
    [[nodiscard]] SamplingFormat outputFormat() const override { return m_output; }
    void setMatrix(const Matrix& matrix) override;
    int64_t latency() override;
    int64_t process(const float* in, int64_t inFrames, float* out, int64_t outFrames) override;
    // Long signals are converted one lane (a float of the frame) on each thread of the pool.
    int64_t processAll(const float* in, int64_t inFrames, float* out, int64_t outFrames) override;
    // Frames [first, first + count) of a signal, valid until the next call. Null stops the conversion.
    using Pieces = std::function<const float*(int64_t first, int64_t count)>;
    // As processAll, for a signal that nobody holds in one piece. It is asked for from its start to its
    // end, on the calling thread and in pieces of a few blocks, so null is soon heard; a piece may begin
    // with frames that the one before held already.
    int64_t processPieces(const Pieces& pieces, int64_t inFrames, float* out, int64_t outFrames);
    [[nodiscard]] bool isEmpty() const override { return m_pending.empty(); }
    [[nodiscard]] int64_t available() const override;
    int64_t read(float* out, int64_t frames) override;
    void clear() override;

    [[nodiscard]] const Matrix& matrix() const { return m_matrix; }
    // Output rate / input rate.
    [[nodiscard]] double ratio() const { return m_ratio; }
    [[nodiscard]] const char* error() const;
    // Whether both formats and their ratio are such that it answers at all.
    [[nodiscard]] bool isUsable() const { return m_usable && !error(); }

private:
    void start();
    [[nodiscard]] int64_t defaultOutput(int64_t inFrames) const;
    int64_t convert(const float* in, int64_t inFrames, float* out, int64_t room);
    int64_t remixAll(const Pieces& pieces, int64_t frames, float* out) const;
    int64_t convertByLanes(const Pieces& pieces, int64_t inFrames, float* out, int64_t outFrames);

    SamplingFormat m_input;
    SamplingFormat m_output;
    Matrix m_matrix;
    double m_ratio = 1;
    bool m_highQuality = true;
    bool m_usable = false; // both formats and the ratio make sense
    bool m_resampleFirst = true;
    bool m_plain = false; // the remix is a copy
    int m_inputLanes = 0; // floats in a frame
    int m_outputLanes = 0;
    int m_lanes = 0;                      // of the side on which the rate is converted
    std::unique_ptr<SoxrStream> m_stream; // null for equal rates
    std::vector<float> m_carry;           // input of m_stream that found no room yet
    std::vector<float> m_scratch;
    std::vector<float> m_pending;
};
