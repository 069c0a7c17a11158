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
                 uint32_t) override
    {
        ++calls;
        last = event;
        return act ? act(cursor, path, controls) : false;
    }

    QAction action;
    QToolButton button;
    int calls = 0;
    MouseEvent last;
    std::function<bool(QCursor&, QPainterPath&, QList<ToolControl>&)> act;
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

TEST(Tools, AToolThatThrowsIsNamedInTheLogAndLeavesTheProgramUsable)
{
    EditSession session;
    session.begin(noise(20000, 1));
    TestTool tool;
    activate(tool);
    tool.act = [](QCursor&, QPainterPath&, QList<ToolControl>&) -> bool { throw std::runtime_error("oh"); };
    testsupport::expectWarning(QStringLiteral("tool Test failed: oh"));
    moveMouse(1);
    EXPECT_EQ(session.rows(), QStringList("New"));
    EXPECT_FALSE(session.data.isBusy());
    EXPECT_TRUE(documentLock().tryLockForRead());
    documentLock().unlock();
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

TEST(Processes, OneThatThrowsIsNamedInTheLogAndTheProgramGoesOn)
{
    EditSession session;
    session.begin(noise(20000, 1));
    TestProcess process;
    process.act = [](const QString&) -> bool { throw 1; };
    testsupport::expectWarning(QStringLiteral("process Odd failed"));
    session.data.executeProcess(&process, QStringLiteral("Odd"));
    EXPECT_FALSE(session.data.isBusy());
    EXPECT_EQ(session.rows(), QStringList("New"));
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
