// Commands on the selection as a whole.
#pragma once

#include "editing/editdesk.h"

// Each makes a state of the history when the selection is another one afterwards. GUI thread.
class SelectionCommands
{
public:
    explicit SelectionCommands(EditDesk& desk) : m_desk(desk) {}

    void selectAll();
    void deselect();
    // Brings the last selection back that was not empty.
    void reselect();
    // What is not selected of the whole project.
    void invert();
    // The other frequencies of the selected time span.
    void invertFrequencies();
    // Asks by how much: expand, contract, fade, or (neither expand, but fade) contrast.
    void modify(bool expand, bool fade);
    // By a name that the user gives, for the time that the project is open.
    void save();
    void load();

private:
    void finish(const QString& label, const char* icon);
    [[nodiscard]] bool warnWithout(bool there, const char* words) const;

    EditDesk& m_desk;
};
