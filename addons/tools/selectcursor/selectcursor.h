// Selects a position and a span of time.
#pragma once

#include "selectiontool.h"

// A click puts the transport there and takes the selection away; a drag selects the span over the full band,
// and puts the transport at its start.
class SelectCursor final : public SelectionTool
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "com.Application.IToolPlugin.selectcursor")

public:
    SelectCursor();
    [[nodiscard]] QString description() const override;

protected:
    void begin(const MouseEvent& event) override;
    void extend(const MouseEvent& event) override;
    QPainterPath shape() override;
    void pointed(const MouseEvent& event, bool isClick) override;
    QCursor drawingCursor(const MouseEvent& event) override;

private:
    PointD m_from;
    PointD m_to;
};
