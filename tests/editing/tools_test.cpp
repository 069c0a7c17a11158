// Tools: what they see, what they change, and what becomes of it.
#include "editing/editsession.h"

#include "editing/editprogress.h"
#include "model/documentlock.h"
#include "model/toolstate.h"
#include "plugins/iprocessplugin.h"
#include "plugins/itoolplugin.h"

#include <QAction>
#include <QProgressDialog>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <QToolButton>

#include <functional>
#include <stdexcept>
#include <thread>

using namespace modeltest;

namespace {

const auto* const environment = testing::AddGlobalTestEnvironment(new GuiEnvironment);

struct TestTool : IToolPlugin
{
    TestTool()
    {
        action.setText(QStringLiteral("Test Tool"));
        button.setDefaultAction(&action);
    }
    bool init(const QString&, QWidget*) override { return true; }
    QString description() const override { return QStringLiteral("Test"); }
    QString groupName() const override { return {}; }
    QToolButton* toolButton() override { return &button; }
    QWidget* optionsWidget() override { return nullptr; }
    bool execute(const MouseEvent& event, QCursor& cursor, QPainterPath& path, QList<ToolControl>& controls,
                 uint32_t given) override
    {
        ++calls;
        last = event;
        flags = given;
        return act ? act(cursor, path, controls) : false;
    }
    void activate() override
    {
        life << QStringLiteral("on");
        if (activating)
            activating();
    }
    void deactivate() override { life << QStringLiteral("off"); }
    void contextChanged() override
    {
        ++contexts;
        if (changing)
            changing();
    }

    QAction action;
    QToolButton button;
    int calls = 0;
    int contexts = 0;
    QStringList life;
    MouseEvent last;
    uint32_t flags = 0;
    std::function<void()> activating;
    std::function<void()> changing;
    std::function<bool(QCursor&, QPainterPath&, QList<ToolControl>&)> act;
};

class BrushTool : public IToolPlugin
{
    Q_OBJECT

public:
    bool init(const QString&, QWidget*) override { return true; }
    QString description() const override { return {}; }
    QString groupName() const override { return {}; }
    QToolButton* toolButton() override { return nullptr; }
    QWidget* optionsWidget() override { return nullptr; }
    bool execute(const MouseEvent&, QCursor&, QPainterPath&, QList<ToolControl>&, uint32_t) override
    {
        return false;
    }
    int size = 0;

public Q_SLOTS:
    void increaseBrushSize() { ++size; }
    void decreaseBrushSize() { --size; }
};

struct TestProcess : IProcessPlugin
{
    bool init(const QString&, QWidget*) override { return true; }
    QString description() const override { return QStringLiteral("Test"); }
    QString menuName() const override { return {}; }
    QStringList processNames() const override { return {}; }
    bool execute(const QString& name) override { return act(name); }

    std::function<bool(const QString&)> act;
};

// Writes one sample, another one each time.
void touch(const ILayerPtr& layer)
{
    static float value = 0;
    value += 1;
    EXPECT_TRUE(layer->write(&value, {5, 1}, 0, true));
}

struct Ear : IEvent
{
    Ear() : IEvent(QStringLiteral("Ear")) {}
    void cursorEvent(EventId, const QCursor& cursor) override { cursors << cursor.shape(); }
    void drawingEvent(EventId, const DrawingState& drawing) override { paths << drawing.path; }
    void controlsEvent(EventId, const QList<ControlPoint>& points) override { controls << points; }
    void transportPositionEvent(EventId, const int64_t& to) override { position = to; }
    int64_t position = -1;
    QList<Qt::CursorShape> cursors;
    QList<QPainterPath> paths;
    QList<QList<ControlPoint>> controls;
};

void activate(TestTool& tool)
{
    postEvent(nullptr, EventId::ToolPluginActivate, ToolActivation{&tool, 0}, nullptr);
}

void moveMouse(double x)
{
    MouseEvent event;
    event.position.x = x;
    postEvent(nullptr, EventId::MousePositionChange, event, nullptr);
}

} // namespace

TEST(Tools, TheActiveToolGetsEachMouseStateAndTheDocument)
{
    EditSession session;
    const LayerPtr layer = session.begin(noise(20000, 1));
    TestTool tool;
    moveMouse(1);
    EXPECT_EQ(tool.calls, 0);
    activate(tool);
    tool.act = [&](QCursor&, QPainterPath&, QList<ToolControl>&) {
        EXPECT_EQ(tool.context.activeLayer, ILayerPtr(layer));
        EXPECT_EQ(tool.context.format, session.project().format());
        EXPECT_EQ(tool.context.root->layer(RootProject), ILayerPtr(session.tree()));
        EXPECT_EQ(tool.context.transform->frameSize, 512);
        return false;
    };
    moveMouse(7);
    EXPECT_EQ(tool.calls, 1);
    EXPECT_EQ(tool.last.position.x, 7);
    session.data.executeTool();
    EXPECT_EQ(tool.calls, 2);
    postEvent(nullptr, EventId::ToolNoneActivate, nullptr);
    moveMouse(8);
    session.data.executeTool();
    EXPECT_EQ(tool.calls, 2);
    EXPECT_EQ(session.rows(), QStringList("New"));
}

