// The three rulers: what they show, and what wheel, drag, press and menu do.
#include "display/devicegrid.h"
#include "display/frequencyscale.h"
#include "display/glenvironment.h"
#include "display/powerscale.h"
#include "display/rulersetting.h"
#include "display/timeline.h"
#include "support/testsupport.h"

#include <QContextMenuEvent>
#include <QMenu>
#include <QSignalSpy>
#include <QVariant>

#include <cmath>
#include <limits>
#include <random>

namespace {

constexpr FreqScale allScales[] = {FreqScale::Linear, FreqScale::Mel, FreqScale::Bark, FreqScale::Erb,
                                   FreqScale::MidiLogarithmic};

class Rulers : public testing::Test
{
protected:
    Rulers()
    {
        time.resize(800, 24);
        frequency.resize(56, 400);
        power.resize(56, 200);
    }
    ~Rulers() override
    {
        for (const char* key : {"playbackhold", "playbackscrubbing"})
            qApp->setProperty(key, QVariant());
    }
    [[nodiscard]] QList<Ruler*> all() { return {&time, &frequency, &power}; }
    [[nodiscard]] static QAction* entry(const QMenu& menu, const char* text)
    {
        for (QAction* action : menu.actions())
            if (action->text() == QLatin1String(text))
                return action;
        return nullptr;
    }
    // Chooses an entry of a ruler's menu.
    static void choose(Ruler& ruler, const char* text)
    {
        const std::unique_ptr<QMenu> menu = ruler.makeMenu();
        QAction* action = entry(*menu, text);
        ASSERT_TRUE(action) << text;
        action->trigger();
    }
    static QString checkedIn(Ruler& ruler)
    {
        QStringList words;
        const std::unique_ptr<QMenu> menu = ruler.makeMenu();
        for (const QAction* action : menu->actions())
            if (action->isChecked())
                words << action->text();
        return words.join(QLatin1Char(','));
    }

