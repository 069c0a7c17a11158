#include "editing/selectiondialog.h"

#include "ui/widgets/numberfield.h"

#include <QCoreApplication>
#include <QDialogButtonBox>
#include <QLabel>
#include <QVBoxLayout>

namespace {

struct Form
{
    const char* title;
    const char* horizontal;
    const char* vertical;
};

// By expand + 2 * fade.
constexpr Form forms[] = {
    {QT_TRANSLATE_NOOP("DataManager", "Contract Selection"),
     QT_TRANSLATE_NOOP("DataManager", "Contract Horizontally:"),
     QT_TRANSLATE_NOOP("DataManager", "Contract Vertically:")},
    {QT_TRANSLATE_NOOP("DataManager", "Expand Selection"),
     QT_TRANSLATE_NOOP("DataManager", "Expand Horizontally:"),
     QT_TRANSLATE_NOOP("DataManager", "Expand Vertically:")},
    {QT_TRANSLATE_NOOP("DataManager", "Contrast Selection"),
     QT_TRANSLATE_NOOP("DataManager", "Contrast Horizontally:"),
     QT_TRANSLATE_NOOP("DataManager", "Contrast Vertically:")},
    {QT_TRANSLATE_NOOP("DataManager", "Fade Selection"),
     QT_TRANSLATE_NOOP("DataManager", "Fade Horizontally:"),
     QT_TRANSLATE_NOOP("DataManager", "Fade Vertically:")},
};

QString text(const char* source)
{
    return QCoreApplication::translate("DataManager", source);
}

} // namespace

SelectionDialog::SelectionDialog(bool expand, bool fade, QWidget* parent) : QDialog(parent)
{
    const Form& form = forms[int(expand) + 2 * int(fade)];
    setWindowTitle(text(form.title));
    auto* layout = new QVBoxLayout(this);
    m_horizontal = addField(text(form.horizontal), fade && !expand);
    m_vertical = addField(text(form.vertical), fade && !expand);
    m_horizontal->selectAll(); // the first key replaces it
    layout->addSpacing(6);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);
}

NumberField* SelectionDialog::addField(const QString& label, bool percent)
{
    auto* caption = new QLabel(label, this);
    auto* field = new NumberField(this);
    field->setRange(0, 100);
    field->setDecimals(0);
    field->setSingleStep(percent ? 2 : 1);
    field->setSuffix(QLatin1Char(' ') +
                     (percent ? QStringLiteral("%") : text(QT_TRANSLATE_NOOP("DataManager", "pixels"))));
    field->setValue(percent ? 50 : 5);
    field->setAccessibleName(label);
    caption->setBuddy(field);
    layout()->addWidget(caption);
    layout()->addWidget(field);
    return field;
}

double SelectionDialog::horizontal() const
{
    return m_horizontal->value();
}

double SelectionDialog::vertical() const
{
    return m_vertical->value();
}
