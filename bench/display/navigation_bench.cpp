// What it costs to look at a long recording: the views of a stereo file in a window of 1600 by 900.
//
//   gaps     the longest time in which the event loop handled nothing new while the pointer pans and zooms,
//            10 s a round: without the time in which the renderer drew (see rendererclock.h), by the wall's
//            clock and, for machines with other work to do, by the processor's; then with that time
//   memory   anonymous memory after each round: must not grow
//   ants     processor time of 5 s of marching ants on a still picture, without the renderer's
//   still    pictures drawn in 5 s in which nothing moves: none
//
// Needs a display. usage: navigation_bench [rounds [minutes]]; 20 rounds and an hour by default, which
// needs 1.4 GB of disk.
#include "anonymousmemory.h"
#include "display/channelrow.h"
#include "display/channelsdisplay.h"
#include "display/rendererclock.h"
#include "display/spectralchannel.h"
#include "display/waveformchannel.h"
#include "model/layer.h"
#include "model/layerroot.h"
#include "model/selection.h"
#include "spectral/primitives/planning.h"
#include "support/noiselayer.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QLoggingCategory>
#include <QMainWindow>
#include <QPainterPath>
#include <QSurfaceFormat>
#include <QTemporaryDir>
#include <QTimer>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <vector>

#include <sys/syscall.h>
#include <unistd.h>

namespace {

constexpr int rate = 48000;
constexpr int step = 16; // ms from one turn of the wheel to the next

// Seconds that this thread has computed.
double threadProcessor()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return double(now.tv_sec) + double(now.tv_nsec) * 1e-9;
}

// Times how long the loop is away with one event.
class Application : public QApplication
{
public:
    using QApplication::QApplication;

    bool notify(QObject* receiver, QEvent* event) override
    {
        if (m_depth > 0)
            return QApplication::notify(receiver, event);
        ++m_depth;
        const rendererclock::Reading before = rendererclock::read();
        const double computed = threadProcessor();
        QElapsedTimer timer;
        timer.start();
        const bool result = QApplication::notify(receiver, event);
        const double wall = double(timer.nsecsElapsed()) * 1e-6;
        const rendererclock::Reading after = rendererclock::read();
        gaps.push_back(wall - double(after.wall - before.wall) * 1e-6);
        walls.push_back(wall);
        processors.push_back((threadProcessor() - computed) * 1e3 -
                             double(after.processor - before.processor) * 1e-6);
        --m_depth;
        return result;
    }

    std::vector<double> gaps;       // ms of each event, without the renderer
    std::vector<double> walls;      // with it
    std::vector<double> processors; // ms computed in each event, without the renderer

private:
    int m_depth = 0;
};

struct Processor
{
    double gui = 0;      // s of this thread, without the renderer's part of it
    double renderer = 0; // s of the renderer, in its threads and in this one
    double others = 0;   // s of all other threads
};

// Seconds that a thread has computed, and its name.
double threadTime(const QString& folder, QByteArray& name)
{
    QFile file(folder + QStringLiteral("/stat"));
    if (!file.open(QFile::ReadOnly))
        return 0;
    const QByteArray line = file.readAll();
    const int open = line.indexOf('('), close = line.lastIndexOf(')');
    name = line.mid(open + 1, close - open - 1);
    const QList<QByteArray> fields = line.mid(close + 2).split(' ');
    return (fields.value(11).toDouble() + fields.value(12).toDouble()) / double(sysconf(_SC_CLK_TCK));
}

Processor processor()
{
    Processor result;
    const double inRenderer = double(rendererclock::read().processor) * 1e-9;
    result.gui = threadProcessor() - inRenderer;
    result.renderer = inRenderer;
    const QString self = QString::number(getpid());
    const QDir tasks(QStringLiteral("/proc/self/task"));
    for (const QString& task : tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        if (task == self)
            continue;
        QByteArray name;
        const double time = threadTime(tasks.filePath(task), name);
        (name.startsWith("llvmpipe") ? result.renderer : result.others) += time;
    }
    return result;
}

template<class Payload>
void post(EventId id, const Payload& payload)
{
    postEvent(nullptr, id, payload, nullptr);
}

void runFor(int milliseconds)
{
    QEventLoop loop;
    QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
    loop.exec();
}

