// Answers real dialogs, message boxes included, as a user would.
#pragma once

#include <gtest/gtest.h>

#include <QApplication>
#include <QDialog>
#include <QMessageBox>
#include <QProgressDialog>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <QWindow>

#include <deque>
#include <functional>

// A list of expected modal dialogs, in their order. Each is acted upon when it is on the screen and its
// title is the expected one. A dialog that nobody expects fails the test and is dismissed, so that
// nothing hangs; so does one that never came. Progress dialogs pass by.
class DialogScript
{
public:
    using Act = std::function<void(QDialog&)>;

    DialogScript()
    {
        QObject::connect(&m_timer, &QTimer::timeout, [this] { look(); });
        m_timer.start(2);
    }
    ~DialogScript()
    {
        m_timer.stop();
        EXPECT_TRUE(m_steps.empty()) << "never came: " << m_steps.front().title.toStdString();
    }

    // `act` presses what it wants to press.
    DialogScript& on(const char* title, Act act)
    {
        m_steps.push_back({QString::fromLatin1(title), std::move(act)});
        return *this;
    }
    // A message box of exactly that title and text. `informative` must stand in what it adds to it.
    DialogScript& box(const char* title, const QString& text, QMessageBox::StandardButton answer,
                      const QString& informative = {})
    {
        return on(title, [=](QDialog& dialog) {
            auto* shown = qobject_cast<QMessageBox*>(&dialog);
            ASSERT_NE(shown, nullptr) << title;
            EXPECT_EQ(shown->text().toStdString(), text.toStdString());
            EXPECT_TRUE(shown->informativeText().contains(informative))
                << shown->informativeText().toStdString();
            QAbstractButton* button = shown->button(answer);
            ASSERT_NE(button, nullptr);
            QTest::mouseClick(button, Qt::LeftButton);
        });
    }
    [[nodiscard]] bool isDone() const { return m_steps.empty(); }

    // Clicks the button of that text.
    static void press(QDialog& dialog, const char* text)
    {
        for (QPushButton* button : dialog.findChildren<QPushButton*>()) {
            if (button->text().remove(QLatin1Char('&')) != QLatin1String(text))
                continue;
            EXPECT_TRUE(button->isEnabled()) << text;
            QTest::mouseClick(button, Qt::LeftButton);
            return;
        }
        ADD_FAILURE() << "no button " << text << " in " << dialog.windowTitle().toStdString();
        dialog.reject();
    }

private:
    struct Step
    {
        QString title;
        Act act;
    };

    void look()
    {
        auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        if (!dialog || dialog == m_acting || qobject_cast<QProgressDialog*>(dialog) || !isReady(*dialog))
            return;
        if (m_steps.empty() || m_steps.front().title != dialog->windowTitle()) {
            auto* box = qobject_cast<QMessageBox*>(dialog);
            ADD_FAILURE() << "unexpected dialog: " << dialog->windowTitle().toStdString() << ": "
                          << (box ? box->text() + box->informativeText() : QString()).toStdString();
            dialog->reject();
            return;
        }
        // What is pressed may open another dialog, which has its step too: so not from within the timer,
        // which would not come again before the step ends.
        QTimer::singleShot(0, dialog, [act = m_steps.front().act, dialog, outer = m_acting, this] {
            act(*dialog);
            m_acting = outer;
        });
        m_steps.pop_front();
        m_acting = dialog;
    }

    // On the screen: an X server gives the focus to nothing else.
    static bool isReady(const QDialog& dialog)
    {
        const QWindow* handle = dialog.windowHandle();
        return dialog.isVisible() && handle && handle->isExposed();
    }

    QTimer m_timer;
    std::deque<Step> m_steps;
    QDialog* m_acting = nullptr; // in whose step we are
};

// Cancels each progress dialog as soon as it is shown.
class ProgressCanceller : public QObject
{
public:
    // `meanwhile` is called while the command is in work.
    explicit ProgressCanceller(std::function<void()> meanwhile = {}) : m_meanwhile(std::move(meanwhile))
    {
        QCoreApplication::instance()->installEventFilter(this);
    }
    [[nodiscard]] const QStringList& labels() const { return m_labels; }

    bool eventFilter(QObject* object, QEvent* event) override
    {
        auto* dialog = event->type() == QEvent::Show ? qobject_cast<QProgressDialog*>(object) : nullptr;
        if (dialog) {
            m_labels << dialog->labelText();
            if (m_meanwhile)
                m_meanwhile();
            dialog->cancel();
        }
        return false;
    }

private:
    std::function<void()> m_meanwhile;
    QStringList m_labels;
};
