// What every selection tool does: gestures, modifiers, odd documents. Each through its library.
#include "addons/toolcases.h"
#include "model/modeltest.h"
#include "ui/guienvironment.h"

#include "support/testsupport.h"

#include <cmath>
#include <limits>
#include <random>

#include <QAction>
#include <QDoubleSpinBox>
#include <QMenu>
#include <QPluginLoader>
#include <QToolButton>

using namespace modeltest;

namespace {

const auto* const environment = testing::AddGlobalTestEnvironment(new GuiEnvironment);

// How many of a thousand spots in and around the view differ from what is wanted.
int differing(const Selection& selection, const Area& view, const std::function<bool(QPointF)>& wanted)
{
    std::mt19937 random(3);
    std::uniform_real_distribution<double> share(-0.05, 1.05);
    int count = 0;
    for (int i = 0; i < 1000; ++i) {
        const QPointF p(view.x + share(random) * view.width, view.y + share(random) * view.height);
        count += selection.contains(p) != wanted(p);
    }
    return count;
}

} // namespace

TEST(SelectTools, TheirLibrariesAreNamedAsTheProgramAsksForThem)
{
    for (const char* name : {"selectcursor", "selectmarquee", "selectlasso", "selectbrush", "selectwand",
                             "selectfreq", "selecttransient"}) {
        const QPluginLoader loader(QStringLiteral(MORVANE_TOOLS_FOLDER "/%1.so").arg(QLatin1String(name)));
        EXPECT_TRUE(loader.metaData().value(QStringLiteral("IID")).toString().contains(QLatin1String(name)));
        ToolRig rig(name, realFormat(1, rate));
        EXPECT_TRUE(rig.tool->description().endsWith(QLatin1String(" Selection")));
        QToolButton* const button = rig.tool->toolButton();
        ASSERT_TRUE(button && button->defaultAction());
        EXPECT_EQ(rig.tool->toolButton(), button) << "made once";
        EXPECT_FALSE(button->defaultAction()->text().isEmpty());
        EXPECT_EQ(rig.tool->optionsWidget(), rig.tool->optionsWidget());
        if (button->menu()) {
            EXPECT_EQ(button->menu()->actions().first(), button->defaultAction());
        }
    }
    ToolRig rig("selectcursor", realFormat(1, rate));
    EXPECT_EQ(rig.tool->description(), QStringLiteral("Cursor Selection")) << "its shortcut hangs on that";
}

TEST(SelectTools, ShiftAddsControlSubtractsBothIntersect)
{
    for (const ToolCase& tool : toolCases())
        for (const View& v : views()) {
            SCOPED_TRACE(std::string(tool.plugin) + " " + std::to_string(tool.mode) + " " + v.name);
            const auto rig = rigFor(tool, v);
            ASSERT_TRUE(tool.gesture(*rig, 0));
            const Selection drawn = rig->selection;
            ASSERT_FALSE(drawn.isEmpty());
            EXPECT_TRUE(rig->path.isEmpty()) << "the outline goes when it is done";
            // Overlaps it, and begins beside where the gesture does.
            rig->select(0.45, 0.1, 0.8, 0.8);
            const Selection other = rig->selection;
            const auto a = [&](QPointF p) { return other.contains(p); };
            const auto b = [&](QPointF p) { return drawn.contains(p); };
            const struct
            {
                uint32_t modifiers;
                std::function<bool(QPointF)> wanted;
            } rows[] = {
                {0, b},
                {shift, [&](QPointF p) { return a(p) || b(p); }},
                {control, [&](QPointF p) { return a(p) && !b(p); }},
                {shift | control, [&](QPointF p) { return a(p) && b(p); }},
            };
            for (const auto& row : rows) {
                rig->selection = other;
                EXPECT_TRUE(tool.gesture(*rig, row.modifiers));
                EXPECT_LE(differing(rig->selection, rig->view, row.wanted), 3)
                    << "modifiers " << row.modifiers;
            }
        }
}

