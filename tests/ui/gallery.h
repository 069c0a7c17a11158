// Pictures of the window as it stands on the screen, with its menus and dialogs.
//
// With MORVANE_PICTURES set to a folder they are kept there, and MORVANE_PICTURES_SIZE (such as 1280x720) is
// the size of the window. Otherwise they go the way of all files of a test. docs/pictures/make sets both.
#pragma once

#include "support/testsupport.h"

#include <gtest/gtest.h>

#include <QCursor>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QImage>
#include <QPixmap>
#include <QScreen>
#include <QStringList>
#include <QWidget>

namespace gallery {

inline QSize windowSize()
{
    const QStringList sides = qEnvironmentVariable("MORVANE_PICTURES_SIZE").split(QLatin1Char('x'));
    const QSize asked(sides.value(0).toInt(), sides.value(1).toInt());
    return asked.isEmpty() ? QSize(1280, 720) : asked;
}

inline QImage screenBehind(const QWidget& window)
{
    return QGuiApplication::primaryScreen()
        ->grabWindow(0, window.x(), window.y(), window.width(), window.height())
        .toImage();
}

// At the corner of the screen, and the pointer where it touches nothing.
inline void place(QWidget& window)
{
    window.move(0, 0);
    window.resize(windowSize());
    QCursor::setPos(QGuiApplication::primaryScreen()->geometry().bottomRight());
    EXPECT_TRUE(testsupport::waitFor([&window] {
        const QImage image = screenBehind(window);
        return image.pixel(image.width() - 1, image.height() - 1) != qRgb(0, 0, 0); // the screen behind
    }));
}

// For somebody to look at: once the screen has not changed for a while. Lines that crawl may keep it from
// that: then what there is after a second.
inline void take(const QWidget& window, const QString& folder, const QString& name)
{
    constexpr qint64 restful = 200; // ms
    const QString wanted = qEnvironmentVariable("MORVANE_PICTURES");
    QImage image = screenBehind(window);
    QElapsedTimer since;
    since.start();
    const auto atRest = [&] {
        const QImage before = image;
        image = screenBehind(window);
        if (image != before)
            since.restart();
        return since.elapsed() > restful;
    };
    if (!wanted.isEmpty())
        testsupport::waitFor(atRest, 1000);
    EXPECT_TRUE(image.save((wanted.isEmpty() ? folder : wanted) + QStringLiteral("/%1.png").arg(name)));
}

} // namespace gallery
