// "Reset All Tools" in the window.
#include "ui/plugintest.h"

#include "ui/historypanel.h"
#include "ui/toolbars.h"
#include "ui/toolreset.h"
#include "ui/widgets/qtoolbarext.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QLineEdit>
#include <QMenu>
#include <QTest>
#include <QToolButton>

namespace {

const auto* const environment = testing::AddGlobalTestEnvironment(new WindowEnvironment);

class ToolResetTest : public PluginTest
{
protected:
    void TearDown() override
    {
        for (const char* key : {"playbackscrubbing", "playbackhold", "zoommode"})
            qApp->setProperty(key, m_before.value(QLatin1String(key)));
        PluginTest::TearDown();
    }
    void open()
    {
        ASSERT_TRUE(tabs().parse(makeTone("tone.wav", 1)));
        ASSERT_TRUE(
            testsupport::waitFor([this] { return display().spectralChannels().value(0)->isVisible(); }));
        QCoreApplication::processEvents(); // the tool is chosen again
    }
    ToolReset& reset() { return m_window->toolBars().reset(); }
    QToolButton* button(const char* name)
    {
        for (QToolButton* each : m_window->toolBars().tools()->buttons())
            if (each->accessibleName() == QLatin1String(name))
                return each;
        return nullptr;
    }
    QWidget* page() { return m_window->toolBars().page(); }
    // Everything that the tools can do to the view is done to it.
    void disturb()
    {
        display().showArea({8000, 2000, 4000, 3000});
        display().showPowerRange({-0.5, 0.5});
        display().moveToEndOfProject();
        display().showArea({8000, 2000, 4000, 3000});
        postEvent(nullptr, EventId::DisplayDisplacementChange, Displacement{30, 40}, nullptr);
    }
    DisplaySettings& view() { return tabs().currentProject()->display; }

private:
    const QVariantHash m_before = {{QStringLiteral("playbackscrubbing"), qApp->property("playbackscrubbing")},
                                   {QStringLiteral("playbackhold"), qApp->property("playbackhold")},
                                   {QStringLiteral("zoommode"), qApp->property("zoommode")}};
};

const Area whole{0, 0, 16000, 8000};

} // namespace

TEST_F(ToolResetTest, TheButtonStandsInTheBarOfTheToolsAndIsNoTool)
{
    showWith({QStringLiteral("minimaltool")});
    QToolButton* all = button("Reset All Tools");
    ASSERT_NE(all, nullptr);
    EXPECT_EQ(all, m_window->toolBars().tools()->buttons().last());
    EXPECT_EQ(all->toolTip(), QStringLiteral("Reset All Tools"));
    EXPECT_FALSE(all->icon().isNull());
    EXPECT_TRUE(all->focusPolicy() & Qt::TabFocus);
    EXPECT_FALSE(all->isCheckable());
    EXPECT_FALSE(m_window->toolBars().group()->actions().contains(all->defaultAction()));
    all->setFocus();
    QTest::keyClick(all, Qt::Key_Space); // without a project: nothing to do, and no harm
    EXPECT_TRUE(button("Minimal Selection")->isChecked());
}

TEST_F(ToolResetTest, ViewPositionAndReliefAreAsAtTheBeginning)
{
    showWith({QStringLiteral("minimaltool")});
    open();
    disturb();
    ASSERT_NE(display().viewArea(), whole);
    const int steps = m_window->historyPanel().history().states().size();
    const bool modified = tabs().currentProject()->modified;
    QTest::mouseClick(button("Reset All Tools"), Qt::LeftButton);
    EXPECT_EQ(display().viewArea(), whole);
    EXPECT_EQ(view().displayArea, whole);
    EXPECT_EQ(display().position(), 0);
    EXPECT_EQ(tabs().currentProject()->position(), 0);
    EXPECT_EQ(view().displacementX, 0);
    EXPECT_EQ(view().displacementY, 0);
    EXPECT_EQ(display().powerRange().low, -1);
    EXPECT_EQ(display().powerRange().high, 1);
    EXPECT_EQ(m_window->historyPanel().history().states().size(), steps) << "no edit";
    EXPECT_EQ(tabs().currentProject()->modified, modified);
}

TEST_F(ToolResetTest, EachPartChangesWhatItIsNamedAfterAndNothingElse)
{
    showWith({});
    open();
    disturb();
    reset().resetPan();
    EXPECT_EQ(display().viewArea(), (Area{0, 0, 4000, 3000})) << "as large as it was";
    EXPECT_EQ(display().position(), 16000);
    EXPECT_EQ(view().displacementX, 30);
    disturb();
    reset().reset3D();
    EXPECT_EQ(view().displacementX, 0);
    EXPECT_EQ(display().viewArea(), (Area{8000, 2000, 4000, 3000}));
    disturb();
    reset().resetZoom();
    EXPECT_EQ(display().viewArea(), whole);
    EXPECT_EQ(display().powerRange().low, -1);
    EXPECT_EQ(display().position(), 16000);
    EXPECT_EQ(view().displacementY, 40);
    disturb();
    reset().resetTimeCursor();
    EXPECT_EQ(display().position(), 0);
    EXPECT_EQ(display().viewArea(), (Area{0, 2000, 4000, 3000})) << "the cursor is in sight";
}

