// Enumerations of scales and units. Values are stored in project files; the words that the
// properties hold, and those shown, stand in display/scales/convert.h.
#pragma once

#include <cstdint>

enum class FreqScale : int32_t { Linear = 0, Mel = 1, Bark = 2, Erb = 3, MidiLogarithmic = 4 };
enum class Filtering : int32_t { Raw = 0, Linear = 1, Cubic = 2 };
enum class TimeUnit : int32_t { Samples = 0, Decimal = 1, Seconds = 2, Bpm = 3, Fps = 4, Pixels = 5 };
enum class PowerUnit : int32_t { Decibel = 0, Percents = 1, Normalized = 2 };
enum class FreqUnit : int32_t { Hertz = 0, Pixels = 1, Octaves = 2, Notes = 3, Normalized = 4 };
