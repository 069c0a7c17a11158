// Which program started this one.
#pragma once

#include <QString>

// The display name for the image path of a process that we know, else empty.
[[nodiscard]] QString parentDisplayName(const QString& imagePath);
