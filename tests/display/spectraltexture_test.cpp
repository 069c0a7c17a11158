#include "display/spectraltexture.h"

#include "display/appenvironment.h"
#include "display/gate.h"
#include "display/memorylayer.h"
#include "model/documentlock.h"
#include "model/layer.h"
#include "support/testsupport.h"

#include <gtest/gtest.h>

#include <QTimer>
#include <QVariant>

#include <atomic>
#include <cmath>
#include <limits>
#include <random>
#include <thread>

#include <sys/resource.h>

namespace {

const SamplingFormat mono{SampleTypeReal, 48000, ChannelsTypeAudio, 1, 4};

std::shared_ptr<const Transform> transformOf(int frameSize, WindowType window = WindowType::BlackmanHarris)
{
    return std::make_shared<const Transform>(SampleTypeReal, window, frameSize, 8, 2);
}

class Texture : public testing::Test
{
protected:
    Texture()
        : layer(std::make_shared<MemoryLayer>(mono, noise(300'000))),
          texture(layer, 0, transformOf(512))
    {
    }
    void request(const Area& area, Filtering filtering = Filtering::Linear, bool updateContent = false)
    {
        texture.requestTex(area, QSize(100, 40), 0, 0, FreqScale::Linear, filtering, updateContent);
    }
    SpectralTextureDataPtr take()
    {
        SpectralTextureDataPtr picture;
        texture.lockTexQueue();
        if (!texture.getTexQueue().empty())
            picture = std::move(texture.getTexQueue().back());
        texture.getTexQueue().clear();
        texture.unlockTexQueue();
        return picture;
    }
    SpectralTextureDataPtr waitForPicture()
    {
        SpectralTextureDataPtr newest;
        EXPECT_TRUE(testsupport::waitFor([&] {
            if (SpectralTextureDataPtr picture = take())
                newest = std::move(picture);
            return newest && !texture.isOutstanding();
        }));
        return newest;
    }

    const Area wide{0, 0, 100'000, 24000};
    std::shared_ptr<MemoryLayer> layer;
    SpectralTexture texture;
};

} // namespace

TEST_F(Texture, aRequestGivesAPictureThatCoversIt)
{
    request(wide);
    const SpectralTextureDataPtr picture = waitForPicture();
    ASSERT_TRUE(picture && picture->data);
    EXPECT_EQ(picture->layer, layer);
    EXPECT_LE(picture->area.x, 0);
    EXPECT_GE(picture->area.x + picture->area.width, 100'000);
    EXPECT_EQ(picture->size.height(), 40);
}

TEST_F(Texture, anUnchangedSecondRequestNeitherWakesNorChanges)
{
    request(wide);
    (void)waitForPicture();
    const int64_t reads = layer->reads;
    request(wide);
    EXPECT_FALSE(texture.isOutstanding()); // no request was stored
    EXPECT_EQ(texture.renderCount(), 1);
    EXPECT_EQ(layer->reads, reads);
    // Every part of a request counts.
    request({1, 0, 100'000, 24000});
    (void)waitForPicture();
    request({1, 0, 100'000, 24000}, Filtering::Raw);
    (void)waitForPicture();
    texture.setTransform(transformOf(1024));
    request({1, 0, 100'000, 24000}, Filtering::Raw);
    (void)waitForPicture();
    layer->offset = 10;
    request({1, 0, 100'000, 24000}, Filtering::Raw);
    (void)waitForPicture();
    EXPECT_EQ(texture.renderCount(), 5);
}

TEST_F(Texture, aBurstOf100RequestsDuringARenderYieldsOneMoreOfTheNewest)
{
    Gate gate;
    layer->onRead = [&gate] { gate.pass(); };
    request(wide);
    ASSERT_TRUE(testsupport::waitFor([&gate] { return gate.hasCaught(); }));
    for (int i = 1; i <= 100; ++i)
        request({1000.0 * i, 0, 100'000, 24000});
    gate.open();
    const SpectralTextureDataPtr picture = waitForPicture();
    EXPECT_EQ(texture.renderCount(), 2);
    EXPECT_NEAR(picture->area.x, 100'000 - 2 * 1000, 1500);
}

TEST_F(Texture, updateContentReadsUnchangedColumnsAgain)
{
    request(wide);
    (void)waitForPicture();
    const int64_t reads = layer->reads;
    request(wide, Filtering::Linear, true);
    (void)waitForPicture();
    EXPECT_EQ(layer->reads, 2 * reads);
}

TEST_F(Texture, onlyCubicFilteringInterpolates)
{
    const Area close{50'000, 0, 1000, 24000};
    request(close, Filtering::Raw);
    const int columns = waitForPicture()->size.width();
    EXPECT_LT(columns, 30); // one a hop of 64
    request(close, Filtering::Linear);
    EXPECT_EQ(waitForPicture()->size.width(), columns);
    request(close, Filtering::Cubic);
    EXPECT_EQ(waitForPicture()->size.width(), (columns - 1) * 6 + 1); // floor(64 / 10)
}

TEST_F(Texture, anAreaWhollyBeforeTheLayerGivesAnEmptyBlock)
{
    layer->start = 1'000'000;
    request(wide);
    const SpectralTextureDataPtr picture = waitForPicture();
    ASSERT_TRUE(picture);
    EXPECT_FALSE(picture->data);
}

TEST_F(Texture, aNaNCountsAsChanged)
{
    const Area area{std::numeric_limits<double>::quiet_NaN(), 0, 1000, 24000};
    for (int i = 1; i <= 3; ++i) {
        request(area);
        EXPECT_FALSE(waitForPicture()->data);
        EXPECT_EQ(texture.renderCount(), i);
    }
}

TEST_F(Texture, cleanForgetsEverythingAndALaterRequestStartsAgain)
{
    request(wide);
    ASSERT_TRUE(testsupport::waitFor([this] { return texture.renderCount() == 1; }));
    texture.clean();
    EXPECT_FALSE(texture.isRunning());
    EXPECT_FALSE(texture.isOutstanding());
    EXPECT_FALSE(take());
    const int64_t reads = layer->reads;
    texture.clean(); // twice does no harm
    request(wide);
    EXPECT_TRUE(waitForPicture()->data);
    EXPECT_EQ(layer->reads, 2 * reads);
}

TEST_F(Texture, cleanWaitsForTheColumnsInWorkNotForThePicture)
{
    Gate gate;
    layer->onRead = [&gate] { gate.pass(); };
    request({0, 0, 290'000, 24000});
    ASSERT_TRUE(testsupport::waitFor([&gate] { return gate.hasCaught(); }));
    std::thread opener([&gate, this] {
        while (!texture.isInterruptionRequested())
            std::this_thread::yield();
        gate.open();
    });
    texture.clean();
    opener.join();
    EXPECT_LT(layer->reads, 50);
    EXPECT_EQ(texture.renderCount(), 0);
}

TEST_F(Texture, aWriterOfTheDocumentKeepsRendersAway)
{
    documentLock().lockForWrite();
    request(wide);
    ASSERT_TRUE(testsupport::waitFor([this] { return texture.isRunning(); }));
    QTimer::singleShot(50, [] {}); // something for the event loop to wake up for
    EXPECT_FALSE(testsupport::waitFor([this] { return layer->reads > 0; }, 50));
    documentLock().unlock();
    EXPECT_TRUE(waitForPicture()->data);
}

TEST_F(Texture, rendersGiveWayToTheEventLoop)
{
    std::atomic<int> rendering{-20};
    layer->onRead = [&rendering] {
        const int mine = getpriority(PRIO_PROCESS, 0); // of the thread that asks
        for (int known = rendering; known < mine && !rendering.compare_exchange_weak(known, mine);) {
        }
    };
    request(wide);
    (void)waitForPicture();
    EXPECT_GT(rendering, getpriority(PRIO_PROCESS, 0));
}

TEST_F(Texture, aViewThatTakesNothingPilesUpNothing)
{
    for (int i = 1; i <= 5; ++i) {
        request(wide, Filtering::Linear, true);
        ASSERT_TRUE(testsupport::waitFor([this, i] { return texture.renderCount() >= i; }));
    }
    texture.lockTexQueue();
    EXPECT_EQ(texture.getTexQueue().size(), 1U);
    texture.unlockTexQueue();
}

// A size that is not a power of two is not supported: the default stands in, and nothing is mixed up.
TEST_F(Texture, aRingThatIsNoPowerOfTwoIsNotTaken)
{
    request(wide);
    const SpectralTextureDataPtr want = waitForPicture();
    for (const int size : {0, -8192, 100, 5000, 1023}) {
        qApp->setProperty("maxtexsize", QVariant(size));
        SpectralTexture other(layer, 0, transformOf(512));
        other.requestTex(wide, QSize(100, 40), 0, 0, FreqScale::Linear, Filtering::Linear);
        ASSERT_TRUE(testsupport::waitFor([&other] { return other.renderCount() == 1; }));
        other.lockTexQueue();
        const SpectralTextureDataPtr picture = std::move(other.getTexQueue().back());
        other.unlockTexQueue();
        ASSERT_EQ(picture->size, want->size);
        EXPECT_EQ(std::memcmp(picture->data.get(), want->data.get(), 100 * 40 * sizeof(float)), 0);
    }
    qApp->setProperty("maxtexsize", QVariant());
}

TEST_F(Texture, theSignalArrivesOnTheGuiThread)
{
    QObject receiver;
    Qt::HANDLE thread = nullptr;
    QObject::connect(&texture, &SpectralTexture::textureAvailable, &receiver,
                     [&thread] { thread = QThread::currentThreadId(); });
    request(wide);
    ASSERT_TRUE(testsupport::waitFor([&thread] { return thread != nullptr; }));
    EXPECT_EQ(thread, QThread::currentThreadId());
}

// For the sanitizers: several threads pan and zoom over a layer that is being written, while size and
// window of the transform change.
TEST(TextureThreads, panAndZoomWhileTheLayerIsWrittenAndTheSettingsChange)
{
    const LayerPtr layer = Layer::create(mono, {}, 0, true);
    const std::vector<float> start = noise(200'000);
    ASSERT_TRUE(layer->write(start.data(), {0, 200'000}, -1, true));
    std::atomic<bool> stop{false};
    std::thread writer([&] {
        std::mt19937 random(5);
        std::vector<float> block(3000, 0.25f);
        while (!stop) {
            const int64_t at = int64_t(random() % 250'000); // also beyond the end: the file grows
            (void)layer->write(block.data(), {at, 3000}, -1, random() % 2 == 0);
        }
    });
    {
        SpectralTexture first(layer, 0, transformOf(512));
        SpectralTexture second(layer, 0, transformOf(2048));
        std::mt19937 random(6);
        std::uniform_real_distribution<double> part(0, 1);
        for (int i = 0; i < 60; ++i) {
            const double width = 2000 + part(random) * 200'000;
            const Area area{part(random) * 100'000, 0, width, 24000};
            const float sharpen = i % 3 ? 0.0f : 0.5f;
            for (SpectralTexture* texture : {&first, &second}) {
                if (i % 7 == 0)
                    texture->setTransform(transformOf(256 << (i % 4), WindowType(i % windowTypeCount)));
                texture->requestTex(area, QSize(80, 30), sharpen, sharpen, FreqScale::Mel, Filtering(i % 3),
                                    i % 5 == 0);
                if (i % 17 == 0)
                    texture->clean();
            }
            if (i % 4 == 0) {
                EXPECT_TRUE(testsupport::waitFor([&first] {
                    first.lockTexQueue();
                    first.getTexQueue().clear();
                    first.unlockTexQueue();
                    return !first.isOutstanding();
                }));
            }
        }
        EXPECT_GT(first.renderCount(), 5);
    }
    stop = true;
    writer.join();
}
