// What a picture costs, as ratios to the bare transforms that it needs, in the same run: medians of
// repeated runs taken in turn, on the threads of the pool. Prints a table; needs no display.
#include "base/denormals.h"
#include "base/parallel.h"
#include "display/spectralrenderer.h"
#include "model/layer.h"
#include "spectral/primitives/planning.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QVariant>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <random>

namespace {

constexpr int columns = 1600;
constexpr int rows = 900;
constexpr int rate = 48000;
const std::atomic<bool> notCancelled{false};

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

double seconds(const std::function<void()>& work)
{
    QElapsedTimer timer;
    timer.start();
    work();
    return double(timer.nsecsElapsed()) * 1e-9;
}

// A layer of quiet noise. Far longer ones are mostly holes of the disk, read as zeros, with noise
// wherever a column of the picture reads.
LayerPtr noiseLayer(int64_t length, float amplitude)
{
    const SamplingFormat format{SampleTypeReal, rate, ChannelsTypeAudio, 1, 4};
    LayerPtr layer = Layer::create(format, {}, 0, false);
    std::mt19937 random(7);
    std::uniform_real_distribution<float> sample(-amplitude, amplitude);
    std::vector<float> block(std::size_t(1) << 20);
    for (float& s : block)
        s = sample(random);
    for (int64_t at = 0; at < length; at += int64_t(block.size()))
        if (!layer->append(block.data(), std::min<int64_t>(int64_t(block.size()), length - at)))
            std::abort();
    layer->finishAppend();
    return layer;
}

// As many bare transforms as a picture needs, on the same threads, each thread with buffers of its
// own that stay in the cache.
double bareTransforms(const Transform& settings, int64_t count)
{
    constexpr int64_t chunk = 16;
    return seconds([&] {
        parallelFor(count / chunk, [&](int64_t) {
            thread_local ArrayTemplate<float> frame;
            thread_local ArrayTemplate<Complex> spectrum;
            frame.resize(settings.dftLength());
            spectrum.resize(settings.bins());
            for (int64_t i = 0; i < chunk; ++i)
                settings.forward(frame.data(), spectrum.data());
        });
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
    std::vector<double> bare;
    std::vector<double> whole;
    std::vector<double> pan;
};

// Whole pictures and pans of one view. Every whole picture starts half a column further on, on a grid of
// its own, so that no column is kept; the memory is that of the picture before.
Times measure(SpectralRenderer& renderer, const std::shared_ptr<const Transform>& settings, double length,
              float sharpen, int runs)
{
    Times times;
    const int64_t transforms = int64_t(columns) * (sharpen > 0 ? 3 : 1);
    double width = length * 0.8;
    for (int i = 0; i < runs; ++i) {
        times.bare.push_back(bareTransforms(*settings, transforms));
        width *= 1.0001; // another step
        Area area{0, 0, width, rate / 2.0};
        times.whole.push_back(
            seconds([&] { (void)renderer.render(requestFor(area, settings, sharpen), false, notCancelled); }));
        area.x += width / 10;
        times.pan.push_back(
            seconds([&] { (void)renderer.render(requestFor(area, settings, sharpen), false, notCancelled); }));
    }
    return times;
}

void report(const char* name, const Times& times)
{
    const double bare = median(times.bare);
    const double whole = median(times.whole);
    const double pan = median(times.pan);
    std::printf("%-34s bare %6.2f ms  whole %6.2f ms  whole/bare %5.2f  pan/whole %5.2f\n", name, bare * 1e3,
                whole * 1e3, whole / bare, pan / whole);
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
    const int64_t minute = int64_t(rate) * 60;
    const LayerPtr noise = noiseLayer(minute, 0.5f);
    const LayerPtr denormal = noiseLayer(minute, 1e-39f);
    const auto run = [&](const char* name, const LayerPtr& layer, double length, float sharpen) {
        SpectralRenderer renderer(layer, 0, 8192);
        (void)measure(renderer, settings, length, sharpen, 2); // fresh memory
        const Times times = measure(renderer, settings, length, sharpen, runs);
        report(name, times);
        return median(times.whole);
    };
    const double normal = run("one minute", noise, double(minute), 0);
    run("one minute, refined", noise, double(minute), 0.5f);
    run("five seconds (interpolated)", noise, 5.0 * rate, 0);
    const double tail = run("one minute of denormal samples", denormal, double(minute), 0);
    std::printf("denormal / normal %.2f\n", tail / normal);
    if (argc > 2)
        return 0;
    const LayerPtr hours = noiseLayer(minute * 600, 0.5f);
    const double far = run("ten hours", hours, double(minute) * 600, 0);
    std::printf("ten hours / one minute %.2f\n", far / normal);
    run("ten hours, refined", hours, double(minute) * 600, 0.5f);
    return 0;
}
