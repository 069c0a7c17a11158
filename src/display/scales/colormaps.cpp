#include "display/scales/colormaps.h"

#include "display/scales/colormaptables.h"

#include <QCoreApplication>
#include <QPainter>
#include <QVariant>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <initializer_list>
#include <numbers>

namespace {

constexpr int entries = 256;
constexpr int offered = 10;
constexpr int grayscale = 9;

QColor clamped(double red, double green, double blue)
{
    return QColor::fromRgbF(std::clamp(red, 0.0, 1.0), std::clamp(green, 0.0, 1.0),
                            std::clamp(blue, 0.0, 1.0));
}

// `count` evenly placed stops of a function from 0 .. 1 to a colour.
template<class Function>
QGradientStops sampled(int count, Function color)
{
    QGradientStops stops;
    stops.reserve(count);
    for (int j = 0; j < count; ++j) {
        const double x = double(j) / (count - 1);
        stops << QGradientStop(x, color(x));
    }
    return stops;
}

QGradientStops fewStops(std::initializer_list<std::pair<double, QRgb>> stops)
{
    QGradientStops result;
    for (const auto& [position, color] : stops)
        result << QGradientStop(position, QColor(color));
    return result;
}

const char* findTable(const char* name)
{
    for (const ColormapTable& table : ownColormaps)
        if (std::strcmp(table.name, name) == 0)
            return table.colors;
    for (const ColormapTable& table : publishedColormaps)
        if (std::strcmp(table.name, name) == 0)
            return table.colors;
    return nullptr;
}

QGradientStops table(const char* name)
{
    const QByteArray colors = QByteArray::fromHex(findTable(name));
    Q_ASSERT(colors.size() == 3 * entries);
    return sampled(entries, [&colors](double x) {
        const auto* rgb =
            reinterpret_cast<const uchar*>(colors.constData()) + 3 * std::lround(x * (entries - 1));
        return QColor(rgb[0], rgb[1], rgb[2]);
    });
}

QGradientStops rainbow(const char*)
{
    return sampled(101, [](double x) {
        return clamped(std::abs(2 * x - 0.5), std::sin(std::numbers::pi * x),
                       std::cos(std::numbers::pi * x / 2));
    });
}

// D. A. Green, "A colour scheme for the display of astronomical intensity images", 2011: a helix
// about the grey diagonal of the colour cube.
QGradientStops cubeHelix(const char*)
{
    constexpr float start = 0.5f;
    constexpr float rotations = -1.5f;
    constexpr float saturation = 1.5f;
    constexpr float gamma = 1.0f;
    return sampled(entries, [](double x) {
        const float gray = powf(float(x), gamma);
        const float angle = 2 * std::numbers::pi_v<float> * (start / 3 + 1 + rotations * float(x));
        const float amplitude = saturation * gray * (1 - gray) / 2;
        const float c = std::cos(angle);
        const float s = std::sin(angle);
        return clamped(gray + amplitude * (-0.14861f * c + 1.78277f * s),
                       gray + amplitude * (-0.29227f * c - 0.90649f * s), gray + amplitude * 1.97294f * c);
    });
}

// The three ramps of the palette of that name in the plotting program: formulae 30, 31, 32.
QGradientStops gnuplot2(const char*)
{
    return sampled(entries, [](double x) {
        const double blue = x < 0.25 ? 4 * x : x < 0.92 ? 1.84 - 2 * x : x / 0.08 - 11.5;
        return clamped(x / 0.32 - 0.78125, 2 * x - 0.84, blue);
    });
}

// Sea, woods, sand, snow.
QGradientStops earth(const char*)
{
    return sampled(entries, [](double x) {
        const double wave = std::sin(2 * std::numbers::pi * x);
        return clamped(std::pow(x, 1.4) - 0.10 * wave, std::pow(x, 0.9), std::pow(x, 1.1) + 0.18 * wave);
    });
}

// Formulae 34, 35, 36 of the same plotting program, which are straight between these.
QGradientStops afmhot(const char*)
{
    return fewStops({{0, 0x000000}, {0.25, 0x800000}, {0.5, 0xff8000}, {0.75, 0xffff80}, {1, 0xffffff}});
}

QGradientStops hot(const char*)
{
    return fewStops({{0, 0x0b0000}, {0.365079, 0xff0000}, {0.746032, 0xffff00}, {1, 0xffffff}});
}

// C. M. Rappaport, "A color map for effective black-and-white rendering of color-scale images", 2002.
QGradientStops cmrmap(const char*)
{
    return fewStops({{0, 0x000000},
                     {0.125, 0x262680},
                     {0.25, 0x4d26bf},
                     {0.375, 0x993380},
                     {0.5, 0xff4026},
                     {0.625, 0xe68000},
                     {0.75, 0xe6bf1a},
                     {0.875, 0xe6e680},
                     {1, 0xffffff}});
}

// Each stop stands at its own lightness.
QGradientStops extendedBlackBody(const char*)
{
    return fewStops({{0, 0x000000},
                     {0.22, 0x0018a8},
                     {0.34, 0x6300e4},
                     {0.47, 0xdc143c},
                     {0.65, 0xff7538},
                     {0.84, 0xeed214},
                     {1, 0xffffff}});
}

QGradientStops gray(const char*)
{
    return fewStops({{0, 0x000000}, {1, 0xffffff}});
}

struct Colormap
{
    int id;
    const char* shown;
    const char* word; // as settings hold it; null: any other word
    QGradientStops (*stops)(const char* shown);
};

constexpr Colormap colormaps[] = {
    {0, "Rainbow", "rainbow", rainbow},
    {1, "CubeHelix Rainbow", "cubehelix rainbow", cubeHelix},
    {2, "Lacerta", "lacerta", table},
    {3, "Viridis", "viridis", table},
    {4, "Laguna", "laguna", table},
    {5, "Hesperia", "hesperia", table},
    {6, "Modified Plasma", "modified plasma", table},
    {7, "Magma", "magma", table},
    {8, "Inferno", "inferno", table},
    {grayscale, "Grayscale", nullptr, gray},
    {-99, "Plasma", "plasma", table},
    {-98, "Haline", "aline", table}, // the word of settings in use; "haline" is unknown to them
    {-97, "Thermal", "thermal", table},
    {-96, "Afmhot", "afmhot", afmhot},
    {-95, "Morgenstemning", "morgenstemning", table},
    {-94, "CMRmap", "cmrmap", cmrmap},
    {-93, "Gnuplot2", "gnuplot2", gnuplot2},
    {-92, "Hot", "hot", hot},
    {-91, "BlackBody", "blackbody", table},
    {-90, "Solar", "solar", table},
    {-89, "Kindlmann", "kindlmann", table},
    {-88, "Parula", "parula", table},
    {-87, "Cividis", "cividis", table},
    {-86, "GistHearth", "gisthearth", earth},
    {-85, "Extended BlackBody", "extended blackbody", extendedBlackBody},
};

const Colormap* find(int id)
{
    for (const Colormap& map : colormaps)
        if (map.id == id)
            return &map;
    return nullptr;
}

// With a shadow, since a name runs over dark and light colours.
void writeName(QPainter& painter, const QRectF& rect, const QString& name, const QFont& font)
{
    painter.setFont(font);
    painter.setPen(QColor(0, 0, 0, 127));
    for (const QPointF& offset : {QPointF(-1, -2), QPointF(-1, 0), QPointF(1, 0), QPointF(1, -2)})
        painter.drawText(rect.translated(offset), Qt::AlignCenter, name);
    QColor color;
    if (const QCoreApplication* application = QCoreApplication::instance())
        color = application->property("colortext").value<QColor>();
    painter.setPen(color.isValid() ? color : QColor(Qt::white));
    painter.drawText(rect.translated(0, -1), Qt::AlignCenter, name);
}

} // namespace

