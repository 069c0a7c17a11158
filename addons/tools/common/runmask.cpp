#include "runmask.h"

#include <algorithm>

void RunMask::add(int32_t row, int32_t begin, int32_t end)
{
    if (begin >= end)
        return;
    Runs& runs = m_rows[row];
    // All runs that overlap or touch the new one become one with it.
    const auto first =
        std::lower_bound(runs.begin(), runs.end(), begin, [](const Run& r, int32_t b) { return r.end < b; });
    auto last = first;
    for (; last != runs.end() && last->begin <= end; ++last) {
        begin = std::min(begin, last->begin);
        end = std::max(end, last->end);
    }
    if (first == last) {
        runs.insert(first, {begin, end});
    } else {
        *first = {begin, end};
        runs.erase(first + 1, last);
    }
}

bool RunMask::contains(int32_t column, int32_t row) const
{
    const auto found = m_rows.find(row);
    return found != m_rows.end() &&
           std::any_of(found->second.begin(), found->second.end(),
                       [&](const Run& r) { return r.begin <= column && column < r.end; });
}

int64_t RunMask::cells() const
{
    int64_t sum = 0;
    for (const auto& [row, runs] : m_rows)
        for (const Run& run : runs)
            sum += int64_t(run.end) - run.begin;
    return sum;
}

namespace {

// The left or right border of a run in one row. Its lower end (0) lies on the grid line of its row, its
// upper end (1) on the next one; each end is joined to the end of another border on the same line.
struct Border
{
    int32_t x;
    int32_t row;
    bool closes;       // the right border of a run
    size_t partner[2]; // a border
    int partnerEnd[2];
    bool walked = false;
};

// An end of a border on the grid line in work.
struct End
{
    size_t border;
    int end;
};

class Tracer
{
public:
    explicit Tracer(const std::map<int32_t, RunMask::Runs>& rows)
    {
        std::vector<size_t> below;
        int32_t previous = 0;
        for (const auto& [row, runs] : rows) {
            if (!below.empty() && previous + 1 != row) {
                join(below, {});
                below.clear();
            }
            std::vector<size_t> here;
            for (const RunMask::Run& run : runs) {
                here.push_back(addBorder(run.begin, row, false));
                here.push_back(addBorder(run.end, row, true));
            }
            join(below, here);
            below = here;
            previous = row;
        }
        join(below, {});
    }

    std::vector<QPolygonF> rings()
    {
        std::vector<QPolygonF> rings;
        for (size_t i = 0; i < m_borders.size(); ++i)
            if (!m_borders[i].walked)
                rings.push_back(walk(i));
        return rings;
    }

private:
    size_t addBorder(int32_t x, int32_t row, bool closes)
    {
        m_borders.push_back({x, row, closes, {0, 0}, {0, 0}});
        return m_borders.size() - 1;
    }

    // Joins the upper ends of the row below a grid line with the lower ends of the row above it: a border
    // that goes on, or a horizontal edge from one to the next.
    void join(const std::vector<size_t>& below, const std::vector<size_t>& above)
    {
        // Where one run ends and another begins at the same place, in different rows, the edge that comes
        // from the left belongs to the run that ends: the two keep apart.
        const auto before = [this](const End& a, const End& b) {
            const Border& p = m_borders[a.border];
            const Border& q = m_borders[b.border];
            return p.x != q.x ? p.x < q.x : p.closes && !q.closes;
        };
        std::vector<End> lower, upper, ends(below.size() + above.size());
        for (const size_t b : below)
            lower.push_back({b, 1});
        for (const size_t b : above)
            upper.push_back({b, 0});
        std::merge(lower.begin(), lower.end(), upper.begin(), upper.end(), ends.begin(), before);
        for (size_t i = 0; i + 1 < ends.size(); i += 2) {
            link(ends[i], ends[i + 1]);
            link(ends[i + 1], ends[i]);
        }
    }

    void link(const End& from, const End& to)
    {
        m_borders[from.border].partner[from.end] = to.border;
        m_borders[from.border].partnerEnd[from.end] = to.end;
    }

    QPolygonF walk(size_t start)
    {
        QPolygonF ring;
        size_t at = start;
        int end = 0; // where the border is entered
        do {
            Border& border = m_borders[at];
            border.walked = true;
            append(ring, QPointF(border.x, border.row + end));
            append(ring, QPointF(border.x, border.row + 1 - end));
            const int leave = 1 - end;
            end = border.partnerEnd[leave];
            at = border.partner[leave];
        } while (at != start);
        ring << ring.first();
        return ring;
    }

    // Leaves out the points on the way straight up or down.
    static void append(QPolygonF& ring, const QPointF& point)
    {
        if (!ring.isEmpty() && ring.last() == point)
            return;
        if (ring.size() > 1 && ring.last().x() == point.x() && ring[ring.size() - 2].x() == point.x())
            ring.last() = point;
        else
            ring << point;
    }

    std::vector<Border> m_borders;
};

} // namespace

std::vector<QPolygonF> RunMask::outline() const
{
    return Tracer(m_rows).rings();
}
