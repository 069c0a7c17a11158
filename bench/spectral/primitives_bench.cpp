// Transforms and vector operations against the bare kernels that they need, at the size of the
// default picture: N 2048, zero padding 2, so a DFT of 4096 and 2049 bins. The two sides of a ratio
// carry one name with another ending.
#include "base/denormals.h"
#include "spectral/primitives/cpu.h"
#include "spectral/primitives/dftplan.h"
#include "spectral/primitives/planning.h"
#include "spectral/primitives/spectrumkernels.h"
#include "spectral/primitives/transform.h"
#include "spectral/primitives/vectors.h"

#include <benchmark/benchmark.h>
#include <fftw3.h>

#include <cstring>
#include <random>

namespace {

constexpr int frameSize = 2048;
constexpr int dftLength = 4096;
constexpr int bins = dftLength / 2 + 1;

ArrayTemplate<float> noise(int64_t count, float size = 1)
{
    std::mt19937 generator(1);
    std::uniform_real_distribution<float> values(-size, size);
    ArrayTemplate<float> result(count);
    for (float& value : result)
        value = values(generator);
    return result;
}

fftwf_complex* raw(ArrayTemplate<Complex>& values)
{
    return reinterpret_cast<fftwf_complex*>(values.data());
}

// Buffers of one column.
struct Column
{
    Transform transform{1, WindowType::BlackmanHarris, frameSize, 8, 2};
    ArrayTemplate<float> samples = noise(frameSize);
    ArrayTemplate<float> frame{dftLength}, magnitudes{bins}, time{bins + 1}, frequency{bins + 1},
        row{2 * bins};
    ArrayTemplate<Complex> x{bins}, xt{bins}, xd{bins};

