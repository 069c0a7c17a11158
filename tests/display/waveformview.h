// A waveform view with a project of its own, for tests that draw and that edit.
#pragma once

#include "display/glenvironment.h"
#include "display/waveformchannel.h"
#include "model/historyentry.h"
#include "model/layer.h"
#include "model/layerroot.h"
#include "support/testsupport.h"
#include "ui/widgets/messages.h"

#include <QMainWindow>
#include <QMouseEvent>
#include <QVariant>
#include <QWheelEvent>

#include <cmath>

namespace waveformview {

constexpr int width = 400;
constexpr int height = 200;

class CountingView : public WaveformChannel
{
public:
    using WaveformChannel::WaveformChannel;
    int paints = 0;

protected:
    void paintGL() override
    {
        ++paints;
        WaveformChannel::paintGL();
    }
};

// Keeps what the view tells.
class Listener : public IEvent
{
public:
    Listener() : IEvent(QStringLiteral("Listener")) {}
    void areaEvent(EventId, const Area& area) override { areas.push_back(area); }
    void powerRangeEvent(EventId, const PowerRange& range) override { ranges.push_back(range); }
    void layerEvent(EventId id, const ILayerPtr&) override { contents += id == EventId::LayerContentUpdate; }
    void historyRecordEvent(EventId, const HistoryEntry& entry) override { records << entry.name; }
    void transportPositionEvent(EventId, const int64_t& position) override { positions.push_back(position); }
    void channelsModeEvent(EventId, const ChannelsMode& mode) override { modes.push_back(mode); }

    std::vector<Area> areas;
    std::vector<PowerRange> ranges;
    std::vector<ChannelsMode> modes;
    std::vector<int64_t> positions;
    int contents = 0;
    QStringList records;
};

// A project in a view of 400 by 200 logical pixels: white on black at the full end of the gradient,
// amplitudes from -1 to 1.
class Waveform : public testing::Test
{
protected:
    Waveform()
    {
        qApp->setProperty("sessionpath", QVariant(testsupport::makeFolder(QStringLiteral("session"))));
        qApp->setProperty("waveformluminosity", QVariant(1.0));
        view = new CountingView(0);
        window.setCentralWidget(view);
        view->setFixedSize(width, height);
        window.show();
        post(EventId::FilteringChange, int32_t(Filtering::Cubic));
        post(EventId::TransportPositionChange, int64_t(-1000)); // the cursor out of the way
    }
    ~Waveform() override
    {
        messages::setAnswerer({});
        for (const char* key : {"waveformluminosity", "selectionblendingmode"})
            qApp->setProperty(key, QVariant());
    }
    template<class Payload>
    void post(EventId id, const Payload& payload)
    {
        postEvent(nullptr, id, payload, nullptr);
    }
    void open(int channels = 1, int32_t sampleType = SampleTypeReal)
    {
        format = {sampleType, 48000, ChannelsTypeAudio, channels, (uint64_t(1) << channels) - 1};
        root = LayerRoot(format);
        post(EventId::SamplingFormatChange, format);
        post(EventId::ChannelsModeChange, ChannelsMode(channels));
    }
    LayerPtr makeLayer(const std::vector<float>& interleaved)
    {
        LayerPtr layer = Layer::create(format, {}, 0, true);
        const int64_t frames = int64_t(interleaved.size()) / format.sampleType / format.channels;
        EXPECT_TRUE(layer->write(interleaved.data(), {0, frames}, -1, true));
        layer->newBackup(); // as after an import
        return layer;
    }
    LayerPtr addLayer(const std::vector<float>& interleaved)
    {
        LayerPtr layer = makeLayer(interleaved);
        add(layer);
        return layer;
    }
    void add(const ILayerPtr& layer)
    {
        EXPECT_TRUE(root.project()->appendChildLayer(layer));
        post(EventId::LayerRootChange, root);
    }
    void show(double start, double length)
    {
        post(EventId::DisplayAreaChange, Area{start, 0, length, 24000});
    }
    // The picture as soon as nothing is outstanding.
    QImage picture() { return picture(view); }
    static QImage picture(WaveformChannel* shown)
    {
        EXPECT_TRUE(testsupport::waitFor([shown] {
            (void)shown->grabFramebuffer();
            return !shown->isOutstanding();
        }));
        return shown->grabFramebuffer();
    }
    void wheel(const QPoint& delta, Qt::KeyboardModifiers modifiers = Qt::NoModifier,
               const QPointF& at = QPointF(width / 2.0, height / 2.0))
    {
        QWheelEvent event(at, view->mapToGlobal(at.toPoint()), QPoint(), delta, Qt::NoButton, modifiers,
                          Qt::NoScrollPhase, false);
        QApplication::sendEvent(view, &event);
    }
    void mouse(QEvent::Type type, const QPointF& at, Qt::MouseButton button, Qt::MouseButtons buttons,
               Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        QMouseEvent event(type, at, button, buttons, modifiers);
        QApplication::sendEvent(view, &event);
    }
    void press(const QPointF& at) { mouse(QEvent::MouseButtonPress, at, Qt::LeftButton, Qt::LeftButton); }
    void move(const QPointF& at) { mouse(QEvent::MouseMove, at, Qt::NoButton, Qt::LeftButton); }
    void release(const QPointF& at) { mouse(QEvent::MouseButtonRelease, at, Qt::LeftButton, Qt::NoButton); }

    SamplingFormat format;
    LayerRoot root;
    QMainWindow window;
    CountingView* view = nullptr;
    Listener listener;
};

inline std::vector<float> sine(double period, int count, double amplitude = 1)
{
    std::vector<float> samples(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i)
        samples[std::size_t(i)] = float(amplitude * std::sin(2 * M_PI * i / period));
    return samples;
}

inline bool isLit(const QImage& image, int x, int y, int above = 127)
{
    return qGray(image.pixel(x, y)) > above;
}

// First and last lit row of a column of device pixels; (-1, -1) for none.
inline std::pair<int, int> litRows(const QImage& image, int x, int above = 127)
{
    std::pair<int, int> rows{-1, -1};
    for (int y = 0; y < image.height(); ++y)
        if (isLit(image, x, y, above)) {
            rows.first = rows.first < 0 ? y : rows.first;
            rows.second = y;
        }
    return rows;
}

inline int litCount(const QImage& image)
{
    int lit = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            lit += isLit(image, x, y);
    return lit;
}

} // namespace waveformview
