// The move tool of the spectral view, driven with the mouse, at the scale factor that the environment sets.
#include "display/movegesture.h"
#include "display/spectralview.h"
#include "model/layergroup.h"

#include <random>

namespace {

struct Told
{
    EventId id;
    MoveTransform value;
    friend bool operator==(const Told&, const Told&) = default;
};

// Stands in for the command that carries moves out: tells the place at rest as it does, and keeps what
// the view tells.
class Mover : public IEvent
{
public:
    explicit Mover(const SpectralChannel& view) : IEvent(QStringLiteral("Mover")), m_view(view) {}

    void place(const Area& area)
    {
        m_rest = area;
        const Convert& convert = m_view.convert();
        const double right = area.x + area.width, top = area.y + area.height,
                     middle = area.x + area.width / 2;
        const double mid = convert.fromScale((convert.toScale(area.y) + convert.toScale(top)) / 2);
        DrawingState drawing;
        drawing.path.addRect(area.x, area.y, area.width, area.height);
        postEvent(this, EventId::ToolMoveTransformChange, MoveTransform(), this);
        postEvent(this, EventId::MouseDrawingChange, drawing, this);
        postEvent(this, EventId::MouseControlsChange,
                  QList<ControlPoint>{
                      {{right, mid}}, {{right, top}}, {{middle, top}}, {{area.x, top}}, {{area.x, mid}}},
                  this);
    }
    [[nodiscard]] const Area& rest() const { return m_rest; }
    [[nodiscard]] MoveTransform last() const { return told.empty() ? MoveTransform() : told.back().value; }

    void moveTransformEvent(EventId id, const MoveTransform& value) override
    {
        told.push_back({id, value});
        if (id == EventId::ToolMoveTransformStart && refuses)
            postEvent(this, EventId::ToolMoveTransformChange, MoveTransform(), this);
        if (id == EventId::ToolMoveTransformDone)
            place(value.moved(m_rest));
    }
    void layerEvent(EventId id, const ILayerPtr& layer) override
    {
        if (id != EventId::LayerActivate)
            return;
        activated.push_back(layer);
        place(layer->area());
    }
    void mousePositionEvent(EventId, const MouseEvent&) override { ++pointers; }

    std::vector<Told> told;
    std::vector<ILayerPtr> activated;
    int pointers = 0;
    bool refuses = false;

private:
    const SpectralChannel& m_view;
    Area m_rest;
};

// A pixel is a sample wide and a Hz high. What is moved fills 100 to 300 samples and 50 to 150 Hz.
class MoveTool : public View
{
protected:
    MoveTool()
    {
        for (const char* key : {"autoactivatelayer", "scaleprop", "scalefreqmoving", "leftbuttonnavigation"})
            qApp->setProperty(key, QVariant());
        qApp->setProperty("colordrawing", QColor(200, 200, 0));
        qApp->setProperty("colorcontrols", QColor(200, 0, 200));
        qApp->setProperty("selectionborderstyle", QStringLiteral("none"));
        open(1000);
        post(EventId::LayerRootChange, root);
        show({0, 0, width, height});
        choose(EventId::ToolMoveActivate);
        mover.place(rest);
    }
    void choose(EventId tool) { postEvent(nullptr, tool, nullptr); }
    // From a place of the document by so many pixels to the right and up; what the release told.
    MoveTransform dragBy(const PointD& from, const QPointF& by,
                         Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        mover.told.clear();
        const QPointF press = pixelOf(from);
        drag(Qt::LeftButton, press, press + QPointF(by.x(), -by.y()), modifiers);
        return mover.last();
    }
    // As dragBy, from the same place as before.
    MoveTransform dragHandle(MoveHandle handle, const QPointF& by,
                             Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        mover.place(rest);
        return dragBy(handlePlace(handle), by, modifiers);
    }
    [[nodiscard]] PointD handlePlace(MoveHandle handle) const
    {
        const Convert& convert = channel->convert();
        const double right = rest.x + rest.width, top = rest.y + rest.height;
        const double mid = convert.fromScale((convert.toScale(rest.y) + convert.toScale(top)) / 2);
        switch (handle) {
        case MoveHandle::RightMiddle:
            return {right, mid};
        case MoveHandle::RightTop:
            return {right, top};
        case MoveHandle::TopMiddle:
            return {rest.x + rest.width / 2, top};
        case MoveHandle::LeftTop:
            return {rest.x, top};
        case MoveHandle::LeftMiddle:
            return {rest.x, mid};
        default:
            return {rest.x + rest.width / 3, mid};
        }
    }
    [[nodiscard]] QPointF pixelOf(const PointD& place) const
    {
        const Convert& convert = channel->convert();
        const Area view = convert.areaToScale(channel->viewArea());
        return {(place.x - view.x) / view.width * width,
                height - (convert.toScale(place.y) - view.y) / view.height * height};
    }
    static void expectArea(const Area& area, const Area& expected)
    {
        EXPECT_NEAR(area.x, expected.x, 1e-4);
        EXPECT_NEAR(area.y, expected.y, 1e-4);
        EXPECT_NEAR(area.width, expected.width, 1e-4);
        EXPECT_NEAR(area.height, expected.height, 1e-4);
    }
    [[nodiscard]] double ratio() const { return channel->devicePixelRatioF(); }

