#include "ui/picturedialog.h"

#include "ui/widgets/numberfield.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QPushButton>

PictureDialog::PictureDialog(const ViewPicture& picture, QWidget* parent)
    : QDialog(parent),
      m_picture(picture),
      m_factor(new NumberField(this)),
      m_rulers(new QCheckBox(tr("With &rulers"), this)),
      m_size(new QLabel(this))
{
    setWindowTitle(tr("Export Picture"));
    m_factor->setObjectName(QStringLiteral("picturefactor"));
    m_factor->setRange(1, picture.largestFactor());
    m_factor->setDecimals(2);
    m_factor->setSingleStep(0.5);
    m_factor->setSuffix(tr(" x"));
    m_factor->setValue(1);
    m_factor->selectAll(); // the first key replaces it
    m_factor->setAccessibleName(tr("Size"));
    m_factor->setToolTip(tr("How many times the pixels on the screen"));
    m_rulers->setObjectName(QStringLiteral("picturerulers"));
    m_rulers->setChecked(true);
    m_rulers->setToolTip(tr("Times, frequencies and amplitudes beside the channels"));
    m_size->setObjectName(QStringLiteral("picturesize"));
    auto* layout = new QFormLayout(this);
    layout->addRow(tr("&Size:"), m_factor);
    layout->addRow(QString(), m_size);
    layout->addRow(QString(), m_rulers);
    layout->setHorizontalSpacing(12);
    layout->setVerticalSpacing(8);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    layout->addRow(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(m_factor, qOverload<double>(&QDoubleSpinBox::valueChanged), this, &PictureDialog::showSize);
    connect(m_rulers, &QCheckBox::toggled, this, &PictureDialog::showSize);
    showSize();
}

void PictureDialog::showSize()
{
    const QSize size = m_picture.size(settings());
    m_size->setText(tr("%1 x %2 pixels").arg(size.width()).arg(size.height()));
}

ViewPicture::Settings PictureDialog::settings() const
{
    return {m_factor->value(), m_rulers->isChecked()};
}