TEST(Tools, WhatAToolReturnedTrueForIsAStepNamedAfterItsAction)
{
    EditSession session;
    session.begin(noise(20000, 1));
    TestTool tool;
    activate(tool);
    bool done = false;
    tool.act = [&](QCursor&, QPainterPath&, QList<ToolControl>&) {
        tool.context.selection->clear();
        tool.context.selection->add(selectiontest::rectangle(100, 100, 1000 + 100 * tool.calls, 1000), 0, 0,
                                    false);
        return done;
    };
    moveMouse(1);
    EXPECT_FALSE(session.project().selection.isEmpty()) << "everybody sees it while it grows";
    EXPECT_EQ(session.rows(), QStringList("New"));
    done = true;
    moveMouse(2);
    EXPECT_EQ(session.rows(), (QStringList{"New", "Test Tool"}));
    session.history.undo();
    EXPECT_TRUE(session.selection().isEmpty());
}

TEST(Tools, AnEditWithoutALabelGoesIntoTheNextLabelledStep)
{
    EditSession session;
    const auto samples = noise(20000, 1);
    const LayerPtr layer = session.begin(samples);
    TestTool tool;
    activate(tool);
    tool.act = [&](QCursor&, QPainterPath&, QList<ToolControl>&) {
        const float value = 1;
        EXPECT_TRUE(layer->write(&value, {5, 1}, 0, true));
        return false;
    };
    moveMouse(1);
    EXPECT_EQ(session.rows(), QStringList("New"));
    session.data.deselect(); // changes nothing itself
    EXPECT_EQ(session.rows(), (QStringList{"New", "Deselect"}));
    session.history.undo();
    EXPECT_EQ(dataOf(*layer), samples);
}

TEST(Tools, FramesThatAToolHasChangedAreWrittenWhenItReturns)
{
    EditSession session;
    const auto samples = noise(20000, 1);
    const LayerPtr layer = session.begin(samples);
    TestTool tool;
    activate(tool);
    tool.act = [&](QCursor&, QPainterPath&, QList<ToolControl>&) {
        session.data.desk().spectralBufferFor(layer)->setBin(100, 0, 50, {0.5f, 0.0f});
        return true;
    };
    moveMouse(1);
    EXPECT_EQ(session.lastStep(), QStringLiteral("Test Tool"));
    EXPECT_GT(differenceDb(dataOf(*layer), samples), -100);
    session.history.undo();
    EXPECT_EQ(dataOf(*layer), samples);
}

TEST(Tools, FramesAreReadAnewBehindAnUndoAndBehindWhatOthersWrote)
{
    EditSession session;
    const auto samples = noise(20000, 1);
    const LayerPtr layer = session.begin(samples);
    TestTool tool;
    activate(tool);
    tool.act = [&](QCursor&, QPainterPath&, QList<ToolControl>&) {
        const auto frames = session.data.desk().spectralBufferFor(layer);
        for (int bin = 40; bin < 60; ++bin) {
            const auto value = frames->getBin(100, 0, bin);
            frames->setBin(100, 0, bin, {value.re / 2, value.im / 2});
        }
        return true;
    };
    moveMouse(1);
    const auto halved = dataOf(*layer);
    EXPECT_GT(differenceDb(halved, samples), -60);
    session.history.undo();
    EXPECT_EQ(dataOf(*layer), samples);
    moveMouse(2);
    EXPECT_EQ(dataOf(*layer), halved) << "half of what is there again, not of what was";

    // Samples written beside the frames, by somebody who records it and by the tool itself.
    const auto write = [&] { EXPECT_TRUE(layer->write(samples.data(), {0, 20000}, 0, true)); };
    write();
    session.record("Write");
    moveMouse(3);
    EXPECT_EQ(dataOf(*layer), halved);
    const auto halve = std::exchange(tool.act, [&](QCursor&, QPainterPath&, QList<ToolControl>&) {
        (void)session.data.desk().spectralBufferFor(layer)->getBin(100, 0, 50);
        write();
        return true;
    });
    moveMouse(4);
    tool.act = halve;
    moveMouse(5);
    EXPECT_EQ(dataOf(*layer), halved);
}

TEST(Tools, AHoverBehindAnotherOnesStepIsNoEdit)
{
    EditSession session;
    const LayerPtr layer = session.begin(noise(20000, 1));
    TestTool tool;
    activate(tool);
    moveMouse(1);
    EXPECT_TRUE(session.project().layers()->appendChild(Layer::create(session.project().format())));
    postEvent<ILayerPtr>(nullptr, EventId::LayerContentUpdate, session.project().layers(), nullptr);
    session.record("New Layer");
    moveMouse(2);
    session.history.undo();
    moveMouse(3);
    tool.act = [](QCursor&, QPainterPath&, QList<ToolControl>&) { return true; }; // and changes nothing
    moveMouse(4);
    EXPECT_EQ(session.rows(), (QStringList{"New", "New Layer"})) << "the step can be made again";
}

