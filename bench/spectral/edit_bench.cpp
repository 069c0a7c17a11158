// What an edit of frames costs, as ratios to the bare transforms of as many frames, in the same run:
// medians of repeated runs taken in turn, on the threads of the pool. Defaults throughout: N 2048,
// overlap 8, zero padding 2, 300 MiB of frames. Prints a table.
//
// usage: edit_bench [runs [part of a name]]; the longer layer needs 700 MB of disk.
#include "base/denormals.h"
#include "base/parallel.h"
#include "spectral/maskedcopy.h"
#include "spectral/primitives/planning.h"
#include "spectral/spectralbuffer.h"
#include "support/baredft.h"
#include "support/clocks.h"
#include "support/noiselayer.h"

#include <QCoreApplication>
#include <QPainterPath>
#include <QTemporaryDir>
#include <QVariant>

#include <cstdio>
#include <string>

namespace {

constexpr int rate = 48000;
constexpr int64_t cachedFrames = 4000; // of the 4096 that the cache holds
const SamplingFormat mono{SampleTypeReal, rate, ChannelsTypeAudio, 1, 4};
using TransformPtr = std::shared_ptr<const Transform>;

// `task` for each of `count` frames, in runs of neighbours as the work itself goes.
template<class Task>
void forFrames(int64_t count, const Task& task)
{
    constexpr int64_t chunk = 16;
    parallelFor(count / chunk, [&](int64_t) {
        for (int64_t i = 0; i < chunk; ++i)
            task();
    });
}

// The same with the transforms that the program makes.
class OwnDft
{
public:
    explicit OwnDft(TransformPtr settings) : m_settings(std::move(settings)) {}
    void forward() const
    {
        Buffers& b = own();
        m_settings->forward(b.samples.data(), b.spectrum.data());
    }
    void inverse() const
    {
        Buffers& b = own();
        m_settings->inverse(b.spectrum.data(), b.samples.data());
    }

private:
    struct Buffers
    {
        ArrayTemplate<float> samples;
        ArrayTemplate<Complex> spectrum;
    };
    Buffers& own() const
    {
        thread_local Buffers buffers;
        if (buffers.samples.isEmpty()) {
            buffers.samples = ArrayTemplate<float>(m_settings->dftLength());
            buffers.spectrum = ArrayTemplate<Complex>(m_settings->bins());
            for (int64_t i = 0; i < buffers.samples.size(); ++i)
                buffers.samples[i] = float(i % 101) / 101 - 0.5f;
        }
        return buffers;
    }
    TransformPtr m_settings;
};

void report(const char* name, const Clocks& work, const Clocks& bare, const Clocks& own)
{
    const auto line = [](const char* clock, const std::vector<double>& did, const std::vector<double>& fftw,
                         const std::vector<double>& ours) {
        std::printf("    %-9s %7.2f ms   / bare FFTW %6.2f ms = %5.2f   / own transforms %6.2f ms = %5.2f\n",
                    clock, median(did) * 1e3, median(fftw) * 1e3, median(did) / median(fftw),
                    median(ours) * 1e3, median(did) / median(ours));
    };
    std::printf("%s\n", name);
    line("wall", work.wall, bare.wall, own.wall);
    line("processor", work.processor, bare.processor, own.processor);
    std::fflush(stdout);
}

struct Yardsticks
{
    BareDft bare;
    OwnDft own;
};

void changeAll(SpectralBuffer& buffer)
{
    for (int64_t frame = 20; frame < 20 + cachedFrames; ++frame) {
        Complex* bins = buffer.getFrame(frame, 0, nullptr);
        bins[100].re *= 0.5f;
        buffer.setFrame(frame, 0, bins);
    }
}

void measureCache(const Yardsticks& dft, const TransformPtr& settings, int runs)
{
    const LayerPtr layer = noiseLayer(mono, 30);
    layer->startBackup();
    const QBitArray all(1, true);
    Clocks fresh, again, commit, commitKept, bareForward, ownForward, bareInverse, ownInverse;
    SpectralBuffer buffer;
    buffer.setBufferSizeMB(300);
    buffer.setLayer(layer);
    buffer.setSettings(settings);
    for (int i = 0; i < runs; ++i) {
        {
            SpectralBuffer first;
            first.setBufferSizeMB(300);
            first.setLayer(layer);
            first.setSettings(settings);
            fresh.run([&] { first.prefetch(20, cachedFrames, all); });
        }
        bareForward.run([&] { forFrames(cachedFrames, [&] { dft.bare.forward(); }); });
        ownForward.run([&] { forFrames(cachedFrames, [&] { dft.own.forward(); }); });
        if (i == 0)
            buffer.prefetch(20, cachedFrames, all);
        buffer.release();
        again.run([&] { buffer.prefetch(20, cachedFrames, all); });
        changeAll(buffer);
        bareInverse.run([&] { forFrames(cachedFrames, [&] { dft.bare.inverse(); }); });
        ownInverse.run([&] { forFrames(cachedFrames, [&] { dft.own.inverse(); }); });
        const auto write = [&] {
            if (!buffer.commit())
                std::abort();
        };
        commitKept.run(write);
        changeAll(buffer);
        commit.run(write);
        layer->newBackup();
    }
    report("prefetch of 4000 frames into memory that is reused", again, bareForward, ownForward);
    report("prefetch of 4000 frames, first fill", fresh, bareForward, ownForward);
    report("commit of 4000 frames, all modified", commit, bareInverse, ownInverse);
    report("commit of 4000 frames with the undo copy of 21 s", commitKept, bareInverse, ownInverse);
}

void measureCut(const char* name, const Yardsticks& dft, const TransformPtr& settings, int minutes, int runs)
{
    constexpr int64_t seconds = 10;
    constexpr int64_t frames = seconds * rate / 256;
    const LayerPtr layer = noiseLayer(mono, minutes * 60);
    layer->startBackup();
    const LayerPtr target = Layer::create(mono, {}, 0, false);
    Clocks cut, copy, bare, own;
    for (int i = 0; i < runs + 1; ++i) {
        if (i == 1)
            cut = copy = bare = own = Clocks();
        QPainterPath path;
        path.addRect(rate * (60.0 + 20 * (i % 20)), -1, double(seconds * rate), rate);
        const MaskedArea area{Selection(path), settings, QBitArray(1, true)};
        const auto both = [&frames](const auto& transforms) {
            forFrames(frames, [&] {
                transforms.forward();
                transforms.inverse();
            });
        };
        bare.run([&] { both(dft.bare); });
        own.run([&] { both(dft.own); });
        copy.run([&] {
            if (!copyMasked(layer, target, area).isDone())
                std::abort();
        });
        cut.run([&] {
            if (!cutMasked(layer, target, area).isDone())
                std::abort();
        });
        layer->resetToBackup();
    }
    report((std::string("masked copy alone, ") + name).c_str(), copy, bare, own);
    report((std::string("masked copy, subtraction and undo copy, ") + name).c_str(), cut, bare, own);
}

} // namespace

int main(int argc, char** argv)
{
    initializePrimitives();
    QCoreApplication app(argc, argv);
    disableDenormals();
    const QTemporaryDir folder;
    app.setProperty("sessionpath", folder.path());
    const int runs = argc > 1 ? std::max(3, atoi(argv[1])) : 31;
    const std::string only = argc > 2 ? argv[2] : "";
    const auto wanted = [&only](const std::string& name) { return name.find(only) != std::string::npos; };

    setPlanning(Planning::Measured);
    const auto settings =
        std::make_shared<const Transform>(SampleTypeReal, WindowType::BlackmanHarris, 2048, 8, 2);
    const Yardsticks dft{BareDft(settings->dftLength()), OwnDft(settings)};
    if (wanted("cache"))
        measureCache(dft, settings, runs);
    if (wanted("cut"))
        for (const auto& [name, minutes] : {std::pair{"10 s of 10 min", 10}, {"10 s of 60 min", 60}})
            measureCut(name, dft, settings, minutes, runs);
    return 0;
}
