#include "display/waveformrenderer.h"

#include "display/memorylayer.h"
#include "support/testsupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

namespace {

constexpr int ringSize = 8192;
const std::atomic<bool> notCancelled{false};
const SamplingFormat mono{SampleTypeReal, 48000, ChannelsTypeAudio, 1, 4};
const SamplingFormat stereo{SampleTypeReal, 48000, ChannelsTypeAudio, 2, 3};
const SamplingFormat complexMono{SampleTypeComplex, 48000, ChannelsTypeGeneric, 1, 1};

WaveformRequest requestFor(double start, double length, int width, Filtering filtering = Filtering::Linear)
{
    WaveformRequest request;
    request.range = {start, length};
    request.textureWidth = width;
    const Area area{start, 0, length, 1};
    request.step = columnStep(area, width, 1);
    request.upsample = filtering == Filtering::Cubic ? columnUpsample(request.step, area, width) : 1;
    request.filtering = filtering;
    return request;
}

class Envelope : public testing::Test
{
protected:
    void use(const std::shared_ptr<MemoryLayer>& with, int channel = 0)
    {
        layer = with;
        renderer = std::make_unique<WaveformRenderer>(layer, channel, ringSize);
    }
    WaveformTextureDataPtr render(const WaveformRequest& request, bool refresh = false)
    {
        WaveformTextureDataPtr block = renderer->render(request, refresh, notCancelled);
        EXPECT_TRUE(block);
        return block;
    }
    // One number by one, as its definition says.
    [[nodiscard]] QVector4D columnAt(int64_t key, int64_t window, int channel = 0) const
    {
        const SamplingFormat format = layer->format();
        const int64_t type = format.sampleType;
        const int64_t frames = int64_t(layer->samples.size()) / format.channels / type;
        QVector4D column;
        for (int64_t part = 0; part < type; ++part) {
            float low = std::numeric_limits<float>::max();
            float high = -low;
            for (int64_t i = key - window / 2; i < key - window / 2 + window; ++i) {
                const bool inside = i >= layer->start && i < layer->start + frames;
                const int64_t index = ((i - layer->start) * format.channels + channel) * type + part;
                const float value = inside ? layer->samples[std::size_t(index)] : 0.0f;
                low = std::min(low, value);
                high = std::max(high, value);
            }
            column[int(2 * part)] = low;
            column[int(2 * part + 1)] = high;
        }
        return column;
    }
    // Every column of the block is what it should be.
    void expectColumns(const WaveformTextureData& block, int channel = 0)
    {
        ASSERT_TRUE(block.data);
        const auto window = int64_t(std::min(32768.0, std::ceil(block.step)));
        for (int64_t i = 0; i < block.columnCount; ++i) {
            const auto key = int64_t(double(block.firstColumn + i) * block.step);
            ASSERT_EQ(block.data[std::size_t(i * block.upsample)], columnAt(key, window, channel))
                << "column " << i << " of step " << block.step;
        }
    }

    std::shared_ptr<MemoryLayer> layer;
    std::unique_ptr<WaveformRenderer> renderer;
};

} // namespace

