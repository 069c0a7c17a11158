#include "display/spectralview.h"
#include "model/documentlock.h"
#include "support/wav.h"

#include <cmath>
#include <complex>
#include <limits>
#include <random>

namespace {

// --- marks over the picture -------------------------------------------------------------------------

// An empty view of 400 samples by 300 Hz: a pixel is a sample wide and a Hz high.
class Marks : public View
{
protected:
    Marks()
    {
        qApp->setProperty("colorgrid", QColor(0, 0, 200));
        qApp->setProperty("colormarkers", QColor(0, 200, 0));
        qApp->setProperty("colorregions", QColor(200, 0, 0));
        qApp->setProperty("colortransport", QColor(0, 200, 200));
        qApp->setProperty("colordrawing", QColor(200, 200, 0));
        qApp->setProperty("colorcontrols", QColor(200, 0, 200));
        qApp->setProperty("colorselectionmask", QColor(255, 255, 255));
        qApp->setProperty("colorselectionborder", QColor(250, 0, 0));
        qApp->setProperty("selectionborderstyle", QStringLiteral("none"));
        open(1000);
        post(EventId::LayerRootChange, root);
        show({0, 0, 400, 300});
    }
    // Colour at a place of the document.
    QColor at(double time, double freq)
    {
        return channel->grabFramebuffer().pixelColor(int(time), int(height - freq));
    }
    void select(double x, double y, double w, double h)
    {
        QPainterPath path;
        path.addRect(x, y, w, h);
        post(EventId::SelectionChange, Selection(path));
    }
};

TEST_F(Marks, SelectionTintHasTheOpacitySet)
{
    select(100, 50, 200, 100);
    for (const float opacity : {0.3f, 0.8f, 0.0f}) {
        post(EventId::DisplaySelectionOpacityChange, opacity);
        EXPECT_NEAR(at(200, 100).red(), 255 * opacity, 2) << opacity;
        EXPECT_EQ(at(90, 100), QColor(Qt::black));
        EXPECT_EQ(at(200, 160), QColor(Qt::black));
    }
}

TEST_F(Marks, SelectionStaysAtItsPlaceWhenOnlyAPieceOfItIsSeen)
{
    post(EventId::DisplaySelectionOpacityChange, 1.0f);
    select(-5000, 120, 5200, 1e6);
    EXPECT_EQ(at(198, 122).red(), 254);
    EXPECT_EQ(at(203, 122), QColor(Qt::black));
    EXPECT_EQ(at(198, 117), QColor(Qt::black));
    EXPECT_EQ(at(1, 299).red(), 254);
}

TEST_F(Marks, BorderStyles)
{
    const auto borderPixels = [this] {
        const QImage image = channel->grabFramebuffer();
        int count = 0;
        for (int x = 100; x < 300; ++x)
            count += image.pixelColor(x, height - 50) == QColor(250, 0, 0);
        return count;
    };
    select(100, 50, 200, 100);
    EXPECT_EQ(borderPixels(), 0);
    qApp->setProperty("selectionborderstyle", QStringLiteral("solid"));
    EXPECT_GT(borderPixels(), 195);
    (void)testsupport::waitFor([] { return false; }, 100); // what was asked for before is painted
    const int before = channel->paints;
    EXPECT_FALSE(testsupport::waitFor([&] { return channel->paints > before; }, 300)); // it rests
    qApp->setProperty("selectionborderstyle", QStringLiteral("marching ants"));
    const int dashes = borderPixels();
    EXPECT_GT(dashes, 60);
    EXPECT_LT(dashes, 140);
    const QImage first = channel->grabFramebuffer();
    EXPECT_TRUE(testsupport::waitFor([&] { return channel->grabFramebuffer() != first; })); // they march
    const int marching = channel->paints;
    EXPECT_TRUE(testsupport::waitFor([&] { return channel->paints > marching + 2; }));
    post(EventId::SelectionChange, Selection());
    (void)channel->grabFramebuffer();
    (void)testsupport::waitFor([] { return false; }, 100);
    const int still = channel->paints;
    EXPECT_FALSE(testsupport::waitFor([&] { return channel->paints > still; }, 300));
}

TEST_F(Marks, AdditiveSelectionBrightensWhatIsUnderIt)
{
    post(EventId::MarkerListChange, MarkerList{{1, 200, 0, ""}});
    post(EventId::DisplayGridEnable, false);
    post(EventId::DisplaySelectionOpacityChange, 1.0f);
    qApp->setProperty("selectionblendingmode", QStringLiteral("additive"));
    select(100, 50, 200, 100);
    EXPECT_EQ(at(150, 100).red(), 254);
    qApp->setProperty("selectionblendingmode", QStringLiteral("normal"));
    // Markers are drawn over it as ever.
    EXPECT_EQ(at(200, 100), QColor(0, 200, 0));
}

TEST_F(Marks, GridLinesStandAtTheTicksOfBothRulers)
{
    post(EventId::FreqUnitChange, int32_t(FreqUnit::Hertz));
    EXPECT_EQ(at(5, 100), QColor(Qt::black));
    post(EventId::DisplayGridEnable, true);
    const QVector<double> marks = channel->convert().freqMarks({0, 0, 400, 300}, height, 40);
    ASSERT_GE(marks.size(), 2);
    for (const double mark : marks)
        if (mark > 0 && mark < 300) {
            const QImage image = channel->grabFramebuffer();
            const int y = int(std::floor(height - mark));
            EXPECT_EQ(image.pixelColor(5, y), QColor(0, 0, 200)) << mark;
            EXPECT_EQ(image.pixelColor(5, y - 3), QColor(Qt::black)) << mark;
        }
}

TEST_F(Marks, TransportIsALineAtItsTime)
{
    post(EventId::TransportPositionChange, int64_t(70));
    EXPECT_EQ(at(70, 5), QColor(0, 200, 200));
    EXPECT_EQ(at(70, 295), QColor(0, 200, 200));
    EXPECT_EQ(at(69, 100), QColor(Qt::black));
    EXPECT_EQ(at(71, 100), QColor(Qt::black));
}

TEST_F(Marks, SpectralMarkersAreCrossesAndFrames)
{
    post(EventId::SpectralMarkerListChange,
         SpectralMarkerList{{50, 200, 0, 0, "p"}, {100, 100, 80, 60, "r"}, {1e9, 1e9, 1, 1, "far"}});
    EXPECT_EQ(at(50, 200), QColor(0, 200, 0));
    EXPECT_EQ(at(53, 200), QColor(0, 200, 0));
    EXPECT_EQ(at(53, 203), QColor(Qt::black));
    EXPECT_EQ(at(140, 160), QColor(200, 0, 0));
    EXPECT_EQ(at(100, 130), QColor(200, 0, 0));
    EXPECT_EQ(at(140, 130), QColor(Qt::black));
    post(EventId::DisplaySpectralMarkersEnable, false);
    EXPECT_EQ(at(50, 200), QColor(Qt::black));
}

TEST_F(Marks, ToolsDrawOnTheChannelsThatTheyAddress)
{
    QPainterPath path;
    path.moveTo(20, 20);
    path.lineTo(220, 220);
    post(EventId::MouseDrawingChange, DrawingState{path});
    post(EventId::MouseControlsChange, QList<ControlPoint>{{{300, 250}}});
    EXPECT_EQ(at(120, 120.5), QColor(200, 200, 0));
    EXPECT_EQ(at(120, 130), QColor(Qt::black));
    EXPECT_EQ(at(300, 250), QColor(200, 0, 200));
    EXPECT_EQ(at(304.5, 250), QColor(Qt::black));
    post(EventId::MouseControlIdChange, int32_t(0));
    EXPECT_NE(at(304.5, 250), QColor(Qt::black)); // larger under the pointer
    ChannelsMode others(1);
    others.selected.clearBit(0);
    post(EventId::ChannelsModeChange, others);
    EXPECT_EQ(at(120, 120.5), QColor(Qt::black));
    EXPECT_EQ(at(300, 250), QColor(Qt::black));
}

TEST_F(Marks, LinesOfToolsBendWithTheScale)
{
    post(EventId::FreqScaleChange, int32_t(FreqScale::Mel));
    QPainterPath path;
    path.moveTo(0, 0);
    path.lineTo(400, 300);
    post(EventId::MouseDrawingChange, DrawingState{path});
    const Convert& convert = channel->convert();
    const double top = convert.toScale(300);
    const QImage image = channel->grabFramebuffer();
    for (const int x : {100, 200, 300}) {
        const double y = height - convert.toScale(x * 0.75) / top * height;
        bool found = false;
        for (int row = int(y) - 1; row <= int(y) + 1; ++row)
            found |= image.pixelColor(x, row) == QColor(200, 200, 0);
        EXPECT_TRUE(found) << x;
    }
}

TEST_F(Marks, HostileMarksDrawNothingAndFail)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double infinite = std::numeric_limits<double>::infinity();
    QPainterPath wild;
    wild.moveTo(-1e300, 1e300);
    wild.lineTo(1e300, -1e300);
    post(EventId::MouseDrawingChange, DrawingState{wild});
    post(EventId::MouseControlsChange, QList<ControlPoint>{{{nan, 5}}, {{infinite, infinite}}});
    post(EventId::SpectralMarkerListChange,
         SpectralMarkerList{{nan, nan, 1, 1, ""}, {0, 0, infinite, infinite, ""}, {-1e300, 1e300, 0, 0, ""}});
    post(EventId::MarkerListChange, MarkerList{{1, INT64_MAX, INT64_MAX, ""}, {2, INT64_MIN, 5, ""}});
    (void)channel->grabFramebuffer();
    EXPECT_EQ(at(200, 7), QColor(Qt::black));
}

