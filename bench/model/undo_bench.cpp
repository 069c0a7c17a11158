// What it costs to record an edit, against the copying of the samples that undo keeps.
#include "base/denormals.h"
#include "model/history.h"
#include "model/project.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

#include <QCoreApplication>
#include <QTemporaryDir>
#include <QVariant>

namespace {

constexpr int64_t second = 48000;
constexpr int64_t frames = 600 * second;
constexpr int channels = 2;

const SamplingFormat stereo{SampleTypeReal, double(second), ChannelsTypeAudio, channels, 3};

// One second in the midst of 10 min stereo is written and recorded, at another place each time, with the
// history full, so that each record drops a state too.
void recordOneSecond(benchmark::State& state)
{
    disableDenormals();
    Project project(stereo);
    const LayerPtr layer = Layer::create(stereo, {}, 0, false);
    const std::vector<float> minute(std::size_t(60 * second * channels), 0.1f);
    for (int64_t at = 0; at < frames; at += 60 * second)
        if (!layer->write(minute.data(), {at, 60 * second}, -1, true))
            std::abort();
    layer->startBackup();
    if (!project.layers()->appendChild(layer))
        std::abort();
    History history;
    postEvent(nullptr, EventId::LayerRootChange, project.root(), nullptr);
    project.resetHistory("New", QIcon());
    postEvent(nullptr, EventId::HistoryListChange, project.history(), nullptr);
    HistoryEntry entry;
    entry.name = QStringLiteral("Edit");
    int64_t at = 0;
    for (auto _ : state) {
        at = (at + 37 * second + 777) % (frames - second);
        if (!layer->write(minute.data(), {at, second}, -1, true))
            std::abort();
        postEvent(nullptr, EventId::LayerContentUpdate, ILayerPtr(layer), nullptr);
        postEvent(nullptr, EventId::HistoryRecord, entry, nullptr);
    }
    if (history.states().size() < 2)
        state.SkipWithError("nothing was recorded");
}

// The write itself, the touched blocks (two, as a second is shorter than one) and the after-image, in
// memory that is there.
void recordOneSecondKernel(benchmark::State& state)
{
    const std::size_t before = std::size_t(2 * Layer::backupBlock * channels);
    const std::size_t after = std::size_t(second * channels);
    std::vector<float> samples(std::size_t(frames * channels), 0.1f);
    std::vector<float> kept(before), written(after, 0.1f), image(after);
    int64_t at = 0;
    for (auto _ : state) {
        at = (at + 37 * second + 777) % (frames - 3 * second);
        float* place = samples.data() + at * channels;
        std::memcpy(kept.data(), place, before * sizeof(float));
        std::memcpy(place, written.data(), after * sizeof(float));
        std::memcpy(image.data(), place, after * sizeof(float));
        benchmark::ClobberMemory();
    }
}

BENCHMARK(recordOneSecond)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(recordOneSecondKernel)->Unit(benchmark::kMillisecond)->UseRealTime();

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
