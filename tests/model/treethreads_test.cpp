// Readers on several threads while the main thread does everything that it may do to a tree. Short: what
// counts is that the thread sanitizer sees every pair.
#include "model/documentlock.h"
#include "model/layerregion.h"
#include "model/layerroot.h"
#include "model/modeltest.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <thread>

using namespace modeltest;

namespace {

constexpr int64_t block = 3000;
constexpr float guard = -777;

SamplingFormat formatOf(int round)
{
    SamplingFormat format = round % 2 ? realFormat(2, 48000) : realFormat(1, 44100);
    if (format.channels == 1)
        format.channelsMask = 4;
    return format;
}

class TreeThreads : public testing::Test
{
protected:
    // Conversions ring at the ends of a signal; what comes from foreign memory is seldom so small.
    void judge(const std::vector<float>& out, std::size_t used)
    {
        for (std::size_t i = 0; i < used; ++i)
            if (!std::isfinite(out[i]) || std::fabs(out[i]) > 4)
                ++wrong;
        for (std::size_t i = used; i < out.size(); ++i)
            if (out[i] != guard)
                ++beyond;
    }
    // As a texture thread: all channels, under the document's lock, so that the format holds.
    void readAll()
    {
        const ReadLocker document(documentLock());
        const LayerGroupPtr mix = root.project();
        const std::size_t used = std::size_t(block * mix->format().channels);
        std::vector<float> out(used + 64, guard);
        mix->read(out.data(), {mix->range().start + 100, block}, -1, true, true);
        judge(out, used);
        for (const ILayerPtr& layer : mix->children(ChildrenAll)) {
            const std::size_t own = std::size_t(block * layer->format().channels);
            std::vector<float> samples(own + 64, guard);
            layer->read(samples.data(), {50, block}, -1, true);
            judge(samples, own);
            (void)layer->contentTime();
            (void)layer->name();
        }
    }
    // As a device thread: without the lock, one channel, which has one float in every real format.
    void readOne()
    {
        const LayerGroupPtr mix = root.project();
        std::vector<float> out(block + 64, guard);
        mix->read(out.data(), {0, block}, 0, true);
        judge(out, block);
        (void)mix->hasSolo();
    }

    LayerRoot root{formatOf(0)};
    std::atomic<int> wrong = 0, beyond = 0, reads = 0;
};

TEST_F(TreeThreads, ReadersGoOnWhileTheTreeIsEditedUndoneRegroupedAndConverted)
{
    const SamplingFormat format = formatOf(0);
    const LayerGroupPtr tree = root.project(), inner = LayerGroup::create(format);
    const LayerPtr a = layerOf(format, std::vector<float>(140000, 0.25f)),
                   b = layerOf(format, std::vector<float>(20000, 0.5f));
    const LayerRegionPtr region = LayerRegion::create(a, 500, 9000, 100);
    for (const ILayerPtr& child : {ILayerPtr(a), ILayerPtr(inner), ILayerPtr(region)})
        ASSERT_TRUE(tree->appendChild(child));
    ASSERT_TRUE(inner->appendChild(b));
    tree->resetBackup(ChildrenAll);

    std::atomic<bool> stop = false;
    std::vector<std::thread> readers;
    for (int i = 0; i < 3; ++i)
        readers.emplace_back([&, i] {
            while (!stop) {
                i == 0 ? readOne() : readAll();
                ++reads;
            }
        });
    for (int round = 1; round <= 12; ++round) {
        const std::vector<float> in(std::size_t(200 * a->format().channels), 0.125f * float(round % 4));
        EXPECT_TRUE(a->write(in.data(), {a->range().start + 70 * round, 200}, -1, true));
        const LayerRecord edit = a->commitRecord();
        b->insertTime({1000, 50});
        b->stretch(round % 2 ? 1.01 : 0.99);
        const LayerRecord stretched = b->commitRecord();
        EXPECT_TRUE(inner->removeChild(b));
        EXPECT_TRUE(tree->prependChild(b));
        const LayerRecord moved = tree->commitRecord(), left = inner->commitRecord();
        a->applyRecord(edit, 0);
        b->applyRecord(stretched, 0);
        a->applyRecord(edit, 1);
        tree->applyRecord(moved, 0);
        inner->applyRecord(left, 0);
        region->setWindow({round * 10, 8000});
        EXPECT_TRUE(root.changeFormat(formatOf(round), Matrix(), [](int, int) { return true; }));
        root.setFormat(formatOf(round));
        EXPECT_EQ(inner->children(ChildrenDirect), QList<ILayerPtr>{b});
    }
    EXPECT_GT(reads, 3);
    stop = true;
    for (std::thread& reader : readers)
        reader.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(beyond, 0) << "a read went past the end of its buffer";
    EXPECT_FALSE(a->takeStorageError() || b->takeStorageError());
}

} // namespace
