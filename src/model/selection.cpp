#include "model/selection.h"

#include <QHash>

uint32_t Selection::fingerprint() const
{
    uint hash = 0;
    for (int i = 0; i < m_path.elementCount(); ++i) {
        const QPainterPath::Element element = m_path.elementAt(i);
        hash = 31 * hash + qHash(element.x, uint(element.type));
        hash = 31 * hash + qHash(element.y, uint(i));
    }
    return hash;
}
