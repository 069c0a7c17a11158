#include "fileplugin.h"

#include "model/types/channellabels.h"
#include "projectfiles/wavchunks.h"

#include "support/testsupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include <QFile>
#include <QPluginLoader>
#include <QProcess>

IFilePlugin& ffmpegPlugin()
{
    static IFilePlugin* const plugin = [] {
        QPluginLoader loader(QStringLiteral(MORVANE_FFMPEG_PLUGIN));
        auto* instance = qobject_cast<IFilePlugin*>(loader.instance());
        if (!instance)
            qFatal("%s", qPrintable(loader.errorString()));
        // All that this plug-in needs of the host.
        instance->host.readMarkers = [](const QString& path, MarkerList& markers) {
            return wavchunks::readMarkers(path, markers);
        };
        instance->host.readMetaData = [](const QString& path, MetaDataList& tags) {
            return wavchunks::readMetaData(path, tags);
        };
        instance->host.defaultChannelsMask = [](int32_t type, int32_t count) {
            return defaultChannelsMask(type, count);
        };
        if (!instance->init(loader.fileName(), nullptr))
            qFatal("init refused");
        return instance;
    }();
    return *plugin;
}

std::vector<float> MemorySink::channel(int index) const
{
    std::vector<float> out;
    for (int64_t i = 0; i < frames(); ++i)
        out.push_back(data[size_t(i * info.format.channels + index)]);
    return out;
}

bool MemorySource::samples(float* interleaved, int64_t start, int64_t count)
{
    const auto size = int64_t(data.size());
    const int channels = samplingFormat.channels;
    for (int64_t i = 0; i < count * channels; ++i)
        interleaved[i] = data[size_t((start * channels + i) % size)];
    return true;
}

SamplingFormat audioFormat(double rate, int channels, uint64_t mask)
{
    static const uint64_t usual[] = {0, 4, 3, 7, 51, 1543, 1551, 1591, 1599};
    SamplingFormat format;
    format.sampleRate = rate;
    format.channels = channels;
    format.channelsMask = mask != 0       ? mask
                          : channels < 9  ? usual[channels]
                          : channels < 64 ? (uint64_t(1) << channels) - 1
                                          : ~uint64_t(0);
    return format;
}

MemorySource silence(double rate, int channels, int64_t frames)
{
    MemorySource source;
    source.samplingFormat = audioFormat(rate, channels);
    source.data.resize(size_t(frames * channels));
    return source;
}

std::vector<float> noise(int64_t count, uint32_t seed)
{
    std::mt19937 engine(seed);
    std::vector<float> out(static_cast<size_t>(count));
    for (float& v : out)
        v = float(int32_t(engine())) * (0.9f / 2147483648.0f);
    return out;
}

bool runFfmpeg(const QStringList& arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(QStringLiteral("ffmpeg"),
                  QStringList{QStringLiteral("-hide_banner"), QStringLiteral("-loglevel"),
                              QStringLiteral("error"), QStringLiteral("-nostdin"), QStringLiteral("-y")} +
                      arguments);
    if (process.waitForFinished(testsupport::patient(60000)) && process.exitCode() == 0)
        return true;
    std::cerr << qPrintable(arguments.join(QLatin1Char(' '))) << "\n" << process.readAll().toStdString();
    return false;
}

QByteArray readAll(const QString& path)
{
    QFile file(path);
    EXPECT_TRUE(file.open(QFile::ReadOnly)) << path.toStdString();
    return file.readAll();
}

void writeAll(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    EXPECT_TRUE(file.open(QFile::WriteOnly | QFile::Truncate)) << path.toStdString();
    EXPECT_EQ(file.write(bytes), bytes.size());
}
