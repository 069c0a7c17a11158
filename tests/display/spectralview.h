// A spectrogram view that tests drive with events, mouse and wheel, and whose picture they read back.
#pragma once

#include "display/glenvironment.h"
#include "display/memorylayer.h"
#include "display/spectralchannel.h"
#include "model/layer.h"
#include "model/layerroot.h"
#include "model/selection.h"
#include "model/toolstate.h"
#include "support/testsupport.h"

#include <QMainWindow>
#include <QMouseEvent>
#include <QTabletEvent>
#include <QVariant>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>

constexpr int width = 400;
constexpr int height = 300;

// Keeps the navigation that the view tells.
class Listener : public IEvent
{
public:
    Listener() : IEvent(QStringLiteral("Listener")) {}
    void areaEvent(EventId, const Area& area) override { areas.push_back(area); }
    void displacementEvent(EventId, const Displacement& value) override { displacements.push_back(value); }
    void mousePositionEvent(EventId, const MouseEvent& event) override { mice.push_back(event); }
    void transportPositionEvent(EventId, const int64_t& value) override { positions.push_back(value); }
    void controlIdEvent(EventId, const int32_t& id) override { controls.push_back(id); }

    std::vector<Area> areas;
    std::vector<Displacement> displacements;
    std::vector<MouseEvent> mice;
    std::vector<int64_t> positions;
    std::vector<int32_t> controls;
};

class CountingChannel : public SpectralChannel
{
public:
    using SpectralChannel::SpectralChannel;
    int paints = 0;

protected:
    void paintGL() override
    {
        ++paints;
        SpectralChannel::paintGL();
    }
};

// A project of one channel in a view of 400 by 300, scale Linear, filtering Linear, grey on black.
class View : public testing::Test
{
protected:
    View()
    {
        qApp->setProperty("sessionpath", QVariant(testsupport::makeFolder(QStringLiteral("session"))));
        channel = new CountingChannel(0);
        window.setCentralWidget(channel);
        channel->setFixedSize(width, height);
        window.show();
        post(EventId::FreqScaleChange, int32_t(FreqScale::Linear));
        post(EventId::FilteringChange, int32_t(Filtering::Linear));
        post(EventId::TransportPositionChange, int64_t(-1)); // its line is out of the picture
    }
    template<class Payload>
    void post(EventId id, const Payload& payload)
    {
        postEvent(nullptr, id, payload, nullptr);
    }
    void open(double rate, int32_t sampleType = SampleTypeReal)
    {
        format = {sampleType, rate, ChannelsTypeAudio, 1, 4};
        root = LayerRoot(format);
        transform = std::make_shared<const Transform>(sampleType, WindowType::BlackmanHarris, 2048, 8, 2);
        channel->setTransform(transform);
    }
    LayerPtr addLayer(const std::vector<float>& samples, int64_t start = 0)
    {
        LayerPtr layer = Layer::create(format, {}, 0, true);
        EXPECT_TRUE(
            layer->write(samples.data(), {start, int64_t(samples.size()) / format.sampleType}, -1, true));
        add(layer);
        return layer;
    }
    void add(const ILayerPtr& layer)
    {
        EXPECT_TRUE(root.project()->appendChildLayer(layer));
        post(EventId::LayerRootChange, root);
    }
    void show(const Area& area) { post(EventId::DisplayAreaChange, area); }
    // The picture as soon as nothing is outstanding.
    QImage picture()
    {
        EXPECT_TRUE(testsupport::waitFor([this] {
            (void)channel->grabFramebuffer();
            return !channel->isOutstanding();
        }));
        return channel->grabFramebuffer();
    }
    void wheel(const QPoint& delta, Qt::KeyboardModifiers modifiers = Qt::NoModifier,
               const QPointF& at = QPointF(width / 2.0, height / 2.0),
               Qt::MouseButtons buttons = Qt::NoButton)
    {
        QWheelEvent event(at, channel->mapToGlobal(at.toPoint()), QPoint(), delta, buttons, modifiers,
                          Qt::NoScrollPhase, false);
        QApplication::sendEvent(channel, &event);
    }
    void mouse(QEvent::Type type, const QPointF& at, Qt::MouseButton button, Qt::MouseButtons buttons,
               Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        QMouseEvent event(type, at, button, buttons, modifiers);
        QApplication::sendEvent(channel, &event);
    }
    void drag(Qt::MouseButton button, const QPointF& from, const QPointF& to,
              Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        mouse(QEvent::MouseButtonPress, from, button, button, modifiers);
        mouse(QEvent::MouseMove, to, Qt::NoButton, button, modifiers);
        mouse(QEvent::MouseButtonRelease, to, button, Qt::NoButton, modifiers);
    }

    SamplingFormat format;
    LayerRoot root;
    std::shared_ptr<const Transform> transform;
    QMainWindow window;
    CountingChannel* channel = nullptr;
    Listener listener;
};

inline int brightestRow(const QImage& image, int x0, int x1)
{
    std::vector<double> sums(std::size_t(image.height()), 0.0);
    for (int y = 0; y < image.height(); ++y)
        for (int x = x0; x < x1; ++x)
            sums[std::size_t(y)] += qGray(image.pixel(x, y));
    return int(std::max_element(sums.begin(), sums.end()) - sums.begin());
}

inline int brightestColumn(const QImage& image)
{
    std::vector<double> sums(std::size_t(image.width()), 0.0);
    for (int x = 0; x < image.width(); ++x)
        for (int y = 0; y < image.height(); ++y)
            sums[std::size_t(x)] += qGray(image.pixel(x, y));
    return int(std::max_element(sums.begin(), sums.end()) - sums.begin());
}

inline int brightest(const QImage& image)
{
    int most = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            most = std::max(most, qGray(image.pixel(x, y)));
    return most;
}

inline std::vector<float> tone(double hz, double rate, int count, double amplitude = 0.05)
{
    std::vector<float> samples(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i)
        samples[std::size_t(i)] = float(amplitude * std::cos(2 * M_PI * hz * i / rate));
    return samples;
}

inline std::vector<float> impulse(int count, int at)
{
    std::vector<float> samples(static_cast<std::size_t>(count));
    samples[std::size_t(at)] = 1;
    return samples;
}