TEST(Tools, AnUndoTakesAnEditWithoutALabelAlongAndNothingIsOpenAnyMore)
{
    EditSession session;
    const LayerPtr layer = session.begin(noise(20000, 1));
    touch(layer);
    session.record("Touch");
    TestTool tool;
    activate(tool);
    tool.act = [&](QCursor&, QPainterPath&, QList<ToolControl>&) {
        touch(layer);
        return false;
    };
    moveMouse(1);
    session.history.undo();
    tool.act = [](QCursor&, QPainterPath&, QList<ToolControl>&) { return true; };
    moveMouse(2);
    EXPECT_EQ(session.rows(), (QStringList{"New", "Touch"}));
}

TEST(Tools, NoLayerIsHeldBetweenTwoCalls)
{
    EditSession session;
    session.begin(noise(20000, 1));
    TestTool tool;
    tool.changing = [&] { EXPECT_TRUE(tool.context.activeLayer); };
    tool.act = [&](QCursor&, QPainterPath&, QList<ToolControl>&) {
        EXPECT_TRUE(tool.context.activeLayer);
        return false;
    };
    activate(tool);
    EXPECT_FALSE(tool.context.activeLayer);
    moveMouse(1);
    EXPECT_EQ(tool.calls, 1);
    EXPECT_FALSE(tool.context.activeLayer);
    TestProcess process;
    process.act = [&](const QString&) { return bool(process.context.activeLayer); };
    session.data.executeProcess(&process, QStringLiteral("Test"));
    EXPECT_FALSE(process.context.activeLayer);
}

TEST(Tools, CursorOutlineAndControlsAreToldWhenTheyAreOtherOnes)
{
    EditSession session;
    session.begin(noise(20000, 1));
    TestTool tool;
    activate(tool);
    Ear ear;
    tool.act = [&](QCursor& cursor, QPainterPath& path, QList<ToolControl>& controls) {
        cursor = Qt::CrossCursor;
        path = selectiontest::rectangle(1, 2, 3, 4);
        controls = {{0, {5, 6}}};
        return false;
    };
    moveMouse(1);
    moveMouse(2);
    EXPECT_EQ(ear.cursors, QList<Qt::CursorShape>{Qt::CrossCursor});
    ASSERT_EQ(ear.paths.size(), 1);
    EXPECT_EQ(ear.paths[0], selectiontest::rectangle(1, 2, 3, 4));
    ASSERT_EQ(ear.controls.size(), 1);
    EXPECT_EQ(ear.controls[0], (QList<ControlPoint>{{{5, 6}}}));
}

TEST(Tools, AToolIsNotCalledWhileSomethingElseIsInWork)
{
    EditSession session;
    session.begin(noise(20000, 1));
    TestTool tool;
    activate(tool);
    {
        const EditDesk::Action process(session.data.desk());
        moveMouse(1);
        session.data.executeTool();
        EXPECT_EQ(tool.calls, 0);
    }
    moveMouse(2);
    EXPECT_EQ(tool.calls, 1);
    // Nor from within itself.
    tool.act = [&](QCursor&, QPainterPath&, QList<ToolControl>&) {
        session.data.executeTool();
        return false;
    };
    moveMouse(3);
    EXPECT_EQ(tool.calls, 2);
}

TEST(Tools, NobodyReadsTheDocumentWhileAToolChangesIt)
{
    EditSession session;
    session.begin(noise(20000, 1));
    TestTool tool;
    activate(tool);
    bool free = true;
    tool.act = [&](QCursor&, QPainterPath&, QList<ToolControl>&) {
        std::thread([&] {
            free = documentLock().tryLockForRead();
            if (free)
                documentLock().unlock();
        }).join();
        return false;
    };
    moveMouse(1);
    EXPECT_FALSE(free);
    EXPECT_TRUE(documentLock().tryLockForRead());
    documentLock().unlock();
}