TEST(SelectTools, TheShapesLieInsideTheBandAndTime)
{
    for (const ToolCase& tool : toolCases())
        for (const View& v : views()) {
            SCOPED_TRACE(std::string(tool.plugin) + " " + std::to_string(tool.mode) + " " + v.name);
            const auto rig = rigFor(tool, v);
            rig->press(0.3, 0.3);
            rig->moveTo(-0.5, 0.5);
            rig->moveTo(-0.5, 1.5);
            rig->moveTo(1.5, 1.6);
            rig->moveTo(1.5, -0.6);
            rig->release(1.4, -0.5);
            rig->request(ToolAccept);
            const Area bounds = rig->selection.bounds(), band = fullBandArea(rig->format, {});
            EXPECT_GE(bounds.x, 0);
            EXPECT_GE(bounds.y, band.y);
            EXPECT_LE(bounds.y + bounds.height, band.y + band.height + 1e-6);
            EXPECT_LE(bounds.x + bounds.width,
                      std::max(4 * rate, rig->view.x + rig->view.width) + rig->transform->hop());
        }
}

TEST(SelectTools, TheOutlineFollowsThePointerAndTheSelectionWaitsForTheRelease)
{
    for (const char* name :
         {"selectcursor", "selectmarquee", "selectlasso", "selectbrush", "selectfreq", "selecttransient"}) {
        SCOPED_TRACE(name);
        ToolRig rig(name, realFormat(1, rate));
        rig.addLayer(scene(rig.format, {}));
        rig.press(0.2, 0.2);
        rig.moveTo(0.3, 0.5);
        const QPainterPath first = rig.path;
        EXPECT_FALSE(rig.moveTo(0.5, 0.4)) << "no step of the history while it is drawn";
        EXPECT_FALSE(rig.path.isEmpty());
        EXPECT_NE(rig.path, first);
        EXPECT_TRUE(rig.selection.isEmpty());
        rig.release(0.5, 0.4);
        EXPECT_TRUE(rig.path.isEmpty());
    }
}

TEST(SelectTools, EscapeDropsWhatIsDrawnAndTheReleaseDoesNothing)
{
    for (const ToolCase& tool : toolCases()) {
        SCOPED_TRACE(std::string(tool.plugin) + " " + std::to_string(tool.mode));
        const auto rig = rigFor(tool, views()[0]);
        rig->select(0.7, 0.7, 0.9, 0.9);
        const Selection before = rig->selection;
        rig->press(0.2, 0.2);
        rig->moveTo(0.5, 0.5);
        EXPECT_FALSE(rig->request(ToolCancel));
        EXPECT_TRUE(rig->path.isEmpty());
        EXPECT_FALSE(rig->moveTo(0.6, 0.4));
        EXPECT_TRUE(rig->path.isEmpty());
        EXPECT_FALSE(rig->release(0.6, 0.4));
        EXPECT_EQ(rig->selection, before);
        // The next gesture is whole again.
        EXPECT_TRUE(tool.gesture(*rig, 0));
        EXPECT_FALSE(rig->selection == before);
    }
}

TEST(SelectTools, EscapeWhileTheSelectionIsDraggedLeavesIt)
{
    ToolRig rig("selectmarquee", realFormat(1, rate));
    rig.select(0.2, 0.2, 0.4, 0.4);
    const Selection before = rig.selection;
    rig.press(0.3, 0.3);
    rig.moveTo(0.6, 0.6);
    EXPECT_FALSE(rig.path.isEmpty());
    rig.request(ToolCancel);
    EXPECT_TRUE(rig.path.isEmpty());
    EXPECT_FALSE(rig.release(0.6, 0.6));
    EXPECT_EQ(rig.selection, before);
}

