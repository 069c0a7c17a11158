// Selects a band of frequencies.
#pragma once

#include "selectiontool.h"

// The band between press and pointer, over all time of the layers or over what is in view.
class SelectFreq final : public SelectionTool
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "com.Application.IToolPlugin.selectfreq")

public:
    SelectFreq();
    [[nodiscard]] QString description() const override;

protected:
    void begin(const MouseEvent& event) override;
    void extend(const MouseEvent& event) override;
    QPainterPath shape() override;
    QCursor drawingCursor(const MouseEvent& event) override;

private:
    PointD m_from;
    PointD m_to;
};
