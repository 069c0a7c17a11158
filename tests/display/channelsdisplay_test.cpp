// The rows of a project and the commands of the keyboard.
#include "display/channelsdisplay.h"

#include "display/channelname.h"
#include "display/channelrow.h"
#include "display/frequencyscale.h"
#include "display/glenvironment.h"
#include "display/powerscale.h"
#include "display/qsplitterext.h"
#include "display/rulersetting.h"
#include "display/scalegrip.h"
#include "display/spectralchannel.h"
#include "display/timeline.h"
#include "display/waveformchannel.h"
#include "model/layergroup.h"
#include "support/testsupport.h"

#include <QContextMenuEvent>
#include <QLabel>
#include <QMainWindow>
#include <QMenu>
#include <QScrollArea>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>
#include <QVariant>

#include <cmath>

namespace {

using Slot = void (ChannelsDisplay::*)();

constexpr Slot plainSlots[] = {
    &ChannelsDisplay::refreshSplitter,
    &ChannelsDisplay::moveLeft,
    &ChannelsDisplay::moveRight,
    &ChannelsDisplay::moveToPreviousEvent,
    &ChannelsDisplay::moveToNextEvent,
    &ChannelsDisplay::moveToPreviousMarker,
    &ChannelsDisplay::moveToNextMarker,
    &ChannelsDisplay::moveToStartOfLayer,
    &ChannelsDisplay::moveToEndOfLayer,
    &ChannelsDisplay::moveToStartOfProject,
    &ChannelsDisplay::moveToEndOfProject,
    &ChannelsDisplay::selectLeft,
    &ChannelsDisplay::selectRight,
    &ChannelsDisplay::selectPreviousEvent,
    &ChannelsDisplay::selectNextEvent,
    &ChannelsDisplay::selectPreviousMarker,
    &ChannelsDisplay::selectNextMarker,
    &ChannelsDisplay::selectStartOfLayer,
    &ChannelsDisplay::selectEndOfLayer,
    &ChannelsDisplay::selectStartOfProject,
    &ChannelsDisplay::selectEndOfProject,
    &ChannelsDisplay::activateAbove,
    &ChannelsDisplay::activateBelow,
    &ChannelsDisplay::mute,
    &ChannelsDisplay::solo,
    &ChannelsDisplay::zoomIn,
    &ChannelsDisplay::zoomOut,
    &ChannelsDisplay::zoomFullyOut,
    &ChannelsDisplay::zoomTimeIn,
    &ChannelsDisplay::zoomTimeOut,
    &ChannelsDisplay::zoomFreqIn,
    &ChannelsDisplay::zoomFreqOut,
};

class Channels : public testing::Test
{
protected:
    Channels()
    {
        for (const char* key : {"scalebar", "waveformdisplay"})
            qApp->setProperty(key, QVariant());
        window.setCentralWidget(display = new ChannelsDisplay);
        window.resize(900, 600);
        window.show();
    }
    void open(int channels = 1, int64_t frames = 480'000, int64_t start = 0)
    {
        project.open(SampleTypeReal, channels, 48000, frames, start);
        EXPECT_TRUE(testsupport::waitFor([this] { return laidOut(); }));
        listener.forget();
    }
    // The rows have got their sizes, and those in sight their views.
    [[nodiscard]] bool laidOut() const
    {
        const ChannelRow* row = display->rows().value(0);
        return row && row->height() >= ChannelsDisplay::minRowHeight && row->spectral()->isVisible() &&
               row->spectral()->height() > 10;
    }
    [[nodiscard]] QSplitterHandle* handle(int row) const
    {
        return display->rows()[row]->splitter()->handle(1);
    }
    [[nodiscard]] int upperHeight(int row) const { return display->rows()[row]->splitter()->sizes()[0]; }
    // A press, moves and the release on a handle, in coordinates of the screen as the splitter uses them.
    void dragHandle(int row, int distance)
    {
        QSplitterHandle* grip = handle(row);
        const QPoint start = grip->rect().center();
        QTest::mousePress(grip, Qt::LeftButton, {}, start);
        const QPoint from = grip->mapToGlobal(start);
        for (const int part : {1, 2}) {
            const QPoint at = from + QPoint(0, distance * part / 2);
            QMouseEvent move(QEvent::MouseMove, grip->mapFromGlobal(at), at, Qt::NoButton, Qt::LeftButton,
                             {});
            QApplication::sendEvent(grip, &move);
        }
        const QPoint at = from + QPoint(0, distance);
        QMouseEvent release(QEvent::MouseButtonRelease, grip->mapFromGlobal(at), at, Qt::LeftButton,
                            Qt::NoButton, {});
        QApplication::sendEvent(grip, &release);
    }
    // Sets the transport position as others would.
    void setPosition(int64_t position)
    {
        post(EventId::TransportPositionChange, position);
        listener.forget();
    }
    void select(int64_t from, int64_t to)
    {
        QPainterPath path;
        path.addRect(double(from), 0, double(to - from), 24'000);
        post(EventId::SelectionChange, Selection(path));
        listener.forget();
    }
    // The time range that was selected last.
    [[nodiscard]] Range selected() const { return listener.selections.back().range(); }

    Setting project;
    QMainWindow window;
    ChannelsDisplay* display = nullptr;
    RulerListener listener;
};

// --- without a project --------------------------------------------------------------------------------

TEST_F(Channels, withNoProjectTheSlotsDoNothing)
{
    for (int round = 0; round < 2; ++round) {
        for (const Slot slot : plainSlots)
            (display->*slot)();
        display->zoom({120, -120});
        display->scaleResize(10);
        display->moveSplitter(50, 1);
        display->setMessage(QStringLiteral("Nobody sees this"));
        EXPECT_TRUE(listener.isSilent());
        EXPECT_FALSE(qApp->property("scalebar").isValid());
        EXPECT_FALSE(display->findChild<QLabel*>(QStringLiteral("message"))->isVisible());
        EXPECT_TRUE(display->rows().isEmpty());
        // The same after the last project was closed.
        open(2);
        Setting::close();
        listener.forget();
    }
}

// --- rows ---------------------------------------------------------------------------------------------

TEST_F(Channels, everyChannelHasItsRowInTheOrderOfTheProject)
{
    open(3);
    ASSERT_EQ(display->rows().size(), 3);
    int bottom = -1;
    for (int channel = 0; channel < 3; ++channel) {
        const ChannelRow* row = display->rows()[channel];
        EXPECT_EQ(row->spectral()->channel(), channel);
        EXPECT_EQ(row->waveform()->channel(), channel);
        EXPECT_GT(row->y(), bottom);
        bottom = row->y() + row->height() - 1;
        EXPECT_LT(row->waveform()->mapTo(row, QPoint()).y(), row->spectral()->mapTo(row, QPoint()).y());
        EXPECT_EQ(row->powerScale()->height(), row->waveform()->height());
        EXPECT_EQ(row->frequencyScale()->height(), row->spectral()->height());
    }
}

TEST_F(Channels, theTimeAxisOfAllRowsAndOfTheRulerLineUp)
{
    for (const int channels : {1, 2, 40}) {
        open(channels);
        for (const int shift : {0, 30, -17}) {
            display->scaleResize(shift);
            QApplication::processEvents();
            const auto span = [this](const QWidget* widget) {
                const int left = widget->mapTo(&window, QPoint(0, 0)).x();
                return std::pair(left, left + widget->width());
            };
            const auto axis = span(display->timeLine());
            for (const ChannelRow* row : display->rows()) {
                EXPECT_EQ(span(row->spectral()), axis) << channels;
                EXPECT_EQ(span(row->waveform()), axis) << channels;
            }
        }
    }
}

TEST_F(Channels, sixtyFourChannelsScrollAndOnlyThoseInSightHaveViews)
{
    open(64);
    ASSERT_EQ(display->rows().size(), 64);
    auto* scroll = display->findChild<QScrollArea*>();
    ASSERT_GT(scroll->verticalScrollBar()->maximum(), 0);
    const auto shown = [this] {
        QList<int> channels;
        for (int channel = 0; channel < 64; ++channel)
            if (display->rows()[channel]->spectral()->isVisible())
                channels << channel;
        return channels;
    };
    ASSERT_TRUE(testsupport::waitFor([&] { return shown().size() < 15; }));
    EXPECT_TRUE(shown().contains(0));
    for (const ChannelRow* row : display->rows())
        EXPECT_GE(row->height(), ChannelsDisplay::minRowHeight);
    scroll->verticalScrollBar()->setValue(scroll->verticalScrollBar()->maximum());
    EXPECT_TRUE(testsupport::waitFor([&] { return shown().contains(63) && !shown().contains(0); }));
    EXPECT_FALSE(shown().contains(30));
    // The splitters of all of them are in step, seen or not.
    post(EventId::DisplaySplitterRatioChange, 0.5f);
    for (int row = 0; row < 64; ++row)
        EXPECT_EQ(upperHeight(row), upperHeight(0));
}

TEST_F(Channels, aNameThatIsTooLongOrMissingIsNotCutOff)
{
    open(64);
    QSet<QString> names;
    for (const ChannelRow* row : display->rows()) {
        const QLabel& name = row->name();
        EXPECT_LE(name.fontMetrics().horizontalAdvance(name.text()), name.contentsRect().width());
        EXPECT_FALSE(name.toolTip().isEmpty());
        EXPECT_FALSE(name.accessibleName().isEmpty());
        names << name.text();
    }
    EXPECT_EQ(names.size(), 64);
}

// --- splitters ----------------------------------------------------------------------------------------

TEST_F(Channels, theSplittersOfAllRowsMoveInStep)
{
    open(3);
    const int before = upperHeight(0);
    dragHandle(1, 24);
    EXPECT_EQ(upperHeight(1), before + 24);
    for (const int row : {0, 2})
        EXPECT_EQ(upperHeight(row), upperHeight(1));
    ASSERT_FALSE(listener.ratios.empty());
    const int height = display->rows()[0]->splitter()->height();
    EXPECT_FLOAT_EQ(listener.ratios.back(), float(upperHeight(1)) / float(height));
    EXPECT_EQ(display->splitterRatio(), listener.ratios.back());
    // After a resize each row has that share again.
    window.resize(900, 900);
    ASSERT_TRUE(testsupport::waitFor([&] { return display->rows()[0]->splitter()->height() > height + 40; }));
    for (const int row : {0, 1, 2})
        EXPECT_NEAR(upperHeight(row),
                    display->splitterRatio() * float(display->rows()[row]->splitter()->height()), 1);
}

TEST_F(Channels, theRatioOfOthersMovesTheSplittersWithoutAWord)
{
    open(2);
    post(EventId::DisplaySplitterRatioChange, 0.6f);
    listener.forget();
    const int height = display->rows()[0]->splitter()->height();
    EXPECT_NEAR(upperHeight(0), 0.6 * height, 1);
    EXPECT_NEAR(upperHeight(1), 0.6 * height, 1);
    display->refreshSplitter();
    EXPECT_TRUE(listener.isSilent());
    for (const float hostile : {-3.0f, 7.0f, std::nanf(""), INFINITY}) {
        post(EventId::DisplaySplitterRatioChange, hostile);
        EXPECT_GE(upperHeight(0), 0);
        EXPECT_LE(upperHeight(0), height);
    }
}

TEST_F(Channels, theSlotOfTheSplittersTakesAPosition)
{
    open(2);
    const int height = display->rows()[0]->splitter()->height();
    display->moveSplitter(height / 2, 1);
    EXPECT_FLOAT_EQ(display->splitterRatio(), float(height / 2) / float(height));
    EXPECT_EQ(listener.ratios, std::vector<float>{display->splitterRatio()});
    EXPECT_EQ(upperHeight(1), height / 2);
}

TEST_F(Channels, aClickOnTheHandleGoesToTheConfiguredRatio)
{
    qApp->setProperty("waveformdisplay", QVariant(QStringLiteral("0.4")));
    open(2);
    QTest::mouseClick(handle(0), Qt::LeftButton);
    ASSERT_TRUE(testsupport::waitFor([this] { return display->splitterRatio() == 0.4f; }));
    EXPECT_GE(listener.ratios.size(), 2U); // it glides
    EXPECT_GE(listener.ratios.front(), 0.25f);
    EXPECT_EQ(listener.ratios.back(), 0.4f);
    for (const int row : {0, 1})
        EXPECT_NEAR(upperHeight(row), 0.4 * display->rows()[row]->splitter()->height(), 1);
    // A host in compact mode has set that to 0: the waveform goes.
    qApp->setProperty("waveformdisplay", QVariant(QStringLiteral("0.0")));
    QTest::mouseClick(handle(1), Qt::LeftButton);
    ASSERT_TRUE(testsupport::waitFor([this] { return display->splitterRatio() == 0; }));
    EXPECT_EQ(upperHeight(0), 0);
    EXPECT_TRUE(display->rows()[0]->waveform()->visibleRegion().isEmpty());
    EXPECT_FALSE(display->rows()[0]->spectral()->visibleRegion().isEmpty());
    // And the next click brings it back.
    qApp->setProperty("waveformdisplay", QVariant(QStringLiteral("0.3")));
    QTest::mouseClick(handle(0), Qt::LeftButton);
    ASSERT_TRUE(testsupport::waitFor([this] { return display->splitterRatio() == 0.3f; }));
    EXPECT_FALSE(display->rows()[0]->waveform()->visibleRegion().isEmpty());
}

TEST_F(Channels, aDragOfTheHandleDoesNotGoToTheConfiguredRatio)
{
    qApp->setProperty("waveformdisplay", QVariant(QStringLiteral("0.4")));
    open(1);
    dragHandle(0, 40);
    const float ratio = display->splitterRatio();
    EXPECT_NE(ratio, 0.4f);
    const std::size_t told = listener.ratios.size();
    // An animation would tell its first step within a few of its frames.
    EXPECT_FALSE(testsupport::waitFor([&] { return listener.ratios.size() != told; }, 300));
    EXPECT_EQ(display->splitterRatio(), ratio);
}

TEST_F(Channels, theHandleWorksByKey)
{
    open(2);
    window.activateWindow();
    handle(0)->setFocus();
    QTest::keyClick(handle(0), Qt::Key_Down);
    EXPECT_NEAR(display->splitterRatio(), 0.27f, 1e-6f);
    QTest::keyClick(handle(0), Qt::Key_Up);
    EXPECT_NEAR(display->splitterRatio(), 0.25f, 1e-6f);
    EXPECT_EQ(upperHeight(0), upperHeight(1));
    QTest::keyClick(handle(0), Qt::Key_Space);
    EXPECT_TRUE(testsupport::waitFor([this] { return display->splitterRatio() == 0.1f; }));
}

// --- rulers' column and message -----------------------------------------------------------------------

TEST_F(Channels, scaleResizeAddsToThePropertyAndLaysTheRulersOutAgain)
{
    open(2);
    const int before = display->rulerWidth();
    display->scaleResize(20);
    EXPECT_EQ(qApp->property("scalebar").toInt(), before + 20);
    for (const ChannelRow* row : display->rows()) {
        EXPECT_EQ(row->frequencyScale()->width(), before + 20);
        EXPECT_EQ(row->powerScale()->width(), before + 20);
    }
    display->scaleResize(-8);
    EXPECT_EQ(display->rulerWidth(), before + 12);
    // Not below what the texts need, and not for ever.
    display->scaleResize(-100'000);
    EXPECT_GE(display->rulerWidth(), display->rows()[0]->neededRulerWidth(display->convert()));
    display->scaleResize(100'000);
    EXPECT_LE(display->rulerWidth(), 400);
    EXPECT_TRUE(listener.isSilent());
}

TEST_F(Channels, theGripAtTheRulersResizesThem)
{
    open(1);
    auto* grip = display->findChild<ScaleGrip*>();
    ASSERT_TRUE(grip && grip->isVisible());
    const int before = display->rulerWidth();
    const QPoint start = grip->mapToGlobal(QPoint(2, 5));
    QTest::mousePress(grip, Qt::LeftButton, {}, QPoint(2, 5));
    QMouseEvent move(QEvent::MouseMove, QPointF(-18, 5), start - QPoint(20, 0), Qt::NoButton, Qt::LeftButton,
                     {});
    QApplication::sendEvent(grip, &move);
    EXPECT_EQ(display->rulerWidth(), before + 20);
    QTest::keyClick(grip, Qt::Key_Right);
    EXPECT_EQ(display->rulerWidth(), before + 16);
}

TEST_F(Channels, aMessageStandsOverTheChannelsUntilItIsReplacedByNothing)
{
    open(2);
    const auto* label = display->findChild<QLabel*>(QStringLiteral("message"));
    EXPECT_FALSE(label->isVisible());
    display->setMessage(QStringLiteral("Draw a rectangle"));
    EXPECT_TRUE(label->isVisible());
    EXPECT_EQ(label->text(), QStringLiteral("Draw a rectangle"));
    const QRect rows(display->findChild<QScrollArea*>()->geometry());
    EXPECT_TRUE(rows.contains(label->geometry()));
    display->setMessage(QString(600, QLatin1Char('w')).replace(50, 1, QLatin1Char(' ')));
    EXPECT_TRUE(display->rect().contains(label->geometry()) || label->width() <= display->width());
    EXPECT_TRUE(label->testAttribute(Qt::WA_TransparentForMouseEvents));
    display->setMessage({});
    EXPECT_FALSE(label->isVisible());
}

// --- move ---------------------------------------------------------------------------------------------

TEST_F(Channels, movesAreAFiftiethOfTheView)
{
    open();
    post(EventId::DisplayAreaChange, Area{0, 0, 100'000, 24'000});
    setPosition(50'000);
    display->moveRight();
    EXPECT_EQ(display->position(), 52'000);
    display->moveLeft();
    display->moveLeft();
    EXPECT_EQ(display->position(), 48'000);
    EXPECT_EQ(listener.positions, (std::vector<int64_t>{52'000, 50'000, 48'000}));
    EXPECT_EQ(display->timeLine()->transportPosition(), 48'000);
}

TEST_F(Channels, moveLeftNeverMovesByLessThanOneSample)
{
    open();
    for (const double width : {1.0, 3.0, 49.0, 50.0, 99.0}) {
        post(EventId::DisplayAreaChange, Area{1000, 0, width, 24'000});
        setPosition(1000);
        display->moveLeft();
        EXPECT_EQ(display->position(), 999) << width;
        display->moveRight();
        EXPECT_EQ(display->position(), 1000) << width;
    }
}

TEST_F(Channels, movesEndAtTheProject)
{
    open(1, 10'000, 5000);
    setPosition(5050);
    display->moveLeft();
    EXPECT_EQ(display->position(), 5000);
    display->moveLeft();
    EXPECT_EQ(display->position(), 5000);
    setPosition(14'900);
    display->moveRight();
    EXPECT_EQ(display->position(), 15'000);
    display->moveRight();
    EXPECT_EQ(display->position(), 15'000);
}

TEST_F(Channels, thePositionIsKeptInSight)
{
    open();
    post(EventId::DisplayAreaChange, Area{100'000, 1000, 50'000, 5000});
    setPosition(100'400);
    display->moveLeft(); // by 1000, over the edge
    ASSERT_FALSE(listener.areas.empty());
    EXPECT_EQ(listener.areas.back(), (Area{99'400, 1000, 50'000, 5000}));
    setPosition(149'000);
    display->moveRight();
    EXPECT_EQ(listener.areas.back(), (Area{100'000, 1000, 50'000, 5000}));
    display->moveRight();
    display->moveToEndOfProject();
    EXPECT_EQ(listener.areas.back(), (Area{430'000, 1000, 50'000, 5000}));
    display->moveToStartOfProject();
    EXPECT_EQ(listener.areas.back(), (Area{0, 1000, 50'000, 5000}));
    EXPECT_EQ(display->viewArea(), listener.areas.back());
    // Each command tells the area, moved or not.
    const std::size_t told = listener.areas.size();
    display->moveToStartOfProject();
    EXPECT_EQ(listener.areas.size(), told + 1);
}

TEST_F(Channels, eventsAreTheStartsAndEndsOfLayersWithContent)
{
    open(1, 400'000);
    project.add(std::make_shared<MemoryLayer>(project.format, std::vector<float>(20'000), 100'000));
    project.add(std::make_shared<MemoryLayer>(project.format)); // empty
    const LayerGroupPtr group = LayerGroup::create(project.format);
    ASSERT_TRUE(group->appendChildLayer(
        std::make_shared<MemoryLayer>(project.format, std::vector<float>(5000), 200'000)));
    project.add(group);
    setPosition(0);
    std::vector<int64_t> stops;
    for (int i = 0; i < 7; ++i) {
        display->moveToNextEvent();
        stops.push_back(display->position());
    }
    EXPECT_EQ(stops, (std::vector<int64_t>{100'000, 120'000, 200'000, 205'000, 400'000, 400'000, 400'000}));
    setPosition(200'001);
    stops.clear();
    for (int i = 0; i < 5; ++i) {
        display->moveToPreviousEvent();
        stops.push_back(display->position());
    }
    EXPECT_EQ(stops, (std::vector<int64_t>{200'000, 120'000, 100'000, 0, 0}));
}

TEST_F(Channels, markersAreTheirTimesAndBothEndsOfRegions)
{
    open();
    post(EventId::MarkerListChange, MarkerList{{1, 3000, 0, "a"}, {2, 1000, 500, "b"}, {3, 3000, 0, "c"}});
    setPosition(0);
    std::vector<int64_t> stops;
    for (int i = 0; i < 4; ++i) {
        display->moveToNextMarker();
        stops.push_back(display->position());
    }
    EXPECT_EQ(stops, (std::vector<int64_t>{1000, 1500, 3000, 3000}));
    display->moveToPreviousMarker();
    EXPECT_EQ(display->position(), 1500);
    post(EventId::MarkerListChange, MarkerList());
    display->moveToPreviousMarker();
    EXPECT_EQ(display->position(), 1500);
}

TEST_F(Channels, startAndEndOfTheActiveLayerAndOfTheProject)
{
    open(1, 400'000);
    auto layer = std::make_shared<MemoryLayer>(project.format, std::vector<float>(20'000), 100'000);
    project.add(layer);
    setPosition(50);
    display->moveToStartOfLayer(); // none is active
    EXPECT_EQ(display->position(), 50);
    project.root.setActive(layer);
    display->moveToStartOfLayer();
    EXPECT_EQ(display->position(), 100'000);
    display->moveToEndOfLayer();
    EXPECT_EQ(display->position(), 120'000);
    display->moveToEndOfProject();
    EXPECT_EQ(display->position(), 400'000);
    display->moveToStartOfProject();
    EXPECT_EQ(display->position(), 0);
}

// --- select -------------------------------------------------------------------------------------------

TEST_F(Channels, everySelectCommandHasItsTitle)
{
    open(1, 400'000);
    auto layer = std::make_shared<MemoryLayer>(project.format, std::vector<float>(20'000), 100'000);
    project.add(layer);
    project.root.setActive(layer);
    post(EventId::MarkerListChange, MarkerList{{1, 3000, 0, "a"}, {2, 300'000, 0, "b"}});
    const std::pair<Slot, const char*> rows[] = {
        {&ChannelsDisplay::selectLeft, "Select Left"},
        {&ChannelsDisplay::selectRight, "Select Left"},
        {&ChannelsDisplay::selectPreviousEvent, "Select Previous"},
        {&ChannelsDisplay::selectNextEvent, "Select Previous"},
        {&ChannelsDisplay::selectPreviousMarker, "Select Previous"},
        {&ChannelsDisplay::selectNextMarker, "Select Previous"},
        {&ChannelsDisplay::selectStartOfLayer, "Select Start of Layer"},
        {&ChannelsDisplay::selectEndOfLayer, "Select End of Layer"},
        {&ChannelsDisplay::selectStartOfProject, "Select Start of Project"},
        {&ChannelsDisplay::selectEndOfProject, "Select End of Project"},
    };
    for (const auto& [slot, title] : rows) {
        post(EventId::SelectionChange, Selection());
        setPosition(110'000);
        (display->*slot)();
        ASSERT_EQ(listener.selections.size(), 1U) << title;
        EXPECT_EQ(listener.history, QStringList{QString::fromLatin1(title)});
        ASSERT_EQ(listener.positions.size(), 1U);
        const int64_t target = display->position();
        EXPECT_EQ(target, listener.positions[0]);
        EXPECT_NE(target, 110'000);
        EXPECT_EQ(selected().start, std::min<int64_t>(110'000, target)) << title;
        EXPECT_EQ(selected().end(), std::max<int64_t>(110'000, target)) << title;
        // The full band.
        EXPECT_EQ(listener.selections[0].bounds().y, 0);
        EXPECT_EQ(listener.selections[0].bounds().height, 24'000);
    }
}

TEST_F(Channels, theAnchorIsTheOtherEndOfTheSelection)
{
    open();
    post(EventId::MarkerListChange, MarkerList{{1, 1000, 0, ""}, {2, 9000, 0, ""}});
    select(4000, 6000);
    setPosition(6000); // at its end: the start is the anchor
    display->selectNextMarker();
    EXPECT_EQ(selected(), (Range{4000, 5000}));
    select(4000, 6000);
    setPosition(4000); // at its start: the end
    display->selectPreviousMarker();
    EXPECT_EQ(selected(), (Range{1000, 5000}));
    select(4000, 6000);
    setPosition(5000); // elsewhere: the position
    display->selectNextMarker();
    EXPECT_EQ(selected(), (Range{5000, 4000}));
    // On and on from the same anchor, and back over it.
    select(0, 0);
    post(EventId::SelectionChange, Selection());
    setPosition(5000);
    post(EventId::DisplayAreaChange, Area{0, 0, 50'000, 24'000});
    display->selectRight();
    EXPECT_EQ(selected(), (Range{5000, 1000}));
    display->selectRight();
    EXPECT_EQ(selected(), (Range{5000, 2000}));
    display->selectLeft();
    EXPECT_EQ(selected(), (Range{5000, 1000}));
    display->selectLeft();
    EXPECT_TRUE(listener.selections.back().isEmpty());
    display->selectLeft();
    EXPECT_EQ(selected(), (Range{4000, 1000}));
}

TEST_F(Channels, aSelectThatChangesNothingMakesNoStateOfTheHistory)
{
    open();
    select(4000, 480'000);
    setPosition(480'000);
    display->selectEndOfProject();
    display->selectNextEvent();
    EXPECT_TRUE(listener.history.isEmpty());
    EXPECT_TRUE(listener.selections.empty());
}

// --- layers and channels ------------------------------------------------------------------------------

TEST_F(Channels, aboveAndBelowWalkTheListAndEndAtItsEnds)
{
    open();
    auto second = std::make_shared<MemoryLayer>(project.format, std::vector<float>(10));
    auto third = std::make_shared<MemoryLayer>(project.format, std::vector<float>(10));
    project.add(second);
    project.add(third);
    const ILayerPtr first = project.root.project()->children(ChildrenDirect)[0];
    const auto activate = [this](const ILayerPtr& layer) {
        project.root.setActive(layer);
        listener.forget();
    };
    activate(second);
    display->activateAbove();
    EXPECT_EQ(listener.activated, std::vector<ILayerPtr>{first});
    activate(second);
    display->activateBelow();
    EXPECT_EQ(listener.activated, std::vector<ILayerPtr>{third});
    activate(third);
    display->activateBelow();
    activate(first);
    display->activateAbove();
    EXPECT_TRUE(listener.activated.empty());
    activate(nullptr);
    display->activateAbove();
    display->activateBelow();
    EXPECT_TRUE(listener.activated.empty());
}

TEST_F(Channels, muteAndSoloToggleTheChannelUnderThePointer)
{
    open(3);
    const ChannelRow* row = display->rows()[1];
    const QPoint middle = row->mapToGlobal(row->rect().center());
    QCursor::setPos(middle);
    ASSERT_TRUE(testsupport::waitFor([&] { return QCursor::pos() == middle; }));
    display->mute();
    ASSERT_EQ(listener.modes.size(), 1U);
    EXPECT_TRUE(listener.modes[0].enabled.testBit(0));
    EXPECT_FALSE(listener.modes[0].enabled.testBit(1));
    EXPECT_EQ(row->name().property("channelstate").toString(), QStringLiteral("mute"));
    display->solo();
    EXPECT_TRUE(listener.modes.back().solo.testBit(1));
    EXPECT_FALSE(listener.modes.back().enabled.testBit(1));
    display->mute();
    display->solo();
    EXPECT_EQ(listener.modes.back(), ChannelsMode(3));
    EXPECT_TRUE(row->name().property("channelstate").toString().isEmpty());
    // Over none of them.
    const QPoint outside = window.mapToGlobal(QPoint(window.width() + 30, 5));
    QCursor::setPos(outside);
    ASSERT_TRUE(testsupport::waitFor([&] { return QCursor::pos() == outside; }));
    listener.forget();
    display->mute();
    display->solo();
    EXPECT_TRUE(listener.isSilent());
}

TEST_F(Channels, theMenuOfANameMutesAndSolosItsChannel)
{
    open(2);
    ChannelName& name = display->rows()[1]->name();
    for (const char* text : {"Mute", "Solo"}) {
        QContextMenuEvent event(QContextMenuEvent::Mouse, {5, 5}, name.mapToGlobal(QPoint(5, 5)));
        QApplication::sendEvent(&name, &event);
        auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        ASSERT_TRUE(menu);
        for (QAction* action : menu->actions())
            if (action->text() == QLatin1String(text))
                action->trigger();
        menu->close();
        ASSERT_TRUE(testsupport::waitFor([] { return !QApplication::activePopupWidget(); }));
    }
    ASSERT_EQ(listener.modes.size(), 2U);
    EXPECT_FALSE(listener.modes[0].enabled.testBit(1));
    EXPECT_TRUE(listener.modes[1].solo.testBit(1));
    EXPECT_TRUE(name.toolTip().contains(QStringLiteral("Solo")));
}

// --- zoom ---------------------------------------------------------------------------------------------

TEST_F(Channels, zoomStepsAreThoseOfTheWheelAboutTheMiddle)
{
    open();
    const Area start{100'000, 4000, 100'000, 8000};
    const double notch = std::exp2(-0.25);
    const struct
    {
        Slot slot;
        double width;
        double height;
    } rows[] = {{&ChannelsDisplay::zoomIn, notch, notch}, {&ChannelsDisplay::zoomOut, 1 / notch, 1 / notch},
                {&ChannelsDisplay::zoomTimeIn, notch, 1}, {&ChannelsDisplay::zoomTimeOut, 1 / notch, 1},
                {&ChannelsDisplay::zoomFreqIn, 1, notch}, {&ChannelsDisplay::zoomFreqOut, 1, 1 / notch}};
    for (const auto& row : rows) {
        post(EventId::DisplayAreaChange, start);
        listener.forget();
        (display->*row.slot)();
        ASSERT_EQ(listener.areas.size(), 1U);
        const Area& area = listener.areas[0];
        EXPECT_NEAR(area.width, start.width * row.width, 1e-6);
        EXPECT_NEAR(area.height, start.height * row.height, 1e-6);
        EXPECT_NEAR(area.x + area.width / 2, 150'000, 1e-6);
        EXPECT_NEAR(area.y + area.height / 2, 8000, 1e-6);
    }
    display->zoomFullyOut();
    EXPECT_EQ(listener.areas.back(), (Area{0, 0, 480'000, 24'000}));
    display->zoom({480, 960});
    EXPECT_NEAR(listener.areas.back().width, 240'000, 1e-6);
    EXPECT_NEAR(listener.areas.back().height, 6000, 1e-6);
}

// --- transport ----------------------------------------------------------------------------------------

TEST_F(Channels, theTransportReachesTheTimeRulerAndBack)
{
    open();
    QSignalSpy toggled(display, &ChannelsDisplay::playOrStopToggled);
    sendMouse(*display->timeLine(), QEvent::MouseButtonPress, {50, 5});
    EXPECT_EQ(toggled.size(), 1);
    Q_EMIT display->started();
    EXPECT_TRUE(display->timeLine()->isPlaying());
    Q_EMIT display->stopped();
    EXPECT_FALSE(display->timeLine()->isPlaying());
    EXPECT_EQ(display->position(), listener.positions.back());
    // And that of a view.
    Q_EMIT display->rows()[0]->spectral()->playOrStopToggled();
    EXPECT_EQ(toggled.size(), 2);
}

} // namespace
