#include "ui/aboutdialog.h"

#include <QCoreApplication>
#include <QDialogButtonBox>
#include <QLabel>
#include <QPixmap>
#include <QVariant>
#include <QVBoxLayout>

namespace {

QString appProperty(const char* key)
{
    return QCoreApplication::instance()->property(key).toString();
}

QString aboutText()
{
    QStringList lines;
    lines << QStringLiteral("<b>%1</b>").arg(appProperty("name").toHtmlEscaped());
    lines << AboutDialog::tr("Version %1").arg(QCoreApplication::applicationVersion().toHtmlEscaped());
    for (const char* key : {"copyright", "developer", "credits"})
        if (const QString text = appProperty(key); !text.isEmpty())
            lines << text.toHtmlEscaped();
    lines << AboutDialog::tr("Free software under the GNU General Public License, version 3 or later.");
    return QStringLiteral("<p>%1</p>").arg(lines.join(QStringLiteral("<br/>")));
}

} // namespace

AboutDialog::AboutDialog(QWidget* parent) : QDialog(parent)
{
    setWindowTitle(tr("About %1").arg(appProperty("name")));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 12);
    layout->setSpacing(12);
    QPixmap banner(QStringLiteral(":/resources/") + appProperty("about"));
    if (!banner.isNull()) {
        banner.setDevicePixelRatio(2); // drawn at double size
        auto* picture = new QLabel(this);
        picture->setPixmap(banner);
        picture->setAccessibleName(appProperty("name"));
        layout->addWidget(picture);
    }
    auto* text = new QLabel(aboutText(), this);
    text->setObjectName(QStringLiteral("abouttext"));
    text->setContentsMargins(18, 0, 18, 0);
    text->setTextInteractionFlags(Qt::TextSelectableByMouse);
    layout->addWidget(text);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    buttons->setContentsMargins(18, 0, 18, 0);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);
    layout->setSizeConstraint(QLayout::SetFixedSize);
}
