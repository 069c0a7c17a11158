#include "display/qopenglchannel.h"

#include "display/scales/colormaps.h"

#include <QDebug>
#include <QFile>
#include <QMatrix4x4>
#include <QOpenGLContext>
#include <QOpenGLPixelTransferOptions>
#include <QPainter>

#include <algorithm>
#include <array>

namespace {

// The driver is described once for the process, not once for each view.
bool firstGLInit = true;

struct ProgramRow
{
    QOpenGLShaderProgram* QOpenGLChannel::*program;
    const char* vertex;
    const char* fragment;
};

QSize textureSize(const QSizeF& size)
{
    return {qRound(size.width()), qRound(size.height())};
}

} // namespace

QSize devicePixels(const QSize& logical, qreal ratio)
{
    return textureSize(QSizeF(logical) * ratio);
}

QString glErrorText(unsigned code, const QString& where)
{
    static constexpr std::array<const char*, 7> names = {"GL_INVALID_ENUM",
                                                         "GL_INVALID_VALUE",
                                                         "GL_INVALID_OPERATION",
                                                         "GL_STACK_OVERFLOW",
                                                         "GL_STACK_UNDERFLOW",
                                                         "GL_OUT_OF_MEMORY",
                                                         "GL_INVALID_FRAMEBUFFER_OPERATION"};
    constexpr unsigned first = 0x500;
    const bool known = code >= first && code < first + names.size();
    return QStringLiteral("gl error: 0x%1 %2 (%3)")
        .arg(QString::number(code, 16), QLatin1String(known ? names[code - first] : ""), where);
}

QOpenGLChannel::QOpenGLChannel(QWidget* parent) : QOpenGLWidget(parent) {}

QOpenGLChannel::~QOpenGLChannel()
{
    disconnect(m_contextConnection);
    QOpenGLChannel::contextAboutToBeDestroyed();
}

void QOpenGLChannel::initializeGL()
{
    qDebug() << "QOpenGLChannel::initializeGL() " << context()->shareContext();
    initializeOpenGLFunctions();
    glClearColor(0, 0, 0, 0);
    glDisable(GL_DEPTH_TEST);
    glEnable(GL_BLEND);
    glBlendEquation(GL_FUNC_ADD);
    if (firstGLInit)
        logDriver();
    makePrograms();
    glCheck(QStringLiteral("shaders initialized"));
    makeControlTexture();
    glCheck(QStringLiteral("control initialized"));
    makeColormapTextures();
    glCheck(QStringLiteral("colormaps initialized"));
    makeQuad();
    if (!m_contextConnection)
        m_contextConnection = connect(
            context(), &QOpenGLContext::aboutToBeDestroyed, this, [this] { contextAboutToBeDestroyed(); },
            Qt::DirectConnection);
}

void QOpenGLChannel::logDriver()
{
    const auto text = [this](GLenum name) {
        return QString::fromLatin1(reinterpret_cast<const char*>(glGetString(name)));
    };
    glCheck(QStringLiteral("functions initialized"));
    const QSurfaceFormat format = context()->format();
    const int major = format.majorVersion();
    const int minor = format.minorVersion();
    const bool es = context()->isOpenGLES();
    qInfo().noquote() << QStringLiteral("GPU: %1 / %2").arg(text(GL_VENDOR), text(GL_RENDERER));
    qInfo().noquote() << QStringLiteral("OGL: %1 / %2 / %3%4.%5%6")
                             .arg(text(GL_VERSION), text(GL_SHADING_LANGUAGE_VERSION),
                                  es ? QStringLiteral("OpenGL ES ") : QStringLiteral("OpenGL "))
                             .arg(major)
                             .arg(minor)
                             .arg(format.profile() == QSurfaceFormat::CompatibilityProfile
                                      ? QStringLiteral(" Compatibility")
                                      : QStringLiteral(" Core"));
    // Warnings only: start-up has probed the context, and drawing goes on whatever comes of it.
    if (!es && (major < 3 || (major == 3 && minor < 3)))
        qWarning().noquote() << QStringLiteral("No OpenGL 3.3 support (%1.%2)").arg(major).arg(minor);
    if (es && major < 3)
        qWarning().noquote() << QStringLiteral("No OpenGL ES 3.0 support (%1.%2)").arg(major).arg(minor);
    qDebug() << context()->extensions();
    firstGLInit = false;
}

QByteArray QOpenGLChannel::loadShader(const QString& resourcePath) const
{
    QByteArray text =
        context()->isOpenGLES()
            ? QByteArrayLiteral("#version 300 es\nprecision highp float;\nprecision highp int;\n")
            : QByteArrayLiteral("#version 330\n");
    QFile file(resourcePath);
    if (file.open(QFile::ReadOnly))
        text += file.readAll();
    return text;
}

void QOpenGLChannel::makePrograms()
{
    const ProgramRow rows[] = {
        {&QOpenGLChannel::m_colorProgram, ":/shaders/vertex.vert", ":/shaders/color.frag"},
        {&QOpenGLChannel::m_selectionProgram, ":/shaders/vertextexture.vert",
         ":/shaders/selectiontexture.frag"},
        {&QOpenGLChannel::m_textureProgram, ":/shaders/vertextexture.vert", ":/shaders/texture.frag"},
        {&QOpenGLChannel::m_powerProgram, ":/shaders/vertextexture.vert", ":/shaders/mappower.frag"},
        {&QOpenGLChannel::m_power64Program, ":/shaders/vertextexture.vert", ":/shaders/mappower64.frag"},
        {&QOpenGLChannel::m_power128Program, ":/shaders/vertextexture.vert", ":/shaders/mappower128.frag"},
        {&QOpenGLChannel::m_waveformProgram, ":/shaders/vertextexture.vert", ":/shaders/waveform.frag"},
    };
    for (const ProgramRow& row : rows) {
        auto* program = new QOpenGLShaderProgram(this);
        // Cacheable: linked binaries are kept between runs where the driver allows it.
        program->addCacheableShaderFromSourceCode(QOpenGLShader::Vertex,
                                                  loadShader(QLatin1String(row.vertex)));
        program->addCacheableShaderFromSourceCode(QOpenGLShader::Fragment,
                                                  loadShader(QLatin1String(row.fragment)));
        program->link();
        this->*row.program = program;
    }
}

