// Ticks point at what they name: pixels of the whole window are read back, at the scale factor that the
// environment sets (QT_SCALE_FACTOR).
#include "display/channelrow.h"
#include "display/channelsdisplay.h"
#include "display/frequencyscale.h"
#include "display/glenvironment.h"
#include "display/powerscale.h"
#include "display/rulersetting.h"
#include "display/spectralchannel.h"
#include "display/timeline.h"
#include "display/waveformchannel.h"
#include "support/testsupport.h"

#include <QMainWindow>

#include <cmath>

namespace {

constexpr int rate = 48000;
constexpr int64_t frames = 280'000; // about 400 samples to a logical pixel

constexpr FreqScale allScales[] = {FreqScale::Linear, FreqScale::Mel, FreqScale::Bark, FreqScale::Erb,
                                   FreqScale::MidiLogarithmic};

// The middle of what is nearly as bright as the brightest.
double peak(const std::vector<double>& sums)
{
    const double most = *std::max_element(sums.begin(), sums.end());
    double weight = 0;
    double sum = 0;
    for (std::size_t i = 0; i < sums.size(); ++i)
        if (sums[i] > 0.98 * most) {
            weight += 1;
            sum += double(i) + 0.5;
        }
    return sum / weight;
}

class Pointing : public testing::Test
{
protected:
    Pointing()
    {
        window.setCentralWidget(display = new ChannelsDisplay);
        window.resize(800, 520);
        window.show();
        project.open(SampleTypeReal, 1, rate, frames);
        post(EventId::DisplayHighdBChange, 0.0f);
        EXPECT_TRUE(testsupport::waitFor([this] {
            const ChannelRow* row = display->rows().value(0);
            return row && row->spectral()->isValid() && row->spectral()->height() > 100;
        }));
    }
    [[nodiscard]] const ChannelRow& row() const { return *display->rows()[0]; }
    [[nodiscard]] double ratio() const { return window.devicePixelRatioF(); }
    // The window as it is drawn, in pixels of the screen.
    QImage picture()
    {
        EXPECT_TRUE(testsupport::waitFor([this] {
            row().spectral()->update();
            row().waveform()->update();
            QCoreApplication::processEvents();
            return display->isSettled();
        }));
        return window.grab().toImage();
    }
    // A widget's place in that picture.
    [[nodiscard]] QRect placeOf(const QWidget& widget) const
    {
        const QPointF corner = widget.mapTo(const_cast<QMainWindow*>(&window), QPoint(0, 0));
        return QRectF(corner * ratio(), QSizeF(widget.size()) * ratio()).toRect();
    }
    [[nodiscard]] double brightestColumn(const QImage& image, const QWidget& view) const
    {
        const QRect place = placeOf(view);
        std::vector<double> sums;
        for (int x = place.left(); x <= place.right(); ++x) {
            sums.push_back(0);
            for (int y = place.top(); y <= place.bottom(); ++y)
                sums.back() += qGray(image.pixel(x, y));
        }
        return place.left() + peak(sums);
    }
    [[nodiscard]] double brightestRow(const QImage& image, const QWidget& view) const
    {
        const QRect place = placeOf(view);
        std::vector<double> sums;
        for (int y = place.top(); y <= place.bottom(); ++y) {
            sums.push_back(0);
            for (int x = place.left() + place.width() / 4; x < place.right() - place.width() / 4; ++x)
                sums.back() += qGray(image.pixel(x, y));
        }
        return place.top() + peak(sums);
    }
    // The middle of the mark that is drawn nearest to a pixel, along a line through the ruler that only long
    // marks cross; far away when there is none.
    [[nodiscard]] double nearestMark(const QImage& image, const QWidget& ruler, bool horizontal,
                                     double pixel) const
    {
        const QRect place = placeOf(ruler);
        const QRgb background = QColor(QStringLiteral("#323232")).rgb();
        double best = -1e6;
        const int across = horizontal ? place.top() + int(1 * ratio()) : place.left() + int(4.5 * ratio());
        const int last = horizontal ? place.right() : place.bottom();
        for (int i = horizontal ? place.left() : place.top(); i <= last; ++i) {
            const auto isMark = [&](int at) {
                return at <= last &&
                       (horizontal ? image.pixel(at, across) : image.pixel(across, at)) != background;
            };
            if (!isMark(i))
                continue;
            int end = i;
            while (isMark(end))
                ++end;
            const double middle = (i + end) / 2.0;
            if (std::abs(middle - pixel) < std::abs(best - pixel))
                best = middle;
            i = end;
        }
        return best;
    }
    // The middle of the line over a whole view that is nearest to a pixel; far away when there is none.
    [[nodiscard]] static double nearestLine(const QImage& image, const QRect& view, bool horizontal,
                                            double pixel)
    {
        double best = -1e6;
        const int first = horizontal ? view.left() : view.top();
        const int last = horizontal ? view.right() : view.bottom();
        const auto isLine = [&](int at) {
            int bright = 0;
            const int from = horizontal ? view.top() : view.left();
            const int to = horizontal ? view.bottom() : view.right();
            for (int across = from; across <= to; ++across)
                bright += qGray(horizontal ? image.pixel(at, across) : image.pixel(across, at)) > 0x20;
            return bright > 0.9 * (to - from);
        };
        for (int i = first; i <= last; ++i) {
            int end = i;
            while (end <= last && isLine(end))
                ++end;
            if (end > i && std::abs((i + end) / 2.0 - pixel) < std::abs(best - pixel))
                best = (i + end) / 2.0;
            i = std::max(i, end - 1);
        }
        return best;
    }
    // The tick with a text that is nearest to a share of the ruler.
    [[nodiscard]] static RulerTick tickAt(const Ruler& ruler, double share, double extent)
    {
        RulerTick best;
        best.position = -1e6;
        for (const RulerTick& tick : ruler.ticks())
            if (!tick.text.isEmpty() &&
                std::abs(tick.position - share * extent) < std::abs(best.position - share * extent))
                best = tick;
        return best;
    }
    void fill(const std::function<float(int64_t)>& sample)
    {
        for (int64_t i = 0; i < frames; ++i)
            project.silence->samples[std::size_t(i)] = sample(i);
        post(EventId::LayerContentUpdate, ILayerPtr(project.silence));
    }

