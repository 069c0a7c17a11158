// How long a new picture of 1600 by 900 holds the GUI thread: paintGL asks for it, takes it over,
// uploads it and gives the drawing to the driver, whose own work comes later and is not counted.
// Needs a display. usage: upload_bench [runs]
#include "display/spectralchannel.h"
#include "model/layer.h"
#include "model/layerroot.h"
#include "spectral/primitives/planning.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QSurfaceFormat>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <random>
#include <vector>

namespace {

class TimedChannel : public SpectralChannel
{
public:
    using SpectralChannel::SpectralChannel;
    double lastPaint = 0; // ms

protected:
    void paintGL() override
    {
        QElapsedTimer timer;
        timer.start();
        SpectralChannel::paintGL();
        lastPaint = double(timer.nsecsElapsed()) * 1e-6;
    }
};

void report(const char* name, std::vector<double> times)
{
    std::sort(times.begin(), times.end());
    std::printf("%-22s median %.2f ms  worst %.2f ms\n", name, times[times.size() / 2], times.back());
}

} // namespace

int main(int argc, char** argv)
{
    initializePrimitives();
    QSurfaceFormat format;
    format.setVersion(3, 3);
    format.setProfile(QSurfaceFormat::CoreProfile);
    QSurfaceFormat::setDefaultFormat(format);
    QApplication app(argc, argv);
    QTemporaryDir folder;
    app.setProperty("sessionpath", QVariant(folder.path()));
    app.setProperty("maxtexsize", 8192);
    const int runs = argc > 1 ? std::max(3, atoi(argv[1])) : 31;

    const SamplingFormat mono{SampleTypeReal, 48000, ChannelsTypeAudio, 1, 4};
    std::vector<float> samples(48000 * 60);
    std::mt19937 random(7);
    std::uniform_real_distribution<float> sample(-0.5f, 0.5f);
    for (float& s : samples)
        s = sample(random);
    const LayerPtr layer = Layer::create(mono, {}, 0, false);
    if (!layer->append(samples.data(), int64_t(samples.size())))
        return 1;
    layer->finishAppend();
    LayerRoot root(mono);
    root.project()->appendChildLayer(layer);

    TimedChannel channel(0);
    channel.setFixedSize(1600, 900);
    channel.setTransform(
        std::make_shared<const Transform>(SampleTypeReal, WindowType::BlackmanHarris, 2048, 8, 2));
    channel.layerRootEvent(EventId::LayerRootChange, root);
    channel.show();
    std::vector<double> asking, uploading, idle;
    double width = double(samples.size()) * 0.8;
    for (int i = 0; i < runs; ++i) {
        width *= 0.999; // other columns every time
        channel.areaEvent(EventId::DisplayAreaChange, {0, 0, width, 24000});
        (void)channel.grabFramebuffer();
        asking.push_back(channel.lastPaint);
        while (true) {
            (void)channel.grabFramebuffer();
            if (!channel.isOutstanding())
                break;
        }
        uploading.push_back(channel.lastPaint);
        (void)channel.grabFramebuffer();
        idle.push_back(channel.lastPaint);
    }
    report("asks, nothing new", asking);
    report("takes over and uploads", uploading);
    report("nothing to do", idle);
    return 0;
}
