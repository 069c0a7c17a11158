// Editing single samples in the waveform view, by the pointer and by number.
#include "display/memorylayer.h"
#include "display/waveformview.h"
#include "model/documentlock.h"
#include "model/history.h"

#include <QAction>
#include <QInputDialog>
#include <QKeyEvent>
#include <QMenu>
#include <QTimer>
#include <QWindow>

#include <cstring>
#include <random>

using namespace waveformview;

namespace {

class SampleEdit : public Waveform
{
protected:
    SampleEdit()
    {
        messages::setAnswerer([this](const messages::Box& box) {
            boxes << box.title << box.text;
            return QMessageBox::Ok;
        });
        post(EventId::DisplayCompositeEnable, false);
    }
    // A layer of noise, active and near enough to see its samples.
    LayerPtr begin(int channels = 1, int32_t sampleType = SampleTypeReal)
    {
        open(channels, sampleType);
        LayerPtr layer = addLayer(noise(70'000 * std::size_t(channels * sampleType), 1, 0.9f));
        activate(layer);
        root.project()->resetBackup(ChildrenAll); // as when a project was opened
        post(EventId::HistoryListChange, QList<HistoryEntry>{HistoryEntry()});
        post(EventId::HistoryActivate, int32_t(0));
        show(65'500, 20);
        (void)picture();
        return layer;
    }
    void activate(const ILayerPtr& layer)
    {
        root.setActive(layer);
        post(EventId::LayerActivate, layer);
    }
    static std::vector<float> contents(const ILayer& layer)
    {
        const Range range = layer.range();
        const SamplingFormat format = layer.format();
        std::vector<float> samples(std::size_t(range.length) *
                                   std::size_t(format.channels * format.sampleType));
        layer.read(samples.data(), range, -1, true);
        return samples;
    }
    static std::vector<std::size_t> differences(const std::vector<float>& a, const std::vector<float>& b)
    {
        std::vector<std::size_t> found;
        EXPECT_EQ(a.size(), b.size());
        for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i)
            if (std::memcmp(&a[i], &b[i], sizeof(float)) != 0)
                found.push_back(i);
        return found;
    }
    static float sampleOf(const ILayer& layer, int64_t at, int channel = 0)
    {
        float pair[2] = {};
        layer.read(pair, {at, 1}, channel, true);
        return pair[0];
    }
    // Answers the dialog, which is told to `seen` before; without a value it is cancelled.
    void answerDialog(const std::optional<double>& value, QStringList& seen)
    {
        auto* timer = new QTimer(view);
        QObject::connect(timer, &QTimer::timeout, view, [timer, value, &seen] {
            auto* dialog = qobject_cast<QInputDialog*>(QApplication::activeModalWidget());
            if (!dialog || !dialog->windowHandle() || !dialog->windowHandle()->isExposed())
                return;
            timer->deleteLater();
            seen << dialog->windowTitle() << dialog->labelText()
                 << QString::number(dialog->doubleValue(), 'f', 9);
            if (!value)
                return dialog->reject();
            dialog->setDoubleValue(*value);
            dialog->accept();
        });
        timer->start(5);
    }

    QStringList boxes;
    History history;
};

constexpr int64_t target = 65'510;

} // namespace

// --- by the pointer -----------------------------------------------------------------------------------

TEST_F(SampleEdit, aDragChangesExactlyOneSampleAndUndoBringsItBackBitIdentically)
{
    const LayerPtr layer = begin();
    const std::vector<float> before = contents(*layer);
    press(view->pixelOf(target, double(before[target])));
    move(view->pixelOf(target, 0.3));
    move(view->pixelOf(target + 3, 0.55)); // sideways the sample stays the same
    release(view->pixelOf(target + 3, 0.55));
    const std::vector<float> after = contents(*layer);
    EXPECT_EQ(differences(before, after), std::vector<std::size_t>{std::size_t(target)});
    EXPECT_NEAR(after[target], 0.55, 1e-6);
    EXPECT_EQ(listener.records, QStringList{QStringLiteral("Sample Edit")}); // one step for the whole drag
    ASSERT_EQ(history.states().size(), 2);
    EXPECT_FALSE(history.states().back().icon.isNull());
    EXPECT_EQ(history.states().back().layerRecords.size(), 1);
    history.undo();
    EXPECT_TRUE(differences(before, contents(*layer)).empty());
    history.redo();
    EXPECT_TRUE(differences(after, contents(*layer)).empty());
    EXPECT_TRUE(boxes.isEmpty());
}

TEST_F(SampleEdit, theDraggedSampleFollowsThePointerOnTheScreen)
{
    const LayerPtr layer = begin();
    press(view->pixelOf(target, double(sampleOf(*layer, target))));
    for (const double amplitude : {0.5, -0.5}) {
        const QPointF at = view->pixelOf(target, amplitude);
        move(at);
        const QImage image = picture();
        EXPECT_GT(qGray(image.pixel(at.toPoint())), 200) << amplitude;
    }
    release(view->pixelOf(target, -0.5));
}

TEST_F(SampleEdit, gainAndPolarityOfTheLayerAreTakenOut)
{
    const LayerPtr layer = begin();
    layer->setMultiplier(0.5f);
    layer->setPolarity(-1);
    post(EventId::LayerPropertiesChange, ILayerPtr(layer));
    press(view->pixelOf(target, -0.5 * double(sampleOf(*layer, target))));
    move(view->pixelOf(target, 0.25));
    release(view->pixelOf(target, 0.25));
    EXPECT_NEAR(sampleOf(*layer, target), -0.5, 1e-6);
}

TEST_F(SampleEdit, escapeBringsTheOldValueBackAndRecordsNothing)
{
    const LayerPtr layer = begin();
    const std::vector<float> before = contents(*layer);
    press(view->pixelOf(target, double(before[target])));
    move(view->pixelOf(target, 0.1));
    EXPECT_NEAR(sampleOf(*layer, target), 0.1, 1e-6);
    QKeyEvent escape(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
    QApplication::sendEvent(view, &escape);
    release(view->pixelOf(target, 0.1));
    EXPECT_TRUE(differences(before, contents(*layer)).empty());
    EXPECT_TRUE(listener.records.isEmpty());
    EXPECT_EQ(QWidget::keyboardGrabber(), nullptr);
}

TEST_F(SampleEdit, aClickOnADotChangesNothing)
{
    const LayerPtr layer = begin();
    const std::vector<float> before = contents(*layer);
    const QPointF at = view->pixelOf(target, double(before[target]));
    press(at);
    release(at);
    EXPECT_TRUE(differences(before, contents(*layer)).empty());
    EXPECT_TRUE(listener.records.isEmpty());
    EXPECT_EQ(listener.contents, 0);
}

TEST_F(SampleEdit, aPressBesideTheDotsOrFartherOutDragsNothing)
{
    const LayerPtr layer = begin();
    const std::vector<float> before = contents(*layer);
    const double value = double(before[target]);
    const double beside = value > 0 ? value - 0.5 : value + 0.5;
    press(view->pixelOf(target, beside));
    move(view->pixelOf(target, -beside));
    release(view->pixelOf(target, -beside));
    show(60'000, 400); // a pixel a sample
    press(view->pixelOf(60'100, double(before[60'100])));
    move(view->pixelOf(60'100, 0));
    release(view->pixelOf(60'100, 0));
    EXPECT_TRUE(differences(before, contents(*layer)).empty());
}

TEST_F(SampleEdit, aPointerBeyondTheViewGivesTheEdgeOfTheAmplitudesShown)
{
    const LayerPtr layer = begin();
    press(view->pixelOf(target, double(sampleOf(*layer, target))));
    move({100, -5000});
    EXPECT_EQ(sampleOf(*layer, target), 1);
    move({100, 5000});
    release({100, 5000});
    EXPECT_EQ(sampleOf(*layer, target), -1);
}

TEST_F(SampleEdit, onlyTheChannelOfTheViewAndTheActiveLayerChange)
{
    const LayerPtr layer = begin(2);
    const LayerPtr other = addLayer(noise(140'000, 1, 0.9f));
    const std::vector<float> before = contents(*layer);
    press(view->pixelOf(target, double(sampleOf(*layer, target))));
    move(view->pixelOf(target, 0.125));
    release(view->pixelOf(target, 0.125));
    EXPECT_EQ(differences(before, contents(*layer)), std::vector<std::size_t>{std::size_t(2 * target)});
    EXPECT_TRUE(differences(before, contents(*other)).empty());
}

TEST_F(SampleEdit, ofAComplexSampleThePartUnderThePointerChanges)
{
    const LayerPtr layer = begin(1, SampleTypeComplex);
    std::vector<float> pair{0.6f, -0.4f};
    ASSERT_TRUE(layer->write(pair.data(), {target, 1}, 0, true));
    post(EventId::LayerContentUpdate, ILayerPtr(layer));
    (void)picture();
    const std::vector<float> before = contents(*layer);
    press(view->pixelOf(target, -0.4));
    move(view->pixelOf(target, 0.1));
    release(view->pixelOf(target, 0.1));
    EXPECT_EQ(differences(before, contents(*layer)), std::vector<std::size_t>{std::size_t(2 * target + 1)});
}

TEST_F(SampleEdit, aLayerThatGoesDuringTheDragEndsIt)
{
    const LayerPtr layer = begin();
    press(view->pixelOf(target, double(sampleOf(*layer, target))));
    move(view->pixelOf(target, 0.2));
    ASSERT_TRUE(root.project()->removeChildLayer(layer));
    post(EventId::LayerRootChange, root);
    move(view->pixelOf(target, 0.7));
    release(view->pixelOf(target, 0.7));
    EXPECT_NEAR(sampleOf(*layer, target), 0.2, 1e-6);
    EXPECT_TRUE(listener.records.isEmpty());
    EXPECT_EQ(QWidget::keyboardGrabber(), nullptr);
}

TEST_F(SampleEdit, randomDragsAreUndoneOneByOne)
{
    const LayerPtr layer = begin();
    std::vector<std::vector<float>> states{contents(*layer)};
    std::mt19937 random(12);
    for (int i = 0; i < 20; ++i) {
        const int64_t at = 65'502 + int64_t(random() % 16);
        press(view->pixelOf(double(at), double(sampleOf(*layer, at))));
        for (int step = 0; step < 3; ++step)
            move(view->pixelOf(double(at), double(random() % 2000) / 1000 - 1));
        release(view->pixelOf(double(at), 0));
        // The dot of a neighbour may lie over this one's, and a drag may end where it began.
        if (history.states().size() > int(states.size()))
            states.push_back(contents(*layer));
    }
    ASSERT_GE(states.size(), 15U);
    while (history.canUndo()) {
        EXPECT_TRUE(differences(states.back(), contents(*layer)).empty()) << history.currentRow();
        states.pop_back();
        history.undo();
    }
    EXPECT_TRUE(differences(states.front(), contents(*layer)).empty());
}

// --- by number ----------------------------------------------------------------------------------------

TEST_F(SampleEdit, editSampleAsksForTheValueOfTheNearestSample)
{
    const LayerPtr layer = begin();
    const std::vector<float> before = contents(*layer);
    const QPointF near = view->pixelOf(target - 0.4, 0);
    const std::unique_ptr<QMenu> menu(view->makeMenu(near));
    ASSERT_EQ(menu->actions().front()->text(), QStringLiteral("Edit Sample..."));
    QStringList seen;
    answerDialog(0.25, seen);
    menu->actions().front()->trigger();
    ASSERT_EQ(seen.size(), 3);
    EXPECT_EQ(seen[0], QStringLiteral("Edit Sample"));
    EXPECT_EQ(seen[1], QStringLiteral("Sample Value:"));
    EXPECT_NEAR(seen[2].toDouble(), double(before[target]), 1e-9);
    const std::vector<float> after = contents(*layer);
    EXPECT_EQ(differences(before, after), std::vector<std::size_t>{std::size_t(target)});
    EXPECT_EQ(after[target], 0.25f);
    EXPECT_EQ(listener.records, QStringList{QStringLiteral("Sample Edit")});
    EXPECT_EQ(listener.contents, 1);
    history.undo();
    EXPECT_TRUE(differences(before, contents(*layer)).empty());
}

TEST_F(SampleEdit, aDialogThatIsCancelledOrOnlyLookedAtChangesNothing)
{
    const LayerPtr layer = begin();
    const std::vector<float> before = contents(*layer);
    QStringList seen;
    answerDialog(std::nullopt, seen);
    view->editSample(view->pixelOf(target, 0));
    answerDialog(seen.at(2).toDouble(), seen);
    view->editSample(view->pixelOf(target, 0));
    EXPECT_EQ(seen.size(), 6);
    EXPECT_TRUE(differences(before, contents(*layer)).empty());
    EXPECT_TRUE(listener.records.isEmpty());
}

TEST_F(SampleEdit, aCompositeViewRefusesSampleEditing)
{
    const LayerPtr layer = begin();
    const std::vector<float> before = contents(*layer);
    post(EventId::DisplayCompositeEnable, true);
    const QStringList refusal{QStringLiteral("Cannot edit samples in composite view"),
                              QStringLiteral("You can only edit samples when you're not in composite view.")};
    view->editSample(view->pixelOf(target, 0));
    EXPECT_EQ(boxes, refusal);
    boxes.clear();
    press(view->pixelOf(target, double(before[target])));
    move(view->pixelOf(target, 0));
    release(view->pixelOf(target, 0));
    EXPECT_EQ(boxes, refusal);
    EXPECT_TRUE(differences(before, contents(*layer)).empty());
    EXPECT_TRUE(listener.records.isEmpty());
}

TEST_F(SampleEdit, aGroupAndALayerWithinAGroupRefuseSampleEditing)
{
    const LayerPtr layer = begin();
    const LayerGroupPtr group = LayerGroup::create(format);
    ASSERT_TRUE(root.project()->removeChildLayer(layer));
    ASSERT_TRUE(group->appendChildLayer(layer));
    add(group);
    (void)picture();
    const std::vector<float> before = contents(*layer);
    const QStringList refusal{
        QStringLiteral("Cannot edit samples from a group"),
        QStringLiteral("You can only edit samples from a top-level layer, not from a group or "
                       "a layer within a group.")};
    for (const ILayerPtr& active : {ILayerPtr(group), ILayerPtr(layer), ILayerPtr()}) {
        activate(active);
        boxes.clear();
        view->editSample(view->pixelOf(target, 0));
        EXPECT_EQ(boxes, refusal);
    }
    activate(layer);
    boxes.clear();
    press(view->pixelOf(target, double(before[target])));
    release(view->pixelOf(target, double(before[target])));
    EXPECT_EQ(boxes, refusal);
    EXPECT_TRUE(differences(before, contents(*layer)).empty());
}

TEST_F(SampleEdit, hiddenMovedAndBusyLayersAreLeftAlone)
{
    const LayerPtr layer = begin();
    const std::vector<float> before = contents(*layer);
    const auto attempt = [&] {
        press(view->pixelOf(target, double(before[target])));
        move(view->pixelOf(target, 0));
        release(view->pixelOf(target, 0));
        view->editSample(view->pixelOf(target, 0)); // would wait for an answer
    };
    layer->setEnabled(false);
    post(EventId::LayerPropertiesChange, ILayerPtr(layer));
    attempt();
    layer->setEnabled(true);
    post(EventId::LayerPropertiesChange, ILayerPtr(layer));
    (void)picture();
    view->setBlocked(true);
    attempt();
    view->setBlocked(false);
    layer->setScale(1, 0.5f); // the preview of a move
    attempt();
    layer->setScale(1, 1);
    EXPECT_TRUE(differences(before, contents(*layer)).empty());
    show(80'000, 20); // nothing there
    view->editSample({10, 100});
    EXPECT_EQ(layer->range().length, 70'000);
    EXPECT_TRUE(boxes.isEmpty());
}

// For the sanitizers: views pan and zoom, and samples are dragged, while their threads render.
TEST_F(SampleEdit, panAndZoomWhileSamplesAreDragged)
{
    const LayerPtr layer = begin();
    std::mt19937 random(21);
    for (int i = 0; i < 60; ++i) {
        const int64_t at = int64_t(random() % 60'000);
        show(double(at), 20);
        view->repaint();
        const QPointF dot = view->pixelOf(double(at + 10), double(sampleOf(*layer, at + 10)));
        press(dot);
        for (int step = 0; step < 5; ++step) {
            move(view->pixelOf(double(at + 10), double(random() % 2000) / 1000 - 1));
            view->repaint();
        }
        release(dot);
        show(0, std::exp2(3 + double(random() % 13)));
        view->repaint();
        if (i % 10 == 0)
            history.undo();
    }
    (void)picture();
    EXPECT_GT(history.states().size(), 20);
}