// --- tools ------------------------------------------------------------------------------------------

// 400,000 samples at 48 kHz in a view of 400 pixels: a pixel is 1000 samples and 80 Hz.
class Tools : public View
{
protected:
    Tools()
    {
        for (const char* key :
             {"leftbuttonnavigation", "playbackhold", "playbackscrubbing", "zoommode", "tabletproximity"})
            qApp->setProperty(key, QVariant());
        open(48000);
        addLayer(std::vector<float>(400000, 0.0f));
        show({0, 0, 400000, 24000});
        listener.areas.clear();
        listener.positions.clear();
        QObject::connect(channel, &SpectralChannel::playOrStopToggled, [this] { ++toggles; });
    }
    void choose(EventId tool) { postEvent(nullptr, tool, nullptr); }
    void chooseZoom(int mode)
    {
        qApp->setProperty("zoommode", mode);
        choose(EventId::ToolZoomActivate);
    }
    Area told()
    {
        EXPECT_FALSE(listener.areas.empty());
        return listener.areas.empty() ? Area() : listener.areas.back();
    }
    // As a tool sees them.
    static bool isPress(const MouseEvent& event) { return event.previousPressure < 0 && event.pressure >= 0; }
    static bool isRelease(const MouseEvent& event)
    {
        return event.previousPressure >= 0 && event.pressure < 0;
    }
    [[nodiscard]] long presses() const
    {
        return std::count_if(listener.mice.begin(), listener.mice.end(), isPress);
    }
    [[nodiscard]] long releases() const
    {
        return std::count_if(listener.mice.begin(), listener.mice.end(), isRelease);
    }

    int toggles = 0;
};

TEST_F(Tools, HandPansWithTheLeftButton)
{
    show({100000, 0, 100000, 24000});
    choose(EventId::ToolPanActivate);
    drag(Qt::LeftButton, {200, 150}, {100, 150});
    EXPECT_NEAR(told().x, 125000, 1e-6);
    EXPECT_TRUE(listener.mice.empty());
}

TEST_F(Tools, RubberBandBecomesTheView)
{
    chooseZoom(0);
    mouse(QEvent::MouseButtonPress, {100, 100}, Qt::LeftButton, Qt::LeftButton);
    mouse(QEvent::MouseMove, {200, 200}, Qt::NoButton, Qt::LeftButton);
    qApp->setProperty("colordrawing", QColor(200, 200, 0));
    EXPECT_EQ(channel->grabFramebuffer().pixelColor(150, 100), QColor(200, 200, 0));
    mouse(QEvent::MouseButtonRelease, {200, 200}, Qt::LeftButton, Qt::NoButton);
    EXPECT_NEAR(told().x, 100000, 1e-6);
    EXPECT_NEAR(told().width, 100000, 1e-6);
    EXPECT_NEAR(told().y, 8000, 1e-6);
    EXPECT_NEAR(told().height, 8000, 1e-6);
    EXPECT_NE(channel->grabFramebuffer().pixelColor(150, 100), QColor(200, 200, 0)); // the band is gone
}

TEST_F(Tools, BandOfSixteenPixelsOrLessInEitherDirectionCountsAsAClick)
{
    chooseZoom(0);
    for (const QPointF to : {QPointF(216, 250), QPointF(300, 166), QPointF(200, 150)}) {
        show({0, 0, 400000, 24000});
        drag(Qt::LeftButton, {200, 150}, to);
        EXPECT_NEAR(told().width, 400000 * std::exp2(-0.25), 1e-3);
        EXPECT_NEAR(told().height, 24000 * std::exp2(-0.25), 1e-6);
    }
    // What is left of and below the click keeps its share.
    show({0, 0, 400000, 24000});
    drag(Qt::LeftButton, {100, 75}, {100, 75});
    EXPECT_NEAR((100000 - told().x) / told().width, 0.25, 1e-9);
    EXPECT_NEAR((18000 - told().y) / told().height, 0.75, 1e-9);
    show({0, 0, 400000, 24000});
    drag(Qt::LeftButton, {200, 150}, {217, 167});
    EXPECT_NEAR(told().width, 17000, 1e-6);
}

TEST_F(Tools, ModeOneZoomsOutAtAnyRelease)
{
    chooseZoom(1);
    show({150000, 6000, 50000, 6000});
    drag(Qt::LeftButton, {200, 150}, {300, 250});
    EXPECT_NEAR(told().width, 50000 * std::exp2(0.25), 1e-3);
    EXPECT_NEAR(told().height, 6000 * std::exp2(0.25), 1e-6);
}

TEST_F(Tools, BandDrawnBeyondTheProjectEndsThere)
{
    chooseZoom(0);
    drag(Qt::LeftButton, {300, 75}, {500, -40});
    EXPECT_NEAR(told().x, 300000, 1e-6);
    EXPECT_NEAR(told().x + told().width, 400000, 1e-6);
    EXPECT_NEAR(told().y + told().height, 24000, 1e-6);
}

TEST_F(Tools, ClickWithShiftZoomsTheAxisOfTheLargerMoveAlone)
{
    for (const int mode : {0, 1}) {
        chooseZoom(mode);
        const double factor = std::exp2(mode == 0 ? -0.25 : 0.25);
        show({150000, 6000, 50000, 6000});
        drag(Qt::LeftButton, {200, 150}, {206, 148}, Qt::ShiftModifier);
        EXPECT_NEAR(told().width, 50000 * factor, 1e-3);
        EXPECT_NEAR(told().height, 6000, 1e-6);
        show({150000, 6000, 50000, 6000});
        drag(Qt::LeftButton, {200, 150}, {202, 156}, Qt::ShiftModifier);
        EXPECT_NEAR(told().width, 50000, 1e-3);
        EXPECT_NEAR(told().height, 6000 * factor, 1e-6);
    }
}

