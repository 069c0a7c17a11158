// Asks by how much a selection shall grow, shrink or fade.
#pragma once

#include <QDialog>

class NumberField;

class SelectionDialog : public QDialog
{
    Q_OBJECT

public:
    // The four forms: expand, contract, fade, contrast (neither expand, but fade). Values are pixels: frames
    // and bins; those of the contrast are percent.
    SelectionDialog(bool expand, bool fade, QWidget* parent);

    [[nodiscard]] double horizontal() const;
    [[nodiscard]] double vertical() const;

private:
    NumberField* addField(const QString& label, bool percent);

    NumberField* m_horizontal;
    NumberField* m_vertical;
};
