#include "display/qopenglchannel.h"

#include "display/freshprocess.h"
#include "display/glenvironment.h"
#include "display/scales/colormaps.h"
#include "support/testsupport.h"

#include <QMainWindow>
#include <QMatrix4x4>
#include <QOpenGLContext>
#include <QVector4D>

#include <cmath>
#include <functional>

namespace {

// A view whose painting is given from outside; it shows what the base keeps to its heirs.
class ProbeChannel : public QOpenGLChannel
{
public:
    using QOpenGLChannel::drawQuad;
    using QOpenGLChannel::glCheck;
    using QOpenGLChannel::imageTexture;
    using QOpenGLChannel::loadShader;
    using QOpenGLChannel::m_colormapTextures;
    using QOpenGLChannel::m_colorProgram;
    using QOpenGLChannel::m_controlTexture;
    using QOpenGLChannel::m_power128Program;
    using QOpenGLChannel::m_power64Program;
    using QOpenGLChannel::m_powerProgram;
    using QOpenGLChannel::m_selectionProgram;
    using QOpenGLChannel::m_textureProgram;
    using QOpenGLChannel::m_waveformProgram;
    using QOpenGLChannel::QOpenGLChannel;

    QOpenGLFunctions& gl() { return *this; }

    std::function<void(ProbeChannel&)> onPaint;
    int initialized = 0;
    int destroyed = 0;

protected:
    void initializeGL() override
    {
        QOpenGLChannel::initializeGL();
        ++initialized;
    }
    void contextAboutToBeDestroyed() override
    {
        ++destroyed;
        QOpenGLChannel::contextAboutToBeDestroyed();
    }
    void paintGL() override
    {
        glBlendFunc(GL_ONE, GL_ZERO);
        glClearColor(0, 0, 0, 1);
        glClear(GL_COLOR_BUFFER_BIT);
        if (onPaint)
            onPaint(*this);
        glCheck(QStringLiteral("probe"));
    }
};

QMatrix4x4 unitSquare()
{
    QMatrix4x4 matrix;
    matrix.ortho(QRectF(0, 1, 1, -1));
    return matrix;
}

const QRectF wholeView(0, 0, 1, 1);

class Drawing : public testing::Test
{
protected:
    Drawing()
    {
        view.resize(64, 64);
        view.show();
        EXPECT_TRUE(testsupport::waitFor([this] { return view.initialized == 1; }));
    }
    QImage draw(const std::function<void(ProbeChannel&)>& paint)
    {
        view.onPaint = paint;
        return view.grabFramebuffer();
    }
    // A float texture: `columns` of the picture, one texture row each.
    std::unique_ptr<QOpenGLTexture> magnitudes(int columns, int rows, const std::vector<float>& values)
    {
        auto texture = std::make_unique<QOpenGLTexture>(QOpenGLTexture::Target2D);
        texture->setAutoMipMapGenerationEnabled(false);
        texture->setFormat(QOpenGLTexture::R32F);
        texture->setSize(rows, columns);
        texture->allocateStorage(QOpenGLTexture::Red, QOpenGLTexture::Float32);
        texture->setData(QOpenGLTexture::Red, QOpenGLTexture::Float32, values.data());
        texture->setMinMagFilters(QOpenGLTexture::Nearest, QOpenGLTexture::Nearest);
        texture->setWrapMode(QOpenGLTexture::ClampToEdge);
        return texture;
    }
    // The picture over the middle of the view, as grey.
    QImage drawPower(QOpenGLShaderProgram* ProbeChannel::*which, int columns, int rows,
                     const std::vector<float>& values, const std::vector<QVector4D>& displace = {},
                     const QRectF& part = wholeView)
    {
        return draw([&](ProbeChannel& probe) {
            const auto texture = magnitudes(columns, rows, values);
            QOpenGLShaderProgram& program = *(probe.*which);
            program.bind();
            program.setUniformValue("tex", 0);
            program.setUniformValue("gradient", 1);
            program.setUniformValue("multiplier", 1.0f);
            program.setUniformValue("lowdb", -90.0f);
            program.setUniformValue("highdb", -18.0f);
            program.setUniformValue("gamma", 0.5f);
            program.setUniformValue("color", QColor(Qt::white));
            if (!displace.empty())
                program.setUniformValueArray("displace", displace.data(), int(displace.size()));
            texture->bind(0);
            probe.m_colormapTextures[9]->bind(1);
            probe.drawQuad(program, unitSquare(), wholeView, part);
        });
    }

