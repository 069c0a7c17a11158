// The options of the seven selection tools, worked in the window: what is typed changes the selection, or
// what the next gesture selects.
#include "editing/datamanager.h"
#include "ui/dialogscript.h"
#include "ui/plugintest.h"
#include "ui/toolhand.h"
#include "ui/widgets/qdockwidgetext.h"

#include <QDoubleSpinBox>
#include <QLineEdit>

#include <algorithm>
#include <cmath>
#include <random>

namespace {

const auto* const environment = testing::AddGlobalTestEnvironment(new WindowEnvironment);

constexpr int rate = 16000;
constexpr int frames = 2 * rate;
constexpr double top = rate / 2.0;

const QStringList plugins{"selectcursor", "selectmarquee", "selectlasso",    "selectbrush",
                          "selectwand",   "selectfreq",    "selecttransient"};
const char* const tools[] = {"Cursor Selection",   "Marquee Selection", "Lasso Selection",
                             "Brush Selection",    "Wand Selection",    "Frequency Selection",
                             "Transient Selection"};

class ToolOptions : public ToolHand<PluginTest>
{
protected:
    void SetUp() override
    {
        PluginTest::SetUp();
        showWith(plugins);
        m_window->resize(1400, 800);
    }
    // Two tones, a little noise, and clicks, every second one 20 dB below the others.
    void open()
    {
        std::vector<float> samples(frames);
        std::mt19937 random(5);
        std::uniform_real_distribution<float> noise(-0.01f, 0.01f);
        for (size_t i = 0; i < samples.size(); ++i) {
            samples[i] = 0.2f * float(std::sin(2 * M_PI * 1600 * double(i) / rate)) +
                         0.01f * float(std::sin(2 * M_PI * 4800 * double(i) / rate));
            samples[i] += noise(random);
            if (i % 6400 == 3200)
                samples[i] += 0.5f;
            if (i % 6400 == 6000)
                samples[i] += 0.05f;
        }
        writeFloatWave(path("scene.wav"), rate, 1, samples);
        ASSERT_TRUE(tabs().parse(path("scene.wav")));
        postEvent(nullptr, EventId::FreqScaleChange, int32_t(FreqScale::Linear), nullptr);
        postEvent(nullptr, EventId::TimeUnitChange, int32_t(TimeUnit::Samples), nullptr);
        ASSERT_TRUE(testsupport::waitFor([this] { return display().isSettled() && view().width() > 300; }));
        display().showArea({0, 0, frames, top});
        QCoreApplication::processEvents(); // the tool is chosen again
    }
    Project& project() { return *tabs().currentProject(); }
    const Selection& selection() { return project().selection; }
    int steps() { return project().historyIndex(); }

    double number(const char* name)
    {
        return page().findChild<QDoubleSpinBox*>(QLatin1String(name))->value();
    }

    void click(double x, double y) { drag({QPointF(x, y), QPointF(x, y)}); }
    Area drawn(const Way& way)
    {
        action("selectdeselect").trigger();
        drag(way);
        EXPECT_FALSE(selection().isEmpty());
        return selection().bounds();
    }
    // To a thousandth of a sample point and of a Hz.
    testing::AssertionResult isSelected(const Area& wanted)
    {
        const Area box = selection().bounds();
        const double off =
            std::max({std::abs(box.x - wanted.x), std::abs(box.y - wanted.y),
                      std::abs(box.width - wanted.width), std::abs(box.height - wanted.height)});
        if (off < 1e-3)
            return testing::AssertionSuccess();
        return testing::AssertionFailure()
               << "selected: " << box.x << ' ' << box.y << ' ' << box.width << ' ' << box.height;
    }
    // Weights over the bounds of the selection, at the height of its middle or the time of its middle.
    std::vector<double> profile(bool overTime)
    {
        const Area box = selection().bounds();
        Matrix weights(64, 64);
        selection().rasterize(weights, box);
        std::vector<double> result;
        for (int i = 0; i < 64; ++i)
            result.push_back(double(weights.data[overTime ? i * 64 + 32 : 32 * 64 + i]));
        return result;
    }
};

const Way diagonal{QPointF(8000, 2000), QPointF(24000, 6000)};

bool isFull(double weight)
{
    return weight > 0.999;
}

} // namespace

