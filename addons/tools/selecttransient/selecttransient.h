// Selects the transients of a span.
#pragma once

#include "selectiontool.h"

class QDoubleSpinBox;

// Each as a stripe over the full band, from where it begins to where it has died away, half a hop farther to
// both sides: no narrower one is sure to meet a frame.
class SelectTransient final : public SelectionTool
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "com.Application.IToolPlugin.selecttransient")

public:
    SelectTransient();
    [[nodiscard]] QString description() const override;

protected:
    void addOptions(OptionsPage& page) override;
    void begin(const MouseEvent& event) override;
    void extend(const MouseEvent& event) override;
    QPainterPath shape() override;
    QPainterPath drawing() override;
    QCursor drawingCursor(const MouseEvent& event) override;

private:
    [[nodiscard]] Range span() const;

    QDoubleSpinBox* m_sensitivity = nullptr; // of the page
    int32_t m_channel = 0;
    PointD m_from;
    PointD m_to;
};
