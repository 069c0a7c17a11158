#include "selecttransient.h"

#include "outline.h"
#include "transients.h"

#include <algorithm>
#include <cmath>
#include <functional>

#include <QCursor>
#include <QDoubleSpinBox>

namespace {

constexpr double usualSensitivity = 50; // %
// However long the span: pieces of it are looked at one after the other.
constexpr int64_t pieceLength = int64_t(1) << 22;

// Those of one channel of a layer that begin in the span. `goesOn` is told the share that is done; none are
// found once it says no.
std::vector<Transient> transientsIn(const ILayer& layer, int32_t channel, const Range& span,
                                    double sensitivity, const std::function<bool(double)>& goesOn)
{
    std::vector<Transient> found;
    const SamplingFormat format = layer.format();
    const int64_t margin = transientMargin(format.sampleRate);
    std::vector<float> samples;
    for (int64_t start = span.start; start < span.end(); start += pieceLength) {
        const int64_t end = std::min(span.end(), start + pieceLength);
        // Where the layer begins and ends, silence is none of its sound.
        const Range read = Range{start - margin, end - start + 2 * margin}.intersected(layer.range());
        samples.assign(size_t(read.length * format.sampleType), 0.0f);
        layer.read(samples.data(), read, channel, true);
        const auto told = [&](int64_t done) {
            return goesOn(double(start - span.start + done) / double(span.length));
        };
        for (Transient t : findTransients(samples.data(), read.length, format.sampleType, format.sampleRate,
                                          sensitivity, told)) {
            t.position += read.start;
            if (t.position >= start && t.position < end)
                found.push_back(t);
        }
        if (!goesOn(double(end - span.start) / double(span.length)))
            return {};
    }
    return found;
}

} // namespace

SelectTransient::SelectTransient()
    : SelectionTool({{tr("Transient Selection"), QStringLiteral(":/icons/selecttransient.png")}})
{
}

void SelectTransient::addOptions(OptionsPage& page)
{
    m_sensitivity = page.addNumber(tr("Sensitivity:"), 0, 100, 1, usualSensitivity, tr(" %"));
    m_sensitivity->setObjectName(QStringLiteral("sensitivity"));
    m_sensitivity->setToolTip(tr("From only what stands out most to all that stands out a little"));
}

QString SelectTransient::description() const
{
    return tr("Transient Selection");
}

void SelectTransient::begin(const MouseEvent& event)
{
    m_channel = event.channel;
    m_from = m_to = limited(event.snapped);
}

void SelectTransient::extend(const MouseEvent& event)
{
    m_to = limited(event.snapped);
}

// Of what the layer holds.
Range SelectTransient::span() const
{
    const ILayerPtr layer = target();
    const Range dragged = outline::between(m_from, m_to).range();
    return layer ? dragged.intersected(layer->range()) : Range();
}

QPainterPath SelectTransient::shape()
{
    QPainterPath path;
    const ILayerPtr layer = target();
    const Range range = span();
    if (!layer || range.isEmpty() || m_channel < 0 || m_channel >= layer->format().channels)
        return path;
    const Area band = limits();
    const double margin = context.transform ? context.transform->hop() / 2.0 : 0.0;
    Area stripe{0, band.y, -1, band.height};
    const auto flush = [&] {
        if (stripe.width > 0)
            path.addPath(outline::rectangle(stripe));
    };
    for (const Transient& t : transientsIn(*layer, m_channel, range, m_sensitivity->value() / 100,
                                           [this](double share) { return goesOn(share); })) {
        const double begin = std::max(0.0, double(t.position) - margin);
        const double end = double(t.position + t.length) + margin;
        // Stripes that touch become one.
        if (stripe.width > 0 && begin <= stripe.x + stripe.width) {
            stripe.width = std::max(stripe.x + stripe.width, end) - stripe.x;
            continue;
        }
        flush();
        stripe.x = begin;
        stripe.width = end - begin;
    }
    flush();
    return path;
}

QPainterPath SelectTransient::drawing()
{
    const Area band = limits();
    Area area = outline::between(m_from, m_to);
    area.y = band.y;
    area.height = band.height;
    return area.width > 0 ? outline::rectangle(area) : QPainterPath();
}

QCursor SelectTransient::drawingCursor(const MouseEvent&)
{
    return Qt::IBeamCursor;
}
