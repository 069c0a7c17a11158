// What the waveform view draws, and how it moves.
#include "display/freshprocess.h"
#include "display/memorylayer.h"
#include "display/waveformview.h"
#include "model/documentlock.h"
#include "model/layerregion.h"

#include <QAction>
#include <QMenu>

#include <limits>
#include <random>

using namespace waveformview;

namespace {

// Tests that hold at every scale of the screen: they count device pixels.
class ScaledWaveform : public Waveform
{
protected:
    [[nodiscard]] double ratio() const { return view->devicePixelRatioF(); }
    [[nodiscard]] int deviceWidth() const { return qRound(width * ratio()); }
    [[nodiscard]] int deviceHeight() const { return qRound(height * ratio()); }
};

// Row of an amplitude from -1 to 1, the middle of the pixel being x.5.
double rowOf(const QImage& image, double amplitude)
{
    return (1 - amplitude) / 2 * image.height();
}

// Middle of the columns that have the colour anywhere in the given row; -1 for none.
double columnOf(const QImage& image, int row, const QColor& color)
{
    int first = -1;
    int last = -1;
    for (int x = 0; x < image.width(); ++x)
        if (image.pixelColor(x, row) == color) {
            first = first < 0 ? x : first;
            last = x;
        }
    return first < 0 ? -1 : (first + last + 1) / 2.0;
}

} // namespace

// --- pictures -----------------------------------------------------------------------------------------

