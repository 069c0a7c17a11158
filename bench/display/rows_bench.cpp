// Rows of one column, and columns in between, against the bare transform of a column at the defaults:
// 4096 points of a real signal, 900 rows. The counter `transforms` is the ratio.
#include "display/scales/convert.h"
#include "spectral/primitives/transform.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <vector>

namespace {

constexpr int rows = 900;

template<class Function>
double secondsOf(Function function)
{
    constexpr int calls = 200;
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < calls; ++i)
        function();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count() / calls;
}

// Median of batches measured in turn with the kernel's own, so that a change of the clock meets both.
template<class Function>
void compare(benchmark::State& state, Function function)
{
    const Transform transform(1, WindowType::BlackmanHarris, 2048, 8, 2);
    ArrayTemplate<float> frame(transform.dftLength());
    std::fill(frame.begin(), frame.end(), 0.25f);
    ArrayTemplate<Complex> spectrum(transform.bins());
    std::vector<double> ratios;
    for (auto _ : state) {
        const double kernel = secondsOf([&] { transform.forward(frame.data(), spectrum.data()); });
        const double own = secondsOf(function);
        ratios.push_back(own / kernel);
        state.SetIterationTime(own);
    }
    std::nth_element(ratios.begin(), ratios.begin() + ratios.size() / 2, ratios.end());
    state.counters["transforms"] = ratios[ratios.size() / 2];
}

Convert makeConvert(Filtering filtering)
{
    const SamplingFormat format{SampleTypeReal, 48000, ChannelsTypeAudio, 1, 4};
    const TransformSettings settings(1, WindowType::BlackmanHarris, 2048, 8, 2);
    return {format,          settings,       TimeUnit::Samples, PowerUnit::Normalized,
            FreqUnit::Hertz, FreqScale::Mel, filtering};
}

void projectColumn(benchmark::State& state)
{
    Convert convert = makeConvert(Filtering(state.range(0)));
    convert.buildRowTable({0, 0, 1, 24000}, rows, true);
    ArrayTemplate<float> column(4096);
    std::fill(column.begin(), column.end(), 0.5f);
    ArrayTemplate<float> picture(rows);
    compare(state, [&] {
        convert.projectColumn(column.data(), picture.data());
        benchmark::ClobberMemory();
    });
}
BENCHMARK(projectColumn)->DenseRange(0, 2)->UseManualTime()->Iterations(101)->Unit(benchmark::kMicrosecond);

void interpolateColumn(benchmark::State& state)
{
    Convert convert = makeConvert(Filtering::Cubic);
    convert.buildCubicTable(2);
    constexpr int64_t columns = 800;
    ArrayTemplate<float> block(((columns - 1) * 2 + 1) * rows);
    std::fill(block.begin(), block.end(), 0.5f);
    int64_t gap = 0;
    compare(state, [&] {
        convert.interpolateColumns(block.data(), rows, columns, gap);
        gap = (gap + 1) % (columns - 1);
        benchmark::ClobberMemory();
    });
}
BENCHMARK(interpolateColumn)->UseManualTime()->Iterations(101)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