TEST(Tools, OneThatThrowsIsToldTakenBackAndLaidDown)
{
    EditSession session;
    const auto samples = noise(20000, 1);
    const LayerPtr layer = session.begin(samples);
    session.select(100, 200, 300, 400);
    const Selection selection = session.selection();
    const QString name = layer->name();
    TestTool tool;
    activate(tool);
    tool.act = [&](QCursor&, QPainterPath&, QList<ToolControl>&) -> bool {
        touch(layer);
        session.data.desk().spectralBufferFor(layer)->setBin(20, 0, 50, {0.5f, 0.0f});
        tool.context.selection->clear();
        layer->setName("other");
        tool.context.root->layer(RootProject)->removeChildLayer(layer);
        tool.context.root->setActive(nullptr);
        tool.context.transportPosition = 77;
        throw std::runtime_error("oh");
    };
    testsupport::expectWarning(QStringLiteral("tool Test failed: oh"));
    moveMouse(1);
    EXPECT_TRUE(dataOf(*layer) == samples);
    EXPECT_EQ(layer->name(), name);
    EXPECT_EQ(session.tree()->children(ChildrenDirect), QList<ILayerPtr>{layer});
    EXPECT_EQ(session.project().activeLayer(), ILayerPtr(layer));
    EXPECT_TRUE(session.project().selection == selection);
    EXPECT_EQ(session.data.desk().state().transportPosition, 0);
    EXPECT_EQ(session.rows(), QStringList("New"));
    EXPECT_FALSE(session.data.isBusy());
    EXPECT_TRUE(documentLock().tryLockForRead());
    documentLock().unlock();
    ASSERT_TRUE(testsupport::waitFor([&] { return !session.boxes.list.empty(); }));
    EXPECT_EQ(session.boxes.list[0].title, QStringLiteral("Tool Failed"));
    EXPECT_EQ(session.boxes.list[0].text, QStringLiteral("Test has failed. What it did was taken back."));
    EXPECT_EQ(session.boxes.list[0].informative, QStringLiteral("oh"));
    moveMouse(2);
    EXPECT_EQ(tool.calls, 1) << "it would throw again";
    // Nothing of it is left for the next state.
    session.data.deselect();
    session.history.undo();
    EXPECT_TRUE(dataOf(*layer) == samples);
}

TEST(Tools, WhatCouldNotBeStoredIsTakenBackAtOnceAndToldWhenTheDeliveryIsOver)
{
    EditSession session;
    const auto samples = noise(20000, 1);
    const LayerPtr layer = session.begin(samples);
    TestTool tool;
    activate(tool);
    tool.act = [&](QCursor&, QPainterPath&, QList<ToolControl>&) {
        const float one = 1;
        (void)layer->write(&one, {5, 1}, 0, true);
        const std::vector<float> more = noise(200000, 2);
        (void)layer->write(more.data(), {100, int64_t(more.size())}, 0, true);
        return true;
    };
    int boxes = 0;
    messages::setAnswerer([&](const messages::Box& box) {
        ++boxes;
        EXPECT_EQ(box.icon, QMessageBox::Critical);
        EXPECT_EQ(box.title, QStringLiteral("Test Tool"));
        EXPECT_EQ(box.text, QStringLiteral("The last action could not be stored and was taken back."));
        EXPECT_TRUE(box.informative.contains(sessionFolder())) << box.informative.toStdString();
        // While the user reads it, everybody hears what happens.
        Ear ear;
        postEvent(nullptr, EventId::TransportPositionChange, int64_t(boxes), nullptr);
        EXPECT_EQ(ear.position, boxes);
        return QMessageBox::Ok;
    });
    {
        const DiskLimit limit(100000);
        for (int x = 1; x <= 3; ++x) {
            session.owner.updated.clear();
            moveMouse(x);
            EXPECT_EQ(tool.calls, x) << "it stays the chosen one";
            EXPECT_EQ(boxes, 0) << "not in the midst of a delivery";
            EXPECT_TRUE(session.owner.updated.contains(layer)) << "views draw what was taken back";
            EXPECT_TRUE(dataOf(*layer) == samples);
            EXPECT_FALSE(session.data.isBusy());
        }
    }
    ASSERT_TRUE(testsupport::waitFor([&] { return boxes > 0; }));
    QCoreApplication::processEvents();
    EXPECT_EQ(boxes, 1) << "one for a stroke";
    EXPECT_EQ(session.rows(), QStringList("New"));
    moveMouse(4); // there is room again
    EXPECT_EQ(session.rows(), (QStringList{"New", "Test Tool"}));
    {
        const DiskLimit limit(100000);
        session.data.executeTool();
    }
    ASSERT_TRUE(testsupport::waitFor([&] { return boxes > 1; })) << "and the next one is told again";
}

TEST(Tools, ThoseChosenAndLeftAreToldSoWithTheDocumentAtHand)
{
    EditSession session;
    const LayerPtr layer = session.begin(noise(20000, 1));
    TestTool first;
    TestTool second;
    first.activating = [&] { EXPECT_EQ(first.context.activeLayer, ILayerPtr(layer)); };
    activate(first);
    EXPECT_EQ(first.life, QStringList("on"));
    first.act = [](QCursor& cursor, QPainterPath& path, QList<ToolControl>& controls) {
        cursor = Qt::CrossCursor;
        path = selectiontest::rectangle(1, 2, 3, 4);
        controls = {{0, {5, 6}}};
        return false;
    };
    moveMouse(1);
    Ear ear;
    activate(second);
    EXPECT_EQ(first.life, (QStringList{"on", "off"}));
    EXPECT_EQ(second.life, QStringList("on"));
    EXPECT_EQ(ear.cursors, QList<Qt::CursorShape>{Qt::ArrowCursor}) << "what the old one showed is gone";
    EXPECT_EQ(ear.paths, QList<QPainterPath>{QPainterPath()});
    EXPECT_EQ(ear.controls, QList<QList<ControlPoint>>{{}});
    activate(second); // in another mode
    EXPECT_EQ(second.life, (QStringList{"on", "off", "on"}));
    postEvent(nullptr, EventId::ToolPanActivate, nullptr);
    EXPECT_EQ(second.life.last(), QStringLiteral("off"));
    EXPECT_EQ(second.calls, 0);
}

