#include "display/displacement.h"
#include "display/displacementpad.h"
#include "display/glenvironment.h"
#include "display/overviewbar.h"
#include "model/layer.h"
#include "model/layerroot.h"
#include "support/testsupport.h"

#include <QAction>
#include <QImage>
#include <QMouseEvent>
#include <QPainterPath>
#include <QVariant>
#include <QWheelEvent>

#include <cmath>
#include <limits>
#include <random>

namespace {

class Listener : public IEvent
{
public:
    Listener() : IEvent(QStringLiteral("Listener")) {}
    void areaEvent(EventId, const Area& area) override { areas.push_back(area); }
    void displacementEvent(EventId, const Displacement& value) override { displacements.push_back(value); }
    void displayEnableEvent(EventId id, const bool& on) override { switches.push_back({id, on}); }

    std::vector<Area> areas;
    std::vector<Displacement> displacements;
    std::vector<std::pair<EventId, bool>> switches;
};

template<class Payload>
void post(EventId id, const Payload& payload)
{
    postEvent(nullptr, id, payload, nullptr);
}

void mouse(QWidget& widget, QEvent::Type type, const QPointF& at, Qt::MouseButtons buttons)
{
    const auto button = type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton;
    QMouseEvent event(type, at, button, buttons, Qt::NoModifier);
    QApplication::sendEvent(&widget, &event);
}

void drag(QWidget& widget, const QPointF& from, const QPointF& to)
{
    mouse(widget, QEvent::MouseButtonPress, from, Qt::LeftButton);
    mouse(widget, QEvent::MouseMove, (from + to) / 2, Qt::LeftButton);
    mouse(widget, QEvent::MouseMove, to, Qt::LeftButton);
    mouse(widget, QEvent::MouseButtonRelease, to, Qt::NoButton);
}

void wheel(QWidget& widget, const QPointF& at, const QPoint& delta)
{
    QWheelEvent event(at, widget.mapToGlobal(at.toPoint()), QPoint(), delta, Qt::NoButton, Qt::NoModifier,
                      Qt::NoScrollPhase, false);
    QApplication::sendEvent(&widget, &event);
}

void key(QWidget& widget, Qt::Key code)
{
    QKeyEvent event(QEvent::KeyPress, code, Qt::NoModifier);
    QApplication::sendEvent(&widget, &event);
}

// A bar of 1000 pixels over a project of 100,000 samples: a pixel is 100 samples.
class OverviewTest : public testing::Test
{
protected:
    OverviewTest()
    {
        qApp->setProperty("sessionpath", QVariant(testsupport::makeFolder(QStringLiteral("session"))));
        qApp->setProperty("mintransformsize", 32);
        layer = Layer::create(format);
        const std::vector<float> samples(100000, 0.5f);
        EXPECT_TRUE(layer->write(samples.data(), {0, 100000}, -1, true));
        EXPECT_TRUE(root.project()->appendChildLayer(layer));
        bar.resize(1000, 22);
        post(EventId::LayerRootChange, root);
        show(20000, 40000);
    }
    void show(double start, double length)
    {
        post(EventId::DisplayAreaChange, Area{start, 100, length, 5000});
        listener.areas.clear();
    }
    // What the bar told last; the band is never its business.
    Area told()
    {
        EXPECT_FALSE(listener.areas.empty());
        if (listener.areas.empty())
            return {};
        const Area area = listener.areas.back();
        EXPECT_EQ(area.y, 100);
        EXPECT_EQ(area.height, 5000);
        return area;
    }

