// Names of notes, equal temperament, A 4 = 440 Hz.
#pragma once

#include <QString>

// The nearest note: "A 4", "C#5". Empty below 16 Hz and for what is not a finite number.
[[nodiscard]] QString noteName(double hz);
// Letter in either case, "#", octave, cents, blanks anywhere: "A4", "c # 3", "B-1+25". A leading
// minus negates the frequency. 0 for what is no note.
[[nodiscard]] double noteFrequency(const QString& name);
