// Commands on the selection as a whole.
#include "editing/editsession.h"

#include "ui/dialogscript.h"

#include <QInputDialog>
#include <QLabel>
#include <QSpinBox>

using namespace modeltest;

namespace {

const auto* const environment = testing::AddGlobalTestEnvironment(new GuiEnvironment);

float weightAt(const Selection& selection, double x, double y)
{
    Matrix weight(1, 1);
    selection.rasterize(weight, {x - 1, y - 1, 2, 2});
    return weight.data[0];
}

} // namespace

TEST(SelectionCommands, SelectAllTakesTheWholeProjectAndDeselectTakesItAway)
{
    EditSession session;
    session.begin(noise(20000, 1), 1000);
    QList<bool> told;
    QObject::connect(&session.data, &DataManager::selectionEnabled, [&](bool on) { told << on; });
    session.data.selectAll();
    EXPECT_EQ(session.selection().bounds().x, 1000);
    EXPECT_EQ(session.selection().bounds().width, 20000);
    EXPECT_EQ(session.selection().bounds().height, 8000);
    EXPECT_EQ(session.project().selection.fingerprint(), session.selection().fingerprint());
    session.data.deselect();
    EXPECT_TRUE(session.selection().isEmpty());
    EXPECT_EQ(told, (QList<bool>{true, false}));
    session.data.deselect();
    EXPECT_EQ(session.rows(), (QStringList{"New", "Select All", "Deselect"}));
    session.history.undo();
    EXPECT_FALSE(session.selection().isEmpty());
    session.history.undo();
    EXPECT_TRUE(session.selection().isEmpty());
}

TEST(SelectionCommands, ReselectAfterDeselectRestoresTheLastSelection)
{
    EditSession session;
    session.begin(noise(20000, 1));
    bool enabled = false;
    QObject::connect(&session.data, &DataManager::selectionBackupEnabled, [&](bool on) { enabled = on; });
    session.data.reselect();
    EXPECT_EQ(session.rows(), QStringList("New")) << "nothing was ever selected";
    session.data.selectAll();
    EXPECT_TRUE(enabled);
    const uint32_t all = session.selection().fingerprint();
    session.data.deselect();
    session.data.reselect();
    EXPECT_EQ(session.selection().fingerprint(), all);
    EXPECT_EQ(session.rows(), (QStringList{"New", "Select All", "Deselect", "Reselect"}));
}

TEST(SelectionCommands, InvertTakesTheRestOfTheProjectAndAllWhenNothingIsSelected)
{
    EditSession session;
    session.begin(noise(20000, 1));
    session.select(5000, 5000, 1000, 3000);
    session.data.invertSelection();
    EXPECT_EQ(session.lastStep(), QStringLiteral("Invert Selection"));
    EXPECT_FALSE(session.selection().contains({7000, 2000}));
    EXPECT_TRUE(session.selection().contains({7000, 5000}));
    EXPECT_TRUE(session.selection().contains({2000, 2000}));
    session.select(Selection());
    session.data.invertSelection();
    EXPECT_EQ(session.selection().bounds(), session.tree()->area());
}

TEST(SelectionCommands, InvertFrequenciesSwapsThemInsideTheSelectedTimeSpan)
{
    EditSession session;
    session.begin(noise(20000, 1));
    session.select(5000, 5000, 1000, 3000);
    session.data.invertSelectionFreq();
    EXPECT_EQ(session.lastStep(), QStringLiteral("Invert Selection Frequencies"));
    const Selection& now = session.selection();
    EXPECT_EQ(now.range(), (Range{5000, 5000}));
    EXPECT_FALSE(now.contains({7000, 2000}));
    EXPECT_TRUE(now.contains({7000, 500}));
    EXPECT_TRUE(now.contains({7000, 7000}));
    EXPECT_FALSE(now.contains({2000, 7000}));
    session.data.invertSelectionFreq();
    EXPECT_TRUE(session.selection().contains({7000, 2000}));
    EXPECT_FALSE(session.selection().contains({7000, 500}));
    session.select(Selection());
    session.data.invertSelectionFreq();
    EXPECT_TRUE(session.selection().isEmpty());
}

