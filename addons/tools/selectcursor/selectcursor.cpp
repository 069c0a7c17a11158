#include "selectcursor.h"

#include "outline.h"

#include <algorithm>
#include <cmath>

#include <QCursor>

SelectCursor::SelectCursor()
    : SelectionTool({{tr("Cursor Selection"), QStringLiteral(":/icons/selectcursor.png")}})
{
}

QString SelectCursor::description() const
{
    return tr("Cursor Selection");
}

void SelectCursor::begin(const MouseEvent& event)
{
    m_from = m_to = limited(event.snapped);
}

void SelectCursor::extend(const MouseEvent& event)
{
    m_to = limited(event.snapped);
}

QPainterPath SelectCursor::shape()
{
    const Area band = limits();
    Area area = outline::between(m_from, m_to);
    area.y = band.y;
    area.height = band.height;
    return area.width > 0 ? outline::rectangle(area) : QPainterPath();
}

void SelectCursor::pointed(const MouseEvent&, bool isClick)
{
    context.transportPosition = std::llround(isClick ? m_from.x : std::min(m_from.x, m_to.x));
}

QCursor SelectCursor::drawingCursor(const MouseEvent&)
{
    return Qt::IBeamCursor;
}
