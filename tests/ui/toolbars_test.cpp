// Tools and processes in bars and menus, driven by mouse and keys.
#include "ui/plugintest.h"

#include "editing/datamanager.h"
#include "plugins/itoolplugin.h"
#include "ui/editbar.h"
#include "ui/historypanel.h"
#include "ui/toolbars.h"
#include "ui/widgets/qtoolbarext.h"

#include <QActionGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QMouseEvent>
#include <QSignalSpy>
#include <QTest>
#include <QToolButton>

namespace {

const auto* const environment = testing::AddGlobalTestEnvironment(new WindowEnvironment);

const QStringList examples{QStringLiteral("minimaltool"), QStringLiteral("minimalprocess")};

class ToolBarsTest : public PluginTest
{
protected:
    ToolBars& bars() { return m_window->toolBars(); }
    QToolButton* button(const char* name)
    {
        for (QToolButton* each : bars().tools()->buttons())
            if (each->accessibleName() == QLatin1String(name))
                return each;
        return nullptr;
    }
    QAction* mode(QToolButton* of, const char* name)
    {
        for (QAction* action : of->menu()->actions())
            if (action->text() == QLatin1String(name))
                return action;
        return nullptr;
    }
    QMenu* menu(const char* title)
    {
        for (const QAction* action : m_window->menuBar()->actions())
            if (action->text() == QLatin1String(title))
                return action->menu();
        return nullptr;
    }
    SpectralChannel* open(int channels = 1)
    {
        EXPECT_TRUE(tabs().parse(makeTone("tone.wav", 1, channels)));
        SpectralChannel* view = display().spectralChannels().value(0);
        EXPECT_TRUE(testsupport::waitFor([&] { return view && view->isVisible() && view->width() > 100; }));
        QCoreApplication::processEvents(); // the tool is chosen again
        return view;
    }
    // From one height to the other, as shares of the view from the top.
    static void drag(SpectralChannel* view, double from, double to)
    {
        const QPoint a(view->width() / 2, int(view->height() * from));
        const QPoint b(view->width() / 2, int(view->height() * to));
        QTest::mousePress(view, Qt::LeftButton, {}, a);
        QMouseEvent move(QEvent::MouseMove, b, view->mapToGlobal(b), Qt::NoButton, Qt::LeftButton, {});
        QApplication::sendEvent(view, &move);
        QTest::mouseRelease(view, Qt::LeftButton, {}, b);
    }
    const Selection& selection() { return tabs().currentProject()->selection; }
    QString lastStep() { return m_window->historyPanel().history().states().last().name; }
};

} // namespace

TEST_F(ToolBarsTest, TheExamplesOfTheDocumentationAreLoadedAndStandInBarAndMenu)
{
    showWith(examples);
    QToolButton* tool = button("Minimal Selection");
    ASSERT_NE(tool, nullptr);
    EXPECT_TRUE(tool->isVisible());
    EXPECT_EQ(tool->menu()->actions().size(), 2);
    for (const QAction* action : tool->menu()->actions()) {
        EXPECT_TRUE(action->isCheckable());
        EXPECT_EQ(action->actionGroup(), bars().group());
    }
    EXPECT_TRUE(bars().group()->isExclusive());
    EXPECT_NE(m_window->actionTable().action(QStringLiteral("toolsminimalselection")), nullptr);
    QMenu* process = menu("&Process");
    ASSERT_NE(process, nullptr);
    EXPECT_TRUE(process->menuAction()->isVisible());
    ASSERT_EQ(process->actions().size(), 1);
    const QMenu* submenu = process->actions()[0]->menu();
    ASSERT_NE(submenu, nullptr);
    EXPECT_EQ(submenu->title(), QStringLiteral("Examples"));
    ASSERT_EQ(submenu->actions().size(), 2);
    EXPECT_EQ(submenu->actions()[0]->text(), QStringLiteral("Invert"));
    EXPECT_EQ(submenu->actions()[0]->property("shortcutid").toString(), QStringLiteral("minimalprocess"));
    EXPECT_EQ(submenu->actions()[1]->property("shortcutid").toString(), QStringLiteral("minimalprocess2"));
}

TEST_F(ToolBarsTest, WithoutProcessesThereIsNoDeadMenu)
{
    showWith({});
    ASSERT_NE(menu("&Process"), nullptr);
    EXPECT_FALSE(menu("&Process")->menuAction()->isVisible());
}