    SamplingFormat format{SampleTypeReal, 48000, ChannelsTypeAudio, 1, 4};
    LayerRoot root{format};
    LayerPtr layer;
    OverviewBar bar;
    Listener listener;
};

TEST_F(OverviewTest, FrameStandsAboutThePartInView)
{
    EXPECT_EQ(bar.frame(), QRectF(200, 0, 400, 22));
    EXPECT_EQ(bar.toTime(bar.toPixel(12345)), 12345);
}

TEST_F(OverviewTest, PressInsideTheFrameMovesIt)
{
    drag(bar, {300, 10}, {350, 10});
    EXPECT_DOUBLE_EQ(told().x, 25000);
    EXPECT_DOUBLE_EQ(told().width, 40000);
}

TEST_F(OverviewTest, MovesStopAtTheEndsOfTheProject)
{
    drag(bar, {300, 10}, {5000, 10});
    EXPECT_DOUBLE_EQ(told().x, 60000);
    drag(bar, {800, 10}, {-5000, 10});
    EXPECT_DOUBLE_EQ(told().x, 0);
    EXPECT_DOUBLE_EQ(told().width, 40000);
}

TEST_F(OverviewTest, EdgesResizeTheFrame)
{
    drag(bar, {200, 10}, {100, 10});
    EXPECT_DOUBLE_EQ(told().x, 10000);
    EXPECT_DOUBLE_EQ(told().width, 50000);
    drag(bar, {602, 10}, {502, 10}); // held two pixels beside the edge
    EXPECT_DOUBLE_EQ(told().x, 10000);
    EXPECT_DOUBLE_EQ(told().width, 40000);
}

TEST_F(OverviewTest, FrameNeverShrinksBelowTheLeastLength)
{
    drag(bar, {200, 10}, {900, 10});
    EXPECT_DOUBLE_EQ(told().width, 32);
    EXPECT_DOUBLE_EQ(told().x, 60000 - 32);
    show(20000, 40000);
    drag(bar, {600, 10}, {0, 10});
    EXPECT_DOUBLE_EQ(told().x, 20000);
    EXPECT_DOUBLE_EQ(told().width, 32);
    show(20000, 40);
    for (int i = 0; i < 20; ++i)
        wheel(bar, {200, 10}, {0, 480});
    EXPECT_DOUBLE_EQ(told().width, 32);
}

TEST_F(OverviewTest, EdgesStopAtTheEndsOfTheProject)
{
    drag(bar, {200, 10}, {-500, 10});
    EXPECT_DOUBLE_EQ(told().x, 0);
    EXPECT_DOUBLE_EQ(told().width, 60000);
    drag(bar, {600, 10}, {2500, 10});
    EXPECT_DOUBLE_EQ(told().x, 0);
    EXPECT_DOUBLE_EQ(told().width, 100000);
}

TEST_F(OverviewTest, PressOutsideCentresTheFrame)
{
    mouse(bar, QEvent::MouseButtonPress, {750, 10}, Qt::LeftButton);
    EXPECT_DOUBLE_EQ(told().x, 55000);
    EXPECT_DOUBLE_EQ(told().width, 40000);
    mouse(bar, QEvent::MouseMove, {760, 10}, Qt::LeftButton); // and is held
    EXPECT_DOUBLE_EQ(told().x, 56000);
    mouse(bar, QEvent::MouseButtonRelease, {760, 10}, Qt::NoButton);
    mouse(bar, QEvent::MouseButtonPress, {1, 10}, Qt::LeftButton);
    EXPECT_DOUBLE_EQ(told().x, 0);
}

TEST_F(OverviewTest, NarrowFrameCanStillBeHeldInTheMiddle)
{
    show(50000, 200); // two pixels
    drag(bar, {501, 10}, {601, 10});
    EXPECT_DOUBLE_EQ(told().x, 60000);
    EXPECT_DOUBLE_EQ(told().width, 200);
}

TEST_F(OverviewTest, WheelZoomsAboutThePointerByTheSumOfItsAxes)
{
    wheel(bar, {300, 10}, {240, 240});
    EXPECT_NEAR(told().width, 20000, 1e-6);
    EXPECT_NEAR(told().x, 25000, 1e-6); // 300 pixels stay a quarter of the frame
    for (int i = 0; i < 20; ++i)
        wheel(bar, {300, 10}, {0, -480});
    EXPECT_DOUBLE_EQ(told().x, 0);
    EXPECT_DOUBLE_EQ(told().width, 100000);
}

TEST_F(OverviewTest, KeysMoveTheFrame)
{
    key(bar, Qt::Key_Right);
    EXPECT_DOUBLE_EQ(told().x, 24000);
    key(bar, Qt::Key_Left);
    EXPECT_DOUBLE_EQ(told().x, 20000);
    key(bar, Qt::Key_End);
    EXPECT_DOUBLE_EQ(told().x, 60000);
    key(bar, Qt::Key_Home);
    EXPECT_DOUBLE_EQ(told().x, 0);
}

TEST_F(OverviewTest, MenuShowsTheWholeProjectAndSwitchesMarks)
{
    QHash<QString, QAction*> actions;
    for (QAction* action : bar.actions())
        actions[action->text()] = action;
    ASSERT_TRUE(actions.contains(QStringLiteral("Zoom Out")));
    actions[QStringLiteral("Zoom Out")]->trigger();
    ASSERT_FALSE(listener.areas.empty());
    EXPECT_EQ(listener.areas.back(), (Area{0, 0, 100000, 24000}));
    actions[QStringLiteral("Time Markers and Regions")]->trigger();
    actions[QStringLiteral("Spectral Markers and Regions")]->trigger();
    ASSERT_EQ(listener.switches.size(), 2U);
    EXPECT_EQ(listener.switches[0], std::make_pair(EventId::DisplayMarkersEnable, false));
    EXPECT_EQ(listener.switches[1], std::make_pair(EventId::DisplaySpectralMarkersEnable, false));
    post(EventId::DisplayMarkersEnable, true);
    EXPECT_TRUE(actions[QStringLiteral("Time Markers and Regions")]->isChecked());
}

TEST_F(OverviewTest, PaintsMarksSelectionAndTransportAtTheirTimes)
{
    qApp->setProperty("colormarkers", QColor(Qt::blue));
    qApp->setProperty("colorregions", QColor(Qt::red));
    qApp->setProperty("colortransport", QColor(Qt::green));
    qApp->setProperty("colorselectionmask", QColor(Qt::white));
    QPalette palette = bar.palette();
    palette.setColor(QPalette::Base, Qt::black);
    bar.setPalette(palette);
    show(0, 1000);
    const auto at = [&](int x) { return bar.grab().toImage().pixelColor(x, 11); };
    EXPECT_EQ(at(300), QColor(Qt::black));
    post(EventId::MarkerListChange, MarkerList{{1, 30000, 0, "m"}, {2, 40000, 1000, "r"}});
    EXPECT_EQ(at(300), QColor(Qt::blue));
    EXPECT_EQ(at(299), QColor(Qt::black));
    EXPECT_EQ(at(301), QColor(Qt::black));
    EXPECT_GT(at(405).red(), 100);
    EXPECT_EQ(at(405).blue(), 0);
    EXPECT_EQ(at(411), QColor(Qt::black));
    post(EventId::DisplayMarkersEnable, false);
    EXPECT_EQ(at(300), QColor(Qt::black));
    post(EventId::SpectralMarkerListChange, SpectralMarkerList{{50000, 100, 0, 0, "p"}});
    EXPECT_EQ(at(500), QColor(Qt::blue));
    post(EventId::TransportPositionChange, int64_t(70000));
    EXPECT_EQ(at(700), QColor(Qt::green));
    QPainterPath path;
    path.addRect(80000, 100, 5000, 1000);
    post(EventId::SelectionChange, Selection(path));
    EXPECT_GT(at(825).green(), 40);
    EXPECT_EQ(at(855), QColor(Qt::black));
}

TEST_F(OverviewTest, GrowingLayerAndEmptyProject)
{
    const std::vector<float> samples(100000, 0.5f);
    EXPECT_TRUE(layer->write(samples.data(), {100000, 100000}, -1, true));
    post(EventId::LayerContentUpdate, ILayerPtr(layer));
    EXPECT_EQ(bar.frame(), QRectF(100, 0, 200, 22));
    post(EventId::LayerRootChange, LayerRoot(format));
    EXPECT_TRUE(bar.frame().isNull());
    listener.areas.clear();
    drag(bar, {300, 10}, {350, 10});
    wheel(bar, {300, 10}, {0, 120});
    key(bar, Qt::Key_Right);
    for (QAction* action : bar.actions())
        if (!action->isCheckable())
            action->trigger();
    EXPECT_TRUE(listener.areas.empty());
    EXPECT_FALSE(bar.grab().isNull());
}

TEST_F(OverviewTest, ProjectShorterThanTheLeastLengthIsShownWhole)
{
    LayerRoot small(format);
    const LayerPtr few = Layer::create(format);
    const std::vector<float> samples(10, 0.5f);
    EXPECT_TRUE(few->write(samples.data(), {0, 10}, -1, true));
    EXPECT_TRUE(small.project()->appendChildLayer(few));
    post(EventId::LayerRootChange, small);
    show(0, 10);
    wheel(bar, {300, 10}, {0, 480});
    EXPECT_DOUBLE_EQ(told().x, 0);
    EXPECT_DOUBLE_EQ(told().width, 10);
}

// --- the pad ----------------------------------------------------------------------------------------

class DisplacementPadTest : public testing::Test
{
protected:
    DisplacementPadTest()
    {
        qApp->setProperty("maxdisplace", 128);
        pad.resize(256, 256); // a pixel of the pad is one of the displacement
    }
    Displacement told()
    {
        EXPECT_FALSE(listener.displacements.empty());
        return listener.displacements.empty() ? Displacement() : listener.displacements.back();
    }
    void snap(bool on)
    {
        for (QAction* action : pad.actions())
            if (action->text() == QLatin1String("Snap 3D"))
                action->setChecked(on);
    }

