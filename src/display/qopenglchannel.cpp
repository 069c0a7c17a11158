#include "display/qopenglchannel.h"

#include "display/scales/colormaps.h"

#include <QCoreApplication>
#include <QDebug>
#include <QFile>
#include <QMatrix4x4>
#include <QOpenGLContext>
#include <QOpenGLPixelTransferOptions>
#include <QPainter>
#include <QResizeEvent>

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

// The piece of `line` inside `frame` (Liang and Barsky, 1984); false when there is none.
bool cutToFrame(QLineF& line, const QRectF& frame)
{
    double from = 0, to = 1;
    const auto cut = [&](double delta, double room) {
        if (delta == 0)
            return room >= 0;
        const double at = room / delta;
        if (delta < 0)
            from = std::max(from, at);
        else
            to = std::min(to, at);
        return from <= to;
    };
    if (!cut(-line.dx(), line.x1() - frame.left()) || !cut(line.dx(), frame.right() - line.x1()) ||
        !cut(-line.dy(), line.y1() - frame.top()) || !cut(line.dy(), frame.bottom() - line.y1()))
        return false;
    line = QLineF(line.pointAt(from), line.pointAt(to));
    return true;
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

void QOpenGLChannel::setPixelScale(double scale)
{
    if (scale == m_pixelScale)
        return;
    m_pixelScale = scale;
    QResizeEvent resized(size(), size()); // makes another frame buffer
    QCoreApplication::sendEvent(this, &resized);
    update();
}

int QOpenGLChannel::metric(PaintDeviceMetric metric) const
{
    const int value = QOpenGLWidget::metric(metric);
    return metric == PdmDevicePixelRatioScaled ? qRound(value * m_pixelScale) : value;
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
    m_controlTexture->setMinMagFilters(QOpenGLTexture::LinearMipMapLinear, QOpenGLTexture::Linear);
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
        return Vertex{GLfloat(right ? rect.right() : rect.left()),
                      GLfloat(second ? rect.bottom() : rect.top()),
                      GLfloat(right ? texture.right() : texture.left()),
                      GLfloat(second ? texture.bottom() : texture.top())};
    };
    const std::array<Vertex, 4> corners = {corner(false, false), corner(true, false), corner(true, true),
                                           corner(false, true)};
    drawVertices(program, matrix, GL_TRIANGLE_FAN, corners.data(), int(corners.size()));
}

void QOpenGLChannel::drawVertices(QOpenGLShaderProgram& program, const QMatrix4x4& matrix, GLenum mode,
                                  const Vertex* vertices, int count)
{
    program.setUniformValue("matrix", matrix);
    const QOpenGLVertexArrayObject::Binder array(&m_quadArray);
    m_quadBuffer.bind();
    m_quadBuffer.allocate(vertices, count * int(sizeof(Vertex)));
    program.enableAttributeArray("vertex");
    program.setAttributeBuffer("vertex", GL_FLOAT, 0, 2, sizeof(Vertex));
    if (program.attributeLocation("texcoord") >= 0) {
        program.enableAttributeArray("texcoord");
        program.setAttributeBuffer("texcoord", GL_FLOAT, 2 * sizeof(GLfloat), 2, sizeof(Vertex));
    }
    glDrawArrays(mode, 0, count);
    m_quadBuffer.release();
}

void QOpenGLChannel::appendTriangles(std::vector<Vertex>& vertices, const QRectF& rect, const QRectF& texture)
{
    const auto corner = [&](bool right, bool bottom) {
        return Vertex{GLfloat(right ? rect.right() : rect.left()),
                      GLfloat(bottom ? rect.bottom() : rect.top()),
                      GLfloat(right ? texture.right() : texture.left()),
                      GLfloat(bottom ? texture.bottom() : texture.top())};
    };
    for (const auto& [right, bottom] :
         {std::pair{false, false}, {true, false}, {true, true}, {false, false}, {true, true}, {false, true}})
        vertices.push_back(corner(right, bottom));
}

QMatrix4x4 QOpenGLChannel::frameMatrix() const
{
    QMatrix4x4 matrix;
    matrix.ortho(QRectF(QPointF(), devicePixels(size(), devicePixelRatioF())));
    return matrix;
}

