#include "ui/widgets/messages.h"

#include <utility>

namespace messages {

namespace {
Answerer& answerer()
{
    static Answerer current;
    return current;
}

Box plain(QMessageBox::Icon icon, const QString& title, const QString& text, const QString& informative)
{
    Box box;
    box.icon = icon;
    box.title = title;
    box.text = text;
    box.informative = informative;
    return box;
}
} // namespace

void setAnswerer(Answerer replacement)
{
    answerer() = std::move(replacement);
}

QMessageBox::StandardButton show(QWidget* parent, const Box& box)
{
    if (answerer())
        return answerer()(box);
    QMessageBox widget(box.icon, box.title, box.text, box.buttons, parent);
    widget.setInformativeText(box.informative);
    widget.setDefaultButton(box.defaultButton);
    return QMessageBox::StandardButton(widget.exec());
}

void information(QWidget* parent, const QString& title, const QString& text, const QString& informative)
{
    show(parent, plain(QMessageBox::Information, title, text, informative));
}

void warning(QWidget* parent, const QString& title, const QString& text, const QString& informative)
{
    show(parent, plain(QMessageBox::Warning, title, text, informative));
}

void critical(QWidget* parent, const QString& title, const QString& text, const QString& informative)
{
    show(parent, plain(QMessageBox::Critical, title, text, informative));
}

bool question(QWidget* parent, const QString& title, const QString& text)
{
    Box box = plain(QMessageBox::Question, title, text, {});
    box.buttons = QMessageBox::Yes | QMessageBox::No;
    box.defaultButton = QMessageBox::Yes;
    return show(parent, box) == QMessageBox::Yes;
}

} // namespace messages
