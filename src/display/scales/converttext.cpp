// Texts of `Convert`.
#include "display/scales/convert.h"
#include "display/scales/notes.h"

#include <algorithm>
#include <array>
#include <cmath>

#include <QStringList>
#include <QTime>

namespace {

// Rounded half away from zero, never "-0".
QString fixed(double value, int decimals)
{
    const double unit = std::pow(10.0, decimals);
    const double scaled = std::round(value * unit);
    const double rounded = std::isfinite(scaled) ? scaled / unit : value;
    return QString::number(rounded == 0 ? 0 : rounded, 'f', decimals);
}

// Finite number of a field; what does not parse is 0.
double number(const QString& text)
{
    const double value = text.toDouble();
    return std::isfinite(value) ? value : 0;
}

// "HH:mm:ss.zzz" of whole milliseconds, wrapping at a day.
QString decimalText(double samples, double rate)
{
    constexpr double msPerDay = 24.0 * 3600 * 1000;
    const double ms = std::fmod(std::floor(std::abs(samples) * 1000 / rate + 0.5), msPerDay);
    const QString text = QTime::fromMSecsSinceStartOfDay(int(ms)).toString(QStringLiteral("HH:mm:ss.zzz"));
    return samples < 0 ? QLatin1Char('-') + text : text;
}

double decimalSeconds(const QString& text)
{
    const QString trimmed = text.trimmed();
    const bool negative = trimmed.startsWith(QLatin1Char('-'));
    const QStringList fields = trimmed.mid(negative ? 1 : 0).split(QLatin1Char(':'));
    constexpr double seconds[] = {1, 60, 3600};
    double sum = 0;
    for (int i = 0; i < std::min(int(fields.size()), 3); ++i)
        sum += seconds[i] * number(fields[fields.size() - 1 - i]);
    return negative ? -sum : sum;
}

// A number split into its whole part, counted as reached a hair before, and what is left of it.
struct Counted
{
    double whole;
    double rest; // 0 when negligible
};

Counted count(double value, double tolerance)
{
    const double whole = std::floor(value + tolerance);
    const double rest = value - whole;
    return {whole, rest < tolerance ? 0 : rest};
}

} // namespace

double Convert::samplesPerBeat() const
{
    const bool usable = bpm > 0 && std::isfinite(bpm) && beatsPerBar > 0 && beatUnit > 0;
    return usable ? 4.0 / beatUnit * format.sampleRate * 60 / bpm : 0;
}

QString Convert::bpmToString(double samples) const
{
    if (samplesPerBeat() <= 0)
        return {};
    const double beats = samples / format.sampleRate * bpm / 60;
    const double position = beats * beatUnit / (beatsPerBar * 4.0) + 1;
    // What counts as whole grows with the number, as its rounding does.
    const double tolerance = std::max(1.0, std::abs(position)) * 1e-12;
    const Counted bar = count(position, tolerance);
    QString text = QString::number(bar.whole, 'f', 0);
    if (bar.rest == 0)
        return text;
    const Counted beat = count(bar.rest * beatsPerBar + 1, tolerance * beatsPerBar);
    text += QLatin1Char('.') + QString::number(beat.whole, 'f', 0);
    if (beat.rest == 0)
        return text;
    const double hundredths = std::floor(beat.rest * 100 + tolerance * beatsPerBar * 100);
    return text + QStringLiteral(".%1").arg(int(hundredths), 2);
}

double Convert::bpmToTime(const QString& text) const
{
    const QStringList fields = text.split(QLatin1Char('.'));
    bool isNumber = false;
    const double bar = fields[0].toDouble(&isNumber);
    if (!isNumber || !std::isfinite(bar))
        return 0;
    const double beat = fields.size() > 1 ? number(fields[1]) : 1;
    const double hundredths = fields.size() > 2 ? number(fields[2]) : 0;
    return (beatsPerBar * (bar - 1) + beat + hundredths / 100 - 1) * samplesPerBeat();
}

QString Convert::timeToString(double samples) const
{
    if (!isUsable() || !std::isfinite(samples))
        return {};
    switch (timeUnit) {
    case TimeUnit::Decimal:
        return decimalText(samples, format.sampleRate);
    case TimeUnit::Seconds:
        return fixed(samples / format.sampleRate, 3);
    case TimeUnit::Bpm:
        return bpmToString(samples);
    case TimeUnit::Fps:
        return fps > 0 && std::isfinite(fps) ? fixed(samples / format.sampleRate * fps, 0) : QString();
    case TimeUnit::Pixels:
        return settings.hop() > 0 ? fixed(samples / settings.hop(), 0) : QString();
    case TimeUnit::Samples:
        break;
    }
    return fixed(samples, 0);
}

int64_t Convert::stringToTime(const QString& text) const
{
    if (!isUsable())
        return 0;
    double samples = 0;
    switch (timeUnit) {
    case TimeUnit::Decimal:
        samples = decimalSeconds(text) * format.sampleRate;
        break;
    case TimeUnit::Seconds:
        samples = number(text) * format.sampleRate;
        break;
    case TimeUnit::Bpm:
        samples = bpmToTime(text);
        break;
    case TimeUnit::Fps:
        samples = fps > 0 ? number(text) * format.sampleRate / fps : 0;
        break;
    case TimeUnit::Pixels:
        samples = number(text) * settings.hop();
        break;
    default:
        samples = double(text.trimmed().toLongLong());
        break;
    }
    constexpr double limit = double(int64_t(1) << 61);
    return std::isnan(samples) ? 0 : int64_t(std::round(std::clamp(samples, -limit, limit)));
}

QString Convert::freqToString(double hz) const
{
    if (!isUsable() || !std::isfinite(hz))
        return {};
    switch (freqUnit) {
    case FreqUnit::Pixels:
        return settings.isValid() ? fixed(settings.dftLength() * (hz / format.sampleRate), 0) : QString();
    case FreqUnit::Notes:
        return noteName(hz);
    case FreqUnit::Normalized:
        return fixed(double(float(hz / (format.sampleRate / 2))), 3);
    default:
        break;
    }
    const QString text = fixed(hz, 1);
    return text.endsWith(QLatin1String(".0")) ? text.chopped(2) : text;
}

double Convert::stringToFreq(const QString& text) const
{
    if (!isUsable())
        return 0;
    switch (freqUnit) {
    case FreqUnit::Pixels:
        return settings.isValid() ? number(text) * format.sampleRate / settings.dftLength() : 0;
    case FreqUnit::Notes:
        return noteFrequency(text);
    case FreqUnit::Normalized: {
        const double hz = double(float(number(text)) * float(format.sampleRate / 2));
        return std::isfinite(hz) ? hz : 0;
    }
    default:
        return number(text);
    }
}

QString Convert::noteToString(double hz) const
{
    return isUsable() ? noteName(hz) : QString();
}

double Convert::stringToNote(const QString& text) const
{
    return isUsable() ? noteFrequency(text) : 0;
}

QString Convert::powerToString(double value) const
{
    if (!isUsable() || !std::isfinite(value))
        return {};
    switch (powerUnit) {
    case PowerUnit::Decibel:
        return value == 0 ? QStringLiteral("-inf") : fixed(20 * std::log10(std::abs(value)), 0);
    case PowerUnit::Percents:
        return fixed(value * 100, 0);
    default:
        return fixed(value, 2);
    }
}
