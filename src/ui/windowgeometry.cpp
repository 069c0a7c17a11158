#include "ui/windowgeometry.h"

#include "ui/widgets/usersettings.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QScreen>
#include <QSettings>
#include <QVariant>
#include <QWidget>

namespace {

int number(const char* key)
{
    bool valid = false;
    const int value = QCoreApplication::instance()->property(key).toInt(&valid);
    return valid ? value : -1;
}

} // namespace

void restoreWindowGeometry(QWidget& window)
{
    const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
    QSize size(number("defaultwindowwidth"), number("defaultwindowheight"));
    if (size.width() < 0)
        size.setWidth(screen.width() * 66 / 100);
    if (size.height() < 0)
        size.setHeight(screen.height() * 66 / 100);
    size = size.expandedTo(window.minimumSize()).boundedTo(QSize(16384, 16384));
    const QPoint centred = screen.center() - QPoint(size.width() / 2, size.height() / 2);
    QPoint place(number("defaultwindowleft"), number("defaultwindowtop"));
    if (place.x() == -1)
        place.setX(centred.x());
    if (place.y() == -1)
        place.setY(centred.y());
    // The title bar must be within reach.
    if (!QGuiApplication::screenAt(place + QPoint(size.width() / 2, 8)))
        place = centred;
    window.setGeometry(QRect(place, size));
    if (QCoreApplication::instance()->property("defaultwindowmaximize").toBool())
        window.setWindowState(window.windowState() | Qt::WindowMaximized);
}

void storeWindowGeometry(const QWidget& window)
{
    UserSettings settings;
    if (!window.isMaximized()) {
        const QRect place = window.geometry();
        settings.setValue(QStringLiteral("defaultwindowleft"), place.x());
        settings.setValue(QStringLiteral("defaultwindowtop"), place.y());
        settings.setValue(QStringLiteral("defaultwindowwidth"), place.width());
        settings.setValue(QStringLiteral("defaultwindowheight"), place.height());
    }
    settings.setValue(QStringLiteral("defaultwindowmaximize"), window.isMaximized());
}
