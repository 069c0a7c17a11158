// Selects what is like the spot that is clicked.
#pragma once

#include "selectiontool.h"

#include "levelregion.h"

class QDoubleSpinBox;

// The region of like level in view that hangs together with the spot; or the partial there with its
// harmonics.
class SelectWand final : public SelectionTool
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "com.Application.IToolPlugin.selectwand")

public:
    SelectWand();
    [[nodiscard]] QString description() const override;

protected:
    void addOptions(OptionsPage& page) override;
    void begin(const MouseEvent& event) override;
    void extend(const MouseEvent& event) override;
    QPainterPath shape() override { return m_shape; }
    bool clickDraws() const override { return true; }
    void dropped() override { m_shape = QPainterPath(); }

private:
    void find(const MouseEvent& event);
    [[nodiscard]] QPainterPath region(Levels& levels, const MouseEvent& event) const;
    [[nodiscard]] QPainterPath harmonics(Levels& levels, const MouseEvent& event) const;
    // Points in samples and Hz, kept inside the limits.
    [[nodiscard]] QPolygonF inside(QPolygonF points) const;

    QDoubleSpinBox* m_tolerance = nullptr; // of the page
    QPainterPath m_shape;
};