TEST_F(ToolResetTest, TheOptionsOfTheBuiltInToolsAreThoseOfTheFactory)
{
    qApp->setProperty("playbackscrubbing", false); // the user's own, from an earlier start
    qApp->setProperty("zoommode", 2);
    showWith({});
    action("toolsplayback").trigger();
    const QList<QCheckBox*> boxes = page()->findChildren<QCheckBox*>();
    ASSERT_EQ(boxes.size(), 2);
    EXPECT_FALSE(boxes[0]->isChecked());
    boxes[1]->click();
    action("toolszoom").trigger();
    auto* modes = page()->findChild<QComboBox*>();
    EXPECT_EQ(modes->currentIndex(), 2);
    action("toolsreset").trigger();
    EXPECT_TRUE(boxes[0]->isChecked() && boxes[1]->isChecked());
    EXPECT_TRUE(qApp->property("playbackscrubbing").toBool());
    EXPECT_TRUE(qApp->property("playbackhold").toBool());
    EXPECT_EQ(modes->currentIndex(), 0);
    EXPECT_EQ(qApp->property("zoommode").toInt(), 0);
    EXPECT_EQ(UserSettings().value(QStringLiteral("zoommode")).toInt(), 0) << "also at the next start";
    EXPECT_TRUE(action("toolszoom").isChecked()) << "the chosen tool stays";
}

TEST_F(ToolResetTest, TheModeOfZoomGoesBackAndTheToolThatIsChosenStays)
{
    showWith({QStringLiteral("selectmarquee")});
    open();
    action("toolszoom").trigger();
    auto* modes = page()->findChild<QComboBox*>();
    modes->setFocus();
    QTest::keyClick(modes, Qt::Key_Down);
    ASSERT_EQ(modes->currentText(), QStringLiteral("Click Out"));
    ASSERT_EQ(qApp->property("zoommode").toInt(), 1);
    QToolButton* marquee = button("Marquee Selection");
    marquee->click();
    action("toolsreset").trigger();
    EXPECT_EQ(modes->currentIndex(), 0);
    EXPECT_EQ(qApp->property("zoommode").toInt(), 0);
    EXPECT_TRUE(marquee->isChecked());
    EXPECT_FALSE(action("toolszoom").isChecked());
    EXPECT_FALSE(page()->isAncestorOf(modes)) << "the options of the chosen tool";
    EXPECT_EQ(qApp->property("defaulttool").toInt(), int(EventId::ToolPluginActivate));
    EXPECT_EQ(qApp->property("defaulttoolplugin").toString(), QStringLiteral("Marquee Selection"));
}

TEST_F(ToolResetTest, OptionsAndModesOfPluginsAreThoseThatTheyBegan)
{
    showWith(
        {QStringLiteral("selectbrush"), QStringLiteral("selectmarquee"), QStringLiteral("selectcursor")});
    open();
    button("Brush Selection")->click();
    auto* size = page()->findChild<QDoubleSpinBox*>(QStringLiteral("size"));
    auto* fade = page()->findChild<QDoubleSpinBox*>(QStringLiteral("fadetime"));
    ASSERT_TRUE(size && fade);
    const double usual = size->value();
    size->setValue(usual + 50);
    fade->setValue(20);
    QToolButton* marquee = button("Marquee Selection");
    marquee->menu()->actions()[1]->trigger();
    EXPECT_EQ(marquee->defaultAction()->text(), QStringLiteral("Ellipse Selection"));
    action("selectselectall").trigger();
    auto* length = page()->findChild<QLineEdit*>(QStringLiteral("length"));
    ASSERT_TRUE(testsupport::waitFor([&] { return !length->text().isEmpty(); }));
    const QString selected = length->text();
    action("toolsreset").trigger();
    EXPECT_EQ(size->value(), usual);
    EXPECT_EQ(fade->value(), 0);
    EXPECT_EQ(marquee->defaultAction()->text(), QStringLiteral("Rectangle Selection"));
    EXPECT_TRUE(marquee->isChecked());
    EXPECT_EQ(qApp->property("defaulttoolmode").toInt(), 0);
    EXPECT_EQ(length->text(), selected) << "the selection is no option";
    EXPECT_FALSE(tabs().currentProject()->selection.isEmpty());
}

TEST_F(ToolResetTest, WhatShowsTheDocumentAndWhatHasGoneIsLeftAlone)
{
    showWith({});
    QWidget host;
    auto* own = new QWidget(&host);
    auto* option = new QSpinBox(own);
    auto* position = new QSpinBox(own);
    auto* gone = new QSpinBox(own);
    position->setProperty("document", true);
    reset().remember(own);
    option->setValue(5);
    position->setValue(6);
    delete gone;
    reset().resetSettings();
    EXPECT_EQ(option->value(), 0);
    EXPECT_EQ(position->value(), 6);
    QObject::connect(option, QOverload<int>::of(&QSpinBox::valueChanged), [](int value) {
        if (value == 0)
            throw std::runtime_error("thrown by a listener");
    });
    option->setValue(7);
    testsupport::expectWarning(
        QStringLiteral("an option of a tool was not taken back: thrown by a listener"));
    reset().resetSettings();
}
