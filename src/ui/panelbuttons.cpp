#include "ui/panelbuttons.h"

#include <QColor>
#include <QCoreApplication>
#include <QIcon>
#include <QPainter>
#include <QPixmap>
#include <QToolButton>
#include <QVariant>

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
    const QColor dark(QCoreApplication::instance()->property("coloractiveitemtext").toString());
    QIcon both = icon;
    for (const QSize& size : {QSize(16, 16), QSize(32, 32)}) {
        QPixmap pixmap = icon.pixmap(size);
        if (pixmap.isNull() || !dark.isValid())
            continue;
        QPainter painter(&pixmap);
        painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
        painter.fillRect(pixmap.rect(), dark);
        painter.end();
        both.addPixmap(pixmap, QIcon::Selected);
    }
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
