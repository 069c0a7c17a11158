#include "display/scales/ticks.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

namespace ticks {

namespace {

// No ruler has room for more ticks than this, and no value beyond this can be told from its
// neighbours.
constexpr double mostTicks = 65536;
constexpr double largestValue = 1e15;
// Forgives the rounding of positions.
constexpr double slack = 1e-9;

double noteHertz(int note)
{
    return 440 * std::exp2((note - 69) / 12.0);
}

// One way to part an interval: marks at these parts. Uneven ones only next to 0.
struct Cut
{
    std::vector<int> marks; // from 0 to the number of parts, both counted
    bool nextToZero;
    int narrowest;
};

struct Cuts
{
    int parts;
    // Finest first; what parts the stretch next to 0 further, where an uneven ruler has most room, comes
    // before what parts evenly and ends there.
    std::vector<Cut> options;
};

const Cuts& cutsOf(Parting parting)
{
    static const Cuts tenths = {10,
                                {{{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10}, false, 1},
                                 {{0, 1, 2, 4, 6, 8, 10}, true, 1},
                                 {{0, 1, 2, 5, 10}, true, 1},
                                 {{0, 1, 10}, true, 1},
                                 {{0, 2, 4, 6, 8, 10}, false, 2},
                                 {{0, 5, 10}, false, 5}}};
    static const Cuts eighths = {8,
                                 {{{0, 1, 2, 3, 4, 5, 6, 7, 8}, false, 1},
                                  {{0, 1, 2, 4, 6, 8}, true, 1},
                                  {{0, 1, 2, 4, 8}, true, 1},
                                  {{0, 1, 8}, true, 1},
                                  {{0, 2, 4, 6, 8}, false, 2},
                                  {{0, 4, 8}, false, 4}}};
    return parting == Parting::Tenths ? tenths : eighths;
}

// Parts intervals between multiples of a step. See `parted`.
class Parter
{
public:
    Parter(const Ruler& ruler, const PixelOf& pixelOf, double finest, Parting parting)
        : m_ruler(ruler),
          m_pixelOf(pixelOf),
          m_finest(finest),
          m_cuts(cutsOf(parting))
    {
    }

    void addIfShown(double value)
    {
        if (m_ruler.shows(value))
            marks << value;
    }

    [[nodiscard]] bool haveRoom(double low, double high) const
    {
        return !m_ruler.shows(low) || !m_ruler.shows(high) ||
               m_pixelOf(high) - m_pixelOf(low) >= m_ruler.distance() * (1 - slack);
    }

    // The marks strictly inside [k * step, (k + 1) * step].
    void part(int64_t k, double step)
    {
        if (double(k) * step > m_ruler.high || double(k + 1) * step < m_ruler.low)
            return;
        const double unit = step / m_cuts.parts;
        for (const Cut& cut : m_cuts.options)
            if ((!cut.nextToZero || k == 0 || k == -1) && unit * cut.narrowest >= m_finest * (1 - slack) &&
                tryCut(cut, k, unit))
                return;
    }

    QVector<double> marks;

private:
    bool tryCut(const Cut& cut, int64_t k, double unit)
    {
        // Counted from the end that is nearer to 0.
        const auto mark = [&](std::size_t i) {
            return k < 0 ? (k + 1) * m_cuts.parts - cut.marks[i] : k * m_cuts.parts + cut.marks[i];
        };
        for (std::size_t i = 0; i + 1 < cut.marks.size(); ++i) {
            const int64_t low = std::min(mark(i), mark(i + 1));
            const int64_t high = std::max(mark(i), mark(i + 1));
            if (!haveRoom(double(low) * unit, double(high) * unit))
                return false;
        }
        for (std::size_t i = 1; i + 1 < cut.marks.size(); ++i)
            addIfShown(double(mark(i)) * unit);
        for (std::size_t i = 0; i + 1 < cut.marks.size(); ++i)
            if (cut.marks[i + 1] - cut.marks[i] == 1)
                part(std::min(mark(i), mark(i + 1)), unit);
        return true;
    }

    const Ruler& m_ruler;
    const PixelOf& m_pixelOf;
    double m_finest;
    const Cuts& m_cuts;
};

// Notes of one sign, from the highest shown downwards. `pixelOf` may fall instead of rise.
class NoteTicks
{
public:
    NoteTicks(const Ruler& ruler, const PixelOf& pixelOf) : m_ruler(ruler), m_pixelOf(pixelOf) {}