TEST(Tools, OneThatThrowsWhenItIsChosenIsLaidDown)
{
    EditSession session;
    session.begin(noise(20000, 1));
    TestTool tool;
    tool.activating = [] { throw std::runtime_error("not today"); };
    testsupport::expectWarning(QStringLiteral("tool Test failed: not today"));
    activate(tool);
    moveMouse(1);
    EXPECT_EQ(tool.calls, 0);
}

TEST(Tools, TheLastStateIsGivenOnceMoreWhenTheToolAsksForIt)
{
    EditSession session;
    session.begin(noise(20000, 1));
    TestTool tool;
    tool.mode = 3;
    activate(tool);
    MouseEvent press;
    press.pressure = 1;
    postEvent(nullptr, EventId::MousePositionChange, press, nullptr);
    EXPECT_EQ(tool.flags, 0U);
    EXPECT_EQ(tool.last.previousPressure, -1);
    EXPECT_EQ(tool.last.toolMode, 3U);
    session.data.executeTool();
    EXPECT_EQ(tool.flags, uint32_t(ToolRequested));
    EXPECT_EQ(tool.last.pressure, 1);
    EXPECT_EQ(tool.last.previousPressure, 1) << "nothing has just been pressed";
}

TEST(Tools, OneChosenWhileTheButtonIsHeldSeesItUpUntilThatIsReleased)
{
    EditSession session;
    session.begin(noise(20000, 1));
    TestTool old;
    TestTool other;
    float pressure = -1;
    const auto tell = [&](float now) {
        MouseEvent event;
        event.previousPressure = std::exchange(pressure, now);
        event.pressure = now;
        postEvent(nullptr, EventId::MousePositionChange, event, nullptr);
    };
    const auto expectUp = [&](const TestTool& tool, int calls) {
        EXPECT_EQ(tool.calls, calls);
        EXPECT_EQ(tool.last.pressure, -1);
        EXPECT_EQ(tool.last.previousPressure, -1);
    };
    // By a tool, by none, and by the same one in another mode.
    for (TestTool* const before : {&old, static_cast<TestTool*>(nullptr), &other}) {
        if (before)
            activate(*before);
        else
            postEvent(nullptr, EventId::ToolNoneActivate, nullptr);
        tell(1);
        tell(1);
        activate(other);
        other.calls = 0;
        other.last.pressure = 7;
        session.data.executeTool();
        expectUp(other, 1);
        tell(0.5f);
        expectUp(other, 2);
        session.data.executeTool();
        expectUp(other, 3);
        activate(other); // once more
        tell(0.5f);
        expectUp(other, 4);
        tell(-1);
        expectUp(other, 5);
        tell(-1);
        expectUp(other, 6);
        // The next press is its own.
        tell(1);
        EXPECT_EQ(other.last.pressure, 1);
        EXPECT_EQ(other.last.previousPressure, -1);
        EXPECT_EQ(other.flags, 0U);
        tell(-1);
        EXPECT_EQ(other.last.previousPressure, 1);
    }
}

TEST(Tools, ASecondPressSoonAfterTheFirstAtTheSamePlaceIsADoubleClick)
{
    EditSession session;
    session.begin(noise(20000, 1));
    TestTool tool;
    activate(tool);
    const auto click = [&](double x) {
        MouseEvent event;
        event.pressPixel = {x, 10};
        event.pressure = 1;
        postEvent(nullptr, EventId::MousePositionChange, event, nullptr);
        const uint32_t flags = tool.flags;
        event.pressure = -1;
        event.previousPressure = 1;
        postEvent(nullptr, EventId::MousePositionChange, event, nullptr);
        EXPECT_EQ(tool.flags, 0U);
        return flags;
    };
    EXPECT_EQ(click(10), 0U);
    EXPECT_EQ(click(11), uint32_t(ToolDoubleClick));
    EXPECT_EQ(click(11), 0U) << "a third one begins anew";
    EXPECT_EQ(click(300), 0U);
}

TEST(Tools, ReturnAndEscapeAreTheToolsOwnWhileItShowsAnOutline)
{
    EditSession session;
    session.begin(noise(20000, 1));
    TestTool tool;
    activate(tool);
    EXPECT_FALSE(session.data.isToolDrawing());
    tool.act = [&](QCursor&, QPainterPath& path, QList<ToolControl>&) {
        path = tool.flags & (ToolAccept | ToolCancel) ? QPainterPath() : selectiontest::rectangle(1, 2, 3, 4);
        return false;
    };
    moveMouse(1);
    EXPECT_TRUE(session.data.isToolDrawing());
    session.data.cancelDrawing();
    EXPECT_EQ(tool.flags, uint32_t(ToolCancel));
    EXPECT_FALSE(session.data.isToolDrawing());
    moveMouse(2);
    session.data.acceptDrawing();
    EXPECT_EQ(tool.flags, uint32_t(ToolAccept));
}

