// A user who never rests: pans, zooms, changes settings and drags samples, while all textures are being
// made. Meant for the sanitizers above all, where it goes on for a minute.
#include "display/channelrow.h"
#include "display/channelsdisplay.h"
#include "display/frequencyscale.h"
#include "display/glenvironment.h"
#include "display/overviewbar.h"
#include "display/powerscale.h"
#include "display/rulersetting.h"
#include "display/spectralchannel.h"
#include "display/timeline.h"
#include "display/waveformchannel.h"
#include "model/layer.h"
#include "support/testsupport.h"

#include <QElapsedTimer>
#include <QMainWindow>
#include <QVariant>

#include <cmath>
#include <random>

namespace {

constexpr int rate = 48000;
constexpr int64_t frames = 200'000;

class Script : public testing::Test
{
protected:
    Script()
    {
        qApp->setProperty("sessionpath", QVariant(testsupport::makeFolder(QStringLiteral("session"))));
        window.setCentralWidget(display = new ChannelsDisplay);
        window.resize(700, 500);
        window.show();
        project.open(SampleTypeReal, 2, rate, 1000);
        layer = Layer::create(project.format, {}, 0, true);
        expected = noise(std::size_t(frames * 2), 3, 0.8f);
        EXPECT_TRUE(layer->write(expected.data(), {0, frames}, -1, true));
        project.add(layer);
        project.root.setActive(layer);
        post(EventId::LayerActivate, ILayerPtr(layer));
        post(EventId::DisplaySplitterRatioChange, 0.4f);
        EXPECT_TRUE(testsupport::waitFor([this] {
            return display->rows().size() == 2 && display->rows()[1]->spectral()->isValid() &&
                   display->rows()[1]->waveform()->isValid();
        }));
    }
    ~Script() override { Setting::close(); }