    void spectrumUnder(const ArrayTemplate<float>& window, ArrayTemplate<Complex>& spectrum)
    {
        spectrum::windowFrame(frame.data(), samples.data(), window.data(), frameSize, dftLength);
        transform.forward(frame.data(), spectrum.data());
    }
};

// --- bare FFTW and Transform --------------------------------------------------------------------

void bareDft(benchmark::State& state, unsigned flags)
{
    const int length = int(state.range(0));
    ArrayTemplate<float> source(length);
    ArrayTemplate<Complex> spectrum(length / 2 + 1);
    fftwf_forget_wisdom();
    const fftwf_plan plan =
        fftwf_plan_dft_r2c_1d(length, source.data(), raw(spectrum), flags | FFTW_PRESERVE_INPUT);
    source = noise(length);
    for ([[maybe_unused]] auto _ : state)
        fftwf_execute_dft_r2c(plan, source.data(), raw(spectrum));
    fftwf_destroy_plan(plan);
}
void Dft_BareEstimated(benchmark::State& state)
{
    bareDft(state, FFTW_ESTIMATE);
}
void Dft_BareMeasured(benchmark::State& state)
{
    bareDft(state, FFTW_MEASURE);
}
void Dft_Transform(benchmark::State& state)
{
    const int length = int(state.range(0));
    const Transform transform(1, WindowType::Hann, length / 2, 8, 2);
    const ArrayTemplate<float> source = noise(length);
    ArrayTemplate<Complex> spectrum(length / 2 + 1);
    for ([[maybe_unused]] auto _ : state)
        transform.forward(source.data(), spectrum.data());
}
BENCHMARK(Dft_BareEstimated)->Arg(4096)->Arg(16384)->Arg(65536);
BENCHMARK(Dft_Transform)->Arg(4096)->Arg(16384)->Arg(65536);
BENCHMARK(Dft_BareMeasured)->Arg(4096)->Arg(16384)->Arg(65536);

// --- one column of the picture ------------------------------------------------------------------

void Column_BareDft(benchmark::State& state)
{
    Column c;
    for ([[maybe_unused]] auto _ : state)
        c.transform.forward(c.frame.data(), c.x.data());
}
void Column_Magnitudes(benchmark::State& state)
{
    Column c;
    for ([[maybe_unused]] auto _ : state) {
        c.spectrumUnder(c.transform.analysisWindow, c.x);
        vec::magnitude(c.magnitudes.data(), c.x.data(), bins);
    }
}
void Column_ThreeBareDfts(benchmark::State& state)
{
    Column c;
    for ([[maybe_unused]] auto _ : state)
        for (auto* spectrum : {&c.x, &c.xt, &c.xd})
            c.transform.forward(c.frame.data(), spectrum->data());
}
void Column_RefinedWithPyramid(benchmark::State& state)
{
    Column c;
    for ([[maybe_unused]] auto _ : state) {
        c.spectrumUnder(c.transform.analysisWindow, c.x);
        c.spectrumUnder(c.transform.timeWindow, c.xt);
        c.spectrumUnder(c.transform.derivativeWindow, c.xd);
        spectrum::magnitudesAndShifts(c.magnitudes.data(), c.time.data(), c.frequency.data(),
                                      {c.x.data(), c.xt.data(), c.xd.data(), bins, false});
        spectrum::refine(c.row.data(), c.magnitudes.data(), {c.time.data(), c.frequency.data()},
                         {c.time.data(), c.frequency.data()}, bins, {1, 1, 1});
        spectrum::buildPyramid(c.row.data(), bins - 1);
    }
}
BENCHMARK(Column_BareDft);
BENCHMARK(Column_Magnitudes);
BENCHMARK(Column_ThreeBareDfts);
BENCHMARK(Column_RefinedWithPyramid);

// --- single kernels and a copy of as many bytes ---------------------------------------------------

void Kernel_WindowFrame(benchmark::State& state)
{
    Column c;
    for ([[maybe_unused]] auto _ : state)
        spectrum::windowFrame(c.frame.data(), c.samples.data(), c.transform.analysisWindow.data(), frameSize,
                              dftLength);
}
void Kernel_Shifts(benchmark::State& state)
{
    Column c;
    c.spectrumUnder(c.transform.analysisWindow, c.x);
    c.spectrumUnder(c.transform.timeWindow, c.xt);
    c.spectrumUnder(c.transform.derivativeWindow, c.xd);
    for ([[maybe_unused]] auto _ : state)
        spectrum::magnitudesAndShifts(c.magnitudes.data(), c.time.data(), c.frequency.data(),
                                      {c.x.data(), c.xt.data(), c.xd.data(), bins, false});
}
void Kernel_Refine(benchmark::State& state)
{
    const ArrayTemplate<float> magnitudes = noise(bins), shifts = noise(bins + 1, 2);
    ArrayTemplate<float> row(bins);
    for ([[maybe_unused]] auto _ : state)
        spectrum::refine(row.data(), magnitudes.data(), {shifts.data(), shifts.data()},
                         {shifts.data(), shifts.data()}, bins, {1, 1, 1});
}
void Kernel_Pyramid(benchmark::State& state)
{
    ArrayTemplate<float> row = noise(2 * bins);
    for ([[maybe_unused]] auto _ : state)
        spectrum::buildPyramid(row.data(), bins - 1);
}
// 900 rows of the picture with four taps each.
void gatherRows(benchmark::State& state, bool dispatched)
{
    constexpr int rows = 900;
    const ArrayTemplate<float> source = noise(2 * bins);
    ArrayTemplate<float> weights[4], out(rows);
    ArrayTemplate<int32_t> indices[4];
    spectrum::Taps taps;
    taps.count = 4;
    for (int t = 0; t < 4; ++t) {
        weights[t] = noise(rows);
        indices[t].resize(rows);
        for (int r = 0; r < rows; ++r)
            indices[t][r] = r * 2 + t;
        taps.weights[t] = weights[t].data();
        taps.indices[t] = indices[t].data();
    }
    for ([[maybe_unused]] auto _ : state) {
        if (dispatched) {
            spectrum::gather(out.data(), source.data(), taps, rows);
        } else {
            for (int r = 0; r < rows; ++r)
                out[r] = source[indices[0][r]] * weights[0][r] + source[indices[1][r]] * weights[1][r] +
                         source[indices[2][r]] * weights[2][r] + source[indices[3][r]] * weights[3][r];
            benchmark::DoNotOptimize(out.data());
            benchmark::ClobberMemory();
        }
    }
}
void Kernel_Gather(benchmark::State& state)
{
    gatherRows(state, true);
}
void Kernel_GatherOneByOne(benchmark::State& state)
{
    gatherRows(state, false);
}
BENCHMARK(Kernel_WindowFrame);
BENCHMARK(Kernel_Shifts);
BENCHMARK(Kernel_Refine);
BENCHMARK(Kernel_Pyramid);
BENCHMARK(Kernel_Gather);
BENCHMARK(Kernel_GatherOneByOne);

void Vector_Memcpy(benchmark::State& state)
{
    const ArrayTemplate<float> source = noise(state.range(0));
    ArrayTemplate<float> destination(state.range(0));
    for ([[maybe_unused]] auto _ : state) {
        std::memcpy(destination.data(), source.data(), source.bytes());
        benchmark::DoNotOptimize(destination.data());
        benchmark::ClobberMemory();
    }
}
void Vector_Multiply(benchmark::State& state)
{
    const ArrayTemplate<float> source = noise(state.range(0));
    ArrayTemplate<float> destination(state.range(0));
    for ([[maybe_unused]] auto _ : state)
        vec::multiply(destination.data(), source.data(), source.data(), source.size());
}
void Vector_MultiplyAdd(benchmark::State& state)
{
    const ArrayTemplate<float> source = noise(state.range(0));
    ArrayTemplate<float> destination(state.range(0));
    for ([[maybe_unused]] auto _ : state)
        vec::multiplyAdd(destination.data(), source.data(), 1e-9f, source.size());
}
void Vector_Sum(benchmark::State& state)
{
    const ArrayTemplate<float> source = noise(state.range(0));
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(vec::sum(source.data(), source.size()));
}
BENCHMARK(Vector_Memcpy)->Arg(4096)->Arg(1 << 22);
BENCHMARK(Vector_Multiply)->Arg(4096)->Arg(1 << 22);
BENCHMARK(Vector_MultiplyAdd)->Arg(4096)->Arg(1 << 22);
BENCHMARK(Vector_Sum)->Arg(4096)->Arg(1 << 22);

// --- denormal numbers -----------------------------------------------------------------------------

void columnOfSize(benchmark::State& state, float size)
{
    Column c;
    c.samples = noise(frameSize, size);
    for ([[maybe_unused]] auto _ : state) {
        c.spectrumUnder(c.transform.analysisWindow, c.x);
        vec::magnitude(c.magnitudes.data(), c.x.data(), bins);
    }
}
void Tail_Normal(benchmark::State& state)
{
    columnOfSize(state, 1);
}
void Tail_Denormal(benchmark::State& state)
{
    columnOfSize(state, 1e-38f);
}
BENCHMARK(Tail_Normal);
BENCHMARK(Tail_Denormal);

} // namespace

// Words beside the library's options: "measured" runs the transforms on measured plans, "denormals"
// leaves denormal numbers as they are, "AVX2" and the like force that vector code.
int main(int argc, char** argv)
{
    initializePrimitives();
    bool slowDenormals = false;
    for (int i = 1; i < argc; ++i) {
        const QString word = QString::fromLocal8Bit(argv[i]);
        if (word == QLatin1String("measured"))
            setPlanning(Planning::Measured);
        else if (word == QLatin1String("denormals"))
            slowDenormals = true;
        else
            cpu::forceVectorTarget(word);
    }
    if (!slowDenormals)
        disableDenormals();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