TEST(Tools, OneThatMovesThePositionMovesTheTransport)
{
    EditSession session;
    session.begin(noise(20000, 1));
    TestTool tool;
    activate(tool);
    session.moveTransport(100);
    Ear ear;
    tool.act = [&](QCursor&, QPainterPath&, QList<ToolControl>&) {
        EXPECT_EQ(tool.context.transportPosition, 100);
        tool.context.transportPosition = 4321;
        return false;
    };
    moveMouse(1);
    EXPECT_EQ(session.data.desk().state().transportPosition, 4321);
    EXPECT_EQ(ear.position, 4321);
    EXPECT_EQ(session.rows(), QStringList("New"));
}

TEST(Tools, WhatOthersChangeIsToldOnceAndWhatTheToolChangesIsNot)
{
    EditSession session;
    session.begin(noise(20000, 1));
    TestTool tool;
    activate(tool);
    tool.act = [&](QCursor&, QPainterPath&, QList<ToolControl>&) {
        tool.context.selection->add(selectiontest::rectangle(100, 100, 1000, 1000), 0, 0, false);
        tool.context.transportPosition += 1;
        return true;
    };
    moveMouse(1);
    QCoreApplication::processEvents();
    EXPECT_EQ(tool.contexts, 0);
    tool.changing = [&] { EXPECT_TRUE(tool.context.selection->isEmpty()); };
    session.data.deselect();
    session.moveTransport(9);
    postEvent(nullptr, EventId::DisplayAreaChange, Area{1, 2, 3, 4}, nullptr);
    ASSERT_TRUE(testsupport::waitFor([&] { return tool.contexts > 0; }));
    QCoreApplication::processEvents();
    EXPECT_EQ(tool.contexts, 1);
    EXPECT_EQ(tool.context.transportPosition, 9);
    EXPECT_EQ(tool.context.area, (Area{1, 2, 3, 4}));
}

TEST(Tools, UnitsAndFramesAreServedThroughTheContext)
{
    EditSession session;
    const LayerPtr layer = session.begin(noise(20000, 1));
    postEvent(nullptr, EventId::TimeUnitChange, int32_t(TimeUnit::Seconds), nullptr);
    postEvent(nullptr, EventId::FreqScaleChange, int32_t(FreqScale::Mel), nullptr);
    TestTool tool;
    activate(tool);
    tool.act = [&](QCursor&, QPainterPath&, QList<ToolControl>&) {
        const IConvert& convert = *tool.context.convert;
        EXPECT_EQ(convert.stringToTime(convert.timeToString(8000)), 8000);
        EXPECT_NEAR(convert.fromScale(convert.toScale(1234)), 1234, 1e-6);
        EXPECT_NE(convert.toScale(1234), 1234);
        EXPECT_EQ(convert.freqSuffix(), QStringLiteral("Hz"));
        ISpectralBuffer* const frames = tool.context.spectra->frames(layer);
        EXPECT_EQ(tool.context.spectra->frames(layer), frames);
        EXPECT_EQ(tool.context.spectra->frames(nullptr), nullptr);
        EXPECT_GT(tool.context.spectra->prefetch(layer, 10, 4, 1), 0);
        EXPECT_EQ(tool.context.spectra->prefetch(nullptr, 10, 4, 1), 0);
        const Complex bin = session.data.desk().spectralBufferFor(layer)->getBin(12, 0, 30);
        EXPECT_EQ(frames->getBin(12, 0, 30).re, bin.re);
        EXPECT_NE(bin.re, 0);
        return false;
    };
    moveMouse(1);
    EXPECT_EQ(tool.calls, 1);
}

TEST(Tools, KeysOfTheBrushReachTheActiveToolThatHasSuchASlot)
{
    EditSession session;
    session.begin(noise(20000, 1));
    BrushTool brush;
    TestTool plain;
    Q_EMIT session.data.increaseBrushSize();
    EXPECT_EQ(brush.size, 0) << "it is not the active one";
    postEvent(nullptr, EventId::ToolPluginActivate, ToolActivation{&brush, 0}, nullptr);
    Q_EMIT session.data.increaseBrushSize();
    Q_EMIT session.data.increaseBrushSize();
    Q_EMIT session.data.decreaseBrushSize();
    Q_EMIT session.data.increaseBrushHardness(); // not its business
    EXPECT_EQ(brush.size, 1);
    activate(plain);
    Q_EMIT session.data.increaseBrushSize();
    EXPECT_EQ(brush.size, 1);
}

TEST(Tools, AToolThatIsGoneIsNotCalled)
{
    EditSession session;
    session.begin(noise(20000, 1));
    {
        TestTool tool;
        activate(tool);
    }
    moveMouse(1);
    EXPECT_EQ(session.rows(), QStringList("New"));
}

