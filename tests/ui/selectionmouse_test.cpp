// The selection tools in the window, driven with the mouse, and pictures of each at work, see gallery.h.
#include "display/channelrow.h"
#include "editing/datamanager.h"
#include "model/toolstate.h"
#include "plugins/itoolplugin.h"
#include "ui/gallery.h"
#include "ui/historypanel.h"
#include "ui/panelstest.h"

#include <QMenu>
#include <QMouseEvent>
#include <QPainterPath>
#include <QPluginLoader>
#include <QToolButton>

namespace {

const auto* const environment = testing::AddGlobalTestEnvironment(new WindowEnvironment);

constexpr auto shift = Qt::ShiftModifier;
constexpr auto control = Qt::ControlModifier;

struct Row
{
    const char* plugin;
    uint32_t mode;
    const char* step;    // the state of the history
    const char* picture; // its file
};

const Row rows[] = {
    {"selectcursor", 0, "Cursor Selection", "cursor"},
    {"selectmarquee", 0, "Rectangle Selection", "rectangle"},
    {"selectmarquee", 1, "Ellipse Selection", "ellipse"},
    {"selectlasso", 0, "Lasso Selection", "lasso"},
    {"selectlasso", 1, "Polygon Selection", "polygon"},
    {"selectlasso", 2, "Magnetic Lasso Selection", "magnetic"},
    {"selectbrush", 0, "Brush Selection", "brush"},
    {"selectwand", 0, "Wand Selection", "wand"},
    {"selectwand", 1, "Harmonics Selection", "harmonics"},
    {"selectfreq", 0, "Frequency Selection over All Time", "frequency"},
    {"selectfreq", 1, "Frequency Selection over the View", "frequencyview"},
    {"selecttransient", 0, "Transient Selection", "transient"},
};

class SelectionMouse : public PanelsTest
{
protected:
    void TearDown() override
    {
        if (m_tool)
            postEvent(nullptr, EventId::ToolNoneActivate, nullptr);
        PanelsTest::TearDown();
    }

    // Two seconds with a tone, its harmonics and clicks.
    void openScene()
    {
        constexpr int rate = 16000;
        std::vector<float> samples(2 * rate);
        for (size_t i = 0; i < samples.size(); ++i) {
            for (int h = 1; h <= 3; ++h)
                samples[i] += 0.1f * float(std::sin(2 * M_PI * 1600 * h * double(i) / rate));
            if (i % 3200 == 1600)
                samples[i] += 0.9f;
        }
        writeFloatWave(path("scene.wav"), rate, 1, samples);
        open(path("scene.wav"));
    }
    void open(const QString& file, const QSize& size = QSize(1400, 800))
    {
        m_window->resize(size);
        ASSERT_TRUE(tabs().parse(file));
        postEvent(nullptr, EventId::FreqScaleChange, int32_t(FreqScale::Linear), nullptr);
        settle();
    }
    void settle()
    {
        ASSERT_TRUE(testsupport::waitFor([this] { return display().isSettled() && view().width() > 300; }));
    }
    SpectralChannel& view() { return *display().rows().first()->spectral(); }
    Project& project() { return *front(); }
    QString lastStep() { return project().history().value(project().historyIndex()).name; }

    void choose(const Row& row)
    {
        QPluginLoader loader(
            QStringLiteral(MORVANE_BINARIES "/../Plugins/Tools/%1.so").arg(QLatin1String(row.plugin)));
        m_tool = qobject_cast<IToolPlugin*>(loader.instance());
        ASSERT_NE(m_tool, nullptr) << loader.errorString().toStdString();
        QToolButton* const button = m_tool->toolButton();
        if (button->menu())
            button->setDefaultAction(button->menu()->actions().at(int(row.mode)));
        m_tool->mode = row.mode;
        postEvent(nullptr, EventId::ToolPluginActivate, ToolActivation{m_tool, 0}, nullptr);
    }

