// Undo and redo through the window.
#include "ui/historypanel.h"

#include "ui/panelstest.h"

#include <csignal>
#include <sys/resource.h>

#include <QMenu>
#include <QMenuBar>
#include <QPainterPath>

namespace {

const auto* const environment = testing::AddGlobalTestEnvironment(new WindowEnvironment);

class HistoryPanelTest : public PanelsTest
{
protected:
    void TearDown() override
    {
        qApp->setProperty("history", m_limit);
        PanelsTest::TearDown();
    }
    HistoryPanel& panel() { return m_window->historyPanel(); }
    QListWidget& list() { return *panel().findChild<QListWidget*>(); }
    QStringList rows()
    {
        QStringList names;
        for (int i = 0; i < list().count(); ++i)
            names << list().item(i)->text();
        return names;
    }
    void openWithEdits(int edits)
    {
        openTone("tone.wav");
        m_states = {samplesOf(*front())};
        for (int i = 1; i <= edits; ++i) {
            write(front()->activeLayer(), 0.1f * float(i), qPrintable(QStringLiteral("Edit %1").arg(i)));
            m_states.push_back(samplesOf(*front()));
        }
    }
    // The row shown, the project's own, the samples, and what can be done next.
    void expectState(int row)
    {
        EXPECT_EQ(list().currentRow(), row);
        EXPECT_EQ(front()->historyIndex(), row);
        EXPECT_TRUE(samplesOf(*front()) == m_states[std::size_t(row)]) << row;
        EXPECT_EQ(action("editundo").isEnabled(), row > 0);
        EXPECT_EQ(action("editredo").isEnabled(), row + 1 < list().count());
        EXPECT_EQ(button(panel(), "Undo").isEnabled(), row > 0);
        EXPECT_EQ(button(panel(), "Redo").isEnabled(), row + 1 < list().count());
    }

