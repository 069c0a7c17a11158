// A soft-edged region of the time-frequency plane.
#pragma once

#include "model/iselection.h"

#include <functional>
#include <optional>

#include <QImage>
#include <QPainterPath>
#include <QVector>

struct SelectionShape;

// One connected or at least close piece of a selection, in coordinates relative to its own origin, so
// that a short fade far out on the timeline is kept.
struct SelectionPart
{
    QPointF origin;
    QPainterPath path;      // the border, weight 0; lines only
    QPainterPath fadePath;  // the same, moved inwards by the fade / 100000
    QVector<QPointF> fades; // for each element of path: the vector to where the weight is 1
    QRectF bounds;          // control points of path
};

// A value. It is vector paths and no bitmap: exact at any zoom, free to move and scale. Weights are
// painted on demand. Two selections are equal when their fingerprints are.
//
// Not locked: a thread works on its own copy.
class Selection : public ISelection
{
public:
    // From (samples, Hz) to the coordinates of the area that is painted, such as a bent frequency scale.
    using Mapping = std::function<QPointF(QPointF)>;

    Selection() = default;
    // A hard-edged one.
    explicit Selection(const QPainterPath& path);

    void clear() override;
    void translate(QPointF offset) override;
    void scale(float sx, float sy) override;
    void add(const QPainterPath& path, const QList<QPointF>& fades) override;
    void add(const QPainterPath& path, double fadeX, double fadeY, bool subdivide) override;
    void subtract(const QPainterPath& path, const QList<QPointF>& fades, bool reverse) override;
    void subtract(const QPainterPath& path, double fadeX, double fadeY, bool subdivide,
                  bool reverse) override;
    void intersect(const QPainterPath& path, const QList<QPointF>& fades) override;
    void intersect(const QPainterPath& path, double fadeX, double fadeY, bool subdivide) override;
    void expand(int64_t x, double y) override;
    void contract(int64_t x, double y) override;
    void fade(int64_t x, double y) override;
    void contrast(double x, double y) override;
    [[nodiscard]] bool isEmpty() const override { return m_parts.isEmpty(); }
    [[nodiscard]] bool contains(QPointF point) const override;
    [[nodiscard]] Range range() const override { return bounds().range(); }
    [[nodiscard]] Area bounds() const override;
    [[nodiscard]] QPainterPath path() const override;
    void rasterize(Matrix& matrix, const Area& area) const override;

    // One for each element of path().
    [[nodiscard]] QList<QPointF> fades() const;
    [[nodiscard]] double maxFadeX() const { return m_maxFadeX; }
    [[nodiscard]] double maxFadeY() const { return m_maxFadeY; }
    // A hash over all coordinates of border and fades; 0 for the empty selection.
    [[nodiscard]] uint32_t fingerprint() const { return m_fingerprint; }
    friend bool operator==(const Selection& a, const Selection& b)
    {
        return a.m_fingerprint == b.m_fingerprint;
    }

    // Paints `area` into an image of format ARGB32 premultiplied; a weight of 1 is 0x7f7f7f7f, trunc(w *
    // 2139062143) in between. Top row: the highest frequency. `transposed`: rows are time from the
    // top, columns rise with frequency. With `borderPhase` at least 0 the border is drawn over it,
    // white and opaque, 2 pixels wide: solid at 0, dashes that wander with the phase (0 to 1) above.
    void renderMask(QImage& image, const Area& area, const Mapping& mapping = {}, double borderPhase = -1,
                    bool transposed = false) const;
    // The same into a Format_Grayscale8 image of the view: 0x7f inside, 0xff on the border.
    void renderDisplayMask(QImage& image, const Area& area, const Mapping& mapping, double borderPhase) const;

private:
    enum class Operation { Unite, Subtract, SubtractFrom, Intersect };
    void apply(const std::optional<SelectionShape>& shape, Operation operation);
    void unite(const SelectionShape& shape);
    void subtractShape(const SelectionShape& shape);
    void subtractFromShape(const SelectionShape& shape);
    void intersectShape(const SelectionShape& shape);
    void uniteTouching();
    void rebuildFades(SelectionPart& part) const;
    void rebuildAllFades();
    void changed();

    QVector<SelectionPart> m_parts; // none empty, no two overlap
    double m_maxFadeX = 0;          // sample points
    double m_maxFadeY = 0;          // Hz
    uint32_t m_fingerprint = 0;
};