    ProbeChannel view;
};

// Grey of a magnitude: 6 dB a doubling, low -90, high -18, gamma .5.
int greyOf(double magnitude)
{
    const double share = std::clamp((6 * std::log2(magnitude) + 90) / 72, 0.0, 1.0);
    return int(std::lround(255 * share * share));
}

std::vector<QVector4D> steps(int count, float x, float y)
{
    std::vector<QVector4D> table;
    for (int i = 0; i < count; ++i) {
        const auto level = [count](int step) {
            return float(std::exp2((72 * std::sqrt(double(step) / count) - 90) / 6));
        };
        table.emplace_back(x * float(i) / float(count), y * float(i) / float(count), level(i), level(i + 1));
    }
    return table;
}

} // namespace

TEST_F(Drawing, everyProgramLinks)
{
    for (const QOpenGLShaderProgram* program :
         {view.m_colorProgram, view.m_selectionProgram, view.m_textureProgram, view.m_powerProgram,
          view.m_waveformProgram, view.m_power64Program, view.m_power128Program}) {
        ASSERT_TRUE(program);
        EXPECT_TRUE(program->isLinked());
        EXPECT_EQ(program->parent(), &view);
    }
    EXPECT_EQ(int(view.m_colormapTextures.size()), colormapCount());
    EXPECT_EQ(view.m_controlTexture->width(), 16);
    EXPECT_EQ(view.m_controlTexture->mipLevels(), 5);
    EXPECT_EQ(view.m_colormapTextures[4]->width(), 256);
    EXPECT_EQ(view.m_colormapTextures[4]->minificationFilter(), QOpenGLTexture::Linear);
}

TEST_F(Drawing, shadersGetThePrologueOfTheContext)
{
    view.makeCurrent();
    EXPECT_TRUE(view.loadShader(QStringLiteral(":/shaders/color.frag")).startsWith("#version 330\n"));
    EXPECT_TRUE(view.loadShader(QStringLiteral(":/shaders/color.frag")).contains("out_rgba"));
    EXPECT_EQ(view.loadShader(QStringLiteral(":/shaders/none.frag")), "#version 330\n");
    view.doneCurrent();
}

TEST_F(Drawing, flatColour)
{
    const QImage image = draw([](ProbeChannel& probe) {
        probe.m_colorProgram->bind();
        probe.m_colorProgram->setUniformValue("color", QColor(10, 20, 30));
        probe.drawQuad(*probe.m_colorProgram, unitSquare(), QRectF(0, 0, 0.5, 1), wholeView);
    });
    EXPECT_EQ(image.pixelColor(10, 30), QColor(10, 20, 30));
    EXPECT_EQ(image.pixelColor(50, 30), QColor(Qt::black));
}

TEST_F(Drawing, aTextureIsTransparentBeyondItsEdges)
{
    QImage white(4, 4, QImage::Format_RGBA8888);
    white.fill(Qt::white);
    const QImage image = draw([&white](ProbeChannel& probe) {
        const auto texture = ProbeChannel::imageTexture(white, false);
        texture->setWrapMode(QOpenGLTexture::ClampToEdge);
        probe.m_textureProgram->bind();
        probe.m_textureProgram->setUniformValue("tex", 0);
        probe.m_textureProgram->setUniformValue("color", QColor(255, 128, 0));
        texture->bind(0);
        probe.drawQuad(*probe.m_textureProgram, unitSquare(), wholeView, QRectF(-0.5, -0.5, 2, 2));
    });
    EXPECT_EQ(image.pixelColor(32, 32), QColor(255, 128, 0));
    EXPECT_EQ(image.pixelColor(5, 32).red(), 0);
    EXPECT_EQ(image.pixelColor(32, 60).red(), 0);
}