    std::vector<std::vector<float>> m_states;
    QVariant m_limit = qApp->property("history");
};

TEST_F(HistoryPanelTest, EachRecordedEditIsARowAndTheCurrentOne)
{
    EXPECT_FALSE(panel().isEnabled());
    openWithEdits(2);
    EXPECT_TRUE(panel().isEnabled());
    EXPECT_EQ(rows(), (QStringList{"Import", "Edit 1", "Edit 2"}));
    EXPECT_FALSE(list().item(1)->icon().isNull());
    EXPECT_TRUE(front()->modified);
    expectState(2);
    EXPECT_EQ(dock("HistoryPanel").windowTitle(), QStringLiteral("History"));
}

TEST_F(HistoryPanelTest, KeysUndoAndRedoToTheSamplesOfEachState)
{
    openWithEdits(3);
    for (int row = 2; row >= 0; --row) {
        QTest::keyClick(m_window.get(), Qt::Key_Z, Qt::ControlModifier);
        expectState(row);
    }
    for (int row = 1; row <= 3; ++row) {
        QTest::keyClick(m_window.get(), Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
        expectState(row);
    }
}

TEST_F(HistoryPanelTest, ButtonsUndoAndRedo)
{
    openWithEdits(2);
    click(button(panel(), "Undo"));
    expectState(1);
    click(button(panel(), "Undo"));
    expectState(0);
    click(button(panel(), "Redo"));
    expectState(1);
}

TEST_F(HistoryPanelTest, MenuEntriesUndoAndRedo)
{
    openWithEdits(1);
    QMenu* menu = nullptr;
    for (QAction* entry : m_window->menuBar()->actions())
        if (entry->text() == QLatin1String("&Edit"))
            menu = entry->menu();
    ASSERT_NE(menu, nullptr);
    EXPECT_EQ(menu->actions().value(0), &action("editundo"));
    EXPECT_EQ(menu->actions().value(1), &action("editredo"));
    EXPECT_EQ(action("editundo").text(), QStringLiteral("&Undo"));
    EXPECT_EQ(action("editredo").text(), QStringLiteral("&Redo"));
    action("editundo").trigger();
    expectState(0);
    action("editredo").trigger();
    expectState(1);
}

TEST_F(HistoryPanelTest, RepeatedUndoAtRow0DoesNothingAndTheButtonIsOff)
{
    openWithEdits(1);
    panel().undo();
    expectState(0);
    panel().undo();
    panel().undo();
    expectState(0);
    EXPECT_EQ(rows().size(), 2);
}

TEST_F(HistoryPanelTest, ClickOnARowGoesThereInBothDirections)
{
    openWithEdits(4);
    for (const int row : {1, 3, 0, 4, 2}) {
        clickRow(list(), row);
        expectState(row);
        ASSERT_EQ(list().selectedItems().size(), 1);
        EXPECT_EQ(list().row(list().selectedItems()[0]), row);
    }
}

TEST_F(HistoryPanelTest, ArrowKeysInTheListGoFromStateToState)
{
    openWithEdits(2);
    list().setFocus();
    QTest::keyClick(&list(), Qt::Key_Up);
    expectState(1);
    QTest::keyClick(&list(), Qt::Key_Home);
    expectState(0);
    QTest::keyClick(&list(), Qt::Key_End);
    expectState(2);
}

TEST_F(HistoryPanelTest, StatesThatARedoWouldBringBackAreGrey)
{
    openWithEdits(2);
    panel().undo();
    const auto color = [this](int row) { return list().item(row)->foreground().color(); };
    EXPECT_EQ(color(0), color(1));
    EXPECT_NE(color(1), color(2));
    panel().redo();
    EXPECT_EQ(color(1), color(2));
}

TEST_F(HistoryPanelTest, RecordingAtTheLimitDropsTheOldestStateAndKeepsTheCount)
{
    qApp->setProperty("history", 3);
    openWithEdits(4);
    EXPECT_EQ(rows(), (QStringList{"Edit 2", "Edit 3", "Edit 4"}));
    m_states.erase(m_states.begin(), m_states.begin() + 2);
    expectState(2);
    clickRow(list(), 0);
    expectState(0);
}

TEST_F(HistoryPanelTest, RecordingAfterUndoRemovesTheRedoStatesAndTheirFiles)
{
    openTone("tone.wav");
    const ILayerPtr layer = front()->activeLayer();
    write(layer, 0.2f, "first");
    const int files = sessionFiles().size();
    write(layer, 0.3f, "second");
    EXPECT_GT(sessionFiles().size(), files);
    panel().undo();
    write(layer, 0.4f, "third");
    const int after = sessionFiles().size();
    panel().undo();
    write(layer, 0.4f, "fourth");
    EXPECT_EQ(rows(), (QStringList{"Import", "first", "fourth"}));
    EXPECT_FALSE(action("editredo").isEnabled());
    EXPECT_TRUE(testsupport::waitFor([&] { return sessionFiles().size() <= after; }));
}

// A layer with an edit that is not recorded would be brought back to its state; so this one has none.
TEST_F(HistoryPanelTest, UndoOfASelectionLeavesAllLayersUntouchedAndTellsTheSelection)
{
    struct Listener : IEvent
    {
        Listener() : IEvent(QStringLiteral("Listener")) {}
        void layerEvent(EventId id, const ILayerPtr&) override
        {
            contents += id == EventId::LayerContentUpdate;
        }
        void selectionEvent(EventId, const Selection& selection) override
        {
            selections << selection.isEmpty();
        }
        int contents = 0;
        QList<bool> selections;
    };
    openTone("tone.wav");
    const int64_t stamp = front()->activeLayer()->contentTime();
    QPainterPath path;
    path.addRect(1000, 500, 2000, 1000);
    const Selection selection(path);
    postEvent(nullptr, EventId::SelectionChange, selection, nullptr);
    record("Select All");
    ASSERT_FALSE(front()->selection.isEmpty());
    Listener listener;
    panel().undo();
    EXPECT_EQ(listener.selections, (QList<bool>{true}));
    EXPECT_EQ(listener.contents, 0);
    EXPECT_EQ(front()->activeLayer()->contentTime(), stamp);
    EXPECT_TRUE(front()->selection.isEmpty());
    panel().redo();
    EXPECT_FALSE(front()->selection.isEmpty());
}

TEST_F(HistoryPanelTest, DeleteUndoesTheCurrentStateAndRemovesItWithAllAfter)
{
    openWithEdits(4);
    clickRow(list(), 2);
    click(button(panel(), "Delete Current State And After"));
    EXPECT_EQ(rows(), (QStringList{"Import", "Edit 1"}));
    expectState(1);
    EXPECT_EQ(front()->history().size(), 2);
}

TEST_F(HistoryPanelTest, DeleteAtTheFirstStateKeepsItAndRemovesAllAfter)
{
    openWithEdits(2);
    clickRow(list(), 0);
    click(button(panel(), "Delete Current State And After"));
    EXPECT_EQ(rows(), (QStringList{"Import"}));
    expectState(0);
}

TEST_F(HistoryPanelTest, DeleteOfTheOnlyStateIsRefused)
{
    openWithEdits(0);
    DialogScript script;
    script.box("Cannot Delete First State", QStringLiteral("Cannot delete the first state."),
               QMessageBox::Ok);
    click(button(panel(), "Delete Current State And After"));
    EXPECT_TRUE(script.isDone());
    EXPECT_EQ(rows(), (QStringList{"Import"}));
    EXPECT_FALSE(front()->modified);
}

TEST_F(HistoryPanelTest, DuplicateMakesANewTabOfTheCurrentStateWithoutUndo)
{
    openWithEdits(2);
    panel().undo();
    click(button(panel(), "Duplicate Project From Current State"));
    ASSERT_EQ(tabs().count(), 2);
    EXPECT_EQ(front()->name, QStringLiteral("tone.wav (copy)"));
    EXPECT_EQ(rows(), (QStringList{"Duplicate"}));
    EXPECT_TRUE(samplesOf(*front()) == m_states[1]);
    EXPECT_FALSE(action("editundo").isEnabled());
}

TEST_F(HistoryPanelTest, StatesSurviveAChangeOfTabs)
{
    openWithEdits(3);
    panel().undo();
    openTone("other.wav");
    EXPECT_EQ(rows(), (QStringList{"Import"}));
    tabs().setCurrentIndex(0);
    EXPECT_EQ(rows(), (QStringList{"Import", "Edit 1", "Edit 2", "Edit 3"}));
    expectState(2);
    panel().undo();
    expectState(1);
    panel().redo();
    panel().redo();
    expectState(3);
}

TEST_F(HistoryPanelTest, AFormatChangeClearsUndo)
{
    openWithEdits(2);
    DialogScript script;
    script.on("Change Format", [](QDialog& dialog) {
        setRate(dialog, 8000);
        DialogScript::press(dialog, "Format");
    });
    script.box("Format Change", QStringLiteral("Are you sure (you can't undo this action) ?"),
               QMessageBox::Yes);
    EXPECT_TRUE(tabs().changeFormat());
    EXPECT_EQ(rows().size(), 1);
    EXPECT_FALSE(action("editundo").isEnabled());
}

TEST_F(HistoryPanelTest, WithoutAProjectThePanelIsEmptyAndOff)
{
    openWithEdits(1);
    tabs().close(0, true);
    EXPECT_EQ(list().count(), 0);
    EXPECT_FALSE(panel().isEnabled());
    EXPECT_FALSE(action("editundo").isEnabled());
    EXPECT_FALSE(action("editredo").isEnabled());
    EXPECT_TRUE(testsupport::waitFor([this] { return sessionFiles().isEmpty(); }));
}

TEST_F(HistoryPanelTest, AnActionWithoutRoomIsTakenBackAndToldWithFolderAndCause)
{
    openWithEdits(1);
    DialogScript script;
    script.box("History", QStringLiteral("The last action could not be stored and was taken back."),
               QMessageBox::Ok, m_session);
    const auto old = std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    rlimit none = limit;
    none.rlim_cur = 16384;
    const std::vector<float> samples(1000, 0.7f);
    const ILayerPtr layer = front()->activeLayer();
    setrlimit(RLIMIT_FSIZE, &none);
    layer->write(samples.data(), {100000, 1000}, 0, true);
    postEvent(nullptr, EventId::LayerContentUpdate, layer, nullptr);
    record("Too Long");
    setrlimit(RLIMIT_FSIZE, &limit);
    std::signal(SIGXFSZ, old);
    EXPECT_TRUE(testsupport::waitFor([&] { return script.isDone() && !QApplication::activeModalWidget(); }));
    EXPECT_EQ(rows(), (QStringList{"Import", "Edit 1"}));
    expectState(1);
}

TEST_F(HistoryPanelTest, EveryControlHasANameAToolTipAndAPlaceInTheTabOrder)
{
    EXPECT_EQ(checkControls(panel()), 5);
}

} // namespace
