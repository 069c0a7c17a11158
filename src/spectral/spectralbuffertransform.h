// One cached frame of a SpectralBuffer.
#pragma once

#include "model/ilayer.h"
#include "spectral/primitives/transform.h"

#include <memory>

// Holds the spectrum, and of the signal it was analysed from only the centre of 2 * H samples, since
// no other is read again. Everything else is scratch of the thread.
//
// The first step of an object's life is assign(). analyse() and synthesise() may then run on any
// thread, for different frames at once; the rest belongs to the buffer's thread.
class ISpectralBufferTransform
{
public:
    virtual ~ISpectralBufferTransform() = default;

    // Makes this the frame that begins at sample `start` of `channel`, not yet analysed. Memory is
    // kept when the settings are those of before.
    virtual void assign(const std::shared_ptr<const Transform>& settings, int64_t start, int32_t channel) = 0;
    // Reads the samples and transforms them. Digital silence costs no DFT.
    virtual void analyse(const ILayer& layer) = 0;
    // Adds the difference between the frame as it is now and as it was analysed (or last synthesised)
    // to `target`: 2 * H samples about the centre of the frame. False when they could not be stored.
    virtual bool synthesise(ILayer& target) = 0;

    [[nodiscard]] virtual Complex getBin(int32_t bin) const = 0;
    virtual void setBin(int32_t bin, Complex value) = 0;
    // B bins.
    [[nodiscard]] virtual Complex* spectrum() = 0;
    virtual void setSpectrum(const Complex* source) = 0;

    // Real or complex by the sample type of the settings.
    [[nodiscard]] static std::unique_ptr<ISpectralBufferTransform> create(int32_t sampleType);
};
