#include "editing/timedialog.h"

#include "ui/widgets/qlineeditext.h"

#include <QCoreApplication>
#include <QDialogButtonBox>
#include <QLabel>
#include <QVBoxLayout>

namespace {

// What an arrow key adds, as a text of each unit.
struct Step
{
    TimeUnit unit;
    const char* text;
};
constexpr Step steps[] = {{TimeUnit::Samples, "1"}, {TimeUnit::Decimal, "0.01"}, {TimeUnit::Seconds, "0.01"},
                          {TimeUnit::Bpm, "1.2.0"}, {TimeUnit::Fps, "1"},        {TimeUnit::Pixels, "1"}};

double stepOf(const Convert& convert)
{
    for (const Step& step : steps)
        if (step.unit == convert.timeUnit)
            return double(std::max<int64_t>(1, convert.stringToTime(QString::fromLatin1(step.text))));
    return 1;
}

QString text(const char* source)
{
    return QCoreApplication::translate("DataManager", source);
}

} // namespace

TimeDialog::TimeDialog(const QString& title, const Convert& convert, const Range& shown, QWidget* parent)
    : QDialog(parent),
      m_convert(convert)
{
    setWindowTitle(title);
    auto* layout = new QVBoxLayout(this);
    m_start = addField(*layout, text(QT_TRANSLATE_NOOP("DataManager", "Start:")), shown.start);
    m_length = addField(*layout, text(QT_TRANSLATE_NOOP("DataManager", "Length:")), shown.length);
    m_start->selectAll();
    layout->addSpacing(6);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);
}

QLineEditExt* TimeDialog::addField(QBoxLayout& layout, const QString& label, int64_t samples)
{
    auto* caption = new QLabel(label, this);
    auto* field = new QLineEditExt(this);
    field->setWords({[this](double value) { return m_convert.timeToString(value); },
                     [this](const QString& typed) { return double(m_convert.stringToTime(typed)); }});
    field->setStep(stepOf(m_convert));
    field->setValue(double(samples));
    field->setAccessibleName(label);
    field->setToolTip(timeUnitToString(m_convert.timeUnit));
    caption->setBuddy(field);
    layout.addWidget(caption);
    auto* row = new QHBoxLayout;
    row->addWidget(field);
    if (!m_convert.timeSuffix().isEmpty())
        row->addWidget(new QLabel(m_convert.timeSuffix(), this));
    layout.addLayout(row);
    return field;
}

Range TimeDialog::range() const
{
    const int64_t length = m_convert.stringToTime(m_length->text());
    return {m_convert.stringToTime(m_start->text()), length};
}
