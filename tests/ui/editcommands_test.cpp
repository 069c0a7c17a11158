// The commands of the menus Edit and Select in the window.
#include "editing/datamanager.h"
#include "ui/historypanel.h"
#include "ui/panelstest.h"

#include <QMenu>
#include <QMenuBar>

namespace {

const auto* const environment = testing::AddGlobalTestEnvironment(new WindowEnvironment);

class EditCommands : public PanelsTest
{
protected:
    void select(double start, double length, double low, double high)
    {
        Selection selection;
        QPainterPath path;
        path.addRect(start, low, length, high - low);
        selection.add(path, 0, 0, false);
        postEvent(nullptr, EventId::SelectionChange, selection, nullptr);
    }
    QString lastStep() { return front()->history().value(front()->historyIndex()).name; }
    QMenu* menu(const char* title)
    {
        for (QAction* entry : m_window->menuBar()->actions())
            if (entry->text() == QLatin1String(title))
                return entry->menu();
        return nullptr;
    }
    static QStringList entries(const QMenu& menu)
    {
        QStringList out;
        for (const QAction* entry : menu.actions())
            out << (entry->isSeparator() ? QStringLiteral("-") : entry->text());
        return out;
    }
    std::vector<float> samples()
    {
        std::vector<float> out(std::size_t(front()->activeLayer()->range().length));
        front()->activeLayer()->read(out.data(), front()->activeLayer()->range(), 0, true);
        return out;
    }
};

TEST_F(EditCommands, TheMenusHaveTheirEntriesInOrder)
{
    ASSERT_NE(menu("&Edit"), nullptr);
    EXPECT_EQ(entries(*menu("&Edit")), (QStringList{"&Undo", "&Redo", "-", "Cu&t", "Cut to Ne&w Layer",
                                                    "&Copy", "Copy from &All Layers", "Copy to Ne&w Layer",
                                                    "&Paste", "Paste to &New Layer", "-", "&Delete"}));
    ASSERT_NE(menu("Select"), nullptr);
    EXPECT_EQ(entries(*menu("Select")), (QStringList{"Select All", "Deselect", "Reselect", "Invert Selection",
                                                     "Invert Selection Frequencies", "Modify Selection", "-",
                                                     "Load Selection...", "Save Selection..."}));
    EXPECT_EQ(entries(*menu("Select")->actions().at(5)->menu()),
              (QStringList{"Expand...", "Contract...", "Fade..."}));
}

TEST_F(EditCommands, EachKeyDoesItsCommandAndUndoTakesItBack)
{
    struct Row
    {
        Qt::Key key;
        Qt::KeyboardModifiers modifiers;
        const char* step;
    };
    const auto ctrl = Qt::ControlModifier;
    const auto shift = Qt::ControlModifier | Qt::ShiftModifier;
    const Row rows[] = {
        {Qt::Key_X, ctrl, "Cut"},
        {Qt::Key_X, shift, "Cut to New"},
        {Qt::Key_C, ctrl, "Copy"},
        {Qt::Key_C, shift, "Copy From All"},
        {Qt::Key_C, ctrl | Qt::AltModifier, "Copy to New"},
        {Qt::Key_V, ctrl, "Paste"},
        {Qt::Key_V, shift, "Paste To New"},
        {Qt::Key_Backspace, Qt::NoModifier, "Delete"},
        {Qt::Key_Delete, Qt::NoModifier, "Delete"},
        {Qt::Key_A, ctrl, "Select All"},
        {Qt::Key_D, ctrl, "Deselect"},
        {Qt::Key_D, shift, "Reselect"},
        {Qt::Key_I, ctrl, "Invert Selection"},
        {Qt::Key_I, shift, "Invert Selection Frequencies"},
    };
    openTone("tone.wav");
    const auto before = samples();
    QTest::keyClick(m_window.get(), Qt::Key_A, ctrl); // so that there is something to reselect
    for (const Row& row : rows) {
        SCOPED_TRACE(row.step);
        while (m_window->historyPanel().history().canUndo())
            m_window->historyPanel().undo();
        select(2000, 4000, 500, 1500);
        m_window->dataManager().copy();
        QTest::keyClick(m_window.get(), row.key, row.modifiers);
        EXPECT_EQ(lastStep(), QString::fromLatin1(row.step));
        QTest::keyClick(m_window.get(), Qt::Key_Z, ctrl);
        EXPECT_EQ(lastStep(), QStringLiteral("Copy"));
        EXPECT_EQ(front()->layers()->children(ChildrenAll).size(), 1);
    }
    while (m_window->historyPanel().history().canUndo())
        m_window->historyPanel().undo();
    EXPECT_EQ(samples(), before);
}

TEST_F(EditCommands, CutDeselectPasteUndoAndRedoByKeysOnTheRecordingInFront)
{
    openTone("tone.wav");
    const auto before = samples();
    select(2000, 4000, 500, 1500);
    QTest::keyClick(m_window.get(), Qt::Key_X, Qt::ControlModifier);
    const auto cut = samples();
    EXPECT_LT(std::abs(*std::max_element(cut.begin() + 3000, cut.begin() + 5000)), 1e-4f);
    QTest::keyClick(m_window.get(), Qt::Key_D, Qt::ControlModifier);
    QTest::keyClick(m_window.get(), Qt::Key_V, Qt::ControlModifier);
    const auto pasted = samples();
    ASSERT_EQ(pasted.size(), before.size());
    for (std::size_t i = 0; i < before.size(); ++i)
        ASSERT_NEAR(pasted[i], before[i], 1e-6f) << i;
    EXPECT_TRUE(front()->modified);
    for (int i = 0; i < 3; ++i)
        QTest::keyClick(m_window.get(), Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(samples(), before);
    for (int i = 0; i < 3; ++i)
        QTest::keyClick(m_window.get(), Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(samples(), pasted);
}

TEST_F(EditCommands, EntriesAreEnabledWhileThereIsWhatTheyWorkOn)
{
    const QStringList onSelection{"editcut",      "editcutnew",     "editcopy",       "editcopyall",
                                  "editcopynew",  "editdel",        "selectdeselect", "selectinvertfreq",
                                  "selectexpand", "selectcontract", "selectfade",     "selectsave"};
    const auto expectEnabled = [&](const QStringList& ids, bool enabled) {
        for (const QString& id : ids)
            EXPECT_EQ(action(qPrintable(id)).isEnabled(), enabled) << id.toStdString();
    };
    const QStringList all = onSelection + QStringList{"editpaste",    "editpastenew",   "selectselectall",
                                                      "selectinvert", "selectreselect", "selectload"};
    expectEnabled(all, false);
    openTone("tone.wav");
    expectEnabled(onSelection, false);
    expectEnabled({"selectselectall", "selectinvert"}, true);
    expectEnabled({"editpaste", "editpastenew", "selectreselect", "selectload"}, false);
    action("selectselectall").trigger();
    expectEnabled(onSelection, true);
    expectEnabled({"selectreselect"}, true);
    action("editcopy").trigger();
    expectEnabled({"editpaste", "editpastenew"}, true);
    action("selectdeselect").trigger();
    expectEnabled(onSelection, false);
    ASSERT_TRUE(tabs().close(0, true));
    expectEnabled(all, false);
    openTone("other.wav");
    expectEnabled({"editpaste", "editpastenew"}, true);
    expectEnabled({"selectreselect"}, false);
}

} // namespace