TEST(SelectTools, LeavingTheToolDropsWhatIsDrawn)
{
    for (const ToolCase& tool : toolCases()) {
        SCOPED_TRACE(std::string(tool.plugin) + " " + std::to_string(tool.mode));
        const auto rig = rigFor(tool, views()[0]);
        rig->press(0.2, 0.2);
        rig->moveTo(0.5, 0.5);
        rig->tool->deactivate();
        rig->tool->activate();
        EXPECT_FALSE(rig->hover(0.6, 0.6));
        EXPECT_TRUE(rig->path.isEmpty());
        EXPECT_TRUE(rig->selection.isEmpty());
    }
}

TEST(SelectTools, ADragInsideMovesTheSelection)
{
    for (const ToolCase& tool : toolCases())
        for (const View& v : views()) {
            SCOPED_TRACE(std::string(tool.plugin) + " " + std::to_string(tool.mode) + " " + v.name);
            const auto rig = rigFor(tool, v);
            rig->select(0.2, 0.2, 0.5, 0.5);
            const Area before = rig->selection.bounds();
            const PointD from = rig->at(0.35, 0.35), to = rig->at(0.55, 0.45);
            rig->hover(0.35, 0.35);
            EXPECT_EQ(rig->cursor.shape(), Qt::SizeAllCursor);
            EXPECT_TRUE(rig->drag(0.35, 0.35, 0.55, 0.45));
            const Area after = rig->selection.bounds();
            EXPECT_NEAR(after.x - before.x, to.x - from.x, 0.01);
            EXPECT_NEAR(after.y - before.y, to.y - from.y, 0.01);
            EXPECT_NEAR(after.width, before.width, 0.01);
            EXPECT_NEAR(after.height, before.height, 0.01);
        }
}

TEST(SelectTools, ADragOnTheEdgeResizesTheSelection)
{
    const struct
    {
        double x, y; // shares of the selection
        bool left, right, low, high;
        Qt::CursorShape cursor;
    } rows[] = {
        {0, 0.5, true, false, false, false, Qt::SizeHorCursor},
        {1, 0.5, false, true, false, false, Qt::SizeHorCursor},
        {0.5, 0, false, false, true, false, Qt::SizeVerCursor},
        {0.5, 1, false, false, false, true, Qt::SizeVerCursor},
        {0, 0, true, false, true, false, Qt::SizeBDiagCursor},
        {1, 1, false, true, false, true, Qt::SizeBDiagCursor},
        {0, 1, true, false, false, true, Qt::SizeFDiagCursor},
        {1, 0, false, true, true, false, Qt::SizeFDiagCursor},
    };
    for (const ToolCase& tool : toolCases())
        for (const View& v : {views()[0], views()[3]})
            for (const auto& row : rows) {
                SCOPED_TRACE(std::string(tool.plugin) + " " + std::to_string(tool.mode) + " " + v.name);
                const auto rig = rigFor(tool, v);
                rig->select(0.2, 0.2, 0.6, 0.6);
                const Area b = rig->selection.bounds();
                const double x = 0.2 + 0.4 * row.x, y = 0.2 + 0.4 * row.y;
                rig->hover(x, y);
                EXPECT_EQ(rig->cursor.shape(), row.cursor);
                EXPECT_TRUE(rig->drag(x, y, x + 0.05, y + 0.1));
                const Area a = rig->selection.bounds();
                const double dx = 0.05 * v.near * 3200 + 0.05 * !v.near * 4 * rate;
                const double dy = 0.1 * rig->view.height;
                EXPECT_NEAR(a.x, b.x + row.left * dx, 0.05);
                EXPECT_NEAR(a.x + a.width, b.x + b.width + row.right * dx, 0.05);
                EXPECT_NEAR(a.y, b.y + row.low * dy, 0.05);
                EXPECT_NEAR(a.y + a.height, b.y + b.height + row.high * dy, 0.05);
            }
}