// --- processes -------------------------------------------------------------------------------------

TEST(Processes, WhatReturnedTrueIsAStepOfTheNameThatWasChosen)
{
    EditSession session;
    const auto samples = noise(20000, 1);
    const LayerPtr layer = session.begin(samples);
    QStringList order;
    QObject::connect(&session.data, &DataManager::stopRequested, [&] { order << QStringLiteral("stop"); });
    TestProcess process;
    process.act = [&](const QString& name) {
        order << name;
        EXPECT_TRUE(session.data.isBusy());
        touch(process.context.activeLayer);
        return true;
    };
    session.data.executeProcess(&process, QStringLiteral("Louder"));
    EXPECT_EQ(order, (QStringList{"stop", "Louder", "stop"}));
    EXPECT_EQ(session.rows(), (QStringList{"New", "Louder"}));
    session.history.undo();
    EXPECT_EQ(dataOf(*layer), samples);
}

TEST(Processes, OneWithAnEmptyTitleAddsNoLineUntilTheNextNamedStep)
{
    EditSession session;
    const auto samples = noise(20000, 1);
    const LayerPtr layer = session.begin(samples);
    TestProcess process;
    process.act = [&](const QString& name) {
        touch(layer);
        return name != QLatin1String("No");
    };
    session.data.executeProcess(&process, {});
    session.data.executeProcess(&process, QStringLiteral("No"));
    EXPECT_EQ(session.rows(), QStringList("New"));
    session.data.executeProcess(&process, QStringLiteral("Named"));
    EXPECT_EQ(session.rows(), (QStringList{"New", "Named"}));
    session.history.undo();
    EXPECT_EQ(dataOf(*layer), samples);
}

TEST(Processes, AToolIsNotCalledDuringOneAndAPreviewMakesNoStep)
{
    EditSession session;
    session.begin(noise(20000, 1));
    TestTool tool;
    activate(tool);
    TestProcess process;
    process.act = [&](const QString&) {
        touch(process.context.activeLayer);
        session.owner.updated.clear();
        session.data.previewProcess();
        EXPECT_TRUE(session.owner.updated.contains(process.context.activeLayer));
        moveMouse(1);
        session.data.executeTool();
        session.data.executeProcess(&process, QStringLiteral("Again"));
        EXPECT_EQ(session.rows(), QStringList("New"));
        return true;
    };
    session.data.executeProcess(&process, QStringLiteral("Outer"));
    EXPECT_EQ(tool.calls, 0);
    EXPECT_EQ(session.rows(), (QStringList{"New", "Outer"}));
}

TEST(Processes, OneThatThrowsIsToldAndTakenBack)
{
    EditSession session;
    const auto samples = noise(20000, 1);
    const LayerPtr layer = session.begin(samples);
    TestProcess process;
    process.act = [&](const QString&) -> bool {
        touch(layer);
        session.data.previewProcess();
        throw 1;
    };
    testsupport::expectWarning(QStringLiteral("process Odd failed"));
    session.data.executeProcess(&process, QStringLiteral("Odd"));
    EXPECT_FALSE(session.data.isBusy());
    EXPECT_EQ(session.rows(), QStringList("New"));
    EXPECT_TRUE(dataOf(*layer) == samples);
    ASSERT_TRUE(testsupport::waitFor([&] { return !session.boxes.list.empty(); }));
    EXPECT_EQ(session.boxes.list[0].title, QStringLiteral("Process Failed"));
    EXPECT_EQ(session.boxes.list[0].text, QStringLiteral("Odd has failed. What it did was taken back."));
}

// --- progress --------------------------------------------------------------------------------------

TEST(Progress, ADialogComesOnlyAfterTheDelayAndItsCancelIsHeard)
{
    EditProgress quick(nullptr, QStringLiteral("Cut"));
    EXPECT_TRUE(quick(1, 2));
    EXPECT_FALSE(quick.isShown());
    EditProgress slow(nullptr, QStringLiteral("Cut"), 0);
    EXPECT_TRUE(slow(1, 100));
    EXPECT_TRUE(slow.isShown());
    auto* dialog = qobject_cast<QProgressDialog*>(QApplication::activeModalWidget());
    ASSERT_NE(dialog, nullptr);
    EXPECT_EQ(dialog->labelText(), QStringLiteral("Cut..."));
    EXPECT_EQ(dialog->windowModality(), Qt::WindowModal);
    dialog->findChild<QPushButton*>()->click();
    EXPECT_FALSE(slow(2, 100));
}