    Setting project;
    TimeLine time;
    FrequencyScale frequency;
    PowerScale power;
    RulerListener listener;
};

// --- marks --------------------------------------------------------------------------------------------

TEST_F(Rulers, withoutAProjectNothingIsShownAndNothingHappens)
{
    for (int round = 0; round < 2; ++round) {
        for (Ruler* ruler : all()) {
            EXPECT_TRUE(ruler->ticks().isEmpty());
            EXPECT_TRUE(ruler->labelRect().isEmpty());
            sendWheel(*ruler, {10, 10}, {0, 120});
            drag(*ruler, {10, 10}, {40, 18});
            EXPECT_FALSE(ruler->grab().isNull());
        }
        EXPECT_TRUE(listener.isSilent());
        // The same again when the last project was closed.
        project.open();
        Setting::close();
        listener.forget();
    }
}

TEST_F(Rulers, aFormatWithoutASamplingRateShowsNothing)
{
    project.open(SampleTypeReal, 1, 0);
    for (Ruler* ruler : all())
        EXPECT_TRUE(ruler->ticks().isEmpty());
}

TEST_F(Rulers, ticksStandWhereTheirValuesAre)
{
    project.open();
    post(EventId::DisplayAreaChange, Area{48'000, 2000, 96'000, 8000});
    ASSERT_GE(time.ticks().size(), 5);
    for (const RulerTick& tick : time.ticks()) {
        EXPECT_NEAR(tick.position, (tick.value - 48'000) / 96'000 * 800, 1e-9);
        if (!tick.text.isEmpty()) {
            EXPECT_EQ(tick.text, QString::number(tick.value / 48'000, 'f', 3));
        }
    }
    ASSERT_GE(frequency.ticks().size(), 5);
    for (const RulerTick& tick : frequency.ticks()) {
        EXPECT_NEAR(tick.position, 400 - (tick.value - 2000) / 8000 * 400, 1e-9);
        if (!tick.text.isEmpty()) {
            EXPECT_EQ(tick.text.toDouble(), tick.value);
        }
    }
    post(EventId::DisplayPowerChange, PowerRange{-0.5, 1});
    post(EventId::PowerUnitChange, int32_t(PowerUnit::Normalized));
    ASSERT_GE(power.ticks().size(), 5);
    for (const RulerTick& tick : power.ticks()) {
        EXPECT_NEAR(tick.position, (1 - tick.value) / 1.5 * 200, 1e-9);
        if (!tick.text.isEmpty()) {
            EXPECT_NEAR(tick.text.toDouble(), tick.value, 1e-9);
        }
    }
}

TEST_F(Rulers, frequencyTicksFollowTheScale)
{
    project.open();
    for (const FreqScale scale : allScales) {
        post(EventId::FreqScaleChange, int32_t(scale));
        Convert convert = frequency.convert();
        ASSERT_EQ(convert.freqScale, scale);
        ASSERT_GE(frequency.ticks().size(), 8);
        for (const RulerTick& tick : frequency.ticks())
            EXPECT_NEAR(tick.position, 400 * (1 - convert.toScale(tick.value) / 24'000), 1e-6);
    }
}

// Rectangles of texts as the paint places them are not told; what is painted is: no two texts may share
// a column (time) or a row (frequency, power) of pixels with anything between them.
TEST_F(Rulers, textsKeepApartFromEachOtherFromTheUnitAndFromTheEdges)
{
    std::mt19937 random(3);
    std::uniform_real_distribution<double> share(0, 1);
    project.open(SampleTypeReal, 1, 48000, 48'000 * 4000);
    int texts = 0;
    for (int i = 0; i < 300; ++i) {
        post(EventId::TimeUnitChange, int32_t(i % 6));
        post(EventId::FreqUnitChange, int32_t(i % 5));
        post(EventId::PowerUnitChange, int32_t(i % 3));
        post(EventId::FreqScaleChange, int32_t((i / 5) % 5));
        const Area whole = project.whole();
        const double width = std::max(4.0, whole.width * std::pow(share(random), 6));
        const double height = std::max(2.0, whole.height * std::pow(share(random), 3));
        post(EventId::DisplayAreaChange, Area{(whole.width - width) * share(random),
                                              (whole.height - height) * share(random), width, height});
        const double half = std::exp2(3 - 12 * share(random));
        post(EventId::DisplayPowerChange, PowerRange{-half, half});
        time.resize(60 + int(1500 * share(random)), 24);
        frequency.resize(56, 8 + int(900 * share(random)));
        power.resize(56, 8 + int(300 * share(random)));
        for (Ruler* ruler : all()) {
            const bool horizontal = ruler == &time;
            const QFontMetricsF metrics(ruler->font());
            double end = -1; // of the text before, along the ruler
            QVector<RulerTick> ticks = ruler->ticks();
            std::sort(ticks.begin(), ticks.end(),
                      [](const RulerTick& a, const RulerTick& b) { return a.position < b.position; });
            const QRectF label = ruler->labelRect();
            for (const RulerTick& tick : ticks) {
                EXPECT_TRUE(tick.position >= 0 &&
                            tick.position <= (horizontal ? ruler->width() : ruler->height()));
                if (tick.text.isEmpty())
                    continue;
                ++texts;
                const double extent = horizontal ? metrics.horizontalAdvance(tick.text) : metrics.ascent();
                // A vertical text may be moved by half its height at the ends.
                const double first =
                    horizontal ? tick.position
                               : std::clamp(tick.position - extent / 2, 0.0, ruler->height() - extent);
                EXPECT_GE(first, end - (horizontal ? 0 : 1)) << ruler->accessibleName().toStdString();
                end = first + extent;
                EXPECT_LE(end, (horizontal ? ruler->width() : ruler->height()) + 1);
                if (label.isEmpty())
                    continue;
                const double from = horizontal ? label.left() : label.top() + 1;
                const double to = horizontal ? label.right() : label.bottom() - 1;
                EXPECT_TRUE(end <= from + 1e-6 || first >= to - 1e-6);
            }
        }
    }
    EXPECT_GT(texts, 1500);
}

TEST_F(Rulers, theUnitStandsAtMidHeightInItsRectangle)
{
    project.open();
    post(EventId::TimeUnitChange, int32_t(TimeUnit::Samples));
    for (Ruler* ruler : all()) {
        const QRectF label = ruler->labelRect();
        ASSERT_FALSE(label.isEmpty());
        EXPECT_EQ(label.height(), 15);
        EXPECT_EQ(label.center().y(), ruler->height() / 2.0);
        EXPECT_DOUBLE_EQ(label.width(),
                         QFontMetricsF(ruler->font()).horizontalAdvance(ruler->unitLabel()) + 4);
        EXPECT_TRUE(QRectF(ruler->rect()).contains(label));
    }
    EXPECT_EQ(time.unitLabel(), QStringLiteral("smp"));
    EXPECT_EQ(frequency.unitLabel(), QStringLiteral("Hz"));
    EXPECT_EQ(power.unitLabel(), QStringLiteral("dB"));
    post(EventId::FreqUnitChange, int32_t(FreqUnit::Notes));
    EXPECT_EQ(frequency.unitLabel(), QString(QChar(0x266a)));
    // No suffix, no rectangle.
    post(EventId::TimeUnitChange, int32_t(TimeUnit::Decimal));
    EXPECT_TRUE(time.labelRect().isEmpty());
}

TEST_F(Rulers, theColumnIsWideEnoughForEveryTextOfItsUnit)
{
    std::mt19937 random(4);
    std::uniform_real_distribution<double> share(0, 1);
    for (const double rate : {8000.0, 48000.0, 1e6, 1e13}) {
        project.open(SampleTypeComplex, 1, rate, 1000);
        for (int i = 0; i < 100; ++i) {
            post(EventId::FreqUnitChange, int32_t(i % 5));
            post(EventId::PowerUnitChange, int32_t(i % 3));
            const double height = std::max(2.0, rate * std::pow(share(random), 5));
            post(EventId::DisplayAreaChange,
                 Area{0, -rate / 2 + (rate - height) * share(random), 1000, height});
            const double half = std::exp2(3 - 12 * share(random));
            post(EventId::DisplayPowerChange, PowerRange{-half, half});
            for (VerticalRuler* ruler :
                 {static_cast<VerticalRuler*>(&frequency), static_cast<VerticalRuler*>(&power)}) {
                ruler->resize(ruler->neededWidth(ruler->convert()), 300);
                for (const RulerTick& tick : ruler->ticks())
                    EXPECT_LE(QFontMetricsF(ruler->font()).horizontalAdvance(tick.text), ruler->width() - 9)
                        << tick.text.toStdString();
            }
        }
    }
}

TEST(DeviceGrid, linesFillWholePixelsOfTheScreenAndStayInside)
{
    for (const double ratio : {1.0, 1.25, 1.5, 1.75, 2.0, 3.0})
        for (const double origin : {0.0, 37.0, 88.0})
            for (double x = -1; x <= 101; x += 0.37) {
                const DeviceGrid grid(QSizeF(100, 100), QPointF(origin, origin), ratio);
                const QRectF line = grid.vertical(x, 0, 100);
                const double left = (origin + line.left()) * ratio;
                const double right = (origin + line.right()) * ratio;
                EXPECT_NEAR(left, std::round(left), 1e-6);
                EXPECT_NEAR(right - left, std::floor(ratio), 1e-6);
                EXPECT_GE(line.left(), -1e-9);
                EXPECT_LE(line.right(), 100 + 1e-9);
                if (x >= 1 && x <= 98) {
                    EXPECT_LE(std::abs(line.center().x() - x), 1 / ratio + 1e-9) << ratio;
                }
                const QRectF flat = grid.horizontal(x, 0, 100);
                EXPECT_DOUBLE_EQ(flat.top(), line.left());
                EXPECT_DOUBLE_EQ(flat.height(), line.width());
            }
}

// --- wheel --------------------------------------------------------------------------------------------

TEST_F(Rulers, theWheelZoomsAboutThePointerAndBothItsAxesAddUp)
{
    project.open();
    const Area start{100'000, 4000, 96'000, 8000};
    post(EventId::DisplayAreaChange, start);
    listener.forget();
    sendWheel(time, {200, 12}, {40, 80});
    const double factor = std::exp2(120 / -480.0);
    ASSERT_EQ(listener.areas.size(), 1U);
    EXPECT_NEAR(listener.areas[0].width, 96'000 * factor, 1e-6);
    EXPECT_NEAR(listener.areas[0].x, 124'000 - 96'000 * factor / 4, 1e-6);
    EXPECT_EQ(listener.areas[0].y, 4000);
    EXPECT_EQ(listener.areas[0].height, 8000);
    sendWheel(frequency, {10, 100}, {0, -120});
    ASSERT_EQ(listener.areas.size(), 2U);
    EXPECT_NEAR(listener.areas[1].height, 8000 / factor, 1e-6);
    EXPECT_NEAR(listener.areas[1].y, 10'000 - 8000 / factor * 0.75, 1e-6); // 10 kHz is under the pointer
    EXPECT_EQ(listener.areas[1].width, listener.areas[0].width);
    sendWheel(power, {10, 50}, {0, 120}); // 0.5
    ASSERT_EQ(listener.ranges.size(), 1U);
    EXPECT_NEAR(listener.ranges[0].high - listener.ranges[0].low, 2 * factor, 1e-9);
    EXPECT_NEAR(listener.ranges[0].low, 0.5 - 1.5 * factor, 1e-9);
}

TEST_F(Rulers, zoomingOutEndsAtTheDocument)
{
    project.open(SampleTypeReal, 1, 48000, 480'000, 48'000);
    for (const FreqScale scale : allScales) {
        post(EventId::FreqScaleChange, int32_t(scale));
        post(EventId::DisplayAreaChange, Area{200'000, 4000, 9600, 800});
        for (int i = 0; i < 60; ++i) {
            sendWheel(time, {10.0 * i, 12}, {0, -120});
            sendWheel(frequency, {10, 6.0 * i}, {0, -120});
        }
        EXPECT_EQ(time.viewArea(), (Area{48'000, 0, 480'000, 24'000}));
        EXPECT_EQ(frequency.viewArea(), time.viewArea());
    }
}

TEST_F(Rulers, twoHundredRandomWheelStepsInAndBackEndAtTheSameViewInEveryScale)
{
    for (const FreqScale scale : allScales) {
        std::mt19937 random(5);
        std::uniform_real_distribution<double> share(0, 1);
        project.open();
        post(EventId::FreqScaleChange, int32_t(scale));
        const Area start{60'000, 700, 300'000, 17'000};
        post(EventId::DisplayAreaChange, start);
        post(EventId::DisplayPowerChange, PowerRange{-0.4, 0.9});
        struct Step
        {
            Ruler* ruler;
            QPointF at;
            int angle;
        };
        std::vector<Step> steps;
        for (int i = 0; i < 200; ++i) {
            Ruler* ruler = all()[i % 3];
            const QPointF at(share(random) * ruler->width(), share(random) * ruler->height());
            steps.push_back({ruler, at, 10 + int(90 * share(random))});
        }
        for (const Step& step : steps)
            sendWheel(*step.ruler, step.at, {0, step.angle});
        EXPECT_LT(time.viewArea().width, start.width / 100);
        EXPECT_LT(time.viewArea().height, start.height / 10);
        for (auto step = steps.rbegin(); step != steps.rend(); ++step)
            sendWheel(*step->ruler, step->at, {0, -step->angle});
        EXPECT_NEAR(time.viewArea().x, start.x, 1e-6 * start.width) << int(scale);
        EXPECT_NEAR(time.viewArea().width, start.width, 1e-6 * start.width) << int(scale);
        EXPECT_NEAR(time.viewArea().y, start.y, 1e-6 * start.height) << int(scale);
        EXPECT_NEAR(time.viewArea().height, start.height, 1e-6 * start.height) << int(scale);
        EXPECT_NEAR(power.powerRange().low, -0.4, 1e-9);
        EXPECT_NEAR(power.powerRange().high, 0.9, 1e-9);
    }
}

TEST_F(Rulers, whatIsUnderThePointerStaysThereInEveryScale)
{
    std::mt19937 random(6);
    std::uniform_real_distribution<double> share(0.05, 0.95);
    project.open();
    for (int i = 0; i < 200; ++i) {
        post(EventId::FreqScaleChange, int32_t(i % 5));
        post(EventId::DisplayAreaChange, Area{200'000, 5000, 40'000, 6000});
        const double x = share(random) * time.width();
        const double y = share(random) * frequency.height();
        const double sample = time.viewArea().x + x / time.width() * time.viewArea().width;
        const Area view = frequency.convert().areaToScale(frequency.viewArea());
        const double hz = frequency.convert().fromScale(view.y + (1 - y / frequency.height()) * view.height);
        sendWheel(time, {x, 5}, {0, 100});
        sendWheel(frequency, {5, y}, {0, i % 2 ? 100 : -60});
        EXPECT_NEAR(time.positionOf(sample), x, 1e-6);
        EXPECT_NEAR(frequency.positionOf(hz), y, 1e-6) << i % 5;
    }
}

// --- drags --------------------------------------------------------------------------------------------

TEST_F(Rulers, aDragOnTheFrequenciesShiftsTheBand)
{
    project.open();
    for (const FreqScale scale : allScales) {
        post(EventId::FreqScaleChange, int32_t(scale));
        post(EventId::DisplayAreaChange, Area{0, 5000, 480'000, 6000});
        const double before = frequency.positionOf(8000);
        drag(frequency, {10, 200}, {10, 230});
        EXPECT_NEAR(frequency.positionOf(8000), before + 30, 1e-6) << int(scale);
        drag(frequency, {10, 200}, {10, 5000}); // ends at the document
        EXPECT_NEAR(frequency.viewArea().y + frequency.viewArea().height, 24'000, 1e-6);
    }
    EXPECT_EQ(listener.areas.back(), frequency.viewArea());
}

TEST_F(Rulers, theLockKeepsTheBottomAt0)
{
    project.open();
    post(EventId::DisplayAreaChange, Area{0, 0, 480'000, 6000});
    post(EventId::DisplayLockBottomTo0Enable, true);
    drag(frequency, {10, 200}, {10, 260});
    EXPECT_EQ(frequency.viewArea().y, 0);
    EXPECT_NEAR(frequency.viewArea().height, 6000, 1e-6);
    sendWheel(frequency, {10, 30}, {0, 120});
    EXPECT_EQ(frequency.viewArea().y, 0);
    EXPECT_NEAR(frequency.viewArea().height, 6000 * std::exp2(-0.25), 1e-6);
}

TEST_F(Rulers, theLockKeepsAComplexBandCentredAt0)
{
    project.open(SampleTypeComplex);
    post(EventId::DisplayAreaChange, Area{0, -6000, 480'000, 12'000});
    post(EventId::DisplayLockCenterTo0Enable, true);
    drag(frequency, {10, 200}, {10, 260});
    EXPECT_NEAR(frequency.viewArea().y, -frequency.viewArea().height / 2, 1e-9);
    sendWheel(frequency, {10, 30}, {0, 120});
    EXPECT_NEAR(frequency.viewArea().y, -frequency.viewArea().height / 2, 1e-9);
    EXPECT_LT(frequency.viewArea().height, 12'000);
}

TEST_F(Rulers, aDragOnThePowersScalesByTwoInEightyPixelsAboutTheCentre)
{
    project.open();
    post(EventId::DisplayPowerChange, PowerRange{-0.2, 0.6});
    drag(power, {10, 150}, {10, 70}); // upwards: larger waves
    EXPECT_NEAR(power.powerRange().low, 0, 1e-9);
    EXPECT_NEAR(power.powerRange().high, 0.4, 1e-9);
    drag(power, {10, 20}, {10, 180});
    EXPECT_NEAR(power.powerRange().high - power.powerRange().low, 1.6, 1e-9);
    EXPECT_NEAR(power.powerRange().high + power.powerRange().low, 0.4, 1e-9);
    EXPECT_EQ(listener.ranges.back().high, power.powerRange().high);
}

TEST_F(Rulers, underItsLockThePowerRangeIsSymmetricAbout0)
{
    project.open();
    post(EventId::DisplayPowerChange, PowerRange{-0.2, 0.6});
    choose(power, "Always Center Waveform");
    EXPECT_NEAR(power.powerRange().low, -0.4, 1e-9);
    EXPECT_NEAR(power.powerRange().high, 0.4, 1e-9);
    sendWheel(power, {10, 3}, {0, 90});
    EXPECT_EQ(power.powerRange().low, -power.powerRange().high);
    EXPECT_NEAR(power.powerRange().high, 0.4 * std::exp2(90 / -480.0), 1e-9);
    drag(power, {10, 20}, {10, 33});
    EXPECT_EQ(power.powerRange().low, -power.powerRange().high);
}

TEST_F(Rulers, hostileRangesAreNotTaken)
{
    project.open();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double infinity = std::numeric_limits<double>::infinity();
    for (const double value : {nan, infinity, -infinity, 1e300, 0.0, -1.0}) {
        post(EventId::DisplayPowerChange, PowerRange{value, value});
        post(EventId::DisplayAreaChange, Area{value, value, value, value});
        listener.forget();
        for (Ruler* ruler : all()) {
            sendWheel(*ruler, {10, 10}, {0, 120});
            drag(*ruler, {10, 10}, {30, 30});
            EXPECT_LT(ruler->ticks().size(), 1000);
            EXPECT_FALSE(ruler->grab().isNull());
        }
        // What they post is fit to be shown.
        for (const Area& area : listener.areas)
            EXPECT_TRUE(area.width > 0 && area.height > 0 && area.x >= 0 && area.y >= 0 &&
                        area.x + area.width <= 480'000 && area.y + area.height <= 24'000 + 1e-6);
        for (const PowerRange& range : listener.ranges)
            EXPECT_TRUE(std::isfinite(range.low) && range.high > range.low);
    }
}

// --- the time ruler -----------------------------------------------------------------------------------

TEST_F(Rulers, aPressOnTheTimePlaysAsLongAsItIsHeld)
{
    project.open();
    QSignalSpy toggled(&time, &TimeLine::playOrStopToggled);
    listener.forget();
    sendMouse(time, QEvent::MouseButtonPress, {200, 10});
    EXPECT_EQ(listener.positions, std::vector<int64_t>{120'000});
    EXPECT_EQ(toggled.size(), 1);
    time.startPlaying();
    EXPECT_TRUE(time.isPlaying());
    sendMouse(time, QEvent::MouseButtonRelease, {200, 10});
    EXPECT_EQ(toggled.size(), 2);
    time.stopPlaying();
    // While it plays already, a press goes on from the new place and the release stops.
    time.startPlaying();
    sendMouse(time, QEvent::MouseButtonPress, {400, 10});
    EXPECT_EQ(toggled.size(), 2);
    sendMouse(time, QEvent::MouseButtonRelease, {400, 10});
    EXPECT_EQ(toggled.size(), 3);
}

TEST_F(Rulers, withoutHoldAPressTogglesOnce)
{
    qApp->setProperty("playbackhold", QVariant(QStringLiteral("false")));
    project.open();
    QSignalSpy toggled(&time, &TimeLine::playOrStopToggled);
    sendMouse(time, QEvent::MouseButtonPress, {200, 10});
    EXPECT_EQ(toggled.size(), 1);
    sendMouse(time, QEvent::MouseButtonRelease, {200, 10});
    EXPECT_EQ(toggled.size(), 1);
}

TEST_F(Rulers, aPressThatMoves10PixelsOrLessDoesNotScrub)
{
    project.open();
    listener.forget();
    sendMouse(time, QEvent::MouseButtonPress, {200, 10});
    sendMouse(time, QEvent::MouseMove, {210, 10});
    sendMouse(time, QEvent::MouseMove, {190, 10});
    EXPECT_EQ(listener.positions.size(), 1U);
    sendMouse(time, QEvent::MouseMove, {211, 10});
    ASSERT_EQ(listener.positions.size(), 2U);
    EXPECT_EQ(listener.positions[1], 126'600);
    sendMouse(time, QEvent::MouseMove, {205, 10}); // once begun, each move counts
    EXPECT_EQ(listener.positions.back(), 123'000);
    sendMouse(time, QEvent::MouseMove, {-5000, 10});
    EXPECT_EQ(listener.positions.back(), 0);
    sendMouse(time, QEvent::MouseMove, {5000, 10});
    EXPECT_EQ(listener.positions.back(), 480'000);
    EXPECT_EQ(time.transportPosition(), 480'000);
    sendMouse(time, QEvent::MouseButtonRelease, {5000, 10});
    sendMouse(time, QEvent::MouseMove, {100, 10});
    EXPECT_EQ(listener.positions.back(), 480'000);
}

TEST_F(Rulers, scrubbingCanBeTurnedOff)
{
    qApp->setProperty("playbackscrubbing", QVariant(QStringLiteral("false")));
    project.open();
    listener.forget();
    drag(time, {200, 10}, {400, 10});
    EXPECT_EQ(listener.positions, std::vector<int64_t>{120'000});
}

TEST_F(Rulers, otherButtonsDoNotSetThePosition)
{
    project.open();
    listener.forget();
    sendMouse(time, QEvent::MouseButtonPress, {200, 10}, Qt::MiddleButton);
    sendMouse(time, QEvent::MouseButtonRelease, {200, 10}, Qt::MiddleButton);
    EXPECT_TRUE(listener.isSilent());
}

TEST_F(Rulers, theTransportIsDrawnOnTheTimeRuler)
{
    project.open();
    const auto column = [this](int x) { return time.grab().toImage().pixelColor(x, 3); };
    post(EventId::TransportPositionChange, int64_t(231'300)); // between the marks
    const int x = int(231'300.0 / 480'000 * 800);
    EXPECT_EQ(column(x), QColor(QStringLiteral("#d2d2d2")));
    post(EventId::TransportPositionChange, int64_t(0));
    EXPECT_NE(column(x), QColor(QStringLiteral("#d2d2d2")));
}

// --- menus --------------------------------------------------------------------------------------------

TEST_F(Rulers, theMenuOfTimesPostsItsUnitAndTheRulerFollows)
{
    project.open();
    const char* words[] = {"Samples", "Decimal", "Seconds", "BPM", "FPS", "Pixels"};
    for (int unit = 0; unit < 6; ++unit) {
        listener.forget();
        choose(time, words[unit]);
        ASSERT_EQ(listener.units.size(), 1U);
        EXPECT_EQ(listener.units[0], (std::pair{EventId::TimeUnitChange, int32_t(unit)}));
        EXPECT_EQ(checkedIn(time), QLatin1String(words[unit]));
        EXPECT_EQ(int(time.convert().timeUnit), unit);
        for (const RulerTick& tick : time.ticks())
            if (!tick.text.isEmpty()) {
                EXPECT_EQ(tick.text, time.convert().timeToString(tick.value));
            }
    }
    EXPECT_FALSE(time.ticks().isEmpty());
}

TEST_F(Rulers, theMenuOfFrequenciesPostsUnitAndScaleAndTheRulerFollows)
{
    project.open();
    const char* units[] = {"Hertz", "Pixels", "Octaves", "Notes", "Normalized"};
    const char* scales[] = {"Linear", "Mel", "Bark", "ERB", "MIDI-logarithmic"};
    for (int unit = 0; unit < 5; ++unit)
        for (int scale = 0; scale < 5; ++scale) {
            listener.forget();
            choose(frequency, units[unit]);
            choose(frequency, scales[scale]);
            ASSERT_EQ(listener.units.size(), 2U);
            EXPECT_EQ(listener.units[0], (std::pair{EventId::FreqUnitChange, int32_t(unit)}));
            EXPECT_EQ(listener.units[1], (std::pair{EventId::FreqScaleChange, int32_t(scale)}));
            EXPECT_EQ(checkedIn(frequency),
                      QStringLiteral("%1,%2").arg(QLatin1String(units[unit]), QLatin1String(scales[scale])));
            ASSERT_FALSE(frequency.ticks().isEmpty());
            for (const RulerTick& tick : frequency.ticks())
                if (!tick.text.isEmpty()) {
                    EXPECT_EQ(tick.text, frequency.convert().freqToString(tick.value));
                }
        }
}

TEST_F(Rulers, theMenuOfPowersPostsItsUnitAndTheRulerFollows)
{
    project.open();
    const char* words[] = {"Decibel", "Percents", "Normalized"};
    for (int unit = 0; unit < 3; ++unit) {
        listener.forget();
        choose(power, words[unit]);
        ASSERT_EQ(listener.units.size(), 1U);
        EXPECT_EQ(listener.units[0], (std::pair{EventId::PowerUnitChange, int32_t(unit)}));
        EXPECT_EQ(checkedIn(power), QLatin1String(words[unit]));
        for (const RulerTick& tick : power.ticks())
            if (!tick.text.isEmpty()) {
                EXPECT_EQ(tick.text, power.convert().powerToString(tick.value));
            }
    }
}

TEST_F(Rulers, theMenuLocksTheSpectrogramTo0AtOnce)
{
    project.open();
    post(EventId::DisplayAreaChange, Area{0, 3000, 480'000, 6000});
    choose(frequency, "Lock Spectrogram to 0Hz");
    EXPECT_EQ(listener.locks.back(), (std::pair{EventId::DisplayLockBottomTo0Enable, true}));
    EXPECT_EQ(listener.areas.back().y, 0);
    choose(frequency, "Lock Spectrogram to 0Hz");
    EXPECT_EQ(listener.locks.back(), (std::pair{EventId::DisplayLockBottomTo0Enable, false}));
}

TEST_F(Rulers, theContextMenuOpensByMouseAndByKey)
{
    project.open();
    for (const auto reason : {QContextMenuEvent::Mouse, QContextMenuEvent::Keyboard})
        for (Ruler* ruler : all()) {
            ruler->show();
            QContextMenuEvent event(reason, {5, 5}, ruler->mapToGlobal(QPoint(5, 5)));
            QApplication::sendEvent(ruler, &event);
            auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
            ASSERT_TRUE(menu);
            EXPECT_GE(menu->actions().size(), 3);
            menu->close();
            ASSERT_TRUE(testsupport::waitFor([] { return !QApplication::activePopupWidget(); }));
        }
}

TEST_F(Rulers, aStandingMenuFollowsTheProject)
{
    UnitMenu menu(UnitKind::Frequency, QStringLiteral("Frequency"));
    for (const QAction* action : menu.actions())
        EXPECT_TRUE(action->isSeparator() || !action->isEnabled());
    project.open();
    EXPECT_TRUE(entry(menu, "Hertz")->isChecked() && entry(menu, "Hertz")->isEnabled());
    post(EventId::FreqUnitChange, int32_t(FreqUnit::Notes));
    EXPECT_TRUE(entry(menu, "Notes")->isChecked());
    EXPECT_FALSE(entry(menu, "Hertz")->isChecked());
    entry(menu, "Pixels")->trigger();
    EXPECT_EQ(frequency.convert().freqUnit, FreqUnit::Pixels);
    Setting::close();
    EXPECT_FALSE(entry(menu, "Pixels")->isEnabled());
}

TEST_F(Rulers, hoveringIsTold)
{
    QSignalSpy overFrequency(&frequency, &FrequencyScale::hovered);
    QSignalSpy overPower(&power, &PowerScale::hovered);
    for (QWidget* ruler : {static_cast<QWidget*>(&frequency), static_cast<QWidget*>(&power)}) {
        QEvent enter(QEvent::Enter);
        QEvent leave(QEvent::Leave);
        QApplication::sendEvent(ruler, &enter);
        QApplication::sendEvent(ruler, &leave);
    }
    for (QSignalSpy* spy : {&overFrequency, &overPower}) {
        ASSERT_EQ(spy->size(), 2);
        EXPECT_TRUE(spy->at(0).at(0).toBool());
        EXPECT_FALSE(spy->at(1).at(0).toBool());
    }
}

TEST_F(Rulers, everyRulerHasANameAToolTipAndAPlaceInTheTabOrder)
{
    for (const Ruler* ruler : all()) {
        EXPECT_FALSE(ruler->accessibleName().isEmpty());
        EXPECT_FALSE(ruler->toolTip().isEmpty());
        EXPECT_TRUE(ruler->focusPolicy() & Qt::TabFocus);
    }
}

} // namespace
