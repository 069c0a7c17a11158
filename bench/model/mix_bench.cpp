// A mix of many layers in the blocks of a sound device, against a plain sum of the same blocks.
#include "base/denormals.h"
#include "model/layergroup.h"
#include "spectral/primitives/vectors.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <vector>

#include <QCoreApplication>
#include <QTemporaryDir>
#include <QVariant>

namespace {

constexpr int layerCount = 64;
constexpr int64_t block = 512;
constexpr double rate = 48000;
constexpr int64_t frames = int64_t(rate) * 10 / block * block;

const SamplingFormat mono{SampleTypeReal, rate, ChannelsTypeAudio, 1, 4};

double now(clockid_t clock)
{
    timespec time;
    clock_gettime(clock, &time);
    return double(time.tv_sec) + 1e-9 * double(time.tv_nsec);
}

// Calls sum(at) for each block and tells the worst one, in percent of the block's length in time: by the
// clock on the wall, where whatever else the machine does counts too, and by the thread's own.
template<class Sum>
void blocks(benchmark::State& state, const Sum& sum)
{
    disableDenormals();
    double worstWall = 0, worstThread = 0;
    for (auto _ : state)
        for (int64_t at = 0; at < frames; at += block) {
            const double wall = now(CLOCK_MONOTONIC), thread = now(CLOCK_THREAD_CPUTIME_ID);
            sum(at);
            worstThread = std::max(worstThread, now(CLOCK_THREAD_CPUTIME_ID) - thread);
            worstWall = std::max(worstWall, now(CLOCK_MONOTONIC) - wall);
        }
    constexpr double percent = 100 * rate / block;
    state.counters["worst_%"] = worstWall * percent;
    state.counters["worst_cpu_%"] = worstThread * percent;
    state.counters["per_block_us"] =
        benchmark::Counter(1e-6 * double(frames / block),
                           benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void mixOf64(benchmark::State& state)
{
    const LayerGroupPtr group = LayerGroup::create(mono);
    const std::vector<float> samples(frames, 0.01f);
    for (int i = 0; i < layerCount; ++i) {
        const LayerPtr layer = Layer::create(mono, {}, 0, false);
        if (!layer->write(samples.data(), {0, frames}, -1, true) || !group->appendChild(layer))
            std::abort();
    }
    std::vector<float> out(block);
    blocks(state, [&](int64_t at) {
        group->read(out.data(), {at, block}, -1, true);
        benchmark::DoNotOptimize(out.data());
    });
}

void mixOf64Kernel(benchmark::State& state)
{
    const std::vector<std::vector<float>> layers(layerCount, std::vector<float>(frames, 0.01f));
    std::vector<float> out(block);
    blocks(state, [&](int64_t at) {
        vec::zero(out.data(), block);
        for (const std::vector<float>& layer : layers)
            vec::add(out.data(), out.data(), layer.data() + at, block);
        benchmark::DoNotOptimize(out.data());
    });
}

BENCHMARK(mixOf64)->Unit(benchmark::kMillisecond);
BENCHMARK(mixOf64Kernel)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    const QTemporaryDir folder;
    application.setProperty("sessionpath", folder.path());
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
