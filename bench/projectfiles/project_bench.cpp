// Saving and opening a large project, against a plain copy of its file; and the manifest of the session.
//
// usage: project_bench [MiB] [pairs] [folder]
// Makes a project of four layers with that many MiB of samples (1024 unless told) in a temporary folder
// below `folder`, the session folder included. In each pair the project is saved and its file is copied
// in pieces of 1 MB, both over the file of the time before and with a sync of file and folder; then it is
// opened and the file is copied to a new one, neither with a sync. Prints the medians of the ratios, by how
// much anonymous memory grew at most, and how long the manifest of 100 layers takes.
#include "../anonymousmemory.h"
#include "model/layergroup.h"
#include "projectfiles/projectbinary.h"
#include "projectfiles/projectdefaults.h"
#include "projectfiles/projectxml.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <functional>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QVariant>

namespace {

using Clock = std::chrono::steady_clock;
constexpr SamplingFormat stereo{SampleTypeReal, 48000, ChannelsTypeAudio, 2, 3};

double seconds(const std::function<void()>& work)
{
    sync(); // what was left to be written before is not charged to this
    const Clock::time_point start = Clock::now();
    work();
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// The most by which anonymous memory grows while `work` runs.
double growth(const std::function<void()>& work)
{
    const double before = anonymousMemory();
    std::atomic<double> most = before;
    std::atomic<bool> done = false;
    std::thread watch([&] {
        while (!done) {
            most = std::max(most.load(), anonymousMemory());
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
    });
    work();
    done = true;
    watch.join();
    return most - before;
}

void require(bool done, const QString& words)
{
    if (!done)
        qFatal("%s", qPrintable(words));
}

void syncPath(const QString& path)
{
    const int file = open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC);
    if (file < 0 || fsync(file) != 0)
        qFatal("sync failed");
    close(file);
}

void copyFile(const QString& from, const QString& to, bool sync)
{
    QFile source(from), target(to);
    require(source.open(QFile::ReadOnly | QFile::Unbuffered), source.errorString());
    require(target.open(QFile::WriteOnly | QFile::Unbuffered), target.errorString());
    std::vector<char> piece(1000000);
    for (qint64 got = 0; (got = source.read(piece.data(), qint64(piece.size()))) > 0;)
        require(target.write(piece.data(), got) == got, target.errorString());
    target.close();
    if (sync) {
        syncPath(to);
        syncPath(QFileInfo(to).path());
    }
}

LayerPtr layerOf(int64_t frames, float value)
{
    const LayerPtr layer = Layer::create(stereo, {QStringLiteral("layer")}, 0, false);
    std::vector<float> block(std::size_t(std::min<int64_t>(frames, 1 << 18) * 2));
    for (std::size_t i = 0; i < block.size(); ++i)
        block[i] = value + float(i);
    require(layer->reserve(frames), QStringLiteral("no room"));
    for (int64_t left = frames; left > 0; left -= 1 << 18)
        require(layer->append(block.data(), std::min<int64_t>(left, 1 << 18)), QStringLiteral("no room"));
    require(layer->finishAppend(), QStringLiteral("no room"));
    return layer;
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

void measureFile(const QString& folder, int64_t bytes, int pairs)
{
    ProjectPtr project = makeProject(stereo);
    for (int i = 0; i < 4; ++i)
        project->layers()->appendChild(layerOf(bytes / 4 / stereo.frameBytes(), float(i)));
    const QString path = folder + QStringLiteral("/p.mvp");
    const QString copy = folder + QStringLiteral("/copy");
    const QString fresh = folder + QStringLiteral("/fresh");
    std::vector<double> saves, opens;
    double saveMemory = 0, openMemory = 0;
    for (int i = 0; i <= pairs; ++i) {
        double save = 0;
        saveMemory = std::max(saveMemory, growth([&] {
                                  save = seconds([&] {
                                      const SaveResult result = writeProjectBinary(*project, path, {});
                                      require(result.done, result.words);
                                  });
                              }));
        const double syncedCopy = seconds([&] { copyFile(path, copy, true); });
        // What is measured next writes into memory that the system has at hand, as the copies do.
        QFile::remove(copy);
        ProjectReadResult read;
        double open = 0;
        openMemory = std::max(openMemory,
                              growth([&] { open = seconds([&] { read = readProjectBinary(path, {}); }); }));
        require(read.project && read.damage.isEmpty(), QStringLiteral("not read"));
        read.project.reset();
        const double plainCopy = seconds([&] { copyFile(path, fresh, false); });
        QFile::remove(fresh);
        if (i == 0)
            continue; // warms up
        std::printf("save %.2f s, copy %.2f s; open %.2f s, copy %.2f s\n", save, syncedCopy, open,
                    plainCopy);
        saves.push_back(save / syncedCopy);
        opens.push_back(open / plainCopy);
    }
    std::printf("save/copy %.2f, open/copy %.2f (medians of %d)\n", median(saves), median(opens), pairs);
    std::printf("memory: save %.1f MiB, open %.1f MiB\n", saveMemory, openMemory);
    QFile::remove(path);
}

void measureManifest(const QString& folder)
{
    const ProjectPtr project = makeProject(stereo);
    for (int i = 0; i < 100; ++i)
        project->layers()->appendChild(layerOf(100, float(i)));
    std::vector<double> times;
    for (int i = 0; i < 200; ++i) // back to back, as after quick edits
        times.push_back(1000 * seconds([&] {
                            const SaveResult result =
                                writeProjectXml(*project, folder + QStringLiteral("/session_1_project_1.mvx"),
                                                SampleFiles::Reference, {}, false);
                            require(result.done, result.words);
                        }));
    std::printf("manifest of 100 layers: median %.2f ms, worst of 200 %.2f ms\n", median(times),
                *std::max_element(times.begin(), times.end()));
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const int64_t mebibytes = argc > 1 ? atoll(argv[1]) : 1024;
    const int pairs = argc > 2 ? atoi(argv[2]) : 5;
    const QString base = argc > 3 ? QString::fromLocal8Bit(argv[3]) : QDir::tempPath();
    const QTemporaryDir folder(base + QStringLiteral("/project-bench-XXXXXX"));
    require(folder.isValid(), folder.errorString());
    QCoreApplication::instance()->setProperty("sessionpath", folder.path());
    measureManifest(folder.path());
    measureFile(folder.path(), mebibytes << 20, pairs);
    return 0;
}
