// The dialogs about formats and channels, with mouse and keys.
#include "plugins/hosttable.h"
#include "projectfiles/boxes.h"
#include "projectfiles/channelmappingdialog.h"
#include "projectfiles/formatdialog.h"
#include "projectfiles/hostservices.h"
#include "projectfiles/remixerdialog.h"
#include "support/testsupport.h"
#include "ui/dialogscript.h"
#include "ui/guienvironment.h"

#include <gtest/gtest.h>

#include <QComboBox>
#include <QDialogButtonBox>
#include <QDoubleSpinBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QTableView>

#include <cmath>

namespace {

const auto* const environment = testing::AddGlobalTestEnvironment(new GuiEnvironment);

constexpr SamplingFormat stereo{SampleTypeReal, 44100, ChannelsTypeAudio, 2, 3};
using Purpose = FormatDialog::Purpose;

// Shown and active, so that keys reach it.
void open(QDialog& dialog)
{
    dialog.show();
    QApplication::setActiveWindow(&dialog);
    ASSERT_TRUE(testsupport::waitFor([&dialog] { return dialog.isActiveWindow(); }));
}

void choose(FormatDialog& dialog, const char* name)
{
    auto* box = dialog.findChild<QComboBox*>(QStringLiteral("formatconfiguration"));
    const int index = box->findText(QString::fromLatin1(name));
    ASSERT_GE(index, 0) << name;
    box->setFocus();
    while (box->currentIndex() != index)
        QTest::keyClick(box, box->currentIndex() < index ? Qt::Key_Down : Qt::Key_Up);
}

bool isOkEnabled(const QDialog& dialog)
{
    return dialog.findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok)->isEnabled();
}

QSpinBox& countOf(FormatDialog& dialog)
{
    return *dialog.findChild<QSpinBox*>(QStringLiteral("formatchannels"));
}

QString configurationOf(const FormatDialog& dialog)
{
    return dialog.findChild<QComboBox*>(QStringLiteral("formatconfiguration"))->currentText();
}

class FormatDialogs : public testing::Test
{
protected:
    void SetUp() override
    {
        set("maxsamplerate", QStringLiteral("192000"));
        set("maxchannels", QStringLiteral("8"));
    }
    static void set(const char* key, const QVariant& value) { qApp->setProperty(key, value); }
    // Every field has a name for those who do not see its label, and a label with a key of its own.
    static void expectReachable(const QDialog& dialog)
    {
        QStringList keys;
        for (QLabel* label : dialog.findChildren<QLabel*>()) {
            const int mark = label->text().indexOf(QLatin1Char('&'));
            if (!label->buddy())
                continue;
            ASSERT_GE(mark, 0) << label->text().toStdString();
            keys << label->text().mid(mark + 1, 1).toLower();
            EXPECT_FALSE(label->buddy()->accessibleName().isEmpty()) << label->text().toStdString();
            EXPECT_NE(label->buddy()->focusPolicy(), Qt::NoFocus);
        }
        EXPECT_FALSE(keys.isEmpty());
        EXPECT_EQ(keys.removeDuplicates(), 0) << keys.join(' ').toStdString();
    }

    Boxes boxes;
};

TEST_F(FormatDialogs, ANewProjectIsAskedForLengthRateAndChannels)
{
    FormatDialog dialog(Purpose::NewProject, stereo, 10, nullptr);
    open(dialog);
    EXPECT_EQ(dialog.windowTitle(), QStringLiteral("New Project"));
    EXPECT_EQ(dialog.format(), stereo);
    EXPECT_EQ(dialog.length(), 441000);
    EXPECT_FALSE(dialog.isReinterpret());
    EXPECT_EQ(dialog.findChild<QComboBox*>(QStringLiteral("formatmode")), nullptr);
    QStringList labels;
    for (QLabel* label : dialog.findChildren<QLabel*>())
        labels << label->text().remove(QLatin1Char('&'));
    for (const char* label : {"Length:", "Sample Rate:", "Configuration:", "Channels:"})
        EXPECT_TRUE(labels.contains(QLatin1String(label))) << label;
    expectReachable(dialog);

    // By keys alone: the length, by its mnemonic the rate, then Enter.
    QTest::keyClicks(QApplication::focusWidget(), QStringLiteral("2.5"));
    QTest::keyClick(&dialog, Qt::Key_S, Qt::AltModifier);
    auto* rate = dialog.findChild<QDoubleSpinBox*>(QStringLiteral("formatrate"));
    EXPECT_EQ(rate->text(), QStringLiteral("44100 Hz"));
    ASSERT_TRUE(rate->hasFocus());
    QTest::keyClicks(rate, QStringLiteral("48000"));
    QTest::keyClick(rate, Qt::Key_Return);
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
    EXPECT_EQ(dialog.format().sampleRate, 48000);
    EXPECT_EQ(dialog.length(), 120000);
}

