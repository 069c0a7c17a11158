// What happens to unsaved work when a document is closed.
#pragma once

class Project;
class QWidget;

enum class CloseAnswer { Save, Discard, Cancel };

// Asks about a modified document: whether to save it, or to update the file of the program that it
// came from. GUI thread.
[[nodiscard]] CloseAnswer askBeforeClosing(const Project& project, QWidget* parent);
