#include "display/waveformtexture.h"

#include "display/appenvironment.h"
#include "display/gate.h"
#include "display/memorylayer.h"
#include "model/documentlock.h"
#include "model/layer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <thread>

namespace {

const SamplingFormat mono{SampleTypeReal, 48000, ChannelsTypeAudio, 1, 4};

std::vector<float> ramp(std::size_t count)
{
    std::vector<float> samples(count);
    for (std::size_t i = 0; i < count; ++i)
        samples[i] = float(i) / float(count);
    return samples;
}

class WaveTexture : public testing::Test
{
protected:
    WaveTexture() : layer(std::make_shared<MemoryLayer>(mono, ramp(300'000))), texture(layer, 0) {}
    void request(double start, double length, Filtering filtering = Filtering::Linear, bool content = false)
    {
        texture.requestTex({start, length}, 100, filtering, content);
    }
    WaveformTextureDataPtr waitForBlock()
    {
        WaveformTextureDataPtr newest;
        EXPECT_TRUE(testsupport::waitFor([&] {
            if (WaveformTextureDataPtr block = texture.takeNewest())
                newest = std::move(block);
            return newest && !texture.isOutstanding();
        }));
        return newest;
    }

    std::shared_ptr<MemoryLayer> layer;
    WaveformTexture texture;
};

} // namespace

TEST_F(WaveTexture, aRequestGivesAnEnvelopeThatCoversIt)
{
    request(1000, 100'000);
    const WaveformTextureDataPtr block = waitForBlock();
    ASSERT_TRUE(block && block->data);
    EXPECT_EQ(block->layer, layer);
    EXPECT_LE(block->range.start, 1000);
    EXPECT_GE(block->range.start + block->range.length, 101'000);
    EXPECT_EQ(block->step, 1000);
}

TEST_F(WaveTexture, anUnchangedSecondRequestNeitherWakesNorChanges)
{
    request(0, 100'000);
    (void)waitForBlock();
    const int64_t reads = layer->reads;
    request(0, 100'000);
    EXPECT_FALSE(texture.isOutstanding());
    EXPECT_EQ(layer->reads, reads);
    // Every part of a request counts.
    request(1, 100'000);
    (void)waitForBlock();
    request(1, 100'001);
    (void)waitForBlock();
    request(1, 100'001, Filtering::Raw);
    (void)waitForBlock();
    layer->offset = 10;
    request(1, 100'001, Filtering::Raw);
    (void)waitForBlock();
    texture.requestTex({1, 100'001}, 101, Filtering::Raw);
    (void)waitForBlock();
    EXPECT_EQ(texture.renderCount(), 6);
}

TEST_F(WaveTexture, aBurstOf100RequestsDuringARenderYieldsOneMoreOfTheNewest)
{
    Gate gate;
    layer->onRead = [&gate] { gate.pass(); };
    request(0, 100'000);
    ASSERT_TRUE(testsupport::waitFor([&gate] { return gate.hasCaught(); }));
    for (int i = 1; i <= 100; ++i)
        request(1000.0 * i, 100'000);
    gate.open();
    const WaveformTextureDataPtr block = waitForBlock();
    EXPECT_EQ(texture.renderCount(), 2);
    EXPECT_NEAR(block->range.start, 100'000 - 2 * 1000, 1500);
}

TEST_F(WaveTexture, updateContentReadsUnchangedColumnsAgain)
{
    request(0, 100'000);
    (void)waitForBlock();
    const int64_t samples = layer->samplesRead;
    request(0, 100'000, Filtering::Linear, true);
    (void)waitForBlock();
    EXPECT_EQ(layer->samplesRead, 2 * samples);
}

TEST_F(WaveTexture, cleanForgetsEverythingAndALaterRequestStartsAgain)
{
    request(0, 100'000);
    ASSERT_TRUE(testsupport::waitFor([this] { return texture.renderCount() == 1; }));
    texture.clean();
    EXPECT_FALSE(texture.isRunning());
    EXPECT_FALSE(texture.isOutstanding());
    EXPECT_FALSE(texture.takeNewest());
    const int64_t samples = layer->samplesRead;
    texture.clean(); // twice does no harm
    request(0, 100'000);
    EXPECT_TRUE(waitForBlock()->data);
    EXPECT_EQ(layer->samplesRead, 2 * samples);
}

TEST_F(WaveTexture, aWriterOfTheDocumentKeepsRendersAway)
{
    documentLock().lockForWrite();
    request(0, 100'000);
    ASSERT_TRUE(testsupport::waitFor([this] { return texture.isRunning(); }));
    EXPECT_FALSE(testsupport::waitFor([this] { return layer->reads > 0; }, 50));
    documentLock().unlock();
    EXPECT_TRUE(waitForBlock()->data);
}

TEST_F(WaveTexture, viewsWiderThanATextureMayBeAreNarrowed)
{
    texture.requestTex({0, 300'000}, 1'000'000, Filtering::Cubic);
    EXPECT_LE(waitForBlock()->width, 8192);
    for (const int width : {0, -5}) {
        texture.requestTex({0, 300'000}, width, Filtering::Cubic, true);
        EXPECT_GE(waitForBlock()->width, 1);
    }
}

// For the sanitizers: threads pan and zoom over a layer of which single samples and stretches are written.
TEST(WaveTextureThreads, panAndZoomWhileSamplesAreEdited)
{
    const LayerPtr layer = Layer::create(mono, {}, 0, true);
    const std::vector<float> start = ramp(200'000);
    ASSERT_TRUE(layer->write(start.data(), {0, 200'000}, -1, true));
    std::atomic<bool> stop{false};
    std::thread writer([&] {
        std::mt19937 random(5);
        std::vector<float> block(3000, 0.25f);
        while (!stop) {
            const int64_t at = int64_t(random() % 250'000); // also beyond the end: the file grows
            (void)layer->write(block.data(), {at, random() % 4 ? 1 : 3000}, -1, random() % 2 == 0);
        }
    });
    {
        WaveformTexture first(layer, 0);
        WaveformTexture second(layer, 0);
        std::mt19937 random(6);
        std::uniform_real_distribution<double> part(0, 1);
        for (int i = 0; i < 150; ++i) {
            const FRange range{part(random) * 150'000, std::exp2(2 + 16 * part(random))};
            for (WaveformTexture* texture : {&first, &second}) {
                texture->requestTex(range, 200, Filtering(i % 3), i % 3 == 0);
                if (i % 17 == 0)
                    texture->clean();
            }
            if (i % 3 == 0) {
                EXPECT_TRUE(testsupport::waitFor([&] {
                    (void)first.takeNewest();
                    return !first.isOutstanding();
                }));
            }
        }
        EXPECT_GT(first.renderCount(), 20);
    }
    stop = true;
    writer.join();
}