    const Area rest{100, 50, 200, 100};
    Mover mover{*channel};
};

constexpr MoveHandle scalingHandles[] = {MoveHandle::RightMiddle, MoveHandle::RightTop, MoveHandle::TopMiddle,
                                         MoveHandle::LeftTop, MoveHandle::LeftMiddle};

TEST_F(MoveTool, InsideMovesWhatIsUnderThePointer)
{
    const MoveTransform value{30, 20, 1, 1};
    EXPECT_EQ(dragBy({200, 100}, {30, 20}), value);
    const std::vector<Told> all{{EventId::ToolMoveTransformStart, value},
                                {EventId::ToolMoveTransformChange, value},
                                {EventId::ToolMoveTransformDone, value}};
    EXPECT_EQ(mover.told, all);
}

TEST_F(MoveTool, EachHandleScalesAboutTheOppositeSide)
{
    struct Case
    {
        MoveHandle handle;
        QPointF by;
        MoveTransform value;
        Area area;
    };
    const Case cases[] = {
        {MoveHandle::RightMiddle, {50, 30}, {0, 0, 1.25f, 1}, {100, 50, 250, 100}},
        {MoveHandle::RightTop, {50, 30}, {0, -15, 1.25f, 1.3f}, {100, 50, 250, 130}},
        {MoveHandle::TopMiddle, {50, 50}, {0, -25, 1, 1.5f}, {100, 50, 200, 150}},
        {MoveHandle::LeftTop, {-20, 20}, {-20, -10, 1.1f, 1.2f}, {80, 50, 220, 120}},
        {MoveHandle::LeftMiddle, {50, -40}, {50, 0, 0.75f, 1}, {150, 50, 150, 100}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(int(c.handle));
        const MoveTransform value = dragHandle(c.handle, c.by);
        EXPECT_EQ(value.timeShift, c.value.timeShift);
        EXPECT_NEAR(value.freqShift, c.value.freqShift, 1e-4);
        EXPECT_NEAR(value.timeRatio, c.value.timeRatio, 1e-6);
        EXPECT_NEAR(value.pitchRatio, c.value.pitchRatio, 1e-6);
        expectArea(value.moved(rest), c.area);
        EXPECT_EQ(mover.told.size(), 3U);
        expectArea(mover.rest(), c.area);
    }
}

TEST_F(MoveTool, EachStepOfADragIsTold)
{
    mouse(QEvent::MouseButtonPress, {200, 200}, Qt::LeftButton, Qt::LeftButton);
    EXPECT_TRUE(mover.told.empty() || mover.told.back().value.isIdentity());
    mover.told.clear();
    for (const int x : {201, 205, 205, 190, 200})
        mouse(QEvent::MouseMove, {double(x), 200}, Qt::NoButton, Qt::LeftButton);
    mouse(QEvent::MouseButtonRelease, {200, 200}, Qt::LeftButton, Qt::NoButton);
    std::vector<double> shifts;
    for (const Told& told : mover.told)
        if (told.id == EventId::ToolMoveTransformChange)
            shifts.push_back(told.value.timeShift);
    EXPECT_EQ(shifts, (std::vector<double>{1, 5, -10, 0}));
    EXPECT_EQ(mover.told.front().id, EventId::ToolMoveTransformStart);
    EXPECT_EQ(mover.told.back(), (Told{EventId::ToolMoveTransformDone, {}}));
}

TEST_F(MoveTool, APressThatMovesNothingTellsNothing)
{
    EXPECT_TRUE(dragBy({200, 100}, {0, 0}).isIdentity());
    EXPECT_TRUE(mover.told.empty());
    dragBy({50, 100}, {30, 30}); // beside the rectangle
    dragBy({200, 200}, {30, 30});
    EXPECT_TRUE(mover.told.empty());
    EXPECT_EQ(mover.pointers, 0);
}

TEST_F(MoveTool, TheLeftEdgeStaysAtOrBeyondTheStart)
{
    EXPECT_EQ(dragBy({200, 100}, {-150, 0}).timeShift, -100);
    expectArea(dragHandle(MoveHandle::LeftMiddle, {-150, 0}).moved(rest), {0, 50, 300, 100});
    expectArea(dragHandle(MoveHandle::LeftTop, {-150, 0}).moved(rest), {0, 50, 300, 100});
    qApp->setProperty("scaleprop", true);
    const MoveTransform both = dragHandle(MoveHandle::LeftTop, {-150, 0}, Qt::ShiftModifier);
    expectArea(both.moved(rest), {0, 50, 300, 150});
}

TEST_F(MoveTool, TheRectangleDoesNotTurnInsideOut)
{
    for (const MoveHandle handle : scalingHandles) {
        const bool left = handle == MoveHandle::LeftMiddle || handle == MoveHandle::LeftTop;
        const MoveTransform value = dragHandle(handle, {left ? 250.0 : -250.0, -140});
        const Area area = value.moved(rest);
        EXPECT_GE(area.width, 1 - 1e-4);
        EXPECT_GT(area.height, 0);
        EXPECT_GT(value.timeRatio, 0);
        EXPECT_GT(value.pitchRatio, 0);
        if (left) {
            EXPECT_NEAR(area.x + area.width, 300, 1);
        }
    }
}

TEST_F(MoveTool, TimeIsShiftedByWholeSamples)
{
    show({0, 0, 321.7, 300});
    for (const QPointF& by : {QPointF(11, 0), QPointF(-7, 3), QPointF(3, 9)}) {
        mover.place(rest);
        const double shift = dragBy({200, 100}, by).timeShift;
        EXPECT_EQ(shift, std::round(by.x() * 321.7 / width));
        const MoveTransform scaled = dragHandle(MoveHandle::LeftMiddle, by);
        EXPECT_EQ(scaled.timeShift, std::round(scaled.timeShift));
        EXPECT_NEAR(scaled.moved(rest).x + scaled.moved(rest).width, 300, 0.5);
    }
}

TEST_F(MoveTool, HandlesFollowThePointerInEveryScale)
{
    for (const FreqScale scale :
         {FreqScale::Linear, FreqScale::Mel, FreqScale::Bark, FreqScale::Erb, FreqScale::MidiLogarithmic}) {
        post(EventId::FreqScaleChange, int32_t(scale));
        const Convert& convert = channel->convert();
        const double pixel = convert.areaToScale(channel->viewArea()).height / height;
        const Area up = dragHandle(MoveHandle::TopMiddle, {0, 20}).moved(rest);
        EXPECT_NEAR(convert.toScale(up.y + up.height) - convert.toScale(150), 20 * pixel, 1e-3);
        EXPECT_NEAR(up.y, 50, 1e-4);
        const double under = convert.fromScale(convert.toScale(90) + 20 * pixel);
        mover.place(rest);
        EXPECT_NEAR(dragBy({200, 90}, {0, 20}).freqShift, under - 90, 1e-6);
    }
}

TEST_F(MoveTool, AMoveUpwardsScalesByTheRatioOfTheHeightsIfTheOptionIsOn)
{
    for (const bool on : {false, true}) {
        qApp->setProperty("scalefreqmoving", on);
        post(EventId::FreqScaleChange, int32_t(FreqScale::Mel));
        const Convert& convert = channel->convert();
        const double up = 25 * convert.areaToScale(channel->viewArea()).height / height;
        mover.place(rest);
        const MoveTransform value = dragBy({200, 100}, {10, 25});
        const Area area = value.moved(rest);
        EXPECT_EQ(value.timeShift, 10);
        EXPECT_EQ(value.timeRatio, 1);
        if (on) {
            EXPECT_NEAR(convert.toScale(area.y) - convert.toScale(50), up, 1e-3);
            EXPECT_NEAR(convert.toScale(area.y + area.height) - convert.toScale(150), up, 1e-3);
            EXPECT_GT(value.pitchRatio, 1.01f);
        } else {
            EXPECT_EQ(value.pitchRatio, 1);
            EXPECT_NEAR(area.height, 100, 1e-9);
        }
        // Heights in Hz stay the same in a straight scale, and a move along time alone is one.
        post(EventId::FreqScaleChange, int32_t(FreqScale::Linear));
        mover.place(rest);
        EXPECT_NEAR(dragBy({200, 100}, {10, 25}).pitchRatio, 1, 1e-6);
        mover.place(rest);
        EXPECT_EQ(dragBy({200, 100}, {10, 0}), (MoveTransform{10, 0, 1, 1}));
    }
}

TEST_F(MoveTool, ShiftWithTheOptionKeepsBothFactorsEqual)
{
    for (const bool option : {false, true})
        for (const Qt::KeyboardModifiers keys :
             {Qt::KeyboardModifiers(), Qt::KeyboardModifiers(Qt::ShiftModifier)})
            for (const MoveHandle handle : scalingHandles) {
                SCOPED_TRACE(int(handle));
                qApp->setProperty("scaleprop", option);
                const MoveTransform value = dragHandle(handle, {40, 10}, keys);
                EXPECT_EQ(value.timeRatio == value.pitchRatio, option && keys != Qt::NoModifier);
                EXPECT_FALSE(value.isIdentity());
            }
    // The one that changes more leads; the sides opposite to the handle stay.
    expectArea(dragHandle(MoveHandle::RightTop, {40, 50}, Qt::ShiftModifier).moved(rest),
               {100, 50, 300, 150});
    expectArea(dragHandle(MoveHandle::LeftTop, {-60, 10}, Qt::ShiftModifier).moved(rest), {40, 50, 260, 130});
    expectArea(dragHandle(MoveHandle::TopMiddle, {0, 20}, Qt::ShiftModifier).moved(rest),
               {100, 50, 240, 120});
}

TEST_F(MoveTool, ShiftInsideKeepsToOneAxis)
{
    EXPECT_EQ(dragBy({200, 100}, {30, 20}, Qt::ShiftModifier), (MoveTransform{30, 0, 1, 1}));
    mover.place(rest);
    EXPECT_EQ(dragBy({200, 100}, {20, 30}, Qt::ShiftModifier), (MoveTransform{0, 30, 1, 1}));
}

TEST_F(MoveTool, ARefusedStartEndsTheDrag)
{
    mover.refuses = true;
    dragBy({200, 100}, {30, 20});
    EXPECT_EQ(mover.told, (std::vector<Told>{{EventId::ToolMoveTransformStart, {30, 20, 1, 1}}}));
    mover.refuses = false;
    EXPECT_EQ(dragBy({200, 100}, {30, 20}), (MoveTransform{30, 20, 1, 1}));
}

TEST_F(MoveTool, ABlockedViewMovesNothingButEndsWhatWasBegun)
{
    channel->setBlocked(true);
    dragBy({200, 100}, {30, 20});
    EXPECT_TRUE(mover.told.empty());
    channel->setBlocked(false);
    mouse(QEvent::MouseButtonPress, {200, 200}, Qt::LeftButton, Qt::LeftButton);
    mouse(QEvent::MouseMove, {210, 200}, Qt::NoButton, Qt::LeftButton);
    channel->setBlocked(true);
    mouse(QEvent::MouseMove, {250, 200}, Qt::NoButton, Qt::LeftButton);
    mouse(QEvent::MouseButtonRelease, {250, 200}, Qt::LeftButton, Qt::NoButton);
    EXPECT_EQ(mover.told.back(), (Told{EventId::ToolMoveTransformDone, {10, 0, 1, 1}}));
}

TEST_F(MoveTool, AnotherToolChosenWhileTheButtonIsHeldEndsTheMove)
{
    mouse(QEvent::MouseButtonPress, {200, 200}, Qt::LeftButton, Qt::LeftButton);
    mouse(QEvent::MouseMove, {210, 200}, Qt::NoButton, Qt::LeftButton);
    choose(EventId::ToolPanActivate);
    EXPECT_EQ(mover.told.back(), (Told{EventId::ToolMoveTransformDone, {10, 0, 1, 1}}));
    const std::size_t told = mover.told.size();
    mouse(QEvent::MouseMove, {250, 200}, Qt::NoButton, Qt::LeftButton);
    mouse(QEvent::MouseButtonRelease, {250, 200}, Qt::LeftButton, Qt::NoButton);
    EXPECT_EQ(mover.told.size(), told);
}

TEST_F(MoveTool, NavigationModifiersStayWithNavigation)
{
    drag(Qt::LeftButton, {200, 200}, {150, 200}, Qt::ControlModifier | Qt::AltModifier);
    EXPECT_FALSE(listener.areas.empty());
    drag(Qt::MiddleButton, {200, 200}, {150, 200});
    EXPECT_TRUE(mover.told.empty() || mover.last().isIdentity());
}

TEST_F(MoveTool, TheCursorTellsWhatAPressWouldDo)
{
    const auto shapeAt = [this](const PointD& place) {
        mouse(QEvent::MouseMove, pixelOf(place), Qt::NoButton, Qt::NoButton);
        return channel->cursor().shape();
    };
    EXPECT_EQ(shapeAt(handlePlace(MoveHandle::RightMiddle)), Qt::SizeHorCursor);
    EXPECT_EQ(shapeAt(handlePlace(MoveHandle::RightTop)), Qt::SizeBDiagCursor);
    EXPECT_EQ(shapeAt(handlePlace(MoveHandle::TopMiddle)), Qt::SizeVerCursor);
    EXPECT_EQ(shapeAt(handlePlace(MoveHandle::LeftTop)), Qt::SizeFDiagCursor);
    EXPECT_EQ(shapeAt(handlePlace(MoveHandle::LeftMiddle)), Qt::SizeHorCursor);
    EXPECT_EQ(shapeAt(handlePlace(MoveHandle::Inside)), Qt::SizeAllCursor);
    EXPECT_EQ(shapeAt({50, 100}), Qt::ArrowCursor);
    // A handle keeps its shape while it is dragged.
    mouse(QEvent::MouseButtonPress, {300, 200}, Qt::LeftButton, Qt::LeftButton);
    mouse(QEvent::MouseMove, {350, 10}, Qt::NoButton, Qt::LeftButton);
    EXPECT_EQ(channel->cursor().shape(), Qt::SizeHorCursor);
    mouse(QEvent::MouseButtonRelease, {350, 10}, Qt::LeftButton, Qt::NoButton);
    EXPECT_EQ(channel->cursor().shape(), Qt::ArrowCursor);
}

TEST_F(MoveTool, AHandleIsWithinSixPixelsAndBeforeTheInside)
{
    EXPECT_EQ(dragBy({300 - 5, 100 + 3}, {40, 0}), (MoveTransform{0, 0, 1.2f, 1}));
    mover.place(rest);
    EXPECT_EQ(dragBy({300 - 7, 100}, {40, 0}), (MoveTransform{40, 0, 1, 1}));
    mover.place(rest);
    mouse(QEvent::MouseMove, {300, 200}, Qt::NoButton, Qt::NoButton);
    EXPECT_EQ(listener.controls, std::vector<int32_t>{int32_t(MoveHandle::RightMiddle)});
}

// --- the layer under the press ----------------------------------------------------------------------

TEST_F(MoveTool, APressActivatesTheFirstLayerThatIsThere)
{
    const LayerGroupPtr group = LayerGroup::create(format, {}, 0);
    const LayerPtr late = Layer::create(format, {}, 0, true);
    const LayerPtr early = Layer::create(format, {}, 0, true);
    const LayerPtr both = Layer::create(format, {}, 0, true);
    const std::vector<float> samples(100, 0.0f);
    ASSERT_TRUE(late->write(samples.data(), {200, 100}, -1, true));
    ASSERT_TRUE(early->write(samples.data(), {0, 100}, -1, true));
    for (const int64_t start : {0, 100, 200, 300})
        ASSERT_TRUE(both->write(samples.data(), {start, 100}, -1, true));
    ASSERT_TRUE(group->appendChildLayer(late));
    ASSERT_TRUE(root.project()->appendChildLayer(group));
    ASSERT_TRUE(root.project()->appendChildLayer(early));
    add(both);
    const auto press = [&](double x, double freq) {
        mover.activated.clear();
        dragBy({x, freq}, {0, 0});
        return mover.activated.empty() ? ILayerPtr() : mover.activated.back();
    };
    EXPECT_EQ(press(250, 280), nullptr); // the option is off
    qApp->setProperty("autoactivatelayer", true);
    EXPECT_EQ(press(250, 280), late); // in its group, which holds the time too
    EXPECT_EQ(root.layer(-1), late);
    EXPECT_EQ(press(260, 280), nullptr); // is active already
    EXPECT_EQ(press(50, 280), early);
    EXPECT_EQ(press(99.5, 280), nullptr);
    EXPECT_EQ(press(100.5, 280), both);
    EXPECT_EQ(press(200.5, 280), late);
    mover.place(rest);
    EXPECT_EQ(press(100, 100), nullptr); // on a handle
    EXPECT_EQ(press(150, 100), both);
}

TEST_F(MoveTool, ThePressThatActivatesALayerDragsIt)
{
    qApp->setProperty("autoactivatelayer", true);
    addLayer(std::vector<float>(50, 0.0f), 20);
    EXPECT_EQ(dragBy({40, 250}, {25, 0}), (MoveTransform{25, 0, 1, 1}));
    expectArea(mover.rest(), {45, 0, 50, 500});
}

// --- drawing ----------------------------------------------------------------------------------------

class Drawn : public MoveTool
{
protected:
    static bool isFrame(const QColor& color) { return color.red() > 150 && color.green() > 150; }
    static bool isHandle(const QColor& color) { return color.red() > 150 && color.blue() > 150; }
    // The frame of an area is drawn on the whole device pixels inside it, and on none beside them.
    void expectFrame(const Area& area, const QImage& image) const
    {
        const double r = ratio();
        const int thickness = std::max(1, int(r));
        const int left = qRound(area.x * r), right = qRound((area.x + area.width) * r);
        const int top = qRound((height - area.y - area.height) * r), bottom = qRound((height - area.y) * r);
        // Off the handles.
        const int x = left + (right - left) / 4, y = top + (bottom - top) / 4;
        const auto run = [&](int from, int to, int end, const std::function<QColor(int)>& at) {
            for (int i = std::max(0, from - 2); i < std::min(end, to + 2); ++i)
                EXPECT_EQ(isFrame(at(i)), i >= from && i < to) << i << " of " << from << " to " << to;
        };
        run(left, left + thickness, image.width(), [&](int i) { return image.pixelColor(i, y); });
        run(right - thickness, right, image.width(), [&](int i) { return image.pixelColor(i, y); });
        run(top, top + thickness, image.height(), [&](int i) { return image.pixelColor(x, i); });
        run(bottom - thickness, bottom, image.height(), [&](int i) { return image.pixelColor(x, i); });
    }
    void expectHandles(const Area& area, const QImage& image) const
    {
        const double right = area.x + area.width, top = area.y + area.height;
        const PointD places[] = {{right, area.y + area.height / 2},
                                 {right, top},
                                 {area.x + area.width / 2, top},
                                 {area.x, top},
                                 {area.x, area.y + area.height / 2}};
        for (const PointD& place : places) {
            const QPoint at(int(place.x * ratio()), int((height - place.y) * ratio()));
            EXPECT_TRUE(isHandle(image.pixelColor(at))) << place.x << " " << place.y;
            // No larger than a fingertip on a screen.
            EXPECT_FALSE(isHandle(image.pixelColor(at + QPoint(0, qRound(7 * ratio())))));
        }
    }
};

TEST_F(Drawn, FrameAndHandlesStandOnTheirPixels)
{
    const QImage image = picture();
    ASSERT_EQ(image.size(), QSize(qRound(width * ratio()), qRound(height * ratio())));
    expectFrame(rest, image);
    expectHandles(rest, image);
}

TEST_F(Drawn, AllEdgesOfAFullViewAreSeen)
{
    mover.place({0, 0, width, height});
    expectFrame({0, 0, width, height}, picture());
}

TEST_F(Drawn, FrameAndHandlesFollowTheDragInEveryChannelThatIsAddressed)
{
    format.channels = 2;
    auto* second = new SpectralChannel(1);
    second->setFixedSize(width, height);
    QMainWindow other;
    other.setCentralWidget(second);
    other.show();
    postEvent(nullptr, EventId::LayerRootChange, LayerRoot(format), nullptr);
    post(EventId::FreqScaleChange, int32_t(FreqScale::Linear));
    post(EventId::TransportPositionChange, int64_t(-1));
    show({0, 0, width, height});
    choose(EventId::ToolMoveActivate);
    mover.place(rest);

    mouse(QEvent::MouseButtonPress, {300, 150}, Qt::LeftButton, Qt::LeftButton);
    mouse(QEvent::MouseMove, {350, 100}, Qt::NoButton, Qt::LeftButton);
    const Area grown{100, 50, 250, 150};
    for (SpectralChannel* view : {static_cast<SpectralChannel*>(channel), second}) {
        const QImage image = view->grabFramebuffer();
        expectFrame(grown, image);
        expectHandles(grown, image);
    }
    ChannelsMode mode(2);
    mode.selected.clearBit(1);
    post(EventId::ChannelsModeChange, mode);
    const QImage unaddressed = second->grabFramebuffer();
    EXPECT_FALSE(isFrame(unaddressed.pixelColor(qRound(100 * ratio()), qRound(200 * ratio()))));
    mouse(QEvent::MouseButtonRelease, {350, 100}, Qt::LeftButton, Qt::NoButton);
    expectFrame(grown, channel->grabFramebuffer()); // where the command told it to be
}

TEST_F(Drawn, NothingStaysBehindOnceTheGestureIsCalledOff)
{
    mouse(QEvent::MouseButtonPress, {200, 200}, Qt::LeftButton, Qt::LeftButton);
    mouse(QEvent::MouseMove, {250, 200}, Qt::NoButton, Qt::LeftButton);
    post(EventId::ToolMoveTransformChange, MoveTransform());
    expectFrame(rest, channel->grabFramebuffer());
    mouse(QEvent::MouseMove, {260, 200}, Qt::NoButton, Qt::LeftButton);
    expectFrame(rest, channel->grabFramebuffer());
    choose(EventId::ToolPanActivate);
    post(EventId::MouseControlsChange, QList<ControlPoint>());
    EXPECT_EQ(brightest(channel->grabFramebuffer()), 0);
}

// --- arithmetic -------------------------------------------------------------------------------------

TEST(MoveGesture, StaysWithinItsLimitsWhateverThePointerDoes)
{
    std::mt19937 random(7);
    const auto number = [&random](double from, double to) {
        return std::uniform_real_distribution<double>(from, to)(random);
    };
    Convert convert({SampleTypeReal, 48000, ChannelsTypeAudio, 1, 4}, TransformSettings());
    for (int i = 0; i < 20'000; ++i) {
        convert.freqScale = FreqScale(i % 5);
        const Area rest{std::floor(number(0, 1e6)), number(0, 20'000), number(1, 1e6), number(1, 4'000)};
        const movegesture::Grip grip{MoveHandle(i % 6), rest, {number(0, 2e6), number(0, 24'000)}};
        const MoveTransform value = movegesture::dragged(
            convert, grip, {number(-1e6, 3e6), number(-100, 30'000)}, {i % 7 < 3, i % 11 < 5});
        const Area area = value.moved(rest);
        ASSERT_EQ(value.timeShift, std::round(value.timeShift));
        ASSERT_GE(area.x, 0);
        ASSERT_GT(value.timeRatio, 0);
        ASSERT_GT(value.pitchRatio, 0);
        ASSERT_TRUE(std::isfinite(value.freqShift));
        ASSERT_EQ(movegesture::dragged(convert, grip, grip.press, {}).isIdentity(), true);
        // The opposite side stays.
        if (grip.handle == MoveHandle::LeftMiddle || grip.handle == MoveHandle::LeftTop) {
            ASSERT_NEAR(area.x + area.width, rest.x + rest.width, 1);
        } else if (grip.handle != MoveHandle::Inside) {
            ASSERT_EQ(area.x, rest.x);
        }
        if (grip.handle != MoveHandle::Inside) {
            ASSERT_NEAR(area.y, rest.y, 1e-6);
        }
    }
}

TEST(MoveGesture, HostileRectanglesMoveNothing)
{
    const Convert convert({SampleTypeReal, 48000, ChannelsTypeAudio, 1, 4}, TransformSettings());
    const double nan = std::nan("");
    for (const Area& rest : {Area{}, Area{0, 0, -5, 5}, Area{0, 0, nan, 5}, Area{0, 0, 5, nan}})
        for (int handle = -1; handle < 6; ++handle)
            EXPECT_TRUE(
                movegesture::dragged(convert, {MoveHandle(handle), rest, {1, 1}}, {5, 5}, {}).isIdentity());
}

} // namespace
