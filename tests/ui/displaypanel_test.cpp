#include "ui/displaypanel.h"

#include "guienvironment.h"
#include "model/layer.h"
#include "model/layerroot.h"
#include "support/testsupport.h"
#include "ui/widgets/qdockwidgetext.h"
#include "ui/widgets/qlineeditext.h"

#include <QAction>
#include <QComboBox>
#include <QLabel>
#include <QPushButton>
#include <QToolButton>
#include <QVariant>

#include <gmock/gmock.h>

#include <cmath>

using testing::ElementsAre;

namespace {

testing::Environment* const environment = testing::AddGlobalTestEnvironment(new GuiEnvironment);

class Listener : public IEvent
{
public:
    Listener() : IEvent(QStringLiteral("Listener")) {}
    void transformEvent(EventId, const TransformSettings& settings) override
    {
        transforms.push_back(settings);
    }
    void displayEnableEvent(EventId id, const bool& on) override { switches.push_back({id, on}); }
    void displayValueEvent(EventId id, const float& value) override { values.push_back({id, value}); }
    void colormapEvent(EventId, const int32_t& colormap) override { colormaps.push_back(colormap); }
    void areaEvent(EventId, const Area& area) override { areas.push_back(area); }
    void powerRangeEvent(EventId, const PowerRange& range) override { powers.push_back(range); }
    void displacementEvent(EventId, const Displacement& value) override { displacements.push_back(value); }

    std::vector<TransformSettings> transforms;
    std::vector<std::pair<EventId, bool>> switches;
    std::vector<std::pair<EventId, float>> values;
    std::vector<int32_t> colormaps;
    std::vector<Area> areas;
    std::vector<PowerRange> powers;
    std::vector<Displacement> displacements;
};

template<class Payload>
void post(EventId id, const Payload& payload)
{
    postEvent(nullptr, id, payload, nullptr);
}

// The defaults that the program starts with, as far as the panel reads them.
void setDefaults()
{
    const QVariantHash defaults{{"defaultcomposite", false},
                                {"defaultcolormap", "Laguna"},
                                {"defaultlowdb", -90},
                                {"defaulthighdb", -18},
                                {"defaultgamma", 0.5},
                                {"defaultselectionopacity", 0.3},
                                {"defaultwindow", "Blackman-Harris"},
                                {"mintransformsize", 32},
                                {"defaulttransformsize", 2048},
                                {"maxtransformsize", 32768},
                                {"minoverlap", 1},
                                {"defaultoverlap", 2},
                                {"maxoverlap", 8},
                                {"timeoverlapratio", 4},
                                {"defaultsharpening", 0},
                                {"maxdisplace", 128},
                                {"enablegammasettings", true},
                                {"showgammasettings", false},
                                {"enablesizesettings", true},
                                {"showsizesettings", true}};
    for (auto it = defaults.begin(); it != defaults.end(); ++it)
        qApp->setProperty(it.key().toUtf8().constData(), it.value());
    qApp->setProperty("defaultsettings", defaults);
}

// A project of 48 kHz, 480,000 samples, the whole of it in view.
class DisplayPanelTest : public testing::Test
{
protected:
    DisplayPanelTest()
    {
        qApp->setProperty("sessionpath", QVariant(testsupport::makeFolder(QStringLiteral("session"))));
        setDefaults();
        panel = std::make_unique<DisplayPanel>();
        const LayerPtr layer = Layer::create(format);
        const std::vector<float> samples(480000, 0.5f);
        EXPECT_TRUE(layer->write(samples.data(), {0, 480000}, -1, true));
        EXPECT_TRUE(root.project()->appendChildLayer(layer));
        post(EventId::SamplingFormatChange, format);
        post<TransformSettings>(EventId::TransformChange,
                                {SampleTypeReal, WindowType::BlackmanHarris, 2048, 8, 2});
        post(EventId::LayerRootChange, root);
        post(EventId::DisplayAreaChange, Area{0, 0, 480000, 24000});
        listener = std::make_unique<Listener>();
    }
    QLineEditExt* field(const char* name)
    {
        for (QLineEditExt* field : panel->findChildren<QLineEditExt*>())
            if (field->accessibleName() == QLatin1String(name))
                return field;
        ADD_FAILURE() << "no field " << name;
        return nullptr;
    }
    QComboBox* list(const char* name)
    {
        for (QComboBox* list : panel->findChildren<QComboBox*>())
            if (list->accessibleName() == QLatin1String(name))
                return list;
        ADD_FAILURE() << "no list " << name;
        return nullptr;
    }
    void type(const char* name, const QString& text)
    {
        field(name)->setText(text);
        field(name)->applyText();
    }
    void press(const char* tip)
    {
        for (QToolButton* button : panel->findChildren<QToolButton*>())
            if (button->toolTip() == QLatin1String(tip))
                return button->click();
        ADD_FAILURE() << "no button " << tip;
    }

