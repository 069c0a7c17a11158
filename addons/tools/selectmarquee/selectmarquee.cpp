#include "selectmarquee.h"

#include "outline.h"

namespace {

enum Mode : uint32_t { Rectangle, Ellipse };

} // namespace

SelectMarquee::SelectMarquee()
    : SelectionTool({{tr("Rectangle Selection"), QStringLiteral(":/icons/selectrectangle.png")},
                     {tr("Ellipse Selection"), QStringLiteral(":/icons/selectellipse.png")}})
{
}

QString SelectMarquee::description() const
{
    return tr("Marquee Selection");
}

void SelectMarquee::begin(const MouseEvent& event)
{
    m_from = m_to = limited(event.snapped);
}

void SelectMarquee::extend(const MouseEvent& event)
{
    m_to = limited(event.snapped);
}

QPainterPath SelectMarquee::shape()
{
    const Area area = outline::between(m_from, m_to);
    if (!(area.width > 0) || !(area.height > 0))
        return {};
    return mode == Ellipse ? outline::ellipse(area) : outline::rectangle(area);
}
