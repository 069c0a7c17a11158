#include "ui/widgets/numberfield.h"

NumberField::NumberField(QWidget* parent) : QDoubleSpinBox(parent)
{
    setGroupSeparatorShown(false);
    setAccelerated(true);
}

QString NumberField::textFromValue(double value) const
{
    QLocale plain = locale();
    plain.setNumberOptions(plain.numberOptions() | QLocale::OmitGroupSeparator);
    QString text = plain.toString(value, 'f', decimals());
    const QChar point = plain.decimalPoint();
    if (text.contains(point)) {
        while (text.endsWith(plain.zeroDigit()))
            text.chop(1);
        if (text.endsWith(point))
            text.chop(1);
    }
    return text;
}
