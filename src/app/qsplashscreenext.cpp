#include "app/qsplashscreenext.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QPainter>
#include <QScreen>

QSplashScreenExt::QSplashScreenExt()
{
    constexpr qreal drawnFor = 2.0;
    setWindowFlags(Qt::SplashScreen | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint);
    const QPixmap whole(QLatin1String(":/resources/") +
                        QCoreApplication::instance()->property("splashscreen").toString());
    const QSize size = whole.size() / drawnFor;
    const qreal ratio = qGuiApp->devicePixelRatio();
    m_picture = whole.scaled(size * ratio, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    m_picture.setDevicePixelRatio(ratio);
    setFixedSize(size);
    if (const QScreen* screen = QGuiApplication::primaryScreen())
        move(screen->geometry().center() - rect().center());
}

void QSplashScreenExt::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.drawPixmap(0, 0, m_picture);
    QFont small = font();
    small.setPointSize(9);
    painter.setFont(small);
    painter.setPen(QColor(QCoreApplication::instance()->property("coloroverlay").toString()));
    const QRectF inside =
        QRectF(rect()).adjusted(width() * 0.025, height() * 0.025, -width() * 0.025, -height() * 0.025);
    painter.drawText(inside, Qt::AlignLeft | Qt::AlignBottom,
                     QCoreApplication::applicationVersion() + QLatin1String(" : Loading..."));
}
