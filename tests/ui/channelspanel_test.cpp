// Channels by name, muted, solo and selected for edits.
#include "ui/channelspanel.h"

#include "ui/panelstest.h"

#include <QCheckBox>
#include <QScrollArea>

#include <algorithm>

namespace {

const auto* const environment = testing::AddGlobalTestEnvironment(new WindowEnvironment);

class ChannelsPanelTest : public PanelsTest
{
protected:
    ChannelsPanel& panel() { return m_window->channelsPanel(); }
    const ChannelsMode& mode() { return front()->channelsMode; }
    QStringList names()
    {
        QStringList result;
        for (const QCheckBox* box : panel().findChildren<QCheckBox*>())
            result << box->accessibleName();
        return result;
    }
    QAbstractButton& control(const char* tip) { return button(panel(), tip); }
    static QBitArray bits(const char* text)
    {
        QBitArray result(int(qstrlen(text)));
        for (int i = 0; i < result.size(); ++i)
            result.setBit(i, text[i] == '1');
        return result;
    }
};

TEST_F(ChannelsPanelTest, EachChannelHasARowWithItsName)
{
    EXPECT_FALSE(panel().isEnabled());
    openTone("tone.wav", 1, 6);
    EXPECT_TRUE(panel().isEnabled());
    EXPECT_EQ(names(), (QStringList{"Left", "Right", "Center", "Low Frequency", "Left Side", "Right Side"}));
    EXPECT_EQ(dock("ChannelsPanel").windowTitle(), QStringLiteral("Channels"));
}

// The dock is as wide as it is: names give way, and the switches stay whole.
TEST_F(ChannelsPanelTest, LongNamesEndInDotsAndNoSwitchIsCutOff)
{
    openTone("tone.wav", 1, 8);
    dock("ChannelsPanel").setFixedWidth(210);
    const auto edge = [this](const QWidget& widget) {
        return widget.mapTo(&panel(), QPoint(widget.width(), 0)).x();
    };
    ASSERT_TRUE(testsupport::waitFor([this] { return panel().width() <= 210; }));
    const auto boxes = panel().findChildren<QCheckBox*>();
    ASSERT_TRUE(testsupport::waitFor([&] {
        return std::any_of(boxes.begin(), boxes.end(),
                           [](const QCheckBox* box) { return box->text() != box->accessibleName(); });
    }));
    for (const QCheckBox* box : boxes) {
        const QAbstractButton& solo = control(("Solo " + box->accessibleName().toStdString()).c_str());
        EXPECT_LE(edge(solo), panel().width()) << box->accessibleName().toStdString();
        EXPECT_GE(solo.width(), solo.minimumSizeHint().width());
        EXPECT_TRUE(box->text() == box->accessibleName() || box->text().endsWith(QChar(0x2026)));
    }
}

TEST_F(ChannelsPanelTest, ClicksOnARowReachTheProject)
{
    openTone("tone.wav", 1, 2);
    click(control("Mute Left"));
    EXPECT_EQ(mode().enabled, bits("01"));
    click(control("Solo Right"));
    EXPECT_EQ(mode().solo, bits("01"));
    // At its box: the words beside it reach only as far as they are long.
    QTest::mouseClick(&control("Edit Right"), Qt::LeftButton, {},
                      QPoint(8, control("Edit Right").height() / 2));
    EXPECT_EQ(mode().selected, bits("10"));
    click(control("Mute Left"));
    EXPECT_EQ(mode().enabled, bits("11"));
}

TEST_F(ChannelsPanelTest, HeaderMutesAndSoloesTheSelectedChannels)
{
    openTone("tone.wav", 1, 3);
    control("Edit Right").click();
    ASSERT_EQ(mode().selected, bits("101"));
    click(control("Mute the Selected Channels"));
    EXPECT_EQ(mode().enabled, bits("010"));
    EXPECT_TRUE(control("Mute the Selected Channels").isChecked());
    click(control("Mute the Selected Channels"));
    EXPECT_EQ(mode().enabled, bits("111"));
    click(control("Solo the Selected Channels"));
    EXPECT_EQ(mode().solo, bits("101"));
    click(control("Solo the Selected Channels"));
    EXPECT_EQ(mode().solo, bits("000"));
}

TEST_F(ChannelsPanelTest, HeaderMutesTheRestWhenOneOfThemIsMutedAlready)
{
    openTone("tone.wav", 1, 2);
    click(control("Mute Left"));
    EXPECT_FALSE(control("Mute the Selected Channels").isChecked());
    click(control("Mute the Selected Channels"));
    EXPECT_EQ(mode().enabled, bits("00"));
}

TEST_F(ChannelsPanelTest, SelectAllChannels)
{
    openTone("tone.wav", 1, 2);
    control("Edit Left").click();
    control("Edit Right").click();
    EXPECT_EQ(mode().selected, bits("00"));
    EXPECT_FALSE(control("Mute the Selected Channels").isEnabled());
    click(control("Select All Channels"));
    EXPECT_EQ(mode().selected, bits("11"));
    EXPECT_TRUE(control("Mute the Selected Channels").isEnabled());
}

TEST_F(ChannelsPanelTest, ReformatOpensTheDialogOfTheProject)
{
    openTone("tone.wav");
    DialogScript script;
    script.on("Change Format", [](QDialog& dialog) { dialog.reject(); });
    click(control("Reformat..."));
    EXPECT_TRUE(script.isDone());
}

TEST_F(ChannelsPanelTest, FollowsWhatOthersSetAndAChangeOfTabs)
{
    openTone("a.wav", 1, 2);
    ChannelsMode other(2);
    other.solo.setBit(0);
    postEvent(nullptr, EventId::ChannelsModeChange, other, nullptr);
    EXPECT_TRUE(control("Solo Left").isChecked());
    openTone("b.wav", 1, 2);
    EXPECT_FALSE(control("Solo Left").isChecked());
    tabs().setCurrentIndex(0);
    EXPECT_TRUE(control("Solo Left").isChecked());
    openTone("c.wav", 1, 1);
    EXPECT_EQ(names().size(), 1);
    tabs().closeAll();
    EXPECT_TRUE(names().isEmpty());
    EXPECT_FALSE(panel().isEnabled());
}

TEST_F(ChannelsPanelTest, BitsThatAreNotToldCountAsHeardAndSelected)
{
    openTone("a.wav", 1, 3);
    postEvent(nullptr, EventId::ChannelsModeChange, ChannelsMode(1), nullptr);
    EXPECT_FALSE(control("Mute Center").isChecked());
    EXPECT_TRUE(control("Edit Center").isChecked());
    EXPECT_FALSE(control("Solo Center").isChecked());
}

TEST_F(ChannelsPanelTest, EveryControlHasANameAToolTipAndAPlaceInTheTabOrder)
{
    openTone("a.wav", 1, 2);
    EXPECT_EQ(checkControls(panel()), 4 + 2 * 3);
    control("Edit Left").setFocus();
    QTest::keyClick(&control("Edit Left"), Qt::Key_Space);
    EXPECT_EQ(mode().selected, bits("01"));
}

} // namespace
