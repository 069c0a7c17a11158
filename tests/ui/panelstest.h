// The window with a dock panel and a project whose edits go the way of the program's.
#pragma once

#include "ui/projectflowstest.h"

#include "ui/widgets/qdockwidgetext.h"

#include <QAbstractButton>
#include <QComboBox>
#include <QLineEdit>
#include <QListWidget>

class PanelsTest : public ProjectFlows
{
protected:
    QDockWidgetExt& dock(const char* name)
    {
        return *m_window->findChild<QDockWidgetExt*>(QString::fromLatin1(name));
    }
    // By its tool tip.
    static QAbstractButton& button(const QWidget& panel, const char* tip)
    {
        for (QAbstractButton* button : panel.findChildren<QAbstractButton*>())
            if (button->toolTip() == QLatin1String(tip))
                return *button;
        ADD_FAILURE() << "no button " << tip;
        std::abort();
    }
    static void click(QWidget& widget) { QTest::mouseClick(&widget, Qt::LeftButton); }
    static void clickRow(QListWidget& list, int row)
    {
        list.scrollToItem(list.item(row));
        QTest::mouseClick(list.viewport(), Qt::LeftButton, {}, list.visualItemRect(list.item(row)).center());
        QCoreApplication::processEvents();
    }
    // Overwrites the first samples of a layer and records that.
    void write(const ILayerPtr& layer, float value, const char* name = "Edit")
    {
        const std::vector<float> samples(1000, value);
        ASSERT_TRUE(layer->write(samples.data(), {0, 1000}, 0, true));
        postEvent(nullptr, EventId::LayerContentUpdate, layer, nullptr);
        record(name);
    }
    static void record(const char* name)
    {
        HistoryEntry entry;
        entry.name = QString::fromLatin1(name);
        entry.icon = QIcon(QStringLiteral(":/icons/new.png"));
        postEvent(nullptr, EventId::HistoryRecord, entry, nullptr);
    }
    // Each control that a mouse can use: in the tab order, and named for who does not see it.
    static int checkControls(const QWidget& panel)
    {
        int controls = 0;
        for (const QWidget* widget : panel.findChildren<QWidget*>()) {
            const auto* button = qobject_cast<const QAbstractButton*>(widget);
            if (!button && !qobject_cast<const QLineEdit*>(widget) &&
                !qobject_cast<const QComboBox*>(widget) && !qobject_cast<const QAbstractItemView*>(widget))
                continue;
            ++controls;
            EXPECT_TRUE(!widget->accessibleName().isEmpty() || (button && !button->text().isEmpty()))
                << widget->objectName().toStdString();
            EXPECT_FALSE(widget->toolTip().isEmpty()) << widget->objectName().toStdString();
            EXPECT_TRUE(widget->focusPolicy() & Qt::TabFocus) << widget->objectName().toStdString();
        }
        return controls;
    }
};