TEST_F(Tools, ModesTwoAndThreeStretchByDragging)
{
    for (const int mode : {2, 3}) {
        chooseZoom(mode);
        show({100000, 6000, 100000, 6000});
        drag(Qt::LeftButton, {200, 150}, {300, 50});
        EXPECT_NEAR(told().width, 50000, 1e-3);
        EXPECT_NEAR(told().height, 3000, 1e-3);
        EXPECT_NEAR(told().x, 125000, 1e-3); // about the press
        // Shift: the smaller direction is frozen.
        show({100000, 6000, 100000, 6000});
        mouse(QEvent::MouseButtonPress, {200, 150}, Qt::LeftButton, Qt::LeftButton, Qt::ShiftModifier);
        mouse(QEvent::MouseMove, {300, 140}, Qt::NoButton, Qt::LeftButton, Qt::ShiftModifier);
        mouse(QEvent::MouseButtonRelease, {300, 140}, Qt::LeftButton, Qt::NoButton, Qt::ShiftModifier);
        EXPECT_NEAR(told().width, 50000, 1e-3);
        EXPECT_NEAR(told().height, 6000, 1e-3);
        // Less than two pixels is a click: in with 2, out with 3.
        show({100000, 6000, 100000, 6000});
        drag(Qt::LeftButton, {200, 150}, {201, 151});
        EXPECT_NEAR(told().width, 100000 * std::exp2(mode == 2 ? -0.25 : 0.25), 2000);
    }
}

TEST_F(Tools, SnappedBandEndsOnTheMarkers)
{
    chooseZoom(0);
    post(EventId::MarkerListChange, MarkerList{{1, 101234, 98000, ""}});
    post(EventId::DisplaySnapEnable, true);
    drag(Qt::LeftButton, {100, 100}, {200, 200});
    EXPECT_NEAR(told().x, 101234, 1e-6);
    EXPECT_NEAR(told().width, 98000, 1e-6);
}

TEST_F(Tools, DisplaceToolDrawsTheRelief)
{
    choose(EventId::ToolDisplaceActivate);
    qApp->setProperty("maxdisplace", 128);
    drag(Qt::LeftButton, {200, 150}, {230, 110});
    ASSERT_FALSE(listener.displacements.empty());
    EXPECT_FLOAT_EQ(listener.displacements.back().x, 30);
    EXPECT_FLOAT_EQ(listener.displacements.back().y, 40);
    drag(Qt::LeftButton, {0, 0}, {400, 300}); // limited in length, the angle staying
    const Displacement last = listener.displacements.back();
    EXPECT_NEAR(std::hypot(last.x, last.y), 128, 1e-3);
}

TEST_F(Tools, PlaybackSetsThePositionAndHoldsOrToggles)
{
    choose(EventId::ToolPlaybackActivate);
    drag(Qt::LeftButton, {100, 150}, {100, 150});
    ASSERT_FALSE(listener.positions.empty());
    EXPECT_EQ(listener.positions.back(), 100000);
    EXPECT_EQ(toggles, 2); // plays while it is held
    qApp->setProperty("playbackhold", false);
    drag(Qt::LeftButton, {100, 150}, {100, 150});
    EXPECT_EQ(toggles, 3);
}

TEST_F(Tools, HeldPressWhileItPlaysGoesOnFromTheNewPlaceAndTheReleaseStops)
{
    choose(EventId::ToolPlaybackActivate);
    channel->setPlaying(true);
    mouse(QEvent::MouseButtonPress, {100, 150}, Qt::LeftButton, Qt::LeftButton);
    EXPECT_EQ(listener.positions.back(), 100000);
    EXPECT_EQ(toggles, 0);
    mouse(QEvent::MouseButtonRelease, {100, 150}, Qt::LeftButton, Qt::NoButton);
    EXPECT_EQ(toggles, 1);
}

TEST_F(Tools, PressThatMovesTenPixelsOrLessDoesNotScrub)
{
    choose(EventId::ToolPlaybackActivate);
    mouse(QEvent::MouseButtonPress, {100, 150}, Qt::LeftButton, Qt::LeftButton);
    mouse(QEvent::MouseMove, {110, 10}, Qt::NoButton, Qt::LeftButton);
    EXPECT_EQ(listener.positions.back(), 100000);
    mouse(QEvent::MouseMove, {111, 10}, Qt::NoButton, Qt::LeftButton);
    EXPECT_EQ(listener.positions.back(), 111000);
    mouse(QEvent::MouseMove, {105, 10}, Qt::NoButton, Qt::LeftButton); // and goes on
    EXPECT_EQ(listener.positions.back(), 105000);
    mouse(QEvent::MouseMove, {1000, 10}, Qt::NoButton, Qt::LeftButton);
    EXPECT_EQ(listener.positions.back(), 400000); // the end of the project
    mouse(QEvent::MouseButtonRelease, {1000, 10}, Qt::LeftButton, Qt::NoButton);
    qApp->setProperty("playbackscrubbing", false);
    drag(Qt::LeftButton, {100, 150}, {300, 150});
    EXPECT_EQ(listener.positions.back(), 100000);
}

TEST_F(Tools, LeftButtonModifiersPanAndPlayByTheProperty)
{
    const auto press = [&](Qt::KeyboardModifiers modifiers) {
        listener.areas.clear();
        toggles = 0;
        show({100000, 0, 100000, 24000});
        listener.areas.clear();
        drag(Qt::LeftButton, {200, 150}, {220, 150}, modifiers);
        return std::make_pair(!listener.areas.empty(), toggles > 0);
    };
    const Qt::KeyboardModifiers control = Qt::ControlModifier, both = control | Qt::AltModifier;
    for (const int value : {0, 1}) {
        qApp->setProperty("leftbuttonnavigation", value);
        EXPECT_EQ(press(control), std::make_pair(value == 0, value == 1));
        EXPECT_EQ(press(both), std::make_pair(value == 1, value == 0));
        EXPECT_EQ(press(Qt::ShiftModifier), std::make_pair(false, false));
    }
}

TEST_F(Tools, ControlAloneIsThePlugInToolsOwn)
{
    postEvent(nullptr, EventId::ToolPluginActivate, ToolActivation{}, nullptr);
    for (const int value : {0, 1}) {
        qApp->setProperty("leftbuttonnavigation", value);
        show({100000, 0, 100000, 24000});
        listener.areas.clear();
        listener.mice.clear();
        drag(Qt::LeftButton, {200, 150}, {220, 150}, Qt::ControlModifier);
        EXPECT_TRUE(listener.areas.empty());
        EXPECT_EQ(toggles, 0);
        ASSERT_FALSE(listener.mice.empty());
        EXPECT_EQ(listener.mice.back().modifiers, uint32_t(Qt::ControlModifier));
        // With Alt it navigates as ever.
        drag(Qt::LeftButton, {200, 150}, {220, 150}, Qt::ControlModifier | Qt::AltModifier);
        EXPECT_TRUE(!listener.areas.empty() || toggles > 0);
        toggles = 0;
    }
}

TEST_F(Tools, AnotherButtonBeginsNothingWhileAToolDraws)
{
    postEvent(nullptr, EventId::ToolPluginActivate, ToolActivation{}, nullptr);
    show({100000, 0, 100000, 24000});
    listener.areas.clear();
    for (const Qt::MouseButton other : {Qt::MiddleButton, Qt::RightButton})
        for (const Qt::KeyboardModifiers modifiers : {Qt::NoModifier, Qt::ShiftModifier})
            for (const Qt::MouseButton first : {Qt::LeftButton, other}) {
                const Qt::MouseButton second = first == other ? Qt::LeftButton : other;
                listener.mice.clear();
                mouse(QEvent::MouseButtonPress, {100, 150}, Qt::LeftButton, Qt::LeftButton);
                mouse(QEvent::MouseButtonPress, {110, 150}, other, Qt::LeftButton | other, modifiers);
                mouse(QEvent::MouseMove, {120, 150}, Qt::NoButton, Qt::LeftButton | other);
                EXPECT_FLOAT_EQ(listener.mice.back().pressure, 1);
                mouse(QEvent::MouseButtonRelease, {130, 150}, first, second);
                EXPECT_EQ(releases(), first == Qt::LeftButton ? 1 : 0);
                mouse(QEvent::MouseMove, {140, 150}, Qt::NoButton, second);
                mouse(QEvent::MouseButtonRelease, {150, 150}, second, Qt::NoButton);
                mouse(QEvent::MouseMove, {160, 150}, Qt::NoButton, Qt::NoButton);
                EXPECT_EQ(presses(), 1);
                EXPECT_EQ(releases(), 1);
                const double end = first == Qt::LeftButton ? 130 : 150;
                const auto up = std::find_if(listener.mice.begin(), listener.mice.end(), isRelease);
                ASSERT_NE(up, listener.mice.end());
                EXPECT_EQ(up->pixel.x, end);
            }
    EXPECT_TRUE(listener.areas.empty());
    EXPECT_TRUE(listener.displacements.empty());
    // Afterwards it pans as ever.
    drag(Qt::MiddleButton, {200, 150}, {150, 150});
    EXPECT_FALSE(listener.areas.empty());
}

