#include "ui/panelbuttons.h"

#include <QIcon>
#include <QPixmap>
#include <QToolButton>

namespace {

QToolButton* makeButton(QWidget* parent, const char* objectName, const QString& name)
{
    auto* button = new QToolButton(parent);
    button->setObjectName(QString::fromLatin1(objectName));
    button->setToolTip(name);
    button->setAccessibleName(name);
    button->setFocusPolicy(Qt::StrongFocus);
    return button;
}

} // namespace

QIcon rowIcon(const QIcon& icon)
{
    QIcon both = icon;
    for (const QSize& size : {QSize(16, 16), QSize(32, 32)})
        if (const QPixmap pixmap = icon.pixmap(size); !pixmap.isNull())
            both.addPixmap(pixmap, QIcon::Selected);
    return both;
}

QToolButton* makeIconButton(QWidget* parent, const char* icon, const QString& name)
{
    QToolButton* button = makeButton(parent, "compacticon", name);
    button->setIcon(QIcon(QStringLiteral(":/icons/%1.png").arg(QLatin1String(icon))));
    button->setAutoRaise(true);
    return button;
}

QToolButton* makeSwitch(QWidget* parent, const char* objectName, const QString& word, const QString& name)
{
    QToolButton* button = makeButton(parent, objectName, name);
    button->setText(word);
    button->setCheckable(true);
    return button;
}