TEST(SelectTools, WithModifiersADragInsideDraws)
{
    ToolRig rig("selectmarquee", realFormat(1, rate));
    rig.select(0.2, 0.2, 0.8, 0.8);
    rig.hover(0.4, 0.4, control);
    EXPECT_EQ(rig.cursor.shape(), Qt::CrossCursor);
    EXPECT_TRUE(rig.drag(0.4, 0.4, 0.6, 0.6, control));
    const PointD hole = rig.at(0.5, 0.5), rest = rig.at(0.3, 0.3);
    EXPECT_FALSE(rig.selection.contains({hole.x, hole.y}));
    EXPECT_TRUE(rig.selection.contains({rest.x, rest.y}));
}

TEST(SelectTools, WhatIsHeldWhenTheButtonGoesDownCounts)
{
    ToolRig rig("selectmarquee", realFormat(1, rate));
    rig.select(0.7, 0.7, 0.9, 0.9);
    rig.press(0.1, 0.1, shift);
    rig.moveTo(0.3, 0.3, control);
    rig.release(0.3, 0.3, 0);
    const PointD old = rig.at(0.8, 0.8), added = rig.at(0.2, 0.2);
    EXPECT_TRUE(rig.selection.contains({old.x, old.y}));
    EXPECT_TRUE(rig.selection.contains({added.x, added.y}));
}

TEST(SelectTools, AClickBesideTheSelectionTakesItAway)
{
    for (const char* name :
         {"selectcursor", "selectmarquee", "selectlasso", "selectfreq", "selecttransient"}) {
        SCOPED_TRACE(name);
        ToolRig rig(name, realFormat(1, rate));
        rig.addLayer(scene(rig.format, {}));
        rig.select(0.5, 0.5, 0.8, 0.8);
        EXPECT_TRUE(rig.click(0.2, 0.2));
        EXPECT_TRUE(rig.selection.isEmpty());
        EXPECT_FALSE(rig.click(0.2, 0.2)) << "nothing more to take away";
        // With a modifier there is nothing to add or take away.
        rig.select(0.5, 0.5, 0.8, 0.8);
        for (const uint32_t modifiers : {shift, control, shift | control})
            EXPECT_FALSE(rig.click(0.2, 0.2, modifiers));
        EXPECT_FALSE(rig.selection.isEmpty());
        // Inside it is a click like any other.
        EXPECT_TRUE(rig.click(0.6, 0.6));
        EXPECT_TRUE(rig.selection.isEmpty());
    }
}

TEST(SelectTools, TheFadeOfTheOptionsGoesIntoTheSelection)
{
    for (const ToolCase& tool : toolCases()) {
        SCOPED_TRACE(std::string(tool.plugin) + " " + std::to_string(tool.mode));
        const auto rig = rigFor(tool, views()[0]);
        rig->option("fadetime").setValue(5);
        rig->option("fadefrequency").setValue(100);
        ASSERT_TRUE(tool.gesture(*rig, 0));
        EXPECT_NEAR(rig->selection.maxFadeX(), 0.005 * rate, 1);
        EXPECT_NEAR(rig->selection.maxFadeY(), 100, 1);
        rig->option("fadetime").setValue(0);
        rig->option("fadefrequency").setValue(0);
        rig->selection.clear();
        ASSERT_TRUE(tool.gesture(*rig, 0));
        EXPECT_EQ(rig->selection.maxFadeX(), 0);
    }
}

TEST(SelectTools, AButtonThatGoesUpWhereTheViewKnowsNoPlaceIsUp)
{
    ToolRig rig("selectmarquee", realFormat(1, rate));
    rig.press(0.2, 0.2);
    rig.moveTo(0.5, 0.5);
    MouseEvent lost = rig.eventAt(0.5, 0.5, -1, 0);
    lost.position = {NAN, NAN};
    EXPECT_TRUE(rig.send(lost));
    const Area bounds = rig.selection.bounds();
    EXPECT_NEAR(bounds.width, 0.3 * rig.view.width, 1);
    EXPECT_FALSE(rig.hover(0.9, 0.9));
    EXPECT_EQ(rig.selection.bounds(), bounds);
}

// --- odd documents ---------------------------------------------------------------------------------