    DisplacementPad pad;
    Listener listener;
};

TEST_F(DisplacementPadTest, CentreIsZeroAndUpIsPositive)
{
    mouse(pad, QEvent::MouseButtonPress, {128, 128}, Qt::LeftButton);
    EXPECT_EQ(told().x, 0);
    EXPECT_EQ(told().y, 0);
    mouse(pad, QEvent::MouseMove, {138, 98}, Qt::LeftButton);
    EXPECT_FLOAT_EQ(told().x, 10);
    EXPECT_FLOAT_EQ(told().y, 30);
    const QPointF spot = pad.spotOf(pad.value());
    EXPECT_NEAR(spot.x(), 138, 1e-4);
    EXPECT_NEAR(spot.y(), 98, 1e-4);
}

TEST_F(DisplacementPadTest, DragBeyondTheEdgeGivesTheLongestVectorOnTheSameRay)
{
    drag(pad, {128, 128}, {128 + 300, 128 - 400});
    EXPECT_NEAR(std::hypot(told().x, told().y), 128, 1e-3);
    EXPECT_NEAR(told().x / told().y, 0.75, 1e-5);
}

TEST_F(DisplacementPadTest, NoDisplacementTakesThePlainShader)
{
    drag(pad, {10, 10}, {128, 128});
    EXPECT_EQ(displacement::steps(told()), 0);
}

TEST_F(DisplacementPadTest, SnappedDragAtFiftyDegreesReadsFortyFiveAtTheSameLength)
{
    snap(true);
    const double angle = 50 * 3.14159265358979 / 180, length = 100;
    drag(pad, {128, 128}, {128 + length * std::cos(angle), 128 - length * std::sin(angle)});
    EXPECT_NEAR(std::hypot(told().x, told().y), length, 1e-3);
    EXPECT_NEAR(told().x, told().y, 1e-3);
    EXPECT_GT(told().x, 0);
}

TEST_F(DisplacementPadTest, WheelKeysAndDoubleClick)
{
    wheel(pad, {20, 20}, {30, -45});
    EXPECT_FLOAT_EQ(told().x, 2);
    EXPECT_FLOAT_EQ(told().y, -3);
    for (int i = 0; i < 300; ++i)
        wheel(pad, {20, 20}, {0, 120});
    EXPECT_NEAR(std::hypot(told().x, told().y), 128, 1e-3);
    mouse(pad, QEvent::MouseButtonDblClick, {20, 20}, Qt::LeftButton);
    EXPECT_EQ(told().x, 0);
    EXPECT_EQ(told().y, 0);
    key(pad, Qt::Key_Up);
    EXPECT_EQ(told().y, 1);
    for (QAction* action : pad.actions())
        if (action->text() == QLatin1String("Reset 3D"))
            action->trigger();
    EXPECT_EQ(told().y, 0);
}

TEST_F(DisplacementPadTest, FollowsTheViewAndMarksTheSpot)
{
    QPalette palette = pad.palette();
    palette.setColor(QPalette::Base, Qt::black);
    palette.setColor(QPalette::Highlight, Qt::yellow);
    pad.setPalette(palette);
    post(EventId::DisplayDisplacementChange, Displacement{64, 32});
    EXPECT_TRUE(listener.displacements.size() == 1); // the post itself: following tells nothing
    const QImage image = pad.grab().toImage();
    EXPECT_EQ(image.pixelColor(192, 96), QColor(Qt::yellow));
    EXPECT_NE(image.pixelColor(192, 160), QColor(Qt::yellow));
}

TEST_F(DisplacementPadTest, EveryChangeStaysWithinTheLongest)
{
    std::mt19937 random(3);
    std::uniform_real_distribution<double> any(-2000, 2000);
    for (int i = 0; i < 500; ++i) {
        snap(i % 3 == 0);
        drag(pad, {any(random), any(random)}, {any(random), any(random)});
        wheel(pad, {1, 1}, {int(any(random)), int(any(random))});
        ASSERT_LE(std::hypot(told().x, told().y), 128.001);
    }
}

} // namespace
