// Which point of a set lies nearest.
#pragma once

#include <memory>

#include <QPointF>
#include <QVector>

// A two-dimensional tree over a fixed set of points.
class NearestPoints
{
public:
    explicit NearestPoints(const QVector<QPointF>& points);
    ~NearestPoints();
    NearestPoints(const NearestPoints&) = delete;
    NearestPoints& operator=(const NearestPoints&) = delete;

    // Index of the point nearest to `point`, the first of equal ones; -1 in an empty set.
    [[nodiscard]] int nearest(QPointF point) const;

private:
    struct Tree;
    std::unique_ptr<Tree> m_tree; // null for an empty set
};
