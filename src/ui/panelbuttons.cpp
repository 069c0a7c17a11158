#include "ui/panelbuttons.h"

#include <QIcon>
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