    SamplingFormat format{SampleTypeReal, 48000, ChannelsTypeAudio, 1, 4};
    LayerRoot root{format};
    std::unique_ptr<DisplayPanel> panel;
    std::unique_ptr<Listener> listener;
};

TEST_F(DisplayPanelTest, FieldsStartAtTheDefaultsAndTheTransformFollows)
{
    const DisplayPanel fresh;
    const auto valueOf = [&](const char* name) {
        for (QLineEditExt* field : fresh.findChildren<QLineEditExt*>())
            if (field->accessibleName() == QLatin1String(name))
                return field->value();
        return std::nan("");
    };
    EXPECT_EQ(valueOf("Min Amplitude"), -90);
    EXPECT_EQ(valueOf("Max Amplitude"), -18);
    EXPECT_EQ(valueOf("Brightness Curve"), 0);
    EXPECT_EQ(valueOf("Resolution"), 2);
    EXPECT_EQ(valueOf("FFT Size"), 2048);
    EXPECT_EQ(valueOf("Selection Opacity"), 30);
    EXPECT_FALSE(fresh.isEnabled()); // without a project
    panel->increaseResolution();
    panel->decreaseResolution();
    ASSERT_FALSE(listener->transforms.empty());
    EXPECT_EQ(listener->transforms.back().zeroPadding, 2);
    EXPECT_EQ(listener->transforms.back().overlap, 8);
}

TEST_F(DisplayPanelTest, IncreaseColormapAtTheFirstEntryStaysThere)
{
    list("Color Map")->setCurrentIndex(0);
    listener->colormaps.clear();
    panel->increaseColormap();
    EXPECT_EQ(list("Color Map")->currentIndex(), 0);
    EXPECT_TRUE(listener->colormaps.empty());
    panel->decreaseColormap();
    EXPECT_THAT(listener->colormaps, ElementsAre(1));
    panel->increaseColormap();
    EXPECT_THAT(listener->colormaps, ElementsAre(1, 0));
    list("Color Map")->setCurrentIndex(list("Color Map")->count() - 1);
    listener->colormaps.clear();
    panel->decreaseColormap();
    EXPECT_TRUE(listener->colormaps.empty());
}

TEST_F(DisplayPanelTest, AreaTypedEntirelyOutsideTheProjectFallsBackToTheWholeProject)
{
    post(EventId::DisplayAreaChange, Area{1000, 100, 2000, 5000});
    listener->areas.clear();
    field("Start Time")->setValue(900000);
    Q_EMIT field("Start Time")->valueEdited(900000);
    // The end stays, so the length turns round: 3000 to 900000 overlaps.
    ASSERT_FALSE(listener->areas.empty());
    EXPECT_EQ(listener->areas.back(), (Area{3000, 100, 477000, 5000}));
    post(EventId::DisplayAreaChange, Area{500000, 100, 2000, 5000});
    listener->areas.clear();
    type("Bottom Frequency", QStringLiteral("200"));
    ASSERT_FALSE(listener->areas.empty());
    EXPECT_EQ(listener->areas.back(), (Area{0, 0, 480000, 24000}));
}

TEST_F(DisplayPanelTest, DisabledGroupHasNoActionAndIsNotShownWhateverShowSays)
{
    qApp->setProperty("enablesizesettings", false);
    qApp->setProperty("showsizesettings", true);
    const DisplayPanel cut;
    const QAction* action = cut.groupAction(QStringLiteral("FFT Size"));
    ASSERT_NE(action, nullptr);
    EXPECT_FALSE(action->isVisible());
    EXPECT_FALSE(action->isChecked());
    const QAction* hidden = cut.groupAction(QStringLiteral("Brightness Curve"));
    EXPECT_TRUE(hidden->isVisible());
    EXPECT_FALSE(hidden->isChecked());
    setDefaults();
}

TEST_F(DisplayPanelTest, SizesAreFourToTheOctave)
{
    const std::vector<double> sizes = DisplayPanel::frameSizes(32, 32768);
    EXPECT_THAT(std::vector<double>(sizes.begin(), sizes.begin() + 7),
                ElementsAre(32, 40, 48, 56, 64, 80, 96));
    EXPECT_EQ(sizes.back(), 32768);
    EXPECT_EQ(sizes.size(), 41U);
    EXPECT_THAT(DisplayPanel::frameSizes(64, 100), ElementsAre(64, 80, 96, 100));
}

TEST_F(DisplayPanelTest, SizeIsPostedAndShownInTimeAndFrequency)
{
    panel->increaseSize();
    ASSERT_EQ(listener->transforms.size(), 1U);
    EXPECT_EQ(listener->transforms[0].frameSize, 2560);
    EXPECT_EQ(listener->transforms[0].overlap, 8);
    EXPECT_EQ(listener->transforms[0].windowType, WindowType::BlackmanHarris);
    bool shown = false;
    for (const QLabel* label : panel->findChildren<QLabel*>())
        shown |= label->text() == QLatin1String("samples (53.3ms/18.8Hz)");
    EXPECT_TRUE(shown);
    type("FFT Size", QStringLiteral("1000"));
    EXPECT_EQ(listener->transforms.back().frameSize, 1024); // the nearest size
    type("FFT Size", QStringLiteral("nonsense"));
    EXPECT_EQ(listener->transforms.size(), 2U);
    EXPECT_EQ(field("FFT Size")->text(), QStringLiteral("1024"));
}

TEST_F(DisplayPanelTest, OneFieldDrivesPaddingAndOverlap)
{
    type("Resolution", QStringLiteral("5"));
    ASSERT_EQ(listener->transforms.size(), 1U);
    EXPECT_EQ(listener->transforms[0].zeroPadding, 5);
    EXPECT_EQ(listener->transforms[0].overlap, 20);
    type("Resolution", QStringLiteral("50 x"));
    EXPECT_EQ(listener->transforms.back().zeroPadding, 8);
    // Never more frames than samples in one.
    post<TransformSettings>(EventId::TransformChange, {SampleTypeReal, WindowType::Hann, 8, 4, 1});
    type("Resolution", QStringLiteral("6"));
    EXPECT_EQ(listener->transforms.back().overlap, 8);
}

TEST_F(DisplayPanelTest, WindowIsPostedOnceAndOnlyWhenItDiffers)
{
    list("FFT Window")->setCurrentText(QStringLiteral("Hann"));
    ASSERT_EQ(listener->transforms.size(), 1U);
    EXPECT_EQ(listener->transforms[0].windowType, WindowType::Hann);
    EXPECT_EQ(listener->transforms[0].frameSize, 2048);
    post<TransformSettings>(EventId::TransformChange, {SampleTypeReal, WindowType::Hamming, 1024, 8, 2});
    EXPECT_EQ(list("FFT Window")->currentText(), QStringLiteral("Hamming"));
    EXPECT_EQ(listener->transforms.size(), 2U); // following posts nothing
}

TEST_F(DisplayPanelTest, RefinementIsPostedForBothAxesAndBrightnessAsGamma)
{
    panel->increaseSharpening();
    ASSERT_EQ(listener->values.size(), 2U);
    EXPECT_EQ(listener->values[0], std::make_pair(EventId::DisplayTimeSharpenChange, 0.1f));
    EXPECT_EQ(listener->values[1], std::make_pair(EventId::DisplayFreqSharpenChange, 0.1f));
    type("Brightness Curve", QStringLiteral("1"));
    EXPECT_EQ(listener->values.back(), std::make_pair(EventId::DisplayGammaChange, 1.0f));
    panel->increaseGamma(); // at its end
    EXPECT_EQ(listener->values.size(), 3U);
    type("Selection Opacity", QStringLiteral("70 %"));
    EXPECT_EQ(listener->values.back(), std::make_pair(EventId::DisplaySelectionOpacityChange, 0.7f));
}

TEST_F(DisplayPanelTest, TimeFieldsKeepTheOtherEnd)
{
    post(EventId::TimeUnitChange, int32_t(TimeUnit::Samples));
    type("Start Time", QStringLiteral("10000"));
    EXPECT_EQ(listener->areas.back(), (Area{10000, 0, 470000, 24000}));
    type("Time Length", QStringLiteral("5000"));
    EXPECT_EQ(listener->areas.back(), (Area{10000, 0, 5000, 24000}));
    type("End Time", QStringLiteral("20000"));
    EXPECT_EQ(listener->areas.back(), (Area{10000, 0, 10000, 24000}));
    field("Start Time")->stepBy(0.1); // Ctrl: a tenth of a second
    EXPECT_EQ(listener->areas.back(), (Area{14800, 0, 5200, 24000}));
    type("Top Frequency", QStringLiteral("12000"));
    EXPECT_EQ(listener->areas.back(), (Area{14800, 0, 5200, 12000}));
    type("Bottom Frequency", QStringLiteral("2000"));
    EXPECT_EQ(listener->areas.back(), (Area{14800, 2000, 5200, 10000}));
    press("Reset Time Range");
    EXPECT_EQ(listener->areas.back(), (Area{0, 2000, 480000, 10000}));
    press("Reset Frequency Range");
    EXPECT_EQ(listener->areas.back(), (Area{0, 0, 480000, 24000}));
}

TEST_F(DisplayPanelTest, LockedBottomStaysAtZero)
{
    post(EventId::DisplayLockBottomTo0Enable, true);
    type("Bottom Frequency", QStringLiteral("2000"));
    EXPECT_EQ(listener->areas.back(), (Area{0, 0, 480000, 22000}));
}

TEST_F(DisplayPanelTest, WaveRangeReadsInEveryUnit)
{
    post(EventId::PowerUnitChange, int32_t(PowerUnit::Percents));
    type("Highest Power", QStringLiteral("50"));
    EXPECT_EQ(listener->powers.back().high, 0.5);
    EXPECT_EQ(listener->powers.back().low, -1);
    post(EventId::PowerUnitChange, int32_t(PowerUnit::Decibel));
    type("Lowest Power", QStringLiteral("-20 dB"));
    EXPECT_NEAR(listener->powers.back().low, -0.1, 1e-12);
    post(EventId::PowerUnitChange, int32_t(PowerUnit::Normalized));
    type("Highest Power", QStringLiteral("-3")); // would turn the range round
    EXPECT_EQ(listener->powers.back().high, 0.5);
    EXPECT_EQ(field("Highest Power")->value(), 0.5);
    press("Reset Wave Range");
    EXPECT_EQ(listener->powers.back().low, -1);
    EXPECT_EQ(listener->powers.back().high, 1);
}

TEST_F(DisplayPanelTest, LockedCentreKeepsATypedWaveRangeSymmetric)
{
    post(EventId::PowerUnitChange, int32_t(PowerUnit::Percents));
    post(EventId::DisplayLockCenterTo0Enable, true);
    type("Highest Power", QStringLiteral("50"));
    EXPECT_EQ(listener->powers.back().low, -0.75);
    EXPECT_EQ(listener->powers.back().high, 0.75);
    EXPECT_EQ(field("Highest Power")->value(), 0.75);
}

TEST_F(DisplayPanelTest, UnknownUnitIsTakenForTheFirst)
{
    post(EventId::TimeUnitChange, int32_t(99));
    type("Start Time", QStringLiteral("1000")); // samples
    EXPECT_EQ(listener->areas.back(), (Area{1000, 0, 479000, 24000}));
}

TEST_F(DisplayPanelTest, ReliefIsLimited)
{
    type("3D (horizontal)", QStringLiteral("300 screen pixels"));
    ASSERT_FALSE(listener->displacements.empty());
    EXPECT_FLOAT_EQ(listener->displacements.back().x, 128);
    EXPECT_EQ(field("3D (horizontal)")->value(), 128);
    press("Reset 3D Range");
    EXPECT_EQ(listener->displacements.back().x, 0);
    EXPECT_EQ(field("3D (horizontal)")->value(), 0);
}

TEST_F(DisplayPanelTest, ResetsTakeEveryGroupToItsDefaults)
{
    panel->toggleCompositeView();
    EXPECT_EQ(listener->switches.back(), std::make_pair(EventId::DisplayCompositeEnable, true));
    panel->decreaseColormap();
    panel->increaseSize();
    panel->increaseResolution();
    panel->increaseSharpening();
    panel->decreaseWindow();
    panel->increaseLowestAmplitude();
    panel->decreaseHighestAmplitude();
    panel->decreaseSelectionOpacity();
    panel->resetAll();
    EXPECT_EQ(listener->switches.back(), std::make_pair(EventId::DisplayCompositeEnable, false));
    EXPECT_EQ(list("Color Map")->currentText(), QStringLiteral("Laguna"));
    const TransformSettings& last = listener->transforms.back();
    EXPECT_TRUE(sameSettings(last, {SampleTypeReal, WindowType::BlackmanHarris, 2048, 8, 2}));
    EXPECT_EQ(field("Min Amplitude")->value(), -90);
    EXPECT_EQ(field("Max Amplitude")->value(), -18);
    EXPECT_EQ(field("Selection Opacity")->value(), 30);
    EXPECT_EQ(field("Refinement")->value(), 0);
}

TEST_F(DisplayPanelTest, MenuShowsAndHidesGroupsAndResetsThat)
{
    QAction* size = panel->groupAction(QStringLiteral("FFT Size"));
    QAction* gamma = panel->groupAction(QStringLiteral("Brightness Curve"));
    size->setChecked(false);
    gamma->setChecked(true);
    EXPECT_FALSE(field("FFT Size")->isVisibleTo(panel.get()));
    EXPECT_TRUE(field("Brightness Curve")->isVisibleTo(panel.get()));
    panel->resetVisibility();
    EXPECT_TRUE(size->isChecked());
    EXPECT_FALSE(gamma->isChecked());
}

TEST_F(DisplayPanelTest, EveryControlHasANameAToolTipAndAPlaceInTheTabOrder)
{
    int controls = 0;
    for (const QWidget* widget : panel->findChildren<QWidget*>()) {
        if (!qobject_cast<const QLineEdit*>(widget) && !qobject_cast<const QComboBox*>(widget) &&
            !qobject_cast<const QAbstractButton*>(widget))
            continue;
        if (qobject_cast<const QComboBox*>(widget->parentWidget()))
            continue; // a piece of the list
        ++controls;
        const auto* button = qobject_cast<const QPushButton*>(widget);
        EXPECT_TRUE(!widget->accessibleName().isEmpty() || (button && !button->text().isEmpty()));
        EXPECT_FALSE(widget->toolTip().isEmpty()) << widget->accessibleName().toStdString();
        EXPECT_TRUE(widget->focusPolicy() & Qt::TabFocus) << widget->toolTip().toStdString();
    }
    EXPECT_GT(controls, 25);
}

// --- pieces -----------------------------------------------------------------------------------------

TEST(QLineEditExtTest, TakesTextWithAndWithoutItsSuffix)
{
    QLineEditExt line;
    line.setWords(QLineEditExt::plainNumber(1, QStringLiteral(" dB")));
    line.setRange(-10, 10);
    std::vector<double> told;
    QObject::connect(&line, &QLineEditExt::valueEdited, [&](double value) { told.push_back(value); });
    line.setText(QStringLiteral("2.5"));
    line.applyText();
    line.setText(QStringLiteral(" 3 DB "));
    line.applyText();
    line.setText(QStringLiteral("99"));
    line.applyText();
    for (const char* bad : {"", "dB", "nan", "inf", "1e999", "1 2"}) {
        line.setText(QString::fromLatin1(bad));
        line.applyText();
    }
    EXPECT_THAT(told, ElementsAre(2.5, 3, 10));
    EXPECT_EQ(line.text(), QStringLiteral("10.0 dB"));
}

TEST(QLineEditExtTest, LeavingItUntouchedKeepsTheDigitsThatItDoesNotShow)
{
    QLineEditExt line;
    line.setWords(QLineEditExt::plainNumber(0));
    line.setValue(2.3);
    line.applyText();
    EXPECT_EQ(line.value(), 2.3);
}

TEST(QDockWidgetExtTest, RollsUpToItsTitle)
{
    auto* content = new QLabel(QStringLiteral("content"));
    QDockWidgetExt dock(QStringLiteral("Display"), QIcon(), content);
    dock.show();
    EXPECT_TRUE(dock.isUnrolled());
    EXPECT_TRUE(content->isVisible());
    dock.setUnrolled(false);
    EXPECT_FALSE(content->isVisible());
    EXPECT_LT(dock.maximumHeight(), 60);
    dock.setUnrolled(true);
    EXPECT_TRUE(content->isVisible());
}

} // namespace
