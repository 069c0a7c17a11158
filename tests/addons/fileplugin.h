// What tests of file plug-ins share: the plug-in itself, and both ends of the road in memory.
#pragma once

#include "plugins/ifileplugin.h"

#include <vector>

#include <QByteArray>
#include <QString>
#include <QStringList>

// The library, loaded once, its host table filled, init() called.
IFilePlugin& ffmpegPlugin();

// An import into memory.
struct MemorySink : IImportSink
{
    bool begin(const ImportInfo& i) override
    {
        ++begins;
        info = i;
        return !refuseFormat;
    }
    bool samples(const float* interleaved, int64_t frames) override
    {
        data.insert(data.end(), interleaved, interleaved + frames * info.format.channels);
        return refuseAfter < 0 || this->frames() <= refuseAfter;
    }
    void markers(const MarkerList& list) override { markerList += list; }
    void spectralMarkers(const SpectralMarkerList&) override {}
    void metaData(const MetaDataList& list) override
    {
        for (auto i = list.constBegin(); i != list.constEnd(); ++i)
            tags.insert(i.key(), i.value());
    }
    bool progress(int64_t done, int64_t total) override
    {
        lastDone = done;
        lastTotal = total;
        return ++progressCalls != cancelAt;
    }
    void message(const QString& text) override { messages << text; }

    [[nodiscard]] int64_t frames() const
    {
        return info.format.channels < 1 ? 0 : int64_t(data.size()) / info.format.channels;
    }
    // One channel by itself.
    [[nodiscard]] std::vector<float> channel(int index) const;

    ImportInfo info;
    std::vector<float> data;
    MarkerList markerList;
    MetaDataList tags;
    QStringList messages;
    int begins = 0;
    int progressCalls = 0;
    int cancelAt = -1;
    int64_t refuseAfter = -1; // frames
    bool refuseFormat = false;
    int64_t lastDone = 0;
    int64_t lastTotal = 0;
};

// An export out of memory.
struct MemorySource final : IExportSource
{
    [[nodiscard]] SamplingFormat format() const override { return samplingFormat; }
    [[nodiscard]] int64_t frames() const override
    {
        return int64_t(data.size()) / samplingFormat.channels * repeats;
    }
    bool samples(float* interleaved, int64_t start, int64_t count) override;
    [[nodiscard]] MarkerList markers() const override { return markerList; }
    [[nodiscard]] MetaDataList metaData() const override { return tags; }
    bool progress(int64_t, int64_t) override { return ++progressCalls != cancelAt; }
    void message(const QString& text) override { messages << text; }

    SamplingFormat samplingFormat;
    std::vector<float> data;
    int64_t repeats = 1; // the data over and over, for long files
    MarkerList markerList;
    MetaDataList tags;
    QStringList messages;
    int progressCalls = 0;
    int cancelAt = -1;
};

[[nodiscard]] SamplingFormat audioFormat(double rate, int channels, uint64_t mask = 0);
// A source with that many frames of zeros.
[[nodiscard]] MemorySource silence(double rate, int channels, int64_t frames);
// Noise that never repeats, the same for the same seed, below full scale.
[[nodiscard]] std::vector<float> noise(int64_t count, uint32_t seed = 1);
// Runs the program `ffmpeg` with these arguments; false, with its words in the test's output, when it fails.
bool runFfmpeg(const QStringList& arguments);
QByteArray readAll(const QString& path);
void writeAll(const QString& path, const QByteArray& bytes);
