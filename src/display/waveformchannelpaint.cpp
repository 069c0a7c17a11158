// What WaveformChannel draws.
#include "display/properties.h"
#include "display/viewgeometry.h"
#include "display/waveformchannel.h"
#include "model/layerroot.h"

#include <QMatrix4x4>

#include <cmath>

namespace {

// Logical pixels.
constexpr double gridDistance = 20; // between level lines, at the least
constexpr double smallestDot = 4;   // with room between neighbours where they lie closest
constexpr double largestDot = 7;
constexpr double controlSize = 10;
constexpr double modeBarWidth = 3;
// By how much the centre of a pixel is told lower, in pixels: a line that lies just between two of them, or
// just upon one, then is as thick as any other.
constexpr double tieBreak = 1.0 / 8;

} // namespace

void WaveformChannel::initializeGL()
{
    QOpenGLChannel::initializeGL();
    m_textures.uploadAgain(&WaveformChannel::upload);
    glCheck(QStringLiteral("wavwform initialized"));
}

void WaveformChannel::contextAboutToBeDestroyed()
{
    if (isValid()) {
        makeCurrent();
        m_textures.dropGlTextures();
        glCheck(QStringLiteral("wavwform context destroyed"));
    }
    QOpenGLChannel::contextAboutToBeDestroyed();
}

void WaveformChannel::paintGL()
{
    glCheck(QStringLiteral("render start (waveform, channel %1)").arg(m_channel));
    const bool visible = hasPicture() && m_root;
    if (visible)
        m_textures.update(
            *m_root, m_viewArea.range(),
            [this](WaveformTexture& texture) {
                texture.requestTex(viewRange(), frameSize().width(), m_convert.filtering);
            },
            &WaveformChannel::upload);
    clearFrame();
    if (visible) {
        // Layers add up, and the grid to them.
        glBlendFunc(GL_ONE, GL_ONE);
        waveformPass();
        if (m_gridShown) {
            timeGridPass();
            powerGridPass();
        }
        setSelectionBlending();
        selectionPass();
        setNormalBlending();
        if (m_markersShown)
            markersPass();
        transportPass();
        samplesPass();
        controlsPass();
        modePass();
    }
    glCheck(QStringLiteral("render end (waveform, channel %1)").arg(m_channel));
}

void WaveformChannel::upload(Textures::Record& record)
{
    const WaveformTextureData& block = *record.currentData;
    if (block.data)
        uploadFloats(record.glTexture, QSize(block.width, 1), 4,
                     reinterpret_cast<const float*>(block.data.get()), block.filtering != Filtering::Raw);
    else
        record.glTexture.reset();
}

// --- waveform ---------------------------------------------------------------------------------------

void WaveformChannel::waveformPass()
{
    if (!m_waveformProgram || !m_waveformProgram->isLinked())
        return;
    m_waveformProgram->bind();
    m_waveformProgram->setUniformValue("tex", 0);
    m_waveformProgram->setUniformValue("gradient", 1);
    for (const auto& [layer, record] : m_textures)
        if (record.glTexture)
            drawLayer(lookOf(*layer), record, *m_waveformProgram);
    m_waveformProgram->release();
}

void WaveformChannel::drawLayer(const ILayer& look, const Textures::Record& record,
                                QOpenGLShaderProgram& program)
{
    const WaveformTextureData& block = *record.currentData;
    const QSize frame = frameSize();
    const FRange range = whereNow(*block.layer, block.placement, block.range);
    // From the centre of a pixel to the texture.
    const double scaleX = m_viewArea.width / frame.width() / range.length;
    double offsetX = (m_viewArea.x - range.start) / range.length;
    if (std::abs(scaleX * block.width - 1) < 1e-6) {
        // One texel for each pixel: centre upon centre, or peaks would be mixed with their neighbours. At
        // the very middle the later pixel takes the texel, so that a view of a whole layer has as many of
        // both.
        const double texel = (scaleX * 0.5 + offsetX) * block.width - 0.5;
        offsetX += (std::ceil(texel - 0.5 - 1e-6) - texel) / block.width;
    }
    // Beyond the envelope the texture would repeat its edges.
    const double left = std::max(0.0, -offsetX / scaleX);
    const double right = std::min<double>(frame.width(), (1 - offsetX) / scaleX);
    if (right <= left)
        return;
    const double scaleY = (m_powerRange.high - m_powerRange.low) / frame.height();
    program.setUniformValue("fragScale", QVector2D(float(scaleX), float(scaleY)));
    program.setUniformValue("fragTranslate",
                            QVector2D(float(offsetX), float(m_powerRange.low - scaleY * tieBreak)));
    const float luminosity = propertyOr("waveformluminosity", 0.5).toFloat();
    program.setUniformValue("luminosity", m_convert.format.isComplex()
                                              ? QVector2D(luminosity / 2, luminosity / 2)
                                              : QVector2D(luminosity, 0));
    program.setUniformValue("multiplier", look.multiplier() * float(look.polarity()));
    program.setUniformValue("color", layerColor(look));
    QOpenGLTexture& ramp = *m_colormapTextures[gradient()];
    record.glTexture->bind(0);
    ramp.bind(1);
    QMatrix4x4 matrix;
    matrix.ortho(QRectF(QPointF(), frame));
    drawQuad(program, matrix, QRectF(QPointF(left, 0), QPointF(right, frame.height())), QRectF(0, 0, 1, 1));
    ramp.release(1);
    record.glTexture->release(0);
}

