// What the envelope of a long recording costs, from the request to the block in the queue, on a thread
// of its own and the pool: the first picture of a layer, all columns read again, and a pan by a tenth
// of the view, beside a copy of as many bytes as the whole picture reads, on the same threads. Medians
// of runs taken in turn. Prints a table; needs no display.
//
// usage: waveform_bench [runs [hours [threads]]]; an hour needs 0.7 GB of disk, ten by default.
#include "base/denormals.h"
#include "base/parallel.h"
#include "display/waveformtexture.h"
#include "model/layer.h"
#include "spectral/primitives/planning.h"
#include "support/clocks.h"
#include "support/noiselayer.h"

#include <QCoreApplication>
#include <QLoggingCategory>
#include <QTemporaryDir>
#include <QThreadPool>
#include <QVariant>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr int rate = 48000;
const SamplingFormat mono{SampleTypeReal, rate, ChannelsTypeAudio, 1, 4};

// The share of `bare` that it takes, too.
void print(const char* name, const Clocks& clocks, const Clocks& bare)
{
    std::printf("    %-14s wall %6.1f ms (%.2f copies)  processor %6.1f ms (%.2f copies)\n", name,
                median(clocks.wall) * 1e3, median(clocks.wall) / median(bare.wall),
                median(clocks.processor) * 1e3, median(clocks.processor) / median(bare.processor));
}

void takeBlock(WaveformTexture& texture, double start, double length, int width, bool content)
{
    texture.requestTex({start, length}, width, Filtering::Cubic, content);
    while (!texture.takeNewest())
        QThread::usleep(50);
}

// A copy of the windows of a picture of `columns`, from memory in which they lie apart, into a buffer
// that stays in the cache.
void bareCopy(const std::vector<float>& from, int columns)
{
    constexpr int64_t window = WaveformRenderer::longestWindow;
    const int64_t places = int64_t(from.size()) / window;
    parallelFor(columns, [&](int64_t i) {
        thread_local std::vector<float> into(window);
        std::memcpy(into.data(), from.data() + (i * 7 % places) * window, window * sizeof(float));
    });
}

void measure(const LayerPtr& layer, int width, int runs)
{
    const auto length = double(layer->range().length);
    const std::vector<float> memory(std::size_t(64) << 20, 0.5f);
    Clocks bare;
    Clocks first;
    Clocks whole;
    Clocks pan;
    WaveformTexture texture(layer, 0);
    first.run([&] { takeBlock(texture, 0, length, width, false); });
    for (int i = 0; i < runs; ++i) {
        bare.run([&] { bareCopy(memory, width); });
        whole.run([&] { takeBlock(texture, 0, length, width, true); });
        takeBlock(texture, 0, length * 0.8, width, false);
        pan.run([&] { takeBlock(texture, length * 0.08, length * 0.8, width, false); });
    }
    std::printf("%d columns\n", width);
    print("bare copy", bare, bare);
    print("first picture", first, bare);
    print("whole view", whole, bare);
    print("pan by a tenth", pan, bare);
    std::fflush(stdout);
}

} // namespace

int main(int argc, char** argv)
{
    QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false"));
    initializePrimitives();
    QCoreApplication app(argc, argv);
    disableDenormals();
    const int runs = argc > 1 ? std::max(3, std::atoi(argv[1])) : 21;
    const int hours = argc > 2 ? std::clamp(std::atoi(argv[2]), 1, 100) : 10;
    QThreadPool::globalInstance()->setMaxThreadCount(argc > 3 ? std::clamp(std::atoi(argv[3]), 1, 64) : 2);
    QTemporaryDir folder;
    app.setProperty("sessionpath", folder.path());
    const LayerPtr layer = noiseLayer(mono, int64_t(hours) * 3600);
    std::printf("%d hours, %d threads\n", hours, QThreadPool::globalInstance()->maxThreadCount());
    for (const int width : {1600, 3200})
        measure(layer, width, runs);
    return 0;
}
