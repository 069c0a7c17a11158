// Selects what an outline goes around.
#pragma once

#include "selectiontool.h"

#include "magnet.h"

class QDoubleSpinBox;

// Drawn free hand, or from corner to corner by clicks until a double click, a click on the first corner or
// Return closes it, or free hand and pulled to the nearest ridge.
class SelectLasso final : public SelectionTool
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "com.Application.IToolPlugin.selectlasso")

public:
    SelectLasso();
    [[nodiscard]] QString description() const override;

protected:
    void addOptions(OptionsPage& page) override;
    void begin(const MouseEvent& event) override;
    void extend(const MouseEvent& event) override;
    QPainterPath shape() override;
    QPainterPath drawing() override;
    bool click(const MouseEvent& event, bool twice) override;
    bool release(const MouseEvent& event) override;
    void dropped() override;

private:
    void take(const MouseEvent& event);

    QDoubleSpinBox* m_reach = nullptr; // of the page
    uint32_t m_kind = 0;               // the mode when the outline was begun
    QPolygonF m_points;
    QPainterPath m_line; // the same, as it is drawn
    PointD m_pointer;
    PointD m_pixel;     // the smallest on the way
    PointD m_lastPixel; // where the last point was taken, on the screen
    std::optional<Magnet> m_magnet;
};
