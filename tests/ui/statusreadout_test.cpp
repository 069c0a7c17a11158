// What the line at the foot reads, held against signals whose numbers are known.
#include "ui/levelprobe.h"
#include "ui/statusreadout.h"
#include "ui/windowenvironment.h"

#include <QTest>

#include <cmath>
#include <complex>
#include <random>

namespace {

const auto* const environment = testing::AddGlobalTestEnvironment(new WindowEnvironment);

class StatusReadoutTest : public WindowTest
{
protected:
    StatusReadout& status() { return *m_window->findChild<StatusReadout*>(); }
    // Moves the pointer to a spot of the document in a channel's view.
    void moveTo(int channel, double time, double hz)
    {
        SpectralChannel* view = display().spectralChannels()[channel];
        const Area shown = view->convert().areaToScale(view->viewArea());
        const double x = (time - shown.x) / shown.width * view->width();
        const double y =
            view->height() - (view->convert().toScale(hz) - shown.y) / shown.height * view->height();
        QTest::mouseMove(view, QPoint(1, 1));
        QTest::mouseMove(view, QPoint(int(std::lround(x)), int(std::lround(y))));
    }
    static double leadingNumber(const QString& text)
    {
        QString digits;
        for (const QChar c : text) {
            if (!c.isDigit() && c != QLatin1Char('.') && c != QLatin1Char('-'))
                break;
            digits += c;
        }
        return digits.toDouble();
    }
};

TEST_F(StatusReadoutTest, ReadsTimeFrequencyAndLevelOfAToneUnderThePointer)
{
    show();
    // -20 dB in the left channel at 1000 Hz, at 2000 Hz in the right one.
    ASSERT_TRUE(tabs().parse(makeTone("tone.wav", 4.0, 2, 1000, 0.1f)));
    QCoreApplication::processEvents();
    display().showArea({0, 800, 64000, 400}); // a pixel is less than a bin
    moveTo(0, 32000, 1000);
    ASSERT_TRUE(testsupport::waitFor([this] { return !status().levelText().isEmpty(); }));
    EXPECT_EQ(status().channelText(), QStringLiteral("Left"));
    EXPECT_TRUE(status().timeText().startsWith(QStringLiteral("00:00:0")))
        << status().timeText().toStdString();
    const double seconds = status().timeText().mid(6).toDouble();
    EXPECT_NEAR(seconds, 2.0, 4.0 / display().spectralChannels()[0]->width());
    EXPECT_NEAR(leadingNumber(status().frequencyText()), 1000, 20);
    EXPECT_TRUE(status().frequencyText().contains(QStringLiteral("Hz")));
    EXPECT_TRUE(status().frequencyText().contains(QStringLiteral("B 5")))
        << status().frequencyText().toStdString();
    EXPECT_NEAR(leadingNumber(status().levelText()), -20, 3) << status().levelText().toStdString();
    EXPECT_TRUE(status().levelText().endsWith(QStringLiteral("dB")));

    moveTo(1, 32000, 1000);
    EXPECT_EQ(status().channelText(), QStringLiteral("Right"));
    EXPECT_LT(leadingNumber(status().levelText()), -80) << status().levelText().toStdString();
    EXPECT_EQ(status().documentText(), QStringLiteral("16000 Hz  \u00b7  2 channels  \u00b7  00:00:04.000"));
}

TEST_F(StatusReadoutTest, IsEmptyWithoutAProject)
{
    show();
    EXPECT_TRUE(status().documentText().isEmpty());
    EXPECT_TRUE(status().levelText().isEmpty());
    ASSERT_TRUE(tabs().parse(makeTone("tone.wav", 1.0)));
    moveTo(0, 8000, 1000);
    ASSERT_TRUE(testsupport::waitFor([this] { return !status().levelText().isEmpty(); }));
    tabs().close();
    EXPECT_TRUE(status().documentText().isEmpty());
    EXPECT_TRUE(status().levelText().isEmpty());
    EXPECT_TRUE(status().timeText().isEmpty());
}

TEST_F(StatusReadoutTest, ValuesGoWhenThePointerLeavesTheViews)
{
    show();
    ASSERT_TRUE(tabs().parse(makeTone("tone.wav", 1.0)));
    moveTo(0, 8000, 1000);
    ASSERT_TRUE(testsupport::waitFor([this] { return !status().levelText().isEmpty(); }));
    QEvent leave(QEvent::Leave);
    QApplication::sendEvent(display().spectralChannels()[0], &leave);
    EXPECT_TRUE(status().levelText().isEmpty());
    EXPECT_FALSE(status().documentText().isEmpty());
}

LayerPtr layerOf(const SamplingFormat& format, const std::vector<float>& samples)
{
    LayerPtr layer = Layer::create(format, {}, 0, false);
    const int64_t frames = int64_t(samples.size()) / (format.channels * format.sampleType);
    EXPECT_TRUE(layer->append(samples.data(), frames));
    layer->finishAppend();
    return layer;
}

class LevelProbe : public WindowTest
{
};

TEST_F(LevelProbe, FullScaleSinusoidReadsOneAtEveryFrequencyAndNotOnlyAtBins)
{
    const double rate = 48000;
    const Transform transform(1, WindowType::BlackmanHarris, 2048, 8, 2);
    for (const double hz : {100.0, 1234.5, 7777.7, 20000.1}) {
        std::vector<float> samples;
        for (int i = 0; i < 10000; ++i)
            samples.push_back(float(std::cos(2 * M_PI * hz * i / rate + 0.4)));
        const LayerPtr layer = layerOf({1, rate, 0, 1, 4}, samples);
        EXPECT_NEAR(levelAt(*layer, transform, 0, 5000, hz), 1, hz < 200 ? 0.01 : 1e-3) << hz;
        // Half a window past the end there is nothing.
        EXPECT_EQ(levelAt(*layer, transform, 0, 12000, hz), 0) << hz;
    }
}

TEST_F(LevelProbe, AgreesWithAPlainSumInDoublePrecision)
{
    std::mt19937 random(7);
    std::normal_distribution<float> noise(0, 0.1f);
    std::vector<float> samples(8000);
    for (float& sample : samples)
        sample = noise(random);
    const double rate = 16000;
    const LayerPtr layer = layerOf({1, rate, 0, 2, 3}, samples);
    const Transform transform(1, WindowType::Hann, 512, 4, 1);
    for (const double hz : {0.0, 431.7, 8000.0})
        for (const int channel : {0, 1})
            for (const int64_t centre : {100, 2000, 3900}) {
                std::complex<double> sum = 0;
                for (int64_t i = 0; i < 512; ++i) {
                    const int64_t at = centre - 256 + i;
                    if (at >= 0 && at < 4000)
                        sum += double(samples[std::size_t(at * 2 + channel)]) *
                               double(transform.analysisWindow[i]) *
                               std::polar(1.0, -2 * M_PI * hz / rate * double(i));
                }
                EXPECT_NEAR(levelAt(*layer, transform, channel, double(centre), hz), std::abs(sum), 1e-9);
            }
}

TEST_F(LevelProbe, MakesNothingOfNonsense)
{
    const LayerPtr layer = layerOf({1, 8000, 0, 1, 4}, std::vector<float>(4000, 0.5f));
    const Transform transform(1, WindowType::Hann, 512, 4, 1);
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(levelAt(*layer, Transform(), 0, 1000, 100), 0);
    EXPECT_EQ(levelAt(*layer, transform, 1, 1000, 100), 0);
    EXPECT_EQ(levelAt(*layer, transform, -1, 1000, 100), 0);
    EXPECT_EQ(levelAt(*layer, transform, 0, nan, 100), 0);
    EXPECT_EQ(levelAt(*layer, transform, 0, 1000, nan), 0);
    EXPECT_EQ(levelAt(*layer, transform, 0, 1e300, 100), 0);
}

} // namespace
