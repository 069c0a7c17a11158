#include "spectral/spectralbuffertransform.h"

#include "model/types/samplingformat.h"
#include "spectral/primitives/vectors.h"

#include <algorithm>
#include <type_traits>

namespace {

float maxAbs(const float* samples, int64_t count)
{
    return vec::maxAbs(samples, count);
}

float maxAbs(const Complex* samples, int64_t count)
{
    return vec::maxAbs(reinterpret_cast<const float*>(samples), 2 * count);
}

float* asFloats(float* samples)
{
    return samples;
}

float* asFloats(Complex* samples)
{
    return reinterpret_cast<float*>(samples);
}

// A frame of M samples for each thread; the padding of `analysis` is kept zero while the settings stay.
template<class Sample>
struct Scratch
{
    ArrayTemplate<Sample> analysis;
    ArrayTemplate<Sample> synthesis;
    int32_t framed = 0; // frame size that the padding of `analysis` was cleared for
};

template<class Sample>
Scratch<Sample>& scratch(const Transform& settings)
{
    thread_local Scratch<Sample> own;
    const int64_t length = settings.dftLength();
    if (own.analysis.size() != length || own.framed != settings.frameSize) {
        own.analysis = ArrayTemplate<Sample>(length);
        own.synthesis = ArrayTemplate<Sample>(length);
        own.framed = settings.frameSize;
    }
    return own;
}

template<class Sample>
class SpectralBufferTransform : public ISpectralBufferTransform
{
public:
    void assign(const std::shared_ptr<const Transform>& settings, int64_t start, int32_t channel) override
    {
        m_settings = settings;
        m_start = start;
        m_channel = channel;
        m_spectrum.resize(settings->bins());
        m_baseline.resize(2 * int64_t(settings->hop()));
        m_modified = false;
    }

    void analyse(const ILayer& layer) override;
    bool synthesise(ILayer& target) override;

    Complex getBin(int32_t bin) const override
    {
        const int64_t index = indexOf(bin);
        return index < 0 ? Complex{} : m_spectrum[index];
    }

    void setBin(int32_t bin, Complex value) override
    {
        const int64_t index = indexOf(bin);
        if (index < 0)
            return;
        m_spectrum[index] = value;
        m_modified = true;
    }

    Complex* spectrum() override { return m_spectrum.data(); }

    void setSpectrum(const Complex* source) override
    {
        if (source != m_spectrum.data())
            vec::copy(m_spectrum.data(), source, m_spectrum.size());
        m_modified = true;
    }

private:
    int64_t indexOf(int32_t bin) const
    {
        const int32_t length = m_settings->dftLength();
        if (bin > length / 2)
            return -1;
        if constexpr (std::is_same_v<Sample, float>)
            return bin < 0 ? -1 : bin;
        else
            return bin < -length / 2 ? -1 : bin < 0 ? bin + length : bin;
    }
    // Where the centre of 2 * H samples begins, in the window and in the padded frame.
    int64_t centreInWindow() const { return m_settings->frameSize / 2 - m_settings->hop(); }
    int64_t padding() const { return (m_settings->dftLength() - m_settings->frameSize) / 2; }

    void clear()
    {
        vec::zero(m_spectrum.data(), m_spectrum.size());
        vec::zero(m_baseline.data(), m_baseline.size());
    }

    std::shared_ptr<const Transform> m_settings;
    int64_t m_start = 0; // first sample of the frame
    int32_t m_channel = 0;
    ArrayTemplate<Complex> m_spectrum;
    // The windowed centre, scaled by M like the output of an inverse transform.
    ArrayTemplate<Sample> m_baseline;
    bool m_modified = false;
};

template<class Sample>
void SpectralBufferTransform<Sample>::analyse(const ILayer& layer)
{
    const int32_t size = m_settings->frameSize;
    // The window is taken as M long here, though only N samples are read: what lies in between is
    // found silent below.
    const Range reach = layer.range().intersected({m_start, m_settings->dftLength()});
    if (reach.isEmpty())
        return clear();
    ArrayTemplate<Sample>& frame = scratch<Sample>(*m_settings).analysis;
    Sample* samples = frame.data() + padding();
    layer.read(asFloats(samples), {m_start, size}, m_channel, true);
    if (maxAbs(samples, size) == 0.0f)
        return clear();
    vec::multiply(samples, samples, m_settings->analysisWindow.data(), size);
    m_settings->forward(frame.data(), m_spectrum.data());
    vec::multiplyConstant(m_baseline.data(), samples + centreInWindow(), float(m_settings->dftLength()),
                          m_baseline.size());
}

template<class Sample>
bool SpectralBufferTransform<Sample>::synthesise(ILayer& target)
{
    if (!m_modified)
        return true;
    ArrayTemplate<Sample>& frame = scratch<Sample>(*m_settings).synthesis;
    m_settings->inverse(m_spectrum.data(), frame.data());
    Sample* centre = frame.data() + padding() + centreInWindow();
    const int64_t length = m_baseline.size();
    // What was there before now holds the difference, and the baseline what is there now.
    vec::subtract(m_baseline.data(), centre, m_baseline.data(), length);
    vec::multiply(m_baseline.data(), m_baseline.data(), m_settings->synthesisWindow.data() + centreInWindow(),
                  length);
    const bool stored =
        target.write(asFloats(m_baseline.data()), {m_start + centreInWindow(), length}, m_channel, false);
    vec::copy(m_baseline.data(), centre, length);
    m_modified = false;
    return stored;
}

} // namespace

std::unique_ptr<ISpectralBufferTransform> ISpectralBufferTransform::create(int32_t sampleType)
{
    if (sampleType == SampleTypeReal)
        return std::make_unique<SpectralBufferTransform<float>>();
    return std::make_unique<SpectralBufferTransform<Complex>>();
}
