// Tools of the window in a user's hand: chosen by their buttons, led over the first channel's spectrogram.
#pragma once

#include "display/channelrow.h"
#include "ui/toolbars.h"
#include "ui/widgets/qtoolbarext.h"
#include "ui/windowenvironment.h"

#include <QMenu>
#include <QMouseEvent>
#include <QToolButton>
#include <QtTest>

using Way = std::vector<QPointF>; // sample points and Hz

// Tools are named as their buttons are to who does not see them.
template<class Window>
class ToolHand : public Window
{
protected:
    SpectralChannel& view() { return *this->display().rows().first()->spectral(); }
    QWidget& page() { return *this->m_window->toolBars().page(); }
    QToolButton* button(const char* tool)
    {
        for (QToolButton* each : this->m_window->toolBars().tools()->buttons())
            if (each->accessibleName() == QLatin1String(tool))
                return each;
        ADD_FAILURE() << tool;
        return nullptr;
    }
    void choose(const char* tool)
    {
        QTest::mouseClick(button(tool), Qt::LeftButton);
        ASSERT_TRUE(button(tool)->isChecked()) << tool;
    }
    void chooseMode(const char* tool, const char* mode)
    {
        for (QAction* action : button(tool)->menu()->actions())
            if (action->text() == QLatin1String(mode))
                action->trigger();
        ASSERT_EQ(button(tool)->defaultAction()->text(), QLatin1String(mode));
    }
    // A field of the tool's options, by its object name.
    QWidget* control(const char* name) { return page().template findChild<QWidget*>(QLatin1String(name)); }
    // With the keys of a user, into the field that has been clicked into.
    void type(const char* name, const QString& text)
    {
        QWidget* field = control(name);
        ASSERT_NE(field, nullptr) << name;
        ASSERT_TRUE(field->isVisible()) << name;
        field->setFocus();
        QTest::keyClick(field, Qt::Key_A, Qt::ControlModifier);
        QTest::keyClicks(field, text);
        QTest::keyClick(field, Qt::Key_Return);
        QCoreApplication::processEvents(); // the tool has asked for a call
    }

    // Where the frequency scale is linear.
    void mouse(QEvent::Type type, const QPointF& place, bool held)
    {
        const Area area = this->display().viewArea();
        const QPointF at((place.x() - area.x) / area.width * view().width(),
                         (1 - (place.y() - area.y) / area.height) * view().height());
        QMouseEvent event(type, at, view().mapToGlobal(at.toPoint()),
                          type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton,
                          held ? Qt::LeftButton : Qt::NoButton, {});
        QApplication::sendEvent(&view(), &event);
    }
    void drag(const Way& way)
    {
        mouse(QEvent::MouseMove, way.front(), false);
        mouse(QEvent::MouseButtonPress, way.front(), true);
        for (int i = 1; i < int(way.size()); ++i)
            for (int k = 1; k <= 20; ++k)
                mouse(QEvent::MouseMove, way[size_t(i) - 1] + (way[size_t(i)] - way[size_t(i) - 1]) * k / 20,
                      true);
        mouse(QEvent::MouseButtonRelease, way.back(), false);
    }
};