void QOpenGLChannel::drawRects(const QVector<QRectF>& rects, const QColor& color)
{
    const QRectF frame(QPointF(), devicePixels(size(), devicePixelRatioF()));
    std::vector<Vertex> vertices;
    for (const QRectF& rect : rects) {
        const QRectF seen = rect.intersected(frame);
        if (!seen.isEmpty())
            appendTriangles(vertices, seen, {});
    }
    drawFlat(vertices, color);
}

void QOpenGLChannel::drawStrokes(const QVector<QPolygonF>& lines, double thickness, const QColor& color)
{
    const QRectF frame = QRectF(QPointF(), devicePixels(size(), devicePixelRatioF()))
                             .adjusted(-thickness, -thickness, thickness, thickness);
    std::vector<Vertex> vertices;
    for (const QPolygonF& line : lines)
        for (int i = 0; i + 1 < line.size(); ++i) {
            QLineF edge(line[i], line[i + 1]);
            if (!cutToFrame(edge, frame))
                continue;
            const double length = std::max(edge.length(), 1e-6);
            // Half a thickness beyond both ends, so that corners are filled.
            const QPointF along = QPointF(edge.dx(), edge.dy()) / length * (thickness / 2);
            const QPointF across(-along.y(), along.x());
            const QPointF corners[] = {edge.p1() - along - across, edge.p1() - along + across,
                                       edge.p2() + along - across, edge.p2() + along + across};
            for (const int corner : {0, 1, 2, 2, 1, 3})
                vertices.push_back({GLfloat(corners[corner].x()), GLfloat(corners[corner].y()), 0, 0});
        }
    drawFlat(vertices, color);
}

void QOpenGLChannel::drawFlat(const std::vector<Vertex>& vertices, const QColor& color)
{
    if (vertices.empty() || !m_colorProgram || !m_colorProgram->isLinked())
        return;
    m_colorProgram->bind();
    m_colorProgram->setUniformValue("color", color);
    drawVertices(*m_colorProgram, frameMatrix(), GL_TRIANGLES, vertices.data(), int(vertices.size()));
    m_colorProgram->release();
}

void QOpenGLChannel::drawDiscs(const QVector<QPointF>& centres, double diameter, const QColor& color)
{
    const QRectF frame(QPointF(), devicePixels(size(), devicePixelRatioF()));
    std::vector<Vertex> vertices;
    for (const QPointF& centre : centres) {
        const QRectF rect(centre.x() - diameter / 2, centre.y() - diameter / 2, diameter, diameter);
        if (rect.intersects(frame))
            appendTriangles(vertices, rect, QRectF(0, 0, 1, 1));
    }
    if (vertices.empty() || !m_textureProgram || !m_textureProgram->isLinked())
        return;
    m_textureProgram->bind();
    m_textureProgram->setUniformValue("tex", 0);
    m_textureProgram->setUniformValue("color", color);
    m_controlTexture->bind(0);
    drawVertices(*m_textureProgram, frameMatrix(), GL_TRIANGLES, vertices.data(), int(vertices.size()));
    m_controlTexture->release(0);
    m_textureProgram->release();
}

void QOpenGLChannel::uploadFloats(std::unique_ptr<QOpenGLTexture>& texture, const QSize& size, int components,
                                  const float* data, bool smooth)
{
    if (texture && (texture->width() != size.width() || texture->height() != size.height()))
        texture.reset();
    const auto pixel = components == 1 ? QOpenGLTexture::Red : QOpenGLTexture::RGBA;
    if (!texture) {
        texture = std::make_unique<QOpenGLTexture>(QOpenGLTexture::Target2D);
        texture->setAutoMipMapGenerationEnabled(false);
        texture->setFormat(components == 1 ? QOpenGLTexture::R32F : QOpenGLTexture::RGBA32F);
        texture->setSize(size.width(), size.height());
        texture->allocateStorage(pixel, QOpenGLTexture::Float32);
    }
    texture->setData(pixel, QOpenGLTexture::Float32, data);
    const auto filter = smooth ? QOpenGLTexture::Linear : QOpenGLTexture::Nearest;
    texture->setMinMagFilters(filter, filter);
    texture->setWrapMode(QOpenGLTexture::ClampToEdge);
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