TEST_F(FormatDialogs, EscapeCancels)
{
    FormatDialog dialog(Purpose::ChangeFormat, stereo, 0, nullptr);
    open(dialog);
    dialog.setResult(QDialog::Accepted);
    QTest::keyClick(&dialog, Qt::Key_Escape);
    EXPECT_EQ(dialog.result(), QDialog::Rejected);
    EXPECT_FALSE(dialog.isVisible());
}

TEST_F(FormatDialogs, LimitsOfTheProgramHoldInTheFields)
{
    FormatDialog dialog(Purpose::NewProject, stereo, 1, nullptr);
    auto* rate = dialog.findChild<QDoubleSpinBox*>(QStringLiteral("formatrate"));
    EXPECT_EQ(rate->maximum(), 192000);
    EXPECT_EQ(countOf(dialog).maximum(), 8);
    EXPECT_EQ(countOf(dialog).minimum(), 1);
    auto* configuration = dialog.findChild<QComboBox*>(QStringLiteral("formatconfiguration"));
    EXPECT_GE(configuration->findText(QStringLiteral("7.1")), 0);
    EXPECT_LT(configuration->findText(QStringLiteral("7.0.2")), 0); // nine channels
}

TEST_F(FormatDialogs, AFormatBeyondTheLimitsCanBeKept)
{
    set("maxchannels", 1);
    set("maxsamplerate", 8000);
    const SamplingFormat odd{SampleTypeReal, 44100.25, ChannelsTypeAudio, 2, 0x21};
    FormatDialog dialog(Purpose::ChangeFormat, odd, 0, nullptr);
    EXPECT_EQ(dialog.format(), odd);
    EXPECT_EQ(configurationOf(dialog), QStringLiteral("Custom"));
}

TEST_F(FormatDialogs, EveryConfigurationBringsItsMaskAndItsCount)
{
    set("maxchannels", 12);
    const struct
    {
        const char* name;
        int channels;
        uint64_t mask;
    } rows[] = {
        {"Mono", 1, 4},        {"Stereo", 2, 3},      {"LRC", 3, 7},
        {"LRCS", 4, 263},      {"Quadro", 4, 51},     {"5.0", 5, 1543},
        {"5.1", 6, 1551},      {"6.0", 6, 1799},      {"6.1", 7, 1807},
        {"7.0 SDDS", 7, 1735}, {"7.1 SDDS", 8, 1743}, {"7.0", 7, 1591},
        {"7.1", 8, 1599},      {"7.0.2", 9, 22071},   {"7.1.2", 10, 22079},
        {"7.0.4", 11, 185911}, {"7.1.4", 12, 185919}, {"9.1.2", 12, 22079 | (uint64_t(3) << 31)},
    };
    FormatDialog dialog(Purpose::NewProject, stereo, 1, nullptr);
    open(dialog);
    for (const auto& row : rows) {
        choose(dialog, row.name);
        EXPECT_EQ(dialog.format().channelsMask, row.mask) << row.name;
        EXPECT_EQ(dialog.format().channels, row.channels) << row.name;
        EXPECT_EQ(countOf(dialog).value(), row.channels) << row.name;
        EXPECT_EQ(configurationOf(dialog), QLatin1String(row.name));
    }
}

TEST_F(FormatDialogs, ACountTakesTheUsualLayout)
{
    FormatDialog dialog(Purpose::NewProject, stereo, 1, nullptr);
    countOf(dialog).setValue(6);
    EXPECT_EQ(configurationOf(dialog), QStringLiteral("5.1"));
    EXPECT_EQ(dialog.format().channelsMask, 1551u);
    countOf(dialog).setValue(4);
    EXPECT_EQ(configurationOf(dialog), QStringLiteral("Quadro"));
    EXPECT_FALSE(dialog.isCustom());
    open(dialog);
    choose(dialog, "Custom");
    EXPECT_TRUE(dialog.isCustom());
    countOf(dialog).setValue(5);
    EXPECT_EQ(configurationOf(dialog), QStringLiteral("Custom"));
    EXPECT_EQ(dialog.format().channels, 5);
}