TEST(Progress, ACancelledCommandLeavesEverythingAsItWasAndRecordsNothing)
{
    EditSession session;
    const auto samples = noise(6000000, 2);
    const LayerPtr layer = session.begin(samples);
    session.select(0, 6000000, 700, 3300);
    session.data.clipboardCommands().setPatience(0);
    const auto cancelled = [&](void (DataManager::*slot)()) {
        QTimer timer;
        int presses = 0;
        QObject::connect(&timer, &QTimer::timeout, [&] {
            if (auto* dialog = qobject_cast<QProgressDialog*>(QApplication::activeModalWidget())) {
                timer.stop();
                EXPECT_TRUE(QTest::qWaitForWindowExposed(dialog));
                ++presses;
                dialog->cancel();
                EXPECT_TRUE(session.data.isBusy());
                session.data.del(); // from within: refused
            }
        });
        timer.start(0);
        (session.data.*slot)();
        return presses > 0;
    };
    const auto children = session.tree()->children(ChildrenAll);
    for (const auto slot :
         {&DataManager::cut, &DataManager::copy, &DataManager::del, &DataManager::cutToNew}) {
        ASSERT_TRUE(cancelled(slot));
        EXPECT_EQ(session.rows(), QStringList("New"));
        EXPECT_TRUE(dataOf(*layer) == samples);
        EXPECT_EQ(session.data.clipboard(), nullptr);
        EXPECT_EQ(session.tree()->children(ChildrenAll), children);
        EXPECT_FALSE(session.selection().isEmpty());
    }
    EXPECT_EQ(session.boxes.words(), QStringList());
}

// Presses Cancel as soon as a progress dialog is on the screen, or lets it go on.
struct Presser
{
    explicit Presser(bool cancels)
    {
        QObject::connect(&timer, &QTimer::timeout, [this, cancels] {
            auto* dialog = qobject_cast<QProgressDialog*>(QApplication::activeModalWidget());
            if (!dialog)
                return;
            timer.stop();
            EXPECT_TRUE(QTest::qWaitForWindowExposed(dialog));
            labels << dialog->labelText();
            std::thread([this] {
                free = documentLock().tryLockForRead();
                if (free)
                    documentLock().unlock();
            }).join();
            if (cancels)
                dialog->cancel();
        });
        timer.start(0);
    }
    QTimer timer;
    QStringList labels;
    bool free = false; // the document could be read meanwhile
};

// Works until it has run the event loop some times, or is told to stop.
bool work(IProgress* progress)
{
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < 300)
        if (!progress->goesOn(double(timer.elapsed()) / 300))
            return false;
    return true;
}

TEST(Progress, ALongCallOfAToolShowsItAndLetsTheDocumentGoMeanwhile)
{
    EditSession session;
    const LayerPtr layer = session.begin(noise(1000, 3));
    TestTool tool;
    activate(tool);
    tool.act = [&](QCursor&, QPainterPath&, QList<ToolControl>&) {
        if (!work(tool.context.progress))
            return false;
        bool free = true;
        std::thread([&] {
            free = documentLock().tryLockForRead();
            if (free)
                documentLock().unlock();
        }).join();
        EXPECT_FALSE(free) << "the call holds it again";
        touch(layer);
        return true;
    };
    {
        Presser presser(true);
        moveMouse(1); // a second has not passed
        EXPECT_EQ(presser.labels, QStringList());
        EXPECT_EQ(session.rows(), (QStringList{"New", "Test Tool"}));
    }
    session.data.setPluginPatience(0);
    for (const bool cancels : {true, false}) {
        Presser presser(cancels);
        moveMouse(2);
        EXPECT_EQ(presser.labels, QStringList("Test Tool..."));
        EXPECT_TRUE(presser.free) << "views can draw";
        EXPECT_EQ(session.rows().size(), cancels ? 2 : 3);
        EXPECT_FALSE(session.data.isBusy());
        EXPECT_EQ(tool.context.progress, nullptr);
        EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
        EXPECT_TRUE(documentLock().tryLockForRead());
        documentLock().unlock();
    }
    // The lock is as it should be also behind one that throws in the midst of it.
    Presser presser(false);
    tool.act = [&](QCursor&, QPainterPath&, QList<ToolControl>&) -> bool {
        work(tool.context.progress);
        throw std::runtime_error("had enough");
    };
    testsupport::expectWarning(QStringLiteral("failed: had enough"));
    moveMouse(3);
    EXPECT_TRUE(documentLock().tryLockForRead());
    documentLock().unlock();
}

TEST(Progress, ALongProcessShowsItAndIsCancelledWithoutATrace)
{
    EditSession session;
    const auto samples = noise(1000, 4);
    const LayerPtr layer = session.begin(samples);
    session.data.setPluginPatience(0);
    TestProcess process;
    process.act = [&](const QString&) {
        if (!work(process.context.progress))
            return false;
        touch(process.context.activeLayer);
        return true;
    };
    for (const bool cancels : {true, false}) {
        Presser presser(cancels);
        session.data.executeProcess(&process, QStringLiteral("Slow"));
        EXPECT_EQ(presser.labels, QStringList("Slow..."));
        EXPECT_EQ(dataOf(*layer) == samples, cancels);
        EXPECT_EQ(session.rows(), cancels ? QStringList("New") : QStringList({"New", "Slow"}));
        EXPECT_EQ(process.context.progress, nullptr);
    }
}

#include "tools_test.moc"
