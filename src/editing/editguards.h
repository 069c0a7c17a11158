// What a command asks of the document before it begins.
#pragma once

#include <QtGlobal>

class EditDesk;

// The guards of one command, as its row of the table: a null text leaves the guard out.
struct EditGuards
{
    const char* noActive = nullptr;   // also asks that the active layer is visible
    const char* groupTitle = nullptr; // the active layer must not be a group
    const char* groupText = nullptr;
    const char* noSelection = nullptr; // something must be selected
    bool makesLayer = false;           // refused while a host manages the layers
};

namespace guards {

extern const EditGuards cut;
extern const EditGuards cutToNew;
extern const EditGuards copy;
extern const EditGuards copyFromAll;
extern const EditGuards copyToNew;
extern const EditGuards paste;
extern const EditGuards pasteToNew;
extern const EditGuards del;

} // namespace guards

// Whether the command may begin. An empty project answers in silence; whatever else is missing shows its
// box, the first one only.
[[nodiscard]] bool passes(const EditDesk& desk, const EditGuards& row);