TEST_F(Envelope, aColumnIsMinimumAndMaximumOfItsSamples)
{
    use(std::make_shared<MemoryLayer>(mono, noise(100'000)));
    for (const double length : {30.0, 400.0, 1000.0, 12'345.6, 100'000.0}) {
        const WaveformTextureDataPtr block = render(requestFor(0, length, 400));
        expectColumns(*block);
    }
}

// Where columns hold all their samples none is left out: the extremes of the layer are there at every zoom.
TEST_F(Envelope, noSampleIsLeftOutBelow32768SamplesForEachPixel)
{
    std::vector<float> samples(1'000'000, 0.0f);
    std::mt19937 random(2);
    for (int i = 0; i < 30; ++i) {
        const std::size_t at = random() % samples.size();
        samples.assign(samples.size(), 0.0f);
        samples[at] = 1;
        use(std::make_shared<MemoryLayer>(mono, samples));
        const double length = 2000 + double(random() % 998'000);
        const double start = std::max(0.0, std::min(double(at) - length / 2, 1'000'000 - length));
        const WaveformTextureDataPtr block = render(requestFor(start, length, 160));
        int found = 0;
        for (int x = 0; x < block->width; ++x)
            found += block->data[std::size_t(x)].y() == 1;
        ASSERT_GE(found, 1) << at << " in " << length;
        ASSERT_LE(found, 2);
    }
}

TEST_F(Envelope, columnsStandOnTheirSamplesTime)
{
    std::vector<float> samples(10'000, 0.0f);
    samples[6000] = 1;
    use(std::make_shared<MemoryLayer>(mono, samples));
    for (const double length : {50.0, 500.0, 10'000.0}) {
        const double start = length == 10'000 ? 0 : 6000 - length / 3;
        const WaveformTextureDataPtr block = render(requestFor(start, length, 200));
        int peak = 0;
        for (int x = 0; x < block->width; ++x)
            if (block->data[std::size_t(x)].y() > block->data[std::size_t(peak)].y())
                peak = x;
        const double time = block->range.start + (peak + 0.5) * block->range.length / block->width;
        EXPECT_NEAR(time, 6000, std::max(1e-6, block->step / 2 + 0.5));
    }
}

TEST_F(Envelope, aColumnLooksAtNoMoreThan32768SamplesHoweverFarOut)
{
    const int64_t tenHours = int64_t(36'000) * 48'000;
    auto endless = std::make_shared<EndlessLayer>(mono, tenHours, 20'000);
    use(endless);
    const WaveformTextureDataPtr block = render(requestFor(0, double(tenHours), 400));
    EXPECT_LE(endless->samplesRead, (block->columnCount + 4) * 32768);
    EXPECT_GE(endless->samplesRead, block->columnCount * 32768);
    // About each column there is a 1, and something else.
    for (int x = 0; x < block->width; ++x)
        ASSERT_EQ(block->data[std::size_t(x)], QVector4D(-0.5f, 1, 0, 0)) << x;
}

TEST_F(Envelope, aPanReadsWhatCameIntoViewAlone)
{
    use(std::make_shared<MemoryLayer>(mono, noise(2'000'000)));
    const double length = 777'777.7;
    (void)render(requestFor(100'000, length, 400));
    EXPECT_GE(renderer->readCount(), 400);
    const WaveformTextureDataPtr block = render(requestFor(100'000 + length / 10, length, 400));
    EXPECT_GE(renderer->readCount(), 39);
    EXPECT_LE(renderer->readCount(), 42);
    expectColumns(*block);
    (void)render(requestFor(100'000 + length / 10, length, 400));
    EXPECT_EQ(renderer->readCount(), 0);
}

TEST_F(Envelope, contentStepShiftAndScaleMakeItReadAgain)
{
    use(std::make_shared<MemoryLayer>(mono, noise(100'000)));
    WaveformRequest request = requestFor(0, 100'000, 400);
    (void)render(request);
    layer->samples = noise(100'000, 2);
    expectColumns(*render(request, true));
    layer->samples = noise(100'000, 3);
    request = requestFor(0, 50'000, 400);
    expectColumns(*render(request));
    layer->samples = noise(100'000, 4);
    request.timeShift = 1;
    expectColumns(*render(request));
    layer->samples = noise(100'000, 5);
    request.layerScale.second = 0.5f;
    expectColumns(*render(request));
}

TEST_F(Envelope, eachChannelHasItsOwn)
{
    std::vector<float> samples = noise(20'000);
    for (std::size_t i = 1; i < samples.size(); i += 2)
        samples[i] = 0.25f;
    const auto both = std::make_shared<MemoryLayer>(stereo, samples);
    use(both, 0);
    expectColumns(*render(requestFor(0, 10'000, 200)), 0);
    use(both, 1);
    const WaveformTextureDataPtr block = render(requestFor(1000, 8000, 200));
    expectColumns(*block, 1);
    for (int x = 0; x < block->width; ++x)
        EXPECT_EQ(block->data[std::size_t(x)], QVector4D(0.25f, 0.25f, 0, 0));
}

TEST_F(Envelope, aComplexLayerHasTwo)
{
    std::vector<float> samples = noise(40'000);
    for (std::size_t i = 1; i < samples.size(); i += 2)
        samples[i] = samples[i] / 4 - 0.5f;
    use(std::make_shared<MemoryLayer>(complexMono, samples));
    for (const double length : {40.0, 5000.0, 20'000.0})
        expectColumns(*render(requestFor(0, length, 200)));
    const QVector4D middle = render(requestFor(0, 20'000, 20))->data[10];
    EXPECT_GT(middle.y(), 0.4f);
    EXPECT_LT(middle.w(), -0.3f);
}

// Published weights of the curve through four points: (-x^3 + 2x^2 - x) / 2 and so on.
TEST_F(Envelope, cubicFilteringDrawsACurveThroughTheSamples)
{
    use(std::make_shared<MemoryLayer>(mono, noise(1000)));
    const WaveformTextureDataPtr block = render(requestFor(500, 20, 400, Filtering::Cubic));
    ASSERT_EQ(block->upsample, 20);
    ASSERT_EQ(block->width, (block->columnCount - 1) * 20 + 1);
    expectColumns(*block);
    for (int64_t gap = 1; gap + 2 < block->columnCount; ++gap) {
        double p[4];
        for (int k = 0; k < 4; ++k)
            p[k] = double(layer->samples[std::size_t(block->firstColumn + gap - 1 + k)]);
        for (int j = 1; j < 20; ++j) {
            const double x = j / 20.0;
            const double want = p[0] * (x * x - x * x * x / 2 - x / 2) +
                                p[1] * (1.5 * x * x * x - 2.5 * x * x + 1) +
                                p[2] * (2 * x * x - 1.5 * x * x * x + x / 2) + p[3] * (x * x * x - x * x) / 2;
            const QVector4D texel = block->data[std::size_t(gap * 20 + j)];
            ASSERT_NEAR(double(texel.x()), want, 2e-6);
            ASSERT_EQ(texel.x(), texel.y());
        }
    }
}

TEST_F(Envelope, onlyCubicFilteringInterpolatesAndNeverMoreThan32Times)
{
    use(std::make_shared<MemoryLayer>(mono, noise(1000)));
    for (const Filtering filtering : {Filtering::Raw, Filtering::Linear})
        EXPECT_EQ(render(requestFor(500, 4, 400, filtering))->upsample, 1);
    EXPECT_EQ(render(requestFor(500, 4, 400, Filtering::Cubic))->upsample, 32);
    EXPECT_EQ(render(requestFor(100, 800, 400, Filtering::Cubic))->upsample, 1);
}

TEST_F(Envelope, layersOfOneAndTwoSamplesAreShown)
{
    for (const std::vector<float>& samples : {std::vector<float>{0.5f}, {0.5f, -0.25f}}) {
        use(std::make_shared<MemoryLayer>(mono, samples));
        const WaveformTextureDataPtr block = render(requestFor(0, 4, 400, Filtering::Cubic));
        ASSERT_TRUE(block->data);
        expectColumns(*block);
        if (samples.size() == 2) {
            EXPECT_NEAR(block->data[std::size_t(block->upsample / 2)].x(), 0.125f, 0.02f);
        }
    }
}

TEST_F(Envelope, aRangeThatMissesTheLayerGivesABlockWithoutData)
{
    use(std::make_shared<MemoryLayer>(mono, noise(1000), 5000));
    EXPECT_FALSE(render(requestFor(0, 4000, 400))->data);
    EXPECT_FALSE(render(requestFor(7000, 4000, 400))->data);
    EXPECT_TRUE(render(requestFor(4500, 1000, 400))->data);
    use(std::make_shared<MemoryLayer>(mono, noise(1000)), 1); // a channel that is not there
    EXPECT_FALSE(render(requestFor(0, 1000, 400))->data);
    use(std::make_shared<MemoryLayer>(mono));
    EXPECT_FALSE(render(requestFor(0, 1000, 400))->data);
}

TEST_F(Envelope, aCancelledRenderGivesNothingAndLeavesNothingHalfDone)
{
    use(std::make_shared<MemoryLayer>(mono, noise(1'000'000)));
    std::atomic<bool> cancel{false};
    layer->onRead = [&cancel] { cancel = true; };
    EXPECT_FALSE(renderer->render(requestFor(0, 1'000'000, 400), false, cancel));
    layer->onRead = {};
    expectColumns(*render(requestFor(0, 1'000'000, 400)));
}

TEST_F(Envelope, samplesThatAreNoNumbersDoNotSpreadBeyondTheirColumn)
{
    std::vector<float> samples = noise(10'000);
    samples[3000] = std::numeric_limits<float>::quiet_NaN();
    samples[6000] = std::numeric_limits<float>::infinity();
    for (std::size_t i = 8000; i < 9000; ++i)
        samples[i] = std::numeric_limits<float>::quiet_NaN();
    use(std::make_shared<MemoryLayer>(mono, samples));
    const WaveformTextureDataPtr block = render(requestFor(0, 10'000, 100));
    int wild = 0;
    int silent = 0;
    for (int x = 0; x < block->width; ++x) {
        const QVector4D texel = block->data[std::size_t(x)];
        wild += !(std::abs(texel.x()) <= 1 && std::abs(texel.y()) <= 1);
        silent += texel.isNull();
    }
    EXPECT_LE(wild, 2); // the infinite one
    EXPECT_GE(silent, 8);
    EXPECT_LE(silent, 10);
}

TEST_F(Envelope, hostileRequestsGiveBlocksOfBoundedSize)
{
    use(std::make_shared<MemoryLayer>(mono, noise(100'000)));
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    for (const double start : {0.0, -1e300, 1e300, nan, inf, -5e6, 99'999.0})
        for (const double length : {1.0, 1e-9, 0.0, -5.0, 1e15, 1e300, nan, inf, 100'000.0})
            for (const int width : {1, 2, 7936}) {
                const WaveformTextureDataPtr block =
                    render(requestFor(start, length, width, Filtering::Cubic));
                EXPECT_LE(block->width, ringSize);
                if (block->data) {
                    EXPECT_GT(block->range.length, 0);
                }
            }
}

TEST_F(Envelope, randomViewsAreWhatTheSamplesSay)
{
    std::mt19937 random(11);
    std::uniform_real_distribution<double> share(0, 1);
    use(std::make_shared<MemoryLayer>(mono, noise(60'000), 1234));
    double length = 1000;
    for (int i = 0; i < 150; ++i) {
        if (i % 3 == 0) // pans between, on one grid
            length = std::exp2(1 + 15 * share(random));
        const double start = -2000 + share(random) * 62'000;
        const WaveformTextureDataPtr block = render(
            requestFor(start, length, 50 + int(random() % 300), Filtering(random() % 3)), random() % 5 == 0);
        if (block->data)
            expectColumns(*block);
    }
}
