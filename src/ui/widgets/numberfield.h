// A field for a number that shows no digits it does not need.
#pragma once

#include <QDoubleSpinBox>

// "48000 Hz" and "0.5 s", not "48000.000 Hz": zeros behind the decimal point are left out.
class NumberField : public QDoubleSpinBox
{
    Q_OBJECT

public:
    explicit NumberField(QWidget* parent = nullptr);
    [[nodiscard]] QString textFromValue(double value) const override;
};
