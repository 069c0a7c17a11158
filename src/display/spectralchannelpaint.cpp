// What SpectralChannel draws.
#include "display/spectralchannel.h"
#include "display/viewgeometry.h"
#include "model/layerroot.h"

#include <QMatrix4x4>

#include <algorithm>

namespace {

// A rectangle of the picture, `texture` its coordinates in the unit square of the texture, both cut
// to what a view over the unit square shows. In double precision, since at high zoom the picture is
// far larger than the view.
void cutToView(QRectF& rect, QRectF& texture)
{
    const QRectF cut = rect.intersected(QRectF(0, 0, 1, 1));
    const double sx = texture.width() / rect.width();
    const double sy = texture.height() / rect.height();
    texture = QRectF(texture.x() + (cut.x() - rect.x()) * sx, texture.y() + (cut.y() - rect.y()) * sy,
                     cut.width() * sx, cut.height() * sy);
    rect = cut;
}

// The unit square grown to the side to which the picture is displaced.
QRectF grownUnitSquare(const Displacement& by)
{
    return {QPointF(std::min(0.0f, by.x), std::min(0.0f, by.y)),
            QPointF(1 + std::max(0.0f, by.x), 1 + std::max(0.0f, by.y))};
}

} // namespace

void SpectralChannel::initializeGL()
{
    QOpenGLChannel::initializeGL();
    m_textures.uploadAgain(&SpectralChannel::upload);
    glCheck(QStringLiteral("spectral initialized"));
}

void SpectralChannel::contextAboutToBeDestroyed()
{
    if (isValid()) {
        makeCurrent();
        m_textures.dropGlTextures();
        glCheck(QStringLiteral("spectral context destroyed"));
    }
    QOpenGLChannel::contextAboutToBeDestroyed();
}

void SpectralChannel::paintGL()
{
    glCheck(QStringLiteral("render start (spectral, channel %1)").arg(m_channel));
    const bool visible = hasPicture();
    if (visible && m_root)
        m_textures.update(
            *m_root, m_viewArea.range(), [this](SpectralTexture& texture) { requestPicture(texture, false); },
            &SpectralChannel::upload);
    clearFrame();
    if (visible) {
        // Layers add up.
        glBlendFunc(GL_ONE, GL_ONE);
        spectrogramPass();
        setNormalBlending();
        if (m_gridShown)
            gridPass();
        setSelectionBlending();
        selectionPass();
        setNormalBlending();
        if (m_markersShown)
            markersPass();
        if (m_spectralMarkersShown)
            spectralMarkersPass();
        transportPass();
        if (isAddressed()) {
            if (m_tool == EventId::ToolMoveActivate)
                moveFramePass();
            else
                drawingPass();
            controlsPass();
        }
    }
    glCheck(QStringLiteral("render end (spectral, channel %1)").arg(m_channel));
}

// --- upload -----------------------------------------------------------------------------------------

void SpectralChannel::requestPicture(SpectralTexture& texture, bool updateContent)
{
    texture.requestTex(m_viewArea, frameSize(), m_timeSharpen, m_freqSharpen, m_convert.freqScale,
                       m_convert.filtering, updateContent);
}

// One time column is one row of the texture.
void SpectralChannel::upload(Textures::Record& record)
{
    const SpectralTextureData& picture = *record.currentData;
    if (picture.data)
        uploadFloats(record.glTexture, picture.size.transposed(), 1, picture.data.get(),
                     picture.filtering != Filtering::Raw);
    else
        record.glTexture.reset();
}

// --- spectrogram ------------------------------------------------------------------------------------

// Where the picture belongs by now.
Area SpectralChannel::areaNow(const SpectralTextureData& picture)
{
    const Area& area = picture.area;
    const FRange time = whereNow(*picture.layer, picture.placement, {area.x, area.width});
    return {time.start, area.y, time.length, area.height};
}

QOpenGLShaderProgram* SpectralChannel::powerProgram(int steps) const
{
    return steps == 0 ? m_powerProgram : steps == 64 ? m_power64Program : m_power128Program;
}

void SpectralChannel::spectrogramPass()
{
    const int steps = displacement::steps(m_displacement);
    QOpenGLShaderProgram* program = powerProgram(steps);
    if (!program || !program->isLinked())
        return;
    program->bind();
    program->setUniformValue("tex", 0);
    program->setUniformValue("gradient", 1);
    program->setUniformValue("lowdb", m_lowdB);
    program->setUniformValue("highdb", m_highdB);
    program->setUniformValue("gamma", m_gamma);
    for (const auto& [layer, record] : m_textures)
        if (record.glTexture)
            drawLayer(lookOf(*layer), record, *program, steps);
    program->release();
}

void SpectralChannel::drawLayer(const ILayer& look, const Textures::Record& record,
                                QOpenGLShaderProgram& program, int steps)
{
    const Area view = m_convert.areaToScale(m_viewArea);
    const Area area = m_convert.areaToScale(areaNow(*record.currentData));
    // The loudest bins go the whole way, in texture coordinates.
    Displacement whole;
    if (steps > 0) {
        whole = {float(m_displacement.x * (view.width / width()) / area.width),
                 float(m_displacement.y * (view.height / height()) / area.height)};
        const std::vector<QVector4D> table = displacement::table(steps, whole, m_lowdB, m_highdB, m_gamma);
        program.setUniformValueArray("displace", table.data(), steps);
    }
    QRectF texture = grownUnitSquare(whole);
    const double scaleX = area.width / view.width;
    const double scaleY = area.height / view.height;
    QRectF rect((area.x - view.x) / view.width + texture.x() * scaleX,
                (area.y - view.y) / view.height + texture.y() * scaleY, texture.width() * scaleX,
                texture.height() * scaleY);
    cutToView(rect, texture);
    if (rect.isEmpty())
        return;
    record.glTexture->bind(0);
    m_colormapTextures[gradient()]->bind(1);
    program.setUniformValue("multiplier", look.multiplier());
    program.setUniformValue("color", layerColor(look));
    QMatrix4x4 matrix;
    matrix.ortho(QRectF(0, 1, 1, -1));
    drawQuad(program, matrix, rect, texture);
    m_colormapTextures[gradient()]->release(1);
    record.glTexture->release(0);
}
