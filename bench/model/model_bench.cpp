// Layers against the bare memory traffic that they stand for. Each layer benchmark has a kernel of
// the same name; docs/performance.md speaks of their ratio.
#include "base/denormals.h"
#include "base/sessionfile.h"
#include "model/layergroup.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

#include <QCoreApplication>
#include <QTemporaryDir>
#include <QVariant>

namespace {

constexpr int64_t mixFrames = 480000; // 10 s
constexpr int64_t mixBlock = 4096;
constexpr int mixLayers = 4;

SamplingFormat formatOf(int channels)
{
    return {SampleTypeReal, 48000, ChannelsTypeAudio, channels, (1ULL << channels) - 1};
}

LayerPtr layerOf(int channels, int64_t frames, float value)
{
    const LayerPtr layer = Layer::create(formatOf(channels), {}, 0, false);
    const std::vector<float> samples(std::size_t(frames * channels), value);
    if (!layer->write(samples.data(), {0, frames}, -1, true))
        std::abort();
    return layer;
}

LayerGroupPtr mixOf(float value)
{
    const LayerGroupPtr group = LayerGroup::create(formatOf(2));
    for (int i = 0; i < mixLayers; ++i)
        group->appendChild(layerOf(2, mixFrames, value));
    return group;
}

void readMix(benchmark::State& state, float value)
{
    disableDenormals();
    const LayerGroupPtr group = mixOf(value);
    std::vector<float> out(std::size_t(2 * mixBlock));
    for (auto _ : state)
        for (int64_t at = 0; at + mixBlock <= mixFrames; at += mixBlock) {
            group->read(out.data(), {at, mixBlock}, -1, true);
            benchmark::DoNotOptimize(out.data());
        }
    state.SetBytesProcessed(state.iterations() * mixLayers * mixFrames * 8);
}

// Four stereo layers of 10 s, read as a mix in blocks of 4096; the kernel copies the same samples.
void mix(benchmark::State& state)
{
    readMix(state, 0.25f);
}
BENCHMARK(mix);

void mixKernel(benchmark::State& state)
{
    std::vector<std::vector<float>> layers(mixLayers, std::vector<float>(std::size_t(2 * mixFrames), 0.25f));
    std::vector<float> out(std::size_t(2 * mixBlock));
    for (auto _ : state)
        for (int64_t at = 0; at + mixBlock <= mixFrames; at += mixBlock)
            for (const std::vector<float>& layer : layers) {
                std::memcpy(out.data(), layer.data() + 2 * at, std::size_t(mixBlock) * 8);
                benchmark::DoNotOptimize(out.data());
            }
    state.SetBytesProcessed(state.iterations() * mixLayers * mixFrames * 8);
}
BENCHMARK(mixKernel);

// The same mix over a tail of denormal numbers: to be compared with mix.
void mixDenormal(benchmark::State& state)
{
    readMix(state, 1e-40f);
}
BENCHMARK(mixDenormal);

// What 1600 columns of a picture read: 2048 samples of one channel each.
void columns(benchmark::State& state)
{
    const int channels = int(state.range(0));
    const LayerPtr layer = layerOf(channels, 400000, 0.5f);
    std::vector<float> out(2048);
    for (auto _ : state)
        for (int64_t column = 0; column < 1600; ++column) {
            layer->read(out.data(), {column * 240, 2048}, channels - 1, true);
            benchmark::DoNotOptimize(out.data());
        }
}
BENCHMARK(columns)->Arg(1)->Arg(2)->Arg(6);

void columnsKernel(benchmark::State& state)
{
    const std::vector<float> samples(400000, 0.5f);
    std::vector<float> out(2048);
    for (auto _ : state)
        for (int64_t column = 0; column < 1600; ++column) {
            std::memcpy(out.data(), samples.data() + column * 240, 2048 * 4);
            benchmark::DoNotOptimize(out.data());
        }
}
BENCHMARK(columnsKernel);

// A look at the span, as every texture and every mix takes.
void span(benchmark::State& state)
{
    const LayerPtr layer = layerOf(2, 1000, 0.5f);
    for (auto _ : state)
        benchmark::DoNotOptimize(layer->range());
}
BENCHMARK(span);

constexpr int64_t appendFrames = 16 << 20; // 128 MiB of stereo
constexpr int64_t appendBlock = 8192;

// A layer filled from its end, with and without a hint of the length; the kernel copies the same
// blocks into a file that has all its space from the start.
void append(benchmark::State& state)
{
    const std::vector<float> block(std::size_t(2 * appendBlock), 0.5f);
    for (auto _ : state) {
        const LayerPtr layer = Layer::create(formatOf(2), {}, 0, false);
        if (state.range(0) && !layer->reserve(appendFrames))
            std::abort();
        for (int64_t done = 0; done < appendFrames; done += appendBlock)
            if (!layer->append(block.data(), appendBlock))
                std::abort();
        if (!layer->finishAppend())
            std::abort();
    }
    state.SetBytesProcessed(state.iterations() * appendFrames * 8);
}
BENCHMARK(append)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();

void appendKernel(benchmark::State& state)
{
    const QString folder = QCoreApplication::instance()->property("sessionpath").toString();
    const std::vector<float> block(std::size_t(2 * appendBlock), 0.5f);
    for (auto _ : state) {
        const std::unique_ptr<SessionFile> file = SessionFile::create(folder, appendFrames * 8);
        for (int64_t done = 0; done < appendFrames; done += appendBlock)
            std::memcpy(file->data() + done * 8, block.data(), appendBlock * 8);
    }
    state.SetBytesProcessed(state.iterations() * appendFrames * 8);
}
BENCHMARK(appendKernel)->Unit(benchmark::kMillisecond)->UseRealTime();

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