// --- single samples -----------------------------------------------------------------------------------

// In pixels of the frame buffer. From the envelope that is on the screen: the layer is not asked, so that
// drawing waits for nobody.
QVector<QPointF> WaveformChannel::dots(const ILayer& look, const Textures::Record& record) const
{
    QVector<QPointF> points;
    const WaveformTextureData& block = *record.currentData;
    if (!block.data || block.step != 1)
        return points;
    const double ratio = devicePixelRatioF();
    const double gain = double(look.multiplier()) * look.polarity();
    for (int64_t i = 0; i < block.columnCount; ++i) {
        const QVector4D& column = block.data[std::size_t(i * block.upsample)];
        const double time = whereNow(*block.layer, block.placement, {double(block.firstColumn + i), 0}).start;
        points << pixelOf(time, double(column.x()) * gain) * ratio;
        if (m_convert.format.isComplex())
            points << pixelOf(time, double(column.z()) * gain) * ratio;
    }
    return points;
}

void WaveformChannel::samplesPass()
{
    if (!showsSamples())
        return;
    const ILayerPtr active = m_root->layer(-1);
    const double size = std::clamp(0.6 * width() / m_viewArea.width, smallestDot, largestDot);
    for (const auto& [layer, record] : m_textures)
        if (record.glTexture)
            drawDiscs(dots(lookOf(*layer), record), size * devicePixelRatioF(),
                      layer == active ? colorOr("colorcontrols", "#dcdcdc") : layerColor(lookOf(*layer)));
}

// --- what lies over it ----------------------------------------------------------------------------------

void WaveformChannel::powerGridPass()
{
    QVector<QRectF> lines;
    const int pixels = linePixels();
    const QSize frame = frameSize();
    const FRange range{m_powerRange.low, m_powerRange.high - m_powerRange.low};
    const auto own = [&] { return m_convert.powerMarks(range, height(), gridDistance); };
    for (const double tick : gridLevels(own)) {
        const double y = (m_powerRange.high - tick) / range.length * frame.height();
        lines << QRectF(0, std::floor(y - (pixels - 1) / 2.0), frame.width(), pixels);
    }
    drawRects(lines, colorOr("colorgrid", "#303030"));
}

// A waveform has no frequencies: the selection is its time.
void WaveformChannel::selectionPass()
{
    if (m_selection.isEmpty())
        return;
    const Area bounds = m_selection.bounds();
    const double left = std::floor(timeToFrame(bounds.x));
    const double right = std::max(left + linePixels(), std::ceil(timeToFrame(bounds.x + bounds.width)));
    QColor mask = colorOr("colorselectionmask", "#ffffff");
    mask.setAlphaF(m_selectionOpacity);
    drawRects({QRectF(left, 0, right - left, frameSize().height())}, mask);
}

// Controls of the active tool, whose frequencies do not show here: at their time, on the middle.
void WaveformChannel::controlsPass()
{
    QVector<QPointF> centres;
    for (const ControlPoint& control : m_controls)
        centres << QPointF(timeToFrame(control.position.x), frameSize().height() / 2.0);
    drawDiscs(centres, controlSize * devicePixelRatioF(), colorOr("colorcontrols", "#dcdcdc"));
}

// A bar at the left edge of channels that are muted or solo.
void WaveformChannel::modePass()
{
    const auto isSet = [this](const QBitArray& bits, bool fallback) {
        return m_channel < bits.size() ? bits.testBit(m_channel) : fallback;
    };
    const double bar = std::round(modeBarWidth * devicePixelRatioF());
    const QRectF edge(0, 0, bar, frameSize().height());
    if (isSet(m_channelsMode.solo, false))
        drawRects({edge}, colorOr("colorsolo", "#d85136"));
    else if (!isSet(m_channelsMode.enabled, true))
        drawRects({edge}, colorOr("colormute", "#d8ca36"));
}