    [[nodiscard]] QVector<double> find(double lowestHertz)
    {
        constexpr int lowestNote = -1200; // ends the walk to 0 Hz in any case
        const double floorHertz = std::max(m_ruler.low, lowestHertz);
        const double zeroPixel = m_pixelOf(0);
        const int top = 12 * int(std::ceil((69 + 12 * std::log2(m_ruler.high / 440)) / 12));
        bool aboveTaken = true;
        for (int note = top; note > lowestNote; note -= 12) {
            const double hz = noteHertz(note);
            // Nothing that follows is far enough from the origin, where the other sign begins.
            if (std::abs(m_pixelOf(hz) - zeroPixel) < m_ruler.distance() / 2)
                break;
            const bool outside = hz < floorHertz || !m_ruler.shows(hz);
            const bool taken = outside || isFree(hz);
            if (taken && !outside)
                take(hz);
            if (taken && aboveTaken && note < top)
                partOctave(note, floorHertz);
            aboveTaken = taken;
            if (hz < floorHertz)
                break;
        }
        return m_marks;
    }

private:
    [[nodiscard]] bool isFree(double hz) const
    {
        return m_octaves.isEmpty() || distance(hz, m_octaves.last()) >= m_ruler.distance() * (1 - slack);
    }
    [[nodiscard]] double distance(double a, double b) const { return std::abs(m_pixelOf(a) - m_pixelOf(b)); }
    void take(double hz)
    {
        m_octaves << hz;
        m_marks << hz;
    }
    void partOctave(int note, double floorHertz)
    {
        const auto shown = [&](double hz) { return hz >= floorHertz && m_ruler.shows(hz); };
        for (const int step : {3, 6}) {
            bool fits = true;
            for (int i = 0; i < 12; i += step) {
                const double low = noteHertz(note + i);
                const double high = noteHertz(note + i + step);
                fits = fits && (!shown(low) || !shown(high) ||
                                distance(low, high) >= m_ruler.distance() * (1 - slack));
            }
            if (!fits)
                continue;
            for (int i = step; i < 12; i += step)
                if (shown(noteHertz(note + i)))
                    m_marks << noteHertz(note + i);
            return;
        }
    }

    const Ruler& m_ruler;
    const PixelOf& m_pixelOf;
    QVector<double> m_octaves;
    QVector<double> m_marks;
};

} // namespace

bool Ruler::isUsable() const
{
    return std::abs(low) <= largestValue && std::abs(high) <= largestValue && high > low && pixels > 0 &&
           std::isfinite(pixels);
}

double Ruler::distance() const
{
    const double least = std::max(1.0, pixels / mostTicks);
    return minPixels >= least ? minPixels : least;
}

double ladderStep(const Ruler& ruler, double base, std::initializer_list<double> before)
{
    constexpr double factors[] = {2, 2.5, 2};
    const double pixelsPerUnit = ruler.pixels / (ruler.high - ruler.low);
    const auto tooClose = [&](double step) { return step * pixelsPerUnit < ruler.distance(); };
    double step = base;
    for (const double factor : before)
        if (tooClose(step))
            step *= factor;
    for (std::size_t i = 0; tooClose(step); ++i)
        step *= factors[i % std::size(factors)];
    return step;
}

double doubledStep(const Ruler& ruler, double base)
{
    const double pixelsPerUnit = ruler.pixels / (ruler.high - ruler.low);
    double step = base;
    while (step * pixelsPerUnit < ruler.distance())
        step *= 2;
    return step;
}

QVector<double> multiples(const Ruler& ruler, double step)
{
    QVector<double> marks;
    const double first = std::ceil(ruler.low / step);
    const double last = std::floor(ruler.high / step);
    for (double i = 0; i <= last - first && i <= 2 * mostTicks; ++i)
        marks << (first + i) * step + 0.0; // no negative zero
    return marks;
}

QVector<double> decibels(const Ruler& ruler)
{
    const double pixelsPerUnit = ruler.pixels / (ruler.high - ruler.low);
    const double largest = std::max(std::abs(ruler.low), std::abs(ruler.high));
    QVector<double> marks = {0};
    double last = 0;
    for (int i = -20; std::exp2(i / 2.0) <= largest; ++i) {
        const double value = std::exp2(i / 2.0);
        if ((value - last) * pixelsPerUnit < ruler.distance())
            continue;
        last = value;
        for (const double mark : {-value, value})
            if (ruler.shows(mark))
                marks << mark;
    }
    std::sort(marks.begin(), marks.end());
    return marks;
}

QVector<double> parted(const Ruler& ruler, const PixelOf& pixelOf, double whole, double finest,
                       Parting parting)
{
    if (!(whole > 0) || (ruler.high - ruler.low) / whole > mostTicks)
        return {};
    Parter parter(ruler, pixelOf, finest, parting);
    const auto first = int64_t(std::floor(ruler.low / whole));
    const auto last = int64_t(std::ceil(ruler.high / whole));
    bool wide = true;
    for (int64_t k = first; k < last; ++k)
        wide = wide && parter.haveRoom(double(k) * whole, double(k + 1) * whole);
    for (int64_t k = first; k <= last; ++k)
        if (wide || k == 0)
            parter.addIfShown(double(k) * whole);
    for (int64_t k = first; wide && k < last; ++k)
        parter.part(k, whole);
    std::sort(parter.marks.begin(), parter.marks.end());
    return parter.marks;
}

QVector<double> notes(const Ruler& ruler, const PixelOf& pixelOf, double lowestHertz)
{
    QVector<double> marks;
    if (ruler.high > 0) {
        const Ruler positive{std::max(ruler.low, 0.0), ruler.high, ruler.pixels, ruler.minPixels};
        marks += NoteTicks(positive, pixelOf).find(lowestHertz);
    }
    if (ruler.low < 0) {
        const Ruler mirrored{std::max(-ruler.high, 0.0), -ruler.low, ruler.pixels, ruler.minPixels};
        const PixelOf mirroredPixel = [&pixelOf](double hz) { return pixelOf(-hz); };
        for (const double hz : NoteTicks(mirrored, mirroredPixel).find(lowestHertz))
            marks << -hz;
    }
    std::sort(marks.begin(), marks.end());
    return marks;
}

} // namespace ticks
