// One cached frame of a SpectralBuffer.
#pragma once

#include "spectral/primitives/transform.h"

#include <memory>

// Holds the spectrum, and of the signal it was analysed from only the centre of 2 * H samples, since
// no other is read again. Everything else is scratch of the thread. Where the frame stands is the
// buffer's business, which reads and writes the samples of neighbouring frames together.
//
// The first step of an object's life is assign(). analyse() and synthesise() may then run on any
// thread, for different frames at once; the rest belongs to the buffer's thread.
class ISpectralBufferTransform
{
public:
    virtual ~ISpectralBufferTransform() = default;

    // Makes this a frame of these settings, not yet analysed. Memory is kept when they are those of
    // before.
    virtual void assign(const std::shared_ptr<const Transform>& settings) = 0;
    // Transforms the N samples of the frame, for complex signals (re, im) pairs. Silence costs no DFT.
    virtual void analyse(const float* samples) = 0;
    // Adds the difference between the frame as it is now and as it was analysed (or last synthesised)
    // to middle[-H] .. middle[H - 1] sample points about its centre.
    virtual void synthesise(float* middle) = 0;

    [[nodiscard]] virtual Complex getBin(int32_t bin) const = 0;
    virtual void setBin(int32_t bin, Complex value) = 0;
    // B bins.
    [[nodiscard]] virtual Complex* spectrum() = 0;
    virtual void setSpectrum(const Complex* source) = 0;

    // Real or complex by the sample type of the settings.
    [[nodiscard]] static std::unique_ptr<ISpectralBufferTransform> create(int32_t sampleType);
};
