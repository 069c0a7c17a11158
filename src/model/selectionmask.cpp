#include "model/selectionmask.h"

#include "base/parallel.h"
#include "model/fadetriangle.h"

#include <algorithm>
#include <bit>
#include <cmath>

#include <QPainter>
#include <QPainterPath>

namespace {

// Far outside any picture, but small enough for sums and products.
constexpr double farthestPixel = 1e9;
// Around a piece: shapes are cut to it before they reach the painter, whose positions end at 32767.
constexpr double cutMargin = 64;

QPointF usable(QPointF point)
{
    // NaN ends at the low end too.
    const auto limited = [](double value) {
        return value > -farthestPixel ? std::min(value, farthestPixel) : -farthestPixel;
    };
    return {limited(point.x()), limited(point.y())};
}

QRectF grown(const QImage& image)
{
    return QRectF(image.rect()).adjusted(-cutMargin, -cutMargin, cutMargin, cutMargin);
}

// What of a polygon lies on one side of a line; the inside stays as it is under either fill rule.
template<class Distance>
QPolygonF cutBy(const QPolygonF& polygon, const Distance& distance)
{
    QPolygonF result;
    for (int i = 0; i < polygon.size(); ++i) {
        const QPointF& a = polygon[i];
        const QPointF& b = polygon[(i + 1) % polygon.size()];
        const double da = distance(a);
        const double db = distance(b);
        if (da >= 0)
            result << a;
        if ((da >= 0) != (db >= 0))
            result << a + (b - a) * (da / (da - db));
    }
    return result;
}

QPolygonF cutTo(const QRectF& rect, QPolygonF polygon)
{
    if (rect.contains(polygon.boundingRect()))
        return polygon;
    polygon = cutBy(polygon, [&](QPointF p) { return p.x() - rect.left(); });
    polygon = cutBy(polygon, [&](QPointF p) { return rect.right() - p.x(); });
    polygon = cutBy(polygon, [&](QPointF p) { return p.y() - rect.top(); });
    return cutBy(polygon, [&](QPointF p) { return rect.bottom() - p.y(); });
}

// The stretch of a line that lies in the rectangle, as two fractions; false when there is none.
bool visible(QPointF a, QPointF b, const QRectF& rect, double& from, double& to)
{
    from = 0;
    to = 1;
    const auto cut = [&](double start, double step, double low, double high) {
        if (step == 0)
            return start >= low && start <= high;
        double first = (low - start) / step;
        double last = (high - start) / step;
        if (first > last)
            std::swap(first, last);
        from = std::max(from, first);
        to = std::min(to, last);
        return from <= to;
    };
    return cut(a.x(), b.x() - a.x(), rect.left(), rect.right()) &&
           cut(a.y(), b.y() - a.y(), rect.top(), rect.bottom());
}

// The painter rounds positions to 1/64 pixel, so it may fill pixels that lie outside the border by that
// much; the slopes, which are exact, end at the border and would leave them at full weight.
constexpr double painterRounding = 1.0 / 32;

// Clears what lies outside a soft edge by no more than the painter's rounding.
void clearBeyond(const WeightTile& tile, QPointF a, QPointF b, QPointF innerA, QPointF innerB)
{
    const QPointF along = b - a;
    const double length = std::hypot(along.x(), along.y());
    if (!(length > 0))
        return;
    const QPointF step = along * (painterRounding / length);
    const QPointF aside(-step.y(), step.x());
    const auto side = [&](QPointF inner) { return QPointF::dotProduct(inner, aside); };
    const double sideA = side(innerA - a);
    const double sideB = side(innerB - b);
    // A little longer than the edge, for what the round of a corner leaves open.
    const QPointF from = a - step;
    const QPointF to = b + step;
    for (const QPointF outwards : {aside, -aside}) {
        const bool isInside = outwards == aside ? sideA >= 0 && sideB >= 0 : sideA <= 0 && sideB <= 0;
        if (isInside && (sideA != 0 || sideB != 0))
            continue;
        lowerTo(tile, {from, 0}, {to, 0}, {from + outwards, 0}, SelectionMask::full);
        lowerTo(tile, {to, 0}, {to + outwards, 0}, {from + outwards, 0}, SelectionMask::full);
    }
}

// Of a tile of rasterize: small enough for the cache, with rows enough that its outline is no work.
constexpr int rasterPixels = 1 << 18;
constexpr int fewestRasterRows = 16;

} // namespace

SelectionMask::SelectionMask(const QVector<SelectionPart>& parts, const Selection::Mapping& place)
{
    m_shapes.reserve(parts.size());
    for (const SelectionPart& part : parts)
        m_shapes << placed(part, place);
}