TEST_F(Tools, NearestControlWithinSixPixelsIsHovered)
{
    postEvent(nullptr, EventId::ToolPluginActivate, ToolActivation{}, nullptr);
    post(EventId::MouseControlsChange,
         QList<ControlPoint>{{{100000, 12000}}, {{104000, 12000}}, {{104000, 12000}}});
    const auto hover = [&](const QPointF& at) {
        mouse(QEvent::MouseMove, at, Qt::NoButton, Qt::NoButton);
        return listener.controls.empty() ? -1 : listener.controls.back();
    };
    EXPECT_EQ(hover({300, 20}), -1);
    EXPECT_EQ(hover({95, 150}), 0);
    EXPECT_EQ(hover({103.5, 150}), 2); // the last of equals
    EXPECT_EQ(hover({111, 150}), -1);
    const std::size_t posts = listener.controls.size();
    (void)hover({112, 150});
    EXPECT_EQ(listener.controls.size(), posts); // only changes are told
}

// Every event of a stylus that the view ignores comes once more as one of the mouse; where it does not touch,
// there is that of the mouse alone.
class Stylus : public Tools
{
protected:
    Stylus()
    {
        postEvent(nullptr, EventId::ToolPluginActivate, ToolActivation{}, nullptr);
        qApp->setProperty("tabletproximity", true);
    }
    ~Stylus() override { qApp->setProperty("tabletproximity", QVariant()); }
    void stylus(QEvent::Type type, double x, double pressure, Qt::MouseButtons buttons,
                Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        const QPointF at(x, 150);
        const bool moves = type == QEvent::TabletMove;
        const Qt::MouseButton button = moves ? Qt::NoButton : Qt::LeftButton;
        QTabletEvent event(type, at, channel->mapToGlobal(at.toPoint()), QTabletEvent::Stylus,
                           QTabletEvent::Pen, pressure, 0, 0, 0, 0, 0, modifiers, 1, button, buttons);
        event.setAccepted(false);
        QApplication::sendEvent(channel, &event);
        ASSERT_FALSE(event.isAccepted());
        mouse(type == QEvent::TabletPress     ? QEvent::MouseButtonPress
              : type == QEvent::TabletRelease ? QEvent::MouseButtonRelease
                                              : QEvent::MouseMove,
              at, button, buttons, modifiers);
    }
    // Hover, press, two moves, release, hover.
    void stroke(Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        stylus(QEvent::TabletMove, 90, 0, Qt::NoButton, modifiers);
        stylus(QEvent::TabletPress, 100, 0.25, Qt::LeftButton, modifiers);
        stylus(QEvent::TabletMove, 110, 0.75, Qt::LeftButton, modifiers);
        stylus(QEvent::TabletMove, 120, 0.5, Qt::LeftButton, modifiers);
        stylus(QEvent::TabletRelease, 120, 0, Qt::NoButton, modifiers);
        stylus(QEvent::TabletMove, 130, 0, Qt::NoButton, modifiers);
    }
};

TEST_F(Stylus, StylusTellsThePressureWhileItIsNear)
{
    stroke();
    ASSERT_EQ(presses(), 1);
    EXPECT_EQ(releases(), 1);
    EXPECT_FLOAT_EQ(float(listener.mice.back().pressPosition.x), 100000);
    EXPECT_FLOAT_EQ(listener.mice.back().pressure, -1);
    std::vector<float> pressures;
    for (const MouseEvent& event : listener.mice)
        pressures.push_back(event.pressure);
    EXPECT_EQ(pressures, (std::vector<float>{-1, 0.25f, 0.25f, 0.75f, 0.75f, 0.5f, 0.5f, -1, -1, -1}));
}

TEST_F(Stylus, TellsAStrokeAlsoWithoutATool)
{
    choose(EventId::ToolNoneActivate);
    stroke();
    EXPECT_EQ(presses(), 1);
    EXPECT_EQ(releases(), 1);
}

TEST_F(Stylus, AStrokeThatNavigatesIsNoneOfTheTools)
{
    show({100000, 0, 100000, 24000});
    listener.areas.clear();
    qApp->setProperty("leftbuttonnavigation", 1);
    stroke(Qt::ControlModifier | Qt::AltModifier);
    EXPECT_FALSE(listener.areas.empty());
    EXPECT_EQ(presses(), 0);
    choose(EventId::ToolPanActivate);
    stroke();
    EXPECT_EQ(presses(), 0);
}

// As when it goes out of range between the two.
TEST_F(Stylus, AReleaseOfTheMouseEndsTheStroke)
{
    stylus(QEvent::TabletPress, 100, 0.25, Qt::LeftButton);
    mouse(QEvent::MouseButtonRelease, {100, 150}, Qt::LeftButton, Qt::NoButton);
    EXPECT_FLOAT_EQ(listener.mice.back().pressure, -1);
    EXPECT_EQ(releases(), 1);
}

TEST_F(Tools, BlockedViewIgnoresTools)
{
    for (const EventId tool : {EventId::ToolPanActivate, EventId::ToolZoomActivate,
                               EventId::ToolPlaybackActivate, EventId::ToolDisplaceActivate}) {
        choose(tool);
        channel->setBlocked(true);
        listener.areas.clear();
        drag(Qt::LeftButton, {100, 100}, {200, 200});
        EXPECT_TRUE(listener.areas.empty());
        channel->setBlocked(false);
    }
    EXPECT_EQ(toggles, 0);
    EXPECT_TRUE(listener.positions.empty());
}

} // namespace

// --- pictures -----------------------------------------------------------------------------------------