TEST_F(FormatDialogs, EcgOffersLeadsAndGenericSignalsCounts)
{
    set("maxchannels", 12);
    FormatDialog ecg(Purpose::NewProject, {SampleTypeReal, 1000, ChannelsTypeEcg, 1, 1}, 1, nullptr);
    auto* leads = ecg.findChild<QComboBox*>(QStringLiteral("formatconfiguration"));
    QStringList names;
    for (int i = 0; i < leads->count(); ++i)
        names << leads->itemText(i);
    EXPECT_EQ(names, (QStringList{QStringLiteral("3 Leads"), QStringLiteral("6 Leads"),
                                  QStringLiteral("12 Leads"), QStringLiteral("Custom")}));
    EXPECT_EQ(configurationOf(ecg), QStringLiteral("Custom")); // one lead alone
    countOf(ecg).setValue(12);
    EXPECT_EQ(configurationOf(ecg), QStringLiteral("12 Leads"));
    EXPECT_EQ(ecg.format().channelsMask, 4095u);

    set("maxchannels", 64);
    FormatDialog radio(Purpose::NewProject, {SampleTypeComplex, 1e6, ChannelsTypeGeneric, 1, 1}, 1, nullptr);
    EXPECT_EQ(configurationOf(radio), QStringLiteral("1 Channels"));
    countOf(radio).setValue(64);
    EXPECT_EQ(configurationOf(radio), QStringLiteral("64 Channels"));
    EXPECT_EQ(radio.format().channelsMask, ~uint64_t(0));
    EXPECT_EQ(radio.format().sampleType, SampleTypeComplex);
}

TEST_F(FormatDialogs, ReinterpretWithAnotherChannelCountIsRefused)
{
    FormatDialog dialog(Purpose::ChangeFormat, stereo, 0, nullptr);
    open(dialog);
    EXPECT_EQ(dialog.windowTitle(), QStringLiteral("Change Format"));
    expectReachable(dialog);
    auto* mode = dialog.findChild<QComboBox*>(QStringLiteral("formatmode"));
    EXPECT_EQ(mode->itemText(0), QStringLiteral("Resample"));
    EXPECT_EQ(mode->itemText(1), QStringLiteral("Reinterpret"));
    QTest::keyClick(mode, Qt::Key_Down);
    EXPECT_TRUE(dialog.isReinterpret());
    countOf(dialog).setValue(3);
    DialogScript::press(dialog, "Format");
    EXPECT_EQ(boxes.words(),
              QStringList(QStringLiteral("Incorrect Channel Count|You cannot change the number of channels "
                                         "in reinterpret mode.")));
    EXPECT_TRUE(dialog.isVisible());
    countOf(dialog).setValue(2);
    DialogScript::press(dialog, "Format");
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
    EXPECT_EQ(boxes.list.size(), 1);
}

TEST_F(FormatDialogs, SenselessLimitsAreMadeSensible)
{
    for (const char* rate : {"", "nan", "-1", "inf"}) {
        set("maxsamplerate", QString::fromLatin1(rate));
        EXPECT_GE(FormatLimits::current().sampleRate, 1) << rate;
        EXPECT_LE(FormatLimits::current().sampleRate, 1e13) << rate;
    }
    set("maxchannels", 1000000);
    EXPECT_EQ(FormatLimits::current().channels, 64);
    set("maxchannels", -3);
    EXPECT_EQ(FormatLimits::current().channels, 8);
}

// --- the channels of a layout ----------------------------------------------------------------------

QListWidgetItem* channel(ChannelMappingDialog& dialog, const char* label)
{
    const auto found =
        dialog.findChild<QListWidget*>()->findItems(QString::fromLatin1(label), Qt::MatchExactly);
    EXPECT_EQ(found.size(), 1) << label;
    return found.value(0);
}

TEST_F(FormatDialogs, TheMappingStartsWithTheLayoutAndFollowsTheTicks)
{
    ChannelMappingDialog dialog(ChannelsTypeAudio, 1551, nullptr);
    open(dialog);
    expectReachable(dialog);
    EXPECT_EQ(dialog.mask(), 1551u);
    EXPECT_EQ(channel(dialog, "Low Frequency")->checkState(), Qt::Checked);
    EXPECT_EQ(channel(dialog, "Rear Left")->checkState(), Qt::Unchecked);
    // The space bar ticks the row that has the focus.
    auto* list = dialog.findChild<QListWidget*>();
    list->setFocus();
    list->setCurrentItem(channel(dialog, "Low Frequency"));
    QTest::keyClick(list, Qt::Key_Space);
    EXPECT_EQ(dialog.mask(), 1543u);
    DialogScript::press(dialog, "OK");
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
}

