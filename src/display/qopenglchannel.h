// Shared base of the channel views: everything on the GPU that does not depend on the document.
#pragma once

#include <QList>
#include <QOpenGLBuffer>
#include <QOpenGLFunctions>
#include <QOpenGLShaderProgram>
#include <QOpenGLTexture>
#include <QOpenGLVertexArrayObject>
#include <QOpenGLWidget>
#include <QPolygonF>

#include <array>
#include <memory>
#include <vector>

class QMatrix4x4;
class QRectF;

// Pixels of the screen that a widget of `logical` size covers at a (fractional) scale: what a
// QOpenGLWidget of that size gives its frame buffer.
[[nodiscard]] QSize devicePixels(const QSize& logical, qreal ratio);

// The line that glCheck writes: "gl error: 0x502 GL_INVALID_OPERATION (where)". A code without a name
// leaves the name empty.
[[nodiscard]] QString glErrorText(unsigned code, const QString& where);

// Seven programs, the disc of the control points, one gradient for each colour map, and the vertex
// buffer of the quads. Each widget has its own set, made in its own context, since a context may be
// lost at any time: a QOpenGLWidget gets another one when it changes its window. initializeGL makes
// the set, contextAboutToBeDestroyed releases it, and both come in turns.
//
// Derived views override initializeGL, paintGL, resizeGL and contextAboutToBeDestroyed and always
// call the base version; releasing, their own things go first, under the same makeCurrent. A derived
// destructor calls its contextAboutToBeDestroyed itself.
//
// GUI thread only. Drawing is OpenGL 3.3 core or OpenGL ES 3.0 through the same shader texts.
class QOpenGLChannel : public QOpenGLWidget, protected QOpenGLFunctions
{
    Q_OBJECT

public:
    explicit QOpenGLChannel(QWidget* parent = nullptr);
    ~QOpenGLChannel() override;

    // For a picture of the view: the frame buffer has so many times the pixels of the screen, and all that
    // is drawn follows. 1 is the screen itself.
    void setPixelScale(double scale);

protected:
    // The ratio of device pixels, from which everything is sized, times the scale.
    int metric(PaintDeviceMetric metric) const override;
    void initializeGL() override;
    // Called directly when the context goes away, while it is still there.
    virtual void contextAboutToBeDestroyed();

    // Calls `work`, which lets go of OpenGL objects, with the context current if there is one.
    template<class Work>
    void withContext(const Work& work)
    {
        const bool valid = isValid();
        if (valid)
            makeCurrent();
        work();
        if (valid)
            doneCurrent();
    }
    // Reads one error. False and silent without one; otherwise a warning in the log, and true.
    bool glCheck(const QString& where);
    // The prologue of the context's dialect and the file's bytes. A missing file gives the bare
    // prologue, and the program fails to link.
    [[nodiscard]] QByteArray loadShader(const QString& resourcePath) const;
    // RGBA8, with a full chain of mipmaps or one level.
    [[nodiscard]] static std::unique_ptr<QOpenGLTexture> imageTexture(const QImage& image, bool mipmaps);
    // A fan of four vertices over `rect` with `texture` as the coordinates of its corners. The
    // program is bound and has its uniforms but for `matrix`.
    void drawQuad(QOpenGLShaderProgram& program, const QMatrix4x4& matrix, const QRectF& rect,
                  const QRectF& texture);
    // Flat-coloured rectangles, in pixels of the frame buffer from its top left. What lies outside is
    // cut off before it loses precision.
    void drawRects(const QVector<QRectF>& rects, const QColor& color);
    // Straight strokes from point to point, in the same pixels.
    void drawStrokes(const QVector<QPolygonF>& lines, double thickness, const QColor& color);
    // Discs about points in the same pixels.
    void drawDiscs(const QVector<QPointF>& centres, double diameter, const QColor& color);
    // Brings `data`, of `components` floats (1 or 4) for each texel, into a texture without mipmaps, made
    // anew where its size differs. `smooth`: interpolated between texels.
    static void uploadFloats(std::unique_ptr<QOpenGLTexture>& texture, const QSize& size, int components,
                             const float* data, bool smooth);

    // Children of the widget. Null until initializeGL; selectionProgram and waveformProgram stay when
    // a context is lost (they go with the widget), the others become null.
    QOpenGLShaderProgram* m_colorProgram = nullptr;     // flat-colour lines and quads
    QOpenGLShaderProgram* m_selectionProgram = nullptr; // selection mask and border
    QOpenGLShaderProgram* m_textureProgram = nullptr;   // plain textured quad
    QOpenGLShaderProgram* m_powerProgram = nullptr;     // spectrogram
    QOpenGLShaderProgram* m_waveformProgram = nullptr;
    QOpenGLShaderProgram* m_power64Program = nullptr;  // spectrogram, 64 displacement steps
    QOpenGLShaderProgram* m_power128Program = nullptr; // spectrogram, 128 displacement steps
    std::unique_ptr<QOpenGLTexture> m_controlTexture;  // 16 by 16 disc
    // In the order of the colour map ids.
    std::vector<std::unique_ptr<QOpenGLTexture>> m_colormapTextures;

private:
    void logDriver();
    void makePrograms();
    void makeControlTexture();
    void makeColormapTextures();
    void makeQuad();
    // `vertices`: x, y and the texture's coordinates.
    using Vertex = std::array<GLfloat, 4>;
    void drawVertices(QOpenGLShaderProgram& program, const QMatrix4x4& matrix, GLenum mode,
                      const Vertex* vertices, int count);
    // The corners of two triangles.
    static void appendTriangles(std::vector<Vertex>& vertices, const QRectF& rect, const QRectF& texture);
    [[nodiscard]] QMatrix4x4 frameMatrix() const;
    void drawFlat(const std::vector<Vertex>& vertices, const QColor& color);

    double m_pixelScale = 1;
    QOpenGLBuffer m_quadBuffer{QOpenGLBuffer::VertexBuffer};
    QOpenGLVertexArrayObject m_quadArray;
    // To the context that the set was made in. It breaks by itself when that context dies, which is
    // how initializeGL knows that there is a new one to watch.
    QMetaObject::Connection m_contextConnection;
};
