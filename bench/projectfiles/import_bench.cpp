// Opening long files, against the `ffmpeg` command that writes the same as raw floats.
//
// usage: import_bench [minutes] [pairs] [folder]
// Makes a stereo 48 kHz 16-bit WAV and a FLAC of that length (60 minutes unless told) in a temporary
// folder below `folder`, and imports each in turn with `ffmpeg -i FILE -f f32le`, so that both see the
// same state of the machine. Prints the median of the ratios of each pair, and by how much anonymous
// memory grew at most during our imports.
#include "../anonymousmemory.h"
#include "plugins/ifileplugin.h"
#include "projectfiles/fileimport.h"
#include "projectfiles/hostservices.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <thread>
#include <vector>

#include <unistd.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QPluginLoader>
#include <QProcess>
#include <QTemporaryDir>
#include <QVariant>

namespace {

using Clock = std::chrono::steady_clock;

double since(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

void ffmpeg(const QStringList& arguments)
{
    const QStringList quiet{QStringLiteral("-hide_banner"), QStringLiteral("-loglevel"),
                            QStringLiteral("error"), QStringLiteral("-nostdin"), QStringLiteral("-y")};
    if (QProcess::execute(QStringLiteral("ffmpeg"), quiet + arguments) != 0)
        qFatal("ffmpeg failed");
}

IFilePlugin* loadPlugin(const QString& path)
{
    QPluginLoader loader(path);
    auto* plugin = qobject_cast<IFilePlugin*>(loader.instance());
    if (!plugin)
        qFatal("%s", qPrintable(loader.errorString()));
    fillHostTable(plugin->host);
    plugin->init(path, nullptr);
    return plugin;
}

// Seconds from the call to the complete layer.
double importOnce(IFilePlugin* plugin, const QString& path, double* peak)
{
    std::atomic<bool> done = false;
    std::atomic<double> most = 0;
    std::thread watcher;
    if (peak)
        watcher = std::thread([&] {
            while (!done) {
                most = std::max(most.load(), anonymousMemory());
                usleep(2000);
            }
        });
    ImportedFile file;
    const auto start = Clock::now();
    const bool good = FileImport({plugin}, nullptr).run(path, 0, file);
    const double seconds = since(start);
    done = true;
    if (peak) {
        watcher.join();
        *peak = std::max(*peak, most.load());
    }
    if (!good)
        qFatal("import failed");
    return seconds;
}

void measure(IFilePlugin* plugin, const QString& path, int pairs, double idle)
{
    const QString raw = QFileInfo(path).path() + QStringLiteral("/out.raw");
    double peak = idle;
    importOnce(plugin, path, &peak);
    std::vector<double> ratios, ours, theirs;
    for (int i = 0; i < pairs; ++i) {
        QFile::remove(raw);
        sync(); // what the last run left to be written is not charged to the next
        const auto start = Clock::now();
        ffmpeg({QStringLiteral("-i"), path, QStringLiteral("-f"), QStringLiteral("f32le"), raw});
        theirs.push_back(since(start));
        QFile::remove(raw);
        sync();
        ours.push_back(importOnce(plugin, path, nullptr));
        ratios.push_back(ours.back() / theirs.back());
    }
    const auto median = [](std::vector<double> v) {
        std::sort(v.begin(), v.end());
        return v[v.size() / 2];
    };
    std::printf("%-8s ours %.2f s, ffmpeg %.2f s, median of %d ratios %.2f (%.2f to %.2f), "
                "anonymous memory %.1f MiB above %.1f\n",
                qPrintable(QFileInfo(path).fileName()), median(ours), median(theirs), pairs, median(ratios),
                *std::min_element(ratios.begin(), ratios.end()),
                *std::max_element(ratios.begin(), ratios.end()), peak - idle, idle);
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = application.arguments();
    const int minutes = arguments.value(1, QStringLiteral("60")).toInt();
    const int pairs = arguments.value(2, QStringLiteral("9")).toInt();
    QTemporaryDir folder(arguments.value(3, QDir::tempPath()) + QStringLiteral("/import_bench"));
    application.setProperty("sessionpath", folder.path());
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    IFilePlugin* plugin =
        loadPlugin(QCoreApplication::applicationDirPath() + QStringLiteral("/../Plugins/Files/ffmpeg.so"));
    const double idle = anonymousMemory();
    const QString wave = folder.filePath(QStringLiteral("long.wav"));
    const QString flac = folder.filePath(QStringLiteral("long.flac"));
    ffmpeg({QStringLiteral("-f"), QStringLiteral("lavfi"), QStringLiteral("-i"),
            QStringLiteral(
                "aevalsrc=0.4*sin(440*2*PI*t)+0.1*random(0)|0.3*sin(523*2*PI*t)+0.1*random(1):s=48000:d=%1")
                .arg(minutes * 60),
            QStringLiteral("-c:a"), QStringLiteral("pcm_s16le"), wave});
    ffmpeg({QStringLiteral("-i"), wave, flac});
    measure(plugin, wave, pairs, idle);
    measure(plugin, flac, pairs, idle);
    return 0;
}
