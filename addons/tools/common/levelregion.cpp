#include "levelregion.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace {

// 16 million cells and 2048 frames are looked at in a fraction of a second.
constexpr int64_t mostCells = int64_t(1) << 24;
constexpr int64_t mostFrames = 2048;
constexpr double farthestFrame = 1e15;

// Marks of the cells: not looked at, and taken.
class Flood
{
public:
    Flood(Levels& levels, const LevelGrid& grid)
        : m_levels(levels),
          m_grid(grid),
          m_bins(grid.highBin - grid.lowBin + 1)
    {
        m_seen.resize(size_t(grid.frames * m_bins));
    }

    // The mean of the nine cells around the spot: a single one of noise may be anything.
    double levelAbout(int64_t column, int32_t bin)
    {
        double sum = 0;
        int count = 0;
        for (int64_t c = column - 1; c <= column + 1; ++c)
            for (int32_t b = bin - 1; b <= bin + 1; ++b)
                if (isInside(c, b)) {
                    sum += double(power(c, b));
                    ++count;
                }
        return sum / count;
    }

    RunMask run(int64_t column, int32_t bin, double tolerance)
    {
        const double level = decibelsOf(levelAbout(column, bin));
        // Below what decibels count all is silence.
        const double least = std::pow(10, (level - tolerance) / 10);
        m_least = least > std::pow(10, decibelsOf(0) / 10) ? float(least) : 0.0f;
        m_most = float(std::pow(10, (level + tolerance) / 10));
        for (int64_t c = column - 1; c <= column + 1; ++c)
            for (int32_t b = bin - 1; b <= bin + 1; ++b)
                visit(c, b);
        while (!m_open.empty()) {
            const auto [c, b] = m_open.back();
            m_open.pop_back();
            spread(c, b);
        }
        return std::move(m_mask);
    }

private:
    [[nodiscard]] bool isInside(int64_t column, int64_t bin) const
    {
        return column >= 0 && column < m_grid.frames && bin >= m_grid.lowBin && bin <= m_grid.highBin;
    }
    float power(int64_t column, int32_t bin)
    {
        return m_levels.power(m_grid.firstFrame + column * m_grid.step, bin);
    }
    [[nodiscard]] bool fits(float power) const { return power >= m_least && power <= m_most; }
    [[nodiscard]] size_t index(int64_t column, int32_t bin) const
    {
        return size_t(column * m_bins + bin - m_grid.lowBin);
    }

    void visit(int64_t column, int32_t bin)
    {
        if (isInside(column, bin) && !m_seen[index(column, bin)] && fits(power(column, bin)))
            m_open.emplace_back(column, bin);
    }

    // Takes the whole run of a column at once, and looks at both neighbour columns beside it.
    void spread(int64_t column, int32_t bin)
    {
        if (m_seen[index(column, bin)])
            return;
        const float* const powers =
            m_levels.powers(m_grid.firstFrame + column * m_grid.step) - m_levels.lowBin();
        int32_t low = bin, high = bin;
        while (low > m_grid.lowBin && fits(powers[low - 1]))
            --low;
        while (high < m_grid.highBin && fits(powers[high + 1]))
            ++high;
        for (int32_t b = low; b <= high; ++b)
            m_seen[index(column, b)] = true;
        m_mask.add(int32_t(column), low - m_grid.lowBin, high - m_grid.lowBin + 1);
        for (const int64_t beside : {column - 1, column + 1})
            if (beside >= 0 && beside < m_grid.frames)
                for (int32_t b = low; b <= high; ++b)
                    visit(beside, b);
    }

    Levels& m_levels;
    const LevelGrid& m_grid;
    int64_t m_bins;
    float m_least = 0;
    float m_most = 0;
    std::vector<bool> m_seen;
    std::vector<std::pair<int64_t, int32_t>> m_open;
    RunMask m_mask;
};

} // namespace

LevelGrid gridOver(const Levels& levels, const Area& area)
{
    LevelGrid grid;
    const double first = std::ceil(levels.frame(area.x));
    const double last = std::floor(levels.frame(area.x + area.width));
    if (!levels.isValid() || !(std::abs(first) < farthestFrame) || !(std::abs(last) < farthestFrame) ||
        !std::isfinite(area.y) || !std::isfinite(area.height))
        return grid;
    const auto binOf = [&](double hz) {
        return int32_t(
            std::lround(std::clamp(levels.bin(hz), double(levels.lowBin()), double(levels.highBin()))));
    };
    grid.lowBin = binOf(area.y);
    grid.highBin = binOf(area.y + area.height);
    const int64_t frames = int64_t(last) - int64_t(first) + 1;
    const int64_t bins = int64_t(grid.highBin) - grid.lowBin + 1;
    const int64_t allowed = std::clamp<int64_t>(mostCells / std::max<int64_t>(1, bins), 1, mostFrames);
    grid.firstFrame = int64_t(first);
    grid.step = std::max<int64_t>(1, (frames + allowed - 1) / allowed);
    grid.frames = frames < 1 ? 0 : (frames - 1) / grid.step + 1;
    return grid;
}

RunMask likeLevel(Levels& levels, const LevelGrid& grid, int64_t column, int32_t bin, double tolerance)
{
    if (grid.isEmpty() || column < 0 || column >= grid.frames || bin < grid.lowBin || bin > grid.highBin ||
        !std::isfinite(tolerance))
        return {};
    if (grid.step == 1)
        levels.prefetch(grid.firstFrame + column, grid.frames - column);
    return Flood(levels, grid).run(column, bin, tolerance);
}