void turn(QWidget& view, const QPointF& at, const QPoint& angle, Qt::KeyboardModifiers modifiers)
{
    QWheelEvent event(at, view.mapToGlobal(at.toPoint()), QPoint(), angle, Qt::NoButton, modifiers,
                      Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(&view, &event);
}

// 10 s: into a few seconds of the recording, along it, out a little and back, on both axes, out again.
void round(ChannelsDisplay& display, const Area& whole)
{
    post(EventId::DisplayAreaChange, whole);
    int done = 0;
    QTimer timer;
    timer.setTimerType(Qt::PreciseTimer);
    QObject::connect(&timer, &QTimer::timeout, [&] {
        QWidget& view = *display.rows()[0]->spectral();
        const double phase = double(done++) * step / 1000; // s
        const QPointF at(view.width() * (0.5 + 0.3 * std::sin(phase)), view.height() * 0.6);
        if (phase < 3)
            turn(view, at, {0, 24}, Qt::ShiftModifier);
        else if (phase < 5)
            turn(view, at, {0, 30}, Qt::AltModifier);
        else if (phase < 7)
            turn(view, at, {0, phase < 6 ? 20 : -20}, Qt::NoModifier);
        else
            turn(view, at, {0, -24}, Qt::ShiftModifier);
    });
    timer.start(step);
    runFor(10'000);
}

double share(std::vector<double> values, double of)
{
    if (values.empty())
        return 0;
    std::sort(values.begin(), values.end());
    return values[std::min(values.size() - 1, std::size_t(of * double(values.size())))];
}

void openProject(const LayerRoot& root, const Area& whole)
{
    post(EventId::SamplingFormatChange, root.format());
    post(EventId::ChannelsModeChange, ChannelsMode(root.format().channels));
    post(EventId::TransformChange, TransformSettings(SampleTypeReal, WindowType::BlackmanHarris, 2048, 8, 2));
    post(EventId::FreqScaleChange, int32_t(FreqScale::Mel));
    post(EventId::FilteringChange, int32_t(Filtering::Cubic));
    post(EventId::LayerRootChange, root);
    post(EventId::DisplayAreaChange, whole);
    post(EventId::DisplayPowerChange, PowerRange{-1, 1});
}

void settle(const ChannelsDisplay& display)
{
    for (int quiet = 0; quiet < 10;) {
        runFor(50);
        quiet = display.isSettled() ? quiet + 1 : 0;
    }
}

void measureRounds(Application& app, ChannelsDisplay& display, const Area& whole, int rounds)
{
    std::printf(
        "round   longest gap  of processor      99.9 %%  with renderer  pictures  anonymous memory\n");
    double first = 0;
    for (int i = 0; i < rounds; ++i) {
        app.gaps.clear();
        app.walls.clear();
        app.processors.clear();
        const int64_t swaps = rendererclock::read().swaps;
        round(display, whole);
        const double memory = anonymousMemory();
        if (i == std::min(2, rounds - 1)) // caches are full by then
            first = memory;
        std::printf("%5d  %9.1f ms  %9.1f ms %8.1f ms  %10.1f ms  %8lld  %12.1f MiB\n", i + 1,
                    share(app.gaps, 1), share(app.processors, 1), share(app.gaps, 0.999), share(app.walls, 1),
                    static_cast<long long>(rendererclock::read().swaps - swaps), memory);
        std::fflush(stdout);
    }
    std::printf("memory grew by %.1f MiB since the third round\n", anonymousMemory() - first);
}

void measureStill(const char* name)
{
    constexpr int length = 5000;
    const Processor before = processor();
    const rendererclock::Reading drawn = rendererclock::read();
    runFor(length);
    const Processor after = processor();
    const auto percent = [](double from, double to) { return (to - from) * 1e5 / length; };
    std::printf("%-6s  own %.1f %% of one core (GUI thread %.1f %%), renderer %.1f %%, pictures %lld\n", name,
                percent(before.gui + before.others, after.gui + after.others), percent(before.gui, after.gui),
                percent(before.renderer, after.renderer),
                static_cast<long long>(rendererclock::read().swaps - drawn.swaps));
}

} // namespace

int main(int argc, char** argv)
{
    QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false\n*.info=false"));
    initializePrimitives();
    QSurfaceFormat format;
    format.setVersion(3, 3);
    format.setProfile(QSurfaceFormat::CoreProfile);
    QSurfaceFormat::setDefaultFormat(format);
    Application app(argc, argv);
    const QTemporaryDir folder;
    app.setProperty("sessionpath", QVariant(folder.path()));
    app.setProperty("maxtexsize", 8192);
    app.setProperty("selectionborderstyle", QStringLiteral("marching ants"));
    const int rounds = argc > 1 ? std::max(1, atoi(argv[1])) : 20;
    const int minutes = argc > 2 ? std::max(1, atoi(argv[2])) : 60;

    const SamplingFormat stereo{SampleTypeReal, rate, ChannelsTypeAudio, 2, 3};
    LayerRoot root(stereo);
    root.project()->appendChildLayer(noiseLayer(stereo, minutes * 60));
    const Area whole = fullBandArea(stereo, root.project()->range());
    QMainWindow window;
    auto* display = new ChannelsDisplay;
    window.setCentralWidget(display);
    window.resize(1600, 900);
    window.show();
    openProject(root, whole);
    settle(*display);

    measureRounds(app, *display, whole, rounds);

    post(EventId::DisplayAreaChange, Area{whole.x, 0, 10.0 * rate, whole.height});
    settle(*display);
    measureStill("still");
    QPainterPath path;
    path.addEllipse(QRectF(2.0 * rate, 2000, 5.0 * rate, 8000));
    path.addRect(QRectF(7.5 * rate, 500, 1.0 * rate, 15000));
    post(EventId::SelectionChange, Selection(path));
    settle(*display);
    measureStill("ants");
    if (rendererclock::read().flushes == 0 || rendererclock::read().swaps == 0)
        std::printf("The renderer was not seen: nothing of it is taken off.\n");
    return 0;
}
