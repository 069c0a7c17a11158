#include "spectral/spectralbuffertransform.h"

#include "model/types/samplingformat.h"
#include "spectral/primitives/spectrumkernels.h"
#include "spectral/primitives/vectors.h"

#include <algorithm>
#include <type_traits>

namespace {

template<class Sample>
int64_t floats(int64_t samples)
{
    return samples * int64_t(sizeof(Sample) / sizeof(float));
}

// Of one thread: a frame of M samples.
template<class Sample>
Sample* scratch(const Transform& settings)
{
    thread_local ArrayTemplate<Sample> frame;
    frame.resize(settings.dftLength());
    return frame.data();
}

template<class Sample>
class SpectralBufferTransform : public ISpectralBufferTransform
{
public:
    void assign(const std::shared_ptr<const Transform>& settings) override
    {
        m_settings = settings;
        m_spectrum.resize(settings->bins());
        m_baseline.resize(2 * int64_t(settings->hop()));
        m_modified = false;
    }

    void analyse(const float* samples) override;
    void synthesise(float* middle) override;

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
    int64_t centreInFrame() const
    {
        return (m_settings->dftLength() - m_settings->frameSize) / 2 + centreInWindow();
    }

    std::shared_ptr<const Transform> m_settings;
    ArrayTemplate<Complex> m_spectrum;
    // The windowed centre, scaled by M like the output of an inverse transform.
    ArrayTemplate<Sample> m_baseline;
    bool m_modified = false;
};

template<class Sample>
void SpectralBufferTransform<Sample>::analyse(const float* samples)
{
    const int32_t size = m_settings->frameSize;
    if (vec::isZero(samples, floats<Sample>(size))) {
        vec::zero(m_spectrum.data(), m_spectrum.size());
        vec::zero(m_baseline.data(), m_baseline.size());
        return;
    }
    Sample* frame = scratch<Sample>(*m_settings);
    spectrum::windowFrame(frame, reinterpret_cast<const Sample*>(samples), m_settings->analysisWindow.data(),
                          size, m_settings->dftLength());
    m_settings->forward(frame, m_spectrum.data());
    vec::multiplyConstant(m_baseline.data(), frame + centreInFrame(), float(m_settings->dftLength()),
                          m_baseline.size());
}

template<class Sample>
void SpectralBufferTransform<Sample>::synthesise(float* middle)
{
    if (!m_modified)
        return;
    Sample* frame = scratch<Sample>(*m_settings);
    m_settings->inverse(m_spectrum.data(), frame);
    const Sample* centre = frame + centreInFrame();
    const int64_t length = m_baseline.size();
    // What was there before now holds the difference, and the baseline what is there now.
    vec::subtract(m_baseline.data(), centre, m_baseline.data(), length);
    vec::multiply(m_baseline.data(), m_baseline.data(), m_settings->synthesisWindow.data() + centreInWindow(),
                  length);
    float* out = middle - floats<Sample>(m_settings->hop());
    vec::add(out, out, reinterpret_cast<const float*>(m_baseline.data()), floats<Sample>(length));
    vec::copy(m_baseline.data(), centre, length);
    m_modified = false;
}

} // namespace

std::unique_ptr<ISpectralBufferTransform> ISpectralBufferTransform::create(int32_t sampleType)
{
    if (sampleType == SampleTypeReal)
        return std::make_unique<SpectralBufferTransform<float>>();
    return std::make_unique<SpectralBufferTransform<Complex>>();
}
