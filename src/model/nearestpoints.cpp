#include "model/nearestpoints.h"

// Of equally near points the first one counts.
#define NANOFLANN_FIRST_MATCH
#include <nanoflann.hpp>

namespace {

struct Cloud
{
    QVector<QPointF> points;

    std::size_t kdtree_get_point_count() const { return std::size_t(points.size()); }
    double kdtree_get_pt(std::size_t index, std::size_t axis) const
    {
        const QPointF& point = points[int(index)];
        return axis == 0 ? point.x() : point.y();
    }
    template<class Box>
    bool kdtree_get_bbox(Box&) const
    {
        return false; // the tree works it out
    }
};

using Index = nanoflann::KDTreeSingleIndexAdaptor<nanoflann::L2_Simple_Adaptor<double, Cloud>, Cloud, 2>;

constexpr std::size_t leafSize = 10;

} // namespace

struct NearestPoints::Tree
{
    Cloud cloud;
    Index index;

    explicit Tree(const QVector<QPointF>& points)
        : cloud{points},
          index(2, cloud, nanoflann::KDTreeSingleIndexAdaptorParams(leafSize))
    {
        index.buildIndex();
    }
};

// An index without points leaves its result as it was, so there is none for an empty set.
NearestPoints::NearestPoints(const QVector<QPointF>& points)
    : m_tree(points.isEmpty() ? nullptr : std::make_unique<Tree>(points))
{
}

NearestPoints::~NearestPoints() = default;

int NearestPoints::nearest(QPointF point) const
{
    if (!m_tree)
        return -1;
    const double query[2] = {point.x(), point.y()};
    std::size_t found = 0;
    double distance = 0;
    nanoflann::KNNResultSet<double> result(1);
    result.init(&found, &distance);
    if (!m_tree->index.findNeighbors(result, query, nanoflann::SearchParams()))
        return -1;
    return int(found);
}