TEST_F(ToolBarsTest, ADragWithAToolSelectsAndIsUndone)
{
    showWith(examples);
    SpectralChannel* view = open();
    EXPECT_TRUE(button("Minimal Selection")->isChecked()) << "the first tool is the start tool";
    drag(view, 0.25, 0.5);
    EXPECT_EQ(view->cursor().shape(), Qt::CrossCursor);
    ASSERT_FALSE(selection().isEmpty());
    const double low = view->documentPosition(QPointF(0, int(view->height() * 0.5))).y;
    EXPECT_NEAR(selection().bounds().y, low, 1);
    EXPECT_EQ(lastStep(), QStringLiteral("Minimal Selection"));
    action("editundo").trigger();
    EXPECT_TRUE(selection().isEmpty());
}

TEST_F(ToolBarsTest, AModeIsChosenInTheMenuOfTheButton)
{
    showWith(examples);
    SpectralChannel* view = open();
    drag(view, 0.6, 0.7);
    QToolButton* tool = button("Minimal Selection");
    mode(tool, "Minimal Addition")->trigger();
    EXPECT_EQ(tool->defaultAction(), mode(tool, "Minimal Addition"));
    EXPECT_TRUE(tool->isChecked());
    drag(view, 0.2, 0.3);
    EXPECT_EQ(lastStep(), QStringLiteral("Minimal Addition"));
    const auto at = [&](double share) {
        return view->documentPosition(QPointF(0, view->height() * share)).y;
    };
    EXPECT_TRUE(selection().contains(QPointF(100, at(0.25))));
    EXPECT_TRUE(selection().contains(QPointF(100, at(0.65))));
    EXPECT_FALSE(selection().contains(QPointF(100, at(0.45))));
}

TEST_F(ToolBarsTest, EscapeDropsWhatIsDrawnAndLeavesTheFieldsOfTheOptionsAlone)
{
    showWith(examples);
    SpectralChannel* view = open();
    QTest::mousePress(view, Qt::LeftButton, {}, QPoint(100, 40));
    const QPoint to(100, 90);
    QMouseEvent move(QEvent::MouseMove, to, view->mapToGlobal(to), Qt::NoButton, Qt::LeftButton, {});
    QApplication::sendEvent(view, &move);
    EXPECT_TRUE(m_window->dataManager().isToolDrawing());
    QLineEdit field(bars().settings());
    field.show();
    field.setFocus();
    QTest::keyClick(&field, Qt::Key_Escape);
    EXPECT_TRUE(m_window->dataManager().isToolDrawing());
    m_window->setFocus();
    QTest::keyClick(m_window.get(), Qt::Key_Escape);
    EXPECT_FALSE(m_window->dataManager().isToolDrawing());
    QTest::mouseRelease(view, Qt::LeftButton, {}, to);
    EXPECT_TRUE(selection().isEmpty());
}

TEST_F(ToolBarsTest, AProcessWorksOnTheSelectedTimeAndChannelsAndIsUndone)
{
    showWith(examples);
    open(2);
    const std::vector<float> before = samplesOf(*tabs().currentProject());
    action("selectselectall").trigger();
    ChannelsMode only = tabs().currentProject()->channelsMode;
    only.selected.clearBit(0);
    postEvent(nullptr, EventId::ChannelsModeChange, only, nullptr);
    action("minimalprocess").trigger();
    EXPECT_EQ(lastStep(), QStringLiteral("Invert"));
    const std::vector<float> after = samplesOf(*tabs().currentProject());
    ASSERT_EQ(after.size(), before.size());
    std::size_t wrong = 0;
    for (std::size_t i = 0; i < after.size(); ++i)
        wrong += after[i] != (i % 2 ? -before[i] : before[i]);
    EXPECT_EQ(wrong, 0U);
    action("editundo").trigger();
    EXPECT_TRUE(samplesOf(*tabs().currentProject()) == before);
}

TEST_F(ToolBarsTest, ToolsAreChosenByTheirKeys)
{
    qApp->setProperty("shortcuts",
                      QVariantHash{{QStringLiteral("toolsminimalselection"), QStringLiteral("K")}});
    showWith(examples);
    open();
    m_window->setFocus();
    const auto press = [this](Qt::Key key) {
        QTest::keyClick(m_window.get(), key);
        for (QToolButton* each : bars().tools()->buttons())
            if (each->isChecked())
                return each->accessibleName();
        return QString();
    };
    EXPECT_EQ(press(Qt::Key_H), QStringLiteral("Hand"));
    EXPECT_EQ(press(Qt::Key_Z), QStringLiteral("Zoom"));
    EXPECT_EQ(press(Qt::Key_P), QStringLiteral("Playback"));
    EXPECT_EQ(press(Qt::Key_D), QStringLiteral("3D Perspective"));
    EXPECT_EQ(press(Qt::Key_K), QStringLiteral("Minimal Selection"));
    EXPECT_EQ(press(Qt::Key_K), QStringLiteral("Minimal Selection")) << "a tool is not laid down by its key";
    EXPECT_EQ(button("Minimal Selection")->toolTip(), QStringLiteral("Minimal Selection (K)"));
    // The keys are shown at every mode, and answer also where the button itself has the focus.
    for (const QAction* action : button("Minimal Selection")->menu()->actions())
        EXPECT_EQ(action->shortcut(), QKeySequence(QStringLiteral("K")));
    press(Qt::Key_H);
    button("Minimal Selection")->setFocus();
    QTest::keyClick(button("Minimal Selection"), Qt::Key_K);
    EXPECT_TRUE(button("Minimal Selection")->isChecked());
    qApp->setProperty("shortcuts", QVariant());
}