    Setting project;
    QMainWindow window;
    ChannelsDisplay* display = nullptr;
};

TEST_F(Pointing, theScaleFactorIsThatOfTheEnvironment)
{
    const QByteArray asked = qgetenv("QT_SCALE_FACTOR");
    EXPECT_DOUBLE_EQ(ratio(), asked.isEmpty() ? 1.0 : asked.toDouble());
    EXPECT_EQ(picture().size(), (QSizeF(window.size()) * ratio()).toSize());
}

TEST_F(Pointing, aTickOfTheTimePointsAtAnImpulse)
{
    for (const TimeUnit unit : {TimeUnit::Seconds, TimeUnit::Samples, TimeUnit::Bpm, TimeUnit::Pixels}) {
        post(EventId::TimeUnitChange, int32_t(unit));
        for (const double share : {0.2, 0.5, 0.9}) {
            const TimeLine& ruler = *display->timeLine();
            const RulerTick tick = tickAt(ruler, share, ruler.width());
            const int64_t at = ruler.convert().stringToTime(tick.text); // what the user reads
            ASSERT_TRUE(at > 3000 && at < frames - 3000) << tick.text.toStdString();
            fill([at](int64_t i) { return i == at ? 1.0f : 0.0f; });
            const QImage image = picture();
            const double column = brightestColumn(image, *row().spectral());
            EXPECT_NEAR(nearestMark(image, ruler, true, column), column, ratio())
                << tick.text.toStdString() << " unit " << int(unit);
        }
    }
}

TEST_F(Pointing, aTickOfTheFrequencyPointsAtAToneInEveryScale)
{
    for (const FreqScale scale : allScales) {
        post(EventId::FreqScaleChange, int32_t(scale));
        for (const FreqUnit unit : {FreqUnit::Hertz, FreqUnit::Notes}) {
            post(EventId::FreqUnitChange, int32_t(unit));
            for (const double share : {0.1, 0.35}) { // from the top, where a bin is less than a pixel
                const FrequencyScale& ruler = *row().frequencyScale();
                const RulerTick tick = tickAt(ruler, share, ruler.height());
                const double hz = ruler.convert().stringToFreq(tick.text);
                ASSERT_TRUE(hz > 500 && hz < 23'500) << tick.text.toStdString();
                fill([hz](int64_t i) { return float(0.01 * std::cos(2 * M_PI * hz * double(i) / rate)); });
                const QImage image = picture();
                const double y = brightestRow(image, *row().spectral());
                EXPECT_NEAR(nearestMark(image, ruler, false, y), y, ratio())
                    << tick.text.toStdString() << " scale " << int(scale);
            }
        }
    }
}

// One picture of both: the impulse is bright over all rows of its column, the tone over all columns of its
// row.
TEST_F(Pointing, impulseAndToneStandAtTheirTicksInEveryScaleFilteringAndRefinement)
{
    const RulerTick time = tickAt(*display->timeLine(), 0.7, display->timeLine()->width());
    const int64_t at = display->timeLine()->convert().stringToTime(time.text);
    for (const FreqScale scale : allScales) {
        post(EventId::FreqScaleChange, int32_t(scale));
        const FrequencyScale& ruler = *row().frequencyScale();
        const RulerTick tick = tickAt(ruler, 0.25, ruler.height());
        const double hz = ruler.convert().stringToFreq(tick.text);
        fill([at, hz](int64_t i) {
            return float(0.01 * std::cos(2 * M_PI * hz * double(i) / rate)) + (i == at ? 1.0f : 0.0f);
        });
        for (const Filtering filtering : {Filtering::Raw, Filtering::Linear, Filtering::Cubic})
            for (const float refinement : {0.0f, 1.0f}) {
                post(EventId::FilteringChange, int32_t(filtering));
                post(EventId::DisplayTimeSharpenChange, refinement);
                post(EventId::DisplayFreqSharpenChange, refinement);
                const QImage image = picture();
                const std::string how = "scale " + std::to_string(int(scale)) + " filtering " +
                                        std::to_string(int(filtering)) + " refinement " +
                                        std::to_string(refinement);
                const double column = brightestColumn(image, *row().spectral());
                EXPECT_NEAR(nearestMark(image, *display->timeLine(), true, column), column, ratio()) << how;
                const double y = brightestRow(image, *row().spectral());
                EXPECT_NEAR(nearestMark(image, ruler, false, y), y, ratio()) << how;
                EXPECT_NEAR(y, placeOf(ruler).top() + tick.position * ratio(), ratio()) << how;
            }
    }
    post(EventId::DisplayTimeSharpenChange, 0.0f);
    post(EventId::DisplayFreqSharpenChange, 0.0f);
}

TEST_F(Pointing, gridLinesStandAtTheTicksOfBothRulers)
{
    post(EventId::DisplaySplitterRatioChange, 0.5f);
    post(EventId::DisplayGridEnable, true);
    // The pixels of views and of rulers begin at whole numbers only where the factor is one.
    const double tolerance = std::fmod(ratio(), 1) == 0 ? 0.25 : 1;
    for (const FreqScale scale : {FreqScale::Linear, FreqScale::Mel}) {
        post(EventId::FreqScaleChange, int32_t(scale));
        const QImage image = picture(); // of silence
        const QRect spectrum = placeOf(*row().spectral());
        const QRect wave = placeOf(*row().waveform());
        const auto expectLines = [&](const Ruler& ruler, const QRect& view, bool horizontal) {
            int lines = 0;
            const double origin = horizontal ? view.left() : view.top();
            for (const RulerTick& tick : ruler.ticks()) {
                const double pixel = origin + tick.position * ratio();
                // Away from the edges, and across the other lines where there are none.
                const double last = horizontal ? view.right() : view.bottom();
                const bool onCurve = &ruler == row().powerScale() && tick.value == 0; // of the silence
                if (pixel < origin + 3 || pixel > last - 3 || onCurve)
                    continue;
                ++lines;
                const double mark = nearestMark(image, ruler, horizontal, pixel);
                const double line = nearestLine(image, view, horizontal, pixel);
                EXPECT_NEAR(mark, line, tolerance) << tick.text.toStdString() << " at " << pixel;
            }
            EXPECT_GE(lines, 2);
        };
        expectLines(*display->timeLine(), spectrum, true);
        expectLines(*display->timeLine(), wave, true);
        expectLines(*row().frequencyScale(), spectrum, false);
        expectLines(*row().powerScale(), wave, false);
    }
    post(EventId::DisplayGridEnable, false);
}

TEST_F(Pointing, aTickOfThePowerPointsAtALevel)
{
    post(EventId::DisplaySplitterRatioChange, 0.6f);
    post(EventId::PowerUnitChange, int32_t(PowerUnit::Percents));
    for (const double share : {0.1, 0.3, 0.8}) {
        const PowerScale& ruler = *row().powerScale();
        const RulerTick tick = tickAt(ruler, share, ruler.height());
        const float level = tick.text.toFloat() / 100;
        ASSERT_NE(level, 0);
        fill([level](int64_t) { return level; });
        const QImage image = picture();
        const double y = brightestRow(image, *row().waveform());
        EXPECT_NEAR(nearestMark(image, ruler, false, y), y, ratio()) << tick.text.toStdString();
    }
}

} // namespace
