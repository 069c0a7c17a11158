// All message boxes of the program go through here, so that tests and the picture mode can answer
// them by script. GUI thread only.
#pragma once

#include <functional>

#include <QMessageBox>
#include <QString>

namespace messages {

struct Box
{
    QMessageBox::Icon icon = QMessageBox::NoIcon;
    QString title;
    QString text;
    QString informative; // file and cause; may be empty
    QMessageBox::StandardButtons buttons = QMessageBox::Ok;
    QMessageBox::StandardButton defaultButton = QMessageBox::Ok;
};

// Returns the button that answers the box in place of a user.
using Answerer = std::function<QMessageBox::StandardButton(const Box&)>;
// An empty function shows real boxes again.
void setAnswerer(Answerer answerer);

// Shows the box modally over `parent` (may be null) and returns the button pressed.
QMessageBox::StandardButton show(QWidget* parent, const Box& box);

void information(QWidget* parent, const QString& title, const QString& text, const QString& informative = {});
void warning(QWidget* parent, const QString& title, const QString& text, const QString& informative = {});
void critical(QWidget* parent, const QString& title, const QString& text, const QString& informative = {});
// Yes and No, Yes being the default; true for Yes.
[[nodiscard]] bool question(QWidget* parent, const QString& title, const QString& text);

} // namespace messages
