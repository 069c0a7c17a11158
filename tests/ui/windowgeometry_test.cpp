#include "support/testsupport.h"
#include "ui/guienvironment.h"
#include "ui/widgets/usersettings.h"
#include "ui/windowgeometry.h"

#include <gtest/gtest.h>

#include <QScreen>
#include <QWidget>

namespace {

const auto* const environment = testing::AddGlobalTestEnvironment(new GuiEnvironment);

class WindowGeometry : public testing::Test
{
protected:
    void SetUp() override { set(-1, -1, -1, -1, false); }
    static void set(int left, int top, int width, int height, bool maximize)
    {
        qApp->setProperty("defaultwindowleft", left);
        qApp->setProperty("defaultwindowtop", top);
        qApp->setProperty("defaultwindowwidth", width);
        qApp->setProperty("defaultwindowheight", height);
        qApp->setProperty("defaultwindowmaximize", maximize);
    }
};

TEST_F(WindowGeometry, UnsetValuesTakeTwoThirdsOfTheScreenInItsMiddle)
{
    QWidget window;
    restoreWindowGeometry(window);
    const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
    EXPECT_EQ(window.width(), screen.width() * 66 / 100);
    EXPECT_EQ(window.height(), screen.height() * 66 / 100);
    EXPECT_LE(std::abs(window.geometry().center().x() - screen.center().x()), 1);
    EXPECT_LE(std::abs(window.geometry().center().y() - screen.center().y()), 1);
}

TEST_F(WindowGeometry, StoredPlaceIsTakenAndTheMinimumSizeHolds)
{
    QWidget window;
    window.setMinimumSize(640, 360);
    set(100, 50, 700, 100, false);
    restoreWindowGeometry(window);
    EXPECT_EQ(window.geometry(), QRect(100, 50, 700, 360));
}

TEST_F(WindowGeometry, PlaceThatNoScreenShowsIsCentred)
{
    QWidget window;
    set(50000, -40000, 800, 600, false);
    restoreWindowGeometry(window);
    EXPECT_TRUE(QGuiApplication::primaryScreen()->geometry().contains(window.geometry().center()));
}

TEST_F(WindowGeometry, ClosingWhileMaximisedKeepsTheOldPlace)
{
    UserSettings().clear();
    QWidget window;
    window.setGeometry(120, 80, 900, 500);
    storeWindowGeometry(window);
    window.setGeometry(0, 0, 1920, 1200);
    window.setWindowState(Qt::WindowMaximized);
    storeWindowGeometry(window);
    UserSettings settings;
    EXPECT_EQ(settings.value(QStringLiteral("defaultwindowleft")).toInt(), 120);
    EXPECT_EQ(settings.value(QStringLiteral("defaultwindowtop")).toInt(), 80);
    EXPECT_EQ(settings.value(QStringLiteral("defaultwindowwidth")).toInt(), 900);
    EXPECT_EQ(settings.value(QStringLiteral("defaultwindowheight")).toInt(), 500);
    EXPECT_TRUE(settings.value(QStringLiteral("defaultwindowmaximize")).toBool());
}

} // namespace
