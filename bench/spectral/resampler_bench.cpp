// Converting 10 minutes of stereo from 44.1 to 48 kHz, against soxr itself fed in blocks.
#include "spectral/primitives/resampler.h"

#include "base/parallel.h"

#include <benchmark/benchmark.h>

#include <random>
#include <vector>

#include <QThreadPool>

#include <soxr.h>

namespace {

constexpr int64_t frames = 600 * 44100;
constexpr int64_t outFrames = 600 * 48000;

const std::vector<float>& signal()
{
    static const std::vector<float> values = [] {
        std::mt19937 random(1);
        std::vector<float> result(std::size_t(2 * frames));
        for (float& value : result)
            value = float(int32_t(random())) * 0x1p-32f;
        return result;
    }();
    return values;
}

std::vector<float>& target()
{
    static std::vector<float> values(std::size_t(2 * outFrames));
    return values;
}

void feedBlocks(const float* in, float* out, unsigned lanes)
{
    const soxr_io_spec_t io = soxr_io_spec(SOXR_FLOAT32_I, SOXR_FLOAT32_I);
    const soxr_quality_spec_t quality = soxr_quality_spec(SOXR_HQ, 0);
    soxr_t soxr = soxr_create(44100, 48000, lanes, nullptr, &io, &quality, nullptr);
    std::size_t left = frames;
    std::size_t room = outFrames;
    while (room > 0) {
        std::size_t used = 0;
        std::size_t made = 0;
        const std::size_t block = std::min<std::size_t>(left, 40000);
        soxr_process(soxr, block ? in : nullptr, block, &used, out, room, &made);
        if (!block && !made)
            break;
        in += used * lanes;
        left -= used;
        out += made * lanes;
        room -= made;
    }
    soxr_delete(soxr);
}

void bareStereo(benchmark::State& state)
{
    for (auto _ : state)
        feedBlocks(signal().data(), target().data(), 2);
}

// Two mono signals of the same length, one on each thread: no interleaving at all.
void bareChannelOnEachThread(benchmark::State& state)
{
    for (auto _ : state)
        parallelFor(2, [](int64_t channel) {
            feedBlocks(signal().data() + channel * frames, target().data() + channel * outFrames, 1);
        });
}

void resampler(benchmark::State& state)
{
    QThreadPool::globalInstance()->setMaxThreadCount(int(state.range(0)));
    SamplingFormat from{SampleTypeReal, 44100, ChannelsTypeAudio, 2, 3};
    SamplingFormat to{SampleTypeReal, 48000, ChannelsTypeAudio, 2, 3};
    for (auto _ : state) {
        Resampler converter(from, to, Matrix(), true);
        if (converter.processAll(signal().data(), frames, target().data(), 0) != outFrames)
            state.SkipWithError("wrong count");
    }
    QThreadPool::globalInstance()->setMaxThreadCount(2);
}

BENCHMARK(bareStereo)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(bareChannelOnEachThread)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(resampler)->Arg(1)->Arg(2)->UseRealTime()->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