TEST_F(ToolBarsTest, TheOptionsFollowTheTool)
{
    showWith(examples);
    EXPECT_TRUE(bars().page()->findChildren<QWidget*>().isEmpty());
    action("toolsplayback").trigger();
    const QList<QCheckBox*> boxes = bars().page()->findChildren<QCheckBox*>();
    ASSERT_EQ(boxes.size(), 2);
    const bool scrubs = qApp->property("playbackscrubbing").toBool();
    boxes[0]->click();
    EXPECT_EQ(qApp->property("playbackscrubbing").toBool(), !scrubs);
    boxes[0]->click();
    action("toolszoom").trigger();
    auto* modes = bars().page()->findChild<QComboBox*>();
    ASSERT_NE(modes, nullptr);
    modes->setFocus();
    QTest::keyClick(modes, Qt::Key_Down);
    EXPECT_EQ(qApp->property("zoommode").toInt(), 1);
    QTest::keyClick(modes, Qt::Key_Up);
    EXPECT_EQ(qApp->property("zoommode").toInt(), 0);
}

TEST_F(ToolBarsTest, TheChoiceIsThereAgainAtTheNextStart)
{
    showWith(examples);
    action("toolszoom").trigger();
    showWith(examples);
    EXPECT_TRUE(action("toolszoom").isChecked());
    mode(button("Minimal Selection"), "Minimal Addition")->trigger();
    EXPECT_EQ(UserSettings().value(QStringLiteral("defaulttoolplugin")).toString(),
              QStringLiteral("Minimal Selection"));
    showWith(examples);
    EXPECT_TRUE(button("Minimal Selection")->isChecked());
    EXPECT_EQ(button("Minimal Selection")->defaultAction()->text(), QStringLiteral("Minimal Addition"));
    showWith({}); // it is gone
    EXPECT_EQ(bars().group()->checkedAction(), nullptr);
}

TEST_F(ToolBarsTest, AViewThatIsMadeLaterKnowsTheTool)
{
    showWith(examples);
    action("toolshand").trigger();
    SpectralChannel* view = open();
    QTest::mouseMove(view, QPoint(50, 50));
    const QPoint at(60, 60);
    QMouseEvent move(QEvent::MouseMove, at, view->mapToGlobal(at), Qt::NoButton, Qt::NoButton, {});
    QApplication::sendEvent(view, &move);
    EXPECT_EQ(view->cursor().shape(), Qt::OpenHandCursor);
}

TEST_F(ToolBarsTest, BarsAreHiddenByTheViewMenuAndWalkedByArrows)
{
    showWith(examples);
    QMenu* toolbars = nullptr;
    for (const QAction* entry : menu("&View")->actions())
        if (entry->text() == QLatin1String("Toolbars"))
            toolbars = entry->menu();
    ASSERT_NE(toolbars, nullptr);
    QStringList titles;
    for (const QAction* entry : toolbars->actions())
        titles << entry->text();
    EXPECT_EQ(titles, (QStringList{"Edit", "Tool Settings", "Tools"}));
    const QList<QToolBar*> all{bars().edit(), bars().settings(), bars().tools()};
    for (int i = 0; i < all.size(); ++i) {
        toolbars->actions()[i]->trigger();
        EXPECT_FALSE(all[i]->isVisible()) << i;
        toolbars->actions()[i]->trigger();
        EXPECT_TRUE(all[i]->isVisible()) << i;
    }
    const QList<QToolButton*> buttons = bars().tools()->buttons();
    for (const QToolButton* each : buttons)
        EXPECT_FALSE(each->accessibleName().isEmpty() || each->toolTip().isEmpty());
    buttons[0]->setFocus();
    QTest::keyClick(buttons[0], Qt::Key_Down);
    EXPECT_EQ(QApplication::focusWidget(), buttons[1]);
    QTest::keyClick(buttons[1], Qt::Key_Space);
    EXPECT_TRUE(buttons[1]->isChecked());
    QTest::keyClick(buttons[1], Qt::Key_Up);
    EXPECT_EQ(QApplication::focusWidget(), buttons[0]);
}