TEST(SelectTools, OddDocumentsAreAnswered)
{
    std::vector<float> numberless(size_t(rate), std::numeric_limits<float>::quiet_NaN());
    for (size_t i = 0; i < numberless.size(); i += 3)
        numberless[i] = std::numeric_limits<float>::infinity();
    const struct
    {
        const char* name;
        std::vector<float> samples;
        bool layer;
        int64_t start;
    } documents[] = {
        {"no layer", {}, false, 0},          {"empty layer", {}, true, 0},
        {"one sample", {0.5f}, true, 0},     {"five samples", {0.5f, 0.1f, -0.2f, 0.5f, 1.0f}, true, 7},
        {"numberless", numberless, true, 0}, {"silence", std::vector<float>(size_t(rate)), true, 0},
    };
    for (const ToolCase& tool : toolCases())
        for (const auto& document : documents) {
            SCOPED_TRACE(std::string(tool.plugin) + " " + std::to_string(tool.mode) + " " + document.name);
            ToolRig rig(tool.plugin, realFormat(1, rate));
            rig.tool->mode = tool.mode;
            if (document.layer)
                rig.addLayer(document.samples, document.start);
            for (const uint32_t modifiers : {0u, shift, control, shift | control}) {
                tool.gesture(rig, modifiers);
                rig.selection.clear();
                rig.select(0.4, 0.4, 0.6, 0.6);
            }
            EXPECT_TRUE(rig.path.isEmpty());
            const Area bounds = rig.selection.bounds();
            EXPECT_TRUE(std::isfinite(bounds.width) && std::isfinite(bounds.height));
        }
}

TEST(SelectTools, WithoutAProjectNothingHappens)
{
    for (const ToolCase& tool : toolCases()) {
        SCOPED_TRACE(tool.plugin);
        ToolRig rig(tool.plugin, realFormat(1, rate));
        rig.tool->context = {};
        const MouseEvent event = rig.eventAt(0.5, 0.5, 1, 0);
        EXPECT_FALSE(rig.tool->execute(event, rig.cursor, rig.path, rig.controls, 0));
        EXPECT_FALSE(rig.tool->execute(event, rig.cursor, rig.path, rig.controls, ToolAccept));
        rig.tool->contextChanged();
        EXPECT_TRUE(rig.path.isEmpty());
        EXPECT_EQ(rig.shown("start"), QString());
    }
}

TEST(SelectTools, WithoutTransformOrFramesTheToolsThatLookAtThemFindNothing)
{
    for (const uint32_t mode : {0u, 1u}) {
        ToolRig rig("selectwand", realFormat(1, rate));
        rig.tool->mode = mode;
        rig.addLayer(scene(rig.format, {2400}));
        rig.transform = nullptr;
        EXPECT_FALSE(rig.click(0.3, 0.3));
        EXPECT_TRUE(rig.selection.isEmpty());
    }
}

TEST(SelectTools, RandomPointersLeaveSoundSelections)
{
    for (const ToolCase& tool : toolCases()) {
        SCOPED_TRACE(std::string(tool.plugin) + " " + std::to_string(tool.mode));
        const auto rig = rigFor(tool, views()[0]);
        std::mt19937 random(17);
        std::uniform_real_distribution<double> share(-0.2, 1.2);
        for (int i = 0; i < 120; ++i) {
            const float pressure = random() % 3 ? 1.0f : -1.0f;
            MouseEvent event = rig->eventAt(share(random), share(random), pressure, 0);
            event.modifiers = random() % 2 ? 0 : uint32_t(random()) & (shift | control);
            if (random() % 20 == 0)
                event.position.x = event.snapped.x = (random() % 2 ? NAN : 1e18);
            rig->send(event, random() % 8 ? 0 : uint32_t(random() % 16));
            const Area bounds = rig->selection.bounds();
            ASSERT_TRUE(std::isfinite(bounds.x) && std::isfinite(bounds.width));
        }
    }
}