TEST_F(ToolOptions, TypedEdgesMakeAndChangeTheSelectionWithEachTool)
{
    open();
    for (const char* tool : tools) {
        SCOPED_TRACE(tool);
        choose(tool);
        action("selectdeselect").trigger();
        const int before = steps();
        type("start", "4000");
        EXPECT_TRUE(selection().isEmpty()) << "no span yet";
        EXPECT_EQ(steps(), before);
        type("end", "12000");
        EXPECT_TRUE(isSelected(Area{4000, 0, 8000, top}));
        type("low", "1000");
        EXPECT_TRUE(isSelected(Area{4000, 1000, 8000, top - 1000}));
        type("high", "3000");
        EXPECT_TRUE(isSelected(Area{4000, 1000, 8000, 2000}));
        type("length", "5000");
        EXPECT_TRUE(isSelected(Area{4000, 1000, 5000, 2000}));
        type("start", "6000");
        EXPECT_TRUE(isSelected(Area{6000, 1000, 3000, 2000}));
        EXPECT_EQ(steps(), before + 5);
        EXPECT_EQ(control("end")->property("text").toString(), QStringLiteral("9000"));
        EXPECT_EQ(control("length")->property("text").toString(), QStringLiteral("3000"));
        for (int i = 0; i < 5; ++i)
            action("editundo").trigger();
        EXPECT_TRUE(selection().isEmpty());
    }
}

TEST_F(ToolOptions, WhatMakesNoSenseChangesNothing)
{
    open();
    choose("Marquee Selection");
    const Area box = drawn(diagonal);
    const int before = steps();
    for (const auto& [field, text] :
         {std::pair("start", "word"), std::pair("start", "31000"), std::pair("end", "10"),
          std::pair("length", "0"), std::pair("length", "-5"), std::pair("low", "7900"),
          std::pair("high", "1"), std::pair("high", "")}) {
        type(field, QLatin1String(text));
        EXPECT_EQ(selection().bounds(), box) << field << ' ' << text;
        EXPECT_EQ(steps(), before) << field << ' ' << text;
    }
    type("high", "99999999");
    EXPECT_NEAR(selection().bounds().y + selection().bounds().height, top, 1e-6) << "cut to the band";
}

TEST_F(ToolOptions, TheNumbersFollowWhatIsDrawnAndTheUnits)
{
    open();
    choose("Marquee Selection");
    const Area box = drawn(diagonal);
    const auto shown = [this](const char* name) { return control(name)->property("text").toString(); };
    ASSERT_TRUE(testsupport::waitFor([&] { return !shown("start").isEmpty(); }));
    EXPECT_EQ(shown("start"), QString::number(std::llround(box.x)));
    EXPECT_NEAR(shown("high").toDouble(), box.y + box.height, 1);
    postEvent(nullptr, EventId::TimeUnitChange, int32_t(TimeUnit::Decimal), nullptr);
    ASSERT_TRUE(testsupport::waitFor([&] { return shown("start").contains(QLatin1Char(':')); }));
    type("length", "00:00:00.500");
    EXPECT_NEAR(selection().bounds().width, rate / 2.0, 1e-6);
    action("selectdeselect").trigger();
    EXPECT_TRUE(testsupport::waitFor([&] { return shown("start").isEmpty() && shown("high").isEmpty(); }));
}