SelectionMask::Shape SelectionMask::placed(const SelectionPart& part, const Selection::Mapping& place)
{
    Shape shape;
    shape.rule = part.path.fillRule();
    for (int i = 0; i < part.path.elementCount(); ++i) {
        const QPainterPath::Element element = part.path.elementAt(i);
        const QPointF raw = part.origin + QPointF(element);
        const QPointF fade = i < part.fades.size() ? part.fades[i] : QPointF();
        if (element.isMoveTo() || shape.rings.isEmpty())
            shape.rings << Ring();
        Ring& ring = shape.rings.last();
        ring.border << usable(place(raw));
        ring.soft << (fade.manhattanLength() > 0);
        ring.inner << (ring.soft.last() ? usable(place(raw + fade)) : ring.border.last());
    }
    for (const Ring& ring : shape.rings)
        shape.bounds = shape.bounds.isNull() ? ring.border.boundingRect()
                                             : shape.bounds.united(ring.border.boundingRect());
    return shape;
}

QRect SelectionMask::touched(const QRect& frame) const
{
    QRect all;
    for (const Shape& shape : m_shapes)
        all |= shape.bounds.toAlignedRect().adjusted(-1, -1, 1, 1) & frame;
    return all;
}

void SelectionMask::paintFill(QImage& image, QPoint corner) const
{
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing, false);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(255, 255, 255, 127));
    const QRectF frame = grown(image);
    for (const Shape& shape : m_shapes) {
        if (!shape.bounds.translated(-corner).intersects(frame))
            continue;
        QPainterPath path;
        path.setFillRule(shape.rule);
        for (const Ring& ring : shape.rings) {
            const QPolygonF polygon = cutTo(frame, ring.border.translated(-corner));
            if (polygon.size() >= 3) {
                path.addPolygon(polygon);
                path.closeSubpath();
            }
        }
        painter.drawPath(path);
    }
}

void SelectionMask::paintTile(QImage& image, QPoint corner) const
{
    image.fill(0);
    if (image.isNull() || m_shapes.isEmpty())
        return;
    paintFill(image, corner);
    const WeightTile tile{reinterpret_cast<int32_t*>(image.bits()), image.bytesPerLine() / 4, image.width(),
                          image.height()};
    for (const Shape& shape : m_shapes)
        for (const Ring& ring : shape.rings)
            for (int i = 0; i + 1 < ring.border.size(); ++i) {
                if (!ring.soft[i] || !ring.soft[i + 1])
                    continue;
                const QPointF p0 = ring.border[i] - corner;
                const QPointF p1 = ring.border[i + 1] - corner;
                const QPointF p2 = ring.inner[i] - corner;
                const QPointF p3 = ring.inner[i + 1] - corner;
                lowerTo(tile, {p0, 0}, {p1, 0}, {p2, 1}, full);
                lowerTo(tile, {p1, 0}, {p3, 1}, {p2, 1}, full);
                clearBeyond(tile, p0, p1, p2, p3);
            }
}

// Each visible stretch is drawn by itself with the dashes where they would be, so that an edge of a
// whole recording costs no more than what is seen of it.
void SelectionMask::paintBorder(QImage& image, QPoint corner, double phase) const
{
    constexpr double width = 2;
    QPen pen(Qt::white, width);
    pen.setCapStyle(phase > 0 ? Qt::FlatCap : Qt::SquareCap);
    QPainter painter(&image);
    const QRectF frame = grown(image);
    for (const Shape& shape : m_shapes)
        for (const Ring& ring : shape.rings) {
            double length = 0;
            for (int i = 0; i + 1 < ring.border.size(); ++i) {
                const QPointF a = ring.border[i] - corner;
                const QPointF b = ring.border[i + 1] - corner;
                const double edge = std::hypot(b.x() - a.x(), b.y() - a.y());
                double from = 0;
                double to = 1;
                if (visible(a, b, frame, from, to)) {
                    if (phase > 0) {
                        pen.setDashPattern({2, 2});
                        pen.setDashOffset(std::fmod(phase * 4 + (length + edge * from) / width, 4.0));
                    }
                    painter.setPen(pen);
                    painter.drawLine(a + (b - a) * from, a + (b - a) * to);
                }
                length += edge;
            }
        }
}

