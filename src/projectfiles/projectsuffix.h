// The two forms of project files, told by the suffix.
#pragma once

#include <QString>
#include <QStringList>

enum class ProjectForm { None, Binary, Xml };

// By the last suffix in lower case: the properties `fileextension` and `backupextension`.
[[nodiscard]] ProjectForm projectForm(const QString& path);
// "Morvane Project (*.mvp *.mvx)", for an open dialog.
[[nodiscard]] QString projectFilter();
// "Morvane Project (*.mvp)" and the same of the backup form, for a save dialog.
[[nodiscard]] QStringList projectSaveFilters();
