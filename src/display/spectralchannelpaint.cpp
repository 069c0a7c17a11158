// What SpectralChannel draws.
#include "display/properties.h"
#include "display/spectralchannel.h"
#include "display/viewgeometry.h"
#include "display/visiblelayers.h"
#include "model/layerroot.h"

#include <QMatrix4x4>

#include <algorithm>
#include <mutex>

namespace {

constexpr std::size_t greyRamp = 9; // id of the colour map that layers with a colour of their own take

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
    for (auto& [layer, record] : m_layerTextures)
        if (record.currentData)
            upload(record);
    glCheck(QStringLiteral("spectral initialized"));
}

void SpectralChannel::contextAboutToBeDestroyed()
{
    if (isValid()) {
        makeCurrent();
        for (auto& [layer, record] : m_layerTextures)
            record.glTexture.reset();
        glCheck(QStringLiteral("spectral context destroyed"));
    }
    QOpenGLChannel::contextAboutToBeDestroyed();
}

void SpectralChannel::paintGL()
{
    glCheck(QStringLiteral("render start (spectral, channel %1)").arg(m_channel));
    const bool visible = viewgeometry::isVisible(m_viewArea);
    if (visible && hasValidFormat())
        uploadPass();
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    glClearColor(0, 0, 0, 1);
    glClear(GL_COLOR_BUFFER_BIT);
    if (visible && hasValidFormat()) {
        // Layers add up.
        glBlendFunc(GL_ONE, GL_ONE);
        spectrogramPass();
    }
    glCheck(QStringLiteral("render end (spectral, channel %1)").arg(m_channel));
}

// --- upload -----------------------------------------------------------------------------------------

void SpectralChannel::uploadPass()
{
    if (!m_root)
        return;
    const Range viewRange = m_viewArea.range();
    for (const LayerInView& entry : layersInView(*m_root->project())) {
        const auto found = m_layerTextures.find(entry.layer);
        if (found == m_layerTextures.end())
            continue; // inserted since the last LayerRootChange
        LayerTexture& record = found->second;
        record.shown = entry.visible && !entry.layer->isEmpty() &&
                       !entry.layer->range(true).intersected(viewRange).isEmpty();
        if (!record.shown) {
            release(record);
            continue;
        }
        requestPicture(record, false);
        uploadNewest(record);
    }
}

void SpectralChannel::requestPicture(LayerTexture& record, bool updateContent)
{
    record.texture->requestTex(m_viewArea, devicePixels(size(), devicePixelRatioF()), m_timeSharpen,
                               m_freqSharpen, m_convert.freqScale, m_convert.filtering, updateContent);
}

// A layer out of the picture gives up its thread and its textures.
void SpectralChannel::release(LayerTexture& record)
{
    if (record.currentData || record.texture->isRunning())
        record.texture->clean();
    record.glTexture.reset();
    record.currentData.reset();
}

void SpectralChannel::uploadNewest(LayerTexture& record)
{
    SpectralTextureDataPtr newest;
    record.texture->lockTexQueue();
    std::vector<SpectralTextureDataPtr>& queue = record.texture->getTexQueue();
    if (!queue.empty())
        newest = std::move(queue.back());
    queue.clear();
    record.texture->unlockTexQueue();
    if (!newest)
        return; // the old texture stays in use
    record.currentData = std::move(newest);
    upload(record);
}

void SpectralChannel::upload(LayerTexture& record)
{
    const SpectralTextureData& picture = *record.currentData;
    // One time column is one row of the texture.
    const QSize size = picture.size.transposed();
    std::unique_ptr<QOpenGLTexture>& texture = record.glTexture;
    if (texture && (texture->width() != size.width() || texture->height() != size.height()))
        texture.reset();
    if (!picture.data)
        return;
    if (!texture) {
        texture = std::make_unique<QOpenGLTexture>(QOpenGLTexture::Target2D);
        texture->setAutoMipMapGenerationEnabled(false);
        texture->setFormat(QOpenGLTexture::R32F);
        texture->setSize(size.width(), size.height());
        texture->allocateStorage(QOpenGLTexture::Red, QOpenGLTexture::Float32);
    }
    texture->setData(QOpenGLTexture::Red, QOpenGLTexture::Float32, picture.data.get());
    const auto filter =
        picture.filtering == Filtering::Raw ? QOpenGLTexture::Nearest : QOpenGLTexture::Linear;
    texture->setMinMagFilters(filter, filter);
    texture->setWrapMode(QOpenGLTexture::ClampToEdge);
}

// --- spectrogram ------------------------------------------------------------------------------------

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
    for (const auto& [layer, record] : m_layerTextures)
        if (record.glTexture)
            drawLayer(*layer, record, *program, steps);
    program->release();
}

QColor SpectralChannel::layerColor(const ILayer& layer) const
{
    const ILayerPtr active = m_root ? m_root->layer(-1) : nullptr;
    if (m_composite)
        return Qt::white;
    if (m_targetActive && active.get() != &layer)
        return propertyOr("colornontarget", "#555555").value<QColor>();
    return QColor::fromRgb(layer.color() & 0xffffff);
}

void SpectralChannel::drawLayer(const ILayer& layer, const LayerTexture& record,
                                QOpenGLShaderProgram& program, int steps)
{
    const Area view = m_convert.areaToScale(m_viewArea);
    const Area area = m_convert.areaToScale(record.currentData->area);
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
    const std::size_t gradient = m_composite ? std::size_t(m_colormap) : greyRamp;
    record.glTexture->bind(0);
    m_colormapTextures[gradient]->bind(1);
    program.setUniformValue("multiplier", layer.multiplier());
    program.setUniformValue("color", layerColor(layer));
    QMatrix4x4 matrix;
    matrix.ortho(QRectF(0, 1, 1, -1));
    drawQuad(program, matrix, rect, texture);
    m_colormapTextures[gradient]->release(1);
    record.glTexture->release(0);
}
