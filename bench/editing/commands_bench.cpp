// What a cut costs as a command, with its history, beside the bare spectral cut of the same samples: medians
// of repeated runs taken in turn. A stereo recording of ten minutes at 48 kHz, ten seconds of it selected,
// the full band, default transform. Then undo and redo of it beside a copy of as many samples. Prints a
// table.
//
// usage: commands_bench [runs]; needs 600 MB of disk. On an X server or with QT_QPA_PLATFORM=offscreen.
#include "base/denormals.h"
#include "editing/datamanager.h"
#include "model/history.h"
#include "model/project.h"
#include "spectral/primitives/planning.h"
#include "support/clocks.h"
#include "support/noiselayer.h"

#include <cstdio>
#include <cstring>

#include <QApplication>
#include <QPainterPath>
#include <QTemporaryDir>
#include <QVariant>

namespace {

constexpr int rate = 48000;
constexpr int64_t seconds = 10;
const SamplingFormat stereo{SampleTypeReal, rate, ChannelsTypeAudio, 2, 3};

void report(const char* name, const Clocks& work, const Clocks& bare)
{
    std::printf("%-40s %8.2f ms %8.2f ms %6.2f wall %6.2f processor\n", name, 1e3 * median(work.wall),
                1e3 * median(bare.wall), median(work.wall) / median(bare.wall),
                median(work.processor) / median(bare.processor));
}

} // namespace

int main(int argc, char** argv)
{
    initializePrimitives();
    QApplication application(argc, argv);
    disableDenormals();
    const QTemporaryDir folder;
    application.setProperty("sessionpath", folder.path());
    setPlanning(Planning::Measured);
    const int runs = argc > 1 ? std::max(3, atoi(argv[1])) : 31;

    History history;
    DataManager data(nullptr);
    Project project(stereo);
    project.transform = TransformSettings(SampleTypeReal, WindowType::BlackmanHarris, 2048, 8, 2);
    const LayerPtr layer = noiseLayer(stereo, 600);
    layer->startBackup();
    if (!project.layers()->appendChild(layer))
        std::abort();
    project.setActiveLayer(layer);
    project.resetHistory("New");
    postEvent(nullptr, EventId::SamplingFormatChange, stereo, nullptr);
    postEvent(nullptr, EventId::ChannelsModeChange, project.channelsMode, nullptr);
    postEvent<TransformSettings>(nullptr, EventId::TransformChange, project.transform, nullptr);
    postEvent(nullptr, EventId::LayerRootChange, project.root(), nullptr);
    postEvent(nullptr, EventId::HistoryListChange, project.history(), nullptr);

    const LayerPtr target = Layer::create(stereo, {}, 0, false);
    std::vector<float> from(2 * seconds * rate, 0.5f), to(from.size());
    Clocks bare, command, copy, undo, redo;
    for (int i = 0; i < runs + 1; ++i) {
        if (i == 1)
            bare = command = copy = undo = redo = Clocks();
        QPainterPath path;
        path.addRect(rate * (60.0 + 20 * (i % 20)), -1, double(seconds * rate), rate);
        const Selection selection(path);
        postEvent(nullptr, EventId::SelectionChange, selection, nullptr);
        const MaskedArea area = data.desk().maskedArea();
        bare.run([&] {
            if (!cutMasked(layer, target, area).isDone())
                std::abort();
        });
        layer->resetToBackup();
        command.run([&] { data.cut(); });
        if (history.currentRow() != 1)
            std::abort();
        copy.run([&] { std::memcpy(to.data(), from.data(), from.size() * sizeof(float)); });
        const auto done = [](History::Result result) {
            if (result != History::Result::Done)
                std::abort();
        };
        undo.run([&] { done(history.undo()); });
        redo.run([&] { done(history.redo()); });
        history.undo();
    }
    std::printf("%-40s %11s %11s\n", "", "this", "beside");
    report("cut with its step, beside the bare cut", command, bare);
    report("undo of it, beside a copy in memory", undo, copy);
    report("redo of it, beside a copy in memory", redo, copy);
}