    // Shares of the view, from left and bottom.
    void mouse(QEvent::Type type, double x, double y, bool held, Qt::KeyboardModifiers modifiers = {})
    {
        const QPointF at(x * view().width(), (1 - y) * view().height());
        const bool edge = type != QEvent::MouseMove;
        QMouseEvent event(type, at, view().mapToGlobal(at.toPoint()), edge ? Qt::LeftButton : Qt::NoButton,
                          held ? Qt::LeftButton : Qt::NoButton, modifiers);
        QApplication::sendEvent(&view(), &event);
    }
    void press(double x, double y, Qt::KeyboardModifiers modifiers = {})
    {
        mouse(QEvent::MouseMove, x, y, false, modifiers);
        mouse(QEvent::MouseButtonPress, x, y, true, modifiers);
    }
    void moveTo(double x, double y, Qt::KeyboardModifiers modifiers = {})
    {
        mouse(QEvent::MouseMove, x, y, true, modifiers);
    }
    void release(double x, double y, Qt::KeyboardModifiers modifiers = {})
    {
        mouse(QEvent::MouseButtonRelease, x, y, false, modifiers);
    }

    // The gesture of a tool up to the middle of it, and its end.
    void beginGesture(const Row& row, Qt::KeyboardModifiers modifiers = {})
    {
        if (row.step == QLatin1String("Polygon Selection")) {
            for (const auto& [x, y] : {std::pair(0.25, 0.2), std::pair(0.6, 0.25), std::pair(0.55, 0.7)}) {
                press(x, y, modifiers);
                release(x, y, modifiers);
            }
            mouse(QEvent::MouseMove, 0.3, 0.6, false, modifiers);
            return;
        }
        press(0.25, 0.2, modifiers);
        if (row.plugin == QLatin1String("selectlasso")) {
            for (int i = 0; i <= 30; ++i) {
                const double angle = i * 2 * M_PI / 36;
                moveTo(0.45 - 0.2 * std::cos(angle), 0.2 + 0.3 * std::sin(angle), modifiers);
            }
            return;
        }
        for (int i = 1; i <= 10; ++i)
            moveTo(0.25 + 0.04 * i, 0.2 + 0.04 * i, modifiers);
    }
    void endGesture(const Row& row, Qt::KeyboardModifiers modifiers = {})
    {
        if (row.step == QLatin1String("Polygon Selection")) {
            press(0.25, 0.2, modifiers); // the first corner
            release(0.25, 0.2, modifiers);
        } else {
            release(0.65, 0.6, modifiers);
        }
    }

    IToolPlugin* m_tool = nullptr;
};

} // namespace

TEST_F(SelectionMouse, EachToolSelectsInOneStepThatUndoTakesBack)
{
    openScene();
    for (const Row& row : rows) {
        SCOPED_TRACE(row.step);
        ASSERT_NO_FATAL_FAILURE(choose(row));
        const int steps = project().historyIndex();
        beginGesture(row);
        EXPECT_TRUE(project().selection.isEmpty()) << "until the button goes up";
        EXPECT_EQ(project().historyIndex(), steps);
        endGesture(row);
        EXPECT_FALSE(project().selection.isEmpty());
        EXPECT_EQ(project().historyIndex(), steps + 1);
        EXPECT_EQ(lastStep(), QLatin1String(row.step));
        QTest::keyClick(m_window.get(), Qt::Key_Z, control);
        EXPECT_TRUE(project().selection.isEmpty());
    }
}

TEST_F(SelectionMouse, ModifiersAddSubtractAndIntersect)
{
    openScene();
    for (const Row& row : rows) {
        SCOPED_TRACE(row.step);
        ASSERT_NO_FATAL_FAILURE(choose(row));
        beginGesture(row);
        endGesture(row);
        const Selection drawn = project().selection;
        ASSERT_FALSE(drawn.isEmpty());
        Selection other;
        QPainterPath rectangle;
        rectangle.addRect(14000, 400, 10000, 6000);
        other.add(rectangle, 0, 0, false);
        for (const Qt::KeyboardModifiers modifiers :
             {Qt::KeyboardModifiers(shift), Qt::KeyboardModifiers(control), shift | control}) {
            postEvent(nullptr, EventId::SelectionChange, other, nullptr);
            beginGesture(row, modifiers);
            endGesture(row, modifiers);
            int wrong = 0;
            for (double x = 100; x < 32000; x += 333)
                for (double y = 50; y < 8000; y += 111) {
                    const bool a = other.contains({x, y}), b = drawn.contains({x, y});
                    const bool wanted = modifiers == Qt::KeyboardModifiers(shift)     ? a || b
                                        : modifiers == Qt::KeyboardModifiers(control) ? a && !b
                                                                                      : a && b;
                    wrong += project().selection.contains({x, y}) != wanted;
                }
            EXPECT_LE(wrong, 30) << "of 6912, modifiers " << int(modifiers);
        }
        m_window->dataManager().deselect();
    }
}