TEST_F(ToolOptions, TheFadesSoftenWhatIsDrawnNext)
{
    open();
    for (const char* tool :
         {"Marquee Selection", "Lasso Selection", "Cursor Selection", "Frequency Selection"}) {
        SCOPED_TRACE(tool);
        choose(tool);
        const bool lasso = tool == QLatin1String("Lasso Selection");
        const Way way =
            lasso ? Way{QPointF(8000, 2000), QPointF(24000, 2000), QPointF(24000, 6000), QPointF(8000, 6000)}
                  : diagonal;
        type("fadetime", "0");
        type("fadefrequency", "0");
        drawn(way);
        for (const bool overTime : {true, false}) {
            const std::vector<double> hard = profile(overTime);
            EXPECT_TRUE(std::all_of(hard.begin() + 1, hard.end() - 1, isFull));
        }
        type("fadetime", "250");
        type("fadefrequency", "1000");
        EXPECT_EQ(number("fadetime"), 250);
        const Area box = drawn(way);
        // 250 ms are 4000 sample points.
        for (const bool overTime : {true, false}) {
            const double share = overTime ? 4000 / box.width : 1000 / box.height;
            const std::vector<double> soft = profile(overTime);
            EXPECT_LT(soft.front(), 0.2);
            EXPECT_LT(soft.back(), 0.2);
            EXPECT_TRUE(isFull(soft[32]));
            EXPECT_NEAR(soft[size_t(32 * share)], 0.5, 0.2) << "half way up in the middle of the fade";
            EXPECT_TRUE(std::is_sorted(soft.begin(), soft.begin() + 32));
        }
    }
}

TEST_F(ToolOptions, SizeAspectAndHardnessShapeTheBrush)
{
    open();
    choose("Brush Selection");
    type("size", "40");
    const Area area = display().viewArea();
    const double pixelX = area.width / view().width(), pixelY = area.height / view().height();
    const Way spot{QPointF(16000, 4000), QPointF(16000, 4000)};
    Area dab = drawn(spot);
    EXPECT_NEAR(dab.width / pixelX, 40, 2);
    EXPECT_NEAR(dab.height / pixelY, 40, 2);
    type("size", "120");
    dab = drawn(spot);
    EXPECT_NEAR(dab.width / pixelX, 120, 3);
    type("aspect", "4");
    dab = drawn(spot);
    EXPECT_NEAR(dab.width / pixelX, 240, 5);
    EXPECT_NEAR(dab.height / pixelY, 60, 3);
    EXPECT_TRUE(isFull(profile(true)[4]));
    type("hardness", "0");
    drawn(spot);
    EXPECT_LT(profile(true)[4], 0.4);
    EXPECT_GT(profile(true)[32], 2 * profile(true)[4]);
    // The keys of the brush change the same numbers.
    m_window->setFocus();
    QTest::keyClick(m_window.get(), Qt::Key_BracketRight);
    EXPECT_GT(number("size"), 120);
    QTest::keyClick(m_window.get(), Qt::Key_BracketRight, Qt::AltModifier);
    EXPECT_EQ(number("hardness"), 10);
}

TEST_F(ToolOptions, TheToleranceSaysHowFarTheWandReaches)
{
    open();
    choose("Wand Selection");
    type("tolerance", "6");
    action("selectdeselect").trigger();
    click(16000, 1600);
    ASSERT_FALSE(selection().isEmpty());
    const double narrow = selection().bounds().height;
    EXPECT_TRUE(selection().contains(QPointF(16000, 1600)));
    type("tolerance", "40");
    action("selectdeselect").trigger();
    click(16000, 1600);
    EXPECT_GT(selection().bounds().height, narrow * 1.2);
    type("tolerance", "400"); // more than there is
    EXPECT_EQ(number("tolerance"), 40) << "what the box cannot hold is not taken";
}

TEST_F(ToolOptions, TheReachSaysFromHowFarTheMagnetPulls)
{
    open();
    chooseMode("Lasso Selection", "Magnetic Lasso Selection");
    const double pixel = display().viewArea().height / view().height();
    // The lower side lies eight pixels above the tone.
    const double low = 1600 + 8 * pixel;
    const Way way{QPointF(8000, low), QPointF(24000, low), QPointF(24000, 3200), QPointF(8000, 3200),
                  QPointF(8000, low)};
    const auto lowerSide = [&] {
        double y = 1700 + 8 * pixel;
        while (y > 0 && selection().contains(QPointF(16000, y)))
            y -= 2;
        return y;
    };
    type("reach", "20");
    drawn(way);
    EXPECT_NEAR(lowerSide(), 1600, 2 * pixel);
    type("reach", "2");
    drawn(way);
    EXPECT_NEAR(lowerSide(), low, 3 * pixel);
}

