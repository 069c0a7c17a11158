// What a picture costs, as ratios to the bare transforms that it needs, in the same run: medians of
// repeated runs taken in turn, on the threads of the pool, by the wall clock and, for machines with
// other work to do, by the processor's. Prints a table; needs no display.
//
// usage: picture_bench [runs [part of a name, or = and the whole name]]; "ten hours" needs 7 GB of disk.
#include "base/denormals.h"
#include "base/parallel.h"
#include "display/spectralrenderer.h"
#include "model/layer.h"
#include "spectral/primitives/planning.h"
#include "support/baredft.h"
#include "support/clocks.h"
#include "support/noiselayer.h"

#include <QCoreApplication>
#include <QTemporaryDir>
#include <QVariant>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>

namespace {

constexpr int columns = 1600;
constexpr int rows = 900;
constexpr int rate = 48000;
const std::atomic<bool> notCancelled{false};

const SamplingFormat mono{SampleTypeReal, rate, ChannelsTypeAudio, 1, 4};

// Every bit pattern below the smallest normal number, as arithmetic would not make them here.
LayerPtr denormalLayer(int64_t seconds)
{
    std::mt19937 random(7);
    std::vector<float> second(rate);
    for (float& s : second) {
        const uint32_t bits = (random() & 0x807fffffU) | 1;
        std::memcpy(&s, &bits, sizeof s);
    }
    return repeatedLayer(mono, second, seconds);
}

// As many bare transforms as a picture needs, on the same threads.
void bareTransforms(const BareDft& dft, int64_t count)
{
    constexpr int64_t chunk = 16;
    parallelFor(count / chunk, [&](int64_t) {
        for (int64_t i = 0; i < chunk; ++i)
            dft.forward();
    });
}

TextureRequest requestFor(const Area& area, const std::shared_ptr<const Transform>& settings, float sharpen)
{
    TextureRequest request;
    request.area = area;
    request.size = QSize(columns, rows);
    request.step = columnStep(area, columns, settings->hop());
    request.upsample = columnUpsample(request.step, area, columns);
    request.timeSharpen = request.freqSharpen = sharpen;
    request.freqScale = FreqScale::Mel;
    request.filtering = Filtering::Cubic;
    request.settings = settings;
    return request;
}

struct Times
{
    Clocks bare;
    Clocks whole;
    Clocks pan;
};

// Whole pictures and pans of one view. Every whole picture starts half a column further on, on a grid of
// its own, so that no column is kept; the memory is that of the picture before.
Times measure(SpectralRenderer& renderer, const BareDft& dft,
              const std::shared_ptr<const Transform>& settings, double length, float sharpen, int runs)
{
    Times times;
    const int64_t transforms = int64_t(columns) * (sharpen > 0 ? 3 : 1);
    double width = length * 0.8;
    for (int i = 0; i < runs; ++i) {
        times.bare.run([&] { bareTransforms(dft, transforms); });
        width *= 1.0001; // another step
        Area area{0, 0, width, rate / 2.0};
        // Where the step is one hop all pictures share a grid: these start behind the one before.
        if (width / columns < settings->hop())
            area.x = double(i % 10) * 1.11 * width;
        times.whole.run(
            [&] { (void)renderer.render(requestFor(area, settings, sharpen), false, notCancelled); });
        area.x += width / 10;
        times.pan.run(
            [&] { (void)renderer.render(requestFor(area, settings, sharpen), false, notCancelled); });
    }
    return times;
}

void report(const char* name, const Times& times)
{
    const auto line = [](const char* clock, const std::vector<double>& bare, const std::vector<double>& whole,
                         const std::vector<double>& pan) {
        const double picture = median(whole);
        std::printf("    %-9s bare %6.2f ms  whole %6.2f ms  whole/bare %5.2f  pan/whole %5.2f\n", clock,
                    median(bare) * 1e3, picture * 1e3, picture / median(bare), median(pan) / picture);
    };
    std::printf("%s\n", name);
    line("wall", times.bare.wall, times.whole.wall, times.pan.wall);
    line("processor", times.bare.processor, times.whole.processor, times.pan.processor);
    std::fflush(stdout);
}

} // namespace

int main(int argc, char** argv)
{
    initializePrimitives();
    QCoreApplication app(argc, argv);
    disableDenormals();
    QTemporaryDir folder;
    app.setProperty("sessionpath", folder.path());
    const int runs = argc > 1 ? std::max(3, atoi(argv[1])) : 31;

    setPlanning(Planning::Measured);
    const auto settings =
        std::make_shared<const Transform>(SampleTypeReal, WindowType::BlackmanHarris, 2048, 8, 2);
    const BareDft dft(int32_t(settings->dftLength()));
    const int64_t minute = int64_t(rate) * 60;
    const std::string only = argc > 2 ? argv[2] : "";
    const auto wanted = [&only](const std::string& name) {
        return only.rfind('=', 0) == 0 ? "=" + name == only : name.find(only) != std::string::npos;
    };
    const auto run = [&](const char* name, const LayerPtr& layer, double length, float sharpen) {
        if (!wanted(name))
            return 0.0;
        SpectralRenderer renderer(layer, 0, 8192);
        (void)measure(renderer, dft, settings, length, sharpen, 2); // fresh memory
        const Times times = measure(renderer, dft, settings, length, sharpen, runs);
        report(name, times);
        return median(times.whole.processor);
    };
    const LayerPtr noise = noiseLayer(mono, 60);
    const double normal = run("a minute", noise, double(minute), 0);
    run("a minute refined", noise, double(minute), 0.5f);
    run("five seconds", noise, 5.0 * rate, 0);
    const double tail = run("a minute of denormal samples", denormalLayer(60), double(minute), 0);
    std::printf("denormal / normal (processor) %.2f\n", tail / normal);
    if (!wanted("ten hours"))
        return 0;
    const LayerPtr hours = noiseLayer(mono, 36000);
    const double far = run("ten hours", hours, double(minute) * 600, 0);
    std::printf("ten hours / a minute (processor) %.2f\n", far / normal);
    run("ten hours refined", hours, double(minute) * 600, 0.5f);
    return 0;
}