TEST(SelectionCommands, ExpandContractFadeAndContrastAskInPixelsAndPercent)
{
    struct Form
    {
        bool expand, fade;
        const char* title;
        const char* horizontal;
        const char* vertical;
    };
    for (const Form& form :
         {Form{true, false, "Expand Selection", "Expand Horizontally:", "Expand Vertically:"},
          Form{false, false, "Contract Selection", "Contract Horizontally:", "Contract Vertically:"},
          Form{true, true, "Fade Selection", "Fade Horizontally:", "Fade Vertically:"},
          Form{false, true, "Contrast Selection", "Contrast Horizontally:", "Contrast Vertically:"}}) {
        SCOPED_TRACE(form.title);
        EditSession session;
        session.begin(noise(40000, 1));
        session.select(10000, 20000, 2000, 6000, form.fade && !form.expand ? 2000 : 0, 0);
        const bool percent = form.fade && !form.expand;
        DialogScript script;
        script.on(form.title, [&](QDialog& dialog) {
            QStringList labels;
            for (const QLabel* label : dialog.findChildren<QLabel*>())
                labels << label->text();
            EXPECT_EQ(labels, (QStringList{form.horizontal, form.vertical}));
            for (QDoubleSpinBox* field : dialog.findChildren<QDoubleSpinBox*>()) {
                EXPECT_EQ(field->value(), percent ? 50 : 5);
                EXPECT_EQ(field->singleStep(), percent ? 2 : 1);
                EXPECT_EQ(field->suffix(), percent ? " %" : " pixels");
                EXPECT_EQ(field->minimum(), 0);
                EXPECT_EQ(field->maximum(), 100);
                EXPECT_EQ(field->decimals(), 0);
            }
            const auto fields = dialog.findChildren<QDoubleSpinBox*>();
            fields[0]->setValue(10);
            fields[1]->setValue(20);
            DialogScript::press(dialog, "OK");
        });
        session.data.modifySelection(form.expand, form.fade);
        EXPECT_EQ(session.lastStep(), QString::fromLatin1(form.title));
        // 10 frames of 64 samples, 20 bins of 15.625 Hz.
        Selection expected;
        expected.add(selectiontest::rectangle(10000, 2000, 20000, 4000), form.fade && !form.expand ? 2000 : 0,
                     0, false);
        if (percent)
            expected.contrast(10, 20);
        else if (form.fade)
            expected.fade(640, 312.5);
        else if (form.expand)
            expected.expand(640, 312.5);
        else
            expected.contract(640, 312.5);
        EXPECT_EQ(session.selection().fingerprint(), expected.fingerprint());
    }
}

TEST(SelectionCommands, ZeroPixelsAndACancelRecordNothing)
{
    EditSession session;
    session.begin(noise(20000, 1));
    session.select(5000, 5000, 1000, 3000);
    for (const bool accept : {true, false}) {
        DialogScript script;
        script.on("Expand Selection", [&](QDialog& dialog) {
            for (QDoubleSpinBox* field : dialog.findChildren<QDoubleSpinBox*>())
                field->setValue(accept ? 0 : 9);
            DialogScript::press(dialog, accept ? "OK" : "Cancel");
        });
        session.data.expandSelection();
    }
    EXPECT_EQ(session.rows(), QStringList("New"));
}

TEST(SelectionCommands, ModifyingNothingIsToldAndAnEmptyProjectIsSilent)
{
    EditSession session;
    session.data.expandSelection();
    EXPECT_EQ(session.boxes.words(), QStringList());
    session.begin(noise(20000, 1));
    session.data.expandSelection();
    session.data.contractSelection();
    session.data.fadeSelection();
    session.data.saveSelection();
    session.data.loadSelection();
    EXPECT_EQ(session.boxes.words(),
              (QStringList{"No Selection|Select something first.", "No Selection|Select something first.",
                           "No Selection|Select something first.", "No Selection|Select something first.",
                           "No Selection|No selection saved."}));
}

TEST(SelectionCommands, SavingTwiceUnderOneNameKeepsTheSecondAndLoadBringsItBack)
{
    EditSession session;
    session.begin(noise(20000, 1));
    QList<bool> told;
    QObject::connect(&session.data, &DataManager::selectionLoadEnabled, [&](bool on) { told << on; });
    const auto save = [&](const char* name) {
        DialogScript script;
        script.on("Save Selection", [&](QDialog& dialog) {
            auto& input = dynamic_cast<QInputDialog&>(dialog);
            EXPECT_EQ(input.labelText(), QStringLiteral("Name of the selection:"));
            EXPECT_EQ(input.textValue(), QStringLiteral("New Selection"));
            input.setTextValue(QString::fromLatin1(name));
            DialogScript::press(dialog, "OK");
        });
        session.data.saveSelection();
    };
    session.select(5000, 5000, 1000, 3000);
    save("b");
    save("a");
    session.select(6000, 5000, 1000, 3000);
    const uint32_t second = session.selection().fingerprint();
    save("a");
    EXPECT_EQ(session.rows(), QStringList("New"));
    EXPECT_EQ(told, (QList<bool>{true, true, true}));
    session.select(Selection());
    DialogScript script;
    script.on("Load Selection", [&](QDialog& dialog) {
        auto& input = dynamic_cast<QInputDialog&>(dialog);
        EXPECT_EQ(input.comboBoxItems(), (QStringList{"a", "b"}));
        EXPECT_EQ(input.textValue(), QStringLiteral("a"));
        EXPECT_FALSE(input.isComboBoxEditable());
        DialogScript::press(dialog, "OK");
    });
    session.data.loadSelection();
    EXPECT_EQ(session.selection().fingerprint(), second);
    EXPECT_EQ(session.rows(), (QStringList{"New", "Load Selection"}));
}

TEST(SelectionCommands, SavedSelectionsAndTheLastOneBelongToTheirProject)
{
    EditSession session;
    session.begin(noise(20000, 1));
    session.data.selectAll();
    const ProjectPtr first = session.owner.project;
    QList<bool> told;
    QObject::connect(&session.data, &DataManager::selectionBackupEnabled, [&](bool on) { told << on; });
    session.owner.project = std::make_shared<Project>(realFormat());
    session.owner.project->resetHistory("New");
    session.post();
    session.data.reselect();
    EXPECT_TRUE(session.selection().isEmpty());
    session.owner.project = first;
    session.post();
    EXPECT_EQ(told.first(), false);
    EXPECT_EQ(told.last(), true);
    session.select(Selection());
    session.data.reselect();
    EXPECT_FALSE(session.selection().isEmpty());
    EXPECT_GT(weightAt(session.selection(), 5000, 2000), 0.99f);
}
