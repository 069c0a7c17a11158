// The numbers of a project file: their record ids, their attributes, and what they may be.
#pragma once

#include "model/project.h"

#include <array>
#include <optional>

#include <QString>

namespace projectfields {

// Of the two forms' numbers. Single: single precision in memory, double in the binary form.
enum class Kind { Int, Long, Mask, Double, Single };

struct Number
{
    int64_t whole = 0; // Int, Long, Mask
    double real = 0;   // Double, Single
};

// One row, one number of a record of type T. `set` leaves the number as it is, or takes the nearest
// possible value, where the one from the file makes no sense.
template<class T>
struct Field
{
    uint32_t id;
    const char* attribute;
    Kind kind;
    Number (*get)(const T&);
    void (*set)(T&, const Number&);
};

// In the order in which they are written.
extern const std::array<Field<SamplingFormat>, 5> format; // ids from 0; elsewhere with an offset
extern const std::array<Field<Project>, 13> displaySettings;
extern const std::array<Field<Project>, 8> unitSettings;
extern const std::array<Field<Project>, 1> transportSettings;
extern const std::array<Field<Marker>, 3> marker;
extern const std::array<Field<SpectralMarker>, 4> spectralMarker;

// Settings that make sense one by one but not together get their defaults: call it once, after the
// last setting and the last layer.
void finishSettings(Project& project);

// Of samples and seconds in files: what is not finite is 0; what is out of range is cut.
[[nodiscard]] int64_t positionFrom(double samples);
[[nodiscard]] int64_t positionFrom(int64_t samples);
// A gain: finite, or 1.
[[nodiscard]] float gainFrom(double value);

// --- texts of numbers, in the C locale --------------------------------------------------------------

// The shortest text, of 6 digits or more, that reads back the same.
[[nodiscard]] QString text(double value);
[[nodiscard]] QString text(float value);
[[nodiscard]] QString text(Kind kind, const Number& number);
// Nothing for what is no number of that kind.
[[nodiscard]] std::optional<Number> parse(Kind kind, const QString& text);

} // namespace projectfields