TEST_F(SelectionMouse, ADragMovesAndResizesAndLeavingTheToolDropsIt)
{
    openScene();
    ASSERT_NO_FATAL_FAILURE(choose(rows[1]));
    press(0.25, 0.25);
    moveTo(0.5, 0.5);
    release(0.5, 0.5);
    const Area drawn = project().selection.bounds();
    press(0.4, 0.4);
    moveTo(0.6, 0.5);
    EXPECT_EQ(project().selection.bounds(), drawn) << "until the button goes up";
    release(0.6, 0.5);
    const Area moved = project().selection.bounds();
    EXPECT_NEAR(moved.x - drawn.x, 0.2 * 32000, 100);
    EXPECT_NEAR(moved.y - drawn.y, 0.1 * 8000, 30);
    EXPECT_NEAR(moved.width, drawn.width, 1);
    press(0.7, 0.5); // the right edge
    moveTo(0.8, 0.5);
    release(0.8, 0.5);
    EXPECT_NEAR(project().selection.bounds().width, drawn.width + 0.1 * 32000, 100);
    // Begun, and left.
    const Selection before = project().selection;
    press(0.1, 0.9);
    moveTo(0.2, 0.8);
    postEvent(nullptr, EventId::ToolPanActivate, nullptr);
    release(0.2, 0.8);
    EXPECT_EQ(project().selection, before);
}

TEST_F(SelectionMouse, TheOutlineIsSeenWhileItIsDrawn)
{
    openScene();
    for (const Row& row : rows) {
        SCOPED_TRACE(row.step);
        ASSERT_NO_FATAL_FAILURE(choose(row));
        settle();
        const QImage before = view().grabFramebuffer();
        beginGesture(row);
        EXPECT_TRUE(testsupport::waitFor([&] { return view().grabFramebuffer() != before; }));
        endGesture(row);
        m_window->dataManager().deselect();
        if (row.plugin != QLatin1String("selectcursor")) { // it moves the transport's line
            EXPECT_TRUE(testsupport::waitFor([&] { return view().grabFramebuffer() == before; }));
        }
    }
}

// What tools that search find something in, and where they are clicked; the others draw on the first.
struct Scene
{
    const char* picture;
    const char* recording;
    double x, y; // shares of the view
};

const Scene scenes[] = {
    {"", "bird-spinetail.wav", 0, 0},
    {"wand", "bird-spinetail.wav", 0.29, 0.325},
    {"harmonics", "heal-trumpet-clean-float.wav", 0.4, 0.06},
    {"transient", "transient-tabla.flac", 0, 0},
};

TEST_F(SelectionMouse, PicturesOfEachToolAtWork)
{
    gallery::place(*m_window);
    QString shown;
    for (const Row& row : rows) {
        SCOPED_TRACE(row.step);
        const Scene* scene = std::find_if(std::begin(scenes), std::end(scenes), [&row](const Scene& s) {
            return s.picture == QLatin1String(row.picture);
        });
        if (scene == std::end(scenes))
            scene = scenes;
        const QString recording =
            testsupport::recordingsFolder() + QLatin1Char('/') + QLatin1String(scene->recording);
        if (shown != recording) {
            if (QFile::exists(recording))
                open(recording, gallery::windowSize());
            else
                openScene();
            shown = recording;
            QCoreApplication::processEvents(); // the tool that was chosen is chosen anew
        }
        ASSERT_NO_FATAL_FAILURE(choose(row));
        // A click has nothing to show before its end; of the others the outline is the picture.
        const bool click = scene->x > 0;
        const bool late = click || row.plugin == QLatin1String("selecttransient");
        if (click)
            press(scene->x, scene->y);
        else
            beginGesture(row);
        if (click)
            release(scene->x, scene->y);
        else if (late)
            endGesture(row);
        settle();
        gallery::take(*m_window, m_folder, QStringLiteral("tool-%1").arg(row.picture));
        if (!late)
            endGesture(row);
        m_window->dataManager().deselect();
    }
}
