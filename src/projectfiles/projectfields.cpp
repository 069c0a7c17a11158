#include "projectfiles/projectfields.h"

#include "display/scales/colormaps.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include <QCoreApplication>
#include <QVariant>

namespace projectfields {
namespace {

constexpr int64_t maxPosition = Layer::farthestEnd;
constexpr double highestRate = 1e13; // Hz, as for formats

Number whole(int64_t value)
{
    return {value, 0};
}

Number real(double value)
{
    return {0, value};
}

template<class T>
void take(T& member, double value, double lowest, double highest)
{
    if (std::isfinite(value))
        member = T(std::clamp(value, lowest, highest));
}

template<class T>
void takeAbove0(T& member, double value, double highest)
{
    if (std::isfinite(value) && value > 0 && T(value) > 0)
        member = T(std::min(value, highest));
}

// An enumeration whose values are 0 to `last`.
template<class T>
void takeEnum(T& member, const Number& number, T last)
{
    if (number.whole >= 0 && number.whole <= int64_t(last))
        member = T(number.whole);
}

int32_t limit(const char* key, int32_t fallback)
{
    const int32_t value = QCoreApplication::instance()->property(key).toInt();
    return value > 0 ? value : fallback;
}

void takeFrameSize(TransformSettings& transform, int64_t size)
{
    const int64_t smallest = limit("mintransformsize", 4);
    TransformSettings changed = transform;
    changed.frameSize = int32_t(std::clamp<int64_t>(size, 0, 1 << 29));
    changed.overlap = std::min(transform.overlap, changed.frameSize);
    if (size >= smallest && size <= limit("maxtransformsize", 1 << 20) && changed.isValid())
        transform = changed;
}

using P = Project;
using N = const Number&;

} // namespace

const std::array<Field<SamplingFormat>, 5> format{{
    {0, "sampletype", Kind::Int, [](const SamplingFormat& f) { return whole(f.sampleType); },
     [](SamplingFormat& f, N n) {
         if (n.whole == SampleTypeReal || n.whole == SampleTypeComplex)
             f.sampleType = int32_t(n.whole);
     }},
    {1, "samplerate", Kind::Double, [](const SamplingFormat& f) { return real(f.sampleRate); },
     [](SamplingFormat& f, N n) {
         if (n.real > 0 && n.real <= highestRate)
             f.sampleRate = n.real;
     }},
    {2, "channelstype", Kind::Int, [](const SamplingFormat& f) { return whole(f.channelsType); },
     [](SamplingFormat& f, N n) { f.channelsType = int32_t(n.whole); }},
    {3, "channels", Kind::Int, [](const SamplingFormat& f) { return whole(f.channels); },
     [](SamplingFormat& f, N n) {
         if (n.whole > 0 && n.whole <= 64)
             f.channels = int32_t(n.whole);
     }},
    {4, "channelsmask", Kind::Mask, [](const SamplingFormat& f) { return whole(int64_t(f.channelsMask)); },
     [](SamplingFormat& f, N n) { f.channelsMask = uint64_t(n.whole); }},
}};

const std::array<Field<Project>, 13> displaySettings{{
    {0, "start", Kind::Double, [](const P& p) { return real(p.display.displayArea.x); },
     [](P& p, N n) { take(p.display.displayArea.x, n.real, -double(maxPosition), double(maxPosition)); }},
    {1, "length", Kind::Double, [](const P& p) { return real(p.display.displayArea.width); },
     [](P& p, N n) { take(p.display.displayArea.width, n.real, 0, 2 * double(maxPosition)); }},
    {2, "bottom", Kind::Double, [](const P& p) { return real(p.display.displayArea.y); },
     [](P& p, N n) { take(p.display.displayArea.y, n.real, -highestRate, highestRate); }},
    {3, "height", Kind::Double, [](const P& p) { return real(p.display.displayArea.height); },
     [](P& p, N n) { take(p.display.displayArea.height, n.real, 0, highestRate); }},
    {16, "minamplitude", Kind::Single, [](const P& p) { return real(double(p.display.lowDb)); },
     [](P& p, N n) { take(p.display.lowDb, n.real, -300, 300); }},
    {17, "maxamplitude", Kind::Single, [](const P& p) { return real(double(p.display.highDb)); },
     [](P& p, N n) { take(p.display.highDb, n.real, -300, 300); }},
    {18, "minwaveform", Kind::Double, [](const P& p) { return real(p.display.minWaveform); },
     [](P& p, N n) { take(p.display.minWaveform, n.real, -1e9, 1e9); }},
    {19, "maxwaveform", Kind::Double, [](const P& p) { return real(p.display.maxWaveform); },
     [](P& p, N n) { take(p.display.maxWaveform, n.real, -1e9, 1e9); }},
    {20, "displacementx", Kind::Single, [](const P& p) { return real(double(p.display.displacementX)); },
     [](P& p, N n) { take(p.display.displacementX, n.real, -1e6, 1e6); }},
    {21, "displacementy", Kind::Single, [](const P& p) { return real(double(p.display.displacementY)); },
     [](P& p, N n) { take(p.display.displacementY, n.real, -1e6, 1e6); }},
    {32, "fftsize", Kind::Int, [](const P& p) { return whole(p.transform.frameSize); },
     [](P& p, N n) { takeFrameSize(p.transform, n.whole); }},
    {48, "composite", Kind::Int, [](const P& p) { return whole(p.display.composite); },
     [](P& p, N n) { p.display.composite = n.whole != 0; }},
    {49, "colormap", Kind::Int, [](const P& p) { return whole(p.display.colormap); },
     [](P& p, N n) {
         if (n.whole >= 0 && n.whole < colormapCount())
             p.display.colormap = int32_t(n.whole);
     }},
}};

// The frame rate is what the document answers for it, which is the tempo: plug-ins and older files
// have it that way.
const std::array<Field<Project>, 8> unitSettings{{
    {0, "bpm", Kind::Single, [](const P& p) { return real(p.bpm()); },
     [](P& p, N n) { takeAbove0(p.units.bpm, n.real, 1e6); }},
    {1, "bar", Kind::Int, [](const P& p) { return whole(p.bar()); },
     [](P& p, N n) { takeAbove0(p.units.bar, double(n.whole), 1e6); }},
    {2, "beat", Kind::Int, [](const P& p) { return whole(p.beat()); },
     [](P& p, N n) { takeAbove0(p.units.beat, double(n.whole), 1e6); }},
    {3, "fps", Kind::Single, [](const P& p) { return real(p.frameRate()); },
     [](P& p, N n) { takeAbove0(p.units.frameRate, n.real, 1e6); }},
    {16, "time", Kind::Int, [](const P& p) { return whole(int64_t(p.units.timeUnit)); },
     [](P& p, N n) { takeEnum(p.units.timeUnit, n, TimeUnit::Pixels); }},
    {17, "power", Kind::Int, [](const P& p) { return whole(int64_t(p.units.powerUnit)); },
     [](P& p, N n) { takeEnum(p.units.powerUnit, n, PowerUnit::Normalized); }},
    {18, "freq", Kind::Int, [](const P& p) { return whole(int64_t(p.units.freqUnit)); },
     [](P& p, N n) { takeEnum(p.units.freqUnit, n, FreqUnit::Normalized); }},
    {19, "scale", Kind::Int, [](const P& p) { return whole(int64_t(p.units.freqScale)); },
     [](P& p, N n) { takeEnum(p.units.freqScale, n, FreqScale::MidiLogarithmic); }},
}};

const std::array<Field<Project>, 1> transportSettings{{
    {0, "position", Kind::Long, [](const P& p) { return whole(p.position()); },
     [](P& p, N n) { p.setPosition(std::max<int64_t>(0, positionFrom(n.whole))); }},
}};

const std::array<Field<Marker>, 3> marker{{
    {0, "id", Kind::Int, [](const Marker& m) { return whole(m.id); },
     [](Marker& m, N n) { m.id = int32_t(n.whole); }},
    {4, "position", Kind::Long, [](const Marker& m) { return whole(m.position); },
     [](Marker& m, N n) { m.position = positionFrom(n.whole); }},
    {5, "length", Kind::Long, [](const Marker& m) { return whole(m.length); },
     [](Marker& m, N n) { m.length = std::max<int64_t>(0, positionFrom(n.whole)); }},
}};

const std::array<Field<SpectralMarker>, 4> spectralMarker{{
    {1, "time", Kind::Double, [](const SpectralMarker& m) { return real(m.time); },
     [](SpectralMarker& m, N n) { take(m.time, n.real, -double(maxPosition), double(maxPosition)); }},
    {2, "freq", Kind::Double, [](const SpectralMarker& m) { return real(m.freq); },
     [](SpectralMarker& m, N n) { take(m.freq, n.real, -highestRate, highestRate); }},
    {3, "width", Kind::Double, [](const SpectralMarker& m) { return real(m.width); },
     [](SpectralMarker& m, N n) { take(m.width, n.real, 0, double(maxPosition)); }},
    {4, "height", Kind::Double, [](const SpectralMarker& m) { return real(m.height); },
     [](SpectralMarker& m, N n) { take(m.height, n.real, 0, 2 * highestRate); }},
}};

void finishSettings(Project& project)
{
    DisplaySettings& display = project.display;
    const DisplaySettings standard;
    if (!(display.highDb > display.lowDb)) {
        display.lowDb = standard.lowDb;
        display.highDb = standard.highDb;
    }
    if (!(display.maxWaveform > display.minWaveform)) {
        display.minWaveform = standard.minWaveform;
        display.maxWaveform = standard.maxWaveform;
    }
    const Area whole = project.wholeArea();
    Area area = display.displayArea;
    if (!(area.width > 0)) {
        area.x = whole.x;
        area.width = whole.width;
    }
    if (!(area.height > 0)) {
        area.y = whole.y;
        area.height = whole.height;
    }
    project.setDisplayArea(area);
}

int64_t positionFrom(double samples)
{
    if (std::isnan(samples))
        return 0;
    return std::llround(std::clamp(samples, -double(maxPosition), double(maxPosition)));
}

int64_t positionFrom(int64_t samples)
{
    return std::clamp(samples, -maxPosition, maxPosition);
}

float gainFrom(double value)
{
    const auto gain = float(value);
    return std::isfinite(gain) ? gain : 1.0f;
}

// --- texts -----------------------------------------------------------------------------------------

namespace {

template<class T>
QString shortest(T value)
{
    constexpr int fewest = 6;
    constexpr int most = std::numeric_limits<T>::max_digits10;
    QString text;
    for (int digits = fewest; digits <= most; ++digits) {
        text = QString::number(double(value), 'g', digits);
        if (T(text.toDouble()) == value)
            break;
    }
    return text;
}

} // namespace

QString text(double value)
{
    return shortest(value);
}

QString text(float value)
{
    return shortest(value);
}

QString text(Kind kind, const Number& number)
{
    switch (kind) {
    case Kind::Double:
        return text(number.real);
    case Kind::Single:
        return text(float(number.real));
    case Kind::Mask:
        return QString::number(qulonglong(number.whole));
    default:
        return QString::number(qlonglong(number.whole));
    }
}

std::optional<Number> parse(Kind kind, const QString& text)
{
    bool good = false;
    Number number;
    switch (kind) {
    case Kind::Double:
    case Kind::Single:
        number.real = text.toDouble(&good);
        break;
    case Kind::Mask:
        number.whole = int64_t(text.toULongLong(&good));
        if (!good) // as a signed number
            number.whole = text.toLongLong(&good);
        break;
    case Kind::Int:
        number.whole = text.toInt(&good);
        break;
    case Kind::Long:
        number.whole = text.toLongLong(&good);
        break;
    }
    return good ? std::optional(number) : std::nullopt;
}

} // namespace projectfields
