// Selects a rectangle or an ellipse.
#pragma once

#include "selectiontool.h"

// From corner to corner of the drag.
class SelectMarquee final : public SelectionTool
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "com.Application.IToolPlugin.selectmarquee")

public:
    SelectMarquee();
    [[nodiscard]] QString description() const override;

protected:
    void begin(const MouseEvent& event) override;
    void extend(const MouseEvent& event) override;
    QPainterPath shape() override;

private:
    PointD m_from;
    PointD m_to;
};
