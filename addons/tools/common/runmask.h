// A set of cells of a grid, and the outline around it.
#pragma once

#include <cstdint>
#include <map>
#include <vector>

#include <QPointF>
#include <QPolygonF>

// Cells as runs in rows, so that painting costs by rows touched and an outline by runs there are, however
// large the grid. Cell (column, row) covers the square from corner (column, row) to (column + 1, row + 1).
class RunMask
{
public:
    struct Run
    {
        int32_t begin = 0;
        int32_t end = 0; // one past the last column

        friend bool operator==(const Run&, const Run&) = default;
    };
    using Runs = std::vector<Run>;

    // Columns `begin` up to, not including, `end`; nothing when there are none.
    void add(int32_t row, int32_t begin, int32_t end);
    [[nodiscard]] bool contains(int32_t column, int32_t row) const;
    [[nodiscard]] bool isEmpty() const { return m_rows.empty(); }
    [[nodiscard]] int64_t cells() const;
    // Runs of a row rise, and neither overlap nor touch.
    [[nodiscard]] const std::map<int32_t, Runs>& rows() const { return m_rows; }

    // Closed rings of corners, first one repeated at the end: outer borders and the borders of holes. Cells
    // that share a corner only belong to different rings.
    [[nodiscard]] std::vector<QPolygonF> outline() const;

private:
    std::map<int32_t, Runs> m_rows;
};
