// A ruler at the right of a view, its marks at the side of the view.
#pragma once

#include "display/ruler.h"

class VerticalRuler : public Ruler
{
    Q_OBJECT

public:
    using Ruler::Ruler;
    // Narrowest width in which every text that a format has in its unit has room, logical pixels.
    [[nodiscard]] int neededWidth(const Convert& convert) const;

protected:
    [[nodiscard]] QRectF textRect(const RulerTick& tick) const override;
    [[nodiscard]] double distanceFor(double textWidth) const override;
    [[nodiscard]] bool isHorizontal() const override { return false; }
    void paintMarks(QPainter& painter) override;

    // The longest texts that a format has in its unit.
    [[nodiscard]] virtual QStringList widestTexts(const Convert& convert) const = 0;
};