    int number(int count) { return int(random() % unsigned(count)); }
    QPointF placeIn(const QWidget& widget)
    {
        return {double(number(std::max(1, widget.width()))), double(number(std::max(1, widget.height())))};
    }
    QWidget& anyWidget()
    {
        ChannelRow& row = *display->rows()[number(2)];
        QWidget* widgets[] = {row.spectral(),   row.waveform(),      row.frequencyScale(),
                              row.powerScale(), display->timeLine(), display->findChild<OverviewBar*>(),
                              row.spectral()};
        return *widgets[number(7)];
    }
    void wheel()
    {
        QWidget& widget = anyWidget();
        const Qt::KeyboardModifiers modifiers[] = {Qt::NoModifier, Qt::ShiftModifier, Qt::AltModifier,
                                                   Qt::ControlModifier};
        const QPointF at = placeIn(widget);
        QWheelEvent event(at, widget.mapToGlobal(at.toPoint()), QPoint(),
                          {number(241) - 120, number(241) - 120}, Qt::NoButton, modifiers[number(4)],
                          Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(&widget, &event);
    }
    void dragSomething()
    {
        QWidget& widget = anyWidget();
        const QPointF from = placeIn(widget);
        const QPointF to = placeIn(widget);
        const Qt::MouseButton button = number(2) ? Qt::MiddleButton : Qt::LeftButton;
        sendMouse(widget, QEvent::MouseButtonPress, from, button);
        QMouseEvent move(QEvent::MouseMove, to, widget.mapToGlobal(to.toPoint()), Qt::NoButton, button,
                         Qt::NoModifier);
        QCoreApplication::sendEvent(&widget, &move);
        sendMouse(widget, QEvent::MouseButtonRelease, to, button);
        remember();
    }
    void setting()
    {
        switch (number(7)) {
        case 0:
            return post(EventId::FreqScaleChange, int32_t(number(5)));
        case 1:
            return post(EventId::FilteringChange, int32_t(number(3)));
        case 2:
            return post(EventId::DisplayTimeSharpenChange, float(number(3)) / 2);
        case 3:
            return post(EventId::DisplayGridEnable, number(2) == 1);
        case 4:
            return post(EventId::DisplayDisplacementChange, Displacement{0, float(number(2) * 20)});
        case 5:
            return post(
                EventId::TransformChange,
                TransformSettings(SampleTypeReal, WindowType::BlackmanHarris, 512 << number(3), 8, 2));
        default:
            return post(EventId::DisplaySplitterRatioChange, 0.2f + 0.2f * float(number(3)));
        }
    }
    // Goes to where single samples show, and drags one.
    void dragSample()
    {
        WaveformChannel& view = *display->rows()[number(2)]->waveform();
        if (view.height() < 20)
            return;
        post(EventId::DisplayCompositeEnable, false);
        const auto at = int64_t(number(int(frames) - 40));
        post(EventId::DisplayPowerChange, PowerRange{-1, 1});
        post(EventId::DisplayAreaChange, Area{double(at), 0, 30, rate / 2.0});
        view.repaint();
        const int64_t sample = at + 15;
        const float value = expected[std::size_t(2 * sample + view.channel())];
        const QPointF dot = view.pixelOf(double(sample), double(value));
        drag(view, dot, dot + QPointF(0, number(60) - 30));
        remember();
    }
    // What the layer holds must be what the views told: a drag over the waveform may edit, all else may not.
    void remember()
    {
        std::vector<float> now(std::size_t(frames * 2));
        layer->read(now.data(), {0, frames}, -1, true);
        int changed = 0;
        for (std::size_t i = 0; i < now.size(); ++i)
            changed += now[i] != expected[i];
        EXPECT_LE(changed, 1);
        edits += changed;
        expected = now;
    }
    // The window when everything is drawn.
    QImage picture()
    {
        EXPECT_TRUE(testsupport::waitFor([this] {
            for (const ChannelRow* row : display->rows()) {
                row->spectral()->update();
                row->waveform()->update();
            }
            QCoreApplication::processEvents();
            return display->isSettled();
        }));
        return window.grab().toImage();
    }

    std::mt19937 random{77};
    Setting project;
    LayerPtr layer;
    std::vector<float> expected; // what the layer holds, interleaved
    int edits = 0;
    QMainWindow window;
    ChannelsDisplay* display = nullptr;
};

TEST_F(Script, pansZoomsAndEditsSamplesAndStillShowsWhatTheLayerHolds)
{
    QElapsedTimer timer;
    timer.start();
    int steps = 0;
    while (timer.elapsed() < testsupport::scriptTime() || steps < 40) {
        ++steps;
        switch (number(8)) {
        case 0:
            setting();
            break;
        case 1:
            dragSample();
            break;
        case 2:
            dragSomething();
            break;
        case 3:
            post(EventId::DisplayAreaChange, project.whole());
            break;
        default:
            wheel();
        }
        QCoreApplication::processEvents();
    }
    EXPECT_GT(edits, 0);

    // The same view of the same layer, drawn by views that know nothing of what went before.
    const auto finish = [this] {
        if (QWidget* focus = window.focusWidget())
            focus->clearFocus();
        post(EventId::TimeUnitChange, int32_t(TimeUnit::Seconds));
        post(EventId::PowerUnitChange, int32_t(PowerUnit::Decibel));
        post(EventId::FreqScaleChange, int32_t(FreqScale::Mel));
        post(EventId::FilteringChange, int32_t(Filtering::Linear));
        post(EventId::DisplayTimeSharpenChange, 0.0f);
        post(EventId::DisplayGridEnable, true);
        post(EventId::DisplayDisplacementChange, Displacement());
        post(EventId::DisplayCompositeEnable, false);
        post(EventId::TransformChange,
             TransformSettings(SampleTypeReal, WindowType::BlackmanHarris, 1024, 8, 2));
        post(EventId::DisplaySplitterRatioChange, 0.4f);
        post(EventId::DisplayPowerChange, PowerRange{-1, 1});
        post(EventId::TransportPositionChange, int64_t(0));
        post(EventId::DisplayAreaChange, Area{10'000, 500, 60'000, 12'000});
        return picture();
    };
    const QImage worn = finish();
    Setting::close();
    post(EventId::SamplingFormatChange, project.format);
    post(EventId::ChannelsModeChange, ChannelsMode(2));
    post(EventId::LayerRootChange, project.root);
    ASSERT_TRUE(testsupport::waitFor([this] { return display->rows()[1]->spectral()->isValid(); }));
    const QImage fresh = finish();
    ASSERT_EQ(worn.size(), fresh.size());
    int different = 0;
    for (int y = 0; y < worn.height(); ++y)
        for (int x = 0; x < worn.width(); ++x)
            different += std::abs(qGray(worn.pixel(x, y)) - qGray(fresh.pixel(x, y))) > 8;
    EXPECT_EQ(different, 0);
}

} // namespace
