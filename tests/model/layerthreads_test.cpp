// Layers under several threads. Short: what counts is that the thread sanitizer sees every pair.
#include "model/layer.h"

#include "base/denormals.h"
#include "model/layergroup.h"
#include "model/modeltest.h"
#include "support/testsupport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <thread>

using namespace modeltest;

namespace {

// Calls `look` on `count` threads until the object dies; at least once on each.
class Readers
{
public:
    Readers(int count, const std::function<void()>& look)
    {
        for (int i = 0; i < count; ++i)
            m_threads.emplace_back([this, look] {
                do
                    look();
                while (!m_stop);
            });
    }
    ~Readers()
    {
        m_stop = true;
        for (std::thread& thread : m_threads)
            thread.join();
    }

private:
    std::atomic<bool> m_stop = false;
    std::vector<std::thread> m_threads;
};

TEST(LayerThreads, ReadersSeeOnlyWhatHasArrivedWhileAnImportAppends)
{
    const LayerPtr layer = Layer::create(realFormat(2));
    constexpr int64_t frames = 1500000;
    const std::vector<float> in = ramp(2 * 5000);
    std::atomic<int> wrong = 0;
    {
        const Readers readers(2, [&] {
            const Range range = layer->range();
            (void)layer->contentTime();
            if (range.isEmpty())
                return;
            const Range tail{std::max<int64_t>(0, range.length - 3000),
                             std::min<int64_t>(3000, range.length)};
            const std::vector<float> seen = samplesOf(*layer, tail);
            for (std::size_t i = 0; i < seen.size(); ++i)
                if (seen[i] != float((2 * tail.start + int64_t(i)) % 10000 + 1))
                    ++wrong;
        });
        for (int64_t done = 0; done < frames; done += 5000)
            ASSERT_TRUE(layer->append(in.data(), 5000));
        ASSERT_TRUE(layer->finishAppend());
    }
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(layer->range(), (Range{0, frames}));
}

TEST(LayerThreads, ReadersGoOnWhileTheSpanChanges)
{
    const LayerPtr layer = layerOf(realFormat(), std::vector<float>(100000, 1.0f));
    layer->setAttached(layerOf(realFormat(), std::vector<float>(10, 0.0f)));
    std::atomic<int> wrong = 0;
    {
        const Readers readers(2, [&] {
            std::vector<float> out(4096);
            layer->read(out.data(), {layer->range(true).start, 4096}, 0, true, true);
            for (const float value : out)
                if (value != 0.0f && value != 1.0f)
                    ++wrong;
            (void)layer->name();
            (void)layer->format();
            (void)layer->filePath();
        });
        for (int i = 0; i < 20; ++i) {
            layer->insertTime({50, 5000});
            layer->deleteTime({60, 4000});
            layer->moveBy(100);
            layer->cropTo({0, 90000});
            layer->setName("renamed");
            layer->setTimeOffset(i);
            layer->setAttached(layerOf(realFormat(), std::vector<float>(10, 0.0f)));
            const LayerRecord record = layer->commitRecord();
            layer->applyRecord(record, 0);
            layer->applyRecord(record, 1);
            layer->extendTo({0, 120000});
            layer->resetToBackup();
        }
    }
    EXPECT_EQ(wrong, 0);
}

// Two threads write their own blocks and their own channels of common blocks, while others read; the
// backup has to hold the old samples of all of it.
TEST(LayerThreads, WritersOfDifferentPlacesGoSideBySideAndAreUndone)
{
    const SamplingFormat format = realFormat(2);
    constexpr int64_t frames = 6 * 65536;
    const LayerPtr layer = layerOf(format, ramp(2 * frames));
    for (int round = 0; round < 5; ++round) {
        std::atomic<int> wrong = 0;
        {
            const Readers readers(1, [&] {
                std::vector<float> out(3000);
                layer->read(out.data(), {65536 - 1500, 3000}, 0, true);
                for (std::size_t i = 0; i < out.size(); ++i)
                    if (out[i] != -5.0f && out[i] != float(2 * (65536 - 1500 + int64_t(i)) + 1))
                        ++wrong;
            });
            std::vector<std::thread> writers;
            for (int channel = 0; channel < 2; ++channel)
                writers.emplace_back([&, channel] {
                    const std::vector<float> in(1000, -5.0f);
                    for (int64_t at = 0; at + 1000 <= frames; at += 7000)
                        EXPECT_TRUE(layer->write(in.data(), {at, 1000}, channel, true));
                });
            writers.emplace_back([&] {
                const std::vector<float> in(2 * 500, -5.0f);
                for (int64_t at = frames - 500; at > 0; at -= 7000)
                    EXPECT_TRUE(layer->write(in.data(), {at, 500}, -1, true));
            });
            for (std::thread& writer : writers)
                writer.join();
        }
        EXPECT_EQ(wrong, 0);
        const LayerRecord record = layer->commitRecord();
        layer->applyRecord(record, 0);
        ASSERT_EQ(dataOf(*layer), ramp(2 * frames)) << "round " << round;
    }
}

TEST(LayerThreads, WritersThatGrowTheDataLoseNothing)
{
    const LayerPtr layer = Layer::create(realFormat());
    std::vector<std::thread> writers;
    for (int part = 0; part < 3; ++part)
        writers.emplace_back([&, part] {
            for (int64_t i = 0; i < 60; ++i) {
                const std::vector<float> in(100, float(part + 1));
                EXPECT_TRUE(
                    layer->write(in.data(), {20000 + (part == 0 ? -i : i) * 300 + part * 100, 100}, 0, true));
            }
        });
    for (std::thread& writer : writers)
        writer.join();
    for (int part = 0; part < 3; ++part)
        for (int64_t i = 0; i < 60; ++i) {
            const Range range{20000 + (part == 0 ? -i : i) * 300 + part * 100, 100};
            ASSERT_EQ(samplesOf(*layer, range), std::vector<float>(100, float(part + 1)));
        }
}

TEST(LayerThreads, TheMixIsReadWhileTheTreeChanges)
{
    const LayerGroupPtr group = LayerGroup::create(realFormat());
    const LayerPtr one = layerOf(realFormat(), std::vector<float>(2000, 1.0f));
    ASSERT_TRUE(group->appendChild(one));
    std::atomic<int> wrong = 0;
    {
        const Readers readers(2, [&] {
            std::vector<float> out(2000);
            group->read(out.data(), {0, 2000}, 0, true);
            for (const float value : out)
                if (value != 0 && value != 1 && value != 3 && value != 2)
                    ++wrong;
            (void)group->range();
            (void)group->hasSolo();
        });
        for (int i = 0; i < 200; ++i) {
            const LayerPtr two = layerOf(realFormat(), std::vector<float>(2000, 2.0f));
            ASSERT_TRUE(group->prependChild(two));
            two->setSolo(i % 3 == 0);
            one->setEnabled(i % 2);
            group->moveChild(0, 1);
            const LayerRecord record = group->commitRecord();
            ASSERT_TRUE(group->removeChild(two));
            group->applyRecord(record, 0);
        }
    }
    EXPECT_EQ(wrong, 0);
}

TEST(LayerThreads, RemovedLayerLivesUntilItsReaderHasDone)
{
    LayerPtr layer = layerOf(realFormat(), ramp(10));
    const std::weak_ptr<Layer> weak = layer;
    std::atomic<bool> holding = false, released = false;
    std::thread reader([&, held = layer]() mutable {
        holding = true;
        while (!released)
            std::this_thread::yield();
        EXPECT_EQ(dataOf(*held), ramp(10));
        held.reset();
    });
    EXPECT_TRUE(testsupport::waitFor([&] { return holding.load(); }));
    layer.reset();
    EXPECT_FALSE(weak.expired());
    released = true;
    reader.join();
    EXPECT_TRUE(weak.expired());
    EXPECT_EQ(sessionFiles(), QStringList());
}

} // namespace