TEST_F(ToolOptions, TheSensitivitySaysWhichTransientsAreTaken)
{
    open();
    choose("Transient Selection");
    const auto taken = [this](int first) {
        int count = 0;
        for (int at = first; at < frames; at += 6400)
            count += selection().contains(QPointF(at + 2, 1000));
        return count;
    };
    const Way all{QPointF(0, 4000), QPointF(frames, 4000)};
    type("sensitivity", "100");
    drawn(all);
    EXPECT_EQ(taken(3200), 5);
    EXPECT_EQ(taken(6000), 5);
    type("sensitivity", "30");
    drawn(all);
    EXPECT_EQ(taken(3200), 5);
    EXPECT_EQ(taken(6000), 0);
}

TEST_F(ToolOptions, ALongSearchForTransientsIsShownAndCancelledWithoutATrace)
{
    open();
    choose("Marquee Selection");
    const Area box = drawn(diagonal);
    choose("Transient Selection");
    type("sensitivity", "30");
    const int before = steps();
    m_window->dataManager().setPluginPatience(0);
    const Way all{QPointF(0, 7500), QPointF(frames, 7500)};
    {
        // Whatever is pressed meanwhile begins nothing.
        const ProgressCanceller canceller([this] { action("editcut").trigger(); });
        drag(all);
        EXPECT_EQ(canceller.labels(), QStringList("Transient Selection..."));
    }
    EXPECT_TRUE(isSelected(box));
    EXPECT_EQ(steps(), before);
    EXPECT_FALSE(m_window->dataManager().isToolDrawing());
    EXPECT_FALSE(m_window->dataManager().isBusy());
    drag(all);
    EXPECT_EQ(steps(), before + 1);
    EXPECT_TRUE(selection().contains(QPointF(3202, 1000)));
}

TEST_F(ToolOptions, ModesOfTheButtonsDecideWhatTheNextGestureSelects)
{
    open();
    chooseMode("Marquee Selection", "Ellipse Selection");
    drawn(diagonal);
    EXPECT_FALSE(selection().contains(QPointF(8500, 2200)));
    chooseMode("Marquee Selection", "Rectangle Selection");
    drawn(diagonal);
    EXPECT_TRUE(selection().contains(QPointF(8500, 2200)));
    display().showArea({8000, 0, 8000, top});
    chooseMode("Frequency Selection", "Frequency Selection over the View");
    EXPECT_EQ(drawn({QPointF(9000, 2000), QPointF(9000, 3000)}).width, 8000);
    chooseMode("Frequency Selection", "Frequency Selection over All Time");
    EXPECT_EQ(drawn({QPointF(9000, 2000), QPointF(9000, 3000)}).width, frames);
}

TEST_F(ToolOptions, WithoutAMouseAToolIsChosenAndASelectionTyped)
{
    open();
    m_window->setFocus();
    QTest::keyClick(m_window.get(), Qt::Key_I);
    EXPECT_TRUE(button("Cursor Selection")->isChecked());
    // The marquee has no key of its own: to the bar of the tools, and along it.
    const auto focusIn = [](const QWidget* area) {
        for (int i = 0; i < 12 && !area->isAncestorOf(QApplication::focusWidget()); ++i)
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_F6);
        return area->isAncestorOf(QApplication::focusWidget());
    };
    ASSERT_TRUE(focusIn(m_window->toolBars().tools()));
    for (int i = 0; i < 20 && QApplication::focusWidget() != button("Marquee Selection"); ++i)
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Down);
    ASSERT_EQ(QApplication::focusWidget(), button("Marquee Selection"));
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Space);
    EXPECT_TRUE(button("Marquee Selection")->isChecked());
    ASSERT_TRUE(focusIn(m_window->toolBars().settings()));
    // Tab leads from field to field in the order in which they stand.
    const auto fields = [this] {
        QList<QWidget*> found;
        for (QWidget* child : page().findChildren<QWidget*>())
            if (child->isVisible() && (child->focusPolicy() & Qt::TabFocus) &&
                !qobject_cast<QAbstractSpinBox*>(child->parentWidget()))
                found << child;
        std::sort(found.begin(), found.end(),
                  [](const QWidget* a, const QWidget* b) { return a->x() < b->x(); });
        return found;
    }();
    EXPECT_EQ(fields.size(), 7);
    EXPECT_EQ(QApplication::focusWidget(), fields.first());
    const QHash<QString, QString> wanted{
        {"fadetime", "20"}, {"start", "4000"}, {"end", "12000"}, {"high", "3000"}};
    for (QWidget* field : fields) {
        EXPECT_EQ(QApplication::focusWidget(), field) << field->objectName().toStdString();
        const QString text = wanted.value(field->objectName());
        if (!text.isEmpty()) {
            QTest::keyClick(field, Qt::Key_A, Qt::ControlModifier);
            QTest::keyClicks(field, text);
        }
        QTest::keyClick(field, Qt::Key_Tab); // takes what was typed
        QCoreApplication::processEvents();
    }
    EXPECT_TRUE(isSelected(Area{4000, 0, 8000, 3000}));
    EXPECT_EQ(number("fadetime"), 20);
    EXPECT_LT(profile(true).front(), 0.5) << "the fade is that of the options";
    EXPECT_FALSE(m_window->panels().first()->isHidden()) << "Tab is no command in a field";
}