TEST_F(ToolBarsTest, TheBarSwitchesBetweenOneLaneAndTwoAndRemembersIt)
{
    showWith(examples);
    QToolBarExt* bar = bars().tools();
    EXPECT_TRUE(bar->isExpanded());
    auto* lanes = bar->findChild<QToolButton*>(QStringLiteral("lanesswitch"));
    const int wide = bar->sizeHint().width();
    lanes->click();
    EXPECT_FALSE(bar->isExpanded());
    EXPECT_LT(bar->sizeHint().width(), wide);
    EXPECT_FALSE(qApp->property("toolbarexpanded").toBool());
    lanes->click();
    EXPECT_TRUE(qApp->property("toolbarexpanded").toBool());
}

TEST_F(ToolBarsTest, BrushKeysAreTold)
{
    showWith(examples);
    const struct
    {
        void (DataManager::*signal)();
        Qt::Key key;
        Qt::KeyboardModifiers modifiers;
    } rows[] = {
        {&DataManager::increaseBrushSize, Qt::Key_BracketRight, Qt::NoModifier},
        {&DataManager::decreaseBrushSize, Qt::Key_BracketLeft, Qt::NoModifier},
        {&DataManager::increaseBrushAspectRatio, Qt::Key_BraceRight, Qt::NoModifier},
        {&DataManager::decreaseBrushAspectRatio, Qt::Key_BraceLeft, Qt::NoModifier},
        {&DataManager::increaseBrushHardness, Qt::Key_BracketRight, Qt::AltModifier},
        {&DataManager::decreaseBrushHardness, Qt::Key_BracketLeft, Qt::AltModifier},
    };
    m_window->setFocus();
    for (const auto& row : rows) {
        QSignalSpy spy(&m_window->dataManager(), row.signal);
        QTest::keyClick(m_window.get(), row.key, row.modifiers);
        EXPECT_EQ(spy.count(), 1) << int(row.key);
    }
}

// --- plug-ins with faults --------------------------------------------------------------------------

TEST_F(ToolBarsTest, LevelsWithThreeNamesHasTheShortcutIdsLevelsLevels2AndLevels3)
{
    showWith({QStringLiteral("faultyprocess")});
    QStringList ids, texts;
    for (const QAction* action : menu("&Process")->actions()) {
        ids << action->property("shortcutid").toString();
        texts << action->text();
        EXPECT_EQ(m_window->actionTable().action(ids.last()), action);
        EXPECT_FALSE(action->isEnabled()) << "no project is open";
    }
    EXPECT_EQ(ids, (QStringList{"levels", "levels2", "levels3"}));
    EXPECT_EQ(texts, (QStringList{"Normalize", "Gain && Fade", "Third"}));
}

TEST_F(ToolBarsTest, AToolThatThrowsWhileTheWindowIsBuiltIsLeftOutByName)
{
    for (const char* fault : {"description", "groupName", "toolButton", "optionsWidget"}) {
        qApp->setProperty("fault", QString::fromLatin1(fault));
        testsupport::expectWarning(QStringLiteral("thrown in %1").arg(QLatin1String(fault)));
        showWith({QStringLiteral("faultytool"), QStringLiteral("minimaltool")});
        EXPECT_EQ(button("Faulty Tool"), nullptr) << fault;
        EXPECT_NE(button("Minimal Selection"), nullptr) << fault;
    }
    for (const char* fault : {"no button", "bare button"}) {
        qApp->setProperty("fault", QString::fromLatin1(fault));
        testsupport::expectWarning(QStringLiteral("FaultyTool is left out: it has no button with an action"));
        showWith({QStringLiteral("faultytool"), QStringLiteral("minimaltool")});
        EXPECT_EQ(button("Faulty Tool"), nullptr) << fault;
    }
    qApp->setProperty("fault", QStringLiteral("refuse"));
    showWith({QStringLiteral("faultytool"), QStringLiteral("minimaltool")});
    EXPECT_EQ(button("Faulty Tool"), nullptr) << "refused without a word";
}