TEST_F(FormatDialogs, MoreChannelsThanThereMayBeAreRefusedAndNoneCannotBeConfirmed)
{
    set("maxchannels", 2);
    ChannelMappingDialog dialog(ChannelsTypeAudio, 3, nullptr);
    open(dialog);
    channel(dialog, "Center")->setCheckState(Qt::Checked);
    DialogScript::press(dialog, "OK");
    EXPECT_EQ(boxes.words(), QStringList(QStringLiteral("Incorrect Channel Count|3 channels requested, but 2 "
                                                        "channels max supported.")));
    EXPECT_TRUE(dialog.isVisible());
    for (const char* label : {"Left", "Right", "Center"})
        channel(dialog, label)->setCheckState(Qt::Unchecked);
    EXPECT_FALSE(isOkEnabled(dialog));
}

// --- the remixer -----------------------------------------------------------------------------------

TEST_F(FormatDialogs, TheRemixerShowsAndTakesPercentages)
{
    Matrix proposed(1, 2);
    proposed.data[0] = 0.70710678f;
    proposed.data[1] = -0.5f;
    RemixerDialog dialog({ChannelsTypeAudio, 3}, {ChannelsTypeAudio, 4}, proposed, nullptr);
    open(dialog);
    expectReachable(dialog);
    EXPECT_EQ(dialog.windowTitle(), QStringLiteral("Channel Remixer"));
    auto* table = dialog.findChild<QTableView*>(QStringLiteral("remixer"));
    const QAbstractItemModel& model = *table->model();
    EXPECT_EQ(model.headerData(0, Qt::Horizontal).toString(), QStringLiteral("Center (%)"));
    EXPECT_EQ(model.headerData(0, Qt::Vertical).toString(), QStringLiteral("Left"));
    EXPECT_EQ(model.headerData(1, Qt::Vertical).toString(), QStringLiteral("Right"));
    EXPECT_EQ(model.index(0, 0).data().toString(), QStringLiteral("70.711"));
    EXPECT_EQ(model.index(1, 0).data().toString(), QStringLiteral("50"));
    EXPECT_EQ(model.index(0, 0).data(Qt::CheckStateRole).toInt(), int(Qt::Unchecked));
    EXPECT_EQ(model.index(1, 0).data(Qt::CheckStateRole).toInt(), int(Qt::Checked)); // inverted

    // By keys: a number into the second row, and its phase back.
    table->setFocus();
    table->setCurrentIndex(model.index(1, 0));
    QTest::keyClick(table, Qt::Key_Space);
    QTest::keyClick(table, Qt::Key_F2);
    auto* editor = table->findChild<QDoubleSpinBox*>();
    ASSERT_NE(editor, nullptr);
    editor->selectAll();
    QTest::keyClicks(editor, QStringLiteral("25"));
    QTest::keyClick(editor, Qt::Key_Return);
    DialogScript::press(dialog, "OK");
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
    EXPECT_EQ(dialog.matrix().data[0], 0.70710678f); // not touched, not rounded
    EXPECT_EQ(dialog.matrix().data[1], 0.25f);
}

TEST_F(FormatDialogs, TheToggleOfACellInvertsItsPhaseByMouse)
{
    RemixerDialog dialog({ChannelsTypeAudio, 3}, {ChannelsTypeAudio, 3}, Matrix(2, 2), nullptr);
    open(dialog);
    auto* table = dialog.findChild<QTableView*>(QStringLiteral("remixer"));
    const QRect cell = table->visualRect(table->model()->index(0, 0));
    QTest::mouseClick(table->viewport(), Qt::LeftButton, {}, QPoint(cell.left() + 11, cell.center().y()));
    EXPECT_EQ(dialog.matrix().data[0], -1.0f);
    EXPECT_EQ(dialog.matrix().data[3], 1.0f);
    DialogScript::press(dialog, "Reset");
    EXPECT_EQ(dialog.matrix().data[0], 1.0f);
}

