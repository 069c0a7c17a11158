#include "selectwand.h"

#include "outline.h"
#include "partials.h"

#include <algorithm>
#include <cmath>

#include <QDoubleSpinBox>

namespace {

enum Mode : uint32_t { Region, Harmonics };

constexpr double usualTolerance = 12; // dB
constexpr double straightness = 0.75; // cells: the stairs of a slope become a line
constexpr double leastRing = 6;       // cells: smaller holes are noise
constexpr double reachPixels = 6;     // from the click to the partial
constexpr double leastReach = 3;      // bins

} // namespace

SelectWand::SelectWand()
    : SelectionTool({{tr("Wand Selection"), QStringLiteral(":/icons/selectwand.png")},
                     {tr("Harmonics Selection"), QStringLiteral(":/icons/selectharmonics.png")}})
{
}

void SelectWand::addOptions(OptionsPage& page)
{
    m_tolerance = page.addNumber(tr("Tolerance:"), 1, 100, 1, usualTolerance, tr(" dB"));
    m_tolerance->setObjectName(QStringLiteral("tolerance"));
    m_tolerance->setToolTip(tr("How much the level may differ from that at the click"));
}

QString SelectWand::description() const
{
    return tr("Wand Selection");
}

void SelectWand::begin(const MouseEvent& event)
{
    find(event);
}

// What was found follows the button up, not the pointer's way: a region takes a while to find.
void SelectWand::extend(const MouseEvent&) {}

void SelectWand::find(const MouseEvent& event)
{
    m_shape = QPainterPath();
    Levels levels(context.spectra, target(), event.channel, context.transform.get());
    if (levels.isValid())
        m_shape = mode == Harmonics ? harmonics(levels, event) : region(levels, event);
}

QPolygonF SelectWand::inside(QPolygonF points) const
{
    for (QPointF& p : points) {
        const PointD at = limited({p.x(), p.y()});
        p = {at.x, at.y};
    }
    return points;
}

QPainterPath SelectWand::region(Levels& levels, const MouseEvent& event) const
{
    const LevelGrid grid = gridOver(levels, context.area);
    if (grid.isEmpty())
        return {};
    const auto bin = int32_t(std::llround(levels.bin(limited(event.position).y)));
    const RunMask mask =
        likeLevel(levels, grid, grid.column(levels.frame(event.position.x)), bin, m_tolerance->value());
    std::vector<QPolygonF> rings = mask.outline();
    const auto size = [](const QPolygonF& ring) { return std::abs(outline::signedArea(ring)); };
    std::sort(rings.begin(), rings.end(), [&](const auto& a, const auto& b) { return size(a) > size(b); });
    QPainterPath path;
    for (const QPolygonF& ring : rings) {
        // The largest is the border, however small.
        if (size(ring) < leastRing && !path.isEmpty())
            break;
        QPolygonF points;
        for (const QPointF& p : outline::simplified(ring, {1, 1}, straightness))
            points << QPointF(levels.time(double(grid.firstFrame) + (p.y() - 0.5) * double(grid.step)),
                              levels.frequency(grid.lowBin + p.x() - 0.5));
        path.addPolygon(inside(points));
    }
    return path;
}

QPainterPath SelectWand::harmonics(Levels& levels, const MouseEvent& event) const
{
    // Harmonics outside the view belong to it too; in time it is what is in view.
    Area area = fullBandArea(context.format, {});
    area.x = context.area.x;
    area.width = context.area.width;
    const LevelGrid grid = gridOver(levels, area);
    if (grid.isEmpty())
        return {};
    PartialSearch search;
    search.tolerance = m_tolerance->value();
    search.reach = std::max(leastReach, reachPixels * event.pixelSize.y / levels.binWidth());
    QPainterPath path;
    for (const PartialTrack& track : findPartials(levels, grid, grid.column(levels.frame(event.position.x)),
                                                  levels.bin(event.position.y), search)) {
        QPolygonF low, high;
        const auto add = [&](double column, double bin) {
            const double time = levels.time(double(grid.firstFrame) + column * double(grid.step));
            low << QPointF(time, levels.frequency(bin - track.halfWidth));
            high << QPointF(time, levels.frequency(bin + track.halfWidth));
        };
        const auto first = double(track.firstColumn);
        add(first - 0.5, track.bins.front());
        for (size_t i = 0; i < track.bins.size(); ++i)
            add(first + double(i), track.bins[i]);
        add(first + double(track.bins.size()) - 0.5, track.bins.back());
        const PointD cell{double(levels.hop() * grid.step), levels.binWidth()};
        QPolygonF ring = outline::simplified(low, cell, 0.5);
        const QPolygonF back = outline::simplified(high, cell, 0.5);
        for (int i = back.size(); i-- > 0;)
            ring << back[i];
        ring << ring.first();
        path.addPolygon(inside(ring));
    }
    return path;
}
