// Whole edits of real recordings in the window, by mouse and keys, from the file to the saved project and
// back.
#include "editing/datamanager.h"
#include "ui/historypanel.h"
#include "ui/panelstest.h"
#include "ui/referencecut.h"
#include "ui/toolhand.h"

#include <QProcess>

namespace {

const auto* const environment = testing::AddGlobalTestEnvironment(new WindowEnvironment);

constexpr double exact = 1e-5;   // of full scale, against double precision
constexpr double silence = 1e-5; // -100 dBFS

struct Edit
{
    double seconds = 0.3; // about the loudest place
    double low = 0;       // of the way from 0 Hz to Nyquist
    double high = 0;
    double fadeSeconds = 0;
    double fadeBand = 0;
    bool lasso = false;
    const char* tool = nullptr; // draws it with the mouse
    const char* mode = nullptr;
};

class RecordingCommands : public ToolHand<PanelsTest>
{
protected:
    void SetUp() override
    {
        if (testsupport::recordingsFolder().isEmpty())
            GTEST_SKIP() << "MORVANE_RECORDINGS names no folder";
        PanelsTest::SetUp();
    }
    void open(const QString& file)
    {
        ASSERT_TRUE(tabs().parse(file));
        m_original = samples();
    }
    void openRadio()
    {
        ASSERT_EQ(QProcess::execute(QStringLiteral(MORVANE_MAKE_PROJECTS),
                                    {testsupport::recordingsFolder(), m_folder}),
                  0);
        qApp->setProperty("maxsamplerate", QStringLiteral("100000000"));
        open(path("iq.mvp"));
    }
    void openRecording(const char* name)
    {
        open(testsupport::recordingsFolder() + QLatin1Char('/') + QLatin1String(name));
    }
    [[nodiscard]] LayerPtr layer() { return std::dynamic_pointer_cast<Layer>(front()->activeLayer()); }
    std::vector<float> samples()
    {
        const Range range = layer()->dataRange();
        std::vector<float> all(std::size_t(range.length * layer()->format().frameBytes() / 4));
        layer()->readData(all.data(), range);
        return all;
    }
    void keys(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::ControlModifier)
    {
        QTest::keyClick(m_window.get(), key, modifiers);
    }
    // About the recording's loudest place.
    QRectF place(const Edit& edit)
    {
        const SamplingFormat format = front()->format();
        const int step = format.channels * format.sampleType;
        std::size_t loudest = 0;
        for (std::size_t i = 0; i < m_original.size(); ++i)
            if (std::abs(m_original[i]) > std::abs(m_original[loudest]))
                loudest = i;
        const double length = edit.seconds * format.sampleRate;
        const double start = std::max(0.0, double(loudest) / step - length / 2);
        const double nyquist = format.sampleRate / 2;
        return {start, edit.low * nyquist, length, (edit.high - edit.low) * nyquist};
    }
    // Points of a star with five round arms, or the corners of all.
    static Way outline(const Edit& edit, const QRectF& box)
    {
        if (!edit.lasso)
            return {box.topLeft(), box.topRight(), box.bottomRight(), box.bottomLeft()};
        Way way;
        for (int i = 0; i < 17; ++i) {
            const double angle = 2 * M_PI * i / 17, reach = 0.7 + 0.3 * std::cos(5 * angle);
            way.emplace_back(box.center().x() + box.width() / 2 * reach * std::cos(angle),
                             box.center().y() + box.height() / 2 * reach * std::sin(angle));
        }
        return way;
    }
    Selection shape(const Edit& edit)
    {
        QPainterPath path;
        QPolygonF corners;
        for (const QPointF& point : outline(edit, place(edit)))
            corners << point;
        path.addPolygon(corners);
        path.closeSubpath();
        Selection selection;
        const double rate = front()->format().sampleRate;
        selection.add(path, edit.fadeSeconds * rate, edit.fadeBand * rate / 2, false);
        return selection;
    }
    // In a view of three times its length, over the whole band.
    void draw(const Edit& edit)
    {
        if (!front()->selection.isEmpty())
            keys(Qt::Key_D);
        const SamplingFormat format = front()->format();
        const double nyquist = format.sampleRate / 2, bottom = format.isComplex() ? -nyquist : 0;
        const QRectF box = place(edit);
        postEvent(nullptr, EventId::FreqScaleChange, int32_t(FreqScale::Linear), nullptr);
        display().showArea({std::max(0.0, box.x() - box.width()), bottom, 3 * box.width(), nyquist - bottom});
        ASSERT_TRUE(testsupport::waitFor([this] { return display().isSettled() && view().width() > 300; }));
        choose(edit.tool);
        if (edit.mode)
            chooseMode(edit.tool, edit.mode);
        type("fadetime", QString::number(edit.fadeSeconds * 1000));
        type("fadefrequency", QString::number(std::round(edit.fadeBand * nyquist)));
        Way way = outline(edit, box);
        if (edit.lasso)
            way.push_back(way.front());
        else
            way = {way[0], way[2]};
        drag(way);
        const Selection& drawn = front()->selection;
        ASSERT_FALSE(drawn.isEmpty());
        const Area bounds = drawn.bounds();
        EXPECT_TRUE(box.intersects(QRectF(bounds.x, bounds.y, bounds.width, bounds.height)));
    }
    ReferenceCut select(const Edit& edit)
    {
        if (edit.tool)
            draw(edit);
        else
            postEvent(nullptr, EventId::SelectionChange, shape(edit), nullptr);
        return {samples(), front()->format(), front()->transform, front()->selection,
                front()->channelsMode.selected};
    }
    void deselectChannel(int channel)
    {
        ChannelsMode mode = front()->channelsMode;
        mode.selected.setBit(channel, false);
        postEvent(nullptr, EventId::ChannelsModeChange, mode, nullptr);
    }
    static double worst(const std::vector<float>& got, const std::vector<double>& wanted)
    {
        EXPECT_EQ(got.size(), wanted.size());
        double most = 0;
        for (std::size_t i = 0; i < std::min(got.size(), wanted.size()); ++i)
            most = std::max(most, std::abs(double(got[i]) - wanted[i]));
        return most;
    }
    static double worst(const std::vector<float>& got, const std::vector<float>& wanted)
    {
        return worst(got, std::vector<double>(wanted.begin(), wanted.end()));
    }
    void expectUntouchedElsewhere(const ReferenceCut& reference, const std::vector<float>& before,
                                  const std::vector<float>& after)
    {
        const int step = front()->format().channels * front()->format().sampleType;
        int64_t changed = 0;
        for (std::size_t i = 0; i < before.size(); ++i)
            if (!reference.mayTouch(int64_t(i) / step))
                changed += before[i] != after[i];
        EXPECT_EQ(changed, 0) << "samples beyond one hop from the touched frames";
    }
    // Cut, Deselect, Paste back; undo to the start, redo to the end; a removal; save, close, open.
    void drive(const Edit& edit)
    {
        const ReferenceCut reference = select(edit);
        keys(Qt::Key_X);
        const auto cut = samples();
        const double cutError = worst(cut, reference.cut());
        EXPECT_LT(cutError, exact);
        EXPECT_GT(worst(cut, m_original), 0.001) << "something was taken";
        expectUntouchedElsewhere(reference, m_original, cut);
        keys(Qt::Key_D);
        EXPECT_TRUE(front()->selection.isEmpty());
        keys(Qt::Key_V);
        const auto pasted = samples();
        const double null = worst(pasted, m_original);
        EXPECT_LT(null, silence);
        expectUntouchedElsewhere(reference, m_original, pasted);
        const ReferenceCut second = select(edit);
        keys(Qt::Key_Delete, Qt::NoModifier);
        const auto removed = samples();
        const double removeError = worst(removed, second.removed());
        EXPECT_LT(removeError, exact);
        expectUntouchedElsewhere(second, pasted, removed);
        std::printf("[ figure   ] cut %.1e, removal %.1e off; pasted back %.1f dBFS\n", cutError, removeError,
                    20 * std::log10(null + 1e-300));
        int steps = 0;
        for (; m_window->historyPanel().history().canUndo(); ++steps)
            keys(Qt::Key_Z);
        EXPECT_GE(steps, 4);
        EXPECT_EQ(samples(), m_original);
        for (; steps > 0; --steps)
            keys(Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
        EXPECT_EQ(samples(), removed);
        EXPECT_FALSE(m_window->historyPanel().history().canRedo());
        expectSurvivesSavingAndOpening(removed);
    }
    void expectSurvivesSavingAndOpening(const std::vector<float>& expected)
    {
        const QString name = layer()->name();
        m_chosen = path("edited.mvp");
        action("filesaveas").trigger();
        keys(Qt::Key_W);
        ASSERT_EQ(tabs().count(), 0);
        m_chosen = path("edited.mvp");
        action("fileopen").trigger();
        ASSERT_TRUE(front());
        for (const ILayerPtr& one : front()->layers()->children(ChildrenAll))
            if (one->name() == name)
                postEvent<ILayerPtr>(nullptr, EventId::LayerActivate, one, nullptr);
        EXPECT_EQ(layer()->name(), name);
        EXPECT_EQ(samples(), expected);
    }

    std::vector<float> m_original;
};

TEST_F(RecordingCommands, AMarqueeAboutOneCallOfTheBird)
{
    openRecording("bird-spinetail.wav");
    drive({0.3, 0.1, 0.5});
}

TEST_F(RecordingCommands, ASoftLassoAboutOneCallOfTheBird)
{
    openRecording("bird-spinetail.wav");
    drive({0.4, 0.05, 0.7, 0.02, 0.03, true});
}

TEST_F(RecordingCommands, AMarqueeInASurroundRecording)
{
    openRecording("surround-5.1.flac");
    ASSERT_EQ(front()->format().channels, 6);
    drive({0.2, 0.01, 0.2});
}

TEST_F(RecordingCommands, AMarqueeInMusicOf96KilohertzWithOneOfTwoChannelsDeselected)
{
    openRecording("music-hires-96k-24bit.flac");
    ASSERT_EQ(front()->format().channels, 2);
    deselectChannel(1);
    drive({0.3, 0.005, 0.1});
    const auto after = samples();
    for (std::size_t i = 1; i < m_original.size(); i += 2)
        ASSERT_EQ(after[i], m_original[i]) << "the other channel, at " << i / 2;
}

TEST_F(RecordingCommands, ASoftLassoInALayerDeepInGroups)
{
    openRecording("music-hires-96k-24bit.flac");
    action("layerduplicate").trigger();
    const ILayerPtr copy = front()->activeLayer();
    for (int depth = 0; depth < 3; ++depth) {
        action("layergroup").trigger();
        postEvent<ILayerPtr>(nullptr, EventId::LayerActivate, copy, nullptr);
    }
    const auto original = m_original;
    const ILayerPtr other = front()->layers()->children(ChildrenDirect).last();
    ASSERT_NE(other, copy);
    const ReferenceCut reference = select({0.2, 0.002, 0.3, 0.01, 0.02, true});
    keys(Qt::Key_X);
    EXPECT_LT(worst(samples(), reference.cut()), exact);
    expectUntouchedElsewhere(reference, original, samples());
    keys(Qt::Key_D);
    keys(Qt::Key_V);
    EXPECT_LT(worst(samples(), original), silence);
    const auto pasted = samples();
    postEvent<ILayerPtr>(nullptr, EventId::LayerActivate, other, nullptr);
    EXPECT_EQ(samples(), original) << "the other layer";
    postEvent<ILayerPtr>(nullptr, EventId::LayerActivate, copy, nullptr);
    expectSurvivesSavingAndOpening(pasted);
}

TEST_F(RecordingCommands, AMarqueeInAComplexRadioSignal)
{
    openRadio();
    ASSERT_TRUE(front()->format().isComplex());
    drive({0.02, -0.3, 0.25});
}

TEST_F(RecordingCommands, ASoftLassoInAComplexRadioSignal)
{
    openRadio();
    drive({0.03, -0.8, 0.1, 0.002, 0.05, true});
}

TEST_F(RecordingCommands, AMarqueeDrawnAboutOneCallOfTheBird)
{
    openRecording("bird-spinetail.wav");
    drive({0.3, 0.1, 0.5, 0, 0, false, "Marquee Selection"});
}

TEST_F(RecordingCommands, ASoftLassoDrawnAboutOneCallOfTheBird)
{
    openRecording("bird-spinetail.wav");
    drive({0.4, 0.05, 0.7, 0.02, 0.03, true, "Lasso Selection", "Lasso Selection"});
}

TEST_F(RecordingCommands, AStrokeOfTheBrushThroughOneCallOfTheBird)
{
    openRecording("bird-spinetail.wav");
    drive({0.4, 0.1, 0.6, 0, 0, true, "Brush Selection"});
}

TEST_F(RecordingCommands, AMarqueeDrawnInASurroundRecording)
{
    openRecording("surround-5.1.flac");
    drive({0.2, 0.01, 0.2, 0, 0, false, "Marquee Selection"});
}

TEST_F(RecordingCommands, AnEllipseDrawnInMusicOf96KilohertzWithOneOfTwoChannelsDeselected)
{
    openRecording("music-hires-96k-24bit.flac");
    deselectChannel(1);
    drive({0.3, 0.005, 0.1, 0.01, 0.01, false, "Marquee Selection", "Ellipse Selection"});
    const auto after = samples();
    for (std::size_t i = 1; i < m_original.size(); i += 2)
        ASSERT_EQ(after[i], m_original[i]) << "the other channel, at " << i / 2;
}

TEST_F(RecordingCommands, AMarqueeDrawnInAComplexRadioSignal)
{
    openRadio();
    drive({0.02, -0.3, 0.25, 0, 0, false, "Marquee Selection"});
}

TEST_F(RecordingCommands, AStrokeOfTheBrushThroughAComplexRadioSignal)
{
    openRadio();
    drive({0.03, -0.8, 0.1, 0, 0, true, "Brush Selection"});
}

} // namespace
