// What a user waits for after Ctrl+X: from the key to the last texture handed over to the renderer, in the
// whole window, beside the bare spectral cut of the same samples; medians of repeated runs taken in turn. Ten
// minutes of stereo at 48 kHz, ten seconds of it selected, the full band; once with the selection in view
// and once with all of the recording. The time in which the renderer drew is taken off (see
// rendererclock.h). Then the undo of it by Ctrl+Z in the same way.
//
// usage: window_bench [runs]; needs a display and 1 GB of disk.
#include "app/propertiesloader.h"
#include "app/rendering.h"
#include "base/denormals.h"
#include "display/channelsdisplay.h"
#include "display/rendererclock.h"
#include "editing/datamanager.h"
#include "projectfiles/projectbinary.h"
#include "projectfiles/projectdefaults.h"
#include "projectfiles/projecttabs.h"
#include "spectral/primitives/planning.h"
#include "support/clocks.h"
#include "support/noiselayer.h"
#include "ui/mainwindow.h"
#include "ui/stylesheet.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>

#include <QApplication>
#include <QElapsedTimer>
#include <QLoggingCategory>
#include <QPainterPath>
#include <QTemporaryDir>
#include <QtTest>

namespace {

constexpr int rate = 48000;
constexpr int64_t seconds = 10;
constexpr int minutes = 10;
const SamplingFormat stereo{SampleTypeReal, rate, ChannelsTypeAudio, 2, 3};

template<class Payload>
void post(EventId id, const Payload& payload)
{
    postEvent(nullptr, id, payload, nullptr);
}

// Milliseconds until every view in sight shows what the document holds, without the renderer's.
double untilSettled(const ChannelsDisplay& display, const std::function<void()>& begin)
{
    const rendererclock::Reading before = rendererclock::read();
    QElapsedTimer timer;
    timer.start();
    begin();
    while (!display.isSettled())
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    const double wall = double(timer.nsecsElapsed());
    return (wall - double(rendererclock::read().wall - before.wall)) * 1e-6;
}

void settle(const ChannelsDisplay& display)
{
    for (int quiet = 0; quiet < 5; quiet = display.isSettled() ? quiet + 1 : 0)
        QTest::qWait(20);
}

// With Ctrl.
void press(MainWindow& window, Qt::Key key)
{
    QApplication::setActiveWindow(&window); // no window manager does, and its shortcuts would sleep
    QTest::keyClick(&window, key, Qt::ControlModifier);
}

void measure(MainWindow& window, const char* name, double margin, int runs)
{
    const ChannelsDisplay& display = window.channelsDisplay();
    const ProjectPtr project = window.projectTabs().currentProject();
    const auto layer = std::dynamic_pointer_cast<Layer>(project->activeLayer());
    const LayerPtr target = Layer::create(stereo, {}, 0, false);
    std::vector<double> cuts, undos, bares;
    for (int i = 0; i < runs + 1; ++i) {
        const double start = rate * (60.0 + 20 * (i % 20));
        const double length = double(seconds * rate);
        const double whole = double(minutes) * 60 * rate;
        const double from = std::max(0.0, start - margin * length);
        post(EventId::DisplayAreaChange,
             Area{from, 0, std::min(whole - from, length * (1 + 2 * margin)), rate / 2.0});
        QPainterPath path;
        path.addRect(start, -1, length, rate);
        post(EventId::SelectionChange, Selection(path));
        settle(display);
        const MaskedArea area = window.dataManager().desk().maskedArea();
        QElapsedTimer timer;
        timer.start();
        if (!cutMasked(layer, target, area).isDone())
            std::abort();
        const double bare = double(timer.nsecsElapsed()) * 1e-6;
        layer->resetToBackup();
        const int row = project->historyIndex();
        const double cut = untilSettled(display, [&] { press(window, Qt::Key_X); });
        if (project->historyIndex() != row + 1)
            std::abort();
        settle(display);
        const double undo = untilSettled(display, [&] { press(window, Qt::Key_Z); });
        settle(display);
        if (i == 0)
            continue; // warms up
        bares.push_back(bare);
        cuts.push_back(cut);
        undos.push_back(undo);
    }
    std::printf("%-28s cut %6.1f ms, bare cut %6.1f ms: %.2f; undo %6.1f ms\n", name, median(cuts),
                median(bares), median(cuts) / median(bares), median(undos));
}

} // namespace

int main(int argc, char** argv)
{
    const QTemporaryDir folder;
    for (const char* home : {"HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_DATA_HOME"})
        qputenv(home, folder.path().toUtf8());
    QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false\n*.info=false"));
    QApplication application(argc, argv);
    initializePrimitives();
    disableDenormals();
    setWidgetStyle();
    PropertiesLoader loader(application,
                            {QStringLiteral("bench"), QStringLiteral(MORVANE_BINARIES "/"), {}, false});
    loader.loadFactory();
    loader.applyUserSettings();
    if (!chooseRendering())
        return 1;
    application.setProperty("sessionpath", folder.path());
    const int runs = argc > 1 ? std::max(3, atoi(argv[1])) : 11;

    MainWindow window(false);
    window.resize(1600, 900);
    window.show();
    static_cast<void>(QTest::qWaitForWindowExposed(&window));
    const QString file = folder.filePath(QStringLiteral("noise.mvp"));
    {
        const ProjectPtr project = makeProject(stereo);
        if (!project->layers()->appendChild(noiseLayer(stereo, minutes * 60)) ||
            !writeProjectBinary(*project, file, {}).done)
            return 1;
    }
    if (!window.projectTabs().parse(file))
        return 1;
    settle(window.channelsDisplay());
    measure(window, "20 s in view", 0.5, runs);
    measure(window, "all 10 min in view", 60, runs);
    if (rendererclock::read().flushes == 0 || rendererclock::read().swaps == 0)
        std::printf("The renderer was not seen: nothing of it is taken off.\n");
    return 0;
}