TEST_F(FormatDialogs, ARemixOfNothingCannotBeConfirmed)
{
    RemixerDialog dialog({ChannelsTypeAudio, 4}, {ChannelsTypeAudio, 3}, Matrix(2, 1), nullptr);
    open(dialog);
    QAbstractItemModel& model = *dialog.findChild<QTableView*>(QStringLiteral("remixer"))->model();
    EXPECT_FALSE(model.setData(model.index(0, 0), QStringLiteral("loud"), Qt::EditRole));
    EXPECT_FALSE(model.setData(model.index(0, 0), std::nan(""), Qt::EditRole));
    EXPECT_FALSE(model.setData(model.index(0, 0), -1, Qt::EditRole));
    EXPECT_TRUE(model.setData(model.index(0, 0), 0, Qt::EditRole));
    EXPECT_FALSE(isOkEnabled(dialog));
    EXPECT_TRUE(model.setData(model.index(0, 1), 1e300, Qt::EditRole));
    EXPECT_EQ(dialog.matrix().data[1], float(RemixModel::mostPercent / 100));
    DialogScript::press(dialog, "OK");
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
}

TEST_F(FormatDialogs, SixtyFourChannelsOpenAtOnce)
{
    RemixerDialog dialog({ChannelsTypeGeneric, ~uint64_t(0)}, {ChannelsTypeGeneric, ~uint64_t(0)},
                         Matrix(64, 64), nullptr);
    open(dialog);
    EXPECT_LE(dialog.width(), 1100);
    EXPECT_LE(dialog.height(), 640);
    const auto* table = dialog.findChild<QTableView*>(QStringLiteral("remixer"));
    EXPECT_EQ(table->model()->rowCount() * table->model()->columnCount(), 4096);
}

// --- as plug-ins see them --------------------------------------------------------------------------

TEST_F(FormatDialogs, PluginsAskForAFormatWithoutTheModeThatHasNoMeaningThere)
{
    messages::setAnswerer({});
    HostTable table;
    fillHostTable(table);
    SamplingFormat format = stereo;
    Matrix matrix;
    {
        DialogScript script;
        script.on("Change Format", [](QDialog& dialog) { DialogScript::press(dialog, "Cancel"); });
        EXPECT_FALSE(table.reformatDialog(nullptr, format, matrix));
    }
    EXPECT_EQ(format, stereo);
    EXPECT_TRUE(matrix.data.isEmpty());
    DialogScript script;
    script
        .on("Change Format",
            [](QDialog& dialog) {
                EXPECT_EQ(dialog.findChild<QComboBox*>(QStringLiteral("formatmode")), nullptr);
                dialog.findChild<QSpinBox*>(QStringLiteral("formatchannels"))->setValue(1);
                DialogScript::press(dialog, "Format");
            })
        .on("Channel Mapping", [](QDialog& dialog) { DialogScript::press(dialog, "OK"); })
        .on("Channel Remixer", [](QDialog& dialog) { DialogScript::press(dialog, "OK"); });
    EXPECT_TRUE(table.reformatDialog(nullptr, format, matrix));
    EXPECT_EQ(format, (SamplingFormat{SampleTypeReal, 44100, ChannelsTypeAudio, 1, 4}));
    ASSERT_EQ(matrix.data.size(), 2);
    EXPECT_EQ(matrix.data[0], 0.5f);
}

TEST_F(FormatDialogs, PluginsLetAMatrixBeEdited)
{
    messages::setAnswerer({});
    HostTable table;
    fillHostTable(table);
    Matrix matrix(2, 2); // fits neither mask
    {
        DialogScript script;
        script.on("Channel Remixer", [](QDialog& dialog) { DialogScript::press(dialog, "Cancel"); });
        EXPECT_FALSE(table.channelRemixerDialog(nullptr, 3, 4, matrix));
        EXPECT_EQ(matrix.outputs, 2);
    }
    EXPECT_FALSE(table.channelRemixerDialog(nullptr, 0, 4, matrix));
    DialogScript script;
    script.on("Channel Remixer", [](QDialog& dialog) {
        QAbstractItemModel& model = *dialog.findChild<QTableView*>(QStringLiteral("remixer"))->model();
        model.setData(model.index(1, 0), 100, Qt::EditRole);
        DialogScript::press(dialog, "OK");
    });
    EXPECT_TRUE(table.channelRemixerDialog(nullptr, 3, 4, matrix));
    EXPECT_EQ(matrix.outputs, 1);
    EXPECT_EQ(matrix.data[0], 0.5f);
    EXPECT_EQ(matrix.data[1], 1.0f);
}

} // namespace
