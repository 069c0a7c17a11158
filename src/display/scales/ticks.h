// Where ruler ticks stand: pure functions from a visible span to a rising list.
#pragma once

#include <functional>
#include <initializer_list>

#include <QVector>

namespace ticks {

// What a ruler shows: values `low` to `high` over `pixels` pixels.
struct Ruler
{
    double low = 0;
    double high = 0;
    double pixels = 0;
    double minPixels = 0; // smallest distance of two ticks

    // False when a member is not a finite number, or nothing is shown.
    [[nodiscard]] bool isUsable() const;
    // At least 1, and large enough for a bounded list.
    [[nodiscard]] double distance() const;
    [[nodiscard]] bool shows(double value) const { return value >= low && value <= high; }
};

// `base` multiplied by 2, 2.5, 2 and so on (1, 2, 5, 10, 20, ...) until steps lie the ruler's
// distance apart. Factors in `before` come first, each once.
[[nodiscard]] double ladderStep(const Ruler& ruler, double base, std::initializer_list<double> before = {});
// `base` doubled until steps lie the ruler's distance apart.
[[nodiscard]] double doubledStep(const Ruler& ruler, double base);
// All multiples of `step` that the ruler shows.
[[nodiscard]] QVector<double> multiples(const Ruler& ruler, double step);

// 0, which is always there, and +-2^-10 times powers of sqrt(2) (3 dB) that the ruler shows, each at
// least the ruler's distance from the one before.
[[nodiscard]] QVector<double> decibels(const Ruler& ruler);

// Pixel of a value on a ruler that need not be linear; rising.
using PixelOf = std::function<double(double)>;

// Which marks may part an interval: tenths for decimal numbers, eighths for counts of bins.
enum class Parting { Tenths, Eighths };

// Multiples of `whole`, and the marks that part the intervals between them again and again, as long
// as they lie at least `finest` apart: all parts where they have room, otherwise steps of 2 or of 5
// (4) parts. Next to 0, where an uneven ruler has most room, 1, 2 and 5 (4) parts too. So each
// stretch of a ruler gets the finest step that fits there, and an even ruler the same everywhere.
[[nodiscard]] QVector<double> parted(const Ruler& ruler, const PixelOf& pixelOf, double whole, double finest,
                                     Parting parting);

// The Cs at or above `lowestHertz`, thinned by whole octaves; where they leave room, notes 6 or 3
// semitones apart as well. Values in Hz; negative ones mirror the positive.
[[nodiscard]] QVector<double> notes(const Ruler& ruler, const PixelOf& pixelOf, double lowestHertz);

} // namespace ticks