// Small ones are drawn from the smaller levels.
TEST_F(Drawing, theDiscOfTheControlsIsADiscAtEverySize)
{
    for (const int size : {16, 8, 4}) {
        const QImage image = draw([size](ProbeChannel& probe) {
            probe.gl().glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
            probe.m_textureProgram->bind();
            probe.m_textureProgram->setUniformValue("tex", 0);
            probe.m_textureProgram->setUniformValue("color", QColor(Qt::white));
            probe.m_controlTexture->bind(0);
            probe.drawQuad(*probe.m_textureProgram, unitSquare(), QRectF(0, 0, size / 64.0, size / 64.0),
                           wholeView);
        });
        const QImage disc = image.copy(0, 64 - size, size, size);
        double lit = 0;
        for (int y = 0; y < size; ++y)
            for (int x = 0; x < size; ++x)
                lit += qGray(disc.pixel(x, y)) / 255.0;
        // White inside, with a dark pen of one texel around it.
        const double inside = M_PI / 4 * std::pow(1 - 2.0 / 16, 2);
        EXPECT_NEAR(lit / (size * size), inside, 0.12) << size;
        EXPECT_LT(qGray(disc.pixel(0, 0)), 128) << size;
        EXPECT_GT(qGray(disc.pixel(size / 2, size / 2)), 200) << size;
    }
}

TEST_F(Drawing, selectionStrengthInTheLowerHalfBorderInTheUpper)
{
    QImage mask(3, 1, QImage::Format_Grayscale8);
    mask.setPixel(0, 0, 0);
    mask.scanLine(0)[0] = 0;
    mask.scanLine(0)[1] = 64;
    mask.scanLine(0)[2] = 255;
    const QImage image = draw([&mask](ProbeChannel& probe) {
        const auto texture = ProbeChannel::imageTexture(mask, false);
        texture->setMinMagFilters(QOpenGLTexture::Nearest, QOpenGLTexture::Nearest);
        probe.gl().glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
        probe.m_selectionProgram->bind();
        probe.m_selectionProgram->setUniformValue("tex", 0);
        probe.m_selectionProgram->setUniformValue("colorborder", QColor(0, 200, 0));
        probe.m_selectionProgram->setUniformValue("colormask", QVector4D(1, 1, 1, 0.5f));
        texture->bind(0);
        probe.drawQuad(*probe.m_selectionProgram, unitSquare(), wholeView, wholeView);
    });
    EXPECT_EQ(image.pixelColor(5, 32).red(), 0);
    EXPECT_NEAR(image.pixelColor(32, 32).red(), 255 * 0.5 * (64 / 255.0) * 2, 2);
    EXPECT_EQ(image.pixelColor(60, 32).green(), 200);
}

// log2(0) must end at the bottom of the gradient, and a negative value of an interpolation too.
TEST_F(Drawing, magnitudeZeroIsTheBottomOfTheGradient)
{
    for (auto program :
         {&ProbeChannel::m_powerProgram, &ProbeChannel::m_power64Program, &ProbeChannel::m_power128Program}) {
        const int count = program == &ProbeChannel::m_power128Program ? 128 : 64;
        const QImage image = drawPower(program, 3, 1, {0, -0.5f, 1}, steps(count, 0, 0));
        EXPECT_EQ(image.pixelColor(5, 32), QColor(Qt::black));
        EXPECT_EQ(image.pixelColor(32, 32), QColor(Qt::black));
        EXPECT_EQ(image.pixelColor(60, 32), QColor(Qt::white));
    }
}

TEST_F(Drawing, greyFollowsSixDecibelsADoubling)
{
    const std::vector<float> values = {1e-5f, 1e-3f, 0.01f, 0.03f, 0.06f, 0.1f, 0.12f, 2};
    const QImage image = drawPower(&ProbeChannel::m_powerProgram, 8, 1, values);
    for (int i = 0; i < 8; ++i)
        EXPECT_NEAR(image.pixelColor(i * 8 + 4, 32).red(), greyOf(double(values[std::size_t(i)])), 2) << i;
}

TEST_F(Drawing, oneTimeColumnIsOneRowOfTheTexture)
{
    // Two columns of four rows: only the first column's top row sounds.
    const QImage image = drawPower(&ProbeChannel::m_powerProgram, 2, 4, {0, 0, 0, 1, 0, 0, 0, 0});
    EXPECT_EQ(image.pixelColor(16, 8), QColor(Qt::white)); // left, top
    EXPECT_EQ(image.pixelColor(16, 24), QColor(Qt::black));
    EXPECT_EQ(image.pixelColor(48, 8), QColor(Qt::black));
}

