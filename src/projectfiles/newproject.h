// A new, empty document.
#pragma once

#include "model/project.h"

#include <QStringList>

class QWidget;

// "Untitled"; where documents of that name are open, the highest of their numbers and one more
// ("Untitled" counts as the first).
[[nodiscard]] QString untitledName(const QStringList& openNames);

// Of that format, with one empty layer and a view of `length` sample points.
[[nodiscard]] ProjectPtr makeNewProject(const SamplingFormat& format, int64_t length, const QString& name);

// Proposes the default format and length, and asks. Null when the user cancels. GUI thread.
[[nodiscard]] ProjectPtr askNewProject(const QStringList& openNames, QWidget* parent);
