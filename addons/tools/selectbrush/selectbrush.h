// Selects what a round brush is moved over.
#pragma once

#include "selectiontool.h"

#include "brushstroke.h"

#include <QCursor>
#include <QElapsedTimer>

class QDoubleSpinBox;

// Round on the screen whatever its scales; a pen that is pressed less paints a smaller spot. The soft rim is
// the part of the radius that the hardness leaves.
class SelectBrush final : public SelectionTool
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "com.Application.IToolPlugin.selectbrush")

public:
    SelectBrush();
    [[nodiscard]] QString description() const override;

public Q_SLOTS:
    void increaseBrushSize() { scaleSize(1); }
    void decreaseBrushSize() { scaleSize(-1); }
    void increaseBrushAspectRatio() { scaleAspect(1); }
    void decreaseBrushAspectRatio() { scaleAspect(-1); }
    void increaseBrushHardness() { addHardness(1); }
    void decreaseBrushHardness() { addHardness(-1); }

protected:
    void addOptions(OptionsPage& page) override;
    void begin(const MouseEvent& event) override;
    void extend(const MouseEvent& event) override;
    QPainterPath shape() override;
    QPainterPath drawing() override;
    bool clickDraws() const override { return true; }
    PointD fade() override;
    QCursor drawingCursor(const MouseEvent& event) override;
    void dropped() override;

private:
    void scaleSize(int steps);
    void scaleAspect(int steps);
    void addHardness(int steps);
    // Half of its width and height, pixels.
    [[nodiscard]] PointD radius() const;
    void paint(const MouseEvent& event);

    QDoubleSpinBox* m_size = nullptr; // these of the page
    QDoubleSpinBox* m_aspect = nullptr;
    QDoubleSpinBox* m_hardness = nullptr;
    std::optional<BrushStroke> m_stroke;
    QPainterPath m_drawn;         // the outline of most of it, and single dabs since then
    QElapsedTimer m_sinceOutline; // when that outline was made
    int64_t m_outlineCost = 0;    // nanoseconds
    PointD m_fade;                // of the stroke: samples, Hz
    QCursor m_cursor;
    PointD m_cursorRadius;
};