TEST_F(Drawing, aDisplacedPictureFadesOutAtItsEdgeAndRepeatsNothing)
{
    for (const bool many : {false, true}) {
        const auto program = many ? &ProbeChannel::m_power128Program : &ProbeChannel::m_power64Program;
        // The whole texture at full level, moved by half its width; the quad is not grown.
        const QImage image = drawPower(program, 1, 1, {0.125f}, steps(many ? 128 : 64, 0.5f, 0));
        EXPECT_GT(image.pixelColor(60, 32).red(), 240);
        EXPECT_LT(image.pixelColor(2, 32).red(), 40); // only the steps that are hardly moved reach here
        EXPECT_GT(image.pixelColor(20, 32).red(), image.pixelColor(10, 32).red());
    }
}

TEST_F(Drawing, loudBinsAreDisplacedFurtherThanQuietOnes)
{
    // 64 columns of 2 rows: a loud line at column 8 in the upper row, a quiet one in the lower.
    std::vector<float> values(128, 0);
    values[8 * 2 + 1] = 0.12f;
    values[8 * 2] = 0.001f;
    const QImage image = drawPower(&ProbeChannel::m_power64Program, 64, 2, values, steps(64, 0.5f, 0));
    const auto rightmost = [&image](int y) {
        for (int x = 63; x >= 0; --x)
            if (image.pixelColor(x, y).red() > 8)
                return x;
        return -1;
    };
    EXPECT_NEAR(rightmost(16), 8 + 32, 2); // at the top of the levels: the whole way
    const double share = (6 * std::log2(0.001) + 90) / 72;
    EXPECT_NEAR(rightmost(48), 8 + 32 * share * share, 2);
}

TEST_F(Drawing, aFlatWaveformCoversOnePixel)
{
    for (const float polarity : {1.0f, -1.0f}) {
        const QImage image = draw([polarity](ProbeChannel& probe) {
            QOpenGLTexture texture(QOpenGLTexture::Target2D);
            texture.setFormat(QOpenGLTexture::RGBA32F);
            texture.setSize(2, 1);
            texture.setAutoMipMapGenerationEnabled(false);
            texture.allocateStorage(QOpenGLTexture::RGBA, QOpenGLTexture::Float32);
            const float envelope[8] = {0.5f, 0.5f, 9, 9, 0.5f, 0.5f, 9, 9};
            texture.setData(QOpenGLTexture::RGBA, QOpenGLTexture::Float32, envelope);
            texture.setMinMagFilters(QOpenGLTexture::Linear, QOpenGLTexture::Linear);
            texture.setWrapMode(QOpenGLTexture::ClampToEdge);
            QOpenGLShaderProgram& program = *probe.m_waveformProgram;
            program.bind();
            program.setUniformValue("tex", 0);
            program.setUniformValue("gradient", 1);
            program.setUniformValue("multiplier", polarity);
            program.setUniformValue("luminosity", QVector2D(1, 0));
            program.setUniformValue("color", QColor(Qt::white));
            program.setUniformValue("fragScale", QVector2D(1 / 64.0f, 2 / 64.0f));
            program.setUniformValue("fragTranslate", QVector2D(0, -1));
            texture.bind(0);
            probe.m_colormapTextures[9]->bind(1);
            probe.drawQuad(program, unitSquare(), wholeView, wholeView);
        });
        int lit = 0;
        for (int y = 0; y < 64; ++y)
            lit += image.pixelColor(30, y).red() > 128;
        EXPECT_GE(lit, 1);
        EXPECT_LE(lit, 2);
        // Half the amplitude up, or down with inverted polarity.
        const int middle = polarity > 0 ? 16 : 48;
        EXPECT_TRUE(image.pixelColor(30, middle).red() > 128 || image.pixelColor(30, middle - 1).red() > 128);
    }
}