int colormapCount()
{
    return offered;
}

int colormapFromString(const QString& name)
{
    for (const Colormap& map : colormaps)
        if (map.word && name.compare(QLatin1String(map.word), Qt::CaseInsensitive) == 0)
            return map.id;
    return grayscale;
}

QString colormapToString(int id)
{
    const Colormap* map = find(id);
    return QLatin1String(map ? map->shown : "None");
}

QLinearGradient colormapGradient(int id)
{
    const Colormap* map = find(id);
    if (!map)
        map = find(grayscale);
    QLinearGradient gradient(0, 0, 1, 0);
    gradient.setStops(map->stops(map->shown));
    return gradient;
}

QImage colormapImage(int id, int width, int height, float devicePixelRatio, const QFont& font)
{
    const double ratio = devicePixelRatio > 0 && std::isfinite(devicePixelRatio) ? devicePixelRatio : 1;
    const double pixelWidth = std::round(width * ratio);
    const double pixelHeight = std::round(height * ratio);
    constexpr double largest = 32767; // what QPainter can paint
    if (!(pixelWidth >= 1 && pixelHeight >= 1 && pixelWidth <= largest && pixelHeight <= largest))
        return {};
    QImage image(int(pixelWidth), int(pixelHeight), QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(ratio);
    QLinearGradient gradient = colormapGradient(id);
    gradient.setFinalStop(width, 0);
    QPainter painter(&image);
    // One more, so that a rounded-up edge is filled too.
    painter.fillRect(QRectF(0, 0, width + 1.0, height + 1.0), gradient);
    if (height > 2)
        writeName(painter, QRectF(0, 0, width, height), colormapToString(id), font);
    return image;
}
