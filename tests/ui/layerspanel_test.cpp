// The layers of a project: commands, moves and the place in the mix.
#include "ui/layerspanel.h"

#include "editing/datamanager.h"
#include "ui/historypanel.h"
#include "ui/panelstest.h"
#include "ui/widgets/qcolorpicker.h"
#include "ui/widgets/qlineeditext.h"
#include "ui/widgets/qlistwidgetext.h"

#include <QInputDialog>
#include <QMenu>
#include <QMenuBar>
#include <QScrollBar>

namespace {

const auto* const environment = testing::AddGlobalTestEnvironment(new WindowEnvironment);

class LayersPanelTest : public PanelsTest
{
protected:
    void TearDown() override
    {
        qApp->setProperty("externalmanagement", {});
        PanelsTest::TearDown();
    }
    LayersPanel& panel() { return m_window->layersPanel(); }
    QListWidgetExt& list() { return *panel().findChild<QListWidgetExt*>(); }
    LayerRoot root() { return front()->root(); }
    LayerGroupPtr tree() { return front()->layers(); }
    ILayerPtr active() { return front()->activeLayer(); }
    ILayerPtr layer(const char* name)
    {
        for (const ILayerPtr& layer : tree()->children(ChildrenAll))
            if (layer->name() == QLatin1String(name))
                return layer;
        ADD_FAILURE() << "no layer " << name;
        std::abort();
    }
    // "a (b c) d": names, the children of a group behind it.
    QString shape() { return shapeOf(*tree()); }
    static QString shapeOf(const ILayer& group)
    {
        QStringList parts;
        for (const ILayerPtr& child : group.children(ChildrenDirect))
            parts << (child->type() == LayerTypeGroup ? child->name() + " (" + shapeOf(*child) + ")"
                                                      : child->name());
        return parts.join(' ');
    }
    void settle()
    {
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    QStringList rows()
    {
        settle();
        QStringList names;
        for (int i = 0; i < list().count(); ++i)
            names << list().itemWidget(list().item(i))->findChild<QLineEdit*>("layername")->text();
        return names;
    }
    // A control in the row of a layer, by the words of its tool tip before the name.
    QWidget& control(const char* words, const char* name)
    {
        settle();
        const QString tip = QString::fromLatin1(words) + ' ' + QLatin1String(name);
        for (QWidget* widget : list().findChildren<QWidget*>())
            if (widget->toolTip() == tip)
                return *widget;
        ADD_FAILURE() << "no " << tip.toStdString();
        std::abort();
    }
    QStringList states()
    {
        QStringList names;
        for (const HistoryEntry& entry : front()->history())
            names << entry.name;
        return names;
    }
    void activate(const char* name)
    {
        const ILayerPtr wanted = layer(name);
        postEvent(nullptr, EventId::LayerActivate, wanted, nullptr);
    }
    void rename(const ILayerPtr& layer, const char* name)
    {
        layer->setName(name);
        postEvent(nullptr, EventId::LayerPropertiesChange, layer, nullptr);
    }
    // Layers a to d of one second, from the top; d holds a tone, the others a constant.
    void openLayers(const char* names = "abcd")
    {
        for (const char* other : {"DisplayPanel", "HistoryPanel", "ChannelsPanel"})
            dock(other).setUnrolled(false);
        openTone("tone.wav");
        rename(active(), qPrintable(QString(names[qstrlen(names) - 1])));
        for (int i = int(qstrlen(names)) - 2; i >= 0; --i) {
            panel().newLayer();
            rename(active(), qPrintable(QString(names[i])));
            write(active(), 0.125f * float(i + 1));
        }
        front()->resetHistory("New");
        postEvent(nullptr, EventId::HistoryListChange, front()->history(), nullptr);
        postEvent(nullptr, EventId::HistoryActivate, int32_t(0), nullptr);
        ASSERT_EQ(states(), QStringList{"New"});
    }
    // The command recorded one step of that name, and undo and redo give back tree and samples of
    // before and after it.
    void expectStep(const char* name, const QString& before, const std::vector<float>& samples)
    {
        const QString after = shape();
        const std::vector<float> samplesAfter = samplesOf(*front());
        EXPECT_EQ(states(), (QStringList{"New", name}));
        EXPECT_FALSE(front()->history().last().icon.isNull());
        m_window->historyPanel().undo();
        EXPECT_EQ(shape(), before);
        EXPECT_TRUE(samplesOf(*front()) == samples);
        EXPECT_EQ(rows().size(), tree()->children(ChildrenOpen).size());
        m_window->historyPanel().redo();
        EXPECT_EQ(shape(), after);
        EXPECT_TRUE(samplesOf(*front()) == samplesAfter);
        m_window->historyPanel().undo();
    }
    // Beside all rows.
    QPoint below()
    {
        const QPoint point = list().viewport()->rect().bottomLeft() - QPoint(-4, 2);
        EXPECT_EQ(list().itemAt(point), nullptr);
        return point;
    }
    void dropOn(int row, double place)
    {
        const QRect rect = list().visualItemRect(list().item(row));
        list().dropAt({rect.center().x(), rect.top() + int(place * rect.height())});
    }
};

// --- rows -------------------------------------------------------------------------------------------

TEST_F(LayersPanelTest, ARowForEachLayerDownToTheClosedGroups)
{
    EXPECT_FALSE(panel().isEnabled());
    openLayers("abc");
    EXPECT_TRUE(panel().isEnabled());
    EXPECT_EQ(rows(), (QStringList{"a", "b", "c"}));
    EXPECT_EQ(list().currentRow(), 0);
    activate("b");
    panel().group();
    EXPECT_EQ(rows(), (QStringList{"a", "Group 1", "b", "c"}));
    control("Open or Close", "Group 1").setFocus();
    click(control("Open or Close", "Group 1"));
    EXPECT_EQ(rows(), (QStringList{"a", "Group 1", "c"}));
    EXPECT_FALSE(layer("Group 1")->isOpen());
    EXPECT_EQ(dock("LayersPanel").windowTitle(), QStringLiteral("Layers"));
}

TEST_F(LayersPanelTest, AClickOnARowMakesItsLayerActive)
{
    openLayers("abc");
    clickRow(list(), 2);
    EXPECT_EQ(active(), layer("c"));
    EXPECT_EQ(list().itemWidget(list().item(2))->objectName(), QStringLiteral("activeitem"));
    EXPECT_EQ(list().itemWidget(list().item(0))->objectName(), QStringLiteral("item"));
    EXPECT_EQ(states().size(), 1);
    // Below all rows: the active one stays.
    QTest::mouseClick(list().viewport(), Qt::LeftButton, {}, below());
    EXPECT_EQ(active(), layer("c"));
    EXPECT_EQ(list().currentRow(), 2);
}

TEST_F(LayersPanelTest, KeysActivateTheRowAboveAndBelow)
{
    openLayers("abc");
    m_window->setFocus();
    QTest::keyClick(m_window.get(), Qt::Key_Down);
    EXPECT_EQ(active(), layer("b"));
    QTest::keyClick(m_window.get(), Qt::Key_Down);
    QTest::keyClick(m_window.get(), Qt::Key_Down);
    EXPECT_EQ(active(), layer("c"));
    QTest::keyClick(m_window.get(), Qt::Key_Up);
    EXPECT_EQ(active(), layer("b"));
    panel().activateAbove();
    panel().activateAbove();
    EXPECT_EQ(active(), layer("a"));
}

TEST_F(LayersPanelTest, ARebuildKeepsTheScrollPositionAndTheActiveRow)
{
    openLayers("abcdefghijkl");
    activate("h");
    settle();
    list().verticalScrollBar()->setValue(100);
    ASSERT_EQ(list().verticalScrollBar()->value(), 100);
    postEvent(nullptr, EventId::LayerRootChange, front()->root(), nullptr);
    settle();
    EXPECT_EQ(list().verticalScrollBar()->value(), 100);
    EXPECT_EQ(list().currentRow(), 7);
}

// --- new, delete, duplicate -------------------------------------------------------------------------

TEST_F(LayersPanelTest, NewLayerStandsAboveTheActiveOneWithItsDefaults)
{
    openLayers("ab");
    activate("b");
    const std::vector<float> samples = samplesOf(*front());
    QTest::keyClick(m_window.get(), Qt::Key_N, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(shape(), QStringLiteral("a Layer 1 b"));
    const ILayerPtr added = layer("Layer 1");
    EXPECT_EQ(active(), added);
    EXPECT_EQ(added->format(), front()->format());
    EXPECT_TRUE(added->enabled());
    EXPECT_EQ(added->multiplier(), 1.0f);
    EXPECT_EQ(added->color(), 0xffffffffu);
    expectStep("New Layer", "a b", samples);
}

TEST_F(LayersPanelTest, TheNamesLayer2AndLayer9xGiveTheNextDefaultNameLayer10)
{
    openLayers("abc");
    rename(layer("a"), "Layer 2");
    rename(layer("b"), "layer 9x");
    rename(layer("c"), "Layered 50");
    panel().newLayer();
    EXPECT_EQ(active()->name(), QStringLiteral("Layer 10"));
    panel().newGroup();
    EXPECT_EQ(active()->name(), QStringLiteral("Group 1"));
}

TEST_F(LayersPanelTest, NewGroup)
{
    openLayers("ab");
    const std::vector<float> samples = samplesOf(*front());
    click(button(panel(), "New Group"));
    EXPECT_EQ(shape(), QStringLiteral("Group 1 () a b"));
    expectStep("New Group", "a b", samples);
}

TEST_F(LayersPanelTest, DeletingTheLastLayerGivesTheWarningAndLeavesTheHistoryUnchanged)
{
    openLayers("a");
    DialogScript script;
    script.box("Last Layer", QStringLiteral("You can't delete the last layer."), QMessageBox::Ok);
    click(button(panel(), "Delete Layer"));
    EXPECT_TRUE(script.isDone());
    EXPECT_EQ(shape(), QStringLiteral("a"));
    EXPECT_EQ(states().size(), 1);
}

TEST_F(LayersPanelTest, DeleteMakesTheNeighbourActive)
{
    openLayers("abc");
    const std::vector<float> samples = samplesOf(*front());
    activate("b");
    action("layerdelete").trigger();
    EXPECT_EQ(shape(), QStringLiteral("a c"));
    EXPECT_EQ(active(), layer("c"));
    expectStep("Delete Layer", "a b c", samples);
}

TEST_F(LayersPanelTest, DeleteOfAGroupTakesItsLayersWithIt)
{
    openLayers("abc");
    const std::vector<float> samples = samplesOf(*front());
    activate("a");
    panel().group();
    front()->resetHistory("New");
    postEvent(nullptr, EventId::HistoryListChange, front()->history(), nullptr);
    panel().deleteActive();
    EXPECT_EQ(shape(), QStringLiteral("b c"));
    expectStep("Delete Group", "Group 1 (a) b c", samples);
}

TEST_F(LayersPanelTest, DuplicateCopiesSamplesAndProperties)
{
    openLayers("ab");
    const std::vector<float> samples = samplesOf(*front());
    layer("a")->setMultiplier(0.5f);
    layer("a")->setMultiplier(1.0f);
    QTest::keyClick(m_window.get(), Qt::Key_J, Qt::ControlModifier);
    EXPECT_EQ(shape(), QStringLiteral("a (copy) a b"));
    const Range range = layer("a")->range();
    EXPECT_EQ(layer("a (copy)")->range(), range);
    std::vector<float> one(std::size_t(range.length)), two(one);
    layer("a")->read(one.data(), range, -1, true);
    layer("a (copy)")->read(two.data(), range, -1, true);
    EXPECT_TRUE(one == two);
    expectStep("Duplicate Layer", "a b", samples);
}

// --- groups, merges ---------------------------------------------------------------------------------

TEST_F(LayersPanelTest, GroupAndUngroupKeepOrderAndSound)
{
    openLayers("abc");
    const std::vector<float> samples = samplesOf(*front());
    activate("b");
    action("layergroup").trigger();
    EXPECT_EQ(shape(), QStringLiteral("a Group 1 (b) c"));
    EXPECT_TRUE(samplesOf(*front()) == samples);
    EXPECT_TRUE(action("layerungroup").isEnabled());
    expectStep("Group", "a b c", samples);
    activate("b");
    EXPECT_FALSE(action("layerungroup").isEnabled());
    panel().group();
    action("layerungroup").trigger();
    EXPECT_EQ(shape(), QStringLiteral("a b c"));
    EXPECT_EQ(states(), (QStringList{"New", "Group", "Ungroup"}));
    m_window->historyPanel().undo();
    EXPECT_EQ(shape(), QStringLiteral("a Group 1 (b) c"));
}

TEST_F(LayersPanelTest, MergeDownTakesTheLayerBelow)
{
    openLayers("abc");
    const std::vector<float> samples = samplesOf(*front());
    activate("c");
    EXPECT_FALSE(action("layermergedown").isEnabled());
    activate("a");
    QTest::keyClick(m_window.get(), Qt::Key_E, Qt::ControlModifier);
    EXPECT_EQ(shape(), QStringLiteral("a c"));
    EXPECT_TRUE(samplesOf(*front()) == samples);
    expectStep("Merge Down", "a b c", samples);
}

TEST_F(LayersPanelTest, MergeGroupMakesOneLayerOfTheChildren)
{
    openLayers("abc");
    activate("b");
    panel().group();
    panel().newLayer();
    activate("Layer 1");
    const ILayerPtr inside = layer("b");
    activate("Group 1");
    EXPECT_EQ(action("layermergedown").text(), QStringLiteral("&Merge Group"));
    front()->resetHistory("New");
    postEvent(nullptr, EventId::HistoryListChange, front()->history(), nullptr);
    const QString before = shape();
    const std::vector<float> samples = samplesOf(*front());
    action("layermergedown").trigger();
    EXPECT_TRUE(samplesOf(*front()) == samples);
    EXPECT_EQ(layer("Group 1")->children(ChildrenDirect).size(), 1);
    EXPECT_NE(layer("Group 1")->children(ChildrenDirect)[0], inside);
    expectStep("Merge Group", before, samples);
}

TEST_F(LayersPanelTest, MergeVisibleLeavesMutedLayers)
{
    openLayers("abc");
    click(control("Mute", "b"));
    const std::vector<float> samples = samplesOf(*front());
    QTest::keyClick(m_window.get(), Qt::Key_E, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(shape(), QStringLiteral("a b"));
    EXPECT_TRUE(samplesOf(*front()) == samples);
    expectStep("Merge Visible", "a b c", samples);
}

TEST_F(LayersPanelTest, MergeAllMakesOneLayer)
{
    openLayers("abc");
    const std::vector<float> samples = samplesOf(*front());
    action("layermergeall").trigger();
    EXPECT_EQ(shape(), QStringLiteral("a"));
    EXPECT_TRUE(samplesOf(*front()) == samples);
    expectStep("Merge All", "a b c", samples);
}

// --- moves ------------------------------------------------------------------------------------------

TEST_F(LayersPanelTest, ADropBetweenRowsMovesTheLayerThere)
{
    openLayers("abc");
    const std::vector<float> samples = samplesOf(*front());
    activate("a");
    dropOn(1, 0.9);
    EXPECT_EQ(shape(), QStringLiteral("b a c"));
    EXPECT_EQ(active(), layer("a"));
    expectStep("Move Layer", "a b c", samples);
}

TEST_F(LayersPanelTest, ADropBelowAllRowsMovesToTheEndAndOneInPlaceIsNoStep)
{
    openLayers("abc");
    activate("a");
    list().dropAt(below());
    EXPECT_EQ(shape(), QStringLiteral("b c a"));
    settle();
    dropOn(2, 0.1);
    dropOn(2, 0.9);
    EXPECT_EQ(shape(), QStringLiteral("b c a"));
    EXPECT_EQ(states().size(), 2);
}

TEST_F(LayersPanelTest, ADropOnAnOpenGroupGoesIntoItAndNeverIntoItself)
{
    openLayers("abc");
    activate("b");
    panel().group();
    activate("a");
    settle();
    dropOn(1, 0.5);
    EXPECT_EQ(shape(), QStringLiteral("Group 1 (a b) c"));
    EXPECT_EQ(states().last(), QStringLiteral("Move Layer"));
    const int count = states().size();
    activate("Group 1");
    settle();
    dropOn(1, 0.9); // between its own children
    EXPECT_EQ(shape(), QStringLiteral("Group 1 (a b) c"));
    EXPECT_EQ(states().size(), count);
    list().dropAt(below());
    EXPECT_EQ(shape(), QStringLiteral("c Group 1 (a b)"));
    EXPECT_EQ(states().last(), QStringLiteral("Move Group"));
}

TEST_F(LayersPanelTest, KeysOfTheListMoveLayersAndOpenGroups)
{
    openLayers("abc");
    activate("b");
    panel().group();
    activate("b");
    list().setFocus();
    QTest::keyClick(&list(), Qt::Key_Up, Qt::ControlModifier);
    EXPECT_EQ(shape(), QStringLiteral("a b Group 1 () c"));
    QTest::keyClick(&list(), Qt::Key_Up, Qt::ControlModifier);
    EXPECT_EQ(shape(), QStringLiteral("b a Group 1 () c"));
    QTest::keyClick(&list(), Qt::Key_Up, Qt::ControlModifier);
    QTest::keyClick(&list(), Qt::Key_Down, Qt::ControlModifier);
    EXPECT_EQ(shape(), QStringLiteral("a b Group 1 () c"));
    activate("Group 1");
    QTest::keyClick(&list(), Qt::Key_Left);
    EXPECT_FALSE(active()->isOpen());
    QTest::keyClick(&list(), Qt::Key_Right);
    EXPECT_TRUE(active()->isOpen());
}

// --- properties -------------------------------------------------------------------------------------

TEST_F(LayersPanelTest, ControlsOfARowWriteToTheLayerAtOnceAndAreNoSteps)
{
    openLayers("ab");
    click(control("Mute", "b"));
    EXPECT_FALSE(layer("b")->enabled());
    EXPECT_EQ(active(), layer("b"));
    click(control("Solo", "b"));
    EXPECT_TRUE(layer("b")->solo());
    click(control("Invert the Phase of", "b"));
    EXPECT_EQ(layer("b")->polarity(), -1);
    auto& volume = dynamic_cast<QLineEditExt&>(control("Volume of", "b"));
    volume.setText(QStringLiteral("-6"));
    volume.applyText();
    EXPECT_NEAR(layer("b")->multiplier(), std::pow(10, -0.3), 1e-6);
    volume.setText(QStringLiteral("-inf"));
    volume.applyText();
    EXPECT_EQ(layer("b")->multiplier(), 0.0f);
    auto& color = dynamic_cast<QColorPicker&>(control("Color of", "b"));
    EXPECT_EQ(color.objectName(), QStringLiteral("layernocolor"));
    color.menu()->actions().first()->trigger();
    EXPECT_EQ(layer("b")->color(), color.color());
    EXPECT_EQ(color.objectName(), QStringLiteral("layercolor"));
    EXPECT_EQ(states(), QStringList{"New"});
}

TEST_F(LayersPanelTest, KeysMuteAndSoloTheActiveLayer)
{
    openLayers("ab");
    m_window->setFocus();
    QTest::keyClick(m_window.get(), Qt::Key_M, Qt::ShiftModifier);
    EXPECT_FALSE(layer("a")->enabled());
    EXPECT_TRUE(button(panel(), "Mute the Active Layer").isChecked());
    QTest::keyClick(m_window.get(), Qt::Key_S, Qt::ShiftModifier);
    EXPECT_TRUE(layer("a")->solo());
    click(button(panel(), "Mute the Active Layer"));
    click(button(panel(), "Solo the Active Layer"));
    EXPECT_TRUE(layer("a")->enabled());
    EXPECT_FALSE(layer("a")->solo());
}

TEST_F(LayersPanelTest, RenameByDialogAndInTheRow)
{
    openLayers("ab");
    DialogScript script;
    script.on("Rename Layer", [](QDialog& dialog) {
        auto& input = dynamic_cast<QInputDialog&>(dialog);
        EXPECT_EQ(input.labelText(), QStringLiteral("New name:"));
        EXPECT_EQ(input.textValue(), QStringLiteral("a"));
        input.setTextValue(QStringLiteral("first"));
        input.accept();
    });
    action("layerrename").trigger();
    EXPECT_EQ(rows(), (QStringList{"first", "b"}));
    auto& name = dynamic_cast<QLineEdit&>(control("Name of", "b"));
    name.setFocus();
    name.selectAll();
    QTest::keyClicks(&name, QStringLiteral("second"));
    QTest::keyClick(&name, Qt::Key_Return);
    EXPECT_EQ(shape(), QStringLiteral("first second"));
    EXPECT_EQ(rows(), (QStringList{"first", "second"}));
}

TEST_F(LayersPanelTest, ANameOfNothingIsNotTaken)
{
    openLayers("ab");
    auto& name = dynamic_cast<QLineEdit&>(control("Name of", "b"));
    name.setFocus();
    name.selectAll();
    QTest::keyClick(&name, Qt::Key_Delete);
    QTest::keyClick(&name, Qt::Key_Return);
    EXPECT_EQ(shape(), QStringLiteral("a b"));
}

TEST_F(LayersPanelTest, TargetButtonDimsTheOtherLayers)
{
    openLayers("ab");
    click(button(panel(), "Target Active Layer Color"));
    EXPECT_TRUE(front()->display.targetActive);
    postEvent(nullptr, EventId::DisplayTargetActiveEnable, false, nullptr);
    EXPECT_FALSE(button(panel(), "Target Active Layer Color").isChecked());
}

TEST_F(LayersPanelTest, ZoomToFitShowsTheSpanOfTheActiveLayer)
{
    openLayers("ab");
    panel().zoom();
    EXPECT_EQ(front()->display.displayArea, (Area{0, 0, 1000, 8000}));
    activate("b");
    panel().zoom();
    EXPECT_EQ(front()->display.displayArea, (Area{0, 0, 16000, 8000}));
}

// --- menus, host ------------------------------------------------------------------------------------

TEST_F(LayersPanelTest, ContextMenuHasOnlyWhatCanBeDone)
{
    openLayers("ab");
    const auto texts = [this] {
        QStringList result;
        const std::unique_ptr<QMenu> menu = panel().makeContextMenu();
        for (const QAction* entry : menu->actions())
            result << entry->text();
        return result;
    };
    EXPECT_EQ(texts(), (QStringList{"Duplicate", "Delete", "Rename", "Zoom To Fit", "Merge Down",
                                    "Merge Visible", "Merge All", "Group", "New Layer", "New Group"}));
    activate("b");
    EXPECT_FALSE(texts().contains(QStringLiteral("Merge Down")));
    panel().group();
    EXPECT_TRUE(texts().contains(QStringLiteral("&Merge Group")));
    EXPECT_TRUE(texts().contains(QStringLiteral("Ungroup")));
}

TEST_F(LayersPanelTest, UnderExternalManagementNewLayerDoesNothingAndShowsNothing)
{
    openLayers("ab");
    qApp->setProperty("externalmanagement", true);
    activate("a");
    const DialogScript script; // no box
    panel().newLayer();
    panel().newGroup();
    panel().duplicateActive();
    panel().deleteActive();
    panel().mergeAll();
    dropOn(1, 0.9);
    EXPECT_EQ(shape(), QStringLiteral("a b"));
    EXPECT_EQ(states().size(), 1);
    for (const char* tip : {"New Layer", "New Group", "Delete Layer"})
        EXPECT_FALSE(button(panel(), tip).isEnabled()) << tip;
    EXPECT_FALSE(action("layerduplicate").isEnabled());
}

TEST_F(LayersPanelTest, WithoutAProjectCommandsDoNothing)
{
    const DialogScript script;
    panel().newLayer();
    panel().newGroup();
    panel().deleteActive();
    panel().duplicateActive();
    panel().group();
    panel().ungroup();
    panel().mergeDownActive();
    panel().mergeVisible();
    panel().mergeAll();
    panel().moveUp();
    panel().moveDown();
    panel().rename();
    panel().zoom();
    panel().mute();
    panel().solo();
    panel().activateAbove();
    panel().activateBelow();
    EXPECT_EQ(list().count(), 0);
    EXPECT_FALSE(action("layernewlayer").isEnabled());
}

TEST_F(LayersPanelTest, CompactLayoutLeavesThePicturesOut)
{
    openLayers("ab");
    panel().setCompact(true);
    settle();
    EXPECT_EQ(list().objectName(), QStringLiteral("layercompact"));
    for (const QWidget* widget : list().findChildren<QWidget*>())
        EXPECT_FALSE(widget->toolTip().startsWith("Open or Close")) << widget->toolTip().toStdString();
    panel().setCompact(false);
    settle();
    EXPECT_EQ(list().objectName(), QStringLiteral("layer"));
    control("Open or Close", "a");
}

TEST_F(LayersPanelTest, EveryControlHasANameAToolTipAndAPlaceInTheTabOrder)
{
    openLayers("ab");
    settle();
    EXPECT_EQ(checkControls(panel()), 1 + 2 * 7 + 7);
}

TEST_F(LayersPanelTest, KeysOfAFieldStayWithTheField)
{
    openLayers("ab");
    auto& volume = dynamic_cast<QLineEditExt&>(control("Volume of", "a"));
    volume.setFocus();
    QTest::keyClick(&volume, Qt::Key_Down);
    EXPECT_EQ(active(), layer("a"));
    EXPECT_NEAR(layer("a")->multiplier(), std::pow(10, -0.025), 1e-6);
}

TEST_F(LayersPanelTest, ALongMergeOrDuplicateShowsItsProgressAndACancelLeavesEverythingAsItWas)
{
    openLayers("ab");
    panel().setPatience(0);
    const QString before = shape();
    const auto sampleFiles = [this] { return QDir(m_session).entryList({"*.pcm"}); };
    const QStringList files = sampleFiles();
    const int states = front()->history().size();
    for (const char* id : {"layerduplicate", "layermergedown", "layermergevisible", "layermergeall"}) {
        SCOPED_TRACE(id);
        // Nothing else begins meanwhile.
        const ProgressCanceller canceller([this] { action("layernewlayer").trigger(); });
        action(id).trigger();
        ASSERT_EQ(canceller.labels().size(), 1);
        EXPECT_TRUE(canceller.labels().first().endsWith("...")) << canceller.labels().first().toStdString();
        EXPECT_EQ(shape(), before);
        EXPECT_EQ(front()->history().size(), states);
        EXPECT_EQ(sampleFiles(), files);
        EXPECT_FALSE(m_window->dataManager().isBusy());
    }
    panel().setPatience(100000);
    action("layermergeall").trigger();
    EXPECT_EQ(tree()->children(ChildrenAll).size(), 1);
}

} // namespace
