#include "spectral/primitives/soxrstream.h"

#include <cstddef>

#include <soxr.h>

namespace {

struct Specs
{
    soxr_io_spec_t io = soxr_io_spec(SOXR_FLOAT32_I, SOXR_FLOAT32_I);
    soxr_quality_spec_t quality;

    explicit Specs(bool highQuality) : quality(soxr_quality_spec(highQuality ? SOXR_HQ : SOXR_LQ, 0)) {}
};

} // namespace

SoxrStream::SoxrStream(double inputRate, double outputRate, int lanes, bool highQuality)
{
    const Specs specs(highQuality);
    m_soxr =
        soxr_create(inputRate, outputRate, unsigned(lanes), &m_error, &specs.io, &specs.quality, nullptr);
}

SoxrStream::~SoxrStream()
{
    if (m_soxr)
        soxr_delete(m_soxr);
}

SoxrStream::Step SoxrStream::process(const float* in, int64_t inFrames, float* out, int64_t room)
{
    if (!m_soxr)
        return {};
    std::size_t used = 0;
    std::size_t made = 0;
    const soxr_error_t error =
        soxr_process(m_soxr, in, in ? std::size_t(inFrames) : 0, &used, out, std::size_t(room), &made);
    if (error) {
        m_error = error;
        return {};
    }
    return {int64_t(used), int64_t(made)};
}

void SoxrStream::clear()
{
    if (m_soxr)
        m_error = soxr_clear(m_soxr);
}

int64_t SoxrStream::oneShot(double inputRate, double outputRate, int lanes, bool highQuality, const float* in,
                            int64_t inFrames, float* out, int64_t room)
{
    const Specs specs(highQuality);
    std::size_t used = 0;
    std::size_t made = 0;
    const soxr_error_t error =
        soxr_oneshot(inputRate, outputRate, unsigned(lanes), in, std::size_t(inFrames), &used, out,
                     std::size_t(room), &made, &specs.io, &specs.quality, nullptr);
    return error ? 0 : int64_t(made);
}