TEST_F(ToolBarsTest, AToolThatThrowsWhenItIsChosenIsLaidDown)
{
    showWith({QStringLiteral("minimaltool"), QStringLiteral("faultytool")});
    open();
    for (const char* fault : {"activate", "contextChanged"}) {
        qApp->setProperty("fault", QString::fromLatin1(fault));
        testsupport::expectWarning(QStringLiteral("thrown in %1").arg(QLatin1String(fault)));
        button("Faulty Tool")->click();
        display().moveRight(); // somebody changes the context
        EXPECT_TRUE(testsupport::waitFor([&] { return !button("Faulty Tool")->isChecked(); })) << fault;
    }
    qApp->setProperty("fault", QVariant());
    button("Faulty Tool")->click();
    qApp->setProperty("fault", QStringLiteral("deactivate"));
    testsupport::expectWarning(QStringLiteral("thrown in deactivate"));
    button("Minimal Selection")->click();
    EXPECT_TRUE(button("Minimal Selection")->isChecked());
}

TEST_F(ToolBarsTest, AToolThatThrowsAtWorkIsToldInABoxAndLaidDown)
{
    showWith({QStringLiteral("faultytool")});
    SpectralChannel* view = open();
    qApp->setProperty("fault", QStringLiteral("execute"));
    testsupport::expectWarning(QStringLiteral("tool Faulty Tool failed: thrown in execute"));
    drag(view, 0.3, 0.4);
    ASSERT_TRUE(testsupport::waitFor([&] { return !m_boxes.empty(); }));
    EXPECT_EQ(m_boxes[0].text, QStringLiteral("Faulty Tool has failed. What it did was taken back."));
    EXPECT_FALSE(button("Faulty Tool")->isChecked());
}

TEST_F(ToolBarsTest, AProcessThatThrowsIsLeftOutOrTakenBack)
{
    for (const char* fault : {"process description", "menuName", "processNames"}) {
        qApp->setProperty("fault", QString::fromLatin1(fault));
        testsupport::expectWarning(QStringLiteral("thrown in %1").arg(QLatin1String(fault)));
        showWith({QStringLiteral("faultyprocess")});
        EXPECT_TRUE(menu("&Process")->isEmpty()) << fault;
    }
    qApp->setProperty("fault", QStringLiteral("process execute"));
    showWith({QStringLiteral("faultyprocess")});
    open();
    const std::vector<float> before = samplesOf(*tabs().currentProject());
    testsupport::expectWarning(QStringLiteral("process Normalize failed: thrown in process execute"));
    action("levels").trigger();
    EXPECT_TRUE(samplesOf(*tabs().currentProject()) == before);
    ASSERT_TRUE(testsupport::waitFor([&] { return !m_boxes.empty(); }));
    EXPECT_EQ(m_boxes[0].title, QStringLiteral("Process Failed"));
    qApp->setProperty("fault", QVariant());
    action("levels2").trigger();
    EXPECT_EQ(lastStep(), QStringLiteral("Gain & Fade"));
}

// --- signals of plug-ins ---------------------------------------------------------------------------

TEST_F(ToolBarsTest, ARequestOfTheActiveToolIsAnsweredAndThatOfAnotherIsNot)
{
    showWith({QStringLiteral("faultytool"), QStringLiteral("minimaltool")});
    open();
    qApp->setProperty("fault", QStringLiteral("request"));
    qApp->setProperty("toolflags", QVariant());
    display().moveRight();
    EXPECT_TRUE(testsupport::waitFor([] { return qApp->property("toolflags").toUInt() == ToolRequested; }));
    button("Minimal Selection")->click();
    qApp->setProperty("toolflags", QVariant());
    auto* tool = button("Faulty Tool")->property("tool").value<QObject*>();
    EXPECT_TRUE(QMetaObject::invokeMethod(tool, "requestMouseEvent"));
    QCoreApplication::processEvents();
    EXPECT_FALSE(qApp->property("toolflags").isValid());
}

TEST_F(ToolBarsTest, APreviewOfAProcessIsSeenBeforeItEnds)
{
    struct Ear : IEvent
    {
        Ear() : IEvent(QStringLiteral("Ear")) {}
        void layerEvent(EventId id, const ILayerPtr&) override
        {
            updates += id == EventId::LayerContentUpdate;
        }
        void historyRecordEvent(EventId, const HistoryEntry&) override { atRecord = updates; }
        int updates = 0;
        int atRecord = 0;
    };
    showWith({QStringLiteral("faultyprocess")});
    open();
    Ear ear;
    action("levels").trigger();
    EXPECT_EQ(ear.atRecord, 1);
    ear.updates = 0;
    qApp->setProperty("fault", QStringLiteral("preview"));
    action("levels").trigger();
    EXPECT_EQ(ear.atRecord, 2) << "once for the preview and once for the end";
}
