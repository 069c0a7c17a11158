#include "partials.h"

#include <algorithm>
#include <cmath>
#include <functional>

namespace {

// Above the median of what lies around: noise alone reaches this in one frame of hundreds.
constexpr double standsOut = 10; // dB
constexpr int surroundings = 3;  // lobes to each side
constexpr int32_t mostHarmonics = 4096;

class Search
{
public:
    Search(Levels& levels, const LevelGrid& grid, const PartialSearch& search)
        : m_levels(levels),
          m_grid(grid),
          m_search(search)
    {
    }

    std::vector<PartialTrack> run(int64_t column, double bin)
    {
        const std::optional<double> start = ridgeNear(column, bin, std::max(m_search.reach, 1.0));
        if (!start)
            return {};
        m_level = levelAt(column, *start);
        std::vector<double> back = follow(column, -1, *start);
        const std::vector<double> on = follow(column, 1, *start);
        PartialTrack track;
        track.firstColumn = column - int64_t(back.size());
        track.bins.assign(back.rbegin(), back.rend());
        track.bins.push_back(*start);
        track.bins.insert(track.bins.end(), on.begin(), on.end());
        track.halfWidth = std::min(double(m_levels.lobe()), 0.48 * std::abs(*start));
        track.halfWidth = std::max(track.halfWidth, 1.0);
        std::vector<PartialTrack> tracks{track};
        for (int32_t h = 2; h <= mostHarmonics && m_levels.hasBin(std::llround(h * *start)); ++h)
            addHarmonic(tracks, h);
        return tracks;
    }

private:
    int64_t frameOf(int64_t column) const { return m_grid.firstFrame + column * m_grid.step; }
    double levelAt(int64_t column, double bin)
    {
        return m_levels.decibels(frameOf(column), std::llround(bin));
    }

    // The median of the bins around, the lobe of what stands there left out.
    double floorAbout(int64_t column, int64_t bin)
    {
        const int64_t lobe = m_levels.lobe();
        std::vector<double> around;
        for (int64_t b = bin - surroundings * lobe; b <= bin + surroundings * lobe; ++b)
            if (std::abs(b - bin) > lobe && m_levels.hasBin(b))
                around.push_back(m_levels.decibels(frameOf(column), b));
        if (around.empty())
            return decibelsOf(0);
        const auto middle = around.begin() + int64_t(around.size() / 2);
        std::nth_element(around.begin(), middle, around.end());
        return *middle;
    }

    // The loudest local maximum within the reach, to a fraction of a bin, if it stands out.
    std::optional<double> ridgeNear(int64_t column, double bin, double reach)
    {
        const int64_t frame = frameOf(column);
        double best = -1e9;
        int64_t found = 0;
        for (auto b = int64_t(std::ceil(bin - reach)); b <= int64_t(std::floor(bin + reach)); ++b) {
            if (!m_levels.hasBin(b))
                continue;
            const double level = m_levels.decibels(frame, b);
            if (level > best && level >= m_levels.decibels(frame, b - 1) &&
                level >= m_levels.decibels(frame, b + 1)) {
                best = level;
                found = b;
            }
        }
        if (best < floorAbout(column, found) + standsOut)
            return {};
        return m_levels.refined(frame, int32_t(found));
    }

    // Columns beside `column`, nearest first.
    std::vector<double> follow(int64_t column, int64_t direction, double bin)
    {
        // A voice glides by some bins from frame to frame at most.
        const double reach =
            std::min(double(m_levels.lobe()), 2.0 + double(m_grid.step) / m_levels.overlap());
        std::vector<double> bins;
        for (column += direction; column >= 0 && column < m_grid.frames; column += direction) {
            const std::optional<double> next = ridgeNear(column, bin, reach);
            if (!next || std::abs(levelAt(column, *next) - m_level) > m_search.tolerance)
                break;
            bin = *next;
            bins.push_back(bin);
        }
        return bins;
    }

    // The stretches in which the multiple stands out. Gaps shorter than a window are bridged, and
    // stretches shorter than half of one are chance.
    void addHarmonic(std::vector<PartialTrack>& tracks, int32_t harmonic)
    {
        const PartialTrack base = tracks.front();
        const auto size = int64_t(base.bins.size());
        const int64_t window = std::max<int64_t>(1, m_levels.overlap() / m_grid.step);
        std::vector<std::optional<double>> found;
        for (int64_t i = 0; i < size; ++i) {
            const double expected = base.bins[size_t(i)] * harmonic;
            // The base is known to a fraction of a bin, and a multiple no better than that times its number.
            const double reach = std::min(1.0 + 0.1 * harmonic, base.halfWidth);
            found.push_back(m_levels.hasBin(std::llround(expected))
                                ? ridgeNear(base.firstColumn + i, expected, reach)
                                : std::nullopt);
        }
        for (int64_t i = 0; i < size;) {
            if (!found[size_t(i)]) {
                ++i;
                continue;
            }
            int64_t last = i, count = 0;
            for (int64_t k = i; k < size && k - last <= window; ++k)
                if (found[size_t(k)]) {
                    last = k;
                    ++count;
                }
            if (count >= std::min((window + 1) / 2, size) && 2 * count > last - i)
                tracks.push_back(stretch(found, i, last, harmonic, base));
            i = last + 1;
        }
    }

    static PartialTrack stretch(const std::vector<std::optional<double>>& found, int64_t first, int64_t last,
                                int32_t harmonic, const PartialTrack& base)
    {
        PartialTrack track;
        track.harmonic = harmonic;
        track.firstColumn = base.firstColumn + first;
        track.halfWidth = base.halfWidth;
        for (int64_t i = first; i <= last; ++i)
            track.bins.push_back(found[size_t(i)].value_or(base.bins[size_t(i)] * harmonic));
        return track;
    }

    Levels& m_levels;
    const LevelGrid& m_grid;
    const PartialSearch& m_search;
    double m_level = 0;
};

} // namespace

std::vector<PartialTrack> findPartials(Levels& levels, const LevelGrid& grid, int64_t column, double bin,
                                       const PartialSearch& search)
{
    if (grid.isEmpty() || column < 0 || column >= grid.frames || !std::isfinite(bin))
        return {};
    return Search(levels, grid, search).run(column, bin);
}