namespace {

// Maps a point of the area to pixels; the top row is the highest frequency, or, transposed, rows are
// time and columns rise with frequency.
Selection::Mapping placement(const Area& area, const Selection::Mapping& mapping, QSize size, bool transposed)
{
    const double width = transposed ? size.height() : size.width();
    const double height = transposed ? size.width() : size.height();
    return [=](QPointF point) {
        const QPointF seen = mapping ? mapping(point) : point;
        const double x = (seen.x() - area.x) * width / area.width;
        const double y = (seen.y() - area.y) * height / area.height;
        return transposed ? QPointF(y, x) : QPointF(x, height - y);
    };
}

bool canBeSeen(const Area& area)
{
    return area.width > 0 && area.height > 0 && std::isfinite(area.x) && std::isfinite(area.y) &&
           std::isfinite(area.width) && std::isfinite(area.height);
}

// Calls task(rectangle) for each tile of `rect`.
template<class Task>
void forEachTile(const QRect& rect, int rows, const Task& task)
{
    for (int y = rect.top(); y <= rect.bottom(); y += rows)
        for (int x = rect.left(); x <= rect.right(); x += SelectionMask::tileSize)
            task(QRect(x, y, std::min(SelectionMask::tileSize, rect.right() + 1 - x),
                       std::min(rows, rect.bottom() + 1 - y)));
}

// Zeros for all that lies outside `rect`.
void clearAround(Matrix& matrix, const QRect& rect)
{
    float* data = matrix.data.data();
    const int64_t width = matrix.outputs;
    if (rect.isEmpty()) {
        std::fill_n(data, matrix.data.size(), 0.0f);
        return;
    }
    std::fill_n(data, width * rect.top(), 0.0f);
    for (int row = rect.top(); row <= rect.bottom(); ++row) {
        std::fill_n(data + row * width, rect.left(), 0.0f);
        std::fill_n(data + row * width + rect.right() + 1, width - rect.right() - 1, 0.0f);
    }
    std::fill_n(data + width * (rect.bottom() + 1), width * (matrix.inputs - rect.bottom() - 1), 0.0f);
}

void toWeights(float* weights, const int32_t* pixels, int count)
{
    constexpr float scale = std::bit_cast<float>(0x30008102u); // about 1 / 2139062143
    for (int i = 0; i < count; ++i)
        weights[i] = float(pixels[i]) * scale;
}

} // namespace

void Selection::renderMask(QImage& image, const Area& area, const Mapping& mapping, double borderPhase,
                           bool transposed) const
{
    if (image.isNull() || image.format() != QImage::Format_ARGB32_Premultiplied)
        return;
    image.fill(0);
    if (isEmpty() || !canBeSeen(area))
        return;
    const SelectionMask mask(m_parts, placement(area, mapping, image.size(), transposed));
    const qsizetype stride = image.bytesPerLine();
    uchar* bits = image.bits();
    forEachTile(image.rect(), SelectionMask::tileSize, [&](const QRect& rect) {
        QImage tile(bits + rect.y() * stride + rect.x() * qsizetype(4), rect.width(), rect.height(),
                    int(stride), image.format());
        mask.paintTile(tile, rect.topLeft());
        if (borderPhase >= 0)
            mask.paintBorder(tile, rect.topLeft(), borderPhase);
    });
}

void Selection::renderDisplayMask(QImage& image, const Area& area, const Mapping& mapping,
                                  double borderPhase) const
{
    if (image.isNull() || image.format() != QImage::Format_Grayscale8)
        return;
    QImage mask(image.size(), QImage::Format_ARGB32_Premultiplied);
    renderMask(mask, area, mapping, borderPhase);
    for (int row = 0; row < image.height(); ++row) {
        const auto* from = reinterpret_cast<const QRgb*>(mask.constScanLine(row));
        uchar* to = image.scanLine(row);
        for (int column = 0; column < image.width(); ++column)
            to[column] = uchar(qAlpha(from[column]));
    }
}

void Selection::rasterize(Matrix& matrix, const Area& area) const
{
    if (matrix.data.isEmpty())
        return;
    if (matrix.data.size() != int64_t(matrix.outputs) * matrix.inputs || isEmpty() || !canBeSeen(area)) {
        std::fill(matrix.data.begin(), matrix.data.end(), 0.0f);
        return;
    }
    const QSize size(matrix.outputs, matrix.inputs);
    const SelectionMask mask(m_parts, placement(area, {}, size, true));
    const QRect touched = mask.touched({{0, 0}, size});
    clearAround(matrix, touched);
    if (touched.isEmpty())
        return;
    const int tileWidth = std::min(touched.width(), SelectionMask::tileSize);
    QVector<QRect> tiles;
    forEachTile(touched, std::clamp(rasterPixels / tileWidth, fewestRasterRows, SelectionMask::tileSize),
                [&](const QRect& rect) { tiles << rect; });
    parallelFor(tiles.size(), [&](int64_t index) {
        const QRect rect = tiles.at(int(index));
        // Kept by the thread: fresh memory costs more than the painting.
        thread_local ArrayTemplate<int32_t> pixels(int64_t(SelectionMask::tileSize) * fewestRasterRows);
        QImage tile(reinterpret_cast<uchar*>(pixels.data()), rect.width(), rect.height(), rect.width() * 4,
                    QImage::Format_ARGB32_Premultiplied);
        mask.paintTile(tile, rect.topLeft());
        for (int row = 0; row < rect.height(); ++row)
            toWeights(matrix.data.data() + int64_t(rect.y() + row) * matrix.outputs + rect.x(),
                      pixels.data() + int64_t(row) * rect.width(), rect.width());
    });
}
