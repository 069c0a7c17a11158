// The editable short-time Fourier view of one layer, as plug-ins and editors see it.
#pragma once

#include "model/types/arraytemplate.h"

#include <cstdint>

// Frames are numbered from the hop H of the transform: frame f is centred on sample H * f and covers
// [H * f - N / 2, H * f - N / 2 + N); frames exist for negative f. Bins are those of Transform: B
// values, for a complex signal 0 up and then the negative ones. One thread at a time.
//
// The order of the operations is part of the contract with plug-ins.
class ISpectralBuffer
{
public:
    // `bin` from 0 to M / 2, for complex signals from -M / 2 to M / 2 (where M / 2 means -M / 2).
    // Other bins read 0 and are not set; so is everything without a layer or settings.
    [[nodiscard]] virtual Complex getBin(int64_t frame, int32_t channel, int32_t bin) = 0;
    virtual void setBin(int64_t frame, int32_t channel, int32_t bin, Complex value) = 0;
    // With a null `destination`: the frame's own B bins, to be changed in place and then handed to
    // setFrame; valid until the next call that names another frame. Otherwise the bins are copied
    // there, and `destination` is returned. Without a layer or settings: zeros.
    virtual Complex* getFrame(int64_t frame, int32_t channel, Complex* destination) = 0;
    // Takes the B bins of `source` (which may be the frame's own).
    virtual void setFrame(int64_t frame, int32_t channel, const Complex* source) = 0;
    // Writes what is pending, forgets all frames and removes the samples of the layer.
    virtual void clearLayer() = 0;
    // Writes the changes of all frames to the samples. False when the samples could not be stored: the
    // layer remembers why, changes may have been stored in part, and the edit must be rolled back.
    virtual bool commit() = 0;
    // commit(), then forgets all frames, so that the next ones are analysed from the samples as they
    // are. Needed after samples were changed by other means, and before an operation that reads
    // frames next to those that the last one changed.
    virtual bool release() = 0;
    virtual ~ISpectralBuffer() = default;
};
