// Asks for the size of a picture of the view.
#pragma once

#include "ui/viewpicture.h"

#include <QDialog>

class NumberField;
class QCheckBox;
class QLabel;

class PictureDialog : public QDialog
{
    Q_OBJECT

public:
    PictureDialog(const ViewPicture& picture, QWidget* parent);

    [[nodiscard]] ViewPicture::Settings settings() const;

private:
    void showSize();

    const ViewPicture& m_picture; // outlives the dialog
    NumberField* m_factor;
    QCheckBox* m_rulers;
    QLabel* m_size;
};