TEST_F(ScaledWaveform, silenceIsALine)
{
    open();
    addLayer(std::vector<float>(100'000, 0.0f));
    show(0, 100'000);
    const QImage image = picture();
    ASSERT_EQ(image.size(), QSize(deviceWidth(), deviceHeight()));
    for (int x = 0; x < image.width(); ++x) {
        const auto [top, bottom] = litRows(image, x);
        ASSERT_GE(top, deviceHeight() / 2 - 1) << x;
        ASSERT_LE(bottom, deviceHeight() / 2) << x;
    }
}

TEST_F(ScaledWaveform, aFlatSignalCoversOnePixel)
{
    open();
    for (const float value : {-1.0f, -0.37f, 0.0f, 0.5f, 0.9999f}) {
        root = LayerRoot(format);
        addLayer(std::vector<float>(10'000, value));
        for (const double length : {10'000.0, 500.0, 40.0}) { // columns, lines, single samples
            show(0, length);
            view->setFixedHeight(length == 500 ? height + 1 : height); // an odd height too
            const QImage image = picture();
            const auto [top, bottom] = litRows(image, image.width() / 3);
            ASSERT_GE(top, 0) << value << " of " << length;
            // One pixel, or the two that it lies between; around a dot that is grown by the antialiasing.
            if (length > 40) {
                EXPECT_LE(bottom - top, 1) << value;
            }
            EXPECT_NEAR((top + bottom + 1) / 2.0, rowOf(image, double(value)), 1.5) << value;
        }
    }
}

TEST_F(ScaledWaveform, aFullScaleSineFillsTheHeight)
{
    open();
    addLayer(sine(40, 100'000));
    show(0, 100'000);
    const QImage image = picture();
    EXPECT_EQ(litCount(image), image.width() * image.height());
    // Half of it, half the height.
    post(EventId::DisplayPowerChange, PowerRange{-2, 2});
    const auto [top, bottom] = litRows(picture(), 100);
    EXPECT_NEAR(top, image.height() / 4, 1);
    EXPECT_NEAR(bottom, image.height() * 3 / 4, 1);
}

TEST_F(ScaledWaveform, anImpulseStandsInItsColumnInFullHeight)
{
    open();
    std::vector<float> samples(200'000, 0.0f);
    samples[120'000] = 1;
    addLayer(samples);
    for (const double length : {200'000.0, 60'000.0, 1000.0, 100.0, 30.0})
        for (const double shift : {0.0, 0.3, 0.77}) {
            const double start =
                length == 200'000 ? 0 : 120'000 - length * 0.3 + shift * length / deviceWidth();
            show(start, length);
            const QImage image = picture();
            // The middle of what reaches the top, to which nothing is lost to a neighbour.
            std::vector<int> best;
            for (int x = 0; x < image.width(); ++x)
                if (const int top = litRows(image, x).first; top >= 0 && top <= ratio())
                    best.push_back(x);
            ASSERT_FALSE(best.empty()) << length;
            const double time = start + ((best.front() + best.back()) / 2.0 + 0.5) * length / image.width();
            EXPECT_NEAR(time, 120'000, ratio() * length / image.width() + (length > 200 ? 1 : 0)) << length;
        }
}

TEST_F(ScaledWaveform, sampleDotsStandAtTheirSamplesTime)
{
    open();
    std::vector<float> samples(1000, 0.0f);
    std::mt19937 random(4);
    for (float& s : samples)
        s = std::uniform_real_distribution<float>(-0.8f, 0.8f)(random);
    root.setActive(addLayer(samples));
    qApp->setProperty("waveformluminosity", QVariant(0.0)); // the dots alone
    qApp->setProperty("colorcontrols", QVariant(QStringLiteral("#ffffff")));
    for (const Filtering filtering : {Filtering::Raw, Filtering::Linear, Filtering::Cubic}) {
        post(EventId::FilteringChange, int32_t(filtering));
        show(500.3, 20);
        const QImage image = picture();
        for (int n = 502; n < 519; ++n) {
            // Centre of what is lit about the dot's place.
            const QPointF want = view->pixelOf(n, double(samples[std::size_t(n)])) * ratio();
            double sumX = 0, sumY = 0, count = 0;
            for (int y = int(want.y() - 6 * ratio()); y < want.y() + 6 * ratio(); ++y)
                for (int x = int(want.x() - 6 * ratio()); x < want.x() + 6 * ratio(); ++x)
                    if (image.rect().contains(x, y) && isLit(image, x, y)) {
                        sumX += x + 0.5;
                        sumY += y + 0.5;
                        ++count;
                    }
            ASSERT_GT(count, 8) << n;
            EXPECT_NEAR(sumX / count, want.x(), ratio()) << n;
            EXPECT_NEAR(sumY / count, want.y(), ratio()) << n;
        }
    }
    qApp->setProperty("colorcontrols", QVariant());
}

TEST_F(ScaledWaveform, theCurveGoesThroughTheDots)
{
    open();
    const std::vector<float> samples = sine(9, 1000, 0.7);
    root.setActive(addLayer(samples));
    show(500, 16);
    qApp->setProperty("colorcontrols", QVariant(QStringLiteral("#000000")));
    for (const Filtering filtering : {Filtering::Linear, Filtering::Cubic}) {
        post(EventId::FilteringChange, int32_t(filtering));
        const QImage image = picture();
        // Everywhere but under the dots.
        for (int x = 3 * image.width() / 16; x < 13 * image.width() / 16; ++x) {
            const double time = 500 + (x + 0.5) / image.width() * 16;
            const auto n = std::size_t(time);
            const double part = time - double(n);
            if (part < 0.2 || part > 0.8)
                continue;
            const double before = double(samples[n]);
            const double after = double(samples[n + 1]);
            double value = before + (after - before) * part;
            if (filtering == Filtering::Cubic) // with the tangents that the neighbours give
                value =
                    before + part * ((after - double(samples[n - 1])) / 2 +
                                     part * (double(samples[n - 1]) - 2.5 * before + 2 * after -
                                             double(samples[n + 2]) / 2 +
                                             part * (1.5 * (before - after) +
                                                     (double(samples[n + 2]) - double(samples[n - 1])) / 2)));
            const auto [top, bottom] = litRows(image, x);
            ASSERT_NEAR((top + bottom + 1) / 2.0, rowOf(image, value), 2.5) << x;
        }
    }
    qApp->setProperty("colorcontrols", QVariant());
}

TEST_F(ScaledWaveform, transportGridSelectionAndMarkersStandAtTheirTime)
{
    open();
    addLayer(std::vector<float>(100'000, -0.9f));
    show(10'000, 50'000);
    qApp->setProperty("colortransport", QVariant(QStringLiteral("#ff0000")));
    qApp->setProperty("colormarkers", QVariant(QStringLiteral("#00ff00")));
    qApp->setProperty("colorregions", QVariant(QStringLiteral("#0000ff")));
    post(EventId::TransportPositionChange, int64_t(30'000));
    post(EventId::MarkerListChange, MarkerList{{1, 20'000, 0, "here"}, {2, 40'000, 10'000, "there"}});
    QImage image = picture();
    const double perPixel = 50'000.0 / image.width();
    const int row = image.height() / 4;
    const auto timeOf = [&](double column) { return 10'000 + column * perPixel; };
    EXPECT_NEAR(timeOf(columnOf(image, row, QColor(255, 0, 0))), 30'000, perPixel * ratio());
    EXPECT_NEAR(timeOf(columnOf(image, row, QColor(0, 255, 0))), 20'000, perPixel * ratio());
    EXPECT_NEAR(timeOf(columnOf(image, row, QColor(0, 0, 255))), 45'000, perPixel * ratio()); // both ends
    const int inside = int((45'000 - 10'000) / perPixel);
    EXPECT_GT(image.pixelColor(inside, row).blue(), 20);
    EXPECT_EQ(image.pixelColor(inside, row).red(), 0);
    post(EventId::DisplayMarkersEnable, false);
    image = picture();
    EXPECT_EQ(columnOf(image, row, QColor(0, 255, 0)), -1);
    EXPECT_EQ(image.pixelColor(inside, row), QColor(Qt::black));
    post(EventId::DisplayMarkersEnable, true);
    for (const char* key : {"colortransport", "colormarkers", "colorregions"})
        qApp->setProperty(key, QVariant());
}

TEST(ScaleFactors, thePicturesAreTheSameAtOneAndAHalfAndAtTwo)
{
    for (const char* factor : {"1.5", "2"})
        EXPECT_EQ(runInFreshProcess("ScaledWaveform.*",
                                    {QStringLiteral("QT_SCALE_FACTOR=") + QLatin1String(factor)}),
                  0)
            << factor;
}

TEST_F(Waveform, invertedPolarityTurnsTheCurveUpsideDownWithoutRecomputation)
{
    open();
    std::vector<float> samples = sine(5000, 100'000, 0.4);
    for (std::size_t i = 0; i < samples.size(); ++i)
        samples[i] += i % 7000 < 100 ? 0.5f : 0.1f;
    const auto layer = std::make_shared<MemoryLayer>(format, samples);
    add(layer);
    constexpr int faint = 3; // also the ends of slopes
    for (const double length : {100'000.0, 10'000.0, 50.0}) {
        layer->setPolarity(1);
        show(0, length);
        const QImage upright = picture();
        const int64_t reads = layer->reads;
        layer->setPolarity(-1);
        post(EventId::LayerPropertiesChange, ILayerPtr(layer));
        const QImage turned = picture();
        EXPECT_EQ(layer->reads, reads);
        EXPECT_NE(turned, upright);
        for (int x = 0; x < width; ++x) {
            const auto [top, bottom] = litRows(upright, x, faint);
            const auto [turnedTop, turnedBottom] = litRows(turned, x, faint);
            ASSERT_NEAR(turnedTop, height - 1 - bottom, 2) << x << " of " << length;
            ASSERT_NEAR(turnedBottom, height - 1 - top, 2) << x << " of " << length;
        }
    }
    // The gain too comes with the drawing.
    const int64_t reads = layer->reads;
    layer->setMultiplier(0);
    post(EventId::LayerPropertiesChange, ILayerPtr(layer));
    show(0, 50);
    EXPECT_NEAR(litRows(picture(), 204).first, height / 2, 1); // between two dots
    EXPECT_EQ(layer->reads, reads);
}

TEST_F(Waveform, aZoomOfMoreThan32768SamplesForEachPixelDrawsInBoundedTime)
{
    open();
    const int64_t hours = int64_t(36'000) * 48'000;
    const auto layer = std::make_shared<EndlessLayer>(format, hours, 20'000);
    add(layer);
    show(0, double(hours));
    const QImage image = picture();
    EXPECT_LE(layer->samplesRead, int64_t(width + 4) * 32768);
    EXPECT_EQ(litRows(image, 10), std::pair(0, height * 3 / 4));
    EXPECT_EQ(litRows(image, 390), std::pair(0, height * 3 / 4));
}

TEST_F(Waveform, aRealLayerShowsOneEnvelopeAComplexLayerTwoWhoseLuminositiesAdd)
{
    qApp->setProperty("waveformluminosity", QVariant(0.5));
    open();
    std::vector<float> samples(20'000);
    for (std::size_t i = 0; i < samples.size(); ++i)
        samples[i] = i % 2 ? 0.5f : -0.5f;
    addLayer(samples);
    show(0, 20'000);
    const int single = qGray(picture().pixel(200, height / 2));
    EXPECT_NEAR(single, 128, 2);
    EXPECT_EQ(qGray(picture().pixel(200, height / 8)), 0);

    open(1, SampleTypeComplex);
    // Real parts from -0.5 to 0.8, imaginary ones from -0.8 to 0.5.
    std::vector<float> pairs(40'000);
    for (std::size_t i = 0; i < pairs.size(); i += 2) {
        pairs[i] = i % 4 ? 0.8f : -0.5f;
        pairs[i + 1] = i % 4 ? 0.5f : -0.8f;
    }
    addLayer(pairs);
    show(0, 20'000);
    const QImage image = picture();
    const auto at = [&](double amplitude) { return qGray(image.pixel(200, int(rowOf(image, amplitude)))); };
    EXPECT_EQ(at(0), single); // both
    EXPECT_NEAR(at(0.65), 64, 2);
    EXPECT_NEAR(at(-0.65), 64, 2);
    EXPECT_EQ(at(0.9), 0);
    EXPECT_EQ(at(-0.9), 0);
}

TEST_F(Waveform, channelsAreIndependent)
{
    open(2);
    std::vector<float> samples(200'000, 0.0f);
    for (std::size_t i = 0; i < samples.size(); i += 2)
        samples[i] = i % 4 ? 0.75f : -0.75f;
    WaveformChannel second(1);
    second.resize(width, height);
    second.show();
    addLayer(samples);
    show(0, 100'000);
    const QImage left = picture();
    const QImage right = picture(&second);
    EXPECT_NEAR(litRows(left, 100).first, height / 8, 1);
    EXPECT_NEAR(litRows(right, 100).first, height / 2, 1);
}

TEST_F(Waveform, layersAddUpAndHiddenOnesAreNotSeen)
{
    qApp->setProperty("waveformluminosity", QVariant(0.4));
    open();
    const LayerPtr first = addLayer(sine(50, 50'000, 0.9));
    const LayerPtr second = addLayer(sine(50, 50'000, 0.4));
    first->setColor(0xff0000);
    second->setColor(0x0000ff);
    show(0, 50'000);
    const auto inner = [this] { return picture().pixelColor(200, height / 2 + 10); };
    const auto outer = [this] { return picture().pixelColor(200, height / 5); };
    EXPECT_GT(inner().red(), 60);
    EXPECT_GT(inner().blue(), 60);
    EXPECT_GT(outer().red(), 60);
    EXPECT_EQ(outer().blue(), 0);
    first->setEnabled(false);
    post(EventId::LayerPropertiesChange, ILayerPtr(first));
    EXPECT_EQ(inner().red(), 0);
    EXPECT_EQ(outer(), QColor(Qt::black));
    first->setSolo(true);
    post(EventId::LayerPropertiesChange, ILayerPtr(first));
    EXPECT_EQ(inner().blue(), 0);
    EXPECT_GT(inner().red(), 60);
    // The others are dimmed, and in composite view all take the colour map.
    first->setSolo(false);
    root.setActive(first);
    post(EventId::DisplayTargetActiveEnable, true);
    post(EventId::LayerPropertiesChange, ILayerPtr(first));
    EXPECT_EQ(inner().red(), inner().blue()); // grey
    post(EventId::DisplayCompositeEnable, true);
    post(EventId::DisplayColormapChange, int32_t(9));
    EXPECT_NEAR(inner().green(), 102, 3);
}

TEST_F(Waveform, theOldEnvelopeIsStretchedUntilTheNewArrives)
{
    open();
    std::vector<float> samples(200'000, 0.0f);
    samples[100'000] = 1;
    addLayer(samples);
    show(0, 200'000);
    const auto peak = [](const QImage& image) {
        int best = 0;
        for (int x = 0; x < image.width(); ++x)
            if (litRows(image, x).first < litRows(image, best).first)
                best = x;
        return best;
    };
    EXPECT_NEAR(peak(picture()), 200, 1);
    documentLock().lockForWrite(); // no render can begin
    show(90'000, 100'000);
    const QImage moved = view->grabFramebuffer();
    EXPECT_TRUE(view->isOutstanding());
    EXPECT_NEAR(peak(moved), 40, 2);
    documentLock().unlock();
    EXPECT_NEAR(peak(picture()), 40, 1);
}

TEST_F(Waveform, aLayerOutOfViewGivesUpItsThreadAndComesBack)
{
    open();
    const auto layer = std::make_shared<MemoryLayer>(format, sine(100, 100'000));
    add(layer);
    show(0, 100'000);
    const QImage before = picture();
    const int64_t samples = layer->samplesRead;
    show(500'000, 100'000);
    EXPECT_EQ(litCount(picture()), 0);
    EXPECT_EQ(layer->samplesRead, samples);
    show(0, 100'000);
    EXPECT_EQ(picture(), before);
    EXPECT_EQ(layer->samplesRead, 2 * samples);
}

TEST_F(Waveform, contentUpdateReadsTheLayerAgain)
{
    open();
    const LayerPtr layer = addLayer(std::vector<float>(100'000, 0.0f));
    show(0, 100'000);
    const QImage silent = picture();
    const std::vector<float> loud = sine(100, 100'000);
    ASSERT_TRUE(layer->write(loud.data(), {0, 100'000}, -1, true));
    EXPECT_EQ(picture(), silent); // nobody has told
    post(EventId::LayerContentUpdate, ILayerPtr(layer));
    EXPECT_EQ(litCount(picture()), width * height);
}

// Undo changes the tree and tells of a group's content only.
TEST_F(Waveform, aMovedLayerIsSeenAtItsNewPlaceBeforeItsNextPicture)
{
    open();
    std::vector<float> samples(20'000, 0.0f);
    samples[8000] = 1;
    const LayerPtr layer = addLayer(samples);
    for (const double length : {40'000.0, 40.0}) { // an envelope, and single samples
        SCOPED_TRACE(length);
        layer->setTimeOffset(0);
        show(8000 - length / 4, length);
        EXPECT_NEAR(litRows(picture(), width / 4).first, 0, 4);
        documentLock().lockForWrite(); // no render can begin
        layer->setTimeOffset(length / 4);
        post(EventId::LayerPropertiesChange, ILayerPtr(layer));
        const QImage image = view->grabFramebuffer();
        EXPECT_TRUE(view->isOutstanding());
        EXPECT_NEAR(litRows(image, width / 2).first, 0, 4);
        const int behind = litRows(image, width / 4).first;
        EXPECT_TRUE(behind < 0 || behind > height / 4) << behind;
        documentLock().unlock();
    }
}

TEST_F(Waveform, aLayerThatIsBeingMovedOrStretchedIsSeenWhereItWillBe)
{
    open();
    std::vector<float> samples(4'000'000, 0.0f);
    post(EventId::TransportPositionChange, int64_t(-1'000'000));
    constexpr int at = 1'500'000;
    samples[at] = 1;
    samples[at + 1] = -1;
    const LayerPtr layer = addLayer(samples);
    for (const float scale : {1.0f, 2.0f, 3.3f, 0.5f, 0.05f})
        for (const double offset : {0.0, 20'000.0, -1000.0}) {
            layer->setTimeOffset(offset);
            layer->setScale(scale, 1);
            post(EventId::LayerPropertiesChange, ILayerPtr(layer));
            const double time = offset + at * double(scale);
            // From single samples to more of them in a column than one read takes.
            for (const double length : {200.0, 5000.0, 300'000.0}) {
                SCOPED_TRACE(testing::Message() << scale << " " << offset << " " << length);
                show(time - length * 0.3, length);
                const QImage image = picture();
                int first = -1, last = -1;
                for (int x = 0; x < width; ++x)
                    if (isLit(image, x, height / 8) || isLit(image, x, height * 7 / 8)) {
                        first = first < 0 ? x : first;
                        last = x;
                    }
                ASSERT_GE(first, 0);
                const double one = std::max(1.0, 2 * double(scale) * width / length); // pixels of both
                EXPECT_NEAR((first + last + 1) / 2.0, 0.3 * width, one + 1);
                EXPECT_LE(last - first, 2 * one + 2);
            }
        }
}

TEST_F(Waveform, aToolsPreviewIsSeenAsAPartOfTheActiveLayer)
{
    open();
    const LayerPtr layer = addLayer(std::vector<float>(4000, 0.0f));
    root.setActive(layer);
    layer->setPolarity(-1);
    layer->setMultiplier(0.5f);
    show(0, 4000);
    const LayerPtr preview = root.node(RootActivePreview);
    const std::vector<float> loud(1000, 1.0f);
    ASSERT_TRUE(preview->write(loud.data(), {500, 1000}, -1, true));
    preview->setTimeOffset(2000);
    post(EventId::LayerPropertiesChange, ILayerPtr(preview));
    QImage image = picture();
    EXPECT_NEAR(litRows(image, 300).second, height * 3 / 4, 1); // upside down, at half the height
    EXPECT_LE(litRows(image, 100).second, height / 2);
    // Other samples in the same place are read again.
    const std::vector<float> quiet(1000, 0.5f);
    ASSERT_TRUE(preview->write(quiet.data(), {500, 1000}, -1, true));
    post(EventId::LayerPropertiesChange, ILayerPtr(preview));
    EXPECT_NEAR(litRows(picture(), 300).second, height * 5 / 8, 1);
    preview->clear();
    post(EventId::LayerPropertiesChange, ILayerPtr(preview));
    EXPECT_LE(litRows(picture(), 300).second, height / 2);
}

TEST_F(Waveform, aLayerThatUndoTookFromTheTreeIsGoneAndComesBack)
{
    open();
    const LayerPtr layer = addLayer(sine(40, 100'000));
    show(0, 100'000);
    const QImage before = picture();
    ASSERT_TRUE(root.project()->removeChildLayer(layer));
    post(EventId::LayerContentUpdate, ILayerPtr(root.project()));
    EXPECT_EQ(litCount(picture()), 0);
    ASSERT_TRUE(root.project()->appendChildLayer(layer));
    post(EventId::LayerContentUpdate, ILayerPtr(root.project()));
    EXPECT_EQ(picture(), before);
}

TEST_F(Waveform, aRegionIsShownInItsWindowAndFollowsItsSource)
{
    open();
    const LayerPtr source = makeLayer(sine(100, 100'000));
    const LayerRegionPtr region = LayerRegion::create(source, 25'000, 50'000, 0);
    add(region);
    show(0, 100'000);
    const QImage image = picture();
    EXPECT_EQ(litRows(image, 50).first, -1);
    EXPECT_EQ(litRows(image, 200), std::pair(0, height - 1));
    EXPECT_EQ(litRows(image, 350).first, -1);
    std::vector<float> quiet(100'000, 0.0f);
    ASSERT_TRUE(source->write(quiet.data(), {0, 100'000}, -1, true));
    post(EventId::LayerContentUpdate, ILayerPtr(region));
    EXPECT_NEAR(litRows(picture(), 200).first, height / 2, 1);
}

TEST_F(Waveform, aReparentedViewDrawsTheSamePicture)
{
    open();
    const auto layer = std::make_shared<MemoryLayer>(format, sine(5000, 100'000));
    add(layer);
    show(0, 100'000);
    const QImage before = picture();
    const int64_t reads = layer->reads;
    QMainWindow other;
    other.setCentralWidget(window.takeCentralWidget());
    other.show();
    ASSERT_TRUE(
        testsupport::waitFor([this] { return view->isValid() && view->size() == QSize(width, height); }));
    EXPECT_EQ(picture(), before);
    EXPECT_EQ(layer->reads, reads); // from the block that was kept
}

TEST_F(Waveform, paintsOnlyWhenSomethingChanged)
{
    open();
    addLayer(sine(100, 100'000));
    show(0, 100'000);
    ASSERT_TRUE(testsupport::waitFor([this] { return view->paints > 0 && !view->isOutstanding(); }));
    int paints = -1;
    for (int quiet = 0; quiet < 20 && paints != view->paints; ++quiet) {
        paints = view->paints;
        (void)testsupport::waitFor([&] { return view->paints != paints; }, 300);
    }
    EXPECT_EQ(view->paints, paints);
    post(EventId::DisplayPowerChange, PowerRange{-0.5, 0.5});
    EXPECT_TRUE(testsupport::waitFor([&] { return view->paints > paints; }));
}

TEST_F(Waveform, theSelectionIsAFlatMaskOfItsTimeInTheBlendingModeSet)
{
    open();
    addLayer(std::vector<float>(100'000, -0.9f));
    show(0, 100'000);
    QPainterPath box;
    box.addRect(25'000, 4000, 50'000, 3000);
    post(EventId::SelectionChange, Selection(box));
    post(EventId::DisplaySelectionOpacityChange, 0.5f);
    const QImage image = picture();
    EXPECT_EQ(image.pixelColor(98, 50), QColor(Qt::black));
    EXPECT_NEAR(image.pixelColor(102, 50).red(), 128, 1);
    EXPECT_NEAR(image.pixelColor(200, 150).red(), 128, 1);
    EXPECT_NEAR(image.pixelColor(298, 50).red(), 128, 1);
    EXPECT_EQ(image.pixelColor(302, 50), QColor(Qt::black));
    // Over what is bright, additive light is cut at white.
    post(EventId::DisplayPowerChange, PowerRange{-1, 1});
    qApp->setProperty("colorselectionmask", QVariant(QStringLiteral("#000000")));
    const int line = int(rowOf(image, -0.9));
    EXPECT_NEAR(picture().pixelColor(200, line).red(), 128, 1);
    qApp->setProperty("selectionblendingmode", QVariant(QStringLiteral("additive")));
    EXPECT_EQ(picture().pixelColor(200, line).red(), 255);
    qApp->setProperty("colorselectionmask", QVariant());
    post(EventId::SelectionChange, Selection());
    EXPECT_EQ(picture().pixelColor(200, 50), QColor(Qt::black));
}

TEST_F(Waveform, theGridShowsTheTicksOfBothRulers)
{
    open();
    addLayer(std::vector<float>(480'000, -0.95f));
    show(0, 480'000);
    post(EventId::TimeUnitChange, int32_t(TimeUnit::Seconds));
    post(EventId::PowerUnitChange, int32_t(PowerUnit::Normalized));
    const QColor grid(0x30, 0x30, 0x30);
    EXPECT_EQ(columnOf(picture(), 60, grid), -1);
    post(EventId::DisplayGridEnable, true);
    const QImage image = picture();
    for (const double tick : view->convert().timeMarks(view->viewArea(), width, 60))
        if (const int x = int(tick / 480'000 * width); x < width) {
            EXPECT_GE(image.pixelColor(x, 60).red(), 0x30) << tick;
        }
    for (const double tick : view->convert().powerMarks({-1, 2}, height, 20))
        if (const int y = int(rowOf(image, tick)); y < height) {
            EXPECT_GE(image.pixelColor(33, y).red(), 0x30) << tick;
        }
}

TEST_F(Waveform, mutedAndSoloChannelsAreMarked)
{
    open(2);
    addLayer(std::vector<float>(200'000, -0.95f));
    show(0, 100'000);
    EXPECT_EQ(picture().pixelColor(1, 50), QColor(Qt::black));
    ChannelsMode mode(2);
    mode.enabled.clearBit(0);
    post(EventId::ChannelsModeChange, mode);
    EXPECT_EQ(picture().pixelColor(1, 50), QColor(QStringLiteral("#d8ca36")));
    mode.solo.setBit(0);
    post(EventId::ChannelsModeChange, mode);
    EXPECT_EQ(picture().pixelColor(1, 50), QColor(QStringLiteral("#d85136")));
    EXPECT_EQ(picture().pixelColor(4, 50), QColor(Qt::black));
    mode = ChannelsMode(2);
    mode.enabled.clearBit(1); // the other one
    post(EventId::ChannelsModeChange, mode);
    EXPECT_EQ(picture().pixelColor(1, 50), QColor(Qt::black));
}

TEST_F(Waveform, controlsOfTheToolStandAtTheirTime)
{
    open();
    addLayer(std::vector<float>(100'000, -0.95f));
    show(0, 100'000);
    post(EventId::MouseControlsChange, QList<ControlPoint>{{{25'000, 1000}}, {{75'000, 9000}}});
    const QImage image = picture();
    EXPECT_GT(qGray(image.pixel(100, height / 2)), 200);
    EXPECT_GT(qGray(image.pixel(300, height / 2)), 200);
    EXPECT_EQ(qGray(image.pixel(200, height / 2)), 0);
}

TEST_F(Waveform, hostileSizesAreasAndAmplitudesDrawWithoutAnError)
{
    open();
    addLayer(sine(100, 100'000));
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    for (const QSize& size : {QSize(1, 1), QSize(3, 400), QSize(1500, 2), QSize(width, height)}) {
        view->setFixedSize(size);
        for (const Area& area : {Area{0, 0, 100'000, 24'000}, Area{nan, 0, 1, 1}, Area{0, 0, inf, 1},
                                 Area{0, 0, -1, 1}, Area{0, 0, 0, 0}, Area{-1e15, 0, 2e15, 1},
                                 Area{500, 0, 1e-6, 1}, Area{1e300, 0, 1e300, 1}, Area{99'999, 0, 3, 1}}) {
            post(EventId::DisplayAreaChange, area);
            (void)picture();
        }
    }
    show(0, 100'000);
    const QImage before = picture();
    for (const PowerRange& range :
         {PowerRange{nan, 1}, PowerRange{1, -1}, PowerRange{0, 0}, PowerRange{-inf, inf}}) {
        post(EventId::DisplayPowerChange, range);
        EXPECT_EQ(picture(), before);
    }
    ChannelsMode none;
    post(EventId::ChannelsModeChange, none);
    EXPECT_EQ(picture(), before);
}

TEST_F(Waveform, withoutAProjectItIsBlackAndNothingHappens)
{
    show(0, 100'000);
    EXPECT_EQ(litCount(picture()), 0);
    wheel({0, 120});
    press({10, 10});
    release({10, 10});
    const std::unique_ptr<QMenu> menu(view->makeMenu({10, 10}));
    for (QAction* action : menu->actions())
        if (action->text() == QLatin1String("Mute") || action->text() == QLatin1String("Solo"))
            action->trigger();
    EXPECT_TRUE(listener.modes.empty());
}

// --- navigation ---------------------------------------------------------------------------------------

class WaveformNavigation : public Waveform
{
protected:
    WaveformNavigation()
    {
        open();
        addLayer(std::vector<float>(480'000, 0.0f));
        post(EventId::DisplayLockCenterTo0Enable, false);
        post(EventId::DisplayAreaChange, start);
        listener.areas.clear();
        listener.ranges.clear();
        listener.modes.clear();
    }
    ~WaveformNavigation() override
    {
        for (const char* key : {"wheelnavigation", "leftbuttonnavigation", "invertwheelaxes"})
            qApp->setProperty(key, QVariant());
    }
    void drag(const QPointF& from, const QPointF& to)
    {
        mouse(QEvent::MouseButtonPress, from, Qt::MiddleButton, Qt::MiddleButton);
        mouse(QEvent::MouseMove, to, Qt::NoButton, Qt::MiddleButton);
        mouse(QEvent::MouseButtonRelease, to, Qt::MiddleButton, Qt::NoButton);
    }

    const Area start{144'000, 6000, 144'000, 9000};
};

TEST_F(WaveformNavigation, theWheelZoomsAmplitudesAboutThePointerAndTimeWithShift)
{
    const QPointF at(100, 50); // time 180000, amplitude 0.5
    wheel({0, 120}, Qt::NoModifier, at);
    const double factor = std::exp2(-0.25);
    EXPECT_NEAR(view->powerRange().high - view->powerRange().low, 2 * factor, 1e-12);
    EXPECT_NEAR(view->pixelOf(0, 0.5).y(), 50, 1e-9);
    ASSERT_EQ(listener.ranges.size(), 1U);
    EXPECT_TRUE(listener.areas.empty());
    wheel({0, 120}, Qt::ShiftModifier, at);
    EXPECT_NEAR(view->viewArea().width, start.width * factor, 1e-6);
    EXPECT_NEAR(view->pixelOf(180'000, 0).x(), 100, 1e-9);
    EXPECT_EQ(view->viewArea().y, start.y); // the spectrogram's frequencies stay to the bit
    EXPECT_EQ(view->viewArea().height, start.height);
    ASSERT_EQ(listener.areas.size(), 1U);
    EXPECT_EQ(listener.areas.back(), view->viewArea());
}

TEST_F(WaveformNavigation, aHundredStepsInAndBackEndAtTheSameView)
{
    std::mt19937 random(9);
    for (int round = 0; round < 2; ++round) {
        std::vector<std::pair<QPoint, QPointF>> steps;
        for (int i = 0; i < 60; ++i) {
            steps.emplace_back(QPoint(random() % 2 ? -60 : 0, random() % 2 ? 60 : 0),
                               QPointF(random() % width, random() % height));
            wheel(steps.back().first, Qt::NoModifier, steps.back().second);
        }
        while (!steps.empty()) {
            wheel(-steps.back().first, Qt::NoModifier, steps.back().second);
            steps.pop_back();
        }
        EXPECT_NEAR(view->viewArea().x, start.x, 1e-4);
        EXPECT_NEAR(view->viewArea().width, start.width, 1e-4);
        EXPECT_NEAR(view->powerRange().low, -1, 1e-9);
        EXPECT_NEAR(view->powerRange().high, 1, 1e-9);
    }
}

TEST_F(WaveformNavigation, theWaveformStaysCentredWhileLocked)
{
    post(EventId::DisplayPowerChange, PowerRange{-0.25, 1});
    post(EventId::DisplayLockCenterTo0Enable, true);
    EXPECT_EQ(view->powerRange().low, -0.625);
    EXPECT_EQ(view->powerRange().high, 0.625);
    wheel({0, 240}, Qt::NoModifier, {100, 20});
    EXPECT_EQ(view->powerRange().low, -view->powerRange().high);
    EXPECT_LT(view->powerRange().high, 0.625);
    const PowerRange locked = view->powerRange();
    drag({100, 100}, {100, 150});
    EXPECT_EQ(view->powerRange().high, locked.high);
    post(EventId::DisplayPowerChange, PowerRange{0, 1}); // as a ruler without the lock might tell
    EXPECT_EQ(view->powerRange().low, -0.5);
}

TEST_F(WaveformNavigation, theMiddleButtonPansWhatIsUnderThePointer)
{
    drag({200, 100}, {150, 130});
    EXPECT_NEAR(view->viewArea().x, start.x + start.width / 8, 1e-6);
    EXPECT_NEAR(view->powerRange().low, -1 + 30.0 / height * 2, 1e-12);
    EXPECT_NEAR(view->powerRange().high, 1 + 30.0 / height * 2, 1e-12);
    // To the end of the project and no farther.
    for (int i = 0; i < 10; ++i)
        drag({390, 100}, {10, 100});
    EXPECT_NEAR(view->viewArea().x + view->viewArea().width, 480'000, 1e-6);
}

TEST_F(WaveformNavigation, altPansByTheWheelAndNothingMovesWhileBlocked)
{
    wheel({0, 120}, Qt::AltModifier);
    EXPECT_NEAR(view->viewArea().x, start.x + start.width / 12, 1e-6);
    listener.areas.clear();
    view->setBlocked(true);
    wheel({0, 120});
    wheel({0, 120}, Qt::ShiftModifier);
    drag({200, 100}, {150, 130});
    EXPECT_TRUE(listener.areas.empty() && listener.ranges.empty());
}

TEST_F(WaveformNavigation, thePlaybackToolSetsThePositionScrubsAndHoldsOrToggles)
{
    int toggles = 0;
    QObject::connect(view, &ChannelView::playOrStopToggled, [&toggles] { ++toggles; });
    postEvent(nullptr, EventId::ToolPlaybackActivate, nullptr);
    press({100, 20}); // 360 samples to a pixel
    EXPECT_EQ(listener.positions.back(), 180'000);
    EXPECT_EQ(toggles, 1);
    move({110, 20});
    EXPECT_EQ(listener.positions.back(), 180'000); // 10 pixels or less do not scrub
    move({111, 180});
    EXPECT_EQ(listener.positions.back(), 183'960);
    view->setBlocked(true);
    release({111, 180}); // what plays is stopped all the same
    EXPECT_EQ(toggles, 2);
    view->setBlocked(false);
    qApp->setProperty("playbackhold", false);
    press({50, 20});
    release({50, 20});
    EXPECT_EQ(toggles, 3);
    qApp->setProperty("playbackhold", QVariant());
    EXPECT_TRUE(listener.areas.empty() && listener.ranges.empty());
    EXPECT_EQ(listener.contents, 0);
}

TEST_F(WaveformNavigation, theHandPansWithTheLeftButtonAndModifiersPanAndPlayByTheProperty)
{
    postEvent(nullptr, EventId::ToolPanActivate, nullptr);
    press({200, 100});
    move({150, 100});
    release({150, 100});
    EXPECT_NEAR(view->viewArea().x, start.x + start.width / 8, 1e-6);
    postEvent(nullptr, EventId::ToolNoneActivate, nullptr);
    const auto pressed = [this](Qt::KeyboardModifiers modifiers) {
        listener.areas.clear();
        listener.positions.clear();
        mouse(QEvent::MouseButtonPress, {200, 100}, Qt::LeftButton, Qt::LeftButton, modifiers);
        mouse(QEvent::MouseMove, {190, 100}, Qt::NoButton, Qt::LeftButton, modifiers);
        mouse(QEvent::MouseButtonRelease, {190, 100}, Qt::LeftButton, Qt::NoButton, modifiers);
        return std::make_pair(!listener.areas.empty(), !listener.positions.empty());
    };
    const Qt::KeyboardModifiers control = Qt::ControlModifier, both = control | Qt::AltModifier;
    for (const int value : {0, 1}) {
        qApp->setProperty("leftbuttonnavigation", value);
        EXPECT_EQ(pressed(control), std::make_pair(value == 0, value == 1));
        EXPECT_EQ(pressed(both), std::make_pair(value == 1, value == 0));
        EXPECT_EQ(pressed(Qt::ShiftModifier), std::make_pair(false, false));
    }
}

TEST_F(WaveformNavigation, playbackSnapsToTheMarkers)
{
    post(EventId::MarkerListChange, MarkerList{{1, 181'000, 0, ""}});
    post(EventId::DisplaySnapEnable, true);
    postEvent(nullptr, EventId::ToolPlaybackActivate, nullptr);
    press({100, 20});
    release({100, 20});
    EXPECT_EQ(listener.positions.back(), 181'000);
    post(EventId::DisplaySnapEnable, false);
    post(EventId::MarkerListChange, MarkerList());
}

TEST_F(WaveformNavigation, theMenuOffersWhatTheViewCanDo)
{
    const auto action = [](const QMenu& menu, const char* text) -> QAction* {
        for (QAction* each : menu.actions())
            if (each->text() == QLatin1String(text))
                return each;
        return nullptr;
    };
    const std::unique_ptr<QMenu> menu(view->makeMenu({100, 100}));
    EXPECT_FALSE(action(*menu, "Edit Sample...")); // at high zoom only
    for (const char* text : {"Mute", "Solo", "Always Center Waveform", "Zoom Out", "Unit Grid"})
        ASSERT_TRUE(action(*menu, text)) << text;
    action(*menu, "Mute")->trigger();
    ASSERT_EQ(listener.modes.size(), 1U);
    EXPECT_FALSE(listener.modes.back().enabled.testBit(0));
    action(*menu, "Solo")->trigger();
    EXPECT_TRUE(listener.modes.back().solo.testBit(0));
    EXPECT_FALSE(listener.modes.back().enabled.testBit(0));
    const std::unique_ptr<QMenu> muted(view->makeMenu({100, 100}));
    EXPECT_TRUE(action(*muted, "Mute")->isChecked() && action(*muted, "Solo")->isChecked());
    action(*muted, "Mute")->trigger();
    EXPECT_TRUE(listener.modes.back().enabled.testBit(0));

    post(EventId::DisplayPowerChange, PowerRange{-0.25, 0.5});
    action(*menu, "Always Center Waveform")->trigger();
    EXPECT_EQ(view->powerRange().low, -0.375);
    EXPECT_EQ(listener.ranges.back().low, -0.375); // so that the project has it too
    action(*menu, "Zoom Out")->trigger();
    EXPECT_EQ(view->powerRange().low, -1);
    EXPECT_EQ(view->powerRange().high, 1);
    action(*menu, "Unit Grid")->trigger();
    const std::unique_ptr<QMenu> after(view->makeMenu({100, 100}));
    EXPECT_TRUE(action(*after, "Unit Grid")->isChecked());
    EXPECT_TRUE(action(*after, "Always Center Waveform")->isChecked());
}
