// Converting 10 minutes of stereo from 44.1 to 48 kHz, in memory and as a layer, against soxr itself fed in
// blocks. The time on the CPU is that of all threads.
#include "spectral/primitives/resampler.h"

#include "base/parallel.h"
#include "base/sessionfile.h"
#include "model/layer.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <random>
#include <vector>

#include <QCoreApplication>
#include <QTemporaryDir>
#include <QThreadPool>
#include <QVariant>

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

// The same into a new file of the session, as a layer needs one.
void bareChannelOnEachThreadIntoFile(benchmark::State& state)
{
    const QString folder = QCoreApplication::instance()->property("sessionpath").toString();
    for (auto _ : state) {
        const std::unique_ptr<SessionFile> file = SessionFile::create(folder, 2 * outFrames * 4);
        auto* out = reinterpret_cast<float*>(file->data());
        parallelFor(2, [out](int64_t channel) {
            feedBlocks(signal().data() + channel * frames, out + channel * outFrames, 1);
        });
    }
}

void layer(benchmark::State& state)
{
    QThreadPool::globalInstance()->setMaxThreadCount(int(state.range(0)));
    const SamplingFormat from{SampleTypeReal, 44100, ChannelsTypeAudio, 2, 3};
    const SamplingFormat to{SampleTypeReal, 48000, ChannelsTypeAudio, 2, 3};
    for (auto _ : state) {
        state.PauseTiming();
        LayerPtr converted = Layer::create(from, {}, 0, false);
        if (!converted->write(signal().data(), {0, frames}, -1, true))
            std::abort();
        state.ResumeTiming();
        if (!converted->changeFormat(to, Matrix(2, 2), {}) || converted->range().length != outFrames)
            state.SkipWithError("not converted");
        state.PauseTiming();
        converted.reset();
        state.ResumeTiming();
    }
    QThreadPool::globalInstance()->setMaxThreadCount(2);
}

BENCHMARK(bareStereo)->MeasureProcessCPUTime()->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(bareChannelOnEachThread)->MeasureProcessCPUTime()->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(resampler)->Arg(1)->Arg(2)->MeasureProcessCPUTime()->UseRealTime()->Unit(benchmark::kMillisecond);

BENCHMARK(bareChannelOnEachThreadIntoFile)
    ->MeasureProcessCPUTime()
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(layer)->Arg(1)->Arg(2)->MeasureProcessCPUTime()->UseRealTime()->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    const QTemporaryDir folder;
    application.setProperty("sessionpath", folder.path());
    // Made and touched before anybody is measured.
    std::fill(target().begin(), target().end(), signal().back());
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