TEST_F(View, silenceIsBlack)
{
    open(48000);
    addLayer(std::vector<float>(100'000, 0.0f));
    show({0, 0, 100'000, 24000});
    EXPECT_EQ(brightest(picture()), 0);
}

// Mean power of a frequency over the recording, frame by frame: where the line really is.
static double powerAt(const Wav& wav, double hz)
{
    constexpr std::size_t frame = 2048;
    double power = 0;
    for (std::size_t first = 0; first + frame <= wav.samples.size(); first += frame) {
        std::complex<double> sum = 0;
        for (std::size_t i = 0; i < frame; ++i)
            sum += double(wav.samples[first + i]) * (0.5 - 0.5 * std::cos(2 * M_PI * double(i) / frame)) *
                   std::polar(1.0, -2 * M_PI * hz * double(i) / wav.rate);
        power += std::norm(sum);
    }
    return power;
}

TEST_F(View, theLineAt18KilohertzStandsInItsRow)
{
    const Wav wav = readWav(testsupport::dataFile(QStringLiteral("line-18k-48k.wav")));
    double line = 17000;
    for (double hz = 17000; hz < 19000; hz += 10)
        if (powerAt(wav, hz) > powerAt(wav, line))
            line = hz;
    ASSERT_NEAR(line, 18000, 200);
    open(wav.rate);
    addLayer(wav.samples);
    post(EventId::DisplayLowdBChange, -100.0f);
    post(EventId::DisplayHighdBChange, -60.0f);
    for (const auto& [bottom, top] : {std::pair{16000.0, 20000.0}, {17000.0, 19000.0}}) {
        show({0, bottom, double(wav.samples.size()), top - bottom});
        const QImage image = picture();
        const double hz = top - (brightestRow(image, 20, 380) + 0.5) * (top - bottom) / height;
        EXPECT_NEAR(hz, line, 60);
    }
}

TEST_F(View, anImpulseStandsInItsColumn)
{
    open(48000);
    addLayer(impulse(200'000, 120'000));
    // A column step of at most a quarter of the frame.
    for (const double span : {200'000.0, 60'000.0, 12'000.0}) {
        const double first = span == 200'000 ? 0 : 120'000 - span * 0.3;
        show({first, 0, span, 24000});
        const int column = brightestColumn(picture());
        const double time = first + (column + 0.5) * span / width;
        EXPECT_NEAR(time, 120'000, std::max(span / width, 256.0));
    }
}

TEST_F(View, twoIdenticalLayersAreBrighterThanOne)
{
    open(48000);
    const LayerPtr layer = addLayer(tone(6000, 48000, 100'000, 0.01));
    show({0, 0, 100'000, 24000});
    const int one = brightest(picture());
    add(layer->clone(false));
    const int two = brightest(picture());
    EXPECT_GT(one, 20);
    EXPECT_NEAR(two, 2 * one, 2);
}

TEST_F(View, aToneStandsInItsRowAtEveryScale)
{
    open(48000);
    addLayer(tone(6000, 48000, 100'000));
    show({0, 0, 100'000, 24000});
    for (int scale = 0; scale < 5; ++scale) {
        post(EventId::FreqScaleChange, int32_t(scale));
        const int row = brightestRow(picture(), 100, 300);
        EXPECT_NEAR(height - row, channel->convert().toScale(6000) / 24000 * height, 2) << scale;
    }
}

TEST_F(View, aMutedLayerIsNotSeenAndASoloLayerAlone)
{
    open(48000);
    const LayerPtr low = addLayer(tone(3000, 48000, 100'000));
    const LayerPtr high = addLayer(tone(15000, 48000, 100'000));
    show({0, 0, 100'000, 24000});
    const auto lit = [](const QImage& image, double hz) {
        const int row = int(height - hz / 24000 * height);
        int most = 0;
        for (int y = row - 2; y <= row + 2; ++y)
            most = std::max(most, qGray(image.pixel(200, y)));
        return most > 50;
    };
    QImage image = picture();
    EXPECT_TRUE(lit(image, 3000) && lit(image, 15000));
    low->setEnabled(false);
    post(EventId::LayerPropertiesChange, ILayerPtr(low));
    image = picture();
    EXPECT_TRUE(!lit(image, 3000) && lit(image, 15000));
    low->setSolo(true); // a solo layer sounds although disabled
    post(EventId::LayerPropertiesChange, ILayerPtr(low));
    image = picture();
    EXPECT_TRUE(lit(image, 3000) && !lit(image, 15000));
}

TEST_F(View, colourIsTheLayersOrTheMapsInCompositeView)
{
    open(48000);
    const LayerPtr layer = addLayer(tone(6000, 48000, 100'000, 0.5));
    layer->setColor(0xff0000);
    const LayerPtr other = addLayer(std::vector<float>(10, 0.0f));
    show({0, 0, 100'000, 24000});
    const auto colour = [this] {
        const QImage image = picture();
        return image.pixelColor(200, brightestRow(image, 100, 300));
    };
    EXPECT_EQ(colour(), QColor(255, 0, 0));
    post(EventId::DisplayTargetActiveEnable, true);
    EXPECT_EQ(colour(), QColor(0x55, 0x55, 0x55)); // not the active layer
    root.setActive(layer);
    post(EventId::LayerActivate, ILayerPtr(layer));
    EXPECT_EQ(colour(), QColor(255, 0, 0));
    post(EventId::DisplayCompositeEnable, true);
    post(EventId::DisplayColormapChange, int32_t(9));
    EXPECT_EQ(colour(), QColor(Qt::white));
}

TEST_F(View, levelsAndGammaActWithoutANewPicture)
{
    open(48000);
    auto layer = std::make_shared<MemoryLayer>(format, tone(6000, 48000, 100'000, 0.001));
    add(layer);
    show({0, 0, 100'000, 24000});
    const int before = brightest(picture());
    const int64_t reads = layer->reads;
    post(EventId::DisplayHighdBChange, -40.0f);
    EXPECT_GT(brightest(picture()), before + 20);
    post(EventId::DisplayGammaChange, 0.1f);
    EXPECT_LT(brightest(picture()), before);
    EXPECT_EQ(layer->reads, reads);
    post(EventId::DisplayTimeSharpenChange, 0.5f);
    post(EventId::DisplayFreqSharpenChange, 0.5f);
    (void)picture();
    EXPECT_GT(layer->reads, reads);
}

TEST_F(View, contentUpdateReadsTheLayerAgain)
{
    open(48000);
    const LayerPtr layer = addLayer(std::vector<float>(100'000, 0.0f));
    show({0, 0, 100'000, 24000});
    EXPECT_EQ(brightest(picture()), 0);
    const std::vector<float> loud = tone(6000, 48000, 100'000);
    ASSERT_TRUE(layer->write(loud.data(), {0, 100'000}, -1, true));
    EXPECT_EQ(brightest(picture()), 0); // nobody has told
    post(EventId::LayerContentUpdate, ILayerPtr(layer));
    EXPECT_GT(brightest(picture()), 100);
}

// The running program grows a layer like this while a file loads.
TEST_F(View, aGrowingLayerShowsAsItGrows)
{
    open(48000);
    const LayerPtr layer = Layer::create(format, {}, 0, false);
    add(layer);
    show({0, 0, 100'000, 24000});
    EXPECT_EQ(brightest(picture()), 0);
    const std::vector<float> loud = tone(6000, 48000, 50'000);
    for (int part = 1; part <= 2; ++part) {
        ASSERT_TRUE(layer->append(loud.data(), 50'000));
        post(EventId::LayerContentUpdate, ILayerPtr(layer));
        const QImage image = picture();
        const int row = brightestRow(image, 20, 180);
        EXPECT_GT(qGray(image.pixel(100, row)), 100);
        EXPECT_EQ(qGray(image.pixel(300, row)) > 100, part == 2);
    }
    layer->finishAppend();
}

TEST_F(View, aLayerThatIsBeingMovedOrStretchedIsSeenWhereItWillBe)
{
    open(48000);
    const LayerPtr layer = addLayer(impulse(20'000, 8000), 10'000);
    show({0, 0, 100'000, 24'000});
    struct Preview
    {
        double offset;
        float scale;
    };
    for (const Preview& preview :
         {Preview{0, 1}, {30'000, 1}, {-10'000, 1}, {0, 2}, {5000, 3.5f}, {0, 0.5f}, {20'000, 0.2f}}) {
        SCOPED_TRACE(preview.scale);
        layer->setTimeOffset(preview.offset);
        layer->setScale(preview.scale, 1);
        post(EventId::LayerPropertiesChange, ILayerPtr(layer));
        const double time = 10'000 + preview.offset + 8000 * double(preview.scale);
        EXPECT_NEAR(brightestColumn(picture()) + 0.5, time / 250, 1);
        if (preview.scale < 0.5f)
            continue; // columns are farther apart than refinement reaches
        post(EventId::DisplayTimeSharpenChange, 1.0f);
        EXPECT_NEAR(brightestColumn(picture()) + 0.5, time / 250, 1);
        post(EventId::DisplayTimeSharpenChange, 0.0f);
    }
}

TEST_F(View, aMovedLayerIsSeenAtItsNewPlaceBeforeItsNextPicture)
{
    open(48000);
    const LayerPtr layer = addLayer(impulse(20'000, 8000), 10'000);
    show({0, 0, 100'000, 24'000});
    (void)picture();
    documentLock().lockForWrite(); // no render can begin
    const auto preview = [&](double offset, float scale) {
        layer->setTimeOffset(offset);
        layer->setScale(scale, 1);
        post(EventId::LayerPropertiesChange, ILayerPtr(layer));
        EXPECT_NEAR(brightestColumn(channel->grabFramebuffer()) + 0.5,
                    (10'000 + offset + 8000 * double(scale)) / 250, 1 + double(scale));
        EXPECT_TRUE(channel->isOutstanding());
    };
    preview(30'000, 1);
    preview(30'000, 3);
    preview(-5000, 0.5f);
    documentLock().unlock();
    EXPECT_NEAR(brightestColumn(picture()) + 0.5, (10'000 - 5000 + 4000) / 250.0, 1);
}

TEST_F(View, aStretchedLayerLastsLongerAtTheSameFrequency)
{
    open(48000);
    const LayerPtr layer = addLayer(tone(6000, 48000, 40'000));
    show({0, 0, 100'000, 24'000});
    const int row = brightestRow(picture(), 20, 140);
    for (const float scale : {2.0f, 0.5f}) {
        layer->setScale(scale, 1);
        post(EventId::LayerPropertiesChange, ILayerPtr(layer));
        const QImage image = picture();
        const int end = int(160 * scale);
        EXPECT_NEAR(brightestRow(image, 20, end - 20), row, 1);
        // All along it, up to its end.
        for (int x = 10; x < end - 10; ++x)
            ASSERT_GT(qGray(image.pixel(x, row)), 100) << x;
        for (int x = end + 10; x < width; ++x)
            ASSERT_EQ(qGray(image.pixel(x, row)), 0) << x;
    }
}

TEST_F(View, aToolsPreviewIsSeenAsAPartOfTheActiveLayer)
{
    open(48000);
    const LayerPtr layer = addLayer(std::vector<float>(100'000, 0.0f));
    const LayerPtr other = addLayer(std::vector<float>(100'000, 0.0f));
    root.setActive(layer);
    post(EventId::DisplayCompositeEnable, false);
    post(EventId::DisplayTargetActiveEnable, true);
    layer->setColor(0x00ff00);
    show({0, 0, 100'000, 24'000});
    EXPECT_EQ(brightest(picture()), 0);
    const LayerPtr preview = root.node(RootActivePreview);
    const std::vector<float> click = impulse(20'000, 8000);
    ASSERT_TRUE(preview->write(click.data(), {10'000, 20'000}, -1, true));
    preview->setTimeOffset(20'000);
    post(EventId::LayerPropertiesChange, ILayerPtr(preview));
    const QImage image = picture();
    EXPECT_NEAR(brightestColumn(image) + 0.5, 38'000 / 250.0, 1);
    const QColor color = image.pixelColor(brightestColumn(image), height / 2);
    EXPECT_GT(color.green(), 50);
    EXPECT_EQ(color.red(), 0);
    // Its loudness too is that of the layer.
    const float loud = channel->magnitudeAt({38'000, 12'000});
    layer->setMultiplier(0.25f);
    EXPECT_NEAR(channel->magnitudeAt({38'000, 12'000}), loud / 4, loud / 1000);
    layer->setMultiplier(1);
    // Hidden with it, and gone with its content.
    layer->setEnabled(false);
    post(EventId::LayerPropertiesChange, ILayerPtr(layer));
    EXPECT_EQ(brightest(picture()), 0);
    layer->setEnabled(true);
    post(EventId::LayerPropertiesChange, ILayerPtr(layer));
    EXPECT_GT(brightest(picture()), 0);
    preview->clear();
    post(EventId::LayerPropertiesChange, ILayerPtr(preview));
    EXPECT_EQ(brightest(picture()), 0);
}

TEST_F(View, theOldTextureIsStretchedUntilTheNewArrives)
{
    open(48000);
    addLayer(impulse(200'000, 100'000));
    show({0, 0, 200'000, 24000});
    EXPECT_NEAR(brightestColumn(picture()), 200, 1);
    documentLock().lockForWrite(); // no render can begin
    show({50'000, 0, 100'000, 24000});
    const QImage near = channel->grabFramebuffer();
    EXPECT_TRUE(channel->isOutstanding());
    EXPECT_NEAR(brightestColumn(near), 200, 2);
    show({90'000, 0, 100'000, 24000});
    const QImage moved = channel->grabFramebuffer();
    EXPECT_NEAR(brightestColumn(moved), 40, 2);
    documentLock().unlock();
    EXPECT_NEAR(brightestColumn(picture()), 40, 1);
}

TEST_F(View, aLayerOutOfViewGivesUpItsThreadAndComesBackByANewRender)
{
    open(48000);
    auto layer = std::make_shared<MemoryLayer>(format, tone(6000, 48000, 100'000));
    add(layer);
    show({0, 0, 100'000, 24000});
    const QImage first = picture();
    const int64_t reads = layer->reads;
    EXPECT_GT(channel->magnitudeAt({50'000, 6000}), 0.03f);
    show({1'000'000, 0, 100'000, 24000});
    EXPECT_EQ(brightest(picture()), 0);
    EXPECT_EQ(channel->magnitudeAt({50'000, 6000}), 0);
    EXPECT_EQ(layer->reads, reads);
    show({0, 0, 100'000, 24000});
    EXPECT_EQ(picture(), first);
    EXPECT_EQ(layer->reads, 2 * reads); // nothing was kept
}

TEST_F(View, anAreaThatIsNotFiniteDrawsBlack)
{
    open(48000);
    addLayer(tone(6000, 48000, 100'000));
    show({0, 0, 100'000, 24000});
    EXPECT_GT(brightest(picture()), 100);
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    for (const Area& area :
         {Area{nan, 0, 1, 1}, Area{0, 0, inf, 1}, Area{0, nan, 100, 100}, Area{0, 0, -1, 100}}) {
        show(area);
        EXPECT_EQ(brightest(picture()), 0);
        wheel({0, 120}); // and nothing comes of the wheel
        EXPECT_TRUE(listener.areas.size() > 0);
    }
}

TEST_F(View, aReparentedViewDrawsTheSamePicture)
{
    open(48000);
    auto layer = std::make_shared<MemoryLayer>(format, tone(6000, 48000, 100'000));
    add(layer);
    show({0, 0, 100'000, 24000});
    const QImage before = picture();
    const int64_t reads = layer->reads;
    QMainWindow other;
    other.setCentralWidget(window.takeCentralWidget());
    other.show();
    ASSERT_TRUE(testsupport::waitFor(
        [this] { return channel->isValid() && channel->size() == QSize(width, height); }));
    EXPECT_EQ(picture(), before);
    EXPECT_EQ(layer->reads, reads); // from the block that was kept
}

TEST_F(View, paintsOnlyWhenSomethingChanged)
{
    open(48000);
    const LayerPtr layer = addLayer(tone(6000, 48000, 100'000));
    show({0, 0, 100'000, 24000});
    ASSERT_TRUE(testsupport::waitFor([this] { return channel->paints > 0 && !channel->isOutstanding(); }));
    // Paints that the window system asked for run out; then there is nothing to paint for.
    int paints = -1;
    for (int quiet = 0; quiet < 20 && paints != channel->paints; ++quiet) {
        paints = channel->paints;
        (void)testsupport::waitFor([&] { return channel->paints != paints; }, 300);
    }
    EXPECT_EQ(channel->paints, paints);
    // What the waveform shows is not seen here.
    post(EventId::DisplayPowerChange, PowerRange{-0.5, 0.5});
    post(EventId::PowerUnitChange, int32_t(PowerUnit::Percents));
    EXPECT_FALSE(testsupport::waitFor([&] { return channel->paints != paints; }, 100));
    post(EventId::DisplayGammaChange, 0.4f);
    EXPECT_TRUE(testsupport::waitFor([&] { return channel->paints > paints; }));
}

TEST_F(View, aLayerTakenFromTheTreeIsGone)
{
    open(48000);
    const LayerPtr layer = addLayer(tone(6000, 48000, 100'000));
    show({0, 0, 100'000, 24000});
    EXPECT_GT(brightest(picture()), 100);
    ASSERT_TRUE(root.project()->removeChildLayer(layer));
    post(EventId::LayerRootChange, root);
    EXPECT_EQ(brightest(picture()), 0);
}

TEST_F(View, theReliefMovesLoudBinsFartherThanQuietOnes)
{
    open(48000);
    std::vector<float> samples = tone(4000, 48000, 100'000, 0.1);
    const std::vector<float> quiet = tone(16000, 48000, 100'000, 0.001);
    for (std::size_t i = 0; i < samples.size(); ++i)
        samples[i] += quiet[i];
    addLayer(samples);
    show({0, 0, 100'000, 24000});
    const auto rowNear = [](const QImage& image, double hz) {
        const int middle = int(height - hz / 24000 * height);
        return brightestRow(image.copy(0, middle - 60, width, 70), 100, 300) + middle - 60;
    };
    const QImage flat = picture();
    post(EventId::DisplayDisplacementChange, Displacement{0, 40});
    const QImage relief = picture();
    const int loud = rowNear(flat, 4000) - rowNear(relief, 4000);
    const int faint = rowNear(flat, 16000) - rowNear(relief, 16000);
    EXPECT_GT(loud, 25);
    EXPECT_GT(faint, 0);
    EXPECT_LT(faint, loud - 8);
}

TEST_F(View, magnitudeUnderAPlace)
{
    open(48000);
    addLayer(tone(6000, 48000, 100'000, 0.05));
    show({0, 5000, 100'000, 2000}); // near enough that no row is an average of bins
    (void)picture();
    EXPECT_NEAR(channel->magnitudeAt({50'000, 6000}), 0.05, 0.003);
    EXPECT_LT(channel->magnitudeAt({50'000, 6500}), 1e-4f);
    EXPECT_EQ(channel->magnitudeAt({5e9, 6000}), 0);
    EXPECT_EQ(channel->magnitudeAt({50'000, 12'000}), 0);
}

// --- navigation ---------------------------------------------------------------------------------------

class Navigation : public View
{
protected:
    Navigation()
    {
        open(48000);
        addLayer(std::vector<float>(480'000, 0.0f));
        show(start);
        listener.areas.clear();
    }
    ~Navigation() override
    {
        for (const char* key : {"wheelnavigation", "invertwheelaxes", "leftbuttonnavigation", "maxdisplace"})
            qApp->setProperty(key, QVariant());
    }
    void expectArea(const Area& want)
    {
        const Area& area = channel->viewArea();
        EXPECT_NEAR(area.x, want.x, 1e-6);
        EXPECT_NEAR(area.y, want.y, 1e-6);
        EXPECT_NEAR(area.width, want.width, 1e-6);
        EXPECT_NEAR(area.height, want.height, 1e-6);
        ASSERT_FALSE(listener.areas.empty());
        EXPECT_EQ(listener.areas.back(), area);
    }
    // The start area zoomed about its middle.
    [[nodiscard]] Area zoomedStart(double horizontal, double vertical) const
    {
        return {start.x + start.width * (1 - horizontal) / 2, start.y + start.height * (1 - vertical) / 2,
                start.width * horizontal, start.height * vertical};
    }

    const Area start{144'000, 6000, 144'000, 9000};
    const double notch = std::exp2(-0.25); // 120 of the wheel
};

TEST_F(Navigation, thePlainWheelZoomsFrequencyAboutThePointer)
{
    wheel({0, 120});
    expectArea(zoomedStart(1, notch));
}

TEST_F(Navigation, thePointUnderThePointerStays)
{
    const QPointF at(100, 75);
    const PointD before = channel->documentPosition(at);
    wheel({0, 240}, Qt::NoModifier, at);
    wheel({0, -120}, Qt::ShiftModifier, at);
    const PointD after = channel->documentPosition(at);
    EXPECT_NEAR(before.x, after.x, 1e-6);
    EXPECT_NEAR(before.y, after.y, 1e-6);
}

TEST_F(Navigation, twoHundredRandomWheelStepsInAndBackEndAtTheSameViewInEveryScale)
{
    for (int scale = 0; scale <= int(FreqScale::MidiLogarithmic); ++scale) {
        post(EventId::FreqScaleChange, int32_t(scale));
        show(start);
        std::mt19937 random(std::uint32_t(11 + scale));
        std::uniform_real_distribution<double> share(0, 1);
        struct Step
        {
            QPoint angle;
            QPointF at;
        };
        std::vector<Step> steps;
        for (int i = 0; i < 200; ++i) {
            const int angle = 5 + int(50 * share(random));
            // A turn to the right zooms time out, so in is to the left.
            steps.push_back({i % 2 ? QPoint(0, angle) : QPoint(-angle, 0),
                             QPointF(share(random) * width, share(random) * height)});
            const PointD before = channel->documentPosition(steps.back().at);
            wheel(steps.back().angle, Qt::NoModifier, steps.back().at);
            const PointD after = channel->documentPosition(steps.back().at);
            EXPECT_NEAR(before.x, after.x, 1e-6) << scale;
            EXPECT_NEAR(before.y, after.y, 1e-6) << scale;
        }
        EXPECT_LT(channel->viewArea().width, start.width / 20);
        EXPECT_LT(channel->viewArea().height, start.height / 20);
        for (auto step = steps.rbegin(); step != steps.rend(); ++step)
            wheel(-step->angle, Qt::NoModifier, step->at);
        EXPECT_NEAR(channel->viewArea().x, start.x, 1e-6 * start.width) << scale;
        EXPECT_NEAR(channel->viewArea().width, start.width, 1e-6 * start.width) << scale;
        EXPECT_NEAR(channel->viewArea().y, start.y, 1e-6 * start.height) << scale;
        EXPECT_NEAR(channel->viewArea().height, start.height, 1e-6 * start.height) << scale;
    }
}

TEST_F(Navigation, theSidewaysWheelZoomsTimeTheOtherWayRound)
{
    wheel({120, 0});
    expectArea(zoomedStart(1 / notch, 1));
}

TEST_F(Navigation, shiftAloneTurnsTheWheelToTime)
{
    wheel({0, 120}, Qt::ShiftModifier);
    expectArea(zoomedStart(notch, 1));
}

TEST_F(Navigation, theMiddleButtonHeldTurnsTheWheelToTime)
{
    wheel({0, 120}, Qt::NoModifier, QPointF(width / 2.0, height / 2.0), Qt::MiddleButton);
    expectArea(zoomedStart(notch, 1));
}

TEST_F(Navigation, controlAndAltZoomBothAxes)
{
    wheel({0, 120}, Qt::ControlModifier | Qt::AltModifier);
    expectArea(zoomedStart(notch, notch));
}

TEST_F(Navigation, altAlonePansTime)
{
    wheel({0, 120}, Qt::AltModifier);
    expectArea({start.x + start.width / 12, start.y, start.width, start.height});
}

TEST_F(Navigation, altWithShiftPansBothAxesAsTheyCome)
{
    wheel({120, -120}, Qt::AltModifier | Qt::ShiftModifier);
    expectArea({start.x + start.width / 12, start.y - start.height / 12, start.width, start.height});
}

TEST_F(Navigation, aPanEndsAtTheProject)
{
    wheel({0, 120 * 40}, Qt::AltModifier);
    expectArea({480'000 - start.width, start.y, start.width, start.height});
    wheel({0, -120 * 90}, Qt::AltModifier);
    expectArea({0, start.y, start.width, start.height});
}

TEST_F(Navigation, zoomingOutEndsAtTheProject)
{
    wheel({0, -120 * 40}, Qt::ControlModifier | Qt::AltModifier);
    expectArea({0, 0, 480'000, 24'000});
}

TEST_F(Navigation, controlAloneDisplaces)
{
    wheel({0, 120}, Qt::ControlModifier);
    EXPECT_EQ(channel->displacement().x, 0);
    EXPECT_EQ(channel->displacement().y, -12);
    wheel({15, 0}, Qt::ControlModifier); // sideways comes negated; 1.5 rounds away from zero
    EXPECT_EQ(channel->displacement().x, 2);
    ASSERT_EQ(listener.displacements.size(), 2U);
    EXPECT_EQ(listener.displacements.back().x, 2);
    EXPECT_TRUE(listener.areas.empty());
}

TEST_F(Navigation, displacementIsLimitedInLengthTheAngleStaying)
{
    wheel({-900, -1200}, Qt::ControlModifier);
    EXPECT_NEAR(std::hypot(channel->displacement().x, channel->displacement().y), 128, 1e-3);
    EXPECT_NEAR(channel->displacement().y / channel->displacement().x, 120.0 / -90, 1e-5);
}

TEST_F(Navigation, uninvertedAxesSwap)
{
    qApp->setProperty("invertwheelaxes", QVariant(QStringLiteral("false")));
    wheel({0, 120});
    expectArea(zoomedStart(notch, 1));
}

TEST_F(Navigation, wheelNavigation1PansPlainAndZoomsOtherwise)
{
    qApp->setProperty("wheelnavigation", QVariant(1));
    wheel({0, 120});
    expectArea({start.x, start.y + start.height / 12, start.width, start.height});
    show(start);
    wheel({0, 120}, Qt::AltModifier);
    expectArea(zoomedStart(notch, 1));
    wheel({0, 120}, Qt::ControlModifier);
    EXPECT_EQ(channel->displacement().y, -12);
}

TEST_F(Navigation, wheelNavigation2DisplacesByAltWithTheAxesSwappedByShift)
{
    qApp->setProperty("wheelnavigation", QVariant(2));
    wheel({0, 120}, Qt::ControlModifier);
    expectArea(zoomedStart(1, notch));
    wheel({0, 120}, Qt::AltModifier);
    EXPECT_EQ(channel->displacement().x, -12);
    EXPECT_EQ(channel->displacement().y, 0);
    wheel({0, 120}, Qt::AltModifier | Qt::ShiftModifier);
    EXPECT_EQ(channel->displacement().x, -24);
    EXPECT_EQ(channel->displacement().y, 0);
}

TEST_F(Navigation, theMiddleButtonPansWhatIsUnderThePointer)
{
    drag(Qt::MiddleButton, {200, 150}, {150, 180});
    expectArea({start.x + start.width * 50 / width, start.y + start.height * 30 / height, start.width,
                start.height});
    EXPECT_TRUE(listener.mice.empty());
}

TEST_F(Navigation, theMiddleButtonPansInDisplayCoordinates)
{
    post(EventId::FreqScaleChange, int32_t(FreqScale::Mel));
    const PointD before = channel->documentPosition({200, 150});
    drag(Qt::MiddleButton, {200, 150}, {150, 180});
    const PointD after = channel->documentPosition({150, 180});
    EXPECT_NEAR(before.x, after.x, 1e-6);
    EXPECT_NEAR(before.y, after.y, 1e-6);
}

TEST_F(Navigation, theLeftButtonPansWithTheModifiersOfItsProperty)
{
    drag(Qt::LeftButton, {200, 150}, {150, 150}, Qt::ControlModifier | Qt::AltModifier);
    expectArea({start.x + start.width / 8, start.y, start.width, start.height});
    drag(Qt::LeftButton, {200, 150}, {150, 150}, Qt::ControlModifier);
    expectArea({start.x + start.width / 8, start.y, start.width, start.height});
    qApp->setProperty("leftbuttonnavigation", QVariant(0));
    show(start);
    drag(Qt::LeftButton, {200, 150}, {150, 150}, Qt::ControlModifier);
    expectArea({start.x + start.width / 8, start.y, start.width, start.height});
}

TEST_F(Navigation, shiftWithTheMiddleButtonDisplacesAlongMultiplesOf45Degrees)
{
    drag(Qt::MiddleButton, {200, 150}, {230, 148}, Qt::ShiftModifier);
    EXPECT_NEAR(channel->displacement().x, std::hypot(30, 2), 1e-3);
    EXPECT_NEAR(channel->displacement().y, 0, 1e-3);
    ASSERT_FALSE(listener.displacements.empty());
    EXPECT_TRUE(listener.areas.empty());
}

TEST_F(Navigation, theBottomStaysAt0HzWhileLocked)
{
    post(EventId::DisplayLockBottomTo0Enable, true);
    wheel({0, 120});
    expectArea({start.x, 0, start.width, start.height * notch});
    drag(Qt::MiddleButton, {200, 150}, {200, 180});
    EXPECT_EQ(channel->viewArea().y, 0);
}

TEST_F(View, theCentreOfAComplexSignalStaysAt0HzWhileLocked)
{
    open(48000, SampleTypeComplex);
    addLayer(std::vector<float>(96'000, 0.0f));
    post(EventId::DisplayLockCenterTo0Enable, true);
    show({0, -12'000, 10'000, 24'000});
    wheel({0, 120}, Qt::NoModifier, QPointF(10, 10));
    EXPECT_NEAR(channel->viewArea().y, -channel->viewArea().height / 2, 1e-9);
    EXPECT_LT(channel->viewArea().height, 24'000);
}

TEST_F(Navigation, nothingMovesWhileBlocked)
{
    channel->setBlocked(true);
    wheel({0, 120});
    wheel({0, 120}, Qt::ControlModifier);
    drag(Qt::MiddleButton, {200, 150}, {150, 180});
    mouse(QEvent::MouseMove, {10, 10}, Qt::NoButton, Qt::NoButton);
    EXPECT_EQ(channel->viewArea(), start);
    EXPECT_TRUE(listener.areas.empty() && listener.displacements.empty() && listener.mice.empty());
}

TEST_F(Navigation, thePointerTellsWhereItIs)
{
    mouse(QEvent::MouseMove, {100, 75}, Qt::NoButton, Qt::NoButton);
    ASSERT_EQ(listener.mice.size(), 1U);
    const MouseEvent hover = listener.mice.back();
    EXPECT_NEAR(hover.position.x, start.x + start.width / 4, 1e-6);
    EXPECT_NEAR(hover.position.y, start.y + start.height * 0.75, 1e-6);
    EXPECT_NEAR(hover.pixelSize.x, start.width / width, 1e-6);
    EXPECT_NEAR(hover.pixelSize.y, start.height / height, 1e-6);
    EXPECT_EQ(hover.pressure, -1);
    drag(Qt::LeftButton, {200, 150}, {210, 150}, Qt::ShiftModifier);
    ASSERT_EQ(listener.mice.size(), 4U);
    const MouseEvent press = listener.mice[1];
    const MouseEvent move = listener.mice[2];
    const MouseEvent release = listener.mice[3];
    EXPECT_EQ(press.pressure, 1);
    EXPECT_EQ(press.previousPressure, -1);
    EXPECT_EQ(press.pressPosition, press.position);
    EXPECT_EQ(press.previousPosition, hover.position);
    EXPECT_EQ(press.modifiers, uint32_t(Qt::ShiftModifier));
    EXPECT_EQ(move.pressPosition, press.position);
    EXPECT_GT(move.position.x, press.position.x);
    EXPECT_EQ(release.pressure, -1);
    EXPECT_EQ(release.previousPressure, 1);
    EXPECT_EQ(release.pressPosition, press.position);
}
