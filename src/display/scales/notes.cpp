#include "display/scales/notes.h"

#include <QRegularExpression>

#include <cmath>
#include <iterator>

namespace {

constexpr const char* noteNames[] = {"C ", "C#", "D ", "D#", "E ", "F ", "F#", "G ", "G#", "A ", "A#", "B "};
constexpr int notesPerOctave = std::size(noteNames);
// Octaves from the C of octave 0 up to 440 Hz.
constexpr double octavesToA4 = 4.75;
constexpr double lowestHertz = 16;

int noteOfLetter(QChar letter)
{
    for (int i = 0; i < notesPerOctave; ++i)
        if (noteNames[i][1] == ' ' && letter.toUpper() == QLatin1Char(noteNames[i][0]))
            return i;
    return 0;
}

} // namespace

QString noteName(double hz)
{
    if (!(hz >= lowestHertz) || std::isinf(hz))
        return {};
    double x = std::log2(hz / 440) + octavesToA4;
    int octave = int(std::floor(x));
    x -= octave;
    int note = int(std::floor(x * notesPerOctave));
    const double cents = (x - double(note) / notesPerOctave) * 1200;
    if (std::floor(cents) > 50)
        ++note;
    // Also when rounding has lifted x to a whole octave.
    if (note >= notesPerOctave) {
        note -= notesPerOctave;
        ++octave;
    }
    return QLatin1String(noteNames[note]) + QString::number(octave);
}

double noteFrequency(const QString& name)
{
    static const QRegularExpression pattern(QStringLiteral("^(-?)([A-G])(#?)([+-]?\\d+)?"
                                                           "([+-]\\d+(?:\\.\\d*)?)?$"),
                                            QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression blanks(QStringLiteral("\\s+"));
    const QRegularExpressionMatch match = pattern.match(QString(name).remove(blanks));
    if (!match.hasMatch())
        return 0;
    const int note = noteOfLetter(match.captured(2).at(0)) + match.captured(3).size();
    const double octave = match.captured(4).toDouble();
    const double cents = match.captured(5).toDouble();
    const double hz = 440 * std::exp2(double(note) / notesPerOctave + octave + cents / 1200 - octavesToA4);
    if (!std::isfinite(hz))
        return 0;
    return match.captured(1).isEmpty() ? hz : -hz;
}
