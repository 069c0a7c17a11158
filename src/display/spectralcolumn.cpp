#include "display/spectralcolumn.h"

#include "spectral/primitives/spectrumkernels.h"
#include "spectral/primitives/vectors.h"

#include <cstring>

namespace {

// Buffers of one pool thread, reused for every column of every picture. T as in the column.
template<class T>
struct ColumnScratch
{
    T samples;
    T frame;
    int frameSize = 0;
    ArrayTemplate<Complex> spectrum;
    ArrayTemplate<Complex> ramped;
    ArrayTemplate<Complex> derived;

    // The samples times `window` in the middle of M values; the padding around them stays zero.
    const T& windowed(const typename T::Value* input, const ArrayTemplate<float>& window,
                      const Transform& settings)
    {
        const int64_t length = settings.dftLength();
        const int64_t size = settings.frameSize;
        if (frame.size() != length || frameSize != size) {
            frame = T(length);
            frameSize = settings.frameSize;
        }
        vec::multiply(frame.data() + (length - size) / 2, input, window.data(), size);
        return frame;
    }
};

template<class T>
ColumnScratch<T>& scratch()
{
    thread_local ColumnScratch<T> buffers;
    return buffers;
}

template<class T>
void fetchAhead(const T& array)
{
    const auto* bytes = reinterpret_cast<const char*>(array.data());
    for (std::size_t i = 0; i < array.bytes(); i += 64)
        __builtin_prefetch(bytes + i, 1, 2);
}

// Answers whether the array was empty although it is needed.
bool prepareShifts(ArrayTemplate<float>& shifts, float factor, int64_t bins)
{
    const bool missing = factor > 0 && shifts.isEmpty();
    shifts.resize(factor > 0 ? bins + 1 : 0);
    return missing;
}

} // namespace

template<class T>
const float* SpectralTextureTransform<T>::readSamples(const ColumnContext& context) const
{
    T& samples = scratch<T>().samples;
    samples.resize(context.settings->frameSize);
    auto* data = reinterpret_cast<float*>(samples.data());
    context.layer->read(data, {m_position, samples.size()}, context.channel, true, true);
    return data;
}

template<class T>
bool SpectralTextureTransform<T>::run(const ColumnContext& context, const float* samples)
{
    const Transform& settings = *context.settings;
    const int64_t bins = settings.bins();
    const bool resized = m_magnitudes.size() != bins;
    m_magnitudes.resize(bins);
    const bool needTime = prepareShifts(m_timeShifts, context.timeSharpen, bins);
    const bool needFreq = prepareShifts(m_freqShifts, context.freqSharpen, bins);
    const Range frame{m_position, context.frameSpan};
    if (frame.intersected(context.layerRange).isEmpty())
        return silence() || resized;

    if (!samples)
        samples = readSamples(context);
    if (!m_moved && !m_silent && !needTime && !needFreq && sameSettings(m_snapshot, settings) &&
        std::memcmp(samples, m_samples.data(), m_samples.bytes()) == 0)
        return false;
    m_moved = false;
    m_silent = false;
    m_snapshot = settings;
    m_samples.resize(settings.frameSize);
    fetchAhead(m_samples);
    transform(context, reinterpret_cast<const typename T::Value*>(samples));
    std::memcpy(static_cast<void*>(m_samples.data()), samples, m_samples.bytes());
    return true;
}

template<class T>
bool SpectralTextureTransform<T>::silence()
{
    // Sizes that change come up as zeros.
    if (m_silent)
        return false;
    for (ArrayTemplate<float>* array : {&m_magnitudes, &m_timeShifts, &m_freqShifts})
        vec::zero(array->data(), array->size());
    m_silent = true;
    return true;
}

template<class T>
void SpectralTextureTransform<T>::transform(const ColumnContext& context, const typename T::Value* samples)
{
    const Transform& settings = *context.settings;
    ColumnScratch<T>& buffers = scratch<T>();
    const auto spectrumUnder = [&](const ArrayTemplate<float>& window, ArrayTemplate<Complex>& spectrum) {
        spectrum.resize(settings.bins());
        settings.forward(buffers.windowed(samples, window, settings).data(), spectrum.data());
        return spectrum.data();
    };
    // Their lines come from far away, since a picture's columns are more than the caches hold: asked
    // for here they arrive while the transform runs.
    fetchAhead(m_magnitudes);
    spectrum::ShiftSpectra spectra;
    spectra.bins = settings.bins();
    spectra.cyclic = settings.sampleType != SampleTypeReal;
    spectra.x = spectrumUnder(settings.analysisWindow, buffers.spectrum);
    if (context.timeSharpen > 0)
        spectra.xt = spectrumUnder(settings.timeWindow, buffers.ramped);
    if (context.freqSharpen > 0)
        spectra.xd = spectrumUnder(settings.derivativeWindow, buffers.derived);
    spectrum::magnitudesAndShifts(m_magnitudes.data(), m_timeShifts.data(), m_freqShifts.data(), spectra);
}

template class SpectralTextureTransform<ArrayTemplate<float>>;
template class SpectralTextureTransform<ArrayTemplate<Complex>>;

std::unique_ptr<ISpectralTextureTransform> makeColumn(const TransformSettings& settings)
{
    if (settings.sampleType == SampleTypeReal)
        return std::make_unique<SpectralTextureTransform<ArrayTemplate<float>>>();
    return std::make_unique<SpectralTextureTransform<ArrayTemplate<Complex>>>();
}
