// A sound object for tests: samples in memory, reads counted, and a gate that holds them up.
#pragma once

#include "base/locks.h"
#include "model/ilayer.h"

#include <atomic>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <random>
#include <vector>

// The same noise at every call, from -peak to peak.
inline std::vector<float> noise(std::size_t count, unsigned seed = 1, float peak = 0.5f)
{
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> sample(-peak, peak);
    std::vector<float> samples(count);
    for (float& s : samples)
        s = sample(random);
    return samples;
}

// Samples start at `start`. read() may come from any thread; samples are set between renders only.
class MemoryLayer : public ILayer
{
public:
    explicit MemoryLayer(const SamplingFormat& format, std::vector<float> interleaved = {}, int64_t first = 0)
        : samples(std::move(interleaved)),
          start(first),
          m_format(format)
    {
    }

    std::vector<float> samples;
    int64_t start = 0;
    double offset = 0;
    int32_t sign = 1; // polarity
    float factor = 1; // multiplier
    mutable std::atomic<int64_t> reads{0};
    mutable std::atomic<int64_t> samplesRead{0};
    // Called by every read, on the reading thread.
    std::function<void()> onRead;

    [[nodiscard]] SamplingFormat format() const override { return m_format; }
    [[nodiscard]] Range range(bool) const override
    {
        const int64_t frames =
            m_format.channels < 1 ? 0 : int64_t(samples.size()) / m_format.channels / m_format.sampleType;
        return frames < 1 ? Range{} : Range{start + int64_t(offset), frames};
    }
    [[nodiscard]] Area area() const override { return fullBandArea(m_format, range(false)); }
    void read(float* out, Range asked, int32_t channel, bool overwrite, bool, float gain) const override
    {
        ++reads;
        samplesRead += asked.length;
        if (onRead)
            onRead();
        const int64_t type = m_format.sampleType;
        if (overwrite)
            std::memset(out, 0, std::size_t(asked.length * type) * sizeof(float));
        const Range own = range(false);
        const Range part = asked.intersected(own);
        for (int64_t i = part.start; i < part.end(); ++i)
            for (int64_t j = 0; j < type; ++j)
                out[(i - asked.start) * type + j] +=
                    gain * samples[std::size_t(((i - own.start) * m_format.channels + channel) * type + j)];
    }
    [[nodiscard]] bool isEmpty() const override { return samples.empty(); }
    [[nodiscard]] double timeOffset() const override { return offset; }
    [[nodiscard]] std::pair<float, float> scale() const override { return {1.0f, 1.0f}; }
    [[nodiscard]] QString name() const override { return QStringLiteral("memory"); }

    // What no test here needs.
    [[nodiscard]] int32_t type() const override { return LayerTypeLayer; }
    void setName(const std::string&) override {}
    [[nodiscard]] bool enabled() const override { return true; }
    void setEnabled(bool) override {}
    [[nodiscard]] bool solo() const override { return false; }
    void setSolo(bool) override {}
    [[nodiscard]] int32_t polarity() const override { return sign; }
    void setPolarity(int32_t polarity) override { sign = polarity; }
    [[nodiscard]] float multiplier() const override { return factor; }
    void setMultiplier(float multiplier) override { factor = multiplier; }
    [[nodiscard]] uint32_t color() const override { return 0xffffffff; }
    void setColor(uint32_t) override {}
    [[nodiscard]] int64_t propertiesTime() const override { return 0; }
    [[nodiscard]] int64_t contentTime() const override { return 0; }
    [[nodiscard]] Range recordsRange() const override { return {}; }
    [[nodiscard]] bool isOpen() const override { return false; }
    [[nodiscard]] bool contains(ILayerPtr, bool) const override { return false; }
    bool insertChild(int32_t, ILayerPtr) override { return false; }
    bool prependChild(ILayerPtr) override { return false; }
    bool appendChild(ILayerPtr) override { return false; }
    bool moveChild(int32_t, int32_t) override { return false; }
    bool removeChild(ILayerPtr) override { return false; }
    [[nodiscard]] int64_t sourceOffset() const override { return 0; }
    void setSourceOffset(int64_t) override {}
    void setRange(Range) override {}
    void copyFrom(ILayerPtr, Range) override {}
    void assignFrom(ILayerPtr) override {}
    void replaceBy(ILayerPtr, bool) override {}
    void clear() override {}
    void resetToBackup() override {}
    bool write(const float*, Range, int32_t, bool) override { return false; }
    [[nodiscard]] std::string nameStd() const override { return "memory"; }
    [[nodiscard]] std::list<ILayerPtr> childrenStd(int32_t) const override { return {}; }
    [[nodiscard]] ILayerPtr sourceShared() const override { return nullptr; }
    [[nodiscard]] QString filePath() const override { return {}; }
    [[nodiscard]] ILayerPtr attached() const override { return nullptr; }
    [[nodiscard]] bool hasBackup() const override { return false; }
    void resetBackup(int32_t) override {}
    LayerRecord commitRecord() override { return {}; }
    bool setOpen(bool) override { return false; }
    [[nodiscard]] bool hasSolo() const override { return false; }
    [[nodiscard]] bool containsChild(const ILayerPtr&, bool) const override { return false; }
    bool insertChildAt(int32_t, const ILayerPtr&) override { return false; }
    bool prependChildLayer(const ILayerPtr&) override { return false; }
    bool appendChildLayer(const ILayerPtr&) override { return false; }
    bool removeChildLayer(const ILayerPtr&) override { return false; }
    [[nodiscard]] QList<ILayerPtr> children(int32_t) const override { return {}; }
    [[nodiscard]] QList<ILayerPtr> pathTo(const ILayerPtr&) const override { return {}; }
    [[nodiscard]] QList<ILayerPtr> findParentOf(const ILayerPtr&) const override { return {}; }
    [[nodiscard]] LayerPtr source() const override { return nullptr; }
    void moveBy(int64_t) override {}
    void setFormat(const SamplingFormat& format) override { m_format = format; }
    bool changeFormat(const SamplingFormat&, const Matrix&, const Progress&) override { return false; }
    void stretch(double) override {}
    void extendTo(Range) override {}
    void insertTime(Range) override {}
    void deleteTime(Range) override {}
    void cropTo(Range) override {}
    void copyFromLayer(const ILayerPtr&, Range, bool) override {}
    void assignFromLayer(const ILayerPtr&, bool) override {}
    LayerPtr copy(Range&, bool) const override { return nullptr; }
    [[nodiscard]] LayerPtr clone(bool) const override { return nullptr; }
    void replaceByLayer(const ILayerPtr&, float, bool) override {}
    void applyRecord(const LayerRecord&, int32_t) override {}
    void newBackup() override {}

private:
    SamplingFormat m_format;
};

// A layer of any length without memory: sample i is 1 where i is a multiple of `spacing`, else -0.5.
class EndlessLayer : public MemoryLayer
{
public:
    EndlessLayer(const SamplingFormat& format, int64_t length, int64_t spacing)
        : MemoryLayer(format),
          m_length(length),
          m_spacing(spacing)
    {
    }
    [[nodiscard]] Range range(bool) const override { return {0, m_length}; }
    [[nodiscard]] bool isEmpty() const override { return false; }
    void read(float* out, Range asked, int32_t, bool, bool, float) const override
    {
        ++reads;
        samplesRead += asked.length;
        for (int64_t i = 0; i < asked.length; ++i)
            out[i] = (asked.start + i) % m_spacing == 0 ? 1.0f : -0.5f;
    }

private:
    int64_t m_length;
    int64_t m_spacing;
};