// The same shader texts serve OpenGL ES 3.0.
TEST(EmbeddedSystems, everyProgramLinksInAContextOfOpenGLES)
{
    // QOpenGLTexture asks this context for a state that only desktop OpenGL has; the textures are right
    // all the same, as the picture shows.
    testsupport::expectWarning(QStringLiteral("GL_INVALID_ENUM (control initialized)"));
    testsupport::expectWarning(QStringLiteral("GL_INVALID_ENUM (colormaps initialized)"));
    ProbeChannel view;
    view.resize(64, 64);
    QSurfaceFormat format;
    format.setRenderableType(QSurfaceFormat::OpenGLES);
    format.setVersion(3, 0);
    view.setFormat(format);
    view.show();
    ASSERT_TRUE(testsupport::waitFor([&view] { return view.initialized == 1; }));
    view.makeCurrent();
    ASSERT_TRUE(QOpenGLContext::currentContext()->isOpenGLES());
    EXPECT_EQ(view.loadShader(QStringLiteral(":/shaders/none.frag")),
              "#version 300 es\nprecision highp float;\nprecision highp int;\n");
    view.doneCurrent();
    for (const QOpenGLShaderProgram* program :
         {view.m_colorProgram, view.m_selectionProgram, view.m_textureProgram, view.m_powerProgram,
          view.m_waveformProgram, view.m_power64Program, view.m_power128Program})
        EXPECT_TRUE(program->isLinked());
    view.onPaint = [](ProbeChannel& probe) {
        probe.m_textureProgram->bind();
        probe.m_textureProgram->setUniformValue("tex", 0);
        probe.m_textureProgram->setUniformValue("color", QColor(Qt::white));
        probe.m_colormapTextures[9]->bind(0);
        probe.drawQuad(*probe.m_textureProgram, unitSquare(), wholeView, wholeView);
    };
    const QImage image = view.grabFramebuffer();
    for (const int x : {0, 20, 40, 63})
        EXPECT_NEAR(image.pixelColor(x, 32).red(), (x + 0.5) / 64 * 255, 3);
}

// --- life of the context ------------------------------------------------------------------------------

TEST(Context, aLossReleasesOnceAndTheNextContextBuildsAllAgain)
{
    auto first = std::make_unique<QMainWindow>();
    auto second = std::make_unique<QMainWindow>();
    auto* view = new ProbeChannel;
    view->onPaint = [](ProbeChannel& probe) {
        probe.m_colorProgram->bind();
        probe.m_colorProgram->setUniformValue("color", QColor(10, 20, 30));
        probe.drawQuad(*probe.m_colorProgram, unitSquare(), QRectF(0, 0, 0.5, 1), wholeView);
    };
    first->setCentralWidget(view);
    first->show();
    second->show();
    ASSERT_TRUE(testsupport::waitFor([view] { return view->initialized == 1; }));
    const QImage before = view->grabFramebuffer();
    for (int round = 1; round <= 3; ++round) {
        QMainWindow* next = round % 2 ? second.get() : first.get();
        next->setCentralWidget((round % 2 ? first : second)->takeCentralWidget());
        ASSERT_TRUE(testsupport::waitFor([=] { return view->initialized == 1 + round; }));
        EXPECT_EQ(view->destroyed, round);
    }
    EXPECT_EQ(view->grabFramebuffer().copy(0, 0, 20, 20), before.copy(0, 0, 20, 20));
}

namespace {

QtMessageHandler previousHandler = nullptr;
int driverLines = 0;

void countDriverLines(QtMsgType type, const QMessageLogContext& context, const QString& text)
{
    if (type == QtInfoMsg &&
        (text.startsWith(QLatin1String("GPU: ")) || text.startsWith(QLatin1String("OGL: "))))
        ++driverLines;
    previousHandler(type, context, text);
}

} // namespace

// Runs in a process of its own, since the first view of this one has spoken already.
TEST(Driver, DISABLED_eightViewsInAFreshProcess)
{
    previousHandler = qInstallMessageHandler(countDriverLines);
    std::vector<std::unique_ptr<ProbeChannel>> views;
    for (int i = 0; i < 8; ++i) {
        views.push_back(std::make_unique<ProbeChannel>());
        views.back()->show();
        ASSERT_TRUE(testsupport::waitFor([&views] { return views.back()->initialized == 1; }));
    }
    qInstallMessageHandler(previousHandler);
    EXPECT_EQ(driverLines, 2);
}

