// Asks for a stretch of time.
#pragma once

#include "display/scales/convert.h"
#include "model/types/range.h"

#include <QDialog>

class QBoxLayout;
class QLineEditExt;

class TimeDialog : public QDialog
{
    Q_OBJECT

public:
    // Shows `shown` in the unit of `convert`.
    TimeDialog(const QString& title, const Convert& convert, const Range& shown, QWidget* parent);

    // What the texts mean, as the converter reads them: a text that means nothing is 0.
    [[nodiscard]] Range range() const;

private:
    QLineEditExt* addField(QBoxLayout& layout, const QString& label, int64_t samples);

    Convert m_convert;
    QLineEditExt* m_start;
    QLineEditExt* m_length;
};
