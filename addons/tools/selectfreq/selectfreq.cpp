#include "selectfreq.h"

#include "outline.h"

#include <algorithm>

#include <QCursor>

namespace {

enum Mode : uint32_t { AllTime, View };

} // namespace

SelectFreq::SelectFreq()
    : SelectionTool({{tr("Frequency Selection over All Time"), QStringLiteral(":/icons/selectfreq.png")},
                     {tr("Frequency Selection over the View"), QStringLiteral(":/icons/selectfreqview.png")}})
{
}

QString SelectFreq::description() const
{
    return tr("Frequency Selection");
}

void SelectFreq::begin(const MouseEvent& event)
{
    m_from = m_to = limited(event.snapped);
}

void SelectFreq::extend(const MouseEvent& event)
{
    m_to = limited(event.snapped);
}

QPainterPath SelectFreq::shape()
{
    Area area = outline::between(m_from, m_to);
    const ILayerPtr layers = context.root ? context.root->layer(RootProject) : nullptr;
    if (mode == View) {
        area.x = std::max(0.0, context.area.x);
        area.width = context.area.x + context.area.width - area.x;
    } else if (layers) {
        const Range range = layers->range();
        area.x = double(range.start);
        area.width = double(range.length);
    }
    return area.width > 0 && area.height > 0 ? outline::rectangle(area) : QPainterPath();
}

QCursor SelectFreq::drawingCursor(const MouseEvent&)
{
    return Qt::SplitVCursor;
}