TEST(Driver, isLoggedOncePerProcessEvenWithEightViews)
{
    EXPECT_EQ(runInFreshProcess("Driver.DISABLED_eightViewsInAFreshProcess"), 0);
}

// --- errors -------------------------------------------------------------------------------------------

TEST(GlErrors, everyCodeOfTheTableHasItsName)
{
    const QString where = QStringLiteral("here");
    EXPECT_EQ(glErrorText(0x500, where), QStringLiteral("gl error: 0x500 GL_INVALID_ENUM (here)"));
    EXPECT_EQ(glErrorText(0x501, where), QStringLiteral("gl error: 0x501 GL_INVALID_VALUE (here)"));
    EXPECT_EQ(glErrorText(0x502, where), QStringLiteral("gl error: 0x502 GL_INVALID_OPERATION (here)"));
    EXPECT_EQ(glErrorText(0x503, where), QStringLiteral("gl error: 0x503 GL_STACK_OVERFLOW (here)"));
    EXPECT_EQ(glErrorText(0x504, where), QStringLiteral("gl error: 0x504 GL_STACK_UNDERFLOW (here)"));
    EXPECT_EQ(glErrorText(0x505, where), QStringLiteral("gl error: 0x505 GL_OUT_OF_MEMORY (here)"));
    EXPECT_EQ(glErrorText(0x506, where),
              QStringLiteral("gl error: 0x506 GL_INVALID_FRAMEBUFFER_OPERATION (here)"));
}

TEST(GlErrors, anUnknownCodeHasAnEmptyNameBetweenTwoBlanks)
{
    EXPECT_EQ(glErrorText(0x507, QStringLiteral("here")), QStringLiteral("gl error: 0x507  (here)"));
    EXPECT_EQ(glErrorText(0x1, QStringLiteral("%1")), QStringLiteral("gl error: 0x1  (%1)"));
}

TEST_F(Drawing, anErrorIsTakenOnceAndLoggedWithThePlace)
{
    view.makeCurrent();
    EXPECT_FALSE(view.glCheck(QStringLiteral("nothing")));
    testsupport::expectWarning(QStringLiteral("gl error: 0x500 GL_INVALID_ENUM (a place)"));
    view.gl().glEnable(0xFFFF);
    EXPECT_TRUE(view.glCheck(QStringLiteral("a place")));
    EXPECT_FALSE(view.glCheck(QStringLiteral("a place")));
    testsupport::expectWarning(QStringLiteral("gl error: 0x501 GL_INVALID_VALUE (another)"));
    view.gl().glViewport(0, 0, -1, -1);
    EXPECT_TRUE(view.glCheck(QStringLiteral("another")));
    view.doneCurrent();
}

// --- scale factors ------------------------------------------------------------------------------------

TEST(DevicePixels, areLogicalOnesTimesTheRatioRounded)
{
    EXPECT_EQ(devicePixels(QSize(801, 333), 1), QSize(801, 333));
    EXPECT_EQ(devicePixels(QSize(801, 333), 1.5), QSize(1202, 500));
    EXPECT_EQ(devicePixels(QSize(801, 333), 2), QSize(1602, 666));
    EXPECT_EQ(devicePixels(QSize(801, 333), 1.25), QSize(1001, 416));
}

TEST(DevicePixels, DISABLED_frameBufferInThisProcess)
{
    ProbeChannel view;
    view.resize(301, 203);
    view.show();
    ASSERT_TRUE(testsupport::waitFor([&view] { return view.initialized == 1; }));
    EXPECT_EQ(view.devicePixelRatioF(), qEnvironmentVariable("QT_SCALE_FACTOR").toDouble());
    EXPECT_EQ(view.grabFramebuffer().size(), devicePixels(view.size(), view.devicePixelRatioF()));
}

TEST(DevicePixels, areThoseOfTheFrameBufferAtEveryScale)
{
    for (const char* factor : {"1", "1.5", "2"})
        EXPECT_EQ(runInFreshProcess("DevicePixels.DISABLED_frameBufferInThisProcess",
                                    {QStringLiteral("QT_SCALE_FACTOR=") + QLatin1String(factor)}),
                  0)
            << factor;
}