// The levels are scaled here and not by glGenerateMipmap: a software renderer compiles code for that, anew
// in the context of every view, which took most of the time until a view was shown.
std::unique_ptr<QOpenGLTexture> QOpenGLChannel::imageTexture(const QImage& image, bool mipmaps)
{
    auto texture = std::make_unique<QOpenGLTexture>(QOpenGLTexture::Target2D);
    if (image.isNull() || !mipmaps) {
        texture->setData(image, QOpenGLTexture::DontGenerateMipMaps);
        return texture;
    }
    const bool oldEs = QOpenGLContext::currentContext()->isOpenGLES() &&
                       QOpenGLContext::currentContext()->format().majorVersion() < 3;
    texture->setFormat(oldEs ? QOpenGLTexture::RGBAFormat : QOpenGLTexture::RGBA8_UNorm);
    texture->setSize(image.width(), image.height());
    texture->setMipLevels(texture->maximumMipLevels());
    texture->setAutoMipMapGenerationEnabled(false);
    texture->allocateStorage(QOpenGLTexture::RGBA, QOpenGLTexture::UInt8);
    QOpenGLPixelTransferOptions options;
    options.setAlignment(1);
    for (int level = 0; level < texture->mipLevels(); ++level) {
        const QSize size(std::max(1, image.width() >> level), std::max(1, image.height() >> level));
        const QImage scaled = image.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
                                  .convertToFormat(QImage::Format_RGBA8888);
        texture->setData(level, QOpenGLTexture::RGBA, QOpenGLTexture::UInt8, scaled.constBits(), &options);
    }
    return texture;
}

void QOpenGLChannel::makeControlTexture()
{
    QImage image(16, 16, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(Qt::white);
    painter.drawEllipse(0, 0, 16, 16);
    painter.end();
    m_controlTexture = imageTexture(image, true);
}

void QOpenGLChannel::makeColormapTextures()
{
    m_colormapTextures.clear();
    for (int id = 0; id < colormapCount(); ++id) {
        auto texture = imageTexture(colormapImage(id, 256, 1), false);
        texture->setMinMagFilters(QOpenGLTexture::Linear, QOpenGLTexture::Linear);
        texture->setWrapMode(QOpenGLTexture::ClampToEdge);
        m_colormapTextures.push_back(std::move(texture));
    }
}

// The core profile draws from buffers only.
void QOpenGLChannel::makeQuad()
{
    m_quadBuffer.create();
    m_quadBuffer.setUsagePattern(QOpenGLBuffer::StreamDraw);
    m_quadArray.create();
}

void QOpenGLChannel::drawQuad(QOpenGLShaderProgram& program, const QMatrix4x4& matrix, const QRectF& rect,
                              const QRectF& texture)
{
    const auto corner = [&](bool right, bool second) {
        return std::array<GLfloat, 4>{GLfloat(right ? rect.right() : rect.left()),
                                      GLfloat(second ? rect.bottom() : rect.top()),
                                      GLfloat(right ? texture.right() : texture.left()),
                                      GLfloat(second ? texture.bottom() : texture.top())};
    };
    const std::array<std::array<GLfloat, 4>, 4> corners = {corner(false, false), corner(true, false),
                                                           corner(true, true), corner(false, true)};
    program.setUniformValue("matrix", matrix);
    const QOpenGLVertexArrayObject::Binder array(&m_quadArray);
    m_quadBuffer.bind();
    m_quadBuffer.allocate(corners.data(), sizeof corners);
    program.enableAttributeArray("vertex");
    program.setAttributeBuffer("vertex", GL_FLOAT, 0, 2, 4 * sizeof(GLfloat));
    if (program.attributeLocation("texcoord") >= 0) {
        program.enableAttributeArray("texcoord");
        program.setAttributeBuffer("texcoord", GL_FLOAT, 2 * sizeof(GLfloat), 2, 4 * sizeof(GLfloat));
    }
    glDrawArrays(GL_TRIANGLE_FAN, 0, 4);
    m_quadBuffer.release();
}

bool QOpenGLChannel::glCheck(const QString& where)
{
    const GLenum code = glGetError();
    if (code == GL_NO_ERROR)
        return false;
    qWarning().noquote() << glErrorText(code, where);
    return true;
}

void QOpenGLChannel::contextAboutToBeDestroyed()
{
    qDebug() << "QOpenGLChannel::contextAboutToBeDestroyed()";
    if (!isValid())
        return;
    makeCurrent();
    for (QOpenGLShaderProgram** program :
         {&m_colorProgram, &m_textureProgram, &m_powerProgram, &m_power64Program, &m_power128Program}) {
        delete *program;
        *program = nullptr;
    }
    m_controlTexture.reset();
    m_colormapTextures.clear();
    m_quadArray.destroy();
    m_quadBuffer.destroy();
    glCheck(QStringLiteral("generic context destroyed"));
    doneCurrent();
}
