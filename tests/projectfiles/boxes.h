// Records the message boxes of a test and answers each by its default button.
#pragma once

#include "ui/widgets/messages.h"

#include <QList>

class Boxes
{
public:
    Boxes()
    {
        messages::setAnswerer([this](const messages::Box& box) {
            list << box;
            return box.defaultButton;
        });
    }
    ~Boxes() { messages::setAnswerer({}); }

    // "title|text" of all boxes so far.
    [[nodiscard]] QStringList words() const
    {
        QStringList out;
        for (const messages::Box& box : list)
            out << box.title + QLatin1Char('|') + box.text;
        return out;
    }

    QList<messages::Box> list;
};