TEST_F(ToolOptions, WhereTheWindowIsTooNarrowTheOptionsAreMovedIntoSight)
{
    open();
    choose("Brush Selection");
    QToolBar& bar = *m_window->toolBars().settings();
    const auto isInSight = [&](const QWidget* field) {
        return field->isVisible() && field->visibleRegion().boundingRect() == field->rect();
    };
    const QWidget* size = control("size");
    const QWidget* high = control("high");
    m_window->resize(m_window->minimumSize());
    ASSERT_TRUE(testsupport::waitFor([&] { return bar.width() <= m_window->width() && isInSight(size); }));
    EXPECT_GE(page().width(), page().minimumSizeHint().width()) << "nothing is squeezed";
    EXPECT_FALSE(isInSight(high));
    QToolButton* left = nullptr;
    QToolButton* right = nullptr;
    for (QToolButton* each : bar.findChildren<QToolButton*>()) {
        if (each->toolTip().startsWith(QLatin1String("Left")))
            left = each;
        if (each->toolTip().startsWith(QLatin1String("Right")))
            right = each;
    }
    ASSERT_TRUE(left && right && left->isVisible() && right->isVisible());
    EXPECT_FALSE(left->isEnabled());
    for (int i = 0; i < 20 && right->isEnabled(); ++i)
        QTest::mouseClick(right, Qt::LeftButton);
    EXPECT_TRUE(isInSight(high));
    EXPECT_FALSE(isInSight(size));
    for (int i = 0; i < 20 && left->isEnabled(); ++i)
        QTest::mouseClick(left, Qt::LeftButton);
    EXPECT_TRUE(isInSight(size));
    // Without a mouse: what gets the focus comes into sight.
    m_window->activateWindow();
    control("high")->setFocus();
    ASSERT_TRUE(testsupport::waitFor([&] { return QApplication::focusWidget() == high; }));
    EXPECT_TRUE(isInSight(high));
    control("size")->setFocus();
    EXPECT_TRUE(isInSight(size));
    m_window->resize(1900, 1000);
    EXPECT_TRUE(
        testsupport::waitFor([&] { return !left->isVisible() && isInSight(high) && isInSight(size); }));
}

TEST_F(ToolOptions, AllFieldsOfEachToolHaveRoomAndWords)
{
    open();
    m_window->resize(1280, 720);
    QCoreApplication::processEvents();
    for (const char* tool : tools) {
        SCOPED_TRACE(tool);
        choose(tool);
        QCoreApplication::processEvents();
        EXPECT_TRUE(page().isVisible());
        int count = 0;
        for (const QWidget* child : page().findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly)) {
            if (!child->isVisible() || child->focusPolicy() == Qt::NoFocus)
                continue;
            ++count;
            const std::string name = child->objectName().toStdString();
            EXPECT_GE(child->width(), std::min(child->minimumSizeHint().width(), child->maximumWidth()))
                << name;
            EXPECT_FALSE(child->accessibleName().isEmpty()) << name;
            EXPECT_FALSE(child->toolTip().isEmpty()) << name;
        }
        EXPECT_GE(count, 7);
    }
}
